// `fiofla tplot` and `fiofla bjh`: the t-plot and the BJH pore-size distribution of an
// isotherm, as text or JSON.
#include <algorithm>
#include <cmath>

#include "cli.h"
#include "cli_common.h"
#include "pore_options.h"
#include "result.h"

namespace fiofla::cli {
namespace {

struct PoreOptions {
  std::string file;
  IsothermReadOptions input;
  PoreSettings pore;
  bool json = false;
};

CLI::App* AddPoreCommand(CLI::App& app, const char* name, const char* summary,
                         const char* description, const char* footer, PoreOptions& o) {
  CLI::App* cmd = AddCommand(app, name, summary, description, footer);
  AddFileOperand(cmd, o.file);
  AddInputOptions(cmd, o.input);
  AddCommonPoreOptions(cmd, o.pore);
  cmd->add_flag("--json", o.json, "print the results as one JSON object");
  return cmd;
}

// Why a t-plot found too few points, with what would have helped: the thickness span the
// data cover, and a hint when the range looks like nanometres.
std::string TooFewPointsInRange(const CTPlotCalc& t) {
  std::string why = "fewer than 2 points between t = " + Num(t.m_ThicknessMin) + " and " +
                    Num(t.m_ThicknessMax) + " Å (the range is in Å)";
  double lo = HUGE_VAL, hi = -HUGE_VAL;
  for (double x : t.m_Thickness)
    if (std::isfinite(x) && x > 0.0) {
      lo = std::min(lo, x);
      hi = std::max(hi, x);
    }
  if (lo <= hi)
    why += "; the adsorption points cover t = " + Num(lo, 4) + " to " + Num(hi, 4) + " Å";
  if (t.m_ThicknessMax < 1.0) why += "; a range in nm needs multiplying by 10";
  return why;
}

// What a physical t-plot cannot give, in words: negative areas or volume, a poor line.
std::vector<std::string> TPlotWarnings(const CTPlotCalc& t) {
  std::vector<std::string> w;
  if (t.m_ExternalArea < 0.0)
    w.push_back("External area: the slope is negative (" + Num(t.m_ExternalArea) +
                " m2/g); the thickness range does not lie on the multilayer part of the "
                "isotherm: choose another --t-range");
  if (t.m_MicroporeVolume < 0.0)
    w.push_back("Micropore volume: the intercept is negative (" + Num(t.m_MicroporeVolume) +
                " cm3/g); read it as no micropores, or choose another --t-range");
  if (t.m_Status == 0 && t.m_MicroporeArea < 0.0)
    w.push_back("Micropore area: the external area exceeds the BET area (" +
                Num(t.m_MicroporeArea) + " m2/g); read it as no micropores");
  if (t.m_Correlation < 0.995)
    w.push_back("Correlation coefficient: " + Num(t.m_Correlation) +
                " is below 0.995; the points in the thickness range do not lie on a line");
  return w;
}

int TPlot(const PoreOptions& o, Streams& io) {
  if (o.file.empty()) throw UsageError{"no isotherm FILE given"};
  const IsothermData iso = LoadIsotherm(o.file, o.input, io.err);
  double area = 0.0;
  if (o.pore.betAreaM2PerG) {
    area = *o.pore.betAreaM2PerG;
  } else {
    const BetRun run = RunBetOn(iso, BetSettings());
    if (!NoBetResult(*run.calc)) area = run.calc->surfaceArea;
  }
  const auto calc = RunTPlotOn(iso, o.pore, area);
  const CTPlotCalc& t = *calc;
  if (t.m_Status != 0 && t.m_Status != 1) {
    io.err << "fiofla tplot: " << o.file << ": no t-plot result: "
           << (t.m_Status == 4 ? TooFewPointsInRange(t) : TPlotStatusText(t.m_Status)) << "\n";
    return kExitNoResult;
  }
  const std::string curve = o.pore.ThicknessName();
  Result r("t-plot of " + o.file);
  r.Add("file", "", o.file)
      .Add("thickness_curve", "", curve)
      .Add("status", "", static_cast<long long>(t.m_Status))
      .Add("thickness_min_angstrom", "", t.m_ThicknessMin)
      .Add("thickness_max_angstrom", "", t.m_ThicknessMax)
      .Text("thickness curve " + curve + ", fitted over t = " + Num(t.m_ThicknessMin) + " to " +
            Num(t.m_ThicknessMax) + " Å")
      .Text("")
      .Add("micropore_volume_cm3_per_g", "Micropore volume", t.m_MicroporeVolume, "cm3/g", Dec(6))
      .Error("micropore_volume_error", t.m_MicroporeVolumeError, Sig(3))
      .Add("external_area_m2_per_g", "External area", t.m_ExternalArea, "m2/g", Dec(4))
      .Error("external_area_error", t.m_ExternalAreaError, Sig(3));
  if (t.m_Status == 0)
    r.Add("micropore_area_m2_per_g", "Micropore area", t.m_MicroporeArea,
          "m2/g (total " + Num(t.m_TotalSurfaceArea) + " m2/g)", Dec(4));
  else
    r.Add("micropore_area_m2_per_g", "", NAN)
        .Add("", "Micropore area", std::string("n/a: ") + TPlotStatusText(t.m_Status));
  r.Add("total_area_m2_per_g", "", t.m_TotalSurfaceArea)
      .Add("slope_cm3_per_g_per_angstrom", "Slope", t.m_Slope, "cm3/g STP per Å")
      .Error("slope_error", t.m_SlopeError, Sig(3))
      .Add("intercept_cm3_per_g", "Intercept", t.m_Intercept, "cm3/g STP")
      .Error("intercept_error", t.m_InterceptError, Sig(3))
      .Add("correlation", "Correlation", t.m_Correlation, "", Dec(8));
  Table& points = r.AddTable("points", "",
                             {{"relative_pressure", "", 0, {}},
                              {"thickness_angstrom", "", 0, {}},
                              {"quantity_adsorbed_cm3_per_g_stp", "", 0, {}},
                              {"fitted", "", 0, {}}});
  for (std::size_t i = 0; i < t.m_Thickness.size(); ++i) {
    const bool fitted =
        t.m_Thickness[i] >= t.m_ThicknessMin && t.m_Thickness[i] <= t.m_ThicknessMax;
    points.Row({t.m_RelPress[i], t.m_Thickness[i], t.m_QtyAdsorbed[i], fitted});
  }
  const std::vector<std::string> warnings = TPlotWarnings(t);
  r.List("warnings", "", warnings);
  if (!warnings.empty()) r.Text("").List("", "Warnings:", warnings);
  r.Print(io.out, o.json);
  return kExitOk;
}

int Bjh(const PoreOptions& o, Streams& io) {
  if (o.file.empty()) throw UsageError{"no isotherm FILE given"};
  const IsothermData iso = LoadIsotherm(o.file, o.input, io.err);
  const BjhRun run = RunBjhOn(iso, o.pore);
  const CBJHCalc& bjh = *run.calc;
  const char* branch = run.adsorption ? "adsorption" : "desorption";
  if (bjh.GetStatus() != CBJHCalc::STATUS_OK) {
    io.err << "fiofla bjh: " << o.file << ": no BJH result from the " << branch << " branch ("
           << run.points << " points): " << BjhStatusText(bjh.GetStatus()) << "\n";
    return kExitNoResult;
  }
  CNumVector<double> d, avg, vol, cumVol, logVol, area, cumArea;
  bjh.GetPoreDiameters(d);
  bjh.GetAverageDiameters(avg);
  bjh.GetIncrementalVolume(vol);
  bjh.GetCumulativeVolume(cumVol, true);
  bjh.GetLogDifferentialVolume(logVol, false);
  bjh.GetIncrementalArea(area);
  bjh.GetCumulativeArea(cumArea, true);
  const std::string curve = o.pore.ThicknessName();
  Result r("BJH pore-size distribution of " + o.file);
  r.Add("file", "", o.file)
      .Add("branch", "", std::string(branch))
      .Add("method", "", o.pore.method)
      .Add("thickness_curve", "", curve)
      .Add("kelvin_constant_angstrom", "", o.pore.kelvinAngstrom)
      .Array("diameter_range_angstrom", {o.pore.dLowAngstrom, o.pore.dHighAngstrom})
      .Text(std::string(branch) + " branch, " + o.pore.method + " method, thickness curve " +
            curve + ", Kelvin constant " + Num(o.pore.kelvinAngstrom) + " Å")
      .Text("")
      .Add("total_pore_volume_cm3_per_g", "Total pore volume", bjh.GetTotalPoreVolume(),
           "cm3/g (pores of " + Num(o.pore.dLowAngstrom) + " to " + Num(o.pore.dHighAngstrom) +
               " Å)",
           Dec(6))
      .Add("total_pore_area_m2_per_g", "Total pore area", bjh.GetTotalPoreArea(), "m2/g", Dec(4))
      .Add("volume_below_range_cm3_per_g", "Smaller pores", bjh.GetVolumeBelowRange(),
           "cm3/g below " + Num(o.pore.dLowAngstrom) + " Å (not in the total)", Dec(6))
      .Add("volume_above_range_cm3_per_g", "Larger pores", bjh.GetVolumeAboveRange(),
           "cm3/g above " + Num(o.pore.dHighAngstrom) + " Å (not in the total)", Dec(6));
  auto at = [](const CNumVector<double>& v, std::size_t k) { return k < v.size() ? v[k] : NAN; };
  Table& t = r.AddTable("intervals", "Pore intervals",
                        {{"diameter_from_angstrom", "D from (Å)", 11, Dec(2)},
                         {"diameter_to_angstrom", "D to (Å)", 11, Dec(2)},
                         {"average_diameter_angstrom", "Davg (Å)", 11, Dec(2)},
                         {"incremental_volume_cm3_per_g", "V (cm3/g)", 12, Dec(6)},
                         {"cumulative_volume_cm3_per_g", "cum V", 12, Dec(6)},
                         {"dv_dlogd_cm3_per_g", "dV/dlogD", 11, Dec(5)},
                         {"incremental_area_m2_per_g", "A (m2/g)", 11, Dec(4)},
                         {"cumulative_area_m2_per_g", "cum A", 11, Dec(4)}});
  for (std::size_t k = 0; k < avg.size(); ++k)
    t.Row({d[k], d[k + 1], avg[k], vol[k], at(cumVol, k), at(logVol, k), area[k], at(cumArea, k)});
  AddBjhAccounting(r, run, iso);
  r.Print(io.out, o.json);
  return kExitOk;
}

}  // namespace

void AddPoreCommands(CLI::App& app, Commands& commands) {
  auto tplot = std::make_shared<PoreOptions>();
  CLI::App* cmd = AddPoreCommand(
      app, "tplot", "t-plot: micropore volume, external and micropore areas",
      "Plots the quantity adsorbed against the statistical film thickness t(P/Po) and fits\n"
      "a line over the thickness range: the slope gives the external surface area, the\n"
      "intercept the micropore volume, and the BET area less the external area the\n"
      "micropore area.\n",
      "exit codes: 0 ok, 1 unreadable file, 2 bad arguments, 3 no t-plot result\n", *tplot);
  AddTPlotOptions(cmd, tplot->pore, true);
  commands.Add(cmd, [tplot](Streams& io) { return TPlot(*tplot, io); });

  auto bjh = std::make_shared<PoreOptions>();
  cmd = AddPoreCommand(
      app, "bjh", "BJH pore-size distribution of one branch",
      "BJH pore-size distribution (Barrett, Joyner and Halenda 1951) of one branch: the\n"
      "pores emptying at each step of the branch, by the Kelvin equation plus the film of\n"
      "the thickness curve, with the film thinning on pores already emptied taken off.\n"
      "Prints per interval the diameters, the incremental and cumulative pore volume and\n"
      "area, and dV/dlog(D). Without --branch the desorption branch is used, or the\n"
      "adsorption branch when the isotherm has no desorption points.\n",
      "exit codes: 0 ok, 1 unreadable file, 2 bad arguments, 3 no BJH result\n", *bjh);
  AddBjhOptions(cmd, bjh->pore);
  commands.Add(cmd, [bjh](Streams& io) { return Bjh(*bjh, io); });
}

}  // namespace fiofla::cli
