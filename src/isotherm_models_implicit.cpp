// Isotherm families defined by P(q): the vacancy-solution models (Flory-Huggins, Wilson) and
// the single-temperature virial form. q(P) is a bracketed root of ln P(q) = ln P; π is the
// closed form of ∫ q (d ln P/dq) dq at that q.
#include <algorithm>
#include <boost/math/tools/roots.hpp>
#include <cmath>
#include <cstdint>

#include "fiofla/isotherm_models.h"
#include "isotherm_models_detail.h"

namespace fiofla::detail {
namespace {

using K = EIsothermModel;

class Implicit : public IsothermModel {
 public:
  Implicit(K kind, std::vector<double> params, SIsothermSetup const& setup)
      : IsothermModel(kind, std::move(params), setup) {}

  /// ln P at loading q > 0 with parameters θ (the fitted ones or perturbed copies).
  virtual double LnPressure(double q, double const* theta) const = 0;
  /// d ln P/dq at q > 0.
  virtual double DLnPressure(double q) const = 0;
  /// π as a function of the loading.
  virtual double PiOfLoading(double q) const = 0;
  /// dq/dP at P = 0.
  virtual double HenryConstant() const = 0;

  double Loading(double p) const override {
    if (!(p >= 0.0)) return kNaN;
    if (p == 0.0) return 0.0;
    const double cap = SaturationLoading();
    if (std::isinf(p)) return cap;
    const double target = std::log(p);
    auto f = [&](double q) { return LnPressure(q, m_params.data()) - target; };
    // From Henry's law down until ln P(q) is below the target; the upper end is the capacity,
    // or, without one, found geometrically.
    double lo = std::min(HenryConstant() * p, 0.5 * cap);
    if (!(lo > 0.0) || !std::isfinite(lo)) lo = std::isfinite(cap) ? 0.5 * cap : 1.0;
    double flo = f(lo);
    for (int i = 0; i < 200 && flo > 0.0 && lo > 1e-300; ++i) flo = f(lo *= 1.0 / 16.0);
    if (flo > 0.0) return lo;  // below the smallest loading a double can tell apart
    if (flo == 0.0) return lo;
    // With a capacity, ln P(q) → +∞ there: the bracket is [lo, capacity) without a search.
    double hi = std::isfinite(cap) ? cap : lo;
    double fhi = std::isfinite(cap) ? kInf : flo;
    for (int i = 0; i < 2000 && fhi < 0.0; ++i) {
      lo = hi;
      flo = fhi;
      hi = std::isfinite(cap) ? hi + 0.5 * (cap - hi) : 2.0 * hi;
      if (hi >= cap || !std::isfinite(hi)) return std::isfinite(cap) ? lo : kNaN;
      fhi = f(hi);
    }
    if (!(fhi >= 0.0)) return kNaN;  // ln P(q) never reaches the target (non-monotone virial)
    if (fhi == 0.0) return hi;
    // Newton on ln P(q) with its analytic slope, kept inside the bracket (bisecting when a
    // step leaves it); TOMS 748 if the slope misleads (a non-monotone virial).
    double q = lo;
    for (int i = 0; i < 60 && std::isfinite(q); ++i) {
      const double fq = f(q);
      if (fq == 0.0) return q;
      (fq < 0.0 ? lo : hi) = q;
      (fq < 0.0 ? flo : fhi) = fq;
      double next = q - fq / DLnPressure(q);
      if (!(next > lo && next < hi)) next = 0.5 * (lo + hi);
      if (std::fabs(next - q) <= 1e-15 * q) return next;
      q = next;
    }
    if (std::isinf(fhi)) {
      hi = std::nextafter(cap, 0.0);
      fhi = f(hi);
      if (!(fhi > 0.0)) return hi;  // within rounding of the capacity
    }
    return Toms748(f, lo, hi, flo, fhi);
  }
  double LoadingSlope(double p) const override {
    if (!(p >= 0.0)) return kNaN;
    if (p == 0.0) return HenryConstant();
    return 1.0 / (p * DLnPressure(Loading(p)));
  }
  SModelValue Pressure(double q) const override {
    SModelValue out;
    if (PressureEdge(q, out)) return out;
    return {std::exp(LnPressure(q, m_params.data())), EModelStatus::kOk};
  }
  SModelValue SpreadingPressure(double p) const override {
    if (!(p >= 0.0)) return {kNaN, EModelStatus::kOutsideDomain};
    if (p == 0.0) return {0.0, EModelStatus::kOk};
    const double q = Loading(p);
    if (std::isnan(q)) return {kNaN, EModelStatus::kNoConvergence};
    return {PiOfLoading(q), EModelStatus::kOk};
  }
  SModelValue PressureAtSpreadingPressure(double pi) const override {
    if (!(pi >= 0.0)) return {kNaN, EModelStatus::kOutsideDomain};
    if (pi == 0.0) return {0.0, EModelStatus::kOk};
    // π is closed in q, so the root is taken in q and P follows from its definition.
    const double cap = SaturationLoading();
    const SModelValue q =
        InvertIncreasing([&](double x) { return x >= cap ? kInf : PiOfLoading(x); }, pi,
                         std::isfinite(cap) ? 0.5 * cap : 1.0);
    if (!q.Ok()) return q;
    return {std::exp(LnPressure(q.value, m_params.data())), EModelStatus::kOk};
  }
  double PressureScale() const override { return 1.0; }
  /// Implicit function rule: ∂q/∂θ = −(∂ln P/∂θ)/(∂ln P/∂q), ∂ln P/∂θ by central differences.
  double LoadingGradient(double p, double* g) const override {
    const double q = Loading(p);
    if (!(q > 0.0)) {
      std::fill(g, g + m_params.size(), q == 0.0 ? 0.0 : kNaN);
      return q;
    }
    const double d = DLnPressure(q);
    std::vector<double> t = m_params;
    for (std::size_t j = 0; j < t.size(); ++j) {
      const double h = 1e-6 * std::max(std::fabs(m_params[j]), 1e-6);
      t[j] = m_params[j] + h;
      const double up = LnPressure(q, t.data());
      t[j] = m_params[j] - h;
      const double dn = LnPressure(q, t.data());
      t[j] = m_params[j];
      g[j] = -(up - dn) / (2.0 * h) / d;
    }
    return q;
  }
};

/// FH-VST: P = θ/(K(1−θ))·exp(α²θ/(1+αθ)), θ = q/n_m.
class FloryHugginsVST final : public Implicit {
 public:
  using Implicit::Implicit;
  double LnPressure(double q, double const* t) const override {
    const double th = q / t[0];
    const double a = t[2];
    return std::log(th) - std::log1p(-th) - std::log(t[1]) + a * a * th / (1.0 + a * th);
  }
  double DLnPressure(double q) const override {
    const double th = q / m_params[0];
    const double a = m_params[2];
    const double d = 1.0 + a * th;
    return (1.0 / th + 1.0 / (1.0 - th) + a * a / (d * d)) / m_params[0];
  }
  double PiOfLoading(double q) const override {
    const double th = q / m_params[0];
    const double a = m_params[2];
    return m_params[0] * (-std::log1p(-th) + std::log1p(a * th) - a * th / (1.0 + a * th));
  }
  double HenryConstant() const override { return m_params[0] * m_params[1]; }
  double SaturationLoading() const override { return m_params[0]; }
  double PressureScale() const override { return 1.0 / m_params[1]; }
};

/// W-VST: P = θ/(K(1−θ))·Λ₁ᵥ(1−aθ)/(Λ₁ᵥ+bθ)·exp(−Λᵥ₁aθ/(1−aθ) − bθ/(Λ₁ᵥ+bθ)),
/// a = 1 − Λᵥ₁, b = 1 − Λ₁ᵥ.
class WilsonVST final : public Implicit {
 public:
  using Implicit::Implicit;
  double LnPressure(double q, double const* t) const override {
    const double th = q / t[0];
    const double l1v = t[2];
    const double lv1 = t[3];
    const double a = 1.0 - lv1;
    const double b = 1.0 - l1v;
    return std::log(th) - std::log1p(-th) - std::log(t[1]) + std::log(l1v) + std::log1p(-a * th) -
           std::log(l1v + b * th) - lv1 * a * th / (1.0 - a * th) - b * th / (l1v + b * th);
  }
  double DLnPressure(double q) const override {
    const double th = q / m_params[0];
    const double l1v = m_params[2];
    const double lv1 = m_params[3];
    const double a = 1.0 - lv1;
    const double b = 1.0 - l1v;
    const double da = 1.0 - a * th;
    const double db = l1v + b * th;
    return (1.0 / th + 1.0 / (1.0 - th) - a / da - b / db - lv1 * a / (da * da) -
            b * l1v / (db * db)) /
           m_params[0];
  }
  double PiOfLoading(double q) const override {
    const double th = q / m_params[0];
    const double l1v = m_params[2];
    const double lv1 = m_params[3];
    const double a = 1.0 - lv1;
    const double b = 1.0 - l1v;
    return m_params[0] * (-std::log1p(-th) + std::log1p(-a * th) - lv1 * th / (1.0 - a * th) +
                          l1v * th / (l1v + b * th));
  }
  double HenryConstant() const override { return m_params[0] * m_params[1]; }
  double SaturationLoading() const override { return m_params[0]; }
  double PressureScale() const override { return 1.0 / m_params[1]; }
};

/// ln P = ln q − ln K_H + A₁q + A₂q² + …
class Virial final : public Implicit {
 public:
  using Implicit::Implicit;
  double LnPressure(double q, double const* t) const override {
    double poly = 0.0;
    for (std::size_t i = m_params.size() - 1; i >= 1; --i) poly = (poly + t[i]) * q;
    return std::log(q) - std::log(t[0]) + poly;
  }
  double DLnPressure(double q) const override {
    double d = 0.0;  // Σ i A_i q^(i−1)
    for (std::size_t i = m_params.size() - 1; i >= 1; --i) d = d * q + double(i) * m_params[i];
    return 1.0 / q + d;
  }
  double PiOfLoading(double q) const override {
    double s = 0.0;  // Σ i/(i+1) A_i q^(i+1) = q·Σ i/(i+1) A_i q^i
    for (std::size_t i = m_params.size() - 1; i >= 1; --i)
      s = (s + double(i) / (i + 1.0) * m_params[i]) * q;
    return q + q * s;
  }
  double HenryConstant() const override { return m_params[0]; }
  double PressureScale() const override { return 1.0; }
};

}  // namespace

std::shared_ptr<const IsothermModel> MakeImplicitModel(EIsothermModel kind,
                                                       std::vector<double> params,
                                                       SIsothermSetup const& setup) {
  switch (kind) {
    case K::kFloryHugginsVST:
      return std::make_shared<FloryHugginsVST>(kind, std::move(params), setup);
    case K::kWilsonVST:
      return std::make_shared<WilsonVST>(kind, std::move(params), setup);
    case K::kVirial:
      return std::make_shared<Virial>(kind, std::move(params), setup);
    default:
      return nullptr;
  }
}

}  // namespace fiofla::detail
