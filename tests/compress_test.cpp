#include "fiofla/compress.h"

#include <gtest/gtest.h>

#include <cmath>
#include <memory>
#include <vector>

#include "test_util.h"

namespace {

using Table = CGasCompressibilityTable;

CNumMatrix<double> Matrix(std::vector<std::vector<double>> const& rows) {
  CNumMatrix<double> m(rows.size(), rows.empty() ? 0 : rows[0].size());
  for (std::size_t i = 0; i < rows.size(); ++i)
    for (std::size_t j = 0; j < rows[i].size(); ++j) m(i, j) = rows[i][j];
  return m;
}

Table MakeTable(CNumVector<double> p, CNumVector<double> t,
                std::vector<std::vector<double>> const& z) {
  Table table;
  table.Set(p, t, Matrix(z));
  table.InitializeRows();
  return table;
}

// Saturation curve obeying ln p = ln p95 + b (1/95 - 1/T) exactly: Tsat(2000) = 95 K.
double ClausiusPressure(double t) {
  return 2000.0 * std::exp(800.0 * (1.0 / 95.0 - 1.0 / t));
}

}  // namespace

TEST(GasCompressibility, InterpolatesBilinearlyAndExtrapolatesEdgeCells) {
  const std::vector<std::vector<double>> z = {{1.0, 1.0, 1.0}, {0.9, 0.95, 0.98}, {0.8, 0.9, 0.96}};
  const Table table = MakeTable({0.0, 100.0, 200.0}, {100.0, 200.0, 300.0}, z);
  // Nodes are exact whichever neighbouring interval the cached search start picks.
  for (int k = 0; k < 18; ++k) {  // forward sweep, then backward
    const int n = k < 9 ? k : 17 - k, i = n / 3, j = n % 3;
    EXPECT_EQ(table.GetRawCompressibility(100.0 * i, 100.0 * (j + 1)), z[i][j]) << i << j;
  }
  // Cell centre is the mean of the four corners.
  EXPECT_REL_CLOSE(table.GetRawCompressibility(50.0, 150.0), (1.0 + 1.0 + 0.9 + 0.95) / 4, 1e-14);
  // Linear along each axis between nodes, at off-node positions on the other axis.
  const double lo = table.GetRawCompressibility(100.0, 260.0);
  const double hi = table.GetRawCompressibility(200.0, 260.0);
  EXPECT_REL_CLOSE(table.GetRawCompressibility(130.0, 260.0), lo + 0.3 * (hi - lo), 1e-14);
  const double left = table.GetRawCompressibility(170.0, 200.0);
  const double right = table.GetRawCompressibility(170.0, 300.0);
  EXPECT_REL_CLOSE(table.GetRawCompressibility(170.0, 275.0), 0.25 * left + 0.75 * right, 1e-14);
  // Beyond the grid the edge cell is continued, not clamped.
  EXPECT_REL_CLOSE(table.GetRawCompressibility(300.0, 100.0), 0.7, 1e-14);
  EXPECT_REL_CLOSE(table.GetRawCompressibility(200.0, 400.0), 1.02, 1e-14);
  EXPECT_REL_CLOSE(table.GetRawCompressibility(-100.0, 0.0), 1.15, 1e-14);  // 1 - (0.85 - 1)
}

TEST(GasCompressibility, MissingCornersAreNeverInterpolatedTowards) {
  // All four neighbours condensed: no gas-phase value.
  EXPECT_EQ(MakeTable({0.0, 100.0}, {10.0, 20.0}, {{0.0, -1.0}, {0.0, 0.0}})
                .GetRawCompressibility(50.0, 15.0),
            -1.0);
  // One positive neighbour is returned unchanged anywhere in the cell and beyond.
  const Table single = MakeTable({0.0, 100.0}, {10.0, 20.0}, {{0.0, 0.0}, {0.0, 0.97}});
  EXPECT_EQ(single.GetRawCompressibility(50.0, 15.0), 0.97);
  EXPECT_EQ(single.GetRawCompressibility(500.0, 5.0), 0.97);
  // A positive pair is interpolated along its own axis only.
  const Table row = MakeTable({0.0, 100.0}, {10.0, 20.0}, {{0.97, 0.95}, {0.0, -1.0}});
  EXPECT_REL_CLOSE(row.GetRawCompressibility(80.0, 15.0), 0.96, 1e-14);
}

