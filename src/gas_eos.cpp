#include "fiofla/gas_eos.h"

#include <rapidjson/document.h>
#include <rapidjson/error/en.h>

#include <algorithm>
#include <cmath>
#include <fstream>
#include <iterator>
#include <limits>
#include <utility>

namespace fiofla {
namespace {

// Coefficient files are a few kB; anything far larger is not one of ours.
constexpr std::streamoff kMaxFileBytes = 16 << 20;
// Relative slack on ancillary ranges, which the files store with round-off.
constexpr double kRangeSlack = 1e-9;
// Saturation is refused this close to Tc (relative): both phases approach the
// critical density there and Newton loses the distinction between them.
constexpr double kSaturationCriticalGap = 1e-6;

// A value and its first two derivatives in delta, so that products of factors
// carry their derivatives along (Leibniz rule).
struct Jet {
  double v, d1, d2;
};

Jet operator*(const Jet& f, const Jet& g) {
  return {f.v * g.v, f.d1 * g.v + f.v * g.d1, f.d2 * g.v + 2.0 * f.d1 * g.d1 + f.v * g.d2};
}

// c * x^k, taken as zero when c is zero so that x = 0 never meets a negative power.
double ScaledPow(double c, double x, double k) {
  return c == 0.0 ? 0.0 : c * std::pow(x, k);
}

// delta^d.
Jet PowerJet(double delta, double d) {
  return {std::pow(delta, d), ScaledPow(d, delta, d - 1.0),
          ScaledPow(d * (d - 1.0), delta, d - 2.0)};
}

// exp(-delta^l); l = 0 marks a term without the exponential.
Jet ExpPowerJet(double delta, double l) {
  if (l == 0.0) return {1.0, 0.0, 0.0};
  const double e = std::exp(-std::pow(delta, l));
  const double d1 = -ScaledPow(l, delta, l - 1.0);
  const double d2 =
      ScaledPow(l * l, delta, 2.0 * l - 2.0) - ScaledPow(l * (l - 1.0), delta, l - 2.0);
  return {e, d1 * e, d2 * e};
}

// exp(-eta (delta - eps)^2).
Jet GaussJet(double delta, double eta, double eps) {
  const double u = delta - eps;
  const double e = std::exp(-eta * u * u);
  return {e, -2.0 * eta * u * e, (4.0 * eta * eta * u * u - 2.0 * eta) * e};
}

// Span and Wagner (1996), Table 32: Delta^b with Delta = theta^2 + B ((delta-1)^2)^a,
// theta = (1 - tau) + A ((delta-1)^2)^(1/(2 beta)). The published second derivative
// divides by (delta - 1) and multiplies by (delta - 1)^2; both are folded into the
// powers here so that delta = 1 gives the limit instead of 0/0.
Jet NonAnalyticDistanceJet(double tau, double delta, double capA, double capB, double a, double b,
                           double beta) {
  const double x = (delta - 1.0) * (delta - 1.0);
  const double k = 1.0 / (2.0 * beta);
  const double theta = (1.0 - tau) + capA * std::pow(x, k);
  const double dist = theta * theta + capB * std::pow(x, a);
  // At the critical point Delta = 0 and Delta^b with all its delta derivatives vanish
  // (Delta grows as |delta-1|^min(2a, 1/beta) there, far beyond second order).
  if (dist <= 0.0) return {0.0, 0.0, 0.0};
  // (1/(delta-1)) dDelta/ddelta, then dDelta/ddelta itself.
  const double dDistOver =
      capA * theta * (2.0 / beta) * std::pow(x, k - 1.0) + 2.0 * capB * a * std::pow(x, a - 1.0);
  const double dDist = (delta - 1.0) * dDistOver;
  const double d2Dist = dDistOver + 4.0 * capB * a * (a - 1.0) * std::pow(x, a - 1.0) +
                        2.0 * capA * capA / (beta * beta) * std::pow(x, 2.0 * k - 1.0) +
                        capA * theta * (4.0 / beta) * (k - 1.0) * std::pow(x, k - 1.0);
  const double pb = std::pow(dist, b);
  const double d1 = b * pb / dist * dDist;
  const double d2 = b * (pb / dist * d2Dist + (b - 1.0) * pb / (dist * dist) * dDist * dDist);
  return {pb, d1, d2};
}

// ---- Reading -----------------------------------------------------------------------

// Walks the document and stops at the first problem with a message naming the key.
class Reader {
 public:
  explicit Reader(std::string file) : file_(std::move(file)) {}

