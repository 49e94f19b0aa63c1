// The density-functional engine: one converged profile of nitrogen at 77.35 K in a carbon
// slit, solved from the profile of the pressure before (as kernels are built), for pores
// of about 260, 560 and 1070 grid points; and one pore's whole adsorption branch.
#include <benchmark/benchmark.h>

#include <cmath>

#include "fiofla/dft_slit.h"

namespace {

using namespace fiofla::dft;

const BulkFluid& Nitrogen() {
  static const BulkFluid fluid({94.45, 0.3575, 0.3575, 5.0, 28.0134}, 77.35);
  return fluid;
}

std::vector<double> Pressures() {
  std::vector<double> x;
  for (int k = 0;; ++k) {
    const double p = 1e-7 * std::pow(10.0, k / 20.0);
    if (p > 0.995) break;
    x.push_back(p);
  }
  return x;
}

// One profile at P/Po 0.1 started from the converged profile at 0.0891.
void BM_DftProfile(benchmark::State& state) {
  const double width = double(state.range(0)) / 10.0;
  const SlitPore pore(Nitrogen(), {53.22, 0.3494}, width);
  const double mu = ChemicalPotentialAt(Nitrogen(), 0.1);
  const double rho0 = Nitrogen().VapourDensityAt(0.0891 * Nitrogen().Coexist().pressure);
  SlitProfile start;
  for (double p : Pressures()) {
    if (p > 0.0891) break;
    start = pore.Solve(ChemicalPotentialAt(Nitrogen(), p), start.rho, rho0);
  }
  int iterations = 0;
  for (auto _ : state) {
    const SlitProfile prof = pore.Solve(mu, start.rho, 0.0);
    iterations = prof.iterations;
    benchmark::DoNotOptimize(prof.amount);
  }
  state.counters["points"] = double(pore.Z().size());
  state.counters["iterations"] = iterations;
}
BENCHMARK(BM_DftProfile)->Arg(12)->Arg(30)->Arg(60)->Unit(benchmark::kMillisecond);

// The adsorption branch of a 2 nm pore over 140 pressures, 1e-7 to 0.995.
void BM_DftBranch2nm(benchmark::State& state) {
  const SlitPore pore(Nitrogen(), {53.22, 0.3494}, 2.0);
  const std::vector<double> x = Pressures();
  for (auto _ : state) benchmark::DoNotOptimize(AdsorptionBranch(pore, x).back().amount);
  state.counters["pressures"] = double(x.size());
}
BENCHMARK(BM_DftBranch2nm)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
