// The density profile of the Lennard-Jones fluid of dft_fluid.h in a slit pore between two
// carbon walls, for making DFT kernels.
//
// Method: the Euler-Lagrange equation ln ρ(z) = μ − V(z) − c_hs(z) − c_att(z) on a uniform
// grid across the pore, where c_hs is the functional derivative of the White Bear
// hard-sphere free energy (planar weighted densities n3, n2 and the vector n_v2, with n0, n1
// and n_v1 proportional to them) and c_att = ∫ ρ(z') u(z − z') dz' the mean-field
// attraction through the planar integral u(z) = 2π ∫_|z|^r_c u_att(r) r dr. Each wall acts
// by Steele's 10-4-3 potential (Steele 1973) of the surface plane of carbon centres, capped
// at `capKT`. The weights and u are summed by the trapezoid rule on the grid and scaled so
// that a uniform density gives exactly the bulk fluid's c_hs and c_att: the middle of a
// wide pore then holds the bulk density. The convolutions (kernels spanning d/2 and r_c) are
// done by FFTW, nine real transforms an evaluation, ten times faster than direct sums at a
// thousand points; the profile is symmetric about the middle by construction.
// Solver: Picard steps in ln ρ accelerated by Anderson mixing (Anderson 1965; Walker and Ni
// 2011), started from a given profile (the previous pressure's) or from the bulk density of
// the given μ; a step that would pack the spheres beyond n3 = 0.999 is halved; every iterate
// is made exactly symmetric about the middle. A solve that does not converge in
// maxIterations is run again from the same start with a history of 3, then also a third of
// the step, and last with plain Picard steps of mixing/7.5 for 3 × maxIterations: Anderson
// mixing now and then stalls (layering in micropores) or leaps into the other phase.
// Convergence: the largest change of ln ρ in one Picard step below `tolerance`.
//
// Pore width: w = H − solidDiameter, H the distance between the two planes of carbon
// centres (the usual convention of carbon slit kernels, solidDiameter 0.34 nm).
// Units: nm, nm⁻³, kT. Amounts per unit wall area are ∫ρ dz / 2, molecules per nm².
// Threads: a SlitPore is immutable after construction; Solve may run on several threads.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "fiofla/dft_fluid.h"

namespace fiofla::dft {

/// A graphite-like wall of Steele's potential (defaults: carbon).
struct SteeleWall {
  double epsilonK = 0.0;          ///< ε_sf/k, K
  double sigmaNm = 0.0;           ///< σ_sf, nm
  double densityPerNm3 = 114.0;   ///< ρ_s, atoms per nm³ (0.114 Å⁻³)
  double spacingNm = 0.335;       ///< Δ, distance between graphene planes
  double solidDiameterNm = 0.34;  ///< subtracted from H to give the pore width
};

/// How profiles are computed.
struct SlitSettings {
  int pointsPerRadius = 30;  ///< grid spacing d / (2 × this): 0.006 nm for nitrogen
  double capKT = 50.0;       ///< wall potential cap, kT
  double tolerance = 1e-9;   ///< largest change of ln ρ at convergence
  int maxIterations = 1000;  ///< of the first attempt (see the top of this header)
  int history = 6;           ///< Anderson history
  double mixing = 0.15;      ///< Picard step fraction
};

/// A converged (or not) density profile.
struct SlitProfile {
  std::vector<double> rho;  ///< nm⁻³ on SlitPore::Z()
  bool converged = false;
  int iterations = 0;
  double change = 0.0;          ///< last largest change of ln ρ
  double amount = 0.0;          ///< molecules per nm² of wall
  double grandPotential = 0.0;  ///< Ω per unit wall area, kT/nm² (Ω/(2A), excess over 0)
};

/// One slit pore of the fluid (see the top of this header).
class SlitPore {
 public:
  SlitPore(BulkFluid const& fluid, SteeleWall const& wall, double widthNm,
           SlitSettings const& settings = SlitSettings());

  /// The profile at chemical potential `mu` (kT, as BulkFluid), from `start` (a profile on
  /// this grid) or, when empty, from the bulk density `startDensity` wherever the wall
  /// allows.
  SlitProfile Solve(double mu, std::vector<double> const& start, double startDensity) const;

  /// Ω of a profile at μ per unit wall area: F[ρ] − ∫(μ − V)ρ, over 2.
  double GrandPotential(std::vector<double> const& rho, double mu) const;

  std::vector<double> const& Z() const { return m_z; }
  std::vector<double> const& External() const { return m_v; }
  double GridSpacing() const { return m_dz; }
  double WidthNm() const { return m_width; }
  BulkFluid const& Fluid() const { return m_fluid; }

 private:
  struct Fft;
  struct Work;
  // `symmetric`: rho is mirror-symmetric, and the local terms are computed on half the grid.
  void Correlation(std::vector<double> const& rho, Work& w, bool symmetric) const;
  double FreeEnergy(std::vector<double> const& rho, Work& w) const;
  SlitProfile Iterate(double mu, std::vector<double> const& start, double startDensity, int history,
                      double mixing, int maxIterations) const;

  BulkFluid m_fluid;
  SlitSettings m_settings;
  double m_width = 0.0, m_h = 0.0, m_dz = 0.0, m_radius = 0.0;
  std::vector<double> m_z, m_v;
  // Kernels at offsets −K..K (index k + K): n3, n2, the odd n_v2, and the attraction.
  int m_kw = 0, m_ka = 0;
  std::vector<double> m_w3, m_w2, m_wv, m_ua;
  std::shared_ptr<const Fft> m_fft;  // plans and spectra, only read once made
};

/// One point of a pore's isotherm.
struct BranchPoint {
  double relativePressure = 0.0;
  double amount = 0.0;          ///< molecules per nm² of wall
  double grandPotential = 0.0;  ///< kT/nm² of wall
  bool converged = false;
  int iterations = 0;
};

/// The chemical potential (kT) of the model's vapour at P/Po = x, the saturation pressure
/// being the model's own; NaN when the model has no coexistence.
double ChemicalPotentialAt(BulkFluid const& fluid, double x);

/// The adsorption branch over ascending relative pressures: each pressure solved from the
/// previous profile (the first from the vapour); where that does not converge, the film has
/// no state there any more and the pressure is solved from the liquid-like start (the pore
/// fills).
std::vector<BranchPoint> AdsorptionBranch(SlitPore const& pore, std::vector<double> const& x);

}  // namespace fiofla::dft
