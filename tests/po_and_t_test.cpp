#include "fiofla/po_and_t.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <memory>
#include <vector>

#include "test_util.h"

namespace {

using Stamps = std::vector<CTimeInterval>;

constexpr double kNormalBoilingT = 77.35;  // K, where the nitrogen-like gas has 760 mmHg

// Clausius-Clapeyron saturation lines ln P = ln P0 + B (1/T0 - 1/T), mmHg and K. Both the
// two-pair curve fit and the gas table reproduce this form exactly, so expectations come
// from the closed forms instead of from the code under test.
double NitrogenLike(double T) {
  return 760.0 * std::exp(700.0 * (1.0 / kNormalBoilingT - 1.0 / T));
}
double NitrogenLikeT(double P) {
  return 1.0 / (1.0 / kNormalBoilingT - std::log(P / 760.0) / 700.0);
}
double ArgonLike(double T) {
  return 230.0 * std::exp(800.0 * (1.0 / kNormalBoilingT - 1.0 / T));
}
double ArgonSolidLike(double T) {
  return 180.0 * std::exp(950.0 * (1.0 / kNormalBoilingT - 1.0 / T));
}

Stamps Minutes(std::vector<double> const& minutes) {
  Stamps s;
  for (double m : minutes) s.push_back(CTimeInterval::FromSeconds(60.0 * m));
  return s;
}

CTimeInterval Ms(std::uint32_t ms) {
  return CTimeInterval(ms);
}

// Two pairs: the fit is ln P = a + b/T through both, i.e. the closed form above.
CPsatVsT Curve(double (*psat)(double)) {
  CPsatVsT curve;
  curve.Append(psat(70.0), 70.0);
  curve.Append(psat(84.0), 84.0);
  return curve;
}

CGasCompressibilityTable Gas(double (*psat)(double), double tcrit, double pcrit) {
  CNumMatrix<double> z(2, 3);
  for (std::size_t j = 0; j < 3; ++j) z(0, j) = z(1, j) = 1.0;
  CGasCompressibilityTable gas;
  gas.Set({0.0, 1000.0}, {70.0, 77.35, 84.0}, z);
  gas.InitializeRows();
  for (std::size_t j = 0; j < 3; ++j) gas.m_vPsat[j] = psat(gas.m_vTemperatures[j]);
  gas.m_dTcrit = tcrit;
  gas.m_dPcrit = pcrit;
  return gas;
}

// Curve search stops within 1e-5 in pressure: about 1e-6 in T, 1e-5 in a derived Po.
constexpr double kCurveTTol = 1e-5;
constexpr double kCurvePoTol = 5e-5;

}  // namespace

TEST(MeasuredPo, InterpolatesLinearlyInWholeMinutes) {
  const CMeasuredPo two({700.0, 710.0}, {Ms(0), Ms(90000)}, 77.35, 295.0);
  // 60 s and 30 s are minutes 1 and 0 of a 0..1 minute span: the end values, not 706.7/703.3.
  EXPECT_EQ(two.GetPo(Ms(60000)), 710.0);
  EXPECT_EQ(two.GetPo(Ms(30000)), 700.0);

  // Across minutes the line through the neighbours, at any query within a minute.
  const CMeasuredPo three({700.0, 720.0, 690.0}, Minutes({0, 2, 5}), 77.35, 295.0);
  EXPECT_DOUBLE_EQ(three.InterpolatePsat(Ms(60000)), 710.0);
  EXPECT_DOUBLE_EQ(three.InterpolatePsat(Ms(60000 + 59999)), 710.0);
  EXPECT_DOUBLE_EQ(three.InterpolatePsat(Ms(180000)), 710.0);  // 720 + 1/3 (690 - 720)
  EXPECT_DOUBLE_EQ(three.InterpolatePsat(Ms(240000)), 700.0);
  for (std::size_t k = 0; k < 3; ++k)  // every stamp gives its own value
    EXPECT_DOUBLE_EQ(three.InterpolatePsat(three.GetTimes()[k]), three.GetValues()[k]) << k;

  // Outside the stamps the end values hold.
  const CMeasuredPo late({700.0, 710.0}, Minutes({1, 3}), 77.35, 295.0);
  EXPECT_EQ(late.GetPo(Ms(59999)), 700.0);
  EXPECT_EQ(late.GetPo(Ms(0)), 700.0);
  EXPECT_EQ(late.GetPo(Ms(180000)), 710.0);
  EXPECT_EQ(late.GetPo(CTimeInterval(CTimeInterval::kMaxMilliseconds)), 710.0);

  // Two stamps in one minute around the query: the earlier value, no slope.
  const CMeasuredPo sameMinute({700.0, 710.0, 730.0}, {Ms(61000), Ms(119000), Ms(300000)}, 77.35,
                               295.0);
  EXPECT_EQ(sameMinute.GetPo(Ms(90000)), 700.0);
  EXPECT_DOUBLE_EQ(sameMinute.GetPo(Ms(180000)), 720.0);  // next span still interpolates
}

