// A pure isotherm given by measured points, for IAST: piecewise-linear q(P), its spreading
// pressure in closed form per segment, and the inverse of that solved inside one segment.
#include <algorithm>
#include <cmath>
#include <limits>
#include <numeric>
#include <sstream>

#include "fiofla/gasiast.h"

namespace fiofla {

namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

// t − 1 − ln t for t = 1 + u; the series keeps its digits where the two terms cancel.
double TMinusOneMinusLog(double u) {
  if (std::fabs(u) < 1e-3) {
    return u * u * (0.5 - u * (1.0 / 3.0 - u * (0.25 - u * 0.2)));
  }
  return u - std::log1p(u);
}

// π gained over a linear segment from (p0, q0) with slope b up to p0·t, s = ln t:
// ∫ (q0 + b(p − p0))/p dp = q0 s + b p0 (t − 1 − ln t).
double SegmentPi(double q0, double b, double p0, double s) {
  return q0 * s + b * p0 * TMinusOneMinusLog(std::expm1(s));
}

}  // namespace

PiecewiseIsotherm::PiecewiseIsotherm(std::vector<double> pressures, std::vector<double> loadings) {
  std::ostringstream err;
  if (pressures.size() != loadings.size()) {
    err << "pressures and loadings differ in count (" << pressures.size() << " and "
        << loadings.size() << ")";
  } else if (pressures.empty()) {
    err << "no points";
  }
  for (std::size_t i = 0; err.tellp() == 0 && i < pressures.size(); ++i) {
    if (!(pressures[i] > 0.0) || !std::isfinite(pressures[i])) {
      err << "pressure of point " << i + 1 << " is " << pressures[i]
          << "; expected a positive finite value";
    } else if (!(loadings[i] > 0.0) || !std::isfinite(loadings[i])) {
      err << "loading of point " << i + 1 << " is " << loadings[i]
          << "; expected a positive finite value";
    }
  }
  if (err.tellp() != 0) {
    m_message = err.str();
    return;
  }
  std::vector<std::size_t> order(pressures.size());
  std::iota(order.begin(), order.end(), 0);
  std::sort(order.begin(), order.end(),
            [&](std::size_t a, std::size_t b) { return pressures[a] < pressures[b]; });
  for (std::size_t k : order) {
    if (!m_p.empty() && pressures[k] == m_p.back()) {
      err << "pressure " << pressures[k] << " appears twice; expected distinct pressures";
      m_message = err.str();
      m_p.clear();
      m_q.clear();
      return;
    }
    m_p.push_back(pressures[k]);
    m_q.push_back(loadings[k]);
  }
  // Henry segment: q = (q1/P1)·p gives π(P1) = q1.
  m_pi.resize(m_p.size());
  m_pi[0] = m_q[0];
  for (std::size_t k = 0; k + 1 < m_p.size(); ++k) {
    const double b = (m_q[k + 1] - m_q[k]) / (m_p[k + 1] - m_p[k]);
    m_pi[k + 1] = m_pi[k] + SegmentPi(m_q[k], b, m_p[k], std::log(m_p[k + 1] / m_p[k]));
  }
}

double PiecewiseIsotherm::Loading(double pressure) const {
  if (!(pressure >= 0.0) || m_p.empty()) return kNaN;
  if (pressure <= m_p.front()) return m_q.front() * (pressure / m_p.front());
  if (pressure >= m_p.back()) return m_q.back();
  const std::size_t k = std::upper_bound(m_p.begin(), m_p.end(), pressure) - m_p.begin() - 1;
  const double b = (m_q[k + 1] - m_q[k]) / (m_p[k + 1] - m_p[k]);
  return m_q[k] + b * (pressure - m_p[k]);
}

double PiecewiseIsotherm::SpreadingPressure(double pressure) const {
  if (!(pressure >= 0.0) || m_p.empty()) return kNaN;
  if (pressure <= m_p.front()) return m_q.front() * (pressure / m_p.front());
  if (pressure >= m_p.back()) return m_pi.back() + m_q.back() * std::log(pressure / m_p.back());
  const std::size_t k = std::upper_bound(m_p.begin(), m_p.end(), pressure) - m_p.begin() - 1;
  const double b = (m_q[k + 1] - m_q[k]) / (m_p[k + 1] - m_p[k]);
  return m_pi[k] + SegmentPi(m_q[k], b, m_p[k], std::log(pressure / m_p[k]));
}

double PiecewiseIsotherm::PressureAtSpreadingPressure(double pi) const {
  if (!(pi >= 0.0) || m_p.empty()) return kNaN;
  if (pi <= m_pi.front()) return m_p.front() * (pi / m_q.front());
  if (pi >= m_pi.back()) return m_p.back() * std::exp((pi - m_pi.back()) / m_q.back());
  const std::size_t k = std::upper_bound(m_pi.begin(), m_pi.end(), pi) - m_pi.begin() - 1;
  const double b = (m_q[k + 1] - m_q[k]) / (m_p[k + 1] - m_p[k]);
  const double target = pi - m_pi[k];
  // g(s) = SegmentPi(s) − target rises with s = ln(P/P_k) (g' = q > 0) and changes sign on
  // [0, s_max]: Newton kept inside that bracket, bisecting when a step would leave it.
  double lo = 0.0;
  double hi = std::log(m_p[k + 1] / m_p[k]);
  double s = hi * (target / (m_pi[k + 1] - m_pi[k]));
  for (int it = 0; it < 100; ++it) {
    const double g = SegmentPi(m_q[k], b, m_p[k], s) - target;
    if (g == 0.0) break;
    (g < 0.0 ? lo : hi) = s;
    const double slope = m_q[k] + b * m_p[k] * std::expm1(s);
    double next = s - g / slope;
    if (!(next > lo && next < hi)) next = 0.5 * (lo + hi);
    if (std::fabs(next - s) <= 1e-16 * std::max(1.0, std::fabs(s)) || hi - lo <= 0.0) {
      s = next;
      break;
    }
    s = next;
  }
  return m_p[k] * std::exp(s);
}

}  // namespace fiofla
