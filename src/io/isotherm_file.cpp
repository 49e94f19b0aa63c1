#include "fiofla/io/isotherm_file.h"

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cmath>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "isotherm_internal.h"

namespace fiofla {
namespace {

std::string Trim(const std::string& s) {
  const auto first = s.find_first_not_of(" \t\r\n");
  if (first == std::string::npos) return {};
  const auto last = s.find_last_not_of(" \t\r\n");
  return s.substr(first, last - first + 1);
}

std::string Lower(std::string s) {
  for (auto& c : s) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  return s;
}

// Splits one line on `sep`, honouring double quotes ("" inside quotes is a literal quote).
std::vector<std::string> SplitFields(const std::string& line, char sep) {
  std::vector<std::string> fields;
  std::string field;
  bool quoted = false;
  for (std::size_t i = 0; i < line.size(); ++i) {
    const char c = line[i];
    if (quoted) {
      if (c == '"' && i + 1 < line.size() && line[i + 1] == '"') {
        field += '"';
        ++i;
      } else if (c == '"') {
        quoted = false;
      } else {
        field += c;
      }
    } else if (c == '"') {
      quoted = true;
    } else if (c == sep) {
      fields.push_back(Trim(field));
      field.clear();
    } else {
      field += c;
    }
  }
  fields.push_back(Trim(field));
  return fields;
}

char DetectSeparator(const std::string& header) {
  for (char sep : {'\t', ';', ','})
    if (header.find(sep) != std::string::npos) return sep;
  return ',';
}

struct Column {
  std::string name;  // lower case, without the unit
  std::string unit;  // as written inside the brackets, trimmed
};

enum class Role { kNone, kRelative, kPressure, kPo, kLoading, kBranch };

// Names are compared by NameKey, so "Quantity Adsorbed", "quantity_adsorbed" and
// "QuantityAdsorbed" are one name.
bool IsOneOf(const std::string& name, std::initializer_list<const char*> names) {
  const std::string key = NameKey(name);
  return std::any_of(names.begin(), names.end(), [&](const char* n) { return key == NameKey(n); });
}

Role RoleOf(const std::string& name) {
  if (IsOneOf(name, {"relative_pressure", "p/p0", "p/po", "p/p°", "p/ps", "p_rel", "prel",
                     "relative pressure p/p0", "relative pressure p/po"}))
    return Role::kRelative;
  if (IsOneOf(name,
              {"pressure", "absolute_pressure", "p", "p_abs", "pabs", "equilibrium_pressure"}))
    return Role::kPressure;
  if (IsOneOf(name, {"p0", "po", "p°", "saturation_pressure", "psat", "p_sat"})) return Role::kPo;
  if (IsOneOf(name, {"loading", "quantity_adsorbed", "quantity", "amount", "amount_adsorbed",
                     "adsorbed_amount", "volume_adsorbed", "adsorbed_volume", "uptake", "n_ads",
                     "q", "total_adsorption", "excess_adsorption", "excess_uptake"}))
    return Role::kLoading;
  if (IsOneOf(name, {"branch"})) return Role::kBranch;
  return Role::kNone;
}

// "pressure [kPa]" as the format asks, and the spellings files in the wild use:
// "Pressure (kPa)", "Pressure/kPa" (quantity over unit), "Relative Pressure (P/Po)".
Column ParseColumn(const std::string& text) {
  Column col;
  const std::string t = Trim(text);
  const auto open = t.find('[');
  const auto close = t.rfind(']');
  if (open != std::string::npos && close != std::string::npos && close > open) {
    col.name = Lower(Trim(t.substr(0, open)));
    col.unit = Trim(t.substr(open + 1, close - open - 1));
    return col;
  }
  col.name = Lower(t);
  if (RoleOf(col.name) != Role::kNone) return col;
  const auto paren = t.rfind('(');
  if (paren != std::string::npos && paren > 0 && t.back() == ')') {
    const std::string name = Lower(Trim(t.substr(0, paren)));
    const std::string inside = Trim(t.substr(paren + 1, t.size() - paren - 2));
    // "(P/Po)" after a relative pressure names the quantity, not a unit.
    if (RoleOf(name) == Role::kRelative || RoleOf(inside) == Role::kRelative)
      return {RoleOf(name) == Role::kNone ? Lower(inside) : name, ""};
    if (RoleOf(name) != Role::kNone) return {name, inside};
  }
  const auto slash = t.find('/');
  if (slash != std::string::npos && slash > 0) {
    const std::string name = Lower(Trim(t.substr(0, slash)));
    if (RoleOf(name) != Role::kNone && RoleOf(name) != Role::kRelative)
      return {name, Trim(t.substr(slash + 1))};
  }
  return col;
}

[[noreturn]] void Fail(const std::string& name, std::size_t line, const std::string& what) {
  std::ostringstream msg;
  msg << name;
  if (line > 0) msg << ":" << line;
  msg << ": " << what;
  throw InputError(msg.str());
}

const char* RoleName(Role role) {
  switch (role) {
    case Role::kRelative:
      return "relative-pressure";
    case Role::kPressure:
      return "pressure";
    case Role::kPo:
      return "Po";
    case Role::kLoading:
      return "loading";
    case Role::kBranch:
      return "branch";
    case Role::kNone:
      break;
  }
  return "other";
}

// Reads the "# key: value; key: value" items of a comment line that name known keys.
void ReadCommentItems(const std::string& comment, const std::string& name, std::size_t lineNo,
                      RawIsotherm& raw) {
  std::stringstream parts(comment);
  std::string part;
  bool first = true;
  while (std::getline(parts, part, ';')) {
    const auto colon = part.find(':');
    const std::string key = colon == std::string::npos ? "" : Lower(Trim(part.substr(0, colon)));
    // Only a line that starts with a known key holds items, so prose in a comment (or a
    // copied value) that happens to contain "temperature: 5" is left alone.
    if (first && !IsOneOf(key, {"adsorptive", "material", "temperature", "p0", "po", "sample_mass",
                                "sample mass"}))
      return;
    first = false;
    if (colon == std::string::npos) continue;
    const std::string value = Trim(part.substr(colon + 1));
    if (key == "adsorptive") {
      raw.info.adsorptive = value;
    } else if (key == "material") {
      raw.info.material = value;
    } else if (key == "temperature" || key == "p0" || key == "po" || key == "sample_mass" ||
               key == "sample mass") {
      double number = 0.0;
      std::string unit;
      if (!SplitValueAndUnit(value, &number, &unit))
        Fail(name, lineNo,
             key + " '" + io_detail::Shown(value) + "' is not a number with an optional unit");
      if (key == "temperature") {
        CUnits units = TemperatureUnits();
        if (!unit.empty() && !units.Select(CStr(unit)))
          Fail(name, lineNo, "unknown temperature unit '" + io_detail::Shown(unit) + "' (K or C)");
        raw.info.temperatureK = units.ToInternal(number);
      } else if (key == "p0" || key == "po") {
        raw.poAll = number;
        raw.poUnit = unit;
        raw.poUnitWhere = "line " + std::to_string(lineNo) + ", p0";
      } else {
        const double factor = unit.empty() || unit == "g" ? 1.0
                              : unit == "mg"              ? 1e-3
                              : unit == "kg"              ? 1e3
                                                          : 0.0;
        if (factor == 0.0)
          Fail(name, lineNo, "unknown mass unit '" + io_detail::Shown(unit) + "' (g, mg or kg)");
        raw.info.sampleMassG = number * factor;
      }
    }
  }
}

}  // namespace

std::vector<Branch> SplitBranches(const std::vector<double>& relativePressure) {
  std::vector<Branch> branch(relativePressure.size(), Branch::kDesorption);
  if (relativePressure.empty()) return branch;
  const auto top = std::max_element(relativePressure.begin(), relativePressure.end());
  std::fill(branch.begin(), branch.begin() + (top - relativePressure.begin()) + 1,
            Branch::kAdsorption);
  return branch;
}

IsothermData ParseIsothermCsv(std::istream& in, const std::string& name,
                              const IsothermReadOptions& options) {
  RawIsotherm raw;
  raw.source = name;

  std::string line;
  std::size_t lineNo = 0;
  char sep = ',';
  int col[6] = {-1, -1, -1, -1, -1, -1};  // column of each Role
  std::vector<std::string> headerNames;
  bool haveHeader = false;
  std::size_t needed = 0;

  while (std::getline(in, line)) {
    ++lineNo;
    if (lineNo == 1 && line.compare(0, 3, "\xef\xbb\xbf") == 0) line.erase(0, 3);  // UTF-8 BOM
    line = Trim(line);
    if (line.empty()) continue;
    if (line[0] == '#') {
      ReadCommentItems(line.substr(1), name, lineNo, raw);
      continue;
    }

    if (!haveHeader) {
      haveHeader = true;
      sep = DetectSeparator(line);
      const auto fields = SplitFields(line, sep);
      for (std::size_t c = 0; c < fields.size(); ++c) {
        const Column column = ParseColumn(fields[c]);
        headerNames.push_back(column.name);
        const Role role = RoleOf(column.name);
        if (role == Role::kNone) continue;
        int& slot = col[static_cast<int>(role)];
        if (slot >= 0)
          Fail(name, lineNo, std::string("more than one ") + RoleName(role) + " column");
        slot = static_cast<int>(c);
        const std::string where =
            "line " + std::to_string(lineNo) + ", column '" + column.name + "'";
        if (role == Role::kPressure) {
          raw.pressureUnit = column.unit;
          raw.pressureUnitWhere = where;
        } else if (role == Role::kPo) {
          raw.poUnit = column.unit;
          raw.poUnitWhere = where;
        } else if (role == Role::kLoading) {
          raw.loadingUnit = column.unit;
          raw.loadingUnitWhere = where;
        }
        needed = std::max(needed, c + 1);
      }
      if (col[int(Role::kRelative)] < 0 && col[int(Role::kPressure)] < 0)
        Fail(name, lineNo,
             "header has no relative-pressure column (relative_pressure or p/p0) and no pressure "
             "column (pressure [unit])");
      if (col[int(Role::kPressure)] >= 0 && raw.pressureUnit.empty())
        Fail(name, lineNo,
             "pressure column has no unit; write it as 'pressure [kPa]', or name it "
             "'relative_pressure' if it holds P/Po");
      if (col[int(Role::kLoading)] < 0)
        Fail(name, lineNo, "header has no loading column (loading [unit] or quantity_adsorbed)");
      continue;
    }

    const auto cells = SplitFields(line, sep);
    if (cells.size() < needed)
      Fail(name, lineNo,
           "expected at least " + std::to_string(needed) + " columns, found " +
               std::to_string(cells.size()));
    auto number = [&](Role role, std::vector<double>& into) {
      const int c = col[static_cast<int>(role)];
      if (c < 0) return;
      double value = 0.0;
      if (!StringToDouble(cells[c], &value))
        Fail(name, lineNo,
             io_detail::Shown(headerNames[c]) + " '" + io_detail::Shown(cells[c]) +
                 "' is not a number");
      into.push_back(value);
    };
    number(Role::kRelative, raw.relativePressure);
    number(Role::kPressure, raw.pressure);
    number(Role::kPo, raw.po);
    number(Role::kLoading, raw.loading);
    raw.sourceLine.push_back(lineNo);
    if (const int c = col[int(Role::kBranch)]; c >= 0) {
      Branch b;
      if (!StringToBranch(cells[c], &b))
        Fail(name, lineNo,
             "branch '" + io_detail::Shown(cells[c]) + "' is not adsorption or desorption");
      raw.branch.push_back(b);
    }
  }
  if (in.bad()) Fail(name, lineNo, "read error");
  if (!haveHeader) Fail(name, 0, "no header row (the file is empty or only comments)");
  if (raw.loading.empty()) Fail(name, 0, "no data rows after the header");
  return ConvertIsotherm(std::move(raw), options);
}

IsothermData ReadIsothermCsv(const std::string& path, const IsothermReadOptions& options) {
  std::istringstream in(io_detail::ReadTextFile(path));
  return ParseIsothermCsv(in, path, options);
}

std::string FormatIsothermCsv(const IsothermData& iso, const IsothermWriteOptions& options) {
  const IsothermInfo& info = iso.info;
  const bool absolute = !iso.pressureMmHg.empty();
  const bool withPo = !iso.poMmHg.empty();

  const CUnits pressureUnits = PressureUnits();
  std::string pressureText = !options.pressureUnit.empty() ? options.pressureUnit
                             : !info.pressureUnit.empty()  ? info.pressureUnit
                                                           : "mmHg";
  const std::size_t pressureIndex =
      absolute || withPo ? io_detail::PressureUnitIndex(pressureText, iso.source, "pressure unit")
                         : 0;
  const std::string loadingText = !options.loadingUnit.empty() ? options.loadingUnit
                                  : !info.loadingUnit.empty()  ? info.loadingUnit
                                                               : "cm3/g STP";
  const auto resolved = io_detail::ResolveLoadingUnit(loadingText, info, options.gasCache,
                                                      {NAN, NAN}, iso.source, "loading unit");
  const CUnits& loadingUnits = resolved.units;
  const std::size_t loadingIndex = resolved.index;
  if (absolute || withPo) pressureText = pressureUnits.Units()[pressureIndex].Id().str();
  const std::string loadingId = loadingUnits.Units()[loadingIndex].Id().str();

  std::ostringstream out;
  out << "# isotherm written by fiofla";
  if (!iso.source.empty()) out << " from " << iso.source;
  out << "\n";
  if (!info.adsorptive.empty()) out << "# adsorptive: " << info.adsorptive << "\n";
  if (std::isfinite(info.temperatureK))
    out << "# temperature: " << io_detail::FormatValue(info.temperatureK) << " K\n";
  if (std::isfinite(info.sampleMassG))
    out << "# sample_mass: " << io_detail::FormatValue(info.sampleMassG) << " g\n";
  if (!info.material.empty()) out << "# material: " << info.material << "\n";
  // What else the source said (AIF items, ISODB members), for the reader's eyes only.
  for (const auto& [name, value] : info.items) {
    std::string text = name + " = " + value;
    std::replace(text.begin(), text.end(), '\n', ' ');
    std::replace(text.begin(), text.end(), '\r', ' ');
    out << "# " << text << "\n";
  }

  // Without Po (a supercritical isotherm read for converting) there is no P/Po to write.
  const bool relative = std::any_of(iso.relativePressure.begin(), iso.relativePressure.end(),
                                    [](double x) { return std::isfinite(x); });
  if (!relative && !absolute)
    io_detail::Fail(iso.source, "the isotherm has neither P/Po nor pressures");
  std::string header;
  if (relative) header = "relative_pressure";
  if (absolute) header += std::string(relative ? "," : "") + "pressure [" + pressureText + "]";
  out << header;
  if (withPo) out << ",p0 [" << pressureText << "]";
  out << ",loading [" << loadingId << "],branch\n";
  for (std::size_t i = 0; i < iso.size(); ++i) {
    if (relative) out << io_detail::FormatValue(iso.relativePressure[i]);
    if (absolute)
      out << (relative ? "," : "")
          << io_detail::FormatValue(pressureUnits.FromInternal(iso.pressureMmHg[i], pressureIndex));
    if (withPo)
      out << ","
          << io_detail::FormatValue(pressureUnits.FromInternal(iso.poMmHg[i], pressureIndex));
    out << ","
        << io_detail::FormatValue(
               loadingUnits.FromInternal(iso.quantityAdsorbedCm3PerGStp[i], loadingIndex))
        << "," << BranchName(iso.branch[i]) << "\n";
  }
  return out.str();
}

}  // namespace fiofla
