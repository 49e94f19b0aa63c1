// `fiofla dft`: the DFT pore-size distribution of an isotherm (or of two isotherms of one
// sample with two kernels), as text or JSON.
#include <cmath>

#include "cli.h"
#include "cli_common.h"
#include "dft_options.h"
#include "fiofla/report_dft.h"
#include "result.h"

namespace fiofla::cli {
namespace {

struct DftOptions {
  std::string file;
  IsothermReadOptions input;
  DftSettings dft;
  bool json = false;
};

// The points the kernel fits worst, largest relative error first.
void AddWorstPoints(Result& r, CDFTCalc const& calc) {
  const std::vector<std::size_t> order = WorstFitPoints(calc);
  Table& t = r.AddTable("worst_points", "Largest relative errors",
                        {{"relative_pressure", "P/Po", 12, Sig(4)},
                         {"measured_cm3_per_g_stp", "measured", 12, Sig(6)},
                         {"fitted_cm3_per_g_stp", "fitted", 12, Sig(6)},
                         {"relative_error", "rel. error", 12, Sig(3)}});
  for (std::size_t k : order)
    t.Row({calc.GetFitPressures()[k], calc.GetFitMeasured()[k], calc.GetFitQuantities()[k],
           calc.RelError(static_cast<unsigned short>(k))});
}

int Dft(const DftOptions& o, Streams& io) {
  if (o.file.empty()) throw UsageError{"no isotherm FILE given"};
  if (o.dft.kernel.empty()) throw UsageError{"no --kernel given (see `fiofla kernel list`)"};
  if (o.dft.kernel2.empty() != o.dft.file2.empty())
    throw UsageError{"--kernel2 and --file2 go together"};
  const IsothermData iso = LoadIsotherm(o.file, o.input, io.err);
  std::optional<IsothermData> iso2;
  if (!o.dft.file2.empty()) iso2 = LoadIsotherm(o.dft.file2, o.input, io.err);
  const DftRun run = RunDftOn(iso, iso2 ? &*iso2 : nullptr, o.dft);
  const CDFTCalc& calc = *run.calc;
  const int status = calc.GetStatus();
  CNumVector<double> w, vol, cumVol, difVol, logVol, area, cumArea;
  calc.GetPoreDiameters(w);
  // Statuses 2, 4 and 9 keep a result that is reported with its warning.
  if (w.size() == 0) {
    io.err << "fiofla dft: " << o.file << ": no DFT result: " << DftStatusText(status);
    for (const std::string& warning : calc.Warnings()) io.err << "; " << warning;
    io.err << "\n";
    return status == 1 ? kExitInputError : kExitNoResult;
  }
  calc.GetIncrementalVolume(vol);
  calc.GetCumulativeVolume(cumVol);
  calc.GetDifferentialVolume(difVol);
  calc.GetLogDifferentialVolume(logVol);
  calc.GetIncrementalArea(area);
  calc.GetCumulativeArea(cumArea);

  Result r("DFT pore-size distribution of " + o.file + (iso2 ? " and " + o.dft.file2 : ""));
  r.Add("file", "", o.file);
  if (iso2) r.Add("file2", "", o.dft.file2);
  r.Add("kernel", "", run.kernelPath);
  if (iso2) r.Add("kernel2", "", run.kernelPath2);
  r.Add("status", "", static_cast<long long>(status))
      .Add("status_text", "", std::string(DftStatusText(status)))
      .Text(run.description)
      .Text("")
      .Add("total_pore_volume_cm3_per_g", "Total pore volume", calc.GetTotalPoreVolume(),
           "cm3/g (pores of " + Num(w[0], 4) + " to " + Num(w[w.size() - 1], 4) + " Å)", Dec(6))
      .Add("total_surface_area_m2_per_g", "Total surface area", calc.GetTotalSurfaceArea(), "m2/g",
           Dec(4))
      .Add("lambda", "Lambda", calc.GetLambda(), LambdaMethodText(calc.GetLambdaMethod()), Sig(4))
      .Add("degrees_of_freedom", "Degrees of freedom", calc.GetDegreesOfFreedom(), "", Dec(2))
      .Add("bspline_knot_intervals", "B-spline intervals",
           static_cast<long long>(calc.GetNumKnotIntervals()),
           calc.IsBSplineSolution() ? "" : "(one value per class)")
      .Add("rms_error_cm3_per_g_stp", "RMS fit error", calc.RMSError(), "cm3/g STP", Sig(4))
      .Add("roughness", "Roughness", calc.GetRoughness(), "", Sig(4))
      .Add("points", "Points fitted", static_cast<long long>(calc.GetFitPressures().size()));
  AddWorstPoints(r, calc);
  Table& t = r.AddTable("classes", "Pore classes",
                        {{"width_angstrom", "w (Å)", 10, Dec(2)},
                         {"incremental_volume_cm3_per_g", "V (cm3/g)", 12, Dec(6)},
                         {"cumulative_volume_cm3_per_g", "cum V", 12, Dec(6)},
                         {"dv_dw_cm3_per_g_per_angstrom", "dV/dw", 12, Sig(5)},
                         {"dv_dlogw_cm3_per_g", "dV/dlogw", 12, Sig(5)},
                         {"incremental_area_m2_per_g", "A (m2/g)", 11, Dec(4)},
                         {"cumulative_area_m2_per_g", "cum A", 11, Dec(4)}});
  for (std::size_t k = 0; k < w.size(); ++k)
    t.Row({w[k], vol[k], cumVol[k], difVol[k], logVol[k], area[k], cumArea[k]});
  Table& fit = r.AddTable("fit", "",
                          {{"relative_pressure", "", 0, {}},
                           {"measured_cm3_per_g_stp", "", 0, {}},
                           {"fitted_cm3_per_g_stp", "", 0, {}},
                           {"gas", "", 0, {}}});
  for (std::size_t k = 0; k < calc.GetFitPressures().size(); ++k)
    fit.Row({calc.GetFitPressures()[k], calc.GetFitMeasured()[k], calc.GetFitQuantities()[k],
             static_cast<long long>(k < calc.GetNumPoints() ? 1 : 2)});
  r.List("warnings", "", calc.Warnings());
  if (!calc.Warnings().empty()) r.Text("").List("", "Warnings:", calc.Warnings());
  r.Print(io.out, o.json);
  return kExitOk;
}

}  // namespace

void AddDftCommand(CLI::App& app, Commands& commands) {
  auto o = std::make_shared<DftOptions>();
  CLI::App* cmd = AddCommand(
      app, "dft", "DFT pore-size distribution from a kernel",
      "Expresses the adsorption branch as a non-negative combination of a kernel's\n"
      "isotherms of single pores, with a roughness penalty whose weight is chosen by\n"
      "generalised cross-validation unless given. Prints the total pore volume and area,\n"
      "the fit, and per pore width the incremental and cumulative volume and area, dV/dw\n"
      "and dV/dlog(w). With --kernel2 and --file2 two isotherms of one sample (nitrogen\n"
      "and carbon dioxide, say) are fitted to one distribution over the widths both\n"
      "kernels cover.\n",
      "exit codes: 0 ok, 1 unreadable file or kernel, 2 bad arguments, 3 no DFT result\n");
  AddFileOperand(cmd, o->file);
  AddInputOptions(cmd, o->input);
  AddDftOptions(cmd, o->dft, true);
  cmd->add_flag("--json", o->json, "print the results as one JSON object");
  commands.Add(cmd, [o](Streams& io) { return Dft(*o, io); });
}

}  // namespace fiofla::cli
