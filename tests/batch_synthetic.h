// Synthetic nitrogen isotherms at 77 K for the batch suites and benchmark: a BET isotherm of n
// layers with a capillary-condensation step on adsorption and an earlier one on desorption,
// with small multiplicative noise, written as isotherm CSV text.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <fstream>
#include <random>
#include <string>

namespace fiofla::test {

/// The model of one synthetic isotherm.
struct SyntheticIsotherm {
  double c = 100.0;              ///< BET C
  double qmCm3PerGStp = 100.0;   ///< BET monolayer quantity, cm3/g STP
  int layers = 0;                ///< BET layers; 0 for the infinite-layer equation
  double stepCm3PerGStp = 0.0;   ///< quantity condensed in pores, cm3/g STP; 0 for none
  double stepAdsorption = 0.75;  ///< P/Po of the step on adsorption
  double stepDesorption = 0.65;  ///< P/Po of the step on desorption
  int adsorptionPoints = 40;     ///< points from P/Po 0.01 to 0.98, denser low
  int desorptionPoints = 20;     ///< points from 0.97 down to 0.35; 0 for none
  double noise = 0.002;          ///< largest relative noise on each quantity
  std::uint32_t seed = 1;        ///< seed of the noise
};

/// Quantity adsorbed at P/Po x, cm3/g STP, on the branch with its step at `step`.
inline double SyntheticQuantity(const SyntheticIsotherm& m, double x, double step) {
  double bet;
  if (m.layers <= 0) {
    bet = m.qmCm3PerGStp * m.c * x / ((1.0 - x) * (1.0 + (m.c - 1.0) * x));
  } else {
    const double n = m.layers;
    bet = m.qmCm3PerGStp * m.c * x / (1.0 - x) *
          (1.0 - (n + 1.0) * std::pow(x, n) + n * std::pow(x, n + 1.0)) /
          (1.0 + (m.c - 1.0) * x - m.c * std::pow(x, n + 1.0));
  }
  return bet + m.stepCm3PerGStp / (1.0 + std::exp(-(x - step) / 0.015));
}

/// The isotherm as CSV text with its adsorptive and temperature.
inline std::string SyntheticCsv(const SyntheticIsotherm& m) {
  std::mt19937 gen(m.seed);
  // Uniform noise from the generator's raw output, the same on every platform.
  auto noisy = [&](double q) { return q * (1.0 + m.noise * (2.0 * (gen() / 4294967296.0) - 1.0)); };
  std::string text =
      "# adsorptive: N2; temperature: 77.35 K\n"
      "relative_pressure,quantity_adsorbed [cm3/g STP],branch\n";
  char row[96];
  for (int i = 0; i < m.adsorptionPoints; ++i) {
    // Denser at low pressure, as instruments' tables are: about 40 % of the points below 0.3.
    const double x = 0.01 + (0.98 - 0.01) * std::pow(double(i) / (m.adsorptionPoints - 1), 1.5);
    std::snprintf(row, sizeof row, "%.6f,%.6f,adsorption\n", x,
                  noisy(SyntheticQuantity(m, x, m.stepAdsorption)));
    text += row;
  }
  for (int i = 0; i < m.desorptionPoints; ++i) {
    const double x = 0.97 - (0.97 - 0.35) * i / std::max(1, m.desorptionPoints - 1);
    std::snprintf(row, sizeof row, "%.6f,%.6f,desorption\n", x,
                  noisy(SyntheticQuantity(m, x, m.stepDesorption)));
    text += row;
  }
  return text;
}

/// A model varied with `index` over the ranges of mesoporous materials: C 50 to 250, Qm 50
/// to 250 cm3/g STP, 5 to 12 layers, steps at P/Po 0.55 to 0.85 of 50 to 400 cm3/g STP.
inline SyntheticIsotherm VariedSynthetic(std::uint32_t index) {
  std::mt19937 gen(index * 2654435761u + 17u);
  auto uniform = [&](double lo, double hi) { return lo + (hi - lo) * (gen() / 4294967296.0); };
  SyntheticIsotherm m;
  m.c = uniform(50.0, 250.0);
  m.qmCm3PerGStp = uniform(50.0, 250.0);
  m.layers = 5 + static_cast<int>(gen() % 8);
  m.stepCm3PerGStp = uniform(50.0, 400.0);
  m.stepAdsorption = uniform(0.6, 0.85);
  m.stepDesorption = m.stepAdsorption - uniform(0.05, 0.12);
  m.seed = index + 1;
  return m;
}

/// Writes `text` to `path`; false when it could not.
inline bool WriteText(const std::string& path, const std::string& text) {
  std::ofstream out(path, std::ios::binary);
  out << text;
  return static_cast<bool>(out.flush());
}

}  // namespace fiofla::test
