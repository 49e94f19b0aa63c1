// Temperature-programmed desorption runs as CSV: one peak temperature and ramp rate a row,
// the input of the dynamic heat of desorption (CDynamicHeatCalc).
//
// Layout: lines whose first non-blank character is '#' are comments and blank lines are
// skipped; the first other line is the header `peak_temperature [K],ramp_rate [K/min]`
// (case and blanks around the fields do not matter); every further line holds two finite
// numbers separated by a comma. A line ending "\r\n" reads as "\n".
// Cost: O(length of the text).
// Guarantees: a text that is not of this layout throws InputError naming the source, the
// line and the value; values are not range-checked here (a run the fit cannot use is the
// command's to report).
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace fiofla {

/// One temperature-programmed run.
struct RampRun {
  /// Peak temperature, K.
  double peakTemperatureK = 0.0;
  /// Ramp rate, K/min.
  double rampRateKPerMin = 0.0;
  /// 1-based line of the file the run came from.
  std::size_t line = 0;
};

/// The runs of CSV `text`; `name` names it in messages. Throws InputError.
std::vector<RampRun> ParseRampRunsCsv(std::string_view text, const std::string& name);

/// The runs of the CSV file `path`; throws InputError when it is missing, unreadable or
/// malformed.
std::vector<RampRun> ReadRampRunsCsv(const std::string& path);

}  // namespace fiofla
