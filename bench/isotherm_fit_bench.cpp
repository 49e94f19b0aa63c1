// Speed of isotherm fits: a three-parameter model (Toth) on 50 points, with the default
// multistart and from the guess alone; a dual-site Langmuir with the multistart; and the
// ranking of all 24 families on one isotherm. Data carry 1 % noise from a fixed seed.
#include <benchmark/benchmark.h>

#include <cmath>
#include <random>
#include <vector>

#include "fiofla/isotherm_fit.h"

namespace {

using fiofla::EIsothermModel;

struct SData {
  std::vector<double> p;
  std::vector<double> q;
};

// 50 pressures log-spaced over [pMin, pMax], loadings of the model with 1 % noise.
SData Make(EIsothermModel kind, std::vector<double> params, double pMin, double pMax,
           fiofla::SIsothermSetup const& setup = {}) {
  const auto m = fiofla::MakeIsothermModel(kind, params, setup).model;
  std::mt19937 rng(1234);
  std::normal_distribution<double> noise(0.0, 0.01);
  SData d;
  for (int i = 0; i < 50; ++i) {
    const double p = pMin * std::pow(pMax / pMin, i / 49.0);
    d.p.push_back(p);
    d.q.push_back(m->Loading(p) * (1.0 + noise(rng)));
  }
  return d;
}

void BM_FitToth50Points(benchmark::State& state) {
  const SData d = Make(EIsothermModel::kToth, {3.0, 0.05, 0.6}, 0.01, 1e4);
  fiofla::SIsothermFitOptions options;
  options.extraStarts = int(state.range(0));
  int iterations = 0;
  int evaluations = 0;
  for (auto _ : state) {
    const auto fit = fiofla::FitIsotherm(EIsothermModel::kToth, d.p, d.q, {}, options);
    iterations = fit.iterations;
    evaluations = fit.evaluations;
    benchmark::DoNotOptimize(fit.parameters.data());
  }
  state.counters["lm_iterations"] = iterations;
  state.counters["sweeps"] = evaluations;
}
BENCHMARK(BM_FitToth50Points)->Arg(0)->Arg(4)->Unit(benchmark::kMicrosecond);

void BM_FitDualSiteLangmuir50Points(benchmark::State& state) {
  fiofla::SIsothermSetup setup;
  setup.sites = 2;
  const SData d = Make(EIsothermModel::kMultiSiteLangmuir, {2.0, 0.5, 1.5, 0.01}, 0.01, 1e4, setup);
  fiofla::SIsothermFitOptions options;
  options.extraStarts = int(state.range(0));
  int iterations = 0;
  int evaluations = 0;
  for (auto _ : state) {
    const auto fit =
        fiofla::FitIsotherm(EIsothermModel::kMultiSiteLangmuir, d.p, d.q, setup, options);
    iterations = fit.iterations;
    evaluations = fit.evaluations;
    benchmark::DoNotOptimize(fit.parameters.data());
  }
  state.counters["lm_iterations"] = iterations;
  state.counters["sweeps"] = evaluations;
}
BENCHMARK(BM_FitDualSiteLangmuir50Points)->Arg(0)->Arg(4)->Unit(benchmark::kMicrosecond);

void BM_FitBestAllFamilies(benchmark::State& state) {
  fiofla::SIsothermSetup setup;
  setup.saturationPressure = 100.0;
  setup.temperatureK = 298.15;
  setup.layers = 5;
  const SData d = Make(EIsothermModel::kToth, {3.0, 0.05, 0.6}, 0.01, 99.0, setup);
  std::vector<EIsothermModel> kinds;
  for (auto const& name : fiofla::IsothermModelNames()) {
    const EIsothermModel kind = fiofla::ParseIsothermModelName(name)->kind;
    if (kind != EIsothermModel::kComposite) kinds.push_back(kind);
  }
  int usable = 0;
  for (auto _ : state) {
    const auto fits = fiofla::FitBest(kinds, d.p, d.q, setup);
    usable = 0;
    for (auto const& f : fits) usable += f.Usable();
    benchmark::DoNotOptimize(fits.data());
  }
  state.counters["families"] = double(kinds.size());
  state.counters["usable"] = usable;
}
BENCHMARK(BM_FitBestAllFamilies)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
