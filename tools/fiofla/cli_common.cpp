#include "cli_common.h"

#include <cctype>
#include <cmath>
#include <cstdio>
#include <tuple>

#include "fiofla/measurement.h"
#include "fiofla/types.h"
#include "fiofla/units/unit_text.h"

namespace fiofla::cli {
namespace {

// The input formats by name, for help and messages.
std::string FormatNames() {
  std::string names;
  for (IsothermFormat f : AllFormats())
    names += (names.empty() ? "" : ", ") + std::string(FormatName(f));
  return names;
}

}  // namespace

IsothermData LoadIsotherm(const std::string& path, const IsothermReadOptions& options,
                          std::ostream& err) {
  IsothermData iso = ReadIsothermFile(path, options);
  for (const std::string& note : iso.notes) err << "fiofla: " << path << ": " << note << "\n";
  return iso;
}

void AddInputOptions(CLI::App* cmd, IsothermReadOptions& options,
                     std::function<bool(const std::string&)> otherFormat) {
  cmd->add_option_function<std::string>(
         "--format",
         [&options, otherFormat](const std::string& v) {
           if (otherFormat && otherFormat(v)) return;
           if (!FormatFromName(v, &options.format))
             throw UsageError{"--format '" + v + "' is not one of " + FormatNames()};
         },
         "read FILE in this format: " + FormatNames() + " (default: auto, found from the content)")
      ->type_name("F");
  cmd->add_option_function<std::string>(
         "--p0", [&options](const std::string& v) { options.poMmHg = ParsePressure(v, "--p0"); },
         "Po with its unit (e.g. 101.325kPa, '760 mmHg') for files that give absolute\n"
         "pressures; replaces the file's own Po")
      ->type_name("P");
  cmd->add_option_function<std::string>(
         "--adsorbent-molar-mass",
         [&options](const std::string& v) {
           options.adsorbentMolarMassGPerMol = ParsePositive("--adsorbent-molar-mass", v);
         },
         "molar mass of the adsorbent's formula unit, g/mol, for loadings per formula unit\n"
         "(mol/mol)")
      ->type_name("G/MOL");
  cmd->add_option_function<std::string>(
         "--material-density",
         [&options](const std::string& v) {
           options.materialDensityGPerCm3 = ParsePositive("--material-density", v);
         },
         "density of the adsorbent, g/cm3, for loadings per volume of material")
      ->type_name("G/CM3");
}

void AddFileOperand(CLI::App* cmd, std::string& file) {
  cmd->add_option("FILE", file,
                  "isotherm: CSV with units in its header, AIF, NIST ISODB JSON, pyGAPS JSON or\n"
                  "CSV, or a fiofla measurement file (reduced first)");
}

void AddUnitOptions(CLI::App* cmd, std::string& pressure, std::string& loading,
                    const std::string& pressureHelp, const std::string& loadingHelp) {
  cmd->add_option_function<std::string>(
         "--pressure-unit",
         [&pressure](const std::string& v) {
           if (FindPressureUnit(v) < 0)
             throw UsageError{"--pressure-unit '" + v + "' is not a pressure unit"};
           pressure = v;
         },
         pressureHelp)
      ->type_name("U");
  cmd->add_option_function<std::string>(
         "--loading-unit",
         [&loading](const std::string& v) {
           if (!ParseLoadingUnit(v))
             throw UsageError{"--loading-unit '" + v + "' is not a loading unit; " +
                              LoadingUnitHint()};
           loading = v;
         },
         loadingHelp)
      ->type_name("U");
}

std::pair<double, double> ParseRange(const std::string& option, const std::string& v, double most) {
  const auto colon = v.find(':');
  const auto lo = colon == std::string::npos ? std::nullopt : ToDouble(v.substr(0, colon));
  const auto hi = colon == std::string::npos ? std::nullopt : ToDouble(v.substr(colon + 1));
  if (!lo || !hi) throw UsageError{option + " '" + v + "' is not LO:HI (two numbers)"};
  if (!(*lo >= 0.0) || !(*lo < *hi) || !(*hi <= most))
    throw UsageError{option + " '" + v + "' must satisfy 0 <= LO < HI" +
                     (std::isfinite(most) ? " <= " + Num(most) : std::string())};
  return {*lo, *hi};
}

double ParsePositive(const std::string& option, const std::string& v) {
  const auto x = ToDouble(v);
  if (!x || !std::isfinite(*x) || !(*x > 0.0))
    throw UsageError{option + " '" + v + "' is not a positive number"};
  return *x;
}

constexpr double kMaxPressureMmHg = 1e4 * 750.061682704;  // 10 kbar

double ParsePressure(const std::string& text, const std::string& option) {
  double value = 0.0;
  std::string unit;
  if (!SplitValueAndUnit(text, &value, &unit) || !(value > 0.0))
    throw UsageError{option + " '" + text + "' is not a positive pressure with a unit"};
  if (unit.empty())
    throw UsageError{option + " '" + text + "' has no unit; write e.g. 101.325kPa or '760 mmHg'"};
  std::string why;
  const auto mmHgPerUnit = ParsePressureUnit(unit, &why);
  if (!mmHgPerUnit)
    throw UsageError{option + ": " + (why.empty() ? "unknown pressure unit '" + unit + "'" : why)};
  // No sorption instrument goes past 10 kbar; beyond it the number is a typing slip.
  const double mmHg = value * *mmHgPerUnit;
  if (!(mmHg <= kMaxPressureMmHg))
    throw UsageError{option + " '" + text + "' is above the largest pressure fiofla takes (" +
                     Num(kMaxPressureMmHg / 750.061682704) + " bar)"};
  return mmHg;
}

std::string Stem(const std::string& path) {
  std::string name =
      path.substr(path.find_last_of('/') == std::string::npos ? 0 : path.find_last_of('/') + 1);
  const auto dot = name.rfind('.');
  if (dot != std::string::npos && dot > 0) name.resize(dot);
  return name;
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

void AddBetOptions(CLI::App* cmd, BetSettings& s) {
  cmd->add_option_function<std::string>(
         "--range",
         [&s](const std::string& v) {
           std::tie(s.rangeLow, s.rangeHigh) = ParseRange("--range", v, 1.0);
         },
         "BET range of relative pressure (default 0.05:0.30)")
      ->type_name("LO:HI");
  cmd->add_flag("--auto", s.autoRange,
                "choose the range by the four consistency criteria: Q(1-P/Po) rising,\n"
                "C > 0, the P/Po of Qm inside the range and within the tolerance of\n"
                "1/(sqrt C + 1); the passing window that ends highest wins");
  cmd->add_option_function<std::string>(
         "--min-points",
         [&s](const std::string& v) {
           const auto n = ToDouble(v);
           if (!n || *n < 3 || *n != std::floor(*n) || *n > 1e6)
             throw UsageError{"--min-points '" + v + "' is not a whole number of points >= 3"};
           s.autoOptions.minPoints = static_cast<std::size_t>(*n);
         },
         "smallest window of --auto (default 10)")
      ->type_name("N");
  cmd->add_option_function<std::string>(
         "--min-r2",
         [&s](const std::string& v) {
           const auto r = ToDouble(v);
           if (!r || *r < 0.0 || *r > 1.0)
             throw UsageError{"--min-r2 '" + v + "' is not in [0, 1]"};
           s.autoOptions.minRSquared = *r;
         },
         "smallest squared correlation of --auto (default 0.995)")
      ->type_name("R");
  cmd->add_option_function<std::string>(
         "--tolerance",
         [&s](const std::string& v) {
           const auto t = ToDouble(v);
           if (!t || !(*t > 0.0))
             throw UsageError{"--tolerance '" + v + "' is not a positive fraction"};
           s.autoOptions.monolayerTolerance = *t;
         },
         "relative tolerance of the monolayer check of --auto (default 0.20)")
      ->type_name("T");
  cmd->add_option_function<std::string>(
         "--cross-section",
         [&s](const std::string& v) {
           const auto a = ToDouble(v);
           if (!a || !(*a > 0.0))
             throw UsageError{"--cross-section '" + v + "' is not a positive area in nm2"};
           s.crossSectionNm2 = *a;
         },
         "molecular cross-sectional area, nm2 (default 0.162, nitrogen)")
      ->type_name("NM2");
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