TEST(MeasuredPo, DegenerateListsGiveNoValueWithoutReadingOutOfRange) {
  const CMeasuredPo empty({}, {}, 77.35, 295.0);
  EXPECT_EQ(empty.GetPo(Ms(60000)), 0.0);
  EXPECT_TRUE(std::isnan(empty.GetAveragePsat()));
  EXPECT_TRUE(std::isnan(empty.GetAveragePo()));

  // More values than stamps: interpolation stops at the last stamp, the mean uses all.
  const CMeasuredPo longer({700.0, 710.0, 900.0}, Minutes({0, 1}), 77.35, 295.0);
  EXPECT_EQ(longer.GetPo(Ms(600000)), 710.0);
  EXPECT_DOUBLE_EQ(longer.GetAveragePo(), 770.0);
  // More stamps than values: never past the last value.
  const CMeasuredPo shorter({700.0, 710.0}, Minutes({0, 1, 2, 3}), 77.35, 295.0);
  EXPECT_EQ(shorter.GetPo(Ms(150000)), 710.0);
  EXPECT_EQ(shorter.GetPo(Ms(600000)), 710.0);
}

TEST(MeasuredPo, AdjustmentShiftsEveryValueAndKeepsTheShape) {
  const std::vector<double> raw = {700.5, 702.0, 701.25, 699.0};
  const CMeasuredPo measured(raw, Minutes({0, 2, 4, 6}), 77.35, 295.0);
  EXPECT_DOUBLE_EQ(measured.GetAveragePo(), (700.5 + 702.0 + 701.25 + 699.0) / 4.0);

  // Minute 3 lies halfway between 702.0 and 701.25.
  const CAdjustedPo adjusted(raw, Minutes({0, 2, 4, 6}), 760.0, Ms(180000), 77.1, 294.0);
  EXPECT_DOUBLE_EQ(adjusted.GetPo(Ms(180000)), 760.0);
  const double offset = 760.0 - 701.625;
  for (std::size_t k = 0; k < raw.size(); ++k)
    EXPECT_DOUBLE_EQ(adjusted.GetValues()[k], raw[k] + offset) << k;
  EXPECT_DOUBLE_EQ(adjusted.GetAveragePo(), measured.GetAveragePo() + offset);
  EXPECT_EQ(adjusted.GetAnalysisTemperature(), 77.1);
  EXPECT_EQ(adjusted.GetAmbientTemperature(), 294.0);
}

TEST(MeasuredPo, AnalysisTemperatureFollowsTheMeanThroughCurveOrGas) {
  const CPsatVsT curve = Curve(NitrogenLike);
  const CGasCompressibilityTable gas = Gas(NitrogenLike, 126.2, 25000.0);
  const std::vector<double> raw = {750.0, 756.0, 762.0};  // mean 756
  const Stamps stamps = Minutes({0, 2, 4});

  const CMeasuredPo fromCurve(raw, stamps, curve, 295.0);
  EXPECT_REL_CLOSE(fromCurve.GetAnalysisTemperature(), NitrogenLikeT(756.0), kCurveTTol);
  const CMeasuredPo fromGas(raw, stamps, gas, 295.0);
  EXPECT_REL_CLOSE(fromGas.GetAnalysisTemperature(), NitrogenLikeT(756.0), 1e-12);

  // The adjusted values (+4, mean 760) decide the temperature, not the raw ones.
  const CAdjustedPo adjustedCurve(raw, stamps, 760.0, Ms(120000), curve, 295.0);
  EXPECT_DOUBLE_EQ(adjustedCurve.GetPo(Ms(120000)), 760.0);
  double expected = 0.0;
  ASSERT_TRUE(curve.CalcTempFromPsat(&expected, adjustedCurve.GetAveragePsat()));
  EXPECT_EQ(adjustedCurve.GetAnalysisTemperature(), expected);
  EXPECT_REL_CLOSE(adjustedCurve.GetAnalysisTemperature(), kNormalBoilingT, kCurveTTol);
  const CAdjustedPo adjustedGas(raw, stamps, 760.0, Ms(120000), gas, 295.0);
  EXPECT_REL_CLOSE(adjustedGas.GetAnalysisTemperature(), kNormalBoilingT, 1e-12);
  EXPECT_EQ(adjustedGas.GetAmbientTemperature(), 295.0);

  // Outside the curve, above the critical pressure, or with no values: no temperature.
  EXPECT_EQ(CMeasuredPo({100.0, 110.0}, Minutes({0, 1}), curve, 295.0).GetAnalysisTemperature(),
            0.0);
  EXPECT_EQ(CMeasuredPo({3e4}, Minutes({0}), gas, 295.0).GetAnalysisTemperature(), 0.0);
  EXPECT_EQ(CMeasuredPo({}, {}, curve, 295.0).GetAnalysisTemperature(), 0.0);
  EXPECT_EQ(CMeasuredPo({}, {}, gas, 295.0).GetAnalysisTemperature(), 0.0);
}

