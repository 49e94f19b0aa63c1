#include "fiofla/num/marquette.h"

#include <Eigen/Dense>
#include <cmath>
#include <cstddef>
#include <limits>
#include <unsupported/Eigen/LevenbergMarquardt>
#include <utility>

namespace fiofla {

const char* ToString(ELMStop stop) {
  switch (stop) {
    case ELMStop::kNotRun:
      return "not run";
    case ELMStop::kConvergedCost:
      return "converged (cost)";
    case ELMStop::kConvergedParameters:
      return "converged (parameters)";
    case ELMStop::kConvergedBoth:
      return "converged (cost and parameters)";
    case ELMStop::kConvergedGradient:
      return "converged (gradient)";
    case ELMStop::kConvergedAtPrecision:
      return "converged (at machine precision)";
    case ELMStop::kIterationLimit:
      return "iteration limit";
    case ELMStop::kBadInput:
      return "bad input";
    case ELMStop::kBadModelValue:
      return "model value not finite";
  }
  return "unknown";
}

bool SLMSummary::Converged() const {
  return stop == ELMStop::kConvergedCost || stop == ELMStop::kConvergedParameters ||
         stop == ELMStop::kConvergedBoth || stop == ELMStop::kConvergedGradient ||
         stop == ELMStop::kConvergedAtPrecision;
}

}  // namespace fiofla

namespace {

using fiofla::ELMStop;

// Residuals rᵢ = √wᵢ (f(xᵢ) − yᵢ) of the adjustable parameters, with the Jacobian that the
// callback hands out alongside each value.
class Residuals : public Eigen::DenseFunctor<double> {
 public:
  Residuals(std::vector<CMarquetteFit::SData> const& data, std::vector<double> const& sqrtW,
            std::vector<SCurveFitParam>& params, std::vector<std::size_t> const& free,
            CMarquetteFit::Model const& model)
      : Eigen::DenseFunctor<double>(int(free.size()), int(data.size())),
        m_data(data),
        m_sqrtW(sqrtW),
        m_params(params),
        m_free(free),
        m_model(model) {}

  // Evaluates residuals and, as a by-product, the Jacobian; a later df() at the same point
  // (the solver asks for it only at the point it just accepted) reuses it.
  int operator()(InputType const& p, ValueType& r) const {
    Set(p);
    m_jacobian.resize(Eigen::Index(m_data.size()), Eigen::Index(m_free.size()));
    bool finite = true;
    for (std::size_t i = 0; i < m_data.size(); ++i) {
      for (auto& q : m_params) q.derivative = 0.0;
      const double f = m_model(m_data[i].x, m_params);
      r[Eigen::Index(i)] = m_sqrtW[i] * (f - m_data[i].y);
      for (std::size_t j = 0; j < m_free.size(); ++j) {
        m_jacobian(Eigen::Index(i), Eigen::Index(j)) = m_sqrtW[i] * m_params[m_free[j]].derivative;
      }
      finite = finite && std::isfinite(r[Eigen::Index(i)]);
    }
    ++m_evaluations;
    m_jacobianAt = p;
    // A non-finite trial point is left to the solver: its cost compares as "no better", so
    // the step is rejected and a shorter one tried.
    if (!finite) r.setConstant(std::numeric_limits<double>::quiet_NaN());
    return 0;
  }

  int df(InputType const& p, JacobianType& jac) const {
    if (m_jacobianAt.size() != p.size() || m_jacobianAt != p) {
      ValueType r(m_data.size());
      (*this)(p, r);
    }
    if (!m_jacobian.allFinite()) {
      m_badJacobian = true;
      return -1;
    }
    jac = m_jacobian;
    return 0;
  }

  void Set(InputType const& p) const {
    for (std::size_t j = 0; j < m_free.size(); ++j) m_params[m_free[j]].value = p[Eigen::Index(j)];
  }
  int Evaluations() const { return m_evaluations; }
  bool BadJacobian() const { return m_badJacobian; }
  Eigen::MatrixXd const& Jacobian() const { return m_jacobian; }

