// `fiofla heat` driven in-process: isotherms written from a Langmuir model whose affinity
// follows b = b0 exp(Q/RT) give Q back, and peaks of first-order desorption at four ramp
// rates give back the activation energy they were made with.
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

constexpr double kR = 0.00831441;  // kJ/(mol K), as the library takes it

// A scratch folder for the test's files.
struct Fixture : fiofla::testing::TempDir {
  Fixture() : TempDir("heat-tool") {}
  const std::filesystem::path& dir = path;
};

rapidjson::Document Json(const ToolRun& r) {
  return fiofla::testing::ParseJson(r);
}

// A Langmuir isotherm, mmol/g against kPa, with b = b0 exp(Q/RT).
std::string LangmuirCsv(double temperatureK, double qKJPerMol, bool withTemperature = true) {
  const double capacity = 4.0, b = 2e-5 * std::exp(qKJPerMol / (kR * temperatureK));
  std::ostringstream s;
  s.precision(17);
  if (withTemperature) s << "# adsorptive: CO2; temperature: " << temperatureK << " K\n";
  s << "pressure [kPa],loading [mmol/g]\n";
  // Pressures spaced evenly in log P, so the steep start of the cold isotherms is sampled
  // as finely as the rest and interpolating the loading stays well within 1e-3 of Q.
  for (int i = 0; i <= 200; ++i) {
    const double p = 0.01 * std::pow(1e4, i / 200.0);
    s << p << "," << capacity * b * p / (1.0 + b * p) << "\n";
  }
  return s.str();
}

TEST(ToolHeat, IsostericHeatOfLangmuirIsothermsIsTheirs) {
  const Fixture fx;
  const double q = 25.0;
  std::vector<std::string> args{"heat", "isosteric"};
  for (double t : {273.15, 298.15, 323.15})
    args.push_back(fx.Write(("iso" + std::to_string(int(t)) + ".csv").c_str(), LangmuirCsv(t, q)));
  args.push_back("--json");
  ToolRun r = RunTool(args);
  ASSERT_EQ(r.code, 0) << r.err << r.out;
  auto doc = Json(r);
  EXPECT_STREQ(doc["loading_unit"].GetString(), "mmol/g");
  const auto& rows = doc["heats"].GetArray();
  ASSERT_EQ(rows.Size(), 10u);
  for (const auto& row : rows) {
    EXPECT_EQ(row["isotherms_used"].GetInt(), 3);
    EXPECT_REL_CLOSE(row["qst_kj_per_mol"].GetDouble(), q, 1e-3);
  }

  // Past the highest loading of the hottest isotherm only two reach; far past, none.
  args.back() = "--loadings";
  args.push_back("1.0:3.95:3");
  args.push_back("--json");
  r = RunTool(args);
  ASSERT_EQ(r.code, 0) << r.err;
  doc = Json(r);
  const auto& wide = doc["heats"].GetArray();
  EXPECT_EQ(wide[0]["isotherms_used"].GetInt(), 3);
  EXPECT_LT(wide[2]["isotherms_used"].GetInt(), 2);
  EXPECT_TRUE(!wide[2].HasMember("qst_kj_per_mol") || wide[2]["qst_kj_per_mol"].IsNull());
  args.pop_back();
  r = RunTool(args);
  EXPECT_NE(r.out.find("fewer than two isotherms reach it"), std::string::npos) << r.out;
}

// Isotherms of an exact thermal virial equation, ln P = ln N + (a0 + a1 N)/T + b0 + b1 N,
// whose isosteric heat is -R (a0 + a1 N) at every loading.
std::string VirialCsv(double temperatureK) {
  std::ostringstream s;
  s.precision(17);
  s << "# adsorptive: CH4; temperature: " << temperatureK << " K\n";
  s << "pressure [kPa],loading [mmol/g]\n";
  for (int i = 1; i <= 60; ++i) {
    const double n = 0.05 * i;
    s << n * std::exp((-3000.0 + 150.0 * n) / temperatureK + 9.0 + 0.1 * n) << "," << n << "\n";
  }
  return s.str();
}

