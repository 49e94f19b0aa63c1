// The settings of the DFT pore analysis as the tool takes them, declared once and shared by
// `fiofla dft` and the DFT page of `fiofla report`.
#pragma once

#include <memory>
#include <string>

#include "app.h"
#include "fiofla/gasdft.h"

namespace fiofla::cli {

/// What a DFT analysis is computed with.
struct DftSettings {
  /// Kernel: a file, or a name in the kernel directory; empty for none.
  std::string kernel;
  /// Where kernel names are looked up; empty for the default.
  std::string kernelDir;
  /// A second kernel and its isotherm, for a dual analysis.
  std::string kernel2, file2;
  /// "auto" (generalised cross-validation), "gcv", "lcurve", or a number ≥ 0.
  std::string lambda = "auto";
  bool bspline = false;
  /// Use the kernel's end values for points outside its pressures (else leave them out).
  bool clamp = false;
  double pLow = 0.0, pHigh = 1.0;
  /// Pore widths fitted, Å.
  double wLow = 0.0, wHigh = HUGE_VAL;
};

/// Declares --kernel, --kernel-dir, --lambda, --bspline, --pressure-range, --width-range and
/// --clamp; with `dual` also --kernel2 and --file2.
void AddDftOptions(CLI::App* cmd, DftSettings& s, bool dual);

/// One DFT analysis as the tool runs it.
struct DftRun {
  std::unique_ptr<CDFTCalc> calc;
  std::string kernelPath, kernelPath2;
  /// Kernel, gas and temperature of each model, and the settings, in one line.
  std::string description;
};

/// Runs the analysis of the adsorption branch of `iso` (and of `iso2`, when a second kernel
/// is set); throws InputError when a kernel cannot be found or read, UsageError for a bad
/// --lambda.
DftRun RunDftOn(const IsothermData& iso, const IsothermData* iso2, const DftSettings& s);

/// Indices of the (at most) `count` points the kernel fits worst, largest relative error
/// first; ties keep the points' order.
std::vector<std::size_t> WorstFitPoints(CDFTCalc const& calc, std::size_t count = 3);

/// A status of CDFTCalc in words.
const char* DftStatusText(int status);

}  // namespace fiofla::cli
