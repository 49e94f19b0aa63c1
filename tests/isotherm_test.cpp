#include "fiofla/isotherm.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <vector>

#include "gas_table_util.h"
#include "test_util.h"

namespace {

using fiofla::test::MakeTable;

using Series = CNumVector<double>;
using Calc = CGasCalculation;

std::vector<CTimeInterval> Minutes(int n) {
  std::vector<CTimeInterval> times;
  for (int i = 0; i < n; ++i) times.push_back(CTimeInterval::FromSeconds(60.0 * i));
  return times;
}

const CEnteredPo kConditions(760.0, 77.35, 296.0);
const CMeasuredFreeSpace kFreeSpace(22.0, 68.0, 0.04, 0.5);
const Series kPressure = {2.0, 40.0, 150.0, 380.0, 700.0};
const Series kPerGram = {1.5, 3.0, 4.2, 5.1, 6.0};

}  // namespace

TEST(Reduction, DosedAndAdsorbedRoundTripPerGram) {
  const double m = 0.85;
  Series dosed, back;
  NIsotherm::QuantityDosed(dosed, kPerGram, kPressure, m, kFreeSpace, kConditions, 6e-5, 0.1);
  NIsotherm::QuantityAdsorbed(back, dosed, kPressure, m, kFreeSpace, kConditions, 6e-5, 0.1);
  for (std::size_t i = 0; i < back.size(); ++i) EXPECT_REL_CLOSE(back[i], kPerGram[i], 1e-12);

  NIsotherm::VorlanQuantityDosed(dosed, kPerGram, kPressure, m, kFreeSpace, 6e-5);
  NIsotherm::VorlanQuantityAdsorbed(back, dosed, kPressure, m, kFreeSpace, 6e-5);
  for (std::size_t i = 0; i < back.size(); ++i) EXPECT_REL_CLOSE(back[i], kPerGram[i], 1e-12);

  const auto gas = MakeTable({0.0, 1000.0}, {77.0, 300.0}, {{1.0, 1.0}, {0.9, 0.99}});
  NIsotherm::QuantityDosed(dosed, kPerGram, kPressure, m, kFreeSpace, kConditions, gas);
  NIsotherm::QuantityAdsorbed(back, dosed, kPressure, m, kFreeSpace, kConditions, gas, 0.0);
  ASSERT_EQ(back.size(), kPerGram.size());
  for (std::size_t i = 0; i < back.size(); ++i) EXPECT_REL_CLOSE(back[i], kPerGram[i], 1e-12);

  // The chemisorption forms agree with Vorlan at alpha = 0, and HTP with no manifold inverts
  // its own free-space count.
  Series vorlan, torv;
  NIsotherm::VorlanQuantityAdsorbed(vorlan, dosed, kPressure, m, kFreeSpace, 0.0);
  NIsotherm::OldTorvChemiQuantityAdsorbed(torv, dosed, kPressure, m, kFreeSpace);
  for (std::size_t i = 0; i < torv.size(); ++i) EXPECT_REL_CLOSE(torv[i], vorlan[i], 1e-13);
  const CGasCalculationHTP htp;
  const std::vector<CChemiTemperatureInfo> temps(kPressure.size(), {300.0, 296.0});
  Series q(kPressure.size());
  for (std::size_t i = 0; i < q.size(); ++i)
    q[i] = m * kPerGram[i] + htp.QuantityInFreeSpace(68.5, kPressure[i], 300.0, 296.0, gas);
  NIsotherm::HTPChemiQuantityAdsorbed(back, htp, q, kPressure, m, kFreeSpace, temps, gas);
  for (std::size_t i = 0; i < back.size(); ++i) EXPECT_REL_CLOSE(back[i], kPerGram[i], 1e-12);
}

