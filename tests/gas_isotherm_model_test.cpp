// Single-component isotherm models: fits of noise-free data, callbacks against finite
// differences, spreading pressures against quadrature, and the root finder's rules.
#include "fiofla/gas_isotherm_model.h"

#include <gtest/gtest.h>

#include <boost/math/quadrature/tanh_sinh.hpp>
#include <cmath>

#include "test_util.h"

namespace {

using namespace NIsothermModel;
using fiofla::test::RelClose;

template <class F>
std::vector<SPressQAds> Points(F q, int n = 25) {
  std::vector<SPressQAds> pts;
  for (int i = 1; i <= n; ++i) {
    const double P = 0.05 * std::pow(1.3, i);
    pts.push_back({P, q(P)});
  }
  return pts;
}

// tanh-sinh copes with the x^(n-1) endpoint singularity of q/x for Sips with n < 1.
double Quad(std::function<double(double)> q, double P) {
  boost::math::quadrature::tanh_sinh<double> integrator;
  return integrator.integrate([&](double x) { return x > 0 ? q(x) / x : 0.0; }, 0.0, P, 1e-13);
}

TEST(IsothermModelFit, NoiseFreeDataGivesItsParametersBack) {
  const CLangmuir lang(
      Points([](double P) { return CLangmuir::GetModelQuantityAds(P, 4.0, 0.3); }));
  ASSERT_EQ(lang.GetStatus(), 4);
  EXPECT_TRUE(RelClose(lang.GetMonoLayerQAds(), 4.0, 1e-8));
  EXPECT_TRUE(RelClose(lang.GetLangmuirConstant(), 0.3, 1e-8));
  // Area from Qm by Avogadro's number and the molar volume; exact data has no slope error.
  EXPECT_TRUE(
      RelClose(lang.GetSurfaceArea(0.162), 0.162e-18 * 6.02214129e23 * 4.0 / 22414.0, 1e-8));
  EXPECT_LT(std::fabs(lang.GetSurfaceAreaError(0.162)), 1e-6);

  const CSips sips(Points([](double P) { return CSips::GetModelQuantityAds(P, 5.0, 0.3, 0.8); }));
  ASSERT_TRUE(sips.IsValid());
  EXPECT_TRUE(RelClose(sips.GetQm(), 5.0, 1e-8));
  EXPECT_TRUE(RelClose(sips.Getb(), 0.3, 1e-8));
  EXPECT_TRUE(RelClose(sips.GetExponent(), 0.8, 1e-8));

  const CToth toth(Points([](double P) { return CToth::GetModelQuantityAds(P, 4.0, 0.8, 0.6); }));
  ASSERT_TRUE(toth.IsValid());
  EXPECT_TRUE(RelClose(toth.GetQm(), 4.0, 1e-8));
  EXPECT_TRUE(RelClose(toth.Getb(), 0.8, 1e-8));
  EXPECT_TRUE(RelClose(toth.GetExponent(), 0.6, 1e-8));

  const CRedlichPeterson rp(
      Points([](double P) { return CRedlichPeterson::GetModelQuantityAds(P, 2.0, 0.6, 0.85); }));
  ASSERT_TRUE(rp.IsValid());
  EXPECT_TRUE(RelClose(rp.GetK(), 2.0, 1e-8));
  EXPECT_TRUE(RelClose(rp.Geta(), 0.6, 1e-8));
  EXPECT_TRUE(RelClose(rp.Getg(), 0.85, 1e-8));

  const CDualSiteLangmuir dsl(Points(
      [](double P) { return CDualSiteLangmuir::GetModelQuantityAds(P, 3.0, 0.2, 1.0, 5.0); }));
  ASSERT_TRUE(dsl.IsValid());
  // The two sites may come back in either order.
  const bool swapped = dsl.Getb1() > dsl.Getb2();
  EXPECT_TRUE(RelClose(swapped ? dsl.GetQm2() : dsl.GetQm1(), 3.0, 1e-8));
  EXPECT_TRUE(RelClose(swapped ? dsl.Getb2() : dsl.Getb1(), 0.2, 1e-8));
  EXPECT_TRUE(RelClose(swapped ? dsl.GetQm1() : dsl.GetQm2(), 1.0, 1e-8));
  EXPECT_TRUE(RelClose(swapped ? dsl.Getb1() : dsl.Getb2(), 5.0, 1e-8));
}

TEST(IsothermModelFit, FailuresLeaveStatusAndZeroParameters) {
  const std::vector<SPressQAds> one = {{1.0, 2.0}};
  EXPECT_EQ(CLangmuir(one).GetStatus(), 1);
  // All quantities 0: the line fit gets no points, its slope is 0.
  EXPECT_EQ(CLangmuir({{1.0, 0.0}, {2.0, 0.0}, {3.0, 0.0}}).GetStatus(), 2);
  // Constant quantity: P/q is proportional to P, the intercept is exactly 0.
  const CLangmuir flat({{1.0, 2.0}, {2.0, 2.0}, {3.0, 2.0}, {4.0, 2.0}});
  EXPECT_EQ(flat.GetStatus(), 3);
  EXPECT_EQ(flat.GetMonoLayerQAds(), 0.0);
  EXPECT_FALSE(flat.IsValid());

  const CSips sips(one);
  EXPECT_EQ(sips.GetStatus(), 0);
  EXPECT_EQ(sips.GetQm(), 0.0);
  EXPECT_EQ(CToth(one).GetStatus(), 0);
  EXPECT_EQ(CRedlichPeterson({}).GetStatus(), 0);
  const CDualSiteLangmuir dsl(one);
  EXPECT_FALSE(dsl.IsValid());
  EXPECT_EQ(dsl.GetQm2(), 0.0);
}

TEST(IsothermModelFit, ModelFunctionsAreZeroSafe) {
  EXPECT_EQ(CSips::GetModelQuantityAds(0.0, 5, 0.3, 0.8), 0.0);
  EXPECT_EQ(CToth::GetModelQuantityAds(-1.0, 5, 0.3, 0.8), 0.0);
  EXPECT_EQ(CRedlichPeterson::GetModelQuantityAds(0.0, 2, 0.6, 0.85), 0.0);
  EXPECT_EQ(CDualSiteLangmuir::GetModelQuantityAds(-2.0, 3, 0.2, 1, 5), 0.0);
  EXPECT_EQ(CLangmuir::GetModelQuantityAds(2.0, 4.0, -0.5), 0.0);  // 1 + bP exactly 0
  EXPECT_LT(CLangmuir::GetModelQuantityAds(-1.0, 4.0, 0.3), 0.0);  // negative P not guarded
}

TEST(IsothermModelCallbacks, DerivativesMatchFiniteDifferences) {
  struct Case {
    double (*f)(double, std::vector<SCurveFitParam>&);
    std::vector<double> p;
  };
  const Case cases[] = {{GetSipsQAdsWithParams, {5.0, 0.3, 0.8}},
                        {GetTothQAdsWithParams, {4.0, 0.8, 0.6}},
                        {GetRedlichPetersonQAdsWithParams, {2.0, 0.6, 0.85}},
                        {GetDualSiteLangmuirQAdsWithParams, {3.0, 0.2, 1.0, 5.0}}};
  for (auto const& c : cases) {
    for (double P : {0.1, 1.7, 40.0}) {
      std::vector<SCurveFitParam> p;
      for (double v : c.p) p.push_back({v, true, 0.0});
      c.f(P, p);
      for (std::size_t k = 0; k < p.size(); ++k) {
        const double h = 1e-6 * c.p[k];
        auto up = p, down = p;
        up[k].value += h;
        down[k].value -= h;
        const double fd = (c.f(P, up) - c.f(P, down)) / (2 * h);
        EXPECT_TRUE(RelClose(p[k].derivative, fd, 1e-6)) << "parameter " << k << " at P " << P;
      }
    }
  }
  // The Sips exponent's derivative uses 1e-9 for ln(bP) when bP <= 0.
  std::vector<SCurveFitParam> p = {{5.0, true, 0}, {0.0, true, 0}, {0.8, true, 0}};
  GetSipsQAdsWithParams(1.0, p);
  EXPECT_EQ(p[2].derivative, 0.0);  // t = 0 there
}

TEST(IsothermModelSpreading, ClosedFormsAndRefinementAgreeWithQuadrature) {
  const auto pts = Points([](double P) { return CSips::GetModelQuantityAds(P, 5.0, 0.3, 0.8); });
  const CSips sips(pts);
  const CLangmuir lang(
      Points([](double P) { return CLangmuir::GetModelQuantityAds(P, 4.0, 0.3); }));
  const CDualSiteLangmuir dsl(Points(
      [](double P) { return CDualSiteLangmuir::GetModelQuantityAds(P, 3.0, 0.2, 1.0, 5.0); }));
  const CToth toth(Points([](double P) { return CToth::GetModelQuantityAds(P, 4.0, 0.8, 0.6); }));
  const CRedlichPeterson rp(
      Points([](double P) { return CRedlichPeterson::GetModelQuantityAds(P, 2.0, 0.6, 0.85); }));
  for (double P : {0.5, 3.0, 25.0}) {
    for (CModel const* m : std::initializer_list<CModel const*>{&sips, &lang, &dsl}) {
      const double exact = Quad([m](double x) { return m->GetModelQuantityAds(x); }, P);
      EXPECT_TRUE(RelClose(m->GetModelSpreadingPressure(P), exact, 1e-9)) << P;
    }
    // The refinement leaves out one midpoint a pass, so it only approaches the integral.
    for (CModel const* m : std::initializer_list<CModel const*>{&toth, &rp}) {
      const double exact = Quad([m](double x) { return m->GetModelQuantityAds(x); }, P);
      EXPECT_TRUE(RelClose(m->GetModelSpreadingPressure(P), exact, 1e-3)) << P;
    }
  }
  EXPECT_EQ(toth.GetModelSpreadingPressure(0.0), 0.0);
}

TEST(IsothermModelSpreading, LogGuardsAndRange) {
  const CLangmuir lang(
      Points([](double P) { return CLangmuir::GetModelQuantityAds(P, 4.0, 0.3); }));
  const double Qm = lang.GetMonoLayerQAds(), b = lang.GetLangmuirConstant();
  EXPECT_EQ(lang.GetModelSpreadingPressure(0.0), 0.0);
  EXPECT_TRUE(RelClose(lang.GetModelSpreadingPressure(-1.0 / b), Qm * 1e-9, 1e-12));
  EXPECT_TRUE(RelClose(lang.GetModelSpreadingPressure(-2.0 / b), Qm * 1e-9, 1e-12));
  const auto r0 = lang.GetModelSpreadingPressureRange(0.0, 10.0);
  EXPECT_EQ(r0.first, 0.0);
  EXPECT_EQ(r0.second, lang.GetModelSpreadingPressure(10.0));
  EXPECT_EQ(lang.GetModelSpreadingPressureRange(1.0, 10.0).first, 1e-6);
}

TEST(IsothermModelSpreading, MeasuredPointsSkipZeroPressures) {
  EXPECT_TRUE(GetSpreadingPressure({{1.0, 1.0}}).empty());
  const std::vector<SPressQAds> pts = {{1.0, 1.0}, {2.0, 2.0}, {0.0, 0.5}, {4.0, 3.0}, {8.0, 4.0}};
  const auto out = GetSpreadingPressure(pts);
  ASSERT_EQ(out.size(), 2u);  // (2 → 0) and (0 → 4) are skipped; the first point never appears
  const double first = 1.5 * std::log(2.0);
  EXPECT_EQ(out[0].pressure, 2.0);
  EXPECT_TRUE(RelClose(out[0].quantityAds, first, 1e-15));
  EXPECT_EQ(out[1].pressure, 8.0);
  EXPECT_TRUE(RelClose(out[1].quantityAds, first + 3.5 * std::log(2.0), 1e-15));
}

TEST(IsothermModelRoots, FindXTargetBracketsAndBisects) {
  auto linear = [](double x) { return x; };
  EXPECT_EQ(FindXTarget(linear, 0.0, 1e-4, 1.0), -1.0);
  EXPECT_EQ(FindXTarget(linear, 1.00001, 1e-4, 1.0), 1.0);  // start within tolerance
  const double down = FindXTarget(linear, 0.003, 1e-4, 1.0);
  EXPECT_LT(std::fabs(down - 0.003), 0.003e-4);
  const double up = FindXTarget(linear, 37.0, 1e-4, 1.0);
  EXPECT_LT(std::fabs(up - 37.0), 37e-4);
  EXPECT_EQ(FindXTarget(linear, 1e-30, 1e-4, 1.0), -1.0);  // beyond 20 decades down
  EXPECT_EQ(FindXTarget(linear, 1e30, 1e-4, 1.0), -1.0);   // and up
  // A target of 1/relTol or more is never bisected: 0, unless a bracket end already fits.
  EXPECT_EQ(FindXTarget(linear, 12345.0, 1e-4, 1.0), 0.0);
  EXPECT_EQ(FindXTarget(linear, 10000.0, 1e-4, 1.0), 10000.0);
  EXPECT_EQ(FindXTarget(linear, 20000.0, 1e-4, 20000.0), 20000.0);
  // A function that jumps over the target still ends.
  EXPECT_GT(FindXTarget([](double x) { return x < 2.0 ? 0.0 : 10.0; }, 5.0, 1e-4, 1.0), 0.0);
}

TEST(IsothermModelRoots, PressureFromSpreadingPressure) {
  const CLangmuir lang(
      Points([](double P) { return CLangmuir::GetModelQuantityAds(P, 4.0, 0.3); }));
  const double target = lang.GetModelSpreadingPressure(5.0);
  double P = 1.0, q = -1.0;
  ASSERT_TRUE(lang.GetModelPressureAndQuantityAds(target, P, q));
  EXPECT_TRUE(RelClose(lang.GetModelSpreadingPressure(P), target, 1e-4));
  EXPECT_EQ(q, lang.GetModelQuantityAds(P));
  double P2 = 1.0, q2 = -1.0;
  EXPECT_FALSE(lang.GetModelPressureAndQuantityAds(0.0, P2, q2));
  EXPECT_EQ(P2, 1.0);
  EXPECT_EQ(q2, -1.0);
}

}  // namespace
