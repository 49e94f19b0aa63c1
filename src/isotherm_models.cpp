// The isotherm model base (numeric inverse and spreading pressure, difference gradients),
// sums of sites, names and the makers.
#include "fiofla/isotherm_models.h"

#include <algorithm>
#include <boost/math/quadrature/gauss_kronrod.hpp>
#include <boost/math/quadrature/tanh_sinh.hpp>
#include <boost/math/tools/roots.hpp>
#include <cctype>
#include <cmath>
#include <cstdint>
#include <functional>
#include <sstream>

#include "isotherm_models_detail.h"

namespace fiofla {

using detail::kInf;
using detail::kNaN;

IsothermModel::IsothermModel(EIsothermModel kind, std::vector<double> params, SIsothermSetup setup)
    : m_kind(kind), m_params(std::move(params)), m_setup(setup) {
  if (kind != EIsothermModel::kComposite) m_info = IsothermParameterInfo(kind, m_setup);
}

std::string IsothermModel::Name() const {
  return IsothermModelName(m_kind);
}

bool IsothermModel::PressureEdge(double loading, SModelValue& out) const {
  if (!(loading >= 0.0)) {
    out = {kNaN, EModelStatus::kOutsideDomain};
    return true;
  }
  if (loading == 0.0) {
    out = {0.0, EModelStatus::kOk};
    return true;
  }
  if (loading >= SaturationLoading()) {
    out = {kNaN, EModelStatus::kAboveCapacity};
    return true;
  }
  return false;
}

SModelValue IsothermModel::Pressure(double loading) const {
  return NumericPressure(loading);
}

SModelValue IsothermModel::NumericPressure(double loading) const {
  SModelValue out;
  if (PressureEdge(loading, out)) return out;
  return detail::InvertIncreasing([this](double p) { return Loading(p); }, loading,
                                  PressureScale());
}

SModelValue IsothermModel::PressureAtSpreadingPressure(double spreadingPressure) const {
  return NumericPressureAtSpreadingPressure(spreadingPressure);
}

SModelValue IsothermModel::NumericPressureAtSpreadingPressure(double spreadingPressure) const {
  if (!(spreadingPressure >= 0.0)) return {kNaN, EModelStatus::kOutsideDomain};
  if (spreadingPressure == 0.0) return {0.0, EModelStatus::kOk};
  // π(P) grows with P wherever q > 0, about as ln P on a plateau: bracket in ln P.
  // dπ/d ln P is q itself, which makes Newton steps in ln P cheap and exact.
  return detail::InvertIncreasingInLog(
      [this](double p) {
        const SModelValue pi = SpreadingPressure(p);
        return pi.status == EModelStatus::kDiverges ? kInf : pi.value;
      },
      spreadingPressure, PressureScale(), [this](double p) { return Loading(p); });
}

namespace detail {
namespace {

// Past a divergence (+∞) TOMS 748 cannot interpolate: bisect until the upper end is finite.
template <class F>
void BisectPastInfinity(F const& f, double& lo, double& hi, double& flo, double& fhi) {
  for (int i = 0; i < 200 && std::isinf(fhi); ++i) {
    const double mid = 0.5 * (lo + hi);
    const double fm = f(mid);
    if (fm < 0.0) {
      lo = mid;
      flo = fm;
    } else {
      hi = mid;
      fhi = fm;
    }
  }
}

}  // namespace

SModelValue InvertIncreasing(std::function<double(double)> const& value, double target,
                             double start) {
  auto f = [&](double x) { return value(x) - target; };
  double hi = start;
  if (!(hi > 0.0) || !std::isfinite(hi)) hi = 1.0;
  double lo = 0.0;
  double fhi = f(hi);
  double flo = -target;
  if (fhi < 0.0) {
    for (int i = 0; i < 600 && fhi < 0.0; ++i) {
      lo = hi;
      flo = fhi;
      hi *= 4.0;
      if (!std::isfinite(hi)) break;
      fhi = f(hi);
    }
    // Growing to the largest double without reaching the target: a bounded function whose
    // supremum was not reported (a non-monotone model, a bounded π).
    if (std::isnan(fhi)) return {kNaN, EModelStatus::kNoConvergence};
    if (!(fhi >= 0.0)) return {kNaN, EModelStatus::kAboveCapacity};
  } else {
    for (int i = 0; i < 600; ++i) {
      const double t = hi * 0.25;
      if (t < 1e-300) break;
      const double ft = f(t);
      if (ft < 0.0) {
        lo = t;
        flo = ft;
        break;
      }
      hi = t;
      fhi = ft;
    }
  }
  BisectPastInfinity(f, lo, hi, flo, fhi);
  if (fhi == 0.0) return {hi, EModelStatus::kOk};
  const double root = Toms748(f, lo, hi, flo, fhi);
  return {root, std::isnan(root) ? EModelStatus::kNoConvergence : EModelStatus::kOk};
}

SModelValue InvertIncreasingInLog(std::function<double(double)> const& value, double target,
                                  double start, std::function<double(double)> const& slope) {
  if (!(start > 0.0) || !std::isfinite(start)) start = 1.0;
  auto f = [&](double s) { return value(std::exp(s)) - target; };
  double lo = std::log(start);
  double flo = f(lo);
  double hi = lo;
  double fhi = flo;
  // Steps of 1, 2, 4, … in ln P: a dozen evaluations reach either end of the doubles.
  double step = 1.0;
  if (std::isnan(flo)) return {kNaN, EModelStatus::kNoConvergence};
  if (flo < 0.0) {
    while (fhi < 0.0) {
      lo = hi;
      flo = fhi;
      hi = std::min(lo + step, 709.0);
      step *= 2.0;
      fhi = f(hi);
      if (fhi < 0.0 && hi == 709.0) return {kNaN, EModelStatus::kAboveCapacity};
    }
  } else {
    while (flo >= 0.0) {
      hi = lo;
      fhi = flo;
      lo = hi - step;
      step *= 2.0;
      if (lo < -745.0) return {0.0, EModelStatus::kOk};  // below the smallest double
      flo = f(lo);
    }
  }
  if (std::isnan(flo) || std::isnan(fhi)) return {kNaN, EModelStatus::kNoConvergence};
  BisectPastInfinity(f, lo, hi, flo, fhi);
  if (fhi == 0.0) return {std::exp(hi), EModelStatus::kOk};
  if (slope && std::isfinite(fhi)) {
    // Newton in s = ln P, kept inside the bracket (a step that leaves it bisects instead).
    double s = flo - fhi != 0.0 ? lo + (hi - lo) * flo / (flo - fhi) : 0.5 * (lo + hi);
    for (int i = 0; i < 100; ++i) {
      const double fs = f(s);
      if (fs == 0.0) return {std::exp(s), EModelStatus::kOk};
      if (std::isnan(fs)) break;
      (fs < 0.0 ? lo : hi) = s;
      const double d = slope(std::exp(s));
      double next = s - fs / d;
      if (!(next > lo && next < hi)) next = 0.5 * (lo + hi);
      // A quadrature π carries ~1e-15 relative noise: asking for more would only dither.
      if (std::fabs(fs) <= 1e-15 * target) return {std::exp(s), EModelStatus::kOk};
      if (std::fabs(next - s) <= 1e-14 * std::max(1.0, std::fabs(s)) ||
          hi - lo <= 1e-14 * std::max(1.0, std::fabs(s)))
        return {std::exp(next), EModelStatus::kOk};
      s = next;
    }
    flo = f(lo);
    fhi = f(hi);
  }
  const double root = Toms748(f, lo, hi, flo, fhi);
  return {std::exp(root), std::isnan(root) ? EModelStatus::kNoConvergence : EModelStatus::kOk};
}

}  // namespace detail

SModelValue IsothermModel::SpreadingPressure(double pressure) const {
  return NumericSpreadingPressure(pressure);
}

SModelValue IsothermModel::NumericSpreadingPressure(double pressure) const {
  if (!(pressure >= 0.0)) return {kNaN, EModelStatus::kOutsideDomain};
  if (pressure == 0.0) return {0.0, EModelStatus::kOk};
  if (std::isinf(Loading(pressure))) return {kInf, EModelStatus::kDiverges};
  // Linear p below the scale (tanh-sinh copes with p^(1/n − 1) at 0); ln p above it, where q
  // is nearly flat and a linear variable would crowd all the area against 0.
  double scale = PressureScale();
  if (!(scale > 0.0) || !std::isfinite(scale)) scale = pressure;
  const double p0 = std::min(pressure, scale);
  // One integrator per thread: this Boost's integrate() is not const, so it cannot be shared.
  // Ten refinement levels are far more than a smooth q needs; they bound the work where q
  // underflows and the relative tolerance cannot be met.
  thread_local boost::math::quadrature::tanh_sinh<double> lower(10);
  try {
    double err = 0.0;
    double l1 = 0.0;
    double pi = lower.integrate([this](double p) { return p > 0.0 ? Loading(p) / p : 0.0; }, 0.0,
                                p0, 1e-13, &err, &l1);
    if (pressure > p0) {
      pi += boost::math::quadrature::gauss_kronrod<double, 31>::integrate(
          [this](double s) { return Loading(std::exp(s)); }, std::log(p0), std::log(pressure), 10,
          1e-13);
    }
    if (!std::isfinite(pi)) return {kNaN, EModelStatus::kNoConvergence};
    return {pi, EModelStatus::kOk};
  } catch (...) {
    return {kNaN, EModelStatus::kNoConvergence};
  }
}

double IsothermModel::LoadingGradient(double pressure, double* gradient) const {
  const double q = Loading(pressure);
  for (std::size_t j = 0; j < m_params.size(); ++j) {
    const double h = 1e-6 * std::max(std::fabs(m_params[j]), 1e-6);
    std::vector<double> up = m_params;
    std::vector<double> dn = m_params;
    up[j] += h;
    dn[j] -= h;
    const auto mu = WithParameters(up);
    const auto md = WithParameters(dn);
    gradient[j] = (mu && md) ? (mu->Loading(pressure) - md->Loading(pressure)) / (2.0 * h) : kNaN;
  }
  return q;
}

std::shared_ptr<const IsothermModel> IsothermModel::WithParameters(
    std::vector<double> params) const {
  if (params.size() != m_params.size()) return nullptr;
  if (m_kind != EIsothermModel::kComposite) return MakeIsothermModel(m_kind, params, m_setup).model;
  std::vector<std::shared_ptr<const IsothermModel>> parts;
  std::size_t at = 0;
  for (auto const& part : m_parts) {
    const std::size_t n = part->Parameters().size();
    auto made = part->WithParameters(
        std::vector<double>(params.begin() + static_cast<std::ptrdiff_t>(at),
                            params.begin() + static_cast<std::ptrdiff_t>(at + n)));
    if (!made) return nullptr;
    parts.push_back(std::move(made));
    at += n;
  }
  return MakeCompositeModel(std::move(parts));
}

namespace detail {
namespace {

/// q is the sum of the parts' q; so are its slope, π and gradient (concatenated).
class SumModel final : public IsothermModel {
 public:
  SumModel(EIsothermModel kind, std::vector<std::shared_ptr<const IsothermModel>> parts,
           std::vector<SParameterInfo> info, SIsothermSetup const& setup)
      : IsothermModel(kind, {}, setup) {
    m_parts = std::move(parts);
    for (auto const& part : m_parts) {
      m_params.insert(m_params.end(), part->Parameters().begin(), part->Parameters().end());
      m_saturation += part->SaturationLoading();
      m_scale = std::min(m_scale, part->PressureScale());
      m_analytic = m_analytic && part->HasAnalyticGradient();
    }
    m_info = std::move(info);
  }
  double Loading(double p) const override {
    double q = 0.0;
    for (auto const& part : m_parts) q += part->Loading(p);
    return q;
  }
  double LoadingSlope(double p) const override {
    double s = 0.0;
    for (auto const& part : m_parts) s += part->LoadingSlope(p);
    return s;
  }
  SModelValue SpreadingPressure(double p) const override {
    SModelValue sum{0.0, EModelStatus::kOk};
    for (auto const& part : m_parts) {
      const SModelValue v = part->SpreadingPressure(p);
      if (!v.Ok()) return v;
      sum.value += v.value;
    }
    return sum;
  }
  double SaturationLoading() const override { return m_saturation; }
  double PressureScale() const override { return m_scale; }
  double LoadingGradient(double p, double* g) const override {
    double q = 0.0;
    for (auto const& part : m_parts) {
      q += part->LoadingGradient(p, g);
      g += part->Parameters().size();
    }
    return q;
  }
  bool HasAnalyticGradient() const override { return m_analytic; }

