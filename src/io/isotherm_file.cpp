#include "fiofla/io/isotherm_file.h"

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <sstream>

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

Column ParseColumn(const std::string& text) {
  Column col;
  const auto open = text.find('[');
  const auto close = text.rfind(']');
  if (open != std::string::npos && close != std::string::npos && close > open) {
    col.name = Lower(Trim(text.substr(0, open)));
    col.unit = Trim(text.substr(open + 1, close - open - 1));
  } else {
    col.name = Lower(Trim(text));
  }
  return col;
}

bool IsOneOf(const std::string& name, std::initializer_list<const char*> names) {
  return std::any_of(names.begin(), names.end(), [&](const char* n) { return name == n; });
}

bool IsQuantityUnit(const std::string& unit) {
  std::string u = Lower(unit);
  u.erase(std::remove(u.begin(), u.end(), ' '), u.end());
  return u.empty() || IsOneOf(u, {"cm3/gstp", "cm^3/gstp", "cm\xc2\xb3/gstp", "cc/g", "cc/gstp",
                                  "ml/gstp", "cm3/g", "cm\xc2\xb3/g"});
}

[[noreturn]] void Fail(const std::string& name, std::size_t line, const std::string& what) {
  std::ostringstream msg;
  msg << name;
  if (line > 0) msg << ":" << line;
  msg << ": " << what;
  throw InputError(msg.str());
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

IsothermData ParseIsothermCsv(std::istream& in, const std::string& name) {
  IsothermData iso;
  iso.source = name;

  std::string raw;
  std::size_t lineNo = 0;
  std::vector<Column> columns;
  char sep = ',';
  int colP = -1, colQ = -1, colBranch = -1;
  bool haveHeader = false;

  while (std::getline(in, raw)) {
    ++lineNo;
    if (lineNo == 1 && raw.compare(0, 3, "\xef\xbb\xbf") == 0) raw.erase(0, 3);  // UTF-8 BOM
    const std::string line = Trim(raw);
    if (line.empty() || line[0] == '#') continue;

    if (!haveHeader) {
      haveHeader = true;
      sep = DetectSeparator(line);
      for (const auto& field : SplitFields(line, sep)) columns.push_back(ParseColumn(field));
      for (std::size_t c = 0; c < columns.size(); ++c) {
        const auto& col = columns[c];
        const int idx = static_cast<int>(c);
        if (IsOneOf(col.name,
                    {"relative_pressure", "relative pressure", "p/p0", "p/po", "p_rel", "prel"})) {
          if (colP >= 0) Fail(name, lineNo, "more than one relative-pressure column");
          colP = idx;
        } else if (IsOneOf(col.name, {"quantity_adsorbed", "quantity adsorbed", "quantity",
                                      "loading", "amount", "volume_adsorbed"})) {
          if (colQ >= 0) Fail(name, lineNo, "more than one quantity-adsorbed column");
          if (!IsQuantityUnit(col.unit))
            Fail(name, lineNo,
                 "unit '" + col.unit + "' of column '" + col.name +
                     "' is not supported (expected cm3/g STP)");
          colQ = idx;
        } else if (col.name == "branch") {
          colBranch = idx;
        }
      }
      if (colP < 0)
        Fail(name, lineNo, "header has no relative-pressure column (relative_pressure or p/p0)");
      if (colQ < 0)
        Fail(name, lineNo, "header has no quantity column (quantity_adsorbed [cm3/g STP])");
      continue;
    }

    const auto cells = SplitFields(line, sep);
    const std::size_t needed = static_cast<std::size_t>(std::max({colP, colQ, colBranch})) + 1;
    if (cells.size() < needed) {
      Fail(name, lineNo,
           "expected at least " + std::to_string(needed) + " columns, found " +
               std::to_string(cells.size()));
    }
    double p = 0.0, q = 0.0;
    if (!StringToDouble(cells[colP], &p))
      Fail(name, lineNo, "relative pressure '" + cells[colP] + "' is not a number");
    if (!StringToDouble(cells[colQ], &q))
      Fail(name, lineNo, "quantity adsorbed '" + cells[colQ] + "' is not a number");
    iso.relativePressure.push_back(p);
    iso.quantityAdsorbedCm3PerGStp.push_back(q);
    iso.sourceLine.push_back(lineNo);
    if (colBranch >= 0) {
      Branch b;
      if (!StringToBranch(cells[colBranch], &b))
        Fail(name, lineNo, "branch '" + cells[colBranch] + "' is not adsorption or desorption");
      iso.branch.push_back(b);
    }
  }
  if (in.bad()) Fail(name, lineNo, "read error");
  if (!haveHeader) Fail(name, 0, "no header row (the file is empty or only comments)");
  if (iso.relativePressure.empty()) Fail(name, 0, "no data rows after the header");
  if (colBranch < 0) iso.branch = SplitBranches(iso.relativePressure);
  return iso;
}

IsothermData ReadIsothermCsv(const std::string& path) {
  std::error_code ec;
  if (std::filesystem::is_directory(path, ec)) Fail(path, 0, "is a directory, not a file");
  std::ifstream in(path, std::ios::binary);
  if (!in) Fail(path, 0, std::string("cannot open: ") + std::strerror(errno));
  return ParseIsothermCsv(in, path);
}

}  // namespace fiofla
