#include "fiofla/report_fit.h"

#include <algorithm>
#include <cmath>
#include <string>

#include "report_numbers.h"

namespace fiofla {
namespace {

using detail::ToNum;

constexpr int kLayoutLeft = 75;
constexpr int kLayoutRight = 775;
constexpr std::size_t kCurvePoints = 120;
constexpr std::size_t kBestShown = 3;

// A unit inside a compound one, bracketed when it has parts of its own ("(cm3/g STP)/kPa").
std::string Part(std::string const& unit) {
  return unit.find_first_of("/ ") == std::string::npos ? unit : "(" + unit + ")";
}

void ReplaceWord(std::string& text, std::string const& word, std::string const& by) {
  for (std::size_t at = text.find(word); at != std::string::npos;
       at = text.find(word, at + by.size()))
    text.replace(at, word.size(), by);
}

CRSGraphCurveData* Curve(CReportGraphData* graph, std::string const& name, int type, int index) {
  CRSGraphCurveData* curve = graph->AddCurve(CStr(name), 1, 2);
  curve->SetCurveType(type);  // 1 line, 2 symbols, 3 both
  curve->SetInterpolation(1);
  curve->SetPenColor(NRSGraphCurveData::ColorPalette(index));
  curve->SetSymbol(NRSGraphCurveData::SymbolPalette(index));
  return curve;
}

// Measured points and the best curves on one pressure axis, linear or logarithmic.
CReportGraphData* AddFitGraph(std::vector<SIsothermFit const*> const& best,
                              SFitPoints const& points, bool logarithmic,
                              CReportDataItemBase* below, CReportPageData* page) {
  std::vector<double> p, q;
  for (std::size_t i = 0; i < points.pressures.size() && i < points.loadings.size(); ++i) {
    const double x = points.pressures[i];
    if (!std::isfinite(x) || !std::isfinite(points.loadings[i]) || x < 0.0 ||
        (logarithmic && x <= 0.0))
      continue;
    p.push_back(x);
    q.push_back(points.loadings[i]);
  }
  CRSGraphAxisData::SSetup xSetup;
  xSetup.logarithmic = logarithmic;
  xSetup.includeZero = !logarithmic;
  CReportGraphData* graph =
      page->AddGraph(CStr(logarithmic ? "Model Fits, Logarithmic Pressure" : "Model Fits"),
                     kLayoutLeft, kLayoutRight);
  graph->SetLayoutBottom(below);
  graph->AddLegend(1);
  const std::string pressureTitle = points.pressureUnit == "P/Po"
                                        ? "Relative Pressure (P/Po)"
                                        : "Pressure (" + points.pressureUnit + ")";
  graph->AddAxis(CRSGraphAxisData::eBottom, 1, CStr(pressureTitle))->Setup(xSetup);
  graph->AddAxis(CRSGraphAxisData::eLeft, 2, CStr("Loading (" + points.loadingUnit + ")"));
  Curve(graph, "Measured", 2, 0)->SetData(ToNum(p), ToNum(q));
  if (p.empty()) return graph;

  const double hi = *std::max_element(p.begin(), p.end());
  double lo = hi;
  for (double x : p)
    if (x > 0.0) lo = std::min(lo, x);
  for (std::size_t m = 0; m < best.size(); ++m) {
    std::vector<double> x, y;
    for (std::size_t k = 0; k < kCurvePoints; ++k) {
      const double t = static_cast<double>(k) / (kCurvePoints - 1);
      const double at = logarithmic ? lo * std::pow(hi / lo, t) : hi * t;
      const double v = best[m]->model->Loading(at);
      // A curve that runs off to infinity (BET towards Ps) would flatten the measured points.
      if (!std::isfinite(v)) continue;
      x.push_back(at);
      y.push_back(v);
    }
    Curve(graph, best[m]->name, 1, static_cast<int>(m) + 1)->SetData(ToNum(x), ToNum(y));
  }
  return graph;
}

}  // namespace

std::string FitParameterUnit(std::string const& unit, std::string const& pressureUnit,
                             std::string const& loadingUnit) {
  if (unit == "1") return std::string();
  std::string text = unit;
  const bool compound = unit != "pressure" && unit != "loading";
  const std::string p = compound ? Part(pressureUnit) : pressureUnit;
  const std::string q = compound ? Part(loadingUnit) : loadingUnit;
  // Placeholders first, so a unit that contains either word is not replaced twice.
  ReplaceWord(text, "pressure", "\x01");
  ReplaceWord(text, "loading", "\x02");
  ReplaceWord(text, "\x01", p);
  ReplaceWord(text, "\x02", q);
  return text;
}

std::string FitParameterText(SIsothermFit const& fit, std::string const& pressureUnit,
                             std::string const& loadingUnit) {
  if (!fit.Usable() || !fit.model) return std::string();
  std::string text;
  const auto& info = fit.model->ParameterInfo();
  for (std::size_t i = 0; i < fit.parameters.size(); ++i) {
    const std::string unit =
        i < info.size() ? FitParameterUnit(info[i].unit, pressureUnit, loadingUnit) : "";
    const double error = i < fit.standardErrors.size() ? fit.standardErrors[i] : NAN;
    text += (text.empty() ? "" : ", ") +
            (i < fit.parameterNames.size() ? fit.parameterNames[i] : "p" + std::to_string(i)) +
            " = " + detail::FormatNumber(fit.parameters[i], "%.5g") + " ± " +
            (std::isfinite(error) ? detail::FormatNumber(error, "%.2g") : "n/a") +
            (unit.empty() ? "" : " " + unit);
  }
  return text;
}

CReportDataItemBase* AddFitSection(std::vector<SIsothermFit> const& fits, SFitPoints const& points,
                                   CStr const& description, CReportPageData* page,
                                   CReportDataItemBase* below) {
  if (page == nullptr || points.pressures.empty()) return below;
  CReportOptionsTable* table =
      page->AddOptionsTable(CStr("Isotherm Model Fits"), kLayoutLeft, kLayoutRight);
  table->SetLayoutBottom(below);
  table->AddItem(CStr("Fitted:"), description);
  table->AddItem(CStr("Ranking:"), CStr("corrected Akaike criterion (AICc), lowest first; " +
                                        std::to_string(points.pressures.size()) + " points"));
  std::vector<SIsothermFit const*> best;
  int rank = 0;
  for (SIsothermFit const& fit : fits) {
    if (!fit.Usable()) continue;
    if (best.size() < kBestShown) best.push_back(&fit);
    // Usable fits are results, not warnings: one plain line each.
    table->AddItem(
        CStr(std::to_string(++rank) + ". " + fit.name + ":"),
        CStr(FitParameterText(fit, points.pressureUnit, points.loadingUnit) + "; RMS error " +
             detail::FormatNumber(fit.rmsError) + " " + points.loadingUnit + ", AICc " +
             detail::FormatNumber(fit.aicc, "%.2f") + ", " + ToString(fit.status) +
             (fit.message.empty() ? "" : "; " + fit.message)));
  }
  for (SIsothermFit const& fit : fits)
    if (!fit.Usable())
      table->AddValidation(CStr(fit.name + ":"),
                           CStr(std::string("not usable: ") + ToString(fit.status)),
                           CStr(fit.message));
  CReportGraphData* linear = AddFitGraph(best, points, false, table, page);
  return AddFitGraph(best, points, true, linear, page);
}

}  // namespace fiofla
