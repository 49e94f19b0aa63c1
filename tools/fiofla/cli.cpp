#include "cli.h"

#include <rapidjson/ostreamwrapper.h>
#include <rapidjson/prettywriter.h>

#include <cmath>
#include <cstdio>
#include <optional>
#include <sstream>

#include "fiofla/fiofla.h"

namespace fiofla::cli {
namespace {

constexpr const char* kVersion = FIOFLA_VERSION;

constexpr const char* kMainHelp =
    "fiofla - data reduction for volumetric gas-sorption isotherms\n"
    "\n"
    "usage: fiofla <command> [options]\n"
    "\n"
    "commands:\n"
    "  bet FILE      BET surface area, C value and monolayer quantity of an isotherm\n"
    "  help          this text; 'fiofla <command> --help' for a command\n"
    "  version       the version of fiofla\n";

constexpr const char* kBetHelp =
    "usage: fiofla bet FILE [--range LO:HI] [--cross-section NM2] [--json]\n"
    "\n"
    "Fits the BET equation to the adsorption-branch points of FILE whose relative\n"
    "pressure lies in the range, and prints the surface area with its standard error,\n"
    "C, the monolayer quantity Qm, the fitted line and the points used.\n"
    "\n"
    "  FILE                 isotherm CSV: a header naming the columns, relative pressure\n"
    "                       (relative_pressure or p/p0) and quantity adsorbed in\n"
    "                       cm3/g STP (quantity_adsorbed); '#' starts a comment line\n"
    "  --range LO:HI        BET range of relative pressure (default 0.05:0.30)\n"
    "  --cross-section NM2  molecular cross-sectional area in nm2 (default 0.162, nitrogen)\n"
    "  --json               print the results as JSON\n"
    "\n"
    "exit codes: 0 ok, 1 unreadable or malformed file, 2 bad arguments,\n"
    "            3 no BET result (fewer than two points in range, or a degenerate fit)\n";

struct UsageError {
  std::string message;
};

std::optional<double> ToDouble(const std::string& text) {
  double value = 0.0;
  if (!StringToDouble(text, &value)) return std::nullopt;
  return value;
}

std::string Num(double value, int significant = 6) {
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

struct BetOptions {
  std::string file;
  double rangeLow = 0.05;
  double rangeHigh = 0.30;
  double crossSectionNm2 = 0.162;
  bool json = false;
  bool help = false;
};

// Takes the value of an option either from "--opt=value" or from the next argument.
std::string OptionValue(const std::vector<std::string>& args, std::size_t& i,
                        const std::string& name, const std::string& inlineValue, bool hasInline) {
  if (hasInline) return inlineValue;
  if (i + 1 >= args.size()) throw UsageError{name + " needs a value"};
  return args[++i];
}

BetOptions ParseBetArgs(const std::vector<std::string>& args) {
  BetOptions opt;
  for (std::size_t i = 0; i < args.size(); ++i) {
    std::string arg = args[i];
    std::string inlineValue;
    bool hasInline = false;
    if (arg.rfind("--", 0) == 0) {
      const auto eq = arg.find('=');
      if (eq != std::string::npos) {
        inlineValue = arg.substr(eq + 1);
        arg = arg.substr(0, eq);
        hasInline = true;
      }
    }
    if (arg == "--help" || arg == "-h") {
      opt.help = true;
    } else if (arg == "--json") {
      opt.json = true;
    } else if (arg == "--range") {
      const std::string v = OptionValue(args, i, arg, inlineValue, hasInline);
      const auto colon = v.find(':');
      const auto lo = colon == std::string::npos ? std::nullopt : ToDouble(v.substr(0, colon));
      const auto hi = colon == std::string::npos ? std::nullopt : ToDouble(v.substr(colon + 1));
      if (!lo || !hi) throw UsageError{"--range '" + v + "' is not LO:HI (e.g. 0.05:0.30)"};
      if (*lo < 0.0 || *hi > 1.0 || *lo >= *hi)
        throw UsageError{"--range '" + v + "' must satisfy 0 <= LO < HI <= 1"};
      opt.rangeLow = *lo;
      opt.rangeHigh = *hi;
    } else if (arg == "--cross-section") {
      const std::string v = OptionValue(args, i, arg, inlineValue, hasInline);
      const auto a = ToDouble(v);
      if (!a || *a <= 0.0)
        throw UsageError{"--cross-section '" + v + "' is not a positive area in nm2"};
      opt.crossSectionNm2 = *a;
    } else if (arg.size() > 1 && arg[0] == '-') {
      throw UsageError{"unknown option '" + arg + "'"};
    } else if (opt.file.empty()) {
      opt.file = arg;
    } else {
      throw UsageError{"more than one FILE given ('" + opt.file + "' and '" + arg + "')"};
    }
  }
  if (!opt.help && opt.file.empty()) throw UsageError{"no isotherm FILE given"};
  return opt;
}

using JsonWriter = rapidjson::PrettyWriter<rapidjson::OStreamWrapper>;

void JsonNumber(JsonWriter& w, double value) {
  if (std::isfinite(value))
    w.Double(value);
  else
    w.Null();  // JSON has no NaN or infinity
}

void JsonKeyNumber(JsonWriter& w, const char* key, double value) {
  w.Key(key);
  JsonNumber(w, value);
}

// Points the BET calculation cannot use, reported so nothing is dropped silently.
std::vector<std::size_t> PointsAboveSaturation(const IsothermData& iso) {
  std::vector<std::size_t> dropped;
  for (std::size_t i = 0; i < iso.size(); ++i)
    if (iso.relativePressure[i] >= 1.0) dropped.push_back(i);
  return dropped;
}

void PrintBetJson(std::ostream& out, const BetOptions& opt, const IsothermData& iso,
                  const CCalcBET& bet, const std::vector<std::size_t>& rangeRows,
                  const std::vector<std::size_t>& dropped) {
  rapidjson::OStreamWrapper os(out);
  JsonWriter w(os);
  w.StartObject();
  w.Key("file");
  w.String(opt.file.c_str());
  w.Key("range");
  w.StartArray();
  w.Double(opt.rangeLow);
  w.Double(opt.rangeHigh);
  w.EndArray();
  JsonKeyNumber(w, "cross_section_nm2", opt.crossSectionNm2);
  w.Key("status");
  w.Int(bet.status);
  w.Key("status_text");
  w.String(BETStatusText(bet.status));
  JsonKeyNumber(w, "surface_area_m2_per_g", bet.surfaceArea);
  JsonKeyNumber(w, "surface_area_error_m2_per_g", bet.surfaceAreaError);
  JsonKeyNumber(w, "c_value", bet.cValue);
  JsonKeyNumber(w, "monolayer_capacity_cm3_per_g_stp", bet.monolayerCapacity);
  JsonKeyNumber(w, "slope_g_per_cm3_stp", bet.slope);
  JsonKeyNumber(w, "slope_error_g_per_cm3_stp", bet.slopeError);
  JsonKeyNumber(w, "intercept_g_per_cm3_stp", bet.yIntercept);
  JsonKeyNumber(w, "intercept_error_g_per_cm3_stp", bet.yInterceptError);
  JsonKeyNumber(w, "correlation", bet.correlation);
  w.Key("points_used");
  w.StartArray();
  for (std::size_t k = 0; k < rangeRows.size(); ++k) {
    w.StartObject();
    w.Key("line");
    w.Uint64(iso.sourceLine[rangeRows[k]]);
    JsonKeyNumber(w, "relative_pressure", bet.fitRelativePressure[k]);
    JsonKeyNumber(w, "quantity_cm3_per_g_stp", bet.fitQuantity[k]);
    JsonKeyNumber(w, "bet_transform_g_per_cm3_stp", bet.fitTransform[k]);
    w.EndObject();
  }
  w.EndArray();
  w.Key("points_dropped");
  w.StartArray();
  for (std::size_t i : dropped) {
    w.StartObject();
    w.Key("line");
    w.Uint64(iso.sourceLine[i]);
    JsonKeyNumber(w, "relative_pressure", iso.relativePressure[i]);
    w.Key("reason");
    w.String("relative pressure >= 1");
    w.EndObject();
  }
  w.EndArray();
  w.EndObject();
  out << "\n";
}

void PrintBetText(std::ostream& out, const BetOptions& opt, const IsothermData& iso,
                  const CCalcBET& bet, const std::vector<std::size_t>& rangeRows,
                  const std::vector<std::size_t>& dropped) {
  out << "BET surface area of " << opt.file << "\n"
      << "  range P/Po " << Num(opt.rangeLow) << " to " << Num(opt.rangeHigh)
      << ", cross-sectional area " << Num(opt.crossSectionNm2) << " nm2\n\n"
      << "  Surface area        " << Fixed(bet.surfaceArea, 4) << " +/- "
      << Fixed(bet.surfaceAreaError, 4) << " m2/g\n"
      << "  C                   " << Num(bet.cValue) << "\n"
      << "  Qm                  " << Num(bet.monolayerCapacity) << " cm3/g STP\n"
      << "  Slope               " << Num(bet.slope) << " +/- " << Num(bet.slopeError)
      << " g/cm3 STP\n"
      << "  Intercept           " << Num(bet.yIntercept) << " +/- " << Num(bet.yInterceptError)
      << " g/cm3 STP\n"
      << "  Correlation         " << Num(bet.correlation, 8) << "\n"
      << "  Status              " << bet.status << " (" << BETStatusText(bet.status) << ")\n\n";
  out << "  Points used (" << rangeRows.size() << "):\n"
      << "      line        P/Po    Q (cm3/g STP)    1/[Q(Po/P-1)]\n";
  for (std::size_t k = 0; k < rangeRows.size(); ++k) {
    char row[160];
    std::snprintf(row, sizeof row, "  %8zu  %10.6f  %15.6g  %15.6g\n", iso.sourceLine[rangeRows[k]],
                  bet.fitRelativePressure[k], bet.fitQuantity[k], bet.fitTransform[k]);
    out << row;
  }
  if (!dropped.empty()) {
    out << "\n  Points dropped (relative pressure >= 1):";
    for (std::size_t i : dropped) out << " line " << iso.sourceLine[i];
    out << "\n";
  }
}

int RunBet(const std::vector<std::string>& args, std::ostream& out, std::ostream& err) {
  BetOptions opt;
  try {
    opt = ParseBetArgs(args);
  } catch (const UsageError& e) {
    err << "fiofla bet: " << e.message << "\n"
        << "try 'fiofla bet --help'\n";
    return kExitUsageError;
  }
  if (opt.help) {
    out << kBetHelp;
    return kExitOk;
  }

  IsothermData iso;
  try {
    iso = ReadIsothermCsv(opt.file);
  } catch (const InputError& e) {
    err << "fiofla bet: " << e.what() << "\n";
    return kExitInputError;
  }

  const CCalcBET bet(MakeBETInput(iso.relativePressure, iso.quantityAdsorbedCm3PerGStp, iso.branch,
                                  opt.rangeLow, opt.rangeHigh, opt.crossSectionNm2));

  // Rows of the file behind each range point, in the order CCalcBET collected them.
  std::vector<std::size_t> rangeRows;
  for (std::size_t i = 0; i < iso.size(); ++i) {
    const short f = bet.pointFlags[i];
    if ((f & CCalcBET::POINT_IN_RANGE) && (f & CCalcBET::POINT_INCLUDED) &&
        iso.relativePressure[i] < 1.0)
      rangeRows.push_back(i);
  }
  const auto dropped = PointsAboveSaturation(iso);

  if (opt.json)
    PrintBetJson(out, opt, iso, bet, rangeRows, dropped);
  else
    PrintBetText(out, opt, iso, bet, rangeRows, dropped);

  const bool noResult = bet.status == CCalcBET::STATUS_TOO_FEW_POINTS ||
                        bet.status == CCalcBET::STATUS_ZERO_INTERCEPT;
  if (noResult) {
    err << "fiofla bet: " << opt.file << ": no BET result: " << BETStatusText(bet.status) << "\n";
    return kExitNoResult;
  }
  return kExitOk;
}

}  // namespace

int Run(const std::vector<std::string>& args, std::ostream& out, std::ostream& err) {
  if (args.empty()) {
    err << kMainHelp;
    return kExitUsageError;
  }
  const std::string& command = args[0];
  const std::vector<std::string> rest(args.begin() + 1, args.end());
  if (command == "bet") return RunBet(rest, out, err);
  if (command == "help" || command == "--help" || command == "-h") {
    out << kMainHelp;
    return kExitOk;
  }
  if (command == "version" || command == "--version") {
    out << "fiofla " << kVersion << "\n";
    return kExitOk;
  }
  err << "fiofla: unknown command '" << command << "'\n"
      << "try 'fiofla help'\n";
  return kExitUsageError;
}

}  // namespace fiofla::cli
