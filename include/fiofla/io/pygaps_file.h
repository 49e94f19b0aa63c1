// pyGAPS isotherm files: the JSON and the CSV of the open Python package, read, and the
// JSON written, so that isotherms move between the two programs without loss.
//
// Both carry the same metadata: "adsorbate", "material" (a name, or an object with "name"
// and optionally "molar_mass" g/mol and "density" g/cm3), "temperature" with
// "temperature_unit" (K or °C), "pressure_mode" with "pressure_unit", "loading_basis" with
// "loading_unit", "material_basis" with "material_unit", "material_mass" (the sample's
// mass, g), "file_version", and any further
// keys. Older files' "adsorbent_basis"/"adsorbent_unit", "sample_name" and "t_exp" are read
// too. The JSON holds the points in "isotherm_data", a list (or, in old files, an object
// keyed by index) of {"pressure", "loading", "branch": "des" on desorption}; the CSV holds
// "key,value" lines, a line starting "data", a header naming the columns (the pressure
// column's name starts with "pressure", the loading's with "loading"; else the first two
// columns are taken) and one row per point, with a "branch" column of ads/des.
//
// What is converted, and how:
//   pressure_mode  absolute (any pressure unit), relative (P/Po), relative% (P/Po x 100);
//   loading_basis  molar (mmol, mol, kmol, cm3(STP), mL(STP), cc(STP), L(STP)),
//                  mass (mg, g, kg), volume_liquid (cm3, mL, L, ...: the condensed liquid),
//                  volume_gas (the saturated vapour at the isotherm's temperature, as the
//                  package defines it: needs a gas table and a subcritical temperature),
//                  fraction and percent (adsorbate per adsorbent in the material's basis:
//                  g/g, mol/mol, or liquid cm3/cm3);
//   material_basis mass, volume (needs the material's density), molar (needs its molar
//                  mass); the file's material object supplies them unless the read options
//                  give them.
// A unit outside these, a model isotherm (no points) or a missing key is an InputError
// naming the file, the key and what to give. Volume units STP are read at 273.15 K and
// 1 atm; the package's own constant for "cm3(STP)" differs from it by 1e-4 relative.
//
// Every key the reader does not turn into IsothermInfo is kept in IsothermInfo::items (a
// text as it stands, any other value as JSON text) and written back; the writer writes an
// item that reads as JSON as that JSON, any other as a string. The writer uses relative
// pressure mode, so the package computes from exactly the P/Po fiofla used (written to the
// last digit; converted values to 15); absolute pressures and Po, when known, travel as the
// extra point keys "absolute_pressure(<unit>)" and "p0(<unit>)", which this reader
// restores. An isotherm read without P/Po (IsothermReadOptions::requirePo) is written in
// absolute mode. Loadings are written in the isotherm's unit (or IsothermWriteOptions's) when it
// is per mass of adsorbent.
#pragma once

#include <string>

#include "fiofla/io/isotherm_file.h"

namespace fiofla {

/// Parses pyGAPS JSON text; `name` (the file) starts every error message. Throws InputError.
IsothermData ParsePygapsJson(const std::string& text, const std::string& name,
                             const IsothermReadOptions& options = {});

/// Parses pyGAPS CSV text; `name` (the file) starts every error message. Throws InputError.
IsothermData ParsePygapsCsv(const std::string& text, const std::string& name,
                            const IsothermReadOptions& options = {});

/// The isotherm as pyGAPS JSON (keys sorted, as the package writes them). Throws
/// InputError for a unit the package has no name for.
std::string FormatPygapsJson(const IsothermData& iso, const IsothermWriteOptions& options = {});

/// Whether JSON text is a pyGAPS isotherm rather than an ISODB document (by its keys).
bool LooksLikePygapsJson(const std::string& text);
/// Whether text is a pyGAPS CSV isotherm: "key,value" lines naming pyGAPS keys, then "data".
bool LooksLikePygapsCsv(const std::string& text);

}  // namespace fiofla
