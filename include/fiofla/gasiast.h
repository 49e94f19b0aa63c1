// Ideal adsorbed solution theory (IAST): the adsorbed phase of a gas mixture predicted from
// the pure-component isotherms alone.
//
// Method: Myers and Prausnitz (1965). At total pressure P and gas fractions y, each component
// i is in equilibrium with an ideal adsorbed solution, y_i P = x_i P_i°, where every pure
// pressure P_i° gives the same reduced spreading pressure, π_i(P_i°) = π = ∫₀^P° q_i/p dp,
// and Σ x_i = 1. The total loading follows from the ideal-mixing rule
// 1/q_T = Σ x_i/q_i°(P_i°), and n_i = x_i q_T.
// Solved as O'Brien and Myers (1988) do: Newton on u_i = ln P_i° and π together, equations
// π_i(u_i) − π = 0 and Σ x_i − 1 = 0 (reverse: Σ y_i − 1 = 0). The Jacobian is arrow-shaped
// (diagonal dπ_i/du_i = q_i, a border of −1 and a last row of −x_i, or +y_i), so each step
// is O(N) by eliminating the border, and an iteration costs one π and one q per component,
// never an inverse P(π). Steps are limited to a factor 100 in P_i°. Should Newton fail (a
// model's π not finite at a trial pressure, no convergence in the iteration bound), the
// solver falls back to bisection on π alone: F(π) = Σ y_i P/P_i°(π) (reverse
// Σ x_i P_i°(π)/P) is monotone in π and brackets its root between min_i π_i(P) and
// max_i π_i(P), so the bisection cannot miss it. A component whose loading has diverged at
// P (BET above Ps) has π_i(P) = ∞; the upper end then doubles until F changes side.
// Components with a zero fraction take no part in the equations: they are carried with
// x_i = 0 (reverse: y_i = 0), a zero loading and P_i° NaN, and never divided by.
//
// Pure components come as a fitted IsothermModel (isotherm_models.h) or as the measured
// points themselves (PiecewiseIsotherm: q(P) linear between points, Henry's law from the
// origin to the first point, constant beyond the last, as is usual; π in closed form per
// segment and its inverse solved to rounding inside the segment).
//
// References: A. L. Myers and J. M. Prausnitz, AIChE J. 11 (1965) 121; J. A. O'Brien and
// A. L. Myers, Ind. Eng. Chem. Res. 27 (1988) 2085.
// Cost: from a cold start (x_i ∝ y_i q_i(P)) about 6 Newton iterations, at most 9, for gas
// fractions from 1e-6 to 1 − 1e-6 over six decades of pressure; each iteration costs N
// spreading pressures and N loadings. A binary point of fitted Langmuir models takes 0.6 µs,
// with a Toth model 1.9 µs, ten Langmuir components 1.7 µs (BENCHMARKS.md).
// The bisection fallback costs some 60 × N inverses P(π).
// Guarantees: for valid input a point either converges (the last Newton step, or the next as
// quadratic contraction predicts it, below 1e-13 in every ln P_i° and relative in π;
// fractions then normalised) or says in words why not; the bisection cannot miss the root
// when every component's P(π) is finite and continuous on the bracket. Equal-capacity
// Langmuir components reproduce the extended Langmuir isotherm to 1e-12
// (tests/gasiast_test.cpp).
//
// Design decisions:
//   - CIASTCalculation is a prepared mixture, not a single answer: the constructor checks and
//     copies the components once; Mixture(), GasFractions() and the sweeps are const and may
//     run on several threads. Each point carries its own status, message and iteration count.
//   - Every point reports, per component, whether its P_i° lay below or above the range the
//     isotherm is known on (measured points: first to last pressure; fitted models: the range
//     the caller gives, for instance that of the fitted data). The result is still computed:
//     a flag, not a refusal, as IAST is routinely run a little past the data.
//   - Models without a Henry limit (Freundlich, Sips and Langmuir-Freundlich with exponent
//     ≠ 1, Dubinin: q/P → ∞ or 0 as P → 0) are accepted and computed as the model says; the
//     calculation says which components lack it (HenryLimit(), Notes()). Their π is finite
//     and invertible, so the equations stay well posed, but at y_i → 0 such a component's
//     selectivity runs to 0 or ∞: an artefact of the model's low-pressure form, not of the
//     mixture, which the caller should know of rather than be refused.
//   - Sweeps start each point from the previous solution (P_i° scaled by the pressure ratio
//     in a pressure sweep), which saves about a third of the Newton iterations of a 100-point
//     sweep.
#pragma once

