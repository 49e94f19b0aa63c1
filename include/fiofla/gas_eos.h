// Reference equations of state in reduced Helmholtz energy, for generating gas
// compressibility tables.
//
// HelmholtzEos reads one fluid's coefficient file (data/eos/<Fluid>.json) and
// evaluates the residual part alpha_r(tau, delta) of the reduced Helmholtz
// energy a/(RT) = alpha_0 + alpha_r, tau = Tc/T, delta = rho/rhoc, from which
// pressure, compressibility, the second virial coefficient and the saturation
// states follow. The ideal-gas part is not needed for any of these and is not read.
//
// Method: alpha_r is a sum of three term families, evaluated analytically with
// their first two delta derivatives:
// - power terms n delta^d tau^t exp(-delta^l) (plain polynomial when l = 0);
// - Gaussian bell terms n delta^d tau^t exp(-eta (delta-eps)^2 - beta (tau-gamma)^2);
// - the non-analytic critical-region terms of Span and Wagner (1996, eq. 6.5 and
//   Table 32), n Delta^b delta psi.
// p = rho R T (1 + delta alpha_r_delta). Vapour densities come from a bracketed
// Newton iteration on p(rho); saturation states from Newton in the two densities
// on equal pressure and equal Gibbs energy, in the formulation of Akasaka (2008),
// started from the ancillary equations shipped in the same file.
// Cost: one alpha_r evaluation is one pass over the terms (12 to 42 here, each a
// few pow/exp); a vapour density or a saturation state takes a handful of passes
// (Newton, quadratic once close), more near the critical point.
// Guarantees: Load never throws on malformed input and validates every key it
// reads; at delta = 1 and at the critical point, where the non-analytic terms have
// removable singularities, the evaluations return the limiting values, not NaN.
//
// Choices made here (documented so callers can rely on them):
// - Densities are molar, mol/m3; pressures Pa; temperatures K.
// - The critical state is the reducing state of the file; CriticalPressurePa()
//   evaluates the equation there, so it is the equation's own critical pressure; it
//   differs from the published value by up to 1e-4 relative (krypton: 5.5255 against
//   5.525 MPa).
// - TriplePointPressurePa() is Saturation(Ttriple) solved at load; the stored
//   saturated-vapour triple state is used only if that fails. The stored states are
//   not exactly in equilibrium under the equation (vapour densities off by up to
//   6e-6 relative, nitrogen's vapour pressure by 1e-6).
// - VapourDensity returns the low-density root of p(rho) = p. Below Tc that root is
//   searched below the critical density, which no liquid root can occupy; above the
//   saturation pressure it may be a metastable (supersaturated) vapour and beyond the
//   spinodal there is none (nullopt). Callers decide against Saturation().
// - Saturation answers from the triple point up to 1e-4 below Tc (relative) for all
//   seven shipped fluids, and is attempted up to 1e-6 below Tc, where Newton may not
//   separate the phases (then nullopt). Below the triple point there is no liquid:
//   nullopt, sublimation is the caller's business.
// - Ancillary equations answer only inside their stated [Tmin, Tmax]; the limits are
//   widened by 1e-9 relative because the files store them with round-off (Tmin of
//   83.80600000000001 K for a triple point of 83.806 K).
// - Surface tension is clamped at zero: methane's correlation (Mulero et al. 2012)
//   turns negative in the last 0.1 % below Tc.
#pragma once

#include <optional>
#include <string>
#include <vector>

namespace fiofla {

namespace detail {

/// One family of residual terms, coefficients as stored in the file.
struct EosTerms {
  /// Which formula the coefficients belong to.
  enum class Kind { kPower, kGaussian, kNonAnalytic } kind = Kind::kPower;
  /// Coefficient n of every term.
  std::vector<double> n;
  /// Power-term exponents: d, t, l (Gaussian: d, t).
  std::vector<double> d, t, l;
  /// Gaussian bell parameters.
  std::vector<double> eta, epsilon, beta, gamma;
  /// Non-analytic parameters (beta above is shared with them).
  std::vector<double> a, b, capA, capB, capC, capD;
};

/// Ancillary curve y(T) = reducing * f(sum n_i theta^t_i), theta = 1 - T/Tr.
struct EosAncillary {
  /// Exponential form (pressures, vapour density) or 1 + sum (liquid density).
  bool exponential = true;
  /// Multiply the sum by Tr/T before use.
  bool usingTauR = false;
  /// Reducing temperature Tr, K, and reducing value (unit of the result).
  double reducingTemperatureK = 0.0, reducingValue = 0.0;
  /// Range of validity, K.
  double minTemperatureK = 0.0, maxTemperatureK = 0.0;
  /// Stated largest deviation from the equation, percent.
  double maxErrorPercent = 0.0;
  /// Coefficients and exponents of the sum.
  std::vector<double> n, t;
};

}  // namespace detail

/// Pressure (Pa) and coexisting densities (mol/m3) on the saturation line.
struct SaturationState {
  /// Saturation pressure, Pa.
  double pressurePa = 0.0;
  /// Saturated-liquid density, mol/m3.
  double liquidDensity = 0.0;
  /// Saturated-vapour density, mol/m3.
  double vapourDensity = 0.0;
};

/// Residual Helmholtz-energy equation of state of one pure fluid, with its ancillaries.
class HelmholtzEos {
 public:
  /// Reads a coefficient file; nullopt with a one-line message in *error (when non-null)
  /// naming the file and the offending key.
  static std::optional<HelmholtzEos> Load(const std::string& path, std::string* error);

