#include "fiofla/report_dft.h"

#include <algorithm>
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

CReportGraphData* LogWidthGraph(CReportPageData* page, const char* title, const char* yTitle,
                                CReportDataItemBase* below) {
  CRSGraphAxisData::SSetup logX;
  logX.logarithmic = true;
  logX.includeZero = false;
  CReportGraphData* graph = page->AddGraph(CStr(title), kLayoutLeft, kLayoutRight);
  graph->SetLayoutBottom(below);
  graph->AddAxis(CRSGraphAxisData::eBottom, 1, CStr("Pore Width (Å)"))->Setup(logX);
  graph->AddAxis(CRSGraphAxisData::eLeft, 2, CStr(yTitle));
  return graph;
}

CRSGraphCurveData* Curve(CReportGraphData* graph, const char* name, int type, int index) {
  CRSGraphCurveData* curve = graph->AddCurve(CStr(name), 1, 2);
  curve->SetCurveType(type);  // 1 line, 2 symbols, 3 both
  curve->SetInterpolation(1);
  curve->SetPenColor(NRSGraphCurveData::ColorPalette(index));
  curve->SetSymbol(NRSGraphCurveData::SymbolPalette(index));
  return curve;
}

}  // namespace

const char* LambdaMethodText(CDFTCalc::ELambda method) {
  switch (method) {
    case CDFTCalc::ELambda::kFixed:
      return "given";
    case CDFTCalc::ELambda::kGcv:
      return "generalised cross-validation";
    case CDFTCalc::ELambda::kLCurve:
      return "L-curve corner";
  }
  return "";
}

