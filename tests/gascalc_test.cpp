#include "fiofla/gascalc.h"

#include <gtest/gtest.h>

#include <cmath>

#include "fiofla/free_space.h"
#include "test_util.h"

namespace {

// Z = 1 - 1e-4 P (mmHg) at every temperature from 50 to 400 K; no gas phase from 900 mmHg on.
CGasCompressibilityTable SmallGas() {
  CNumVector<double> p{0.0, 500.0, 900.0, 1000.0};
  CNumVector<double> t{50.0, 400.0};
  CNumMatrix<double> z(4, 2);
  for (std::size_t i = 0; i < 4; ++i)
    for (std::size_t j = 0; j < 2; ++j) z(i, j) = i >= 2 ? -1.0 : 1.0 - 1e-4 * p[i];
  CGasCompressibilityTable table;
  table.Set(p, t, z);
  table.InitializeRows();
  return table;
}

}  // namespace

TEST(GasCalculation, ColdVolumeSplitAndLowTemperatureFactors) {
  // Within 1e-6 K of the reference the analysis free space comes back, even negative.
  EXPECT_EQ(CGasCalculation::ColdFreeVolume(10.0, -3.0, 298.0, 298.0 + 5e-7), -3.0);
  // Otherwise never above Vana and never below 0.
  for (double vamb : {5.0, 20.0, 60.0, 200.0}) {
    const double c = CGasCalculation::ColdFreeVolume(vamb, 60.0, 298.0, 77.35);
    EXPECT_LE(c, 60.0);
    EXPECT_GE(c, 0.0);
  }
  // A tube with warm volume W and cold volume C: Vamb = W + C, Vana = W + C 298/77.35.
  const double w = 10.0, cold = 5.0, vamb = w + cold, vana = w + cold * 298.0 / 77.35;
  EXPECT_REL_CLOSE(CGasCalculation::ColdFreeVolume(vamb, vana, 298.0, 77.35), vana - w, 1e-12);

  // f1 and f2 apply up to 170 K inclusive and are dropped above.
  const double at170 = CGasCalculation::VolumeInFreeSpace(15.0, 35.0, 500.0, 170.0, 1e-4, 0.5, 0.2);
  const double plain170 = CGasCalculation::VolumeInFreeSpace(15.0, 35.0, 500.0, 170.0, 1e-4, 0, 0);
  EXPECT_NE(at170, plain170);
  EXPECT_EQ(CGasCalculation::VolumeInFreeSpace(15.0, 35.0, 500.0, 170.0001, 1e-4, 0.5, 0.2),
            CGasCalculation::VolumeInFreeSpace(15.0, 35.0, 500.0, 170.0001, 1e-4, 0, 0));
  // Without non-ideality the free space holds Vana P / 760.
  EXPECT_REL_CLOSE(CGasCalculation::VolumeInFreeSpace(15.0, 35.0, 380.0, 77.35, 0, 0, 0), 17.5,
                   1e-12);
  EXPECT_REL_CLOSE(VorlanFreeSpaceQuantity(35.0, 760.0, 0.0), 35.0, 1e-15);
  EXPECT_REL_CLOSE(CGasCalculation::ChemiTorvQuantityAdsorbed(10.0, 38.0, 380.0), -9.0, 1e-15);
}

