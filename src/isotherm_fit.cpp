// Isotherm model fits: data screening, parameter maps, the deterministic multistart and the
// statistics of the winning start (see include/fiofla/isotherm_fit.h).
//
// Parameter maps (θ the model's parameter, u the one the Levenberg-Marquardt run moves):
//   logScale                θ = e^u                      dθ/du = θ
//   bounds a < θ < b        θ = a + (b − a)/(1 + e^−u)   dθ/du = (θ − a)(b − θ)/(b − a)
//   only a ≤ θ (or θ ≤ b)   θ = a + e^u  (b − e^u)       dθ/du = θ − a  (b − θ)
//   unbounded               θ = u                        dθ/du = 1
// The logistic is used rather than a sine map because it is monotone on the whole line, so
// the run cannot fold back across a bound and two u never give the same θ. A parameter whose
// start sits on its lower bound (Jensen-Seaton's κ = 0) starts a small step inside it.
//
// Residuals are in loading for every family, the implicit ones (vacancy solution, virial)
// included, through their Loading() and the implicit-function gradient. Residuals in ln P of
// P(q) were measured beside them (30 points, exact data and 20 sets with 1 % noise in q): on
// exact data both recover the parameters (worst 1e-14 in loading against 7e-13 in ln P for
// Wilson); with noise, ln P failed to converge on 14 of 20 FH-VST and 18 of 20 Wilson sets,
// because a noisy loading above the fitted capacity has no pressure, and was only slightly
// better for the virial (mean worst error 4 % against 7 %). Loading residuals also keep RSS,
// RMS error and AICc in one unit for every family, which the ranking needs.
//
// Starts: the heuristic guess, then copies with affinities (log-scaled parameters other than
// capacities) ×10, ×0.1, capacities ×2 with exponents (bounded dimensionless parameters)
// pulled 40 % of the way towards 1 (to 0.6 when they are 1 already), capacities ×0.5 with
// affinities ×100, and further starts alternating affinities ×10^±k. Dimensionless
// log-scaled parameters (BET's C, Wilson's Λs) move by the square root of the affinity
// factor, up and down in turn. The best converged start (least cost) wins.
#include "fiofla/isotherm_fit.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <sstream>

namespace fiofla {

namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kInfinity = std::numeric_limits<double>::infinity();

enum class EMap { kIdentity, kLog, kLogistic, kAboveLower, kBelowUpper };

struct SMap {
  EMap kind = EMap::kIdentity;
  double lower = -kInfinity;
  double upper = kInfinity;

