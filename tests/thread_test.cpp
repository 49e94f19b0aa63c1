// The documented pattern for threads: each thread its own gas cache and calculation
// objects; the process-wide formatters and texts only read. Run under ThreadSanitizer by
// `make test`, which fails on any data race.
#include <gtest/gtest.h>

#include <cmath>
#include <memory>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "dft_synthetic.h"
#include "fiofla/calc_bet.h"
#include "fiofla/compress.h"
#include "fiofla/dft_slit.h"
#include "fiofla/io/isotherm_file.h"
#include "fiofla/io/measurement_file.h"
#include "fiofla/measurement.h"
#include "fiofla/report/report_render.h"
#include "fiofla/report_bet.h"
#include "test_util.h"

namespace {

struct Outcome {
  double reducedArea = 0.0;
  double pygapsArea = 0.0;
  double zSum = 0.0;
  std::size_t reportBytes = 0;
};

double Area(const fiofla::IsothermData& iso) {
  const CCalcBET bet(fiofla::MakeBETInput(iso.relativePressure, iso.quantityAdsorbedCm3PerGStp,
                                          iso.branch, 0.05, 0.30, 0.162));
  return bet.surfaceArea;
}

// Everything a worker of a batch application does with one isotherm, several times, with
// more gases than a cache keeps so that tables are loaded and evicted while others work.
Outcome Work() {
  CGasCompressibilityCache& cache = CGasCompressibilityCache::ForThisThread();
  Outcome out;
  const fiofla::Measurement run =
      fiofla::ReadMeasurementFile(fiofla::test::ShippedData("examples/n2_77k_run.json"));
  fiofla::IsothermReadOptions options;
  options.gasCache = &cache;
  for (int round = 0; round < 5; ++round) {
    out.reducedArea = Area(fiofla::ReduceMeasurement(run, cache).ToIsothermData());
    // mg/g needs the nitrogen table from this thread's cache.
    out.pygapsArea = Area(fiofla::ReadIsothermFile(
        fiofla::test::ShippedData("examples/n2_77k_silica_pygaps.json"), options));
    out.zSum = 0.0;
    for (const char* gas : {"argon", "krypton", "methane", "oxygen", "CO2", "N2"}) {
      const CGasCompressibilityTable* table = cache.GetGas(CStr(gas));
      EXPECT_NE(table, nullptr) << gas;
      if (table != nullptr) out.zSum += (*table)(700.0, 300.0, nullptr);
    }
    const auto bet = std::make_shared<CCalcBET>(fiofla::MakeBETInput(
        {0.05, 0.1, 0.15, 0.2, 0.25}, {80, 90, 97, 103, 109},
        std::vector<fiofla::Branch>(5, fiofla::Branch::kAdsorption), 0.05, 0.3, 0.162));
    CReportPageData page("BET");
    NBET::AddSummaryTable(*bet, &page, nullptr);
    std::ostringstream text;
    fiofla::RenderText({&page}, fiofla::RenderOptions(), text);
    out.reportBytes = text.str().size();
  }
  return out;
}

TEST(Threads, EachThreadWithItsOwnCacheAndObjects) {
  const Outcome alone = Work();
  std::vector<Outcome> outcomes(4);
  std::vector<std::thread> threads;
  for (Outcome& o : outcomes) threads.emplace_back([&o] { o = Work(); });
  for (std::thread& t : threads) t.join();
  for (const Outcome& o : outcomes) {
    EXPECT_EQ(o.reducedArea, alone.reducedArea);
    EXPECT_EQ(o.pygapsArea, alone.pygapsArea);
    EXPECT_EQ(o.zSum, alone.zSum);
    EXPECT_EQ(o.reportBytes, alone.reportBytes);
  }
  EXPECT_GT(alone.reducedArea, 300.0);
}

TEST(Threads, DftCalculationsShareOneKernel) {
  const fiofla::testing::SyntheticGas gas;
  const std::vector<double> kw = fiofla::testing::LogSpaced(3.6, 360.0, 60);
  CDFTCalc::SInput in;
  in.model = std::make_shared<CDFTModel>(
      fiofla::testing::SyntheticKernel(gas, fiofla::testing::LogSpaced(1e-7, 0.995, 60), kw));
  in.pressures = fiofla::testing::LogSpaced(1e-6, 0.95, 40);
  in.quantities = fiofla::testing::SyntheticIsotherm(
      gas, in.pressures, kw, fiofla::testing::PeakAreas(kw, {{10.0, 0.06, 0.4}}), 0.005);
  in.bspline = true;
  const double alone = CDFTCalc(in).GetTotalPoreVolume();
  std::vector<double> volumes(4);
  std::vector<std::thread> threads;
  for (double& v : volumes)
    threads.emplace_back([&v, &in] { v = CDFTCalc(in).GetTotalPoreVolume(); });
  for (std::thread& t : threads) t.join();
  for (double v : volumes) EXPECT_EQ(v, alone);
  EXPECT_NEAR(alone, 0.4, 0.01);
}

// Pores made and solved on several threads at once: the transforms' plans are made under a
// lock, the solves share nothing.
TEST(Threads, DftSlitPoresOnSeveralThreads) {
  const fiofla::dft::BulkFluid nitrogen({94.45, 0.3575, 0.3575, 5.0, 28.0134}, 77.35);
  const double mu = fiofla::dft::ChemicalPotentialAt(nitrogen, 0.1);
  auto amount = [&](double width) {
    const fiofla::dft::SlitPore pore(nitrogen, {53.22, 0.3494}, width);
    std::vector<double> x;
    for (int k = 0; k <= 24; ++k) x.push_back(1e-7 * std::pow(10.0, k / 4.0));
    return fiofla::dft::AdsorptionBranch(pore, x).back().amount;
  };
  const std::vector<double> widths = {0.7, 1.2, 2.0, 3.5};
  std::vector<double> alone, together(widths.size());
  for (double w : widths) alone.push_back(amount(w));
  std::vector<std::thread> threads;
  for (std::size_t k = 0; k < widths.size(); ++k)
    threads.emplace_back([&, k] { together[k] = amount(widths[k]); });
  for (std::thread& t : threads) t.join();
  EXPECT_EQ(together, alone);
  EXPECT_TRUE(std::isfinite(mu));
}

}  // namespace