TEST(GasCalculation, TableFormsInvertAndFallBackToIdealGas) {
  const CGasCompressibilityTable gas = SmallGas();
  for (double p : {10.0, 450.0, 880.0, 950.0}) {  // 950 mmHg has no gas phase: ideal gas
    const double n = CGasCalculation::GasQuantity(p, 12.5, 300.0, gas);
    EXPECT_REL_CLOSE(CGasCalculation::GasVolume(n, p, 300.0, gas), 12.5, 1e-14) << p;
  }
  EXPECT_REL_CLOSE(CGasCalculation::GasQuantity(760.0, 10.0, 273.1499938964844, gas),
                   10.0 / 0.95, 1e-12);  // the condensed corner is not leaned towards
  EXPECT_REL_CLOSE(CGasCalculation::GasQuantity(950.0, 10.0, 273.1499938964844, gas),
                   10.0 * 950.0 / 760.0, 1e-12);
  // Dosed and adsorbed invert each other; the displaced-gas correction divides.
  const double q = 40.0;
  const double dosed = CGasCalculation::VolumeDosed(q, 20.0, 60.0, 300.0, 308.0, 77.35, gas);
  EXPECT_REL_CLOSE(CGasCalculation::VolumeAdsorbed(dosed, 20.0, 60.0, 300.0, 308.0, 77.35, gas, 0),
                   q, 1e-13);
  const double z = 1.0 - 0.03;
  const double corr = 1.0 - 300.0 * 34.7 * 273.1499938964844 / (z * 22414.0 * 77.35 * 760.0);
  EXPECT_REL_CLOSE(
      CGasCalculation::VolumeAdsorbed(dosed, 20.0, 60.0, 300.0, 308.0, 77.35, gas, 34.7), q / corr,
      1e-12);
  // HTP: the dose that FreeSpace is computed from is what QuantityInFreeSpace finds there.
  const CGasCalculationHTP htp(8.0, 0.05, 400.0);
  const double vtotal = htp.FreeSpace(30.0, 600.0, 77.35, 308.0, gas);
  EXPECT_REL_CLOSE(htp.QuantityInFreeSpace(vtotal, 600.0, 77.35, 308.0, gas), 30.0, 1e-12);
}

TEST(GasCalculation, TransducerDeflectionAndTranspiration) {
  const CGasCalculation calc(0.2, 400.0);
  EXPECT_EQ(calc.AdjustedVolume(10.0, 0.0), 9.8);
  EXPECT_EQ(calc.AdjustedVolume(10.0, 400.0), 10.0);
  EXPECT_REL_CLOSE(calc.AdjustedVolume(10.0, 200.0), 10.0 - 0.2 * 0.125, 1e-15);
  double v = 0, p = 0;
  calc.GetTransducerDeflection(&v, &p);
  EXPECT_EQ(v, 0.2);
  EXPECT_EQ(p, 400.0);

  double ratio = 0.0;
  // Equal temperatures: no correction, whatever X.
  for (double pressure : {1e-3, 1.0, 1e4})
    EXPECT_EQ(CGasCalculation::ThermalTranspirationPressure(pressure, 1.0, 0.3, 300, 300, &ratio),
              pressure);
  EXPECT_EQ(ratio, 1.0);
  // Molecular flow at tiny pressure: sqrt(T1/T2); viscous flow at high pressure: 1.
  CGasCalculation::ThermalTranspirationPressure(1e-9, 1.0, 0.3, 77.35, 309.4, &ratio);
  EXPECT_NEAR(ratio, 0.5, 1e-8);
  CGasCalculation::ThermalTranspirationPressure(1e6, 1.0, 0.3, 77.35, 309.4, &ratio);
  EXPECT_NEAR(ratio, 1.0, 1e-8);
  EXPECT_EQ(CGasCalculation::ThermalTranspirationPressure(-1.0, 1.0, 0.3, 77.35, 300, &ratio),
            -1.0);
  EXPECT_EQ(ratio, 1.0);
}

TEST(FreeSpace, CalculatedFromBlankAndSampleVolume) {
  const CEnteredPo conditions(760.0, 77.35, 308.0);
  const CCalculatedFreeSpace none(conditions, 20.0, 60.0, 0.5, 0.0, 0.1, 0.25);
  EXPECT_EQ(none.GetAmbientFS(false), 20.0);
  EXPECT_EQ(none.GetAnalysisFS(true), 60.25);
  EXPECT_EQ(none.GetThirdValue(), 0.1);
  const CCalculatedFreeSpace fs(conditions, 20.0, 60.0, 0.5, 2.5, 0.0, 0.0);
  const double s = 0.2 * 273.1499938964844;
  EXPECT_REL_CLOSE(fs.GetAmbientFS(false), 20.0 - s / 308.0, 1e-15);
  EXPECT_REL_CLOSE(fs.GetAnalysisFS(false), 60.0 - s / 77.35, 1e-15);
}
