// Single-component adsorption isotherm models: loading q(P), its slope dq/dP, the inverse
// P(q) and the reduced spreading pressure π(P) = ∫₀^P q(p)/p dp, for fitting, mixture
// calculations (IAST) and the tool, each model found by one name.
//
// clang-format off
// Units: pressure and loading are in whatever units the caller uses, consistently; π comes
// out in loading units. Affinities (K, b) are in inverse pressure unless the table says
// otherwise; energies in J/mol; temperatures in K. θ = q/n_m is the fractional loading.
// Models that need a saturation pressure Ps, a temperature, a layer count, a site count or a
// number of virial terms take them as constants in SIsothermSetup, never as parameters.
//
// Method: closed forms where they exist (C in the table). Otherwise (N): P(q) by a bracket
// grown geometrically from the model's pressure scale and closed by TOMS 748 (Alefeld, Potra
// and Shi 1995; Boost.Math toms748_solve) to full double precision; π by tanh-sinh
// quadrature of q/p on [0, P₀] plus Gauss-Kronrod in ln p above P₀ (the model's pressure
// scale), relative tolerance 1e-13 (measured within 1e-15 of an exp-sinh reference in long
// double for Toth, Redlich-Peterson, Jensen-Seaton, BET-n and chemi-physisorption). Models
// given as P(q) ("implicit") find q(P) by bracketing in θ or q, and take
// π = ∫ q (d ln P/dq) dq in closed form. P(π), the step IAST repeats, is closed where π
// inverts simply, else bracketed in ln P and closed by Newton steps (dπ/d ln P = q).
// Cost: a closed form costs a few transcendental calls (ns); an N entry tens to a few
// hundred evaluations of q (µs; BENCHMARKS.md).
// Guarantees: model objects are immutable after construction and safe to share between
// threads. Numerical results agree with their closed forms or with independent quadrature
// to 1e-10 relative (tests/isotherm_models_test.cpp).
//
// C: closed form, N: numerical. x = P/Ps, y = K·P, θ = q/n_m.
//  name                  P(q) π  q(P), or P(q) for the implicit ones         reference
//  henry                 C    C  K_H·P  (K_H in loading/pressure)            Ruthven 1984
//  langmuir              C    C  n_m·y/(1+y)                                 Langmuir 1918
//  multisite_langmuir    N    C  Σ n_i K_i P/(1+K_i P), sites ≥ 1            Ruthven 1984
//  bet                   C    C  n_m C x/((1−x)(1−x+Cx))                     Brunauer et al. 1938
//  bet_n_layers          N    N  n_m C Σ i xⁱ/(1 + C Σ xⁱ), i = 1..N         Brunauer et al. 1938
//  gab                   C    C  n_m C k x/((1−kx)(1+(C−1)kx))               Guggenheim, Anderson, de Boer; Do 1998
//  freundlich            C    C  K_F·P^(1/n)  (K_F in loading/pressure^(1/n)) Freundlich 1906
//  dubinin_radushkevich  C    C  dubinin_astakhov with m = 2                 Dubinin & Radushkevich 1947
//  dubinin_astakhov      C    C  n_p exp(−(RT ln(Ps/P)/E)^m); n_p for P ≥ Ps Dubinin & Astakhov 1971
//  quadratic             C    C  n_m(K_a P + 2K_b P²)/(1 + K_a P + K_b P²)   Ruthven 1984
//  temkin_approx         N    C  n_m[θ_L + g θ_L²(θ_L−1)], θ_L = y/(1+y)     Temkin & Pyzhev 1940, expanded
//  toth                  C    C  n_m y/(1+y^t)^(1/t)                         Toth 1971; Do 1998
//  multisite_toth        N    C  Σ toth sites                                Do 1998
//  sips                  C    C  n_m yⁿ/(1+yⁿ)                               Sips 1948
//  langmuir_freundlich   C    C  n_m K Pⁿ/(1+K Pⁿ)  (K in 1/pressureⁿ)       Do 1998
//  redlich_peterson      N    N  K_R P/(1 + a P^g)  (K_R loading/pressure)   Redlich & Peterson 1959
//  unilan                N    C  n_m/(2s)·ln((1+y eˢ)/(1+y e⁻ˢ)); π by Li₂   Do 1998
//  jensen_seaton         N    N  K_H P[1 + (K_H P/(a(1+κP)))^c]^(−1/c)       Jensen & Seaton 1996
//  obrien_myers          N    C  n_m[y/(1+y) + σ² y(1−y)/(2(1+y)³)]          O'Brien & Myers 1984
//  anti_langmuir         C    C  n_m y/(1−y); +∞ for y ≥ 1                   (cooperative uptake)
//  chemi_physisorption   N    C  toth(n_1, K_1, t_1)                         dual-site Toth variant
//                                + n_2 K_2 P/(1+K_2 P)·exp(−E_a/(RT))        of 2023
//  flory_huggins_vst     C    C  P = θ/(K(1−θ))·exp(α²θ/(1+αθ))              Cochran, Kabel & Danner 1985
//  wilson_vst            C    C  P = θ/(K(1−θ))·Λ₁ᵥ(1−aθ)/(Λ₁ᵥ+bθ)           Suwanayuen & Danner 1980
//                                ·exp(−Λᵥ₁aθ/(1−aθ) − bθ/(Λ₁ᵥ+bθ)), a = 1−Λᵥ₁, b = 1−Λ₁ᵥ
//  virial                C    C  P = (q/K_H)·exp(A_1 q + A_2 q² + …)         Do 1998
//  composite             N   sum Σ of the parts' q                          (sum of sites)
// clang-format on
//
// For the implicit models (vacancy solution and virial) the P(q) column is their definition;
// their q(P) is found numerically. π in closed form for them is a function of q(P):
//   FH-VST: n_m[−ln(1−θ) + ln(1+αθ) − αθ/(1+αθ)];
//   W-VST:  n_m[−ln(1−θ) + ln(1−aθ) − Λᵥ₁θ/(1−aθ) + Λ₁ᵥθ/(Λ₁ᵥ+bθ)];
//   virial: q + Σ i A_i q^(i+1)/(i+1).
// π is the integral of the Gibbs adsorption isotherm that IAST equates across components
// (Myers & Prausnitz 1965).
// Toth π is n_m z^(1/t) ₂F₁(1/t, 1; 1 + 1/t; z) with z = y^t/(1 + y^t), summed by its series
// about z = 0 or its logarithmic continuation about z = 1 (within 5e-15 of a long-double
// reference). Redlich-Peterson π would need another hypergeometric function and Jensen-Seaton
// has none known; quadrature reaches 1e-15 there. The inverses of Temkin
// (a cubic in θ_L), O'Brien-Myers and the multi-site sums are bracketed rather than solved
// in radicals, which lose digits near the plateau.
// Sips and Langmuir-Freundlich are the same curve, K_LF = K_Sips^n: Sips keeps K an affinity
// in 1/pressure, which fits better conditioned; Langmuir-Freundlich keeps the classical form.
// The Temkin approximation is monotone only for −1 < g < 3 (its bounds). Redlich-Peterson with
// g > 1 has a maximum; its bounds keep 0 < g ≤ 1. Chemi-physisorption at one temperature can
// identify only n_2·exp(−E_a/RT): a fit should hold E_a or n_2 fixed.
//
// Edge values, the same for every model:
//   - q(P < 0 or NaN) is NaN; q(0) is 0.
//   - Where the model's loading grows without bound it is +∞: BET and BET-n at P > Ps, GAB
//     at kP/Ps ≥ 1, anti-Langmuir at KP ≥ 1; π is +∞ there too (status kDiverges).
//   - Pressure(q) of a loading the model never reaches (q at or above its saturation
//     loading, SaturationLoading(), approached only as P → ∞) is NaN with kAboveCapacity.
//     Dubinin (q = n_p) and BET-n (q = q(Ps)) reach theirs at Ps and return Ps.
//   - Pressure(q < 0), π(P < 0) and PressureAtSpreadingPressure(π < 0) are NaN with
//     kOutsideDomain; each of them is 0 at 0.
#pragma once