TEST(GasCompressibility, TablesSmallerThanTwoByTwoAreIdeal) {
  const Table empty, onePressure = MakeTable({100.0}, {10.0, 20.0}, {{0.5, 0.5}}),
                     oneTemperature = MakeTable({0.0, 100.0}, {10.0}, {{0.5}, {0.5}});
  EXPECT_TRUE(empty.IsEmpty());
  EXPECT_FALSE(onePressure.IsEmpty());
  for (const Table* t : {&empty, &onePressure, &oneTemperature}) {
    EXPECT_EQ(t->GetRawCompressibility(100.0, 10.0), 1.0);
    EXPECT_EQ((*t)(-5.0, 1e4, nullptr), 1.0);
  }
}

TEST(GasCompressibility, SaturationConversionsInvertEachOther) {
  Table table = MakeTable({0.0, 1000.0}, {85.0, 93.0, 100.0, 110.0}, {{1, 1, 1, 1}, {1, 1, 1, 1}});
  for (std::size_t j = 0; j < 4; ++j) table.m_vPsat[j] = ClausiusPressure(table.m_vTemperatures[j]);
  table.m_vPsub[0] = 300.0;
  table.m_vPsub[1] = 900.0;
  double psat = -7.0;
  // The critical temperature is still 0: no answer at any temperature.
  EXPECT_FALSE(table.CalcPsatFromTemp(&psat, 90.0, false));
  EXPECT_EQ(psat, -7.0);
  table.m_dTcrit = 120.0;
  table.m_dPcrit = 20000.0;

  for (double t : {70.0, 85.0, 88.5, 95.0, 110.0, 120.0}) {  // 120 K: equal to Tcrit still answers
    ASSERT_TRUE(table.CalcPsatFromTemp(&psat, t, false)) << t;
    EXPECT_REL_CLOSE(psat, ClausiusPressure(t), 1e-12);
    double back = 0.0;
    ASSERT_TRUE(table.CalcTempFromPsat(&back, psat, false));
    EXPECT_REL_CLOSE(back, t, 1e-12);
  }
  psat = -7.0;
  EXPECT_FALSE(table.CalcPsatFromTemp(&psat, 120.001, false));
  EXPECT_FALSE(table.CalcPsatFromTemp(&psat, 105.0, true));  // no Psub there, no fall-back
  EXPECT_FALSE(table.CalcPsatFromTemp(&psat, 0.0, false));
  EXPECT_EQ(psat, -7.0);
  double t = -7.0;
  EXPECT_FALSE(table.CalcTempFromPsat(&t, 20001.0, false));
  EXPECT_FALSE(table.CalcTempFromPsat(&t, 0.0, false));
  EXPECT_EQ(t, -7.0);

  // From pressure, sublimation falls back to Psat where Psub has no interval.
  ASSERT_TRUE(table.CalcTempFromPsat(&t, 600.0, true));
  ASSERT_TRUE(table.CalcPsatFromTemp(&psat, t, true));
  EXPECT_REL_CLOSE(psat, 600.0, 1e-12);
  ASSERT_TRUE(table.CalcTempFromPsat(&t, 5000.0, true));
  EXPECT_REL_CLOSE(ClausiusPressure(t), 5000.0, 1e-12);

  // Equal neighbouring pressures give no slope.
  table.m_vPsat[1] = table.m_vPsat[0];
  EXPECT_FALSE(table.CalcPsatFromTemp(&psat, 88.0, false));
}

TEST(GasCompressibility, TemperatureAtExactInterceptIsStandardTemperature) {
  Table table = MakeTable({0.0, 1000.0}, {100.0, 200.0}, {{1, 1}, {1, 1}});
  table.m_vPsat[0] = 50.0;
  table.m_vPsat[1] = 400.0;
  table.m_dTcrit = 300.0;
  table.m_dPcrit = 1e9;
  // Pressure whose logarithm equals the fitted intercept ln p0 - B/t0 exactly.
  const double slope = (std::log(400.0) - std::log(50.0)) / (1.0 / 200.0 - 1.0 / 100.0);
  const double intercept = std::log(50.0) - slope / 100.0;
  double p = std::exp(intercept);
  for (int k = 0; k < 200 && std::log(p) != intercept; ++k)
    p = std::nextafter(p, std::log(p) < intercept ? 1e300 : 0.0);
  ASSERT_EQ(std::log(p) - intercept, 0.0);
  double t = 0.0;
  ASSERT_TRUE(table.CalcTempFromPsat(&t, p, false));
  EXPECT_EQ(t, 273.1499938964844);
}

