// The DFT deconvolution on a 100 × 100 synthetic kernel with 100 measured points: the
// regularised solve at a fixed λ, with λ chosen automatically, and the whole calculation
// with the B-spline search.
#include <benchmark/benchmark.h>

#include <memory>

#include "dft_synthetic.h"
#include "fiofla/gasdft.h"

namespace {

using fiofla::testing::LogSpaced;

CDFTCalc::SInput Input() {
  const fiofla::testing::SyntheticGas gas;
  const std::vector<double> kw = LogSpaced(3.6, 360.0, 100);
  std::vector<double> p = LogSpaced(1e-6, 0.1, 50);
  for (int k = 1; k <= 50; ++k) p.push_back(0.1 + 0.88 * k / 50.0);
  CDFTCalc::SInput in;
  in.model = std::make_shared<CDFTModel>(
      fiofla::testing::SyntheticKernel(gas, LogSpaced(1e-7, 0.995, 100), kw));
  in.pressures = p;
  in.quantities = fiofla::testing::SyntheticIsotherm(
      gas, p, kw, fiofla::testing::PeakAreas(kw, {{8.0, 0.05, 0.3}, {40.0, 0.06, 0.5}}), 0.005);
  return in;
}

void Run(benchmark::State& state, CDFTCalc::SInput const& in) {
  for (auto _ : state) {
    const CDFTCalc calc(in);
    if (!calc.IsOK()) state.SkipWithError("the calculation failed");
    benchmark::DoNotOptimize(calc.GetTotalPoreVolume());
  }
}

void BM_DFT_FixedLambda(benchmark::State& state) {
  auto in = Input();
  in.lambdaMethod = CDFTCalc::ELambda::kFixed;
  in.lambda = 0.01;
  Run(state, in);
}
BENCHMARK(BM_DFT_FixedLambda)->Unit(benchmark::kMillisecond);

void BM_DFT_AutoLambda(benchmark::State& state) {
  Run(state, Input());
}
BENCHMARK(BM_DFT_AutoLambda)->Unit(benchmark::kMillisecond);

void BM_DFT_AutoLambdaBSpline(benchmark::State& state) {
  auto in = Input();
  in.bspline = true;
  Run(state, in);
}
BENCHMARK(BM_DFT_AutoLambdaBSpline)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