TEST(Reduction, AmbientSubstitutionIsStickyForOneSourceAndPerPointForAList) {
  // Above 200 K the gas has no value from 100 mmHg up; below it the table answers 1.
  const auto gas = MakeTable({0.0, 100.0, 200.0}, {77.0, 200.0, 298.0},
                             {{0.95, 1.0, 1.0}, {0.9, -1.0, -1.0}, {0.8, -1.0, -1.0}});
  const Series p = {20.0, 150.0, 10.0}, q = {30.0, 60.0, 25.0};
  ASSERT_GT(gas(20.0, 298.0, nullptr), 0.0);
  ASSERT_LE(gas(150.0, 298.0, nullptr), 0.0);
  ASSERT_GT(gas(10.0, 298.0, nullptr), 0.0);
  const CEnteredPo t(760.0, 77.0, 298.0);
  const double vamb = kFreeSpace.GetAmbientFS(true), vana = kFreeSpace.GetAnalysisFS(true);
  auto direct = [&](std::size_t i, double tamb) {
    return Calc::VolumeAdsorbed(q[i], vamb, vana, p[i], tamb, 77.0, gas, 0.0) / 2.0;
  };
  ASSERT_NE(direct(2, 298.0), direct(2, 77.0));  // the choice matters at the last point

  Series one;
  NIsotherm::QuantityAdsorbed(one, q, p, 2.0, kFreeSpace, t, gas, 0.0);
  EXPECT_EQ(one[0], direct(0, 298.0));
  EXPECT_EQ(one[1], direct(1, 77.0));
  EXPECT_EQ(one[2], direct(2, 77.0));

  Series list;
  NIsotherm::ChemiQuantityAdsorbed(list, q, p, 2.0, kFreeSpace,
                                   std::vector<CChemiTemperatureInfo>(3, {77.0, 298.0}), gas);
  EXPECT_EQ(list[1], direct(1, 77.0));
  EXPECT_EQ(list[2], direct(2, 298.0));
}

TEST(Pressure, RelativeConversionStopsAtTheFirstPointWithoutPo) {
  Series out = {-5.0, -5.0, -5.0, -5.0};
  EXPECT_TRUE(NIsotherm::AbsoluteToRelativePressure(out, Series(), {}, kConditions));
  EXPECT_EQ(out.size(), 0u);

  const CMeasuredPo po({700.0, 710.0, 0.0, 720.0}, Minutes(4), 77.0, 296.0);
  const Series p = {70.0, 142.0, 200.0, 360.0};
  out = {-5.0, -5.0, -5.0, -5.0};
  EXPECT_FALSE(NIsotherm::AbsoluteToRelativePressure(out, p, Minutes(4), po));
  EXPECT_EQ(out[0], 0.1);
  EXPECT_EQ(out[1], 0.2);
  EXPECT_EQ(out[2], -5.0);
  EXPECT_EQ(out[3], -5.0);
  const CEnteredPo infinite(std::numeric_limits<double>::infinity(), 77.0, 296.0);
  EXPECT_FALSE(NIsotherm::RelativeToAbsolutePressure(out, p, Minutes(4), infinite));

  // Round trip; stamps missing from a short list read as the start of the run.
  Series rel, abs;
  EXPECT_TRUE(NIsotherm::AbsoluteToRelativePressure(rel, p, Minutes(2), kConditions));
  EXPECT_TRUE(NIsotherm::RelativeToAbsolutePressure(abs, rel, {}, kConditions));
  for (std::size_t i = 0; i < p.size(); ++i) EXPECT_REL_CLOSE(abs[i], p[i], 1e-15);
}

