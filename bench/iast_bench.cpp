// Speed of IAST: one binary point with fitted models (Langmuir and Toth, the Toth's π by
// quadrature), one ten-component point, and a 100-point pressure sweep started point by point
// from the one before, against the same points solved cold.
#include <benchmark/benchmark.h>

#include <cmath>
#include <vector>

#include "fiofla/gasiast.h"
#include "fiofla/isotherm_fit.h"

namespace {

using fiofla::EIsothermModel;

// A model fitted to 30 points sampled from the given one, as a caller would have it.
fiofla::SIastComponent Fitted(EIsothermModel kind, std::vector<double> truth) {
  auto m = fiofla::MakeIsothermModel(kind, truth).model;
  std::vector<double> p, q;
  for (int i = 0; i < 30; ++i) {
    p.push_back(std::pow(10.0, -2.0 + 4.0 * i / 29.0));
    q.push_back(m->Loading(p.back()));
  }
  fiofla::SIastComponent c;
  c.model = fiofla::FitIsotherm(kind, p, q).model;
  c.maxPressure = p.back();
  return c;
}

CIASTCalculation Binary(bool toth) {
  return CIASTCalculation({Fitted(EIsothermModel::kLangmuir, {5.0, 0.9}),
                           toth ? Fitted(EIsothermModel::kToth, {2.5, 0.3, 0.6})
                                : Fitted(EIsothermModel::kLangmuir, {3.0, 0.02})});
}

void BM_IastBinaryPoint(benchmark::State& state) {
  const CIASTCalculation calc = Binary(state.range(0) == 1);
  int iterations = 0;
  for (auto _ : state) {
    auto pt = calc.Mixture({0.15, 0.85}, 2.0);
    iterations = pt.iterations;
    benchmark::DoNotOptimize(pt.totalLoading);
  }
  state.counters["newton"] = iterations;
}
BENCHMARK(BM_IastBinaryPoint)->Arg(0)->Arg(1)->Unit(benchmark::kMicrosecond);

void BM_IastTenComponents(benchmark::State& state) {
  std::vector<fiofla::SIastComponent> comps;
  for (int i = 0; i < 10; ++i) {
    fiofla::SIastComponent c;
    c.model = fiofla::MakeIsothermModel(EIsothermModel::kLangmuir,
                                        {2.0 + 0.4 * i, 0.01 * std::pow(2.0, i)})
                  .model;
    comps.push_back(c);
  }
  const CIASTCalculation calc(comps);
  const std::vector<double> y(10, 0.1);
  int iterations = 0;
  for (auto _ : state) {
    auto pt = calc.Mixture(y, 5.0);
    iterations = pt.iterations;
    benchmark::DoNotOptimize(pt.totalLoading);
  }
  state.counters["newton"] = iterations;
}
BENCHMARK(BM_IastTenComponents)->Unit(benchmark::kMicrosecond);

// Arg 1: PressureSweep (warm starts); arg 0: the same 100 points, each from a cold start.
void BM_IastPressureSweep100(benchmark::State& state) {
  const CIASTCalculation calc = Binary(true);
  std::vector<double> pressures;
  for (int i = 0; i < 100; ++i) pressures.push_back(std::pow(10.0, -2.0 + 4.0 * i / 99.0));
  int iterations = 0;
  for (auto _ : state) {
    iterations = 0;
    if (state.range(0) == 1) {
      for (auto const& pt : calc.PressureSweep({0.3, 0.7}, pressures)) iterations += pt.iterations;
    } else {
      for (double p : pressures) iterations += calc.Mixture({0.3, 0.7}, p).iterations;
    }
    benchmark::DoNotOptimize(iterations);
  }
  state.counters["newton"] = iterations;
}
BENCHMARK(BM_IastPressureSweep100)->Arg(0)->Arg(1)->Unit(benchmark::kMicrosecond);

}  // namespace

BENCHMARK_MAIN();
