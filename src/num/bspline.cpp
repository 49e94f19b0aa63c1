#include "fiofla/num/bspline.h"

#include <algorithm>
#include <cmath>

CardinalBSpline::CardinalBSpline(std::vector<double> const& knots,
                                 std::vector<double> const& coefficients, unsigned long degree)
    : m_knots(knots), m_coefficients(coefficients), m_degree(degree) {
  if (degree < 1 || degree > 5 || knots.size() < 2 * degree + 2 ||
      coefficients.size() + degree + 1 != knots.size())
    return;
  const double h = knots[1] - knots[0];
  if (!(h > 0.0) || !std::isfinite(h)) return;
  for (std::size_t k = 1; k < knots.size(); ++k)
    if (!std::isfinite(knots[k]) || std::fabs(knots[k] - knots[k - 1] - h) > 1e-9 * h) return;
  for (double c : coefficients)
    if (!std::isfinite(c)) return;
  m_valid = true;
}

double CardinalBSpline::Basis(std::size_t i, double u) const {
  if (!m_valid || i >= m_coefficients.size()) return 0.0;
  const std::size_t p = m_degree;
  const std::vector<double>& t = m_knots;
  if (!(u >= t[i] && u <= t[i + p + 1])) return 0.0;
  // The last knot belongs to the last interval, so f is continuous up to it.
  if (u == t.back()) u = std::nextafter(u, -INFINITY);
  // Cox-de Boor from degree 0 up, over the p + 1 knot intervals of this basis function.
  double n[6 + 1] = {};
  for (std::size_t k = 0; k <= p; ++k) n[k] = u >= t[i + k] && u < t[i + k + 1] ? 1.0 : 0.0;
  for (std::size_t d = 1; d <= p; ++d)
    for (std::size_t k = 0; k + d <= p; ++k) {
      const double left = (u - t[i + k]) / (t[i + k + d] - t[i + k]);
      const double right = (t[i + k + d + 1] - u) / (t[i + k + d + 1] - t[i + k + 1]);
      n[k] = left * n[k] + right * n[k + 1];
    }
  return n[0];
}

double CardinalBSpline::Evaluate(double u) const {
  if (!m_valid || !(u >= m_knots.front() && u <= m_knots.back())) return 0.0;
  // Only the p + 1 basis functions whose support holds u contribute.
  const double h = m_knots[1] - m_knots[0];
  const long interval = std::min(long((u - m_knots.front()) / h), long(m_knots.size()) - 2);
  double sum = 0.0;
  for (long i = interval - long(m_degree); i <= interval; ++i)
    if (i >= 0 && std::size_t(i) < m_coefficients.size())
      sum += m_coefficients[std::size_t(i)] * Basis(std::size_t(i), u);
  return sum;
}

namespace NCardinalBSpline {

std::vector<double> GetKnotVector(double low, double high, unsigned long intervals) {
  if (!(low > 0.0) || !(high > low) || !std::isfinite(high) || intervals < 1 || intervals > 100000)
    return {};
  const unsigned long p = CardinalBSpline::kDefaultDegree;
  const double a = std::log10(low), b = std::log10(high);
  const double h = (b - a) / double(intervals);
  std::vector<double> knots;
  knots.reserve(intervals + 2 * p + 1);
  for (long k = -long(p); k <= long(intervals + p); ++k) knots.push_back(a + double(k) * h);
  return knots;
}

}  // namespace NCardinalBSpline
