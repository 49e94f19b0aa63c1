#include "fiofla/isotherm.h"

#include <gtest/gtest.h>

#include <cmath>

#include "test_util.h"

namespace {

using Series = CNumVector<double>;

// Po source that is 0 from a chosen time on.
class DroppingPo : public CPoInfo {
 public:
  explicit DroppingPo(std::uint32_t dropMs) : m_drop(dropMs) {}
  double GetPo(CTimeInterval const& t) const override {
    return t.GetMilliseconds() >= m_drop ? 0.0 : 700.0;
  }
  double GetAveragePo() const override { return 700.0; }

 private:
  std::uint32_t m_drop;
};

std::vector<CTimeInterval> Times(std::size_t n) {
  std::vector<CTimeInterval> t;
  for (std::size_t i = 0; i < n; ++i) t.emplace_back(std::uint32_t(60000 * i));
  return t;
}

// Z positive everywhere except at 100 K and 800 mmHg or more.
CGasCompressibilityTable Gas() {
  CNumVector<double> p{0.0, 799.0, 800.0, 1000.0};
  CNumVector<double> t{70.0, 100.0, 300.0, 320.0};
  CNumMatrix<double> z(4, 4);
  for (std::size_t i = 0; i < 4; ++i)
    for (std::size_t j = 0; j < 4; ++j) z(i, j) = (i >= 2 && j <= 1) ? -1.0 : 1.0 - 2e-5 * p[i];
  CGasCompressibilityTable table;
  table.Set(p, t, z);
  table.InitializeRows();
  return table;
}

}  // namespace

TEST(IsothermSeries, DosedAndAdsorbedInvertInBothForms) {
  const CGasCompressibilityTable gas = Gas();
  const CMeasuredFreeSpace fs(20.0, 60.0, 0.0, 0.5);
  const CEnteredPo t(760.0, 77.35, 308.0);
  const Series a{10.0, 50.0, 90.0}, P{20.0, 300.0, 700.0};
  Series dosed, back;
  NIsotherm::QuantityDosed(dosed, a, P, 0.2, fs, t, gas);
  NIsotherm::QuantityAdsorbed(back, dosed, P, 0.2, fs, t, gas, 0.0);
  for (std::size_t i = 0; i < 3; ++i) EXPECT_REL_CLOSE(back[i], a[i], 1e-13);
  NIsotherm::QuantityDosed(dosed, a, P, 0.2, fs, t, 6.6e-5, 0.0);
  NIsotherm::QuantityAdsorbed(back, dosed, P, 0.2, fs, t, 6.6e-5, 0.0);
  for (std::size_t i = 0; i < 3; ++i) EXPECT_REL_CLOSE(back[i], a[i], 1e-13);
  NIsotherm::VorlanQuantityDosed(dosed, a, P, 0.2, fs, 6.6e-5);
  NIsotherm::VorlanQuantityAdsorbed(back, dosed, P, 0.2, fs, 6.6e-5);
  for (std::size_t i = 0; i < 3; ++i) EXPECT_REL_CLOSE(back[i], a[i], 1e-13);
  // Outputs take the input's length, empty included.
  Series empty, out{1.0, 2.0};
  NIsotherm::QuantityAdsorbed(out, empty, empty, 0.2, fs, t, gas, 0.0);
  EXPECT_TRUE(out.empty());
}

TEST(IsothermSeries, AmbientSubstitutionIsSticky) {
  const CGasCompressibilityTable gas = Gas();
  const CMeasuredFreeSpace fs(55.0, 60.0, 0.0, 0.0);  // a cold part smaller than Vana
  const CEnteredPo t(760.0, 77.35, 100.0);  // ambient 100 K: condensed at 900 mmHg
  const Series q{30.0, 40.0, 50.0}, P{500.0, 900.0, 500.0};
  Series out;
  NIsotherm::QuantityAdsorbed(out, q, P, 1.0, fs, t, gas, 0.0);
  auto direct = [&](std::size_t i, double tamb) {
    return CGasCalculation::VolumeAdsorbed(q[i], 55.0, 60.0, P[i], tamb, 77.35, gas, 0.0);
  };
  EXPECT_EQ(out[0], direct(0, 100.0));
  EXPECT_EQ(out[1], direct(1, 77.35));
  EXPECT_EQ(out[2], direct(2, 77.35));  // still the analysis temperature
  EXPECT_NE(out[2], direct(2, 100.0));
  // Per-point temperatures are read afresh.
  std::vector<CChemiTemperatureInfo> temps(3, CChemiTemperatureInfo(77.35, 100.0));
  NIsotherm::ChemiQuantityAdsorbed(out, q, P, 1.0, fs, temps, gas);
  EXPECT_EQ(out[2], direct(2, 100.0));
}