TEST(Pressure, TranspirationCorrectionSwitchesOffAtTheRatioLimit) {
  const Series p = {0.01, 0.1, 1.0, 10.0, 0.05};
  Series out;
  NIsotherm::MeasuredToAbsolutePressure(out, p, 1.0, 0.4, kConditions, 0.0);
  for (std::size_t i = 0; i < p.size(); ++i) EXPECT_EQ(out[i], p[i]);

  std::vector<double> ratio(p.size());
  for (std::size_t i = 0; i < p.size(); ++i)
    Calc::ThermalTranspirationPressure(p[i], 1.0, 0.4, 77.35, 296.0, &ratio[i]);
  const double limit = 0.5 * (ratio[1] + ratio[2]);  // reached first at point 2
  ASSERT_LT(ratio[4], limit);
  NIsotherm::MeasuredToAbsolutePressure(out, p, 1.0, 0.4, kConditions, limit);
  EXPECT_EQ(out[0], p[0] * ratio[0]);
  EXPECT_EQ(out[1], p[1] * ratio[1]);
  for (std::size_t i = 2; i < p.size(); ++i) EXPECT_EQ(out[i], p[i]);  // point 4 included

  // Per point: no limit, ambient <= 0 read as 298 K, no analysis temperature no correction.
  NIsotherm::MeasuredToAbsolutePressure(out, p, 1.0, 0.4,
                                        {{77.0, 296.0}, {77.0, 0.0}, {0.0, 296.0}});
  EXPECT_EQ(out[0], Calc::ThermalTranspirationPressure(p[0], 1.0, 0.4, 77.0, 296.0));
  EXPECT_EQ(out[1], Calc::ThermalTranspirationPressure(p[1], 1.0, 0.4, 77.0, 298.0));
  EXPECT_EQ(out[2], p[2]);
  EXPECT_EQ(out[4], p[4]);  // past the list's end
}

TEST(Differential, RowsMatchOnlyWhenEachIsTheOthersNearest) {
  const Series a = {0.0, 10.0, 20.0, 30.0}, b = {0.0, 11.0, 45.0};
  EXPECT_EQ(NIsotherm::FindMatchingRow(a, b, 1), 1);
  EXPECT_EQ(NIsotherm::FindMatchingRow(a, b, 2), -1);  // 11 is nearer to 10
  EXPECT_EQ(NIsotherm::FindMatchingRow(a, b, 3), 2);   // 45's nearest non-zero A is 30
  EXPECT_EQ(NIsotherm::FindMatchingRow(a, b, 0), -1);  // zero rows never match
  EXPECT_EQ(NIsotherm::FindMatchingRow(a, b, 4), -1);
  EXPECT_EQ(NIsotherm::FindMatchingRow(a, b, -1), -1);
  EXPECT_EQ(NIsotherm::FindMatchingRow(a, {0.0, 0.0}, 1), -1);
}

TEST(Differential, DifferenceFromALinearReferenceWithinItsRange) {
  // Reference q2 = 2 + 0.01 P, unsorted, with an unfilled row.
  const Series p2 = {300.0, 0.0, 100.0, 200.0}, q2 = {5.0, 0.0, 3.0, 4.0};
  const Series p1 = {20.0, 150.0, 200.0, 330.0}, q1 = {3.0, 4.0, 6.0, 9.0};
  Series diff = {7.0}, pressure;
  NIsotherm::DifferentialIsotherm(diff, pressure, q1, p1, q2, p2);
  ASSERT_EQ(diff.size(), p1.size());
  ASSERT_EQ(pressure.size(), p1.size());
  EXPECT_EQ(pressure[0], 0.0);  // below range; 100's nearest P1 is 150, not 20
  EXPECT_EQ(diff[0], 0.0);
  EXPECT_REL_CLOSE(diff[1], 4.0 - 3.5, 1e-14);
  EXPECT_REL_CLOSE(diff[2], 6.0 - 4.0, 1e-14);
  EXPECT_EQ(pressure[3], 330.0);  // outside, but 300 and 330 are each other's nearest
  EXPECT_REL_CLOSE(diff[3], 9.0 - 5.3, 1e-14);

  NIsotherm::DifferentialIsotherm(diff, pressure, q1, p1, {}, {});
  for (std::size_t i = 0; i < p1.size(); ++i) EXPECT_EQ(diff[i] + pressure[i], 0.0);
}
