#include "fiofla/gas_virial.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "fiofla/num/svd.h"

namespace NIsothermModel {

namespace {

constexpr double kGasConstantKJ = 0.00831441;  // kJ/(mol K), as in the isostere

struct SPoint {
  double T;
  double N;
  double y;  // ln P − ln N
};

// One least-squares fit of orders (m, k); parameters unscaled.
struct SFit {
  bool ok = false;
  std::vector<double> a, b, covA;
  double rss = 0.0;
};

double Poly(std::vector<double> const& c, double x) {
  double v = 0.0;
  for (std::size_t i = c.size(); i-- > 0;) v = v * x + c[i];
  return v;
}

SFit FitOrders(std::vector<SPoint> const& pts, int m, int k, double nScale, double tRef,
               double cutoff) {
  SFit fit;
  const std::size_t n = pts.size();
  const std::size_t na = static_cast<std::size_t>(m) + 1, nb = static_cast<std::size_t>(k) + 1;
  const std::size_t p = na + nb;
  if (n <= p) return fit;
  CNumMatrix<double> X(n, p);
  CNumVector<double> y(n);
  for (std::size_t r = 0; r < n; ++r) {
    const double s = pts[r].N / nScale, t = tRef / pts[r].T;
    double pw = 1.0;
    for (std::size_t i = 0; i < std::max(na, nb); ++i, pw *= s) {
      if (i < na) X[r][i] = pw * t;
      if (i < nb) X[r][na + i] = pw;
    }
    y[r] = pts[r].y;
  }
  // Unit columns: the SVD cutoff then compares directions, not units.
  std::vector<double> norm(p, 0.0);
  for (std::size_t c = 0; c < p; ++c) {
    for (std::size_t r = 0; r < n; ++r) norm[c] += X[r][c] * X[r][c];
    norm[c] = std::sqrt(norm[c]);
    if (norm[c] == 0.0) return fit;
    for (std::size_t r = 0; r < n; ++r) X[r][c] /= norm[c];
  }
  CNumSVD svd(X);
  svd.ZeroBelowRelative(cutoff);
  CNumVector<double> theta;
  if (!svd.BackSub(y, theta)) return fit;
  // Factors from the scaled parameters to a_i and b_j.
  std::vector<double> f(p);
  for (std::size_t i = 0; i < na; ++i) f[i] = tRef / (std::pow(nScale, double(i)) * norm[i]);
  for (std::size_t j = 0; j < nb; ++j)
    f[na + j] = 1.0 / (std::pow(nScale, double(j)) * norm[na + j]);
  fit.a.resize(na);
  fit.b.resize(nb);
  for (std::size_t i = 0; i < na; ++i) fit.a[i] = theta[i] * f[i];
  for (std::size_t j = 0; j < nb; ++j) fit.b[j] = theta[na + j] * f[na + j];
  for (auto const& pt : pts) {
    const double r = pt.y - (Poly(fit.a, pt.N) / pt.T + Poly(fit.b, pt.N));
    fit.rss += r * r;
  }
  CNumMatrix<double> inv;
  svd.GetInverseNormalMatrix(inv);
  const double s2 = fit.rss / static_cast<double>(n - p);
  fit.covA.resize(na * na);
  for (std::size_t i = 0; i < na; ++i)
    for (std::size_t l = 0; l < na; ++l) fit.covA[i * na + l] = s2 * inv[i][l] * f[i] * f[l];
  fit.ok = std::isfinite(fit.rss);
  return fit;
}

double AICc(double rss, std::size_t n, std::size_t p) {
  const double dn = static_cast<double>(n), dp = static_cast<double>(p);
  return dn * std::log(rss / dn) + 2.0 * dp + 2.0 * dp * (dp + 1.0) / (dn - dp - 1.0);
}

}  // namespace

CVirialExpansion::CVirialExpansion(std::vector<SIsotherm> const& isotherms)
    : CVirialExpansion(isotherms, SOptions()) {}

CVirialExpansion::CVirialExpansion(std::vector<SIsotherm> const& isotherms,
                                   SOptions const& options) {
  std::vector<SPoint> pts;
  for (auto const& iso : isotherms) {
    const double T = iso.temperatureK;
    if (!(T > 0.0) || !std::isfinite(T)) continue;
    bool any = false;
    for (auto const& pt : iso.points) {
      const double P = pt.pressure, N = pt.quantityAds;
      if (!(P > 0.0) || !(N > 0.0) || !std::isfinite(P) || !std::isfinite(N)) continue;
      pts.push_back({T, N, std::log(P) - std::log(N)});
      m_nMax = std::max(m_nMax, N);
      any = true;
    }
    if (any) m_temperatures.push_back(T);
  }
  m_modelT = options.modelTemperatureK > 0.0
                 ? options.modelTemperatureK
                 : (m_temperatures.empty() ? 0.0 : m_temperatures.front());
  std::vector<double> distinct = m_temperatures;
  std::sort(distinct.begin(), distinct.end());
  distinct.erase(std::unique(distinct.begin(), distinct.end()), distinct.end());
  m_status = eTooFewPoints;
  if (distinct.size() < 2) return;
  const double tRef = distinct[distinct.size() / 2];

  const std::size_t n = pts.size();
  double yMax = 0.0;
  for (auto const& pt : pts) yMax = std::max(yMax, std::fabs(pt.y));
  const double rssFloor = static_cast<double>(n) * std::pow(1e-14 * yMax, 2);
  const bool chooseA = options.orderA < 0, chooseB = options.orderB < 0;
  const int aLo = chooseA ? 0 : options.orderA, aHi = chooseA ? options.maxOrderA : options.orderA;
  const int bLo = chooseB ? 0 : options.orderB, bHi = chooseB ? options.maxOrderB : options.orderB;
  SFit best;
  double bestAicc = std::numeric_limits<double>::infinity();
  for (int m = aLo; m <= aHi; ++m)
    for (int k = bLo; k <= bHi; ++k) {
      const std::size_t p = static_cast<std::size_t>(m + k + 2);
      // AICc needs n − p − 1 > 0; a single given pair needs only a residual variance.
      if ((chooseA || chooseB) ? n < p + 2 : n < p + 1) continue;
      SFit fit = FitOrders(pts, m, k, m_nMax, tRef, options.svdRelativeCutoff);
      if (!fit.ok) continue;
      const double aicc = n > p + 1 ? AICc(std::max(fit.rss, rssFloor), n, p)
                                    : -std::numeric_limits<double>::infinity();
      if (aicc < bestAicc || !best.ok) {
        best = std::move(fit);
        bestAicc = aicc;
      }
    }
  if (!best.ok) return;
  m_a = std::move(best.a);
  m_b = std::move(best.b);
  m_covA = std::move(best.covA);
  m_aicc = bestAicc;
  m_sigma = std::sqrt(best.rss / static_cast<double>(n - m_a.size() - m_b.size()));
  m_residuals.reserve(n);
  for (auto const& pt : pts)
    m_residuals.push_back(pt.y - (Poly(m_a, pt.N) / pt.T + Poly(m_b, pt.N)));
  m_status = eFitted;
}

double CVirialExpansion::GetLnPressure(double N, double T) const {
  if (!IsValid() || !(N > 0.0) || !(T > 0.0)) return 0.0;
  return std::log(N) + Poly(m_a, N) / T + Poly(m_b, N);
}

double CVirialExpansion::GetModelPressure(double quantityAds) const {
  if (!IsValid() || !(quantityAds > 0.0)) return 0.0;
  return std::exp(GetLnPressure(quantityAds, m_modelT));
}

double CVirialExpansion::GetModelQuantityAds(double pressure) const {
  if (!IsValid() || !(pressure > 0.0) || !std::isfinite(pressure)) return 0.0;
  const double target = std::log(pressure), T = m_modelT;
  // g(u) = ln P(e^u) − ln P_target falls to −∞ as u → −∞; NaN counts as above the target.
  auto above = [&](double u) {
    const double N = std::exp(u);
    return !(std::log(N) + Poly(m_a, N) / T + Poly(m_b, N) - target < 0.0);
  };
  double lo = std::log(m_nMax), hi = lo;
  int steps = 0;
  while (!above(hi))
    if (++steps > 60)
      return 0.0;
    else
      hi += std::log(2.0);
  steps = 0;
  while (above(lo))
    if (++steps > 300)
      return 0.0;
    else
      lo -= std::log(10.0);
  for (int i = 0; i < 200 && hi - lo > 1e-15 * std::max(1.0, std::fabs(hi)); ++i) {
    const double mid = 0.5 * (lo + hi);
    (above(mid) ? hi : lo) = mid;
  }
  return std::exp(0.5 * (lo + hi));
}

double CVirialExpansion::GetSpreadingPressureAtQuantity(double N, double T) const {
  if (!IsValid() || !(N > 0.0) || !(T > 0.0)) return 0.0;
  double pi = N, pw = N;  // pw = N^(i+1)
  for (std::size_t i = 1; i < std::max(m_a.size(), m_b.size()); ++i) {
    pw *= N;
    const double w = static_cast<double>(i) / static_cast<double>(i + 1) * pw;
    if (i < m_a.size()) pi += w * m_a[i] / T;
    if (i < m_b.size()) pi += w * m_b[i];
  }
  return pi;
}

double CVirialExpansion::GetModelSpreadingPressure(double pressure) const {
  return GetSpreadingPressureAtQuantity(GetModelQuantityAds(pressure), m_modelT);
}

CVirialExpansion CVirialExpansion::AtTemperature(double temperatureK) const {
  CVirialExpansion copy(*this);
  if (temperatureK > 0.0) copy.m_modelT = temperatureK;
  return copy;
}

double CVirialExpansion::GetIsostericHeat(double N) const {
  return IsValid() ? -kGasConstantKJ * Poly(m_a, N) : 0.0;
}

double CVirialExpansion::GetIsostericHeatError(double N) const {
  if (!IsValid()) return 0.0;
  const std::size_t na = m_a.size();
  std::vector<double> g(na);
  for (std::size_t i = 0; i < na; ++i) g[i] = kGasConstantKJ * std::pow(N, double(i));
  double var = 0.0;
  for (std::size_t i = 0; i < na; ++i)
    for (std::size_t l = 0; l < na; ++l) var += g[i] * m_covA[i * na + l] * g[l];
  return std::sqrt(std::max(var, 0.0));
}

double CVirialExpansion::GetHenryConstant(double T) const {
  if (!IsValid() || !(T > 0.0)) return 0.0;
  return std::exp(-m_b[0] - m_a[0] / T);
}

std::vector<double> CVirialExpansion::GetHenryConstants() const {
  std::vector<double> k;
  for (double T : m_temperatures) k.push_back(GetHenryConstant(T));
  return k;
}

}  // namespace NIsothermModel
