// Speed of the t-plot and of each BJH variant on a 100-point branch.
#include <benchmark/benchmark.h>

#include <cmath>
#include <vector>

#include "fiofla/gasbjh.h"
#include "fiofla/gastplot.h"

namespace {

// A mesoporous nitrogen isotherm: film on 300 m2/g plus pores of 60 Å filled above their
// Kelvin pressure, 100 points from P/Po 0.98 down to 0.02.
void Branch(CThicknessFunction const& t, std::vector<double>& p, std::vector<double>& q) {
  for (int i = 0; i < 100; ++i) {
    const double x = 0.98 - 0.96 * i / 99.0;
    const double width = 2.0 * (-9.53 / std::log(x) + t.EvalAt(x));
    const double film = 300.0 * t.EvalAt(x) * 1e-4;
    const double f = 1.0 - 2.0 * t.EvalAt(x) / 60.0;
    const double pores = width > 60.0 ? 0.5 : 0.5 * (1.0 - f * f);
    p.push_back(x);
    q.push_back((film + pores) / 0.0015468);
  }
}

// Arg: the thickness curve; Broekhoff-de Boer solves its equation by Newton at every point.
void BM_TPlot_100Points(benchmark::State& state) {
  const auto type = static_cast<CThicknessFunction::EType>(state.range(0));
  const CThicknessFunction t(type);
  CTPlotCalc::SInput in;
  Branch(t, in.m_RelPress, in.m_QtyAdsorbed);
  in.m_pThickness = &t;
  in.m_TotalSurfaceArea = 400.0;
  for (auto _ : state) {
    CTPlotCalc calc(in);
    benchmark::DoNotOptimize(calc.m_ExternalArea);
  }
  state.SetLabel(type == CThicknessFunction::eHarkinsJura ? "Harkins-Jura" : "Broekhoff-de Boer");
}
BENCHMARK(BM_TPlot_100Points)
    ->Arg(CThicknessFunction::eHarkinsJura)
    ->Arg(CThicknessFunction::eBroekhoffDeBoer);

// Arg: 0 classical, 1 corrected, 2 film widening.
void BM_BJH_100Points(benchmark::State& state) {
  CThicknessFunction t(CThicknessFunction::eHarkinsJura);
  CBJHCalc::SInput in;
  Branch(t, in.m_RelPress, in.m_QtyAdsorbed);
  in.m_pThickness = &t;
  in.m_UseCorrection = state.range(0) != 0;
  in.m_Method = state.range(0) == 2 ? 2 : 0;
  for (auto _ : state) {
    CBJHCalc calc(in);
    benchmark::DoNotOptimize(calc.GetTotalPoreVolume());
  }
  state.SetLabel(state.range(0) == 0   ? "classical"
                 : state.range(0) == 1 ? "corrected"
                                       : "widening");
}
BENCHMARK(BM_BJH_100Points)->Arg(0)->Arg(1)->Arg(2);

}  // namespace

BENCHMARK_MAIN();
