// Speed of the numerics the DFT deconvolution rests on: non-negative least squares on a
// 100 x 100 kernel-like problem, cold and warm-started along a sweep of weights.
#include <benchmark/benchmark.h>

#include <cmath>

#include "fiofla/num/nnls.h"

namespace {

// A smooth, ill-conditioned kernel (column j fills at its own pressure), a two-peak
// distribution read through it, and second-difference rows weighted by lambda.
void Kernel(std::size_t m, std::size_t n, double lambda, CNumMatrix<double>& a,
            CNumVector<double>& b) {
  a.SetDim(m + n - 2, n);
  b.SetDim(m + n - 2);
  for (std::size_t i = 0; i < m; ++i) {
    const double x = double(i) / double(m - 1);
    b[i] = 0.0;
    for (std::size_t j = 0; j < n; ++j) {
      const double w = double(j) / double(n - 1);
      a(i, j) = 1.0 / (1.0 + std::exp(-(x - w) * 40.0));
      b[i] += a(i, j) * (std::exp(-std::pow((w - 0.3) / 0.05, 2)) +
                         0.5 * std::exp(-std::pow((w - 0.7) / 0.08, 2)));
    }
  }
  for (std::size_t k = 1; k + 1 < n; ++k) {
    a(m + k - 1, k - 1) = lambda;
    a(m + k - 1, k) = -2.0 * lambda;
    a(m + k - 1, k + 1) = lambda;
    b[m + k - 1] = 0.0;
  }
}

void BM_NNLS_100x100(benchmark::State& state) {
  CNumMatrix<double> a;
  CNumVector<double> b;
  Kernel(100, 100, 1e-2, a, b);
  int iterations = 0;
  for (auto _ : state) {
    CNumNNLS nnls(a, b);
    nnls.SetSettings(1e-7, 1e-5, 1, 100);
    nnls.Run();
    nnls.Run();
    iterations = nnls.Summary().totalIterations;
    benchmark::DoNotOptimize(nnls.Solution()[0]);
  }
  state.counters["iterations"] = iterations;
}
BENCHMARK(BM_NNLS_100x100)->Unit(benchmark::kMicrosecond);

// Twelve weights from 1e-4 to 1e-1 on one solver, each from the last free set.
void BM_NNLS_100x100_WarmSweep(benchmark::State& state) {
  std::vector<CNumMatrix<double>> as(12);
  std::vector<CNumVector<double>> bs(12);
  for (int k = 0; k < 12; ++k) Kernel(100, 100, 1e-4 * std::pow(10.0, k / 3.67), as[k], bs[k]);
  for (auto _ : state) {
    CNumNNLS nnls;
    nnls.SetSettings(1e-7, 1e-5, 1, 100);
    for (int k = 0; k < 12; ++k) {
      nnls.SetProblem(as[k], bs[k]);
      nnls.Run();
    }
    benchmark::DoNotOptimize(nnls.Solution()[0]);
  }
}
BENCHMARK(BM_NNLS_100x100_WarmSweep)->Unit(benchmark::kMicrosecond);

}  // namespace

BENCHMARK_MAIN();
