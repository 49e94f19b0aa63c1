#include "fiofla/units/units.h"

#include <cctype>
#include <cmath>
#include <limits>
#include <string>
#include <utility>

#include "fiofla/types.h"

namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kPaPerAtm = 101325.0;
constexpr double kMmHgPerAtm = 760.0;
constexpr double kMmHgPerPa = kMmHgPerAtm / kPaPerAtm;
constexpr double kPaPerPsi = 6894.757293168361;
constexpr double kCm3StpPerMmol = fiofla::kMolarVolumeStpCm3PerMol / 1000.0;
constexpr double kZeroCelsiusK = 273.15;

// People type units with arbitrary case and spacing ("CM3/g stp", "mmol / g"), so both
// sides are compared in a form without either.
std::string Canonical(CStr const& text) {
  std::string out;
  out.reserve(text.size());
  for (char c : text.str()) {
    if (c == ' ' || c == '\t') continue;
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
    out += c;
  }
  return out;
}

bool IsUsableParameter(double value) {
  return std::isfinite(value) && value > 0.0;
}

// Powers are small integers; repeated multiplication keeps M^-1 as the single rounding of 1/M.
double IntegerPower(double base, int power) {
  double result = 1.0;
  for (int i = 0; i < power; ++i) result *= base;
  for (int i = 0; i > power; --i) result /= base;
  return result;
}

CUnitsStr GasStp() {
  return CUnitsStr("cm3/g STP", "cm³/g STP", 1.0, 0.0,
                   {"cm^3/g STP", "cm³/g", "cc/g", "cc/g STP", "ml/g STP", "cm3/g", "cm^3/g",
                    "cm3(STP)/g", "cm3/g(STP)", "cm³(STP)/g", "ml(STP)/g"});
}
CUnitsStr GasMmol() {
  return CUnitsStr("mmol/g", "mmol/g", kCm3StpPerMmol);
}
CUnitsStr GasMolPerKg() {
  return CUnitsStr("mol/kg", "mol/kg", kCm3StpPerMmol);
}
CUnitsStr GasMass() {
  return CUnitsStr("mg/g", "mg/g", kCm3StpPerMmol).SetParameterPowers(-1, 0);
}
CUnitsStr GasLiquid() {
  // cm³ liquid * g/cm³ = g; / (g/mol) = mol; * cm³ STP/mol = cm³ STP.
  return CUnitsStr(
             "cm3 liq/g", "cm³ liquid/g", fiofla::kMolarVolumeStpCm3PerMol, 0.0,
             {"cm³ liq/g", "cm^3 liq/g", "cm3 liquid/g", "cm^3 liquid/g", "cc liq/g", "ml liq/g"})
      .SetParameterPowers(-1, 1);
}

// The reciprocal of a quantity-adsorbed unit, so the two lists cannot drift apart.
CUnitsStr Reciprocal(CStr id, CStr displayText, CUnitsStr const& unit, std::vector<CStr> aliases) {
  CUnitsStr inverse(std::move(id), std::move(displayText), 1.0 / unit.Factor(), 0.0,
                    std::move(aliases));
  inverse.SetParameterPowers(-unit.MolarMassPower(), -unit.LiquidDensityPower());
  return inverse;
}

}  // namespace

CUnitsStr::CUnitsStr(CStr id, CStr displayText, double factor, double offset,
                     std::vector<CStr> aliases)
    : m_id(std::move(id)),
      m_displayText(std::move(displayText)),
      m_aliases(std::move(aliases)),
      m_factor(factor),
      m_offset(offset) {}

CUnitsStr& CUnitsStr::SetParameterPowers(int molarMassPower, int liquidDensityPower) {
  m_molarMassPower = molarMassPower;
  m_liquidDensityPower = liquidDensityPower;
  return *this;
}

bool CUnitsStr::Matches(CStr const& text) const {
  const std::string wanted = Canonical(text);
  // A blank text names nothing, not the unnamed identity unit.
  if (wanted.empty()) return false;
  if (wanted == Canonical(m_id) || wanted == Canonical(m_displayText)) return true;
  for (CStr const& alias : m_aliases)
    if (wanted == Canonical(alias)) return true;
  return false;
}

CUnits::CUnits(CStr name, std::vector<CUnitsStr> units, std::size_t selected)
    : m_name(std::move(name)), m_units(std::move(units)), m_selected(selected) {
  if (m_selected >= m_units.size()) m_selected = 0;
}

