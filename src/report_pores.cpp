#include "fiofla/report_pores.h"

#include <cctype>
#include <cmath>
#include <cstdio>
#include <string>

#include "fiofla/report/report_text.h"
#include "fiofla/units/formatter.h"
#include "report_numbers.h"

namespace fiofla {
namespace {

constexpr int kLayoutLeft = 75;
constexpr int kLayoutRight = 775;

CRSGraphCurveData* Points(CReportGraphData* graph, CStr const& name, int index) {
  CRSGraphCurveData* curve = graph->AddCurve(name, 1, 2);
  curve->SetCurveType(2);  // symbols only
  curve->SetPenColor(NRSGraphCurveData::ColorPalette(index));
  curve->SetSymbol(NRSGraphCurveData::SymbolPalette(index));
  return curve;
}

CRSGraphCurveData* Line(CReportGraphData* graph, CStr const& name, int index) {
  CRSGraphCurveData* curve = graph->AddCurve(name, 1, 2);
  curve->SetCurveType(1);  // line only
  curve->SetInterpolation(1);
  curve->SetPenColor(NRSGraphCurveData::ColorPalette(index));
  return curve;
}

// Every point and step the BJH walk left out, one line each, below the intervals.
CReportDataItemBase* AddBjhLeftOut(CBJHCalc const& calc, BjhWording const& wording,
                                   CReportPageData* page, CReportDataItemBase* below) {
  const auto& dropped = calc.GetDroppedPoints();
  const auto& empty = calc.GetEmptySteps();
  if (dropped.empty() && empty.empty()) return below;
  CReportOptionsTable* table =
      page->AddOptionsTable(CStr("BJH Points and Steps Left Out"), kLayoutLeft, kLayoutRight);
  table->SetLayoutBottom(below);
  for (const auto& d : dropped) {
    std::string name =
        wording.pointName ? wording.pointName(d.index) : "point " + std::to_string(d.index + 1);
    name[0] = static_cast<char>(std::toupper(static_cast<unsigned char>(name[0])));
    table->AddItem(CStr(name + ":"), CStr("P/Po " + detail::FormatNumber(d.relPress, "%.6g") +
                                          ", " + detail::FormatNumber(d.qtyAdsorbed, "%.6g") +
                                          " cm³/g STP; left out: " + BjhDropReasonText(calc, d)));
  }
  for (const auto& e : empty)
    table->AddItem(
        CStr("P/Po " + detail::FormatNumber(e.relPressHigh) + " to " +
             detail::FormatNumber(e.relPressLow) + ":"),
        CStr(detail::FormatNumber(e.diameterHigh, "%.1f") + " to " +
             detail::FormatNumber(e.diameterLow, "%.1f") + " Å, volume left for new pores " +
             detail::FormatNumber(e.volume, "%.4g") + " cm³/g; " + BjhEmptyStepText(e)));
  return table;
}

}  // namespace

CReportDataItemBase* AddTPlotSection(CTPlotCalc const& calc, CStr const& curveName,
                                     CReportPageData* page, CReportDataItemBase* below) {
  if (page == nullptr || (calc.m_Status != 0 && calc.m_Status != 1)) return below;
  CReportOptionsTable* table =
      page->AddOptionsTable(CStr("t-Plot Report"), kLayoutLeft, kLayoutRight);
  table->SetLayoutBottom(below);
  table->AddNumericLine(CStr("Micropore volume:"), calc.m_MicroporeVolume,
                        calc.m_MicroporeVolumeError, 6, "cm³/g");
  if (calc.m_Status == 0)
    table->AddNumericLine(CStr("Micropore area:"), calc.m_MicroporeArea, 4, "m²/g");
  else
    table->AddItem(CStr("Micropore area:"), CStr("n/a: the total surface area is not positive"));
  table->AddNumericLine(CStr("External surface area:"), calc.m_ExternalArea,
                        calc.m_ExternalAreaError, 4, "m²/g");
  table->AddNumericLine(CStr("Slope:"), calc.m_Slope, calc.m_SlopeError, 6, "cm³/g STP per Å");
  table->AddNumericLine(CStr("Y-intercept:"), calc.m_Intercept, calc.m_InterceptError, 6,
                        "cm³/g STP");
  table->AddNumericLine(CStr("Correlation coefficient:"), calc.m_Correlation, 7, "");
  table->AddItem(CStr("Thickness curve:"), curveName);
  table->AddItem(CStr("Thickness range:"),
                 CStr(std::to_string(calc.m_ThicknessMin).substr(0, 5) + " to " +
                      std::to_string(calc.m_ThicknessMax).substr(0, 5) + " Å"));

  CReportGraphData* graph = page->AddGraph(CStr("t-Plot"), kLayoutLeft, kLayoutRight);
  graph->SetLayoutBottom(table);
  graph->AddLegend(1);
  graph->AddAxis(CRSGraphAxisData::eBottom, 1, CStr("Thickness (Å)"));
  graph->AddAxis(CRSGraphAxisData::eLeft, 2, CStr("Quantity Adsorbed (cm³/g STP)"));
  std::vector<double> tIn, qIn, tOut, qOut;
  const std::size_t n = std::min(calc.m_Thickness.size(), calc.m_QtyAdsorbed.size());
  for (std::size_t i = 0; i < n; ++i) {
    const double t = calc.m_Thickness[i];
    if (!(t > 0.0) || !std::isfinite(t)) continue;
    const bool inRange = t >= calc.m_ThicknessMin && t <= calc.m_ThicknessMax;
    (inRange ? tIn : tOut).push_back(t);
    (inRange ? qIn : qOut).push_back(calc.m_QtyAdsorbed[i]);
  }
  Points(graph, CStr("Isotherm"), 1)->SetData(detail::ToNum(tOut), detail::ToNum(qOut));
  Points(graph, CStr("Points in range"), 0)->SetData(detail::ToNum(tIn), detail::ToNum(qIn));
  // The fitted line from t = 0 (the intercept) to the end of the range.
  const double tEnd = calc.m_ThicknessMax;
  Line(graph, CStr("Fit"), 0)
      ->SetData(CNumVector<double>{0.0, tEnd},
                CNumVector<double>{calc.m_Intercept, calc.m_Intercept + calc.m_Slope * tEnd});
  return graph;
}

CReportDataItemBase* AddBjhSection(CBJHCalc const& calc, CStr const& description,
                                   CReportPageData* page, CReportDataItemBase* below,
                                   BjhWording const& wording) {
  if (page == nullptr || calc.GetStatus() != CBJHCalc::STATUS_OK) return below;
  CNumVector<double> d, avg, vol, cum, logPlain, logSmooth, area, cumArea;
  calc.GetPoreDiameters(d);
  calc.GetAverageDiameters(avg);
  calc.GetIncrementalVolume(vol);
  calc.GetCumulativeVolume(cum, true);
  calc.GetLogDifferentialVolume(logPlain, false);
  calc.GetLogDifferentialVolume(logSmooth, true);
  calc.GetIncrementalArea(area);
  calc.GetCumulativeArea(cumArea, true);
  const std::size_t m = avg.size();
  CNumVector<double> lower(m), upper(m);
  for (std::size_t k = 0; k < m; ++k) {
    upper[k] = d[k];
    lower[k] = d[k + 1];
  }

  CReportOptionsTable* table = page->AddOptionsTable(CStr("BJH Report"), kLayoutLeft, kLayoutRight);
  table->SetLayoutBottom(below);
  table->AddItem(CStr("Calculation:"), description);
  table->AddNumericLine(CStr("Total pore volume:"), calc.GetTotalPoreVolume(), 6, "cm³/g");
  table->AddNumericLine(CStr("Total pore area:"), calc.GetTotalPoreArea(), 4, "m²/g");
  table->AddNumericLine(CStr("Intervals:"), double(m), 0, "");
  table->AddNumericLine(
      CStr("Pore volume below " + detail::FormatNumber(calc.GetMinDiameter()) + " Å:"),
      calc.GetVolumeBelowRange(), 6, "cm³/g");
  table->AddNumericLine(
      CStr("Pore volume above " + detail::FormatNumber(calc.GetMaxDiameter()) + " Å:"),
      calc.GetVolumeAboveRange(), 6, "cm³/g");
  const std::vector<std::string> warnings = BjhWarnings(calc, wording);
  if (warnings.empty())
    table->AddValidation(CStr("Peak position:"), ReportText(kTextCheckPassed), CStr());
  for (const std::string& warning : warnings)
    table->AddValidation(CStr("Peak position:"), CStr(warning), CStr());
  // What the calculation left out, in words, on the page itself; the lines follow the table.
  for (const std::string& note : BjhNotes(calc, wording)) table->AddItem(CStr("Note:"), CStr(note));

  CRSGraphAxisData::SSetup logX;
  logX.logarithmic = true;
  logX.includeZero = false;
  CReportGraphData* cumGraph =
      page->AddGraph(CStr("BJH Cumulative Pore Volume"), kLayoutLeft, kLayoutRight);
  cumGraph->SetLayoutBottom(table);
  cumGraph->AddAxis(CRSGraphAxisData::eBottom, 1, CStr("Pore Diameter (Å)"))->Setup(logX);
  cumGraph->AddAxis(CRSGraphAxisData::eLeft, 2, CStr("Cumulative Pore Volume (cm³/g)"));
  CRSGraphCurveData* cumCurve = Points(cumGraph, CStr("Cumulative pore volume"), 0);
  cumCurve->SetCurveType(3);  // symbols joined by lines
  cumCurve->SetData(lower, cum);

  CReportGraphData* logGraph =
      page->AddGraph(CStr("BJH dV/dlog(D) Pore Volume"), kLayoutLeft, kLayoutRight);
  logGraph->SetLayoutBottom(cumGraph);
  logGraph->AddLegend(1);
  logGraph->AddAxis(CRSGraphAxisData::eBottom, 1, CStr("Pore Diameter (Å)"))->Setup(logX);
  logGraph->AddAxis(CRSGraphAxisData::eLeft, 2, CStr("dV/dlog(D) Pore Volume (cm³/g)"));
  if (logPlain.size() == m) {
    CRSGraphCurveData* plain = Points(logGraph, CStr("dV/dlog(D)"), 0);
    plain->SetCurveType(3);
    plain->SetData(avg, logPlain);
  }
  if (logSmooth.size() == m) Line(logGraph, CStr("Smoothed"), 1)->SetData(lower, logSmooth);

  // Eight columns need the page's whole width.
  CReportStdTable* intervals = page->AddStdTable(CStr("BJH Pore Intervals"), 8, 0, 1000);
  intervals->SetLayoutBottom(logGraph);
  const char* titles[] = {"From (Å)",
                          "To (Å)",
                          "Average (Å)",
                          "Volume (cm³/g)",
                          "Cum. volume (cm³/g)",
                          "dV/dlog(D) (cm³/g)",
                          "Area (m²/g)",
                          "Cum. area (m²/g)"};
  const CNumVector<double>* columns[] = {&upper, &lower,    &avg,  &vol,
                                         &cum,   &logPlain, &area, &cumArea};
  // The decimals of `fiofla bjh`: six significant digits made every column wider than the page
  // has room for once eight stand side by side.
  static const CQuantityFormatter* const formats[] = {
      &detail::FixedDecimals(2), &detail::FixedDecimals(2), &detail::FixedDecimals(2),
      &detail::FixedDecimals(6), &detail::FixedDecimals(6), &detail::FixedDecimals(5),
      &detail::FixedDecimals(4), &detail::FixedDecimals(4)};
  for (int c = 0; c < 8; ++c) {
    intervals->SetColumnTitle(c, CStr(titles[c]));
    intervals->SetColumnWidth(c, 60);
    intervals->SetColumnFormatter(c, formats[c]);
    intervals->SetColumnData(c, *columns[c]);
  }
  return AddBjhLeftOut(calc, wording, page, intervals);
}

}  // namespace fiofla
