// `fiofla bet`: the BET results of one isotherm as text or JSON.
#include "cli.h"
#include "cli_common.h"
#include "fiofla/report_bet.h"
#include "result.h"

namespace fiofla::cli {
namespace {

struct BetOptions {
  std::string file;
  BetSettings bet;
  IsothermReadOptions input;
  bool json = false;
};

void AddSearch(Result& r, const BetRangeResult& s) {
  r.Begin("auto_range", "")
      .Add("found", "", s.found)
      .Add("explanation", "Automatic range", s.Explain())
      .Add("min_points", "", static_cast<long long>(s.options.minPoints))
      .Add("min_r_squared", "", s.options.minRSquared)
      .Add("monolayer_tolerance", "", s.options.monolayerTolerance)
      .Add("monolayer_relative_pressure", "", s.monolayerRelativePressure)
      .Add("c_relative_pressure", "", s.cRelativePressure)
      .Add("windows_searched", "", static_cast<long long>(s.windowsSearched))
      .Add("windows_passed", "", static_cast<long long>(s.windowsPassed))
      .Begin("windows_failed", "")
      .Add("r_squared", "", static_cast<long long>(s.failedRSquared))
      .Add("increasing", "", static_cast<long long>(s.failedIncreasing))
      .Add("positive_c", "", static_cast<long long>(s.failedPositiveC))
      .Add("monolayer_in_range", "", static_cast<long long>(s.failedMonolayerInRange))
      .Add("monolayer_agreement", "", static_cast<long long>(s.failedMonolayerAgreement))
      .Add("unusable", "", static_cast<long long>(s.unusable))
      .End()
      .End();
}

Result BetResult(const BetOptions& opt, const IsothermData& iso, const BetRun& run) {
  const CCalcBET& bet = *run.calc;
  Result r("BET surface area of " + opt.file);
  r.Add("file", "", opt.file);
  if (run.search) AddSearch(r, *run.search);
  // A search that found no window has nothing else to show: its explanation is the answer.
  if (run.search && !run.search->found) return r;

  r.Array("range", {run.rangeLow, run.rangeHigh})
      .Text("range P/Po " + Num(run.rangeLow) + " to " + Num(run.rangeHigh) +
            ", cross-sectional area " + Num(opt.bet.crossSectionNm2) + " nm2")
      .Text("")
      .Add("cross_section_nm2", "", opt.bet.crossSectionNm2)
      .Add("status", "", static_cast<long long>(bet.status))
      .Add("status_text", "", std::string(BETStatusText(bet.status)));
  if (!NoBetResult(bet)) {
    r.Add("surface_area_m2_per_g", "Surface area", bet.surfaceArea, "m2/g", Dec(4))
        .Error("surface_area_error_m2_per_g", bet.surfaceAreaError, Dec(4))
        .Add("c_value", "C", bet.cValue)
        .Add("monolayer_capacity_cm3_per_g_stp", "Qm", bet.monolayerCapacity, "cm3/g STP")
        .Add("slope_g_per_cm3_stp", "Slope", bet.slope, "g/cm3 STP")
        .Error("slope_error_g_per_cm3_stp", bet.slopeError)
        .Add("intercept_g_per_cm3_stp", "Intercept", bet.yIntercept, "g/cm3 STP")
        .Error("intercept_error_g_per_cm3_stp", bet.yInterceptError)
        .Add("correlation", "Correlation", bet.correlation, "", Sig(8));
  }
  // What the report warns about, and quantities below zero, which no isotherm has.
  std::vector<std::string> warnings;
  if (!NoBetResult(bet)) warnings = NBET::Warnings(bet);
  std::size_t negative = 0;
  for (double q : bet.fitQuantity) negative += q < 0.0 ? 1 : 0;
  if (negative > 0)
    warnings.push_back(std::to_string(negative) + " of the points in range " +
                       (negative == 1 ? "has" : "have") +
                       " a negative quantity adsorbed; review the isotherm");
  r.Add("", "Status",
        std::to_string(bet.status) + " (" + BETStatusText(bet.status) +
            (warnings.empty() ? std::string()
                              : ", with " + std::to_string(warnings.size()) + " warning" +
                                    (warnings.size() == 1 ? "" : "s") + " below") +
            ")");
  r.List("warnings", "", warnings);

  Table& used = r.AddTable("points_used", "Points used",
                           {{"point", "", 0, {}},
                            {"line", "", 0, {}},
                            {"", "where", 14, {}},
                            {"relative_pressure", "P/Po", 12, Dec(6)},
                            {"quantity_cm3_per_g_stp", "Q (cm3/g STP)", 16, Sig(6)},
                            {"bet_transform_g_per_cm3_stp", "1/[Q(Po/P-1)]", 16, Sig(6)}});
  auto line = [&iso](std::size_t i) {
    return iso.sourceLine[i] > 0 ? Value(static_cast<long long>(iso.sourceLine[i])) : Value();
  };
  for (std::size_t k = 0; k < run.rangeRows.size(); ++k) {
    const std::size_t i = run.rangeRows[k];
    used.Row({static_cast<long long>(i + 1), line(i), iso.PointName(i), bet.fitRelativePressure[k],
              bet.fitQuantity[k], bet.fitTransform[k]});
  }
  Table& dropped = r.AddTable("points_dropped", "",
                              {{"point", "", 0, {}},
                               {"line", "", 0, {}},
                               {"relative_pressure", "", 0, {}},
                               {"reason", "", 0, {}}});
  std::vector<std::string> droppedLines;
  for (std::size_t i : run.dropped) {
    const std::string reason = DroppedReason(iso.relativePressure[i]);
    dropped.Row({static_cast<long long>(i + 1), line(i), iso.relativePressure[i], reason});
    droppedLines.push_back(iso.PointName(i) + ": P/Po " + Num(iso.relativePressure[i]) + ", " +
                           reason);
  }
  if (!droppedLines.empty()) r.Text("").List("", "Points BET cannot use:", droppedLines);
  if (!warnings.empty()) r.Text("").List("", "Warnings:", warnings);
  return r;
}

}  // namespace

void AddBetCommand(CLI::App& app, Commands& commands) {
  auto opt = std::make_shared<BetOptions>();
  CLI::App* cmd = AddCommand(
      app, "bet", "BET surface area, C value and monolayer quantity of an isotherm",
      "Fits the BET equation to the adsorption-branch points of FILE whose relative\n"
      "pressure lies in the range, and prints the surface area with its standard error,\n"
      "C, the monolayer quantity Qm, the fitted line and the points used.\n",
      "exit codes: 0 ok, 1 unreadable or malformed file, 2 bad arguments,\n"
      "            3 no BET result (fewer than two points in range, no range passing\n"
      "              the --auto criteria, or a degenerate fit)\n");
  AddFileOperand(cmd, opt->file);
  AddInputOptions(cmd, opt->input);
  AddBetOptions(cmd, opt->bet);
  cmd->add_flag("--json", opt->json, "print the results as one JSON object");
  commands.Add(cmd, [opt](Streams& io) {
    if (opt->file.empty()) throw UsageError{"no isotherm FILE given"};
    const IsothermData iso = LoadIsotherm(opt->file, opt->input, io.err);
    const BetRun run = RunBetOn(iso, opt->bet);
    BetResult(*opt, iso, run).Print(io.out, opt->json);
    if (NoBetResult(*run.calc)) {
      io.err << "fiofla bet: " << opt->file << ": no BET result: " << NoResultReason(run) << "\n";
      return int(kExitNoResult);
    }
    return int(kExitOk);
  });
}

}  // namespace fiofla::cli
