// Lookups every fuzz target runs on whatever table its reader produced: none may crash,
// read out of range or break the promise that a failed conversion leaves its output alone.
#pragma once

#include <cstddef>
#include <limits>
#include <vector>

#include "fiofla/compress.h"

namespace fuzz {

// Grid nodes, cell midpoints and points just beyond each end: where the interval search
// and the edge extrapolation change branch. Capped so large tables stay fast to fuzz.
inline void AddProbes(CNumVector<double> const& grid, std::vector<double>& out) {
  const std::size_t n = grid.size();
  const std::size_t step = n > 6 ? n / 6 : 1;
  for (std::size_t i = 0; i < n; i += step) {
    out.push_back(grid[i]);
    if (i + 1 < n) out.push_back(0.5 * (grid[i] + grid[i + 1]));
  }
  if (n > 0) {
    out.push_back(grid[0] - 1.0);
    out.push_back(grid[n - 1]);
    out.push_back(grid[n - 1] * 1.5 + 1.0);
  }
}

inline void ExerciseLookups(CGasCompressibilityTable const& table) {
  constexpr double kInf = std::numeric_limits<double>::infinity();
  constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
  std::vector<double> pressures = {-1.0, 0.0, 1e-300, 760.0, 1e300, kInf, kNaN};
  std::vector<double> temperatures = {-1.0, 0.0, 77.35, 1e300, -kInf, kNaN};
  AddProbes(table.m_vPressures, pressures);
  AddProbes(table.m_vTemperatures, temperatures);
  AddProbes(table.m_vPsat, pressures);
  AddProbes(table.m_vPsub, pressures);
  temperatures.push_back(table.m_dTcrit);
  pressures.push_back(table.m_dPcrit);

  volatile double sink = 0.0;
  for (double t : temperatures) {
    for (double p : pressures) {
      double effective = 0.0;
      sink = sink + table(p, t, &effective) + effective + table.GetRawCompressibility(p, t);
    }
    for (bool sublimation : {false, true}) {
      // A failed conversion promises to leave its output alone.
      double psat = -12345.0;
      if (!table.CalcPsatFromTemp(&psat, t, sublimation) && psat != -12345.0) __builtin_trap();
      sink = sink + psat;
    }
    sink = sink + table.GetLiquidMolarVolume(t);
    const std::size_t n = table.m_vTemperatures.size();
    for (std::size_t count : {std::size_t(0), std::size_t(2), std::size_t(5), n + 3}) {
      std::size_t first = 0, number = 0;
      sink = sink + table.GetTemperatureRange(t, count, 1, &first, &number);
      if (number > 0 && first + number > n) __builtin_trap();
    }
  }
  for (double p : pressures) {
    for (bool sublimation : {false, true}) {
      double temperature = -12345.0;
      if (!table.CalcTempFromPsat(&temperature, p, sublimation) && temperature != -12345.0)
        __builtin_trap();
      sink = sink + temperature;
    }
  }
}

}  // namespace fuzz
