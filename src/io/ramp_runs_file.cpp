#include "fiofla/io/ramp_runs_file.h"

#include <cctype>
#include <cerrno>
#include <cmath>
#include <cstdlib>
#include <fstream>
#include <sstream>

#include "fiofla/io/isotherm_file.h"

namespace fiofla {
namespace {

std::string_view Trim(std::string_view s) {
  while (!s.empty() && std::isspace(static_cast<unsigned char>(s.front()))) s.remove_prefix(1);
  while (!s.empty() && std::isspace(static_cast<unsigned char>(s.back()))) s.remove_suffix(1);
  return s;
}

std::string Lower(std::string_view s) {
  std::string out(s);
  for (char& c : out) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  return out;
}

// Messages quote what they were given, but never more than a screen line of it.
std::string Quote(std::string_view s) {
  return "'" + std::string(s.substr(0, 40)) + (s.size() > 40 ? "...'" : "'");
}

double Number(std::string_view field, const std::string& where, const char* what) {
  const std::string text(Trim(field));
  char* end = nullptr;
  errno = 0;
  const double v = text.empty() ? NAN : std::strtod(text.c_str(), &end);
  if (text.empty() || end != text.c_str() + text.size() || !std::isfinite(v) || errno == ERANGE)
    throw InputError(where + ": " + what + " " + Quote(text) + " is not a finite number");
  return v;
}

}  // namespace

std::vector<RampRun> ParseRampRunsCsv(std::string_view text, const std::string& name) {
  static const char* kHeader = "peak_temperature [K],ramp_rate [K/min]";
  std::vector<RampRun> runs;
  bool header = false;
  std::size_t lineNo = 0;
  while (!text.empty()) {
    const std::size_t eol = text.find('\n');
    std::string_view line = text.substr(0, eol);
    text.remove_prefix(eol == std::string_view::npos ? text.size() : eol + 1);
    ++lineNo;
    line = Trim(line);
    if (line.empty() || line.front() == '#') continue;
    const std::string where = name + ": line " + std::to_string(lineNo);
    const std::size_t comma = line.find(',');
    if (!header) {
      const bool ok = comma != std::string_view::npos &&
                      Lower(Trim(line.substr(0, comma))) == "peak_temperature [k]" &&
                      Lower(Trim(line.substr(comma + 1))) == "ramp_rate [k/min]";
      if (!ok)
        throw InputError(where + ": the header " + Quote(line) + " is not '" + kHeader + "'");
      header = true;
      continue;
    }
    if (comma == std::string_view::npos || line.find(',', comma + 1) != std::string_view::npos)
      throw InputError(where + ": " + Quote(line) +
                       " is not two values separated by a comma (peak temperature, ramp rate)");
    RampRun run;
    run.peakTemperatureK = Number(line.substr(0, comma), where, "peak temperature");
    run.rampRateKPerMin = Number(line.substr(comma + 1), where, "ramp rate");
    run.line = lineNo;
    runs.push_back(run);
  }
  if (!header) throw InputError(name + ": no header line '" + kHeader + "'");
  if (runs.empty()) throw InputError(name + ": no runs after the header");
  return runs;
}

std::vector<RampRun> ReadRampRunsCsv(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  if (!in) throw InputError("cannot read " + path);
  std::ostringstream text;
  text << in.rdbuf();
  if (in.bad()) throw InputError("cannot read " + path);
  return ParseRampRunsCsv(text.str(), path);
}

}  // namespace fiofla
