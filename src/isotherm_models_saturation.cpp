// Isotherm families that take a saturation pressure Ps: BET (infinite and N layers), GAB and
// Dubinin-Radushkevich/Astakhov; and the dilogarithm that Unilan's spreading pressure needs.
#include <boost/math/special_functions/bernoulli.hpp>
#include <boost/math/special_functions/gamma.hpp>
#include <cmath>

#include "fiofla/isotherm_models.h"
#include "isotherm_models_detail.h"

namespace fiofla::detail {
namespace {

using K = EIsothermModel;

/// BET (k = 1) and GAB: q = n C y/((1−y)(1+(C−1)y)) with y = k P/Ps; +∞ for y ≥ 1.
class BetGab final : public IsothermModel {
 public:
  BetGab(K kind, std::vector<double> params, SIsothermSetup const& setup)
      : IsothermModel(kind, std::move(params), setup),
        m_k(kind == K::kGAB ? m_params[2] : 1.0),
        m_ps(setup.saturationPressure) {}
  double Y(double p) const { return m_k * p / m_ps; }
  double Loading(double p) const override {
    if (!(p >= 0.0)) return kNaN;
    const double y = Y(p);
    if (y >= 1.0) return kInf;
    const double c = m_params[1];
    return m_params[0] * c * y / ((1.0 - y) * (1.0 + (c - 1.0) * y));
  }
  double LoadingSlope(double p) const override {
    if (!(p >= 0.0)) return kNaN;
    const double y = Y(p);
    if (y >= 1.0) return kInf;
    const double c = m_params[1];
    const double d = (1.0 - y) * (1.0 + (c - 1.0) * y);
    return m_params[0] * c * (1.0 + (c - 1.0) * y * y) / (d * d) * m_k / m_ps;
  }
  SModelValue Pressure(double q) const override {
    SModelValue out;
    if (PressureEdge(q, out)) return out;
    // q(C−1) y² + (nC − q(C−2)) y − q = 0 has exactly one root in (0, 1).
    const double n = m_params[0];
    const double c = m_params[1];
    const double a = q * (c - 1.0);
    const double b = n * c - q * (c - 2.0);
    const double disc = std::sqrt(b * b + 4.0 * a * q);
    const double y = b > 0.0 ? 2.0 * q / (b + disc) : (disc - b) / (2.0 * a);
    return {y * m_ps / m_k, EModelStatus::kOk};
  }
  SModelValue SpreadingPressure(double p) const override {
    if (!(p >= 0.0)) return {kNaN, EModelStatus::kOutsideDomain};
    const double y = Y(p);
    if (y >= 1.0) return {kInf, EModelStatus::kDiverges};
    // ∫ n C dy/((1−y)(1+(C−1)y)) = n ln((1+(C−1)y)/(1−y)).
    return {m_params[0] * (std::log1p((m_params[1] - 1.0) * y) - std::log1p(-y)),
            EModelStatus::kOk};
  }
  SModelValue PressureAtSpreadingPressure(double pi) const override {
    if (!(pi >= 0.0)) return {kNaN, EModelStatus::kOutsideDomain};
    // (1 + (C−1)y)/(1 − y) = e^(π/n)  ⇒  y = (e^(π/n) − 1)/(C + e^(π/n) − 1).
    const double e = std::expm1(pi / m_params[0]);
    const double y = std::isinf(e) ? 1.0 : e / (m_params[1] + e);
    return {y * m_ps / m_k, EModelStatus::kOk};
  }
  double PressureScale() const override {
    return m_ps / (m_k * (1.0 + std::sqrt(std::fabs(m_params[1]))));
  }
  double LoadingGradient(double p, double* g) const override {
    const double q = Loading(p);
    const double y = Y(p);
    const double c = m_params[1];
    g[0] = q / m_params[0];
    g[1] = q * (1.0 - y) / (c * (1.0 + (c - 1.0) * y));
    if (Kind() == K::kGAB) g[2] = LoadingSlope(p) * m_ps / m_k * (p / m_ps);
    return q;
  }
  bool HasAnalyticGradient() const override { return true; }

