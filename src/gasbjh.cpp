#include "fiofla/gasbjh.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

namespace {

// pi as the method has always been computed with it.
constexpr double kPi = 3.14159265;
constexpr double kTwoPi = 6.2831853;
// pi x 1e-12: area of a length of pore wall per Å of diameter.
constexpr double kPiE12 = 3.1415926500000005e-12;

}  // namespace

void CBJHCalc::LimitRelPress(double& p) {
  if (p > 0.9998) p = 0.9998;
  if (p < 1e-10) p = 1e-10;
}

double CBJHCalc::KelvinRad(double p) const {
  if (p < 1e-30) return 0.0;
  double r = -m_KelvinConstant / std::log(p);
  if (m_UseCorrection) {
    r = r / (m_RadiusFraction + 1.0);
    if (m_Method == 1) r = r + 3.0;
  }
  return r;
}

double CBJHCalc::WgtAvgRelPress(double d) const {
  if (m_UseCorrection) {
    if (m_Method == 1) d = d - 6.0;
    d = d * (m_RadiusFraction + 1.0);
  }
  if (d < 1e-30) return 0.9998;
  const double v = -2.0 * m_KelvinConstant / d;
  return v >= 11.51292 ? 99999.0 : std::exp(v);
}

double CBJHCalc::WgtAvgCapDiam(double r1, double r2) {
  const double s = r1 * r1 + r2 * r2;
  if (s < 1e-30) return 0.0;
  return 2.0 * r1 * r2 * (r1 + r2) / s;
}

double CBJHCalc::XSectAreaCapl(double d) {
  return (d / 2.0) * (d / 2.0) * kPi * 1e-16;
}

double CBJHCalc::XSectAreaAnnl(double d, double t) {
  const double r = d / 2.0;
  return ((r + t) * (r + t) - r * r) * kPi * 1e-16;
}

double CBJHCalc::IncrPoreVol(double L, double D) {
  return L * kPi * (D / 2.0) * (D / 2.0) * 1e-16;
}

double CBJHCalc::IncrSurfArea(double L, double D) {
  return L * kPi * 0.01 * D * 1e-10;
}

double CBJHCalc::GetSinglePointPoreWidth(double p, double K, CThicknessFunction const& t) {
  return 2.0 * (-K / std::log(p) + t.EvalAt(p));
}

void CBJHCalc::InvertAdsPoints(std::vector<double>& P, std::vector<double>& Q) {
  std::reverse(P.begin(), P.end());
  std::reverse(Q.begin(), Q.end());
}

void CBJHCalc::PrepDesPoints(std::vector<double>& P, std::vector<double>& Q,
                             std::vector<std::size_t>* dropped) {
  const std::size_t n = std::min(P.size(), Q.size());
  std::vector<double> p, q;
  for (std::size_t i = 0; i < n; ++i) {
    // Compared with the input predecessor, not the last kept point: one rising point
    // also costs its successor unless that one falls again.
    if (i == 0 || (P[i] < P[i - 1] && Q[i] < Q[i - 1])) {
      p.push_back(P[i]);
      q.push_back(Q[i]);
    } else if (dropped != nullptr) {
      dropped->push_back(i);
    }
  }
  P.swap(p);
  Q.swap(q);
}

