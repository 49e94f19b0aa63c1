// `fiofla fit`: isotherm models fitted to one branch of an isotherm and ranked by AICc, as
// text or JSON; with --show, the best model's curve and spreading pressure at the points.
#include "cli.h"
#include "cli_common.h"
#include "fiofla/report_fit.h"
#include "fiofla/units/unit_text.h"
#include "fit_options.h"
#include "result.h"

namespace fiofla::cli {
namespace {

struct FitOptions {
  std::string file;
  IsothermReadOptions input;
  FitSettings fit;
  bool show = false;
  bool json = false;
};

void AddFitTables(Result& r, const std::vector<SIsothermFit>& fits, const FitInput& in) {
  // One row per model; the parameters go last, where their length shifts no other column.
  const bool anyUsable = !fits.empty() && fits.front().Usable();
  Table& text = r.AddTable("", anyUsable ? "Fits ranked by AICc" : "",
                           {{"", "rank", 5, {}},
                            {"", "model", 21, {}},
                            {"", "RMS error", 11, Sig(4)},
                            {"", "AICc", 10, Dec(2)},
                            {"", "status", 17, {}},
                            {"", "parameters (value +/- standard error)", 0, {}}});
  Table& json = r.AddTable("fits", "",
                           {{"rank", "", 0, {}},
                            {"model", "", 0, {}},
                            {"status", "", 0, {}},
                            {"message", "", 0, {}},
                            {"points", "", 0, {}},
                            {"rms_error", "", 0, {}},
                            {"aicc", "", 0, {}},
                            {"iterations", "", 0, {}}});
  Table& params = r.AddTable("parameters", "",
                             {{"model", "", 0, {}},
                              {"name", "", 0, {}},
                              {"value", "", 0, {}},
                              {"standard_error", "", 0, {}},
                              {"unit", "", 0, {}}});
  std::vector<std::string> unusable;
  for (std::size_t k = 0; k < fits.size(); ++k) {
    const SIsothermFit& f = fits[k];
    const Value rank = static_cast<long long>(k + 1);
    json.Row({rank, f.name, std::string(ToString(f.status)), f.message,
              static_cast<long long>(f.points), f.Usable() ? Value(f.rmsError) : Value(),
              f.Usable() ? Value(f.aicc) : Value(), static_cast<long long>(f.iterations)});
    if (!f.Usable()) {
      unusable.push_back(f.name + ": " + ToString(f.status) +
                         (f.message.empty() ? std::string() : " - " + f.message));
      continue;
    }
    const auto& info = f.model->ParameterInfo();
    std::string cells;
    for (std::size_t i = 0; i < f.parameters.size(); ++i) {
      const std::string unit =
          i < info.size() ? FitParameterUnit(info[i].unit, in.pressureUnit, in.loadingUnit) : "";
      const double error = i < f.standardErrors.size() ? f.standardErrors[i] : NAN;
      params.Row({f.name, f.parameterNames[i], f.parameters[i], error, unit});
      cells += (cells.empty() ? "" : ", ") + f.parameterNames[i] + " = " + Num(f.parameters[i], 6) +
               " +/- " + Num(error, 2) + (unit.empty() ? "" : " " + unit);
    }
    if (!f.message.empty()) cells += " (" + f.message + ")";
    text.Row({rank, f.name, f.rmsError, f.aicc, std::string(ToString(f.status)), cells});
  }
  if (!unusable.empty()) r.Text("").List("", "Fits that cannot be used:", unusable);
}

// The fitted curve of `f` and its spreading pressure at every measured point.
void AddCurve(Result& r, const SIsothermFit& f, const FitInput& in) {
  r.Text("").Add("shown_model", "Shown model", f.name);
  const std::string p = in.pressureUnit, q = in.loadingUnit;
  Table& t = r.AddTable("curve", "Fitted " + f.name + " at the measured points",
                        {{"pressure", "P (" + p + ")", 14, Sig(6)},
                         {"measured_loading", "measured (" + q + ")", 20, Sig(6)},
                         {"fitted_loading", "fitted (" + q + ")", 20, Sig(6)},
                         {"residual", "residual", 12, Sig(4)},
                         {"spreading_pressure", "pi (" + q + ")", 16, Sig(6)}});
  for (std::size_t i = 0; i < in.pressures.size(); ++i) {
    const double fitted = f.model->Loading(in.pressures[i]);
    const SModelValue pi = f.model->SpreadingPressure(in.pressures[i]);
    t.Row({in.pressures[i], in.loadings[i], fitted, in.loadings[i] - fitted,
           pi.Ok() ? pi.value : NAN});
  }
  r.Text(
      "residual = measured - fitted; pi = integral of q/p dp from 0 to P, the reduced "
      "spreading pressure, in loading units");
}

int Fit(const FitOptions& o, Streams& io) {
  if (o.file.empty()) throw UsageError{"no isotherm FILE given"};
  // Models without Ps fit isotherms of gases above their critical point, which have no Po.
  IsothermReadOptions input = o.input;
  input.requirePo = false;
  const IsothermData iso = LoadIsotherm(o.file, input, io.err);
  const FitInput in = PrepareFitInput(iso, o.file, o.fit);
  const auto choices = ChooseModels(o.fit.models, in, "--models");
  const std::vector<SIsothermFit> fits = RunFits(choices, in);

  Result r("Isotherm model fits of " + o.file);
  r.Add("file", "", o.file)
      .Add("branch", "Branch", in.branch)
      .Add("points", "Points", static_cast<long long>(in.pressures.size()))
      .Add("pressure_unit", "Pressure unit", in.pressureUnit)
      .Add("loading_unit", "Loading unit", in.loadingUnit)
      .Add("saturation_pressure", "Ps", in.setup.saturationPressure, in.pressureUnit)
      .Add("temperature_k", "Temperature", in.setup.temperatureK, "K");
  AddFitTables(r, fits, in);
  const bool anyUsable = !fits.empty() && fits.front().Usable();
  if (o.show && anyUsable) AddCurve(r, fits.front(), in);
  r.Print(io.out, o.json);
  if (!anyUsable) {
    io.err << "fiofla fit: " << o.file << ": no usable fit";
    if (fits.size() == 1) io.err << ": " << fits.front().message;
    io.err << "\n";
    return kExitNoResult;
  }
  return kExitOk;
}

}  // namespace

void AddFitCommand(CLI::App& app, Commands& commands) {
  auto o = std::make_shared<FitOptions>();
  CLI::App* cmd = AddCommand(
      app, "fit", "isotherm models fitted and ranked by AICc",
      "Fits isotherm models to one branch of FILE by least squares in the loading and\n"
      "prints one table ranked by the corrected Akaike criterion AICc (lowest first): each\n"
      "model's parameters with their standard errors in the units of the fit, the RMS\n"
      "error in loading units, AICc and the status; fits that cannot be used come last\n"
      "with the reason. Pressures are in the file's pressure unit (P/Po for a file of\n"
      "relative pressures) and loadings in the file's loading unit unless\n"
      "--pressure-unit and --loading-unit ask for others.\n"
      "BET, GAB and the Dubinin models take Ps as the file's Po; the Dubinin and\n"
      "chemi-physisorption models take the file's temperature.\n",
      "exit codes: 0 ok, 1 unreadable or malformed file, 2 bad arguments, 3 no usable fit\n");
  AddFileOperand(cmd, o->file);
  AddInputOptions(cmd, o->input);
  cmd->add_option_function<std::string>(
         "--models", [o](const std::string& v) { o->fit.models = SplitModelNames("--models", v); },
         std::string("models to fit, separated by commas (names or aliases such as dsl),\n"
                     "'all' for every model whose constants the file gives, or 'default' (") +
             kDefaultModelsHelp + ")")
      ->type_name("LIST");
  cmd->add_option_function<std::string>(
         "--model", [o](const std::string& v) { o->fit.models = SplitModelNames("--model", v); },
         "fit this one model (as --models NAME); with --show, its curve")
      ->type_name("NAME");
  cmd->add_flag("--show", o->show,
                "print the first-ranked model's fitted loading, residual and spreading pressure\n"
                "pi (loading units) at every measured point")
      ->type_name("");
  AddUnitOptions(cmd, o->fit.pressureUnit, o->fit.loadingUnit,
                 "fit in Pa, kPa, MPa, bar, mbar, atm, torr, mmHg or psi (default: the file's)",
                 "fit in cm3/g STP, mmol/g, mol/kg, mg/g, cm3 liq/g or any amount per mass\n"
                 "(default: the file's)");
  cmd->add_option_function<std::string>(
         "--branch",
         [o](const std::string& v) {
           if (v != "adsorption" && v != "desorption")
             throw UsageError{"--branch '" + v + "' is not adsorption or desorption"};
           o->fit.desorption = v == "desorption";
         },
         "branch fitted: adsorption (default) or desorption")
      ->type_name("B");
  cmd->add_flag("--json", o->json, "print the results as one JSON object");
  commands.Add(cmd, [o](Streams& io) { return Fit(*o, io); });
}

}  // namespace fiofla::cli