TEST(GasCompressibility, CondensedPointsNearSaturationMoveOntoIt) {
  // Tsat(2000) = 95 K; both pressure rows are condensed at 85 and 93 K.
  Table table = MakeTable({1000.0, 3000.0}, {85.0, 93.0, 100.0, 110.0},
                          {{0.0, 0.0, 0.98, 0.99}, {0.0, 0.0, 0.9, 0.95}});
  double eff = 0.0;
  // Without saturation data a condensed point stays condensed at its own temperature.
  EXPECT_EQ(table(2000.0, 91.0, &eff), -1.0);
  EXPECT_EQ(eff, 91.0);
  for (std::size_t j = 0; j < 4; ++j) table.m_vPsat[j] = ClausiusPressure(table.m_vTemperatures[j]);
  table.m_dTcrit = 120.0;
  table.m_dPcrit = 20000.0;

  // Gas phase: the raw value at the asked temperature.
  EXPECT_EQ(table(2000.0, 105.0, &eff), table.GetRawCompressibility(2000.0, 105.0));
  EXPECT_EQ(eff, 105.0);
  // 4 K below saturation: evaluated on the saturation line.
  EXPECT_REL_CLOSE(table(2000.0, 91.0, &eff), 0.94, 1e-9);
  EXPECT_REL_CLOSE(eff, 95.0, 1e-12);
  EXPECT_REL_CLOSE(table(2000.0, 91.0, nullptr), 0.94, 1e-9);
  // 6 K below: too far, the condensed value is returned with the saturation temperature.
  EXPECT_EQ(table(2000.0, 89.0, &eff), -1.0);
  EXPECT_REL_CLOSE(eff, 95.0, 1e-12);
}

TEST(GasCompressibility, RecordAndVectorFillsValidateSizes) {
  auto record = std::make_unique<Table::SCompressTable>();
  record->nPressures = 2;
  record->nTemperatures = 3;
  const float p[] = {0.0f, 760.1f};
  const float t[] = {77.3f, 87.3f, 90.1f};
  for (int i = 0; i < 2; ++i) record->pressures[i] = p[i];
  for (int j = 0; j < 3; ++j) {
    record->temperatures[j] = t[j];
    record->psat[j] = 700.0f + j;
    record->psub[j] = 10.0f + j;
    record->surfaceTension[j] = 8.9f - j;
    record->liquidMolarVolume[j] = 34.7f + j;
    for (int i = 0; i < 2; ++i) record->compressibility[i][j] = 0.99f - 0.01f * float(i + j);
  }
  Table table;
  table.m_dTcrit = 126.2;
  table.Set(*record);
  EXPECT_EQ(table.m_dTcrit, 126.2);  // fluid constants are kept
  EXPECT_EQ(table.GetRawCompressibility(760.1f, 90.1f), double(record->compressibility[1][2]));

  auto back = std::make_unique<Table::SCompressTable>();
  table.Get(*back);
  EXPECT_EQ(back->nPressures, 2);
  EXPECT_EQ(back->nTemperatures, 3);
  for (int j = 0; j < 3; ++j) {
    EXPECT_EQ(back->temperatures[j], t[j]);
    EXPECT_EQ(back->psub[j], record->psub[j]);
    EXPECT_EQ(back->liquidMolarVolume[j], record->liquidMolarVolume[j]);
    EXPECT_EQ(back->compressibility[1][j], record->compressibility[1][j]);
  }

  // Oversized or negative counts change nothing.
  for (auto counts : {std::pair<int, int>{251, 3}, {2, 151}, {-1, 3}}) {
    auto bad = std::make_unique<Table::SCompressTable>(*record);
    bad->nPressures = counts.first;
    bad->nTemperatures = counts.second;
    table.Set(*bad);
    EXPECT_EQ(table.m_vPressures.size(), 2u);
    EXPECT_EQ(table.m_vTemperatures.size(), 3u);
    EXPECT_EQ(table.m_mCompressibility(1, 2), double(record->compressibility[1][2]));
  }
  // 150 temperatures is still accepted.
  record->nTemperatures = 150;
  table.Set(*record);
  EXPECT_EQ(table.m_vTemperatures.size(), 150u);
  EXPECT_EQ(table.m_vLiquidMolarVolume.size(), 150u);

  // A matrix not shaped nP x nT is refused; the curves are not touched by a vector fill.
  Table vec = MakeTable({0.0, 100.0}, {10.0, 20.0}, {{1.0, 0.9}, {0.8, 0.7}});
  vec.m_vPsat[0] = 5.0;
  vec.Set({0.0, 100.0, 200.0}, {10.0, 20.0}, Matrix({{1.0, 0.9}, {0.8, 0.7}}));
  EXPECT_EQ(vec.m_vPressures.size(), 2u);
  vec.Set({0.0, 100.0}, {10.0, 20.0, 30.0}, Matrix({{1.0, 0.9}, {0.8, 0.7}}));
  EXPECT_EQ(vec.m_vTemperatures.size(), 2u);
  vec.Set({0.0, 50.0}, {10.0, 20.0}, Matrix({{1.0, 0.5}, {0.5, 0.5}}));
  EXPECT_EQ(vec.GetRawCompressibility(0.0, 20.0), 0.5);
  EXPECT_EQ(vec.m_vPsat[0], 5.0);

  // A table beyond the record's capacity is not copied out.
  Table big;
  big.Set(CNumVector<double>(251), {10.0, 20.0}, CNumMatrix<double>(251, 2));
  back->nPressures = -3;
  big.Get(*back);
  EXPECT_EQ(back->nPressures, -3);

  // Reset restores the defaults and zeroes the curves at the grid's length.
  table.m_nAtoms = 3;
  table.InitializeFluidProperties();
  EXPECT_EQ(table.GetNumberOfAtoms(), 1);
  EXPECT_EQ(table.GetCriticalTemperature(), 0.0);
  EXPECT_EQ(table.m_vPsat.size(), 150u);
  EXPECT_EQ(table.m_vPsat[0], 0.0);
}

