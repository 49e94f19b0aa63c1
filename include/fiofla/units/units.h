// Units of measure: what a quantity is expressed in, and the conversion between the
// unit a person sees ("display") and the unit the library computes in ("internal").
//
// A unit is linear: internal = display * factor + offset. Units of quantity adsorbed
// that count mass or liquid volume instead of gas volume scale the factor by the
// adsorptive's molar mass and liquid density raised to fixed powers, so one table
// entry serves every adsorptive; such a unit cannot convert until those are set.
//
// A CUnits is one kind of quantity (quantity adsorbed, relative pressure, pressure)
// with its list of units and the one selected for display. A CUnitsContext maps the
// names used in report texts ("{%UT:InvRelativePressure%}") to kinds, and may carry
// per-kind selections that override what a kind would show on its own.
#pragma once

#include <cstddef>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "fiofla/str/cstr.h"

/// One unit of measure: its identifier, the texts it is shown and recognised by, and
/// its linear conversion to the internal unit of its kind.
class CUnitsStr {
 public:
  /// The internal unit itself: identity conversion.
  CUnitsStr() = default;
  /// A unit with internal = display * factor + offset; `aliases` are further spellings
  /// accepted by CUnits::Find (the id and the display text always are).
  CUnitsStr(CStr id, CStr displayText, double factor, double offset = 0.0,
            std::vector<CStr> aliases = {});

  /// Short ASCII identifier, used on command lines and in files ("mmol/g").
  CStr const& Id() const { return m_id; }
  /// Text shown to a person, UTF-8 ("cm³/g STP").
  CStr const& DisplayText() const { return m_displayText; }
  /// Further accepted spellings.
  std::vector<CStr> const& Aliases() const { return m_aliases; }
  /// Multiplier from display to internal, before the molar-mass and density powers.
  double Factor() const { return m_factor; }
  /// Added after the multiplication (non-zero only for offset scales such as °C).
  double Offset() const { return m_offset; }

  /// Declares that the factor is multiplied by molarMass^molarMassPower *
  /// liquidDensity^liquidDensityPower (g/mol, g/cm³). Returns *this.
  CUnitsStr& SetParameterPowers(int molarMassPower, int liquidDensityPower);
  /// Power of the molar mass in the factor.
  int MolarMassPower() const { return m_molarMassPower; }
  /// Power of the liquid density in the factor.
  int LiquidDensityPower() const { return m_liquidDensityPower; }
  /// True when the text names this unit: id, display text or an alias, compared without
  /// regard to ASCII case or blanks.
  bool Matches(CStr const& text) const;

 private:
  CStr m_id;
  CStr m_displayText;
  std::vector<CStr> m_aliases;
  double m_factor = 1.0;
  double m_offset = 0.0;
  int m_molarMassPower = 0;
  int m_liquidDensityPower = 0;
};

/// A kind of quantity with its units and the one selected for display. A default-constructed
/// CUnits is "no unit": identity conversion and an empty display text.
class CUnits {
 public:
  /// No unit.
  CUnits() = default;
  /// A kind named `name` offering `units` (the first is conventionally the internal unit),
  /// with `selected` shown; an out-of-range selection selects 0.
  CUnits(CStr name, std::vector<CUnitsStr> units, std::size_t selected = 0);

  /// Name of the kind ("GasAmountAdsorbed"); empty for no unit.
  CStr const& Name() const { return m_name; }
  /// True for the default-constructed "no unit".
  bool IsNull() const { return m_units.empty(); }
  /// The units offered.
  std::vector<CUnitsStr> const& Units() const { return m_units; }
  /// Index of the unit the text names (see CUnitsStr::Matches), or -1.
  int Find(CStr const& text) const;
  /// Selects the unit the text names; false (selection unchanged) when none does.
  bool Select(CStr const& text);
  /// Selects by index; false (selection unchanged) when out of range.
  bool SelectIndex(std::size_t index);
  /// Index of the selected unit (0 for no unit).
  std::size_t SelectedIndex() const { return m_selected; }
  /// The selected unit, or null for no unit.
  CUnitsStr const* Selected() const;
  /// Display text of the selected unit; empty for no unit.
  CStr DisplayText() const;

  /// Molar mass of the adsorptive, g/mol; 0 = not known.
  void SetMolarMass(double gPerMol) { m_molarMassGPerMol = gPerMol; }
  /// Molar mass of the adsorptive, g/mol; 0 = not known.
  double MolarMass() const { return m_molarMassGPerMol; }
  /// Density of the adsorptive as a liquid, g/cm³; 0 = not known.
  void SetLiquidDensity(double gPerCm3) { m_liquidDensityGPerCm3 = gPerCm3; }
  /// Density of the adsorptive as a liquid, g/cm³; 0 = not known.
  double LiquidDensity() const { return m_liquidDensityGPerCm3; }

