#include "fiofla/report_bet.h"

#include <algorithm>
#include <boost/format.hpp>
#include <cmath>
#include <limits>

#include "fiofla/datagasadsorption.h"
#include "fiofla/report/report_text.h"

namespace {

// The texts are kept verbatim, double blanks and the 400 of #24 included: applications
// that compare report output across versions rely on them.
const char* const kBetTexts[fiofla::kBetTextCount] = {
    "Warning:",
    "At least two points must be selected for this calculation.",
    "BET surface area:",
    "m²/g",
    "Slope:",
    "Y-intercept:",
    "C:",
    "Qm:",
    "Correlation coefficient:",
    "Molecular cross-sectional area:",
    "nm²",
    "BET Report",
    "Relative Pressure",
    "Quantity Adsorbed",
    "1/[Q({%UT:InvRelativePressure%} - 1)]",
    "BET Equation",
    "Not Fitted",
    "BET Surface Area Plot",
    "Relative Pressure",
    "1/[Q({%UT:InvRelativePressure%} - 1)]",
    "BET Isotherm Plot",
    "C value:",
    "C value is low.  Select a new range, removing",
    "some of the higher pressure points.",
    "BET may not apply for C values > 400.",
    "Review the %s plot and see if the correct",
    "range has been selected for calculating surface area.",
    "BET",
    "Surface area:",
    "Review the isotherm.  Negative surface area",
    "is the result of an inaccurate isotherm.",
    "The selected BET relative pressure range is outside the",
    "recommended values of 0.05 to 0.30.",
    "Pressure range:",
};

const fiofla::TextRegistrar kRegisterBetTexts(fiofla::kBetTextFirst, kBetTexts,
                                              fiofla::kBetTextCount);

CStr Text(unsigned index) {
  return fiofla::ReportText(fiofla::kBetTextFirst + index);
}

// Layout numbers of every BET item: the usual full-width column of a report page.
constexpr int kLayoutLeft = 75;
constexpr int kLayoutRight = 775;

// Adds a validation row: the warning lines, or the "check passed" row.
bool Verdict(CReportOptionsTable* table, unsigned label, bool warn, CStr const& line1,
             CStr const& line2) {
  if (table != nullptr) {
    if (warn)
      table->AddValidation(Text(label), line1, line2);
    else
      table->AddValidation(Text(label), fiofla::ReportText(fiofla::kTextCheckPassed), CStr());
  }
  return warn;
}

// A vertical slope of DBL_MAX marks a line that cannot be drawn; no overlay for it.
bool Drawable(double slope) {
  return std::fabs(slope) != std::numeric_limits<double>::max();
}

// Measured points of the isotherm as they are drawn: from the first point on, up to the
// first fall in relative pressure or the first point at saturation.
std::size_t DrawnPointCount(CCalcBET const& calc) {
  const std::size_t n = std::min(calc.relativePressure.size(), calc.quantityAdsorbed.size());
  double previous = -1.0;
  for (std::size_t i = 0; i < n; ++i) {
    const double x = calc.relativePressure[i];
    if (x < previous || x >= 1.0) return i;
    previous = x;
  }
  return n;
}

CNumVector<double> Head(CNumVector<double> const& v, std::size_t count) {
  CNumVector<double> out(std::min(count, v.size()));
  std::copy(v.begin(), v.begin() + static_cast<std::ptrdiff_t>(out.size()), out.begin());
  return out;
}

CStr NameAt(std::vector<CStr> const& names, std::size_t i) {
  return i < names.size() ? names[i] : CStr();
}

// Creates the graph frame shared by both plots: title, units context, placement, X axis.
CReportGraphData* NewGraph(CReportPageData* page, unsigned title, CReportDataItemBase* below) {
  CReportGraphData* graph = page->AddGraph(Text(title), kLayoutLeft, kLayoutRight);
  graph->SetUnitsContext(UnitsContextGasLib());
  graph->SetLayoutBottom(below);
  return graph;
}

}  // namespace

