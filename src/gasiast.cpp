// IAST: the equal-spreading-pressure equations solved by arrow-Jacobian Newton, with a
// bisection on π behind it.
#include "fiofla/gasiast.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <sstream>
#include <utility>

namespace fiofla {

namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kInf = std::numeric_limits<double>::infinity();
// Newton steps in ln P_i° are limited to a factor 100 in pressure.
constexpr double kMaxLogStep = 4.605170185988091;

// One pure component, model or points, behind the three functions IAST needs.
struct Pure {
  std::shared_ptr<const IsothermModel> model;
  PiecewiseIsotherm points;
  double minPressure = 0.0;
  double maxPressure = kInf;

  double Loading(double p) const { return model ? model->Loading(p) : points.Loading(p); }
  double Pi(double p) const {
    if (!model) return points.SpreadingPressure(p);
    // +∞ where the loading has diverged (BET above Ps): the bisection's bracket grows past it.
    const SModelValue v = model->SpreadingPressure(p);
    if (v.Ok()) return v.value;
    return v.status == EModelStatus::kDiverges ? kInf : kNaN;
  }
  // P(π); +∞ for a π the isotherm never reaches, so that the bisection's F stays monotone.
  double PressureAt(double pi) const {
    if (!model) return points.PressureAtSpreadingPressure(pi);
    const SModelValue v = model->PressureAtSpreadingPressure(pi);
    if (v.Ok()) return v.value;
    return v.status == EModelStatus::kAboveCapacity ? kInf : kNaN;
  }
};

// q/P at two pressures two decades apart agrees when the isotherm has a Henry limit.
bool HasHenryLimit(IsothermModel const& m) {
  const double scale =
      m.PressureScale() > 0.0 && std::isfinite(m.PressureScale()) ? m.PressureScale() : 1.0;
  const double p1 = scale * 1e-9, p2 = scale * 1e-7;
  const double k1 = m.Loading(p1) / p1, k2 = m.Loading(p2) / p2;
  return k1 > 0.0 && k2 > 0.0 && std::isfinite(k1) && std::isfinite(k2) &&
         std::fabs(k1 / k2 - 1.0) < 1e-3;
}

}  // namespace

const char* ToString(EIastStatus status) {
  switch (status) {
    case EIastStatus::kOk:
      return "ok";
    case EIastStatus::kBadInput:
      return "bad input";
    case EIastStatus::kNoSolution:
      return "no solution";
    case EIastStatus::kNotReady:
      return "not ready";
  }
  return "unknown";
}

bool SIastPoint::Extrapolated() const {
  return std::any_of(range.begin(), range.end(),
                     [](EIastRange r) { return r != EIastRange::kInside; });
}

double SIastPoint::Selectivity(std::size_t i, std::size_t j) const {
  if (i >= gasFractions.size() || j >= gasFractions.size()) return kNaN;
  const double yi = gasFractions[i], yj = gasFractions[j], xj = adsorbedFractions[j];
  if (yi == 0.0 || yj == 0.0 || xj == 0.0) return kNaN;
  return (adsorbedFractions[i] / yi) / (xj / yj);
}

}  // namespace fiofla

using fiofla::EIastRange;
using fiofla::EIastStatus;
using fiofla::kInf;
using fiofla::kMaxLogStep;
using fiofla::kNaN;
using fiofla::SIastPoint;

struct CIASTCalculation::Impl {
  std::vector<fiofla::Pure> pure;
};

CIASTCalculation::CIASTCalculation(std::vector<fiofla::SIastComponent> components,
                                   fiofla::SIastOptions options)
    : m_impl(std::make_unique<Impl>()), m_options(options) {
  std::ostringstream err, notes;
  if (components.empty()) err << "no components";
  for (std::size_t i = 0; i < components.size(); ++i) {
    auto& c = components[i];
    const std::string name = c.name.empty() ? "component " + std::to_string(i + 1) : c.name;
    m_names.push_back(name);
    fiofla::Pure p;
    bool henry = true;
    if (c.model) {
      p.model = c.model;
      p.minPressure = c.minPressure;
      p.maxPressure = c.maxPressure;
      if (!(c.minPressure >= 0.0) || !(c.maxPressure > c.minPressure)) {
        err << (err.tellp() ? "; " : "") << name << ": range " << c.minPressure << " to "
            << c.maxPressure << " is not an interval of non-negative pressures";
      }
      henry = fiofla::HasHenryLimit(*c.model);
      if (!henry) {
        notes << (notes.tellp() ? "; " : "") << name << " (" << c.model->Name()
              << ") has no Henry limit: its selectivity at vanishing gas fraction is the "
                 "model's low-pressure form, not a measured one";
      }
    } else {
      p.points = fiofla::PiecewiseIsotherm(c.pressures, c.loadings);
      if (!p.points.Ok()) {
        err << (err.tellp() ? "; " : "") << name << ": " << p.points.Message();
      }
      p.minPressure = p.points.MinPressure();
      p.maxPressure = p.points.MaxPressure();
    }
    m_henry.push_back(henry);
    m_impl->pure.push_back(std::move(p));
  }
  m_message = err.str();
  m_notes = notes.str();
}