  double Theta(double u) const {
    switch (kind) {
      case EMap::kLog:
        return std::exp(u);
      case EMap::kLogistic:
        return lower + (upper - lower) / (1.0 + std::exp(-u));
      case EMap::kAboveLower:
        return lower + std::exp(u);
      case EMap::kBelowUpper:
        return upper - std::exp(u);
      case EMap::kIdentity:
        break;
    }
    return u;
  }
  // dθ/du at θ.
  double Slope(double theta) const {
    switch (kind) {
      case EMap::kLog:
        return theta;
      case EMap::kLogistic:
        return (theta - lower) * (upper - theta) / (upper - lower);
      case EMap::kAboveLower:
        return theta - lower;
      case EMap::kBelowUpper:
        return upper - theta;
      case EMap::kIdentity:
        break;
    }
    return 1.0;
  }
  // u of a start value, moved strictly inside the bounds first; `nudge` > 0 is the step
  // inside used when θ sits on (or beyond) a one-sided bound.
  double U(double theta, double nudge) const {
    switch (kind) {
      case EMap::kLog:
        return std::log(theta > 0.0 ? theta : nudge);
      case EMap::kLogistic: {
        const double w = upper - lower;
        const double t = std::clamp(theta, lower + 1e-6 * w, upper - 1e-6 * w);
        return std::log((t - lower) / (upper - t));
      }
      case EMap::kAboveLower:
        return std::log(theta > lower ? theta - lower : nudge);
      case EMap::kBelowUpper:
        return std::log(theta < upper ? upper - theta : nudge);
      case EMap::kIdentity:
        break;
    }
    return theta;
  }
};

SMap MapOf(SParameterInfo const& info) {
  SMap m;
  m.lower = info.lower;
  m.upper = info.upper;
  const bool lo = std::isfinite(info.lower);
  const bool hi = std::isfinite(info.upper);
  if (info.logScale)
    m.kind = EMap::kLog;
  else if (lo && hi)
    m.kind = EMap::kLogistic;
  else if (lo)
    m.kind = EMap::kAboveLower;
  else if (hi)
    m.kind = EMap::kBelowUpper;
  return m;
}

bool IsCapacity(SParameterInfo const& info) {
  return info.unit == "loading";
}
bool IsAffinity(SParameterInfo const& info) {
  return info.logScale && !IsCapacity(info);
}
bool IsShape(SParameterInfo const& info) {
  return info.logScale && info.unit == "1";
}
// A bounded dimensionless shape parameter (exponent, heterogeneity), not a log-scaled one.
bool IsExponent(SParameterInfo const& info) {
  return info.unit == "1" && !info.logScale && std::isfinite(info.lower);
}

struct SPoints {
  std::vector<double> p;
  std::vector<double> q;
  std::vector<double> w;  // normalised to mean 1
  int dropped = 0;        // bad pressure or loading
  int badWeights = 0;     // negative or non-finite weight
  int zeroWeights = 0;
};

SPoints Screen(std::vector<double> const& pressures, std::vector<double> const& loadings,
               std::vector<double> const& weights) {
  SPoints s;
  const std::size_t n = std::min(pressures.size(), loadings.size());
  s.dropped = int(std::max(pressures.size(), loadings.size()) - n);
  for (std::size_t i = 0; i < n; ++i) {
    const double p = pressures[i];
    const double q = loadings[i];
    if (!(std::isfinite(p) && p > 0.0 && std::isfinite(q) && q >= 0.0)) {
      ++s.dropped;
      continue;
    }
    const double w = weights.empty() ? 1.0 : weights[i];
    if (!(std::isfinite(w) && w >= 0.0)) {
      ++s.badWeights;
      continue;
    }
    if (w == 0.0) {
      ++s.zeroWeights;
      continue;
    }
    s.p.push_back(p);
    s.q.push_back(q);
    s.w.push_back(w);
  }
  // Scaling every weight by one factor must change nothing, RSS and AICc included.
  double mean = 0.0;
  for (double w : s.w) mean += w;
  if (!s.w.empty()) mean /= double(s.w.size());
  for (double& w : s.w) w /= mean;
  return s;
}

std::string Plural(int n, const char* what) {
  return std::to_string(n) + " " + what + (n == 1 ? "" : "s");
}

// One Levenberg-Marquardt run from one start, in u.
struct SRun {
  ELMStop stop = ELMStop::kNotRun;
  bool converged = false;
  std::vector<double> theta;  // best parameters seen (the solution when converged)
  double cost = kInfinity;    // Σ w r² there
  std::vector<double> seU;    // standard errors of the u, one per parameter
  int iterations = 0;
  int evaluations = 0;
};

class CFitter {
 public:
  CFitter(EIsothermModel kind, SIsothermSetup const& setup, SPoints const& pts,
          std::vector<SParameterInfo> const& info, std::vector<bool> const& adjustable,
          SLMOptions const& lm)
      : m_kind(kind), m_setup(setup), m_pts(pts), m_info(info), m_adj(adjustable), m_lm(lm) {
    for (auto const& i : info) m_maps.push_back(MapOf(i));
    for (std::size_t i = 0; i < pts.p.size(); ++i) m_data.push_back({pts.p[i], pts.q[i], pts.w[i]});
    m_theta.resize(info.size());
    m_grad.resize(info.size());
  }

  SRun Run(std::vector<double> const& start) {
    const std::size_t k = start.size();
    std::vector<SCurveFitParam> params(k);
    for (std::size_t j = 0; j < k; ++j) {
      params[j].adjustable = m_adj[j];
      params[j].value = m_adj[j] ? m_maps[j].U(start[j], Nudge(j)) : start[j];
    }
    m_calls = 0;
    m_sweepCost = 0.0;
    m_sweepFinite = true;
    m_best = {};
    m_best.theta = start;
    m_model.reset();
    CMarquetteFit fit(
        m_data, params, [this](double x, std::vector<SCurveFitParam>& ps) { return Eval(x, ps); },
        m_lm);
    SRun run = m_best;
    run.stop = fit.Summary().stop;
    run.iterations = fit.Summary().iterations;
    run.evaluations = fit.Summary().evaluations;
    run.converged = fit.IsValid();
    if (run.converged) {
      for (std::size_t j = 0; j < k; ++j) run.theta[j] = ThetaOf(j, params[j].value);
      run.cost = 2.0 * fit.Summary().finalCost;
      run.seU = fit.Summary().standardErrors;
    }
    return run;
  }

