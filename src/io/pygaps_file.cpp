#include "fiofla/io/pygaps_file.h"

#include <rapidjson/document.h>
#include <rapidjson/prettywriter.h>
#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

#include <algorithm>
#include <cctype>
#include <charconv>
#include <cmath>
#include <map>
#include <optional>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "fiofla/compress.h"
#include "fiofla/io/file_util.h"
#include "fiofla/units/unit_text.h"
#include "isotherm_internal.h"
#include "json_exact.h"

namespace fiofla {
namespace {

using JsonValue = rapidjson::Value;

// The version the package's current readers expect; older ones only warn on it.
constexpr const char* kFileVersion = "3.0";
constexpr const char* kPointsKey = "isotherm_data";
// Keys that become IsothermInfo fields or conversions; every other one is kept as an item.
constexpr const char* kReadKeys[] = {
    "file_version",   "adsorbate",      "temperature",   "temperature_unit",
    "t_exp",          "pressure_mode",  "pressure_unit", "loading_basis",
    "loading_unit",   "material_basis", "material_unit", "adsorbent_basis",
    "adsorbent_unit", "sample_name",    "material_mass", kPointsKey};

using io_detail::Fail;

std::string Lower(std::string s) {
  for (char& c : s) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  return s;
}

std::string Trim(const std::string& s) {
  const auto first = s.find_first_not_of(" \t\r\n");
  if (first == std::string::npos) return {};
  return s.substr(first, s.find_last_not_of(" \t\r\n") - first + 1);
}

using io_detail::Shown;

std::string CompactJson(const JsonValue& value) {
  rapidjson::StringBuffer buffer;
  rapidjson::Writer<rapidjson::StringBuffer> writer(buffer);
  value.Accept(writer);
  return std::string(buffer.GetString(), buffer.GetSize());
}

// The points as either format gives them, before units.
struct Points {
  std::vector<double> pressure, loading;
  std::vector<Branch> branch;
  bool branchGiven = false;
  std::vector<std::size_t> line;
  // Absolute pressures and Po that fiofla's writer adds, with their unit.
  std::vector<double> absolute, po;
  std::string absoluteUnit, poUnit;
};

// Reads the unit of a key such as "p0(kPa)" when its name starts with `prefix`.
bool ExtraKey(const std::string& key, const char* prefix, std::string* unit) {
  const std::string p = prefix;
  if (key.size() < p.size() + 2 || key.compare(0, p.size(), p) != 0 || key.back() != ')')
    return false;
  *unit = key.substr(p.size(), key.size() - p.size() - 1);
  return true;
}

bool BranchFromText(const std::string& text, Branch* branch) {
  const std::string t = Lower(Trim(text));
  if (t.empty() || t == "ads" || t == "false" || t == "0" || t == "0.0" || t == "nan") {
    *branch = Branch::kAdsorption;
    return true;
  }
  if (t == "des" || t == "true" || t == "1" || t == "1.0") {
    *branch = Branch::kDesorption;
    return true;
  }
  return StringToBranch(text, branch);
}

// Metadata access with messages that name the key.
class Meta {
 public:
  Meta(const JsonValue& object, std::string name) : m_object(object), m_name(std::move(name)) {}

  const JsonValue* Find(const char* key) const {
    const auto it = m_object.FindMember(key);
    if (it == m_object.MemberEnd() || it->value.IsNull()) return nullptr;
    return &it->value;
  }
  std::optional<std::string> Text(const char* key) const {
    const JsonValue* v = Find(key);
    if (v == nullptr) return std::nullopt;
    if (v->IsString()) return std::string(v->GetString(), v->GetStringLength());
    if (v->IsNumber()) return io_detail::FormatValue(v->GetDouble());
    Fail(m_name, std::string(key) + " is not text");
  }
  std::optional<double> Number(const char* key) const {
    const JsonValue* v = Find(key);
    if (v == nullptr) return std::nullopt;
    double x = 0.0;
    if (v->IsNumber())
      x = v->GetDouble();
    else if (!v->IsString() || !StringToDouble(v->GetString(), &x))
      Fail(m_name, std::string(key) + " is not a number");
    return x;
  }
  // A key the file should give, else the package's own default with a note saying so.
  std::string TextOr(const char* key, const char* fallback, std::vector<std::string>* notes) const {
    if (auto t = Text(key)) return *t;
    notes->push_back(std::string(key) + " is not given; the pyGAPS default '" + fallback +
                     "' is used");
    return fallback;
  }

