// Small gas tables built in memory for the gas-arithmetic suites.
#pragma once

#include <vector>

#include "fiofla/compress.h"

namespace fiofla::test {

/// A matrix from its rows.
inline CNumMatrix<double> Matrix(std::vector<std::vector<double>> const& rows) {
  CNumMatrix<double> m(rows.size(), rows.empty() ? 0 : rows[0].size());
  for (std::size_t i = 0; i < rows.size(); ++i)
    for (std::size_t j = 0; j < rows[i].size(); ++j) m(i, j) = rows[i][j];
  return m;
}

/// A table over pressures p (mmHg) and temperatures t (K) with Z rows z (one per pressure),
/// its per-temperature curves zero.
inline CGasCompressibilityTable MakeTable(CNumVector<double> p, CNumVector<double> t,
                                          std::vector<std::vector<double>> const& z) {
  CGasCompressibilityTable table;
  table.Set(p, t, Matrix(z));
  table.InitializeRows();
  return table;
}

}  // namespace fiofla::test