 private:
  std::vector<CMarquetteFit::SData> const& m_data;
  std::vector<double> const& m_sqrtW;
  std::vector<SCurveFitParam>& m_params;
  std::vector<std::size_t> const& m_free;
  CMarquetteFit::Model const& m_model;
  mutable Eigen::MatrixXd m_jacobian;
  mutable Eigen::VectorXd m_jacobianAt;
  mutable int m_evaluations = 0;
  mutable bool m_badJacobian = false;
};

ELMStop FromEigen(Eigen::LevenbergMarquardtSpace::Status s) {
  using S = Eigen::LevenbergMarquardtSpace::Status;
  switch (s) {
    case S::RelativeReductionTooSmall:
      return ELMStop::kConvergedCost;
    case S::RelativeErrorTooSmall:
      return ELMStop::kConvergedParameters;
    case S::RelativeErrorAndReductionTooSmall:
      return ELMStop::kConvergedBoth;
    case S::CosinusTooSmall:
    case S::GtolTooSmall:
      return ELMStop::kConvergedGradient;
    case S::FtolTooSmall:
    case S::XtolTooSmall:
      return ELMStop::kConvergedAtPrecision;
    case S::TooManyFunctionEvaluation:
      return ELMStop::kIterationLimit;
    case S::UserAsked:
      return ELMStop::kBadModelValue;
    default:
      return ELMStop::kBadInput;
  }
}

// Standard errors from the weighted Jacobian at the solution (see the header).
void StandardErrors(Eigen::MatrixXd const& jac, double sumSq, std::size_t m,
                    std::vector<std::size_t> const& free, std::vector<double>& out) {
  const std::size_t n = free.size();
  const double nan = std::numeric_limits<double>::quiet_NaN();
  if (m <= n) {
    for (std::size_t j : free) out[j] = nan;
    return;
  }
  Eigen::JacobiSVD<Eigen::MatrixXd> svd(jac, Eigen::ComputeThinV);
  const Eigen::VectorXd& sv = svd.singularValues();
  const double tol =
      sv.size() ? sv[0] * double(jac.rows()) * std::numeric_limits<double>::epsilon() : 0.0;
  if (sv.size() < Eigen::Index(n) || sv[sv.size() - 1] <= tol) {
    for (std::size_t j : free) out[j] = nan;
    return;
  }
  // (JᵀJ)⁻¹ = V Σ⁻² Vᵀ; only its diagonal is needed.
  const Eigen::MatrixXd vs = svd.matrixV() * sv.cwiseInverse().asDiagonal();
  const double s2 = sumSq / double(m - n);
  for (std::size_t j = 0; j < n; ++j)
    out[free[j]] = std::sqrt(s2 * vs.row(Eigen::Index(j)).squaredNorm());
}

}  // namespace

CMarquetteFit::CMarquetteFit(std::vector<SData> const& data, std::vector<SCurveFitParam>& params,
                             Model model)
    : CMarquetteFit(data, params, std::move(model), fiofla::SLMOptions()) {}

CMarquetteFit::CMarquetteFit(std::vector<SData> const& data, std::vector<SCurveFitParam>& params,
                             Model model, fiofla::SLMOptions const& options) {
  m_summary.standardErrors.assign(params.size(), 0.0);
  std::vector<std::size_t> free;
  for (std::size_t j = 0; j < params.size(); ++j) {
    if (params[j].adjustable) free.push_back(j);
  }
  std::vector<double> sqrtW(data.size());
  std::size_t weighted = 0;
  bool finite = true;
  for (std::size_t i = 0; i < data.size(); ++i) {
    const SData& d = data[i];
    finite = finite && std::isfinite(d.x) && std::isfinite(d.y) && std::isfinite(d.weight) &&
             d.weight >= 0.0;
    sqrtW[i] = finite ? std::sqrt(d.weight) : 0.0;
    if (d.weight > 0.0) ++weighted;
  }
  if (!model || !finite || free.empty() || weighted < free.size()) {
    m_summary.stop = ELMStop::kBadInput;
    return;
  }
  for (auto const& q : params) {
    if (!std::isfinite(q.value)) {
      m_summary.stop = ELMStop::kBadInput;
      return;
    }
  }

  const std::vector<SCurveFitParam> start = params;
  Residuals residuals(data, sqrtW, params, free, model);
  Eigen::VectorXd p(Eigen::Index(free.size()));
  for (std::size_t j = 0; j < free.size(); ++j) p[Eigen::Index(j)] = params[free[j]].value;
  Eigen::VectorXd r(Eigen::Index(data.size()));
  residuals(p, r);
  m_summary.initialCost = 0.5 * r.squaredNorm();
  if (!std::isfinite(m_summary.initialCost)) {
    params = start;
    m_summary.stop = ELMStop::kBadModelValue;
    m_summary.evaluations = residuals.Evaluations();
    return;
  }

  Eigen::LevenbergMarquardt<Residuals> lm(residuals);
  lm.setFtol(options.functionTolerance);
  lm.setXtol(options.parameterTolerance);
  lm.setGtol(options.gradientTolerance);
  lm.setMaxfev(options.maxEvaluations);
  lm.setFactor(options.initialStepFactor);
  m_summary.stop = FromEigen(lm.minimize(p));
  m_summary.iterations = int(lm.iterations());

  // Leave the values, the derivative fields and the Jacobian at the solution.
  residuals(p, r);
  m_summary.evaluations = residuals.Evaluations();
  m_summary.finalCost = 0.5 * r.squaredNorm();
  if (m_summary.Converged() &&
      !(std::isfinite(m_summary.finalCost) && residuals.Jacobian().allFinite())) {
    m_summary.stop = ELMStop::kBadModelValue;
  }
  if (!m_summary.Converged()) {
    params = start;
    return;
  }
  StandardErrors(residuals.Jacobian(), r.squaredNorm(), weighted, free, m_summary.standardErrors);
}
