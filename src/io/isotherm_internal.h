// Pieces the isotherm readers and writers share and users have no need of.
#pragma once

#include <cstddef>
#include <string>

#include "fiofla/io/isotherm_file.h"

namespace fiofla::io_detail {

/// Index of the pressure unit `text` in PressureUnits(); throws InputError
/// "<source>: unknown pressure unit '<text>' (<where>); known: ..." when none.
std::size_t PressureUnitIndex(const std::string& text, const std::string& source,
                              const std::string& where);

/// Index of the loading unit `text` in `units` (from LoadingUnitsFor); throws InputError
/// naming source and where when the unit is unknown or cannot convert for `info`.
std::size_t LoadingUnitIndex(const CUnits& units, const std::string& text, const IsothermInfo& info,
                             const std::string& source, const std::string& where);

/// A value as files get it: 15 significant digits, so that a value read, converted to
/// the library's units and back prints as it was written.
std::string FormatValue(double value);

/// Reads a whole text file for a parser (at most 256 MB); throws InputError naming the
/// path when it is missing, a folder, unreadable or too large.
std::string ReadTextFile(const std::string& path);

}  // namespace fiofla::io_detail