#include <cstddef>
#include <limits>
#include <memory>
#include <string>
#include <vector>

#include "fiofla/isotherm_models.h"

namespace fiofla {

/// A pure-component isotherm given by measured points (pressure, loading), pressures in the
/// caller's unit, loadings in theirs: linear between points, Henry's law below the first,
/// constant above the last. Immutable and thread-safe once made.
class PiecewiseIsotherm {
 public:
  /// Points in any order; pressures must be positive, finite and distinct, loadings positive
  /// and finite. Otherwise Ok() is false and Message() names the point and the value.
  PiecewiseIsotherm(std::vector<double> pressures, std::vector<double> loadings);
  PiecewiseIsotherm() = default;

  /// True when the points were accepted.
  bool Ok() const { return m_message.empty() && !m_p.empty(); }
  /// Why the points were refused (empty when Ok()).
  const std::string& Message() const { return m_message; }
  /// Loading q(P) [loading units]; NaN for P < 0 or NaN.
  double Loading(double pressure) const;
  /// Reduced spreading pressure π(P) = ∫₀^P q/p dp [loading units], closed form per segment.
  double SpreadingPressure(double pressure) const;
  /// The pressure where π(P) = π [pressure units]; NaN for π < 0 or NaN.
  double PressureAtSpreadingPressure(double spreadingPressure) const;
  /// Lowest measured pressure [pressure units].
  double MinPressure() const { return m_p.empty() ? 0.0 : m_p.front(); }
  /// Highest measured pressure [pressure units].
  double MaxPressure() const { return m_p.empty() ? 0.0 : m_p.back(); }

 private:
  std::vector<double> m_p;   ///< ascending pressures
  std::vector<double> m_q;   ///< loadings at m_p
  std::vector<double> m_pi;  ///< π at m_p
  std::string m_message;
};

/// One component of a mixture: a fitted model, or measured points when model is null.
struct SIastComponent {
  std::string name;                            ///< for messages ("CO2", …)
  std::shared_ptr<const IsothermModel> model;  ///< fitted model; null: use the points
  std::vector<double> pressures;               ///< measured pressures (used when model is null)
  std::vector<double> loadings;                ///< measured loadings at those pressures
  /// Range the model is trusted on [pressure units] (models only; points use their own).
  double minPressure = 0.0;
  double maxPressure = std::numeric_limits<double>::infinity();
};

/// Solver settings.
struct SIastOptions {
  double tolerance = 1e-13;      ///< relative bound on the last Newton step (in ln P_i°, π)
  int maxNewtonIterations = 60;  ///< Newton iterations before the bisection takes over
  int maxBisections = 400;       ///< bisection halvings of the π bracket
};

/// How a point came out.
enum class EIastStatus {
  kOk,          ///< converged; every field may be used
  kBadInput,    ///< fractions or pressure not acceptable (the message says which)
  kNoSolution,  ///< neither Newton nor bisection found the equal-π state
  kNotReady,    ///< the calculation itself was refused (see CIASTCalculation::Message)
};

/// Text of a status ("ok", "bad input", …).
const char* ToString(EIastStatus status);

/// Where a component's pure pressure P_i° fell against the range its isotherm is known on.
enum class EIastRange {
  kInside,  ///< within the range (or the component is absent)
  kBelow,   ///< below the first measured point or the model's minPressure
  kAbove,   ///< above the last measured point or the model's maxPressure
};

/// One solved mixture point.
struct SIastPoint {
  EIastStatus status = EIastStatus::kNotReady;
  std::string message;               ///< in words: why not ok, or which components left their range
  double pressure = 0.0;             ///< total pressure P [pressure units]
  std::vector<double> gasFractions;  ///< y_i
  std::vector<double> adsorbedFractions;  ///< x_i
  std::vector<double> purePressures;      ///< P_i° [pressure units]; NaN for absent ones
  std::vector<double> pureLoadings;       ///< q_i°(P_i°) [loading units]; NaN for absent ones
  std::vector<double> loadings;           ///< n_i = x_i q_T [loading units]
  double totalLoading = 0.0;              ///< q_T [loading units]
  double spreadingPressure = 0.0;         ///< the common reduced π [loading units]
  std::vector<EIastRange> range;          ///< per component
  int iterations = 0;                     ///< Newton iterations (or bisections, if used)
  bool bisection = false;                 ///< true when the bisection fallback solved it
  /// True for kOk.
  bool Ok() const { return status == EIastStatus::kOk; }
  /// True when some component's P_i° lay outside its known range.
  bool Extrapolated() const;
  /// Selectivity S_ij = (x_i/y_i)/(x_j/y_j) [1]; NaN when a fraction it divides by is 0.
  double Selectivity(std::size_t i, std::size_t j) const;
};

}  // namespace fiofla

