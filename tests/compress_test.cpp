#include "fiofla/compress.h"

#include <gtest/gtest.h>
#include <rapidjson/document.h>
#include <unistd.h>

#include <cmath>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "gas_table_util.h"
#include "test_util.h"

namespace {

using fiofla::test::MakeTable;
using fiofla::test::Matrix;

using Table = CGasCompressibilityTable;

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

// ---------------------------------------------------------------------------------------
// Files and cache.

namespace {

// A table with every field set to a distinct value, so a field read into the wrong
// place shows.
Table FullTable(double tcrit = 126.19) {
  Table table =
      MakeTable({0.0, 380.0, 760.0}, {70.0, 77.35, 87.3, 300.0},
                {{1.0, 1.0, 1.0, 1.0}, {-1.0, 0.975, 0.99, 0.9999}, {-1.0, 0.951, 0.98, 0.9998}});
  table.m_nAtoms = 2;
  table.m_dMolecularWeight = 28.0134;
  table.m_dReserved1 = 1.25;
  table.m_uUseKalrez = 1;
  table.m_dReserved2 = 2.5;
  table.m_dReserved3 = 3.75;
  table.m_dSpecificHeat = 1.04;
  table.m_dTcrit = tcrit;
  table.m_dPcrit = 25461.0;
  table.m_dTtrip = 63.151;
  table.m_dPtrip = 93.975;
  for (std::size_t j = 0; j < 4; ++j) {
    table.m_vPsat[j] = 100.0 * (j + 1);
    table.m_vPsub[j] = j < 1 ? 20.0 : 0.0;
    table.m_vSurfaceTension[j] = 10.0 - j;
    table.m_vLiquidMolarVolume[j] = 34.0 + j;
  }
  return table;
}

void ExpectSameTable(Table const& a, Table const& b) {
  EXPECT_EQ(a.m_nAtoms, b.m_nAtoms);
  EXPECT_EQ(a.m_uUseKalrez, b.m_uUseKalrez);
  EXPECT_EQ(a.m_dSpecificHeat, b.m_dSpecificHeat);
  EXPECT_EQ(a.m_dTcrit, b.m_dTcrit);
  EXPECT_EQ(a.m_dPcrit, b.m_dPcrit);
  EXPECT_EQ(a.m_dTtrip, b.m_dTtrip);
  EXPECT_EQ(a.m_dPtrip, b.m_dPtrip);
  EXPECT_EQ(a.m_dMolecularWeight, b.m_dMolecularWeight);
  EXPECT_EQ(a.m_vPressures, b.m_vPressures);
  EXPECT_EQ(a.m_vTemperatures, b.m_vTemperatures);
  EXPECT_EQ(a.m_vPsat, b.m_vPsat);
  EXPECT_EQ(a.m_vPsub, b.m_vPsub);
  EXPECT_EQ(a.m_vSurfaceTension, b.m_vSurfaceTension);
  EXPECT_EQ(a.m_vLiquidMolarVolume, b.m_vLiquidMolarVolume);
  ASSERT_EQ(a.m_mCompressibility.rows(), b.m_mCompressibility.rows());
  for (std::size_t i = 0; i < a.m_mCompressibility.rows(); ++i)
    EXPECT_EQ(a.m_mCompressibility[i], b.m_mCompressibility[i]) << "row " << i;
}

// Little-endian stream builder for hand-made older versions.
struct Bytes {
  std::string s;
  template <class T>
  Bytes& Put(T v) {
    char b[sizeof(T)];
    std::memcpy(b, &v, sizeof(T));  // the test hosts are little-endian
    s.append(b, sizeof(T));
    return *this;
  }
  Bytes& Vec(std::vector<double> const& v) {
    Put<std::uint32_t>(std::uint32_t(v.size()));
    for (double x : v) Put(x);
    return *this;
  }
  // Grids 1 x 2 and a 1 x 2 matrix: the part every version has.
  Bytes& Grids() {
    Vec({0.0}).Vec({77.0, 90.0});
    return Put<std::uint32_t>(1).Put<std::uint32_t>(2).Put(0.99).Put(0.995);
  }
};

struct TempDir {
  std::filesystem::path path;
  TempDir() {
    path = std::filesystem::temp_directory_path() /
           ("fiofla-gas-" + std::to_string(::getpid()) + "-" + std::to_string(counter++));
    std::filesystem::create_directories(path);
  }
  ~TempDir() { std::filesystem::remove_all(path); }
  std::string operator/(std::string const& name) const { return (path / name).string(); }
  static inline int counter = 0;
};

std::string Slurp(std::string const& path) {
  std::ifstream in(path, std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

// The gas-file text of a table, as WriteToFile produces it.
std::string FormatGood(Table const& table) {
  TempDir dir;
  EXPECT_TRUE(table.WriteToFile(CStr(dir / "gas.fpi")));
  return Slurp(dir / "gas.fpi");
}

std::string Replace(std::string text, std::string const& from, std::string const& to) {
  const std::size_t at = text.find(from);
  EXPECT_NE(at, std::string::npos) << from;
  if (at != std::string::npos) text.replace(at, from.size(), to);
  return text;
}

}  // namespace

TEST(GasTableStream, Version7RoundTripsEveryField) {
  const Table table = FullTable();
  std::stringstream stream;
  ASSERT_TRUE(table.Write(stream));
  EXPECT_EQ(table.GetVersion(), 7);
  // 81 bytes of constants, 2 grids, 8-byte matrix header, 12 values, 4 curves of 4.
  EXPECT_EQ(stream.str().size(), 81u + (4 + 24) + (4 + 32) + 8 + 96 + 4 * (4 + 32));
  EXPECT_EQ(stream.str()[0], 7);
  Table back;
  back.m_dTcrit = 5.0;  // reading starts from the defaults
  ASSERT_TRUE(back.Read(stream));
  ExpectSameTable(table, back);
  EXPECT_EQ(back.m_dReserved1, 1.25);
  EXPECT_EQ(back.m_dReserved2, 2.5);
  EXPECT_EQ(back.m_dReserved3, 3.75);
  EXPECT_TRUE(back.GetReadError().empty());
}

TEST(GasTableStream, OlderVersionsKeepDefaultsForFieldsTheyLack) {
  {  // Version 0 and 1: grids and matrix only.
    for (std::uint8_t v : {0, 1}) {
      Bytes b;
      b.Put(v).Grids();
      std::istringstream in(b.s);
      Table t;
      ASSERT_TRUE(t.Read(in)) << int(v);
      EXPECT_EQ(t.m_dTcrit, 0.0);
      EXPECT_EQ(t.m_nAtoms, 1);
      EXPECT_EQ(t.m_dSpecificHeat, 1.0);
      EXPECT_EQ(t.GetRawCompressibility(0.0, 77.0), 1.0);  // a 1 x 2 table is ideal
      EXPECT_EQ(t.m_mCompressibility(0, 1), 0.995);
      EXPECT_EQ(t.m_vPsat, CNumVector<double>(2));  // curves sized to the grid, zero
    }
  }
  {  // Version 2: the embedded text is skipped, and there is no Psub.
    Bytes b;
    b.Put<std::uint8_t>(2).Grids();
    b.Put<std::uint32_t>(5).s += "nitro";
    b.Vec({700.0, 2700.0}).Vec({8.9, 6.0}).Vec({34.7, 38.0});
    std::istringstream in(b.s);
    Table t;
    ASSERT_TRUE(t.Read(in));
    EXPECT_EQ(t.m_vPsat, (CNumVector<double>{700.0, 2700.0}));
    EXPECT_EQ(t.m_vSurfaceTension, (CNumVector<double>{8.9, 6.0}));
    EXPECT_EQ(t.m_vLiquidMolarVolume, (CNumVector<double>{34.7, 38.0}));
    EXPECT_EQ(t.m_vPsub, CNumVector<double>(2));
    EXPECT_EQ(in.peek(), std::char_traits<char>::eof());
  }
  {  // Version 3 adds the constants before the reserved ones of 4 to 6 existed.
    Bytes b;
    b.Put<std::uint8_t>(3).Put(28.0).Put(9.0).Put(126.2).Put(25000.0).Put(63.1).Put(94.0);
    b.Grids().Vec({700.0, 2700.0}).Vec({1.0, 0.0}).Vec({8.9, 6.0}).Vec({34.7, 38.0});
    std::istringstream in(b.s);
    Table t;
    ASSERT_TRUE(t.Read(in));
    EXPECT_EQ(t.m_dMolecularWeight, 28.0);
    EXPECT_EQ(t.m_dReserved2, 9.0);
    EXPECT_EQ(t.m_dReserved1, 1.0);
    EXPECT_EQ(t.m_dPtrip, 94.0);
    EXPECT_EQ(t.m_vPsub, (CNumVector<double>{1.0, 0.0}));
    EXPECT_EQ(t.m_nAtoms, 1);
  }
}

TEST(GasTableStream, DamagedStreamsFailWithoutOverreaching) {
  std::stringstream good;
  ASSERT_TRUE(FullTable().Write(good));
  const std::string bytes = good.str();
  // Every truncation fails, and whatever was kept is still safe to query.
  for (std::size_t n = 0; n < bytes.size(); ++n) {
    std::istringstream in(bytes.substr(0, n));
    Table t;
    EXPECT_FALSE(t.Read(in)) << n;
    EXPECT_TRUE(in.fail());
    EXPECT_FALSE(t.GetReadError().empty());
    double psat = 0.0, temperature = 0.0;
    EXPECT_TRUE(std::isfinite(t(380.0, 80.0, &temperature))) << n;
    t.CalcPsatFromTemp(&psat, 80.0, false);
    t.CalcTempFromPsat(&temperature, 300.0, true);
    t.GetLiquidMolarVolume(80.0);
  }
  auto failsWith = [](std::string const& stream, char const* message) {
    std::istringstream in(stream);
    Table t;
    EXPECT_FALSE(t.Read(in));
    EXPECT_NE(std::string(t.GetReadError().c_str()).find(message), std::string::npos)
        << t.GetReadError().c_str();
    EXPECT_EQ(t.GetRawCompressibility(0.0, 80.0), 1.0);
  };
  // A count just over the limit fails before any allocation is attempted.
  failsWith(Bytes().Put<std::uint8_t>(0).Put<std::uint32_t>(10000001u).s, "too long");
  // A huge but allowed count on a short stream fails as truncated.
  failsWith(Bytes().Put<std::uint8_t>(0).Put<std::uint32_t>(10000000u).Put(1.0).s, "truncated");
  // Matrix shapes that disagree with the grids.
  failsWith(Bytes()
                .Put<std::uint8_t>(0)
                .Vec({0.0})
                .Vec({77.0, 90.0})
                .Put<std::uint32_t>(2)
                .Put<std::uint32_t>(2)
                .s,
            "does not match");
  failsWith(Bytes()
                .Put<std::uint8_t>(0)
                .Vec({0.0})
                .Vec({77.0, 90.0})
                .Put<std::uint32_t>(1)
                .Put<std::uint32_t>(3)
                .s,
            "does not match");
  failsWith(Bytes().Put<std::uint8_t>(8).Grids().s, "unknown gas table version");
}

TEST(GasTableJson, RoundTripKeepsKeyOrderAndRefusesBadDocuments) {
  const Table table = FullTable();
  rapidjson::Document doc;
  ASSERT_TRUE(table.WriteJson(doc));
  std::vector<std::string> keys;
  for (auto it = doc.MemberBegin(); it != doc.MemberEnd(); ++it)
    keys.push_back(it->name.GetString());
  const std::vector<std::string> expected = {
      "use Kalrez", "number of atoms", "specific heat capacity",
      "Tcrit",      "Pcrit",           "Ttrip",
      "Ptrip",      "temperature",     "Psat",
      "Psub",       "surface tension", "liquid molar volume",
      "pressure",   "compressibility", "molecular weight"};
  EXPECT_EQ(keys, expected);
  EXPECT_EQ(doc["compressibility"][1][2].GetDouble(), 0.99);  // row = pressure

  Table back;
  ASSERT_TRUE(back.ReadJson(doc));
  ExpectSameTable(table, back);
  EXPECT_EQ(back.m_dReserved1, 1.0);  // reserved constants are not carried

  // Without our molar-mass member the document still reads, with molar mass 0.
  doc.RemoveMember("molecular weight");
  ASSERT_TRUE(back.ReadJson(doc));
  EXPECT_EQ(back.GetMolecularWeight(), 0.0);

  // Each defect is refused with a message naming the key, and leaves the default table.
  auto refuses = [&](char const* text, char const* message) {
    rapidjson::Document bad;
    bad.Parse(text);
    ASSERT_FALSE(bad.HasParseError()) << text;
    Table t = FullTable();
    EXPECT_FALSE(t.ReadJson(bad)) << text;
    EXPECT_NE(std::string(t.GetReadError().c_str()).find(message), std::string::npos)
        << t.GetReadError().c_str();
    EXPECT_TRUE(t.IsEmpty());
    EXPECT_EQ(t.m_dTcrit, 0.0);
  };
  std::string good = FormatGood(table);
  refuses("[1, 2]", "not a JSON object");
  refuses(Replace(good, "\"use Kalrez\": true", "\"use Kalrez\": 1").c_str(), "use Kalrez");
  refuses(Replace(good, "\"number of atoms\": 2", "\"number of atoms\": 2.5").c_str(),
          "number of atoms");
  refuses(Replace(good, "\"Tcrit\": 126.19", "\"Tcrit\": \"126.19\"").c_str(), "Tcrit");
  refuses(Replace(good, "\"Ptrip\": 93.975,", "").c_str(), "missing key \"Ptrip\"");
  refuses(Replace(good, "\"Psat\": [100.0,", "\"Psat\": [").c_str(), "\"Psat\" has 3 values");
  refuses(Replace(good, "[-1.0,0.975,0.99,0.9999]", "[-1.0,0.975,0.99]").c_str(), "row 2");
  refuses(Replace(good, "[-1.0,0.975,0.99,0.9999]", "[-1.0,0.975,null,0.9999]").c_str(),
          "row 2 value 3");
  refuses(Replace(good, "\"pressure\": [0.0,380.0,760.0]", "\"pressure\": [0.0,380.0]").c_str(),
          "3 rows for 2 pressures");

  // A value JSON cannot hold is not written.
  Table nan = FullTable();
  nan.m_mCompressibility(2, 3) = std::nan("");
  rapidjson::Document out;
  EXPECT_FALSE(nan.WriteJson(out));
}

TEST(GasTableFile, WritesReadableFilesAndReportsBadOnes) {
  TempDir dir;
  const Table table = FullTable();
  ASSERT_TRUE(table.WriteToFile(CStr(dir / "n2.fpi")));
  const Table back(CStr(dir / "n2.fpi"));
  EXPECT_TRUE(back.IsValid());
  EXPECT_EQ(std::string(back.m_sName.c_str()), dir / "n2.fpi");
  ExpectSameTable(table, back);
  // Any whitespace is accepted.
  {
    std::ofstream(dir / "flat.fpi") << "  \n\t" << Replace(FormatGood(table), "\n", " ");
    EXPECT_TRUE(Table().ReadFromFile(CStr(dir / "flat.fpi")));
  }
  // A file that cannot be opened gives an invalid table.
  Table missing(CStr(dir / "none.fpi"));
  EXPECT_FALSE(missing.IsValid());
  EXPECT_NE(std::string(missing.GetReadError().c_str()).find("cannot open"), std::string::npos);
  // A folder opens but cannot be read: treated as unreadable too.
  EXPECT_FALSE(Table(CStr(dir.path.string())).IsValid());
  // A file that opens but does not parse: valid flag set, default table, line reported.
  std::ofstream(dir / "broken.fpi") << "{\n  \"use Kalrez\": true,\n  oops\n}\n";
  Table broken = FullTable();
  EXPECT_FALSE(broken.ReadFromFile(CStr(dir / "broken.fpi")));
  EXPECT_TRUE(broken.IsValid());
  EXPECT_TRUE(broken.IsEmpty());
  EXPECT_EQ(broken.GetRawCompressibility(380.0, 80.0), 1.0);
  EXPECT_NE(std::string(broken.GetReadError().c_str()).find("broken.fpi:3:"), std::string::npos)
      << broken.GetReadError().c_str();
  // A table that cannot be written leaves no file, and an existing one unchanged.
  Table nan = FullTable();
  nan.m_dPcrit = INFINITY;
  EXPECT_FALSE(nan.WriteToFile(CStr(dir / "n2.fpi")));
  EXPECT_EQ(Table(CStr(dir / "n2.fpi")).m_dPcrit, table.m_dPcrit);
  EXPECT_FALSE(table.WriteToFile(CStr(dir / "no-such-folder/x.fpi")));
  EXPECT_FALSE(std::filesystem::exists(dir / "no-such-folder"));
}

TEST(GasCache, KeepsFourMostRecentAndReloadsEvicted) {
  TempDir dir;
  const char* names[] = {"a", "b", "c", "d", "e"};
  for (int k = 0; k < 5; ++k)
    ASSERT_TRUE(FullTable(100.0 + k).WriteToFile(CStr(dir / (std::string(names[k]) + ".fpi"))));
  CGasCompressibilityCache cache;
  cache.SetDirectory(CStr(dir.path.string()));
  EXPECT_EQ(cache.GetGas(CStr()), nullptr);
  EXPECT_EQ(cache.GetSlotName(0), CStr());
  CGasCompressibilityTable* a = cache.GetGas(CStr("a"));
  ASSERT_NE(a, nullptr);
  EXPECT_EQ(a->GetCriticalTemperature(), 100.0);
  for (const char* n : {"b", "c", "d"}) ASSERT_NE(cache.GetGas(CStr(n)), nullptr);
  EXPECT_EQ(cache.GetGas(CStr("a")), a);  // a hit returns the same table, without reordering
  EXPECT_EQ(cache.GetSlotName(0), CStr("d"));
  EXPECT_EQ(cache.GetSlotName(3), CStr("a"));
  // The fifth gas evicts the oldest; asking for it again reads its file again.
  ASSERT_NE(cache.GetGas(CStr("e")), nullptr);
  EXPECT_EQ(cache.GetSlotName(0), CStr("e"));
  EXPECT_EQ(cache.GetSlotName(3), CStr("b"));
  ASSERT_TRUE(FullTable(150.0).WriteToFile(CStr(dir / "a.fpi")));
  CGasCompressibilityTable* again = cache.GetGas(CStr("a"));
  ASSERT_NE(again, nullptr);
  EXPECT_EQ(again->GetCriticalTemperature(), 150.0);
  EXPECT_EQ(cache.GetSlotName(3), CStr("c"));
  // A missing gas is null, and still costs the oldest slot.
  EXPECT_EQ(cache.GetGas(CStr("zz")), nullptr);
  EXPECT_EQ(cache.GetSlotName(3), CStr());
  EXPECT_EQ(cache.GetSlotName(0), CStr("a"));

  // Without a directory the environment variable decides.
  CGasCompressibilityCache byEnv;
  ::setenv("FIOFLA_GAS_DIR", dir.path.c_str(), 1);
  EXPECT_EQ(std::string(byEnv.GetEffectiveDirectory().c_str()), dir.path.string());
  ASSERT_NE(byEnv.GetGas(CStr("e")), nullptr);
  ::unsetenv("FIOFLA_GAS_DIR");
  EXPECT_NE(std::string(byEnv.GetEffectiveDirectory().c_str()), dir.path.string());
}

// Every shipped table goes JSON -> binary stream -> JSON without changing a byte: numbers
// are read correctly rounded and written shortest.
TEST(GasTableFile, ShippedTablesRoundTripByteForByte) {
  TempDir dir;
  int checked = 0;
  for (const auto& entry :
       std::filesystem::directory_iterator(fiofla::test::ShippedData("gases"))) {
    if (entry.path().extension() != ".fpi") continue;
    SCOPED_TRACE(entry.path().string());
    CGasCompressibilityTable table;
    ASSERT_TRUE(table.ReadFromFile(CStr(entry.path().string()))) << table.GetReadError().c_str();
    std::stringstream binary;
    ASSERT_TRUE(table.Write(binary));
    CGasCompressibilityTable again;
    ASSERT_TRUE(again.Read(binary));
    // The binary form does not carry the molar mass: take it over as a reader would.
    again.m_dMolecularWeight = table.m_dMolecularWeight;
    const std::string out = dir / entry.path().filename().string();
    ASSERT_TRUE(again.WriteToFile(CStr(out)));
    std::ifstream a(entry.path(), std::ios::binary), b(out, std::ios::binary);
    const std::string original((std::istreambuf_iterator<char>(a)), {});
    const std::string written((std::istreambuf_iterator<char>(b)), {});
    EXPECT_TRUE(original == written) << "the text changed";
    ++checked;
  }
  EXPECT_EQ(checked, 12);
}

// A member given twice is refused, not read one way or the other.
TEST(GasTableFile, AMemberGivenTwiceIsRefused) {
  TempDir dir;
  const std::string shipped = Slurp(fiofla::test::ShippedData("gases/argon.fpi"));
  const std::string twice = Replace(shipped, "{\n", "{\n  \"Tcrit\": 1,\n");
  std::ofstream(dir / "twice.fpi") << twice;
  CGasCompressibilityTable table;
  EXPECT_FALSE(table.ReadFromFile(CStr(dir / "twice.fpi")));
  EXPECT_NE(std::string(table.GetReadError().c_str()).find("member \"Tcrit\" is given twice"),
            std::string::npos)
      << table.GetReadError().c_str();
}

// A gas file holding what no gas has is refused with the field named.
TEST(GasTableFile, ImplausibleTablesAreRefused) {
  TempDir dir;
  const std::string good = FormatGood(FullTable());
  const struct {
    std::string from, to, message;
  } cases[] = {
      {"77.35", "69", "\"temperature\" is not ascending at value 2"},
      {"0.975", "1e300", "\"compressibility\" row 2 value 2 is 1e+300"},
      {"0.975", "-0.5", "Z lies in (0, 10], or is 0 or -1"},
      {"\"Tcrit\": 126.19", "\"Tcrit\": 0", "\"Tcrit\" 0 K is not between 0 and 5000 K"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.to);
    std::ofstream(dir / "odd.fpi") << Replace(good, c.from, c.to);
    CGasCompressibilityTable table;
    EXPECT_FALSE(table.ReadFromFile(CStr(dir / "odd.fpi")));
    EXPECT_NE(std::string(table.GetReadError().c_str()).find(c.message), std::string::npos)
        << table.GetReadError().c_str();
  }
}
