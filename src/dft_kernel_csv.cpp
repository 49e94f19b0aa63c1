// Kernels tabulated as CSV (P/Po down, pore widths across) read into model files; the
// layout and the choices are described in dft_kernels.h.
#include <cmath>
#include <filesystem>

#include "fiofla/dft_kernels.h"
#include "fiofla/io/file_util.h"
#include "fiofla/io/isotherm_file.h"
#include "fiofla/types.h"

namespace fiofla {
namespace {

// One line of the file, split into cells, with its 1-based line number.
struct CsvRow {
  std::size_t line = 0;
  std::vector<std::string> cells;
};

bool IsSpace(char c) {
  return c == ' ' || c == '\t' || c == '\r' || c == '\v' || c == '\f';
}

std::string_view Trim(std::string_view s) {
  while (!s.empty() && IsSpace(s.front())) s.remove_prefix(1);
  while (!s.empty() && IsSpace(s.back())) s.remove_suffix(1);
  return s;
}

// A cell without its surrounding blanks and one pair of double quotes.
std::string Cell(std::string_view s) {
  s = Trim(s);
  if (s.size() >= 2 && s.front() == '"' && s.back() == '"') s = Trim(s.substr(1, s.size() - 2));
  return std::string(s);
}

std::vector<std::string> Split(std::string_view line, char separator) {
  std::vector<std::string> cells;
  for (std::size_t start = 0;;) {
    const std::size_t at = line.find(separator, start);
    cells.push_back(Cell(line.substr(start, at == std::string_view::npos ? at : at - start)));
    if (at == std::string_view::npos) return cells;
    start = at + 1;
  }
}

// Tabs first: a tab-separated export may hold commas in its header text, never the reverse.
char SeparatorOf(std::string_view header) {
  if (header.find('\t') != std::string_view::npos) return '\t';
  if (header.find(';') != std::string_view::npos) return ';';
  return ',';
}

const char* SeparatorName(char separator) {
  return separator == '\t' ? "tabs" : separator == ';' ? "semicolons" : "commas";
}

// A value shown in a message: cut short, so a hostile cell cannot flood the terminal.
std::string Shown(const std::string& text) {
  return "'" + (text.size() > 40 ? text.substr(0, 40) + "..." : text) + "'";
}

std::string Number(double value) {
  char buf[32];
  std::snprintf(buf, sizeof buf, "%.10g", value);
  return buf;
}

class CsvReader {
 public:
  CsvReader(std::string_view text, const std::string& name, const KernelCsvOptions& options)
      : m_name(name), m_options(options) {
    CheckOptions();
    ReadRows(text);
  }

  CDFTModel Model() const {
    const std::size_t np = m_pressures.size(), ns = m_widthsA.size();
    CNumVector<double> pressures(np), widths(ns);
    CNumMatrix<double> kernel(np, ns);
    for (std::size_t i = 0; i < np; ++i) pressures[i] = m_pressures[i];
    for (std::size_t j = 0; j < ns; ++j) widths[j] = m_widthsA[j];
    for (std::size_t i = 0; i < np; ++i)
      for (std::size_t j = 0; j < ns; ++j) kernel(i, j) = m_values[i * ns + j];
    CDFTModelSpecBase header;
    std::string model = m_options.modelName;
    const std::string file = std::filesystem::path(m_name).filename().string();
    if (model.empty()) model = std::filesystem::path(m_name).stem().string();
    header.SetParams(eDFTCategoryAdsorption, eDFTTypeDefault, *m_options.geometry,
                     m_options.temperatureK, CStr(m_options.gas), CStr(model));
    header.description = CStr("imported from " + file + ": widths in " +
                              KernelWidthUnitName(*m_options.widthUnit) + ", values per " +
                              (*m_options.basis == KernelBasis::kWallArea
                                   ? "m2 of pore wall"
                                   : "cm3 of pore, converted to per m2 of wall"));
    return CDFTModel(header, pressures, widths, kernel);
  }

