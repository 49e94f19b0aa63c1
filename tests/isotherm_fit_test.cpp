// Isotherm fits: every family recovers its parameters from exact data; bad data gives a
// status and a message; ranking, weights and standard errors behave.
#include "fiofla/isotherm_fit.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>

#include "test_util.h"

namespace fiofla {
namespace {

using K = EIsothermModel;

struct Case {
  K kind;
  std::vector<double> params;
  double pMin;  // log-spaced pressures from pMin to pMax
  double pMax;
  SIsothermSetup setup;
};

SIsothermSetup Setup(double ps, double t = std::numeric_limits<double>::quiet_NaN(), int layers = 0,
                     int sites = 2, int virialTerms = 2) {
  SIsothermSetup s;
  s.saturationPressure = ps;
  s.temperatureK = t;
  s.layers = layers;
  s.sites = sites;
  s.virialTerms = virialTerms;
  return s;
}

const double kNone = std::numeric_limits<double>::quiet_NaN();

// Parameters of a gas on a microporous solid (kPa, mmol/g); the range shows each curve's bend.
std::vector<Case> Cases() {
  return {
      {K::kHenry, {2.0}, 0.01, 100, {}},
      {K::kLangmuir, {3.0, 0.05}, 0.01, 1e4, {}},
      {K::kMultiSiteLangmuir, {2.0, 0.5, 1.5, 0.01}, 0.01, 1e4, Setup(kNone, kNone, 0, 2)},
      {K::kBET, {1.2, 80.0}, 0.5, 95, Setup(100)},
      {K::kBETLayers, {1.0, 50.0}, 0.5, 99.5, Setup(100, kNone, 5)},
      {K::kGAB, {1.0, 40.0, 0.8}, 0.5, 110, Setup(100)},
      {K::kFreundlich, {0.8, 2.5}, 0.01, 1000, {}},
      {K::kDubininRadushkevich, {5.0, 8000.0}, 1e-3, 99, Setup(100, 298.15)},
      {K::kDubininAstakhov, {5.0, 7000.0, 1.6}, 1e-3, 99, Setup(100, 298.15)},
      {K::kQuadratic, {2.0, 0.05, 0.002}, 0.01, 1e4, {}},
      {K::kTemkinApprox, {3.0, 0.05, 0.8}, 0.01, 1e4, {}},
      {K::kToth, {3.0, 0.05, 0.6}, 0.01, 1e4, {}},
      {K::kMultiSiteToth, {2.0, 0.2, 0.7, 1.5, 0.01, 0.9}, 0.01, 1e4, Setup(kNone, kNone, 0, 2)},
      {K::kSips, {3.0, 0.05, 0.7}, 0.01, 1e4, {}},
      {K::kLangmuirFreundlich, {3.0, 0.1, 0.7}, 0.01, 1e4, {}},
      {K::kRedlichPeterson, {0.3, 0.08, 0.85}, 0.01, 1e4, {}},
      {K::kUnilan, {3.0, 0.05, 2.0}, 0.01, 1e4, {}},
      {K::kJensenSeaton, {0.5, 3.0, 1.5, 0.001}, 0.01, 1e4, {}},
      {K::kOBrienMyers, {3.0, 0.05, 0.6}, 0.01, 1e4, {}},
      {K::kAntiLangmuir, {1.0, 0.001}, 0.01, 900, {}},
      // E_a is held at its start (0) by the fit, so the data are made with E_a = 0.
      {K::kChemiPhysisorption, {2.0, 0.05, 0.6, 1.0, 2.0, 0.0}, 0.01, 1e4, Setup(kNone, 300)},
      {K::kFloryHugginsVST, {3.0, 0.05, 1.5}, 0.01, 1e4, {}},
      {K::kWilsonVST, {3.0, 0.05, 2.5, 0.4}, 0.01, 1e4, {}},
      {K::kVirial, {0.5, -0.1, 0.02}, 0.01, 1e3, {}},
  };
}

std::vector<double> LogSpaced(double lo, double hi, int n) {
  std::vector<double> p;
  for (int i = 0; i < n; ++i) p.push_back(lo * std::pow(hi / lo, double(i) / (n - 1)));
  return p;
}

std::vector<double> LoadingsOf(Case const& c, std::vector<double> const& ps) {
  const auto m = MakeIsothermModel(c.kind, c.params, c.setup).model;
  std::vector<double> qs;
  for (double p : ps) qs.push_back(m->Loading(p));
  return qs;
}

TEST(IsothermFit, EveryFamilyRecoversTheParametersOfExactData) {
  for (auto const& c : Cases()) {
    const std::vector<double> ps = LogSpaced(c.pMin, c.pMax, 30);
    const SIsothermFit fit = FitIsotherm(c.kind, ps, LoadingsOf(c, ps), c.setup);
    ASSERT_EQ(fit.status, EFitStatus::kOk) << fit.name << ": " << fit.message;
    ASSERT_EQ(fit.parameters.size(), c.params.size());
    for (std::size_t j = 0; j < c.params.size(); ++j)
      EXPECT_REL_CLOSE(fit.parameters[j], c.params[j], 1e-8)
          << fit.name << " " << fit.parameterNames[j];
    EXPECT_LT(fit.rmsError, 1e-9) << fit.name;
    EXPECT_TRUE(fit.model) << fit.name;
  }
}

}  // namespace
}  // namespace fiofla
