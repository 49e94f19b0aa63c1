// Fuzz target for the isotherm readers (CSV, AIF, ISODB JSON, pyGAPS JSON and CSV, or the
// format found by content; the first byte picks one). Any input must be read or refused with
// an InputError, never crash; what is read must be consistent, and writing it as CSV, pyGAPS
// JSON (and as AIF when it has pressures) must read back.
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <sstream>
#include <string>

#include "fiofla/io/aif_file.h"
#include "fiofla/io/isodb_file.h"
#include "fiofla/io/isotherm_file.h"
#include "fiofla/io/pygaps_file.h"

namespace {

void Check(bool ok) {
  if (!ok) std::abort();
}

void CheckConsistent(const fiofla::IsothermData& iso) {
  const std::size_t n = iso.size();
  Check(n > 0);
  Check(iso.quantityAdsorbedCm3PerGStp.size() == n && iso.branch.size() == n &&
        iso.sourceLine.size() == n);
  Check(iso.pressureMmHg.empty() || iso.pressureMmHg.size() == n);
  Check(iso.poMmHg.empty() || iso.poMmHg.size() == n);
  for (std::size_t i = 0; i < n; ++i)
    Check(std::isfinite(iso.relativePressure[i]) &&
          std::isfinite(iso.quantityAdsorbedCm3PerGStp[i]));
}

fiofla::IsothermData ReadCsv(const std::string& text) {
  std::istringstream in(text);
  return fiofla::ParseIsothermCsv(in, "fuzz.csv");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size == 0) return 0;
  const std::string text(reinterpret_cast<const char*>(data + 1), size - 1);
  fiofla::IsothermData iso;
  try {
    fiofla::IsothermFormat format = fiofla::IsothermFormat::kCsv;
    switch (data[0] % 6) {
      case 1:
        format = fiofla::IsothermFormat::kAif;
        break;
      case 2:
        format = fiofla::IsothermFormat::kIsodb;
        break;
      case 3:
        format = fiofla::IsothermFormat::kPygapsJson;
        break;
      case 4:
        format = fiofla::IsothermFormat::kPygapsCsv;
        break;
      case 5:
        format = fiofla::DetectFormatOfText("fuzz", text);
        break;
    }
    switch (format) {
      case fiofla::IsothermFormat::kAif:
        iso = fiofla::ParseAif(text, "fuzz.aif");
        break;
      case fiofla::IsothermFormat::kIsodb:
        iso = fiofla::ParseIsodbJson(text, "fuzz.json");
        break;
      case fiofla::IsothermFormat::kPygapsJson:
        iso = fiofla::ParsePygapsJson(text, "fuzz.json");
        break;
      case fiofla::IsothermFormat::kPygapsCsv:
        iso = fiofla::ParsePygapsCsv(text, "fuzz.csv");
        break;
      default:  // measurement files have their own target's worth of checks elsewhere
        iso = ReadCsv(text);
        break;
    }
  } catch (const fiofla::InputError&) {
    return 0;
  }
  CheckConsistent(iso);

  // Values the readers accept may still overflow in another unit; that is a refusal too.
  try {
    const fiofla::IsothermData back = ReadCsv(fiofla::FormatIsothermCsv(iso));
    Check(back.size() == iso.size() && back.branch == iso.branch);
  } catch (const fiofla::InputError&) {
  }
  try {
    const fiofla::IsothermData back =
        fiofla::ParsePygapsJson(fiofla::FormatPygapsJson(iso), "back.json");
    Check(back.size() == iso.size() && back.branch == iso.branch);
  } catch (const fiofla::InputError&) {
  }
  if (!iso.pressureMmHg.empty()) {
    try {
      const fiofla::IsothermData back = fiofla::ParseAif(fiofla::FormatAif(iso), "back.aif");
      Check(back.size() == iso.size());
    } catch (const fiofla::InputError&) {
    }
  }
  return 0;
}
