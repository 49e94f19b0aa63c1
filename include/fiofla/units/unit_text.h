// Unit texts as files in the wild write them, read by a small grammar rather than a list of
// spellings, so "ml(STP) g-1", "cm³(STP)/g", "mmol g^-1", "mol/kg" and "µmol·g⁻¹" are one
// thing each.
//
// Loading units:
//
//   loading  := amount [liquid] [STP] per-part      (the STP marker may stand anywhere)
//   amount   := cm3 | cm^3 | cm³ | cc | ml | mL | l | dm3 | m3      volume
//             | umol | µmol | μmol | mmol | mol | kmol             moles
//             | ug | µg | mg | g | kg                               mass
//   liquid   := "liq" | "liquid" | "(liq)"     (the volume is the condensed liquid's)
//   STP      := "STP" | "(STP)" | "[STP]"      (any case; a gas volume is at STP anyway)
//   per-part := "/" basis | basis "-1" | basis "^-1" | basis "⁻¹" | "per" basis
//   basis    := mg | g | kg                      per mass of adsorbent
//             | cm3 | cm^3 | cc | ml | l         per volume (needs the material's density)
//             | mol | mmol                       per formula unit (needs its molar mass)
//   also "wt%" and "g/g" (mass per mass).
// Blanks, "·", "*" and "." between the parts are ignored; letters keep their case only where
// it matters nowhere in this field (mL = ml). A gas volume without a marker is at STP (273.15 K,
// 1 atm), as every analyser reports it.
//
// Pressure units: Pa, kPa, MPa, bar, mbar (hPa), atm, torr, mmHg, psi (psia) in any letter
// case and with blanks ("mm Hg", "KPA"). "MPa" and "mPa" are both read as megapascal: no
// sorption file uses millipascal, and case is often lost on the way. Gauge pressures (psig,
// barg) are refused, since they need the ambient pressure.
#pragma once

#include <optional>
#include <string>

namespace fiofla {

/// What an amount adsorbed is counted in.
enum class AmountKind {
  kGasVolume,     ///< cm³ of gas at STP
  kMoles,         ///< mmol
  kMass,          ///< mg of adsorbate (needs its molar mass)
  kLiquidVolume,  ///< cm³ of condensed liquid (needs its molar mass and liquid density)
};

/// What an amount is given per.
enum class MaterialBasis {
  kMass,    ///< per g of adsorbent
  kVolume,  ///< per cm³ of adsorbent (needs the material's density)
  kMolar,   ///< per mol of adsorbent formula units (needs the material's molar mass)
};

/// A loading unit read by the grammar above: `amountFactor` base amounts (cm³, mmol, mg or
/// cm³ liquid) per `basisFactor` base units of adsorbent (g, cm³ or mol).
struct LoadingUnitParts {
  AmountKind amount = AmountKind::kGasVolume;
  double amountFactor = 1.0;
  MaterialBasis basis = MaterialBasis::kMass;
  double basisFactor = 1.0;
};

/// The loading unit `text` names; nothing when it does not follow the grammar.
std::optional<LoadingUnitParts> ParseLoadingUnit(const std::string& text);

/// Why `text` is not a loading unit, with what would be: for messages.
std::string LoadingUnitHint();

/// The id in PressureUnits() of the pressure unit `text` ("kPa" for "KPA"); empty when it is
/// none. `why` (if given) receives a reason for texts that cannot be used (gauge).
std::string PressureUnitId(const std::string& text, std::string* why = nullptr);

/// mmHg per unit of the pressure unit `text`; nothing when it is not one. `why` (if given)
/// receives a reason for texts that look like a pressure but cannot be used (gauge).
std::optional<double> ParsePressureUnit(const std::string& text, std::string* why = nullptr);

}  // namespace fiofla
