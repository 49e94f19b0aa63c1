#include "fiofla/psat_vs_t.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cmath>
#include <vector>

#include "test_util.h"

namespace {

// ln Psat = a + b/T + c ln T + d T + e T^2: rises over 60-100 K, Psat ~ 10^2..10^4 mmHg.
double LogPsatFiveTerm(double T) {
  return 10.0 - 700.0 / T + 2.0 * std::log(T) - 0.01 * T + 2e-5 * T * T;
}

CPsatVsT FiveTermList(int n, double T0, double dT) {
  CPsatVsT list;
  for (int i = 0; i < n; ++i) {
    const double T = T0 + dT * i;
    list.Append(std::exp(LogPsatFiveTerm(T)), T);
  }
  return list;
}

std::vector<NPsatVsT::SElement> Elements(const CPsatVsT& list) {
  return std::vector<NPsatVsT::SElement>(list.begin(), list.end());
}

}  // namespace

TEST(PsatVsT, ListEditingKeepsAtMostTenPairs) {
  CPsatVsT list;
  EXPECT_EQ(list.GetLastPsat(), 0.0);
  for (int i = 0; i < 11; ++i) list.Append(100.0 + i, 70.0 + i);
  EXPECT_EQ(list.Size(), 10u);
  EXPECT_EQ(list.GetLastPsat(), 109.0);
  list.Insert(0, 1.0, 1.0);  // full: ignored
  EXPECT_EQ(list.GetPsat(0), 100.0);

  list.Delete(3);
  list.Delete(99);  // out of range: ignored
  EXPECT_EQ(list.Size(), 9u);
  EXPECT_EQ(list.GetPsat(3), 104.0);
  list.Insert(10, 5.0, 5.0);  // beyond the end: ignored
  list.Insert(3, 103.0, 73.0);
  EXPECT_EQ(list.GetPsat(3), 103.0);
  EXPECT_EQ(list.GetTemperature(3), 73.0);
  EXPECT_EQ(list.GetPsat(10), 0.0);
  EXPECT_EQ(list.GetTemperature(10), 0.0);
}

TEST(PsatVsT, OutOfRangeAndEmptyReturnEndValuesAndFalse) {
  CPsatVsT list;
  double out = -1.0;
  EXPECT_FALSE(list.CalcPsatFromTemp(&out, 77.0));
  EXPECT_EQ(out, 0.0);
  out = -1.0;
  EXPECT_FALSE(list.CalcTempFromPsat(&out, 760.0));
  EXPECT_EQ(out, 0.0);

  list = FiveTermList(6, 70.0, 5.0);
  EXPECT_FALSE(list.CalcPsatFromTemp(&out, 69.9));
  EXPECT_EQ(out, list.GetPsat(0));
  EXPECT_FALSE(list.CalcPsatFromTemp(&out, 95.1));
  EXPECT_EQ(out, list.GetLastPsat());
  EXPECT_FALSE(list.CalcTempFromPsat(&out, list.GetPsat(0) * 0.99));
  EXPECT_EQ(out, list.GetTemperature(0));
  EXPECT_FALSE(list.CalcTempFromPsat(&out, list.GetLastPsat() * 1.01));
  EXPECT_EQ(out, list.GetLastTemperature());

  // The ends themselves are inside the list.
  EXPECT_TRUE(list.CalcPsatFromTemp(&out, 95.0));
  EXPECT_REL_CLOSE(out, list.GetLastPsat(), 1e-10);
  EXPECT_TRUE(list.CalcTempFromPsat(&out, list.GetPsat(0)));
  EXPECT_EQ(out, list.GetTemperature(0));

  // A single pair converts only its own values, into each other.
  CPsatVsT one;
  one.Append(760.0, 77.35);
  EXPECT_TRUE(one.CalcPsatFromTemp(&out, 77.35));
  EXPECT_REL_CLOSE(out, 760.0, 1e-14);
  EXPECT_TRUE(one.CalcTempFromPsat(&out, 760.0));
  EXPECT_EQ(out, 77.35);
}

TEST(PsatVsT, FitReproducesFunctionsOfItsOwnForm) {
  // Two pairs: exactly ln P = a + b/T.
  const double a = 15.0, b = -650.0;
  CPsatVsT two;
  two.Append(std::exp(a + b / 70.0), 70.0);
  two.Append(std::exp(a + b / 90.0), 90.0);
  const auto twoEl = Elements(two);
  CLogNNLS fit2(twoEl);
  ASSERT_EQ(fit2.Coefficients().size(), 2u);
  EXPECT_REL_CLOSE(fit2.Coefficients()[0], a, 1e-10);
  EXPECT_REL_CLOSE(fit2.Coefficients()[1], b, 1e-10);
  double out = 0.0;
  EXPECT_TRUE(two.CalcPsatFromTemp(&out, 81.3));
  EXPECT_REL_CLOSE(out, std::exp(a + b / 81.3), 1e-10);

  // Three and four pairs are interpolated.
  for (int n = 3; n <= 4; ++n) {
    const CPsatVsT list = FiveTermList(n, 65.0, 10.0);
    const auto el = Elements(list);
    CLogNNLS fit(el);
    EXPECT_EQ(fit.Coefficients().size(), static_cast<std::size_t>(n));
    for (const auto& e : el) EXPECT_REL_CLOSE(fit.GetX(e.temperature), e.psat, 1e-10);
  }

  // Five to ten pairs of the five-term form give that form back between the pairs.
  for (int n = 5; n <= 10; ++n) {
    const CPsatVsT list = FiveTermList(n, 62.0, 36.0 / (n - 1));
    const auto el = Elements(list);
    CLogNNLS fit(el);
    ASSERT_EQ(fit.Coefficients().size(), 5u);
    for (double T = 62.0; T <= 98.0; T += 0.7)
      EXPECT_REL_CLOSE(fit.GetX(T), std::exp(LogPsatFiveTerm(T)), 1e-10) << n << " pairs, T " << T;
  }
}

