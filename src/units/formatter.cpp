#include "fiofla/units/formatter.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <string>
#include <system_error>
#include <utility>
#include <vector>

namespace {

// Beyond 17 digits a double has nothing more to say.
constexpr int kMaxPrecision = 17;

int ClampPrecision(int precision) {
  return std::clamp(precision, 0, kMaxPrecision);
}

// A minus in front of nothing but zeros ("-0.0000" from -0.0 or -1e-9) reads as a
// different number from "0.0000" in a table, although it is not.
void DropSignOfZero(std::string& text) {
  if (text.empty() || text[0] != '-') return;
  for (std::size_t i = 1; i < text.size() && text[i] != 'e'; ++i)
    if (text[i] >= '1' && text[i] <= '9') return;
  text.erase(0, 1);
}

void GroupThousands(std::string& text, char separator) {
  if (separator == '\0') return;
  const std::size_t first = (!text.empty() && text[0] == '-') ? 1 : 0;
  std::size_t last = first;
  while (last < text.size() && text[last] >= '0' && text[last] <= '9') ++last;
  for (std::size_t digitsRight = 3; digitsRight < last - first; digitsRight += 3)
    text.insert(last - digitsRight, 1, separator);
}

// Which of a formatter's two formats writes a display value, and the value it writes.
std::pair<CNumericFormat const*, double> Choose(CQuantityFormatter const& formatter,
                                                double displayValue) {
  const double magnitude = std::fabs(displayValue);
  if (!std::isfinite(displayValue)) return {&formatter.NormalFormat(), displayValue};
  if (magnitude <= formatter.ZeroLimit()) return {&formatter.NormalFormat(), 0.0};
  if (magnitude >= formatter.UpperLimit() || magnitude < formatter.LowerLimit())
    return {&formatter.ExtremeFormat(), displayValue};
  return {&formatter.NormalFormat(), displayValue};
}

}  // namespace

CNumericFormat::CNumericFormat(EStyle style, int precision, char thousandsSeparator,
                               char decimalPoint)
    : m_style(style),
      m_precision(ClampPrecision(precision)),
      m_thousandsSeparator(thousandsSeparator),
      m_decimalPoint(decimalPoint) {}

void CNumericFormat::SetPrecision(int precision) {
  m_precision = ClampPrecision(precision);
}

CStr CNumericFormat::Format(double value) const {
  return Format(value, m_precision);
}

CStr CNumericFormat::Format(double value, int precision) const {
  if (std::isnan(value)) return CStr("n/a");
  if (std::isinf(value)) return CStr(value < 0.0 ? "-inf" : "inf");

  std::chars_format notation = std::chars_format::general;
  if (m_style == eFixed) notation = std::chars_format::fixed;
  if (m_style == eScientific) notation = std::chars_format::scientific;
  // Fixed notation of the largest double with 17 decimals needs 309 + 1 + 17 bytes and a sign.
  char buffer[400];
  // std::to_chars, unlike snprintf, ignores the C locale's decimal point.
  const auto result =
      std::to_chars(buffer, buffer + sizeof buffer, value, notation, ClampPrecision(precision));
  if (result.ec != std::errc()) return CStr("n/a");
  std::string text(buffer, result.ptr);

  DropSignOfZero(text);
  // The point is swapped first: a '.' thousands separator must not be swapped with it.
  if (m_decimalPoint != '.') std::replace(text.begin(), text.end(), '.', m_decimalPoint);
  GroupThousands(text, m_thousandsSeparator);
  return CStr(std::move(text));
}

CQuantityFormatter::CQuantityFormatter(CUnits units, CNumericFormat normal, CNumericFormat extreme)
    : m_units(std::move(units)), m_normal(normal), m_extreme(extreme) {}

CStr CQuantityFormatter::Format(double internalValue) const {
  const auto [format, value] = Choose(*this, ToDisplay(internalValue));
  return format->Format(value);
}

CStr CQuantityFormatter::Format(double internalValue, int precision) const {
  const auto [format, value] = Choose(*this, ToDisplay(internalValue));
  return format->Format(value, precision);
}

bool CQuantityFormatter::CheckData(CStr const& text, char** end, double& internalValue) const {
  std::string const& original = text.str();
  const char separator = m_normal.ThousandsSeparator();
  const char decimalPoint = m_normal.DecimalPoint();

  // What the number parser sees, with the offset in `original` of each of its bytes so
  // `end` can point into the text the caller holds.
  std::string number;
  std::vector<std::size_t> source;
  number.reserve(original.size());
  source.reserve(original.size());
  for (std::size_t i = 0; i < original.size(); ++i) {
    char c = original[i];
    if (separator != '\0' && c == separator) continue;
    if (c == decimalPoint) c = '.';
    number += c;
    source.push_back(i);
  }

  const char* first = number.data();
  const char* last = first + number.size();
  const char* start = first;
  // from_chars reads no '+', and "+-1" is not a number, so only a '+' before a digit or point.
  if (start != last && *start == '+' && start + 1 != last && start[1] != '-' && start[1] != '+')
    ++start;
  double displayValue = 0.0;
  const auto result = std::from_chars(start, last, displayValue);
  const bool parsed = result.ptr != start;
  if (end != nullptr) {
    const std::size_t used = static_cast<std::size_t>(result.ptr - first);
    const std::size_t offset = parsed ? source[used - 1] + 1 : 0;
    *end = const_cast<char*>(text.c_str()) + offset;
  }
  if (!parsed || result.ec != std::errc() || result.ptr != last || !std::isfinite(displayValue))
    return false;

  const double value = m_units.ToInternal(displayValue);
  if (!std::isfinite(value)) return false;
  internalValue = value;
  return true;
}