  /// True when unit `index` can convert (its parameters are known and positive).
  bool CanConvert(std::size_t index) const;
  /// Display value in the selected unit to internal; NaN when the unit cannot convert.
  double ToInternal(double displayValue) const;
  /// Internal value to the selected unit; NaN when the unit cannot convert.
  double FromInternal(double internalValue) const;
  /// Value in unit `index` to internal; NaN when that unit cannot convert or is out of range.
  double ToInternal(double value, std::size_t index) const;
  /// Internal value to unit `index`; NaN when that unit cannot convert or is out of range.
  double FromInternal(double internalValue, std::size_t index) const;

 private:
  double EffectiveFactor(std::size_t index) const;

  CStr m_name;
  std::vector<CUnitsStr> m_units;
  std::size_t m_selected = 0;
  double m_molarMassGPerMol = 0.0;
  double m_liquidDensityGPerCm3 = 0.0;
};

/// A person's choice of display unit for one kind of quantity, kept by a units context.
class CUnitSelection {
 public:
  /// Chooses unit `unitText` (id, display text or alias) for the kind named `unitsName`.
  CUnitSelection(CStr unitsName, CStr unitText)
      : m_unitsName(std::move(unitsName)), m_unitText(std::move(unitText)) {}

  /// Name of the kind the choice is for.
  CStr const& UnitsName() const { return m_unitsName; }
  /// The chosen unit, as text.
  CStr const& UnitText() const { return m_unitText; }
  /// Changes the chosen unit.
  void SetUnitText(CStr unitText) { m_unitText = std::move(unitText); }
  /// Applies the choice to `units`; false (units unchanged) when it names no unit of them.
  bool Apply(CUnits& units) const { return units.Select(m_unitText); }

 private:
  CStr m_unitsName;
  CStr m_unitText;
};

/// Which unit each name used in texts stands for, with the selections that override them.
class CUnitsContext {
 public:
  /// Selections by kind name.
  using SelectionMap = std::map<CStr, std::shared_ptr<CUnitSelection>>;
  /// Units by the name texts use for them.
  using UnitsMap = std::map<CStr, CUnits>;

  /// A new context; the maps are copied, the selections shared.
  static std::shared_ptr<CUnitsContext> Create(CStr name, SelectionMap selections, UnitsMap units);

  /// Name of the context.
  CStr const& Name() const { return m_name; }
  /// The units by name.
  UnitsMap const& Units() const { return m_units; }
  /// The selections by kind name.
  SelectionMap const& Selections() const { return m_selections; }

  /// The units registered under `name` with any selection for their kind applied; null
  /// CUnits when the name is unknown.
  CUnits Lookup(CStr const& name) const;
  /// `units` with the selection for its kind applied, if this context has one.
  CUnits Apply(CUnits units) const;
  /// Display text of the units registered under `name`; empty when unknown.
  CStr DisplayText(CStr const& name) const;
  /// `text` with every "{%UT:name%}" replaced by the display text of that name; a
  /// placeholder with an unknown name is left as it is, so the gap stays visible.
  CStr ResolveText(CStr const& text) const;

 private:
  CUnitsContext(CStr name, SelectionMap selections, UnitsMap units);

  CStr m_name;
  SelectionMap m_selections;
  UnitsMap m_units;
};

/// Relative pressure P/Po: one unit, the internal one.
CUnits fcn_UT_RelativePressure();
/// Inverse relative pressure Po/P: one unit, the internal one.
CUnits fcn_UT_InvRelativePressure();
/// Quantity adsorbed per gram of sample: cm³/g STP (internal), mmol/g, mol/kg, mg/g
/// (needs the molar mass) and cm³ liquid/g (needs molar mass and liquid density).
CUnits fcn_UT_GasAmountAdsorbed();

namespace fiofla {

/// Molar volume of an ideal gas at STP (273.15 K, 1 atm), cm³/mol; the library-wide value.
constexpr double kMolarVolumeStpCm3PerMol = 22414.0;

/// Absolute pressure: mmHg (internal), Pa, kPa, MPa, bar, mbar, atm, torr, psi. The mmHg
/// is the conventional 1/760 atm (so equal to the torr), not the manometric 133.322387415 Pa.
CUnits PressureUnits();
/// Inverse of quantity adsorbed (the BET transform): g/cm³ STP (internal), g/mmol, kg/mol,
/// g/mg, g/cm³ liquid; each the reciprocal of the matching fcn_UT_GasAmountAdsorbed unit.
CUnits InverseGasAmountUnits();
/// Temperature: K (internal) and °C.
CUnits TemperatureUnits();

/// Splits a quantity as people write it, "77.35 K", "52mg" or "1e5 Pa", into its number and
/// unit text (empty for a bare number); false when the number part is not a finite number.
bool SplitValueAndUnit(const std::string& text, double* value, std::string* unit);

}  // namespace fiofla