bool CBJHCalc::PrepIsotherm(std::vector<double>& P, std::vector<double>& Q) {
  const std::size_t n = std::min(P.size(), Q.size());
  P.resize(n);
  Q.resize(n);
  if (n < 2) {
    m_Status = STATUS_TOO_FEW_POINTS;
    return false;
  }
  const std::vector<double> givenP = P, givenQ = Q;
  for (double& p : P) LimitRelPress(p);
  if (m_UseAdsorption) InvertAdsPoints(P, Q);
  const std::vector<double> walkP = P, walkQ = Q;
  std::vector<std::size_t> dropped;
  PrepDesPoints(P, Q, &dropped);
  for (std::size_t i : dropped) {
    // Position in the branch as given of the walk's point i.
    auto given = [&](std::size_t w) { return m_UseAdsorption ? n - 1 - w : w; };
    const std::size_t k = given(i);
    const bool pFalls = walkP[i] < walkP[i - 1], qFalls = walkQ[i] < walkQ[i - 1];
    EDropReason reason = eNeitherFalling;
    if (pFalls && !qFalls)
      reason = eQuantityNotFalling;
    else if (!pFalls && qFalls)
      reason = givenP[k] < givenP[given(i - 1)] ? eRelPressAboveLimit : eRelPressNotFalling;
    m_Dropped.push_back({k, givenP[k], givenQ[k], reason});
  }
  std::sort(m_Dropped.begin(), m_Dropped.end(),
            [](const SDroppedPoint& a, const SDroppedPoint& b) { return a.index < b.index; });
  if (P.size() < 2) {
    m_Status = STATUS_TOO_FEW_PREPARED;
    return false;
  }
  // Close the walk at zero pressure, where every pore is empty.
  if (P.back() != 0.0 && Q.back() != 0.0) {
    P.push_back(0.0);
    Q.push_back(0.0);
  }
  return true;
}

CBJHCalc::CBJHCalc(SInput const& in)
    : m_Method(in.m_Method),
      m_UseCorrection(in.m_UseCorrection),
      m_UseAdsorption(in.m_UseAdsorption),
      m_KelvinConstant(in.m_KelvinConstant),
      m_DensityConversion(in.m_DensityConversion),
      m_MaxDiameter(in.m_MaxDiameter),
      m_MinDiameter(in.m_MinDiameter),
      m_RadiusFraction(in.m_RadiusFraction) {
  if (in.m_pThickness == nullptr) {
    m_Status = STATUS_NO_THICKNESS;
    return;
  }
  if (!(m_KelvinConstant > 0.0)) {
    m_Status = STATUS_BAD_KELVIN;
    return;
  }
  if (!(m_DensityConversion > 0.0)) {
    m_Status = STATUS_BAD_DENSITY;
    return;
  }
  m_RelPress = in.m_RelPress;
  m_QtyAdsorbed = in.m_QtyAdsorbed;
  if (!PrepIsotherm(m_RelPress, m_QtyAdsorbed)) return;

  const std::size_t n = m_RelPress.size();
  m_Lengths.assign(n, 0.0);
  m_AvgDiameters.assign(n, 0.0);
  m_Diameters.assign(n + 1, 0.0);
  m_BoundaryRelPress.assign(n + 1, 0.0);
  const CThicknessFunction& t = *in.m_pThickness;
  if (!m_UseCorrection)
    VariantA(t);
  else if (m_Method == 2)
    VariantB(t);
  else
    VariantC(t);
  if (m_NumIntervals == 0) {
    m_Status = STATUS_NO_INTERVAL;
    return;
  }

  // Intervals run from large to small diameters.
  std::size_t first = 0;
  while (first < m_NumIntervals && !(m_AvgDiameters[first] <= m_MaxDiameter)) ++first;
  std::size_t end = m_NumIntervals;
  while (end > first && !(m_AvgDiameters[end - 1] >= m_MinDiameter)) --end;
  if (first >= m_NumIntervals || end == first) {
    m_Status = STATUS_NONE_IN_RANGE;
    return;
  }
  m_FirstSelected = first;
  m_EndSelected = end;
  m_NumSelected = end - first;

  for (std::size_t k = 0; k < first; ++k)
    m_VolumeAbove += IncrPoreVol(m_Lengths[k], m_AvgDiameters[k]);
  for (std::size_t k = end; k < m_NumIntervals; ++k)
    m_VolumeBelow += IncrPoreVol(m_Lengths[k], m_AvgDiameters[k]);

  CNumVector<double> diameters(m_NumSelected + 1u), volumes(m_NumSelected), areas(m_NumSelected);
  double totalVolume = 0.0, totalArea = 0.0;
  for (std::size_t k = first; k < end; ++k) {
    volumes[k - first] = IncrPoreVol(m_Lengths[k], m_AvgDiameters[k]);
    areas[k - first] = IncrSurfArea(m_Lengths[k], m_AvgDiameters[k]);
    totalVolume += volumes[k - first];
    totalArea += areas[k - first];
  }
  for (std::size_t k = first; k <= end; ++k) diameters[k - first] = m_Diameters[k];
  m_VolumeDistribution.Set(diameters, volumes);
  m_AreaDistribution.Set(diameters, areas);
  m_TotalPoreVolume = totalVolume;
  m_TotalPoreArea = totalArea;
  m_Status = STATUS_OK;
}

