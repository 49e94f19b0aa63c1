// `fiofla bet`: the BET results of one isotherm as text or JSON.
#include <cstdio>

#include "cli.h"
#include "cli_common.h"

namespace fiofla::cli {
namespace {

const std::string kBetHelp =
    std::string(
        "usage: fiofla bet FILE [--range LO:HI | --auto [--min-points N] [--min-r2 R]]\n"
        "                       [--cross-section NM2] [--format F] [--p0 P] [--json]\n"
        "\n"
        "Fits the BET equation to the adsorption-branch points of FILE whose relative\n"
        "pressure lies in the range, and prints the surface area with its standard error,\n"
        "C, the monolayer quantity Qm, the fitted line and the points used.\n"
        "\n"
        "  FILE                 isotherm: CSV with units in its header (see README), AIF\n"
        "                       (.aif), NIST ISODB JSON, or a measurement file (see\n"
        "                       'fiofla reduce'), which is reduced first\n") +
    kInputOptionsHelp + kBetOptionsHelp +
    "  --json               print the results as JSON\n"
    "\n"
    "exit codes: 0 ok, 1 unreadable or malformed file, 2 bad arguments,\n"
    "            3 no BET result (fewer than two points in range, no range passing\n"
    "              the --auto criteria, or a degenerate fit)\n";

struct BetOptions {
  std::string file;
  BetSettings bet;
  IsothermReadOptions input;
  bool json = false;
  bool help = false;
};

BetOptions ParseBetArgs(const std::vector<std::string>& args) {
  BetOptions opt;
  ArgReader reader(args);
  while (reader.Next()) {
    const std::string& arg = reader.Arg();
    if (arg == "--help" || arg == "-h") {
      opt.help = true;
    } else if (arg == "--json") {
      opt.json = true;
    } else if (ReadBetOption(reader, opt.bet) || ReadInputOption(reader, opt.input)) {
    } else if (reader.IsOption()) {
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

void PrintSearchJson(JsonWriter& w, const BetRangeResult& s) {
  w.Key("auto_range");
  w.StartObject();
  w.Key("found");
  w.Bool(s.found);
  w.Key("explanation");
  w.String(s.Explain().c_str());
  w.Key("min_points");
  w.Uint64(s.options.minPoints);
  JsonKeyNumber(w, "min_r_squared", s.options.minRSquared);
  JsonKeyNumber(w, "monolayer_tolerance", s.options.monolayerTolerance);
  JsonKeyNumber(w, "monolayer_relative_pressure", s.monolayerRelativePressure);
  JsonKeyNumber(w, "c_relative_pressure", s.cRelativePressure);
  w.Key("windows_searched");
  w.Uint64(s.windowsSearched);
  w.Key("windows_passed");
  w.Uint64(s.windowsPassed);
  w.Key("windows_failed");
  w.StartObject();
  w.Key("r_squared");
  w.Uint64(s.failedRSquared);
  w.Key("increasing");
  w.Uint64(s.failedIncreasing);
  w.Key("positive_c");
  w.Uint64(s.failedPositiveC);
  w.Key("monolayer_in_range");
  w.Uint64(s.failedMonolayerInRange);
  w.Key("monolayer_agreement");
  w.Uint64(s.failedMonolayerAgreement);
  w.Key("unusable");
  w.Uint64(s.unusable);
  w.EndObject();
  w.EndObject();
}

// A point as the JSON names it: its 1-based index, and its file line where there is one.
void PointKeys(JsonWriter& w, const IsothermData& iso, std::size_t i) {
  w.Key("point");
  w.Uint64(i + 1);
  if (iso.sourceLine[i] > 0) {
    w.Key("line");
    w.Uint64(iso.sourceLine[i]);
  }
}

void PrintBetJson(std::ostream& out, const BetOptions& opt, const IsothermData& iso,
                  const BetRun& run) {
  const CCalcBET& bet = *run.calc;
  rapidjson::OStreamWrapper os(out);
  JsonWriter w(os);
  w.StartObject();
  w.Key("file");
  w.String(opt.file.c_str());
  w.Key("range");
  w.StartArray();
  JsonNumber(w, run.rangeLow);
  JsonNumber(w, run.rangeHigh);
  w.EndArray();
  if (run.search) PrintSearchJson(w, *run.search);
  JsonKeyNumber(w, "cross_section_nm2", opt.bet.crossSectionNm2);
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
  for (std::size_t k = 0; k < run.rangeRows.size(); ++k) {
    w.StartObject();
    PointKeys(w, iso, run.rangeRows[k]);
    JsonKeyNumber(w, "relative_pressure", bet.fitRelativePressure[k]);
    JsonKeyNumber(w, "quantity_cm3_per_g_stp", bet.fitQuantity[k]);
    JsonKeyNumber(w, "bet_transform_g_per_cm3_stp", bet.fitTransform[k]);
    w.EndObject();
  }
  w.EndArray();
  w.Key("points_dropped");
  w.StartArray();
  for (std::size_t i : run.dropped) {
    w.StartObject();
    PointKeys(w, iso, i);
    JsonKeyNumber(w, "relative_pressure", iso.relativePressure[i]);
    w.Key("reason");
    w.String(DroppedReason(iso.relativePressure[i]));
    w.EndObject();
  }
  w.EndArray();
  w.EndObject();
  out << "\n";
}

void PrintBetText(std::ostream& out, const BetOptions& opt, const IsothermData& iso,
                  const BetRun& run) {
  const CCalcBET& bet = *run.calc;
  out << "BET surface area of " << opt.file << "\n";
  if (run.search) out << "  automatic range: " << run.search->Explain() << "\n";
  out << "  range P/Po " << Num(run.rangeLow) << " to " << Num(run.rangeHigh)
      << ", cross-sectional area " << Num(opt.bet.crossSectionNm2) << " nm2\n\n"
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
  out << "  Points used (" << run.rangeRows.size() << "):\n"
      << "         where        P/Po    Q (cm3/g STP)    1/[Q(Po/P-1)]\n";
  for (std::size_t k = 0; k < run.rangeRows.size(); ++k) {
    char row[200];
    std::snprintf(row, sizeof row, "  %12s  %10.6f  %15.6g  %15.6g\n",
                  iso.PointName(run.rangeRows[k]).c_str(), bet.fitRelativePressure[k],
                  bet.fitQuantity[k], bet.fitTransform[k]);
    out << row;
  }
  if (!run.dropped.empty()) {
    out << "\n  Points BET cannot use:\n";
    for (std::size_t i : run.dropped)
      out << "    " << iso.PointName(i) << ": P/Po " << Num(iso.relativePressure[i]) << ", "
          << DroppedReason(iso.relativePressure[i]) << "\n";
  }
}

}  // namespace

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
    iso = LoadIsotherm(opt.file, opt.input, err);
  } catch (const InputError& e) {
    err << "fiofla bet: " << e.what() << "\n";
    return kExitInputError;
  }

  const BetRun run = RunBetOn(iso, opt.bet);
  if (opt.json)
    PrintBetJson(out, opt, iso, run);
  else
    PrintBetText(out, opt, iso, run);

  if (NoBetResult(*run.calc)) {
    err << "fiofla bet: " << opt.file << ": no BET result: " << NoResultReason(run) << "\n";
    return kExitNoResult;
  }
  return kExitOk;
}

}  // namespace fiofla::cli
