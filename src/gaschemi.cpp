// CSinfeltCalc: the strong isotherm and the extrapolated uptakes.
#include "fiofla/gaschemi.h"

#include <algorithm>
#include <cmath>
#include <string>

#include "fiofla/num/interpolate.h"
#include "fiofla/num/linefit.h"
#include "gaschemi_internal.h"
#include "report_numbers.h"

namespace {

std::string Num(double x) {
  return fiofla::detail::FormatNumber(x, "%.6g");
}

// The points with a finite pressure >= 0 and a finite quantity, in the order given.
void Usable(std::vector<double> const& p, std::vector<double> const& q, std::vector<double>& outP,
            std::vector<double>& outQ) {
  for (std::size_t i = 0; i < p.size() && i < q.size(); ++i)
    if (p[i] >= 0.0 && std::isfinite(p[i]) && std::isfinite(q[i])) {
      outP.push_back(p[i]);
      outQ.push_back(q[i]);
    }
}

// The line through the points with low <= P <= high; not valid with fewer than two.
CSinfeltCalc::SLine FitRange(std::vector<double> const& p, std::vector<double> const& q, double low,
                             double high) {
  CSinfeltCalc::SLine line;
  std::vector<double> x, y;
  for (std::size_t i = 0; i < p.size(); ++i)
    if (p[i] >= low && p[i] <= high) {
      x.push_back(p[i]);
      y.push_back(q[i]);
    }
  line.m_Points = static_cast<int>(x.size());
  if (x.size() < 2) return line;
  CNumLineFit fit(x.size(), x.data(), y.data());
  fit.CalculateVariance();
  if (!fit.IsValid()) return line;  // all points at one pressure
  line.m_Valid = true;
  line.m_Slope = fit.Slope();
  line.m_Intercept = fit.YIntercept();
  // Two points leave no degrees of freedom: the variances are NaN, and so are the errors.
  line.m_SlopeError = std::sqrt(fit.VarSlope());
  line.m_InterceptError = std::sqrt(fit.VarYIntercept());
  line.m_RSquared = fit.Correlation() * fit.Correlation();
  return line;
}

std::string Span(std::vector<double> const& p) {
  const auto [lo, hi] = std::minmax_element(p.begin(), p.end());
  return "spans " + Num(*lo) + " to " + Num(*hi) + " mmHg";
}

}  // namespace

void CSinfeltCalc::Fail(EStatus status, std::string message) {
  if (m_Status != eOK) return;
  m_Status = status;
  m_Message = std::move(message);
}

