// Number formatting shared by the report sections and the calculations' messages.
#pragma once

#include <string>

#include "fiofla/units/formatter.h"

namespace fiofla::detail {

/// A formatter of plain numbers with `decimals` fixed decimals (0 to 8) and no unit, for
/// report tables; the formatters are built once and only read, so threads may share them.
const CQuantityFormatter& FixedDecimals(int decimals);

/// `x` through printf's `format` ("%.4g" unless given).
std::string FormatNumber(double x, const char* format = "%.4g");

}  // namespace fiofla::detail
