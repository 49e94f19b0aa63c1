// Number formatting shared by the report sections and the calculations' messages.
#pragma once

#include <string>
#include <vector>

#include "fiofla/num/numvector.h"
#include "fiofla/units/formatter.h"

namespace fiofla::detail {

/// A formatter of plain numbers with `decimals` fixed decimals (0 to 8) and no unit, for
/// report tables; the formatters are built once and only read, so threads may share them.
const CQuantityFormatter& FixedDecimals(int decimals);

/// `x` through printf's `format` ("%.4g" unless given).
std::string FormatNumber(double x, const char* format = "%.4g");

/// The values as the report model's vector type, for curves and table columns.
inline CNumVector<double> ToNum(std::vector<double> const& values) {
  CNumVector<double> v(values.size());
  for (std::size_t i = 0; i < values.size(); ++i) v[i] = values[i];
  return v;
}

}  // namespace fiofla::detail