CSinfeltCalc::CSinfeltCalc(SInput const& in)
    : m_RangeLow(in.m_RangeLow), m_RangeHigh(in.m_RangeHigh) {
  Usable(in.m_CombinedPressures, in.m_CombinedQuantities, m_CombinedP, m_CombinedQ);
  Usable(in.m_WeakPressures, in.m_WeakQuantities, m_WeakP, m_WeakQ);
  if (m_CombinedP.size() < 2) {
    Fail(eTooFewCombined, "the combined isotherm has " + std::to_string(m_CombinedP.size()) +
                              " point(s) with a finite pressure >= 0 and quantity; two are needed");
    return;
  }
  const std::string range = Num(m_RangeLow) + " to " + Num(m_RangeHigh) + " mmHg";
  if (!(m_RangeLow >= 0.0 && m_RangeLow < m_RangeHigh && std::isfinite(m_RangeHigh))) {
    Fail(eBadRange, "extrapolation range " + range + " is not 0 <= low < high");
    return;
  }

  m_Lines[eCombined] = FitRange(m_CombinedP, m_CombinedQ, m_RangeLow, m_RangeHigh);
  if (!m_Lines[eCombined].m_Valid)
    Fail(eCombinedNotInRange, std::to_string(m_Lines[eCombined].m_Points) +
                                  " combined point(s) in the extrapolation range " + range +
                                  " (the isotherm " + Span(m_CombinedP) +
                                  "); two at different pressures are needed");

  if (!m_WeakP.empty()) {
    m_Lines[eWeak] = FitRange(m_WeakP, m_WeakQ, m_RangeLow, m_RangeHigh);
    if (!m_Lines[eWeak].m_Valid)
      Fail(eWeakNotInRange, std::to_string(m_Lines[eWeak].m_Points) +
                                " weak point(s) in the extrapolation range " + range +
                                " (the isotherm " + Span(m_WeakP) +
                                "); two at different pressures are needed");

    // The weak uptake is 0 at zero pressure: evacuation removed the weakly held gas.
    const bool addOrigin = *std::min_element(m_WeakP.begin(), m_WeakP.end()) > 0.0;
    CNumVector<double> wp(m_WeakP.size() + (addOrigin ? 1 : 0)), wq(wp.size());
    for (std::size_t i = 0; i < m_WeakP.size(); ++i) {
      wp[i] = m_WeakP[i];
      wq[i] = m_WeakQ[i];
    }
    if (addOrigin) wp[m_WeakP.size()] = wq[m_WeakP.size()] = 0.0;
    const CNumInterpolate weak(wp, wq, CNumInterpolate::eLinear);
    const double weakTop = *std::max_element(m_WeakP.begin(), m_WeakP.end());
    const double scale = *std::max_element(m_CombinedQ.begin(), m_CombinedQ.end());
    double worst = 0.0, worstAt = 0.0;
    for (std::size_t i = 0; i < m_CombinedP.size(); ++i) {
      if (m_CombinedP[i] > weakTop) continue;
      const double w = weak.Interpolate(m_CombinedP[i]);
      m_StrongP.push_back(m_CombinedP[i]);
      m_StrongQ.push_back(m_CombinedQ[i] - w);
      if (w - m_CombinedQ[i] > worst) {
        worst = w - m_CombinedQ[i];
        worstAt = m_CombinedP[i];
      }
    }
    const double tolerance = in.m_WeakTolerance * std::fabs(scale);
    if (worst > tolerance)
      Fail(eWeakAboveCombined,
           "the weak isotherm lies above the combined one: by " + Num(worst) + " cm3/g STP at " +
               Num(worstAt) + " mmHg, more than the tolerance of " + Num(tolerance) + " cm3/g STP");
    m_Lines[eStrong] = FitRange(m_StrongP, m_StrongQ, m_RangeLow, m_RangeHigh);
    if (!m_Lines[eStrong].m_Valid)
      Fail(eStrongNotInRange, std::to_string(m_Lines[eStrong].m_Points) +
                                  " strong point(s) in the extrapolation range " + range +
                                  " (strong points exist only up to the highest weak pressure, " +
                                  Num(weakTop) + " mmHg); two at different pressures are needed");
  }

  if (!in.m_FitModels) return;
  for (EIsotherm which : {eCombined, eStrong}) {
    if (which == eStrong && m_StrongP.empty()) continue;
    for (fiofla::EChemiModel model : fiofla::ChemiModels()) {
      m_Fits.push_back(
          fiofla::detail::FitChemiModel(model, GetPressures(which), GetQuantities(which)));
      m_Fits.back().m_Isotherm = which;
    }
  }
}

double CSinfeltCalc::GetUptakeDifference() const {
  return m_Lines[eCombined].m_Valid && m_Lines[eWeak].m_Valid
             ? m_Lines[eCombined].m_Intercept - m_Lines[eWeak].m_Intercept
             : 0.0;
}

std::vector<double> const& CSinfeltCalc::GetPressures(EIsotherm which) const {
  return which == eCombined ? m_CombinedP : which == eWeak ? m_WeakP : m_StrongP;
}

std::vector<double> const& CSinfeltCalc::GetQuantities(EIsotherm which) const {
  return which == eCombined ? m_CombinedQ : which == eWeak ? m_WeakQ : m_StrongQ;
}
