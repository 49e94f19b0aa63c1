#include "fiofla/gascalc.h"

#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include "fiofla/free_space.h"
#include "gas_table_util.h"
#include "test_util.h"

namespace {

using fiofla::test::MakeTable;

using Calc = CGasCalculation;
using fiofla::kStandardTemperature;

// Z departs from 1 with pressure, more so when cold.
CGasCompressibilityTable const& Real() {
  static const auto table = MakeTable({0.0, 1000.0}, {77.0, 300.0}, {{1.0, 1.0}, {0.9, 0.99}});
  return table;
}
// No gas-phase value anywhere: every formula falls back to the ideal gas.
CGasCompressibilityTable const& Condensed() {
  static const auto table = MakeTable({0.0, 1000.0}, {77.0, 300.0}, {{-1.0, -1.0}, {-1.0, -1.0}});
  return table;
}
}  // namespace

TEST(FactorForm, ColdFreeVolumeRecoversTheColdShareAndStaysWithinBounds) {
  // Warm 10 cm3 at 298 K, cold 4 cm3 at 77 K, as free spaces (cm3 STP per atm).
  const double vamb = 14.0 * kStandardTemperature / 298.0;
  const double vana = 10.0 * kStandardTemperature / 298.0 + 4.0 * kStandardTemperature / 77.0;
  EXPECT_REL_CLOSE(Calc::ColdFreeVolume(vamb, vana, 298.0, 77.0), 4.0 * kStandardTemperature / 77.0,
                   1e-13);
  // Equal temperatures: Vana unchanged, even when negative.
  EXPECT_EQ(Calc::ColdFreeVolume(5.0, -3.0, 298.0, 298.0 + 0.9e-6), -3.0);
  for (double vamb2 : {-20.0, 0.0, 10.0, 40.0})
    for (double t : {77.0, 200.0, 298.1, 400.0}) {
      const double c = Calc::ColdFreeVolume(vamb2, 30.0, 298.0, t);
      EXPECT_LE(c, 30.0);
      EXPECT_GE(c, 0.0);
    }
}

TEST(FactorForm, LowTemperatureFactorsCountUpToTheCryogenicLimit) {
  auto fs = [](double t, double f1, double f2) {
    return Calc::VolumeInFreeSpace(20.0, 60.0, 400.0, t, 5e-5, f1, f2);
  };
  EXPECT_NE(fs(170.0, 0.3, 0.2), fs(170.0, 0.0, 0.0));
  EXPECT_EQ(fs(170.0001, 0.3, 0.2), fs(170.0001, 0.0, 0.0));
  // Ideal and factor-free, every form counts Vana P / 760.
  const double ideal = 60.0 * 400.0 / 760.0;
  EXPECT_REL_CLOSE(Calc::VolumeInFreeSpace(20.0, 60.0, 400.0, 77.0, 0.0, 0.0, 0.0), ideal, 1e-14);
  EXPECT_REL_CLOSE(VorlanFreeSpaceQuantity(60.0, 400.0, 0.0), ideal, 1e-14);
  EXPECT_REL_CLOSE(Calc::ChemiTorvQuantityAdsorbed(100.0, 60.0, 400.0), 100.0 - ideal, 1e-14);
  EXPECT_REL_CLOSE(Calc::VolumeInFreeSpace(20.0, 60.0, 400.0, 298.0, 77.0, Condensed()), ideal,
                   1e-14);
}

TEST(FactorForm, DosedAndAdsorbedInvertEachOther) {
  for (double p : {0.5, 50.0, 700.0}) {
    const double dosed = Calc::QuantityDosed(12.5, 20.0, 60.0, p, 77.35, 6e-5, 0.1, 0.05);
    EXPECT_REL_CLOSE(Calc::VolumeAdsorbed(dosed, 20.0, 60.0, p, 77.35, 6e-5, 0.1, 0.05), 12.5,
                     1e-12);
    EXPECT_REL_CLOSE(
        Calc::VorlanQuantityAdsorbed(Calc::VorlanQuantityDosed(12.5, 60.0, p, 6e-5), 60.0, p, 6e-5),
        12.5, 1e-12);
  }
}

TEST(TableForm, GasQuantityAndGasVolumeInvertEachOther) {
  for (auto const* gas : {&Real(), &Condensed()})
    for (double p : {10.0, 500.0, 990.0})
      for (double t : {77.0, 180.0, 300.0}) {
        const double n = Calc::GasQuantity(p, 25.0, t, *gas);
        EXPECT_REL_CLOSE(Calc::GasVolume(n, p, t, *gas), 25.0, 1e-13);
      }
  // The condensed table behaves as the ideal gas; the real one holds more gas when cold.
  const double ideal = 500.0 * 25.0 / 77.0 * kStandardTemperature / 760.0;
  EXPECT_REL_CLOSE(Calc::GasQuantity(500.0, 25.0, 77.0, Condensed()), ideal, 1e-15);
  EXPECT_GT(Calc::GasQuantity(500.0, 25.0, 77.0, Real()), ideal);
}