CIASTCalculation::~CIASTCalculation() = default;
CIASTCalculation::CIASTCalculation(CIASTCalculation&&) noexcept = default;
CIASTCalculation& CIASTCalculation::operator=(CIASTCalculation&&) noexcept = default;

SIastPoint CIASTCalculation::Mixture(std::vector<double> const& gasFractions, double pressure,
                                     SIastPoint const* start) const {
  return Solve(gasFractions, pressure, false, start);
}

SIastPoint CIASTCalculation::GasFractions(std::vector<double> const& adsorbedFractions,
                                          double pressure, SIastPoint const* start) const {
  return Solve(adsorbedFractions, pressure, true, start);
}

std::vector<SIastPoint> CIASTCalculation::PressureSweep(
    std::vector<double> const& gasFractions, std::vector<double> const& pressures) const {
  std::vector<SIastPoint> out;
  out.reserve(pressures.size());
  for (double p : pressures) {
    const SIastPoint* prev = !out.empty() && out.back().Ok() ? &out.back() : nullptr;
    out.push_back(Solve(gasFractions, p, false, prev));
  }
  return out;
}

std::vector<SIastPoint> CIASTCalculation::CompositionSweep(
    std::vector<std::vector<double>> const& gasFractions, double pressure) const {
  std::vector<SIastPoint> out;
  out.reserve(gasFractions.size());
  for (auto const& y : gasFractions) {
    const SIastPoint* prev = !out.empty() && out.back().Ok() ? &out.back() : nullptr;
    out.push_back(Solve(y, pressure, false, prev));
  }
  return out;
}

