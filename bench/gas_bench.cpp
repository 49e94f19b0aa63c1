// Speed of gas compressibility lookups on a full-size (250 x 150) table, for neighbouring
// points (an isotherm sweep, the common case the cached interval search is built for) and
// for scattered points, of reading that table from its JSON and binary forms, and of
// reducing a 100-point run with it.
#include <benchmark/benchmark.h>
#include <rapidjson/document.h>
#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <istream>
#include <random>
#include <sstream>
#include <streambuf>
#include <string>
#include <utility>
#include <vector>

#include "fiofla/compress.h"
#include "fiofla/measurement.h"

namespace {

using Table = CGasCompressibilityTable;

constexpr int kPressures = Table::kMaxPressures;        // 250
constexpr int kTemperatures = Table::kMaxTemperatures;  // 150
constexpr double kMaxPressureMmHg = 1000.0;
constexpr double kMinTemperatureK = 60.0;
constexpr double kMaxTemperatureK = 400.0;
constexpr double kSweepTemperatureK = 77.35;

// Nitrogen-like Clausius-Clapeyron curve through 760 mmHg at 77.35 K, so the sweep
// isotherm condenses in the top quarter of the pressure grid.
double SaturationPressureMmHg(double temperatureK) {
  constexpr double kSlopeK = 674.0;  // heat of vaporisation / R
  return 760.0 * std::exp(kSlopeK * (1.0 / kSweepTemperatureK - 1.0 / temperatureK));
}

// Smooth second-virial-like departure, z = 1 - B(T) p, with B falling as 1/T^2.
double SmoothCompressibility(double pressureMmHg, double temperatureK) {
  const double b = 5e-5 * std::pow(kSweepTemperatureK / temperatureK, 2.0);
  return 1.0 - b * pressureMmHg;
}

Table BuildTable() {
  CNumVector<double> pressures(kPressures);
  CNumVector<double> temperatures(kTemperatures);
  for (int i = 0; i < kPressures; ++i) pressures[i] = kMaxPressureMmHg * i / (kPressures - 1);
  for (int j = 0; j < kTemperatures; ++j)
    temperatures[j] =
        kMinTemperatureK + (kMaxTemperatureK - kMinTemperatureK) * j / (kTemperatures - 1);
  const double tcritK = 126.19;
  CNumMatrix<double> z(kPressures, kTemperatures);
  for (int i = 0; i < kPressures; ++i)
    for (int j = 0; j < kTemperatures; ++j) {
      const bool condensed =
          temperatures[j] < tcritK && pressures[i] > SaturationPressureMmHg(temperatures[j]);
      z(i, j) = condensed ? -1.0 : SmoothCompressibility(pressures[i], temperatures[j]);
    }
  Table table;
  table.Set(pressures, temperatures, z);
  table.InitializeRows();
  table.m_nAtoms = 2;
  table.m_dMolecularWeight = 28.0134;
  table.m_dTcrit = tcritK;
  table.m_dPcrit = SaturationPressureMmHg(tcritK) * 1.01;  // every Psat on the grid counts
  table.m_dTtrip = 63.15;
  table.m_dPtrip = SaturationPressureMmHg(63.15);
  for (int j = 0; j < kTemperatures; ++j) {
    table.m_vPsat[j] = SaturationPressureMmHg(temperatures[j]);
    table.m_vSurfaceTension[j] = std::max(0.0, 26.4 * (1.0 - temperatures[j] / tcritK));
    table.m_vLiquidMolarVolume[j] = temperatures[j] < tcritK ? 34.7 + 0.1 * (j + 1) : 0.0;
  }
  return table;
}

Table const& SharedTable() {
  static const Table table = BuildTable();
  return table;
}

// Pressures stepping 1 mmHg up from 0 to `top` and back down: about a quarter of a grid
// interval per query, so the cached search moves by zero or one interval each time.
std::vector<double> SweepPressures(double top) {
  std::vector<double> p;
  for (double x = 0.0; x <= top; x += 1.0) p.push_back(x);
  for (double x = top; x >= 0.0; x -= 1.0) p.push_back(x);
  return p;
}

// range(0): 0 sweeps the whole pressure grid (into the condensed region above 760 mmHg),
// 1 stays in the gas phase (below 750 mmHg), so the two costs can be told apart.
double SweepTop(benchmark::State const& state) {
  return state.range(0) == 0 ? kMaxPressureMmHg : 750.0;
}

void LabelSweep(benchmark::State& state) {
  state.SetLabel(state.range(0) == 0 ? "0-1000 mmHg, through condensation" : "0-750 mmHg, gas");
}

void BM_Compressibility_Neighbouring(benchmark::State& state) {
  Table const& table = SharedTable();
  const std::vector<double> pressures = SweepPressures(SweepTop(state));
  for (auto _ : state) {
    for (double p : pressures) {
      double effectiveK = 0.0;
      benchmark::DoNotOptimize(table(p, kSweepTemperatureK, &effectiveK));
      benchmark::DoNotOptimize(effectiveK);
    }
  }
  state.SetItemsProcessed(state.iterations() * std::int64_t(pressures.size()));
  LabelSweep(state);
}
BENCHMARK(BM_Compressibility_Neighbouring)->Arg(0)->Arg(1);

void BM_RawCompressibility_Neighbouring(benchmark::State& state) {
  Table const& table = SharedTable();
  const std::vector<double> pressures = SweepPressures(SweepTop(state));
  for (auto _ : state)
    for (double p : pressures)
      benchmark::DoNotOptimize(table.GetRawCompressibility(p, kSweepTemperatureK));
  state.SetItemsProcessed(state.iterations() * std::int64_t(pressures.size()));
  LabelSweep(state);
}
BENCHMARK(BM_RawCompressibility_Neighbouring)->Arg(0)->Arg(1);

void BM_Compressibility_Random(benchmark::State& state) {
  Table const& table = SharedTable();
  std::mt19937 rng(20240601);  // fixed seed: the same points in every run
  std::uniform_real_distribution<double> pressure(0.0, kMaxPressureMmHg);
  std::uniform_real_distribution<double> temperature(kMinTemperatureK, kMaxTemperatureK);
  std::vector<std::pair<double, double>> points(4096);
  for (auto& point : points) point = {pressure(rng), temperature(rng)};
  for (auto _ : state) {
    for (auto const& point : points) {
      double effectiveK = 0.0;
      benchmark::DoNotOptimize(table(point.first, point.second, &effectiveK));
      benchmark::DoNotOptimize(effectiveK);
    }
  }
  state.SetItemsProcessed(state.iterations() * std::int64_t(points.size()));
}
BENCHMARK(BM_Compressibility_Random);

// Serves a string's bytes to an istream without copying them, so the stream benchmark
// measures Read rather than a 300 kB copy into a std::istringstream.
class ViewBuffer : public std::streambuf {
 public:
  explicit ViewBuffer(std::string const& bytes) {
    char* begin = const_cast<char*>(bytes.data());  // get area only, never written
    setg(begin, begin, begin + bytes.size());
  }
};

void BM_GasTableReadJson(benchmark::State& state) {
  rapidjson::Document written;
  if (!SharedTable().WriteJson(written)) {
    state.SkipWithError("WriteJson failed");
    return;
  }
  rapidjson::StringBuffer buffer;
  rapidjson::Writer<rapidjson::StringBuffer> writer(buffer);
  written.Accept(writer);
  const std::string text(buffer.GetString(), buffer.GetSize());
  for (auto _ : state) {
    rapidjson::Document doc;
    doc.Parse(text.c_str(), text.size());
    Table table;
    if (doc.HasParseError() || !table.ReadJson(doc)) {
      state.SkipWithError("the JSON table did not read back");
      break;
    }
    benchmark::DoNotOptimize(table.m_mCompressibility.rows());
  }
  state.SetBytesProcessed(state.iterations() * std::int64_t(text.size()));
  state.SetLabel(std::to_string(text.size()) + " bytes");
}
BENCHMARK(BM_GasTableReadJson);

void BM_GasTableReadStream(benchmark::State& state) {
  std::ostringstream out;
  if (!SharedTable().Write(out)) {
    state.SkipWithError("Write failed");
    return;
  }
  const std::string bytes = out.str();
  for (auto _ : state) {
    ViewBuffer view(bytes);
    std::istream in(&view);
    Table table;
    if (!table.Read(in)) {
      state.SkipWithError("the binary table did not read back");
      break;
    }
    benchmark::DoNotOptimize(table.m_mCompressibility.rows());
  }
  state.SetBytesProcessed(state.iterations() * std::int64_t(bytes.size()));
  state.SetLabel(std::to_string(bytes.size()) + " bytes");
}
BENCHMARK(BM_GasTableReadStream);

// The reduction of a 100-point run (80 adsorption, 20 desorption points, thermal
// transpiration on) with the full-size table, found through a cache as a run's gas is.
void BM_ReduceMeasurement_100Points(benchmark::State& state) {
  const std::filesystem::path dir = std::filesystem::temp_directory_path() / "fiofla-bench-gases";
  std::filesystem::create_directories(dir);
  if (!SharedTable().WriteToFile(CStr((dir / "benchgas.fpi").string()))) {
    state.SkipWithError("cannot write the table");
    return;
  }
  CGasCompressibilityCache cache;
  cache.SetDirectory(CStr(dir.string()));
  fiofla::SimulationPlan plan;
  plan.adsorptive = "benchgas";
  for (int i = 0; i < 80; ++i) plan.adsorptionTargets.push_back(0.01 + 0.94 * i / 79.0);
  for (int i = 1; i <= 20; ++i) plan.desorptionTargets.push_back(0.95 - 0.9 * i / 20.0);
  plan.transpiration = fiofla::Measurement::Transpiration{1.0, 0.3, 0.999};
  const fiofla::Measurement run =
      fiofla::SimulateMeasurement(plan, *cache.GetGas(CStr("benchgas")));
  for (auto _ : state) {
    fiofla::ReducedIsotherm reduced = fiofla::ReduceMeasurement(run, cache);
    benchmark::DoNotOptimize(reduced.quantityAdsorbedCm3PerGStp.data());
  }
  state.SetItemsProcessed(state.iterations() * 100);
  std::filesystem::remove_all(dir);
}
BENCHMARK(BM_ReduceMeasurement_100Points);

}  // namespace

BENCHMARK_MAIN();
