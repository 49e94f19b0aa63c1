// The chemisorption isotherm models and their fits to one isotherm.
//
// Each fit starts from the model's classical straight-line form (P/q against P for
// Langmuir, √P/q against √P for dissociative Langmuir, ln q against ln P for Freundlich, q
// against ln P for Temkin) and then refines by Levenberg-Marquardt on the quantities
// themselves, since the linear forms weight the points unevenly. Positive scales (q_m, K, k,
// A) are fitted as logarithms, so no step can make them negative.
#include <algorithm>
#include <cmath>
#include <limits>

#include "fiofla/gaschemi.h"
#include "fiofla/num/linefit.h"
#include "fiofla/num/marquette.h"
#include "gaschemi_internal.h"

namespace fiofla {
namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

// Intercept and slope of the least-squares line through (x, y); nothing when it fails.
bool Line(std::vector<double> const& x, std::vector<double> const& y, double* intercept,
          double* slope) {
  if (x.size() < 2) return false;
  CNumLineFit fit(x.size(), x.data(), y.data());
  if (!fit.IsValid()) return false;
  *intercept = fit.YIntercept();
  *slope = fit.Slope();
  return std::isfinite(*intercept) && std::isfinite(*slope);
}

double Median(std::vector<double> v) {
  std::sort(v.begin(), v.end());
  return v[v.size() / 2];
}

// Start of the fitted parameters (in the fitted, logarithmic where positive, form).
std::vector<double> Start(EChemiModel model, std::vector<double> const& p,
                          std::vector<double> const& q) {
  const double qMax = *std::max_element(q.begin(), q.end());
  const double fallbackQm = std::log(1.1 * std::max(qMax, 1e-12));
  const double fallbackK = -std::log(Median(p));
  std::vector<double> x, y;
  double a = 0.0, b = 0.0;
  switch (model) {
    case EChemiModel::kLangmuir:
    case EChemiModel::kLangmuirDissociative: {
      const bool root = model == EChemiModel::kLangmuirDissociative;
      for (std::size_t i = 0; i < p.size(); ++i)
        if (q[i] > 0.0) {
          const double s = root ? std::sqrt(p[i]) : p[i];
          x.push_back(s);
          y.push_back(s / q[i]);
        }
      // slope 1/q_m, intercept 1/(q_m K) or 1/(q_m √K)
      if (Line(x, y, &a, &b) && a > 0.0 && b > 0.0) {
        const double lnK = std::log(b / a);
        return {-std::log(b), root ? 2.0 * lnK : lnK};
      }
      return {fallbackQm, fallbackK};
    }
    case EChemiModel::kFreundlich:
      for (std::size_t i = 0; i < p.size(); ++i)
        if (q[i] > 0.0) {
          x.push_back(std::log(p[i]));
          y.push_back(std::log(q[i]));
        }
      if (Line(x, y, &a, &b)) return {a, b};
      return {std::log(std::max(Median(q), 1e-12)), 0.5};
    case EChemiModel::kTemkin:
      for (std::size_t i = 0; i < p.size(); ++i) {
        x.push_back(std::log(p[i]));
        y.push_back(q[i]);
      }
      if (Line(x, y, &a, &b) && b != 0.0) return {b, a / b};
      return {qMax, fallbackK};
  }
  return {};
}

// The model in its fitted form, with derivatives; x is the pressure.
double Evaluate(EChemiModel model, double P, std::vector<SCurveFitParam>& v) {
  switch (model) {
    case EChemiModel::kLangmuir: {
      const double qm = std::exp(v[0].value), y = std::exp(v[1].value) * P;
      const double q = qm * y / (1.0 + y);
      v[0].derivative = q;
      v[1].derivative = qm * y / ((1.0 + y) * (1.0 + y));
      return q;
    }
    case EChemiModel::kLangmuirDissociative: {
      const double qm = std::exp(v[0].value), s = std::sqrt(std::exp(v[1].value) * P);
      const double q = qm * s / (1.0 + s);
      v[0].derivative = q;
      v[1].derivative = qm * 0.5 * s / ((1.0 + s) * (1.0 + s));
      return q;
    }
    case EChemiModel::kFreundlich: {
      const double q = std::exp(v[0].value + v[1].value * std::log(P));
      v[0].derivative = q;
      v[1].derivative = q * std::log(P);
      return q;
    }
    case EChemiModel::kTemkin: {
      const double lnAP = v[1].value + std::log(P);
      v[0].derivative = lnAP;
      v[1].derivative = v[0].value;
      return v[0].value * lnAP;
    }
  }
  return kNaN;
}

}  // namespace

const char* ChemiModelName(EChemiModel model) {
  switch (model) {
    case EChemiModel::kLangmuir:
      return "langmuir";
    case EChemiModel::kLangmuirDissociative:
      return "langmuir_dissociative";
    case EChemiModel::kFreundlich:
      return "freundlich";
    case EChemiModel::kTemkin:
      return "temkin";
  }
  return "";
}

std::vector<EChemiModel> ChemiModels() {
  return {EChemiModel::kLangmuir, EChemiModel::kLangmuirDissociative, EChemiModel::kFreundlich,
          EChemiModel::kTemkin};
}

