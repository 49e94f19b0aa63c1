#include "fiofla/num/interpolate.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

namespace fiofla::detail {

/// -1, 0 or +1 by the sign of v.
static int Sign(double v) {
  return (v > 0.0) - (v < 0.0);
}

/// Shape-preserving end derivative from the end interval (h1, d1) and its neighbour (h2, d2).
static double MonotoneEndSlope(double h1, double h2, double d1, double d2) {
  const double d = ((2.0 * h1 + h2) * d1 - h1 * d2) / (h1 + h2);
  if (Sign(d) != Sign(d1)) return 0.0;
  // Next to a turn the three-point value can be steep enough to overshoot; 3 d1 is the
  // largest end slope that keeps the end cubic monotone.
  if (Sign(d1) != Sign(d2) && std::fabs(d) > 3.0 * std::fabs(d1)) return 3.0 * d1;
  return d;
}

}  // namespace fiofla::detail

CNumInterpolate::CNumInterpolate(EType type) : m_type(type) {}

CNumInterpolate::CNumInterpolate(CNumVector<double> const& x, CNumVector<double> const& y,
                                 EType type)
    : m_type(type) {
  Set(x, y);
}

void CNumInterpolate::Set(CNumVector<double> const& x, CNumVector<double> const& y) {
  Load(x, y, false);
}

void CNumInterpolate::SetAscending(CNumVector<double> const& x, CNumVector<double> const& y) {
  Load(x, y, true);
}

void CNumInterpolate::Load(CNumVector<double> const& x, CNumVector<double> const& y,
                           bool forceSort) {
  const auto n = std::min(x.size(), y.size());
  std::vector<std::pair<double, double>> points;
  points.reserve(static_cast<std::size_t>(n));
  for (CNumVector<double>::size_type i = 0; i < n; ++i)
    if (std::isfinite(x[i])) points.emplace_back(x[i], y[i]);

  const auto byX = [](const auto& a, const auto& b) { return a.first < b.first; };
  if (forceSort) {
    std::stable_sort(points.begin(), points.end(), byX);
  } else if (!std::is_sorted(points.begin(), points.end(), byX)) {
    // Desorption branches arrive strictly descending; reversing them keeps loading O(n).
    const auto notDescending = [](const auto& a, const auto& b) { return a.first <= b.first; };
    if (std::adjacent_find(points.begin(), points.end(), notDescending) == points.end())
      std::reverse(points.begin(), points.end());
    else
      std::stable_sort(points.begin(), points.end(), byX);
  }

  m_x.clear();
  m_y.clear();
  m_slope.clear();
  for (std::size_t i = 0; i < points.size();) {
    std::size_t j = i;
    double sum = 0.0;
    for (; j < points.size() && points[j].first == points[i].first; ++j) sum += points[j].second;
    m_x.push_back(points[i].first);
    m_y.push_back(sum / static_cast<double>(j - i));
    i = j;
  }
  if (m_type == eMonotoneCubic) ComputeSlopes();
}

void CNumInterpolate::ComputeSlopes() {
  using fiofla::detail::Sign;
  const std::size_t n = m_x.size();
  m_slope.assign(n, 0.0);
  if (n < 2) return;
  std::vector<double> h(n - 1), secant(n - 1);
  for (std::size_t k = 0; k + 1 < n; ++k) {
    h[k] = m_x[k + 1] - m_x[k];
    secant[k] = (m_y[k + 1] - m_y[k]) / h[k];
  }
  if (n == 2) {
    m_slope[0] = m_slope[1] = secant[0];
    return;
  }
  for (std::size_t k = 1; k + 1 < n; ++k) {
    const double a = secant[k - 1], b = secant[k];
    if (Sign(a) * Sign(b) <= 0) continue;  // a turn or a flat side: zero slope keeps the shape
    // Weighted harmonic mean (Fritsch & Butland 1984); stays within 3 min(|a|, |b|).
    const double w1 = 2.0 * h[k] + h[k - 1];
    const double w2 = h[k] + 2.0 * h[k - 1];
    m_slope[k] = (w1 + w2) / (w1 / a + w2 / b);
  }
  m_slope[0] = fiofla::detail::MonotoneEndSlope(h[0], h[1], secant[0], secant[1]);
  m_slope[n - 1] =
      fiofla::detail::MonotoneEndSlope(h[n - 2], h[n - 3], secant[n - 2], secant[n - 3]);
}

double CNumInterpolate::Interpolate(double x) const {
  const std::size_t n = m_x.size();
  if (n == 0 || std::isnan(x)) return std::numeric_limits<double>::quiet_NaN();
  if (n == 1) return m_y[0];

  const auto above = std::upper_bound(m_x.begin(), m_x.end(), x);
  if (above != m_x.begin() && *(above - 1) == x) return m_y[above - m_x.begin() - 1];

  const bool cubic = m_type == eMonotoneCubic;
  if (cubic && above == m_x.begin()) return m_y[0] + m_slope[0] * (x - m_x[0]);
  if (cubic && above == m_x.end()) return m_y[n - 1] + m_slope[n - 1] * (x - m_x[n - 1]);

  // Interval [k, k + 1]; for eLinear outside the table this is the end interval.
  std::size_t k = static_cast<std::size_t>(above - m_x.begin());
  k = std::min(std::max<std::size_t>(k, 1), n - 1) - 1;
  const double h = m_x[k + 1] - m_x[k];
  const double secant = (m_y[k + 1] - m_y[k]) / h;
  const double s = x - m_x[k];
  if (!cubic) return m_y[k] + s * secant;

  // Hermite cubic in powers of s, with t = s / h so that h^2 cannot under- or overflow;
  // a flat interval (all slopes 0) gives y_k exactly.
  const double t = s / h;
  const double c2 = 3.0 * secant - 2.0 * m_slope[k] - m_slope[k + 1];
  const double c3 = m_slope[k] + m_slope[k + 1] - 2.0 * secant;
  return m_y[k] + s * (m_slope[k] + t * (c2 + t * c3));
}