CReportDataItemBase* AddDftSection(CDFTCalc const& calc, CStr const& description,
                                   CReportPageData* page, CReportDataItemBase* below) {
  CNumVector<double> w, vol, cumVol, difVol, logVol, area, cumArea;
  calc.GetPoreDiameters(w);
  if (page == nullptr || w.size() < 2) return below;
  calc.GetIncrementalVolume(vol);
  calc.GetCumulativeVolume(cumVol);
  calc.GetDifferentialVolume(difVol);
  calc.GetLogDifferentialVolume(logVol);
  calc.GetIncrementalArea(area);
  calc.GetCumulativeArea(cumArea);

  CReportOptionsTable* table = page->AddOptionsTable(CStr("DFT Report"), kLayoutLeft, kLayoutRight);
  table->SetLayoutBottom(below);
  table->AddItem(CStr("Calculation:"), description);
  table->AddNumericLine(CStr("Total pore volume:"), calc.GetTotalPoreVolume(), 6, "cm³/g");
  table->AddNumericLine(CStr("Total surface area:"), calc.GetTotalSurfaceArea(), 4, "m²/g");
  table->AddItem(CStr("Pore widths:"), CStr(detail::FormatNumber(w[0], "%.2f") + " to " +
                                            detail::FormatNumber(w[w.size() - 1], "%.2f") + " Å, " +
                                            std::to_string(w.size()) + " classes"));
  table->AddItem(
      CStr("Regularisation:"),
      CStr("λ = " + detail::FormatNumber(calc.GetLambda()) + " (" +
           LambdaMethodText(calc.GetLambdaMethod()) + "), " +
           detail::FormatNumber(calc.GetDegreesOfFreedom(), "%.1f") + " degrees of freedom"));
  table->AddItem(CStr("Representation:"),
                 CStr(calc.IsBSplineSolution()
                          ? "cubic B-splines, " + std::to_string(calc.GetNumKnotIntervals()) +
                                " knot intervals"
                          : std::string("one value per class")));
  table->AddNumericLine(CStr("RMS fit error:"), calc.RMSError(), 4, "cm³/g STP");
  table->AddNumericLine(CStr("Roughness:"), calc.GetRoughness(), 4, "");
  if (calc.Warnings().empty())
    table->AddValidation(CStr("Checks:"), ReportText(kTextCheckPassed), CStr());
  for (const std::string& warning : calc.Warnings())
    table->AddValidation(CStr("Warning:"), CStr(warning), CStr());

  // Measured and fitted isotherms; for two gases, one pair of curves per gas.
  CRSGraphAxisData::SSetup logP;
  logP.logarithmic = true;
  logP.includeZero = false;
  CReportGraphData* iso = page->AddGraph(CStr("DFT Fitted Isotherm"), kLayoutLeft, kLayoutRight);
  iso->SetLayoutBottom(table);
  iso->AddLegend(1);
  iso->AddAxis(CRSGraphAxisData::eBottom, 1, CStr("Relative Pressure (P/Po)"))->Setup(logP);
  iso->AddAxis(CRSGraphAxisData::eLeft, 2, CStr("Quantity Adsorbed (cm³/g STP)"));
  const CNumVector<double>& p = calc.GetFitPressures();
  const std::size_t n = p.size(), first = std::min<std::size_t>(calc.GetNumPoints(), n);
  for (int block = 0; block < (first < n ? 2 : 1); ++block) {
    const std::size_t lo = block == 0 ? 0 : first, hi = block == 0 ? first : n;
    CNumVector<double> x(hi - lo), measured(hi - lo), fitted(hi - lo);
    for (std::size_t k = lo; k < hi; ++k) {
      x[k - lo] = p[k];
      measured[k - lo] = calc.GetFitMeasured()[k];
      fitted[k - lo] = calc.GetFitQuantities()[k];
    }
    const bool two = first < n;
    Curve(iso, two ? (block == 0 ? "Measured (first gas)" : "Measured (second gas)") : "Measured",
          2, 2 * block)
        ->SetData(x, measured);
    Curve(iso, two ? (block == 0 ? "Fitted (first gas)" : "Fitted (second gas)") : "Fitted", 1,
          2 * block + 1)
        ->SetData(x, fitted);
  }

  CReportGraphData* cum =
      LogWidthGraph(page, "DFT Cumulative Pore Volume", "Cumulative Pore Volume (cm³/g)", iso);
  Curve(cum, "Cumulative pore volume", 3, 0)->SetData(w, cumVol);
  CReportGraphData* dif =
      LogWidthGraph(page, "DFT dV/dw Pore Volume", "dV/dw Pore Volume (cm³/g·Å)", cum);
  Curve(dif, "dV/dw", 3, 0)->SetData(w, difVol);
  CReportGraphData* logGraph =
      LogWidthGraph(page, "DFT dV/dlog(w) Pore Volume", "dV/dlog(w) Pore Volume (cm³/g)", dif);
  Curve(logGraph, "dV/dlog(w)", 3, 0)->SetData(w, logVol);

  CReportStdTable* classes = page->AddStdTable(CStr("DFT Pore Classes"), 7, 0, 1000);
  classes->SetLayoutBottom(logGraph);
  const char* titles[] = {"Width (Å)",       "Volume (cm³/g)",     "Cum. volume (cm³/g)",
                          "dV/dw (cm³/g·Å)", "dV/dlog(w) (cm³/g)", "Area (m²/g)",
                          "Cum. area (m²/g)"};
  const CNumVector<double>* columns[] = {&w, &vol, &cumVol, &difVol, &logVol, &area, &cumArea};
  static const CQuantityFormatter* const formats[] = {
      &detail::FixedDecimals(2), &detail::FixedDecimals(6), &detail::FixedDecimals(6),
      &detail::FixedDecimals(6), &detail::FixedDecimals(6), &detail::FixedDecimals(4),
      &detail::FixedDecimals(4)};
  for (int c = 0; c < 7; ++c) {
    classes->SetColumnTitle(c, CStr(titles[c]));
    classes->SetColumnWidth(c, 60);
    classes->SetColumnFormatter(c, formats[c]);
    classes->SetColumnData(c, *columns[c]);
  }
  return classes;
}

}  // namespace fiofla