TEST(EnteredPo, TemperatureFromPoOrNothing) {
  const CPsatVsT curve = Curve(NitrogenLike);
  const CGasCompressibilityTable gas = Gas(NitrogenLike, 126.2, 25000.0);

  const CEnteredPo fromCurve(760.0, curve, 296.0);
  EXPECT_REL_CLOSE(fromCurve.GetAnalysisTemperature(), kNormalBoilingT, kCurveTTol);
  EXPECT_EQ(fromCurve.GetAveragePo(), 760.0);
  const CEnteredPo fromGas(900.0, gas, 296.0);
  EXPECT_REL_CLOSE(fromGas.GetAnalysisTemperature(), NitrogenLikeT(900.0), 1e-12);

  // The curve reports its end temperatures on failure; they must not leak through.
  EXPECT_EQ(CEnteredPo(100.0, curve, 296.0).GetAnalysisTemperature(), 0.0);
  EXPECT_EQ(CEnteredPo(5000.0, curve, 296.0).GetAnalysisTemperature(), 0.0);
  EXPECT_EQ(CEnteredPo(std::nan(""), curve, 296.0).GetAnalysisTemperature(), 0.0);
  EXPECT_EQ(CEnteredPo(30000.0, gas, 296.0).GetAnalysisTemperature(), 0.0);
  EXPECT_EQ(CEnteredPo(760.0, CGasCompressibilityTable(), 296.0).GetAnalysisTemperature(), 0.0);
}

TEST(PoFromT, PoFromTemperatureOrNothing) {
  const CPsatVsT curve = Curve(NitrogenLike);
  const CPoFromT fromCurve(kNormalBoilingT, curve, 296.0);
  EXPECT_REL_CLOSE(fromCurve.GetPo(Ms(0)), 760.0, 1e-10);
  EXPECT_EQ(fromCurve.GetAnalysisTemperature(), kNormalBoilingT);
  EXPECT_EQ(fromCurve.GetAmbientTemperature(), 296.0);
  EXPECT_EQ(CPoFromT(90.0, curve, 296.0).GetAveragePo(), 0.0);  // not the curve's end value
  EXPECT_EQ(CPoFromT(60.0, curve, 296.0).GetAveragePo(), 0.0);

  // Liquid from 70 K up, solid over the whole grid: liquid wins where it exists, the solid
  // answers below it.
  CGasCompressibilityTable gas = Gas(ArgonLike, 150.7, 36000.0);
  gas.m_vPsat[0] = 0.0;
  for (std::size_t j = 0; j < 3; ++j) gas.m_vPsub[j] = ArgonSolidLike(gas.m_vTemperatures[j]);
  EXPECT_REL_CLOSE(CPoFromT(80.0, gas, 296.0).GetAveragePo(), ArgonLike(80.0), 1e-12);
  EXPECT_REL_CLOSE(CPoFromT(72.0, gas, 296.0).GetAveragePo(), ArgonSolidLike(72.0), 1e-12);

  // Above the critical temperature there is neither.
  EXPECT_EQ(CPoFromT(151.0, gas, 296.0).GetAveragePo(), 0.0);
  const CPoFromT supercritical(80.0, Gas(ArgonLike, 79.0, 36000.0), 296.0);
  EXPECT_EQ(supercritical.GetPo(Ms(0)), 0.0);
  EXPECT_EQ(supercritical.GetAnalysisTemperature(), 80.0);
}

