// Making DFT kernels from the density-functional engine (dft_slit.h): a recipe names the
// fluid, the wall, the temperature, the pore widths and the relative pressures; the builder
// computes every width's isotherm and writes the amounts into a model file (gasdft.h),
// with a manifest of where every number came from.
//
// Units: the kernel holds cm3 STP adsorbed per m2 of pore wall (molecules per nm² × 1e18 /
// N_A × 22414 cm3/mol), widths in Å, pressures as P/Po of the model (its own saturation
// pressure at the temperature, dft_fluid.h).
// Width convention: w = H − solidDiameter, H the distance between the planes of carbon
// centres of the two walls (0.34 nm for carbon), written into the manifest.
// Threads: widths are computed on `threads` threads, each width whole on one thread; the
// result does not depend on the thread count (every width's computation is the same
// sequence of operations wherever it runs).
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "fiofla/dft_fluid.h"
#include "fiofla/dft_slit.h"
#include "fiofla/gasdft.h"

namespace fiofla::dft {

/// Which isotherm of each pore the kernel holds.
enum class KernelBranch { kAdsorption, kDesorption, kEquilibrium };

/// What a kernel is made from.
struct KernelRecipe {
  std::string name;         ///< the kernel's model name
  std::string gas;          ///< the adsorptive's name as the kernel records it ("N2")
  std::string description;  ///< free text carried into the model file
  double temperatureK = 0.0;
  LJFluid fluid;
  SteeleWall wall;
  std::vector<double> widthsNm;   ///< pore widths w, ascending
  std::vector<double> pressures;  ///< P/Po of the model, ascending in (0, 1)
  KernelBranch branch = KernelBranch::kEquilibrium;
  SlitSettings settings;
};

/// Reads a recipe (JSON; see data/kernels/README.md); throws InputError naming the file,
/// the member and the value that is wrong.
KernelRecipe ReadKernelRecipe(const std::string& path);
/// The same from JSON text; `source` names it in messages.
KernelRecipe ParseKernelRecipe(const std::string& text, const std::string& source);

/// One pore's isotherm and its transitions.
struct PoreIsotherm {
  double widthNm = 0.0;
  std::vector<double> adsorption, desorption, equilibrium;  ///< molecules per nm² of wall
  /// P/Po where the adsorption branch jumps up most, the desorption branch drops most, and
  /// the film and the filled pore have equal grand potential (bisected to 1e-4 relative
  /// in P/Po); 0 when the branches do not differ (no transition).
  double fillingPressure = 0.0, emptyingPressure = 0.0, equilibriumPressure = 0.0;
  int iterations = 0;  ///< Picard-Anderson iterations in all
  /// Per pressure, whether each branch's profile converged (1) or not (0).
  std::vector<char> adsorptionConverged, desorptionConverged, equilibriumConverged;
  /// Profiles that did not converge, and the P/Po of the first. A kernel is refused when a
  /// profile it uses did not converge; a metastable state it does not use (a film beyond
  /// the equilibrium transition, near its spinodal, where convergence slows down) is
  /// reported in the manifest, not used.
  int unconverged = 0;
  double firstUnconverged = 0.0;
  double seconds = 0.0;
};

/// Both branches and the equilibrium of one pore over ascending relative pressures.
PoreIsotherm ComputePoreIsotherm(BulkFluid const& fluid, SteeleWall const& wall, double widthNm,
                                 std::vector<double> const& pressures,
                                 SlitSettings const& settings);

/// A built kernel: the model and what the manifest reports.
struct KernelBuild {
  std::vector<PoreIsotherm> pores;
  double liquidDensityMmolPerCm3 = 0.0;  ///< the model's saturated liquid
  double saturationPressureKPa = 0.0;    ///< the model's Po
  double seconds = 0.0;
  int threads = 1;
};

/// Builds the kernel of a recipe on `threads` threads (0: all cores). `progress` (may be
/// empty) is called after each width with the number done and the total. Throws
/// InputError naming the width and pressure of a profile that would not converge, or when
/// the model has no coexistence at the temperature.
KernelBuild BuildKernel(KernelRecipe const& recipe, int threads,
                        std::function<void(std::size_t, std::size_t)> const& progress = {});

/// The model file of a build (category 0, slit geometry, widths in Å).
CDFTModel KernelModel(KernelRecipe const& recipe, KernelBuild const& build);

/// The manifest (JSON): recipe, the model's Po and liquid density, grids, units, width
/// convention, generator version, time taken, and per width the filling, emptying and
/// equilibrium pressures.
std::string KernelManifest(KernelRecipe const& recipe, KernelBuild const& build,
                           const std::string& generator);

}  // namespace fiofla::dft