TEST(GasCompressibility, LiquidMolarVolumeUsesFirstPositiveRun) {
  Table table =
      MakeTable({0.0, 1.0}, {80.0, 90.0, 100.0, 110.0, 120.0}, {{1, 1, 1, 1, 1}, {1, 1, 1, 1, 1}});
  EXPECT_EQ(table.GetLiquidMolarVolume(90.0), 0.0);  // no data at all
  const double v[] = {0.0, 34.0, 35.0, 0.0, 50.0};
  for (std::size_t j = 0; j < 5; ++j) table.m_vLiquidMolarVolume[j] = v[j];
  EXPECT_EQ(table.GetLiquidMolarVolume(90.0), 34.0);
  EXPECT_REL_CLOSE(table.GetLiquidMolarVolume(95.0), 34.5, 1e-14);
  EXPECT_REL_CLOSE(table.GetLiquidMolarVolume(85.0), 33.5, 1e-14);  // extrapolated below
  EXPECT_EQ(table.GetLiquidMolarVolume(100.0), 35.0);
  EXPECT_EQ(table.GetLiquidMolarVolume(100.5), 0.0);
  EXPECT_EQ(table.GetLiquidMolarVolume(120.0), 0.0);  // later positive entries ignored
}

TEST(GasCompressibility, IntervalSearchAndTemperatureRuns) {
  const CNumVector<double> grid = {1.0, 2.0, 3.0, 4.0};
  for (std::size_t start : {0u, 1u, 2u, 3u, 10u}) {
    EXPECT_EQ(Table::FindLowerIndex(0.5, grid, start), 0u) << start;
    EXPECT_EQ(Table::FindLowerIndex(2.5, grid, start), 1u) << start;
    EXPECT_EQ(Table::FindLowerIndex(3.5, grid, start), 2u) << start;
    EXPECT_EQ(Table::FindLowerIndex(9.0, grid, start), 2u) << start;
  }
  // A node lands in the lower interval searched from 0, in the upper one from a start there.
  EXPECT_EQ(Table::FindLowerIndex(3.0, grid, 0), 1u);
  EXPECT_EQ(Table::FindLowerIndex(3.0, grid, 2), 2u);
  EXPECT_EQ(Table::FindLowerIndex(5.0, CNumVector<double>{7.0}, 3), 0u);

  const Table table =
      MakeTable({0.0, 1.0}, {80.0, 90.0, 100.0, 110.0, 120.0}, {{1, 1, 1, 1, 1}, {1, 1, 1, 1, 1}});
  std::size_t first = 99, number = 99;
  EXPECT_EQ(table.GetTemperatureRange(105.0, 3, 1, &first, &number), 20.0);
  EXPECT_EQ(first, 1u);
  EXPECT_EQ(number, 3u);
  EXPECT_EQ(table.GetTemperatureRange(105.0, 10, 1, &first, &number), 30.0);  // clipped to nT
  EXPECT_EQ(number, 4u);
  EXPECT_EQ(table.GetTemperatureRange(85.0, 2, 5, &first, &number), 10.0);
  EXPECT_EQ(first, 0u);
  EXPECT_EQ(Table().GetTemperatureRange(85.0, 2, 0, &first, &number), 0.0);
  EXPECT_EQ(number, 0u);
}
