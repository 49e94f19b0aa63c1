// Non-linear least squares: the parameters p minimising Σ wᵢ (yᵢ − f(xᵢ; p))², for the
// isotherm-model fits.
//
// Method: Levenberg-Marquardt with a trust region and QR factorisation of the Jacobian
// (Moré 1978, "The Levenberg-Marquardt algorithm: implementation and theory", the MINPACK
// lmder design), through Eigen's unsupported LevenbergMarquardt module. Ceres's TinySolver
// was measured beside it on the 27 NIST StRD problems (BENCHMARKS.md): each reaches four
// certified digits from 53 of the 54 starts (both miss BoxBOD's first), in similar time.
// Eigen's was kept because it factors J itself by QR where TinySolver forms JᵀJ, which
// squares the condition number that the hard NIST problems are known for, and because
// Eigen is already a dependency where TinySolver would bring in the whole Ceres package.
// Cost: per iteration one model evaluation at every point (the callback's derivatives come
// with it, so no finite differences) and a QR of the m × n Jacobian, O(m n²); the standard
// errors add one SVD of the Jacobian at the solution.
// Guarantees: the fit never throws for bad data or a misbehaving model; parameters marked
// non-adjustable are never changed; on IsValid() the parameters are the last accepted
// iterate and each derivative field holds ∂f/∂p there, at the last data point's x; otherwise every
// parameter is given back exactly as it came in. Summary() says how the fit stopped.
//
// Weights: wᵢ multiplies the squared residual, i.e. the solver minimises the residuals
// √wᵢ·(yᵢ − f). That is the usual weighted-least-squares reading in which w = 1/σ² is the
// inverse variance of yᵢ: the fit is then the maximum-likelihood one and the standard errors
// below are the textbook ones. A weight of 0 drops a point; a negative or non-finite weight
// is bad input.
//
// Standard errors: sqrt(diag(s² (JᵀJ)⁻¹)) with J the weighted Jacobian of the adjustable
// parameters at the solution and s² = Σ wᵢ rᵢ² / (m − n) (m points of positive weight, n
// adjustable parameters), the values NIST certifies. With m = n, or a Jacobian of lower rank
// than n, they cannot be estimated and are NaN; a fixed parameter's is 0.
#pragma once

#include <functional>
#include <vector>

/// One parameter of a curve fit.
struct SCurveFitParam {
  double value = 0.0;       ///< current value (fitted in place)
  bool adjustable = true;   ///< false keeps the value fixed during the fit
  double derivative = 0.0;  ///< ∂model/∂value at the current x, written by the model callback
};

namespace fiofla {

/// How a Levenberg-Marquardt fit stopped.
enum class ELMStop {
  kNotRun,                ///< no fit was attempted (never seen after construction)
  kConvergedCost,         ///< relative reduction of the cost below functionTolerance
  kConvergedParameters,   ///< relative step below parameterTolerance
  kConvergedBoth,         ///< both of the above at the same iteration
  kConvergedGradient,     ///< cosine between residual and Jacobian columns below gradientTolerance
  kConvergedAtPrecision,  ///< no further reduction possible in double precision
  kIterationLimit,        ///< maxEvaluations model sweeps used without convergence
  kBadInput,       ///< no points, more adjustable parameters than points, non-finite x, y or weight
  kBadModelValue,  ///< the model gave a non-finite value or derivative where it had to be used
};

/// Text of a stop reason ("converged (cost)", "iteration limit", ...).
const char* ToString(ELMStop stop);

/// Settings of a Levenberg-Marquardt fit.
struct SLMOptions {
  /// Stop when the actual and predicted relative reductions of the cost are both below it.
  double functionTolerance = 1e-14;
  /// Stop when the relative step of the scaled parameters is below it.
  double parameterTolerance = 1e-14;
  /// Stop when the cosine between residual vector and every Jacobian column is below it
  /// (0 disables the test, the usual choice).
  double gradientTolerance = 0.0;
  /// Bound on sweeps of the model over all points (each iteration takes one or more).
  int maxEvaluations = 4000;
  /// Initial step bound, as a factor of the scaled length of the start point (MINPACK's
  /// "factor"; 100 is its recommended default, smaller is more cautious).
  double initialStepFactor = 100.0;
};

/// What a Levenberg-Marquardt fit did.
struct SLMSummary {
  ELMStop stop = ELMStop::kNotRun;     ///< how the fit stopped
  int iterations = 0;                  ///< outer iterations
  int evaluations = 0;                 ///< sweeps of the model over all points
  double initialCost = 0.0;            ///< ½ Σ wᵢ rᵢ² at the start, y units²
  double finalCost = 0.0;              ///< ½ Σ wᵢ rᵢ² at the solution, y units²
  std::vector<double> standardErrors;  ///< one per parameter (see the top of this header)
  bool Converged() const;              ///< true for the kConverged… stops
};

}  // namespace fiofla

/// Weighted non-linear least-squares fit of a model to (x, y) points (see the top of this
/// header). The constructor does the fit; the parameters are adjusted in place.
class CMarquetteFit {
 public:
  /// One data point.
  struct SData {
    double x = 0.0;       ///< independent variable
    double y = 0.0;       ///< measured value
    double weight = 1.0;  ///< multiplies the squared residual (1/σ² for σ the error of y)
  };

  /// Model: returns f(x) for the parameters' current values and writes ∂f/∂pⱼ into each
  /// parameter's derivative field.
  using Model = std::function<double(double, std::vector<SCurveFitParam>&)>;

  /// Fits with the default settings.
  CMarquetteFit(std::vector<SData> const& data, std::vector<SCurveFitParam>& params, Model model);
  /// Fits with the given settings.
  CMarquetteFit(std::vector<SData> const& data, std::vector<SCurveFitParam>& params, Model model,
                fiofla::SLMOptions const& options);

  /// True when the fit converged and the parameters hold its solution.
  bool IsValid() const { return m_summary.Converged(); }
  /// How the fit went.
  fiofla::SLMSummary const& Summary() const { return m_summary; }

 private:
  fiofla::SLMSummary m_summary;
};
