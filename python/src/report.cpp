// fiofla.report: the pages `fiofla report` writes (BET with its checks and plots, t-plot,
// BJH, and DFT and model fits when asked for), for isotherms held in Python.
#include <cmath>
#include <sstream>

#include "bindings.h"
#include "fiofla/report/report_render.h"
#include "fiofla/report/report_text.h"
#include "fiofla/report_bet.h"
#include "fiofla/report_dft.h"
#include "fiofla/report_fit.h"
#include "fiofla/report_pores.h"
#include "report_bet_pages.h"
#include "report_out.h"
#include "report_pages.h"

namespace fiofla::py {
namespace {

using namespace pyb::literals;

struct ReportSettings {
  cli::BetSettings bet;
  cli::PoreSettings pore;
  cli::DftSettings dft;
  std::vector<std::string> fitModels;
};

void AddPorePages(const IsothermData& iso, const cli::BetRun& run, const ReportSettings& s,
                  std::vector<std::unique_ptr<CReportPageData>>& pages) {
  const std::string& file = iso.source;
  const double area = s.pore.betAreaM2PerG
                          ? *s.pore.betAreaM2PerG
                          : (cli::NoBetResult(*run.calc) ? 0.0 : run.calc->surfaceArea);
  const auto tplot = cli::RunTPlotOn(iso, s.pore, area);
  const std::string curve = s.pore.ThicknessName();
  if (tplot->m_Status == 0 || tplot->m_Status == 1) {
    pages.push_back(std::make_unique<CReportPageData>(CStr("t-Plot report: ") + file));
    AddTPlotSection(*tplot, CStr(cli::ThicknessCurveTitle(curve)), pages.back().get(), nullptr);
  }
  const cli::BjhRun bjh = cli::RunBjhOn(iso, s.pore);
  if (bjh.calc->GetStatus() == CBJHCalc::STATUS_OK) {
    pages.push_back(std::make_unique<CReportPageData>(CStr("BJH report: ") + file));
    const std::string what =
        std::string(bjh.adsorption ? "adsorption" : "desorption") + " branch, " + s.pore.method +
        " method, " + cli::ThicknessCurveTitle(curve) + " thickness curve, Kelvin constant " +
        cli::Num(s.pore.kelvinAngstrom) + " Å";
    AddBjhSection(*bjh.calc, CStr(what), pages.back().get(), nullptr, bjh.Wording(iso));
  }
  if (!s.dft.kernel.empty()) {
    const cli::DftRun dft = cli::RunDftOn(iso, nullptr, s.dft);
    CNumVector<double> widths;
    dft.calc->GetPoreDiameters(widths);
    if (widths.size() >= 2) {
      pages.push_back(std::make_unique<CReportPageData>(CStr("DFT report: ") + file));
      AddDftSection(*dft.calc, CStr(dft.description), pages.back().get(), nullptr);
    }
  }
  if (!s.fitModels.empty()) {
    cli::FitSettings settings;
    settings.models = s.fitModels;
    const cli::FitInput in = cli::PrepareFitInput(iso, file, settings);
    const auto fits = cli::RunFits(cli::ChooseModels(s.fitModels, in, "fit"), in);
    std::string what =
        in.branch + " branch, pressures in " + in.pressureUnit + ", loadings in " + in.loadingUnit;
    if (std::isfinite(in.setup.saturationPressure))
      what += ", Ps " + cli::Num(in.setup.saturationPressure) + " " + in.pressureUnit;
    if (std::isfinite(in.setup.temperatureK)) what += ", " + cli::Num(in.setup.temperatureK) + " K";
    pages.push_back(std::make_unique<CReportPageData>(CStr("Model fit report: ") + file));
    AddFitSection(fits, SFitPoints{in.pressures, in.loadings, in.pressureUnit, in.loadingUnit},
                  CStr(what), pages.back().get(), nullptr);
  }
}

// Writes the report and returns what it says about it; with no path, the HTML itself.
std::string Report(const std::vector<std::shared_ptr<const IsothermData>>& isotherms,
                   const std::string& path, const ReportSettings& s) {
  std::vector<cli::BetRun> runs;
  for (const auto& iso : isotherms) runs.push_back(cli::RunBetOn(*iso, s.bet));
  std::vector<std::unique_ptr<CReportPageData>> pages;
  std::vector<std::shared_ptr<CCalcBET>> calcs;
  std::vector<CStr> names;
  for (std::size_t i = 0; i < runs.size(); ++i) {
    calcs.push_back(runs[i].calc);
    names.emplace_back(cli::Stem(isotherms[i]->source));
  }
  for (std::size_t i = 0; i < runs.size(); ++i) {
    const cli::BetRun& run = runs[i];
    pages.push_back(std::make_unique<CReportPageData>(CStr("BET report: ") + isotherms[i]->source));
    CReportPageData* page = pages.back().get();
    CReportDataItemBase* last = cli::AddIsothermItems(run, page, nullptr);
    if (runs.size() == 1) last = cli::AddPlots(calcs, names, page, last);
    NBET::AddTabularData(*run.calc, page, last);
    AddPorePages(*isotherms[i], run, s, pages);
  }
  if (runs.size() > 1) {
    pages.push_back(std::make_unique<CReportPageData>(CStr("BET plots of all isotherms")));
    cli::AddPlots(calcs, names, pages.back().get(), nullptr);
  }
  std::vector<const CReportPageData*> view;
  for (const auto& page : pages) view.push_back(page.get());
  const std::string title =
      isotherms.size() == 1 ? "BET report: " + isotherms[0]->source : "BET report";
  std::string files;
  for (const auto& iso : isotherms) files += (files.empty() ? "" : ", ") + iso->source;
  if (path.empty()) {
    RenderOptions render;
    render.documentTitle = CStr(title);
    render.subtitle = CStr("Isotherms: " + files);
    render.generator = CStr(std::string("fiofla ") + FIOFLA_VERSION);
    std::ostringstream html;
    RenderHtml(view, render, html);
    return html.str();
  }
  std::ostringstream say;
  cli::WriteReportPages(
      view, title, "Isotherms: " + files, path, "report",
      std::to_string(isotherms.size()) + (isotherms.size() == 1 ? " isotherm" : " isotherms"), say);
  return say.str();
}

}  // namespace

void BindReport(pyb::module_& m) {
  m.def(
      "report",
      [](const pyb::object& isotherms, const pyb::object& path, const pyb::object& range,
         const pyb::object& crossSection, const std::string& thickness, const pyb::object& tRange,
         const std::string& method, const pyb::object& branch, const std::string& kernel,
         const pyb::object& fit) -> pyb::object {
        ReportSettings s;
        if (pyb::isinstance<pyb::str>(range)) {
          if (range.cast<std::string>() != "auto")
            ThrowInput("range '" + range.cast<std::string>() + "' is not (lo, hi) or 'auto'");
          s.bet.autoRange = true;
        } else {
          std::tie(s.bet.rangeLow, s.bet.rangeHigh) = ToRange(range, "range", 1.0);
        }
        s.bet.crossSectionNm2 = ToPositive(crossSection, "cross_section (nm2)");
        if (!thickness.empty()) {
          s.pore.thickness = thickness;
          cli::MakeThickness(thickness);
        }
        std::tie(s.pore.tLowAngstrom, s.pore.tHighAngstrom) = ToRange(tRange, "t_range (Å)");
        if (method != "classical" && method != "corrected" && method != "widening" &&
            method != "kjs")
          ThrowInput("method '" + method + "' is not classical, corrected, widening or kjs");
        s.pore.method = method;
        if (!branch.is_none()) {
          const std::string b = pyb::str(branch);
          if (b != "adsorption" && b != "desorption")
            ThrowInput("branch '" + b + "' is not adsorption or desorption");
          s.pore.adsorption = b == "adsorption";
        }
        s.dft.kernel = kernel;
        if (!fit.is_none()) {
          if (pyb::isinstance<pyb::str>(fit))
            s.fitModels = cli::SplitModelNames("fit", fit.cast<std::string>());
          else
            for (const pyb::handle name : fit) s.fitModels.push_back(pyb::str(name));
        }
        std::vector<std::shared_ptr<const IsothermData>> data;
        if (pyb::isinstance<PyIsotherm>(isotherms) || pyb::isinstance<pyb::str>(isotherms) ||
            pyb::hasattr(isotherms, "__fspath__")) {
          data.push_back(IsothermArg(isotherms));
        } else {
          for (const pyb::handle iso : isotherms) data.push_back(IsothermArg(iso));
        }
        if (data.empty()) ThrowInput("no isotherms to report");
        const std::string out =
            path.is_none()
                ? std::string()
                : pyb::str(pyb::module_::import("os").attr("fspath")(path)).cast<std::string>();
        std::string text;
        {
          // The GIL goes first: a thread waiting for the lock must not hold it.
          pyb::gil_scoped_release release;
          // Fits convert units through the library's gas-table cache.
          std::lock_guard<std::mutex> lock(GasCacheLock());
          text = Report(data, out, s);
        }
        if (out.empty()) return pyb::str(text);
        return path;
      },
      "isotherms"_a, "path"_a = pyb::none(), pyb::kw_only(),
      "range"_a = pyb::make_tuple(0.05, 0.30), "cross_section"_a = 0.162, "thickness"_a = "",
      "t_range"_a = pyb::make_tuple(3.5, 5.0), "method"_a = "classical", "branch"_a = pyb::none(),
      "kernel"_a = "", "fit"_a = pyb::none(),
      R"(Writes the report of one or more isotherms: per isotherm the BET page (summary, checks,
range search, plots, points), the t-plot and BJH pages, a DFT page with ``kernel`` and a
model-fit page with ``fit`` (model names); several isotherms get a last page overlaying
their BET plots. The format follows the extension of ``path`` (.html, .json, .txt).
Without ``path`` returns the HTML text.)");
}

}  // namespace fiofla::py
