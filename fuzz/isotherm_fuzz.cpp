// Fuzz target for the isotherm readers (CSV, AIF, ISODB JSON; the first byte picks one).
// Any input must be read or refused with an InputError, never crash; what is read must be
// consistent, and writing it as CSV (and as AIF when it has pressures) must read back.
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <sstream>
#include <string>

#include "fiofla/io/aif_file.h"
#include "fiofla/io/isodb_file.h"
#include "fiofla/io/isotherm_file.h"

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
    switch (data[0] % 3) {
      case 0:
        iso = ReadCsv(text);
        break;
      case 1:
        iso = fiofla::ParseAif(text, "fuzz.aif");
        break;
      default:
        iso = fiofla::ParseIsodbJson(text, "fuzz.json");
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
  if (!iso.pressureMmHg.empty()) {
    try {
      const fiofla::IsothermData back = fiofla::ParseAif(fiofla::FormatAif(iso), "back.aif");
      Check(back.size() == iso.size());
    } catch (const fiofla::InputError&) {
    }
  }
  return 0;
}
