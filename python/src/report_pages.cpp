#include "report_pages.h"

#include <algorithm>
#include <cmath>
#include <sstream>

#include "bindings.h"
#include "fiofla/report/report_render.h"
#include "fiofla/report_bet.h"
#include "fiofla/report_dft.h"
#include "fiofla/report_fit.h"
#include "fiofla/report_pores.h"

namespace fiofla::py {
namespace {

// A notebook takes the report's inline SVG as it stands; the rest of the document (its
// style sheet above all) would restyle the notebook around it.
std::string SvgOnly(const CReportPageData& page) {
  std::ostringstream html;
  RenderHtml({&page}, RenderOptions(), html);
  const std::string text = html.str();
  std::string out = "<div class=\"fiofla-plots\">";
  for (std::size_t at = text.find("<svg"); at != std::string::npos; at = text.find("<svg", at)) {
    const std::size_t end = text.find("</svg>", at);
    if (end == std::string::npos) break;
    out += text.substr(at, end + 6 - at);
    at = end + 6;
  }
  return out + "</div>";
}

// As `fiofla report` frames them: the BET transform is near-linear only at low pressure and
// the BET model diverges towards saturation, so the axes end a little past the range.
void FrameAxes(const std::vector<std::shared_ptr<CCalcBET>>& calcs, CRSGraphAxisData::SSetup& betX,
               CRSGraphAxisData::SSetup& betY, CRSGraphAxisData::SSetup& isoY) {
  double rangeEnd = 0.0, quantityMax = 0.0;
  for (const auto& calc : calcs) {
    for (double x : calc->fitRelativePressure) rangeEnd = std::max(rangeEnd, x);
    for (double q : calc->quantityAdsorbed)
      if (std::isfinite(q)) quantityMax = std::max(quantityMax, q);
  }
  if (quantityMax > 0.0) {
    isoY.autoScale = false;
    isoY.minimum = 0.0;
    isoY.maximum = 1.1 * quantityMax;
  }
  if (rangeEnd <= 0.0) return;
  const double xEnd = std::min(1.0, std::ceil((rangeEnd + 0.1) / 0.05) * 0.05);
  double yEnd = 0.0;
  for (const auto& calc : calcs) {
    auto take = [&](const CNumVector<double>& x, const CNumVector<double>& y) {
      for (std::size_t i = 0; i < std::min(x.size(), y.size()); ++i)
        if (x[i] <= xEnd && std::isfinite(y[i])) yEnd = std::max(yEnd, y[i]);
    };
    take(calc->fitRelativePressure, calc->fitTransform);
    take(calc->otherRelativePressure, calc->otherTransform);
    if (calc->fitRelativePressure.size() >= 2)
      yEnd = std::max(yEnd, calc->yIntercept + calc->slope * xEnd);
  }
  if (!(yEnd > 0.0) || !std::isfinite(yEnd)) return;
  betX.autoScale = false;
  betX.minimum = 0.0;
  betX.maximum = xEnd;
  betY.autoScale = false;
  betY.minimum = 0.0;
  betY.maximum = 1.1 * yEnd;
}

}  // namespace

std::string ReportStem(const std::string& path) {
  const auto slash = path.find_last_of('/');
  std::string name = path.substr(slash == std::string::npos ? 0 : slash + 1);
  const auto dot = name.rfind('.');
  if (dot != std::string::npos && dot > 0) name.resize(dot);
  return name;
}

CReportDataItemBase* AddBetReportPlots(const std::vector<std::shared_ptr<CCalcBET>>& calcs,
                                       const std::vector<CStr>& names, CReportPageData* page,
                                       CReportDataItemBase* below) {
  CRSGraphAxisData::SSetup betX, betY, isoX, isoY;
  isoX.autoScale = false;
  isoX.minimum = 0.0;
  isoX.maximum = 1.0;
  isoY.useMargin = true;
  FrameAxes(calcs, betX, betY, isoY);
  const bool overlay = calcs.size() > 1;
  CReportDataItemBase* graph = NBET::PlotReportBET(calcs, names, page, betX, betY, overlay, below);
  return NBET::PlotReportIso(calcs, names, page, isoX, isoY, overlay, graph);
}

std::string PoreCurveTitle(const std::string& name) {
  if (name == "harkins-jura") return "Harkins and Jura";
  if (name == "halsey") return "Halsey";
  if (name == "carbon") return "Carbon Black STSA";
  if (name == "bdb") return "Broekhoff-de Boer";
  if (name == "kjs") return "Kruk-Jaroniec-Sayari";
  return name;
}

std::string BetHtml(const IsothermData& iso, const cli::BetRun& run) {
  CReportPageData page(CStr("BET report: ") + iso.source);
  AddBetReportPlots({run.calc}, {CStr(ReportStem(iso.source))}, &page, nullptr);
  return SvgOnly(page);
}

std::string TPlotHtml(const CTPlotCalc& calc, const std::string& curve) {
  CReportPageData page(CStr("t-Plot report"));
  AddTPlotSection(calc, CStr(PoreCurveTitle(curve)), &page, nullptr);
  return SvgOnly(page);
}

std::string BjhHtml(const IsothermData& iso, const cli::BjhRun& run,
                    const std::string& description) {
  CReportPageData page(CStr("BJH report"));
  AddBjhSection(*run.calc, CStr(description), &page, nullptr, run.Wording(iso));
  return SvgOnly(page);
}

std::string DftHtml(const cli::DftRun& run) {
  CReportPageData page(CStr("DFT report"));
  AddDftSection(*run.calc, CStr(run.description), &page, nullptr);
  return SvgOnly(page);
}

std::string FitHtml(const std::vector<PyModel>& models, const cli::FitInput& in) {
  std::vector<SIsothermFit> fits;
  for (const PyModel& m : models) fits.push_back(m.fit);
  CReportPageData page(CStr("Model fit report"));
  AddFitSection(fits, SFitPoints{in.pressures, in.loadings, in.pressureUnit, in.loadingUnit},
                CStr(in.branch + " branch"), &page, nullptr);
  return SvgOnly(page);
}

std::string IsothermHtml(const IsothermData& iso) {
  // The BET report's isotherm plot draws every point up to the first fall in P/Po.
  const cli::BetRun run = cli::RunBetOn(iso, cli::BetSettings());
  CReportPageData page(CStr("Isotherm"));
  CRSGraphAxisData::SSetup x, y;
  x.autoScale = false;
  x.minimum = 0.0;
  x.maximum = 1.0;
  y.useMargin = true;
  NBET::PlotReportIso({run.calc}, {CStr(ReportStem(iso.source))}, &page, x, y, false, nullptr);
  return SvgOnly(page);
}

}  // namespace fiofla::py
