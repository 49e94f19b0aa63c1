#include "report_numbers.h"

#include <algorithm>
#include <array>
#include <cstdio>

namespace fiofla::detail {

const CQuantityFormatter& FixedDecimals(int decimals) {
  static const std::array<CQuantityFormatter, 9> formatters = [] {
    auto make = [](int d) {
      return CQuantityFormatter(CUnits(), CNumericFormat(CNumericFormat::eFixed, d),
                                CNumericFormat());
    };
    return std::array<CQuantityFormatter, 9>{make(0), make(1), make(2), make(3), make(4),
                                             make(5), make(6), make(7), make(8)};
  }();
  return formatters[std::size_t(std::clamp(decimals, 0, 8))];
}

std::string FormatNumber(double x, const char* format) {
  char text[64];
  std::snprintf(text, sizeof text, format, x);
  return text;
}

}  // namespace fiofla::detail
