// Speed of the isotherm readers and writers on a 1000-point isotherm (both branches):
// CSV with units, AIF through gemmi, ISODB JSON, pyGAPS JSON and CSV, and the writers.
#include <benchmark/benchmark.h>

#include <cmath>
#include <cstdio>
#include <sstream>
#include <string>

#include "fiofla/io/aif_file.h"
#include "fiofla/io/isodb_file.h"
#include "fiofla/io/isotherm_file.h"
#include "fiofla/io/pygaps_file.h"

namespace {

constexpr int kPoints = 1000;

// A Langmuir-like loading over P from 0.1 to 100 kPa and back, Po 101.325 kPa.
double Loading(double p) {
  return 5.0 * 0.2 * p / (1.0 + 0.2 * p);
}
double Pressure(int i) {
  const int half = kPoints / 2;
  const int k = i < half ? i : kPoints - 1 - i;
  return 0.1 + 99.9 * k / (half - 1);
}

std::string Csv() {
  std::string s =
      "# adsorptive: N2; temperature: 77.35 K\npressure [kPa],p0 [kPa],loading [mmol/g]\n";
  char row[96];
  for (int i = 0; i < kPoints; ++i) {
    std::snprintf(row, sizeof row, "%.15g,101.325,%.15g\n", Pressure(i),
                  Loading(Pressure(i)) + 1e-6 * i);
    s += row;
  }
  return s;
}

std::string Isodb() {
  std::string s =
      "{\"adsorbates\":[{\"name\":\"Nitrogen\"}],\"adsorbent\":{\"name\":\"bench\"},"
      "\"temperature\":77.35,\"pressureUnits\":\"kPa\",\"adsorptionUnits\":\"mmol/g\","
      "\"isotherm_data\":[";
  char point[160];
  for (int i = 0; i < kPoints; ++i) {
    std::snprintf(point, sizeof point,
                  "%s{\"pressure\":%.15g,\"species_data\":[{\"adsorption\":%.15g}]}", i ? "," : "",
                  Pressure(i), Loading(Pressure(i)) + 1e-6 * i);
    s += point;
  }
  return s + "]}";
}

fiofla::IsothermData Parsed() {
  std::istringstream in(Csv());
  return fiofla::ParseIsothermCsv(in, "bench.csv");
}

void BM_ReadCsv(benchmark::State& state) {
  const std::string text = Csv();
  for (auto _ : state) {
    std::istringstream in(text);
    benchmark::DoNotOptimize(fiofla::ParseIsothermCsv(in, "bench.csv").size());
  }
  state.SetBytesProcessed(int64_t(state.iterations()) * int64_t(text.size()));
}
BENCHMARK(BM_ReadCsv)->Unit(benchmark::kMicrosecond);

void BM_ReadAif(benchmark::State& state) {
  const std::string text = fiofla::FormatAif(Parsed());
  for (auto _ : state) benchmark::DoNotOptimize(fiofla::ParseAif(text, "bench.aif").size());
  state.SetBytesProcessed(int64_t(state.iterations()) * int64_t(text.size()));
}
BENCHMARK(BM_ReadAif)->Unit(benchmark::kMicrosecond);

void BM_ReadIsodb(benchmark::State& state) {
  const std::string text = Isodb();
  fiofla::IsothermReadOptions options;
  options.poMmHg = 760.0;
  for (auto _ : state)
    benchmark::DoNotOptimize(fiofla::ParseIsodbJson(text, "bench.json", options).size());
  state.SetBytesProcessed(int64_t(state.iterations()) * int64_t(text.size()));
}
BENCHMARK(BM_ReadIsodb)->Unit(benchmark::kMicrosecond);

void BM_WriteCsv(benchmark::State& state) {
  const fiofla::IsothermData iso = Parsed();
  for (auto _ : state) benchmark::DoNotOptimize(fiofla::FormatIsothermCsv(iso).size());
}
BENCHMARK(BM_WriteCsv)->Unit(benchmark::kMicrosecond);

void BM_WriteAif(benchmark::State& state) {
  const fiofla::IsothermData iso = Parsed();
  for (auto _ : state) benchmark::DoNotOptimize(fiofla::FormatAif(iso).size());
}
BENCHMARK(BM_WriteAif)->Unit(benchmark::kMicrosecond);

void BM_ReadPygapsJson(benchmark::State& state) {
  const std::string text = fiofla::FormatPygapsJson(Parsed());
  for (auto _ : state) benchmark::DoNotOptimize(fiofla::ParsePygapsJson(text, "bench.json").size());
  state.SetBytesProcessed(int64_t(state.iterations()) * int64_t(text.size()));
}
BENCHMARK(BM_ReadPygapsJson)->Unit(benchmark::kMicrosecond);

void BM_ReadPygapsCsv(benchmark::State& state) {
  std::string text =
      "file_version,3.0\npressure_mode,absolute\npressure_unit,kPa\nloading_basis,molar\n"
      "loading_unit,mmol\nmaterial_basis,mass\nmaterial_unit,g\nadsorbate,nitrogen\n"
      "temperature,77.35\ndata:[pressure,loading,branch,(otherdata)]\n"
      "pressure,loading,branch\n";
  char row[96];
  for (int i = 0; i < kPoints; ++i) {
    std::snprintf(row, sizeof row, "%.15g,%.15g,%s\n", Pressure(i), Loading(Pressure(i)) + 1e-6 * i,
                  i < kPoints / 2 ? "ads" : "des");
    text += row;
  }
  fiofla::IsothermReadOptions options;
  options.poMmHg = 760.0;
  for (auto _ : state)
    benchmark::DoNotOptimize(fiofla::ParsePygapsCsv(text, "bench.csv", options).size());
  state.SetBytesProcessed(int64_t(state.iterations()) * int64_t(text.size()));
}
BENCHMARK(BM_ReadPygapsCsv)->Unit(benchmark::kMicrosecond);

void BM_WritePygapsJson(benchmark::State& state) {
  const fiofla::IsothermData iso = Parsed();
  for (auto _ : state) benchmark::DoNotOptimize(fiofla::FormatPygapsJson(iso).size());
}
BENCHMARK(BM_WritePygapsJson)->Unit(benchmark::kMicrosecond);

}  // namespace

BENCHMARK_MAIN();