#include <cstddef>
#include <limits>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace fiofla {

/// The model families. One canonical spelling each: IsothermModelName().
enum class EIsothermModel {
  kHenry,
  kLangmuir,
  kMultiSiteLangmuir,
  kBET,
  kBETLayers,
  kGAB,
  kFreundlich,
  kDubininRadushkevich,
  kDubininAstakhov,
  kQuadratic,
  kTemkinApprox,
  kToth,
  kMultiSiteToth,
  kSips,
  kLangmuirFreundlich,
  kRedlichPeterson,
  kUnilan,
  kJensenSeaton,
  kOBrienMyers,
  kAntiLangmuir,
  kChemiPhysisorption,
  kFloryHugginsVST,
  kWilsonVST,
  kVirial,
  kComposite,
};

/// How an inverse or a spreading pressure came out.
enum class EModelStatus {
  kOk,             ///< value is finite and meaningful
  kOutsideDomain,  ///< negative or NaN argument; value is NaN
  kAboveCapacity,  ///< the model never reaches this loading; value is NaN
  kDiverges,       ///< the loading has grown without bound by this pressure; value is +∞
  kNoConvergence,  ///< bracketing or quadrature failed (e.g. a non-monotone model); NaN
};

/// A value with the status that says whether it may be used.
struct SModelValue {
  double value = std::numeric_limits<double>::quiet_NaN();
  EModelStatus status = EModelStatus::kOk;
  /// True for kOk.
  bool Ok() const { return status == EModelStatus::kOk; }
};

