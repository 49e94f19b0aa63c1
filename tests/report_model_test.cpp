#include "fiofla/report/report_model.h"

#include <gtest/gtest.h>
#include <rapidjson/document.h>

#include <algorithm>
#include <cmath>
#include <regex>
#include <set>
#include <sstream>
#include <string>

#include "fiofla/datagasadsorption.h"
#include "fiofla/report/report_render.h"
#include "fiofla/report/report_text.h"

namespace {

using fiofla::ReportText;
namespace palette = NRSGraphCurveData;

std::size_t Count(std::string const& text, std::string const& what) {
  std::size_t n = 0;
  for (auto pos = text.find(what); pos != std::string::npos; pos = text.find(what, pos + 1)) ++n;
  return n;
}

std::string Render(void (*render)(std::vector<CReportPageData const*> const&,
                                  fiofla::RenderOptions const&, std::ostream&),
                   CReportPageData const& page) {
  std::ostringstream out;
  render({&page}, fiofla::RenderOptions(), out);
  return out.str();
}

TEST(ReportModel, TextRegistry) {
  EXPECT_EQ(ReportText(fiofla::kTextCheckPassed), CStr("Passed"));
  EXPECT_EQ(fiofla::FindText(987654), nullptr);
  EXPECT_EQ(ReportText(987654), CStr("[text 987654]"));

  const char* const texts[] = {"first", "second"};
  fiofla::TextRegistrar registrar(900100, texts, 2);
  EXPECT_EQ(ReportText(900101), CStr("second"));
  CStr const* found = fiofla::FindText(900100);
  ASSERT_NE(found, nullptr);
  fiofla::RegisterText(900100, "replaced");
  EXPECT_EQ(*found, CStr("replaced"));  // a pointer handed out earlier sees the replacement
}

TEST(ReportModel, OptionsTableLines) {
  CReportPageData page("p");
  auto* results = page.AddOptionsTable("Results", 0, 500);
  auto* checks = page.AddOptionsTable("Checks", 500, 1000);
  checks->SetLayoutBottom(results);
  EXPECT_EQ(checks->LayoutBottom(), results);
  EXPECT_EQ(results->LayoutBottom(), nullptr);
  EXPECT_EQ(checks->LayoutLeft(), 500);

  checks->AddValidation("C value", ReportText(fiofla::kTextCheckPassed), "");
  checks->AddValidation("Range", "Too few points", "need 3");
  checks->AddValidation("Case", "passed", "");  // not the registered text
  fiofla::RegisterText(fiofla::kTextCheckPassed, "OK");
  checks->AddValidation("Translated", "OK", "");
  fiofla::RegisterText(fiofla::kTextCheckPassed, "Passed");
  auto const& v = checks->Lines();
  ASSERT_EQ(v.size(), 4u);
  EXPECT_TRUE(v[0].passed);
  EXPECT_FALSE(v[1].passed);
  EXPECT_EQ(v[1].line2, CStr("need 3"));
  EXPECT_FALSE(v[2].passed);
  EXPECT_TRUE(v[3].passed);

  results->AddNumericLine("Area", 12.3456, 0.0449, 2, "m²/g");
  results->AddNumericLine("C", 87.0, 0, nullptr);
  results->AddNumericLine("Monolayer", DVolumeAds(25.5), nullptr);
  auto const& n = results->Lines();
  ASSERT_EQ(n.size(), 3u);
  EXPECT_EQ(n[0].text, CStr("12.35"));
  EXPECT_EQ(n[0].errorText, CStr("0.04"));
  EXPECT_TRUE(n[0].hasError);
  EXPECT_DOUBLE_EQ(n[0].value, 12.3456);
  EXPECT_EQ(n[1].text, CStr("87"));
  EXPECT_TRUE(n[1].units.empty());
  EXPECT_FALSE(n[1].hasError);
  EXPECT_EQ(n[2].units, DVolumeAds::sm_Formatter.DisplayText());
  EXPECT_EQ(n[2].text, DVolumeAds(25.5).Format());
}

TEST(ReportModel, TablesAndCurves) {
  CReportStdTable table("t", 3, 0, 1000);
  table.SetColumnData(0, {1.0, 2.0});
  table.SetColumnData(1, {1.0, 2.0, 3.0, 4.0});
  table.SetColumnData(5, {1.0, 2.0, 3.0, 4.0, 5.0});  // out of range: ignored
  table.SetColumnTitle(-1, "x");
  EXPECT_EQ(table.RowCount(), 4u);
  EXPECT_EQ(CReportStdTable("empty", -2, 0, 1000).ColumnCount(), 0);

  CReportGraphData graph("g", 0, 1000);
  graph.AddAxis(CRSGraphAxisData::eBottom, 1, "x");
  graph.AddAxis(CRSGraphAxisData::eLeft, 2, "y");
  EXPECT_EQ(graph.Axis(2)->Type(), CRSGraphAxisData::eLeft);
  EXPECT_EQ(graph.Axis(7), nullptr);
  auto* curve = graph.AddCurve("c", 1, 2);
  curve->SetData({1.0, 2.0, 3.0}, {4.0, 5.0});
  EXPECT_EQ(curve->X().size(), 2u);
  EXPECT_EQ(curve->Y().size(), 2u);
  EXPECT_EQ(curve->X()[1], 2.0);
  auto* sub = curve->AddSubCurve("s");
  EXPECT_EQ(sub->XAxis(), 1);
  EXPECT_EQ(sub->YAxis(), 2);
  auto const& line = curve->AddOverlayLine(2.0, 1.0)->Polynomial();
  EXPECT_DOUBLE_EQ(line(3.0), 7.0);
  EXPECT_DOUBLE_EQ(line(0.0), 1.0);
}

TEST(ReportModel, Palettes) {
  std::uint32_t const c = 0x2040A0;
  EXPECT_EQ(palette::SaturateColor(c, 1.0), c);
  EXPECT_EQ(palette::SaturateColor(c, 0.0), 0xFFFFFFu);
  EXPECT_EQ(palette::SaturateColor(c, 3.0), c);
  EXPECT_EQ(palette::SaturateColor(c, -1.0), 0xFFFFFFu);
  EXPECT_EQ(palette::SaturateColor(0x000000, 0.5), 0x808080u);
  std::uint32_t const tint = palette::SaturateColor(c, 0.4);
  EXPECT_GT(tint & 0xFF, c & 0xFF);  // paler, yet still bluer than it is red
  EXPECT_GT(tint & 0xFF, tint >> 16);

  unsigned period = 1;
  while (palette::ColorPalette(period) != palette::ColorPalette(0)) ++period;
  EXPECT_GE(period, 6u);
  std::set<std::uint32_t> distinct;
  for (unsigned i = 0; i < period; ++i) distinct.insert(palette::ColorPalette(i));
  EXPECT_EQ(distinct.size(), period);
  for (unsigned i = 0; i < 3 * period; ++i)
    EXPECT_EQ(palette::ColorPalette(i), palette::ColorPalette(i + period));
  for (unsigned i = 0; i < 7; ++i) {
    EXPECT_EQ(palette::SymbolPalette(i), palette::SymbolPalette(i + 7));
    EXPECT_NE(palette::SymbolPalette(i), palette::eTriangleUp);
    EXPECT_NE(palette::SymbolPalette(i), palette::eNone);
  }
}

TEST(ReportModel, JsonOutput) {
  CReportPageData page("BET");
  auto* options = page.AddOptionsTable("Results", 0, 400);
  options->AddNumericLine("Area", NAN, 2, "m²/g");
  options->AddValidation("Check", "Passed", "");
  auto* table = page.AddStdTable("Points", 2, 0, 1000);
  table->SetUnitsContext(UnitsContextGasLib());
  table->SetColumnTitle(1, "1/[Q({%UT:InvRelativePressure%} - 1)]");
  table->SetColumnData(0, {0.1, NAN});
  table->SetLayoutBottom(options);
  auto* graph = page.AddGraph("Plot", 400, 1000);
  graph->AddAxis(CRSGraphAxisData::eBottom, 1, "x")->SetFormatter(&DPressureRel::sm_Formatter);
  graph->AddAxis(CRSGraphAxisData::eLeft, 2, "y");
  auto* curve = graph->AddCurve("data", 1, 2);
  curve->SetData({0.1, 0.2}, {1.0, INFINITY});
  curve->SetPenColor(0x1B4F9C);
  curve->AddOverlayLine(3.0, 0.5);

  rapidjson::Document doc;
  std::string const json = Render(fiofla::RenderJson, page);
  ASSERT_FALSE(doc.Parse(json.c_str()).HasParseError()) << json;
  auto const& items = doc["pages"][0]["items"];
  ASSERT_EQ(items.Size(), 3u);
  EXPECT_STREQ(items[0]["kind"].GetString(), "options_table");
  EXPECT_TRUE(items[0]["below"].IsNull());
  EXPECT_EQ(items[1]["below"].GetInt(), 0);
  EXPECT_TRUE(items[0]["lines"][0]["value"].IsNull());
  EXPECT_STREQ(items[0]["lines"][0]["units"].GetString(), "m²/g");
  EXPECT_TRUE(items[0]["lines"][1]["passed"].GetBool());

  auto const& columns = items[1]["columns"];
  EXPECT_STREQ(columns[1]["title"].GetString(), "1/[Q(Po/P - 1)]");
  EXPECT_DOUBLE_EQ(columns[0]["values"][0].GetDouble(), 0.1);
  EXPECT_TRUE(columns[0]["values"][1].IsNull());
  EXPECT_EQ(columns[0]["texts"].Size(), 2u);
  EXPECT_EQ(columns[1]["values"].Size(), 0u);

  auto const& g = items[2];
  EXPECT_EQ(g["layout"][0].GetInt(), 400);
  EXPECT_STREQ(g["axes"][0]["type"].GetString(), "bottom");
  EXPECT_STREQ(g["axes"][0]["units"].GetString(), DPressureRel::sm_Formatter.DisplayText().c_str());
  auto const& c = g["curves"][0];
  EXPECT_EQ(c["y_axis"].GetInt(), 2);
  EXPECT_STREQ(c["pen_color"].GetString(), "#1b4f9c");
  EXPECT_TRUE(c["y"][1].IsNull());
  EXPECT_DOUBLE_EQ(c["overlays"][0]["coefficients"][0].GetDouble(), 0.5);
  EXPECT_DOUBLE_EQ(c["overlays"][0]["coefficients"][1].GetDouble(), 3.0);
}

TEST(ReportModel, HtmlOutput) {
  CReportPageData page("Page <1>");
  auto* checks = page.AddOptionsTable("Checks", 0, 1000);
  checks->AddValidation("C value", "Passed", "");
  checks->AddValidation("Range", "Too few points", "");
  auto* graph = page.AddGraph("a<b & \"c\"", 0, 1000);
  graph->AddAxis(CRSGraphAxisData::eBottom, 1, "P/Po");
  graph->AddAxis(CRSGraphAxisData::eLeft, 2, "{%UT:InvRelativePressure%}");
  graph->SetUnitsContext(UnitsContextGasLib());
  graph->AddLegend(1);
  auto* data = graph->AddCurve("Measured", 1, 2);
  data->SetData({0.05, 0.1, NAN, 0.2, 0.3}, {1.0, 2.0, 3.0, NAN, 4.0});
  data->SetSymbol(palette::eDiamond);
  data->SetInterpolation(1);
  data->AddOverlayLine(10.0, 0.2)->SetPenStyle(1);
  data->AddSubCurve("Excluded")->SetSymbol(palette::eStar);
  graph->AddCurve("Hidden curve", 1, 2)->SetShown(false);
  graph->AddCurve("Nowhere", 1, 9)->SetData({1.0}, {1.0});  // no axis 9: skipped
  page.AddGraph("Empty", 0, 1000);
  page.AddStdTable("No columns", 0, 0, 1000);

  std::string const html = Render(fiofla::RenderHtml, page);
  EXPECT_NE(html.find("<meta charset=\"utf-8\">"), std::string::npos);
  EXPECT_EQ(Count(html, "<svg"), 2u);
  EXPECT_EQ(Count(html, "</svg>"), 2u);
  EXPECT_EQ(Count(html, "<table"), Count(html, "</table>"));
  EXPECT_EQ(Count(html, "<script"), 0u);
  EXPECT_EQ(Count(html, "clip-path=\"url(#fiofla-clip-0)\""), 1u);
  EXPECT_EQ(Count(html, "clip-path=\"url(#fiofla-clip-1)\""), 1u);
  EXPECT_NE(html.find("a&lt;b &amp; &quot;c&quot;"), std::string::npos);
  EXPECT_EQ(html.find("a<b"), std::string::npos);
  EXPECT_NE(html.find("Page &lt;1&gt;"), std::string::npos);
  EXPECT_NE(html.find(">Po/P</text>"), std::string::npos);
  EXPECT_NE(html.find("class=\"pass\""), std::string::npos);
  EXPECT_NE(html.find("class=\"warn\""), std::string::npos);
  EXPECT_NE(html.find("✓"), std::string::npos);
  EXPECT_NE(html.find("⚠"), std::string::npos);
  EXPECT_NE(html.find(">Excluded</text>"), std::string::npos);
  EXPECT_EQ(html.find("Hidden curve"), std::string::npos);
  EXPECT_EQ(html.find("Nowhere"), std::string::npos);
  EXPECT_EQ(html.find("nan"), std::string::npos);
  EXPECT_EQ(html.find("inf"), std::string::npos);
  EXPECT_NE(html.find("stroke-dasharray"), std::string::npos);
}

TEST(ReportModel, HtmlGraphScaling) {
  CQuantityFormatter mmol = DVolumeAds::sm_Formatter;
  ASSERT_TRUE(mmol.Units().Select("mmol/g"));
  CReportPageData page;
  auto* graph = page.AddGraph("g", 0, 1000);
  CRSGraphAxisData::SSetup fixed;
  fixed.autoScale = false;
  fixed.minimum = 0.0;
  fixed.maximum = 2.0;
  graph->AddAxis(CRSGraphAxisData::eBottom, 1, "x")->Setup(fixed);
  graph->AddAxis(CRSGraphAxisData::eLeft, 2, "y")->SetFormatter(&mmol);
  auto* curve = graph->AddCurve("c", 1, 2);
  curve->SetData({0.5, 1.0, 3.0}, {22.414, 33.621, 44.828});  // 1 .. 2 mmol/g
  curve->AddOverlayLine(0.0, 30.0)->SetPenColor(0x123456);
  auto* logGraph = page.AddGraph("log", 0, 1000);
  CRSGraphAxisData::SSetup log;
  log.logarithmic = true;
  logGraph->AddAxis(CRSGraphAxisData::eBottom, 1, "x")->Setup(log);
  logGraph->AddAxis(CRSGraphAxisData::eLeft, 2, "y");
  logGraph->AddCurve("l", 1, 2)->SetData({-1.0, 1.0, 10.0}, {10.0, 20.0, 30.0});
  std::string const html = Render(fiofla::RenderHtml, page);

  // Ticks in display units up to the explicit X end; none from the internal values.
  EXPECT_NE(html.find(">2.0</text>"), std::string::npos);
  EXPECT_EQ(html.find(">3.0</text>"), std::string::npos);
  EXPECT_EQ(html.find(">40</text>"), std::string::npos);

  std::smatch frame, overlay;
  ASSERT_TRUE(std::regex_search(
      html, frame,
      std::regex(R"re(<clipPath id="[^"]*"><rect x="([0-9.]+)" y="[0-9.]+" width="([0-9.]+)")re")));
  double const left = std::stod(frame[1]), right = left + std::stod(frame[2]);
  auto xRange = [](std::string const& points) {
    std::istringstream in(points);
    double low = 1e9, high = -1e9, x = 0.0, y = 0.0;
    char comma = 0;
    while (in >> x >> comma >> y) {
      low = std::min(low, x);
      high = std::max(high, x);
    }
    return std::make_pair(low, high);
  };
  // The overlay runs across the whole frame, not just between the points.
  ASSERT_TRUE(std::regex_search(html, overlay,
                                std::regex(R"re(stroke="#123456"[^>]* points="([^"]*)")re")));
  EXPECT_NEAR(xRange(overlay[1]).first, left, 1.5);
  EXPECT_NEAR(xRange(overlay[1]).second, right, 1.5);
  // Every line stays inside the frame: the point past the explicit end is clipped and the
  // negative one on the log axis dropped.
  std::regex const polyline(R"re(<polyline[^>]* points="([^"]*)")re");
  for (std::sregex_iterator it(html.begin(), html.end(), polyline), end; it != end; ++it) {
    auto const range = xRange((*it)[1]);
    EXPECT_GE(range.first, left - 1.5);
    EXPECT_LE(range.second, right + 1.5);
  }
}

TEST(ReportModel, TextOutput) {
  CReportPageData page("Page");
  auto* table = page.AddStdTable("Points", 2, 0, 1000);
  auto* checks = page.AddOptionsTable("Checks", 0, 1000);
  table->SetLayoutBottom(checks);  // added first, yet drawn after the item it is below
  table->SetColumnTitle(0, "P/Po");
  table->SetColumnTitle(1, "Quantity adsorbed");
  table->SetColumnData(0, {0.05, 0.125, 0.3});
  table->SetColumnData(1, {1.5, 1234.5});
  checks->AddValidation("C value", "Passed", "");
  checks->AddValidation("Range", "Too few points", "need 3");
  auto* graph = page.AddGraph("Plot", 0, 1000);
  graph->AddAxis(CRSGraphAxisData::eBottom, 1, "x");
  graph->AddAxis(CRSGraphAxisData::eLeft, 2, "y");
  auto* curve = graph->AddCurve("data", 1, 2);
  curve->SetData({0.3, 0.1, NAN}, {2.0, -1.0, 5.0});
  curve->AddOverlayLine(-2.0, 0.5);

  std::string const text = Render(fiofla::RenderText, page);
  EXPECT_LT(text.find("Checks"), text.find("Points"));
  EXPECT_NE(text.find("C value  [ok] Passed"), std::string::npos);
  EXPECT_NE(text.find("Range    [WARNING] Too few points need 3"), std::string::npos);
  EXPECT_NE(text.find("data: 3 points, x 0.1 .. 0.3, y -1 .. 2"), std::string::npos);
  EXPECT_NE(text.find("fitted line y = 0.5 - 2 x"), std::string::npos);

  // The table: header, rule, and rows whose numbers end in the same column as their titles.
  std::istringstream lines(text.substr(text.find("P/Po") - 2));
  std::vector<std::string> rows;
  for (std::string line; std::getline(lines, line) && !line.empty();) rows.push_back(line);
  ASSERT_EQ(rows.size(), 5u);
  EXPECT_EQ(rows[0], "  P/Po  Quantity adsorbed");
  EXPECT_EQ(rows[1], "  -----  -----------------");
  EXPECT_EQ(rows[2], "   0.05                1.5");
  EXPECT_EQ(rows[3], "  0.125             1234.5");
  EXPECT_EQ(rows[4], "    0.3");
}

TEST(ReportModel, TextOverlayEquationUsesDisplayUnits) {
  // Y in mmol/g (1 mmol/g = 22.414 cm3/g STP): the internal line 22.414 + 44.828 x reads
  // 1 + 2 x on the axis, as the point ranges printed beside it do.
  CQuantityFormatter mmol(fcn_UT_GasAmountAdsorbed(), CNumericFormat(), CNumericFormat());
  ASSERT_TRUE(mmol.Units().Select("mmol/g"));
  CReportPageData page;
  CReportGraphData* graph = page.AddGraph("g", 0, 1000);
  graph->AddAxis(CRSGraphAxisData::eBottom, 1, "x");
  graph->AddAxis(CRSGraphAxisData::eLeft, 2, "y")->SetFormatter(&mmol);
  CRSGraphCurveData* curve = graph->AddCurve("c", 1, 2);
  curve->SetData(CNumVector<double>{0.0, 1.0}, CNumVector<double>{22.414, 67.242});
  curve->AddOverlayLine(44.828, 22.414);
  std::ostringstream text;
  fiofla::RenderText({&page}, {}, text);
  EXPECT_NE(text.str().find("fitted line y = 1 + 2 x"), std::string::npos) << text.str();
  EXPECT_NE(text.str().find("y 1 .. 3 mmol/g"), std::string::npos) << text.str();
}

}  // namespace
