// NIST ISODB isotherm documents: the database's JSON for one isotherm, read.
//
// Members used: "adsorbates" (exactly one; its "name" is the adsorptive), "adsorbent"
// (optional; its "name" is the material), "temperature" (K, above 0), "pressureUnits",
// "adsorptionUnits", and "isotherm_data", a non-empty list of points each with "pressure"
// and either "species_data" (exactly one entry; its "adsorption") or, when that is absent,
// "total_adsorption". A member that is JSON null counts as absent. Units go through the
// library's unit tables (isotherm_file.h); ISODB's spellings such as "cm3(STP)/g",
// "ml(STP)/g", "mmol/g", "mol/kg", "mg/g", "bar", "kPa", "atm", "Torr" are among them, and
// an unknown unit ("wt%", "molecules/cell") is an error listing the known ones.
// Every other root member is kept in IsothermInfo::items as compact JSON text, strings
// with their quotes ("DOI" -> "\"10.1000/x\"", a null -> "null"), so the value's type
// survives. The list is one sequence of points; it is split into adsorption and desorption
// at its highest pressure. ISODB documents carry no Po: see isotherm_file.h for where it
// comes from.
// Errors name the file, the line when known and the member's path with 0-based indices
// ("iso.json:57: isotherm_data[3].pressure is not a number"); each point's line is kept in
// IsothermData::sourceLine.
#pragma once

#include <string>

#include "fiofla/io/isotherm_file.h"

namespace fiofla {

/// Parses ISODB JSON text; `name` (the file) starts every error message. Throws InputError.
IsothermData ParseIsodbJson(const std::string& text, const std::string& name,
                            const IsothermReadOptions& options = {});

/// Reads an ISODB JSON file; throws InputError.
IsothermData ReadIsodbFile(const std::string& path, const IsothermReadOptions& options = {});

}  // namespace fiofla