 private:
  double m_saturation = 0.0;
  double m_scale = kInf;
  bool m_analytic = true;
};

}  // namespace

std::shared_ptr<const IsothermModel> MakeSumModel(
    EIsothermModel kind, std::vector<std::shared_ptr<const IsothermModel>> parts,
    std::vector<SParameterInfo> info, SIsothermSetup const& setup) {
  return std::make_shared<SumModel>(kind, std::move(parts), std::move(info), setup);
}

}  // namespace detail

std::shared_ptr<const IsothermModel> MakeCompositeModel(
    std::vector<std::shared_ptr<const IsothermModel>> parts) {
  if (parts.empty()) return nullptr;
  std::vector<SParameterInfo> info;
  for (std::size_t i = 0; i < parts.size(); ++i) {
    if (!parts[i]) return nullptr;
    for (SParameterInfo p : parts[i]->ParameterInfo()) {
      p.name += "_" + std::to_string(i + 1);
      info.push_back(std::move(p));
    }
  }
  const SIsothermSetup setup = parts.front()->Setup();
  return detail::MakeSumModel(EIsothermModel::kComposite, std::move(parts), std::move(info), setup);
}

// ---------------------------------------------------------------------------------------
// Names

namespace {

struct NameRow {
  EIsothermModel kind;
  const char* name;
};

constexpr NameRow kNames[] = {
    {EIsothermModel::kHenry, "henry"},
    {EIsothermModel::kLangmuir, "langmuir"},
    {EIsothermModel::kMultiSiteLangmuir, "multisite_langmuir"},
    {EIsothermModel::kBET, "bet"},
    {EIsothermModel::kBETLayers, "bet_n_layers"},
    {EIsothermModel::kGAB, "gab"},
    {EIsothermModel::kFreundlich, "freundlich"},
    {EIsothermModel::kDubininRadushkevich, "dubinin_radushkevich"},
    {EIsothermModel::kDubininAstakhov, "dubinin_astakhov"},
    {EIsothermModel::kQuadratic, "quadratic"},
    {EIsothermModel::kTemkinApprox, "temkin_approx"},
    {EIsothermModel::kToth, "toth"},
    {EIsothermModel::kMultiSiteToth, "multisite_toth"},
    {EIsothermModel::kSips, "sips"},
    {EIsothermModel::kLangmuirFreundlich, "langmuir_freundlich"},
    {EIsothermModel::kRedlichPeterson, "redlich_peterson"},
    {EIsothermModel::kUnilan, "unilan"},
    {EIsothermModel::kJensenSeaton, "jensen_seaton"},
    {EIsothermModel::kOBrienMyers, "obrien_myers"},
    {EIsothermModel::kAntiLangmuir, "anti_langmuir"},
    {EIsothermModel::kChemiPhysisorption, "chemi_physisorption"},
    {EIsothermModel::kFloryHugginsVST, "flory_huggins_vst"},
    {EIsothermModel::kWilsonVST, "wilson_vst"},
    {EIsothermModel::kVirial, "virial"},
    {EIsothermModel::kComposite, "composite"},
};

struct AliasRow {
  const char* key;  // already folded: lower case, no separators
  EIsothermModel kind;
  int sites;
};

constexpr AliasRow kAliases[] = {
    {"henrylaw", EIsothermModel::kHenry, 0},
    {"singlesitelangmuir", EIsothermModel::kLangmuir, 0},
    {"ssl", EIsothermModel::kLangmuir, 0},
    {"msl", EIsothermModel::kMultiSiteLangmuir, 0},
    {"dsl", EIsothermModel::kMultiSiteLangmuir, 2},
    {"dualsitelangmuir", EIsothermModel::kMultiSiteLangmuir, 2},
    {"dslangmuir", EIsothermModel::kMultiSiteLangmuir, 2},
    {"tsl", EIsothermModel::kMultiSiteLangmuir, 3},
    {"triplesitelangmuir", EIsothermModel::kMultiSiteLangmuir, 3},
    {"tslangmuir", EIsothermModel::kMultiSiteLangmuir, 3},
    {"betinfinite", EIsothermModel::kBET, 0},
    {"betinf", EIsothermModel::kBET, 0},
    {"betn", EIsothermModel::kBETLayers, 0},
    {"nlayerbet", EIsothermModel::kBETLayers, 0},
    {"betlayers", EIsothermModel::kBETLayers, 0},
    {"guggenheimandersondeboer", EIsothermModel::kGAB, 0},
    {"dr", EIsothermModel::kDubininRadushkevich, 0},
    {"da", EIsothermModel::kDubininAstakhov, 0},
    {"temkin", EIsothermModel::kTemkinApprox, 0},
    {"temkinapproximate", EIsothermModel::kTemkinApprox, 0},
    {"dstoth", EIsothermModel::kMultiSiteToth, 2},
    {"dualsitetoth", EIsothermModel::kMultiSiteToth, 2},
    {"lf", EIsothermModel::kLangmuirFreundlich, 0},
    {"rp", EIsothermModel::kRedlichPeterson, 0},
    {"js", EIsothermModel::kJensenSeaton, 0},
    {"om", EIsothermModel::kOBrienMyers, 0},
    {"obrienandmyers", EIsothermModel::kOBrienMyers, 0},
    {"cp", EIsothermModel::kChemiPhysisorption, 0},
    {"chemisorptionphysisorption", EIsothermModel::kChemiPhysisorption, 0},
    {"fhvst", EIsothermModel::kFloryHugginsVST, 0},
    {"floryhuggins", EIsothermModel::kFloryHugginsVST, 0},
    {"wvst", EIsothermModel::kWilsonVST, 0},
    {"wilson", EIsothermModel::kWilsonVST, 0},
    {"sum", EIsothermModel::kComposite, 0},
};

std::string Fold(std::string_view text) {
  std::string out;
  for (char c : text) {
    if (c == ' ' || c == '-' || c == '_' || c == '\'' || c == '\t') continue;
    out.push_back(static_cast<char>(std::tolower(static_cast<unsigned char>(c))));
  }
  return out;
}

}  // namespace

const char* IsothermModelName(EIsothermModel kind) {
  for (auto const& row : kNames)
    if (row.kind == kind) return row.name;
  return "unknown";
}

std::optional<SModelName> ParseIsothermModelName(std::string_view text) {
  const std::string key = Fold(text);
  if (key.empty()) return std::nullopt;
  for (auto const& row : kNames)
    if (Fold(row.name) == key) return SModelName{row.kind, 0};
  for (auto const& row : kAliases)
    if (key == row.key) return SModelName{row.kind, row.sites};
  return std::nullopt;
}

std::vector<std::string> IsothermModelNames() {
  std::vector<std::string> names;
  for (auto const& row : kNames) names.emplace_back(row.name);
  return names;
}

bool IsothermNeedsSaturationPressure(EIsothermModel k) {
  return k == EIsothermModel::kBET || k == EIsothermModel::kBETLayers ||
         k == EIsothermModel::kGAB || k == EIsothermModel::kDubininRadushkevich ||
         k == EIsothermModel::kDubininAstakhov;
}

bool IsothermNeedsTemperature(EIsothermModel k) {
  return k == EIsothermModel::kDubininRadushkevich || k == EIsothermModel::kDubininAstakhov ||
         k == EIsothermModel::kChemiPhysisorption;
}

SModelMake MakeIsothermModel(EIsothermModel kind, std::vector<double> params,
                             SIsothermSetup const& setup) {
  SModelMake out;
  const std::string name = IsothermModelName(kind);
  auto fail = [&](std::string const& what) {
    out.error = "isotherm model " + name + ": " + what;
    return out;
  };
  if (kind == EIsothermModel::kComposite)
    return fail("a composite model is made from its parts (MakeCompositeModel)");
  if (IsothermNeedsSaturationPressure(kind) &&
      !(setup.saturationPressure > 0.0 && std::isfinite(setup.saturationPressure))) {
    std::ostringstream s;
    s << "saturationPressure is " << setup.saturationPressure << "; expected a finite pressure > 0";
    return fail(s.str());
  }
  if (IsothermNeedsTemperature(kind) &&
      !(setup.temperatureK > 0.0 && std::isfinite(setup.temperatureK))) {
    std::ostringstream s;
    s << "temperatureK is " << setup.temperatureK << "; expected a finite temperature > 0 K";
    return fail(s.str());
  }
  if (kind == EIsothermModel::kBETLayers && !(setup.layers >= 1 && setup.layers <= 100000))
    return fail("layers is " + std::to_string(setup.layers) + "; expected 1 to 100000");
  if ((kind == EIsothermModel::kMultiSiteLangmuir || kind == EIsothermModel::kMultiSiteToth) &&
      !(setup.sites >= 1 && setup.sites <= 64))
    return fail("sites is " + std::to_string(setup.sites) + "; expected 1 to 64");
  if (kind == EIsothermModel::kVirial && !(setup.virialTerms >= 0 && setup.virialTerms <= 32))
    return fail("virialTerms is " + std::to_string(setup.virialTerms) + "; expected 0 to 32");
  const std::vector<SParameterInfo> info = IsothermParameterInfo(kind, setup);
  if (params.size() != info.size()) {
    return fail(std::to_string(params.size()) + " parameters given; expected " +
                std::to_string(info.size()));
  }
  for (std::size_t i = 0; i < params.size(); ++i) {
    if (!std::isfinite(params[i])) {
      std::ostringstream s;
      s << "parameter " << info[i].name << " is " << params[i] << "; expected a finite number";
      return fail(s.str());
    }
  }
  if (kind == EIsothermModel::kMultiSiteLangmuir || kind == EIsothermModel::kMultiSiteToth) {
    const EIsothermModel site = kind == EIsothermModel::kMultiSiteLangmuir
                                    ? EIsothermModel::kLangmuir
                                    : EIsothermModel::kToth;
    const std::size_t per = kind == EIsothermModel::kMultiSiteLangmuir ? 2 : 3;
    std::vector<std::shared_ptr<const IsothermModel>> parts;
    for (std::size_t i = 0; i < params.size(); i += per) {
      parts.push_back(detail::MakeExplicitModel(
          site,
          std::vector<double>(params.begin() + static_cast<std::ptrdiff_t>(i),
                              params.begin() + static_cast<std::ptrdiff_t>(i + per)),
          setup));
    }
    out.model = detail::MakeSumModel(kind, std::move(parts), info, setup);
    return out;
  }
  switch (kind) {
    case EIsothermModel::kBET:
    case EIsothermModel::kBETLayers:
    case EIsothermModel::kGAB:
    case EIsothermModel::kDubininRadushkevich:
    case EIsothermModel::kDubininAstakhov:
      out.model = detail::MakeSaturationModel(kind, std::move(params), setup);
      break;
    case EIsothermModel::kFloryHugginsVST:
    case EIsothermModel::kWilsonVST:
    case EIsothermModel::kVirial:
      out.model = detail::MakeImplicitModel(kind, std::move(params), setup);
      break;
    default:
      out.model = detail::MakeExplicitModel(kind, std::move(params), setup);
  }
  if (!out.model) return fail("unknown family");
  return out;
}

SModelMake MakeIsothermModel(std::string_view name, std::vector<double> params,
                             SIsothermSetup setup) {
  const auto parsed = ParseIsothermModelName(name);
  if (!parsed) {
    SModelMake out;
    out.error = "isotherm model \"" + std::string(name) + "\" is unknown; expected one of";
    for (auto const& n : IsothermModelNames()) out.error += " " + n;
    return out;
  }
  if (parsed->sites > 0) setup.sites = parsed->sites;
  return MakeIsothermModel(parsed->kind, std::move(params), setup);
}

}  // namespace fiofla