TEST(ToolHeat, VirialAndClausiusClapeyronAgreeOnVirialIsotherms) {
  const Fixture fx;
  std::vector<std::string> args{"heat", "isosteric"};
  for (double t : {283.15, 303.15, 323.15})
    args.push_back(fx.Write(("v" + std::to_string(int(t)) + ".csv").c_str(), VirialCsv(t)));
  const std::string report = (fx.dir / "heat.html").string();
  for (const char* method : {"clausius-clapeyron", "virial"}) {
    std::vector<std::string> a = args;
    a.insert(a.end(), {"--loadings", "0.5:2.5:5", "--method", method, "--json"});
    if (std::string(method) == "virial") a.insert(a.end(), {"--orders", "1,1", "--report", report});
    const ToolRun r = RunTool(a);
    ASSERT_EQ(r.code, 0) << r.err;
    const auto doc = Json(r);
    ASSERT_TRUE(doc.HasMember("heats"));
    for (const auto& row : doc["heats"].GetArray()) {
      const double n = row["loading"].GetDouble();
      const double exact = -kR * (-3000.0 + 150.0 * n);
      // The virial fit is exact; the interpolated isosteres are within 1e-3 and their
      // error band covers the difference.
      const double error = row["qst_error_kj_per_mol"].GetDouble();
      EXPECT_NEAR(row["qst_kj_per_mol"].GetDouble(), exact, std::max(1e-3 * exact, 3.0 * error))
          << method << " at " << n;
    }
    if (std::string(method) == "virial") {
      ASSERT_TRUE(doc.HasMember("virial"));
      EXPECT_EQ(doc["virial"]["order_a"].GetInt(), 1);
      EXPECT_REL_CLOSE(doc["virial"]["a"][0].GetDouble(), -3000.0, 1e-9);
      EXPECT_REL_CLOSE(doc["virial"]["a"][1].GetDouble(), 150.0, 1e-9);
    }
  }
  std::ifstream in(report);
  const std::string html((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
  EXPECT_NE(html.find("Isosteres"), std::string::npos);
  EXPECT_NE(html.find("Isosteric Heat against Loading"), std::string::npos);

  args.insert(args.end(), {"--orders", "1,1"});
  const ToolRun bad = RunTool(args);
  EXPECT_EQ(bad.code, fiofla::cli::kExitUsageError);
  EXPECT_NE(bad.err.find("--orders goes with --method virial"), std::string::npos) << bad.err;
}

TEST(ToolHeat, IsostericRefusesAFileWithoutTemperature) {
  const Fixture fx;
  const std::string warm = fx.Write("warm.csv", LangmuirCsv(300.0, 20.0));
  const std::string bare = fx.Write("bare.csv", LangmuirCsv(280.0, 20.0, false));
  const ToolRun r = RunTool({"heat", "isosteric", warm, bare});
  EXPECT_EQ(r.code, fiofla::cli::kExitInputError);
  EXPECT_NE(r.err.find(bare + ": gives no temperature"), std::string::npos) << r.err;
  const ToolRun one = RunTool({"heat", "isosteric", warm});
  EXPECT_EQ(one.code, fiofla::cli::kExitUsageError);
}

// The peak temperature of first-order desorption: E/(R Tp^2) = (A/beta) exp(-E/(R Tp)),
// solved by Newton's method on its logarithm; beta in K/s.
double PeakTemperature(double eKJPerMol, double aPerS, double betaKPerS) {
  double t = 300.0;
  for (int i = 0; i < 200; ++i) {
    const double f =
        std::log(eKJPerMol / (kR * t * t)) - std::log(aPerS / betaKPerS) + eKJPerMol / (kR * t);
    const double df = -2.0 / t - eKJPerMol / (kR * t * t);
    t -= f / df;
  }
  return t;
}

TEST(ToolHeat, DynamicHeatOfGeneratedPeaksIsTheirs) {
  const Fixture fx;
  std::ostringstream csv;
  csv.precision(17);
  csv << "# peaks for E = 100 kJ/mol, A = 1e13 /s\npeak_temperature [K],ramp_rate [K/min]\n";
  for (double rate : {5.0, 10.0, 20.0, 40.0})
    csv << PeakTemperature(100.0, 1e13, rate / 60.0) << "," << rate << "\n";
  csv << "0,10\n400,-5\n";
  const std::string path = fx.Write("runs.csv", csv.str());
  ToolRun r = RunTool({"heat", "dynamic", path, "--json"});
  ASSERT_EQ(r.code, 0) << r.err << r.out;
  auto doc = Json(r);
  EXPECT_EQ(doc["runs"].GetInt(), 4);
  EXPECT_REL_CLOSE(doc["heat_of_desorption_kj_per_mol"].GetDouble(), 100.0, 1e-6);
  EXPECT_GT(doc["correlation"].GetDouble(), 0.999999);
  const auto& skipped = doc["skipped"].GetArray();
  ASSERT_EQ(skipped.Size(), 2u);
  EXPECT_NE(std::string(skipped[0].GetString()).find("line 7: peak temperature"),
            std::string::npos);
  EXPECT_NE(std::string(skipped[1].GetString()).find("line 8: ramp rate"), std::string::npos);
}

TEST(ToolHeat, DynamicRefusesAMalformedCsvNamingLineAndValue) {
  const Fixture fx;
  const std::string bad =
      fx.Write("bad.csv", "peak_temperature [K],ramp_rate [K/min]\n500,5\n# note\n510,ten\n");
  ToolRun r = RunTool({"heat", "dynamic", bad});
  EXPECT_EQ(r.code, fiofla::cli::kExitInputError);
  EXPECT_NE(r.err.find(bad + ": line 4: ramp rate 'ten' is not a finite number"), std::string::npos)
      << r.err;
  const std::string header = fx.Write("header.csv", "T,rate\n500,5\n");
  r = RunTool({"heat", "dynamic", header});
  EXPECT_EQ(r.code, fiofla::cli::kExitInputError);
  EXPECT_NE(r.err.find(header + ": line 1: the header 'T,rate'"), std::string::npos) << r.err;
}

}  // namespace
