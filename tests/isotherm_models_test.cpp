// Isotherm models: every family's slope, inverse, spreading pressure and parameter gradient
// checked against independent numerics; names; sums of sites; edge values; threads.
#include "fiofla/isotherm_models.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <boost/math/quadrature/exp_sinh.hpp>
#include <boost/math/special_functions/digamma.hpp>
#include <cmath>
#include <random>
#include <set>
#include <thread>

#include "test_util.h"

namespace fiofla {
namespace {

using K = EIsothermModel;

struct Case {
  K kind;
  std::vector<double> params;
  double pMin;  // pressure range the checks sweep (log-spaced)
  double pMax;
  SIsothermSetup setup;
};

SIsothermSetup Sat(double ps, double t = std::numeric_limits<double>::quiet_NaN(), int layers = 0) {
  SIsothermSetup s;
  s.saturationPressure = ps;
  s.temperatureK = t;
  s.layers = layers;
  return s;
}

SIsothermSetup Sites(int n) {
  SIsothermSetup s;
  s.sites = n;
  return s;
}

SIsothermSetup Temperature(double t) {
  SIsothermSetup s;
  s.temperatureK = t;
  return s;
}

// One case per family, with parameters typical of a gas on a microporous solid (kPa, mmol/g).
std::vector<Case> Cases() {
  return {
      {K::kHenry, {2.0}, 0.01, 100, {}},
      {K::kLangmuir, {3.0, 0.05}, 0.01, 1e4, {}},
      {K::kMultiSiteLangmuir, {2.0, 0.5, 1.5, 0.01}, 0.01, 1e4, Sites(2)},
      {K::kBET, {1.2, 80.0}, 0.5, 95, Sat(100)},
      {K::kBETLayers, {1.0, 50.0}, 0.5, 99.5, Sat(100, 0, 5)},
      {K::kGAB, {1.0, 40.0, 0.8}, 0.5, 110, Sat(100)},
      {K::kFreundlich, {0.8, 2.5}, 0.01, 1000, {}},
      {K::kDubininRadushkevich, {5.0, 8000.0}, 1e-3, 99, Sat(100, 298.15)},
      {K::kDubininAstakhov, {5.0, 7000.0, 1.6}, 1e-3, 99, Sat(100, 298.15)},
      {K::kQuadratic, {2.0, 0.05, 0.002}, 0.01, 1e4, {}},
      {K::kTemkinApprox, {3.0, 0.05, 0.8}, 0.01, 1e4, {}},
      {K::kToth, {3.0, 0.05, 0.6}, 0.01, 1e4, {}},
      {K::kMultiSiteToth, {2.0, 0.2, 0.7, 1.5, 0.01, 0.9}, 0.01, 1e4, Sites(2)},
      {K::kSips, {3.0, 0.05, 0.7}, 0.01, 1e4, {}},
      {K::kLangmuirFreundlich, {3.0, 0.1, 0.7}, 0.01, 1e4, {}},
      {K::kRedlichPeterson, {0.3, 0.08, 0.85}, 0.01, 1e4, {}},
      {K::kUnilan, {3.0, 0.05, 2.0}, 0.01, 1e4, {}},
      {K::kJensenSeaton, {0.5, 3.0, 1.5, 0.001}, 0.01, 1e4, {}},
      {K::kOBrienMyers, {3.0, 0.05, 0.6}, 0.01, 1e4, {}},
      {K::kAntiLangmuir, {1.0, 0.001}, 0.01, 900, {}},
      {K::kChemiPhysisorption, {2.0, 0.05, 0.6, 1.0, 2.0, 5000.0}, 0.01, 1e4, Temperature(300)},
      {K::kFloryHugginsVST, {3.0, 0.05, 1.5}, 0.01, 1e4, {}},
      {K::kWilsonVST, {3.0, 0.05, 2.5, 0.4}, 0.01, 1e4, {}},
      {K::kVirial,
       {0.5, -0.1, 0.02},
       0.01,
       1e3,
       [] {
         SIsothermSetup s;
         s.virialTerms = 2;
         return s;
       }()},
  };
}

std::shared_ptr<const IsothermModel> Make(Case const& c) {
  SModelMake made = MakeIsothermModel(c.kind, c.params, c.setup);
  EXPECT_TRUE(made.model) << made.error;
  return made.model;
}

std::vector<double> Pressures(Case const& c, int n = 13) {
  std::vector<double> p;
  for (int i = 0; i < n; ++i) p.push_back(c.pMin * std::pow(c.pMax / c.pMin, double(i) / (n - 1)));
  return p;
}

// π(P) = ∫₀^∞ q(P e⁻ᵗ) dt: another variable and another rule than the library's.
double ReferenceSpreadingPressure(IsothermModel const& m, double p) {
  boost::math::quadrature::exp_sinh<double> integrator;
  return integrator.integrate([&](double t) { return m.Loading(p * std::exp(-t)); }, 1e-14);
}

TEST(IsothermModels, EveryFamilyHasACase) {
  std::set<K> covered;
  for (auto const& c : Cases()) covered.insert(c.kind);
  for (auto const& name : IsothermModelNames()) {
    const K kind = ParseIsothermModelName(name)->kind;
    if (kind != K::kComposite) EXPECT_TRUE(covered.count(kind)) << name;
  }
}

TEST(IsothermModels, SlopeMatchesCentralDifference) {
  for (auto const& c : Cases()) {
    const auto m = Make(c);
    for (double p : Pressures(c)) {
      const double h = 1e-5 * p;
      const double fd = (m->Loading(p + h) - m->Loading(p - h)) / (2.0 * h);
      EXPECT_REL_CLOSE(m->LoadingSlope(p), fd, 1e-6) << m->Name() << " at P = " << p;
      EXPECT_GT(m->LoadingSlope(p), 0.0) << m->Name() << " at P = " << p;
    }
  }
}

TEST(IsothermModels, InverseRecoversForwardOverLoadings) {
  for (auto const& c : Cases()) {
    const auto m = Make(c);
    const double q0 = m->Loading(c.pMin);
    const double q1 = m->Loading(c.pMax);
    for (int i = 0; i <= 12; ++i) {
      const double q = q0 + (q1 - q0) * i / 12.0;
      const SModelValue p = m->Pressure(q);
      ASSERT_TRUE(p.Ok()) << m->Name() << " at q = " << q;
      EXPECT_REL_CLOSE(m->Loading(p.value), q, 1e-11) << m->Name() << " at q = " << q;
    }
    for (double p : Pressures(c)) {
      const SModelValue back = m->Pressure(m->Loading(p));
      EXPECT_REL_CLOSE(back.value, p, 1e-8) << m->Name() << " at P = " << p;
    }
  }
}

TEST(IsothermModels, PressureAtSpreadingPressureInvertsSpreadingPressure) {
  for (auto const& c : Cases()) {
    const auto m = Make(c);
    for (double p : Pressures(c, 9)) {
      const double pi = m->SpreadingPressure(p).value;
      const SModelValue back = m->PressureAtSpreadingPressure(pi);
      ASSERT_TRUE(back.Ok()) << m->Name() << " at π = " << pi;
      EXPECT_REL_CLOSE(back.value, p, 1e-9) << m->Name() << " at P = " << p;
      EXPECT_REL_CLOSE(m->SpreadingPressure(back.value).value, pi, 1e-12) << m->Name();
    }
    EXPECT_EQ(m->PressureAtSpreadingPressure(0.0).value, 0.0) << m->Name();
    EXPECT_EQ(m->PressureAtSpreadingPressure(-1.0).status, EModelStatus::kOutsideDomain);
  }
  // Past saturation Dubinin's π grows as n_p ln(P/Ps); BET-n's jumps to +∞ at Ps.
  const auto dr = MakeIsothermModel(K::kDubininRadushkevich, {5.0, 8000.0}, Sat(100, 298)).model;
  EXPECT_REL_CLOSE(dr->PressureAtSpreadingPressure(dr->SpreadingPressure(300.0).value).value, 300.0,
                   1e-13);
  const auto betN = MakeIsothermModel(K::kBETLayers, {1.0, 50.0}, Sat(100, 0, 5)).model;
  const double piPs = betN->SpreadingPressure(100.0).value;
  EXPECT_EQ(betN->PressureAtSpreadingPressure(piPs).value, 100.0);
  EXPECT_EQ(betN->PressureAtSpreadingPressure(1.01 * piPs).status, EModelStatus::kAboveCapacity);
}

TEST(IsothermModels, SpreadingPressureMatchesQuadratureOfLoadingOverPressure) {
  for (auto const& c : Cases()) {
    const auto m = Make(c);
    for (double p : Pressures(c, 7)) {
      const SModelValue pi = m->SpreadingPressure(p);
      ASSERT_TRUE(pi.Ok()) << m->Name() << " at P = " << p;
      EXPECT_REL_CLOSE(pi.value, ReferenceSpreadingPressure(*m, p), 1e-10)
          << m->Name() << " at P = " << p;
    }
  }
}

TEST(IsothermModels, ParameterGradientMatchesDifferences) {
  for (auto const& c : Cases()) {
    const auto m = Make(c);
    const std::size_t n = m->Parameters().size();
    std::vector<double> g(n);
    for (double p : Pressures(c, 5)) {
      const double q = m->LoadingGradient(p, g.data());
      EXPECT_DOUBLE_EQ(q, m->Loading(p)) << m->Name();
      for (std::size_t j = 0; j < n; ++j) {
        const double h = 1e-5 * std::fabs(m->Parameters()[j]);
        std::vector<double> up = m->Parameters();
        std::vector<double> dn = m->Parameters();
        up[j] += h;
        dn[j] -= h;
        const double fd =
            (m->WithParameters(up)->Loading(p) - m->WithParameters(dn)->Loading(p)) / (2.0 * h);
        // Absolute floor: a parameter that barely moves q (a far site) has a tiny gradient.
        EXPECT_NEAR(g[j], fd, 1e-6 * std::fabs(fd) + 1e-9 * (q + 1.0) / std::fabs(h / 1e-5))
            << m->Name() << " ∂q/∂" << m->ParameterInfo()[j].name << " at P = " << p;
      }
    }
  }
}

TEST(IsothermModels, NamesRoundTripAndAliasesResolve) {
  const auto names = IsothermModelNames();
  EXPECT_EQ(names.size(), std::set<std::string>(names.begin(), names.end()).size());
  for (auto const& name : names) {
    const auto parsed = ParseIsothermModelName(name);
    ASSERT_TRUE(parsed) << name;
    EXPECT_EQ(IsothermModelName(parsed->kind), name);
  }
  struct Alias {
    const char* text;
    K kind;
    int sites;
  };
  for (Alias const& a :
       {Alias{"Dubinin-Radushkevich", K::kDubininRadushkevich, 0},
        Alias{"DR", K::kDubininRadushkevich, 0},
        Alias{"dual-site Langmuir", K::kMultiSiteLangmuir, 2},
        Alias{"DSL", K::kMultiSiteLangmuir, 2}, Alias{"BET infinite", K::kBET, 0},
        Alias{"O'Brien-Myers", K::kOBrienMyers, 0}, Alias{"FH-VST", K::kFloryHugginsVST, 0},
        Alias{"W-VST", K::kWilsonVST, 0}, Alias{"Langmuir Freundlich", K::kLangmuirFreundlich, 0},
        Alias{"TEMKIN", K::kTemkinApprox, 0}}) {
    const auto parsed = ParseIsothermModelName(a.text);
    ASSERT_TRUE(parsed) << a.text;
    EXPECT_EQ(parsed->kind, a.kind) << a.text;
    EXPECT_EQ(parsed->sites, a.sites) << a.text;
  }
  EXPECT_FALSE(ParseIsothermModelName("langmuirr"));
  EXPECT_FALSE(ParseIsothermModelName(""));

  // Made by name: an alias's site count decides the parameter count.
  EXPECT_TRUE(MakeIsothermModel("DSL", {1, 1, 1, 1}).model);
  const SModelMake wrong = MakeIsothermModel("Langmuir", {1.0});
  EXPECT_FALSE(wrong.model);
  EXPECT_NE(wrong.error.find("1 parameters given; expected 2"), std::string::npos) << wrong.error;
  const SModelMake noPs = MakeIsothermModel("BET", {1.0, 50.0});
  EXPECT_NE(noPs.error.find("saturationPressure"), std::string::npos) << noPs.error;
  const SModelMake unknown = MakeIsothermModel("Frumkin", {1.0});
  EXPECT_NE(unknown.error.find("\"Frumkin\" is unknown"), std::string::npos) << unknown.error;
  const SModelMake nan = MakeIsothermModel(K::kLangmuir, {1.0, std::nan("")});
  EXPECT_NE(nan.error.find("parameter K is nan"), std::string::npos) << nan.error;
}

TEST(IsothermModels, CompositeIsTheSumOfItsParts) {
  const auto a = MakeIsothermModel(K::kLangmuir, {2.0, 0.5}).model;
  const auto b = MakeIsothermModel(K::kFreundlich, {0.1, 2.0}).model;
  const auto c = MakeIsothermModel(K::kDubininRadushkevich, {1.0, 9000.0}, Sat(500, 273.15)).model;
  const auto sum = MakeCompositeModel({a, b, c});
  ASSERT_TRUE(sum);
  ASSERT_EQ(sum->Parameters().size(), 6u);
  EXPECT_EQ(sum->ParameterInfo()[2].name, "K_F_2");
  EXPECT_FALSE(MakeCompositeModel({}));
  EXPECT_FALSE(MakeCompositeModel({a, nullptr}));
  std::vector<double> g(6);
  std::vector<double> ga(2), gb(2), gc(2);
  for (double p : {0.01, 0.3, 7.0, 120.0, 499.0}) {
    EXPECT_REL_CLOSE(sum->Loading(p), a->Loading(p) + b->Loading(p) + c->Loading(p), 1e-15);
    EXPECT_REL_CLOSE(sum->LoadingSlope(p),
                     a->LoadingSlope(p) + b->LoadingSlope(p) + c->LoadingSlope(p), 1e-15);
    EXPECT_REL_CLOSE(sum->SpreadingPressure(p).value,
                     a->SpreadingPressure(p).value + b->SpreadingPressure(p).value +
                         c->SpreadingPressure(p).value,
                     1e-15);
    sum->LoadingGradient(p, g.data());
    a->LoadingGradient(p, ga.data());
    b->LoadingGradient(p, gb.data());
    c->LoadingGradient(p, gc.data());
    const std::vector<double> parts{ga[0], ga[1], gb[0], gb[1], gc[0], gc[1]};
    for (std::size_t j = 0; j < 6; ++j) EXPECT_DOUBLE_EQ(g[j], parts[j]);
    EXPECT_REL_CLOSE(sum->Pressure(sum->Loading(p)).value, p, 1e-9);
  }
  // New parameters go to the right parts.
  const auto moved = sum->WithParameters({3.0, 0.5, 0.1, 2.0, 1.0, 9000.0});
  EXPECT_REL_CLOSE(moved->Loading(1.0) - sum->Loading(1.0), a->Loading(1.0) / 2.0, 1e-14);
  // A multi-site Langmuir is the composite of its sites.
  const auto msl = MakeIsothermModel("triple-site langmuir", {1, 2, 3, 0.1, 2, 0.01}).model;
  const auto three = MakeCompositeModel({MakeIsothermModel(K::kLangmuir, {1, 2}).model,
                                         MakeIsothermModel(K::kLangmuir, {3, 0.1}).model,
                                         MakeIsothermModel(K::kLangmuir, {2, 0.01}).model});
  for (double p : {0.05, 5.0, 500.0}) {
    EXPECT_REL_CLOSE(msl->Loading(p), three->Loading(p), 1e-15);
    EXPECT_REL_CLOSE(msl->Pressure(3.0).value, three->Pressure(3.0).value, 1e-12);
  }
  EXPECT_EQ(msl->SaturationLoading(), 6.0);
  EXPECT_EQ(msl->Pressure(6.0).status, EModelStatus::kAboveCapacity);
}

// The Toth spreading pressure is a Gauss hypergeometric function summed by two series; the
// reference integrates q/p in long double in another variable, and at t = 10 (where the
// knee of q defeats the quadrature) the reference is the series' own large-y limit.
TEST(IsothermModels, TothSpreadingPressureMatchesALongDoubleReference) {
  for (double t : {0.1, 0.3, 0.6, 1.0, 1.7, 4.0}) {
    const auto m = MakeIsothermModel(K::kToth, {2.0, 1.0, t}).model;
    for (int i = 0; i <= 90; ++i) {
      const long double y = std::pow(10.0L, -8.0L + 18.0L * i / 90);
      boost::math::quadrature::exp_sinh<long double> integrator;
      const long double lt = t;
      const long double ref = integrator.integrate(
          [&](long double s) {
            const long double x = y * std::exp(-s);
            return 2.0L * x / std::pow(1.0L + std::pow(x, lt), 1.0L / lt);
          },
          1e-20L);
      EXPECT_REL_CLOSE(m->SpreadingPressure(static_cast<double>(y)).value, static_cast<double>(ref),
                       2e-14)
          << "t = " << t << ", y = " << static_cast<double>(y);
    }
  }
  const auto langmuir = MakeIsothermModel(K::kToth, {2.0, 0.5, 1.0}).model;
  for (double p : {1e-6, 0.3, 2.0, 7.0, 1e6})
    EXPECT_REL_CLOSE(langmuir->SpreadingPressure(p).value, 2.0 * std::log1p(0.5 * p), 1e-15);
  // π → n (ln y + a[ψ(1) − ψ(a)]) with a = 1/t, the rest of order y^−t.
  const auto steep = MakeIsothermModel(K::kToth, {2.0, 1.0, 10.0}).model;
  const double limit =
      2.0 * (std::log(1e10) + 0.1 * (boost::math::digamma(1.0) - boost::math::digamma(0.1)));
  EXPECT_REL_CLOSE(steep->SpreadingPressure(1e10).value, limit, 1e-14);
}

TEST(IsothermModels, SpecialCasesReduceToTheirParents) {
  const auto lang = MakeIsothermModel(K::kLangmuir, {3.0, 0.05}).model;
  const std::vector<std::shared_ptr<const IsothermModel>> same{
      MakeIsothermModel(K::kSips, {3.0, 0.05, 1.0}).model,
      MakeIsothermModel(K::kToth, {3.0, 0.05, 1.0}).model,
      MakeIsothermModel(K::kTemkinApprox, {3.0, 0.05, 0.0}).model,
      MakeIsothermModel(K::kOBrienMyers, {3.0, 0.05, 0.0}).model,
      MakeIsothermModel(K::kQuadratic, {3.0, 0.05, 0.0}).model,
      MakeIsothermModel(K::kUnilan, {3.0, 0.05, 0.0}).model,
      MakeIsothermModel(K::kFloryHugginsVST, {3.0, 0.05, 0.0}).model,
      MakeIsothermModel(K::kWilsonVST, {3.0, 0.05, 1.0, 1.0}).model,
      MakeIsothermModel(K::kChemiPhysisorption, {3.0, 0.05, 1.0, 0.0, 1.0, 0.0}, Temperature(300))
          .model,
  };
  for (auto const& m : same) {
    for (double p : {0.01, 2.0, 60.0, 5000.0}) {
      EXPECT_REL_CLOSE(m->Loading(p), lang->Loading(p), 1e-12) << m->Name();
      EXPECT_REL_CLOSE(m->SpreadingPressure(p).value, lang->SpreadingPressure(p).value, 1e-10)
          << m->Name();
    }
  }
  // Sips and Langmuir-Freundlich draw one curve when K_LF = K_Sips^n.
  const auto sips = MakeIsothermModel(K::kSips, {3.0, 0.05, 0.7}).model;
  const auto lf = MakeIsothermModel(K::kLangmuirFreundlich, {3.0, std::pow(0.05, 0.7), 0.7}).model;
  // GAB with k = 1 is BET; DA with m = 2 is DR; BET with many layers approaches BET below Ps;
  // a virial form without coefficients is Henry's law.
  const auto bet = MakeIsothermModel(K::kBET, {1.0, 60.0}, Sat(100)).model;
  const auto gab = MakeIsothermModel(K::kGAB, {1.0, 60.0, 1.0}, Sat(100)).model;
  const auto betN = MakeIsothermModel(K::kBETLayers, {1.0, 60.0}, Sat(100, 0, 2000)).model;
  const auto dr = MakeIsothermModel(K::kDubininRadushkevich, {4.0, 6000.0}, Sat(100, 77)).model;
  const auto da = MakeIsothermModel(K::kDubininAstakhov, {4.0, 6000.0, 2.0}, Sat(100, 77)).model;
  SIsothermSetup none;
  none.virialTerms = 0;
  const auto virial = MakeIsothermModel(K::kVirial, {0.7}, none).model;
  const auto henry = MakeIsothermModel(K::kHenry, {0.7}).model;
  for (double p : {0.5, 5.0, 30.0, 80.0}) {
    EXPECT_REL_CLOSE(sips->Loading(p), lf->Loading(p), 1e-13);
    EXPECT_REL_CLOSE(gab->Loading(p), bet->Loading(p), 1e-14);
    EXPECT_REL_CLOSE(gab->SpreadingPressure(p).value, bet->SpreadingPressure(p).value, 1e-14);
    EXPECT_REL_CLOSE(betN->Loading(p), bet->Loading(p), 1e-12);
    EXPECT_REL_CLOSE(da->Loading(p), dr->Loading(p), 1e-14);
    EXPECT_REL_CLOSE(da->SpreadingPressure(p).value, dr->SpreadingPressure(p).value, 1e-13);
    EXPECT_REL_CLOSE(virial->Loading(p), henry->Loading(p), 1e-14);
  }
}

TEST(IsothermModels, EdgeValuesAreTheDocumentedOnes) {
  for (auto const& c : Cases()) {
    const auto m = Make(c);
    const std::string name = m->Name();
    EXPECT_EQ(m->Loading(0.0), 0.0) << name;
    EXPECT_EQ(m->SpreadingPressure(0.0).value, 0.0) << name;
    EXPECT_EQ(m->Pressure(0.0).value, 0.0) << name;
    EXPECT_TRUE(std::isnan(m->Loading(-1.0))) << name;
    EXPECT_EQ(m->SpreadingPressure(-1.0).status, EModelStatus::kOutsideDomain) << name;
    EXPECT_EQ(m->Pressure(-1.0).status, EModelStatus::kOutsideDomain) << name;
    EXPECT_TRUE(std::isnan(m->Pressure(-1.0).value)) << name;
    // Far above the swept range: a number, or +∞ where the model says it diverges.
    const double far = 1e6 * c.pMax;
    const double q = m->Loading(far);
    EXPECT_FALSE(std::isnan(q)) << name;
    const SModelValue pi = m->SpreadingPressure(far);
    if (std::isinf(q)) {
      EXPECT_EQ(pi.status, EModelStatus::kDiverges) << name;
    } else {
      EXPECT_LE(q, m->SaturationLoading()) << name;
      EXPECT_TRUE(pi.Ok() && std::isfinite(pi.value)) << name;
    }
    // Loadings at or beyond capacity.
    const double cap = m->SaturationLoading();
    if (std::isfinite(cap)) {
      const SModelValue over = m->Pressure(1.5 * cap);
      EXPECT_EQ(over.status, EModelStatus::kAboveCapacity) << name;
      EXPECT_TRUE(std::isnan(over.value)) << name;
    }
  }
  // Capacity reached at a finite pressure: Dubinin's n_p at Ps, the N-layer BET at Ps.
  const auto dr = MakeIsothermModel(K::kDubininRadushkevich, {5.0, 8000.0}, Sat(100, 298)).model;
  EXPECT_EQ(dr->Pressure(5.0).value, 100.0);
  EXPECT_EQ(dr->Loading(250.0), 5.0);
  EXPECT_REL_CLOSE(dr->SpreadingPressure(250.0).value - dr->SpreadingPressure(100.0).value,
                   5.0 * std::log(2.5), 1e-13);
  const auto betN = MakeIsothermModel(K::kBETLayers, {1.0, 50.0}, Sat(100, 0, 5)).model;
  EXPECT_REL_CLOSE(betN->SaturationLoading(), betN->Loading(100.0), 1e-14);
  EXPECT_EQ(betN->Pressure(betN->SaturationLoading()).value, 100.0);
  EXPECT_TRUE(std::isinf(betN->Loading(100.5)));
  // Divergences: BET above Ps, anti-Langmuir at K P = 1; Langmuir's capacity is unreached.
  const auto bet = MakeIsothermModel(K::kBET, {1.0, 60.0}, Sat(100)).model;
  EXPECT_TRUE(std::isinf(bet->Loading(100.0)));
  EXPECT_EQ(bet->SpreadingPressure(101.0).status, EModelStatus::kDiverges);
  EXPECT_TRUE(bet->Pressure(1e6).Ok());
  EXPECT_LT(bet->Pressure(1e6).value, 100.0);
  const auto anti = MakeIsothermModel(K::kAntiLangmuir, {1.0, 0.01}).model;
  EXPECT_TRUE(std::isinf(anti->Loading(100.0)));
  const auto lang = MakeIsothermModel(K::kLangmuir, {3.0, 0.05}).model;
  EXPECT_EQ(lang->Pressure(3.0).status, EModelStatus::kAboveCapacity);
  EXPECT_EQ(lang->Loading(std::numeric_limits<double>::infinity()), 3.0);
  // Freundlich n > 1 has a vertical tangent at 0.
  const auto fr = MakeIsothermModel(K::kFreundlich, {1.0, 2.0}).model;
  EXPECT_TRUE(std::isinf(fr->LoadingSlope(0.0)));
}

TEST(IsothermModels, ParameterInfoAndGuessesFitTheModels) {
  std::mt19937 rng(20240611);
  std::normal_distribution<double> noise(0.0, 0.01);
  for (auto const& c : Cases()) {
    const auto m = Make(c);
    const auto& info = m->ParameterInfo();
    ASSERT_EQ(info.size(), m->Parameters().size()) << m->Name();
    std::set<std::string> names;
    for (std::size_t j = 0; j < info.size(); ++j) {
      names.insert(info[j].name);
      EXPECT_LE(info[j].lower, m->Parameters()[j]) << m->Name() << " " << info[j].name;
      EXPECT_GE(info[j].upper, m->Parameters()[j]) << m->Name() << " " << info[j].name;
      if (info[j].logScale) EXPECT_GE(info[j].lower, 0.0) << info[j].name;
    }
    EXPECT_EQ(names.size(), info.size()) << m->Name();
    // A guess from the model's own points, with 1% noise, makes a model that evaluates.
    std::vector<double> ps = Pressures(c, 15);
    std::vector<double> qs;
    for (double p : ps) qs.push_back(m->Loading(p) * (1.0 + noise(rng)));
    const auto guess = IsothermInitialGuess(c.kind, c.setup, ps, qs);
    ASSERT_EQ(guess.size(), info.size()) << m->Name();
    const SModelMake start = MakeIsothermModel(c.kind, guess, c.setup);
    ASSERT_TRUE(start.model) << m->Name() << ": " << start.error;
    for (std::size_t j = 0; j < guess.size(); ++j) {
      EXPECT_TRUE(guess[j] >= info[j].lower && guess[j] <= info[j].upper)
          << m->Name() << " " << info[j].name << " = " << guess[j];
    }
    EXPECT_TRUE(std::isfinite(start.model->Loading(ps[ps.size() / 2]))) << m->Name();
  }
  EXPECT_TRUE(IsothermInitialGuess(K::kLangmuir, {}, {}, {}).empty());
  EXPECT_TRUE(IsothermInitialGuess(K::kLangmuir, {}, {1.0, 2.0}, {0.0, -1.0}).empty());
}

TEST(IsothermModels, ParametersOutsideTheirBoundsNeitherThrowNorHang) {
  // A fitter probes wild values: every answer is a number, ±∞ or NaN with a status.
  std::mt19937 rng(7);
  std::uniform_real_distribution<double> scale(-3.0, 3.0);
  std::uniform_int_distribution<int> sign(0, 4);
  for (auto const& c : Cases()) {
    for (int trial = 0; trial < 40; ++trial) {
      std::vector<double> params = c.params;
      for (double& v : params) v *= (sign(rng) == 0 ? -1.0 : 1.0) * std::pow(10.0, scale(rng));
      const SModelMake made = MakeIsothermModel(c.kind, params, c.setup);
      ASSERT_TRUE(made.model) << made.error;
      std::vector<double> g(params.size());
      for (double p : {0.0, c.pMin, std::sqrt(c.pMin * c.pMax), c.pMax, 1e12}) {
        EXPECT_NO_THROW({
          made.model->Loading(p);
          made.model->LoadingSlope(p);
          made.model->SpreadingPressure(p);
          made.model->LoadingGradient(p, g.data());
          made.model->Pressure(made.model->Loading(p));
          made.model->Pressure(p);
          made.model->PressureAtSpreadingPressure(p);
        }) << made.model->Name();
      }
    }
  }
  EXPECT_TRUE(std::isnan(MakeIsothermModel(K::kLangmuir, {1.0, 1.0}).model->Loading(std::nan(""))));
  EXPECT_EQ(MakeIsothermModel(K::kLangmuir, {1.0, 1.0}).model->Pressure(std::nan("")).status,
            EModelStatus::kOutsideDomain);
  EXPECT_FALSE(MakeIsothermModel("composite", {1.0}).model);
}

// A small Levenberg-Marquardt on relative residuals, log-scale parameters in log space and
// the others clamped to their bounds: what a fitter does with this API.
std::vector<double> FitByName(Case const& c, std::vector<double> const& ps,
                              std::vector<double> const& qs) {
  std::vector<double> theta = IsothermInitialGuess(c.kind, c.setup, ps, qs);
  const auto info = IsothermParameterInfo(c.kind, c.setup);
  const std::size_t n = theta.size();
  auto cost = [&](std::vector<double> const& t) {
    const auto m = MakeIsothermModel(c.kind, t, c.setup).model;
    double sum = 0.0;
    for (std::size_t i = 0; i < ps.size(); ++i) sum += std::pow(m->Loading(ps[i]) / qs[i] - 1, 2);
    return std::isfinite(sum) ? sum : std::numeric_limits<double>::infinity();
  };
  double lambda = 1e-3;
  double current = cost(theta);
  for (int iter = 0; iter < 300 && current > 1e-28; ++iter) {
    const auto m = MakeIsothermModel(c.kind, theta, c.setup).model;
    std::vector<double> jtj(n * n, 0.0), jtr(n, 0.0), g(n);
    for (std::size_t i = 0; i < ps.size(); ++i) {
      const double r = m->LoadingGradient(ps[i], g.data()) / qs[i] - 1.0;
      for (std::size_t j = 0; j < n; ++j) g[j] *= (info[j].logScale ? theta[j] : 1.0) / qs[i];
      for (std::size_t j = 0; j < n; ++j) {
        jtr[j] += g[j] * r;
        for (std::size_t k = 0; k < n; ++k) jtj[j * n + k] += g[j] * g[k];
      }
    }
    // (JᵀJ + λ diag JᵀJ) δ = −Jᵀr by Gaussian elimination with partial pivoting.
    std::vector<double> a = jtj, b(n);
    for (std::size_t j = 0; j < n; ++j) {
      a[j * n + j] += lambda * jtj[j * n + j] + 1e-300;
      b[j] = -jtr[j];
    }
    for (std::size_t col = 0; col < n; ++col) {
      std::size_t piv = col;
      for (std::size_t row = col + 1; row < n; ++row)
        if (std::fabs(a[row * n + col]) > std::fabs(a[piv * n + col])) piv = row;
      for (std::size_t k = 0; k < n; ++k) std::swap(a[col * n + k], a[piv * n + k]);
      std::swap(b[col], b[piv]);
      for (std::size_t row = col + 1; row < n; ++row) {
        const double f = a[row * n + col] / a[col * n + col];
        for (std::size_t k = col; k < n; ++k) a[row * n + k] -= f * a[col * n + k];
        b[row] -= f * b[col];
      }
    }
    std::vector<double> delta(n);
    for (std::size_t j = n; j-- > 0;) {
      double sum = b[j];
      for (std::size_t k = j + 1; k < n; ++k) sum -= a[j * n + k] * delta[k];
      delta[j] = sum / a[j * n + j];
    }
    std::vector<double> trial = theta;
    for (std::size_t j = 0; j < n; ++j) {
      trial[j] = info[j].logScale ? theta[j] * std::exp(std::clamp(delta[j], -5.0, 5.0))
                                  : std::clamp(theta[j] + delta[j], info[j].lower, info[j].upper);
    }
    const double next = cost(trial);
    if (next < current) {
      theta = trial;
      current = next;
      lambda = std::max(lambda / 3.0, 1e-12);
    } else {
      lambda *= 4.0;
    }
  }
  return theta;
}

TEST(IsothermModels, GuessAndGradientFitRecoverTheParametersOfExactData) {
  // Every family from its heuristic guess; not chemi-physisorption, whose n_2 and E_a are one
  // parameter at one temperature.
  for (auto const& c : Cases()) {
    if (c.kind == K::kChemiPhysisorption) continue;
    const auto m = Make(c);
    const std::vector<double> ps = Pressures(c, 25);
    std::vector<double> qs;
    for (double p : ps) qs.push_back(m->Loading(p));
    const std::vector<double> fit = FitByName(c, ps, qs);
    for (std::size_t j = 0; j < fit.size(); ++j)
      EXPECT_REL_CLOSE(fit[j], c.params[j], 1e-6) << m->Name() << " " << m->ParameterInfo()[j].name;
  }
}

TEST(IsothermModels, SharedModelsGiveTheSameAnswersOnSeveralThreads) {
  // Toth and BET-n integrate numerically, FH-VST solves for q, the sum holds parts.
  const auto cases = Cases();
  std::vector<std::shared_ptr<const IsothermModel>> models;
  for (auto const& c : cases)
    if (c.kind == K::kToth || c.kind == K::kBETLayers || c.kind == K::kFloryHugginsVST)
      models.push_back(Make(c));
  models.push_back(MakeCompositeModel(models));
  auto sweep = [&] {
    std::vector<double> out;
    for (auto const& m : models) {
      for (int i = 0; i < 30; ++i) {
        const double p = 0.5 + 3.0 * i;
        const double pi = m->SpreadingPressure(p).value;
        out.push_back(m->Loading(p));
        out.push_back(pi);
        out.push_back(m->PressureAtSpreadingPressure(pi).value);
      }
    }
    return out;
  };
  const std::vector<double> serial = sweep();
  std::vector<std::vector<double>> results(4);
  std::vector<std::thread> threads;
  for (auto& r : results) threads.emplace_back([&] { r = sweep(); });
  for (auto& t : threads) t.join();
  for (auto const& r : results) EXPECT_EQ(r, serial);
}

}  // namespace
}  // namespace fiofla
