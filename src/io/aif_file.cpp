// Adsorption Information Files through gemmi's CIF parser. gemmi stays inside this file:
// no public header names it, so the library's users need none of its headers.
#include "fiofla/io/aif_file.h"

#include <algorithm>
#include <cctype>
#include <cmath>
#include <cstddef>
#include <cstdlib>
#include <gemmi/cif.hpp>
#include <set>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "fiofla/compress.h"
#include "fiofla/types.h"
#include "fiofla/units/units.h"
#include "isotherm_internal.h"

namespace fiofla {
namespace {

namespace cif = gemmi::cif;

// Tags the reader interprets into IsothermInfo and the writer writes from it; they are not
// kept as items, so a written file never holds one of them twice.
constexpr const char* kAdsorptive = "_exptl_adsorptive";
constexpr const char* kTemperature = "_exptl_temperature";
constexpr const char* kSampleMass = "_exptl_sample_mass";
constexpr const char* kMaterial = "_adsnt_material_id";
constexpr const char* kUnitsPressure = "_units_pressure";
constexpr const char* kUnitsLoading = "_units_loading";
// Read as fallbacks and kept verbatim: each has a meaning of its own besides the one used.
constexpr const char* kAltSampleMass = "_adsnt_sample_mass";
constexpr const char* kAltMaterial[] = {"_adsnt_material_name", "_sample_material_id",
                                        "_adsnt_sample_name"};
// Later versions of the dictionary name the adsorptive and the amounts' unit so.
constexpr const char* kAltAdsorptive[] = {"_adsorptive_name", "_adsorptive_info"};
constexpr const char* kAltUnitsLoading = "_units_sorbed_amount";
// What loadings per formula unit or per volume of adsorbent need, in g/mol and g/cm3.
constexpr const char* kAdsorbentMolarMass = "_adsnt_molar_mass";
constexpr const char* kAdsorbentDensity = "_adsnt_sample_density";
// Units of the kept items as much as of the interpreted ones (a degas temperature, say), so
// they stay as the file has them and the writer writes temperature and mass in them.
constexpr const char* kUnitsTemperature = "_units_temperature";
constexpr const char* kUnitsMass = "_units_mass";

constexpr const char* kOwnedTags[] = {kAdsorptive, kTemperature,   kSampleMass,
                                      kMaterial,   kUnitsPressure, kUnitsLoading};
constexpr const char* kBranchPrefix[] = {"_adsorp_", "_desorp_"};
constexpr const char* kColumns[] = {"pressure", "p0", "amount", "loading"};

struct MassUnit {
  const char* id;
  double grams;
};
constexpr MassUnit kMassUnits[] = {{"g", 1.0}, {"mg", 1e-3}, {"kg", 1e3}};

[[noreturn]] void Fail(const std::string& source, const std::string& what) {
  throw InputError(source + ": " + what);
}

// `low` must be lower case; CIF tags compare without regard to case.
bool SameTag(const std::string& tag, const std::string& low) {
  return gemmi::iequal(tag, low);
}

bool IsOwnedTag(const std::string& tag) {
  for (const char* owned : kOwnedTags)
    if (SameTag(tag, owned)) return true;
  return false;
}

bool IsPointTag(const std::string& tag) {
  for (const char* prefix : kBranchPrefix)
    for (const char* column : kColumns)
      if (SameTag(tag, std::string(prefix) + column)) return true;
  return false;
}

// A file's text as a message can quote it: one line, not too long.
std::string Shown(const std::string& text) {
  constexpr std::size_t kMax = 40;
  std::string out;
  for (char c : text.substr(0, kMax)) out += (c == '\n' || c == '\r' || c == '\t') ? ' ' : c;
  if (text.size() > kMax) out += "...";
  return out;
}

const MassUnit* FindMassUnit(const std::string& text) {
  for (const MassUnit& unit : kMassUnits)
    if (text == unit.id) return &unit;
  return nullptr;
}

int TemperatureUnitIndex(const std::string& text) {
  return TemperatureUnits().Find(CStr(text.empty() ? "K" : text));
}

// ---------------------------------------------------------------------------------------
// Reading

// The byte gemmi stopped at, when it is one that CIF does not allow outside quotes; gemmi's
// own "parse error" says nothing about it.
std::string BadByteAt(const std::string& text, long line, long column) {
  std::size_t pos = 0;
  for (long l = 1; l < line; ++l) {
    pos = text.find('\n', pos);
    if (pos == std::string::npos) return {};
    ++pos;
  }
  if (column < 1 || pos + static_cast<std::size_t>(column - 1) >= text.size()) return {};
  const auto c = static_cast<unsigned char>(text[pos + static_cast<std::size_t>(column - 1)]);
  if (c > 0x20 && c < 0x7f) return {};
  static const char kHex[] = "0123456789ABCDEF";
  return std::string(" at byte 0x") + kHex[c >> 4] + kHex[c & 15] +
         " (outside quotes CIF allows printable ASCII only)";
}

// gemmi says "<name>:<line>:<column>: <problem>" (parser) or "<name>:<line> in data_<block>:
// <problem>" (its checks); ours is "<name>:<line>: <problem>" on one line.
std::string GemmiMessage(const std::string& what, const std::string& name,
                         const std::string& text) {
  if (what.compare(0, name.size(), name) != 0) return name + ": " + Shown(what);
  std::size_t pos = name.size();
  auto digits = [&](std::size_t from) {
    std::size_t end = from;
    while (end < what.size() && std::isdigit(static_cast<unsigned char>(what[end]))) ++end;
    return end;
  };
  std::string line, column;
  if (pos < what.size() && what[pos] == ':' && digits(pos + 1) > pos + 1) {
    line = what.substr(pos + 1, digits(pos + 1) - pos - 1);
    pos = digits(pos + 1);
    if (pos < what.size() && what[pos] == ':' && digits(pos + 1) > pos + 1) {
      column = what.substr(pos + 1, digits(pos + 1) - pos - 1);
      pos = digits(pos + 1);
    }
  }
  if (what.compare(pos, 9, " in data_") == 0) pos = what.find(": ", pos);
  if (pos != std::string::npos && what.compare(pos, 2, ": ") == 0) pos += 2;
  std::string problem = pos == std::string::npos ? what : what.substr(pos);
  if (problem == "parse error" && !column.empty())
    problem += BadByteAt(text, std::strtol(line.c_str(), nullptr, 10),
                         std::strtol(column.c_str(), nullptr, 10));
  for (char& c : problem)
    if (c == '\n' || c == '\r') c = ' ';
  return name + (line.empty() ? "" : ":" + line) + ": " + problem;
}

// A CIF number, with the standard uncertainty some files append ("1.23(4)") dropped.
bool CifNumber(const std::string& value, double* number) {
  if (cif::is_null(value)) return false;
  std::string text = cif::as_string(value);
  if (!text.empty() && text.back() == ')') {
    const auto open = text.find('(');
    if (open == std::string::npos || open == 0 || open + 2 >= text.size()) return false;
    for (std::size_t i = open + 1; i + 1 < text.size(); ++i)
      if (!std::isdigit(static_cast<unsigned char>(text[i]))) return false;
    text.resize(open);
  }
  return StringToDouble(text, number);
}

double Number(const std::string& value, const std::string& name, const std::string& where) {
  double number = 0.0;
  if (!CifNumber(value, &number))
    Fail(name, where + ": '" + Shown(cif::is_null(value) ? value : cif::as_string(value)) +
                   "' is not a number");
  return number;
}

// A loop column, or a single item read as a column of one row.
struct Column {
  const cif::Item* item = nullptr;
  int index = 0;

