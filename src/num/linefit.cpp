#include "fiofla/num/linefit.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace fiofla::detail {

/// Mean of `v`, refined by the mean of the deviations from the first estimate.
static double CorrectedMean(const std::vector<double>& v) {
  const double n = static_cast<double>(v.size());
  double sum = 0.0;
  for (double value : v) sum += value;
  const double first = sum / n;
  // The rounding error of the first sum shows up as a nonzero mean deviation.
  double correction = 0.0;
  for (double value : v) correction += value - first;
  return first + correction / n;
}

}  // namespace fiofla::detail

CNumLineFit::CNumLineFit(unsigned long n, double const* x, double const* y, ELineType type)
    : m_type(type) {
  if (x != nullptr && y != nullptr) {
    m_x.assign(x, x + n);
    m_y.assign(y, y + n);
  }
  Fit();
}

CNumLineFit::CNumLineFit(ELineType type) : m_type(type) {}

void CNumLineFit::AddPoint(double x, double y) {
  m_x.push_back(x);
  m_y.push_back(y);
  Fit();
}

void CNumLineFit::CalculateVariance() {}

void CNumLineFit::Fit() {
  m_slope = m_intercept = m_varSlope = m_varIntercept = m_correlation = 0.0;
  m_valid = false;
  const std::size_t n = m_x.size();
  if (m_type != eOrdinaryLeastSquares || n < 2) return;
  const auto finite = [](double v) { return std::isfinite(v); };
  if (!std::all_of(m_x.begin(), m_x.end(), finite) || !std::all_of(m_y.begin(), m_y.end(), finite))
    return;
  // Exact comparisons, not Sxx == 0: a rounded mean can leave a tiny nonzero
  // Sxx for equal x and turn the slope into noise divided by noise.
  const auto [xMin, xMax] = std::minmax_element(m_x.begin(), m_x.end());
  if (*xMin == *xMax) return;
  const auto [yMin, yMax] = std::minmax_element(m_y.begin(), m_y.end());
  if (*yMin == *yMax) {
    m_valid = true;
    m_intercept = *yMin;
    const double undefined = std::numeric_limits<double>::quiet_NaN();
    m_varSlope = m_varIntercept = (n == 2) ? undefined : 0.0;
    return;
  }

  const double xMean = fiofla::detail::CorrectedMean(m_x);
  const double yMean = fiofla::detail::CorrectedMean(m_y);
  double sxx = 0.0, sxy = 0.0, syy = 0.0;
  for (std::size_t i = 0; i < n; ++i) {
    const double dx = m_x[i] - xMean;
    const double dy = m_y[i] - yMean;
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
    m_varSlope = m_varIntercept = std::numeric_limits<double>::quiet_NaN();
    return;
  }
  // Residuals from the centred data avoid subtracting the intercept from large y.
  double rss = 0.0;
  for (std::size_t i = 0; i < n; ++i) {
    const double e = (m_y[i] - yMean) - m_slope * (m_x[i] - xMean);
    rss += e * e;
  }
  const double s2 = rss / static_cast<double>(n - 2);
  m_varSlope = s2 / sxx;
  m_varIntercept = s2 * (1.0 / static_cast<double>(n) + xMean * xMean / sxx);
}
