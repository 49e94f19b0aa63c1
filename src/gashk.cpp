// Horvath-Kawazoe calculation: the points of the branch to pore widths and a distribution.
#include "fiofla/gashk.h"

#include <algorithm>
#include <cmath>

namespace {

bool PositiveFinite(double v) {
  return v > 0.0 && std::isfinite(v);
}

bool Known(fiofla::HKGeometry g) {
  return g == fiofla::HKGeometry::kSlit || g == fiofla::HKGeometry::kCylinder ||
         g == fiofla::HKGeometry::kSphere;
}

bool Known(fiofla::HKMethod m) {
  return m == fiofla::HKMethod::kHorvathKawazoe || m == fiofla::HKMethod::kChengYang ||
         m == fiofla::HKMethod::kRegeYang;
}

bool Usable(fiofla::HKMolecule const& m) {
  return PositiveFinite(m.diameterAngstrom) && PositiveFinite(m.polarisabilityCm3) &&
         PositiveFinite(m.susceptibilityCm3) && PositiveFinite(m.surfaceDensityPerCm2);
}

// 1 + ln(1 - θ)/θ, which tends to -θ/2 as θ goes to 0.
double ChengYangTerm(double theta) {
  return theta == 0.0 ? 0.0 : 1.0 + std::log1p(-theta) / theta;
}

}  // namespace

CHKCalc::CHKCalc(SInput const& input) {
  Calculate(input);
}

void CHKCalc::Calculate(SInput const& in) {
  using fiofla::HKMethod;
  m_Status = STATUS_NOT_CALCULATED;
  if (!Usable(in.m_Adsorbate) || !Usable(in.m_Surface)) {
    m_Status = STATUS_BAD_CONSTANTS;
    return;
  }
  if (!PositiveFinite(in.m_TemperatureK)) {
    m_Status = STATUS_BAD_TEMPERATURE;
    return;
  }
  if (!PositiveFinite(in.m_DensityConversion)) {
    m_Status = STATUS_BAD_DENSITY;
    return;
  }
  const bool layered = in.m_Method == HKMethod::kRegeYang;
  if (!Known(in.m_Geometry) || !Known(in.m_Method) || !PositiveFinite(in.m_MaxRelPress) ||
      !PositiveFinite(in.m_MaxWidth) || !(in.m_LangmuirCapacity >= 0.0) ||
      !std::isfinite(in.m_LangmuirCapacity)) {
    m_Status = STATUS_BAD_SETTINGS;
    return;
  }
  m_Potential = fiofla::HKPotential(in.m_Geometry, layered, in.m_Adsorbate, in.m_Surface,
                                    in.m_TemperatureK, in.m_MaxWidth);
  if (!m_Potential.IsValid()) {
    m_Status = STATUS_BAD_SETTINGS;
    return;
  }

  // The branch as measured: usable points in range, each above the last one kept.
  const std::size_t n = std::min(in.m_RelPress.size(), in.m_QtyAdsorbed.size());
  std::vector<std::size_t> index;
  std::vector<double> p, q;
  for (std::size_t i = 0; i < n; ++i) {
    const double pi = in.m_RelPress[i], qi = in.m_QtyAdsorbed[i];
    if (!PositiveFinite(pi) || !std::isfinite(qi))
      m_Dropped.push_back({i, pi, qi, eNotUsable});
    else if (pi > in.m_MaxRelPress)
      m_Dropped.push_back({i, pi, qi, eAboveRange});
    else if (!p.empty() && !(pi > p.back()))
      m_Dropped.push_back({i, pi, qi, eNotRising});
    else {
      index.push_back(i);
      p.push_back(pi);
      q.push_back(qi);
    }
  }

  const bool chengYang = in.m_Method == HKMethod::kChengYang;
  if (chengYang) {
    m_Capacity = in.m_LangmuirCapacity;
    if (m_Capacity == 0.0 && !FitCapacity(p, q)) {
      m_Status = STATUS_NO_CAPACITY;
      m_Capacity = 0.0;
      return;
    }
  }

  for (std::size_t k = 0; k < p.size(); ++k) {
    double y = std::log(p[k]);
    if (chengYang) {
      const double theta = q[k] / m_Capacity;
      if (!(theta >= 0.0 && theta < 1.0)) {
        m_Dropped.push_back({index[k], p[k], q[k], eFillingOutOfRange});
        continue;
      }
      // ln(P/Po) = N_A Φ/RT - [1 + ln(1-θ)/θ]: the potential the point asks for.
      y += ChengYangTerm(theta);
    }
    const double w = m_Potential.WidthAt(y);
    if (std::isnan(w)) {
      m_Dropped.push_back(
          {index[k], p[k], q[k], y < m_Potential.MinLnRelPress() ? eBelowNarrowest : eAboveWidest});
      continue;
    }
    if (!m_Widths.empty() && !(w > m_Widths.back())) {
      m_Dropped.push_back({index[k], p[k], q[k], eWidthNotRising});
      continue;
    }
    m_RelPress.push_back(p[k]);
    m_Qty.push_back(q[k]);
    m_Widths.push_back(w);
    m_Cumulative.push_back(q[k] * in.m_DensityConversion);
  }
  std::sort(m_Dropped.begin(), m_Dropped.end(),
            [](SDroppedPoint const& a, SDroppedPoint const& b) { return a.index < b.index; });
  const std::size_t m = m_Widths.size();
  if (m < 2) {
    m_Status = STATUS_TOO_FEW_POINTS;
    return;
  }

  // Boundaries largest first, as the pore distributions keep them.
  CNumVector<double> bounds(m), volumes(m - 1);
  for (std::size_t j = 0; j < m; ++j) bounds[j] = m_Widths[m - 1 - j];
  for (std::size_t j = 0; j + 1 < m; ++j)
    volumes[j] = m_Cumulative[m - 1 - j] - m_Cumulative[m - 2 - j];
  m_Distribution.Set(bounds, volumes);
  m_VolumeBelowFirst = m_Cumulative.front();
  m_MicroporeVolume = m_Cumulative.back();

  const double half = 0.5 * m_MicroporeVolume;
  m_MedianWidth = m_Widths.front();
  for (std::size_t k = 1; k < m; ++k)
    if (m_Cumulative[k] >= half && m_Cumulative[k - 1] < half) {
      const double f = (half - m_Cumulative[k - 1]) / (m_Cumulative[k] - m_Cumulative[k - 1]);
      m_MedianWidth = m_Widths[k - 1] + f * (m_Widths[k] - m_Widths[k - 1]);
      break;
    }
  m_Status = STATUS_OK;
}

