// Fuzz target for CSV files of temperature-programmed runs: any text is read or refused with
// InputError (never a crash or another exception); runs that are read are finite, in line
// order, and give the dynamic heat fit nothing it cannot take.
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string_view>

#include "fiofla/gashoa.h"
#include "fiofla/io/isotherm_file.h"
#include "fiofla/io/ramp_runs_file.h"

namespace {

void Check(bool ok) {
  if (!ok) std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view text(reinterpret_cast<const char*>(data), size);
  std::vector<fiofla::RampRun> runs;
  try {
    runs = fiofla::ParseRampRunsCsv(text, "fuzz.csv");
  } catch (const fiofla::InputError&) {
    return 0;
  }
  Check(!runs.empty());
  std::vector<CDynamicHeatCalc::STempRampRate> fit;
  for (std::size_t i = 0; i < runs.size(); ++i) {
    Check(std::isfinite(runs[i].peakTemperatureK) && std::isfinite(runs[i].rampRateKPerMin));
    Check(runs[i].line >= 2 && (i == 0 || runs[i].line > runs[i - 1].line));
    fit.push_back({runs[i].peakTemperatureK, runs[i].rampRateKPerMin});
  }
  const CDynamicHeatCalc calc(fit);
  if (!calc.IsValid()) Check(calc.GetHeatOfDesorption() == 0.0);
  return 0;
}
