// Speed of single-component isotherm models: q(P), π(P), P(q) and P(π) for a closed-form model
// (Langmuir), numerical ones (Toth's π, Temkin's inverse, BET-n's π), a Dubinin form (an
// incomplete gamma) and an implicit one (FH-VST, whose q(P) is a root).
#include <benchmark/benchmark.h>

#include <cmath>
#include <vector>

#include "fiofla/isotherm_models.h"

namespace {

using fiofla::EIsothermModel;

std::shared_ptr<const fiofla::IsothermModel> Model(int which) {
  fiofla::SIsothermSetup s;
  s.saturationPressure = 100.0;
  s.temperatureK = 298.15;
  s.layers = 5;
  switch (which) {
    case 0:
      return fiofla::MakeIsothermModel(EIsothermModel::kLangmuir, {3.0, 0.05}).model;
    case 1:
      return fiofla::MakeIsothermModel(EIsothermModel::kToth, {3.0, 0.05, 0.6}).model;
    case 2:
      return fiofla::MakeIsothermModel(EIsothermModel::kDubininAstakhov, {5.0, 7000.0, 1.6}, s)
          .model;
    case 3:
      return fiofla::MakeIsothermModel(EIsothermModel::kFloryHugginsVST, {3.0, 0.05, 1.5}).model;
    case 4:
      return fiofla::MakeIsothermModel(EIsothermModel::kBETLayers, {1.0, 50.0}, s).model;
    default:
      return fiofla::MakeIsothermModel(EIsothermModel::kTemkinApprox, {3.0, 0.05, 0.8}).model;
  }
}

// 64 pressures, log-spaced over 0.01 to 99 (below every model's Ps).
std::vector<double> Pressures() {
  std::vector<double> p;
  for (int i = 0; i < 64; ++i) p.push_back(0.01 * std::pow(9900.0, i / 63.0));
  return p;
}

void BM_Loading(benchmark::State& state) {
  const auto m = Model(static_cast<int>(state.range(0)));
  const auto ps = Pressures();
  for (auto _ : state)
    for (double p : ps) benchmark::DoNotOptimize(m->Loading(p));
  state.SetItemsProcessed(state.iterations() * static_cast<int64_t>(ps.size()));
  state.SetLabel(m->Name());
}

void BM_SpreadingPressure(benchmark::State& state) {
  const auto m = Model(static_cast<int>(state.range(0)));
  const auto ps = Pressures();
  for (auto _ : state)
    for (double p : ps) benchmark::DoNotOptimize(m->SpreadingPressure(p).value);
  state.SetItemsProcessed(state.iterations() * static_cast<int64_t>(ps.size()));
  state.SetLabel(m->Name());
}

void BM_Pressure(benchmark::State& state) {
  const auto m = Model(static_cast<int>(state.range(0)));
  std::vector<double> qs;
  for (double p : Pressures()) qs.push_back(m->Loading(p));
  for (auto _ : state)
    for (double q : qs) benchmark::DoNotOptimize(m->Pressure(q).value);
  state.SetItemsProcessed(state.iterations() * static_cast<int64_t>(qs.size()));
  state.SetLabel(m->Name());
}

void BM_PressureAtSpreadingPressure(benchmark::State& state) {
  const auto m = Model(static_cast<int>(state.range(0)));
  std::vector<double> pis;
  for (double p : Pressures()) pis.push_back(m->SpreadingPressure(p).value);
  for (auto _ : state)
    for (double pi : pis) benchmark::DoNotOptimize(m->PressureAtSpreadingPressure(pi).value);
  state.SetItemsProcessed(state.iterations() * static_cast<int64_t>(pis.size()));
  state.SetLabel(m->Name());
}

BENCHMARK(BM_Loading)->DenseRange(0, 5);
BENCHMARK(BM_SpreadingPressure)->DenseRange(0, 5);
BENCHMARK(BM_Pressure)->DenseRange(0, 5);
BENCHMARK(BM_PressureAtSpreadingPressure)->DenseRange(0, 5);

}  // namespace

BENCHMARK_MAIN();
