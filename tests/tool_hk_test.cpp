// `fiofla hk` and the Horvath-Kawazoe page of `fiofla report`, driven in-process on isotherms
// written to a temporary folder.
#include <gtest/gtest.h>
#include <rapidjson/document.h>
#include <unistd.h>

#include <cmath>
#include <filesystem>
#include <fstream>
#include <map>

#include "fiofla/gashk.h"
#include "tool_run.h"

namespace {

namespace fs = std::filesystem;
using fiofla::testing::RunTool;
using fiofla::testing::ToolRun;

// Isotherms of one pore width, filled in a narrow step at the pressure the slit relation gives.
struct Fixture {
  Fixture() : dir(fs::temp_directory_path() / ("fiofla-hk-tool-" + std::to_string(::getpid()))) {
    fs::remove_all(dir);
    fs::create_directories(dir);
    Write("n2.csv", "N2", 77.35, fiofla::HKAdsorbates()[0].molecule, 7.0);
    Write("ar.csv", "Ar", 87.3, fiofla::FindHKAdsorbate("argon")->molecule, 7.0);
    Write("co2.csv", "CO2", 273.15, fiofla::HKAdsorbates()[0].molecule, 7.0);
    std::ofstream(dir / "flat.csv") << "# adsorptive: N2; temperature: 77.35 K\n"
                                    << "relative_pressure,quantity_adsorbed [cm3/g STP]\n"
                                    << "0.3,100\n0.4,110\n";
  }
  ~Fixture() { fs::remove_all(dir); }
  void Write(const char* name, const char* gas, double t, fiofla::HKMolecule const& a,
             double width) const {
    const fiofla::HKPotential pot(fiofla::HKGeometry::kSlit, false, a, fiofla::HKSurfaces()[0], t);
    const double step = pot.LnRelPress(width);
    std::ofstream f(dir / name);
    f << "# adsorptive: " << gas << "; temperature: " << t << " K\n"
      << "relative_pressure,quantity_adsorbed [cm3/g STP]\n";
    f.precision(12);
    for (int k = 0; k <= 80; ++k) {
      const double lnP = std::log(1e-9) + k * (std::log(0.5) - std::log(1e-9)) / 80;
      f << std::exp(lnP) << "," << 200.0 / (1.0 + std::exp(-(lnP - step) / 0.15)) << "\n";
    }
  }
  std::string operator/(const char* name) const { return (dir / name).string(); }
  fs::path dir;
};

rapidjson::Document Json(const ToolRun& run) {
  rapidjson::Document doc;
  doc.Parse(run.out.c_str());
  EXPECT_FALSE(doc.HasParseError()) << run.out;
  return doc;
}

TEST(ToolHk, DistributionInTextAndJson) {
  const Fixture fx;
  const ToolRun text = RunTool({"hk", fx / "n2.csv"});
  ASSERT_EQ(text.code, 0) << text.err;
  EXPECT_NE(text.out.find("Micropore volume"), std::string::npos);
  EXPECT_NE(text.out.find("slit pores, hk method, nitrogen on carbon at 77.35 K"),
            std::string::npos);
  EXPECT_NE(text.out.find("above P/Po 0.2 not used"), std::string::npos);

  const ToolRun json = RunTool({"hk", fx / "n2.csv", "--json"});
  ASSERT_EQ(json.code, 0) << json.err;
  const auto doc = Json(json);
  EXPECT_NEAR(doc["median_width_angstrom"].GetDouble(), 7.0, 0.15);
  EXPECT_EQ(doc["geometry"].GetString(), std::string("slit"));
  const auto& points = doc["points"].GetArray();
  ASSERT_GT(points.Size(), 10u);
  EXPECT_LE(points[points.Size() - 1]["relative_pressure"].GetDouble(), 0.2);
  EXPECT_EQ(doc["intervals"].GetArray().Size(), points.Size() - 1);
  // From 1e-9 the first points lie below the narrowest pore's 2e-9; the last above 0.2.
  std::map<std::string, int> reasons;
  for (const auto& d : doc["points_dropped"].GetArray()) ++reasons[d["reason"].GetString()];
  EXPECT_EQ(reasons.size(), 2u);
  EXPECT_GT(reasons["P/Po above the range"], 0);
  EXPECT_GT(reasons["P/Po below that of the narrowest pore the model describes"], 0);
  EXPECT_NE(text.out.find("line 3: P/Po 1e-09, P/Po below that of the narrowest pore"),
            std::string::npos)
      << text.out;

  // The argon isotherm takes argon's constants and the file's temperature.
  const auto ar = Json(RunTool({"hk", fx / "ar.csv", "--json", "--geometry", "cylinder", "--method",
                                "cheng-yang", "--adsorbent", "zeolite"}));
  EXPECT_EQ(ar["temperature_k"].GetDouble(), 87.3);
  EXPECT_EQ(ar["density_conversion"].GetDouble(), fiofla::FindHKAdsorbate("ar")->densityConversion);
  EXPECT_GT(ar["langmuir_capacity_cm3_per_g_stp"].GetDouble(), 0.0);

  // Own constants equal to the shipped ones change nothing.
  const auto own = Json(RunTool(
      {"hk", fx / "n2.csv", "--json", "--adsorbent-constants", "3.4,1.02e-24,13.5e-29,3.845e15"}));
  EXPECT_EQ(own["median_width_angstrom"].GetDouble(), doc["median_width_angstrom"].GetDouble());
}

TEST(ToolHk, BadArgumentsAndInputsAreNamed) {
  const Fixture fx;
  struct Case {
    std::vector<std::string> args;
    int code;
    std::string message;
  };
  const Case cases[] = {
      {{"hk", fx / "n2.csv", "--geometry", "cone"}, 2, "--geometry 'cone' is not slit"},
      {{"hk", fx / "n2.csv", "--method", "HK"}, 2, "--method 'HK' is not hk"},
      {{"hk", fx / "n2.csv", "--adsorbent", "silica"}, 2, "is not carbon, zeolite or alpo"},
      {{"hk", fx / "n2.csv", "--adsorbate", "co2"}, 2, "is not nitrogen or argon"},
      {{"hk", fx / "n2.csv", "--max-p-rel", "1.5"}, 2, "above 1"},
      {{"hk", fx / "n2.csv", "--adsorbate-constants", "3,1e-24,2e-29"}, 2, "needs four numbers"},
      {{"hk", fx / "n2.csv", "--max-width", "0"}, 2, "--max-width"},
      {{"hk", fx / "co2.csv"}, 2, "'CO2' has no Horvath-Kawazoe constants"},
      {{"hk", fx / "flat.csv"}, 3, "fewer than 2 points have a pore width"},
      {{"hk"}, 2, "no isotherm FILE given"},
  };
  for (const Case& c : cases) {
    const ToolRun r = RunTool(c.args);
    EXPECT_EQ(r.code, c.code) << c.args.back() << ": " << r.err;
    EXPECT_NE(r.err.find(c.message), std::string::npos) << r.err;
  }
  EXPECT_EQ(RunTool({"hk", fx / "n2.csv", "--geometry", "sphere", "--method", "rege-yang"}).code,
            0);
  // The CO2 file with an adsorbate named runs.
  EXPECT_EQ(RunTool({"hk", fx / "co2.csv", "--adsorbate", "nitrogen"}).code, 0);
}

TEST(ToolHk, ReportPage) {
  const Fixture fx;
  const ToolRun r = RunTool({"report", fx / "ar.csv", "--hk", "cylinder,zeolite"});
  ASSERT_EQ(r.code, 0) << r.err;
  EXPECT_NE(r.out.find("Horvath-Kawazoe report: " + fx / "ar.csv"), std::string::npos);
  EXPECT_NE(r.out.find("cylinder pores, hk method, argon on zeolite at 87.3 K"), std::string::npos);
  EXPECT_NE(r.out.find("Median pore width"), std::string::npos);
  EXPECT_NE(r.out.find("Horvath-Kawazoe Points"), std::string::npos);
  // Without --hk no page; a bad part of the value is named.
  EXPECT_EQ(RunTool({"report", fx / "ar.csv"}).out.find("Horvath-Kawazoe"), std::string::npos);
  const ToolRun bad = RunTool({"report", fx / "ar.csv", "--hk", "slit,graphite"});
  EXPECT_EQ(bad.code, 2);
  EXPECT_NE(bad.err.find("'graphite' is no geometry"), std::string::npos) << bad.err;
}

}  // namespace
