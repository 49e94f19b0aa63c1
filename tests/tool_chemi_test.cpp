// `fiofla chemi` driven in-process: the bundled hydrogen-on-platinum pair gives back the
// dispersion it was made with, a written Langmuir-plus-linear isotherm its capacity, and bad
// arguments and inputs a message naming what was wrong.
#include <gtest/gtest.h>
#include <rapidjson/document.h>
#include <unistd.h>

#include <cmath>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "test_util.h"
#include "tool_run.h"

namespace {

namespace fs = std::filesystem;
using fiofla::testing::RunTool;
using fiofla::testing::ToolRun;

const std::string kCombined = std::string(FIOFLA_DATA_DIR) + "/examples/h2_308k_pt_combined.csv";
const std::string kWeak = std::string(FIOFLA_DATA_DIR) + "/examples/h2_308k_pt_weak.csv";

// A scratch folder for the test's files.
struct Fixture : fiofla::testing::TempDir {
  Fixture() : TempDir("chemi-tool") {}
  const std::filesystem::path& dir = path;
};

rapidjson::Document Json(const ToolRun& r) {
  return fiofla::testing::ParseJson(r);
}

// The line of one isotherm in the "uptakes" table.
const rapidjson::Value* Uptake(const rapidjson::Document& doc, const char* isotherm) {
  for (const auto& row : doc["uptakes"].GetArray())
    if (std::string(row["isotherm"].GetString()) == isotherm) return &row;
  return nullptr;
}

TEST(ToolChemi, TheBundledPairGivesTheDispersionItWasMadeWith) {
  const ToolRun r = RunTool(
      {"chemi", kCombined, kWeak, "--metal", "Pt", "--loading", "1wt%", "--gas", "H2", "--json"});
  ASSERT_EQ(r.code, 0) << r.err << r.out;
  EXPECT_EQ(r.err, "");  // no note about Po: hydrogen at 308 K has none, and needs none
  const auto doc = Json(r);
  ASSERT_EQ(doc["uptakes"].Size(), 3u);
  // Made with 10.25 µmol/g held strongly on 1 wt% Pt, 40 % dispersion; the plateau still
  // rises a little above 100 mmHg, so the line gives some 1 % less.
  const auto* strong = Uptake(doc, "strong");
  ASSERT_NE(strong, nullptr);
  EXPECT_REL_CLOSE((*strong)["uptake_umol_per_g"].GetDouble(), 10.25, 0.02);
  const auto& metal = doc["active_metal"];
  EXPECT_STREQ(metal["uptake_used"].GetString(), "strong");
  EXPECT_EQ(metal["stoichiometry"].GetDouble(), 2.0);
  EXPECT_REL_CLOSE(metal["dispersion_percent"].GetDouble(), 40.0, 0.02);
  // Platinum spheres: d = 1.133 nm / D.
  EXPECT_NEAR(
      metal["crystallite_size_nm"].GetDouble() * metal["dispersion_percent"].GetDouble() / 100.0,
      1.133, 0.001);
  EXPECT_EQ(doc["model_fits"].Size(), 8u);

  // The combined uptake instead, and a cube: the size scales by 5/6 of the combined's.
  const ToolRun c = RunTool({"chemi", kCombined, kWeak, "--metal", "Pt", "--loading", "1",
                             "--uptake", "combined", "--shape-factor", "cube", "--json"});
  ASSERT_EQ(c.code, 0) << c.err;
  const auto cdoc = Json(c);
  EXPECT_REL_CLOSE(cdoc["active_metal"]["uptake_umol_per_g"].GetDouble(),
                   (*Uptake(cdoc, "combined"))["uptake_umol_per_g"].GetDouble(), 1e-12);
  EXPECT_NEAR(cdoc["active_metal"]["crystallite_size_nm"].GetDouble() *
                  cdoc["active_metal"]["dispersion_percent"].GetDouble() / 100.0,
              1.133 * 5.0 / 6.0, 0.001);
}

TEST(ToolChemi, ALangmuirPlusLinearIsothermGivesItsCapacity) {
  const Fixture fx;
  // CO on palladium, cm³/g STP: capacity 0.5, K = 20 /mmHg, support 1e-4 per mmHg; over
  // 200-500 mmHg the line undershoots the capacity by about 2/(K·200).
  std::ostringstream s;
  s.precision(17);
  s << "# adsorptive: CO; temperature: 308.15 K\npressure [mmHg],loading [cm3/g STP]\n";
  for (int i = 1; i <= 30; ++i) {
    const double p = 20.0 * i;
    s << p << "," << 0.5 * 20.0 * p / (1.0 + 20.0 * p) + 1e-4 * p << "\n";
  }
  const std::string file = fx.Write("co.csv", s.str());
  const ToolRun r = RunTool({"chemi", file, "--metal", "palladium", "--loading", "2 wt%", "--range",
                             "200:500", "--json"});
  ASSERT_EQ(r.code, 0) << r.err;
  const auto doc = Json(r);
  const auto* combined = Uptake(doc, "combined");
  EXPECT_REL_CLOSE((*combined)["uptake_cm3_per_g_stp"].GetDouble(), 0.5, 5e-4);
  EXPECT_EQ((*combined)["points"].GetInt(), 16);
  // One Pd per CO: dispersion = uptake / (0.02 / 106.42 mol Pd per g).
  const double umol = (*combined)["uptake_umol_per_g"].GetDouble();
  EXPECT_REL_CLOSE(doc["active_metal"]["dispersion_percent"].GetDouble(),
                   100.0 * umol * 1e-6 / (0.02 / 106.42), 1e-9);
  // The table's values give way to the user's.
  const ToolRun own = RunTool({"chemi", file, "--metal", "Pd", "--loading", "2", "--range",
                               "200:500", "--atom-area", "0.1", "--json"});
  ASSERT_EQ(own.code, 0) << own.err;
  EXPECT_REL_CLOSE(
      Json(own)["active_metal"]["metal_area_m2_per_g_sample"].GetDouble(),
      doc["active_metal"]["metal_area_m2_per_g_sample"].GetDouble() * 0.1 / (1.0 / 1.27e19 * 1e18),
      1e-9);
}

TEST(ToolChemi, BadArgumentsAndInputsAreNamed) {
  struct Case {
    std::vector<std::string> args;
    int code;
    const char* message;
  };
  const std::vector<Case> cases = {
      {{"--metal", "Pt", "--loading", "0"},
       2,
       "--loading '0' is not a metal content above 0 and at most 100 wt%"},
      {{"--metal", "Pt", "--loading", "150%"},
       2,
       "--loading '150%' is not a metal content above 0 and at most 100 wt%"},
      {{"--metal", "Pt"}, 2, "--metal needs --loading"},
      {{"--metal", "Xx", "--loading", "1"}, 2, "--metal 'Xx' is not in the table (Pt, Pd"},
      {{"--metal", "Pt", "--loading", "1", "--gas", "Ar"},
       2,
       "--gas 'Ar' has no usual stoichiometry"},
      {{"--range", "400:100"}, 2, "--range '400:100' must satisfy 0 <= LO < HI"},
      {{"--range", "600:800"},
       3,
       "0 combined point(s) in the extrapolation range 600 to 800 mmHg (the isotherm spans 2 "
       "to 500 mmHg)"},
  };
  for (const Case& c : cases) {
    std::vector<std::string> args = {"chemi", kCombined, kWeak};
    args.insert(args.end(), c.args.begin(), c.args.end());
    const ToolRun r = RunTool(args);
    EXPECT_EQ(r.code, c.code) << c.message << "\n" << r.err;
    EXPECT_NE(r.err.find(c.message), std::string::npos) << r.err;
  }
  // The weak isotherm given first: it now lies below the "weak" one.
  const ToolRun swapped = RunTool({"chemi", kWeak, kCombined, "--metal", "Pt", "--loading", "1"});
  EXPECT_EQ(swapped.code, 3);
  EXPECT_NE(swapped.err.find("fiofla chemi: the weak isotherm lies above the combined one"),
            std::string::npos)
      << swapped.err;
  const ToolRun noWeak = RunTool({"chemi", kCombined, "--uptake", "strong"});
  EXPECT_EQ(noWeak.code, 2);
  EXPECT_NE(noWeak.err.find("--uptake strong needs a WEAK isotherm"), std::string::npos);
  const ToolRun relative =
      RunTool({"chemi", std::string(FIOFLA_DATA_DIR) + "/examples/n2_77k_silica.csv"});
  EXPECT_EQ(relative.code, 1);
  EXPECT_NE(relative.err.find("gives relative pressures only"), std::string::npos) << relative.err;
}

TEST(ToolChemi, TheReportPageHasTheTablesAndTheGraph) {
  const Fixture fx;
  const std::string out = (fx.dir / "chemi.json").string();
  const ToolRun r =
      RunTool({"chemi", kCombined, kWeak, "--metal", "Pt", "--loading", "1", "--report", out});
  ASSERT_EQ(r.code, 0) << r.err;
  std::ifstream in(out);
  const std::string text((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
  for (const char* item : {"Chemisorption Uptake", "Chemisorption Isotherm Models",
                           "Chemisorption Isotherms", "Active Metal", "Strong uptake:"})
    EXPECT_NE(text.find(item), std::string::npos) << item;
  rapidjson::Document doc;
  doc.Parse(text.c_str());
  EXPECT_FALSE(doc.HasParseError());
}

}  // namespace
