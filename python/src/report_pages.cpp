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
#include "report_bet_pages.h"

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

}  // namespace

std::string BetHtml(const IsothermData& iso, const cli::BetRun& run) {
  CReportPageData page(CStr("BET report: ") + iso.source);
  cli::AddPlots({run.calc}, {CStr(cli::Stem(iso.source))}, &page, nullptr);
  return SvgOnly(page);
}

std::string TPlotHtml(const CTPlotCalc& calc, const std::string& curve) {
  CReportPageData page(CStr("t-Plot report"));
  AddTPlotSection(calc, CStr(cli::ThicknessCurveTitle(curve)), &page, nullptr);
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
  NBET::PlotReportIso({run.calc}, {CStr(cli::Stem(iso.source))}, &page, x, y, false, nullptr);
  return SvgOnly(page);
}

}  // namespace fiofla::py
