// Speed of the chemisorption calculation: the three extrapolated lines of a combined and weak
// pair, the same with the eight model fits, and the active-metal arithmetic.
#include <benchmark/benchmark.h>

#include <cmath>
#include <random>
#include <vector>

#include "fiofla/gaschemi.h"

namespace {

// A hydrogen-on-platinum pair as a run measures it: 16 pressures from 2 to 500 mmHg, strong
// dissociative Langmuir on top of weak Langmuir plus support, 0.02 µmol/g of noise.
CSinfeltCalc::SInput Pair(bool fit) {
  std::mt19937 rng(5);
  std::normal_distribution<double> noise(0.0, 0.02 / fiofla::kMicromolPerCm3Stp);
  CSinfeltCalc::SInput in;
  in.m_FitModels = fit;
  for (double p :
       {2., 5., 10., 20., 40., 60., 80., 100., 150., 200., 250., 300., 350., 400., 450., 500.}) {
    const double s = std::sqrt(50.0 * p);
    const double weak =
        (3.0 * 0.05 * p / (1.0 + 0.05 * p) + 0.002 * p) / fiofla::kMicromolPerCm3Stp;
    const double strong = 10.25 * s / (1.0 + s) / fiofla::kMicromolPerCm3Stp;
    in.m_CombinedPressures.push_back(p);
    in.m_CombinedQuantities.push_back(strong + weak + noise(rng));
    in.m_WeakPressures.push_back(p * 1.01);
    in.m_WeakQuantities.push_back(weak + noise(rng));
  }
  return in;
}

void BM_SinfeltCalc_16Points_LinesOnly(benchmark::State& state) {
  const auto in = Pair(false);
  for (auto _ : state) {
    CSinfeltCalc calc(in);
    benchmark::DoNotOptimize(calc.GetUptake(CSinfeltCalc::eStrong));
  }
}
BENCHMARK(BM_SinfeltCalc_16Points_LinesOnly);

void BM_SinfeltCalc_16Points_WithModelFits(benchmark::State& state) {
  const auto in = Pair(true);
  for (auto _ : state) {
    CSinfeltCalc calc(in);
    benchmark::DoNotOptimize(calc.GetModelFits().data());
  }
}
BENCHMARK(BM_SinfeltCalc_16Points_WithModelFits);

void BM_ActiveSurfaceCalc(benchmark::State& state) {
  CActiveSurfaceCalc::SInput in = CActiveSurfaceCalc::InputFor(*fiofla::FindMetal("Pt"));
  in.m_Uptake = 10.25;
  in.m_MetalLoadingPercent = 1.0;
  for (auto _ : state) {
    CActiveSurfaceCalc calc(in);
    benchmark::DoNotOptimize(calc.GetCrystalliteSizeNm());
  }
}
BENCHMARK(BM_ActiveSurfaceCalc);

}  // namespace

BENCHMARK_MAIN();
