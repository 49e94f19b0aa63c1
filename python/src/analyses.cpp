// dft and fit: the DFT pore-size distribution and the isotherm-model fits, run as the tool's
// `dft` and `fit` run them, with the values of their --json.
#include <cmath>

#include "bindings.h"
#include "dft_options.h"
#include "fiofla/dft_kernels.h"
#include "fiofla/report_dft.h"
#include "fiofla/report_fit.h"
#include "fit_options.h"
#include "report_pages.h"

namespace fiofla::py {
namespace {

using namespace pyb::literals;

std::shared_ptr<DftResult> MakeDft(std::shared_ptr<const IsothermData> data,
                                   std::shared_ptr<const IsothermData> data2,
                                   const cli::DftSettings& s) {
  auto run = std::make_shared<cli::DftRun>(cli::RunDftOn(*data, data2.get(), s));
  const CDFTCalc& calc = *run->calc;
  const int status = calc.GetStatus();
  auto result = std::make_shared<DftResult>();
  Fields& f = result->fields;
  result->headline = {"total_pore_volume_cm3_per_g", "total_surface_area_m2_per_g", "lambda",
                      "rms_error_cm3_per_g_stp"};
  result->mainTable = "classes";
  CNumVector<double> w, vol, cumVol, difVol, logVol, area, cumArea;
  calc.GetPoreDiameters(w);
  f.Add("file", data->source);
  if (data2) f.Add("file2", data2->source);
  f.Add("kernel", run->kernelPath);
  if (data2) f.Add("kernel2", run->kernelPath2);
  f.Add("status", static_cast<long long>(status))
      .Add("status_text", std::string(cli::DftStatusText(status)))
      .Add("description", run->description);
  // Statuses 2, 4 and 9 keep a result that is reported with its warning.
  if (w.size() == 0) {
    result->ok = false;
    result->reason = cli::DftStatusText(status);
    for (const std::string& warning : calc.Warnings()) result->reason += "; " + warning;
    return result;
  }
  result->html = [run] { return DftHtml(*run); };
  calc.GetIncrementalVolume(vol);
  calc.GetCumulativeVolume(cumVol);
  calc.GetDifferentialVolume(difVol);
  calc.GetLogDifferentialVolume(logVol);
  calc.GetIncrementalArea(area);
  calc.GetCumulativeArea(cumArea);
  f.Add("total_pore_volume_cm3_per_g", calc.GetTotalPoreVolume())
      .Add("total_surface_area_m2_per_g", calc.GetTotalSurfaceArea())
      .Add("lambda", calc.GetLambda())
      .Add("degrees_of_freedom", calc.GetDegreesOfFreedom())
      .Add("bspline_knot_intervals", static_cast<long long>(calc.GetNumKnotIntervals()))
      .Add("rms_error_cm3_per_g_stp", calc.RMSError())
      .Add("roughness", calc.GetRoughness())
      .Add("points", static_cast<long long>(calc.GetFitPressures().size()));

  const std::size_t n = calc.GetFitPressures().size();
  const std::vector<std::size_t> order = cli::WorstFitPoints(calc);
  Table& worst = f.AddTable("worst_points");
  Column* wc[] = {&worst.Col("relative_pressure"), &worst.Col("measured_cm3_per_g_stp"),
                  &worst.Col("fitted_cm3_per_g_stp"), &worst.Col("relative_error")};
  for (std::size_t k : order) {
    wc[0]->numbers.push_back(calc.GetFitPressures()[k]);
    wc[1]->numbers.push_back(calc.GetFitMeasured()[k]);
    wc[2]->numbers.push_back(calc.GetFitQuantities()[k]);
    wc[3]->numbers.push_back(calc.RelError(static_cast<unsigned short>(k)));
  }
  Table& t = f.AddTable("classes");
  Column* c[] = {&t.Col("width_angstrom"),
                 &t.Col("incremental_volume_cm3_per_g"),
                 &t.Col("cumulative_volume_cm3_per_g"),
                 &t.Col("dv_dw_cm3_per_g_per_angstrom"),
                 &t.Col("dv_dlogw_cm3_per_g"),
                 &t.Col("incremental_area_m2_per_g"),
                 &t.Col("cumulative_area_m2_per_g")};
  for (std::size_t k = 0; k < w.size(); ++k) {
    const double row[] = {w[k], vol[k], cumVol[k], difVol[k], logVol[k], area[k], cumArea[k]};
    for (int i = 0; i < 7; ++i) c[i]->numbers.push_back(row[i]);
  }
  Table& fit = f.AddTable("fit");
  Column* fc[] = {&fit.Col("relative_pressure"), &fit.Col("measured_cm3_per_g_stp"),
                  &fit.Col("fitted_cm3_per_g_stp"), &fit.Col("gas", Column::kInt)};
  for (std::size_t k = 0; k < n; ++k) {
    fc[0]->numbers.push_back(calc.GetFitPressures()[k]);
    fc[1]->numbers.push_back(calc.GetFitMeasured()[k]);
    fc[2]->numbers.push_back(calc.GetFitQuantities()[k]);
    fc[3]->numbers.push_back(k < calc.GetNumPoints() ? 1 : 2);
  }
  f.Add("warnings", calc.Warnings());
  return result;
}

}  // namespace

namespace {

std::shared_ptr<FitResult> MakeFit(std::shared_ptr<const IsothermData> data,
                                   const cli::FitSettings& s) {
  cli::FitInput in;
  std::vector<SIsothermFit> fits;
  {
    // Unit conversion goes through the library's gas-table cache.
    std::lock_guard<std::mutex> lock(GasCacheLock());
    in = cli::PrepareFitInput(*data, data->source, s);
  }
  fits = cli::RunFits(cli::ChooseModels(s.models, in, "models"), in);
  auto result = std::make_shared<FitResult>();
  Fields& f = result->fields;
  result->headline = {"best_model", "points", "pressure_unit", "loading_unit"};
  result->mainTable = "fits";
  const bool anyUsable = !fits.empty() && fits.front().Usable();
  result->ok = anyUsable;
  if (!anyUsable)
    result->reason = "no usable fit" + (fits.size() == 1 ? ": " + fits.front().message : "");
  f.Add("file", data->source)
      .Add("branch", in.branch)
      .Add("points", static_cast<long long>(in.pressures.size()))
      .Add("pressure_unit", in.pressureUnit)
      .Add("loading_unit", in.loadingUnit)
      .Add("saturation_pressure", in.setup.saturationPressure)
      .Add("temperature_k", in.setup.temperatureK);
  if (anyUsable) f.Add("best_model", fits.front().name);
  Table& t = f.AddTable("fits");
  Column& rank = t.Col("rank", Column::kInt);
  Column& model = t.Col("model", Column::kText);
  Column& status = t.Col("status", Column::kText);
  Column& message = t.Col("message", Column::kText);
  Column& points = t.Col("points", Column::kInt);
  Column& rms = t.Col("rms_error");
  Column& aicc = t.Col("aicc");
  Column& iterations = t.Col("iterations", Column::kInt);
  Table& p = f.AddTable("parameters");
  Column& pModel = p.Col("model", Column::kText);
  Column& pName = p.Col("name", Column::kText);
  Column& pValue = p.Col("value");
  Column& pError = p.Col("standard_error");
  Column& pUnit = p.Col("unit", Column::kText);
  auto models = std::make_shared<std::vector<PyModel>>();
  for (std::size_t k = 0; k < fits.size(); ++k) {
    const SIsothermFit& fit = fits[k];
    rank.numbers.push_back(static_cast<double>(k + 1));
    model.texts.push_back(fit.name);
    status.texts.emplace_back(ToString(fit.status));
    message.texts.push_back(fit.message);
    points.numbers.push_back(fit.points);
    rms.numbers.push_back(fit.Usable() ? fit.rmsError : NAN);
    aicc.numbers.push_back(fit.Usable() ? fit.aicc : NAN);
    iterations.numbers.push_back(fit.iterations);
    models->push_back(PyModel{fit, in.pressureUnit, in.loadingUnit});
    if (!fit.Usable()) continue;
    const auto& info = fit.model->ParameterInfo();
    for (std::size_t i = 0; i < fit.parameters.size(); ++i) {
      pModel.texts.push_back(fit.name);
      pName.texts.push_back(fit.parameterNames[i]);
      pValue.numbers.push_back(fit.parameters[i]);
      pError.numbers.push_back(i < fit.standardErrors.size() ? fit.standardErrors[i] : NAN);
      pUnit.texts.push_back(
          i < info.size() ? FitParameterUnit(info[i].unit, in.pressureUnit, in.loadingUnit) : "");
    }
  }
  result->models = models;
  auto points2 = std::make_shared<cli::FitInput>(in);
  if (anyUsable) result->html = [models, points2] { return FitHtml(*models, *points2); };
  return result;
}

std::vector<std::string> ModelNames(const pyb::object& models) {
  if (models.is_none()) return {};
  if (pyb::isinstance<pyb::str>(models))
    return cli::SplitModelNames("models", models.cast<std::string>());
  std::vector<std::string> names;
  for (const pyb::handle item : models) {
    if (!pyb::isinstance<pyb::str>(item))
      ThrowInput("models " + pyb::repr(item).cast<std::string>() + " is not a model name");
    names.push_back(item.cast<std::string>());
  }
  return names;
}

pyb::object Evaluate(const pyb::object& x, const std::function<double(double)>& f) {
  if (!pyb::isinstance<pyb::sequence>(x) && !pyb::isinstance<pyb::array>(x))
    return pyb::float_(f(ToNumber(x, "pressure")));
  auto a = pyb::array_t<double, pyb::array::c_style | pyb::array::forcecast>::ensure(x);
  if (!a) ThrowInput("pressure is not a number or an array of numbers");
  pyb::array_t<double> out(a.request().shape);
  const double* in = a.data();
  double* o = out.mutable_data();
  const pyb::ssize_t n = a.size();
  {
    pyb::gil_scoped_release release;
    for (pyb::ssize_t i = 0; i < n; ++i) o[i] = f(in[i]);
  }
  return std::move(out);
}

}  // namespace

void BindAnalyses(pyb::module_& m) {
  m.def(
      "dft",
      [](const pyb::object& iso, const std::string& kernel, const std::string& kernelDir,
         const pyb::object& lambda, bool bspline, bool clamp, const pyb::object& pressureRange,
         const pyb::object& widthRange, const pyb::object& iso2, const std::string& kernel2) {
        cli::DftSettings s;
        if (kernel.empty()) ThrowInput("no kernel given (see fiofla.kernels())");
        s.kernel = kernel;
        s.kernelDir = kernelDir;
        if (pyb::isinstance<pyb::str>(lambda)) {
          s.lambda = lambda.cast<std::string>();
        } else {
          const double l = ToNumber(lambda, "lambda_");
          if (!(l >= 0.0) || !std::isfinite(l))
            ThrowInput("lambda_ " + cli::Num(l) + " is not auto, gcv, lcurve or a number >= 0");
          s.lambda = cli::Num(l, 17);
        }
        s.bspline = bspline;
        s.clamp = clamp;
        std::tie(s.pLow, s.pHigh) = ToRange(pressureRange, "pressure_range", 1.0);
        std::tie(s.wLow, s.wHigh) = ToRange(widthRange, "width_range (Å)");
        if (iso2.is_none() != kernel2.empty()) ThrowInput("kernel2 and isotherm2 go together");
        s.kernel2 = kernel2;
        auto data = IsothermArg(iso);
        auto data2 = iso2.is_none() ? nullptr : IsothermArg(iso2);
        if (data2) s.file2 = data2->source;
        return Unlocked([&] { return MakeDft(data, data2, s); });
      },
      "isotherm"_a, pyb::kw_only(), "kernel"_a, "kernel_dir"_a = "", "lambda_"_a = "auto",
      "bspline"_a = false, "clamp"_a = false, "pressure_range"_a = pyb::make_tuple(0.0, 1.0),
      "width_range"_a = pyb::make_tuple(0.0, HUGE_VAL), "isotherm2"_a = pyb::none(),
      "kernel2"_a = "",
      R"(DFT pore-size distribution of the adsorption branch from a kernel.

kernel: a kernel file or the name of a shipped one ("n2-77-carbon-slit"; fiofla.kernels()).
lambda_: "auto" (generalised cross-validation), "gcv", "lcurve" or a number >= 0.
pressure_range: P/Po fitted; width_range: pore widths fitted, Å. With isotherm2 and kernel2,
two isotherms of one sample are fitted to one distribution.)");

  m.def(
      "kernels",
      [](const std::string& dir) {
        const auto list =
            Unlocked([&] { return ListKernels(dir.empty() ? DefaultKernelDirectory() : dir); });
        pyb::list out;
        for (const KernelInfo& k : list) {
          pyb::dict d;
          d["name"] = k.name;
          d["path"] = k.path;
          d["readable"] = k.readable;
          d["gas"] = k.gas;
          d["temperature_k"] = k.temperatureK;
          d["description"] = k.description;
          d["pressure_range"] = pyb::make_tuple(k.pressureMin, k.pressureMax);
          d["width_range_angstrom"] = pyb::make_tuple(k.widthMinA, k.widthMaxA);
          if (!k.readable) d["error"] = k.error;
          out.append(d);
        }
        return out;
      },
      "directory"_a = "", "The DFT kernels of a directory (default: the shipped ones), as dicts");

  pyb::class_<PyModel>(m, "FittedModel", "An isotherm model fitted to points")
      .def_property_readonly("name", [](const PyModel& p) { return p.fit.name; })
      .def_property_readonly("ok", [](const PyModel& p) { return p.fit.Usable(); })
      .def_property_readonly("status", [](const PyModel& p) { return ToString(p.fit.status); })
      .def_property_readonly("message", [](const PyModel& p) { return p.fit.message; })
      .def_property_readonly("parameters",
                             [](const PyModel& p) {
                               pyb::dict d;
                               for (std::size_t i = 0; i < p.fit.parameters.size(); ++i)
                                 d[pyb::str(p.fit.parameterNames[i])] = p.fit.parameters[i];
                               return d;
                             })
      .def_property_readonly("standard_errors",
                             [](const PyModel& p) {
                               pyb::dict d;
                               for (std::size_t i = 0; i < p.fit.standardErrors.size(); ++i)
                                 d[pyb::str(p.fit.parameterNames[i])] = p.fit.standardErrors[i];
                               return d;
                             })
      .def_property_readonly("rms_error", [](const PyModel& p) { return p.fit.rmsError; })
      .def_property_readonly("aicc", [](const PyModel& p) { return p.fit.aicc; })
      .def_property_readonly("pressure_unit", [](const PyModel& p) { return p.pressureUnit; })
      .def_property_readonly("loading_unit", [](const PyModel& p) { return p.loadingUnit; })
      .def(
          "loading",
          [](const PyModel& p, const pyb::object& pressure) {
            if (!p.fit.model) ThrowInput(p.fit.name + " has no usable fit: " + p.fit.message);
            auto model = p.fit.model;
            return Evaluate(pressure, [model](double x) { return model->Loading(x); });
          },
          "pressure"_a, "Loading at the pressures (the fit's units)")
      .def(
          "spreading_pressure",
          [](const PyModel& p, const pyb::object& pressure) {
            if (!p.fit.model) ThrowInput(p.fit.name + " has no usable fit: " + p.fit.message);
            auto model = p.fit.model;
            return Evaluate(pressure, [model](double x) {
              const SModelValue v = model->SpreadingPressure(x);
              return v.Ok() ? v.value : NAN;
            });
          },
          "pressure"_a, "Reduced spreading pressure, integral of q/p dp, in loading units")
      .def("__repr__", [](const PyModel& p) {
        std::string s = "<FittedModel " + p.fit.name;
        if (!p.fit.Usable()) return s + " not usable: " + p.fit.message + ">";
        for (std::size_t i = 0; i < p.fit.parameters.size(); ++i)
          s += (i ? ", " : ": ") + p.fit.parameterNames[i] + "=" + cli::Num(p.fit.parameters[i]);
        return s + ">";
      });
  pyb::class_<FitResult, Result, std::shared_ptr<FitResult>>(m, "FitResult",
                                                             "Isotherm-model fits, ranked by AICc")
      .def_property_readonly(
          "models", [](const FitResult& r) { return *r.models; },
          "Every model fitted, ranked as the fits table")
      .def_property_readonly(
          "best",
          [](const FitResult& r) -> pyb::object {
            if (r.models->empty() || !r.models->front().fit.Usable()) return pyb::none();
            return pyb::cast(r.models->front());
          },
          "The first-ranked model, or None when no fit may be used");

  m.def(
      "fit",
      [](const pyb::object& iso, const pyb::object& models, const std::string& pressureUnit,
         const std::string& loadingUnit, const std::string& branch, const pyb::object& molarMass) {
        cli::FitSettings s;
        s.models = ModelNames(models);
        if (!pressureUnit.empty() && FindPressureUnit(pressureUnit) < 0)
          ThrowInput("pressure_unit '" + pressureUnit + "' is not a pressure unit");
        s.pressureUnit = pressureUnit;
        s.loadingUnit = loadingUnit;
        if (branch != "adsorption" && branch != "desorption")
          ThrowInput("branch '" + branch + "' is not adsorption or desorption");
        s.desorption = branch == "desorption";
        if (!molarMass.is_none()) s.molarMassGPerMol = ToPositive(molarMass, "molar_mass (g/mol)");
        // Models without Ps fit gases above their critical point, which have no Po.
        auto data = IsothermArg(iso, false);
        return Unlocked([&] { return MakeFit(data, s); });
      },
      "isotherm"_a, pyb::kw_only(), "models"_a = pyb::none(), "pressure_unit"_a = "",
      "loading_unit"_a = "", "branch"_a = "adsorption", "molar_mass"_a = pyb::none(),
      R"(Isotherm models fitted to one branch and ranked by AICc.

models: names or aliases ("langmuir", "dsl", ...), a comma-separated text, "all" or
"default" (None). pressure_unit, loading_unit: the fit's units (default: the file's).
Returns a FitResult; .best is the first-ranked FittedModel, which evaluates loading(p).)");
}

}  // namespace fiofla::py
