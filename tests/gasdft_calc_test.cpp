// The DFT deconvolution: recovery of known distributions from synthetic isotherms, the
// B-spline search, the dual model, the statuses and the class arithmetic.
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <memory>

#include "dft_synthetic.h"
#include "fiofla/gasdft.h"

namespace {

using fiofla::testing::LogSpaced;
using fiofla::testing::Peak;
using fiofla::testing::SyntheticGas;

// A usual measurement: log-spaced in the micropore range, then evenly to 0.98.
std::vector<double> MeasuredPressures(double from = 1e-6, double to = 0.98) {
  std::vector<double> p = LogSpaced(from, 0.1, 35);
  for (int k = 1; k <= 30; ++k) p.push_back(0.1 + (to - 0.1) * k / 30.0);
  return p;
}

// A 100 × 100 synthetic kernel and a two-peak distribution on it.
struct Case {
  SyntheticGas gas;
  std::vector<double> kp = LogSpaced(1e-7, 0.995, 100), kw = LogSpaced(3.6, 360.0, 100);
  std::vector<double> mp = MeasuredPressures();
  std::vector<Peak> peaks = {{8.0, 0.05, 0.30}, {40.0, 0.06, 0.50}};
  std::shared_ptr<const CDFTModel> kernel =
      std::make_shared<CDFTModel>(fiofla::testing::SyntheticKernel(gas, kp, kw));
  std::vector<double> area = fiofla::testing::PeakAreas(kw, peaks);

