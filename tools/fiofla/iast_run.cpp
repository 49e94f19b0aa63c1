#include "iast_run.h"

#include <algorithm>
#include <cmath>
#include <filesystem>

#include "cli.h"
#include "cli_common.h"
#include "fiofla/report_fit.h"
#include "fiofla/report_iast.h"
#include "fiofla/units/unit_text.h"
#include "report_out.h"

namespace fiofla::cli {
namespace {

using Operand = IastSource;

// The model described by `o.model`, fitted to `in`: the named one or the lowest-AICc default.
SIsothermFit FitComponent(const Operand& o, const FitInput& in) {
  const bool best = o.model == "best";
  const auto choices = ChooseModels({best ? std::string("default") : o.model}, in, "--iso");
  const std::vector<SIsothermFit> fits = RunFits(choices, in);
  // A fit whose parameters ran to a limit still draws the data, but a determined one is
  // preferred when the best is asked for.
  for (const SIsothermFit& f : fits)
    if (f.status == EFitStatus::kOk) return f;
  if (!fits.empty() && fits.front().Usable()) return fits.front();
  const SIsothermFit& f = fits.front();
  throw InputError(o.file + ": " + (best ? std::string("no model") : "the " + f.name + " model") +
                   " can be fitted to it for IAST: " + ToString(f.status) +
                   (f.message.empty() ? "" : " - " + f.message));
}

}  // namespace

IastSource SplitIastOperand(const std::string& text) {
  std::error_code ec;
  const auto colon = text.rfind(':');
  if (colon == std::string::npos || std::filesystem::exists(text, ec)) return {text, "", nullptr};
  IastSource o{text.substr(0, colon), text.substr(colon + 1), nullptr};
  if (o.file.empty()) throw UsageError{"--iso '" + text + "' names no file"};
  if (o.model.empty() || o.model == "points" || o.model == "best") return o;
  SplitModelNames("--iso", o.model);  // refuses an unknown name before any file is read
  return o;
}

IastRun PrepareIast(const std::vector<std::string>& specs, const IsothermReadOptions& input,
                    const IastRunSettings& settings, std::ostream& err) {
  std::vector<IastSource> sources;
  for (const std::string& s : specs) sources.push_back(SplitIastOperand(s));
  return PrepareIast(sources, input, settings, err);
}

IastRun PrepareIast(const std::vector<IastSource>& operands, const IsothermReadOptions& input,
                    const IastRunSettings& settings, std::ostream& err) {
  const std::string loading = settings.loadingUnit.empty() ? "mmol/g" : settings.loadingUnit;
  if (const auto parts = ParseLoadingUnit(loading))
    if (parts->amount == AmountKind::kMass || parts->amount == AmountKind::kLiquidVolume)
      throw UsageError{"--loading-unit '" + loading +
                       "' is not an amount of substance; IAST compares moles (mmol/g, mol/kg, "
                       "cm3/g STP)"};

  IsothermReadOptions read = input;
  read.requirePo = false;  // mixtures are mostly of gases above their critical point
  read.noteMissingPo = false;
  IastRun run;
  run.loadingUnit = loading;
  std::vector<fiofla::SIastComponent> components;
  std::vector<double> temperatures;
  for (const Operand& o : operands) {
    IsothermData loaded;
    if (o.iso == nullptr) loaded = LoadIsotherm(o.file, read, err);
    const IsothermData& iso = o.iso != nullptr ? *o.iso : loaded;
    if (iso.pressureMmHg.size() != iso.size())
      throw InputError(o.file +
                       ": gives relative pressures only and no Po; IAST needs absolute "
                       "pressures (give --p0)");
    FitSettings s;
    s.pressureUnit = run.pressureUnit.empty() ? settings.pressureUnit : run.pressureUnit;
    s.loadingUnit = loading;
    s.gasCache = settings.gasCache;
    IastComponentRun c;
    c.file = o.file;
    c.points = PrepareFitInput(iso, o.file, s);
    if (run.pressureUnit.empty()) run.pressureUnit = c.points.pressureUnit;
    const auto [lo, hi] = std::minmax_element(c.points.pressures.begin(), c.points.pressures.end());
    c.minPressure = *lo;
    c.maxPressure = *hi;

    fiofla::SIastComponent comp;
    comp.name = iso.info.adsorptive.empty() ? Stem(o.file) : iso.info.adsorptive;
    for (const auto& other : components)
      if (other.name == comp.name) comp.name += " (" + std::to_string(components.size() + 1) + ")";
    if (o.model.empty() || o.model == "points") {
      comp.pressures = c.points.pressures;
      comp.loadings = c.points.loadings;
    } else {
      c.fit = FitComponent(o, c.points);
      comp.model = c.fit->model;
      comp.minPressure = c.minPressure;
      comp.maxPressure = c.maxPressure;
    }
    if (std::isfinite(iso.info.temperatureK)) temperatures.push_back(iso.info.temperatureK);
    components.push_back(std::move(comp));
    run.components.push_back(std::move(c));
  }
  if (!temperatures.empty()) {
    const auto [cold, hot] = std::minmax_element(temperatures.begin(), temperatures.end());
    if (*hot - *cold > 0.5)
      err << "fiofla iast: note: the isotherms are at " << Num(*cold) << " to " << Num(*hot)
          << " K; IAST takes them all at the mixture's one temperature\n";
  }
  auto calc = std::make_shared<CIASTCalculation>(std::move(components));
  if (!calc->Ok()) throw InputError(calc->Message());
  run.calc = std::move(calc);
  return run;
}

void WriteIastReport(const IastRun& run, const std::vector<SIastPoint>& points,
                     bool compositionSweep, const std::string& path, bool json, Streams& io) {
  SIastSection s;
  s.names = run.calc->Names();
  s.points = points;
  s.byComposition = compositionSweep;
  s.pressureUnit = run.pressureUnit;
  s.loadingUnit = run.loadingUnit;
  std::string files;
  for (const IastComponentRun& c : run.components) {
    std::string d = c.file + ": ";
    d += c.fit
             ? c.fit->name + " fit (" +
                   FitParameterText(*c.fit, run.pressureUnit, run.loadingUnit) + ")"
             : std::to_string(c.points.pressures.size()) + " measured points, linear between them";
    s.descriptions.push_back(d);
    files += (files.empty() ? "" : ", ") + c.file;
  }
  std::string what = std::to_string(s.names.size()) + " components, ";
  if (compositionSweep)
    what += "gas composition swept at " + Num(points.empty() ? NAN : points.front().pressure) +
            " " + run.pressureUnit;
  else if (points.size() > 1)
    what += "total pressure swept";
  else
    what += "one point";
  CReportPageData page(CStr("IAST report"));
  AddIastSection(s, CStr(what), &page, nullptr);
  WriteReportPages({&page}, "IAST report", "Isotherms: " + files, path, "fiofla iast",
                   "the mixture", json ? io.err : io.out);
}

}  // namespace fiofla::cli
