#include "fiofla/report_iast.h"

#include <algorithm>
#include <cmath>
#include <string>

#include "report_numbers.h"

namespace fiofla {
namespace {

using detail::ToNum;

constexpr int kLayoutLeft = 75;
constexpr int kLayoutRight = 775;

CRSGraphCurveData* Curve(CReportGraphData* graph, std::string const& name, int index) {
  CRSGraphCurveData* curve = graph->AddCurve(CStr(name), 1, 2);
  curve->SetCurveType(3);  // line and symbols: a sweep is sampled, not continuous
  curve->SetInterpolation(1);
  curve->SetPenColor(NRSGraphCurveData::ColorPalette(index));
  curve->SetSymbol(NRSGraphCurveData::SymbolPalette(index));
  return curve;
}

// The abscissa of point k: total pressure, or the first component's gas fraction.
double Abscissa(SIastSection const& s, SIastPoint const& p) {
  return s.byComposition ? p.gasFractions.at(0) : p.pressure;
}

CReportGraphData* Graph(SIastSection const& s, std::string const& title, std::string const& yTitle,
                        bool logarithmic, CReportDataItemBase const* below, CReportPageData* page) {
  CReportGraphData* graph = page->AddGraph(CStr(title), kLayoutLeft, kLayoutRight);
  graph->SetLayoutBottom(below);
  graph->AddLegend(1);
  CRSGraphAxisData::SSetup x;
  x.logarithmic = logarithmic;
  x.includeZero = !logarithmic;
  const std::string xTitle = s.byComposition ? "Gas Mole Fraction of " + s.names.at(0)
                                             : "Total Pressure (" + s.pressureUnit + ")";
  graph->AddAxis(CRSGraphAxisData::eBottom, 1, CStr(xTitle))->Setup(x);
  graph->AddAxis(CRSGraphAxisData::eLeft, 2, CStr(yTitle));
  return graph;
}

}  // namespace

CReportDataItemBase* AddIastSection(SIastSection const& s, CStr const& description,
                                    CReportPageData* page, CReportDataItemBase* below) {
  if (page == nullptr || s.points.empty() || s.names.empty()) return below;
  const std::size_t n = s.names.size();
  std::vector<SIastPoint const*> ok;
  for (SIastPoint const& p : s.points)
    if (p.Ok() && p.gasFractions.size() == n && p.loadings.size() == n) ok.push_back(&p);

  CReportOptionsTable* table =
      page->AddOptionsTable(CStr("Ideal Adsorbed Solution Theory"), kLayoutLeft, kLayoutRight);
  table->SetLayoutBottom(below);
  table->AddItem(CStr("Mixture:"), description);
  for (std::size_t i = 0; i < n; ++i)
    table->AddItem(CStr(s.names[i] + ":"),
                   CStr(i < s.descriptions.size() ? s.descriptions[i] : std::string()));
  table->AddItem(CStr("Points:"), CStr(std::to_string(ok.size()) + " of " +
                                       std::to_string(s.points.size()) + " solved"));
  std::size_t outside = 0;
  for (SIastPoint const* p : ok) outside += p->Extrapolated() ? 1 : 0;
  if (outside > 0)
    table->AddValidation(CStr("Range:"),
                         CStr(std::to_string(outside) + " points need a pure-component pressure "
                                                        "outside the isotherm's known range"),
                         CStr("their amounts rest on extrapolated isotherms"));
  for (SIastPoint const& p : s.points)
    if (!p.Ok())
      table->AddValidation(CStr("Not solved:"),
                           CStr("at " + detail::FormatNumber(p.pressure, "%.5g") + " " +
                                s.pressureUnit + ": " + ToString(p.status)),
                           CStr(p.message));
  if (ok.empty()) return table;

  double lo = HUGE_VAL, hi = 0.0;
  for (SIastPoint const* p : ok) {
    lo = std::min(lo, p->pressure);
    hi = std::max(hi, p->pressure);
  }
  const bool logarithmic = !s.byComposition && lo > 0.0 && hi > 10.0 * lo;

  std::vector<double> x;
  for (SIastPoint const* p : ok) x.push_back(Abscissa(s, *p));
  CReportGraphData* amounts = Graph(
      s, "Adsorbed Amounts", "Adsorbed Amount (" + s.loadingUnit + ")", logarithmic, table, page);
  for (std::size_t i = 0; i <= n; ++i) {
    std::vector<double> y;
    for (SIastPoint const* p : ok) y.push_back(i < n ? p->loadings[i] : p->totalLoading);
    Curve(amounts, i < n ? s.names[i] : "Total", static_cast<int>(i))->SetData(ToNum(x), ToNum(y));
  }
  CReportDataItemBase* last = amounts;

  if (n >= 2) {
    CReportGraphData* selectivity = Graph(s, "Selectivity", "Selectivity", logarithmic, last, page);
    for (std::size_t j = 1; j < n; ++j) {
      std::vector<double> xs, y;
      for (SIastPoint const* p : ok) {
        const double v = p->Selectivity(0, j);
        if (!std::isfinite(v)) continue;  // a component absent at the sweep's ends
        xs.push_back(Abscissa(s, *p));
        y.push_back(v);
      }
      Curve(selectivity, s.names[0] + "/" + s.names[j], static_cast<int>(j - 1))
          ->SetData(ToNum(xs), ToNum(y));
    }
    last = selectivity;
  }

  if (s.byComposition) {
    CReportGraphData* xy = Graph(s, "Adsorbed against Gas Composition",
                                 "Adsorbed Mole Fraction of " + s.names[0], false, last, page);
    std::vector<double> y;
    for (SIastPoint const* p : ok) y.push_back(p->adsorbedFractions[0]);
    Curve(xy, "IAST", 0)->SetData(ToNum(x), ToNum(y));
    CRSGraphCurveData* diagonal = Curve(xy, "x = y", 1);
    diagonal->SetCurveType(1);
    diagonal->SetData(ToNum({0.0, 1.0}), ToNum({0.0, 1.0}));
    last = xy;
  }

  // The points: abscissa, then per component y, x and n, then the total.
  const int columns = static_cast<int>(2 + 3 * n);
  CReportStdTable* points =
      page->AddStdTable(CStr("Mixture Points"), columns, kLayoutLeft, kLayoutRight);
  points->SetLayoutBottom(last);
  const auto column = [&](int c, std::string const& title, std::vector<double> const& v,
                          int decimals) {
    points->SetColumnTitle(c, CStr(title));
    points->SetColumnWidth(c, 80);
    points->SetColumnFormatter(c, &detail::FixedDecimals(decimals));
    points->SetColumnData(c, ToNum(v));
  };
  std::vector<double> pressures;
  for (SIastPoint const* p : ok) pressures.push_back(p->pressure);
  column(0, "P (" + s.pressureUnit + ")", pressures, 5);
  for (std::size_t i = 0; i < n; ++i) {
    std::vector<double> y, xa, q;
    for (SIastPoint const* p : ok) {
      y.push_back(p->gasFractions[i]);
      xa.push_back(p->adsorbedFractions[i]);
      q.push_back(p->loadings[i]);
    }
    const int c = static_cast<int>(1 + 3 * i);
    column(c, "y " + s.names[i], y, 5);
    column(c + 1, "x " + s.names[i], xa, 5);
    column(c + 2, "n " + s.names[i] + " (" + s.loadingUnit + ")", q, 4);
  }
  std::vector<double> total;
  for (SIastPoint const* p : ok) total.push_back(p->totalLoading);
  column(columns - 1, "Total (" + s.loadingUnit + ")", total, 4);
  return points;
}

}  // namespace fiofla