 private:
  double m_k;
  double m_ps;
};

/// N-layer BET: q = n C Σ i xⁱ/(1 + C Σ xⁱ), i = 1..N, summed directly (stable at x = 1,
/// where the closed forms of the sums are 0/0). Defined up to Ps; +∞ above.
class BetLayers final : public IsothermModel {
 public:
  BetLayers(K kind, std::vector<double> params, SIsothermSetup const& setup)
      : IsothermModel(kind, std::move(params), setup), m_ps(setup.saturationPressure) {}
  struct Sums {
    double s0 = 0, s1 = 0;  // Σ xⁱ, Σ i xⁱ
    double d0 = 0, d1 = 0;  // their derivatives in x: Σ i xⁱ⁻¹, Σ i² xⁱ⁻¹
  };
  Sums Sum(double x) const {
    Sums s;
    double pw = 1.0;  // x^(i−1)
    for (int i = 1; i <= m_setup.layers; ++i) {
      s.d0 += i * pw;
      s.d1 += double(i) * i * pw;
      pw *= x;
      s.s0 += pw;
      s.s1 += i * pw;
    }
    return s;
  }
  double Loading(double p) const override {
    if (!(p >= 0.0)) return kNaN;
    if (p > m_ps) return kInf;
    const Sums s = Sum(p / m_ps);
    const double c = m_params[1];
    return m_params[0] * c * s.s1 / (1.0 + c * s.s0);
  }
  double LoadingSlope(double p) const override {
    if (!(p >= 0.0)) return kNaN;
    if (p > m_ps) return kInf;
    const Sums s = Sum(p / m_ps);
    const double c = m_params[1];
    const double d = 1.0 + c * s.s0;
    return m_params[0] * c * (s.d1 * d - s.s1 * c * s.d0) / (d * d) / m_ps;
  }
  SModelValue Pressure(double q) const override {
    if (q == SaturationLoading()) return {m_ps, EModelStatus::kOk};
    return NumericPressure(q);
  }
  SModelValue SpreadingPressure(double p) const override {
    if (p > m_ps) return {kInf, EModelStatus::kDiverges};
    return NumericSpreadingPressure(p);
  }
  SModelValue PressureAtSpreadingPressure(double pi) const override {
    // π jumps from π(Ps) to +∞ at condensation: nothing in between is reached.
    const SModelValue atPs = NumericSpreadingPressure(m_ps);
    if (pi == atPs.value) return {m_ps, EModelStatus::kOk};
    if (pi > atPs.value) return {kNaN, EModelStatus::kAboveCapacity};
    return NumericPressureAtSpreadingPressure(pi);
  }
  /// The loading at Ps: n C N(N+1)/(2(1 + C N)) (the model's largest below condensation).
  double SaturationLoading() const override {
    const double nl = m_setup.layers;
    const double c = m_params[1];
    return m_params[0] * c * nl * (nl + 1.0) / (2.0 * (1.0 + c * nl));
  }
  double PressureScale() const override { return m_ps / (1.0 + std::sqrt(std::fabs(m_params[1]))); }
  double LoadingGradient(double p, double* g) const override {
    const double q = Loading(p);
    const Sums s = Sum(p / m_ps);
    const double d = 1.0 + m_params[1] * s.s0;
    g[0] = q / m_params[0];
    g[1] = m_params[0] * s.s1 / (d * d);
    return q;
  }
  bool HasAnalyticGradient() const override { return true; }

