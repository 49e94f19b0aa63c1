// `fiofla iast` driven in-process: the printed mixture is the library's, whatever unit the
// pressure is given in; reverse IAST returns the composition; a composition sweep carries the
// absent component at its ends; models are fitted when asked; bad arguments are named.
#include <gtest/gtest.h>
#include <rapidjson/document.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>

#include "fiofla/gasiast.h"
#include "fiofla/io/isotherm_file.h"
#include "test_util.h"
#include "tool_run.h"

namespace {

namespace fs = std::filesystem;
using fiofla::testing::RunTool;
using fiofla::testing::ToolRun;

const std::string kMethane = std::string(FIOFLA_DATA_DIR) + "/examples/ch4_298k_irmof1.csv";
const std::string kEthane = std::string(FIOFLA_DATA_DIR) + "/examples/c2h6_298k_irmof1.csv";

rapidjson::Document Json(const ToolRun& r) {
  return fiofla::testing::ParseJson(r);
}

const rapidjson::Value& Point(const rapidjson::Document& doc, rapidjson::SizeType k) {
  static const rapidjson::Value kNull;
  if (!doc.IsObject() || !doc.HasMember("points") || doc["points"].Size() <= k) {
    ADD_FAILURE() << "no point " << k;
    return kNull;
  }
  return doc["points"][k];
}

double Number(const rapidjson::Value& v, const char* key) {
  if (!v.IsObject() || !v.HasMember(key) || !v[key].IsNumber()) {
    ADD_FAILURE() << "no number " << key;
    return NAN;
  }
  return v[key].GetDouble();
}

fiofla::SIastComponent Points(const std::string& name, const std::string& file) {
  fiofla::IsothermReadOptions read;
  read.requirePo = false;
  const auto iso = fiofla::ReadIsothermFile(file, read);
  fiofla::SIastComponent c;
  c.name = name;
  for (std::size_t i = 0; i < iso.size(); ++i) {
    c.pressures.push_back(iso.pressureMmHg[i] / 750.061682704);
    c.loadings.push_back(iso.quantityAdsorbedCm3PerGStp[i] / 22.414);
  }
  return c;
}

TEST(ToolIast, PrintsTheLibrarysMixtureInAnyPressureUnit) {
  CIASTCalculation calc({Points("CH4", kMethane), Points("C2H6", kEthane)});
  const auto expected = calc.Mixture({0.95, 0.05}, 65.0);
  ASSERT_TRUE(expected.Ok());
  for (const char* pressure : {"65bar", "6500 kPa", "65"}) {
    const ToolRun r = RunTool({"iast", "--iso", kMethane, "--iso", kEthane, "--fractions",
                               "0.95,0.05", "--pressure", pressure, "--json"});
    ASSERT_EQ(r.code, 0) << r.err;
    const auto doc = Json(r);
    const auto& pt = Point(doc, 0);
    EXPECT_REL_CLOSE(Number(pt, "pressure"), 65.0, 1e-14);
    EXPECT_REL_CLOSE(Number(pt, "loading_1"), expected.loadings[0], 1e-12);
    EXPECT_REL_CLOSE(Number(pt, "loading_2"), expected.loadings[1], 1e-12);
    EXPECT_REL_CLOSE(Number(pt, "selectivity_1_2"), expected.Selectivity(0, 1), 1e-12);
    EXPECT_EQ(std::string(doc["pressure_unit"].GetString()), "bar");
    EXPECT_EQ(std::string(doc["components"][0]["name"].GetString()), "CH4");
  }
  // In another unit the pressures and P0 scale, the loadings do not.
  const ToolRun kpa = RunTool({"iast", "--iso", kMethane, "--iso", kEthane, "--fractions",
                               "0.95,0.05", "--pressure", "65bar", "--pressure-unit", "kPa",
                               "--loading-unit", "mol/kg", "--json"});
  ASSERT_EQ(kpa.code, 0) << kpa.err;
  const auto doc = Json(kpa);
  EXPECT_REL_CLOSE(Number(Point(doc, 0), "pure_pressure_2"), 100.0 * expected.purePressures[1],
                   1e-9);
  EXPECT_REL_CLOSE(Number(Point(doc, 0), "loading_1"), expected.loadings[0], 1e-9);
}

TEST(ToolIast, ReverseReturnsTheGasCompositionAndSweepsCarryAbsentComponents) {
  const ToolRun fwd = RunTool({"iast", "--iso", kMethane, "--iso", kEthane, "--fractions",
                               "0.8,0.2", "--pressures", "1:100:5", "--json"});
  ASSERT_EQ(fwd.code, 0) << fwd.err;
  const auto forward = Json(fwd);
  ASSERT_EQ(forward["points"].Size(), 5u);
  EXPECT_REL_CLOSE(Number(Point(forward, 4), "pressure"), 100.0, 1e-15);
  for (rapidjson::SizeType k = 0; k < 5; ++k) {
    const auto& pt = Point(forward, k);
    const std::string x1 = std::to_string(Number(pt, "adsorbed_fraction_1"));
    const std::string x2 = std::to_string(1.0 - Number(pt, "adsorbed_fraction_1"));
    const ToolRun rev =
        RunTool({"iast", "--iso", kMethane, "--iso", kEthane, "--reverse", "--fractions",
                 x1 + "," + x2, "--pressure", std::to_string(Number(pt, "pressure")), "--json"});
    ASSERT_EQ(rev.code, 0) << rev.err;
    // to_string keeps 6 decimals of x, which moves y by about as much.
    EXPECT_NEAR(Number(Point(Json(rev), 0), "gas_fraction_1"), 0.8, 2e-5);
  }

  const ToolRun sweep = RunTool({"iast", "--iso", kMethane + ":langmuir", "--iso", kEthane,
                                 "--compositions", "5", "--pressure", "10bar", "--json"});
  ASSERT_EQ(sweep.code, 0) << sweep.err;
  const auto doc = Json(sweep);
  ASSERT_EQ(doc["points"].Size(), 5u);
  EXPECT_EQ(Number(Point(doc, 0), "loading_1"), 0.0);
  EXPECT_EQ(Number(Point(doc, 4), "loading_2"), 0.0);
  EXPECT_REL_CLOSE(Number(Point(doc, 2), "gas_fraction_1"), 0.5, 1e-15);
  EXPECT_NE(std::string(doc["components"][0]["described_by"].GetString()).find("langmuir"),
            std::string::npos);
}

TEST(ToolIast, WritesItsReportPage) {
  const fs::path out = fs::temp_directory_path() / ("fiofla-iast-" + std::to_string(::getpid()));
  fs::create_directories(out);
  const std::string html = (out / "iast.html").string();
  const ToolRun r = RunTool({"iast", "--iso", kMethane, "--iso", kEthane, "--compositions", "11",
                             "--pressure", "65bar", "--report", html});
  ASSERT_EQ(r.code, 0) << r.err;
  std::ifstream in(html);
  const std::string text((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
  EXPECT_NE(text.find("Selectivity"), std::string::npos);
  EXPECT_NE(text.find("Adsorbed against Gas Composition"), std::string::npos);
  EXPECT_NE(r.out.find("wrote the HTML report"), std::string::npos);
  fs::remove_all(out);
}

TEST(ToolIast, BadArgumentsAndFilesAreNamed) {
  struct Case {
    std::vector<std::string> args;
    int code;
    const char* says;
  };
  const fs::path dir =
      fs::temp_directory_path() / ("fiofla-iast-bad-" + std::to_string(::getpid()));
  fs::create_directories(dir);
  const std::string relative = (dir / "relative.csv").string();
  std::ofstream(relative) << "relative_pressure,quantity_adsorbed [mmol/g]\n0.1,1\n0.2,2\n";
  const std::vector<Case> cases = {
      {{"iast", "--iso", kMethane, "--iso", kEthane, "--fractions", "0.5", "--pressure", "1bar"},
       2,
       "1 fractions for 2 isotherms"},
      {{"iast", "--iso", kMethane, "--iso", kEthane, "--fractions", "0.5,0.6", "--pressure", "1"},
       2,
       "add up to 1.1"},
      {{"iast", "--iso", kMethane + ":nosuch", "--iso", kEthane, "--fractions", "0.5,0.5",
        "--pressure", "1"},
       2,
       "'nosuch' is not a model"},
      {{"iast", "--iso", kMethane, "--iso", kEthane, "--fractions", "0.5,0.5"},
       2,
       "give one of --pressure"},
      {{"iast", "--iso", kMethane, "--iso", kEthane, "--fractions", "0.5,0.5", "--pressure",
        "1 furlong"},
       2,
       "furlong"},
      {{"iast", "--iso", kMethane, "--iso", relative, "--fractions", "0.5,0.5", "--pressure", "1"},
       1,
       "relative.csv: gives relative pressures only"},
      {{"iast", "--iso", kMethane, "--iso", kEthane, "--fractions", "0.5,0.5", "--pressure", "1",
        "--loading-unit", "mg/g"},
       2,
       "not an amount of substance"},
  };
  for (const Case& c : cases) {
    const ToolRun r = RunTool(c.args);
    EXPECT_EQ(r.code, c.code) << r.err;
    EXPECT_NE(r.err.find(c.says), std::string::npos) << r.err;
  }
  fs::remove_all(dir);
}

}  // namespace