/// IAST for a mixture of any number of components (see the top of this header).
class CIASTCalculation {
 public:
  /// Checks and prepares the components; Ok() says whether it may be used.
  explicit CIASTCalculation(std::vector<fiofla::SIastComponent> components,
                            fiofla::SIastOptions options = {});
  ~CIASTCalculation();
  CIASTCalculation(CIASTCalculation&&) noexcept;
  CIASTCalculation& operator=(CIASTCalculation&&) noexcept;

  /// True when every component was accepted.
  bool Ok() const { return m_message.empty(); }
  /// Why the components were refused (empty when Ok()).
  const std::string& Message() const { return m_message; }
  /// Remarks on accepted components (models without a Henry limit); empty when none.
  const std::string& Notes() const { return m_notes; }
  /// Number of components.
  std::size_t Size() const { return m_names.size(); }
  /// The component names as given.
  const std::vector<std::string>& Names() const { return m_names; }
  /// False when component i's isotherm has no finite, non-zero Henry constant.
  bool HenryLimit(std::size_t i) const { return m_henry.at(i); }

  /// Forward IAST: adsorbed phase in equilibrium with gas fractions y (summing to 1 within
  /// 1e-9; they are normalised) at total pressure P [pressure units]. `start` (optional) is a
  /// previous solution to start Newton from.
  fiofla::SIastPoint Mixture(std::vector<double> const& gasFractions, double pressure,
                             fiofla::SIastPoint const* start = nullptr) const;
  /// Reverse IAST: gas fractions y in equilibrium with adsorbed fractions x at total
  /// pressure P [pressure units].
  fiofla::SIastPoint GasFractions(std::vector<double> const& adsorbedFractions, double pressure,
                                  fiofla::SIastPoint const* start = nullptr) const;
  /// Forward IAST at fixed gas fractions over several total pressures, each point started
  /// from the one before.
  std::vector<fiofla::SIastPoint> PressureSweep(std::vector<double> const& gasFractions,
                                                std::vector<double> const& pressures) const;
  /// Forward IAST at fixed total pressure over several gas compositions, each point started
  /// from the one before.
  std::vector<fiofla::SIastPoint> CompositionSweep(
      std::vector<std::vector<double>> const& gasFractions, double pressure) const;

 private:
  struct Impl;
  fiofla::SIastPoint Solve(std::vector<double> const& fractions, double pressure, bool reverse,
                           fiofla::SIastPoint const* start) const;

  std::unique_ptr<Impl> m_impl;
  fiofla::SIastOptions m_options;
  std::vector<std::string> m_names;
  std::vector<bool> m_henry;
  std::string m_message;
  std::string m_notes;
};
