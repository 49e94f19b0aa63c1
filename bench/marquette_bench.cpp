// Levenberg-Marquardt on the NIST StRD nonlinear-regression problems: time per fit from each
// start, with the log relative error (LRE) of the worst parameter as a counter, so the run is
// the scorecard of BENCHMARKS.md. Where Ceres's TinySolver header is installed, the same
// problems also run through it, the comparison behind the engine's choice.
#include <benchmark/benchmark.h>

#include <string>

#include "fiofla/num/marquette.h"
#include "nist_strd.h"

#if __has_include(<ceres/tiny_solver.h>)
#include <ceres/tiny_solver.h>
#define FIOFLA_BENCH_TINY_SOLVER 1
#endif

namespace {

using fiofla::test::NistProblem;

std::vector<NistProblem> const& Problems() {
  static const auto all = fiofla::test::ReadNistFolder(FIOFLA_TEST_DATA_DIR "/nist");
  return all;
}

void BM_Marquette(benchmark::State& state, NistProblem const* p, int start) {
  fiofla::test::NistResult r;
  for (auto _ : state) {
    r = fiofla::test::FitNist(*p, start);
    benchmark::DoNotOptimize(r.minLre);
  }
  state.counters["LRE"] = r.minLre;
  state.counters["iterations"] = r.summary.iterations;
  state.counters["pass"] = r.valid && r.minLre >= 4.0 ? 1 : 0;
}

#ifdef FIOFLA_BENCH_TINY_SOLVER
// The same residuals (model − y) and exact Jacobian, in TinySolver's form.
struct TinyResiduals {
  using Scalar = double;
  enum { NUM_RESIDUALS = Eigen::Dynamic, NUM_PARAMETERS = Eigen::Dynamic };
  NistProblem const* p;
  fiofla::test::NistModel model;
  int NumResiduals() const { return int(p->y.size()); }
  int NumParameters() const { return int(p->start1.size()); }
  bool operator()(const double* b, double* r, double* jac) const {
    const std::size_t n = p->start1.size(), m = p->y.size();
    std::vector<fiofla::test::Dual> d;
    for (std::size_t k = 0; k < n; ++k) d.emplace_back(b[k], n, k);
    for (std::size_t i = 0; i < m; ++i) {
      const auto f = model(p->x[i], d);
      r[i] = f.v - (p->name == "Nelson" ? std::log(p->y[i]) : p->y[i]);
      if (jac) {
        for (std::size_t k = 0; k < n; ++k) jac[k * m + i] = k < f.d.size() ? f.d[k] : 0.0;
      }
    }
    return true;
  }
};

void BM_TinySolver(benchmark::State& state, NistProblem const* p, int start) {
  TinyResiduals fn{p, fiofla::test::NistModels().at(p->name)};
  double lre = 0.0;
  for (auto _ : state) {
    auto const& s = start == 1 ? p->start1 : p->start2;
    Eigen::VectorXd b = Eigen::Map<const Eigen::VectorXd>(s.data(), Eigen::Index(s.size()));
    ceres::TinySolver<TinyResiduals> solver;
    // Tightened like ours, and enough iterations for the hard problems.
    solver.options.max_num_iterations = 4000;
    solver.options.function_tolerance = 1e-20;
    solver.options.parameter_tolerance = 1e-14;
    solver.options.gradient_tolerance = 1e-20;
    solver.Solve(fn, &b);
    lre = 11.0;
    for (std::size_t k = 0; k < s.size(); ++k) {
      lre = std::min(lre, fiofla::test::Lre(b[Eigen::Index(k)], p->certified[k]));
    }
    benchmark::DoNotOptimize(lre);
  }
  state.counters["LRE"] = lre;
  state.counters["pass"] = lre >= 4.0 ? 1 : 0;
}
#endif

[[maybe_unused]] const bool registered = [] {
  for (auto const& p : Problems()) {
    for (int s = 1; s <= 2; ++s) {
      const std::string tag = p.name + "/start" + std::to_string(s);
      benchmark::RegisterBenchmark(("BM_Marquette/" + tag).c_str(), BM_Marquette, &p, s);
#ifdef FIOFLA_BENCH_TINY_SOLVER
      benchmark::RegisterBenchmark(("BM_TinySolver/" + tag).c_str(), BM_TinySolver, &p, s);
#endif
    }
  }
  return true;
}();

}  // namespace

BENCHMARK_MAIN();
