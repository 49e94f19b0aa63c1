// Isotherm families with q(P) explicit and no saturation pressure: Henry, Langmuir and its
// relatives (Sips, Langmuir-Freundlich, Toth, quadratic, Temkin, O'Brien-Myers, Unilan,
// anti-Langmuir), Freundlich, Redlich-Peterson, Jensen-Seaton and chemi-physisorption.
#include <algorithm>
#include <boost/math/special_functions/digamma.hpp>
#include <cmath>

#include "fiofla/isotherm_models.h"
#include "isotherm_models_detail.h"

namespace fiofla::detail {
namespace {

using K = EIsothermModel;

/// Shared by the explicit families: the parameters copied into named members by each.
class Explicit : public IsothermModel {
 public:
  Explicit(K kind, std::vector<double> params, SIsothermSetup const& setup)
      : IsothermModel(kind, std::move(params), setup) {}

 protected:
  const double* P() const { return m_params.data(); }
};

/// ln y with ln 0 taken as 0: a derivative factor multiplied by a vanishing loading.
double SafeLog(double y) {
  return y > 0.0 ? std::log(y) : 0.0;
}

class Henry final : public Explicit {
 public:
  using Explicit::Explicit;
  double Loading(double p) const override { return p >= 0.0 ? P()[0] * p : kNaN; }
  double LoadingSlope(double p) const override { return p >= 0.0 ? P()[0] : kNaN; }
  SModelValue Pressure(double q) const override {
    SModelValue out;
    if (PressureEdge(q, out)) return out;
    return {q / P()[0], EModelStatus::kOk};
  }
  SModelValue SpreadingPressure(double p) const override {
    if (!(p >= 0.0)) return {kNaN, EModelStatus::kOutsideDomain};
    return {P()[0] * p, EModelStatus::kOk};
  }
  SModelValue PressureAtSpreadingPressure(double pi) const override {
    if (!(pi >= 0.0)) return {kNaN, EModelStatus::kOutsideDomain};
    return {pi / P()[0], EModelStatus::kOk};
  }
  double PressureScale() const override { return 1.0; }
  double LoadingGradient(double p, double* g) const override {
    g[0] = p;
    return Loading(p);
  }
  bool HasAnalyticGradient() const override { return true; }
};

class Langmuir final : public Explicit {
 public:
  using Explicit::Explicit;
  double Loading(double p) const override {
    if (!(p >= 0.0)) return kNaN;
    const double y = P()[1] * p;
    return std::isinf(y) ? P()[0] : P()[0] * y / (1.0 + y);
  }
  double LoadingSlope(double p) const override {
    if (!(p >= 0.0)) return kNaN;
    const double d = 1.0 + P()[1] * p;
    return P()[0] * P()[1] / (d * d);
  }
  SModelValue Pressure(double q) const override {
    SModelValue out;
    if (PressureEdge(q, out)) return out;
    return {q / (P()[1] * (P()[0] - q)), EModelStatus::kOk};
  }
  SModelValue SpreadingPressure(double p) const override {
    if (!(p >= 0.0)) return {kNaN, EModelStatus::kOutsideDomain};
    return {P()[0] * std::log1p(P()[1] * p), EModelStatus::kOk};
  }
  SModelValue PressureAtSpreadingPressure(double pi) const override {
    if (!(pi >= 0.0)) return {kNaN, EModelStatus::kOutsideDomain};
    return {std::expm1(pi / P()[0]) / P()[1], EModelStatus::kOk};
  }
  double SaturationLoading() const override { return P()[0]; }
  double PressureScale() const override { return 1.0 / P()[1]; }
  double LoadingGradient(double p, double* g) const override {
    const double y = P()[1] * p;
    const double d = 1.0 + y;
    g[0] = y / d;
    g[1] = P()[0] * p / (d * d);
    return P()[0] * y / d;
  }
  bool HasAnalyticGradient() const override { return true; }
};

/// Sips: q = n (Kp)^s/(1+(Kp)^s); Langmuir-Freundlich: q = n K p^s/(1 + K p^s). Both are
/// n t/(1+t) of a power t, which is all that differs.
class SipsLike final : public Explicit {
 public:
  using Explicit::Explicit;
  double Power(double p) const {
    return Kind() == K::kSips ? std::pow(P()[1] * p, P()[2]) : P()[1] * std::pow(p, P()[2]);
  }
  double Loading(double p) const override {
    if (!(p >= 0.0)) return kNaN;
    const double t = Power(p);
    return std::isinf(t) ? P()[0] : P()[0] * t / (1.0 + t);
  }
  double LoadingSlope(double p) const override {
    if (!(p >= 0.0)) return kNaN;
    const double t = Power(p);
    // dt/dp = s t/p, written without the division so that p = 0 gives the right limit.
    const double s = P()[2];
    const double dtdp = Kind() == K::kSips ? s * P()[1] * std::pow(P()[1] * p, s - 1.0)
                                           : s * P()[1] * std::pow(p, s - 1.0);
    return P()[0] * dtdp / ((1.0 + t) * (1.0 + t));
  }
  SModelValue Pressure(double q) const override {
    SModelValue out;
    if (PressureEdge(q, out)) return out;
    const double theta = q / P()[0];
    const double t = theta / (1.0 - theta);
    const double p = Kind() == K::kSips ? std::pow(t, 1.0 / P()[2]) / P()[1]
                                        : std::pow(t / P()[1], 1.0 / P()[2]);
    return {p, EModelStatus::kOk};
  }
  SModelValue SpreadingPressure(double p) const override {
    if (!(p >= 0.0)) return {kNaN, EModelStatus::kOutsideDomain};
    return {P()[0] / P()[2] * std::log1p(Power(p)), EModelStatus::kOk};
  }
  SModelValue PressureAtSpreadingPressure(double pi) const override {
    if (!(pi >= 0.0)) return {kNaN, EModelStatus::kOutsideDomain};
    const double t = std::expm1(P()[2] * pi / P()[0]);
    const double p = Kind() == K::kSips ? std::pow(t, 1.0 / P()[2]) / P()[1]
                                        : std::pow(t / P()[1], 1.0 / P()[2]);
    return {p, EModelStatus::kOk};
  }
  double SaturationLoading() const override { return P()[0]; }
  double PressureScale() const override {
    return Kind() == K::kSips ? 1.0 / P()[1] : std::pow(P()[1], -1.0 / P()[2]);
  }
  double LoadingGradient(double p, double* g) const override {
    const double t = Power(p);
    const double d = 1.0 + t;
    const double n = P()[0];
    const double k = P()[1];
    const double s = P()[2];
    g[0] = t / d;
    g[1] = Kind() == K::kSips ? n * s * t / (k * d * d) : n * t / (k * d * d);
    g[2] = n * t * (Kind() == K::kSips ? SafeLog(k * p) : SafeLog(p)) / (d * d);
    return n * t / d;
  }
  bool HasAnalyticGradient() const override { return true; }
};

/// ψ(1/t), the constant of the Toth spreading pressure's continuation; 0 where t is not a
/// usable exponent (the model then refuses its parameters anyway).
double TothDigamma(double t) {
  return t > 0.0 && std::isfinite(t) ? boost::math::digamma(1.0 / t) : 0.0;
}

class Toth final : public Explicit {
 public:
  Toth(K kind, std::vector<double> params, SIsothermSetup const& setup)
      : Explicit(kind, std::move(params), setup), m_digammaA(TothDigamma(P()[2])) {}
  double Loading(double p) const override { return TothLoading(p, P()[0], P()[1], P()[2]); }
  double LoadingSlope(double p) const override { return TothSlope(p, P()[0], P()[1], P()[2]); }
  SModelValue Pressure(double q) const override {
    SModelValue out;
    if (PressureEdge(q, out)) return out;
    // θ^t (1 + y^t) = y^t  ⇒  y = θ/(1 − θ^t)^(1/t).
    const double theta = q / P()[0];
    const double t = P()[2];
    return {theta / (P()[1] * std::pow(-std::expm1(t * std::log(theta)), 1.0 / t)),
            EModelStatus::kOk};
  }
  SModelValue SpreadingPressure(double p) const override {
    if (!(p >= 0.0)) return {kNaN, EModelStatus::kOutsideDomain};
    return {TothSpreadingPressure(p, P()[0], P()[1], P()[2], m_digammaA), EModelStatus::kOk};
  }
  double SaturationLoading() const override { return P()[0]; }
  double PressureScale() const override { return 1.0 / P()[1]; }
  double LoadingGradient(double p, double* g) const override {
    return TothGradient(p, P()[0], P()[1], P()[2], g);
  }
  bool HasAnalyticGradient() const override { return true; }

