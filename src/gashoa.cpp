#include "fiofla/gashoa.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <utility>

#include "fiofla/num/interpolate.h"
#include "fiofla/num/linefit.h"

namespace {

constexpr double kGasConstantKJ = 0.00831441;  // kJ/(mol K)

// The quantities of the interpolator's table in its node order: points with a finite
// pressure, stably sorted by pressure, repeats merged at their mean quantity.
std::vector<double> TableQuantities(CNumVector<double> const& pressures,
                                    CNumVector<double> const& quantities) {
  const std::size_t n = std::min<std::size_t>(pressures.size(), quantities.size());
  std::vector<std::pair<double, double>> pts;
  pts.reserve(n);
  for (std::size_t i = 0; i < n; ++i)
    if (std::isfinite(pressures[i])) pts.emplace_back(pressures[i], quantities[i]);
  std::stable_sort(pts.begin(), pts.end(),
                   [](auto const& a, auto const& b) { return a.first < b.first; });
  std::vector<double> q;
  std::vector<double> p;
  for (std::size_t i = 0; i < pts.size();) {
    std::size_t j = i;
    double sum = 0.0;
    while (j < pts.size() && pts[j].first == pts[i].first) sum += pts[j++].second;
    p.push_back(pts[i].first);
    q.push_back(sum / static_cast<double>(j - i));
    i = j;
  }
  // Pressures go after the quantities so that one vector carries both halves.
  q.insert(q.end(), p.begin(), p.end());
  return q;
}

// sqrt of a fit variance; two points leave no degrees of freedom (NaN), and the exact line
// through them has no error to report.
double StdError(double variance) {
  return std::isfinite(variance) ? std::sqrt(variance) : 0.0;
}

}  // namespace

bool CIsostereCalc::CInput::AddIsotherm(CNumVector<double> const& pressures,
                                        CNumVector<double> const& quantities, double temperatureK) {
  if (!(temperatureK > 0.0) || !std::isfinite(temperatureK)) return false;
  CNumInterpolate interp(CNumInterpolate::eMonotoneCubic);
  interp.SetAscending(pressures, quantities);
  const std::vector<double> table = TableQuantities(pressures, quantities);
  const std::size_t n = table.size() / 2;
  if (n == 0) return false;
  const double* q = table.data();
  const double* p = table.data() + n;

  const double target = m_QuantityAds;
  if (!(target >= q[0] && target <= q[n - 1])) return false;
  std::size_t k = 0;
  while (k < n && q[k] < target) ++k;
  if (k == n) return false;  // a non-finite quantity in the table hides the target

  double lower = p[k == 0 ? 0 : k - 1];
  double upper = p[k];
  double mid = 0.5 * (lower + upper);
  while (upper - lower > 1e-9) {
    mid = 0.5 * (lower + upper);
    const double d = target - interp.Interpolate(mid);
    if (d > 0.0)
      lower = mid;
    else
      upper = mid;
    if (std::fabs(d) <= 1e-6) break;
  }
  if (!(mid > 0.0)) return false;
  m_Pressures.push_back(mid);
  m_Temperatures.push_back(temperatureK);
  return true;
}

CIsostereCalc::CIsostereCalc(CInput const& input) : m_QuantityAds(input.m_QuantityAds) {
  const std::size_t n = std::min(input.m_Pressures.size(), input.m_Temperatures.size());
  m_Data.reserve(n);
  for (std::size_t i = 0; i < n; ++i) {
    const double P = input.m_Pressures[i];
    m_Data.push_back({1.0 / input.m_Temperatures[i], P > 0.0 ? std::log(P) : 1e-9});
  }
  if (!IsOK()) return;
  CNumLineFit fit(CNumLineFit::eOrdinaryLeastSquares);
  for (auto const& d : m_Data) fit.AddPoint(d.x, d.y);
  fit.CalculateVariance();
  m_Slope = fit.Slope();
  m_Intercept = fit.YIntercept();
  m_SlopeError = StdError(fit.VarSlope());
}

double CIsostereCalc::HeatOfAdsorption() const {
  return IsOK() ? -kGasConstantKJ * m_Slope : 0.0;
}

double CIsostereCalc::GetUncertainty() const {
  return IsOK() ? kGasConstantKJ * m_SlopeError : 0.0;
}

CDynamicHeatCalc::CDynamicHeatCalc(std::vector<STempRampRate> runs) {
  for (auto const& run : runs) {
    if (run.temperatureK == 0.0 || !(run.rampRate > 0.0)) continue;
    m_InvTemperatures.push_back(1.0 / run.temperatureK);
    m_Transform.push_back(std::log(run.temperatureK * run.temperatureK / run.rampRate));
  }
  if (m_InvTemperatures.size() < 2) return;
  CNumLineFit fit(m_InvTemperatures.size(), m_InvTemperatures.data(), m_Transform.data(),
                  CNumLineFit::eOrdinaryLeastSquares);
  fit.CalculateVariance();
  m_FitSlope = fit.Slope();
  m_FitSlopeError = StdError(fit.VarSlope());
  m_FitYIntercept = fit.YIntercept();
  m_FitYInterceptError = StdError(fit.VarYIntercept());
  m_FitCorrCoef = fit.Correlation();
  // R as 8.31441e7 erg/(mol K) scaled to kJ/(mol K), in this order of operations.
  m_HeatOfDesorption = m_FitSlope * 1e-10 * 83144100.0;
  m_HeatError = m_FitSlopeError * 1e-10 * 83144100.0;
}
