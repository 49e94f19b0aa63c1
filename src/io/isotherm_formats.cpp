// The choice of reader and writer by format, and the format of a file by its content.
#include <cctype>
#include <cmath>
#include <cstdio>
#include <fstream>
#include <sstream>

#include "fiofla/compress.h"
#include "fiofla/io/aif_file.h"
#include "fiofla/io/file_util.h"
#include "fiofla/io/isodb_file.h"
#include "fiofla/io/isotherm_file.h"
#include "fiofla/io/measurement_file.h"
#include "fiofla/io/pygaps_file.h"
#include "fiofla/measurement.h"
#include "isotherm_internal.h"

namespace fiofla {
namespace {

using io_detail::Fail;
using io_detail::Short;

// Whether the first item of the text, past blank and comment lines, is a CIF data block.
bool StartsWithDataBlock(const std::string& text) {
  std::size_t at = text.compare(0, 3, "\xef\xbb\xbf") == 0 ? 3 : 0;
  while (at < text.size()) {
    const std::size_t end = std::min(text.find('\n', at), text.size());
    const std::size_t first = text.find_first_not_of(" \t\r", at);
    if (first < end) {
      if (text[first] != '#') return text.compare(first, 5, "data_") == 0;
    }
    at = end + 1;
  }
  return false;
}

IsothermData ReduceRun(const std::string& text, const std::string& path,
                       const IsothermReadOptions& options) {
  CGasCompressibilityCache& cache =
      options.gasCache ? *options.gasCache : CGasCompressibilityCache::ms_cCache;
  const ReducedIsotherm reduced = ReduceMeasurement(ParseMeasurement(text, path), cache);
  if (reduced.convertedPoints == 0) Fail(path, "no point has a relative pressure");
  IsothermData iso = reduced.ToIsothermData();
  // A Po given by the caller replaces the run's own here too.
  if (std::isfinite(options.poMmHg)) {
    if (!(options.poMmHg > 0.0))
      Fail(path, "the Po given (" + Short(options.poMmHg) + " mmHg) is not positive");
    iso.poMmHg.assign(iso.size(), options.poMmHg);
    for (std::size_t i = 0; i < iso.size(); ++i)
      iso.relativePressure[i] = iso.pressureMmHg[i] / options.poMmHg;
  }
  if (reduced.poStoppedAt)
    iso.notes.push_back("Po is not positive at point " + std::to_string(*reduced.poStoppedAt + 1) +
                        " (t = " + Short(reduced.timeS[*reduced.poStoppedAt]) +
                        " s); conversion stops there, " + std::to_string(reduced.convertedPoints) +
                        " of " + std::to_string(reduced.timeS.size()) + " points are used");
  return iso;
}

}  // namespace

const std::vector<IsothermFormat>& AllFormats() {
  static const std::vector<IsothermFormat> kAll = {
      IsothermFormat::kAuto,       IsothermFormat::kCsv,        IsothermFormat::kAif,
      IsothermFormat::kIsodb,      IsothermFormat::kPygapsJson, IsothermFormat::kPygapsCsv,
      IsothermFormat::kMeasurement};
  return kAll;
}

const char* FormatName(IsothermFormat format) {
  switch (format) {
    case IsothermFormat::kCsv:
      return "csv";
    case IsothermFormat::kAif:
      return "aif";
    case IsothermFormat::kIsodb:
      return "isodb";
    case IsothermFormat::kMeasurement:
      return "measurement";
    case IsothermFormat::kPygapsJson:
      return "pygaps";
    case IsothermFormat::kPygapsCsv:
      return "pygaps-csv";
    case IsothermFormat::kAuto:
      break;
  }
  return "auto";
}

bool FormatFromName(const std::string& name, IsothermFormat* format) {
  const std::string wanted = NameKey(name);
  for (IsothermFormat f : AllFormats()) {
    if (wanted == NameKey(FormatName(f))) {
      *format = f;
      return true;
    }
  }
  return false;
}

IsothermFormat DetectFormatOfText(const std::string& path, const std::string& text) {
  const std::size_t start = text.compare(0, 3, "\xef\xbb\xbf") == 0 ? 3 : 0;
  const std::size_t first = text.find_first_not_of(" \t\r\n", start);
  if (first != std::string::npos && text[first] == '{') {
    if (LooksLikeMeasurementText(text)) return IsothermFormat::kMeasurement;
    if (LooksLikePygapsJson(text)) return IsothermFormat::kPygapsJson;
    return IsothermFormat::kIsodb;
  }
  if (StartsWithDataBlock(text)) return IsothermFormat::kAif;
  if (LooksLikePygapsCsv(text)) return IsothermFormat::kPygapsCsv;
  const auto dot = path.find_last_of('.');
  const auto slash = path.find_last_of('/');
  if (dot == std::string::npos || (slash != std::string::npos && dot < slash))
    return IsothermFormat::kCsv;
  const std::string ext = NameKey(path.substr(dot + 1));
  if (ext == "aif" || ext == "cif") return IsothermFormat::kAif;
  if (ext == "json") return IsothermFormat::kIsodb;
  return IsothermFormat::kCsv;
}

IsothermFormat DetectFormat(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  std::string head(64 * 1024, '\0');
  if (in) in.read(&head[0], std::streamsize(head.size()));
  head.resize(in ? head.size() : std::size_t(std::max<std::streamsize>(in.gcount(), 0)));
  return DetectFormatOfText(path, head);
}

IsothermData ReadIsothermFile(const std::string& path, const IsothermReadOptions& options) {
  // Read once, so a pipe (/dev/stdin, a process substitution) reads like a file.
  std::string text = io_detail::ReadTextFile(path);
  if (text.compare(0, 2, "\xff\xfe") == 0 || text.compare(0, 2, "\xfe\xff") == 0 ||
      (text.size() >= 2 && (text[0] == '\0' || text[1] == '\0')))
    Fail(path, "the file is UTF-16 text; save it as UTF-8");
  // Every reader gets the text without a UTF-8 byte-order mark.
  if (text.compare(0, 3, "\xef\xbb\xbf") == 0) text.erase(0, 3);
  IsothermFormat format = options.format;
  if (format == IsothermFormat::kAuto) format = DetectFormatOfText(path, text);
  switch (format) {
    case IsothermFormat::kAif:
      return ParseAif(text, path, options);
    case IsothermFormat::kIsodb:
      return ParseIsodbJson(text, path, options);
    case IsothermFormat::kPygapsJson:
      return ParsePygapsJson(text, path, options);
    case IsothermFormat::kPygapsCsv:
      return ParsePygapsCsv(text, path, options);
    case IsothermFormat::kMeasurement:
      return ReduceRun(text, path, options);
    case IsothermFormat::kCsv:
    case IsothermFormat::kAuto:
      break;
  }
  std::istringstream in(text);
  return ParseIsothermCsv(in, path, options);
}

void WriteIsothermFile(const std::string& path, const IsothermData& iso, IsothermFormat format,
                       const IsothermWriteOptions& options) {
  std::string text;
  if (format == IsothermFormat::kAif)
    text = FormatAif(iso, options);
  else if (format == IsothermFormat::kCsv)
    text = FormatIsothermCsv(iso, options);
  else if (format == IsothermFormat::kPygapsJson)
    text = FormatPygapsJson(iso, options);
  else
    Fail(path, std::string("cannot write the ") + FormatName(format) +
                   " format (csv, aif or pygaps only)");
  std::string error;
  if (!WriteFileAtomically(path, text, &error)) throw InputError(error);
}

}  // namespace fiofla
