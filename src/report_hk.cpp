#include "fiofla/report_hk.h"

#include <cmath>
#include <string>

#include "fiofla/report/report_text.h"
#include "fiofla/units/formatter.h"
#include "report_numbers.h"

namespace fiofla {
namespace {

constexpr int kLayoutLeft = 75;
constexpr int kLayoutRight = 775;

CReportGraphData* Graph(CReportPageData* page, const char* title, const char* xTitle,
                        const char* yTitle, bool logX, CReportDataItemBase* below) {
  CRSGraphAxisData::SSetup x;
  x.logarithmic = logX;
  x.includeZero = !logX;
  CReportGraphData* graph = page->AddGraph(CStr(title), kLayoutLeft, kLayoutRight);
  graph->SetLayoutBottom(below);
  graph->AddAxis(CRSGraphAxisData::eBottom, 1, CStr(xTitle))->Setup(x);
  graph->AddAxis(CRSGraphAxisData::eLeft, 2, CStr(yTitle));
  return graph;
}

CRSGraphCurveData* Curve(CReportGraphData* graph, const char* name, int type) {
  CRSGraphCurveData* curve = graph->AddCurve(CStr(name), 1, 2);
  curve->SetCurveType(type);  // 1 line, 2 symbols, 3 both
  curve->SetInterpolation(1);
  curve->SetPenColor(NRSGraphCurveData::ColorPalette(0));
  curve->SetSymbol(NRSGraphCurveData::SymbolPalette(0));
  return curve;
}

// P/Po over many decades: six decimals, scientific below 0.001.
const CQuantityFormatter& RelPressFormat() {
  static const CQuantityFormatter format = [] {
    CQuantityFormatter f(CUnits(), CNumericFormat(CNumericFormat::eFixed, 6),
                         CNumericFormat(CNumericFormat::eScientific, 3));
    f.SetLowerLimit(1e-3);
    return f;
  }();
  return format;
}

}  // namespace

CReportDataItemBase* AddHkSection(CHKCalc const& calc, CStr const& description,
                                  CReportPageData* page, CReportDataItemBase* below) {
  if (page == nullptr || calc.GetStatus() != CHKCalc::STATUS_OK) return below;
  HKPotential const& pot = calc.GetPotential();
  CReportOptionsTable* table =
      page->AddOptionsTable(CStr("Horvath-Kawazoe Report"), kLayoutLeft, kLayoutRight);
  table->SetLayoutBottom(below);
  table->AddItem(CStr("Calculation:"), description);
  table->AddNumericLine(CStr("Micropore volume:"), calc.GetMicroporeVolume(), 6, "cm³/g");
  table->AddNumericLine(CStr("Median pore width:"), calc.GetMedianWidth(), 3, "Å");
  table->AddItem(CStr("Narrowest pore:"),
                 CStr(detail::FormatNumber(pot.MinWidth(), "%.3f") + " Å, filled at P/Po " +
                      detail::FormatNumber(std::exp(pot.MinLnRelPress()), "%.4g")));
  if (calc.GetLangmuirCapacity() > 0.0)
    table->AddNumericLine(CStr("Langmuir capacity:"), calc.GetLangmuirCapacity(), 4, "cm³/g STP");
  // Points in range without a width, counted by reason; those above the range are by choice.
  std::size_t counts[7] = {};
  std::size_t inRange = 0;
  for (auto const& d : calc.GetDroppedPoints())
    if (d.reason != CHKCalc::eAboveRange && d.reason >= 0 && d.reason < 7) {
      ++counts[d.reason];
      ++inRange;
    }
  if (inRange == 0) {
    table->AddValidation(CStr("Points:"), ReportText(kTextCheckPassed),
                         CStr("every point in range has a width"));
  } else {
    std::string why;
    for (int r = 0; r < 7; ++r)
      if (counts[r] > 0)
        why += (why.empty() ? "" : "; ") + std::to_string(counts[r]) + ": " +
               HKDropReasonText(static_cast<CHKCalc::EDropReason>(r));
    table->AddValidation(CStr("Points:"),
                         CStr(std::to_string(inRange) + " in range without a width"), CStr(why));
  }

  CNumVector<double> w, avg, dif;
  calc.GetPoreWidths(w);
  calc.GetAverageWidths(avg);
  calc.GetDifferentialVolume(dif);
  const CNumVector<double> widths = detail::ToNum(calc.GetWidths());
  CReportGraphData* cum = Graph(page, "Horvath-Kawazoe Cumulative Pore Volume", "Pore Width (Å)",
                                "Cumulative Pore Volume (cm³/g)", false, table);
  Curve(cum, "Cumulative pore volume", 3)
      ->SetData(widths, detail::ToNum(calc.GetCumulativeVolumes()));
  CReportGraphData* difGraph = Graph(page, "Horvath-Kawazoe dV/dw Pore Volume", "Pore Width (Å)",
                                     "dV/dw Pore Volume (cm³/g·Å)", false, cum);
  Curve(difGraph, "dV/dw", 3)->SetData(avg, dif);
  CReportGraphData* fill = Graph(page, "Horvath-Kawazoe Pore Width", "Relative Pressure (P/Po)",
                                 "Pore Width (Å)", true, difGraph);
  Curve(fill, "Pore width", 2)->SetData(detail::ToNum(calc.GetRelPress()), widths);

  CReportStdTable* points = page->AddStdTable(CStr("Horvath-Kawazoe Points"), 4, 0, 1000);
  points->SetLayoutBottom(fill);
  const char* titles[] = {"P/Po", "Quantity (cm³/g STP)", "Width (Å)", "Cum. volume (cm³/g)"};
  const CNumVector<double> columns[] = {detail::ToNum(calc.GetRelPress()),
                                        detail::ToNum(calc.GetQtyAdsorbed()), widths,
                                        detail::ToNum(calc.GetCumulativeVolumes())};
  static const CQuantityFormatter* const formats[] = {&RelPressFormat(), &detail::FixedDecimals(4),
                                                      &detail::FixedDecimals(3),
                                                      &detail::FixedDecimals(6)};
  for (int c = 0; c < 4; ++c) {
    points->SetColumnTitle(c, CStr(titles[c]));
    points->SetColumnWidth(c, 80);
    points->SetColumnFormatter(c, formats[c]);
    points->SetColumnData(c, columns[c]);
  }
  return points;
}

}  // namespace fiofla
