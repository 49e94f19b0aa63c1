// Numbers as text: how a value is written (CNumericFormat), how a quantity is written in
// its display unit (CQuantityFormatter), and a value that carries its formatter
// (TFormattedNumeric).
//
// Formatting and parsing never depend on the C locale: the decimal point is the format's
// own, so a report written on a machine set to a comma locale reads the same.
#pragma once

#include <limits>

#include "fiofla/str/cstr.h"
#include "fiofla/units/units.h"

/// How a number is written: notation, precision and separators.
class CNumericFormat {
 public:
  /// Notation of a number.
  enum EStyle {
    eFixed = 0,        ///< fixed decimals: precision = digits after the point
    eScientific = 1,   ///< d.ddde±xx: precision = digits after the point
    eSignificant = 2,  ///< shortest of fixed and scientific with `precision` significant digits
  };

  /// Significant digits, precision 6, no thousands separator, '.' as the decimal point.
  CNumericFormat() = default;
  /// A format of the given notation and precision.
  CNumericFormat(EStyle style, int precision, char thousandsSeparator = '\0',
                 char decimalPoint = '.');

  /// Notation.
  EStyle Style() const { return m_style; }
  /// Precision as the notation reads it.
  int Precision() const { return m_precision; }
  /// Separator between groups of three integer digits; '\0' for none.
  char ThousandsSeparator() const { return m_thousandsSeparator; }
  /// Decimal point.
  char DecimalPoint() const { return m_decimalPoint; }
  /// Sets the precision (clamped to 0..17).
  void SetPrecision(int precision);
  /// Sets the thousands separator; '\0' for none.
  void SetThousandsSeparator(char separator) { m_thousandsSeparator = separator; }

  /// `value` written with this format; NaN is "n/a", infinities "inf" and "-inf".
  CStr Format(double value) const;
  /// `value` written with this notation but another precision.
  CStr Format(double value, int precision) const;

 private:
  EStyle m_style = eSignificant;
  int m_precision = 6;
  char m_thousandsSeparator = '\0';
  char m_decimalPoint = '.';
};

/// Writes and reads values of one kind of quantity in its selected display unit.
///
/// Two formats: the normal one, and the extreme one used for magnitudes at or above the
/// upper limit or below the lower limit (but above the zero limit); a magnitude at or below
/// the zero limit is written as 0 in the normal format.
class CQuantityFormatter {
 public:
  /// Formatter for `units` (copied), with the normal and the extreme format. Limits start
  /// as: zero 0, upper +inf, lower 0 (the extreme format is never used).
  CQuantityFormatter(CUnits units, CNumericFormat normal, CNumericFormat extreme);

  /// Magnitudes (in display units) at or below this are written as 0.
  void SetZeroLimit(double limit) { m_zeroLimit = limit; }
  /// Magnitudes at or above this use the extreme format.
  void SetUpperLimit(double limit) { m_upperLimit = limit; }
  /// Non-zero magnitudes below this use the extreme format.
  void SetLowerLimit(double limit) { m_lowerLimit = limit; }
  /// Current zero limit (display units).
  double ZeroLimit() const { return m_zeroLimit; }
  /// Current upper limit (display units).
  double UpperLimit() const { return m_upperLimit; }
  /// Current lower limit (display units).
  double LowerLimit() const { return m_lowerLimit; }

  /// The units; select another display unit or set the molar mass through this.
  CUnits& Units() { return m_units; }
  /// The units.
  CUnits const& Units() const { return m_units; }
  /// The normal format.
  CNumericFormat const& NormalFormat() const { return m_normal; }
  /// The extreme format.
  CNumericFormat const& ExtremeFormat() const { return m_extreme; }
  /// Display text of the selected unit ("cm³/g STP"); empty for no unit.
  CStr DisplayText() const { return m_units.DisplayText(); }
  /// The thousands separator of the normal format.
  char ThousandsSeparator() const { return m_normal.ThousandsSeparator(); }

  /// An internal value written in the selected display unit, without the unit text.
  CStr Format(double internalValue) const;
  /// As Format, but with `precision` replacing the precision of whichever format applies.
  CStr Format(double internalValue, int precision) const;
  /// An internal value converted to the selected display unit.
  double ToDisplay(double internalValue) const { return m_units.FromInternal(internalValue); }

  /// Parses `text` in display units into an internal value: the thousands separator is
  /// removed, the rest must be one number and nothing else (blanks included), and the
  /// number is converted to internal units. On success sets `internalValue` and returns
  /// true. `end`, when not null, receives a pointer into `text` just past the last
  /// character the number used (the start of the text when nothing parsed).
  bool CheckData(CStr const& text, char** end, double& internalValue) const;

 private:
  CUnits m_units;
  CNumericFormat m_normal;
  CNumericFormat m_extreme;
  double m_zeroLimit = 0.0;
  double m_upperLimit = std::numeric_limits<double>::infinity();
  double m_lowerLimit = 0.0;
};

/// A value held in internal units together with the formatter that shows it.
template <class T>
class TFormattedNumeric {
 public:
  /// `value` in internal units, shown by `formatter` (which must outlive this object).
  explicit TFormattedNumeric(CQuantityFormatter const& formatter, T value = T())
      : m_formatter(&formatter), m_value(value) {}

  /// Stores a value given in internal units.
  void SetInternalValue(T value) { m_value = value; }
  /// The value in internal units.
  T GetInternalValue() const { return m_value; }
  /// Parses a text in display units (see CQuantityFormatter::CheckData) and stores it;
  /// false, value unchanged, when the text is not one number.
  bool StoreData(CStr const& text) {
    T value{};
    if (!CheckData(text, nullptr, value)) return false;
    m_value = value;
    return true;
  }
  /// Parses a text in display units into an internal value without storing it.
  bool CheckData(CStr const& text, char** end, T& value) const {
    double parsed = 0.0;
    if (!m_formatter->CheckData(text, end, parsed)) return false;
    value = static_cast<T>(parsed);
    return true;
  }
  /// The value written in display units.
  CStr Format() const { return m_formatter->Format(static_cast<double>(m_value)); }
  /// The value written in display units with another precision.
  CStr Format(int precision) const {
    return m_formatter->Format(static_cast<double>(m_value), precision);
  }
  /// The formatter.
  CQuantityFormatter const& Formatter() const { return *m_formatter; }

 private:
  CQuantityFormatter const* m_formatter;
  T m_value;
};

extern template class TFormattedNumeric<double>;