 private:
  [[noreturn]] void Fail(const std::string& what) const { throw InputError(m_name + ": " + what); }
  [[noreturn]] void Fail(std::size_t line, const std::string& what) const {
    throw InputError(m_name + ":" + std::to_string(line) + ": " + what);
  }
  [[noreturn]] void Fail(std::size_t line, std::size_t column, const std::string& what) const {
    Fail(line, "column " + std::to_string(column) + ": " + what);
  }

  void CheckOptions() const {
    const char* missing = !m_options.widthUnit    ? "the pore-width unit (nm or A)"
                          : !m_options.basis      ? "the basis of the values (area or volume)"
                          : !m_options.geometry   ? "the pore geometry (slit or cylinder)"
                          : m_options.gas.empty() ? "the gas"
                                                  : nullptr;
    if (missing != nullptr) Fail(std::string(missing) + " is not given");
    if (!(m_options.temperatureK > 0.0) || !std::isfinite(m_options.temperatureK))
      Fail("the temperature " + Number(m_options.temperatureK) + " K is not a positive number");
  }

  void ReadRows(std::string_view text) {
    std::size_t lineNo = 0;
    bool haveHeader = false;
    // A byte-order mark, as some spreadsheets write, would hide a first comment line.
    std::size_t start = text.substr(0, 3) == "\xEF\xBB\xBF" ? 3 : 0;
    while (start < text.size()) {
      std::size_t end = text.find('\n', start);
      if (end == std::string_view::npos) end = text.size();
      const std::string_view line = Trim(text.substr(start, end - start));
      start = end + 1;
      ++lineNo;
      if (line.empty() || line.front() == '#') continue;
      if (!haveHeader) m_separator = SeparatorOf(line);
      std::vector<std::string> cells = Split(line, m_separator);
      // Spreadsheets write rows of empty cells below the table; they hold nothing.
      bool allEmpty = true;
      for (const std::string& c : cells) allEmpty = allEmpty && c.empty();
      if (allEmpty) continue;
      if (!haveHeader) {
        Header(lineNo, cells);
        haveHeader = true;
      } else {
        DataRow(lineNo, cells);
      }
    }
    if (!haveHeader) Fail("no header row (P/Po label, then the pore widths)");
    if (m_pressures.size() < 2)
      Fail("the table has " + std::to_string(m_pressures.size()) +
           " pressure row(s) under the header; at least 2 are needed");
  }

  void Header(std::size_t line, const std::vector<std::string>& cells) {
    if (cells.size() < 3)
      Fail(line, "the header row has " + std::to_string(cells.size() - 1) +
                     " pore width(s) after the P/Po column; at least 2 are needed");
    if (cells.size() - 1 > CDFTModel::kMaxCount)
      Fail(line, "more than " + std::to_string(CDFTModel::kMaxCount) + " pore widths");
    const char* unit = KernelWidthUnitName(*m_options.widthUnit);
    const double toAngstrom = *m_options.widthUnit == KernelWidthUnit::kNanometre ? 10.0 : 1.0;
    for (std::size_t c = 1; c < cells.size(); ++c) {
      double width = 0.0;
      if (!StringToDouble(cells[c], &width))
        Fail(line, c + 1,
             "pore width " + Shown(cells[c]) +
                 " is not a number (the header row holds the widths, in " + unit + ")");
      if (!(width > 0.0))
        Fail(line, c + 1, "pore width " + Shown(cells[c]) + " " + unit + " is not positive");
      // Compared in Å as well: two widths a rounding apart in nm may meet once converted.
      const double widthA = width * toAngstrom;
      if (!std::isfinite(widthA))
        Fail(line, c + 1, "pore width " + Number(width) + " " + unit + " is too large");
      if (!m_widthsIn.empty() && !(width > m_widthsIn.back() && widthA > m_widthsA.back()))
        Fail(line, c + 1,
             "pore width " + Number(width) + " " + unit + " is not above " +
                 Number(m_widthsIn.back()) + " " + unit + " in column " + std::to_string(c) +
                 ": the widths must ascend strictly");
      m_widthsIn.push_back(width);
      m_widthsA.push_back(widthA);
    }
    m_columns = cells.size();
  }