  std::size_t Rows() const { return item->type == cif::ItemType::Pair ? 1 : item->loop.length(); }
  const std::string& Value(std::size_t row) const {
    return item->type == cif::ItemType::Pair ? item->pair[1]
                                             : item->loop.val(row, static_cast<std::size_t>(index));
  }
};

Column FindColumn(const cif::Block& block, const std::string& tag) {
  for (const cif::Item& item : block.items) {
    if (item.type == cif::ItemType::Pair && SameTag(item.pair[0], tag)) return {&item, 0};
    if (item.type == cif::ItemType::Loop) {
      const int index = item.loop.find_tag_lc(tag);
      if (index >= 0) return {&item, index};
    }
  }
  return {};
}

// The points of one branch in the file's units.
struct BranchColumns {
  std::vector<double> pressure, po, amount;
  bool hasPo = false;
};

// False when the file has no column of the branch at all.
bool ReadBranch(const cif::Block& block, const std::string& prefix, const std::string& name,
                BranchColumns* out) {
  const std::string pTag = prefix + "pressure", poTag = prefix + "p0";
  // Later versions of the dictionary call the amounts "loading".
  std::string qTag = prefix + "amount";
  if (!FindColumn(block, qTag).item && FindColumn(block, prefix + "loading").item)
    qTag = prefix + "loading";
  const Column p = FindColumn(block, pTag), po = FindColumn(block, poTag),
               q = FindColumn(block, qTag);
  if (!p.item && !po.item && !q.item) return false;
  if (!p.item) Fail(name, "no " + pTag + " beside " + (q.item ? qTag : poTag));
  if (!q.item) Fail(name, "no " + qTag + " beside " + pTag);
  // A point may be given as single items; a loop's columns must share the loop, except for
  // one Po for the whole branch, which may stand on its own.
  const auto single = [](const Column& c) { return c.item->type == cif::ItemType::Pair; };
  const bool together = q.item == p.item || (single(p) && single(q));
  if (!together) Fail(name, qTag + " is not in the loop of " + pTag);
  if (po.item && po.item != p.item && !single(po))
    Fail(name, poTag + " is not in the loop of " + pTag);
  const bool poOnItsOwn = po.item && single(po);
  const std::size_t rows = p.Rows();
  if (rows == 0) Fail(name, "the loop of " + pTag + " has no rows");
  out->hasPo = po.item != nullptr;
  for (std::size_t r = 0; r < rows; ++r) {
    const std::string row = ", row " + std::to_string(r + 1);
    out->pressure.push_back(Number(p.Value(r), name, pTag + row));
    out->amount.push_back(Number(q.Value(r), name, qTag + row));
    if (po.item)
      out->po.push_back(
          Number(po.Value(poOnItsOwn ? 0 : r), name, poTag + (poOnItsOwn ? "" : row)));
  }
  return true;
}

// Single items into `info`; everything not interpreted is kept in info.items.
void ReadItems(const cif::Block& block, const std::string& name, RawIsotherm* raw) {
  IsothermInfo& info = raw->info;
  std::string temperature, temperatureUnit, mass, altMass, massUnit, altUnitsLoading;
  std::string altMaterial[3], altAdsorptive[2], molarMass, density;
  for (const cif::Item& item : block.items) {
    if (item.type != cif::ItemType::Pair) continue;
    const std::string& tag = item.pair[0];
    if (IsPointTag(tag)) continue;
    const std::string value = cif::as_string(item.pair[1]);  // "" for the nulls ? and .
    if (!IsOwnedTag(tag)) info.items.emplace_back(tag, value);
    if (SameTag(tag, kAdsorptive)) info.adsorptive = value;
    if (SameTag(tag, kMaterial)) info.material = value;
    if (SameTag(tag, kUnitsPressure)) raw->pressureUnit = value;
    if (SameTag(tag, kUnitsLoading)) raw->loadingUnit = value;
    if (SameTag(tag, kTemperature) && !value.empty()) temperature = item.pair[1];
    if (SameTag(tag, kUnitsTemperature)) temperatureUnit = value;
    if (SameTag(tag, kSampleMass) && !value.empty()) mass = item.pair[1];
    if (SameTag(tag, kAltSampleMass) && !value.empty()) altMass = item.pair[1];
    if (SameTag(tag, kUnitsMass)) massUnit = value;
    for (int i = 0; i < 3; ++i)
      if (SameTag(tag, kAltMaterial[i])) altMaterial[i] = value;
    for (int i = 0; i < 2; ++i)
      if (SameTag(tag, kAltAdsorptive[i])) altAdsorptive[i] = value;
    if (SameTag(tag, kAltUnitsLoading)) altUnitsLoading = value;
    if (SameTag(tag, kAdsorbentMolarMass) && !value.empty()) molarMass = item.pair[1];
    if (SameTag(tag, kAdsorbentDensity) && !value.empty()) density = item.pair[1];
  }
  for (const std::string& alt : altMaterial)
    if (info.material.empty()) info.material = alt;
  // A name with a gas table beats one without ("Carbon dioxide (dry)" beside "CO2").
  for (const std::string& alt : altAdsorptive)
    if (info.adsorptive.empty() ||
        (GasTableName(info.adsorptive).empty() && !GasTableName(alt).empty()))
      if (!alt.empty()) info.adsorptive = alt;
  if (raw->loadingUnit.empty()) {
    raw->loadingUnit = altUnitsLoading;
    raw->loadingUnitWhere = kAltUnitsLoading;
  }
  if (!molarMass.empty())
    raw->adsorbentMolarMassGPerMol = Number(molarMass, name, kAdsorbentMolarMass);
  if (!density.empty()) raw->materialDensityGPerCm3 = Number(density, name, kAdsorbentDensity);

  if (!temperature.empty()) {
    const double value = Number(temperature, name, kTemperature);
    const int unit = TemperatureUnitIndex(temperatureUnit);
    if (unit < 0)
      Fail(name, "unknown temperature unit '" + Shown(temperatureUnit) + "' (" + kUnitsTemperature +
                     "); known: K, C");
    info.temperatureK = TemperatureUnits().ToInternal(value, static_cast<std::size_t>(unit));
    if (!(info.temperatureK > 0.0))
      Fail(name, std::string(kTemperature) + ": " + cif::as_string(temperature) + " " +
                     (temperatureUnit.empty() ? "K" : temperatureUnit) + " is not above 0 K");
  }
  const bool massFromAlt = mass.empty() && !altMass.empty();
  if (massFromAlt) mass = altMass;
  if (!mass.empty()) {
    const std::string tag = massFromAlt ? kAltSampleMass : kSampleMass;
    const double value = Number(mass, name, tag);
    const MassUnit* unit = FindMassUnit(massUnit.empty() ? "g" : massUnit);
    if (unit == nullptr)
      Fail(name,
           "unknown mass unit '" + Shown(massUnit) + "' (" + kUnitsMass + "); known: g, mg, kg");
    if (!(value > 0.0))
      Fail(name, tag + ": the sample mass " + cif::as_string(mass) + " is not positive");
    info.sampleMassG = value * unit->grams;
  }
}

// ---------------------------------------------------------------------------------------
// Writing

// A value as CIF 1.1 can read it back: bare when it is plain, else quoted, else a text
// field; the empty text is written as '?', CIF's "not known".
std::string Quoted(const std::string& value, const std::string& tag, const std::string& source) {
  if (value.empty()) return "?";
  const bool plain = !cif::is_null(value) && std::all_of(value.begin(), value.end(), [](char c) {
    return cif::char_table(c) == 1;
  });
  if (plain) return value;
  if (value.find_first_of("\r\n") == std::string::npos) {
    if (value.find('\'') == std::string::npos) return "'" + value + "'";
    if (value.find('"') == std::string::npos) return "\"" + value + "\"";
  }
  if (value.find("\n;") != std::string::npos || value.back() == '\r')
    Fail(source, tag + ": a value with a line that starts with ';' cannot be written to AIF");
  return ";" + value + "\n;";
}

bool IsCifTag(const std::string& tag) {
  return tag.size() > 1 && tag[0] == '_' &&
         std::all_of(tag.begin(), tag.end(), [](char c) { return c > ' ' && c < 0x7f; });
}

// "data_" and a name made of the material, in characters any CIF reader takes.
std::string BlockName(const std::string& material) {
  constexpr std::size_t kMaxName = 70;  // CIF 1.1 lines hold 80 characters
  std::string name;
  for (char c : material) {
    if (name.size() == kMaxName) break;
    const bool keep = std::isalnum(static_cast<unsigned char>(c)) || c == '-' || c == '.';
    if (keep)
      name += c;
    else if (!name.empty() && name.back() != '_')
      name += '_';
  }
  while (!name.empty() && name.back() == '_') name.pop_back();
  return name.empty() ? "fiofla" : name;
}

// A text on one comment line: line breaks become blanks.
std::string OneLine(std::string text) {
  for (char& c : text)
    if (c == '\n' || c == '\r') c = ' ';
  return text;
}

class ItemWriter {
 public:
  explicit ItemWriter(std::string source) : m_source(std::move(source)) {}
  void Add(const std::string& tag, const std::string& value) { m_items.emplace_back(tag, value); }
  void AddNumber(const std::string& tag, double value) { Add(tag, io_detail::FormatValue(value)); }