  bool Fail(const std::string& key, const std::string& expected) {
    if (error_.empty()) error_ = file_ + ": " + key + ": " + expected;
    return false;
  }
  const std::string& Error() const { return error_; }

  const rapidjson::Value* Member(const rapidjson::Value& parent, const std::string& where,
                                 const char* key) {
    const std::string path = where.empty() ? key : where + "." + key;
    if (!parent.IsObject()) {
      Fail(where, "expected an object");
      return nullptr;
    }
    const auto it = parent.FindMember(key);
    if (it == parent.MemberEnd()) {
      Fail(path, "missing");
      return nullptr;
    }
    return &it->value;
  }

  bool Number(const rapidjson::Value& parent, const std::string& where, const char* key,
              double* out) {
    const rapidjson::Value* v = Member(parent, where, key);
    if (v == nullptr) return false;
    if (!v->IsNumber() || !std::isfinite(v->GetDouble()))
      return Fail(Join(where, key), "expected a finite number");
    *out = v->GetDouble();
    return true;
  }

  bool Positive(const rapidjson::Value& parent, const std::string& where, const char* key,
                double* out) {
    if (!Number(parent, where, key, out)) return false;
    return *out > 0.0 || Fail(Join(where, key), "expected a positive number");
  }

  bool String(const rapidjson::Value& parent, const std::string& where, const char* key,
              std::string* out) {
    const rapidjson::Value* v = Member(parent, where, key);
    if (v == nullptr) return false;
    if (!v->IsString()) return Fail(Join(where, key), "expected a string");
    *out = std::string(v->GetString(), v->GetStringLength());
    return true;
  }

  bool Bool(const rapidjson::Value& parent, const std::string& where, const char* key, bool* out) {
    const rapidjson::Value* v = Member(parent, where, key);
    if (v == nullptr) return false;
    if (!v->IsBool()) return Fail(Join(where, key), "expected true or false");
    *out = v->GetBool();
    return true;
  }

  // A non-empty array of finite numbers; when length is non-zero it must match.
  bool Numbers(const rapidjson::Value& parent, const std::string& where, const char* key,
               std::size_t length, std::vector<double>* out) {
    const rapidjson::Value* v = Member(parent, where, key);
    if (v == nullptr) return false;
    const std::string path = Join(where, key);
    if (!v->IsArray() || v->Empty()) return Fail(path, "expected a non-empty array of numbers");
    if (length != 0 && v->Size() != length)
      return Fail(path, "expected " + std::to_string(length) + " entries, found " +
                            std::to_string(v->Size()));
    out->clear();
    for (const auto& e : v->GetArray()) {
      if (!e.IsNumber() || !std::isfinite(e.GetDouble()))
        return Fail(path, "expected an array of finite numbers");
      out->push_back(e.GetDouble());
    }
    return true;
  }

  // Units are part of the data: a file in other units must not be read as ours.
  bool UnitIfPresent(const rapidjson::Value& parent, const std::string& where, const char* key,
                     const char* expected) {
    const auto it = parent.FindMember(key);
    if (it == parent.MemberEnd()) return true;
    if (it->value.IsString() && std::string(it->value.GetString()) == expected) return true;
    return Fail(Join(where, key), std::string("expected \"") + expected + "\"");
  }

  static std::string Join(const std::string& where, const char* key) {
    return where.empty() ? std::string(key) : where + "." + key;
  }