SIastPoint CIASTCalculation::Solve(std::vector<double> const& fractionsIn, double pressure,
                                   bool reverse, SIastPoint const* start) const {
  SIastPoint pt;
  const std::size_t n = m_names.size();
  pt.pressure = pressure;
  if (!Ok()) {
    pt.message = "the calculation was refused: " + m_message;
    return pt;
  }
  pt.status = EIastStatus::kBadInput;
  const char* what = reverse ? "adsorbed fractions" : "gas fractions";
  if (fractionsIn.size() != n) {
    pt.message = std::string(what) + ": " + std::to_string(fractionsIn.size()) + " given for " +
                 std::to_string(n) + " components";
    return pt;
  }
  if (!(pressure > 0.0) || !std::isfinite(pressure)) {
    std::ostringstream s;
    s << "pressure " << pressure << "; expected a positive finite value";
    pt.message = s.str();
    return pt;
  }
  double sum = 0.0;
  for (std::size_t i = 0; i < n; ++i) {
    const double f = fractionsIn[i];
    if (!(f >= 0.0) || !(f <= 1.0)) {
      std::ostringstream s;
      s << what << ": " << m_names[i] << " has " << f << "; expected 0 to 1";
      pt.message = s.str();
      return pt;
    }
    sum += f;
  }
  if (std::fabs(sum - 1.0) > 1e-9) {
    std::ostringstream s;
    s.precision(12);
    s << what << " sum to " << sum << "; expected 1";
    pt.message = s.str();
    return pt;
  }
  std::vector<double> known(n);
  for (std::size_t i = 0; i < n; ++i) known[i] = fractionsIn[i] / sum;

  auto const& pure = m_impl->pure;
  std::vector<std::size_t> act;
  for (std::size_t i = 0; i < n; ++i)
    if (known[i] > 0.0) act.push_back(i);
  const std::size_t m = act.size();
  const double lnP = std::log(pressure);

  // Newton on u_i = ln P_i° and π. Rows: q_i du_i − dπ = −r_i with r_i = π_i(u_i) − π;
  // last row: Σ a_i du_i = −h, a_i = −x_i (forward, h = Σx − 1) or +y_i (reverse).
  std::vector<double> u(m), q(m), pis(m), other(m);
  // Cold start: selectivities from the pure loadings at P, x_i ∝ y_i q_i(P) (exact in the
  // Henry region), i.e. P_i° = P q̄/q_i(P) with q̄ = Σ y_j q_j(P) (reverse: P_i° = P/(q_i(P)
  // Σ x_j/q_j(P))). It saves about a third of the iterations against P_i° = P.
  double mean = 0.0;
  for (std::size_t k = 0; k < m; ++k) {
    q[k] = pure[act[k]].Loading(pressure);
    mean += reverse ? known[act[k]] / q[k] : known[act[k]] * q[k];
  }
  for (std::size_t k = 0; k < m; ++k) {
    const double guess = reverse ? lnP - std::log(q[k] * mean) : lnP + std::log(mean / q[k]);
    u[k] = std::isfinite(guess) ? guess : lnP;
    if (start && start->Ok() && start->purePressures.size() == n &&
        std::isfinite(start->purePressures[act[k]]) && start->purePressures[act[k]] > 0.0) {
      u[k] = std::log(start->purePressures[act[k]] * (pressure / start->pressure));
    }
  }
  double pi = 0.0;
  for (std::size_t k = 0; k < m; ++k) pi += known[act[k]] * pure[act[k]].Pi(std::exp(u[k]));

  const double tol = m_options.tolerance;
  bool converged = false;
  double previous = 0.0;  // size of the last full Newton step
  int it = 0;
  for (; it < m_options.maxNewtonIterations && std::isfinite(pi) && pi > 0.0; ++it) {
    double h = -1.0, den = 0.0, num = 0.0;
    bool good = true;
    for (std::size_t k = 0; k < m && good; ++k) {
      const double p = std::exp(u[k]);
      pis[k] = pure[act[k]].Pi(p);
      q[k] = pure[act[k]].Loading(p);
      good = std::isfinite(pis[k]) && q[k] > 0.0 && std::isfinite(q[k]);
      other[k] = reverse ? known[act[k]] * p / pressure : known[act[k]] * pressure / p;
      h += other[k];
    }
    if (!good || !std::isfinite(h)) break;
    for (std::size_t k = 0; k < m; ++k) {
      const double a = reverse ? other[k] : -other[k];
      den += a / q[k];
      num += a * (pis[k] - pi) / q[k];
    }
    const double dpi = (-h + num) / den;
    if (!std::isfinite(dpi)) break;
    double biggest = 0.0;
    for (std::size_t k = 0; k < m; ++k) {
      biggest = std::max(biggest, std::fabs((dpi - (pis[k] - pi)) / q[k]));
    }
    const double lambda = biggest > kMaxLogStep ? kMaxLogStep / biggest : 1.0;
    double step = lambda * dpi;
    // π stays positive: never step past half of it downwards.
    double shrink = 1.0;
    if (pi + step <= 0.0) shrink = 0.5 * pi / std::fabs(step);
    for (std::size_t k = 0; k < m; ++k) u[k] += shrink * lambda * (dpi - (pis[k] - pi)) / q[k];
    pi += shrink * step;
    // Converged when this step, or the next one as quadratic convergence predicts it
    // (C = s_k/s_{k−1}², next ≈ C s_k²), is below the tolerance: the prediction saves the
    // last evaluation of every π, and is trusted only once the steps do contract
    // quadratically.
    const double size = std::max(biggest, std::fabs(dpi) / pi);
    if (lambda == 1.0 && shrink == 1.0) {
      const double c = previous > 0.0 ? size / (previous * previous) : kInf;
      if (size <= tol || (size <= 1e-4 && c <= 100.0 && c * size * size <= tol)) {
        converged = true;
        ++it;
        break;
      }
      previous = size;
    } else {
      previous = 0.0;
    }
  }

  std::vector<double> pstar(m);
  if (converged) {
    for (std::size_t k = 0; k < m; ++k) pstar[k] = std::exp(u[k]);
    pt.iterations = it;
  } else {
    // Bisection on π: F(π) = Σ y_i P/P_i°(π) falls with π (reverse: Σ x_i P_i°(π)/P rises),
    // and equals 1 between min_i π_i(P) and max_i π_i(P).
    double lo = kInf, hi = 0.0;
    for (std::size_t k = 0; k < m; ++k) {
      const double v = pure[act[k]].Pi(pressure);
      if (std::isnan(v)) {
        pt.status = EIastStatus::kNoSolution;
        pt.message = m_names[act[k]] +
                     ": the spreading pressure at the total pressure is "
                     "not defined";
        return pt;
      }
      lo = std::min(lo, v);
      hi = std::max(hi, v);
    }
    auto excess = [&](double p) {  // F(π) − 1, made rising in π for both directions
      double s = 0.0;
      for (std::size_t k = 0; k < m; ++k) {
        const double ps = pure[act[k]].PressureAt(p);
        pstar[k] = ps;
        s += reverse ? known[act[k]] * ps / pressure : known[act[k]] * pressure / ps;
      }
      return reverse ? s - 1.0 : 1.0 - s;
    };
    if (!std::isfinite(lo)) {
      pt.status = EIastStatus::kNoSolution;
      pt.message = "every component's loading has diverged at the total pressure";
      return pt;
    }
    if (!std::isfinite(hi)) {
      hi = std::max(2.0 * lo, 1e-300);
      for (int g = 0; g < 2000 && !(excess(hi) >= 0.0); ++g) hi *= 2.0;
    }
    int b = 0;
    double mid = 0.5 * (lo + hi);
    for (; b < m_options.maxBisections && hi - lo > 4e-16 * hi; ++b) {
      mid = lo > 0.0 && hi / lo > 4.0 ? std::sqrt(lo * hi) : 0.5 * (lo + hi);
      const double e = excess(mid);
      if (std::isnan(e)) break;
      (e < 0.0 ? lo : hi) = mid;
    }
    pi = 0.5 * (lo + hi);
    const double e = excess(pi);
    bool ok = std::isfinite(e) && hi - lo <= 4e-16 * hi;
    for (std::size_t k = 0; k < m; ++k) ok = ok && pstar[k] > 0.0 && std::isfinite(pstar[k]);
    if (!ok) {
      pt.status = EIastStatus::kNoSolution;
      pt.message = "no state of equal spreading pressure found: Newton stopped after " +
                   std::to_string(it) + " iterations and the bisection on π failed";
      return pt;
    }
    pt.bisection = true;
    pt.iterations = b;
  }

  // Fractions, pure loadings and amounts; normalising removes the last rounding of Σ = 1.
  pt.gasFractions.assign(n, 0.0);
  pt.adsorbedFractions.assign(n, 0.0);
  pt.purePressures.assign(n, kNaN);
  pt.pureLoadings.assign(n, kNaN);
  pt.loadings.assign(n, 0.0);
  pt.range.assign(n, EIastRange::kInside);
  std::vector<double>& unknown = reverse ? pt.gasFractions : pt.adsorbedFractions;
  std::vector<double>& given = reverse ? pt.adsorbedFractions : pt.gasFractions;
  double total = 0.0;
  for (std::size_t k = 0; k < m; ++k) {
    const std::size_t i = act[k];
    given[i] = known[i];
    unknown[i] = reverse ? known[i] * pstar[k] / pressure : known[i] * pressure / pstar[k];
    total += unknown[i];
  }
  double invQ = 0.0;
  std::ostringstream outside;
  for (std::size_t k = 0; k < m; ++k) {
    const std::size_t i = act[k];
    unknown[i] /= total;
    pt.purePressures[i] = pstar[k];
    pt.pureLoadings[i] = pure[i].Loading(pstar[k]);
    invQ += pt.adsorbedFractions[i] / pt.pureLoadings[i];
    if (pstar[k] < pure[i].minPressure) pt.range[i] = EIastRange::kBelow;
    if (pstar[k] > pure[i].maxPressure) pt.range[i] = EIastRange::kAbove;
    if (pt.range[i] != EIastRange::kInside) {
      outside << (outside.tellp() ? ", " : "") << m_names[i] << " ("
              << (pt.range[i] == EIastRange::kBelow ? "below" : "above") << ")";
    }
  }
  pt.totalLoading = 1.0 / invQ;
  for (std::size_t i = 0; i < n; ++i) pt.loadings[i] = pt.adsorbedFractions[i] * pt.totalLoading;
  pt.spreadingPressure = pi;
  pt.status = EIastStatus::kOk;
  if (outside.tellp()) {
    pt.message = "pure-component pressures outside the known range: " + outside.str();
  }
  return pt;
}
