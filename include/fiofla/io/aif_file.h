// Adsorption Information Files (AIF): the CIF-based exchange format of the adsorption
// community, read and written through gemmi's CIF parser.
//
// Read: the data block (a file of several blocks is refused with a message saying so). Items interpreted (all optional except the points):
//   _exptl_adsorptive (else _adsorptive_name or _adsorptive_info, preferring a name with a
//   gas table), _exptl_temperature (in _units_temperature: K or C; K when not given),
//   _exptl_sample_mass, else _adsnt_sample_mass (in _units_mass: g, mg or kg; g when not
//   given), _adsnt_material_id, else _adsnt_material_name, _sample_material_id or
//   _adsnt_sample_name (the material), _units_pressure and _units_loading (else
//   _units_sorbed_amount; both required), _adsnt_molar_mass (g/mol) and
//   _adsnt_sample_density (g/cm3) for loadings per formula unit or per volume;
//   loops _adsorp_pressure/_adsorp_p0/_adsorp_amount (or _adsorp_loading) and
//   _desorp_pressure/_desorp_p0/_desorp_amount (or _desorp_loading), either or both (a point may also be given as single items, and one Po
//   for a whole branch as a single _adsorp_p0 or _desorp_p0). When one branch gives Po, the
//   other must too; when neither does, see isotherm_file.h for where Po comes from.
// Numbers may carry a standard uncertainty ("1.23(4)"), which is dropped; "?" and "." mean
// not given. Every single item other than the six first-named tags and the points is kept
// in IsothermInfo::items in file order, unquoted (the null values as ""): this includes
// _units_temperature and _units_mass, which other kept items (a degas temperature) share,
// and the fallback tags _adsnt_sample_mass, _sample_material_id and _adsnt_sample_name.
// Other loops are not kept. Errors name the file and the key, for a value its 1-based row
// within its loop ("_adsorp_amount, row 3"), for a syntax error the line.
//
// Written: data block "data_<material>" (characters other than letters, digits, '-' and '.'
// become '_'; "fiofla" without a material); the kept items in order, followed by
// _units_temperature K and _units_mass g when none was kept; _exptl_adsorptive,
// _exptl_temperature and _exptl_sample_mass in those units; _adsnt_material_id;
// _units_pressure and _units_loading in the isotherm's units (or those of
// IsothermWriteOptions); then one loop per branch that has points (no p0 column when Po is
// not known). Values have 15 significant digits, so that reading and writing again gives
// the same text, and are written bare, quoted or as a text field as CIF 1.1 needs ("" as ?).
#pragma once

#include <string>

#include "fiofla/io/isotherm_file.h"

namespace fiofla {

/// Parses AIF text; `name` (the file) starts every error message. Throws InputError.
IsothermData ParseAif(const std::string& text, const std::string& name,
                      const IsothermReadOptions& options = {});

/// Reads an AIF file; throws InputError.
IsothermData ReadAifFile(const std::string& path, const IsothermReadOptions& options = {});

/// The isotherm as AIF text. Needs absolute pressures (IsothermData::pressureMmHg); throws
/// InputError when the isotherm has only relative pressures or a unit cannot be written.
std::string FormatAif(const IsothermData& iso, const IsothermWriteOptions& options = {});

}  // namespace fiofla