 private:
  double m_ps;
};

/// Dubinin-Astakhov: q = n_p exp(−z^m), z = RT ln(Ps/P)/E; n_p at and above Ps.
/// Dubinin-Radushkevich is m = 2.
class Dubinin final : public IsothermModel {
 public:
  Dubinin(K kind, std::vector<double> params, SIsothermSetup const& setup)
      : IsothermModel(kind, std::move(params), setup),
        m_m(kind == K::kDubininRadushkevich ? 2.0 : m_params[2]),
        m_ps(setup.saturationPressure),
        m_rt(kGasConstant * setup.temperatureK) {}
  double Z(double p) const { return m_rt * std::log(m_ps / p) / m_params[1]; }
  double Loading(double p) const override {
    if (!(p >= 0.0)) return kNaN;
    if (p >= m_ps) return m_params[0];
    if (p == 0.0) return 0.0;
    return m_params[0] * std::exp(-std::pow(Z(p), m_m));
  }
  double LoadingSlope(double p) const override {
    if (!(p >= 0.0)) return kNaN;
    if (p >= m_ps || p == 0.0) return 0.0;
    const double z = Z(p);
    return Loading(p) * m_m * std::pow(z, m_m - 1.0) * m_rt / (m_params[1] * p);
  }
  SModelValue Pressure(double q) const override {
    if (q == m_params[0]) return {m_ps, EModelStatus::kOk};
    SModelValue out;
    if (PressureEdge(q, out)) return out;
    const double z = std::pow(std::log(m_params[0] / q), 1.0 / m_m);
    return {m_ps * std::exp(-z * m_params[1] / m_rt), EModelStatus::kOk};
  }
  SModelValue SpreadingPressure(double p) const override {
    if (!(p >= 0.0)) return {kNaN, EModelStatus::kOutsideDomain};
    if (p == 0.0) return {0.0, EModelStatus::kOk};
    // ∫ q dln P = n_p (E/RT) ∫_z^∞ exp(−t^m) dt = n_p (E/RT) Γ(1/m, z^m)/m.
    const double scale = m_params[0] * m_params[1] / m_rt / m_m;
    if (p >= m_ps)
      return {scale * std::tgamma(1.0 / m_m) + m_params[0] * std::log(p / m_ps), EModelStatus::kOk};
    try {
      return {scale * boost::math::tgamma(1.0 / m_m, std::pow(Z(p), m_m)), EModelStatus::kOk};
    } catch (...) {
      return {kNaN, EModelStatus::kNoConvergence};  // m ≤ 0 or E ≤ 0: no such integral
    }
  }
  SModelValue PressureAtSpreadingPressure(double pi) const override {
    if (!(pi >= 0.0)) return {kNaN, EModelStatus::kOutsideDomain};
    if (pi == 0.0) return {0.0, EModelStatus::kOk};
    // π = π(Ps)·Q(1/m, z^m) below Ps (Q the regularised upper incomplete gamma function);
    // above Ps it grows as n_p ln(P/Ps).
    try {
      const double atPs = m_params[0] * m_params[1] / m_rt / m_m * std::tgamma(1.0 / m_m);
      if (pi >= atPs) return {m_ps * std::exp((pi - atPs) / m_params[0]), EModelStatus::kOk};
      const double zm = boost::math::gamma_q_inv(1.0 / m_m, pi / atPs);
      return {m_ps * std::exp(-std::pow(zm, 1.0 / m_m) * m_params[1] / m_rt), EModelStatus::kOk};
    } catch (...) {
      return {kNaN, EModelStatus::kNoConvergence};
    }
  }
  double SaturationLoading() const override { return m_params[0]; }
  double PressureScale() const override { return m_ps * std::exp(-m_params[1] / m_rt); }
  double LoadingGradient(double p, double* g) const override {
    const double q = Loading(p);
    const double z = (p > 0.0 && p < m_ps) ? Z(p) : 0.0;
    const double zm = std::pow(z, m_m);
    g[0] = q / m_params[0];
    g[1] = q * m_m * zm / m_params[1];
    if (Kind() == K::kDubininAstakhov) g[2] = z > 0.0 ? -q * zm * std::log(z) : 0.0;
    return q;
  }
  bool HasAnalyticGradient() const override { return true; }

 private:
  double m_m;
  double m_ps;
  double m_rt;
};

/// Li₂(z) for −1 ≤ z ≤ 0: Σ B_k u^(k+1)/(k+1)! with u = −ln(1 − z), |u| ≤ ln 2.
double DilogSmall(double z) {
  const double u = -std::log1p(-z);
  double sum = u - 0.25 * u * u;  // B₀ = 1, B₁ = −1/2
  double pw = u;                  // u^(k+1)/(k+1)!, k even
  for (int j = 1; j < 30; ++j) {
    const int k = 2 * j;
    pw *= u * u / ((k) * (k + 1.0));
    const double term = boost::math::bernoulli_b2n<double>(j) * pw;
    sum += term;
    if (std::fabs(term) < 1e-18 * std::fabs(sum)) break;
  }
  return sum;
}

}  // namespace

double DilogOfNegative(double x) {
  if (!(x >= 0.0)) return kNaN;
  if (x <= 1.0) return DilogSmall(-x);
  if (std::isinf(x)) return -kInf;
  const double l = std::log(x);
  return -M_PI * M_PI / 6.0 - 0.5 * l * l - DilogSmall(-1.0 / x);
}

std::shared_ptr<const IsothermModel> MakeSaturationModel(EIsothermModel kind,
                                                         std::vector<double> params,
                                                         SIsothermSetup const& setup) {
  switch (kind) {
    case K::kBET:
    case K::kGAB:
      return std::make_shared<BetGab>(kind, std::move(params), setup);
    case K::kBETLayers:
      return std::make_shared<BetLayers>(kind, std::move(params), setup);
    case K::kDubininRadushkevich:
    case K::kDubininAstakhov:
      return std::make_shared<Dubinin>(kind, std::move(params), setup);
    default:
      return nullptr;
  }
}

}  // namespace fiofla::detail
