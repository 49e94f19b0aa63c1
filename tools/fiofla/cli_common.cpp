#include "cli_common.h"

#include <cctype>
#include <cmath>
#include <cstdio>

#include "fiofla/measurement.h"
#include "fiofla/types.h"

namespace fiofla::cli {

IsothermData LoadIsotherm(const std::string& path, const IsothermReadOptions& options,
                          std::ostream& err) {
  IsothermData iso = ReadIsothermFile(path, options);
  for (const std::string& note : iso.notes) err << "fiofla: " << path << ": " << note << "\n";
  return iso;
}

bool ReadInputOption(ArgReader& reader, IsothermReadOptions& options) {
  const std::string& arg = reader.Arg();
  if (arg == "--format") {
    const std::string v = reader.Value();
    if (!FormatFromName(v, &options.format))
      throw UsageError{"--format '" + v + "' is not one of auto, csv, aif, isodb, measurement"};
  } else if (arg == "--p0") {
    const std::string v = reader.Value();
    options.poMmHg = ParsePressure(v, "--p0");
  } else {
    return false;
  }
  return true;
}

const char* const kInputOptionsHelp =
    "  --format F           read FILE as csv, aif, isodb or measurement (default: by\n"
    "                       extension; .json files by content)\n"
    "  --p0 P               Po with its unit (e.g. 101.325kPa, '760 mmHg'), for files that\n"
    "                       give absolute pressures; replaces the file's own Po\n";

double ParsePressure(const std::string& text, const std::string& option) {
  double value = 0.0;
  std::string unit;
  if (!SplitValueAndUnit(text, &value, &unit) || !(value > 0.0))
    throw UsageError{option + " '" + text + "' is not a positive pressure with a unit"};
  if (unit.empty())
    throw UsageError{option + " '" + text + "' has no unit; write e.g. 101.325kPa or '760 mmHg'"};
  const CUnits units = PressureUnits();
  const int index = units.Find(CStr(unit));
  if (index < 0) throw UsageError{option + ": unknown pressure unit '" + unit + "'"};
  return units.ToInternal(value, static_cast<std::size_t>(index));
}

bool ArgReader::Next() {
  if (m_next >= m_args.size()) return false;
  m_arg = m_args[m_next++];
  m_hasInline = false;
  m_inlineValue.clear();
  if (m_arg.rfind("--", 0) == 0) {
    const auto eq = m_arg.find('=');
    if (eq != std::string::npos) {
      m_inlineValue = m_arg.substr(eq + 1);
      m_arg.resize(eq);
      m_hasInline = true;
    }
  }
  return true;
}

std::string ArgReader::Value() {
  if (m_hasInline) return m_inlineValue;
  if (m_next >= m_args.size()) throw UsageError{m_arg + " needs a value"};
  return m_args[m_next++];
}

std::optional<std::string> ArgReader::Peek() const {
  if (m_hasInline) return m_inlineValue;
  if (m_next >= m_args.size()) return std::nullopt;
  return m_args[m_next];
}

std::optional<double> ToDouble(const std::string& text) {
  double value = 0.0;
  if (!StringToDouble(text, &value)) return std::nullopt;
  return value;
}

std::string Num(double value, int significant) {
  if (!std::isfinite(value)) return std::isnan(value) ? "n/a" : (value > 0 ? "inf" : "-inf");
  char buf[64];
  std::snprintf(buf, sizeof buf, "%.*g", significant, value);
  return buf;
}

std::string Fixed(double value, int decimals) {
  if (!std::isfinite(value)) return Num(value);
  char buf[64];
  std::snprintf(buf, sizeof buf, "%.*f", decimals, value);
  return buf;
}

const char* const kBetOptionsHelp =
    "  --range LO:HI        BET range of relative pressure (default 0.05:0.30)\n"
    "  --auto               choose the range by the four consistency criteria: Q(1-P/Po)\n"
    "                       rising, C > 0, the P/Po of Qm inside the range and within\n"
    "                       the tolerance of 1/(sqrt C + 1); the passing window that ends\n"
    "                       at the highest pressure wins\n"
    "  --min-points N       smallest window of --auto (default 10)\n"
    "  --min-r2 R           smallest squared correlation of --auto (default 0.995)\n"
    "  --tolerance T        relative tolerance of the monolayer check (default 0.20)\n"
    "  --cross-section NM2  molecular cross-sectional area in nm2 (default 0.162, nitrogen)\n";

bool ReadBetOption(ArgReader& reader, BetSettings& settings) {
  const std::string& arg = reader.Arg();
  if (arg == "--range") {
    const std::string v = reader.Value();
    const auto colon = v.find(':');
    const auto lo = colon == std::string::npos ? std::nullopt : ToDouble(v.substr(0, colon));
    const auto hi = colon == std::string::npos ? std::nullopt : ToDouble(v.substr(colon + 1));
    if (!lo || !hi) throw UsageError{"--range '" + v + "' is not LO:HI (e.g. 0.05:0.30)"};
    if (*lo < 0.0 || *hi > 1.0 || *lo >= *hi)
      throw UsageError{"--range '" + v + "' must satisfy 0 <= LO < HI <= 1"};
    settings.rangeLow = *lo;
    settings.rangeHigh = *hi;
  } else if (arg == "--auto") {
    settings.autoRange = true;
  } else if (arg == "--min-points") {
    const std::string v = reader.Value();
    const auto n = ToDouble(v);
    if (!n || *n < 3 || *n != std::floor(*n) || *n > 1e6)
      throw UsageError{"--min-points '" + v + "' is not a whole number of points >= 3"};
    settings.autoOptions.minPoints = static_cast<std::size_t>(*n);
  } else if (arg == "--min-r2") {
    const std::string v = reader.Value();
    const auto r = ToDouble(v);
    if (!r || *r < 0.0 || *r > 1.0) throw UsageError{"--min-r2 '" + v + "' is not in [0, 1]"};
    settings.autoOptions.minRSquared = *r;
  } else if (arg == "--tolerance") {
    const std::string v = reader.Value();
    const auto t = ToDouble(v);
    if (!t || *t <= 0.0) throw UsageError{"--tolerance '" + v + "' is not a positive fraction"};
    settings.autoOptions.monolayerTolerance = *t;
  } else if (arg == "--cross-section") {
    const std::string v = reader.Value();
    const auto a = ToDouble(v);
    if (!a || *a <= 0.0)
      throw UsageError{"--cross-section '" + v + "' is not a positive area in nm2"};
    settings.crossSectionNm2 = *a;
  } else {
    return false;
  }
  return true;
}

BetRun RunBetOn(const IsothermData& iso, const BetSettings& settings) {
  BetRun run;
  CCalcBET::SInput input;
  if (settings.autoRange) {
    // The search sees the adsorption branch only, in measured order.
    std::vector<std::size_t> index;
    std::vector<double> x, q;
    for (std::size_t i = 0; i < iso.size(); ++i) {
      if (iso.branch[i] != Branch::kAdsorption) continue;
      index.push_back(i);
      x.push_back(iso.relativePressure[i]);
      q.push_back(iso.quantityAdsorbedCm3PerGStp[i]);
    }
    run.search = FindBetRange(x.data(), q.data(), x.size(), settings.autoOptions);
    // Without a passing window no point is in range, so the calculation says so (status 1).
    input = MakeBETInput(iso.relativePressure, iso.quantityAdsorbedCm3PerGStp, iso.branch, 1.0, 0.0,
                         settings.crossSectionNm2);
    ApplyBetRange(*run.search, index.data(), index.size(), input.pointFlags);
    run.rangeLow = run.search->relativePressureLow;
    run.rangeHigh = run.search->relativePressureHigh;
  } else {
    input = MakeBETInput(iso.relativePressure, iso.quantityAdsorbedCm3PerGStp, iso.branch,
                         settings.rangeLow, settings.rangeHigh, settings.crossSectionNm2);
    run.rangeLow = settings.rangeLow;
    run.rangeHigh = settings.rangeHigh;
  }
  run.calc = std::make_shared<CCalcBET>(input);

  for (std::size_t i = 0; i < iso.size(); ++i) {
    const short f = run.calc->pointFlags[i];
    const double x = iso.relativePressure[i];
    const bool usable = x > 0.0 && x < 1.0;
    if ((f & CCalcBET::POINT_IN_RANGE) && (f & CCalcBET::POINT_INCLUDED) && usable)
      run.rangeRows.push_back(i);
    if (!usable) run.dropped.push_back(i);
  }
  return run;
}

bool NoBetResult(const CCalcBET& calc) {
  return calc.status == CCalcBET::STATUS_TOO_FEW_POINTS ||
         calc.status == CCalcBET::STATUS_ZERO_INTERCEPT;
}

const char* DroppedReason(double relativePressure) {
  return relativePressure >= 1.0 ? "relative pressure >= 1" : "relative pressure <= 0";
}

std::string NoResultReason(const BetRun& run) {
  if (run.search && !run.search->found) return run.search->Explain();
  return BETStatusText(run.calc->status);
}

void JsonNumber(JsonWriter& w, double value) {
  if (std::isfinite(value))
    w.Double(value);
  else
    w.Null();
}

void JsonKeyNumber(JsonWriter& w, const char* key, double value) {
  w.Key(key);
  JsonNumber(w, value);
}

}  // namespace fiofla::cli
