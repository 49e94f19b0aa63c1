// Batch rows as CSV and JSON.
#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

#include <charconv>
#include <cmath>
#include <sstream>

#include "fiofla/batch.h"

namespace fiofla {
namespace {

// Shortest text that reads back as the same double; empty for NaN and infinities, which
// CSV readers take as missing.
std::string CsvNumber(double x) {
  if (!std::isfinite(x)) return std::string();
  char buf[32];
  const auto r = std::to_chars(buf, buf + sizeof buf, x);
  return std::string(buf, r.ptr);
}

// A field quoted when it holds a separator, a quote or a line break (RFC 4180).
std::string CsvField(const std::string& text) {
  if (text.find_first_of(",\"\r\n") == std::string::npos) return text;
  std::string quoted = "\"";
  for (char c : text) {
    if (c == '"') quoted += '"';
    quoted += c;
  }
  return quoted + '"';
}

void CheckWidth(const SBatchRow& row, std::size_t columns) {
  if (row.values.size() != columns)
    throw InputError(row.file + ": a batch row has " + std::to_string(row.values.size()) +
                     " values for " + std::to_string(columns) + " columns");
}

}  // namespace

void WriteBatchCsv(std::ostream& out, const std::vector<SBatchRow>& rows,
                   const SBatchOptions& options) {
  const std::vector<std::string> columns = BatchColumns(options);
  out << "file,status,adsorptive";
  for (const std::string& c : columns) out << ',' << c;
  out << ",message\n";
  for (const SBatchRow& row : rows) {
    CheckWidth(row, columns.size());
    out << CsvField(row.file) << ',' << CsvField(row.status) << ',' << CsvField(row.adsorptive);
    for (double x : row.values) out << ',' << CsvNumber(x);
    out << ',' << CsvField(row.message) << '\n';
  }
}

void WriteBatchJson(std::ostream& out, const std::vector<SBatchRow>& rows,
                    const SBatchOptions& options) {
  const std::vector<std::string> columns = BatchColumns(options);
  // One object per line: a large batch stays readable and diffable line by line.
  out << '[';
  bool first = true;
  for (const SBatchRow& row : rows) {
    CheckWidth(row, columns.size());
    rapidjson::StringBuffer buffer;
    rapidjson::Writer<rapidjson::StringBuffer> w(buffer);
    w.StartObject();
    w.Key("file");
    w.String(row.file.c_str(), static_cast<rapidjson::SizeType>(row.file.size()));
    w.Key("status");
    w.String(row.status.c_str(), static_cast<rapidjson::SizeType>(row.status.size()));
    w.Key("adsorptive");
    w.String(row.adsorptive.c_str(), static_cast<rapidjson::SizeType>(row.adsorptive.size()));
    for (std::size_t k = 0; k < columns.size(); ++k) {
      w.Key(columns[k].c_str(), static_cast<rapidjson::SizeType>(columns[k].size()));
      if (std::isfinite(row.values[k]))
        w.Double(row.values[k]);
      else
        w.Null();
    }
    w.Key("message");
    w.String(row.message.c_str(), static_cast<rapidjson::SizeType>(row.message.size()));
    w.EndObject();
    out << (first ? "\n  " : ",\n  ") << buffer.GetString();
    first = false;
  }
  out << (first ? "]\n" : "\n]\n");
}

std::string FormatBatchCsv(const std::vector<SBatchRow>& rows, const SBatchOptions& options) {
  std::ostringstream out;
  WriteBatchCsv(out, rows, options);
  return out.str();
}

std::string FormatBatchJson(const std::vector<SBatchRow>& rows, const SBatchOptions& options) {
  std::ostringstream out;
  WriteBatchJson(out, rows, options);
  return out.str();
}

}  // namespace fiofla