/// Constants and sizes that are fixed for a model rather than fitted.
struct SIsothermSetup {
  /// Saturation pressure Ps in the caller's pressure unit (BET, BET-n, GAB, DR, DA).
  double saturationPressure = std::numeric_limits<double>::quiet_NaN();
  /// Temperature [K] (DR, DA, chemi-physisorption).
  double temperatureK = std::numeric_limits<double>::quiet_NaN();
  int layers = 0;       ///< BET-n: number of layers N ≥ 1
  int sites = 2;        ///< multi-site Langmuir and Toth: number of sites ≥ 1
  int virialTerms = 2;  ///< virial: number of coefficients A_1 … A_m, m ≥ 0
};

/// What a fitter needs to know of one parameter.
struct SParameterInfo {
  std::string name;  ///< "n_m", "K", … (ASCII, shared by the tool, JSON and bindings)
  std::string unit;  ///< "loading", "1/pressure", "loading/pressure", "J/mol", "1", …
  double lower = -std::numeric_limits<double>::infinity();  ///< physical lower bound
  double upper = std::numeric_limits<double>::infinity();   ///< physical upper bound
  /// Strictly positive scale or affinity: fit its logarithm (its lower bound 0 is exclusive).
  bool logScale = false;
};

/// One isotherm model with its parameters; immutable, thread-safe.
class IsothermModel {
 public:
  virtual ~IsothermModel() = default;

  /// The family.
  EIsothermModel Kind() const { return m_kind; }
  /// Canonical name ("langmuir", …).
  std::string Name() const;
  /// Parameter values in the order of ParameterInfo().
  const std::vector<double>& Parameters() const { return m_params; }
  /// Names, units, bounds and scales of the parameters.
  const std::vector<SParameterInfo>& ParameterInfo() const { return m_info; }
  /// Constants and sizes the model was made with.
  const SIsothermSetup& Setup() const { return m_setup; }

  /// Loading q at pressure P [loading units].
  virtual double Loading(double pressure) const = 0;
  /// dq/dP [loading/pressure]; +∞ where q has a vertical tangent (Freundlich n > 1 at 0).
  virtual double LoadingSlope(double pressure) const = 0;
  /// P(q): the pressure at which the loading is q [pressure units].
  virtual SModelValue Pressure(double loading) const;
  /// Reduced spreading pressure π(P) = ∫₀^P q/p dp [loading units].
  virtual SModelValue SpreadingPressure(double pressure) const;
  /// The pressure at which π(P) equals the given value (the step IAST repeats) [pressure
  /// units]. Closed form for Henry, Langmuir, Freundlich, Sips, Langmuir-Freundlich,
  /// quadratic, BET, GAB, anti-Langmuir and Dubinin (inverse incomplete gamma); for the
  /// implicit models a root in q; otherwise bracketed in ln P and closed by Newton steps. A π
  /// the model never reaches (BET-n past π(Ps), a bounded π) is NaN with kAboveCapacity.
  virtual SModelValue PressureAtSpreadingPressure(double spreadingPressure) const;
  /// Least upper bound of q over the domain [loading units]; +∞ when unbounded.
  virtual double SaturationLoading() const { return std::numeric_limits<double>::infinity(); }
  /// A pressure where the loading bends over (e.g. 1/K) [pressure units]; brackets start here.
  virtual double PressureScale() const = 0;

  /// q(P) and ∂q/∂θ for every parameter θ, written to gradient (size Parameters().size()).
  /// Analytic where HasAnalyticGradient(); otherwise central differences with step
  /// h = 1e-6·max(|θ|, 1e-6) (about 1e-10 relative accuracy), or, for models given as P(q),
  /// the implicit-function rule ∂q/∂θ = −(∂ln P/∂θ)/(∂ln P/∂q) with ∂ln P/∂θ differenced.
  virtual double LoadingGradient(double pressure, double* gradient) const;
  /// True when LoadingGradient is analytic.
  virtual bool HasAnalyticGradient() const { return false; }

