// `fiofla hk`: the Horvath-Kawazoe micropore size distribution of an isotherm, as text or JSON.
#include <cmath>

#include "cli.h"
#include "cli_common.h"
#include "hk_options.h"
#include "result.h"

namespace fiofla::cli {
namespace {

struct HkOptions {
  std::string file;
  IsothermReadOptions input;
  HkSettings hk;
  bool json = false;
};

// The points without a width, by the file's point and line, as `bjh` lists its own.
void AddDroppedPoints(Result& r, const HkRun& run, const IsothermData& iso, double maxRelPress) {
  Table& dropped = r.AddTable("points_dropped", "",
                              {{"point", "", 0, {}},
                               {"line", "", 0, {}},
                               {"relative_pressure", "", 0, {}},
                               {"quantity_cm3_per_g_stp", "", 0, {}},
                               {"reason", "", 0, {}}});
  std::vector<std::string> lines;
  std::size_t aboveRange = 0;
  for (const auto& d : run.calc->GetDroppedPoints()) {
    const std::size_t i = d.index < run.isoIndex.size() ? run.isoIndex[d.index] : d.index;
    Value line;
    if (i < iso.sourceLine.size() && iso.sourceLine[i] > 0)
      line = static_cast<long long>(iso.sourceLine[i]);
    const std::string reason = HKDropReasonText(d.reason);
    dropped.Row({static_cast<long long>(i + 1), line, d.relPress, d.qtyAdsorbed, reason});
    // Points above the range are left out by choice; the text only counts them.
    if (d.reason == CHKCalc::eAboveRange)
      ++aboveRange;
    else
      lines.push_back(iso.PointName(i) + ": P/Po " + FormatNumber(d.relPress, Sig(6)) + ", " +
                      reason);
  }
  if (!lines.empty()) r.Text("").List("", "Points without a pore width:", lines);
  if (aboveRange > 0)
    r.Text("").Text(std::to_string(aboveRange) + " adsorption point" +
                    (aboveRange == 1 ? "" : "s") + " above P/Po " + Num(maxRelPress) +
                    " not used (--max-p-rel)");
}

int Hk(const HkOptions& o, Streams& io) {
  if (o.file.empty()) throw UsageError{"no isotherm FILE given"};
  const IsothermData iso = LoadIsotherm(o.file, o.input, io.err);
  return PrintHk(iso, o.file, o.hk, o.json, io);
}

}  // namespace

int PrintHk(const IsothermData& iso, const std::string& file, const HkSettings& settings, bool json,
            Streams& io) {
  const HkRun run = RunHkOn(iso, settings);
  const CHKCalc& hk = *run.calc;
  if (hk.GetStatus() != CHKCalc::STATUS_OK) {
    io.err << "fiofla hk: " << file << ": no Horvath-Kawazoe result (" << run.isoIndex.size()
           << " adsorption points, " << run.description << "): " << HKStatusText(hk.GetStatus())
           << "\n";
    return kExitNoResult;
  }
  const fiofla::HKPotential& pot = hk.GetPotential();
  Result r("Horvath-Kawazoe pore-size distribution of " + file);
  r.Add("file", "", file)
      .Add("geometry", "", std::string(HKGeometryName(settings.geometry)))
      .Add("method", "", std::string(HKMethodName(settings.method)))
      .Add("temperature_k", "", run.temperatureK)
      .Add("density_conversion", "", run.densityConversion)
      .Add("max_relative_pressure", "", settings.maxRelPress)
      .Text(run.description + ", P/Po up to " + Num(settings.maxRelPress))
      .Text("")
      .Add("micropore_volume_cm3_per_g", "Micropore volume", hk.GetMicroporeVolume(),
           "cm3/g liquid (" + Num(run.densityConversion) + " cm3 liquid per cm3 STP)", Dec(6))
      .Add("median_width_angstrom", "Median pore width", hk.GetMedianWidth(), "Å", Dec(3))
      .Add("volume_below_first_width_cm3_per_g", "Below the first width",
           hk.GetVolumeBelowFirstWidth(),
           "cm3/g in pores up to " + Num(hk.GetWidths().front(), 4) + " Å", Dec(6))
      .Add("narrowest_width_angstrom", "Narrowest pore", pot.MinWidth(),
           "Å (filled at P/Po " + Num(std::exp(pot.MinLnRelPress()), 4) + ")", Dec(3));
  if (settings.method == HKMethod::kChengYang)
    r.Add("langmuir_capacity_cm3_per_g_stp", "Langmuir capacity", hk.GetLangmuirCapacity(),
          "cm3/g STP (filling q/q_m of the correction)", Sig(6));
  Table& points = r.AddTable("points", "Points",
                             {{"relative_pressure", "P/Po", 12, Sig(5)},
                              {"quantity_cm3_per_g_stp", "Q (cm3/g STP)", 14, Sig(6)},
                              {"width_angstrom", "w (Å)", 10, Dec(3)},
                              {"cumulative_volume_cm3_per_g", "cum V (cm3/g)", 14, Dec(6)}});
  for (std::size_t k = 0; k < hk.GetWidths().size(); ++k)
    points.Row({hk.GetRelPress()[k], hk.GetQtyAdsorbed()[k], hk.GetWidths()[k],
                hk.GetCumulativeVolumes()[k]});
  CNumVector<double> w, avg, vol, dif, logDif;
  hk.GetPoreWidths(w);
  hk.GetAverageWidths(avg);
  hk.GetIncrementalVolume(vol);
  hk.GetDifferentialVolume(dif);
  hk.GetLogDifferentialVolume(logDif);
  Table& t = r.AddTable("intervals", "Pore intervals",
                        {{"width_from_angstrom", "w from (Å)", 11, Dec(3)},
                         {"width_to_angstrom", "w to (Å)", 11, Dec(3)},
                         {"average_width_angstrom", "w avg (Å)", 11, Dec(3)},
                         {"incremental_volume_cm3_per_g", "V (cm3/g)", 12, Dec(6)},
                         {"dv_dw_cm3_per_g_per_angstrom", "dV/dw", 12, Sig(5)},
                         {"dv_dlogw_cm3_per_g", "dV/dlogw", 12, Sig(5)}});
  for (std::size_t k = 0; k < avg.size(); ++k)
    t.Row({w[k], w[k + 1], avg[k], vol[k], dif[k], logDif[k]});
  AddDroppedPoints(r, run, iso, settings.maxRelPress);
  r.Print(io.out, json);
  return kExitOk;
}

void AddHkCommand(CLI::App& app, Commands& commands) {
  auto o = std::make_shared<HkOptions>();
  CLI::App* cmd = AddCommand(
      app, "hk", "Horvath-Kawazoe micropore size distribution",
      "Gives each adsorption point up to --max-p-rel the width of the pore it fills, from the\n"
      "mean Lennard-Jones potential in a slit (Horvath and Kawazoe 1983), cylinder (Saito and\n"
      "Foley 1991) or sphere (Cheng and Yang 1994), optionally with the Cheng-Yang correction\n"
      "or in layers (Rege and Yang 2000). Prints the micropore volume, the median width, the\n"
      "width of every point with the cumulative pore volume, and per interval dV/dw and\n"
      "dV/dlog(w).\n",
      "exit codes: 0 ok, 1 unreadable file, 2 bad arguments, 3 no Horvath-Kawazoe result\n");
  AddFileOperand(cmd, o->file);
  AddInputOptions(cmd, o->input);
  AddHkOptions(cmd, o->hk);
  cmd->add_flag("--json", o->json, "print the results as one JSON object");
  commands.Add(cmd, [o](Streams& io) { return Hk(*o, io); });
}

}  // namespace fiofla::cli
