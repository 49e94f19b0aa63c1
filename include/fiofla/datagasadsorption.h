// The library's units context and the formatted quantities its reports show.
//
// Quantities are held in the library's internal units (cm³/g STP, P/Po, g/cm³ STP for the
// BET transform); the static formatters decide how a report shows them. Selecting another
// unit on a formatter (DVolumeAds::sm_Formatter.Units().Select("mmol/g")) changes every
// report made afterwards in this process; mg/g and cm³ liquid/g also need the adsorptive's
// molar mass (and liquid density) set on those units.
//
// Threads: the formatters and the units context are process-wide, and report models point
// at them. Building and rendering reports reads them and is safe from several threads at
// once; changing them (Select, SetMolarMass, a precision) is not, and belongs before
// threads start or under the application's own lock.
#pragma once

#include <memory>

#include "fiofla/units/formatter.h"
#include "fiofla/units/units.h"

/// "No unit", for calls that take units but have none to give.
static const CUnits NULL_UNITS_MASK;

/// The library's units context "UnitsContextGasLib": the names "RelativePressure" and
/// "InvRelativePressure" used in report texts, no selections. Created on first use.
std::shared_ptr<CUnitsContext> UnitsContextGasLib();

/// A quantity adsorbed, internal unit cm³/g STP.
class DVolumeAds : public TFormattedNumeric<double> {
 public:
  /// `value` in cm³/g STP.
  explicit DVolumeAds(double value = 0.0) : TFormattedNumeric<double>(sm_Formatter, value) {}
  /// Formatter of every DVolumeAds: fixed 4 decimals, scientific outside 1e-4..1e4.
  static CQuantityFormatter sm_Formatter;
};

/// A value of the BET transform 1/[Q(Po/P - 1)] (also its slope and intercept), internal
/// unit g/cm³ STP.
class DBETTransform : public TFormattedNumeric<double> {
 public:
  /// `value` in g/cm³ STP.
  explicit DBETTransform(double value = 0.0) : TFormattedNumeric<double>(sm_Formatter, value) {}
  /// Formatter of every DBETTransform: 6 significant digits, scientific outside 1e-3..1e4.
  static CQuantityFormatter sm_Formatter;
};

/// A relative pressure P/Po.
class DPressureRel : public TFormattedNumeric<double> {
 public:
  /// `value` as P/Po.
  explicit DPressureRel(double value = 0.0) : TFormattedNumeric<double>(sm_Formatter, value) {}
  /// Formatter of every DPressureRel: fixed 9 decimals.
  static CQuantityFormatter sm_Formatter;
};
