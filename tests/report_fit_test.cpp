// The model-fit section of the report model: what it draws from a ranked list of fits.
#include "fiofla/report_fit.h"

#include <gtest/gtest.h>

#include <cmath>
#include <string>

namespace {

using fiofla::EIsothermModel;

TEST(ReportFit, ParameterUnitsTakeThePressureAndLoadingUnits) {
  EXPECT_EQ(fiofla::FitParameterUnit("loading", "kPa", "cm3/g STP"), "cm3/g STP");
  EXPECT_EQ(fiofla::FitParameterUnit("loading/pressure", "kPa", "cm3/g STP"), "(cm3/g STP)/kPa");
  EXPECT_EQ(fiofla::FitParameterUnit("1/pressure", "P/Po", "mmol/g"), "1/(P/Po)");
  EXPECT_EQ(fiofla::FitParameterUnit("1", "kPa", "mmol/g"), "");
}

TEST(ReportFit, TableRanksTheFitsAndGraphsShowTheBestThree) {
  // A BET isotherm in P/Po up to 0.8, where the BET curve already climbs steeply; the fits go
  // in as ranked here (the section keeps the caller's order).
  std::vector<double> p, q;
  for (int i = 1; i <= 20; ++i) {
    const double x = 0.04 * i;
    p.push_back(x);
    q.push_back(2.0 * 80.0 * x / ((1.0 - x) * (1.0 - x + 80.0 * x)));
  }
  fiofla::SIsothermSetup setup;
  setup.saturationPressure = 1.0;
  std::vector<fiofla::SIsothermFit> fits;
  for (auto kind : {EIsothermModel::kBET, EIsothermModel::kGAB, EIsothermModel::kLangmuir,
                    EIsothermModel::kFreundlich, EIsothermModel::kHenry})
    fits.push_back(fiofla::FitIsotherm(kind, p, q, setup));
  // One that cannot be used: a single point.
  fits.push_back(fiofla::FitIsotherm(EIsothermModel::kToth, {0.1}, {1.0}, setup));
  ASSERT_FALSE(fits.back().Usable());
  for (std::size_t k = 0; k + 1 < fits.size(); ++k) ASSERT_TRUE(fits[k].Usable()) << k;

  CReportPageData page;
  const auto* last =
      fiofla::AddFitSection(fits, {p, q, "P/Po", "mmol/g"}, CStr("test fit"), &page, nullptr);
  ASSERT_EQ(page.Items().size(), 3u);
  EXPECT_EQ(last, page.Items().back().get());
  const auto& table = static_cast<const CReportOptionsTable&>(*page.Items()[0]);
  std::string text;
  for (const auto& line : table.Lines()) text += line.label.str() + " " + line.text.str() + "\n";
  EXPECT_NE(text.find("1. bet: n_m = 2 ± "), std::string::npos) << text;
  EXPECT_NE(text.find("5. henry:"), std::string::npos) << text;
  EXPECT_NE(text.find("toth: not usable: "), std::string::npos) << text;

  for (int g = 1; g <= 2; ++g) {
    const auto& graph = static_cast<const CReportGraphData&>(*page.Items()[g]);
    ASSERT_EQ(graph.Curves().size(), 4u);  // measured and three models
    EXPECT_EQ(graph.Curves()[0]->X().size(), p.size());
    EXPECT_EQ(graph.Curves()[1]->Name().str(), "bet");
    for (const auto& curve : graph.Curves())
      for (std::size_t i = 0; i < curve->X().size(); ++i) {
        EXPECT_TRUE(std::isfinite(curve->Y()[i]));
        if (g == 2) EXPECT_GT(curve->X()[i], 0.0);  // the logarithmic axis
      }
  }

  // Without points nothing is added.
  CReportPageData empty;
  EXPECT_EQ(fiofla::AddFitSection(fits, {}, CStr(), &empty, nullptr), nullptr);
  EXPECT_TRUE(empty.Items().empty());
}

}  // namespace