void CBJHCalc::VariantA(CThicknessFunction const& t) {
  const std::vector<double>& P = m_RelPress;
  const std::vector<double>& Q = m_QtyAdsorbed;
  const std::size_t n = P.size();
  const double F = m_DensityConversion;
  m_Diameters[0] = 2.0 * (KelvinRad(P[0]) + t.EvalAt(P[0]));
  m_BoundaryRelPress[0] = P[0];
  double volume = F * Q[0];
  double area = 0.0, length = 0.0;
  for (std::size_t i = 1; i + 1 < n; ++i) {
    m_Diameters[i] = 2.0 * (KelvinRad(P[i]) + t.EvalAt(P[i]));
    m_BoundaryRelPress[i] = P[i];
    const double davg = (m_Diameters[i - 1] + m_Diameters[i]) / 2.0;
    const double dt = t.EvalAt(P[i - 1]) - t.EvalAt(P[i]);
    const double rk = (KelvinRad(P[i - 1]) + KelvinRad(P[i])) / 2.0;
    const double R = (davg / 2.0) / (dt + rk);
    const double dV = volume - F * Q[i];
    volume = F * Q[i];
    const double vp =
        R * R * (dV - dt * 1e-8 * (area - kTwoPi * (davg / 2.0 - rk) * 1e-8 * length));
    if (!(vp > 0.0)) AddEmptyStep(P[i - 1], P[i], vp, false, t);
    const double a = vp > 0.0 ? 4.0 * vp / (davg * 1e-8) : 0.0;
    const double l = a / (davg * kPi * 1e-8);
    m_AvgDiameters[i - 1] = davg;
    m_Lengths[i - 1] = l;
    area += a;
    length += l;
  }
  m_NumIntervals = n > 2 ? n - 2 : 0;
}

void CBJHCalc::VariantC(CThicknessFunction const& t) {
  const std::vector<double>& P = m_RelPress;
  const std::vector<double>& Q = m_QtyAdsorbed;
  const std::size_t n = P.size();
  const double F = m_DensityConversion;
  m_Diameters[0] = 2.0 * (KelvinRad(P[0]) + t.EvalAt(P[0]));
  m_BoundaryRelPress[0] = P[0];
  std::size_t j = 0, count = 0;
  for (std::size_t i = 1; i + 1 < n; ++i) {
    const double ti = t.EvalAt(P[i]), tj = t.EvalAt(P[j]);
    double freed = 0.0;  // film released from the pores already found
    for (std::size_t k = 0; k < count; ++k)
      freed += m_Lengths[k] * (XSectAreaCapl(2.0 * (m_AvgDiameters[k] / 2.0 - ti)) -
                               XSectAreaCapl(2.0 * (m_AvgDiameters[k] / 2.0 - tj)));
    const double dV = (Q[j] - Q[i]) * F - freed;
    if (dV < 0.0) {  // the film alone explains this step: try the next point
      AddEmptyStep(P[j], P[i], dV, true, t);
      continue;
    }
    m_Diameters[count + 1] = 2.0 * (KelvinRad(P[i]) + ti);
    m_BoundaryRelPress[count + 1] = P[i];
    const double dc = WgtAvgCapDiam(KelvinRad(P[j]), KelvinRad(P[i]));
    const double pc = WgtAvgRelPress(dc);
    m_AvgDiameters[count] = dc + 2.0 * t.EvalAt(pc);
    m_Lengths[count] = dV / XSectAreaCapl(dc);
    ++count;
    j = i;
  }
  m_NumIntervals = count;
}

