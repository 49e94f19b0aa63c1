// The chemisorption section of the report model: what it shows of a calculation.
#include "fiofla/report_chemi.h"

#include <gtest/gtest.h>

#include <cmath>
#include <string>

namespace {

std::string TextOf(const CReportDataItemBase& item) {
  std::string text;
  for (const auto& line : static_cast<const CReportOptionsTable&>(item).Lines())
    text += line.label.str() + " " + line.text.str() + " " + line.line2.str() + "\n";
  return text;
}

CSinfeltCalc::SInput Pair() {
  CSinfeltCalc::SInput in;
  for (int i = 1; i <= 12; ++i) {
    const double p = 40.0 * i;
    const double weak = 0.05 * p / (1.0 + 0.05 * p) * 0.1 + 1e-4 * p;
    in.m_CombinedPressures.push_back(p);
    in.m_CombinedQuantities.push_back(0.3 * 20.0 * p / (1.0 + 20.0 * p) + weak);
    in.m_WeakPressures.push_back(p);
    in.m_WeakQuantities.push_back(weak);
  }
  return in;
}

TEST(ReportChemi, TablesAndTheGraphWithEachLineThroughItsUptake) {
  const CSinfeltCalc calc(Pair());
  ASSERT_TRUE(calc.IsOK()) << calc.GetMessage();
  CReportPageData page;
  const auto* last = fiofla::AddChemiSection(calc, CStr("test"), &page, nullptr);
  ASSERT_EQ(page.Items().size(), 3u);  // uptakes, models, graph
  EXPECT_EQ(last, page.Items().back().get());
  EXPECT_EQ(page.Items()[1]->LayoutBottom(), page.Items()[0].get());

  const std::string uptakes = TextOf(*page.Items()[0]);
  for (const char* label : {"Combined uptake:", "Weak uptake:", "Strong uptake:"})
    EXPECT_NE(uptakes.find(label), std::string::npos) << uptakes;
  EXPECT_EQ(uptakes.find("Warning"), std::string::npos) << uptakes;
  const std::string models = TextOf(*page.Items()[1]);
  EXPECT_NE(models.find("Strong, langmuir: q_m = 0.3 ± "), std::string::npos) << models;

  const auto& graph = static_cast<const CReportGraphData&>(*page.Items()[2]);
  ASSERT_EQ(graph.Curves().size(), 3u);
  const CSinfeltCalc::EIsotherm order[] = {CSinfeltCalc::eCombined, CSinfeltCalc::eWeak,
                                           CSinfeltCalc::eStrong};
  for (std::size_t c = 0; c < 3; ++c) {
    const auto& curve = *graph.Curves()[c];
    EXPECT_EQ(curve.X().size(), calc.GetPressures(order[c]).size());
    ASSERT_EQ(curve.Overlays().size(), 1u);
    // The overlay is the extrapolated line: at zero pressure it is the uptake.
    EXPECT_DOUBLE_EQ(curve.Overlays()[0]->Polynomial().Evaluate(0.0), calc.GetUptake(order[c]));
  }
}

TEST(ReportChemi, AFailedAnalysisIsFlaggedAndAFailedActiveSurfaceAddsNothing) {
  CSinfeltCalc::SInput in = Pair();
  in.m_RangeLow = 1000.0;
  in.m_RangeHigh = 2000.0;
  in.m_FitModels = false;
  const CSinfeltCalc calc(in);
  CReportPageData page;
  fiofla::AddChemiSection(calc, CStr("test"), &page, nullptr);
  ASSERT_EQ(page.Items().size(), 2u);  // no model table
  const std::string text = TextOf(*page.Items()[0]);
  EXPECT_NE(text.find("Combined uptake: no line 0 point(s) in the range"), std::string::npos)
      << text;
  EXPECT_NE(text.find("Warning: the analysis is incomplete " + calc.GetMessage()),
            std::string::npos)
      << text;
  const auto& graph = static_cast<const CReportGraphData&>(*page.Items()[1]);
  for (const auto& curve : graph.Curves()) EXPECT_TRUE(curve->Overlays().empty());

  CActiveSurfaceCalc::SInput bad;  // no uptake, no metal
  const CActiveSurfaceCalc surface(bad);
  ASSERT_FALSE(surface.IsOK());
  EXPECT_EQ(fiofla::AddActiveSurfaceTable(surface, {}, &page, nullptr), nullptr);
  EXPECT_EQ(page.Items().size(), 2u);

  CReportPageData empty;
  EXPECT_EQ(fiofla::AddChemiSection(CSinfeltCalc(CSinfeltCalc::SInput()), CStr(), &empty, nullptr),
            nullptr);
  EXPECT_TRUE(empty.Items().empty());
}

}  // namespace