  /// Fluid name as stored in the file (INFO.NAME).
  const std::string& Name() const { return name_; }
  /// Other names of the fluid (INFO.ALIASES).
  const std::vector<std::string>& Aliases() const { return aliases_; }
  /// Literature key of the equation (EOS[0].BibTeX_EOS).
  const std::string& Reference() const { return reference_; }
  /// True when the file describes a mixture treated as a pure fluid.
  bool PseudoPure() const { return pseudoPure_; }

  /// Critical (reducing) temperature, K.
  double CriticalTemperatureK() const { return criticalTemperatureK_; }
  /// Critical (reducing) density, mol/m3.
  double CriticalDensityMolPerM3() const { return criticalDensity_; }
  /// Pressure of the equation at the critical state, Pa.
  double CriticalPressurePa() const { return criticalPressurePa_; }
  /// Triple-point temperature, K.
  double TriplePointTemperatureK() const { return tripleTemperatureK_; }
  /// Saturation pressure of the equation at the triple-point temperature, Pa.
  double TriplePointPressurePa() const { return triplePressurePa_; }
  /// Molar mass, g/mol.
  double MolarMassGPerMol() const { return molarMassGPerMol_; }
  /// Molar gas constant the equation was fitted with, J/(mol K).
  double GasConstantJPerMolK() const { return gasConstant_; }
  /// Upper pressure limit of the equation's validity, Pa.
  double MaxPressurePa() const { return maxPressurePa_; }
  /// Upper temperature limit of the equation's validity, K.
  double MaxTemperatureK() const { return maxTemperatureK_; }

  /// Residual reduced Helmholtz energy alpha_r at tau = Tc/T, delta = rho/rhoc.
  double AlphaR(double tau, double delta) const;
  /// First delta derivative of alpha_r at constant tau.
  double DAlphaRDDelta(double tau, double delta) const;
  /// Second delta derivative of alpha_r at constant tau.
  double D2AlphaRDDelta2(double tau, double delta) const;

  /// Pressure, Pa, at temperature (K) and density (mol/m3).
  double Pressure(double temperatureK, double densityMolPerM3) const;
  /// Compressibility factor p/(rho R T) at temperature (K) and density (mol/m3).
  double Compressibility(double temperatureK, double densityMolPerM3) const;
  /// Vapour (low-density) root of p(rho) = pressurePa at temperatureK, mol/m3; nullopt
  /// when the vapour branch does not reach that pressure.
  std::optional<double> VapourDensity(double temperatureK, double pressurePa) const;
  /// Second virial coefficient, m3/mol, at temperature (K).
  double SecondVirial(double temperatureK) const;
  /// Coexisting phases at temperature (K); nullopt outside [Ttriple, Tc).
  std::optional<SaturationState> Saturation(double temperatureK) const;

  /// Saturation pressure from the ancillary equation, Pa; nullopt outside its range.
  std::optional<double> AncillaryPsat(double temperatureK) const;
  /// Saturated-liquid density from the ancillary equation, mol/m3; nullopt outside its range.
  std::optional<double> AncillaryLiquidDensity(double temperatureK) const;
  /// Saturated-vapour density from the ancillary equation, mol/m3; nullopt outside its range.
  std::optional<double> AncillaryVapourDensity(double temperatureK) const;
  /// Largest deviation of the saturation-pressure ancillary from the equation, percent.
  double AncillaryPsatMaxErrorPercent() const { return psat_.maxErrorPercent; }
  /// Surface tension, N/m, at temperature (K); nullopt at or above its critical temperature.
  std::optional<double> SurfaceTension(double temperatureK) const;

 private:
  HelmholtzEos() = default;

  struct Derivs {
    double a = 0.0, ad = 0.0, add = 0.0;  // alpha_r and its first two delta derivatives
  };
  Derivs Evaluate(double tau, double delta) const;
  std::optional<double> EvaluateAncillary(const detail::EosAncillary& anc,
                                          double temperatureK) const;

  std::string name_, reference_;
  std::vector<std::string> aliases_;
  bool pseudoPure_ = false;
  double criticalTemperatureK_ = 0.0, criticalDensity_ = 0.0, criticalPressurePa_ = 0.0;
  double tripleTemperatureK_ = 0.0, triplePressurePa_ = 0.0;
  double molarMassGPerMol_ = 0.0, gasConstant_ = 0.0;
  double maxPressurePa_ = 0.0, maxTemperatureK_ = 0.0;
  std::vector<detail::EosTerms> terms_;
  detail::EosAncillary psat_, rhoL_, rhoV_;
  double surfaceTensionTcK_ = 0.0;
  std::vector<double> surfaceTensionA_, surfaceTensionN_;
};

}  // namespace fiofla