  // Tags padded to one column; a text field starts on its own line.
  void WriteTo(std::string* out) const {
    std::size_t width = 0;
    for (const auto& item : m_items) width = std::max(width, item.first.size());
    for (const auto& [tag, value] : m_items) {
      const std::string quoted = Quoted(value, tag, m_source);
      if (quoted[0] == ';')
        *out += tag + "\n" + quoted + "\n";
      else
        *out += tag + std::string(width + 1 - tag.size(), ' ') + quoted + "\n";
    }
  }

 private:
  std::string m_source;
  std::vector<std::pair<std::string, std::string>> m_items;
};

const std::string* KeptValue(const IsothermInfo& info, const char* tag) {
  for (const auto& item : info.items)
    if (SameTag(item.first, tag)) return &item.second;
  return nullptr;
}

void CheckKeptItems(const IsothermInfo& info, const std::string& source) {
  std::set<std::string> seen;
  for (const auto& item : info.items) {
    const std::string& tag = item.first;
    if (!IsCifTag(tag)) continue;  // another format's item: written as a comment
    if (!seen.insert(gemmi::to_lower(tag)).second) Fail(source, "item " + tag + " is given twice");
  }
}

}  // namespace

IsothermData ParseAif(const std::string& text, const std::string& name,
                      const IsothermReadOptions& options) {
  cif::Document doc;
  try {
    doc = cif::read_memory(text.data(), text.size(), name.c_str());
  } catch (const std::runtime_error& e) {
    throw InputError(GemmiMessage(e.what(), name, text));
  }
  if (doc.blocks.empty()) Fail(name, "no data block (a line data_<name>)");
  if (doc.blocks.size() > 1)
    Fail(name, "holds " + std::to_string(doc.blocks.size()) + " data blocks (data_" +
                   Shown(doc.blocks[0].name) + ", data_" + Shown(doc.blocks[1].name) +
                   (doc.blocks.size() > 2 ? ", ..." : "") +
                   "); fiofla reads one isotherm per file: split it into one file per block");
  const cif::Block& block = doc.blocks.front();

  RawIsotherm raw;
  raw.source = name;
  ReadItems(block, name, &raw);

  BranchColumns branches[2];
  bool present[2];
  for (int b = 0; b < 2; ++b) present[b] = ReadBranch(block, kBranchPrefix[b], name, &branches[b]);
  if (!present[0] && !present[1])
    Fail(name,
         "no isotherm: neither _adsorp_pressure and _adsorp_amount nor _desorp_pressure and "
         "_desorp_amount are given");
  if (present[0] && present[1] && branches[0].hasPo != branches[1].hasPo)
    Fail(name, std::string(branches[0].hasPo ? "_desorp_p0" : "_adsorp_p0") + " is missing while " +
                   (branches[0].hasPo ? "_adsorp_p0" : "_desorp_p0") +
                   " is given; give Po for both branches or for neither");
  for (int b = 0; b < 2; ++b) {
    if (!present[b]) continue;
    const BranchColumns& c = branches[b];
    raw.pressure.insert(raw.pressure.end(), c.pressure.begin(), c.pressure.end());
    raw.po.insert(raw.po.end(), c.po.begin(), c.po.end());
    raw.loading.insert(raw.loading.end(), c.amount.begin(), c.amount.end());
    raw.branch.insert(raw.branch.end(), c.pressure.size(),
                      b == 0 ? Branch::kAdsorption : Branch::kDesorption);
  }

  if (raw.pressureUnit.empty())
    Fail(name, "_units_pressure is missing (the unit of the pressures)");
  if (raw.loadingUnit.empty())
    Fail(name, "_units_loading is missing (the unit of the amounts; also read as " +
                   std::string(kAltUnitsLoading) + ")");
  raw.pressureUnitWhere = kUnitsPressure;
  if (raw.loadingUnitWhere.empty()) raw.loadingUnitWhere = kUnitsLoading;
  return ConvertIsotherm(std::move(raw), options);
}

IsothermData ReadAifFile(const std::string& path, const IsothermReadOptions& options) {
  return ParseAif(io_detail::ReadTextFile(path), path, options);
}

std::string FormatAif(const IsothermData& iso, const IsothermWriteOptions& options) {
  const std::string source = iso.source.empty() ? "isotherm" : iso.source;
  const IsothermInfo& info = iso.info;
  if (iso.pressureMmHg.empty())
    Fail(source, "the isotherm has relative pressures only; give Po (--p0) to write AIF");
  const std::size_t n = iso.size();
  if (iso.pressureMmHg.size() != n || iso.quantityAdsorbedCm3PerGStp.size() != n ||
      iso.branch.size() != n || (!iso.poMmHg.empty() && iso.poMmHg.size() != n))
    Fail(source, "the isotherm's lists differ in length");
  CheckKeptItems(info, source);

  const std::string pressureText = !options.pressureUnit.empty() ? options.pressureUnit
                                   : !info.pressureUnit.empty()  ? info.pressureUnit
                                                                 : "mmHg";
  const std::string loadingText = !options.loadingUnit.empty() ? options.loadingUnit
                                  : !info.loadingUnit.empty()  ? info.loadingUnit
                                                               : "cm3/g STP";
  const CUnits pressureUnits = PressureUnits();
  const std::size_t pressureIndex =
      io_detail::PressureUnitIndex(pressureText, source, "pressure unit to write");
  const auto resolved = io_detail::ResolveLoadingUnit(loadingText, info, options.gasCache,
                                                      {NAN, NAN}, source, "loading unit to write");
  const CUnits& loadingUnits = resolved.units;
  const std::size_t loadingIndex = resolved.index;

  // Temperature and mass in the kept unit items; K and g otherwise, whose unit items go
  // right after the kept ones, where reading the file back will keep them.
  const std::string* keptTemperatureUnit = KeptValue(info, kUnitsTemperature);
  const int temperatureUnit = TemperatureUnitIndex(keptTemperatureUnit ? *keptTemperatureUnit : "");
  if (std::isfinite(info.temperatureK) && temperatureUnit < 0)
    Fail(source, "cannot write the temperature in the kept " + std::string(kUnitsTemperature) +
                     " '" + Shown(*keptTemperatureUnit) + "' (K or C)");
  const std::string* keptMassUnit = KeptValue(info, kUnitsMass);
  const MassUnit* massUnit =
      FindMassUnit(keptMassUnit && !keptMassUnit->empty() ? *keptMassUnit : "g");
  if (std::isfinite(info.sampleMassG) && massUnit == nullptr)
    Fail(source, "cannot write the sample mass in the kept " + std::string(kUnitsMass) + " '" +
                     Shown(*keptMassUnit) + "' (g, mg or kg)");

  // Items of other formats (an ISODB document's DOI, say) have no AIF tag; comments keep
  // them in sight without inventing tags.
  std::string out;
  for (const auto& [name, value] : info.items)
    if (!IsCifTag(name)) out += "# " + OneLine(name) + ": " + OneLine(value) + "\n";

  ItemWriter items(source);
  for (const auto& [tag, value] : info.items)
    if (IsCifTag(tag) && !IsOwnedTag(tag) && !IsPointTag(tag)) items.Add(tag, value);
  if (std::isfinite(info.temperatureK) && !keptTemperatureUnit) items.Add(kUnitsTemperature, "K");
  if (std::isfinite(info.sampleMassG) && !keptMassUnit) items.Add(kUnitsMass, "g");
  if (!info.adsorptive.empty()) items.Add(kAdsorptive, info.adsorptive);
  if (std::isfinite(info.temperatureK))
    items.AddNumber(kTemperature,
                    TemperatureUnits().FromInternal(info.temperatureK,
                                                    static_cast<std::size_t>(temperatureUnit)));
  if (std::isfinite(info.sampleMassG))
    items.AddNumber(kSampleMass, info.sampleMassG / massUnit->grams);
  if (!info.material.empty()) items.Add(kMaterial, info.material);
  items.Add(kUnitsPressure, pressureUnits.Units()[pressureIndex].Id().str());
  items.Add(kUnitsLoading, loadingUnits.Units()[loadingIndex].Id().str());

  out += "data_" + BlockName(info.material) + "\n";
  items.WriteTo(&out);

  auto value = [&](double internal, const CUnits& units, std::size_t index, std::size_t i) {
    const double v = units.FromInternal(internal, index);
    if (!std::isfinite(v))
      Fail(source, iso.PointName(i) + " does not convert to a finite value in " +
                       units.Units()[index].Id().str());
    return io_detail::FormatValue(v);
  };
  const bool withPo = !iso.poMmHg.empty();
  for (int b = 0; b < 2; ++b) {
    const Branch branch = b == 0 ? Branch::kAdsorption : Branch::kDesorption;
    if (std::find(iso.branch.begin(), iso.branch.end(), branch) == iso.branch.end()) continue;
    const std::string prefix = kBranchPrefix[b];
    out +=
        "\nloop_\n" + prefix + "pressure\n" + (withPo ? prefix + "p0\n" : "") + prefix + "amount\n";
    for (std::size_t i = 0; i < n; ++i) {
      if (iso.branch[i] != branch) continue;
      out += value(iso.pressureMmHg[i], pressureUnits, pressureIndex, i) + " ";
      if (withPo) out += value(iso.poMmHg[i], pressureUnits, pressureIndex, i) + " ";
      out += value(iso.quantityAdsorbedCm3PerGStp[i], loadingUnits, loadingIndex, i) + "\n";
    }
  }
  return out;
}

}  // namespace fiofla
