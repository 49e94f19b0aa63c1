// BET report content, checked through the report model it produces.
#include "fiofla/report_bet.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "fiofla/datagasadsorption.h"
#include "fiofla/report/report_text.h"
#include "test_util.h"

namespace {

using Line = CReportOptionsTable::SLine;

// Infinite-layer BET isotherm with C = 100 and Qm = 100 cm3/g STP, all points in range.
std::shared_ptr<CCalcBET> FittedCalc(std::vector<double> x = {0.06, 0.1, 0.15, 0.2, 0.25, 0.3}) {
  CCalcBET::SInput in;
  const std::size_t n = x.size();
  in.relativePressure.SetDim(n, false);
  in.quantityAdsorbed.SetDim(n, false);
  in.pointFlags.SetDim(n, false);
  for (std::size_t i = 0; i < n; ++i) {
    const double c = 100.0, qm = 100.0;
    in.relativePressure[i] = x[i];
    in.quantityAdsorbed[i] = qm * c * x[i] / ((1 - x[i]) * (1 + (c - 1) * x[i]));
    in.pointFlags[i] =
        CCalcBET::POINT_INCLUDED | (x[i] >= 0.05 && x[i] <= 0.3 ? CCalcBET::POINT_IN_RANGE : 0);
  }
  return std::make_shared<CCalcBET>(in);
}

std::vector<Line> ValidationRows(const CCalcBET& calc) {
  CReportOptionsTable table("t", 0, 1000);
  NBET::Validate(calc, &table);
  return table.Lines();
}

CStr BetText(unsigned index) {
  return fiofla::ReportText(fiofla::kBetTextFirst + index);
}

TEST(ReportBet, TextsAreRegisteredVerbatim) {
  const char* expected[] = {"Warning:",
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
                            "Pressure range:"};
  static_assert(sizeof expected / sizeof expected[0] == fiofla::kBetTextCount);
  for (unsigned i = 0; i < fiofla::kBetTextCount; ++i)
    EXPECT_EQ(BetText(i), CStr(expected[i])) << i;
  EXPECT_EQ(fiofla::FindText(fiofla::kBetTextFirst + fiofla::kBetTextCount), nullptr);
}

TEST(ReportBet, CheckThresholdsAndTheirRows) {
  const auto calc = FittedCalc();
  ASSERT_EQ(calc->status, CCalcBET::STATUS_OK);
  const std::vector<Line> clean = ValidationRows(*calc);
  ASSERT_EQ(clean.size(), 4u);
  for (const Line& row : clean) {
    EXPECT_TRUE(row.passed) << row.label;
    EXPECT_EQ(row.text, fiofla::ReportText(fiofla::kTextCheckPassed));
    EXPECT_EQ(row.line2, CStr());
  }
  EXPECT_EQ(clean[0].label, CStr("C value:"));
  EXPECT_EQ(clean[1].label, CStr("Correlation coefficient:"));
  EXPECT_EQ(clean[2].label, CStr("Surface area:"));
  EXPECT_EQ(clean[3].label, CStr("Pressure range:"));

  CCalcBET c = *calc;
  struct {
    double value;
    bool warns;
    const char* line1;
    const char* line2;
  } cCases[] = {{350.0, true, "BET may not apply for C values > 400.", ""},
                {300.0, false, nullptr, nullptr},
                {0.0, false, nullptr, nullptr},
                {-0.5, true, "C value is low.  Select a new range, removing",
                 "some of the higher pressure points."}};
  for (const auto& k : cCases) {
    c.cValue = k.value;
    CReportOptionsTable table("t", 0, 1000);
    EXPECT_EQ(NBET::ValidateC(c, &table), k.warns) << k.value;
    EXPECT_EQ(NBET::ValidateC(c, nullptr), k.warns);
    ASSERT_EQ(table.Lines().size(), 1u);
    EXPECT_EQ(table.Lines()[0].passed, !k.warns);
    if (k.warns) {
      EXPECT_EQ(table.Lines()[0].text, CStr(k.line1));
      EXPECT_EQ(table.Lines()[0].line2, CStr(k.line2));
    }
  }

  c = *calc;
  c.correlation = 0.9975;
  EXPECT_FALSE(NBET::ValidateCoeff(c, nullptr));
  c.correlation = 0.99749;
  CReportOptionsTable coeff("t", 0, 1000);
  EXPECT_TRUE(NBET::ValidateCoeff(c, &coeff));
  EXPECT_EQ(coeff.Lines()[0].text, CStr("Review the BET plot and see if the correct"));
  EXPECT_EQ(coeff.Lines()[0].line2, CStr("range has been selected for calculating surface area."));

  c = *calc;
  c.surfaceArea = -1e-9;
  const std::vector<Line> area = ValidationRows(c);
  EXPECT_FALSE(area[2].passed);
  EXPECT_EQ(area[2].text, CStr("Review the isotherm.  Negative surface area"));
  EXPECT_EQ(area[2].line2, CStr("is the result of an inaccurate isotherm."));
}

TEST(ReportBet, PointRangeLooksAtFirstAndLastInPointOrder) {
  EXPECT_FALSE(NBET::ValidatePointRange(*FittedCalc({0.05, 0.2, 0.3}), nullptr));
  const auto low = FittedCalc({0.049, 0.1, 0.2});
  // 0.049 lies outside the flagged range of FittedCalc, so flag it by hand.
  CCalcBET c = *low;
  c.fitRelativePressure = CNumVector<double>{0.049, 0.1, 0.2};
  CReportOptionsTable table("t", 0, 1000);
  EXPECT_TRUE(NBET::ValidatePointRange(c, &table));
  EXPECT_EQ(table.Lines()[0].text, CStr("The selected BET relative pressure range is outside the"));
  EXPECT_EQ(table.Lines()[0].line2, CStr("recommended values of 0.05 to 0.30."));
  // Extremes inside the series do not matter, only the first and last point.
  c.fitRelativePressure = CNumVector<double>{0.2, 0.01, 0.9, 0.25};
  EXPECT_FALSE(NBET::ValidatePointRange(c, nullptr));
  c.fitRelativePressure = CNumVector<double>{0.1, 0.3000001};
  EXPECT_TRUE(NBET::ValidatePointRange(c, nullptr));

  // No range points: no row, no warning; Validate then gives three rows.
  c.fitRelativePressure.SetDim(0, false);
  CReportOptionsTable empty("t", 0, 1000);
  EXPECT_FALSE(NBET::ValidatePointRange(c, &empty));
  EXPECT_TRUE(empty.Lines().empty());
  EXPECT_EQ(ValidationRows(c).size(), 3u);
}

TEST(ReportBet, SummaryLinesAndTheNoFitWarning) {
  const auto calc = FittedCalc();
  CReportPageData page;
  auto* summary = static_cast<CReportOptionsTable*>(NBET::AddSummaryTable(*calc, &page, nullptr));
  EXPECT_EQ(summary->Title(), CStr("BET Report"));
  EXPECT_EQ(summary->LayoutLeft(), 75);
  EXPECT_EQ(summary->LayoutRight(), 775);
  const auto& lines = summary->Lines();
  ASSERT_EQ(lines.size(), 7u);
  const char* labels[] = {"BET surface area:",
                          "Slope:",
                          "Y-intercept:",
                          "C:",
                          "Qm:",
                          "Correlation coefficient:",
                          "Molecular cross-sectional area:"};
  for (int i = 0; i < 7; ++i) EXPECT_EQ(lines[i].label, CStr(labels[i]));
  EXPECT_EQ(lines[0].units, CStr("m²/g"));
  EXPECT_TRUE(lines[0].hasError);
  EXPECT_REL_CLOSE(lines[0].value, calc->surfaceArea, 1e-15);
  char area[64];
  std::snprintf(area, sizeof area, "%.4f", calc->surfaceArea);
  EXPECT_EQ(lines[0].text, CStr(area));
  EXPECT_TRUE(lines[1].hasError && lines[2].hasError);
  EXPECT_FALSE(lines[3].hasError);
  EXPECT_REL_CLOSE(lines[3].value, 100.0, 1e-9);
  EXPECT_EQ(lines[3].text, CStr("100.000000"));
  EXPECT_EQ(lines[4].text, DVolumeAds(calc->monolayerCapacity).Format());
  EXPECT_EQ(lines[4].units, CStr("cm³/g STP"));
  EXPECT_EQ(lines[6].text, CStr("0.1620"));
  EXPECT_EQ(lines[6].units, CStr("nm²"));

  CCalcBET none(CCalcBET::SInput{});
  ASSERT_EQ(none.status, CCalcBET::STATUS_TOO_FEW_POINTS);
  CReportOptionsTable table("t", 0, 1000);
  NBET::FillSummary(none, table);
  ASSERT_EQ(table.Lines().size(), 1u);
  EXPECT_EQ(table.Lines()[0].label, CStr("Warning:"));
  EXPECT_EQ(table.Lines()[0].text,
            CStr("At least two points must be selected for this calculation."));
}

TEST(ReportBet, TabularDataColumns) {
  const auto calc = FittedCalc({0.01, 0.06, 0.1, 0.2, 0.25});
  CReportPageData page;
  CReportDataItemBase* summary = NBET::AddSummaryTable(*calc, &page, nullptr);
  auto* table = static_cast<CReportStdTable*>(NBET::AddTabularData(*calc, &page, summary));
  EXPECT_EQ(table->LayoutBottom(), summary);
  ASSERT_TRUE(table->UnitsContext());
  EXPECT_EQ(table->UnitsContext()->Name(), CStr("UnitsContextGasLib"));
  ASSERT_EQ(table->ColumnCount(), 3);
  EXPECT_EQ(table->Column(0).title, CStr("Relative Pressure"));
  EXPECT_EQ(table->Column(1).title, CStr("Quantity Adsorbed"));
  EXPECT_EQ(table->Resolve(table->Column(2).title), CStr("1/[Q(Po/P - 1)]"));
  EXPECT_EQ(table->Column(0).width, 90);
  EXPECT_EQ(table->Column(1).width, 80);
  EXPECT_EQ(table->Column(2).width, 100);
  EXPECT_EQ(table->Column(0).formatter, &DPressureRel::sm_Formatter);
  EXPECT_EQ(table->Column(1).formatter, &DVolumeAds::sm_Formatter);
  EXPECT_EQ(table->Column(2).formatter, &DBETTransform::sm_Formatter);
  // Only the four range points, not the one at 0.01.
  EXPECT_EQ(table->RowCount(), 4u);
  EXPECT_EQ(table->Column(2).data, calc->fitTransform);
}

TEST(ReportBet, IsothermCurveStopsAtFirstFallOrSaturation) {
  CCalcBET calc = *FittedCalc({0.1, 0.2, 0.3, 0.25, 0.35});
  CReportGraphData graph("g", 0, 1000);
  CRSGraphCurveData* curve = NBET::BuildCurveIso(calc, "sample", &graph, 0, 1, 2);
  EXPECT_EQ(graph.LegendType(), 1);
  EXPECT_EQ(curve->CurveType(), 2);
  EXPECT_EQ(curve->X().size(), 3u);
  ASSERT_EQ(curve->SubCurves().size(), 1u);
  const CRSGraphCurveData& model = *curve->SubCurves()[0];
  EXPECT_EQ(model.Name(), CStr("BET Equation"));
  EXPECT_EQ(model.CurveType(), 1);
  EXPECT_EQ(model.Interpolation(), 1);
  EXPECT_EQ(model.PenColor(),
            NRSGraphCurveData::SaturateColor(NRSGraphCurveData::ColorPalette(0), 0.5));
  ASSERT_EQ(model.Y().size(), 3u);
  EXPECT_EQ(model.Y()[2], calc.calculatedIsotherm[2]);

  calc.relativePressure[1] = 1.0;
  EXPECT_EQ(NBET::BuildCurveIso(calc, "s", &graph, 0, 1, 2)->X().size(), 1u);

  calc.status = CCalcBET::STATUS_POINT_ABOVE_SATURATION;  // low bits 3: still drawn
  EXPECT_EQ(NBET::BuildCurveIso(calc, "s", &graph, 0, 1, 2)->X().size(), 1u);
  for (std::int16_t status : {CCalcBET::STATUS_TOO_FEW_POINTS, CCalcBET::STATUS_ZERO_INTERCEPT}) {
    calc.status = status;
    CRSGraphCurveData* empty = NBET::BuildCurveIso(calc, "s", &graph, 0, 1, 2);
    EXPECT_EQ(empty->X().size(), 0u);
    EXPECT_EQ(empty->SubCurves()[0]->X().size(), 0u);
  }
}

TEST(ReportBet, TransformCurvesAndOverlayLine) {
  const auto calc = FittedCalc({0.01, 0.06, 0.1, 0.2, 0.25});
  using namespace NRSGraphCurveData;
  CReportGraphData graph("g", 0, 1000);
  CRSGraphCurveData* first = NBET::BuildCurveBET(*calc, "a", &graph, 0, 1, 2);
  CRSGraphCurveData* third = NBET::BuildCurveBET(*calc, "b", &graph, 2, 1, 2);
  EXPECT_EQ(first->Symbol(), 4);
  EXPECT_EQ(first->CurveType(), 2);
  EXPECT_EQ(third->PenColor(), ColorPalette(2));
  EXPECT_EQ(first->SubCurves()[0]->Name(), CStr("Not Fitted"));
  EXPECT_EQ(first->SubCurves()[0]->Symbol(), SymbolPalette(0));
  EXPECT_EQ(third->SubCurves()[0]->Symbol(), SymbolPalette(3));
  EXPECT_EQ(third->SubCurves()[0]->PenColor(), SaturateColor(ColorPalette(2), 0.4));
  EXPECT_EQ(first->X().size(), 4u);
  EXPECT_EQ(first->SubCurves()[0]->X().size(), 1u);
  ASSERT_EQ(first->Overlays().size(), 1u);
  const CRSGraphOverlayData& line = *first->Overlays()[0];
  EXPECT_EQ(line.PenColor(), SaturateColor(ColorPalette(0), 0.5));
  // The overlay is the fitted line itself, so it passes through the transform points.
  for (std::size_t i = 0; i < first->X().size(); ++i)
    EXPECT_REL_CLOSE(line.Polynomial()(first->X()[i]), first->Y()[i], 1e-9);

  CCalcBET vertical = *calc;
  vertical.slope = -std::numeric_limits<double>::max();
  EXPECT_TRUE(NBET::BuildCurveBET(vertical, "v", &graph, 0, 1, 2)->Overlays().empty());
  CRSGraphCurveData filled("f", 1, 2);
  NBET::FillBETCurveData(vertical, &filled);
  EXPECT_TRUE(filled.Overlays().empty());
  NBET::FillBETCurveData(*calc, &filled);
  EXPECT_EQ(filled.Overlays().size(), 1u);

  CRSGraphCurveData check("c", 1, 2);
  NBET::FillCheckCurveData(*calc, &check);
  EXPECT_EQ(check.Symbol(), 4);
  EXPECT_EQ(check.Y(), calc->fitCheck);
  EXPECT_EQ(check.SubCurves()[0]->Y(), calc->otherCheck);
}

TEST(ReportBet, PlotsAxesOverlayAndMargin) {
  const std::vector<std::shared_ptr<CCalcBET>> calcs = {FittedCalc(),
                                                        FittedCalc({0.08, 0.12, 0.2})};
  const std::vector<CStr> names = {"one", "two"};
  CRSGraphAxisData::SSetup x, y;
  y.useMargin = true;
  CReportPageData page;
  CReportGraphData* bet = NBET::PlotReportBET(calcs, names, &page, x, y, true, nullptr);
  EXPECT_EQ(bet->Title(), CStr("BET Surface Area Plot"));
  ASSERT_EQ(bet->Axes().size(), 2u);
  EXPECT_EQ(bet->Axis(1)->Type(), CRSGraphAxisData::eBottom);
  EXPECT_EQ(bet->Axis(1)->Name(), CStr("Relative Pressure"));
  EXPECT_EQ(bet->Axis(2)->Type(), CRSGraphAxisData::eLeft);
  EXPECT_EQ(bet->Resolve(bet->Axis(2)->Title()), CStr("1/[Q(Po/P - 1)]"));
  ASSERT_EQ(bet->Curves().size(), 2u);
  EXPECT_EQ(bet->Curves()[0]->Name(), CStr("one"));
  EXPECT_EQ(bet->Curves()[0]->Symbol(), 4);
  EXPECT_EQ(bet->Curves()[1]->Symbol(), NRSGraphCurveData::SymbolPalette(1));
  EXPECT_EQ(bet->Curves()[1]->PenColor(), NRSGraphCurveData::ColorPalette(1));

  CReportGraphData* iso = NBET::PlotReportIso(calcs, names, &page, x, y, false, bet);
  EXPECT_EQ(iso->Title(), CStr("BET Isotherm Plot"));
  EXPECT_EQ(iso->LayoutBottom(), bet);
  EXPECT_EQ(iso->Axis(1)->Name(), CStr("X-Axis"));
  EXPECT_EQ(iso->Axis(1)->Title(), CStr("Relative Pressure"));
  EXPECT_EQ(iso->Axis(2)->Name(), CStr("Y-Axis"));
  EXPECT_EQ(iso->Axis(2)->Title(), DVolumeAds::sm_Formatter.DisplayText());
  EXPECT_EQ(iso->Curves().size(), 1u);  // no overlay asked for
  double lo = 10000.0, hi = 0.0;
  for (double q : calcs[0]->quantityAdsorbed) lo = std::min(lo, q), hi = std::max(hi, q);
  EXPECT_REL_CLOSE(iso->Axis(2)->Margin(), 0.05 * (hi + lo), 1e-12);
  y.useMargin = false;
  EXPECT_EQ(NBET::PlotReportIso(calcs, names, &page, x, y, true, nullptr)->Axis(2)->Margin(), 0.0);
  EXPECT_EQ(page.Items().size(), 3u);
}

}  // namespace