  void DataRow(std::size_t line, const std::vector<std::string>& cells) {
    if (cells.size() != m_columns)
      Fail(line, "the row has " + std::to_string(cells.size()) + " cell(s), the header " +
                     std::to_string(m_columns) + " (P/Po and " + std::to_string(m_columns - 1) +
                     " widths), separated by " + SeparatorName(m_separator) +
                     " as in the header row");
    if (m_pressures.size() >= CDFTModel::kMaxCount)
      Fail(line, "more than " + std::to_string(CDFTModel::kMaxCount) + " pressure rows");
    double p = 0.0;
    if (!StringToDouble(cells[0], &p))
      Fail(line, 1, "P/Po " + Shown(cells[0]) + " is not a number");
    if (!(p > 0.0 && p <= 1.0)) Fail(line, 1, "P/Po " + Number(p) + " is outside (0, 1]");
    if (!m_pressures.empty() && !(p > m_pressures.back()))
      Fail(line, 1,
           "P/Po " + Number(p) + " is not above " + Number(m_pressures.back()) + " on line " +
               std::to_string(m_lastLine) +
               ": the rows must be in strictly ascending P/Po (sort them first)");
    m_pressures.push_back(p);
    m_lastLine = line;
    const bool perVolume = *m_options.basis == KernelBasis::kPoreVolume;
    const double factor = *m_options.geometry == eDFTGeometryCylinder ? 4.0 : 2.0;
    const char* unit = KernelWidthUnitName(*m_options.widthUnit);
    for (std::size_t c = 1; c < cells.size(); ++c) {
      double v = 0.0;
      const std::string where =
          "value " + Shown(cells[c]) + " (width " + Number(m_widthsIn[c - 1]) + " " + unit + ")";
      if (cells[c].empty())
        Fail(line, c + 1, "value is empty (width " + Number(m_widthsIn[c - 1]) + " " + unit + ")");
      if (!StringToDouble(cells[c], &v)) Fail(line, c + 1, where + " is not a finite number");
      if (v < 0.0) Fail(line, c + 1, where + " is negative");
      // Pore volume per m2 of wall: width[Å] × 1e-4 / factor cm3.
      const double perArea = perVolume ? v * m_widthsA[c - 1] * 1e-4 / factor : v;
      if (!std::isfinite(perArea))
        Fail(line, c + 1, where + " is too large once converted to cm3 STP per m2 of wall");
      m_values.push_back(perArea);
    }
  }

  const std::string& m_name;
  const KernelCsvOptions& m_options;
  char m_separator = ',';
  std::size_t m_columns = 0;
  std::size_t m_lastLine = 0;
  std::vector<double> m_widthsIn, m_widthsA, m_pressures, m_values;
};

}  // namespace

CDFTModel ParseKernelCsv(std::string_view text, const std::string& name,
                         const KernelCsvOptions& options) {
  return CsvReader(text, name, options).Model();
}

CDFTModel ReadKernelCsv(const std::string& path, const KernelCsvOptions& options) {
  std::string text;
  switch (ReadFileLimited(path, kMaxKernelCsvBytes, &text)) {
    case FileReadStatus::kOk:
      break;
    case FileReadStatus::kNotOpened:
      throw InputError(path + ": cannot open the file");
    case FileReadStatus::kNotRead:
      throw InputError(path + ": cannot read the file");
    case FileReadStatus::kTooLarge:
      throw InputError(path + ": larger than " + std::to_string(kMaxKernelCsvBytes >> 20) +
                       " MiB, the most a kernel CSV may hold");
  }
  return ParseKernelCsv(text, path, options);
}

}  // namespace fiofla