  CDFTCalc::SInput Input(double noise) const {
    CDFTCalc::SInput in;
    in.pressures = mp;
    in.quantities = fiofla::testing::SyntheticIsotherm(gas, mp, kw, area, noise);
    in.model = kernel;
    in.gasName = CStr("n2");
    in.temperature = 77.3;
    return in;
  }
  double TotalVolume() const {
    double v = 0.0;
    for (Peak const& p : peaks) v += p.volume;
    return v;
  }
  // Index of the largest true incremental volume between two widths.
  std::size_t TruePeak(double lo, double hi) const {
    std::size_t at = 0;
    double best = -1.0;
    for (std::size_t j = 0; j < kw.size(); ++j) {
      const double v = area[j] * kw[j] / 2.0;
      if (kw[j] >= lo && kw[j] <= hi && v > best) best = v, at = j;
    }
    return at;
  }
};

// Index (into the kernel's widths) of the calculation's largest incremental volume between
// two widths.
std::size_t FoundPeak(CDFTCalc const& calc, std::vector<double> const& kw, double lo, double hi) {
  CNumVector<double> w, v;
  calc.GetPoreDiameters(w);
  calc.GetIncrementalVolume(v);
  double best = -1.0, at = 0.0;
  for (std::size_t k = 0; k < w.size(); ++k)
    if (w[k] >= lo && w[k] <= hi && v[k] > best) best = v[k], at = w[k];
  return std::size_t(std::find(kw.begin(), kw.end(), at) - kw.begin());
}

void ExpectRecovered(CDFTCalc const& calc, Case const& c, double volumeTolerance = 0.01) {
  EXPECT_TRUE(calc.IsOK()) << calc.GetStatus();
  EXPECT_NEAR(calc.GetTotalPoreVolume(), c.TotalVolume(), volumeTolerance * c.TotalVolume());
  for (auto range : {std::pair<double, double>{3, 20}, {20, 200}}) {
    const long found = long(FoundPeak(calc, c.kw, range.first, range.second));
    const long truth = long(c.TruePeak(range.first, range.second));
    EXPECT_LE(std::labs(found - truth), 1)
        << "peak between " << range.first << " and " << range.second << " Å";
  }
}

TEST(DFTCalcRecovery, TwoPeaksWithAutomaticLambdaWithAndWithoutNoise) {
  const Case c;
  for (double noise : {0.0, 0.005})
    for (auto method : {CDFTCalc::ELambda::kGcv, CDFTCalc::ELambda::kLCurve}) {
      SCOPED_TRACE(testing::Message() << "noise " << noise << ", method " << int(method));
      auto in = c.Input(noise);
      in.lambdaMethod = method;
      const CDFTCalc calc(in);
      ExpectRecovered(calc, c);
      EXPECT_GT(calc.GetLambda(), 0.0);
      EXPECT_GE(calc.GetLambdaCurve().size(), 15u);
      EXPECT_GT(calc.GetDegreesOfFreedom(), 1.0);
      EXPECT_LT(calc.GetDegreesOfFreedom(), double(c.mp.size()));
      // The fitted isotherm follows the measured one to the noise.
      EXPECT_LT(calc.RMSError(), (noise + 0.002) * 500.0);
      EXPECT_EQ(calc.GetNumPoints(), c.mp.size());
      // The area of a slit class is twice its volume over its width.
      CNumVector<double> w, v, a;
      calc.GetPoreDiameters(w);
      calc.GetIncrementalVolume(v);
      calc.GetIncrementalArea(a);
      for (std::size_t k = 0; k < w.size(); ++k) EXPECT_NEAR(v[k], a[k] / 2.0 * w[k] * 1e-4, 1e-15);
    }
}

TEST(DFTCalcRecovery, WarmStartedSweepMatchesAFreshSolveAtItsLambda) {
  const Case c;
  for (double noise : {0.0, 0.005}) {
    auto in = c.Input(noise);
    const CDFTCalc swept(in);
    in.lambdaMethod = CDFTCalc::ELambda::kFixed;
    in.lambda = swept.GetLambda();
    const CDFTCalc fresh(in);
    ASSERT_TRUE(swept.IsOK() && fresh.IsOK());
    // Both stop where the gradient is below 1e-7 of |Aᵀb|: on these ill-posed systems that
    // leaves the free sets, and so the misfits, a little apart, but not the pore volume.
    EXPECT_NEAR(swept.GetResidualSumOfSquares(), fresh.GetResidualSumOfSquares(),
                0.02 * fresh.GetResidualSumOfSquares());
    EXPECT_NEAR(swept.GetTotalPoreVolume(), fresh.GetTotalPoreVolume(),
                1e-4 * fresh.GetTotalPoreVolume());
  }
}

TEST(DFTCalcRecovery, RoughnessFallsAndMisfitRisesWithLambda) {
  const Case c;
  auto in = c.Input(0.0);
  in.lambdaMethod = CDFTCalc::ELambda::kFixed;
  for (bool logGrid : {true, false}) {
    in.logGrid = logGrid;
    in.lambda = 1e-4;
    const CDFTCalc sharp(in);
    in.lambda = 3.0;
    const CDFTCalc smooth(in);
    ASSERT_TRUE(sharp.IsOK() && smooth.IsOK());
    EXPECT_GT(sharp.GetRoughness(), 2.0 * smooth.GetRoughness());
    EXPECT_LT(sharp.RMSError(), smooth.RMSError());
    EXPECT_NEAR(sharp.GetTotalPoreVolume(), c.TotalVolume(), 0.01 * c.TotalVolume());
  }
  // λ = 0 adds no roughness rows: the plain least-squares fit, closest of all.
  in.lambda = 0.0;
  const CDFTCalc plain(in);
  EXPECT_TRUE(plain.IsOK());
  EXPECT_NEAR(
      plain.GetDegreesOfFreedom(),
      [&] {
        CNumVector<double> a;
        plain.GetIncrementalArea(a);
        return double(std::count_if(&a[0], &a[0] + a.size(), [](double v) { return v > 0.0; }));
      }(),
      1e-9);
}

TEST(DFTCalcRecovery, ReportedRangeKeepsTheRestInTheTotals) {
  const Case c;
  auto in = c.Input(0.0);
  const CDFTCalc all(in);
  in.reportWidthMin = 6.0;
  in.reportWidthMax = 30.0;
  const CDFTCalc part(in);
  ASSERT_TRUE(all.IsOK() && part.IsOK());
  CNumVector<double> wAll, vAll, aAll, w, cumV;
  all.GetPoreDiameters(wAll);
  all.GetIncrementalVolume(vAll);
  all.GetIncrementalArea(aAll);
  part.GetPoreDiameters(w);
  part.GetCumulativeVolume(cumV);
  ASSERT_GE(w[0], 6.0);
  ASSERT_LE(w[w.size() - 1], 30.0);
  double below = 0.0, upToLast = 0.0, area = 0.0;
  for (std::size_t j = 0; j < wAll.size(); ++j) {
    if (wAll[j] < w[0]) below += vAll[j];
    if (wAll[j] <= w[w.size() - 1]) upToLast += vAll[j];
    area += aAll[j];
  }
  // The cumulative volume starts from the classes below the range.
  EXPECT_NEAR(cumV[0] - below,
              vAll[std::size_t(std::find(&wAll[0], &wAll[0] + wAll.size(), w[0]) - &wAll[0])],
              1e-12);
  EXPECT_NEAR(part.GetTotalPoreVolume(), upToLast, 1e-12);
  // The area above the range is added to the total unless the kind value is 1.
  EXPECT_NEAR(
      part.GetTotalSurfaceArea(),
      area -
          [&] {
            double a = 0.0;
            for (std::size_t j = 0; j < wAll.size(); ++j)
              if (wAll[j] < w[0]) a += aAll[j];
            return a;
          }(),
      1e-9 * area);
  in.kind = 1;
  const CDFTCalc kind1(in);
  CNumVector<double> cumA;
  kind1.GetCumulativeArea(cumA);
  EXPECT_EQ(kind1.GetTotalSurfaceArea(), cumA[cumA.size() - 1]);
}

TEST(DFTCalcBSpline, SearchVisitsTheFixedTree) {
  struct Path {
    int largestAccepted;
    std::vector<unsigned short> visited;
    unsigned short result;
  };
  const std::vector<Path> paths = {
      {3, {26, 4}, 0},
      {4, {26, 4, 15, 10, 6, 5}, 4},
      {5, {26, 4, 15, 10, 6, 5}, 5},
      {6, {26, 4, 15, 10, 6, 7}, 6},
      {9, {26, 4, 15, 10, 6, 7}, 7},
      {11, {26, 4, 15, 10, 13, 12}, 10},
      {12, {26, 4, 15, 10, 13, 12}, 12},
      {13, {26, 4, 15, 10, 13, 14}, 13},
      {14, {26, 4, 15, 10, 13, 14}, 14},
      {17, {26, 4, 15, 21, 18, 19}, 15},
      {18, {26, 4, 15, 21, 18, 20}, 18},
      {19, {26, 4, 15, 21, 18, 20}, 18},
      {20, {26, 4, 15, 21, 18, 20}, 20},
      {22, {26, 4, 15, 21, 24, 23}, 21},
      {23, {26, 4, 15, 21, 24, 23}, 23},
      {24, {26, 4, 15, 21, 24, 25}, 24},
      {25, {26, 4, 15, 21, 24, 25}, 25},
      {26, {26}, 26},
  };
  for (Path const& path : paths) {
    std::vector<unsigned short> visited;
    const unsigned short result = CDFTCalc::SearchKnotIntervals([&](unsigned short k) {
      visited.push_back(k);
      return k <= path.largestAccepted;
    });
    EXPECT_EQ(visited, path.visited) << "accepting up to " << path.largestAccepted;
    EXPECT_EQ(result, path.result) << "accepting up to " << path.largestAccepted;
  }
  // A rejected 18 still tries 19, and takes it when it passes.
  EXPECT_EQ(CDFTCalc::SearchKnotIntervals([](unsigned short k) { return k <= 15 || k == 19; }), 19);
}

TEST(DFTCalcBSpline, SolutionFromTheData) {
  const Case c;
  auto in = c.Input(0.0);
  in.bspline = true;
  const CDFTCalc rich(in);
  // Clean data resolve the most knots at once.
  ASSERT_TRUE(rich.IsOK());
  EXPECT_TRUE(rich.IsBSplineSolution());
  EXPECT_EQ(rich.GetNumKnotIntervals(), 26);
  EXPECT_EQ(rich.GetBSplineTrials().size(), 1u);
  ExpectRecovered(rich, c, 0.02);

  // Few, noisy points cannot carry 26 intervals; the search settles lower, along the tree.
  in.pressures = LogSpaced(1e-6, 0.9, 20);
  in.quantities = fiofla::testing::SyntheticIsotherm(c.gas, in.pressures, c.kw, c.area, 0.02);
  const CDFTCalc poor(in);
  ASSERT_TRUE(poor.IsOK()) << poor.GetStatus();
  ASSERT_TRUE(poor.IsBSplineSolution());
  EXPECT_GT(poor.GetNumKnotIntervals(), 4);
  EXPECT_LT(poor.GetNumKnotIntervals(), 26);
  std::vector<unsigned short> replay;
  EXPECT_EQ(CDFTCalc::SearchKnotIntervals([&](unsigned short k) {
              for (auto const& t : poor.GetBSplineTrials())
                if (t.first == k) return t.second;
              ADD_FAILURE() << "the search went to " << k << ", which the calculation did not try";
              return false;
            }),
            poor.GetNumKnotIntervals());
  EXPECT_NEAR(poor.GetTotalPoreVolume(), c.TotalVolume(), 0.1 * c.TotalVolume());
}

TEST(DFTCalcDual, TwoGasesRecoverOneDistribution) {
  // Nitrogen from 1e-4 misses the smallest pores; carbon dioxide (fills at lower relative
  // pressure, measured to 0.03) sees them.
  SyntheticGas n2;
  SyntheticGas co2{"CO2", 273.15, 12.0, 2.5, 0.3, 590.0, 1e-3};
  const std::vector<double> kw = LogSpaced(3.6, 360.0, 100);
  std::vector<double> kw2;
  for (double w : kw)
    if (w <= 100.0) kw2.push_back(w);
  const std::vector<Peak> peaks = {{4.6, 0.04, 0.15}, {30.0, 0.06, 0.40}};
  const std::vector<double> area = fiofla::testing::PeakAreas(kw, peaks);
  CDFTCalc::SInput in;
  in.model = std::make_shared<CDFTModel>(
      fiofla::testing::SyntheticKernel(n2, LogSpaced(1e-7, 0.995, 100), kw));
  in.model2 = std::make_shared<CDFTModel>(
      fiofla::testing::SyntheticKernel(co2, LogSpaced(1e-6, 0.035, 60), kw2));
  in.pressures = MeasuredPressures(1e-4);
  in.quantities = fiofla::testing::SyntheticIsotherm(n2, in.pressures, kw, area, 0.005);
  in.pressures2 = LogSpaced(2e-5, 0.03, 25);
  in.quantities2 = fiofla::testing::SyntheticIsotherm(co2, in.pressures2, kw, area, 0.005, 99);
  in.gasName = CStr("N2");
  in.gasName2 = CStr("co2");
  in.temperature2 = 273.0;
  const CDFTCalc dual(in);
  ASSERT_TRUE(dual.IsOK()) << dual.GetStatus();
  EXPECT_EQ(dual.GetNumPoints(), in.pressures.size());
  EXPECT_EQ(dual.GetFitPressures().size(), in.pressures.size() + in.pressures2.size());
  CNumVector<double> w;
  dual.GetPoreDiameters(w);
  EXPECT_LE(w[w.size() - 1], 100.0);
  EXPECT_NEAR(dual.GetTotalPoreVolume(), 0.55, 0.0055);
  Case shape;  // only for its helpers
  shape.kw = kw;
  shape.area = area;
  EXPECT_LE(std::labs(long(FoundPeak(dual, kw, 3, 10)) - long(shape.TruePeak(3, 10))), 1);
  EXPECT_LE(std::labs(long(FoundPeak(dual, kw, 10, 100)) - long(shape.TruePeak(10, 100))), 1);

  // Kernels of different geometry cannot be merged.
  CDFTModelSpecBase h = in.model2->Header();
  h.geometry = eDFTGeometryCylinder;
  in.model2 = std::make_shared<CDFTModel>(h, in.model2->Pressures(), in.model2->PoreWidths(),
                                          in.model2->Kernel());
  const CDFTCalc mixed(in);
  EXPECT_EQ(mixed.GetStatus(), 5);
  EXPECT_EQ(CDFTDualModel(*in.model, *in.model2).InvalidReason(),
            "the two models differ in category or pore geometry");
}

TEST(DFTCalcStatus, OneCausePerValue) {
  const Case c;
  {
    auto in = c.Input(0.0);
    in.model.reset();
    in.modelFile = CStr("/nonexistent/kernel.dftk");
    const CDFTCalc calc(in);
    EXPECT_EQ(calc.GetStatus(), 1);
    EXPECT_EQ(calc.GetTotalPoreVolume(), 0.0);  // no classes
    EXPECT_NE(calc.Warnings().at(0).find("/nonexistent/kernel.dftk"), std::string::npos);
  }
  {
    auto in = c.Input(0.0);
    in.gasName = CStr("Ar");
    const CDFTCalc calc(in);
    EXPECT_EQ(calc.GetStatus(), 2);
    EXPECT_FALSE(calc.IsOK());
    EXPECT_NEAR(calc.GetTotalPoreVolume(), c.TotalVolume(), 0.01);  // still computed
  }
  {
    auto in = c.Input(0.0);
    in.temperature = 77.35 + 2.0;  // the edge of the open interval is a mismatch
    EXPECT_EQ(CDFTCalc(in).GetStatus(), 4);
  }
  {
    auto in = c.Input(0.0);
    in.pressureMin = 0.5;
    in.pressureMax = 0.55;
    EXPECT_EQ(CDFTCalc(in).GetStatus(), 6);
    in = c.Input(0.0);
    in.widthMin = 10.0;
    in.widthMax = 10.5;
    EXPECT_EQ(CDFTCalc(in).GetStatus(), 6);
  }
  {
    // A kernel of more classes than a calculation takes.
    auto in = c.Input(0.0);
    fiofla::testing::SyntheticGas gas;
    in.model = std::make_shared<CDFTModel>(fiofla::testing::SyntheticKernel(
        gas, LogSpaced(1e-7, 0.995, 5), LogSpaced(3.6, 360.0, CDFTCalc::kMaxClasses + 1)));
    const CDFTCalc calc(in);
    EXPECT_EQ(calc.GetStatus(), 6);
    EXPECT_NE(calc.Warnings().at(0).find("narrow the ranges"), std::string::npos);
  }
  {
    auto in = c.Input(0.0);
    in.quantities.pop_back();
    EXPECT_EQ(CDFTCalc(in).GetStatus(), 8);
    in = c.Input(0.0);
    in.quantities[3] = NAN;
    EXPECT_EQ(CDFTCalc(in).GetStatus(), 8);
  }
  {
    // Pores below the kernel's range pile up in its first class: usable, with a warning.
    auto in = c.Input(0.0);
    in.quantities = fiofla::testing::SyntheticIsotherm(
        c.gas, c.mp, c.kw, fiofla::testing::PeakAreas(c.kw, {{3.0, 0.05, 0.2}}));
    const CDFTCalc calc(in);
    EXPECT_EQ(calc.GetStatus(), 10);
    EXPECT_TRUE(calc.IsOK());
    ASSERT_FALSE(calc.Warnings().empty());
    EXPECT_NE(calc.Warnings()[0].find("smallest width"), std::string::npos);
  }
}

TEST(DFTCalcFit, ErrorsAreClampedAndZeroSafe) {
  const Case c;
  auto in = c.Input(0.0);
  in.quantities[0] = 0.0;
  in.quantities[1] = 1e-9;  // the fit there is far larger
  in.quantities[2] = 1e4;   // and far smaller
  const CDFTCalc calc(in);
  ASSERT_EQ(calc.GetFitMeasured()[0], 0.0);
  EXPECT_EQ(calc.RelError(0), 0.0);
  EXPECT_EQ(calc.RelError(1), -9.9999);
  EXPECT_LT(calc.RelError(2), 1.0);
  EXPECT_DOUBLE_EQ(calc.Error(2), calc.GetFitMeasured()[2] - calc.GetFitQuantities()[2]);
}

TEST(DFTCalcClasses, WidthsAndRoughness) {
  using V = CNumVector<double>;
  EXPECT_EQ(CDFTCalc::ClassLogWidth(V{}, 0), 1.0);
  EXPECT_EQ(CDFTCalc::ClassLogWidth(V{1.0, 10.0}, 2), 1.0);
  EXPECT_DOUBLE_EQ(CDFTCalc::ClassLogWidth(V{1.0, 10.0, 1000.0}, 1), 1.5);
  EXPECT_DOUBLE_EQ(CDFTCalc::ClassLogWidth(V{1.0, 10.0, 1000.0}, 2), 2.0);
  EXPECT_EQ(CDFTCalc::ClassLogWidth(V{-1.0, 10.0, 1.0}, 1), 5e-10);
  EXPECT_EQ(CDFTCalc::ClassLogWidth(V{-1.0, 10.0}, 0), 1e-9);

  EXPECT_EQ(CDFTCalc::CalculateRMSRoughness(V{1.0, 10.0}, V{1.0, 2.0, 3.0}), 0.0);
  EXPECT_TRUE(std::isnan(CDFTCalc::CalculateRMSRoughness(V{1.0, 10.0}, V{1.0, 2.0})));
  // On the grid 1, 10, 100 every factor is 1: the plain second difference, −2.
  EXPECT_DOUBLE_EQ(CDFTCalc::CalculateRMSRoughness(V{1.0, 10.0, 100.0}, V{0.0, 1.0, 0.0}), 2.0);
  EXPECT_DOUBLE_EQ(CDFTCalc::CalculateRMSRoughness(V{1.0, 10.0, 100.0}, V{3.0, 3.0, 3.0}), 0.0);
  EXPECT_DOUBLE_EQ(CDFTCalc::CalculateRMSRoughnessOldMethod(V{0.0, 1.0, 0.0, 1.0}), 2.0);
  EXPECT_EQ(CDFTCalc::CalculateRMSRoughnessOldMethod(V{0.0, 1.0}), 0.0);

  // Two reported classes: both ends have the same width.
  const Case c;
  auto in = c.Input(0.0);
  in.reportWidthMin = c.kw[40] * 0.999;
  in.reportWidthMax = c.kw[41] * 1.001;
  const CDFTCalc calc(in);
  ASSERT_EQ(calc.GetModelClasses().size(), 2u);
  EXPECT_EQ(calc.ClassWidth(0), calc.ClassWidth(1));
  EXPECT_DOUBLE_EQ(calc.ClassLogWidth(0), std::log10(c.kw[41] / c.kw[40]));
}

TEST(DFTCalcFiles, KernelFileAndInMemoryModelAgree) {
  const Case c;
  const auto path = std::filesystem::temp_directory_path() /
                    ("fiofla-dftcalc-" + std::to_string(::getpid()) + ".dftk");
  ASSERT_TRUE(c.kernel->WriteToFile(CStr(path.string())));
  auto in = c.Input(0.005);
  const CDFTCalc memory(in);
  in.model.reset();
  in.modelFile = CStr(path.string());
  const CDFTCalc file(in);
  std::filesystem::remove(path);
  ASSERT_TRUE(file.IsOK());
  EXPECT_EQ(file.GetTotalPoreVolume(), memory.GetTotalPoreVolume());
  EXPECT_EQ(file.GetLambda(), memory.GetLambda());
}

}  // namespace
