// Heats of adsorption: isosteres from Langmuir isotherms with a known heat, and dynamic heats
// from first-order desorption peaks with a known activation energy.
#include "fiofla/gashoa.h"

#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include "fiofla/num/interpolate.h"
#include "test_util.h"

namespace {

constexpr double kR = 8.314462618e-3;  // kJ/(mol K), CODATA 2018

// Peak temperature of first-order desorption (Redhead 1962): E/(R Tp²) = (A/β) exp(-E/(R Tp)),
// with A in 1/s and β in K/s; solved by bisection on its logarithm, which falls with Tp.
double PeakTemperature(double E, double A, double betaKPerS) {
  auto g = [&](double T) {
    return std::log(E / (kR * T * T)) - std::log(A / betaKPerS) + E / (kR * T);
  };
  double lo = 50.0, hi = 5000.0;
  for (int i = 0; i < 200; ++i) {
    const double mid = 0.5 * (lo + hi);
    (g(mid) > 0.0 ? lo : hi) = mid;
  }
  return 0.5 * (lo + hi);
}

// Langmuir isotherm q = Qm bP/(1+bP) with b = b0 exp(Q/RT), on log-spaced pressures.
void Langmuir(double T, double Q, CNumVector<double>& P, CNumVector<double>& q) {
  const double Qm = 5.0, b0 = 1e-6;
  const double b = b0 * std::exp(Q / (kR * T));
  const int n = 60;
  P.SetDim(n);
  q.SetDim(n);
  for (int i = 0; i < n; ++i) {
    P[i] = 0.01 * std::pow(10.0, 5.0 * i / (n - 1));  // 0.01 .. 1000
    q[i] = Qm * b * P[i] / (1.0 + b * P[i]);
  }
}

TEST(DynamicHeat, RecoversActivationEnergyOfFirstOrderPeaks) {
  const double E = 100.0, A = 1e13;
  std::vector<CDynamicHeatCalc::STempRampRate> perMin, perS;
  for (double rateKPerMin : {5.0, 10.0, 20.0, 40.0}) {
    const double Tp = PeakTemperature(E, A, rateKPerMin / 60.0);
    perMin.push_back({Tp, rateKPerMin});
    perS.push_back({Tp, rateKPerMin / 60.0});
  }
  CDynamicHeatCalc calc(perMin);
  ASSERT_TRUE(calc.IsValid());
  // Only the library's R (0.00831441) differs from the one that made the peaks.
  EXPECT_REL_CLOSE(calc.GetHeatOfDesorption(), E * 0.00831441 / kR, 1e-9);
  EXPECT_LT(calc.GetHeatError(), 1e-6);
  EXPECT_NEAR(calc.GetFitCorrCoef(), 1.0, 1e-12);
  EXPECT_EQ(calc.GetInvTemperatures().size(), 4u);

  // The rate's time unit moves the intercept by ln 60 and leaves the heat alone.
  CDynamicHeatCalc calcS(perS);
  EXPECT_REL_CLOSE(calcS.GetHeatOfDesorption(), calc.GetHeatOfDesorption(), 1e-9);
  EXPECT_NEAR(calcS.GetFitYIntercept() - calc.GetFitYIntercept(), std::log(60.0), 1e-6);
}

TEST(DynamicHeat, SkipsRunsWithoutTemperatureOrRateAndNeedsTwo) {
  const double T1 = PeakTemperature(100.0, 1e13, 5.0 / 60), T2 = PeakTemperature(100.0, 1e13, 1.0);
  CDynamicHeatCalc skipped({{0.0, 10.0}, {T1, 0.0}, {T2, -1.0}, {T1, 5.0 / 60}});
  EXPECT_FALSE(skipped.IsValid());
  EXPECT_EQ(skipped.GetInvTemperatures().size(), 1u);
  EXPECT_EQ(skipped.GetHeatOfDesorption(), 0.0);
  EXPECT_EQ(skipped.GetFitSlope(), 0.0);
  EXPECT_EQ(skipped.GetFitCorrCoef(), 0.0);

  // Two good runs among the bad ones: the line through them is exact, its error 0.
  CDynamicHeatCalc two({{0.0, 10.0}, {T1, 5.0 / 60}, {T2, 0.0}, {T2, 1.0}});
  ASSERT_TRUE(two.IsValid());
  EXPECT_REL_CLOSE(two.GetHeatOfDesorption(), 100.0 * 0.00831441 / kR, 1e-9);
  EXPECT_EQ(two.GetHeatError(), 0.0);
  EXPECT_EQ(two.GetFitYInterceptError(), 0.0);
}

TEST(Isostere, RecoversIsostericHeatOfLangmuirIsotherms) {
  const double Q = 25.0;
  for (double target : {0.5, 2.5, 4.0}) {
    CIsostereCalc::CInput input(target);
    for (double T : {273.15, 298.15, 323.15}) {
      CNumVector<double> P, q;
      Langmuir(T, Q, P, q);
      EXPECT_TRUE(input.AddIsotherm(P, q, T));
    }
    ASSERT_EQ(input.m_Pressures.size(), 3u);
    // Pressures rise with temperature along an isostere.
    EXPECT_LT(input.m_Pressures[0], input.m_Pressures[1]);
    EXPECT_LT(input.m_Pressures[1], input.m_Pressures[2]);
    CIsostereCalc calc(input);
    ASSERT_TRUE(calc.IsOK());
    EXPECT_LT(calc.GetSlope(), 0.0);
    EXPECT_REL_CLOSE(calc.HeatOfAdsorption(), Q * 0.00831441 / kR, 2e-4) << "q = " << target;
    EXPECT_LT(calc.GetUncertainty(), 0.01);
    EXPECT_EQ(calc.GetData().size(), 3u);
    EXPECT_EQ(calc.GetQuantityAds(), target);
  }
}

TEST(Isostere, IsothermsThatMissTheTargetAddNothing) {
  CIsostereCalc::CInput input(4.9);  // above the largest quantity at the two warm isotherms
  int added = 0;
  for (double T : {200.0, 298.15, 323.15}) {
    CNumVector<double> P, q;
    Langmuir(T, 25.0, P, q);
    added += input.AddIsotherm(P, q, T);
  }
  EXPECT_EQ(added, 1);
  CIsostereCalc calc(input);
  EXPECT_FALSE(calc.IsOK());
  EXPECT_EQ(calc.HeatOfAdsorption(), 0.0);
  EXPECT_EQ(calc.GetUncertainty(), 0.0);
  EXPECT_EQ(calc.GetSlope(), 0.0);

  // Below the first quantity, no temperature, an empty table: nothing either.
  CNumVector<double> P{1.0, 2.0, 4.0}, q{1.0, 2.0, 3.0};
  CIsostereCalc::CInput low(0.5);
  EXPECT_FALSE(low.AddIsotherm(P, q, 300.0));
  CIsostereCalc::CInput noT(1.5);
  EXPECT_FALSE(noT.AddIsotherm(P, q, 0.0));
  EXPECT_FALSE(noT.AddIsotherm(CNumVector<double>(), CNumVector<double>(), 300.0));
  EXPECT_TRUE(noT.m_Pressures.empty());
}

TEST(Isostere, InvertsTheTableAtItsEndsAndInUnorderedInput) {
  // Points given out of order are put in pressure order first.
  CNumVector<double> P{4.0, 1.0, 2.0, 8.0}, q{3.0, 1.0, 2.0, 3.5};
  CIsostereCalc::CInput input(1.0);  // the first quantity: no lower neighbour
  ASSERT_TRUE(input.AddIsotherm(P, q, 300.0));
  EXPECT_EQ(input.m_Pressures[0], 1.0);
  // Elsewhere the bisection stops within 1e-6 of the target quantity on the interpolant.
  const CNumInterpolate curve(P, q, CNumInterpolate::eMonotoneCubic);
  for (double target : {3.5, 2.0, 2.7}) {
    CIsostereCalc::CInput in(target);
    ASSERT_TRUE(in.AddIsotherm(P, q, 300.0));
    EXPECT_NEAR(curve.Interpolate(in.m_Pressures[0]), target, 1e-6);
    EXPECT_LE(in.m_Pressures[0], 8.0);
  }
}

}  // namespace