  double ThetaOf(std::size_t j, double v) const { return m_adj[j] ? m_maps[j].Theta(v) : v; }
  SMap const& Map(std::size_t j) const { return m_maps[j]; }

 private:
  // A step inside a one-sided bound for a start that sits on it, in the parameter's unit.
  double Nudge(std::size_t j) const {
    const double pMax = *std::max_element(m_pts.p.begin(), m_pts.p.end());
    const double qMax = *std::max_element(m_pts.q.begin(), m_pts.q.end());
    const std::string& unit = m_info[j].unit;
    if (unit == "loading") return 0.1 * std::max(qMax, 1e-300);
    if (unit.rfind("1/pressure", 0) == 0) return 0.01 / pMax;
    if (unit == "J/mol") return 100.0;
    return 0.1;
  }

  // q(P) and ∂q/∂u; the model is rebuilt once per sweep over the points (the solver calls
  // the model for every point in order, so a sweep starts at every n-th call). Also tracks the
  // best sweep, because the solver hands back the start when it stops at its bound.
  double Eval(double x, std::vector<SCurveFitParam>& ps) {
    const std::size_t n = m_data.size();
    const std::size_t i = m_calls % n;
    ++m_calls;
    if (i == 0) {
      for (std::size_t j = 0; j < ps.size(); ++j) m_theta[j] = ThetaOf(j, ps[j].value);
      bool finite = true;
      for (double t : m_theta) finite = finite && std::isfinite(t);
      m_model = finite ? MakeIsothermModel(m_kind, m_theta, m_setup).model : nullptr;
      m_sweepCost = 0.0;
      m_sweepFinite = true;
    }
    if (!m_model) {
      m_sweepFinite = false;
      return kNaN;
    }
    const double q = m_model->LoadingGradient(x, m_grad.data());
    for (std::size_t j = 0; j < ps.size(); ++j)
      ps[j].derivative = m_adj[j] ? m_grad[j] * m_maps[j].Slope(m_theta[j]) : 0.0;
    const double r = q - m_data[i].y;
    m_sweepCost += m_data[i].weight * r * r;
    m_sweepFinite = m_sweepFinite && std::isfinite(q);
    if (i + 1 == n && m_sweepFinite && m_sweepCost < m_best.cost) {
      m_best.cost = m_sweepCost;
      m_best.theta = m_theta;
    }
    return q;
  }

  EIsothermModel m_kind;
  SIsothermSetup m_setup;
  SPoints const& m_pts;
  std::vector<SParameterInfo> const& m_info;
  std::vector<bool> const& m_adj;
  SLMOptions m_lm;
  std::vector<SMap> m_maps;
  std::vector<CMarquetteFit::SData> m_data;
  std::vector<double> m_theta;
  std::vector<double> m_grad;
  std::shared_ptr<const IsothermModel> m_model;
  std::size_t m_calls = 0;
  double m_sweepCost = 0.0;
  bool m_sweepFinite = true;
  SRun m_best;
};

// The s-th start (s ≥ 1) derived from the guess (see the top of this file).
std::vector<double> ScaledStart(std::vector<double> guess, std::vector<SParameterInfo> const& info,
                                int s) {
  double affinity = 1.0;
  double capacity = 1.0;
  bool exponents = false;
  switch (s) {
    case 1:
      affinity = 10.0;
      break;
    case 2:
      affinity = 0.1;
      break;
    case 3:
      capacity = 2.0;
      exponents = true;
      break;
    case 4:
      capacity = 0.5;
      affinity = 100.0;
      break;
    default:
      affinity = std::pow(10.0, (s % 2 ? 1.0 : -1.0) * double((s - 1) / 2));
      exponents = s % 4 == 1;
  }
  // Dimensionless log-scaled parameters (BET's C, Wilson's Λs) move by a smaller factor and
  // in turn up and down, since interaction pairs such as Λ₁ᵥ, Λᵥ₁ usually lie on either side
  // of 1.
  const double shape = std::sqrt(affinity);
  int shapes = 0;
  for (std::size_t j = 0; j < guess.size(); ++j) {
    if (IsShape(info[j]))
      guess[j] *= shapes++ % 2 ? 1.0 / shape : shape;
    else if (IsAffinity(info[j]))
      guess[j] *= affinity;
    if (IsCapacity(info[j])) guess[j] *= capacity;
    if (exponents && IsExponent(info[j])) {
      const double target = std::clamp(1.0, info[j].lower, info[j].upper);
      guess[j] += 0.4 * (target - guess[j]);
      if (guess[j] == target) guess[j] = std::clamp(0.6 * target, info[j].lower, info[j].upper);
    }
  }
  return guess;
}

}  // namespace