int CUnits::Find(CStr const& text) const {
  for (std::size_t i = 0; i < m_units.size(); ++i)
    if (m_units[i].Matches(text)) return static_cast<int>(i);
  return -1;
}

bool CUnits::Select(CStr const& text) {
  const int index = Find(text);
  if (index < 0) return false;
  m_selected = static_cast<std::size_t>(index);
  return true;
}

bool CUnits::SelectIndex(std::size_t index) {
  if (index >= m_units.size()) return false;
  m_selected = index;
  return true;
}

CUnitsStr const* CUnits::Selected() const {
  return m_units.empty() ? nullptr : &m_units[m_selected];
}

CStr CUnits::DisplayText() const {
  CUnitsStr const* unit = Selected();
  return unit ? unit->DisplayText() : CStr();
}

// "No unit" behaves as a single identity unit at index 0, so callers holding a null
// CUnits can pass values through without special cases.
double CUnits::EffectiveFactor(std::size_t index) const {
  if (m_units.empty()) return index == 0 ? 1.0 : kNaN;
  if (index >= m_units.size()) return kNaN;
  CUnitsStr const& unit = m_units[index];
  double factor = unit.Factor();
  if (unit.MolarMassPower() != 0) {
    if (!IsUsableParameter(m_molarMassGPerMol)) return kNaN;
    factor *= IntegerPower(m_molarMassGPerMol, unit.MolarMassPower());
  }
  if (unit.LiquidDensityPower() != 0) {
    if (!IsUsableParameter(m_liquidDensityGPerCm3)) return kNaN;
    factor *= IntegerPower(m_liquidDensityGPerCm3, unit.LiquidDensityPower());
  }
  return factor;
}

bool CUnits::CanConvert(std::size_t index) const {
  const double factor = EffectiveFactor(index);
  return std::isfinite(factor) && factor != 0.0;
}

double CUnits::ToInternal(double displayValue) const {
  return ToInternal(displayValue, m_selected);
}

double CUnits::FromInternal(double internalValue) const {
  return FromInternal(internalValue, m_selected);
}

double CUnits::ToInternal(double value, std::size_t index) const {
  const double factor = EffectiveFactor(index);
  if (!std::isfinite(factor) || factor == 0.0) return kNaN;
  const double offset = m_units.empty() ? 0.0 : m_units[index].Offset();
  return value * factor + offset;
}

double CUnits::FromInternal(double internalValue, std::size_t index) const {
  const double factor = EffectiveFactor(index);
  if (!std::isfinite(factor) || factor == 0.0) return kNaN;
  const double offset = m_units.empty() ? 0.0 : m_units[index].Offset();
  return (internalValue - offset) / factor;
}

std::shared_ptr<CUnitsContext> CUnitsContext::Create(CStr name, SelectionMap selections,
                                                     UnitsMap units) {
  return std::shared_ptr<CUnitsContext>(
      new CUnitsContext(std::move(name), std::move(selections), std::move(units)));
}

CUnitsContext::CUnitsContext(CStr name, SelectionMap selections, UnitsMap units)
    : m_name(std::move(name)), m_selections(std::move(selections)), m_units(std::move(units)) {}

CUnits CUnitsContext::Lookup(CStr const& name) const {
  const auto it = m_units.find(name);
  return it == m_units.end() ? CUnits() : Apply(it->second);
}

CUnits CUnitsContext::Apply(CUnits units) const {
  const auto it = m_selections.find(units.Name());
  // A selection naming a unit the kind lacks is ignored rather than blanking the text.
  if (it != m_selections.end() && it->second) it->second->Apply(units);
  return units;
}

CStr CUnitsContext::DisplayText(CStr const& name) const {
  return Lookup(name).DisplayText();
}

CStr CUnitsContext::ResolveText(CStr const& text) const {
  static const std::string kOpen = "{%UT:";
  static const std::string kClose = "%}";
  std::string const& in = text.str();
  std::string out;
  out.reserve(in.size());
  std::size_t pos = 0;
  while (pos < in.size()) {
    const std::size_t open = in.find(kOpen, pos);
    if (open == std::string::npos) break;
    out.append(in, pos, open - pos);
    const std::size_t nameStart = open + kOpen.size();
    const std::size_t close = in.find(kClose, nameStart);
    const std::size_t nextOpen = in.find(kOpen, nameStart);
    // An opening without its own close is plain text; a later placeholder still resolves.
    if (close == std::string::npos || nextOpen < close) {
      const std::size_t resume = close == std::string::npos ? in.size() : nextOpen;
      out.append(in, open, resume - open);
      pos = resume;
      continue;
    }
    const CStr name(in.substr(nameStart, close - nameStart));
    const std::size_t after = close + kClose.size();
    if (m_units.count(name) != 0)
      out += DisplayText(name).str();
    else
      out.append(in, open, after - open);
    pos = after;
  }
  if (pos < in.size()) out.append(in, pos, std::string::npos);
  return CStr(std::move(out));
}

