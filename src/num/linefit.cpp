#include "fiofla/num/linefit.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace fiofla::detail {

/// Mean of `v`, refined by the mean of the deviations from the first estimate.
static double CorrectedMean(const double* v, std::size_t count) {
  const double n = static_cast<double>(count);
  double sum = 0.0;
  for (std::size_t i = 0; i < count; ++i) sum += v[i];
  const double first = sum / n;
  // The rounding error of the first sum shows up as a nonzero mean deviation.
  double correction = 0.0;
  for (std::size_t i = 0; i < count; ++i) correction += v[i] - first;
  return first + correction / n;
}

}  // namespace fiofla::detail

CNumLineFit::CNumLineFit(unsigned long n, double const* x, double const* y, ELineType type)
    : m_type(type), m_count(n) {
  // The arrays are fitted where they lie; copying them would cost two allocations.
  if (x == nullptr || y == nullptr) m_count = 0;
  m_fromArrays = true;
  Fit(x, y, m_count);
}

CNumLineFit::CNumLineFit(ELineType type) : m_type(type) {}

void CNumLineFit::AddPoint(double x, double y) {
  // The arrays of the constructor were not kept, so their points cannot be combined
  // with new ones; the fit turns invalid rather than silently dropping them.
  if (m_fromArrays && m_count > 0) m_mixed = true;
  m_x.push_back(x);
  m_y.push_back(y);
  m_count = m_x.size();
  m_stale = true;
}

// Points added one by one are fitted once, when a result is first asked for.
void CNumLineFit::Refresh() const {
  if (!m_stale) return;
  m_stale = false;
  Fit(m_x.data(), m_y.data(), m_x.size());
}

// Fitting computes the variances together with the line, so nothing is left to do here.
void CNumLineFit::CalculateVariance() {}

void CNumLineFit::Fit(const double* x, const double* y, std::size_t n) const {
  m_slope = m_intercept = m_varSlope = m_varIntercept = m_correlation = 0.0;
  m_valid = false;
  if (m_type != eOrdinaryLeastSquares || n < 2 || m_mixed) return;
  const auto finite = [](double v) { return std::isfinite(v); };
  if (!std::all_of(x, x + n, finite) || !std::all_of(y, y + n, finite)) return;
  // Exact comparisons, not Sxx == 0: a rounded mean can leave a tiny nonzero
  // Sxx for equal x and turn the slope into noise divided by noise.
  const auto [xMin, xMax] = std::minmax_element(x, x + n);
  if (*xMin == *xMax) return;
  const auto [yMin, yMax] = std::minmax_element(y, y + n);
  if (*yMin == *yMax) {
    m_valid = true;
    m_intercept = *yMin;
    const double undefined = std::numeric_limits<double>::quiet_NaN();
    m_varSlope = m_varIntercept = (n == 2) ? undefined : 0.0;
    return;
  }

  const double xMean = fiofla::detail::CorrectedMean(x, n);
  const double yMean = fiofla::detail::CorrectedMean(y, n);
  double sxx = 0.0, sxy = 0.0, syy = 0.0;
  for (std::size_t i = 0; i < n; ++i) {
    const double dx = x[i] - xMean;
    const double dy = y[i] - yMean;
    sxx += dx * dx;
    sxy += dx * dy;
    syy += dy * dy;
  }
  if (!(sxx > 0.0)) return;  // x spread underflowed to nothing

  m_valid = true;
  m_slope = sxy / sxx;
  m_intercept = yMean - m_slope * xMean;
  // sqrt of each factor separately so that Sxx * Syy cannot overflow.
  const double r = sxy / (std::sqrt(sxx) * std::sqrt(syy));
  m_correlation = std::clamp(r, -1.0, 1.0);

  if (n == 2) {
    // Two points lie on the line exactly; rounding should not make r look imperfect.
    m_correlation = sxy > 0.0 ? 1.0 : -1.0;
    m_varSlope = m_varIntercept = std::numeric_limits<double>::quiet_NaN();
    return;
  }
  // Residuals from the centred data avoid subtracting the intercept from large y.
  double rss = 0.0;
  for (std::size_t i = 0; i < n; ++i) {
    const double e = (y[i] - yMean) - m_slope * (x[i] - xMean);
    rss += e * e;
  }
  const double s2 = rss / static_cast<double>(n - 2);
  m_varSlope = s2 / sxx;
  m_varIntercept = s2 * (1.0 / static_cast<double>(n) + xMean * xMean / sxx);
}
