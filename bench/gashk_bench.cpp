// Speed of the Horvath-Kawazoe widths: one point (the bracket from the table and TOMS 748)
// and a whole isotherm (the potential's table, every point, the distribution).
#include <benchmark/benchmark.h>

#include <cmath>
#include <string>
#include <vector>

#include "fiofla/gashk.h"

namespace {

using fiofla::HKGeometry;

std::string Label(HKGeometry g, bool layered) {
  return std::string(fiofla::HKGeometryName(g)) + (layered ? ", Rege-Yang" : "");
}

// Args: geometry (0 slit, 1 cylinder, 2 sphere), layered (Rege-Yang). Widths of 4 to 20 Å
// (the sphere: 20 to 60 Å), each point a new ln(P/Po).
void BM_HKWidthPerPoint(benchmark::State& state) {
  const auto g = static_cast<HKGeometry>(state.range(0));
  const bool layered = state.range(1) != 0;
  const fiofla::HKPotential pot(g, layered, fiofla::HKAdsorbates()[0].molecule,
                                fiofla::HKSurfaces()[0], 77.35);
  const double w0 = g == HKGeometry::kSphere ? 20.0 : 4.0, w1 = 3.0 * w0 + 8.0;
  std::vector<double> targets;
  for (int k = 0; k < 64; ++k) targets.push_back(pot.LnRelPress(w0 + (w1 - w0) * k / 63.0));
  std::size_t i = 0;
  for (auto _ : state) {
    benchmark::DoNotOptimize(pot.WidthAt(targets[i]));
    i = (i + 1) % targets.size();
  }
  state.SetLabel(Label(g, layered));
}
BENCHMARK(BM_HKWidthPerPoint)
    ->Args({0, 0})
    ->Args({1, 0})
    ->Args({2, 0})
    ->Args({0, 1})
    ->Args({1, 1})
    ->Args({2, 1})
    ->Unit(benchmark::kMicrosecond);

// Arg: geometry. The potential alone: its 256-width table up to 100 Å and the narrowest pore.
void BM_HKPotentialTable(benchmark::State& state) {
  const auto g = static_cast<HKGeometry>(state.range(0));
  for (auto _ : state) {
    const fiofla::HKPotential pot(g, false, fiofla::HKAdsorbates()[0].molecule,
                                  fiofla::HKSurfaces()[0], 77.35);
    benchmark::DoNotOptimize(pot.MinWidth());
  }
  state.SetLabel(fiofla::HKGeometryName(g));
}
BENCHMARK(BM_HKPotentialTable)->Arg(0)->Arg(1)->Arg(2)->Unit(benchmark::kMicrosecond);

// Args: geometry, method (0 hk, 1 cheng-yang, 2 rege-yang). A 60-point nitrogen isotherm of
// a microporous carbon from P/Po 1e-7 to 0.2 (a Langmuir-Freundlich shape); the whole
// construction, the potential's 256-width table included.
void BM_HKIsotherm60Points(benchmark::State& state) {
  CHKCalc::SInput in;
  in.m_Geometry = static_cast<HKGeometry>(state.range(0));
  in.m_Method = static_cast<fiofla::HKMethod>(state.range(1));
  for (int k = 0; k < 60; ++k) {
    const double p = std::exp(std::log(1e-7) + k * (std::log(0.2) - std::log(1e-7)) / 59.0);
    const double kp = std::pow(3000.0 * p, 0.6);
    in.m_RelPress.push_back(p);
    in.m_QtyAdsorbed.push_back(250.0 * kp / (1.0 + kp));
  }
  for (auto _ : state) {
    const CHKCalc calc(in);
    benchmark::DoNotOptimize(calc.GetMedianWidth());
  }
  state.SetLabel(std::string(fiofla::HKGeometryName(in.m_Geometry)) + ", " +
                 fiofla::HKMethodName(in.m_Method));
}
BENCHMARK(BM_HKIsotherm60Points)
    ->Args({0, 0})
    ->Args({1, 0})
    ->Args({2, 0})
    ->Args({0, 1})
    ->Args({0, 2})
    ->Unit(benchmark::kMicrosecond);

}  // namespace

BENCHMARK_MAIN();
