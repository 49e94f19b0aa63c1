// Chemisorption: uptakes extrapolated from synthetic isotherms whose monolayer is known, the
// model fits, the dispersion arithmetic against a hand calculation, and the statuses of bad
// input.
#include "fiofla/gaschemi.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>

#include "test_util.h"

namespace {

using fiofla::EChemiModel;

constexpr double kAvogadro = 6.02214076e23;

double Langmuir(double qm, double k, double p) {
  return qm * k * p / (1.0 + k * p);
}

// Pressures of a typical hydrogen run: a few low points, then every 50 mmHg to 500.
std::vector<double> RunPressures(double offset = 0.0) {
  std::vector<double> p = {2.0, 5.0, 10.0, 25.0};
  for (double x = 50.0; x <= 500.0; x += 50.0) p.push_back(x);
  for (double& x : p) x += offset;
  return p;
}

// Strong Langmuir chemisorption (qs, ks) on top of a weak isotherm: reversible Langmuir (qw,
// kw) plus physisorption on the support rising linearly (slope cm³/g STP per mmHg).
struct Sample {
  double qs = 0.25, ks = 20.0;  // cm³/g STP, 1/mmHg
  double qw = 0.08, kw = 10.0;
  double slope = 1.5e-4;
  double Weak(double p) const { return Langmuir(qw, kw, p) + slope * p; }
  double Combined(double p) const { return Langmuir(qs, ks, p) + Weak(p); }
};

CSinfeltCalc::SInput InputOf(Sample const& s, std::vector<double> const& pc,
                             std::vector<double> const& pw) {
  CSinfeltCalc::SInput in;
  for (double p : pc) {
    in.m_CombinedPressures.push_back(p);
    in.m_CombinedQuantities.push_back(s.Combined(p));
  }
  for (double p : pw) {
    in.m_WeakPressures.push_back(p);
    in.m_WeakQuantities.push_back(s.Weak(p));
  }
  return in;
}

TEST(SinfeltUptake, ExtrapolatingTheLangmuirPlusLinearPlateauGivesTheCapacity) {
  const Sample s;
  const CSinfeltCalc calc(InputOf(s, RunPressures(), RunPressures()));
  ASSERT_TRUE(calc.IsOK()) << calc.GetMessage();
  // Over 100-400 mmHg the Langmuir parts are within 1/(k·100) of their capacities; the line
  // through the still-rising plateau undershoots by about as much again at zero pressure.
  EXPECT_REL_CLOSE(calc.GetUptake(CSinfeltCalc::eCombined), s.qs + s.qw, 2.0 / (s.kw * 100.0));
  EXPECT_REL_CLOSE(calc.GetUptake(CSinfeltCalc::eWeak), s.qw, 2.0 / (s.kw * 100.0));
  EXPECT_REL_CLOSE(calc.GetUptake(CSinfeltCalc::eStrong), s.qs, 2.0 / (s.ks * 100.0));
  // The weak was measured at the combined pressures, so the line through the differences is
  // the difference of the lines.
  EXPECT_NEAR(calc.GetUptakeDifference(), calc.GetUptake(CSinfeltCalc::eStrong), 1e-12);
  // The support's physisorption is the slope of the combined and weak lines, not the strong.
  EXPECT_REL_CLOSE(calc.GetLine(CSinfeltCalc::eCombined).m_Slope, s.slope, 0.05);
  EXPECT_REL_CLOSE(calc.GetLine(CSinfeltCalc::eWeak).m_Slope, s.slope, 0.05);
  EXPECT_LT(std::fabs(calc.GetLine(CSinfeltCalc::eStrong).m_Slope), 0.05 * s.slope);
  const auto& line = calc.GetLine(CSinfeltCalc::eCombined);
  EXPECT_EQ(line.m_Points, 7);  // 100, 150, ..., 400 inclusive
  EXPECT_GT(line.m_RSquared, 0.99);
  EXPECT_GT(line.m_InterceptError, 0.0);
  EXPECT_LT(line.m_InterceptError, 1e-3 * line.m_Intercept);
}

TEST(SinfeltUptake, NoisyRunsScatterAroundTheCapacityWithinTheirStandardErrors) {
  const Sample s;
  std::mt19937 rng(11);
  std::normal_distribution<double> noise(0.0, 0.002);  // cm³/g STP
  int within = 0;
  const int runs = 40;
  for (int r = 0; r < runs; ++r) {
    CSinfeltCalc::SInput in = InputOf(s, RunPressures(), {});
    for (double& q : in.m_CombinedQuantities) q += noise(rng);
    const CSinfeltCalc calc(in);
    ASSERT_TRUE(calc.IsOK()) << calc.GetMessage();
    const auto& line = calc.GetLine(CSinfeltCalc::eCombined);
    if (std::fabs(line.m_Intercept - (s.qs + s.qw)) < 2.0 * line.m_InterceptError) ++within;
  }
  // Two standard errors hold about 95 % of the runs; fewer than 80 % means wrong errors.
  EXPECT_GE(within, 32);
}

TEST(SinfeltUptake, TheWeakIsInterpolatedOntoTheCombinedPressures) {
  const Sample s;
  // The repeat run lands 3 mmHg higher at every point and stops at 303 mmHg.
  std::vector<double> pw;
  for (double p : RunPressures(3.0))
    if (p <= 303.0) pw.push_back(p);
  const CSinfeltCalc calc(InputOf(s, RunPressures(), pw));
  const auto& p = calc.GetPressures(CSinfeltCalc::eStrong);
  const auto& q = calc.GetQuantities(CSinfeltCalc::eStrong);
  // Combined points above the highest weak pressure have no strong point.
  ASSERT_EQ(p.size(), 10u);
  EXPECT_EQ(p.back(), 300.0);
  // Below the first weak point the weak runs straight from the origin to it.
  EXPECT_NEAR(q[0], s.Combined(2.0) - s.Weak(5.0) * 2.0 / 5.0, 1e-15);
  // Between points it is the straight line joining them.
  const double w = s.Weak(203.0) + (s.Weak(253.0) - s.Weak(203.0)) * (250.0 - 203.0) / 50.0;
  EXPECT_NEAR(q[8], s.Combined(250.0) - w, 1e-15);
  EXPECT_TRUE(calc.IsOK()) << calc.GetMessage();
}

// Each model's data give its parameters back, and the other models fit them worse.
TEST(SinfeltModels, EachModelFitsItsOwnIsothermExactly) {
  struct Case {
    EChemiModel model;
    std::vector<double> params;
  };
  const std::vector<Case> cases = {{EChemiModel::kLangmuir, {0.3, 0.05}},
                                   {EChemiModel::kLangmuirDissociative, {0.3, 0.02}},
                                   {EChemiModel::kFreundlich, {0.05, 3.0}},
                                   {EChemiModel::kTemkin, {0.04, 2.0}}};
  for (const Case& c : cases) {
    CSinfeltCalc::SInput in;
    for (double p : RunPressures()) {
      in.m_CombinedPressures.push_back(p);
      in.m_CombinedQuantities.push_back(fiofla::ChemiModelLoading(c.model, c.params, p));
    }
    const CSinfeltCalc calc(in);
    ASSERT_EQ(calc.GetModelFits().size(), 4u);  // no weak isotherm: combined fits only
    for (const auto& fit : calc.GetModelFits()) {
      EXPECT_EQ(fit.m_Isotherm, CSinfeltCalc::eCombined);
      if (fit.m_Model != c.model) {
        if (fit.m_Valid) EXPECT_LT(fit.m_RSquared, 1.0 - 1e-8) << fiofla::ChemiModelName(c.model);
        continue;
      }
      ASSERT_TRUE(fit.m_Valid) << fit.m_Message;
      EXPECT_EQ(fit.m_Points, 14);
      EXPECT_REL_CLOSE(fit.m_Parameters[0], c.params[0], 1e-7);
      EXPECT_REL_CLOSE(fit.m_Parameters[1], c.params[1], 1e-7);
      EXPECT_GT(fit.m_RSquared, 1.0 - 1e-12);
      EXPECT_LT(fit.m_RmsError, 1e-9);
    }
  }
}

TEST(SinfeltModels, StrongIsothermFitsAndShortIsotherms) {
  const Sample s;
  const CSinfeltCalc calc(InputOf(s, RunPressures(), RunPressures()));
  ASSERT_EQ(calc.GetModelFits().size(), 8u);
  const auto& strongLangmuir = calc.GetModelFits()[4];
  EXPECT_EQ(strongLangmuir.m_Isotherm, CSinfeltCalc::eStrong);
  EXPECT_EQ(strongLangmuir.m_Model, EChemiModel::kLangmuir);
  ASSERT_TRUE(strongLangmuir.m_Valid) << strongLangmuir.m_Message;
  EXPECT_REL_CLOSE(strongLangmuir.m_Parameters[0], s.qs, 1e-7);
  EXPECT_REL_CLOSE(strongLangmuir.m_Parameters[1], s.ks, 1e-6);

  // An isotherm that falls has no Langmuir capacity: the fit runs to q_m = 0 and says so.
  CSinfeltCalc::SInput falling;
  for (double p : RunPressures()) {
    falling.m_CombinedPressures.push_back(p);
    falling.m_CombinedQuantities.push_back(-Langmuir(0.2, 1.0, p));
  }
  const CSinfeltCalc fallingCalc(falling);
  const auto& fallingLangmuir = fallingCalc.GetModelFits()[0];
  EXPECT_FALSE(fallingLangmuir.m_Valid);
  EXPECT_EQ(fallingLangmuir.m_Message, "the fit ran to a limit of the model: q_m = 0");

  CSinfeltCalc::SInput in;
  in.m_CombinedPressures = {120.0, 300.0};
  in.m_CombinedQuantities = {0.2, 0.21};
  const CSinfeltCalc two(in);
  EXPECT_TRUE(two.IsOK());  // two points make an exact line ...
  EXPECT_TRUE(std::isnan(two.GetLine(CSinfeltCalc::eCombined).m_InterceptError));
  for (const auto& fit : two.GetModelFits()) {  // ... but no model fit
    EXPECT_FALSE(fit.m_Valid);
    EXPECT_NE(fit.m_Message.find("needs three points"), std::string::npos) << fit.m_Message;
  }
}

TEST(SinfeltStatus, BadInputsGiveAStatusAndAMessageNamingTheValues) {
  const Sample s;
  {
    CSinfeltCalc::SInput in = InputOf(s, RunPressures(), {});
    in.m_RangeLow = 600.0;
    in.m_RangeHigh = 800.0;
    const CSinfeltCalc calc(in);
    EXPECT_EQ(calc.GetStatus(), CSinfeltCalc::eCombinedNotInRange);
    EXPECT_EQ(calc.GetMessage(),
              "0 combined point(s) in the extrapolation range 600 to 800 mmHg (the isotherm "
              "spans 2 to 500 mmHg); two at different pressures are needed");
    EXPECT_EQ(calc.GetUptake(CSinfeltCalc::eCombined), 0.0);
  }
  {
    CSinfeltCalc::SInput in = InputOf(s, RunPressures(), {});
    in.m_RangeLow = 300.0;
    in.m_RangeHigh = 100.0;
    const CSinfeltCalc calc(in);
    EXPECT_EQ(calc.GetStatus(), CSinfeltCalc::eBadRange);
    EXPECT_NE(calc.GetMessage().find("300 to 100 mmHg"), std::string::npos) << calc.GetMessage();
  }
  {
    CSinfeltCalc::SInput in;
    in.m_CombinedPressures = {100.0, NAN, 300.0};
    in.m_CombinedQuantities = {0.2, 0.3, NAN};
    const CSinfeltCalc calc(in);
    EXPECT_EQ(calc.GetStatus(), CSinfeltCalc::eTooFewCombined);
    EXPECT_NE(calc.GetMessage().find("has 1 point(s)"), std::string::npos) << calc.GetMessage();
  }
  {
    // Weak and combined swapped: the weak is now above by the whole strong uptake.
    CSinfeltCalc::SInput in = InputOf(s, RunPressures(), RunPressures());
    std::swap(in.m_CombinedQuantities, in.m_WeakQuantities);
    const CSinfeltCalc calc(in);
    EXPECT_EQ(calc.GetStatus(), CSinfeltCalc::eWeakAboveCombined);
    EXPECT_NE(calc.GetMessage().find("the weak isotherm lies above the combined one"),
              std::string::npos)
        << calc.GetMessage();
    EXPECT_NE(calc.GetMessage().find("by 0.249975 cm3/g STP at 500 mmHg"), std::string::npos)
        << calc.GetMessage();
    // Within the tolerance (1 % of the largest combined quantity) noise is let through.
    in = InputOf(s, RunPressures(), RunPressures());
    for (std::size_t i = 0; i < in.m_WeakQuantities.size(); ++i)
      in.m_WeakQuantities[i] = in.m_CombinedQuantities[i] + 0.002;
    EXPECT_EQ(CSinfeltCalc(in).GetStatus(), CSinfeltCalc::eOK);
  }
  {
    // The weak run stopped early: no weak and no strong point above 150 mmHg.
    std::vector<double> pw = {5.0, 50.0, 150.0};
    CSinfeltCalc::SInput in = InputOf(s, RunPressures(), pw);
    in.m_RangeLow = 200.0;
    const CSinfeltCalc calc(in);
    EXPECT_EQ(calc.GetStatus(), CSinfeltCalc::eWeakNotInRange);
    EXPECT_TRUE(calc.GetLine(CSinfeltCalc::eCombined).m_Valid);
    EXPECT_FALSE(calc.GetLine(CSinfeltCalc::eStrong).m_Valid);
    EXPECT_EQ(calc.GetUptakeDifference(), 0.0);
  }
}

// 1 wt% Pt with half its atoms exposed: 51.26 µmol Pt/g, 25.63 µmol/g of them on the
// surface, 12.815 µmol H2/g at two Pt per H2.
TEST(ActiveSurface, PlatinumAgainstAHandCalculation) {
  const auto pt = fiofla::FindMetal("Pt");
  ASSERT_TRUE(pt);
  CActiveSurfaceCalc::SInput in = CActiveSurfaceCalc::InputFor(*pt);
  EXPECT_DOUBLE_EQ(in.m_AtomAreaNm2, 0.08);
  in.m_MetalLoadingPercent = 1.0;
  in.m_Stoichiometry = *fiofla::ChemisorptionStoichiometry("H2");
  const double metalUmol = 0.01 / 195.084 * 1e6;
  in.m_Uptake = 0.5 * metalUmol / 2.0;
  const CActiveSurfaceCalc calc(in);
  ASSERT_TRUE(calc.IsOK()) << calc.GetMessage();
  EXPECT_REL_CLOSE(calc.GetDispersionPercent(), 50.0, 1e-12);
  EXPECT_REL_CLOSE(calc.GetSurfaceAtomsMicromolPerG(), 0.5 * metalUmol, 1e-12);
  // Area: exposed atoms × 0.08 nm², 123.48 m² per g of Pt at D = 0.5.
  const double perGMetal = 0.5 * kAvogadro * 0.08e-18 / 195.084;
  EXPECT_REL_CLOSE(calc.GetAreaM2PerGMetal(), perGMetal, 1e-12);
  EXPECT_REL_CLOSE(calc.GetAreaM2PerGSample(), 0.01 * perGMetal, 1e-12);
  EXPECT_NEAR(perGMetal, 123.48, 0.01);
  // Spheres: d = 6 V/A = 6 / (ρ · area per g), and for platinum d = 1.133 nm / D.
  const double d = 6.0 / (21.45e6 * perGMetal) * 1e9;  // ρ in g/m³, d in nm
  EXPECT_REL_CLOSE(calc.GetCrystalliteSizeNm(), d, 1e-12);
  EXPECT_NEAR(calc.GetCrystalliteSizeNm() * 0.5, 1.133, 0.0005);

  // The same uptake in cm³ STP, a cube or hemisphere, and CO, one Pt per molecule.
  in.m_Uptake /= fiofla::kMicromolPerCm3Stp;
  in.m_UptakeUnit = CActiveSurfaceCalc::eCm3StpPerGram;
  in.m_ShapeFactor = 5.0;
  const CActiveSurfaceCalc cube(in);
  EXPECT_REL_CLOSE(cube.GetDispersionPercent(), 50.0, 1e-12);
  EXPECT_REL_CLOSE(cube.GetCrystalliteSizeNm(), d * 5.0 / 6.0, 1e-12);
  in.m_Stoichiometry = *fiofla::ChemisorptionStoichiometry("carbon monoxide");
  EXPECT_REL_CLOSE(CActiveSurfaceCalc(in).GetDispersionPercent(), 25.0, 1e-12);
}

TEST(ActiveSurface, MetalTableAndGasNames) {
  ASSERT_GE(fiofla::MetalTable().size(), 11u);
  for (const char* symbol : {"Pt", "Pd", "Ni", "Rh", "Ru", "Ir", "Cu", "Ag", "Au", "Co", "Fe"}) {
    const auto m = fiofla::FindMetal(symbol);
    ASSERT_TRUE(m) << symbol;
    EXPECT_GT(m->molarMassGPerMol, 50.0) << symbol;
    EXPECT_LT(m->molarMassGPerMol, 200.0) << symbol;
    EXPECT_GT(m->densityGPerCm3, 7.0) << symbol;
    EXPECT_LT(m->densityGPerCm3, 23.0) << symbol;
    // Surface atoms of close-packed metals: 0.06 to 0.09 nm² each.
    EXPECT_GT(m->AtomAreaNm2(), 0.06) << symbol;
    EXPECT_LT(m->AtomAreaNm2(), 0.09) << symbol;
    EXPECT_EQ(fiofla::FindMetal(m->name)->symbol, symbol);
  }
  EXPECT_EQ(fiofla::FindMetal("PLATINUM")->symbol, "Pt");
  EXPECT_FALSE(fiofla::FindMetal("unobtainium"));
  EXPECT_EQ(*fiofla::ChemisorptionStoichiometry("h2"), 2.0);
  EXPECT_EQ(*fiofla::ChemisorptionStoichiometry("CO"), 1.0);
  EXPECT_EQ(*fiofla::ChemisorptionStoichiometry("Oxygen"), 2.0);
  EXPECT_FALSE(fiofla::ChemisorptionStoichiometry("argon"));
}

TEST(ActiveSurface, BadInputsGiveAStatusAndAMessageNamingTheValue) {
  const CActiveSurfaceCalc::SInput good = [] {
    CActiveSurfaceCalc::SInput in = CActiveSurfaceCalc::InputFor(*fiofla::FindMetal("Ni"));
    in.m_Uptake = 20.0;
    in.m_MetalLoadingPercent = 10.0;
    return in;
  }();
  ASSERT_TRUE(CActiveSurfaceCalc(good).IsOK());
  struct Case {
    void (*spoil)(CActiveSurfaceCalc::SInput&);
    CActiveSurfaceCalc::EStatus status;
    const char* message;
  };
  const Case cases[] = {
      {[](auto& in) { in.m_MetalLoadingPercent = 0.0; }, CActiveSurfaceCalc::eBadLoading,
       "metal loading 0 wt% is not above 0 and at most 100 wt%"},
      {[](auto& in) { in.m_MetalLoadingPercent = 100.5; }, CActiveSurfaceCalc::eBadLoading,
       "metal loading 100.5 wt% is not above 0 and at most 100 wt%"},
      {[](auto& in) { in.m_MetalLoadingPercent = NAN; }, CActiveSurfaceCalc::eBadLoading,
       "metal loading nan wt% is not above 0 and at most 100 wt%"},
      {[](auto& in) { in.m_Uptake = 0.0; }, CActiveSurfaceCalc::eBadUptake,
       "uptake 0 is not a positive number"},
      {[](auto& in) { in.m_Stoichiometry = -2.0; }, CActiveSurfaceCalc::eBadStoichiometry,
       "stoichiometry -2 (metal atoms per gas molecule) is not a positive number"},
      {[](auto& in) { in.m_DensityGPerCm3 = 0.0; }, CActiveSurfaceCalc::eBadMetal,
       "metal density 0 is not a positive number"},
      {[](auto& in) { in.m_AtomAreaNm2 = INFINITY; }, CActiveSurfaceCalc::eBadMetal,
       "metal atomic cross-sectional area inf is not a positive number"},
      {[](auto& in) { in.m_ShapeFactor = 0.0; }, CActiveSurfaceCalc::eBadShapeFactor,
       "shape factor 0 is not a positive number"},
  };
  for (const Case& c : cases) {
    CActiveSurfaceCalc::SInput in = good;
    c.spoil(in);
    const CActiveSurfaceCalc calc(in);
    EXPECT_EQ(calc.GetStatus(), c.status) << c.message;
    EXPECT_EQ(calc.GetMessage(), c.message);
    EXPECT_EQ(calc.GetDispersionPercent(), 0.0);
    EXPECT_EQ(calc.GetCrystalliteSizeNm(), 0.0);
  }
  // 100 wt% is a metal powder, which is allowed.
  CActiveSurfaceCalc::SInput powder = good;
  powder.m_MetalLoadingPercent = 100.0;
  EXPECT_TRUE(CActiveSurfaceCalc(powder).IsOK());
}

}  // namespace