 private:
  double m_digammaA;
};

class Freundlich final : public Explicit {
 public:
  using Explicit::Explicit;
  double Loading(double p) const override {
    return p >= 0.0 ? P()[0] * std::pow(p, 1.0 / P()[1]) : kNaN;
  }
  double LoadingSlope(double p) const override {
    return p >= 0.0 ? P()[0] / P()[1] * std::pow(p, 1.0 / P()[1] - 1.0) : kNaN;
  }
  SModelValue Pressure(double q) const override {
    SModelValue out;
    if (PressureEdge(q, out)) return out;
    return {std::pow(q / P()[0], P()[1]), EModelStatus::kOk};
  }
  SModelValue SpreadingPressure(double p) const override {
    if (!(p >= 0.0)) return {kNaN, EModelStatus::kOutsideDomain};
    return {P()[1] * Loading(p), EModelStatus::kOk};
  }
  SModelValue PressureAtSpreadingPressure(double pi) const override {
    if (!(pi >= 0.0)) return {kNaN, EModelStatus::kOutsideDomain};
    return {std::pow(pi / (P()[1] * P()[0]), P()[1]), EModelStatus::kOk};
  }
  double PressureScale() const override { return 1.0; }
  double LoadingGradient(double p, double* g) const override {
    const double q = Loading(p);
    g[0] = std::pow(p, 1.0 / P()[1]);
    g[1] = -q * SafeLog(p) / (P()[1] * P()[1]);
    return q;
  }
  bool HasAnalyticGradient() const override { return true; }
};

/// q = n (K_a p + 2 K_b p²)/(1 + K_a p + K_b p²): two sites filled singly and in pairs.
class Quadratic final : public Explicit {
 public:
  using Explicit::Explicit;
  double Loading(double p) const override {
    if (!(p >= 0.0)) return kNaN;
    if (std::isinf(p)) return SaturationLoading();
    const double a = P()[1] * p;
    const double b = P()[2] * p * p;
    return P()[0] * (a + 2.0 * b) / (1.0 + a + b);
  }
  double LoadingSlope(double p) const override {
    if (!(p >= 0.0)) return kNaN;
    const double ka = P()[1];
    const double kb = P()[2];
    const double d = 1.0 + ka * p + kb * p * p;
    const double nu = ka * p + 2.0 * kb * p * p;
    return P()[0] * ((ka + 4.0 * kb * p) * d - nu * (ka + 2.0 * kb * p)) / (d * d);
  }
  SModelValue Pressure(double q) const override {
    SModelValue out;
    if (PressureEdge(q, out)) return out;
    // K_b (q − 2n) p² + K_a (q − n) p + q = 0, its positive root in a stable form.
    const double n = P()[0];
    const double a = P()[2] * (q - 2.0 * n);
    const double b = P()[1] * (q - n);
    const double disc = std::sqrt(b * b - 4.0 * a * q);
    const double p = b <= 0.0 ? 2.0 * q / (disc - b) : (-b - disc) / (2.0 * a);
    return {p, EModelStatus::kOk};
  }
  SModelValue SpreadingPressure(double p) const override {
    if (!(p >= 0.0)) return {kNaN, EModelStatus::kOutsideDomain};
    return {P()[0] * std::log1p(P()[1] * p + P()[2] * p * p), EModelStatus::kOk};
  }
  SModelValue PressureAtSpreadingPressure(double pi) const override {
    if (!(pi >= 0.0)) return {kNaN, EModelStatus::kOutsideDomain};
    // K_b P² + K_a P = e^(π/n) − 1, its positive root without cancellation.
    const double e = std::expm1(pi / P()[0]);
    return {2.0 * e / (P()[1] + std::sqrt(P()[1] * P()[1] + 4.0 * P()[2] * e)), EModelStatus::kOk};
  }
  double SaturationLoading() const override { return P()[2] > 0.0 ? 2.0 * P()[0] : P()[0]; }
  double PressureScale() const override { return 1.0 / P()[1]; }
  double LoadingGradient(double p, double* g) const override {
    const double n = P()[0];
    const double d = 1.0 + P()[1] * p + P()[2] * p * p;
    const double nu = P()[1] * p + 2.0 * P()[2] * p * p;
    g[0] = nu / d;
    g[1] = n * p * (d - nu) / (d * d);
    g[2] = n * p * p * (2.0 * d - nu) / (d * d);
    return n * nu / d;
  }
  bool HasAnalyticGradient() const override { return true; }
};

/// Langmuir-type families of a coverage θ = y/(1+y), y = K p: Temkin's approximation
/// n[θ + g θ²(θ−1)] and O'Brien-Myers n[θ + σ² y(1−y)/(2(1+y)³)].
class LangmuirCorrected final : public Explicit {
 public:
  using Explicit::Explicit;
  double Loading(double p) const override {
    if (!(p >= 0.0)) return kNaN;
    const double y = P()[1] * p;
    if (std::isinf(y)) return P()[0];
    const double th = y / (1.0 + y);
    if (Kind() == K::kTemkinApprox) return P()[0] * (th + P()[2] * th * th * (th - 1.0));
    const double s2 = P()[2] * P()[2];
    return P()[0] * (th + s2 * y * (1.0 - y) / (2.0 * std::pow(1.0 + y, 3)));
  }
  /// dq/dy.
  double DqDy(double y) const {
    const double d = 1.0 + y;
    if (Kind() == K::kTemkinApprox) {
      const double th = y / d;
      return P()[0] * (1.0 + P()[2] * (3.0 * th * th - 2.0 * th)) / (d * d);
    }
    const double s2 = P()[2] * P()[2];
    return P()[0] * (1.0 / (d * d) + 0.5 * s2 * (1.0 - 4.0 * y + y * y) / std::pow(d, 4));
  }
  double LoadingSlope(double p) const override {
    return p >= 0.0 ? P()[1] * DqDy(P()[1] * p) : kNaN;
  }
  SModelValue SpreadingPressure(double p) const override {
    if (!(p >= 0.0)) return {kNaN, EModelStatus::kOutsideDomain};
    const double y = P()[1] * p;
    const double th = y / (1.0 + y);
    // ∫ q dln p with dln p = dθ/(θ(1−θ)).
    if (Kind() == K::kTemkinApprox)
      return {P()[0] * (std::log1p(y) - 0.5 * P()[2] * th * th), EModelStatus::kOk};
    return {P()[0] * (std::log1p(y) + 0.5 * P()[2] * P()[2] * y / ((1.0 + y) * (1.0 + y))),
            EModelStatus::kOk};
  }
  double SaturationLoading() const override { return P()[0]; }
  double PressureScale() const override { return 1.0 / P()[1]; }
  double LoadingGradient(double p, double* g) const override {
    const double q = Loading(p);
    const double y = P()[1] * p;
    g[0] = q / P()[0];
    g[1] = p * DqDy(y);
    const double th = y / (1.0 + y);
    g[2] = Kind() == K::kTemkinApprox ? P()[0] * th * th * (th - 1.0)
                                      : P()[0] * P()[2] * y * (1.0 - y) / std::pow(1.0 + y, 3);
    return q;
  }
  bool HasAnalyticGradient() const override { return true; }
};

/// q = n/(2s) ln((1 + y eˢ)/(1 + y e⁻ˢ)), written as a log1p so that small s keeps its digits.
class Unilan final : public Explicit {
 public:
  using Explicit::Explicit;
  double Loading(double p) const override {
    if (!(p >= 0.0)) return kNaN;
    const double y = P()[1] * p;
    const double s = P()[2];
    if (std::isinf(y)) return P()[0];
    if (s == 0.0) return P()[0] * y / (1.0 + y);
    return P()[0] / (2.0 * s) * std::log1p(2.0 * y * std::sinh(s) / (1.0 + y * std::exp(-s)));
  }
  double LoadingSlope(double p) const override {
    if (!(p >= 0.0)) return kNaN;
    const double y = P()[1] * p;
    const double s = P()[2];
    const double shs = s == 0.0 ? 1.0 : std::sinh(s) / s;
    return P()[0] * P()[1] * shs / ((1.0 + y * std::exp(s)) * (1.0 + y * std::exp(-s)));
  }
  SModelValue SpreadingPressure(double p) const override {
    const double s = P()[2];
    // The dilogarithm difference loses digits as s → 0; quadrature is exact enough there.
    if (!(p >= 0.0) || s < 1e-2) return NumericSpreadingPressure(p);
    const double y = P()[1] * p;
    return {
        P()[0] / (2.0 * s) * (DilogOfNegative(y * std::exp(-s)) - DilogOfNegative(y * std::exp(s))),
        EModelStatus::kOk};
  }
  double SaturationLoading() const override { return P()[0]; }
  double PressureScale() const override { return 1.0 / P()[1]; }
  double LoadingGradient(double p, double* g) const override {
    const double s = P()[2];
    // ∂q/∂s = n/(2s)·(dL/ds − L/s) cancels as s → 0; differences are as good there.
    if (std::fabs(s) < 1e-2) return IsothermModel::LoadingGradient(p, g);
    const double q = Loading(p);
    const double y = P()[1] * p;
    const double up = y * std::exp(s);
    const double dn = y * std::exp(-s);
    const double l = 2.0 * s * q / P()[0];
    g[0] = q / P()[0];
    g[1] = LoadingSlope(p) * p / P()[1];
    g[2] = P()[0] / (2.0 * s) * (up / (1.0 + up) + dn / (1.0 + dn) - l / s);
    return q;
  }
  bool HasAnalyticGradient() const override { return std::fabs(P()[2]) >= 1e-2; }
};

class AntiLangmuir final : public Explicit {
 public:
  using Explicit::Explicit;
  double Loading(double p) const override {
    if (!(p >= 0.0)) return kNaN;
    const double y = P()[1] * p;
    return y >= 1.0 ? kInf : P()[0] * y / (1.0 - y);
  }
  double LoadingSlope(double p) const override {
    if (!(p >= 0.0)) return kNaN;
    const double y = P()[1] * p;
    return y >= 1.0 ? kInf : P()[0] * P()[1] / ((1.0 - y) * (1.0 - y));
  }
  SModelValue Pressure(double q) const override {
    SModelValue out;
    if (PressureEdge(q, out)) return out;
    return {q / (P()[1] * (P()[0] + q)), EModelStatus::kOk};
  }
  SModelValue SpreadingPressure(double p) const override {
    if (!(p >= 0.0)) return {kNaN, EModelStatus::kOutsideDomain};
    const double y = P()[1] * p;
    if (y >= 1.0) return {kInf, EModelStatus::kDiverges};
    return {-P()[0] * std::log1p(-y), EModelStatus::kOk};
  }
  SModelValue PressureAtSpreadingPressure(double pi) const override {
    if (!(pi >= 0.0)) return {kNaN, EModelStatus::kOutsideDomain};
    return {-std::expm1(-pi / P()[0]) / P()[1], EModelStatus::kOk};
  }
  double PressureScale() const override { return 0.5 / P()[1]; }
  double LoadingGradient(double p, double* g) const override {
    const double y = P()[1] * p;
    g[0] = y >= 1.0 ? kInf : y / (1.0 - y);
    g[1] = y >= 1.0 ? kInf : P()[0] * p / ((1.0 - y) * (1.0 - y));
    return Loading(p);
  }
  bool HasAnalyticGradient() const override { return true; }
};

/// q = K_R p/(1 + a p^g).
class RedlichPeterson final : public Explicit {
 public:
  using Explicit::Explicit;
  double Loading(double p) const override {
    if (!(p >= 0.0)) return kNaN;
    if (std::isinf(p)) return SaturationLoading();
    return P()[0] * p / (1.0 + P()[1] * std::pow(p, P()[2]));
  }
  double LoadingSlope(double p) const override {
    if (!(p >= 0.0)) return kNaN;
    const double apg = P()[1] * std::pow(p, P()[2]);
    return P()[0] * (1.0 + apg - P()[2] * apg) / ((1.0 + apg) * (1.0 + apg));
  }
  double SaturationLoading() const override {
    const double g = P()[2];
    if (g < 1.0) return kInf;
    if (g == 1.0) return P()[0] / P()[1];
    // The maximum, at p^g = 1/(a(g − 1)).
    const double pm = std::pow(1.0 / (P()[1] * (g - 1.0)), 1.0 / g);
    return P()[0] * pm * (g - 1.0) / g;
  }
  double PressureScale() const override { return std::pow(P()[1], -1.0 / P()[2]); }
  double LoadingGradient(double p, double* g) const override {
    const double pg = std::pow(p, P()[2]);
    const double d = 1.0 + P()[1] * pg;
    g[0] = p / d;
    g[1] = -P()[0] * p * pg / (d * d);
    g[2] = -P()[0] * p * P()[1] * pg * SafeLog(p) / (d * d);
    return P()[0] * p / d;
  }
  bool HasAnalyticGradient() const override { return true; }
};

/// q = K p [1 + (K p/(a(1 + κp)))^c]^(−1/c).
class JensenSeaton final : public Explicit {
 public:
  using Explicit::Explicit;
  double Loading(double p) const override {
    if (!(p >= 0.0)) return kNaN;
    if (p == 0.0) return 0.0;
    const double k = P()[0];
    const double c = P()[2];
    const double z = k * p / (P()[1] * (1.0 + P()[3] * p));
    // (1 + z^c)^(−1/c) = exp(−log1p(z^c)/c), and K p times it, kept finite for large p.
    return k * p * std::exp(-std::log1p(std::pow(z, c)) / c);
  }
  double LoadingSlope(double p) const override {
    if (!(p >= 0.0)) return kNaN;
    const double k = P()[0];
    const double c = P()[2];
    const double kp = 1.0 + P()[3] * p;
    const double zc = std::pow(k * p / (P()[1] * kp), c);
    return k * std::exp((-1.0 / c - 1.0) * std::log1p(zc)) * (1.0 + zc - zc / kp);
  }
  double SaturationLoading() const override { return P()[3] > 0.0 ? kInf : P()[1]; }
  double PressureScale() const override { return P()[1] / P()[0]; }
  double LoadingGradient(double p, double* g) const override {
    // ln q = ln K + ln p − ln(1 + z^c)/c, z = K p/(a(1 + κp)).
    const double q = Loading(p);
    const double c = P()[2];
    const double kp = 1.0 + P()[3] * p;
    const double z = P()[0] * p / (P()[1] * kp);
    const double zc = std::pow(z, c);
    const double w = zc / (1.0 + zc);
    g[0] = q / (P()[0] * (1.0 + zc));
    g[1] = q * w / P()[1];
    g[2] = q * (std::log1p(zc) / (c * c) - w * SafeLog(z) / c);
    g[3] = q * w * p / kp;
    return q;
  }
  bool HasAnalyticGradient() const override { return true; }
};

/// A Toth physisorption site plus a Langmuir chemisorption site weighted by exp(−E_a/RT).
class ChemiPhysisorption final : public Explicit {
 public:
  ChemiPhysisorption(K kind, std::vector<double> params, SIsothermSetup const& setup)
      : Explicit(kind, std::move(params), setup),
        m_weight(std::exp(-P()[5] / (kGasConstant * setup.temperatureK))),
        m_digammaA(TothDigamma(P()[2])) {}
  double Loading(double p) const override {
    if (!(p >= 0.0)) return kNaN;
    const double y = P()[4] * p;
    const double lang = std::isinf(y) ? P()[3] : P()[3] * y / (1.0 + y);
    return TothLoading(p, P()[0], P()[1], P()[2]) + m_weight * lang;
  }
  double LoadingSlope(double p) const override {
    if (!(p >= 0.0)) return kNaN;
    const double d = 1.0 + P()[4] * p;
    return TothSlope(p, P()[0], P()[1], P()[2]) + m_weight * P()[3] * P()[4] / (d * d);
  }
  SModelValue SpreadingPressure(double p) const override {
    if (!(p >= 0.0)) return {kNaN, EModelStatus::kOutsideDomain};
    const double y = P()[4] * p;
    return {TothSpreadingPressure(p, P()[0], P()[1], P()[2], m_digammaA) +
                m_weight * P()[3] * std::log1p(y),
            EModelStatus::kOk};
  }
  double SaturationLoading() const override { return P()[0] + m_weight * P()[3]; }
  double PressureScale() const override { return 1.0 / std::max(P()[1], P()[4]); }
  double LoadingGradient(double p, double* g) const override {
    TothGradient(p, P()[0], P()[1], P()[2], g);
    const double y = P()[4] * p;
    const double d = 1.0 + y;
    const double lang = P()[3] * y / d;
    g[3] = m_weight * y / d;
    g[4] = m_weight * P()[3] * p / (d * d);
    g[5] = -m_weight * lang / (kGasConstant * m_setup.temperatureK);
    return Loading(p);
  }
  bool HasAnalyticGradient() const override { return true; }

