// Speed and allocation count of the BET calculation, the BET range search and the tool's
// bet and report commands.
#include <benchmark/benchmark.h>

#include <atomic>
#include <cstdlib>
#include <new>
#include <sstream>
#include <vector>

#include "fiofla/bet_range.h"
#include "fiofla/calc_bet.h"
#ifdef FIOFLA_BENCH_TOOL
#include "cli.h"
#endif

// Counts every allocation of the process so a benchmark can report allocations per run.
static std::atomic<long> g_allocations{0};

void* operator new(std::size_t size) {
  g_allocations.fetch_add(1, std::memory_order_relaxed);
  if (void* p = std::malloc(size ? size : 1)) return p;
  throw std::bad_alloc();
}
void* operator new[](std::size_t size) {
  return operator new(size);
}
void operator delete(void* p) noexcept {
  std::free(p);
}
void operator delete[](void* p) noexcept {
  std::free(p);
}
void operator delete(void* p, std::size_t) noexcept {
  std::free(p);
}
void operator delete[](void* p, std::size_t) noexcept {
  std::free(p);
}

namespace {

// A 40-point adsorption isotherm from the BET model with a little deterministic ripple.
CCalcBET::SInput FortyPointInput() {
  CCalcBET::SInput in;
  const int n = 40;
  in.relativePressure.SetDim(n);
  in.quantityAdsorbed.SetDim(n);
  in.pointFlags.SetDim(n);
  const double c = 110.0, qm = 85.0;
  for (int i = 0; i < n; ++i) {
    const double x = 0.01 + 0.97 * i / (n - 1);
    const double q = c * qm * x / ((1 - x) * (1 + (c - 1) * x));
    in.relativePressure[i] = x;
    in.quantityAdsorbed[i] = q * (1.0 + 1e-3 * ((i * 7919) % 13 - 6) / 6.0);
    short flags = CCalcBET::POINT_INCLUDED;
    if (x >= 0.05 && x <= 0.30) flags |= CCalcBET::POINT_IN_RANGE;
    in.pointFlags[i] = flags;
  }
  in.crossSectionalArea = 0.162;
  return in;
}

void BM_CalcBET_40Points(benchmark::State& state) {
  const CCalcBET::SInput input = FortyPointInput();
  const long before = g_allocations.load();
  for (auto _ : state) {
    CCalcBET bet(input);
    benchmark::DoNotOptimize(bet.surfaceArea);
  }
  state.counters["allocs_per_calc"] =
      benchmark::Counter(double(g_allocations.load() - before) / double(state.iterations()));
}
BENCHMARK(BM_CalcBET_40Points);

// Range search over an n-point BET isotherm from P/Po 0.001 to 0.95 with the same ripple,
// so the criteria fail in realistic places instead of all windows passing.
void FindBetRangeOn(benchmark::State& state, int n, double ripple = 1e-3) {
  std::vector<double> x(n), q(n);
  const double c = 110.0, qm = 85.0;
  for (int i = 0; i < n; ++i) {
    x[i] = 0.001 + 0.949 * i / (n - 1);
    q[i] = c * qm * x[i] / ((1 - x[i]) * (1 + (c - 1) * x[i])) *
           (1.0 + ripple * ((i * 7919) % 13 - 6) / 6.0);
  }
  std::size_t windows = 0;
  const long before = g_allocations.load();
  for (auto _ : state) {
    const fiofla::BetRangeResult r = fiofla::FindBetRange(x.data(), q.data(), x.size());
    if (!r.found) state.SkipWithError("no BET range found");
    windows = r.windowsSearched;
    benchmark::DoNotOptimize(r.first);
  }
  state.counters["allocs_per_search"] =
      benchmark::Counter(double(g_allocations.load() - before) / double(state.iterations()));
  state.counters["windows"] = double(windows);
}

void BM_FindBetRange_100Points(benchmark::State& state) {
  FindBetRangeOn(state, 100);
}
BENCHMARK(BM_FindBetRange_100Points);

void BM_FindBetRange_150Points(benchmark::State& state) {
  FindBetRangeOn(state, 150);
}
BENCHMARK(BM_FindBetRange_150Points);

// Past 2,000 points the search runs over 2,000 blocks: the cost stops growing with n².
// Without the ripple, which at this density breaks criterion 1 in every window.
void BM_FindBetRange_Dense(benchmark::State& state) {
  FindBetRangeOn(state, int(state.range(0)), 0.0);
}
BENCHMARK(BM_FindBetRange_Dense)
    ->Arg(10000)
    ->Arg(100000)
    ->Arg(1000000)
    ->Unit(benchmark::kMillisecond);

#ifdef FIOFLA_BENCH_TOOL
void BM_ToolBetCommand(benchmark::State& state) {
  const std::string file = std::string(FIOFLA_DATA_DIR) + "/examples/n2_77k_silica.csv";
  for (auto _ : state) {
    std::ostringstream out, err;
    const int code = fiofla::cli::Run({"bet", file}, out, err);
    if (code != 0) state.SkipWithError("fiofla bet failed");
    benchmark::DoNotOptimize(out.str().size());
  }
}
BENCHMARK(BM_ToolBetCommand);

void BM_ToolBetCommandJson(benchmark::State& state) {
  const std::string file = std::string(FIOFLA_DATA_DIR) + "/examples/n2_77k_silica.csv";
  for (auto _ : state) {
    std::ostringstream out, err;
    const int code = fiofla::cli::Run({"bet", file, "--json"}, out, err);
    if (code != 0) state.SkipWithError("fiofla bet --json failed");
    benchmark::DoNotOptimize(out.str().size());
  }
}
BENCHMARK(BM_ToolBetCommandJson);

// The whole report command in-process: read, BET with the range search, report model, and
// rendering, for each output format.
void BM_ToolReportCommand(benchmark::State& state) {
  static const char* const kFormats[] = {"html", "json", "text"};
  const char* format = kFormats[state.range(0)];
  const std::string file = std::string(FIOFLA_DATA_DIR) + "/examples/n2_77k_silica.csv";
  std::size_t bytes = 0;
  for (auto _ : state) {
    std::ostringstream out, err;
    const int code = fiofla::cli::Run({"report", file, "--auto", "--format", format}, out, err);
    if (code != 0) state.SkipWithError("fiofla report failed");
    bytes = out.str().size();
    benchmark::DoNotOptimize(bytes);
  }
  state.SetLabel(std::string(format) + ", " + std::to_string(bytes) + " bytes");
}
BENCHMARK(BM_ToolReportCommand)->DenseRange(0, 2);
#endif

}  // namespace

BENCHMARK_MAIN();
