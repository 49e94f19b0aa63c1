// Isotherms as files: the in-memory form every command works on, the conversion of what a
// file gives (pressures, Po, loadings in the file's units) into that form, and the choice
// of reader by format.
//
// Formats (see also aif_file.h and isodb_file.h):
//   - CSV with units in the header ("pressure [kPa]", "loading [mmol/g]"), described at
//     ParseIsothermCsv below;
//   - the Adsorption Information File (AIF), read and written;
//   - NIST ISODB isotherm JSON, read;
//   - pyGAPS JSON, read and written, and pyGAPS CSV, read (pygaps_file.h);
//   - fiofla measurement files (raw runs), which are reduced first.
//
// Units. Unit texts are read by the grammar of units/unit_text.h, so "ml(STP) g-1",
// "cm³(STP)/g" and "mmol g^-1" are understood as written: pressures in Pa, kPa, MPa, bar,
// mbar, atm, torr, mmHg or psi (any case), loadings as a volume of gas at STP, moles, mass
// or liquid volume per mass, volume or formula unit of adsorbent. STP is 273.15 K and 1 atm.
// Loadings per volume of adsorbent need IsothermReadOptions::materialDensityGPerCm3, per
// formula unit IsothermReadOptions::adsorbentMolarMassGPerMol. Mass and liquid-volume loadings
// need the adsorptive's molar mass and liquid density, taken from its gas table (liquid
// density at the isotherm's temperature), so they are accepted only for a known adsorptive.
//
// Relative pressure. A file gives P/Po directly, or absolute pressures with Po per point or
// as one value. When it gives pressures without Po, IsothermReadOptions::poMmHg is used;
// failing that, the saturation pressure of the adsorptive at the isotherm's temperature
// from its gas table (a note says so). An explicit IsothermReadOptions::poMmHg replaces a
// Po the file gives: whoever passes it knows better than the file.
//
// Branches. A file that marks branches keeps them; one plain list is split at its highest
// pressure (SplitBranches). Points stay in measured order and none is dropped on reading:
// a point an analysis cannot use (P/Po <= 0 or >= 1) is the analysis' to report.
#pragma once

#include <cstddef>
#include <istream>
#include <limits>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "fiofla/types.h"
#include "fiofla/units/units.h"

class CGasCompressibilityCache;

namespace fiofla {

/// Bad input at a boundary with the outside world (file, argument); the message names
/// where (file, line or key) and what was wrong.
class InputError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// What a file says about its isotherm besides the points.
struct IsothermInfo {
  /// Adsorptive as the file names it ("N2", "Nitrogen"); empty when not given.
  std::string adsorptive;
  /// Analysis temperature, K; NaN when not given.
  double temperatureK = std::numeric_limits<double>::quiet_NaN();
  /// Sample mass, g; NaN when not given.
  double sampleMassG = std::numeric_limits<double>::quiet_NaN();
  /// Material (adsorbent) name; empty when not given.
  std::string material;
  /// Unit id (PressureUnits()) the file's pressures were in; empty when it gave only P/Po.
  std::string pressureUnit;
  /// Unit id (fcn_UT_GasAmountAdsorbed()) the file's loadings were in.
  std::string loadingUnit = "cm3/g STP";
  /// Further name/value items of the file, in file order, kept so that writing the
  /// isotherm back loses nothing (AIF items other than those above, for instance).
  std::vector<std::pair<std::string, std::string>> items;
};

/// An isotherm as read from a file, points in measured order.
struct IsothermData {
  /// Where the points came from (file name, or the name given to the parser).
  std::string source;
  /// P/Po of every point; all NaN when it is not known (IsothermReadOptions::requirePo).
  std::vector<double> relativePressure;
  /// Quantity adsorbed of every point, cm^3/g STP.
  std::vector<double> quantityAdsorbedCm3PerGStp;
  /// Branch of every point.
  std::vector<Branch> branch;
  /// 1-based line of the file that each point came from; 0 when the format has no lines
  /// to name (see PointName).
  std::vector<std::size_t> sourceLine;
  /// Absolute pressure of every point, mmHg; empty when only P/Po is known.
  std::vector<double> pressureMmHg;
  /// Po of every point, mmHg; empty when not known.
  std::vector<double> poMmHg;
  /// Adsorptive, temperature, units and the rest of what the file says.
  IsothermInfo info;
  /// Things the reader decided that a person should hear of (where Po came from, ...).
  std::vector<std::string> notes;