void CBJHCalc::VariantB(CThicknessFunction const& t) {
  const std::vector<double>& P = m_RelPress;
  const std::vector<double>& Q = m_QtyAdsorbed;
  const std::size_t n = P.size();
  const double F = m_DensityConversion;
  m_Diameters[0] = 2.0 * KelvinRad(P[0]);
  m_BoundaryRelPress[0] = P[0];
  std::size_t count = 0;
  // Widens the boundaries found so far (count + 1 of them) and the averages by 2 dt.
  auto widen = [&](double dt, std::size_t boundaries, std::size_t averages) {
    for (std::size_t k = 0; k < boundaries; ++k) m_Diameters[k] += 2.0 * dt;
    for (std::size_t k = 0; k < averages; ++k) m_AvgDiameters[k] += 2.0 * dt;
  };
  for (std::size_t i = 0; i + 1 < n; ++i) {
    double dt = t.EvalAt(P[i]) - t.EvalAt(P[i + 1]);
    const double dV = F * Q[i] - F * Q[i + 1];
    const bool last = i + 2 == n;
    double freed = 0.0;
    for (std::size_t k = 0; k < count; ++k)
      freed += m_Lengths[k] * XSectAreaAnnl(m_AvgDiameters[k], dt);
    const bool open = !last && (count == 0 ? dV > 0.0 : freed < dV);
    if (!open) {
      if (count > 0 && !last) {
        AddEmptyStep(P[i], P[i + 1], dV - freed, true, t);
        // The film alone explains the step: the thinning follows from the volume freed.
        double a = 0.0;
        for (std::size_t k = 0; k < count; ++k) a += kPiE12 * m_AvgDiameters[k] * m_Lengths[k];
        if (a != 0.0) dt = (dV * 1e-6) / (a * 1e-10);
      }
      widen(dt, count + 1, count);
      continue;
    }
    const double r0 = KelvinRad(P[i]), r1 = KelvinRad(P[i + 1]);
    m_Diameters[count + 1] = 2.0 * r1;
    m_BoundaryRelPress[count + 1] = P[i + 1];
    double davg = WgtAvgCapDiam(r0, r1);
    const double pc = WgtAvgRelPress(davg);
    const double t1 = t.EvalAt(pc), t2 = t.EvalAt(P[i + 1]);
    m_Lengths[count] = (dV - freed) / (XSectAreaCapl(davg) + XSectAreaAnnl(davg, t1 - t2));
    davg += 2.0 * (t1 - t2);
    widen(dt, count + 1, count);  // the earlier boundaries and averages
    m_AvgDiameters[count] = davg;
    ++count;
  }
  m_NumIntervals = count;
}

void CBJHCalc::AddEmptyStep(double pHigh, double pLow, double volume, bool merged,
                            CThicknessFunction const& t) {
  const double dHigh = 2.0 * (KelvinRad(pHigh) + t.EvalAt(pHigh));
  const double dLow = 2.0 * (KelvinRad(pLow) + t.EvalAt(pLow));
  m_EmptySteps.push_back({pHigh, pLow, dHigh, dLow, volume, merged});
}

void CBJHCalc::Select(CNumVector<double>& out, std::vector<double> const& v,
                      std::size_t extra) const {
  const std::size_t m = m_Status == STATUS_OK ? m_NumSelected + extra : 0;
  out.SetDim(m);
  for (std::size_t k = 0; k < m; ++k) out[k] = v[m_FirstSelected + k];
}

void CBJHCalc::GetPoreDiameters(CNumVector<double>& out) const {
  Select(out, m_Diameters, 1);
}