namespace NBET {

bool ValidateC(CCalcBET const& calc, CReportOptionsTable* table) {
  if (calc.cValue < 0.0) return Verdict(table, 21, true, Text(22), Text(23));
  // Warns above 300 although the text names 400: both are kept as the field knows them.
  if (calc.cValue > 300.0) return Verdict(table, 21, true, Text(24), CStr());
  return Verdict(table, 21, false, CStr(), CStr());
}

bool ValidateCoeff(CCalcBET const& calc, CReportOptionsTable* table) {
  if (calc.correlation < 0.9975) {
    const std::string line1 = boost::str(boost::format(Text(25).str()) % Text(27).str());
    return Verdict(table, 8, true, CStr(line1), Text(26));
  }
  return Verdict(table, 8, false, CStr(), CStr());
}

bool ValidateArea(CCalcBET const& calc, CReportOptionsTable* table) {
  return Verdict(table, 28, calc.surfaceArea < 0.0, Text(29), Text(30));
}

bool ValidatePointRange(CCalcBET const& calc, CReportOptionsTable* table) {
  const CNumVector<double>& range = calc.fitRelativePressure;
  if (range.empty()) return false;
  // First and last in point order, not the extremes: the range is as the analyst chose it.
  const bool warn = range[0] < 0.05 || range[range.size() - 1] > 0.3;
  return Verdict(table, 33, warn, Text(31), Text(32));
}

bool Validate(CCalcBET const& calc, CReportOptionsTable* table) {
  bool warned = ValidateC(calc, table);
  warned = ValidateCoeff(calc, table) || warned;
  warned = ValidateArea(calc, table) || warned;
  warned = ValidatePointRange(calc, table) || warned;
  return warned;
}

std::vector<std::string> Warnings(CCalcBET const& calc) {
  CReportOptionsTable rows(CStr(), 0, 0);
  Validate(calc, &rows);
  std::vector<std::string> words;
  for (const auto& line : rows.Lines()) {
    if (line.kind != CReportOptionsTable::eValidation || line.passed) continue;
    std::string text = line.label.str() + " " + line.text.str();
    if (!line.line2.empty()) text += " " + line.line2.str();
    // The report's texts break lines with double blanks; one sentence reads better.
    for (auto at = text.find("  "); at != std::string::npos; at = text.find("  ", at))
      text.erase(at, 1);
    words.push_back(text);
  }
  return words;
}

void FillSummary(CCalcBET const& calc, CReportOptionsTable& table) {
  if (calc.slope == 0.0 && calc.slopeError == 0.0 && calc.yIntercept == 0.0 &&
      calc.yInterceptError == 0.0 && calc.correlation == 0.0) {
    table.AddItem(Text(0), Text(1));
    return;
  }
  const std::string m2PerG = Text(3).str();
  const std::string nm2 = Text(10).str();
  table.AddNumericLine(Text(2), calc.surfaceArea, calc.surfaceAreaError, 4, m2PerG.c_str());
  table.AddNumericLine(Text(4), DBETTransform(calc.slope), DBETTransform(calc.slopeError), nullptr);
  table.AddNumericLine(Text(5), DBETTransform(calc.yIntercept), DBETTransform(calc.yInterceptError),
                       nullptr);
  table.AddNumericLine(Text(6), calc.cValue, 6, "");
  table.AddNumericLine(Text(7), DVolumeAds(calc.monolayerCapacity), nullptr);
  table.AddNumericLine(Text(8), calc.correlation, 7, "");
  table.AddNumericLine(Text(9), calc.crossSectionalArea, 4, nm2.c_str());
}

CReportDataItemBase* AddSummaryTable(CCalcBET const& calc, CReportPageData* page,
                                     CReportDataItemBase* below) {
  if (page == nullptr) return nullptr;
  CReportOptionsTable* table = page->AddOptionsTable(Text(11), kLayoutLeft, kLayoutRight);
  table->SetLayoutBottom(below);
  FillSummary(calc, *table);
  return table;
}

CReportDataItemBase* AddTabularData(CCalcBET const& calc, CReportPageData* page,
                                    CReportDataItemBase* below) {
  if (page == nullptr) return nullptr;
  CReportStdTable* table = page->AddStdTable(CStr(), 3, kLayoutLeft, kLayoutRight);
  table->SetLayoutBottom(below);
  table->SetUnitsContext(UnitsContextGasLib());

  table->SetColumnTitle(0, Text(12));
  table->SetColumnWidth(0, 90);
  table->SetColumnFormatter(0, &DPressureRel::sm_Formatter);
  table->SetColumnData(0, calc.fitRelativePressure);

  table->SetColumnTitle(1, Text(13));
  table->SetColumnWidth(1, 80);
  table->SetColumnFormatter(1, &DVolumeAds::sm_Formatter);
  table->SetColumnData(1, calc.fitQuantity);

  table->SetColumnTitle(2, table->Resolve(Text(14)));
  table->SetColumnWidth(2, 100);
  table->SetColumnFormatter(2, &DBETTransform::sm_Formatter);
  table->SetColumnData(2, calc.fitTransform);
  return table;
}

void FillBETCurveData(CCalcBET const& calc, CRSGraphCurveData* curve) {
  if (curve == nullptr) return;
  curve->SetSymbol(4);
  curve->SetData(calc.fitRelativePressure, calc.fitTransform);
  curve->AddSubCurve(Text(16))->SetData(calc.otherRelativePressure, calc.otherTransform);
  if (Drawable(calc.slope))
    curve->AddOverlay(CNumPolynomialExtrap(CNumPolynomial(calc.yIntercept, calc.slope)));
}

void FillCheckCurveData(CCalcBET const& calc, CRSGraphCurveData* curve) {
  if (curve == nullptr) return;
  curve->SetSymbol(4);
  curve->SetData(calc.fitRelativePressure, calc.fitCheck);
  curve->AddSubCurve(Text(16))->SetData(calc.otherRelativePressure, calc.otherCheck);
}

CRSGraphCurveData* BuildCurveIso(CCalcBET const& calc, CStr const& name, CReportGraphData* graph,
                                 unsigned short index, unsigned short xAxis, unsigned short yAxis) {
  if (graph == nullptr) return nullptr;
  using NRSGraphCurveData::ColorPalette;
  using NRSGraphCurveData::SaturateColor;
  graph->AddLegend(1);
  CRSGraphCurveData* curve = graph->AddCurve(name, xAxis, yAxis);
  curve->SetCurveType(2);
  curve->SetPenStyle(0);
  curve->SetShown(true);
  // Colour and symbol follow the calculation's index so that overlays stay apart.
  curve->SetPenColor(ColorPalette(index));
  curve->SetSymbol(NRSGraphCurveData::SymbolPalette(index));

  CRSGraphCurveData* model = curve->AddSubCurve(Text(15));
  model->SetCurveType(1);
  model->SetInterpolation(1);
  model->SetPenColor(SaturateColor(ColorPalette(index), 0.5));
  model->SetPenStyle(0);
  model->SetShown(true);

  // Only status 4 and 35 (low bits above 2) carry a fitted model worth drawing.
  if ((calc.status & 0xF) > 2) {
    const std::size_t count = DrawnPointCount(calc);
    curve->SetData(Head(calc.relativePressure, count), Head(calc.quantityAdsorbed, count));
    const std::size_t modelCount = std::min(count, calc.calculatedIsotherm.size());
    model->SetData(Head(calc.relativePressure, modelCount),
                   Head(calc.calculatedIsotherm, modelCount));
  }
  return curve;
}

CRSGraphCurveData* BuildCurveBET(CCalcBET const& calc, CStr const& name, CReportGraphData* graph,
                                 unsigned short index, unsigned short xAxis, unsigned short yAxis) {
  if (graph == nullptr) return nullptr;
  using NRSGraphCurveData::ColorPalette;
  using NRSGraphCurveData::SaturateColor;
  using NRSGraphCurveData::SymbolPalette;
  const std::uint32_t color = ColorPalette(index);

  CRSGraphCurveData* curve = graph->AddCurve(name, xAxis, yAxis);
  curve->SetPenColor(color);
  curve->SetSymbol(4);
  curve->SetCurveType(2);
  curve->SetPenStyle(0);
  curve->SetShown(true);
  curve->SetData(calc.fitRelativePressure, calc.fitTransform);

  CRSGraphCurveData* other = curve->AddSubCurve(Text(16));
  other->SetCurveType(2);
  other->SetPenColor(SaturateColor(color, 0.4));
  other->SetPenStyle(0);
  other->SetSymbol(index > 0 ? SymbolPalette(index + 1u) : SymbolPalette(0));
  other->SetShown(true);
  other->SetData(calc.otherRelativePressure, calc.otherTransform);

  if (Drawable(calc.slope)) {
    CRSGraphOverlayData* line = curve->AddOverlayLine(calc.slope, calc.yIntercept);
    line->SetPenColor(SaturateColor(ColorPalette(index), 0.5));
    line->SetPenStyle(0);
  }
  return curve;
}

namespace {

using CurveBuilder = CRSGraphCurveData* (*)(CCalcBET const&, CStr const&, CReportGraphData*,
                                            unsigned short, unsigned short, unsigned short);

void AddCurves(std::vector<std::shared_ptr<CCalcBET>> const& calcs, std::vector<CStr> const& names,
               CReportGraphData* graph, bool overlay, CurveBuilder build) {
  using NRSGraphCurveData::ColorPalette;
  if (calcs.empty() || !calcs[0]) return;
  CRSGraphCurveData* first = build(*calcs[0], NameAt(names, 0), graph, 0, 1, 2);
  first->SetPenColor(ColorPalette(0));
  if (!overlay) return;
  for (std::size_t i = 1; i < calcs.size(); ++i) {
    if (!calcs[i]) continue;
    const auto index = static_cast<unsigned short>(i);
    CRSGraphCurveData* curve = build(*calcs[i], NameAt(names, i), graph, index, 1, 2);
    curve->SetPenColor(ColorPalette(index));
    curve->SetSymbol(NRSGraphCurveData::SymbolPalette(index));
  }
}

}  // namespace

CReportGraphData* PlotReportIso(std::vector<std::shared_ptr<CCalcBET>> const& calcs,
                                std::vector<CStr> const& names, CReportPageData* page,
                                CRSGraphAxisData::SSetup const& x,
                                CRSGraphAxisData::SSetup const& y, bool overlay,
                                CReportDataItemBase* below) {
  if (page == nullptr) return nullptr;
  CReportGraphData* graph = NewGraph(page, 20, below);
  CRSGraphAxisData* xAxis = graph->AddAxis(CRSGraphAxisData::eBottom, 1, "X-Axis");
  xAxis->SetTitle(Text(18));
  xAxis->Setup(x);
  CRSGraphAxisData* yAxis = graph->AddAxis(CRSGraphAxisData::eLeft, 2, "Y-Axis");
  yAxis->SetTitle(DVolumeAds::sm_Formatter.DisplayText());
  yAxis->SetFormatter(&DVolumeAds::sm_Formatter);
  yAxis->Setup(y);
  if (y.useMargin && !calcs.empty() && calcs[0]) {
    double largest = 0.0;
    double smallest = 10000.0;
    for (double q : calcs[0]->quantityAdsorbed) {
      largest = std::max(largest, q);
      smallest = std::min(smallest, q);
    }
    yAxis->SetMargin(0.5 * 0.1 * (std::fabs(largest) + std::fabs(smallest)));
  }
  AddCurves(calcs, names, graph, overlay, &BuildCurveIso);
  return graph;
}

CReportGraphData* PlotReportBET(std::vector<std::shared_ptr<CCalcBET>> const& calcs,
                                std::vector<CStr> const& names, CReportPageData* page,
                                CRSGraphAxisData::SSetup const& x,
                                CRSGraphAxisData::SSetup const& y, bool overlay,
                                CReportDataItemBase* below) {
  if (page == nullptr) return nullptr;
  CReportGraphData* graph = NewGraph(page, 17, below);
  graph->AddAxis(CRSGraphAxisData::eBottom, 1, Text(18))->Setup(x);
  CRSGraphAxisData* yAxis = graph->AddAxis(CRSGraphAxisData::eLeft, 2, Text(19));
  yAxis->SetFormatter(&DBETTransform::sm_Formatter);
  yAxis->Setup(y);
  AddCurves(calcs, names, graph, overlay, &BuildCurveBET);
  return graph;
}

}  // namespace NBET