const char* ToString(EFitStatus status) {
  switch (status) {
    case EFitStatus::kOk:
      return "ok";
    case EFitStatus::kIterationLimit:
      return "iteration limit";
    case EFitStatus::kUndetermined:
      return "undetermined";
    case EFitStatus::kTooFewPoints:
      return "too few points";
    case EFitStatus::kDegenerate:
      return "degenerate data";
    case EFitStatus::kFailed:
      return "failed";
  }
  return "unknown";
}

SIsothermFit FitIsotherm(EIsothermModel kind, std::vector<double> const& pressures,
                         std::vector<double> const& loadings, SIsothermSetup const& setup,
                         SIsothermFitOptions const& options) {
  SIsothermFit out;
  out.kind = kind;
  out.name = IsothermModelName(kind);
  out.aicc = kInfinity;
  const std::vector<SParameterInfo> info = IsothermParameterInfo(kind, setup);
  for (auto const& i : info) out.parameterNames.push_back(i.name);
  out.parameters.assign(info.size(), kNaN);
  out.standardErrors.assign(info.size(), kNaN);

  std::vector<std::string> notes;
  if (!options.weights.empty() && options.weights.size() != pressures.size()) {
    out.message = Plural(int(options.weights.size()), "weight") + " given for " +
                  Plural(int(pressures.size()), "point") + "; there must be one per point";
    return out;
  }
  if (pressures.size() != loadings.size()) {
    notes.push_back(Plural(int(pressures.size()), "pressure") + " but " +
                    Plural(int(loadings.size()), "loading") + "; the unpaired ones are ignored");
  }
  const SPoints pts = Screen(pressures, loadings, options.weights);
  if (pts.dropped > 0)
    notes.push_back("dropped " + Plural(pts.dropped, "point") +
                    " with a zero, negative or non-finite pressure, or a negative or non-finite "
                    "loading");
  if (pts.badWeights > 0)
    notes.push_back("dropped " + Plural(pts.badWeights, "point") +
                    " with a negative or non-finite weight");
  if (pts.zeroWeights > 0)
    notes.push_back("left out " + Plural(pts.zeroWeights, "point") + " of weight 0");
  auto finish = [&](std::string why) {
    for (auto const& n : notes) why += (why.empty() ? "" : "; ") + n;
    out.message = why;
    return out;
  };
  out.points = int(pts.p.size());

  if (kind == EIsothermModel::kComposite)
    return finish(out.name + " has no starting guess; fit a sum of sites by its parts");
  if (info.empty())
    return finish(out.name + " has no parameters with this setup (sites = " +
                  std::to_string(setup.sites) + ")");
  // At one temperature only n_2·exp(−E_a/RT) is seen, so E_a is held at its start.
  std::vector<bool> adjustable(info.size(), true);
  if (kind == EIsothermModel::kChemiPhysisorption) adjustable.back() = false;
  const int k = int(std::count(adjustable.begin(), adjustable.end(), true));
  if (out.points < k + 1) {
    out.status = EFitStatus::kTooFewPoints;
    return finish(Plural(out.points, "usable point") + " for " + Plural(k, "parameter") + " of " +
                  out.name + "; at least " + std::to_string(k + 1) + " are needed");
  }
  const bool allPEqual =
      std::all_of(pts.p.begin(), pts.p.end(), [&](double p) { return p == pts.p[0]; });
  const bool allQEqual =
      std::all_of(pts.q.begin(), pts.q.end(), [&](double q) { return q == pts.q[0]; });
  if (allPEqual || allQEqual) {
    out.status = EFitStatus::kDegenerate;
    std::string why = allPEqual         ? "every point is at the same pressure"
                      : pts.q[0] == 0.0 ? "every loading is 0"
                                        : "every loading is the same";
    return finish(why + "; the data cannot determine " + out.name + "'s parameters");
  }

  std::vector<double> guess = IsothermInitialGuess(kind, setup, pts.p, pts.q);
  if (guess.size() != info.size())
    return finish("no starting point for " + out.name + " from these points");
  if (SModelMake made = MakeIsothermModel(kind, guess, setup); !made.model)
    return finish("no starting point for " + out.name + " (" + made.error + ")");

  CFitter fitter(kind, setup, pts, info, adjustable, options.lm);
  SRun best;
  bool haveConverged = false;
  for (int s = 0; s <= std::max(options.extraStarts, 0); ++s) {
    const std::vector<double> start = s == 0 ? guess : ScaledStart(guess, info, s);
    SRun run = fitter.Run(start);
    out.iterations += run.iterations;
    out.evaluations += run.evaluations;
    const bool better = run.converged ? (!haveConverged || run.cost < best.cost)
                                      : (!haveConverged && run.cost < best.cost);
    if (better) {
      haveConverged = haveConverged || run.converged;
      best = std::move(run);
    }
  }
  out.stop = best.stop;
  bool finite = std::isfinite(best.cost) && best.theta.size() == info.size();
  for (double t : best.theta) finite = finite && std::isfinite(t);
  if (!finite)
    return finish(
        "no start reached finite parameters (last stop: " + std::string(ToString(best.stop)) + ")");
  out.model = MakeIsothermModel(kind, best.theta, setup).model;
  if (!out.model) return finish("the fitted parameters do not make a model");
  out.parameters = best.theta;
  out.status = haveConverged ? EFitStatus::kOk : EFitStatus::kIterationLimit;
  if (!haveConverged)
    notes.insert(notes.begin(), "no start converged within " +
                                    std::to_string(options.lm.maxEvaluations) +
                                    " evaluations; the parameters are the best seen");
  if (!adjustable.back()) {
    std::ostringstream held;
    held << info.back().name << " held at " << best.theta.back() << " " << info.back().unit
         << ": at one temperature only " << info[3].name << "·exp(−E_a/RT) is identifiable";
    notes.push_back(held.str());
  }
  // Delta method: σθ = |dθ/du|·σu (θ·σu for the log-scaled ones).
  for (std::size_t j = 0; j < info.size(); ++j) {
    if (!adjustable[j])
      out.standardErrors[j] = 0.0;
    else if (best.seU.size() == info.size())
      out.standardErrors[j] = std::fabs(fitter.Map(j).Slope(best.theta[j])) * best.seU[j];
    // A parameter run off to an extreme (an affinity of 1e200 on data that do not bend)
    // has no estimable error: NaN rather than ∞.
    if (!std::isfinite(out.standardErrors[j])) out.standardErrors[j] = kNaN;
  }
  if (out.status == EFitStatus::kOk) {
    std::string loose;
    for (std::size_t j = 0; j < info.size(); ++j)
      if (adjustable[j] && std::isnan(out.standardErrors[j]))
        loose += (loose.empty() ? "" : ", ") + info[j].name;
    if (!loose.empty()) {
      out.status = EFitStatus::kUndetermined;
      notes.insert(notes.begin(),
                   "the data do not determine " + loose + ": the fit ran to a limit of the model");
    }
  }

  const int n = out.points;
  double sumSq = 0.0;
  for (std::size_t i = 0; i < pts.p.size(); ++i) {
    const double r = out.model->Loading(pts.p[i]) - pts.q[i];
    sumSq += r * r;
  }
  out.rss = best.cost;
  out.rmsError = std::sqrt(sumSq / double(n));
  if (n > k + 1) {
    // An exact fit would give ln 0; the floor keeps AICc finite and still ranks it first.
    const double rss = std::max(out.rss, double(n) * std::numeric_limits<double>::min());
    out.aicc = n * std::log(rss / n) + 2.0 * k + 2.0 * k * (k + 1.0) / double(n - k - 1);
  }
  return finish("");
}

std::vector<SIsothermFit> FitBest(std::vector<EIsothermModel> const& kinds,
                                  std::vector<double> const& pressures,
                                  std::vector<double> const& loadings, SIsothermSetup const& setup,
                                  SIsothermFitOptions const& options) {
  std::vector<SIsothermFit> fits;
  fits.reserve(kinds.size());
  for (EIsothermModel kind : kinds)
    fits.push_back(FitIsotherm(kind, pressures, loadings, setup, options));
  std::stable_sort(fits.begin(), fits.end(), [](SIsothermFit const& a, SIsothermFit const& b) {
    if (a.Usable() != b.Usable()) return a.Usable();
    return a.Usable() && a.aicc < b.aicc;
  });
  return fits;
}

}  // namespace fiofla