TEST(IsothermSeries, PressureConversionsStopAtTheFirstMissingPo) {
  Series out{-1, -1, -1, -1};
  const Series P{70.0, 140.0, 210.0, 280.0};
  EXPECT_FALSE(NIsotherm::AbsoluteToRelativePressure(out, P, Times(4), DroppingPo(120000)));
  EXPECT_EQ(out[0], 0.1);
  EXPECT_EQ(out[1], 0.2);
  EXPECT_EQ(out[2], -1.0);  // left as it was
  EXPECT_EQ(out[3], -1.0);
  EXPECT_TRUE(NIsotherm::RelativeToAbsolutePressure(out, Series{0.5}, Times(1), DroppingPo(1)));
  EXPECT_EQ(out.size(), 1u);
  EXPECT_EQ(out[0], 350.0);
  Series none;
  EXPECT_TRUE(NIsotherm::AbsoluteToRelativePressure(none, Series(), {}, DroppingPo(0)));
}

TEST(IsothermSeries, TranspirationSwitchesOffAtTheLimit) {
  const CEnteredPo t(760.0, 77.35, 300.0);
  const Series P{1.0, 10.0, 100.0, 1000.0, 5.0};
  Series out;
  NIsotherm::MeasuredToAbsolutePressure(out, P, 1.0, 0.3, t, 0.0);  // limit 0: nothing corrected
  for (std::size_t i = 0; i < P.size(); ++i) EXPECT_EQ(out[i], P[i]);
  double r2 = 0, r3 = 0;
  CGasCalculation::ThermalTranspirationPressure(100.0, 1.0, 0.3, 77.35, 300.0, &r2);
  CGasCalculation::ThermalTranspirationPressure(1000.0, 1.0, 0.3, 77.35, 300.0, &r3);
  const double limit = 0.5 * (r2 + r3);  // reached first at the fourth point
  NIsotherm::MeasuredToAbsolutePressure(out, P, 1.0, 0.3, t, limit);
  EXPECT_LT(out[0], P[0]);
  EXPECT_EQ(out[2], 100.0 * r2);
  EXPECT_EQ(out[3], P[3]);  // the point that reached the limit takes the measured value
  EXPECT_EQ(out[4], P[4]);  // and so does every later one
  // Per-point temperatures: no limit; an ambient of 0 reads as 298 K.
  std::vector<CChemiTemperatureInfo> temps(5, CChemiTemperatureInfo(77.35, 0.0));
  NIsotherm::MeasuredToAbsolutePressure(out, P, 1.0, 0.3, temps);
  EXPECT_EQ(out[4], CGasCalculation::ThermalTranspirationPressure(5.0, 1.0, 0.3, 77.35, 298.0));
}

TEST(IsothermSeries, DifferentialIsothermUsesRangeOrMutualMatch) {
  const Series A{1.0, 2.0, 10.0};
  const Series B{1.1, 9.0};
  EXPECT_EQ(NIsotherm::FindMatchingRow(A, B, 0), 0);
  EXPECT_EQ(NIsotherm::FindMatchingRow(A, B, 1), -1);  // B's 1.1 is nearer A's 1.0
  EXPECT_EQ(NIsotherm::FindMatchingRow(A, B, 2), 1);
  EXPECT_EQ(NIsotherm::FindMatchingRow(A, Series{0.0}, 0), -1);
  EXPECT_EQ(NIsotherm::FindMatchingRow(A, B, 3), -1);

  Series diff, pressure;
  const Series q1{5.0, 6.0, 7.0, 8.0}, P1{0.5, 2.0, 3.0, 9.0};
  const Series q2{1.0, 2.0, 0.0}, P2{1.0, 3.0, 0.0};  // the (0, 0) point is dropped
  NIsotherm::DifferentialIsotherm(diff, pressure, q1, P1, q2, P2);
  EXPECT_EQ(pressure[1], 2.0);
  EXPECT_EQ(diff[1], 6.0 - 1.5);
  EXPECT_EQ(diff[2], 7.0 - 2.0);
  EXPECT_EQ(pressure[0], 0.5);  // below the range, but mutually nearest to P2 = 1.0
  EXPECT_EQ(diff[0], 5.0 - 0.75);  // the reference extrapolated linearly
  EXPECT_EQ(pressure[3], 0.0);  // 9.0 is outside and not matched
  EXPECT_EQ(diff[3], 0.0);
}