TEST(PoFromPsat, ReferencePressureGivesBathTemperatureGivesAdsorptivePo) {
  const std::vector<double> reference = {755.0, 765.0, 770.0};  // mean 763.33
  const Stamps stamps = Minutes({0, 2, 4});
  const double meanT = NitrogenLikeT((755.0 + 765.0 + 770.0) / 3.0);

  const CPsatVsT nitrogenCurve = Curve(NitrogenLike), argonCurve = Curve(ArgonLike);
  const CGasCompressibilityTable nitrogenGas = Gas(NitrogenLike, 126.2, 25000.0);
  const CGasCompressibilityTable argonGas = Gas(ArgonLike, 150.7, 36000.0);

  const CPoFromPsat curves(reference, stamps, nitrogenCurve, argonCurve, 295.0);
  const CPoFromPsat gases(reference, stamps, nitrogenGas, argonGas, 295.0);
  struct Case {
    CPoFromPsat const* source;
    double tTol, poTol;
  };
  for (const Case& c : {Case{&curves, kCurveTTol, kCurvePoTol}, Case{&gases, 1e-12, 1e-12}}) {
    const CPoFromPsat& s = *c.source;
    // Minute 1 reads 760 mmHg of reference: the normal boiling point, argon-like 230 mmHg.
    EXPECT_REL_CLOSE(s.GetAnalysisTAt(Ms(60000)), kNormalBoilingT, c.tTol);
    EXPECT_REL_CLOSE(s.GetPo(Ms(60000)), 230.0, c.poTol);
    EXPECT_REL_CLOSE(s.GetPo(Ms(0)), ArgonLike(NitrogenLikeT(755.0)), c.poTol);
    EXPECT_REL_CLOSE(s.GetPo(Ms(600000)), ArgonLike(NitrogenLikeT(770.0)), c.poTol);
    EXPECT_REL_CLOSE(s.GetAveragePo(), ArgonLike(meanT), c.poTol);
    EXPECT_REL_CLOSE(s.GetAnalysisTemperature(), meanT, c.tTol);
    EXPECT_EQ(s.GetAmbientTemperature(), 295.0);
    // A reference pressure off the curve or table has no temperature, hence no Po.
    EXPECT_EQ(s.CalculateTFromPsat(1e5), 0.0);
    EXPECT_EQ(s.CalculatePoFromT(0.0), 0.0);
    EXPECT_EQ(s.CalculatePoFromT(s.CalculateTFromPsat(1e5)), 0.0);
  }

  // An entered temperature is kept while Po still follows the reference.
  const CPoFromPsat enteredGas(reference, stamps, 77.0, nitrogenGas, argonGas, 295.0);
  EXPECT_EQ(enteredGas.GetAnalysisTemperature(), 77.0);
  EXPECT_REL_CLOSE(enteredGas.GetAveragePo(), ArgonLike(meanT), 1e-12);

  // No reference values: no temperature and no Po, not NaN.
  const CPoFromPsat empty({}, {}, nitrogenGas, argonGas, 295.0);
  EXPECT_EQ(empty.GetAnalysisTemperature(), 0.0);
  EXPECT_EQ(empty.GetPo(Ms(0)), 0.0);
  EXPECT_EQ(empty.GetAveragePo(), 0.0);
}

TEST(TemperatureInfo, SourcesWorkThroughTheirInterfaces) {
  EXPECT_EQ(CChemiTemperatureInfo().GetAnalysisTemperature(), 0.0);
  EXPECT_EQ(CChemiTemperatureInfo().GetAmbientTemperature(), 0.0);

  // Owned and destroyed through the interfaces; arguments land where their names say.
  const CPsatVsT curve = Curve(NitrogenLike);
  std::vector<std::unique_ptr<CTemperatureInfo>> temperatures;
  temperatures.push_back(std::make_unique<CChemiTemperatureInfo>(77.35, 295.0));
  temperatures.push_back(std::make_unique<CEnteredPo>(760.0, 77.35, 295.0));
  temperatures.push_back(std::make_unique<CPoFromT>(77.35, curve, 295.0));
  for (auto const& t : temperatures) {
    EXPECT_REL_CLOSE(t->GetAnalysisTemperature(), kNormalBoilingT, kCurveTTol);
    EXPECT_EQ(t->GetAmbientTemperature(), 295.0);
    if (auto const* po = dynamic_cast<CPoAndT const*>(t.get()))
      EXPECT_REL_CLOSE(po->GetPo(Ms(60000)), 760.0, kCurvePoTol);
  }
}
