// `fiofla heat`: the isosteric heat of adsorption from isotherms at several temperatures, and
// the heat of desorption from temperature-programmed peaks at several ramp rates.
#include <algorithm>
#include <cmath>

#include "cli.h"
#include "cli_common.h"
#include "fiofla/gas_virial.h"
#include "fiofla/gashoa.h"
#include "fiofla/io/ramp_runs_file.h"
#include "fiofla/report_heat.h"
#include "fit_options.h"
#include "heat_options.h"
#include "report_out.h"
#include "result.h"

namespace fiofla::cli {
namespace {

struct IsostericOptions {
  std::vector<std::string> files;
  IsothermReadOptions input;
  IsostericSettings heat;
  bool json = false;
};

struct DynamicOptions {
  std::string file;
  bool json = false;
};

// The adsorption branch of one file, pressures in kPa and loadings in the file's unit.
struct IsothermAtT {
  std::string file;
  double temperatureK;
  FitInput points;
};

// The fitted virial equation: its orders, coefficients, Henry constants and residual.
void AddVirialSummary(Result& r, const NIsothermModel::CVirialExpansion& v, const std::string& unit,
                      std::vector<std::string>& lines) {
  const auto& a = v.GetA();
  const auto& b = v.GetB();
  r.Begin("virial", "Virial equation ln P = ln N + (1/T) sum a_i N^i + sum b_j N^j")
      .Add("order_a", "Order of the a_i", static_cast<long long>(a.size()) - 1)
      .Add("order_b", "Order of the b_j", static_cast<long long>(b.size()) - 1)
      .Array("a", a)
      .Array("b", b)
      .Add("residual_sd_ln_p", "Residual s.d. of ln P", v.GetResidualStdDev(), "", Sig(4))
      .Add("aicc", "AICc", v.GetAICc(), "", Dec(2))
      .Add("points", "Points", static_cast<long long>(v.GetPointCount()));
  std::string as, bs;
  for (std::size_t i = 0; i < a.size(); ++i)
    as += (i ? ", " : "") + std::string("a") + std::to_string(i) + " = " + Num(a[i]);
  for (std::size_t j = 0; j < b.size(); ++j)
    bs += (j ? ", " : "") + std::string("b") + std::to_string(j) + " = " + Num(b[j]);
  r.Text("a_i (K per (" + unit + ")^i): " + as).Text("b_j (per (" + unit + ")^j): " + bs);
  Table& henry = r.AddTable("henry_constants", "Henry constants",
                            {{"temperature_k", "T (K)", 10, Sig(6)},
                             {"henry_constant", "K_H (" + unit + "/kPa)", 20, Sig(6)}});
  const auto k = v.GetHenryConstants();
  for (std::size_t i = 0; i < k.size(); ++i) henry.Row({v.GetTemperatures()[i], k[i]});
  r.End();
  lines.push_back("Virial fit: orders " + std::to_string(a.size() - 1) + " (a_i) and " +
                  std::to_string(b.size() - 1) + " (b_j), " + as + "; " + bs +
                  "; residual s.d. of ln P " + Num(v.GetResidualStdDev(), 3));
}

int Dynamic(const DynamicOptions& o, Streams& io) {
  if (o.file.empty()) throw UsageError{"no RUNS.csv given"};
  const std::vector<RampRun> runs = ReadRampRunsCsv(o.file);
  std::vector<CDynamicHeatCalc::STempRampRate> used;
  std::vector<std::string> skipped;
  for (const RampRun& run : runs) {
    const std::string line = "line " + std::to_string(run.line) + ": ";
    if (!(run.peakTemperatureK > 0.0))
      skipped.push_back(line + "peak temperature " + Num(run.peakTemperatureK) +
                        " K is not positive");
    else if (!(run.rampRateKPerMin > 0.0))
      skipped.push_back(line + "ramp rate " + Num(run.rampRateKPerMin) + " K/min is not positive");
    else
      used.push_back({run.peakTemperatureK, run.rampRateKPerMin});
  }
  const CDynamicHeatCalc calc(used);
  Result r("Heat of desorption from " + o.file);
  r.Add("file", "", o.file)
      .Add("runs", "Runs used", static_cast<long long>(used.size()))
      .Add("heat_of_desorption_kj_per_mol", "Heat of desorption", calc.GetHeatOfDesorption(),
           "kJ/mol", Sig(6))
      .Error("heat_error_kj_per_mol", calc.GetHeatError(), Sig(3))
      .Add("slope_k", "Slope", calc.GetFitSlope(), "K")
      .Error("slope_error_k", calc.GetFitSlopeError(), Sig(3))
      .Add("intercept", "Intercept", calc.GetFitYIntercept())
      .Error("intercept_error", calc.GetFitYInterceptError(), Sig(3))
      .Add("correlation", "Correlation", calc.GetFitCorrCoef(), "", Sig(8));
  r.Text("(line ln(Tp^2/rate) = slope/Tp + intercept, rate in K/min)");
  r.List("skipped", skipped.empty() ? "" : "Skipped:", skipped);
  r.Print(io.out, o.json);
  if (!calc.IsValid()) {
    io.err << "fiofla heat dynamic: " << o.file << ": fewer than two usable runs\n";
    return kExitNoResult;
  }
  return kExitOk;
}

int Isosteric(const IsostericOptions& o, Streams& io) {
  if (o.files.size() < 2) throw UsageError{"two or more isotherm FILEs are needed"};
  IsothermReadOptions input = o.input;
  input.requirePo = false;  // gases above their critical point have no Po
  input.noteMissingPo = false;
  std::vector<IsothermData> read;
  for (const std::string& file : o.files) read.push_back(LoadIsotherm(file, input, io.err));
  std::vector<const IsothermData*> isotherms;
  for (const IsothermData& iso : read) isotherms.push_back(&iso);
  return PrintIsosteric(isotherms, o.files, o.heat, o.json, io);
}

}  // namespace

int PrintIsosteric(const std::vector<const IsothermData*>& data,
                   const std::vector<std::string>& names, const IsostericSettings& o, bool json,
                   Streams& io, CGasCompressibilityCache* gasCache) {
  if (data.size() < 2) throw UsageError{"two or more isotherm FILEs are needed"};
  if (!o.virial && o.orderA >= 0) throw UsageError{"--orders goes with --method virial"};
  std::vector<IsothermAtT> isotherms;
  for (std::size_t k = 0; k < data.size(); ++k) {
    const IsothermData& iso = *data[k];
    const std::string& file = names[k];
    if (!(iso.info.temperatureK > 0.0))
      throw InputError(file + ": gives no temperature (add '# temperature: 298.15 K')");
    if (iso.pressureMmHg.size() != iso.size())
      throw InputError(file +
                       ": gives relative pressures only and no Po; the isosteric heat "
                       "needs absolute pressures (give --p0)");
    FitSettings s;
    s.pressureUnit = "kPa";
    s.gasCache = gasCache;
    isotherms.push_back({file, iso.info.temperatureK, PrepareFitInput(iso, file, s)});
    const IsothermAtT& b = isotherms.back();
    if (b.points.loadingUnit != isotherms.front().points.loadingUnit)
      throw InputError(file + ": loadings in " + b.points.loadingUnit + ", but " +
                       isotherms.front().file + " has them in " +
                       isotherms.front().points.loadingUnit + "; convert one first");
  }
  const std::string unit = isotherms.front().points.loadingUnit;

  double low = o.low, high = o.high;
  if (!o.loadingsGiven) {
    low = -HUGE_VAL;
    high = HUGE_VAL;
    for (const IsothermAtT& b : isotherms) {
      const auto [mn, mx] = std::minmax_element(b.points.loadings.begin(), b.points.loadings.end());
      low = std::max(low, *mn);
      high = std::min(high, *mx);
    }
    if (!(low < high)) {
      io.err << "fiofla heat isosteric: the isotherms share no range of loadings; give "
                "--loadings\n";
      return kExitNoResult;
    }
  }

  Result r("Isosteric heat of adsorption from " + std::to_string(isotherms.size()) + " isotherms");
  r.Add("loading_unit", "Loading unit", unit);
  Table& files = r.AddTable("isotherms", "",
                            {{"file", "file", 40, {}},
                             {"temperature_k", "T (K)", 10, Sig(6)},
                             {"points", "points", 8, {}}});
  for (const IsothermAtT& b : isotherms)
    files.Row({b.file, b.temperatureK, static_cast<long long>(b.points.loadings.size())});
  r.Text("");
  SHeatSection page;
  page.loadingUnit = unit;
  page.pressureUnit = "kPa";
  for (const IsothermAtT& b : isotherms)
    page.lines.push_back("Isotherm: " + b.file + " at " + Num(b.temperatureK) + " K, " +
                         std::to_string(b.points.loadings.size()) + " points");

  std::unique_ptr<NIsothermModel::CVirialExpansion> virial;
  if (o.virial) {
    std::vector<NIsothermModel::CVirialExpansion::SIsotherm> fitted;
    for (const IsothermAtT& b : isotherms) {
      fitted.push_back({b.temperatureK, {}});
      for (std::size_t i = 0; i < b.points.pressures.size(); ++i)
        fitted.back().points.push_back({b.points.pressures[i], b.points.loadings[i]});
    }
    NIsothermModel::CVirialExpansion::SOptions vo;
    vo.orderA = o.orderA;
    vo.orderB = o.orderB;
    virial = std::make_unique<NIsothermModel::CVirialExpansion>(fitted, vo);
    if (!virial->IsValid()) {
      io.err << "fiofla heat isosteric: the virial equation cannot be fitted: too few points "
                "for its orders\n";
      return kExitNoResult;
    }
    AddVirialSummary(r, *virial, unit, page.lines);
  }

  Table& t = r.AddTable("heats", "Isosteric heat",
                        {{"loading", "loading (" + unit + ")", 20, Sig(6)},
                         {"qst_kj_per_mol", "Qst (kJ/mol)", 14, Sig(5)},
                         {"qst_error_kj_per_mol", "+/-", 10, Sig(3)},
                         {"isotherms_used", "isotherms", 10, {}},
                         {"note", "note", 0, {}}});
  int ok = 0;
  for (int k = 0; k < o.count; ++k) {
    // The last loading is HI itself: low + (high - low) can round past HI, and past the
    // last point of the isotherm that sets HI, which would then not reach it.
    const double q =
        k == o.count - 1 && o.count > 1 ? high : low + (high - low) * k / std::max(1, o.count - 1);
    SIsostere isostere;
    isostere.loading = q;
    double heat = NAN, error = NAN;
    long long used = 0;
    std::string note;
    if (virial) {
      heat = virial->GetIsostericHeat(q);
      error = virial->GetIsostericHeatError(q);
      for (const IsothermAtT& b : isotherms) {
        const auto [mn, mx] =
            std::minmax_element(b.points.loadings.begin(), b.points.loadings.end());
        used += q >= *mn && q <= *mx ? 1 : 0;
        isostere.inverseTemperature.push_back(1.0 / b.temperatureK);
        isostere.lnPressure.push_back(virial->GetLnPressure(q, b.temperatureK));
      }
      // ln P is linear in 1/T at fixed N: two temperatures give the line exactly.
      const double t1 = isotherms.front().temperatureK, t2 = 2.0 * t1;
      isostere.slope =
          (virial->GetLnPressure(q, t1) - virial->GetLnPressure(q, t2)) / (1.0 / t1 - 1.0 / t2);
      isostere.intercept = virial->GetLnPressure(q, t1) - isostere.slope / t1;
      if (used < 2) note = "extrapolated: fewer than two isotherms reach it";
    } else {
      CIsostereCalc::CInput in(q);
      for (const IsothermAtT& b : isotherms) {
        CNumVector<double> p(b.points.pressures.size()), n(b.points.loadings.size());
        for (std::size_t i = 0; i < p.size(); ++i) {
          p[i] = b.points.pressures[i];
          n[i] = b.points.loadings[i];
        }
        in.AddIsotherm(p, n, b.temperatureK);
      }
      const CIsostereCalc calc(in);
      used = static_cast<long long>(calc.GetData().size());
      for (const CIsostereCalc::SData& d : calc.GetData()) {
        isostere.inverseTemperature.push_back(d.x);
        isostere.lnPressure.push_back(d.y);
      }
      isostere.slope = calc.GetSlope();
      isostere.intercept = calc.GetIntercept();
      if (calc.IsOK()) {
        heat = calc.HeatOfAdsorption();
        error = calc.GetUncertainty();
      } else {
        note = "fewer than two isotherms reach it";
      }
    }
    const bool has = std::isfinite(heat);
    ok += has ? 1 : 0;
    t.Row({q, has ? Value(heat) : Value(), has ? Value(error) : Value(), used, note});
    page.loadings.push_back(q);
    page.heats.push_back(heat);
    page.errors.push_back(error);
    if (has) page.isosteres.push_back(std::move(isostere));
  }
  if (!o.report.empty()) {
    CReportPageData report(CStr("Isosteric heat report"));
    AddIsostericHeatSection(
        page,
        CStr(o.virial ? "thermal virial equation fitted to all isotherms at once; Qst = -R sum "
                        "a_i N^i"
                      : "Clausius-Clapeyron: ln P against 1/T at each loading, the isotherms "
                        "interpolated by monotone cubics; Qst = -R slope"),
        &report, nullptr);
    std::string files;
    for (const IsothermAtT& b : isotherms) files += (files.empty() ? "" : ", ") + b.file;
    WriteReportPages({&report}, "Isosteric heat report", "Isotherms: " + files, o.report,
                     "fiofla heat isosteric", std::to_string(isotherms.size()) + " isotherms",
                     json ? io.err : io.out);
  }
  r.Print(io.out, json);
  if (ok == 0) {
    io.err << "fiofla heat isosteric: no loading is reached by two isotherms\n";
    return kExitNoResult;
  }
  return kExitOk;
}

void AddIsostericOptions(CLI::App* cmd, IsostericSettings& s) {
  cmd->add_option_function<std::string>(
         "--loadings",
         [&s](const std::string& v) {
           const auto colon = v.rfind(':');
           if (colon == std::string::npos)
             throw UsageError{"--loadings '" + v + "' is not LO:HI:N"};
           const auto range = ParseRange("--loadings", v.substr(0, colon));
           const auto n = ToDouble(v.substr(colon + 1));
           if (!n || *n < 1 || *n != std::floor(*n) || *n > 10000)
             throw UsageError{"--loadings '" + v + "': N is not a whole number from 1 to 10000"};
           s.low = range.first;
           s.high = range.second;
           s.count = static_cast<int>(*n);
           s.loadingsGiven = true;
         },
         "N loadings evenly spaced from LO to HI inclusive, in the files' loading unit\n"
         "(default: 10 over the range all isotherms share)")
      ->type_name("LO:HI:N");
  cmd->add_option_function<std::string>(
         "--method",
         [&s](const std::string& v) {
           if (v != "clausius-clapeyron" && v != "virial")
             throw UsageError{"--method '" + v + "' is not clausius-clapeyron or virial"};
           s.virial = v == "virial";
         },
         "clausius-clapeyron (default): a line through the isotherms interpolated at each\n"
         "loading; virial: the thermal virial equation fitted to all points at once")
      ->type_name("M");
  cmd->add_option_function<std::string>(
         "--orders",
         [&s](const std::string& v) {
           const auto comma = v.find(',');
           const auto m = ToDouble(v.substr(0, comma));
           const auto k = comma == std::string::npos ? std::nullopt : ToDouble(v.substr(comma + 1));
           if (!m || !k || *m < 0 || *k < 0 || *m > 10 || *k > 10 || *m != std::floor(*m) ||
               *k != std::floor(*k))
             throw UsageError{"--orders '" + v + "' is not M,K with whole numbers 0 to 10"};
           s.orderA = static_cast<int>(*m);
           s.orderB = static_cast<int>(*k);
         },
         "orders of the virial sums (a_0..a_M, b_0..b_K); default: chosen by AICc up to 6,4")
      ->type_name("M,K");
  cmd->add_option("--report", s.report,
                  "also write a report page (Qst with its error band, the isosteres); its\n"
                  "format from the extension: .html, .json or .txt")
      ->type_name("FILE");
}

void AddHeatCommand(CLI::App& app, Commands& commands) {
  CLI::App* heat = AddCommand(
      app, "heat", "heats of adsorption (isosteric) and desorption (dynamic)",
      "Heats from families of measurements by straight-line fits: the isosteric heat of\n"
      "adsorption from isotherms at several temperatures (Clausius-Clapeyron), and the heat\n"
      "of desorption from temperature-programmed peaks at several ramp rates (Kissinger).\n",
      "exit codes: 0 ok, 1 unreadable or malformed file, 2 bad arguments, 3 no result\n");
  heat->require_subcommand(0, 1);
  commands.Add(
      heat, [](Streams&) -> int { throw UsageError{"no subcommand given (isosteric, dynamic)"}; });

  auto iso = std::make_shared<IsostericOptions>();
  CLI::App* cmd = AddCommand(
      *heat, "isosteric", "isosteric heat of adsorption from isotherms at several temperatures",
      "Reads two or more isotherms of one gas, each with its temperature, and at each\n"
      "loading fits ln P against 1/T over the adsorption branches that reach it; Qst is\n"
      "-R times the slope. Loadings are in the files' loading unit, which must be the same\n"
      "in every file (fiofla convert rewrites a file in another unit). Each row says how many\n"
      "isotherms reached the loading; with fewer than two it has no heat. --method virial\n"
      "fits ln P = ln N + (1/T) sum a_i N^i + sum b_j N^j to all points at once instead and\n"
      "takes Qst = -R sum a_i N^i, with its standard error from the fit, and the Henry\n"
      "constant at each temperature.\n",
      "");
  cmd->add_option("FILE", iso->files, "the isotherms, one per temperature")->expected(-1);
  AddInputOptions(cmd, iso->input);
  AddIsostericOptions(cmd, iso->heat);
  cmd->add_flag("--json", iso->json, "print the result as JSON");
  commands.Add(cmd, [iso](Streams& io) { return Isosteric(*iso, io); });

  auto dyn = std::make_shared<DynamicOptions>();
  cmd = AddCommand(
      *heat, "dynamic", "heat of desorption from peak temperatures at several ramp rates",
      "Reads RUNS.csv, a header row 'peak_temperature [K],ramp_rate [K/min]' and then one\n"
      "run per row (lines starting with # are comments), and fits ln(Tp^2/rate) against\n"
      "1/Tp; the heat of desorption is R times the slope. Runs with a peak temperature or\n"
      "ramp rate that is not positive are skipped and listed.\n",
      "");
  cmd->add_option("RUNS.csv", dyn->file, "the runs");
  cmd->add_flag("--json", dyn->json, "print the result as JSON");
  commands.Add(cmd, [dyn](Streams& io) { return Dynamic(*dyn, io); });
}

}  // namespace fiofla::cli