 private:
  const JsonValue& m_object;
  std::string m_name;
};

// A loading as pyGAPS describes it, in words of the unit grammar, with a factor the values
// are multiplied by first.
struct LoadingText {
  std::string unit;
  double factor = 1.0;
};

LoadingUnitParts AmountOf(const std::string& unit, const char* key, const std::string& name) {
  const auto parts = ParseLoadingUnit(unit + "/g");
  if (!parts) Fail(name, std::string(key) + " '" + Shown(unit) + "' is not a unit fiofla reads");
  return *parts;
}

LoadingText LoadingOf(const Meta& meta, const IsothermInfo& info, const std::string& name,
                      CGasCompressibilityCache* cache, std::vector<std::string>* notes) {
  const std::string basis = Lower(meta.TextOr("loading_basis", "molar", notes));
  const bool fractional = basis == "fraction" || basis == "percent";
  const std::string unit = fractional ? std::string() : meta.TextOr("loading_unit", "mmol", notes);
  const bool oldKeys = !meta.Find("material_basis") && meta.Find("adsorbent_basis");
  const std::string materialBasis =
      Lower(meta.TextOr(oldKeys ? "adsorbent_basis" : "material_basis", "mass", notes));
  // A fraction's material unit cancels, so files leave it out; then any unit of the basis.
  const char* basisUnit = materialBasis == "volume"  ? "cm3"
                          : materialBasis == "molar" ? "mol"
                                                     : "g";
  const char* unitKey = oldKeys ? "adsorbent_unit" : "material_unit";
  const std::string materialUnit =
      fractional ? meta.Text(unitKey).value_or(basisUnit) : meta.TextOr(unitKey, basisUnit, notes);

  // The adsorbent part: its unit in g, cm3 or mol.
  const auto per = ParseLoadingUnit("mmol/" + materialUnit);
  if (!per) Fail(name, "material_unit '" + Shown(materialUnit) + "' is not a unit fiofla reads");
  const char* perText = nullptr;
  if (materialBasis == "mass" && per->basis == MaterialBasis::kMass)
    perText = "g";
  else if (materialBasis == "volume" && per->basis == MaterialBasis::kVolume)
    perText = "cm3";
  else if (materialBasis == "molar" && per->basis == MaterialBasis::kMolar)
    perText = "mol";
  if (perText == nullptr)
    Fail(name, "material_basis '" + Shown(materialBasis) + "' with material_unit '" +
                   Shown(materialUnit) + "' is not one of mass (g), volume (cm3) or molar (mol)");

  LoadingText out;
  if (fractional) {
    // Adsorbate per adsorbent counted alike: mass per mass, moles per moles, liquid volume
    // per volume; the material's unit cancels.
    const double scale = basis == "percent" ? 0.01 : 1.0;
    if (per->basis == MaterialBasis::kMass)
      out = {"g/g", scale};
    else if (per->basis == MaterialBasis::kMolar)
      out = {"mol/mol", scale};
    else
      out = {"cm3 liq/cm3", scale};
    return out;
  }

  const LoadingUnitParts amount = AmountOf(unit, "loading_unit", name);
  const bool gasOrMoles =
      amount.amount == AmountKind::kMoles || amount.amount == AmountKind::kGasVolume;
  const bool volume =
      amount.amount == AmountKind::kGasVolume || amount.amount == AmountKind::kLiquidVolume;
  if (basis == "molar" && gasOrMoles) {
    out = {amount.amount == AmountKind::kMoles ? "mmol" : "cm3(STP)", amount.amountFactor};
  } else if (basis == "mass" && amount.amount == AmountKind::kMass) {
    out = {"mg", amount.amountFactor};
  } else if (basis == "volume_liquid" && volume) {
    out = {"cm3 liq", amount.amountFactor};
  } else if (basis == "volume_gas" && volume) {
    // The package counts a gas volume as saturated vapour at the isotherm's temperature.
    const CGasCompressibilityTable* gas = io_detail::AdsorptiveTable(info, cache);
    const double t = info.temperatureK;
    double psat = 0.0;
    if (gas == nullptr || !std::isfinite(t))
      Fail(name,
           "loading_basis volume_gas needs the adsorbate's gas table and the temperature; "
           "write the file with molar loadings instead");
    if (!(t < gas->GetCriticalTemperature()) || !gas->CalcPsatFromTemp(&psat, t, false) ||
        !(psat > 0.0))
      Fail(name, "loading_basis volume_gas is the saturated vapour's volume, and " +
                     info.adsorptive + " has no saturated vapour at " + io_detail::FormatValue(t) +
                     " K; write the file with molar loadings");
    const double z = (*gas)(psat, t, nullptr);
    if (!(z > 0.0)) Fail(name, "no vapour compressibility for volume_gas at this temperature");
    // mmol per cm3 of vapour: P / (Z R T), with P in Pa.
    const double mmolPerCm3 = psat * 101325.0 / 760.0 / (z * 8.314462618 * t) * 1e-3;
    out = {"mmol", amount.amountFactor * mmolPerCm3};
    notes->push_back("loadings given as volume of saturated vapour at " +
                     io_detail::FormatValue(t) + " K are converted with its density from the " +
                     "gas table");
  } else {
    Fail(name, "loading_basis '" + Shown(basis) + "' with loading_unit '" + Shown(unit) +
                   "' is not one of molar (mmol, mol, cm3(STP)), mass (mg, g, kg), "
                   "volume_liquid, volume_gas (cm3, L), fraction or percent");
  }
  out.unit += std::string("/") + perText;
  out.factor /= per->basisFactor;
  return out;
}

IsothermData Convert(const JsonValue& root, Points points, const std::string& name,
                     const IsothermReadOptions& options) {
  const Meta meta(root, name);
  if (points.loading.empty()) {
    if (meta.Find("isotherm_model"))
      Fail(name, "holds a model isotherm (isotherm_model), not measured points");
    Fail(name, "no points (isotherm_data)");
  }
  RawIsotherm raw;
  raw.source = name;
  std::vector<std::string> notes;

  if (const JsonValue* a = meta.Find("adsorbate")) {
    if (a->IsObject()) {
      if (auto n = Meta(*a, name).Text("name")) raw.info.adsorptive = *n;
    } else if (auto n = meta.Text("adsorbate")) {
      raw.info.adsorptive = *n;
    }
  }
  bool materialKept = false;
  if (const JsonValue* m = meta.Find("material")) {
    if (m->IsObject()) {
      const Meta material(*m, name + ": material");
      if (auto n = material.Text("name")) raw.info.material = *n;
      raw.adsorbentMolarMassGPerMol = material.Number("molar_mass").value_or(NAN);
      raw.materialDensityGPerCm3 = material.Number("density").value_or(NAN);
      materialKept = true;
    } else if (auto n = meta.Text("material")) {
      raw.info.material = *n;
    }
  } else if (auto n = meta.Text("sample_name")) {
    raw.info.material = *n;
  }
  if (auto t = meta.Number("temperature")) {
    const std::string given = meta.Text("temperature_unit").value_or("K");
    const std::string unit = Lower(given);
    if (unit == "k" || unit == "kelvin")
      raw.info.temperatureK = *t;
    else if (unit.find('c') != std::string::npos)
      raw.info.temperatureK = *t + 273.15;
    else
      Fail(name, "temperature_unit '" + Shown(given) + "' is not K or °C");
  } else if (auto t = meta.Number("t_exp")) {
    raw.info.temperatureK = *t;
  }
  // The sample's mass in the analysis, g, as the package's instrument parsers record it.
  if (auto mass = meta.Number("material_mass")) raw.info.sampleMassG = *mass;
  if (std::isfinite(raw.info.temperatureK) && !(raw.info.temperatureK > 0.0))
    Fail(name, "temperature " + io_detail::FormatValue(raw.info.temperatureK) +
                   " K is not above absolute zero");

  const std::string mode = Lower(meta.TextOr("pressure_mode", "absolute", &notes));
  if (mode == "absolute") {
    raw.pressure = std::move(points.pressure);
    raw.pressureUnit = meta.TextOr("pressure_unit", "bar", &notes);
    raw.pressureUnitWhere = "pressure_unit";
  } else if (mode == "relative" || mode == "relative%") {
    raw.relativePressure = std::move(points.pressure);
    if (mode == "relative%")
      for (double& p : raw.relativePressure) p /= 100.0;
    if (!points.absolute.empty()) {
      raw.pressure = std::move(points.absolute);
      raw.pressureUnit = points.absoluteUnit;
      raw.pressureUnitWhere = "absolute_pressure(" + points.absoluteUnit + ")";
    }
  } else {
    Fail(name, "pressure_mode '" + Shown(mode) + "' is not absolute, relative or relative%");
  }
  if (!points.po.empty()) {
    raw.po = std::move(points.po);
    raw.poUnit = points.poUnit;
    raw.poUnitWhere = "p0(" + points.poUnit + ")";
  }

  const LoadingText loading = LoadingOf(meta, raw.info, name, options.gasCache, &notes);
  raw.loading = std::move(points.loading);
  if (loading.factor != 1.0)
    for (double& q : raw.loading) q *= loading.factor;
  raw.loadingUnit = loading.unit;
  raw.loadingUnitWhere = "loading_basis, loading_unit, material_basis";
  if (points.branchGiven) raw.branch = std::move(points.branch);
  raw.sourceLine = std::move(points.line);

  for (const auto& member : root.GetObject()) {
    const std::string key(member.name.GetString(), member.name.GetStringLength());
    const bool read = std::find_if(std::begin(kReadKeys), std::end(kReadKeys),
                                   [&](const char* k) { return key == k; }) != std::end(kReadKeys);
    if (read || (key == "material" && !materialKept)) continue;
    // Text as it stands (other formats' writers take it so); anything else as JSON.
    raw.info.items.emplace_back(
        key, member.value.IsString()
                 ? std::string(member.value.GetString(), member.value.GetStringLength())
                 : CompactJson(member.value));
  }

  IsothermData iso = ConvertIsotherm(std::move(raw), options);
  iso.notes.insert(iso.notes.begin(), notes.begin(), notes.end());
  return iso;
}

double PointNumber(const JsonValue& point, const char* key, std::size_t i,
                   const std::string& name) {
  const auto it = point.FindMember(key);
  // The member's path is spelled out only for a message.
  auto fail = [&](const char* problem) {
    Fail(name, std::string(kPointsKey) + "[" + std::to_string(i) + "]." + key + problem);
  };
  if (it == point.MemberEnd() || it->value.IsNull()) fail(" is missing");
  double x = 0.0;
  if (it->value.IsNumber())
    x = it->value.GetDouble();
  else if (!it->value.IsString() || !StringToDouble(it->value.GetString(), &x))
    fail(" is not a number");
  if (!std::isfinite(x)) fail(" is not finite");
  return x;
}

// Value of a CSV metadata line as JSON would hold it, so both formats share one reader.
void CsvValue(const std::string& text, JsonValue* value, rapidjson::Document::AllocatorType& a) {
  const std::string t = Trim(text);
  double x = 0.0;
  if (t.empty() || t == "None" || t == "nan") {
    value->SetNull();
  } else if (t == "True" || t == "true" || t == "False" || t == "false") {
    value->SetBool(t[0] == 'T' || t[0] == 't');
  } else if (StringToDouble(t, &x)) {
    value->SetDouble(x);
  } else {
    if (t.front() == '{' || t.front() == '[') {
      // The package writes dictionaries with Python's quotes.
      std::string json = t;
      std::replace(json.begin(), json.end(), '\'', '"');
      rapidjson::Document doc;
      std::string problem;
      if (io_detail::ParseJsonExact(json, doc, &problem)) {
        value->CopyFrom(doc, a);
        return;
      }
    }
    value->SetString(t.c_str(), rapidjson::SizeType(t.size()), a);
  }
}

}  // namespace

IsothermData ParsePygapsJson(const std::string& text, const std::string& name,
                             const IsothermReadOptions& options) {
  rapidjson::Document doc;
  std::string problem;
  if (!io_detail::ParseJsonExact(text, doc, &problem)) throw InputError(name + ":" + problem);
  if (!doc.IsObject()) Fail(name, "not a pyGAPS isotherm: the document is not a JSON object");

  Points points;
  const auto data = doc.FindMember(kPointsKey);
  if (data != doc.MemberEnd() && !data->value.IsNull()) {
    std::vector<const JsonValue*> list;
    if (data->value.IsArray()) {
      for (const auto& p : data->value.GetArray()) list.push_back(&p);
    } else if (data->value.IsObject()) {
      // Old files key the points by their index as text; order by that index.
      std::vector<std::pair<double, const JsonValue*>> keyed;
      for (const auto& m : data->value.GetObject()) {
        double index = 0.0;
        if (!StringToDouble(m.name.GetString(), &index))
          Fail(name, std::string(kPointsKey) + " key '" + Shown(m.name.GetString()) +
                         "' is not a point index");
        keyed.emplace_back(index, &m.value);
      }
      std::stable_sort(keyed.begin(), keyed.end(),
                       [](const auto& a, const auto& b) { return a.first < b.first; });
      for (const auto& k : keyed) list.push_back(k.second);
    } else {
      Fail(name, std::string(kPointsKey) + " is not a list of points");
    }
    bool extras = !list.empty();
    for (std::size_t i = 0; i < list.size(); ++i) {
      const JsonValue& point = *list[i];
      if (!point.IsObject())
        Fail(name, std::string(kPointsKey) + "[" + std::to_string(i) + "] is not an object");
      points.pressure.push_back(PointNumber(point, "pressure", i, name));
      points.loading.push_back(PointNumber(point, "loading", i, name));
      Branch b = Branch::kAdsorption;
      const auto br = point.FindMember("branch");
      if (br != point.MemberEnd() && !br->value.IsNull()) {
        points.branchGiven = true;
        const std::string t = br->value.IsString()   ? br->value.GetString()
                              : br->value.IsBool()   ? (br->value.GetBool() ? "true" : "false")
                              : br->value.IsNumber() ? io_detail::FormatValue(br->value.GetDouble())
                                                     : "?";
        if (!BranchFromText(t, &b))
          Fail(name, std::string(kPointsKey) + "[" + std::to_string(i) + "].branch '" + Shown(t) +
                         "' is not ads or des");
      }
      points.branch.push_back(b);
      // fiofla's own absolute pressure and Po travel beside P/Po; all points or none.
      std::string absUnit, poUnit;
      bool hasAbs = false, hasPo = false;
      for (const auto& m : point.GetObject()) {
        const std::string key = m.name.GetString();
        std::string unit;
        if (ExtraKey(key, "absolute_pressure(", &unit)) {
          hasAbs = true;
          absUnit = unit;
          points.absolute.push_back(PointNumber(point, key.c_str(), i, name));
        } else if (ExtraKey(key, "p0(", &unit)) {
          hasPo = true;
          poUnit = unit;
          points.po.push_back(PointNumber(point, key.c_str(), i, name));
        }
      }
      if (i == 0) {
        points.absoluteUnit = absUnit;
        points.poUnit = poUnit;
      }
      extras =
          extras && hasAbs && hasPo && absUnit == points.absoluteUnit && poUnit == points.poUnit;
    }
    if (!extras) {
      points.absolute.clear();
      points.po.clear();
    }
  }
  return Convert(doc, std::move(points), name, options);
}

IsothermData ParsePygapsCsv(const std::string& text, const std::string& name,
                            const IsothermReadOptions& options) {
  rapidjson::Document meta;
  meta.SetObject();
  auto& alloc = meta.GetAllocator();
  std::istringstream in(text);
  std::string line;
  std::size_t lineNo = 0;
  bool inData = false, haveHeader = false;
  int pressureCol = -1, loadingCol = -1, branchCol = -1, absCol = -1, poCol = -1;
  std::size_t needed = 0;
  Points points;
  while (std::getline(in, line)) {
    ++lineNo;
    if (lineNo == 1 && line.compare(0, 3, "\xef\xbb\xbf") == 0) line.erase(0, 3);
    line = Trim(line);
    if (line.empty()) continue;
    if (!inData) {
      if (line.compare(0, 4, "data") == 0 && (line.size() == 4 || !std::isalnum(line[4]))) {
        inData = true;
        continue;
      }
      if (line.compare(0, 5, "model") == 0)
        Fail(name,
             "line " + std::to_string(lineNo) + ": holds a model isotherm, not measured points");
      const auto comma = line.find(',');
      if (comma == std::string::npos)
        Fail(name, "line " + std::to_string(lineNo) + ": expected 'key,value' before the data");
      const std::string key = Trim(line.substr(0, comma));
      if (meta.HasMember(key.c_str())) continue;  // the first occurrence counts
      JsonValue value;
      CsvValue(line.substr(comma + 1), &value, alloc);
      meta.AddMember(JsonValue(key.c_str(), rapidjson::SizeType(key.size()), alloc), value, alloc);
      continue;
    }
    std::vector<std::string> cells;
    {
      std::string cell;
      bool quoted = false;
      for (char c : line) {
        if (c == '"')
          quoted = !quoted;
        else if (c == ',' && !quoted)
          cells.push_back(Trim(cell)), cell.clear();
        else
          cell += c;
      }
      cells.push_back(Trim(cell));
    }
    if (!haveHeader) {
      haveHeader = true;
      for (std::size_t c = 0; c < cells.size(); ++c) {
        const std::string n = Lower(cells[c]);
        std::string unit;
        if (ExtraKey(cells[c], "absolute_pressure(", &unit)) {
          absCol = int(c);
          points.absoluteUnit = unit;
        } else if (ExtraKey(cells[c], "p0(", &unit)) {
          poCol = int(c);
          points.poUnit = unit;
        } else if (n.compare(0, 8, "pressure") == 0 && pressureCol < 0) {
          pressureCol = int(c);
        } else if (n.compare(0, 7, "loading") == 0 && loadingCol < 0) {
          loadingCol = int(c);
        } else if (n == "branch") {
          branchCol = int(c);
        }
      }
      // Columns named otherwise: the package's reader takes the first two.
      if (pressureCol < 0 && loadingCol < 0 && cells.size() >= 2) pressureCol = 0, loadingCol = 1;
      if (pressureCol < 0 || loadingCol < 0)
        Fail(name, "line " + std::to_string(lineNo) +
                       ": the header names no pressure and loading columns");
      for (int c : {pressureCol, loadingCol, branchCol, absCol, poCol})
        needed = std::max<std::size_t>(needed, std::size_t(c + 1));
      points.branchGiven = branchCol >= 0;
      continue;
    }
    if (cells.size() < needed)
      Fail(name, "line " + std::to_string(lineNo) + ": expected " + std::to_string(needed) +
                     " columns, found " + std::to_string(cells.size()));
    auto number = [&](int c, std::vector<double>& into) {
      if (c < 0) return;
      double x = 0.0;
      if (!StringToDouble(cells[c], &x) || !std::isfinite(x))
        Fail(name,
             "line " + std::to_string(lineNo) + ": '" + Shown(cells[c]) + "' is not a number");
      into.push_back(x);
    };
    number(pressureCol, points.pressure);
    number(loadingCol, points.loading);
    number(absCol, points.absolute);
    number(poCol, points.po);
    Branch b = Branch::kAdsorption;
    if (branchCol >= 0 && !BranchFromText(cells[branchCol], &b))
      Fail(name, "line " + std::to_string(lineNo) + ": branch '" + Shown(cells[branchCol]) +
                     "' is not ads or des");
    points.branch.push_back(b);
    points.line.push_back(lineNo);
  }
  if (!inData && !meta.HasMember("isotherm_model")) Fail(name, "no 'data' line: no points");
  if (absCol < 0 || poCol < 0) points.absolute.clear(), points.po.clear();
  return Convert(meta, std::move(points), name, options);
}

namespace {

// pyGAPS's names for a loading unit of ours; false when it has none.
bool PygapsLoading(const std::string& text, std::string* basis, std::string* unit,
                   std::string* materialUnit) {
  std::string squeezed;
  for (char c : text)
    if (c != ' ') squeezed += static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  if (squeezed == "wt%") {
    *basis = "percent";
    *unit = "";
    *materialUnit = "g";
    return true;
  }
  const auto parts = ParseLoadingUnit(text);
  if (!parts || parts->basis != MaterialBasis::kMass) return false;
  auto pick = [](double f, std::initializer_list<std::pair<double, const char*>> names,
                 std::string* out) {
    for (const auto& n : names)
      if (f == n.first) return *out = n.second, true;
    return false;
  };
  bool ok = false;
  switch (parts->amount) {
    case AmountKind::kGasVolume:
      *basis = "molar";
      ok = pick(parts->amountFactor, {{1.0, "cm3(STP)"}, {1e3, "L(STP)"}}, unit);
      break;
    case AmountKind::kMoles:
      *basis = "molar";
      ok = pick(parts->amountFactor, {{1.0, "mmol"}, {1e3, "mol"}, {1e6, "kmol"}}, unit);
      break;
    case AmountKind::kMass:
      *basis = "mass";
      ok = pick(parts->amountFactor, {{1.0, "mg"}, {1e3, "g"}, {1e6, "kg"}}, unit);
      break;
    case AmountKind::kLiquidVolume:
      *basis = "volume_liquid";
      ok = pick(parts->amountFactor, {{1.0, "cm3"}, {1e3, "L"}, {1e6, "m3"}}, unit);
      break;
  }
  return ok && pick(parts->basisFactor, {{1.0, "g"}, {1e-3, "mg"}, {1e3, "kg"}}, materialUnit);
}

std::string JsonString(const std::string& s) {
  rapidjson::StringBuffer buffer;
  rapidjson::Writer<rapidjson::StringBuffer> writer(buffer);
  writer.String(s.c_str(), rapidjson::SizeType(s.size()));
  return buffer.GetString();
}

// Shortest text that reads back as the same double: the written file loses nothing.
std::string JsonNumber(double x) {
  if (!std::isfinite(x)) return "null";
  char buf[32];
  const auto result = std::to_chars(buf, buf + sizeof buf, x);
  return std::string(buf, result.ptr);
}

}  // namespace

std::string FormatPygapsJson(const IsothermData& iso, const IsothermWriteOptions& options) {
  const std::string source = iso.source.empty() ? "isotherm" : iso.source;
  const IsothermInfo& info = iso.info;
  const std::string loadingText = !options.loadingUnit.empty() ? options.loadingUnit
                                  : !info.loadingUnit.empty()  ? info.loadingUnit
                                                               : "cm3/g STP";
  std::string basis, unit, materialUnit;
  if (!PygapsLoading(loadingText, &basis, &unit, &materialUnit))
    Fail(source, "pyGAPS has no name for the loading unit '" + loadingText +
                     "'; give --loading-unit as mmol/g, mol/kg, cm3(STP)/g, mg/g, g/g, wt% or "
                     "cm3 liq/g");
  const auto loading = io_detail::ResolveLoadingUnit(loadingText, info, options.gasCache,
                                                     {NAN, NAN}, source, "loading unit");

  // Relative mode whenever P/Po is known; an isotherm read without it (supercritical) goes
  // in absolute mode.
  const bool relative = std::any_of(iso.relativePressure.begin(), iso.relativePressure.end(),
                                    [](double x) { return std::isfinite(x); });
  if (!relative && iso.pressureMmHg.empty())
    Fail(source, "the isotherm has neither P/Po nor pressures");
  const bool absolute = !iso.pressureMmHg.empty() && (!iso.poMmHg.empty() || !relative);
  const CUnits pressureUnits = PressureUnits();
  std::size_t pressureIndex = 0;
  std::string pressureId;
  if (absolute) {
    const std::string p = !options.pressureUnit.empty() ? options.pressureUnit
                          : !info.pressureUnit.empty()  ? info.pressureUnit
                                                        : "kPa";
    pressureIndex = io_detail::PressureUnitIndex(p, source, "pressure unit");
    pressureId = pressureUnits.Units()[pressureIndex].Id().str();
  }

  // Keys sorted as the package writes them; values as JSON text.
  std::map<std::string, std::string> root;
  for (const auto& [key, value] : info.items) {
    rapidjson::Document doc;
    std::string problem;
    root[key] = io_detail::ParseJsonExact(value, doc, &problem) ? value : JsonString(value);
  }
  root["file_version"] = JsonString(kFileVersion);
  root["adsorbate"] = info.adsorptive.empty() ? "null" : JsonString(info.adsorptive);
  if (root.find("material") == root.end())
    root["material"] = info.material.empty() ? "null" : JsonString(info.material);
  if (std::isfinite(info.sampleMassG)) root["material_mass"] = JsonNumber(info.sampleMassG);
  root["temperature"] = JsonNumber(info.temperatureK);
  root["temperature_unit"] = JsonString("K");
  root["pressure_mode"] = JsonString(relative ? "relative" : "absolute");
  root["pressure_unit"] = relative ? "null" : JsonString(pressureId);
  root["loading_basis"] = JsonString(basis);
  root["loading_unit"] = unit.empty() ? "null" : JsonString(unit);
  root["material_basis"] = JsonString("mass");
  root["material_unit"] = JsonString(materialUnit);

  // The package marks desorption only; an isotherm without any gets an explicit false, or
  // readers would split it at its highest pressure.
  const bool anyDesorption =
      std::find(iso.branch.begin(), iso.branch.end(), Branch::kDesorption) != iso.branch.end();
  std::string points = "[";
  points.reserve(iso.size() * 128);
  const std::string absKey = "\"absolute_pressure(" + pressureId + ")\": ";
  const std::string poKey = "\"p0(" + pressureId + ")\": ";
  const bool extras = absolute && relative;
  for (std::size_t i = 0; i < iso.size(); ++i) {
    points += i == 0 ? "\n        {" : ",\n        {";
    // Converted values to 15 digits, as the other writers give them; P/Po exactly.
    if (extras) {
      points += absKey;
      points +=
          io_detail::FormatValue(pressureUnits.FromInternal(iso.pressureMmHg[i], pressureIndex));
      points += ", ";
    }
    if (iso.branch[i] == Branch::kDesorption)
      points += "\"branch\": \"des\", ";
    else if (!anyDesorption)
      points += "\"branch\": false, ";
    points += "\"loading\": ";
    points += io_detail::FormatValue(
        loading.units.FromInternal(iso.quantityAdsorbedCm3PerGStp[i], loading.index));
    points += ", ";
    if (extras) {
      points += poKey;
      points += io_detail::FormatValue(pressureUnits.FromInternal(iso.poMmHg[i], pressureIndex));
      points += ", ";
    }
    points += "\"pressure\": ";
    points += relative ? JsonNumber(iso.relativePressure[i])
                       : io_detail::FormatValue(
                             pressureUnits.FromInternal(iso.pressureMmHg[i], pressureIndex));
    points += "}";
  }
  points += "\n    ]";
  root[kPointsKey] = std::move(points);

  std::string out = "{";
  bool first = true;
  for (const auto& [key, value] : root) {
    out += first ? "\n    " : ",\n    ";
    first = false;
    out += JsonString(key) + ": " + value;
  }
  out += "\n}\n";
  return out;
}

bool LooksLikePygapsJson(const std::string& text) {
  const std::string head = text.substr(0, 64 * 1024);
  if (head.find("\"adsorptionUnits\"") != std::string::npos ||
      head.find("\"adsorbates\"") != std::string::npos)
    return false;
  for (const char* key : {"\"pressure_mode\"", "\"loading_basis\"", "\"material_basis\"",
                          "\"adsorbent_basis\"", "\"adsorbate\"", "\"loading\""})
    if (head.find(key) != std::string::npos) return true;
  return false;
}

bool LooksLikePygapsCsv(const std::string& text) {
  std::istringstream in(text.substr(0, 64 * 1024));
  std::string line;
  bool known = false;
  for (int n = 0; n < 200 && std::getline(in, line); ++n) {
    if (n == 0 && line.compare(0, 3, "\xef\xbb\xbf") == 0) line.erase(0, 3);
    line = Trim(line);
    if (line.empty()) continue;
    if (line.compare(0, 4, "data") == 0 && (line.size() == 4 || line[4] == ':' || line[4] == ','))
      return known;
    const std::string key = Lower(Trim(line.substr(0, line.find(','))));
    for (const char* k : kReadKeys)
      if (key == k && key != kPointsKey) known = true;
    if (line.find(',') == std::string::npos) return false;
  }
  return false;
}

}  // namespace fiofla