void CBJHCalc::GetPoreRelativePressures(CNumVector<double>& out) const {
  Select(out, m_BoundaryRelPress, 1);
}

void CBJHCalc::GetAverageDiameters(CNumVector<double>& out) const {
  Select(out, m_AvgDiameters, 0);
}

void CBJHCalc::GetIncrementalVolume(CNumVector<double>& out) const {
  m_VolumeDistribution.GetIncremental(out);
}

void CBJHCalc::GetCumulativeVolume(CNumVector<double>& out, bool reverse) const {
  m_VolumeDistribution.GetCumulative(out, reverse);
}

void CBJHCalc::GetDifferentialVolume(CNumVector<double>& out, bool smoothed) const {
  m_VolumeDistribution.GetDifferential(out, smoothed);
}

void CBJHCalc::GetLogDifferentialVolume(CNumVector<double>& out, bool smoothed) const {
  m_VolumeDistribution.GetLogDifferential(out, smoothed);
}

void CBJHCalc::GetIncrementalArea(CNumVector<double>& out) const {
  m_AreaDistribution.GetIncremental(out);
}

void CBJHCalc::GetCumulativeArea(CNumVector<double>& out, bool reverse) const {
  m_AreaDistribution.GetCumulative(out, reverse);
}

void CBJHCalc::GetDifferentialArea(CNumVector<double>& out, bool smoothed) const {
  m_AreaDistribution.GetDifferential(out, smoothed);
}

void CBJHCalc::GetLogDifferentialArea(CNumVector<double>& out, bool smoothed) const {
  m_AreaDistribution.GetLogDifferential(out, smoothed);
}

int CBJHCalc::GetPeakAtEdge() const {
  if (m_Status != STATUS_OK) return 0;
  CNumVector<double> dvdd;
  m_VolumeDistribution.GetDifferential(dvdd, false);
  const std::size_t m = dvdd.size();
  if (m < 3) return 0;
  std::size_t peak = 0;
  for (std::size_t k = 1; k < m; ++k)
    if (dvdd[k] > dvdd[peak]) peak = k;
  // Intervals run from the largest diameters to the smallest.
  return peak == 0 ? 1 : peak == m - 1 ? -1 : 0;
}

