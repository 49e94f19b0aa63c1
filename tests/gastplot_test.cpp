#include "fiofla/gastplot.h"

#include <cmath>
#include <limits>
#include <vector>

#include "test_util.h"

namespace {

using TF = CThicknessFunction;

// Published nitrogen 77 K thickness curves in angstroms, written out independently of the
// library: Halsey 1948; Harkins and Jura 1944; carbon black STSA (Magee 1995, ASTM D6556);
// Kruk, Jaroniec and Sayari 1997; Broekhoff and de Boer 1967,
// log10 x = -16.11 / t^2 + 0.1682 exp(-0.1137 t), whose right side rises with t (bisection).
double BdbFromLog(double log10x) {
  double lo = 0.3, hi = 500.0;
  for (int i = 0; i < 200; ++i) {
    const double mid = 0.5 * (lo + hi);
    (-16.11 / (mid * mid) + 0.1682 * std::exp(-0.1137 * mid) < log10x ? lo : hi) = mid;
  }
  return 0.5 * (lo + hi);
}
double Published(TF::EType type, double x) {
  switch (type) {
    case TF::eHalsey:
      return 3.54 * std::pow(-5.0 / std::log(x), 0.333);
    case TF::eCarbon:
      return 0.88 * x * x + 6.45 * x + 2.98;
    case TF::eBroekhoffDeBoer:
      return BdbFromLog(std::log10(x));
    case TF::eKrukJaroniecSayari:
      return std::pow(60.65 / (0.03071 - std::log10(x)), 0.3968);
    default:  // Harkins-Jura; the user tables below tabulate it too
      return std::sqrt(13.99 / (0.034 - std::log10(x)));
  }
}
const TF::EType kAllTypes[] = {TF::eHalsey,          TF::eHarkinsJura, TF::eCarbon,
                               TF::eBroekhoffDeBoer, TF::eUserDefined, TF::eKrukJaroniecSayari};

// Loads Harkins-Jura at P/Po 0.01 ... 0.95 as the user table of curve. (A curve returned by
// value would keep its table only through copy elision, since copies drop it.)
TF& LoadTable(TF& curve) {
  CNumVector<double> p(95), t(95);
  for (int i = 0; i < 95; ++i) t[i] = Published(TF::eHarkinsJura, p[i] = 0.01 * (i + 1));
  curve.SetUserDefinedThicknessCurve(p, t);
  return curve;
}

constexpr double kD = 0.0015468;  // nitrogen: cm3 liquid per cm3 STP

// Solid with external area S (m2/g) and micropore volume V (cm3/g): q = V/D + S t/(D 1e4).
CTPlotCalc::SInput Isotherm(TF const* curve, TF::EType shape, double area, double micro,
                            double tMin, double tMax) {
  CTPlotCalc::SInput in;
  for (int i = 1; i <= 45; ++i) {
    in.m_RelPress.push_back(0.02 * i);
    in.m_QtyAdsorbed.push_back(micro / kD + area * Published(shape, 0.02 * i) / (kD * 1e4));
  }
  in.m_DensityConversion = kD;
  in.m_pThickness = curve;
  in.m_ThicknessMin = tMin;
  in.m_ThicknessMax = tMax;
  in.m_TotalSurfaceArea = 500.0;
  return in;
}

TEST(ThicknessCurves, DefaultsFollowThePublishedCurves) {
  for (TF::EType type : kAllTypes) {
    TF curve(type);
    if (type == TF::eUserDefined) LoadTable(curve);
    const double tol = type == TF::eBroekhoffDeBoer ? 1e-6
                       : type == TF::eUserDefined   ? 1e-4
                                                    : 1e-13;
    for (double x : {0.1, 0.4, 0.9})
      EXPECT_REL_CLOSE(curve.EvalAt(x), Published(type, x), tol) << "type " << type << " x " << x;
    // Each film thickens as the pressure rises.
    for (double x = 0.04; x < 0.95; x += 0.02) EXPECT_GT(curve.EvalAt(x), curve.EvalAt(x - 0.02));
  }
  const double hj = TF(TF::eHarkinsJura).EvalAt(0.5);
  EXPECT_NEAR(hj, 6.46, 0.005);
  EXPECT_REL_CLOSE(hj, std::sqrt(13.99 / (0.034 + std::log10(2.0))), 1e-14);
  // Edited parameters change the curve until SetParamDefaults restores the published ones.
  TF edited(TF::eHarkinsJura);
  edited.m_A = 20.0;
  EXPECT_GT(edited.EvalAt(0.5), hj);
  edited.SetParamDefaults();
  EXPECT_EQ(edited.EvalAt(0.5), hj);
}

TEST(ThicknessCurves, Guards) {
  for (TF::EType type : {TF::eHalsey, TF::eHarkinsJura, TF::eKrukJaroniecSayari}) {
    const TF curve(type);
    EXPECT_REL_CLOSE(curve.EvalAt(1e-10), Published(type, 1e-10), 1e-13);
    for (double x : {0.99e-10, 0.0, std::numeric_limits<double>::quiet_NaN()})
      EXPECT_EQ(curve.EvalAt(x), 0.0) << "type " << type << " x " << x;
  }
  EXPECT_EQ(TF(TF::eCarbon).EvalAt(0.0), 2.98);  // no guard on the polynomial
  // Broekhoff-de Boer takes log10 x = -10 unless x is strictly above 1e-10.
  const TF bdb(TF::eBroekhoffDeBoer);
  bool failed = true;
  const double floorT = bdb.BDBSolve(5.0, -10.0, &failed);
  EXPECT_FALSE(failed);
  EXPECT_REL_CLOSE(floorT, BdbFromLog(-10.0), 1e-6);
  for (double x : {1e-10, 1e-11, 0.0}) EXPECT_EQ(bdb.EvalAt(x), floorT);
  EXPECT_EQ(bdb.EvalAt(2e-10), bdb.BDBSolve(5.0, std::log10(2e-10), &failed));
  // A user table answers up to 1e-7 beyond either end, -1.0 further out.
  TF table(TF::eUserDefined);
  LoadTable(table);
  EXPECT_GT(table.EvalAt(0.95 + 5e-8), 0.0);
  EXPECT_GT(table.EvalAt(0.01 - 5e-8), 0.0);
  EXPECT_EQ(table.EvalAt(0.95 + 2e-7), -1.0);
  EXPECT_EQ(table.EvalAt(0.01 - 2e-7), -1.0);
  // One point defines no curve; an unknown type is not usable and evaluates to 0.
  TF single(TF::eUserDefined);
  single.SetUserDefinedThicknessCurve(CNumVector<double>{0.5}, CNumVector<double>{6.0});
  EXPECT_FALSE(single.OK());
  EXPECT_EQ(single.EvalAt(0.5), -1.0);
  TF unknown(TF::eHalsey);
  unknown.m_Type = static_cast<TF::EType>(6);
  EXPECT_FALSE(unknown.OK());
  EXPECT_EQ(unknown.EvalAt(0.5), 0.0);
}

TEST(ThicknessCurves, CopiesCarryParametersButNotTheUserTable) {
  TF source(TF::eUserDefined);
  LoadTable(source);
  TF copy(source);
  EXPECT_EQ(copy.m_Type, TF::eUserDefined);
  EXPECT_FALSE(copy.OK());
  EXPECT_EQ(copy.m_Interp.Type(), CNumInterpolate::eLinear);
  EXPECT_EQ(copy.EvalAt(0.5), -1.0);
  copy.SetUserDefinedThicknessCurve(CNumVector<double>{0.1, 0.9}, CNumVector<double>{3.0, 11.0});
  EXPECT_REL_CLOSE(copy.EvalAt(0.7), 9.0, 1e-14);  // linear between the two points
  // Assignment copies parameters and type; the target keeps its own table.
  TF halsey(TF::eHalsey);
  halsey.m_B = 4.0;
  TF target(TF::eUserDefined);
  LoadTable(target);
  target = halsey;
  EXPECT_EQ(target.EvalAt(0.3), halsey.EvalAt(0.3));
  EXPECT_EQ(target.m_UserRelPress.size(), 95u);
  target = source;
  EXPECT_EQ(target.EvalAt(0.37), source.EvalAt(0.37));
  TF& alias = target;
  target = alias;
  EXPECT_TRUE(target.OK());
}

TEST(BroekhoffDeBoer, NewtonSolver) {
  const TF bdb(TF::eBroekhoffDeBoer);
  for (double x : {1e-6, 0.3, 0.95, 0.99}) {
    bool failed = true;
    const double t = bdb.BDBSolve(5.0, std::log10(x), &failed);
    if (!failed) EXPECT_LT(std::fabs(bdb.BDBFunc(std::log10(x), t)), 1e-6);
    EXPECT_REL_CLOSE(bdb.EvalAt(x), Published(TF::eBroekhoffDeBoer, x), 1e-6) << x;
  }
  for (double t : {1.0, 6.0, 25.0}) {  // derivative against a central difference
    const double h = 1e-6 * t;
    EXPECT_REL_CLOSE(bdb.BDBDeriv(-0.4, t),
                     (bdb.BDBFunc(-0.4, t + h) - bdb.BDBFunc(-0.4, t - h)) / (2 * h), 1e-7);
  }
  bool failed = false;  // f'(0) = 0: failure and an undefined step
  EXPECT_FALSE(std::isfinite(bdb.BDBSolve(0.0, -0.3, &failed)));
  EXPECT_TRUE(failed);
  failed = false;  // beyond 1e6: flagged, one step taken, then stop
  const double step = 2e6 - bdb.BDBFunc(-0.3, 2e6) / bdb.BDBDeriv(-0.3, 2e6);
  EXPECT_EQ(bdb.BDBSolve(2e6, -0.3, &failed), step);
  EXPECT_TRUE(failed);
  const double root = Published(TF::eBroekhoffDeBoer, 0.4);
  EXPECT_EQ(bdb.BDBSolve(root, std::log10(0.4), nullptr), root);  // already converged
  // Above saturation f > 0 for all t > 0; Newton may settle on a negative, unphysical root.
  EXPECT_LT(bdb.EvalAt(10.0), 0.0);
  TF positiveA(TF::eBroekhoffDeBoer);  // f(0) = -a < 0: no value anywhere
  positiveA.m_A = 16.11;
  for (double x : {1e-12, 0.5, 0.9}) EXPECT_EQ(positiveA.EvalAt(x), -1.0);
}

TEST(TPlot, RecoversAreaAndMicroporeVolume) {
  for (TF::EType type : kAllTypes) {
    TF curve(type);
    if (type == TF::eUserDefined) LoadTable(curve);
    const double tol = type == TF::eBroekhoffDeBoer ? 1e-5 : 1e-9;
    const double lo = Published(type, 0.1), hi = Published(type, 0.6);
    const CTPlotCalc flat(Isotherm(&curve, type, 120.0, 0.0, lo, hi));
    EXPECT_EQ(flat.m_Status, 0) << type;
    EXPECT_REL_CLOSE(flat.m_ExternalArea, 120.0, tol);
    EXPECT_NEAR(flat.m_MicroporeVolume, 0.0, tol);
    CTPlotCalc::SInput in = Isotherm(&curve, type, 40.0, 0.2, lo, hi);
    const CTPlotCalc micro(in);
    EXPECT_REL_CLOSE(micro.m_MicroporeVolume, 0.2, tol);
    EXPECT_REL_CLOSE(micro.m_MicroporeArea, 460.0, tol);
    EXPECT_REL_CLOSE(micro.m_MicroporeVolumeError, micro.m_InterceptError * kD, 1e-15);
    in.m_SurfaceAreaCorrection = 2.0;
    EXPECT_REL_CLOSE(CTPlotCalc(in).m_ExternalArea, 20.0, tol);
  }
}

TEST(TPlot, StatusValues) {
  const TF curve(TF::eHarkinsJura);
  EXPECT_EQ(CTPlotCalc().m_Status, 2);
  // 5: no curve, or an unusable one (a copied user table), before the point count.
  CTPlotCalc::SInput in = Isotherm(nullptr, TF::eHarkinsJura, 100.0, 0.0, 3.5, 5.0);
  in.m_RelPress.resize(1);
  EXPECT_EQ(CTPlotCalc(in).m_Status, 5);
  TF user(TF::eUserDefined);
  const TF copiedUser(LoadTable(user));
  in.m_pThickness = &copiedUser;
  EXPECT_EQ(CTPlotCalc(in).m_Status, 5);
  // 3: fewer than two points; no thickness computed.
  in.m_pThickness = &curve;
  EXPECT_EQ(CTPlotCalc(in).m_Status, 3);
  EXPECT_TRUE(CTPlotCalc(in).m_Thickness.empty());
  // 4: range holds fewer than two points; every thickness still computed, results zero.
  in = Isotherm(&curve, TF::eHarkinsJura, 100.0, 0.0, 20.0, 30.0);
  const CTPlotCalc four(in);
  EXPECT_EQ(four.m_Status, 4);
  EXPECT_EQ(four.m_Thickness[10], curve.EvalAt(in.m_RelPress[10]));
  EXPECT_EQ(four.m_ExternalArea, 0.0);
  // Negative quantities in range are skipped: one non-negative point left gives 4 as well.
  in = Isotherm(&curve, TF::eHarkinsJura, 100.0, 0.0, 3.5, 5.0);
  for (std::size_t i = 0, kept = 0; i < in.m_RelPress.size(); ++i) {
    const double t = curve.EvalAt(in.m_RelPress[i]);
    if (t >= 3.5 && t <= 5.0 && kept++ > 0) in.m_QtyAdsorbed[i] = -1.0;
  }
  EXPECT_EQ(CTPlotCalc(in).m_Status, 4);
  // 1: total area not positive; results stand, micropore area = -external area.
  in = Isotherm(&curve, TF::eHarkinsJura, 100.0, 0.0, 3.5, 5.0);
  in.m_TotalSurfaceArea = 0.0;
  const CTPlotCalc one(in);
  EXPECT_EQ(one.m_Status, 1);
  EXPECT_REL_CLOSE(one.m_ExternalArea, 100.0, 1e-9);
  EXPECT_EQ(one.m_MicroporeArea, -one.m_ExternalArea);
  // 0, also for a vertical fit (all points at one thickness), which reports zeros.
  in.m_TotalSurfaceArea = 1.0;
  std::fill(in.m_RelPress.begin(), in.m_RelPress.end(), 0.3);
  in.m_ThicknessMax = 10.0;
  const CTPlotCalc vertical(in);
  EXPECT_EQ(vertical.m_Status, 0);
  EXPECT_EQ(vertical.m_Slope, 0.0);
}

// No hidden limit: past 65,535 points every point still takes part in the fit.
TEST(TPlot, FitTakesEveryPointHoweverMany) {
  const TF curve(TF::eCarbon);
  CTPlotCalc::SInput in;
  in.m_pThickness = &curve;
  in.m_ThicknessMax = 100.0;
  for (int i = 0; i < 70000; ++i) {  // the last 4,465 points alone lie on q = 20 t
    in.m_RelPress.push_back(0.1 + 0.0008 * (i % 1000));
    in.m_QtyAdsorbed.push_back((i < 65535 ? 10.0 : 20.0) *
                               Published(TF::eCarbon, in.m_RelPress.back()));
  }
  const CTPlotCalc plot(in);
  EXPECT_EQ(plot.m_Thickness.size(), 70000u);
  // With every point the slope lies between 10 and 20; the first 65,535 alone gave 10.
  EXPECT_GT(plot.m_Slope, 10.5);
  EXPECT_LT(plot.m_Slope, 20.0);
}

}  // namespace
