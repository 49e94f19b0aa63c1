// Pieces the isotherm readers and writers share and users have no need of.
#pragma once

#include <cstddef>
#include <cstdio>
#include <string>

#include "fiofla/io/isotherm_file.h"

class CGasCompressibilityTable;

namespace fiofla::io_detail {

/// Throws InputError "<source>: <what>".
[[noreturn]] inline void Fail(const std::string& source, const std::string& what) {
  throw InputError(source + ": " + what);
}

/// A file's text as a message quotes it: at most 40 bytes, then "...", so one huge cell
/// cannot make a huge message.
inline std::string Shown(const std::string& text) {
  return text.size() > 40 ? text.substr(0, 40) + "..." : text;
}

/// A number for messages, six significant digits.
inline std::string Short(double value) {
  char buf[32];
  std::snprintf(buf, sizeof buf, "%.6g", value);
  return buf;
}

/// Index of the pressure unit `text` in PressureUnits(); throws InputError
/// "<source>: unknown pressure unit '<text>' (<where>); known: ..." when none.
std::size_t PressureUnitIndex(const std::string& text, const std::string& source,
                              const std::string& where);

/// What a loading unit may need to know of the adsorbent; NaN when not known.
struct AdsorbentProperties {
  double molarMassGPerMol;  ///< for loadings per formula unit (mol/mol)
  double densityGPerCm3;    ///< for loadings per volume of adsorbent
};

/// A loading unit text resolved for an isotherm: a unit list that converts it (with the
/// adsorptive's molar mass and liquid density set when the unit needs them) and its index.
struct ResolvedLoadingUnit {
  CUnits units;
  std::size_t index;
};

/// Reads `text` by the loading-unit grammar (units/unit_text.h); the adsorptive's gas table
/// is read only for mass and liquid-volume units. Throws InputError naming source and where
/// when the text is no unit or cannot convert for `info` and `adsorbent`.
ResolvedLoadingUnit ResolveLoadingUnit(const std::string& text, const IsothermInfo& info,
                                       CGasCompressibilityCache* cache,
                                       const AdsorbentProperties& adsorbent,
                                       const std::string& source, const std::string& where);

/// The gas table of the isotherm's adsorptive; null when it has none or it does not read.
const CGasCompressibilityTable* AdsorptiveTable(const IsothermInfo& info,
                                                CGasCompressibilityCache* cache);

/// A value as files get it: 15 significant digits, so that a value read, converted to
/// the library's units and back prints as it was written.
std::string FormatValue(double value);

/// Reads a whole text file for a parser (at most 256 MB); throws InputError naming the
/// path when it is missing, a folder, unreadable or too large.
std::string ReadTextFile(const std::string& path);

}  // namespace fiofla::io_detail