CUnits fcn_UT_RelativePressure() {
  return CUnits("RelativePressure", {CUnitsStr("P/Po", "P/Po", 1.0, 0.0, {"P/P0", "p/p°"})});
}

CUnits fcn_UT_InvRelativePressure() {
  return CUnits("InvRelativePressure", {CUnitsStr("Po/P", "Po/P", 1.0, 0.0, {"P0/P", "p°/p"})});
}

CUnits fcn_UT_GasAmountAdsorbed() {
  return CUnits("GasAmountAdsorbed", {GasStp(), GasMmol(), GasMolPerKg(), GasMass(), GasLiquid()});
}

namespace fiofla {

CUnits PressureUnits() {
  return CUnits("Pressure", {
                                CUnitsStr("mmHg", "mmHg", 1.0),
                                CUnitsStr("Pa", "Pa", kMmHgPerPa),
                                CUnitsStr("kPa", "kPa", 1e3 * kMmHgPerPa),
                                CUnitsStr("MPa", "MPa", 1e6 * kMmHgPerPa),
                                CUnitsStr("bar", "bar", 1e5 * kMmHgPerPa),
                                CUnitsStr("mbar", "mbar", 1e2 * kMmHgPerPa, 0.0, {"hPa"}),
                                CUnitsStr("atm", "atm", kMmHgPerAtm),
                                CUnitsStr("torr", "Torr", 1.0),
                                CUnitsStr("psi", "psi", kPaPerPsi * kMmHgPerPa, 0.0, {"psia"}),
                            });
}

CUnits InverseGasAmountUnits() {
  return CUnits("InverseGasAmountAdsorbed",
                {
                    Reciprocal("g/cm3 STP", "g/cm³ STP", GasStp(),
                               {"g/cm^3 STP", "g/cm³", "g/cc", "g/cc STP", "g/ml STP", "g/cm3",
                                "g/cm^3", "g/cm3(STP)"}),
                    Reciprocal("g/mmol", "g/mmol", GasMmol(), {}),
                    Reciprocal("kg/mol", "kg/mol", GasMolPerKg(), {}),
                    Reciprocal("g/mg", "g/mg", GasMass(), {}),
                    Reciprocal("g/cm3 liq", "g/cm³ liquid", GasLiquid(),
                               {"g/cm³ liq", "g/cm^3 liq", "g/cm3 liquid", "g/cm^3 liquid",
                                "g/cc liq", "g/ml liq"}),
                });
}

CUnits TemperatureUnits() {
  return CUnits("Temperature", {CUnitsStr("K", "K", 1.0, 0.0, {"kelvin"}),
                                CUnitsStr("degC", "°C", 1.0, kZeroCelsiusK, {"C", "celsius"})});
}

bool SplitValueAndUnit(const std::string& text, double* value, std::string* unit) {
  const auto first = text.find_first_not_of(" \t");
  const auto last = text.find_last_not_of(" \t");
  const std::string t =
      first == std::string::npos ? std::string() : text.substr(first, last - first + 1);
  std::size_t cut = t.find_first_of(" \t");
  if (cut == std::string::npos) {
    // "52mg": the unit starts at the first letter that is not an exponent marker, or at
    // the first non-ASCII byte ("°C").
    cut = t.size();
    for (std::size_t i = 0; i < t.size(); ++i) {
      const auto c = static_cast<unsigned char>(t[i]);
      const bool exponent = (c == 'e' || c == 'E') && i + 1 < t.size() &&
                            (std::isdigit(static_cast<unsigned char>(t[i + 1])) ||
                             t[i + 1] == '-' || t[i + 1] == '+');
      if ((std::isalpha(c) && !exponent) || c >= 0x80) {
        cut = i;
        break;
      }
    }
  }
  const std::string rest = t.substr(cut);
  const auto unitStart = rest.find_first_not_of(" \t");
  *unit = unitStart == std::string::npos ? std::string() : rest.substr(unitStart);
  return StringToDouble(t.substr(0, cut), value);
}

}  // namespace fiofla