TEST(TableForm, DosedAndAdsorbedInvertEachOtherWithoutDisplacement) {
  for (double p : {1.0, 300.0, 900.0}) {
    const double dosed = Calc::VolumeDosed(40.0, 20.0, 60.0, p, 295.0, 77.0, Real());
    EXPECT_REL_CLOSE(Calc::VolumeAdsorbed(dosed, 20.0, 60.0, p, 295.0, 77.0, Real(), 0.0), 40.0,
                     1e-12);
    // An adsorbed phase with volume displaces gas that was counted as free: more adsorbed.
    EXPECT_GT(Calc::VolumeAdsorbed(dosed, 20.0, 60.0, p, 295.0, 77.0, Real(), 34.7), 40.0);
    // Without a compressibility the displacement cannot be sized and is left out.
    const double plain = Calc::VolumeAdsorbed(dosed, 20.0, 60.0, p, 295.0, 77.0, Condensed(), 0.0);
    EXPECT_EQ(Calc::VolumeAdsorbed(dosed, 20.0, 60.0, p, 295.0, 77.0, Condensed(), 34.7), plain);
  }
}

TEST(Deflection, TransducerVolumeIsGivenUpCubicallyUpToItsPressure) {
  const CGasCalculation calc(0.8, 400.0);
  EXPECT_EQ(calc.AdjustedVolume(10.0, 0.0), 9.2);
  EXPECT_EQ(calc.AdjustedVolume(10.0, 400.0), 10.0);
  EXPECT_EQ(calc.AdjustedVolume(10.0, 1000.0), 10.0);
  EXPECT_REL_CLOSE(calc.AdjustedVolume(10.0, 200.0), 10.0 - 0.8 / 8.0, 1e-15);
  // Without deflection the adjusted quantity is the plain one.
  EXPECT_REL_CLOSE(CGasCalculation().AdjustedGasQuantity(300.0, 10.0, 300.0, Real()),
                   Calc::GasQuantity(300.0, 10.0, 300.0, Real()), 1e-15);
}

TEST(Deflection, HighPressureFreeSpaceInvertsTheGasInIt) {
  const CGasCalculationHTP htp(15.0, 0.5, 2000.0);
  for (double p : {100.0, 760.0, 3000.0}) {
    const double n = htp.QuantityInFreeSpace(40.0, p, 77.0, 300.0, Real());
    EXPECT_REL_CLOSE(htp.FreeSpace(n, p, 77.0, 300.0, Real()), 40.0, 1e-12);
    EXPECT_REL_CLOSE(htp.QuantityAdsorbed(n + 3.0, 40.0, p, 77.0, 300.0, Real()), 3.0, 1e-10);
  }
}

TEST(ThermalTranspiration, RatioRunsFromMolecularFlowToEqualPressures) {
  double ratio = 0.0;
  for (double p : {1e-6, 1.0, 1e6}) {
    EXPECT_EQ(Calc::ThermalTranspirationPressure(p, 1.0, 0.4, 295.0, 295.0, &ratio), p);
    EXPECT_EQ(ratio, 1.0);
  }
  Calc::ThermalTranspirationPressure(1e-9, 1.0, 0.4, 77.0, 295.0, &ratio);
  EXPECT_REL_CLOSE(ratio, std::sqrt(77.0 / 295.0), 1e-8);
  Calc::ThermalTranspirationPressure(1e9, 1.0, 0.4, 77.0, 295.0, &ratio);
  EXPECT_REL_CLOSE(ratio, 1.0, 1e-12);
  // Nothing to correct without a positive pressure and temperatures.
  EXPECT_EQ(Calc::ThermalTranspirationPressure(0.0, 1.0, 0.4, 77.0, 295.0, &ratio), 0.0);
  EXPECT_EQ(ratio, 1.0);
  EXPECT_EQ(Calc::ThermalTranspirationPressure(5.0, 1.0, 0.4, 0.0, 295.0), 5.0);
}

TEST(FreeSpace, CalculatedFreeSpaceTakesOffTheSampleVolumeAtEachTemperature) {
  const CEnteredPo conditions(760.0, 77.0, 295.0);
  const CCalculatedFreeSpace none(conditions, 30.0, 90.0, 1.5, 0.0, 0.2, 0.7);
  EXPECT_EQ(none.GetAmbientFS(false), 30.0);
  EXPECT_EQ(none.GetAnalysisFS(false), 90.0);
  EXPECT_EQ(none.GetAnalysisFS(true), 90.7);
  // 1.5 g at 2 g/cm3 is 0.75 cm3, referred to each temperature.
  const CCalculatedFreeSpace fs(conditions, 30.0, 90.0, 1.5, 2.0, 0.2, 0.7);
  EXPECT_REL_CLOSE((30.0 - fs.GetAmbientFS(false)) * 295.0, 0.75 * kStandardTemperature, 1e-12);
  EXPECT_REL_CLOSE((90.0 - fs.GetAnalysisFS(false)) * 77.0, 0.75 * kStandardTemperature, 1e-12);
  // A temperature of 0 K cannot take a volume: the blank stays.
  const CCalculatedFreeSpace cold(CEnteredPo(760.0, 0.0, 295.0), 30.0, 90.0, 1.5, 2.0, 0.2, 0.7);
  EXPECT_EQ(cold.GetAnalysisFS(false), 90.0);
}