  /// Number of points.
  std::size_t size() const { return relativePressure.size(); }
  /// How messages name point i: "line 12" when the line is known, else "point 3".
  std::string PointName(std::size_t i) const;
};

/// The columns of an isotherm as a file gives them, before conversion. Readers fill it and
/// hand it to ConvertIsotherm, so every format converts units and derives P/Po one way.
struct RawIsotherm {
  /// Source name for messages (the file).
  std::string source;
  /// Absolute pressures in `pressureUnit`; empty when the file gives only P/Po.
  std::vector<double> pressure;
  /// P/Po as given; empty when the file gives absolute pressures only.
  std::vector<double> relativePressure;
  /// Po per point in `poUnit`; empty when not given per point.
  std::vector<double> po;
  /// One Po for every point in `poUnit`; NaN when not given.
  double poAll = std::numeric_limits<double>::quiet_NaN();
  /// Loadings in `loadingUnit`.
  std::vector<double> loading;
  /// Branch per point; empty to split the list at its highest pressure.
  std::vector<Branch> branch;
  /// 1-based line per point; empty or 0 when unknown.
  std::vector<std::size_t> sourceLine;
  /// Unit texts as the file writes them ("kPa", "mmol/g"), and where the file gives them
  /// ("_units_pressure", "line 3, column 'pressure'"), for messages.
  std::string pressureUnit, pressureUnitWhere;
  std::string poUnit, poUnitWhere;
  std::string loadingUnit, loadingUnitWhere;
  /// What else the file says; the unit fields are filled by ConvertIsotherm.
  IsothermInfo info;
  /// The adsorbent's formula-unit molar mass (g/mol) and density (g/cm3) when the file
  /// gives them, for loadings per formula unit or volume; the read options' win.
  double adsorbentMolarMassGPerMol = std::numeric_limits<double>::quiet_NaN();
  double materialDensityGPerCm3 = std::numeric_limits<double>::quiet_NaN();
};

/// How to read an isotherm file.
enum class IsothermFormat {
  kAuto,         ///< by content, then by extension (see DetectFormat)
  kCsv,          ///< CSV with units in the header
  kAif,          ///< Adsorption Information File
  kIsodb,        ///< NIST ISODB isotherm JSON
  kMeasurement,  ///< fiofla measurement file (a raw run, reduced on reading)
  kPygapsJson,   ///< pyGAPS isotherm JSON
  kPygapsCsv,    ///< pyGAPS isotherm CSV (metadata lines, then "data" and the points)
};

/// Every format, kAuto first, in the order messages list them.
const std::vector<IsothermFormat>& AllFormats();

/// Options of the readers.
struct IsothermReadOptions {
  /// Format; kAuto chooses by content (see DetectFormat).
  IsothermFormat format = IsothermFormat::kAuto;
  /// Po for every point, mmHg; NaN to use the file's (see the top of this header).
  double poMmHg = std::numeric_limits<double>::quiet_NaN();
  /// Where gas tables come from (molar mass, liquid density, saturation pressure); null
  /// for the library's cache.
  CGasCompressibilityCache* gasCache = nullptr;
  /// Molar mass of the adsorbent's formula unit, g/mol, for loadings per formula unit
  /// (mol/mol, as NIST ISODB gives some); NaN when not known.
  double adsorbentMolarMassGPerMol = std::numeric_limits<double>::quiet_NaN();
  /// Density of the adsorbent, g/cm3, for loadings per volume of material; NaN when not known.
  double materialDensityGPerCm3 = std::numeric_limits<double>::quiet_NaN();
  /// When false, absolute pressures with no Po from anywhere (a gas above its critical
  /// temperature, one without a table) read with every P/Po NaN and a note, instead of
  /// failing: for moving such isotherms between formats. Analyses need P/Po; keep it true.
  bool requirePo = true;
  /// With requirePo false: whether such an isotherm gets the note that it is read without
  /// P/Po. Callers that work in absolute pressures only (IAST, heats) have no use for it.
  bool noteMissingPo = true;
};

/// The name of a format ("csv", "aif", "isodb", "measurement", "pygaps", "pygaps-csv";
/// "auto").
const char* FormatName(IsothermFormat format);
/// The format a name denotes (as FormatName gives, case, '-' and '_' ignored); false when
/// none.
bool FormatFromName(const std::string& name, IsothermFormat* format);
/// The format of a file's text, by content first: a JSON object is a measurement file when
/// its "format" says so, a pyGAPS isotherm when it has pyGAPS keys, else an ISODB document;
/// text whose first item is an AIF "data_" block is AIF; "key,value" lines of pyGAPS keys
/// before a "data" line are pyGAPS CSV. Then by extension of `path` (.aif/.cif AIF, .json
/// ISODB); anything else is CSV.
IsothermFormat DetectFormatOfText(const std::string& path, const std::string& text);
/// DetectFormatOfText on the first 64 kB of the file at `path` (by extension when it does
/// not open).
IsothermFormat DetectFormat(const std::string& path);

/// Converts what a file gives into an isotherm: units to mmHg and cm3/g STP, P/Po from
/// pressure and Po, branches split when not given. Throws InputError naming the source and
/// the problem (unknown unit, lengths that differ, no Po, a mass unit for an adsorptive
/// without molar mass, a non-positive Po, a temperature outside 0 to 3000 K, a sample mass
/// outside 0 to 10 kg, a pressure outside 0 to 10 kbar).
IsothermData ConvertIsotherm(RawIsotherm raw, const IsothermReadOptions& options = {});

/// Reads an isotherm file in any supported format, reading it once; throws InputError.
IsothermData ReadIsothermFile(const std::string& path, const IsothermReadOptions& options = {});

/// Reads an isotherm CSV file; throws InputError on a missing, unreadable or malformed file.
IsothermData ReadIsothermCsv(const std::string& path, const IsothermReadOptions& options = {});

/// Parses isotherm CSV text from a stream; `name` is used in error messages.
///
/// Layout:
///   - lines whose first non-blank character is '#' are comments, except that a comment of
///     the form "# key: value" (several may share a line, separated by ';') with key
///     adsorptive, temperature, p0, sample_mass or material sets that item; temperature,
///     p0 and sample_mass may carry a unit ("77.35 K", "101.3 kPa", "52 mg");
///   - blank lines are skipped; the first other line is the header, naming the columns;
///     fields are separated by commas, tabs or semicolons (the header's separator is used
///     throughout) and may be wrapped in double quotes;
///   - a column name carries its unit in square brackets, "pressure [kPa]", or as other
///     programs write it, "Pressure (kPa)" or "Pressure/kPa";
///   - columns, names matched without regard to case, blanks, '_' and '-':
///       relative pressure: relative_pressure, p/p0, p/po, p/p°, p/ps, p_rel, prel (also
///                          "Relative Pressure (P/Po)");
///       pressure:          pressure, absolute_pressure, p, p_abs, equilibrium_pressure
///                          (unit required);
///       Po:                p0, po, p°, saturation_pressure, psat (unit: the pressure's
///                          when omitted);
///       loading:           loading, quantity_adsorbed, quantity, amount, amount_adsorbed,
///                          adsorbed_amount, volume_adsorbed, adsorbed_volume, uptake, n_ads,
///                          q, total_adsorption, excess_adsorption, excess_uptake (unit:
///                          cm3/g STP when omitted);
///       branch:            branch, with adsorption/desorption (ads/des, a/d);
///     a loading and either a relative pressure or a pressure are required; other columns
///     are ignored.
/// Every data cell that is read must be a finite number.
IsothermData ParseIsothermCsv(std::istream& in, const std::string& name,
                              const IsothermReadOptions& options = {});

/// Which units a writer uses; empty keeps the isotherm's own (IsothermInfo), falling back to
/// mmHg and cm3/g STP.
struct IsothermWriteOptions {
  std::string pressureUnit;
  std::string loadingUnit;
  /// Gas tables for mass and liquid-volume loadings; null for the library's cache.
  CGasCompressibilityCache* gasCache = nullptr;
};

/// The isotherm as CSV text: metadata comments, then relative pressure, pressure and Po
/// when known, loading and branch. Throws InputError for a unit it cannot write in.
std::string FormatIsothermCsv(const IsothermData& iso, const IsothermWriteOptions& options = {});

/// Writes an isotherm file in `format` (CSV, AIF or pyGAPS JSON), atomically; throws
/// InputError.
void WriteIsothermFile(const std::string& path, const IsothermData& iso, IsothermFormat format,
                       const IsothermWriteOptions& options = {});

/// Marks the points of a single list as adsorption up to (and including) the first point
/// of highest pressure and as desorption after it.
std::vector<Branch> SplitBranches(const std::vector<double>& pressure);

/// Loading units (fcn_UT_GasAmountAdsorbed) with the molar mass of the isotherm's adsorptive
/// and its liquid density at the isotherm's temperature set, as far as the adsorptive's gas
/// table gives them; readers and writers both convert through it, so a unit reads and
/// writes the same way.
CUnits LoadingUnitsFor(const IsothermInfo& info, CGasCompressibilityCache* cache = nullptr);
/// Index of the pressure unit `unitText` names in PressureUnits(); -1 when none does.
int FindPressureUnit(const std::string& unitText);

}  // namespace fiofla