TEST(PsatVsT, MoreThanFivePairsAreLeastSquaresNotInterpolation) {
  CPsatVsT list = FiveTermList(8, 65.0, 4.0);
  list.SetPsat(4, list.GetPsat(4) * 1.05);
  const auto el = Elements(list);
  CLogNNLS fit(el);
  ASSERT_EQ(fit.Coefficients().size(), 5u);
  // The perturbed pair is not passed through...
  EXPECT_GT(std::fabs(fit.GetX(el[4].temperature) / el[4].psat - 1.0), 1e-3);
  // ...but the residuals of ln P are orthogonal to every term (normal equations).
  for (int term = 0; term < 5; ++term) {
    double dot = 0.0, scale = 0.0;
    for (const auto& e : el) {
      const double T = e.temperature;
      const double basis[5] = {1.0, 1.0 / T, std::log(T), T, T * T};
      dot += (std::log(e.psat) - std::log(fit.GetX(T))) * basis[term];
      scale += std::fabs(basis[term]) * 0.05;
    }
    EXPECT_LT(std::fabs(dot), 1e-8 * scale) << "term " << term;
  }
}

TEST(PsatVsT, RepeatedTemperatureDropsTheDependentTerm) {
  CPsatVsT list;
  list.Append(700.0, 77.0);
  list.Append(700.0, 77.0);
  list.Append(1000.0, 80.0);
  const auto el = Elements(list);
  CLogNNLS fit(el);
  EXPECT_EQ(fit.Coefficients()[2], 0.0);
  EXPECT_REL_CLOSE(fit.GetX(77.0), 700.0, 1e-10);
  EXPECT_REL_CLOSE(fit.GetX(80.0), 1000.0, 1e-10);
}

TEST(PsatVsT, ConversionsInvertEachOtherInsideTheList) {
  for (int n : {2, 3, 5, 7, 10}) {
    const CPsatVsT list = FiveTermList(n, 64.0, 32.0 / (n - 1));
    const auto el = Elements(list);
    CLogNNLS fit(el);
    // At a listed temperature the search lands on that temperature.
    for (const auto& e : el) {
      const double p = fit.GetX(e.temperature);
      EXPECT_NEAR(fit.GetY(p), e.temperature, 1e-3) << n << " pairs";
    }
    for (double T = 64.5; T < 96.0; T += 1.9) {
      double p = 0.0, back = 0.0;
      ASSERT_TRUE(list.CalcPsatFromTemp(&p, T));
      ASSERT_TRUE(list.CalcTempFromPsat(&back, p));
      EXPECT_NEAR(back, T, 1e-3) << n << " pairs";
      double again = 0.0;
      ASSERT_TRUE(list.CalcPsatFromTemp(&again, back));
      EXPECT_REL_CLOSE(again, p, CLogNNLS::kSearchTolerance);
    }
  }
}

TEST(PsatVsT, DerivativeCheckAndDebugFlag) {
  const CPsatVsT rising = FiveTermList(6, 65.0, 5.0);
  const auto risingEl = Elements(rising);
  EXPECT_TRUE(CLogNNLS(risingEl).Check1stDeriv());

  CPsatVsT falling;
  falling.Append(1000.0, 70.0);
  falling.Append(500.0, 80.0);
  const auto fallingEl = Elements(falling);
  EXPECT_FALSE(CLogNNLS(fallingEl).Check1stDeriv());

  double quiet = 0.0, checked = 0.0;
  ASSERT_TRUE(rising.CalcPsatFromTemp(&quiet, 77.0));
  debugNNLS = 1;
  const bool ok = rising.CalcPsatFromTemp(&checked, 77.0);
  debugNNLS = 0;
  EXPECT_TRUE(ok);
  EXPECT_EQ(checked, quiet);
}

TEST(PsatVsT, PathologicalListsReturnInBoundedTime) {
  const auto start = std::chrono::steady_clock::now();
  double T = 0.0;

  // Pressure climbs by 690 in ln P over 1e-9 K: one step of the last bit of T moves the
  // fit by far more than the tolerance, so the search can never meet it.
  CPsatVsT steep;
  steep.Append(1.0, 77.0);
  steep.Append(1e300, 77.000000001);
  EXPECT_FALSE(steep.CalcTempFromPsat(&T, 1e150));
  EXPECT_TRUE(T >= 77.0 && T <= 77.000000001) << T;

  // Temperatures across zero put the pole of 1/T inside the list: the fit jumps over psat.
  CPsatVsT pole;
  pole.Append(1.0, -10.0);
  pole.Append(100.0, 10.0);
  EXPECT_FALSE(pole.CalcTempFromPsat(&T, 50.0));
  EXPECT_EQ(T, 10.0);

  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(2));
}