 private:
  std::string file_;
  std::string error_;
};

bool ReadTerms(Reader& r, const rapidjson::Value& term, const std::string& where,
               detail::EosTerms* out) {
  std::string type;
  if (!r.String(term, where, "type", &type)) return false;
  if (!r.Numbers(term, where, "n", 0, &out->n)) return false;
  const std::size_t count = out->n.size();
  if (type == "ResidualHelmholtzPower") {
    out->kind = detail::EosTerms::Kind::kPower;
    if (!r.Numbers(term, where, "d", count, &out->d) ||
        !r.Numbers(term, where, "t", count, &out->t) ||
        !r.Numbers(term, where, "l", count, &out->l))
      return false;
    for (std::size_t i = 0; i < count; ++i)
      if (out->d[i] < 0.0 || out->l[i] < 0.0)
        return r.Fail(where, "expected non-negative exponents d and l");
    return true;
  }
  if (type == "ResidualHelmholtzGaussian") {
    out->kind = detail::EosTerms::Kind::kGaussian;
    if (!r.Numbers(term, where, "d", count, &out->d) ||
        !r.Numbers(term, where, "t", count, &out->t) ||
        !r.Numbers(term, where, "eta", count, &out->eta) ||
        !r.Numbers(term, where, "epsilon", count, &out->epsilon) ||
        !r.Numbers(term, where, "beta", count, &out->beta) ||
        !r.Numbers(term, where, "gamma", count, &out->gamma))
      return false;
    for (std::size_t i = 0; i < count; ++i)
      if (out->d[i] < 0.0) return r.Fail(where + ".d", "expected non-negative exponents");
    return true;
  }
  if (type == "ResidualHelmholtzNonAnalytic") {
    out->kind = detail::EosTerms::Kind::kNonAnalytic;
    if (!r.Numbers(term, where, "a", count, &out->a) ||
        !r.Numbers(term, where, "b", count, &out->b) ||
        !r.Numbers(term, where, "beta", count, &out->beta) ||
        !r.Numbers(term, where, "A", count, &out->capA) ||
        !r.Numbers(term, where, "B", count, &out->capB) ||
        !r.Numbers(term, where, "C", count, &out->capC) ||
        !r.Numbers(term, where, "D", count, &out->capD))
      return false;
    for (std::size_t i = 0; i < count; ++i)
      if (out->beta[i] <= 0.0) return r.Fail(where + ".beta", "expected positive values");
    return true;
  }
  return r.Fail(where + ".type", "unsupported residual term type \"" + type + "\"");
}

bool ReadAncillary(Reader& r, const rapidjson::Value& ancillaries, const char* key,
                   detail::EosAncillary* out, const char* const* types, bool exponential) {
  const std::string where = std::string("ANCILLARIES.") + key;
  const rapidjson::Value* a = r.Member(ancillaries, "ANCILLARIES", key);
  if (a == nullptr) return false;
  std::string type;
  if (!r.String(*a, where, "type", &type)) return false;
  bool known = false;
  for (const char* const* t = types; *t != nullptr; ++t) known = known || type == *t;
  if (!known) return r.Fail(where + ".type", "unsupported ancillary type \"" + type + "\"");
  out->exponential = exponential;
  return r.Bool(*a, where, "using_tau_r", &out->usingTauR) &&
         r.Positive(*a, where, "T_r", &out->reducingTemperatureK) &&
         r.Positive(*a, where, "reducing_value", &out->reducingValue) &&
         r.Positive(*a, where, "Tmin", &out->minTemperatureK) &&
         r.Positive(*a, where, "Tmax", &out->maxTemperatureK) &&
         r.Number(*a, where, "max_abserror_percentage", &out->maxErrorPercent) &&
         r.Numbers(*a, where, "n", 0, &out->n) && r.Numbers(*a, where, "t", out->n.size(), &out->t);
}

bool ReadState(Reader& r, const rapidjson::Value& states, const char* key, double* temperatureK,
               double* pressurePa, double* density) {
  const rapidjson::Value* s = r.Member(states, "EOS[0].STATES", key);
  if (s == nullptr) return false;
  const std::string where = std::string("EOS[0].STATES.") + key;
  return r.Positive(*s, where, "T", temperatureK) && r.Positive(*s, where, "p", pressurePa) &&
         r.Positive(*s, where, "rhomolar", density);
}

}  // namespace

std::optional<HelmholtzEos> HelmholtzEos::Load(const std::string& path, std::string* error) {
  Reader r(path);
  auto fail = [&]() -> std::optional<HelmholtzEos> {
    if (error != nullptr) *error = r.Error();
    return std::nullopt;
  };

  std::ifstream in(path, std::ios::binary);
  if (!in) {
    r.Fail("file", "cannot be opened");
    return fail();
  }
  in.seekg(0, std::ios::end);
  if (in.tellg() > kMaxFileBytes) {
    r.Fail("file", "larger than " + std::to_string(kMaxFileBytes) + " bytes");
    return fail();
  }
  in.seekg(0, std::ios::beg);
  const std::string text((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
  rapidjson::Document doc;
  doc.Parse<rapidjson::kParseIterativeFlag>(text.c_str(), text.size());
  if (doc.HasParseError()) {
    r.Fail("JSON", std::string(rapidjson::GetParseError_En(doc.GetParseError())) + " at offset " +
                       std::to_string(doc.GetErrorOffset()));
    return fail();
  }

  HelmholtzEos eos;
  const rapidjson::Value* info = r.Member(doc, "", "INFO");
  if (info == nullptr || !r.String(*info, "INFO", "NAME", &eos.name_)) return fail();
  const rapidjson::Value* aliases = r.Member(*info, "INFO", "ALIASES");
  if (aliases == nullptr) return fail();
  if (!aliases->IsArray()) {
    r.Fail("INFO.ALIASES", "expected an array of strings");
    return fail();
  }
  for (const auto& a : aliases->GetArray()) {
    if (!a.IsString()) {
      r.Fail("INFO.ALIASES", "expected an array of strings");
      return fail();
    }
    eos.aliases_.emplace_back(a.GetString(), a.GetStringLength());
  }

  const rapidjson::Value* eosArray = r.Member(doc, "", "EOS");
  if (eosArray == nullptr) return fail();
  if (!eosArray->IsArray() || eosArray->Empty() || !(*eosArray)[0].IsObject()) {
    r.Fail("EOS", "expected a non-empty array of objects");
    return fail();
  }
  const rapidjson::Value& e = (*eosArray)[0];
  const std::string w = "EOS[0]";
  double molarMassKgPerMol = 0.0;
  if (!r.Positive(e, w, "gas_constant", &eos.gasConstant_) ||
      !r.UnitIfPresent(e, w, "gas_constant_units", "J/mol/K") ||
      !r.Positive(e, w, "molar_mass", &molarMassKgPerMol) ||
      !r.UnitIfPresent(e, w, "molar_mass_units", "kg/mol") ||
      !r.Positive(e, w, "Ttriple", &eos.tripleTemperatureK_) ||
      !r.UnitIfPresent(e, w, "Ttriple_units", "K") ||
      !r.Positive(e, w, "p_max", &eos.maxPressurePa_) ||
      !r.UnitIfPresent(e, w, "p_max_units", "Pa") ||
      !r.Positive(e, w, "T_max", &eos.maxTemperatureK_) ||
      !r.UnitIfPresent(e, w, "T_max_units", "K") ||
      !r.Bool(e, w, "pseudo_pure", &eos.pseudoPure_) ||
      !r.String(e, w, "BibTeX_EOS", &eos.reference_))
    return fail();
  eos.molarMassGPerMol_ = molarMassKgPerMol * 1000.0;

  const rapidjson::Value* states = r.Member(e, w, "STATES");
  double unusedT = 0.0, unusedP = 0.0, unusedRho = 0.0, reducingP = 0.0;
  if (states == nullptr ||
      !ReadState(r, *states, "reducing", &eos.criticalTemperatureK_, &reducingP,
                 &eos.criticalDensity_) ||
      !ReadState(r, *states, "sat_min_liquid", &unusedT, &unusedP, &unusedRho) ||
      !ReadState(r, *states, "sat_min_vapor", &unusedT, &eos.triplePressurePa_, &unusedRho))
    return fail();

  const rapidjson::Value* alphar = r.Member(e, w, "alphar");
  if (alphar == nullptr) return fail();
  if (!alphar->IsArray() || alphar->Empty()) {
    r.Fail("EOS[0].alphar", "expected a non-empty array of term objects");
    return fail();
  }
  for (rapidjson::SizeType i = 0; i < alphar->Size(); ++i) {
    detail::EosTerms terms;
    if (!ReadTerms(r, (*alphar)[i], "EOS[0].alphar[" + std::to_string(i) + "]", &terms))
      return fail();
    eos.terms_.push_back(std::move(terms));
  }

  const rapidjson::Value* anc = r.Member(doc, "", "ANCILLARIES");
  static const char* const kPressureTypes[] = {"pL", "pV", nullptr};
  static const char* const kLiquidTypes[] = {"rhoLnoexp", nullptr};
  static const char* const kVapourTypes[] = {"rhoV", nullptr};
  if (anc == nullptr || !ReadAncillary(r, *anc, "pS", &eos.psat_, kPressureTypes, true) ||
      !ReadAncillary(r, *anc, "rhoL", &eos.rhoL_, kLiquidTypes, false) ||
      !ReadAncillary(r, *anc, "rhoV", &eos.rhoV_, kVapourTypes, true))
    return fail();
  const rapidjson::Value* st = r.Member(*anc, "ANCILLARIES", "surface_tension");
  const std::string sw = "ANCILLARIES.surface_tension";
  if (st == nullptr || !r.Positive(*st, sw, "Tc", &eos.surfaceTensionTcK_) ||
      !r.Numbers(*st, sw, "a", 0, &eos.surfaceTensionA_) ||
      !r.Numbers(*st, sw, "n", eos.surfaceTensionA_.size(), &eos.surfaceTensionN_))
    return fail();

  eos.criticalPressurePa_ = eos.Pressure(eos.criticalTemperatureK_, eos.criticalDensity_);
  if (!std::isfinite(eos.criticalPressurePa_) || eos.criticalPressurePa_ <= 0.0) {
    r.Fail("EOS[0].alphar", "gives no positive pressure at the reducing state");
    return fail();
  }
  // The stored triple-point vapour state is not always the equation's own equilibrium
  // (nitrogen's differs by 1e-6 in pressure); solve for it, keeping the stored value
  // only if the solver cannot.
  if (const auto triple = eos.Saturation(eos.tripleTemperatureK_))
    eos.triplePressurePa_ = triple->pressurePa;
  return eos;
}

HelmholtzEos::Derivs HelmholtzEos::Evaluate(double tau, double delta) const {
  Derivs sum;
  auto add = [&sum](double n, double tauFactor, const Jet& g) {
    const double c = n * tauFactor;
    sum.a += c * g.v;
    sum.ad += c * g.d1;
    sum.add += c * g.d2;
  };
  for (const detail::EosTerms& f : terms_) {
    const std::size_t count = f.n.size();
    switch (f.kind) {
      case detail::EosTerms::Kind::kPower:
        for (std::size_t i = 0; i < count; ++i)
          add(f.n[i], std::pow(tau, f.t[i]), PowerJet(delta, f.d[i]) * ExpPowerJet(delta, f.l[i]));
        break;
      case detail::EosTerms::Kind::kGaussian:
        for (std::size_t i = 0; i < count; ++i) {
          const double u = tau - f.gamma[i];
          add(f.n[i], std::pow(tau, f.t[i]) * std::exp(-f.beta[i] * u * u),
              PowerJet(delta, f.d[i]) * GaussJet(delta, f.eta[i], f.epsilon[i]));
        }
        break;
      case detail::EosTerms::Kind::kNonAnalytic:
        // Span and Wagner (1996), eq. 6.5: n Delta^b delta psi,
        // psi = exp(-C (delta-1)^2 - D (tau-1)^2).
        for (std::size_t i = 0; i < count; ++i) {
          const double u = tau - 1.0;
          const Jet psi =
              GaussJet(delta, f.capC[i], 1.0) * Jet{std::exp(-f.capD[i] * u * u), 0.0, 0.0};
          const Jet dist =
              NonAnalyticDistanceJet(tau, delta, f.capA[i], f.capB[i], f.a[i], f.b[i], f.beta[i]);
          add(f.n[i], 1.0, dist * Jet{delta, 1.0, 0.0} * psi);
        }
        break;
    }
  }
  return sum;
}

double HelmholtzEos::AlphaR(double tau, double delta) const {
  return Evaluate(tau, delta).a;
}

double HelmholtzEos::DAlphaRDDelta(double tau, double delta) const {
  return Evaluate(tau, delta).ad;
}

double HelmholtzEos::D2AlphaRDDelta2(double tau, double delta) const {
  return Evaluate(tau, delta).add;
}

double HelmholtzEos::Pressure(double temperatureK, double densityMolPerM3) const {
  return densityMolPerM3 * gasConstant_ * temperatureK *
         Compressibility(temperatureK, densityMolPerM3);
}

double HelmholtzEos::Compressibility(double temperatureK, double densityMolPerM3) const {
  const double delta = densityMolPerM3 / criticalDensity_;
  return 1.0 + delta * DAlphaRDDelta(criticalTemperatureK_ / temperatureK, delta);
}

double HelmholtzEos::SecondVirial(double temperatureK) const {
  // B = lim(delta->0) alpha_r_delta / rhoc; the term derivatives are written so that
  // delta = 0 is evaluated exactly (only d = 1, and d = 0 with an exponential, survive).
  return Evaluate(criticalTemperatureK_ / temperatureK, 0.0).ad / criticalDensity_;
}

std::optional<double> HelmholtzEos::VapourDensity(double temperatureK, double pressurePa) const {
  if (!(temperatureK > 0.0) || !(pressurePa > 0.0) || !std::isfinite(pressurePa))
    return std::nullopt;
  const double tau = criticalTemperatureK_ / temperatureK;
  const double rt = gasConstant_ * temperatureK;
  // Below Tc every liquid root lies above the critical density and the vapour spinodal
  // below it, so [0, rhoc] holds the vapour branch and nothing else. Above Tc p(rho)
  // rises monotonically and the bracket is open.
  double lo = 0.0;
  double hi = temperatureK < criticalTemperatureK_ ? criticalDensity_
                                                   : std::numeric_limits<double>::infinity();
  double rho = std::min(pressurePa / rt, 0.5 * hi);
  for (int iter = 0; iter < 200; ++iter) {
    const double delta = rho / criticalDensity_;
    const Derivs f = Evaluate(tau, delta);
    const double p = rho * rt * (1.0 + delta * f.ad);
    const double dpdrho = rt * (1.0 + 2.0 * delta * f.ad + delta * delta * f.add);
    double next;
    if (!std::isfinite(p) || !(dpdrho > 0.0)) {
      // Past the vapour spinodal: the root, if any, is below.
      hi = rho;
      next = 0.5 * (lo + hi);
    } else {
      const double residual = p - pressurePa;
      // A Newton step this small leaves an error of its square: converged. Testing the
      // residual alone would stall at high density, where p is a sum of large terms.
      if (std::fabs(residual) <= 1e-12 * rho * dpdrho) return rho - residual / dpdrho;
      if (residual < 0.0)
        lo = rho;
      else
        hi = rho;
      // Newton, but never outside the bracket nor more than doubling: p(rho) is concave
      // on the vapour branch, so from below Newton approaches the root monotonically.
      next = rho - residual / dpdrho;
      const double ceiling = std::min(hi, 2.0 * rho);
      if (!(next > lo && next < ceiling)) next = std::isfinite(hi) ? 0.5 * (lo + hi) : 2.0 * rho;
    }
    if (std::isfinite(hi) && hi - lo <= 1e-15 * hi) break;
    rho = next;
  }
  return std::nullopt;  // bracket collapsed on the spinodal: the branch never reaches p
}

std::optional<SaturationState> HelmholtzEos::Saturation(double temperatureK) const {
  if (!(temperatureK >= tripleTemperatureK_) ||
      !(temperatureK < criticalTemperatureK_ * (1.0 - kSaturationCriticalGap)))
    return std::nullopt;
  // Start from the ancillaries, clamped into their range (the triple point may sit a
  // round-off below Tmin).
  const double tStart =
      std::clamp(temperatureK, std::max(rhoL_.minTemperatureK, rhoV_.minTemperatureK),
                 std::min(rhoL_.maxTemperatureK, rhoV_.maxTemperatureK));
  const auto startL = EvaluateAncillary(rhoL_, tStart);
  const auto startV = EvaluateAncillary(rhoV_, tStart);
  if (!startL || !startV) return std::nullopt;
  double dL = std::max(*startL / criticalDensity_, 1.0 + 1e-3);
  double dV = std::min(*startV / criticalDensity_, 1.0 - 1e-3);

  // Akasaka (2008): with J = delta (1 + delta alpha_r_delta) (reduced pressure) and
  // K = delta alpha_r_delta + alpha_r + ln delta (reduced Gibbs energy less its ideal
  // part common to both phases), solve J(dL) = J(dV), K(dL) = K(dV) by Newton.
  const double tau = criticalTemperatureK_ / temperatureK;
  struct JK {
    double j, k, jd, kd;
  };
  auto jk = [&](double delta) {
    const Derivs f = Evaluate(tau, delta);
    return JK{delta * (1.0 + delta * f.ad), delta * f.ad + f.a + std::log(delta),
              1.0 + 2.0 * delta * f.ad + delta * delta * f.add,
              2.0 * f.ad + delta * f.add + 1.0 / delta};
  };
  const double rt = gasConstant_ * temperatureK;
  auto result = [&](const JK& v) {
    // The vapour side carries no cancellation in 1 + delta alpha_r_delta.
    return SaturationState{v.j * criticalDensity_ * rt, dL * criticalDensity_,
                           dV * criticalDensity_};
  };
  for (int iter = 0; iter < 100; ++iter) {
    const JK l = jk(dL), v = jk(dV);
    const double dj = v.j - l.j, dk = v.k - l.k;
    if (std::fabs(dj) <= 1e-14 * v.j && std::fabs(dk) <= 1e-14) return result(v);
    const double det = v.jd * l.kd - l.jd * v.kd;
    if (!std::isfinite(det) || det == 0.0) return std::nullopt;
    const double stepL = (dk * v.jd - dj * v.kd) / det;
    const double stepV = (dk * l.jd - dj * l.kd) / det;
    // Liquid stays above and vapour below the critical density (true for every T < Tc);
    // halving the step keeps Newton from collapsing onto the trivial solution dL = dV.
    double scale = 1.0;
    while (scale > 1e-6 &&
           !(dL + scale * stepL > 1.0 && dV + scale * stepV > 0.0 && dV + scale * stepV < 1.0))
      scale *= 0.5;
    if (scale <= 1e-6) return std::nullopt;
    dL += scale * stepL;
    dV += scale * stepV;
    // Newton converges quadratically, so after a step of 1e-10 the error is round-off.
    // The residuals themselves may not drop further: the liquid pressure is a small
    // difference of large terms (at the oxygen triple point 146 Pa from terms of
    // 18 MPa), and near Tc the Jacobian is almost singular.
    if (scale == 1.0 && std::fabs(stepL) <= 1e-10 * dL && std::fabs(stepV) <= 1e-10 * dV) {
      const JK l2 = jk(dL), v2 = jk(dV);
      // Residual allowance: 1e-9 relative, plus what a 1e-11 relative change of the
      // liquid density makes of the liquid pressure.
      if (std::fabs(l2.j - v2.j) <= 1e-9 * v2.j + 1e-11 * dL * l2.jd &&
          std::fabs(l2.k - v2.k) <= 1e-9)
        return result(v2);
      return std::nullopt;
    }
  }
  return std::nullopt;
}

std::optional<double> HelmholtzEos::EvaluateAncillary(const detail::EosAncillary& anc,
                                                      double temperatureK) const {
  if (!(temperatureK >= anc.minTemperatureK * (1.0 - kRangeSlack)) ||
      !(temperatureK <= anc.maxTemperatureK * (1.0 + kRangeSlack)))
    return std::nullopt;
  const double theta = std::max(0.0, 1.0 - temperatureK / anc.reducingTemperatureK);
  double sum = 0.0;
  for (std::size_t i = 0; i < anc.n.size(); ++i) sum += anc.n[i] * std::pow(theta, anc.t[i]);
  if (anc.usingTauR) sum *= anc.reducingTemperatureK / temperatureK;
  return anc.reducingValue * (anc.exponential ? std::exp(sum) : 1.0 + sum);
}

std::optional<double> HelmholtzEos::AncillaryPsat(double temperatureK) const {
  return EvaluateAncillary(psat_, temperatureK);
}

std::optional<double> HelmholtzEos::AncillaryLiquidDensity(double temperatureK) const {
  return EvaluateAncillary(rhoL_, temperatureK);
}

std::optional<double> HelmholtzEos::AncillaryVapourDensity(double temperatureK) const {
  return EvaluateAncillary(rhoV_, temperatureK);
}

std::optional<double> HelmholtzEos::SurfaceTension(double temperatureK) const {
  // Mulero et al. (2012) form: sigma = sum a_i (1 - T/Tc)^n_i.
  if (!(temperatureK > 0.0) || !(temperatureK < surfaceTensionTcK_)) return std::nullopt;
  const double x = 1.0 - temperatureK / surfaceTensionTcK_;
  double sigma = 0.0;
  for (std::size_t i = 0; i < surfaceTensionA_.size(); ++i)
    sigma += surfaceTensionA_[i] * std::pow(x, surfaceTensionN_[i]);
  // Methane's three-term fit turns negative within 0.1 % of Tc; a surface tension cannot.
  return std::max(sigma, 0.0);
}

}  // namespace fiofla