double ChemiModelLoading(EChemiModel model, std::vector<double> const& c, double P) {
  if (c.size() != 2 || !(P >= 0.0)) return kNaN;
  switch (model) {
    case EChemiModel::kLangmuir:
      return c[0] * c[1] * P / (1.0 + c[1] * P);
    case EChemiModel::kLangmuirDissociative: {
      const double s = std::sqrt(c[1] * P);
      return c[0] * s / (1.0 + s);
    }
    case EChemiModel::kFreundlich:
      return c[0] * std::pow(P, 1.0 / c[1]);
    case EChemiModel::kTemkin:
      return c[0] * std::log(c[1] * P);
  }
  return kNaN;
}

namespace detail {

CSinfeltCalc::SModelFit FitChemiModel(EChemiModel model, std::vector<double> const& pressures,
                                      std::vector<double> const& quantities) {
  CSinfeltCalc::SModelFit fit;
  fit.m_Model = model;
  switch (model) {
    case EChemiModel::kLangmuir:
    case EChemiModel::kLangmuirDissociative:
      fit.m_Names = {"q_m", "K"};
      fit.m_Units = {"cm3/g STP", "1/mmHg"};
      break;
    case EChemiModel::kFreundlich:
      fit.m_Names = {"k", "n"};
      fit.m_Units = {"cm3/g STP/mmHg^(1/n)", ""};
      break;
    case EChemiModel::kTemkin:
      fit.m_Names = {"B", "A"};
      fit.m_Units = {"cm3/g STP", "1/mmHg"};
      break;
  }
  std::vector<double> p, q;
  for (std::size_t i = 0; i < pressures.size() && i < quantities.size(); ++i)
    if (pressures[i] > 0.0 && std::isfinite(pressures[i]) && std::isfinite(quantities[i]) &&
        (model != EChemiModel::kFreundlich || quantities[i] > 0.0)) {
      p.push_back(pressures[i]);
      q.push_back(quantities[i]);
    }
  fit.m_Points = static_cast<int>(p.size());
  if (p.size() < 3) {
    fit.m_Message = "needs three points with a positive pressure" +
                    std::string(model == EChemiModel::kFreundlich ? " and quantity" : "") +
                    ", has " + std::to_string(p.size());
    return fit;
  }

  std::vector<SCurveFitParam> params;
  for (double s : Start(model, p, q)) params.push_back({s, true, 0.0});
  std::vector<CMarquetteFit::SData> data;
  for (std::size_t i = 0; i < p.size(); ++i) data.push_back({p[i], q[i], 1.0});
  SLMOptions options;
  options.functionTolerance = 1e-12;
  options.parameterTolerance = 1e-12;
  const CMarquetteFit lm(
      data, params,
      [model](double x, std::vector<SCurveFitParam>& v) { return Evaluate(model, x, v); }, options);
  if (!lm.IsValid() || !std::isfinite(params[0].value) || !std::isfinite(params[1].value)) {
    fit.m_Message = std::string("the fit did not converge (") + ToString(lm.Summary().stop) + ")";
    return fit;
  }

  const std::vector<double>& se = lm.Summary().standardErrors;
  const double e0 = se.size() > 0 ? se[0] : kNaN, e1 = se.size() > 1 ? se[1] : kNaN;
  const double v0 = params[0].value, v1 = params[1].value;
  // Back from the fitted form; errors by the first-order rule, d(e^u) = e^u du.
  switch (model) {
    case EChemiModel::kLangmuir:
    case EChemiModel::kLangmuirDissociative:
      fit.m_Parameters = {std::exp(v0), std::exp(v1)};
      fit.m_StandardErrors = {std::exp(v0) * e0, std::exp(v1) * e1};
      break;
    case EChemiModel::kFreundlich:
      fit.m_Parameters = {std::exp(v0), 1.0 / v1};
      fit.m_StandardErrors = {std::exp(v0) * e0, e1 / (v1 * v1)};
      break;
    case EChemiModel::kTemkin:
      fit.m_Parameters = {v0, std::exp(v1)};
      fit.m_StandardErrors = {e0, std::exp(v1) * e1};
      break;
  }
  // A scale that ran to 0 or infinity is a limit of the model, not a fit of the data (a
  // Langmuir capacity of 0 for an isotherm that falls).
  for (std::size_t i = 0; i < 2; ++i) {
    const bool scale = i == 0 ? model != EChemiModel::kTemkin : model != EChemiModel::kFreundlich;
    const double v = fit.m_Parameters[i];
    if (scale && !(v >= std::numeric_limits<double>::min() && std::isfinite(v))) {
      fit.m_Message = "the fit ran to a limit of the model: " + fit.m_Names[i] + " = " +
                      (v > 1.0 ? "infinity" : "0");
      return fit;
    }
  }
  double mean = 0.0;
  for (double y : q) mean += y / static_cast<double>(q.size());
  double rss = 0.0, tss = 0.0;
  for (std::size_t i = 0; i < p.size(); ++i) {
    const double r = q[i] - ChemiModelLoading(model, fit.m_Parameters, p[i]);
    rss += r * r;
    tss += (q[i] - mean) * (q[i] - mean);
  }
  fit.m_RSquared = tss > 0.0 ? 1.0 - rss / tss : kNaN;
  fit.m_RmsError = std::sqrt(rss / static_cast<double>(p.size()));
  fit.m_Valid = std::isfinite(fit.m_Parameters[0]) && std::isfinite(fit.m_Parameters[1]);
  if (!fit.m_Valid) fit.m_Message = "the fitted parameters are not finite";
  return fit;
}

}  // namespace detail
}  // namespace fiofla
