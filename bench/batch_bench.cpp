// Throughput of batch analysis: 10,000 synthetic nitrogen isotherms (40 adsorption and 20
// desorption points each, varied per file, 0.2 % noise) written once to a temporary folder,
// then read and analysed by RunBatch on 1 and 2 threads: everything (automatic BET, t-plot,
// BJH), reading only, and each analysis alone on one thread, to show where the time goes.
// The files stay in the page cache after the first pass, so this is the work of fiofla, not
// of the disk.
#include <benchmark/benchmark.h>
#include <unistd.h>

#include <filesystem>
#include <string>
#include <vector>

#include "batch_synthetic.h"
#include "fiofla/batch.h"

namespace {

namespace fs = std::filesystem;

constexpr std::uint32_t kFiles = 10000;

// The files, written on first use and removed at exit.
struct Corpus {
  fs::path dir;
  std::vector<std::string> files;
  Corpus() {
    dir = fs::temp_directory_path() / ("fiofla-batch-bench-" + std::to_string(::getpid()));
    fs::create_directories(dir);
    for (std::uint32_t i = 0; i < kFiles; ++i) {
      const std::string path = (dir / ("iso" + std::to_string(i) + ".csv")).string();
      fiofla::test::WriteText(path, fiofla::test::SyntheticCsv(fiofla::test::VariedSynthetic(i)));
      files.push_back(path);
    }
  }
  ~Corpus() { fs::remove_all(dir); }
};

const Corpus& Files() {
  static const Corpus corpus;
  return corpus;
}

void Run(benchmark::State& state, std::vector<std::string> analyses) {
  const auto& files = Files().files;
  fiofla::SBatchOptions options;
  options.analyses = std::move(analyses);
  options.jobs = static_cast<int>(state.range(0));
  std::size_t failed = 0;
  for (auto _ : state) {
    const auto rows = fiofla::RunBatch(files, options);
    failed = 0;
    for (const auto& row : rows) failed += row.status == "error" || row.status == "partial";
    benchmark::DoNotOptimize(rows.data());
  }
  state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations() * files.size()));
  state.counters["without_result"] = static_cast<double>(failed);
}

void BM_BatchAll(benchmark::State& state) {
  Run(state, {"bet", "tplot", "bjh"});
}
void BM_BatchReadOnly(benchmark::State& state) {
  Run(state, {});
}
void BM_BatchBet(benchmark::State& state) {
  Run(state, {"bet"});
}
void BM_BatchTPlot(benchmark::State& state) {
  Run(state, {"tplot"});
}
void BM_BatchBjh(benchmark::State& state) {
  Run(state, {"bjh"});
}

BENCHMARK(BM_BatchAll)->Arg(1)->Arg(2)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(3);
BENCHMARK(BM_BatchReadOnly)->Arg(1)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(3);
BENCHMARK(BM_BatchBet)->Arg(1)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(3);
BENCHMARK(BM_BatchTPlot)->Arg(1)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(3);
BENCHMARK(BM_BatchBjh)->Arg(1)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(3);

// Writing the rows, for completeness: CSV of 10,000 rows.
void BM_BatchWriteCsv(benchmark::State& state) {
  fiofla::SBatchOptions options;
  options.jobs = 2;
  const auto rows = fiofla::RunBatch(Files().files, options);
  for (auto _ : state) benchmark::DoNotOptimize(fiofla::FormatBatchCsv(rows, options).size());
  state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations() * rows.size()));
}
BENCHMARK(BM_BatchWriteCsv)->Unit(benchmark::kMillisecond)->Iterations(3);

}  // namespace

BENCHMARK_MAIN();
