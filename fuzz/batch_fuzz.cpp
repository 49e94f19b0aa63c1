// Fuzz target for batch analysis: the input is written to a file (the first byte picks its
// extension, .csv, .json or .aif) and run through RunBatch with every analysis, so the
// automatic BET range, the t-plot and BJH see whatever isotherm a reader accepts. Nothing
// may crash or throw; the row must be whole (one value per column, all NaN for an error)
// and its CSV and JSON forms must hold one row that parses back.
#include <rapidjson/document.h>
#include <unistd.h>

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <string>

#include "fiofla/batch.h"

namespace {

void Check(bool ok) {
  if (!ok) std::abort();
}

std::string Path(std::uint8_t pick) {
  static const char* const kExtensions[] = {".csv", ".json", ".aif"};
  return "/tmp/fiofla-batch-fuzz-" + std::to_string(::getpid()) + kExtensions[pick % 3];
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size == 0) return 0;
  const std::string path = Path(data[0]);
  {
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out.write(reinterpret_cast<const char*>(data + 1), static_cast<std::streamsize>(size - 1));
  }
  fiofla::SBatchOptions options;
  options.jobs = 1;
  const auto rows = fiofla::RunBatch({path}, options);
  std::remove(path.c_str());
  const std::size_t columns = fiofla::BatchColumns(options).size();
  Check(rows.size() == 1);
  const fiofla::SBatchRow& row = rows[0];
  Check(row.file == path && row.values.size() == columns);
  Check(row.status == "ok" || row.status == "doubtful" || row.status == "partial" ||
        row.status == "error");
  Check(row.message.empty() == (row.status == "ok"));
  if (row.status == "error")
    for (double v : row.values) Check(std::isnan(v));

  const std::string csv = fiofla::FormatBatchCsv(rows, options);
  Check(csv.rfind("file,status,adsorptive,", 0) == 0 && csv.back() == '\n');
  rapidjson::Document doc;
  const std::string json = fiofla::FormatBatchJson(rows, options);
  doc.Parse<rapidjson::kParseFullPrecisionFlag>(json.c_str());
  Check(!doc.HasParseError() && doc.IsArray() && doc.Size() == 1);
  Check(doc[0].MemberCount() == columns + 4);
  return 0;
}
