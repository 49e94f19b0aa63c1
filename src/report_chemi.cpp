#include "fiofla/report_chemi.h"

#include <algorithm>
#include <cmath>
#include <string>

#include "report_numbers.h"

namespace fiofla {
namespace {

using detail::ToNum;

constexpr int kLayoutLeft = 75;
constexpr int kLayoutRight = 775;

std::string Num(double x, const char* format = "%.5g") {
  return std::isfinite(x) ? detail::FormatNumber(x, format) : "n/a";
}

const char* Title(CSinfeltCalc::EIsotherm which) {
  return which == CSinfeltCalc::eCombined ? "Combined"
         : which == CSinfeltCalc::eWeak   ? "Weak"
                                          : "Strong";
}

std::vector<CSinfeltCalc::EIsotherm> Shown(CSinfeltCalc const& calc) {
  if (!calc.HasWeak()) return {CSinfeltCalc::eCombined};
  return {CSinfeltCalc::eCombined, CSinfeltCalc::eWeak, CSinfeltCalc::eStrong};
}

// The three isotherms as symbols, each with its line across the axis to zero pressure.
CReportDataItemBase* AddIsothermGraph(CSinfeltCalc const& calc, CReportPageData* page,
                                      CReportDataItemBase* below) {
  CReportGraphData* graph =
      page->AddGraph(CStr("Chemisorption Isotherms"), kLayoutLeft, kLayoutRight);
  graph->SetLayoutBottom(below);
  graph->AddLegend(1);
  graph->AddAxis(CRSGraphAxisData::eBottom, 1, CStr("Absolute Pressure (mmHg)"));
  graph->AddAxis(CRSGraphAxisData::eLeft, 2, CStr("Quantity Adsorbed (cm³/g STP)"));
  int index = 0;
  for (CSinfeltCalc::EIsotherm which : Shown(calc)) {
    CRSGraphCurveData* curve = graph->AddCurve(CStr(Title(which)), 1, 2);
    curve->SetCurveType(2);  // symbols only
    curve->SetPenColor(NRSGraphCurveData::ColorPalette(index));
    curve->SetSymbol(NRSGraphCurveData::SymbolPalette(index));
    curve->SetData(ToNum(calc.GetPressures(which)), ToNum(calc.GetQuantities(which)));
    const auto& line = calc.GetLine(which);
    if (line.m_Valid)
      curve->AddOverlayLine(line.m_Slope, line.m_Intercept)
          ->SetPenColor(NRSGraphCurveData::ColorPalette(index));
    ++index;
  }
  return graph;
}

}  // namespace

CReportDataItemBase* AddChemiSection(CSinfeltCalc const& calc, CStr const& description,
                                     CReportPageData* page, CReportDataItemBase* below) {
  if (page == nullptr || calc.GetPressures(CSinfeltCalc::eCombined).empty()) return below;
  CReportOptionsTable* table =
      page->AddOptionsTable(CStr("Chemisorption Uptake"), kLayoutLeft, kLayoutRight);
  table->SetLayoutBottom(below);
  table->AddItem(CStr("Analysis:"), description);
  for (CSinfeltCalc::EIsotherm which : Shown(calc)) {
    const auto& l = calc.GetLine(which);
    const CStr label(std::string(Title(which)) + " uptake:");
    if (!l.m_Valid) {
      table->AddValidation(label, CStr("no line"),
                           CStr(std::to_string(l.m_Points) + " point(s) in the range"));
      continue;
    }
    table->AddItem(
        label,
        CStr(Num(l.m_Intercept) + " ± " + Num(l.m_InterceptError, "%.2g") + " cm³/g STP (" +
             Num(l.m_Intercept * kMicromolPerCm3Stp) + " µmol/g); slope " + Num(l.m_Slope, "%.4g") +
             " ± " + Num(l.m_SlopeError, "%.2g") + " cm³/g STP/mmHg, r² " +
             Num(l.m_RSquared, "%.6f") + ", " + std::to_string(l.m_Points) + " points"));
  }
  if (!calc.IsOK())
    table->AddValidation(CStr("Warning:"), CStr("the analysis is incomplete"),
                         CStr(calc.GetMessage()));

  CReportDataItemBase* last = table;
  if (!calc.GetModelFits().empty()) {
    CReportOptionsTable* fits =
        page->AddOptionsTable(CStr("Chemisorption Isotherm Models"), kLayoutLeft, kLayoutRight);
    fits->SetLayoutBottom(table);
    for (auto const& f : calc.GetModelFits()) {
      const CStr label(std::string(Title(f.m_Isotherm)) + ", " + ChemiModelName(f.m_Model) + ":");
      if (!f.m_Valid) {
        fits->AddValidation(label, CStr("not fitted"), CStr(f.m_Message));
        continue;
      }
      std::string text;
      for (std::size_t i = 0; i < f.m_Parameters.size(); ++i)
        text += f.m_Names[i] + " = " + Num(f.m_Parameters[i]) + " ± " +
                Num(f.m_StandardErrors[i], "%.2g") +
                (f.m_Units[i].empty() ? "" : " " + f.m_Units[i]) + ", ";
      fits->AddItem(label, CStr(text + "r² " + Num(f.m_RSquared, "%.6f") + ", RMS " +
                                Num(f.m_RmsError, "%.3g") + " cm³/g STP"));
    }
    last = fits;
  }
  return AddIsothermGraph(calc, page, last);
}

CReportDataItemBase* AddActiveSurfaceTable(CActiveSurfaceCalc const& calc,
                                           SActiveSurfaceReport const& what, CReportPageData* page,
                                           CReportDataItemBase* below) {
  if (page == nullptr || !calc.IsOK()) return below;
  CReportOptionsTable* t = page->AddOptionsTable(CStr("Active Metal"), kLayoutLeft, kLayoutRight);
  t->SetLayoutBottom(below);
  t->AddItem(CStr("Metal:"), CStr(what.metal.symbol + ", " + Num(what.loadingPercent) + " wt%; M " +
                                  Num(what.metal.molarMassGPerMol, "%.6g") + " g/mol, density " +
                                  Num(what.metal.densityGPerCm3, "%.5g") + " g/cm³, " +
                                  Num(what.metal.AtomAreaNm2(), "%.4g") + " nm² per surface atom"));
  t->AddItem(CStr("Uptake used:"),
             CStr(what.uptakeUsed + ", " + Num(calc.GetUptakeMicromolPerG()) + " µmol/g" +
                  (what.gas.empty() ? "" : " " + what.gas) + "; " +
                  Num(what.stoichiometry, "%.4g") + " metal atoms per molecule"));
  t->AddItem(CStr("Dispersion:"), CStr(Num(calc.GetDispersionPercent(), "%.4g") + " %"));
  t->AddItem(CStr("Metal area:"), CStr(Num(calc.GetAreaM2PerGSample(), "%.4g") + " m²/g sample, " +
                                       Num(calc.GetAreaM2PerGMetal(), "%.4g") + " m²/g metal"));
  t->AddItem(CStr("Crystallite size:"),
             CStr(Num(calc.GetCrystalliteSizeNm(), "%.4g") + " nm (shape factor " +
                  Num(what.shapeFactor, "%.3g") + ")"));
  return t;
}

}  // namespace fiofla
