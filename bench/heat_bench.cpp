// Speed of the heat calculations: the thermal virial fit over three 40-point isotherms (orders
// chosen by AICc and given), its quantity from pressure, and one Clausius-Clapeyron isostere.
#include <benchmark/benchmark.h>

#include <cmath>
#include <random>
#include <vector>

#include "fiofla/gas_virial.h"
#include "fiofla/gashoa.h"

namespace {

using NIsothermModel::CVirialExpansion;

// Dual-site Langmuir isotherms (site heats 30 and 18 kJ/mol) with 0.2 % noise.
std::vector<CVirialExpansion::SIsotherm> Isotherms() {
  std::mt19937 rng(7);
  std::normal_distribution<double> noise(0.0, 0.002);
  std::vector<CVirialExpansion::SIsotherm> isos;
  for (double T : {273.15, 298.15, 323.15}) {
    const double R = 8.314462618e-3;
    const double b1 = 1e-7 * std::exp(30.0 / (R * T)), b2 = 1e-6 * std::exp(18.0 / (R * T));
    CVirialExpansion::SIsotherm iso;
    iso.temperatureK = T;
    for (int i = 0; i < 40; ++i) {
      const double P = 0.5 * std::pow(760.0 / 0.5, i / 39.0);
      const double q = 20.0 * b1 * P / (1.0 + b1 * P) + 60.0 * b2 * P / (1.0 + b2 * P);
      iso.points.push_back({P, q * (1.0 + noise(rng))});
    }
    isos.push_back(iso);
  }
  return isos;
}

void BM_VirialFit_3x40_AutoOrders(benchmark::State& state) {
  const auto isos = Isotherms();
  for (auto _ : state) {
    CVirialExpansion fit(isos);
    benchmark::DoNotOptimize(fit.GetA().data());
  }
}
BENCHMARK(BM_VirialFit_3x40_AutoOrders);

void BM_VirialFit_3x40_Orders6And4(benchmark::State& state) {
  const auto isos = Isotherms();
  CVirialExpansion::SOptions o;
  o.orderA = 6;
  o.orderB = 4;
  for (auto _ : state) {
    CVirialExpansion fit(isos, o);
    benchmark::DoNotOptimize(fit.GetA().data());
  }
}
BENCHMARK(BM_VirialFit_3x40_Orders6And4);

void BM_VirialQuantityFromPressure(benchmark::State& state) {
  const CVirialExpansion fit(Isotherms());
  double P = 1.0;
  for (auto _ : state) {
    benchmark::DoNotOptimize(fit.GetModelQuantityAds(P));
    P = P < 700.0 ? P * 1.5 : 1.0;
  }
}
BENCHMARK(BM_VirialQuantityFromPressure);

void BM_Isostere_3x40(benchmark::State& state) {
  const auto isos = Isotherms();
  std::vector<CNumVector<double>> P, q;
  for (auto const& iso : isos) {
    P.emplace_back(iso.points.size());
    q.emplace_back(iso.points.size());
    for (std::size_t i = 0; i < iso.points.size(); ++i) {
      P.back()[i] = iso.points[i].pressure;
      q.back()[i] = iso.points[i].quantityAds;
    }
  }
  for (auto _ : state) {
    CIsostereCalc::CInput input(10.0);
    for (std::size_t t = 0; t < isos.size(); ++t)
      input.AddIsotherm(P[t], q[t], isos[t].temperatureK);
    CIsostereCalc calc(input);
    benchmark::DoNotOptimize(calc.HeatOfAdsorption());
  }
}
BENCHMARK(BM_Isostere_3x40);

}  // namespace

BENCHMARK_MAIN();