namespace fiofla {
namespace {

std::string Num(double x, const char* format = "%.4g") {
  char text[40];
  std::snprintf(text, sizeof text, format, x);
  return text;
}

// "a, b, c and 4 more"
std::string FirstFew(const std::vector<std::string>& items, std::size_t shown = 5) {
  std::string out;
  for (std::size_t k = 0; k < items.size() && k < shown; ++k)
    out += (k == 0 ? "" : ", ") + items[k];
  if (items.size() > shown) out += " and " + std::to_string(items.size() - shown) + " more";
  return out;
}

}  // namespace

std::string BjhDropReasonText(CBJHCalc const& calc, CBJHCalc::SDroppedPoint const& point) {
  // An adsorption branch is walked backwards: a point is held against the one after it.
  const std::string other = calc.IsAdsorption() ? " the point after" : " the point before";
  switch (point.reason) {
    case CBJHCalc::eRelPressNotFalling:
      return "P/Po not below" + other;
    case CBJHCalc::eQuantityNotFalling:
      return "quantity adsorbed not below" + other;
    case CBJHCalc::eRelPressAboveLimit:
      return "P/Po above 0.9998 like" + other + ", both taken as 0.9998";
    default:
      return "neither P/Po nor quantity adsorbed below" + other;
  }
}

std::string BjhEmptyStepText(CBJHCalc::SEmptyStep const& step) {
  return step.merged ? "no pores counted; the next interval reaches over the step"
                     : "counted as an interval without pores";
}

std::vector<std::string> BjhNotes(CBJHCalc const& calc, BjhWording const& wording) {
  auto name = [&wording](std::size_t k) {
    return wording.pointName ? wording.pointName(k) : "point " + std::to_string(k + 1);
  };
  std::vector<std::string> notes;
  const auto& dropped = calc.GetDroppedPoints();
  if (!dropped.empty()) {
    std::vector<std::string> items;
    for (const auto& d : dropped) items.push_back(name(d.index));
    notes.push_back(
        std::to_string(dropped.size()) +
        (dropped.size() == 1 ? " point of the branch was" : " points of the branch were") +
        " left out, as the walk from high to low pressure needs each point below the "
        "one before it in P/Po and quantity adsorbed: " +
        FirstFew(items));
  }
  const auto& empty = calc.GetEmptySteps();
  if (!empty.empty()) {
    std::vector<std::string> items;
    for (const auto& e : empty)
      items.push_back("P/Po " + Num(e.relPressHigh) + " to " + Num(e.relPressLow));
    const bool merged = empty.front().merged;
    notes.push_back(
        std::to_string(empty.size()) + (empty.size() == 1 ? " step" : " steps") +
        " freed no more liquid than the thinning film accounts for, so " +
        (empty.size() == 1 ? "it counts" : "they count") + " no pores (" +
        (merged ? "the next interval reaches over " + std::string(empty.size() == 1 ? "it" : "them")
                : std::string("the negative volume is taken as zero")) +
        "): " + FirstFew(items));
  }
  if (calc.GetStatus() != CBJHCalc::STATUS_OK) return notes;
  const double below = calc.GetVolumeBelowRange(), above = calc.GetVolumeAboveRange();
  const double total = calc.GetTotalPoreVolume() + below + above;
  if (below > 0.0 || above > 0.0)
    notes.push_back("Pore volume outside " + Num(calc.GetMinDiameter()) + " to " +
                    Num(calc.GetMaxDiameter()) + " Å: " + Num(below, "%.4f") +
                    " cm3/g in smaller pores, " + Num(above, "%.4f") + " cm3/g in larger (" +
                    Num(100.0 * (below + above) / total, "%.1f") +
                    " % of the volume of all intervals)");
  return notes;
}

std::vector<std::string> BjhWarnings(CBJHCalc const& calc, BjhWording const& wording) {
  std::vector<std::string> warnings;
  const int edge = calc.GetPeakAtEdge();
  if (edge == 0) return warnings;
  const bool small = edge < 0;
  CNumVector<double> d;
  calc.GetPoreDiameters(d);
  const std::size_t k = small ? d.size() - 2 : 0;  // the edge interval, d[k] to d[k + 1]
  std::string text = std::string("The distribution's peak (largest dV/dD) lies in its ") +
                     (small ? "smallest" : "largest") + "-diameter interval (" + Num(d[k], "%.1f") +
                     " to " + Num(d[k + 1], "%.1f") +
                     " Å): the main pores may lie outside what it shows; ";
  const double beyond = small ? calc.GetVolumeBelowRange() : calc.GetVolumeAboveRange();
  const double bound = small ? calc.GetMinDiameter() : calc.GetMaxDiameter();
  if (beyond > 0.0) {
    text += Num(beyond, "%.4f") + " cm3/g lies " + (small ? "below" : "above") + " the range's " +
            (small ? "lower" : "upper") + " bound of " + Num(bound) + " Å, so widen the range" +
            (wording.rangeSetting.empty()
                 ? std::string()
                 : " with " + wording.rangeSetting + " (now " + Num(calc.GetMinDiameter()) + ":" +
                       Num(calc.GetMaxDiameter()) + ")");
  } else {
    // Nothing was cut: only points further along the branch could show those pores.
    text += std::string("no pore volume lies ") + (small ? "below" : "above") +
            " the range, so widening it" +
            (wording.rangeSetting.empty() ? std::string() : " (" + wording.rangeSetting + ")") +
            " adds nothing; points at " + (small ? "lower" : "higher") +
            " pressure would be needed to show them";
  }
  warnings.push_back(text);
  return warnings;
}

}  // namespace fiofla