 private:
  double m_weight;
  double m_digammaA;
};

}  // namespace

double TothLoading(double p, double n, double k, double t) {
  if (!(p >= 0.0)) return kNaN;
  const double y = k * p;
  if (std::isinf(y)) return n;
  // n y (1 + y^t)^(−1/t), the power taken through logs so that large y stays finite.
  return y == 0.0 ? 0.0 : n * std::exp(std::log(y) - std::log1p(std::pow(y, t)) / t);
}

double TothSlope(double p, double n, double k, double t) {
  if (!(p >= 0.0)) return kNaN;
  // dq/dy = n (1 + y^t)^(−1 − 1/t).
  return n * k * std::exp((-1.0 - 1.0 / t) * std::log1p(std::pow(k * p, t)));
}

double TothGradient(double p, double n, double k, double t, double* g) {
  const double y = k * p;
  const double ly = std::log(y);
  if (!(p > 0.0) || !std::isfinite(ly)) {
    const double u = std::pow(y, t);
    const double q = TothLoading(p, n, k, t);
    g[0] = q / n;
    g[1] = p * n * std::exp((-1.0 - 1.0 / t) * std::log1p(u));
    g[2] = y > 0.0 ? q * (std::log1p(u) / (t * t) - u * std::log(y) / (t * (1.0 + u))) : 0.0;
    return q;
  }
  // Four transcendental calls rather than a dozen: the fits call this at every point of
  // every sweep. dq/dK = p n (1 + u)^(−1 − 1/t) = q/(K(1 + u)) with u = y^t.
  const double u = std::exp(t * ly);
  const double l = std::log1p(u);
  const double q = n * std::exp(ly - l / t);
  g[0] = q / n;
  g[1] = q / (k * (1.0 + u));
  g[2] = q * (l / (t * t) - u * ly / (t * (1.0 + u)));
  return q;
}

// π = n ∫₀^y dx/(1 + x^t)^(1/t); in s = x^t/(1 + x^t) it is n a B(z; a, 0) with a = 1/t,
// that is n z^a ₂F₁(a, 1; a + 1; z), and z^a = q/n is the loading's own factor. Near z = 0
// the series a Σ z^k/(a + k). Near z = 1 the logarithmic continuation (Abramowitz & Stegun
// 15.3.10 with b = 1) in w = 1 − z = 1/(1 + y^t): a Σ (a)_k/k! [ψ(k+1) − ψ(a+k) + ln(1 + y^t)]
// w^k, whose terms add up to about z^−a times the result with mixed signs; it is used from
// z = 1/2 on only while z^−a ≤ 8 (no more than 3 bits lost), which for strongly
// heterogeneous sites (t < 1/3) leaves more of the range to the first series, at up to
// 19/t terms. t = 1 gives n ln(1 + y).
double TothSpreadingPressure(double p, double n, double k, double t, double digammaA) {
  if (!(p >= 0.0)) return kNaN;
  const double y = k * p;
  if (y == 0.0) return 0.0;
  if (std::isinf(y)) return kInf;
  const double a = 1.0 / t;
  const double lu = t * std::log(y);  // ln y^t
  // ln(1 + y^t) without overflow for large y^t.
  const double l1pu = lu > 0.0 ? lu + std::log1p(std::exp(-lu)) : std::log1p(std::exp(lu));
  const double lz = lu - l1pu;
  const double za = std::exp(a * lz);
  constexpr int kMaxTerms = 5000;
  constexpr double kEps = 1e-17;
  double sum = 0.0;
  if (lu <= 0.0 || -a * lz > std::log(8.0)) {
    const double z = std::exp(lz);
    double zk = 1.0;
    for (int i = 0; i < kMaxTerms; ++i) {
      const double term = zk / (a + i);
      sum += term;
      if (term <= kEps * sum) break;
      zk *= z;
    }
  } else {
    const double w = std::exp(-l1pu);
    constexpr double kEulerGamma = 0.57721566490153286061;
    double c = 1.0, wk = 1.0, psi1 = -kEulerGamma, psiA = digammaA;
    for (int i = 0; i < kMaxTerms; ++i) {
      const double scale = c * wk;
      sum += scale * (psi1 - psiA + l1pu);
      // The bracket may pass through 0 before it tends to ln(1 + y^t): stop on the bound of
      // the term, not on the term.
      if (scale * (std::fabs(psi1 - psiA) + l1pu) <= kEps * std::fabs(sum)) break;
      c *= (a + i) / (i + 1.0);
      psi1 += 1.0 / (i + 1.0);
      psiA += 1.0 / (a + i);
      wk *= w;
    }
  }
  return n * za * a * sum;
}

std::shared_ptr<const IsothermModel> MakeExplicitModel(EIsothermModel kind,
                                                       std::vector<double> params,
                                                       SIsothermSetup const& setup) {
  switch (kind) {
    case K::kHenry:
      return std::make_shared<Henry>(kind, std::move(params), setup);
    case K::kLangmuir:
      return std::make_shared<Langmuir>(kind, std::move(params), setup);
    case K::kSips:
    case K::kLangmuirFreundlich:
      return std::make_shared<SipsLike>(kind, std::move(params), setup);
    case K::kToth:
      return std::make_shared<Toth>(kind, std::move(params), setup);
    case K::kFreundlich:
      return std::make_shared<Freundlich>(kind, std::move(params), setup);
    case K::kQuadratic:
      return std::make_shared<Quadratic>(kind, std::move(params), setup);
    case K::kTemkinApprox:
    case K::kOBrienMyers:
      return std::make_shared<LangmuirCorrected>(kind, std::move(params), setup);
    case K::kUnilan:
      return std::make_shared<Unilan>(kind, std::move(params), setup);
    case K::kAntiLangmuir:
      return std::make_shared<AntiLangmuir>(kind, std::move(params), setup);
    case K::kRedlichPeterson:
      return std::make_shared<RedlichPeterson>(kind, std::move(params), setup);
    case K::kJensenSeaton:
      return std::make_shared<JensenSeaton>(kind, std::move(params), setup);
    case K::kChemiPhysisorption:
      return std::make_shared<ChemiPhysisorption>(kind, std::move(params), setup);
    default:
      return nullptr;
  }
}

}  // namespace fiofla::detail