// Langmuir capacity: the line (P/Po)/q = a + b P/Po multiplied by q, P/Po = a q + b q P/Po,
// fitted by least squares, so that points of small q do not dominate; q_m = 1/b.
bool CHKCalc::FitCapacity(std::vector<double> const& p, std::vector<double> const& q) {
  double s11 = 0.0, s12 = 0.0, s22 = 0.0, r1 = 0.0, r2 = 0.0;
  std::size_t count = 0;
  for (std::size_t k = 0; k < p.size(); ++k) {
    if (!(q[k] > 0.0)) continue;
    const double u = q[k], v = q[k] * p[k];
    s11 += u * u;
    s12 += u * v;
    s22 += v * v;
    r1 += u * p[k];
    r2 += v * p[k];
    ++count;
  }
  const double det = s11 * s22 - s12 * s12;
  if (count < 2 || !(det > 0.0)) return false;
  const double b = (s11 * r2 - s12 * r1) / det;
  if (!(b > 0.0) || !std::isfinite(1.0 / b)) return false;
  m_Capacity = 1.0 / b;
  return true;
}

void CHKCalc::GetPoreWidths(CNumVector<double>& out) const {
  m_Distribution.GetPoreDiameters(out);
}

void CHKCalc::GetAverageWidths(CNumVector<double>& out) const {
  if (!m_Distribution.GetAverageDiameters(out)) out.SetDim(0);
}

void CHKCalc::GetIncrementalVolume(CNumVector<double>& out) const {
  m_Distribution.GetIncremental(out);
}

void CHKCalc::GetDifferentialVolume(CNumVector<double>& out) const {
  m_Distribution.GetDifferential(out, false);
}

void CHKCalc::GetLogDifferentialVolume(CNumVector<double>& out) const {
  m_Distribution.GetLogDifferential(out, false);
}

namespace fiofla {

char const* HKStatusText(int status) {
  switch (status) {
    case CHKCalc::STATUS_OK:
      return "done";
    case CHKCalc::STATUS_TOO_FEW_POINTS:
      return "fewer than 2 points have a pore width";
    case CHKCalc::STATUS_BAD_CONSTANTS:
      return "an adsorbate or surface constant (diameter, polarisability, susceptibility, "
             "surface density) is not a positive number";
    case CHKCalc::STATUS_BAD_TEMPERATURE:
      return "the temperature is not a positive number of kelvin";
    case CHKCalc::STATUS_BAD_DENSITY:
      return "the density conversion is not a positive number";
    case CHKCalc::STATUS_BAD_SETTINGS:
      return "the geometry or method is unknown, the P/Po range is not a positive number, or "
             "the largest width searched is not above the narrowest pore";
    case CHKCalc::STATUS_NO_CAPACITY:
      return "no Langmuir capacity for the Cheng-Yang correction: (P/Po)/q against P/Po has no "
             "positive slope";
    case CHKCalc::STATUS_NOT_CALCULATED:
      return "not calculated";
  }
  return "unknown status";
}

char const* HKDropReasonText(CHKCalc::EDropReason reason) {
  switch (reason) {
    case CHKCalc::eNotUsable:
      return "P/Po not positive, or not a number";
    case CHKCalc::eAboveRange:
      return "P/Po above the range";
    case CHKCalc::eNotRising:
      return "P/Po not above the point before";
    case CHKCalc::eBelowNarrowest:
      return "P/Po below that of the narrowest pore the model describes";
    case CHKCalc::eAboveWidest:
      return "P/Po above that of the largest width searched";
    case CHKCalc::eFillingOutOfRange:
      return "filling q/q_m not between 0 and 1";
    case CHKCalc::eWidthNotRising:
      return "pore width not above the point before's";
  }
  return "";
}

}  // namespace fiofla