  /// The same model with other parameter values (same count); null when the count is wrong.
  std::shared_ptr<const IsothermModel> WithParameters(std::vector<double> params) const;

 protected:
  IsothermModel(EIsothermModel kind, std::vector<double> params, SIsothermSetup setup);
  /// The numeric inverse: bracket from PressureScale() and TOMS 748 on q(P) − q.
  SModelValue NumericPressure(double loading) const;
  /// The numeric P(π): bracketing SpreadingPressure() in ln P, then Newton steps.
  SModelValue NumericPressureAtSpreadingPressure(double spreadingPressure) const;
  /// The numeric π: quadrature of q/p (see the top of this header).
  SModelValue NumericSpreadingPressure(double pressure) const;
  /// Common edge handling of Pressure(q); true when out holds the answer already.
  bool PressureEdge(double loading, SModelValue& out) const;

  EIsothermModel m_kind;
  std::vector<double> m_params;
  std::vector<SParameterInfo> m_info;
  SIsothermSetup m_setup;
  std::vector<std::shared_ptr<const IsothermModel>> m_parts;  ///< composite models only
};

/// A model made by name or kind, or the reason it could not be.
struct SModelMake {
  std::shared_ptr<const IsothermModel> model;  ///< null on failure
  std::string error;  ///< names the model, the field, its value and what was expected
};

/// A parsed model name: the family, and the site count an alias implies (0: none).
struct SModelName {
  EIsothermModel kind = EIsothermModel::kLangmuir;
  int sites = 0;
};

/// The canonical spelling of a family ("dubinin_radushkevich").
const char* IsothermModelName(EIsothermModel kind);
/// Case-insensitive lookup; spaces, '-', '_' and apostrophes are ignored, and the usual
/// aliases are known ("DSL" and "dual-site Langmuir" give sites = 2, "DR", "BET infinite",
/// "FH-VST", …). Empty when unknown.
std::optional<SModelName> ParseIsothermModelName(std::string_view text);
/// Canonical names of all families, in enumeration order.
std::vector<std::string> IsothermModelNames();
/// True for the families that need SIsothermSetup::saturationPressure (BET, BET-n, GAB, DR,
/// DA).
bool IsothermNeedsSaturationPressure(EIsothermModel kind);
/// True for the families that need SIsothermSetup::temperatureK (DR, DA,
/// chemi-physisorption).
bool IsothermNeedsTemperature(EIsothermModel kind);

/// Parameter names, units, bounds and scales of a family made with the given setup.
std::vector<SParameterInfo> IsothermParameterInfo(EIsothermModel kind,
                                                  SIsothermSetup const& setup = {});
/// A heuristic starting point for a fit from measured points (pressures ascending or not):
/// capacities from the plateau (1.1 × the largest q), affinities from the initial slope of
/// the lowest-pressure points, exponents 1 and interaction terms 0 (FH-VST's α 0.5, O'Brien-
/// Myers' σ 0.1: they enter squared, so 0 would be a stationary point). Empty without a point
/// with P > 0 and q > 0. kComposite has no guess (empty).
std::vector<double> IsothermInitialGuess(EIsothermModel kind, SIsothermSetup const& setup,
                                         std::vector<double> const& pressures,
                                         std::vector<double> const& loadings);

/// A model of a family with the given parameters and setup. The parameters must be finite
/// and as many as IsothermParameterInfo says; they are not checked against the bounds, so
/// a fitter may probe outside them. kComposite is made with MakeCompositeModel.
SModelMake MakeIsothermModel(EIsothermModel kind, std::vector<double> params,
                             SIsothermSetup const& setup = {});
/// The same by name (ParseIsothermModelName; an alias's site count overrides setup.sites).
SModelMake MakeIsothermModel(std::string_view name, std::vector<double> params,
                             SIsothermSetup setup = {});
/// A sum of sites: q is the sum of the parts' q, the parameters their concatenation (names
/// suffixed _1, _2, …); its Setup() is the first part's, each part keeping its own. Null when
/// a part is null or there are none.
std::shared_ptr<const IsothermModel> MakeCompositeModel(
    std::vector<std::shared_ptr<const IsothermModel>> parts);

}  // namespace fiofla
