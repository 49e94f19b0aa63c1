#include "fiofla/report_heat.h"

#include <algorithm>
#include <cmath>

#include "report_numbers.h"

namespace fiofla {
namespace {

using detail::ToNum;

constexpr int kLayoutLeft = 75;
constexpr int kLayoutRight = 775;
constexpr std::size_t kMostIsosteres = 12;

}  // namespace

CReportDataItemBase* AddIsostericHeatSection(SHeatSection const& s, CStr const& description,
                                             CReportPageData* page, CReportDataItemBase* below) {
  if (page == nullptr || s.loadings.empty()) return below;
  CReportOptionsTable* table =
      page->AddOptionsTable(CStr("Isosteric Heat of Adsorption"), kLayoutLeft, kLayoutRight);
  table->SetLayoutBottom(below);
  table->AddItem(CStr("Method:"), description);
  for (std::string const& line : s.lines) {
    const auto colon = line.find(": ");
    if (colon == std::string::npos)
      table->AddItem(CStr(""), CStr(line));
    else
      table->AddItem(CStr(line.substr(0, colon + 1)), CStr(line.substr(colon + 2)));
  }

  // Qst with one standard error either side, over the loadings that have a heat.
  std::vector<double> q, h, up, down;
  for (std::size_t i = 0; i < s.loadings.size() && i < s.heats.size(); ++i) {
    if (!std::isfinite(s.heats[i])) continue;
    const double e = i < s.errors.size() && std::isfinite(s.errors[i]) ? s.errors[i] : 0.0;
    q.push_back(s.loadings[i]);
    h.push_back(s.heats[i]);
    up.push_back(s.heats[i] + e);
    down.push_back(s.heats[i] - e);
  }
  if (q.empty()) {
    table->AddValidation(CStr("No heat:"), CStr("no loading is reached by two isotherms"),
                         CStr(""));
    return table;
  }
  CReportGraphData* graph =
      page->AddGraph(CStr("Isosteric Heat against Loading"), kLayoutLeft, kLayoutRight);
  graph->SetLayoutBottom(table);
  graph->AddLegend(1);
  graph->AddAxis(CRSGraphAxisData::eBottom, 1, CStr("Loading (" + s.loadingUnit + ")"));
  graph->AddAxis(CRSGraphAxisData::eLeft, 2, CStr("Isosteric Heat (kJ/mol)"));
  CRSGraphCurveData* qst = graph->AddCurve(CStr("Qst"), 1, 2);
  qst->SetCurveType(3);
  qst->SetInterpolation(1);
  qst->SetPenColor(NRSGraphCurveData::ColorPalette(0));
  qst->SetSymbol(NRSGraphCurveData::SymbolPalette(0));
  qst->SetData(ToNum(q), ToNum(h));
  for (auto const* band : {&up, &down}) {
    CRSGraphCurveData* c = graph->AddCurve(CStr(band == &up ? "+1 s.e." : "-1 s.e."), 1, 2);
    c->SetCurveType(1);
    c->SetInterpolation(1);
    c->SetPenStyle(1);
    c->SetPenColor(NRSGraphCurveData::SaturateColor(NRSGraphCurveData::ColorPalette(0), 0.45));
    c->SetData(ToNum(q), ToNum(*band));
  }
  CReportDataItemBase* last = graph;

  // The isosteres, spread evenly over those there are when there are many.
  if (!s.isosteres.empty()) {
    CReportGraphData* iso = page->AddGraph(CStr("Isosteres"), kLayoutLeft, kLayoutRight);
    iso->SetLayoutBottom(last);
    iso->AddLegend(1);
    CRSGraphAxisData::SSetup x;
    x.includeZero = false;
    x.useMargin = true;
    iso->AddAxis(CRSGraphAxisData::eBottom, 1, CStr("1000/T (1/K)"))->Setup(x);
    CRSGraphAxisData::SSetup y;
    y.includeZero = false;
    y.useMargin = true;
    iso->AddAxis(CRSGraphAxisData::eLeft, 2, CStr("ln(P/" + s.pressureUnit + ")"))->Setup(y);
    const std::size_t n = s.isosteres.size();
    const std::size_t shown = std::min(n, kMostIsosteres);
    for (std::size_t k = 0; k < shown; ++k) {
      SIsostere const& i = s.isosteres[shown == 1 ? 0 : k * (n - 1) / (shown - 1)];
      std::vector<double> xs;
      for (double t : i.inverseTemperature) xs.push_back(1000.0 * t);
      CRSGraphCurveData* c =
          iso->AddCurve(CStr(detail::FormatNumber(i.loading, "%.4g") + " " + s.loadingUnit), 1, 2);
      c->SetCurveType(2);
      c->SetPenColor(NRSGraphCurveData::ColorPalette(static_cast<unsigned>(k)));
      c->SetSymbol(NRSGraphCurveData::SymbolPalette(static_cast<unsigned>(k)));
      c->SetData(ToNum(xs), ToNum(i.lnPressure));
      // The line in the axis's 1000/T: ln P = intercept + (slope/1000) (1000/T).
      c->AddOverlayLine(i.slope / 1000.0, i.intercept)
          ->SetPenColor(NRSGraphCurveData::ColorPalette(static_cast<unsigned>(k)));
    }
    last = iso;
  }

  CReportStdTable* heats = page->AddStdTable(CStr("Isosteric Heats"), 3, kLayoutLeft, kLayoutRight);
  heats->SetLayoutBottom(last);
  const char* titles[] = {nullptr, "Qst (kJ/mol)", "Standard error (kJ/mol)"};
  std::vector<double> errors;
  for (std::size_t i = 0; i < q.size(); ++i) errors.push_back(up[i] - h[i]);
  std::vector<double> const* columns[] = {&q, &h, &errors};
  for (int c = 0; c < 3; ++c) {
    heats->SetColumnTitle(c, CStr(c == 0 ? "Loading (" + s.loadingUnit + ")" : titles[c]));
    heats->SetColumnWidth(c, 110);
    heats->SetColumnFormatter(c, &detail::FixedDecimals(c == 0 ? 4 : 3));
    heats->SetColumnData(c, ToNum(*columns[c]));
  }
  return heats;
}

}  // namespace fiofla
