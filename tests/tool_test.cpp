#include <rapidjson/document.h>
#include <unistd.h>

#include <cmath>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <memory>
#include <regex>
#include <set>
#include <sstream>

#include "cli.h"
#include "fiofla/calc_bet.h"
#include "fiofla/compress.h"
#include "fiofla/datagasadsorption.h"
#include "fiofla/io/isotherm_file.h"
#include "result.h"
#include "test_util.h"
#include "tool_run.h"

namespace {

using fiofla::testing::RunTool;
using fiofla::testing::ToolRun;

const std::string kExample = fiofla::test::ShippedData("examples/n2_77k_silica.csv");

TEST(ToolBet, TextAndJsonAgreeWithTheLibrary) {
  const auto iso = fiofla::ReadIsothermCsv(kExample);
  const CCalcBET bet(fiofla::MakeBETInput(iso.relativePressure, iso.quantityAdsorbedCm3PerGStp,
                                          iso.branch, 0.05, 0.30, 0.162));

  const auto text = RunTool({"bet", kExample});
  EXPECT_EQ(text.code, 0) << text.err;
  EXPECT_NE(text.out.find("Surface area"), std::string::npos);
  EXPECT_NE(text.out.find("Status              4 (ok)"), std::string::npos);

  const auto json = RunTool({"bet", kExample, "--json"});
  ASSERT_EQ(json.code, 0) << json.err;
  rapidjson::Document doc;
  doc.Parse(json.out.c_str());
  ASSERT_FALSE(doc.HasParseError());
  EXPECT_EQ(doc["status"].GetInt(), 4);
  EXPECT_DOUBLE_EQ(doc["surface_area_m2_per_g"].GetDouble(), bet.surfaceArea);
  EXPECT_DOUBLE_EQ(doc["c_value"].GetDouble(), bet.cValue);
  EXPECT_EQ(doc["points_used"].Size(), bet.fitQuantity.size());
  // Desorption points inside the range are not used.
  EXPECT_EQ(bet.fitQuantity.size(), 11u);
}

TEST(ToolBet, OptionsChangeTheCalculation) {
  const auto narrow =
      RunTool({"bet", kExample, "--json", "--range=0.1:0.2", "--cross-section", "0.142"});
  ASSERT_EQ(narrow.code, 0) << narrow.err;
  rapidjson::Document doc;
  doc.Parse(narrow.out.c_str());
  EXPECT_EQ(doc["points_used"].Size(), 5u);
  EXPECT_DOUBLE_EQ(doc["cross_section_nm2"].GetDouble(), 0.142);

  // One point in range: the calculation runs, reports, and the exit code says no result.
  const auto one = RunTool({"bet", kExample, "--range", "0.045:0.055"});
  EXPECT_EQ(one.code, fiofla::cli::kExitNoResult);
  EXPECT_NE(one.err.find("fewer than two points"), std::string::npos);
}

TEST(ToolBet, BadArgumentsAndFilesGiveOneLineErrors) {
  const struct {
    std::vector<std::string> args;
    int code;
    std::string message;
  } cases[] = {
      {{"bet"}, fiofla::cli::kExitUsageError, "no isotherm FILE given"},
      {{"bet", kExample, "--range", "0.3:0.1"}, fiofla::cli::kExitUsageError, "0 <= LO < HI <= 1"},
      {{"bet", kExample, "--range", "abc"}, fiofla::cli::kExitUsageError, "is not LO:HI"},
      {{"bet", kExample, "--range"}, fiofla::cli::kExitUsageError, "--range needs a value"},
      {{"bet", kExample, "--cross-section", "-1"}, fiofla::cli::kExitUsageError, "positive area"},
      {{"bet", kExample, "--frobnicate"},
       fiofla::cli::kExitUsageError,
       "unknown option '--frobnicate'"},
      {{"bet", kExample, kExample}, fiofla::cli::kExitUsageError, "more than one FILE given"},
      {{"bogus"}, fiofla::cli::kExitUsageError, "unknown command 'bogus'"},
      {{"bet", "/no/such.csv"}, fiofla::cli::kExitInputError, "/no/such.csv: cannot open"},
      {{"bet", fiofla::test::TestData("bad/non_numeric.csv")},
       fiofla::cli::kExitInputError,
       "non_numeric.csv:5: quantity_adsorbed '1O.5' is not a number"},
  };
  for (const auto& c : cases) {
    const auto r = RunTool(c.args);
    SCOPED_TRACE(r.err);
    EXPECT_EQ(r.code, c.code);
    EXPECT_NE(r.err.find(c.message), std::string::npos);
    EXPECT_TRUE(r.out.empty());
  }
  EXPECT_EQ(RunTool({"bet", "--help"}).code, 0);
  EXPECT_EQ(RunTool({"--version"}).out.rfind("fiofla ", 0), 0u);
}

std::string ReadFile(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  std::stringstream text;
  text << in.rdbuf();
  return text.str();
}

std::string TempPath(const std::string& name) {
  return ::testing::TempDir() + "fiofla_" + std::to_string(::getpid()) + "_" + name;
}

TEST(ToolBet, AutoRangeFindsAPassingWindowOrSaysWhyNot) {
  const auto found = RunTool({"bet", kExample, "--auto", "--json"});
  ASSERT_EQ(found.code, 0) << found.err;
  rapidjson::Document doc;
  doc.Parse(found.out.c_str());
  ASSERT_FALSE(doc.HasParseError());
  EXPECT_TRUE(doc["auto_range"]["found"].GetBool());
  const double lo = doc["range"][0].GetDouble(), hi = doc["range"][1].GetDouble();
  // The chosen window is what the calculation used: its points, its ends.
  const auto& used = doc["points_used"];
  ASSERT_GE(used.Size(), 10u);
  EXPECT_EQ(used[0]["relative_pressure"].GetDouble(), lo);
  EXPECT_EQ(used[used.Size() - 1]["relative_pressure"].GetDouble(), hi);
  const double c = doc["c_value"].GetDouble();
  EXPECT_NEAR(1.0 / (std::sqrt(c) + 1.0),
              doc["auto_range"]["monolayer_relative_pressure"].GetDouble(),
              0.2 * doc["auto_range"]["monolayer_relative_pressure"].GetDouble());

  // More points than the branch holds: no window, exit 3, and the reason.
  const auto none = RunTool({"bet", kExample, "--auto", "--min-points", "500"});
  EXPECT_EQ(none.code, fiofla::cli::kExitNoResult);
  EXPECT_NE(none.err.find("no BET result"), std::string::npos);
  EXPECT_EQ(RunTool({"bet", kExample, "--auto", "--min-r2", "2"}).code,
            fiofla::cli::kExitUsageError);
}

TEST(ToolReport, FormatsFollowTheOutputName) {
  const std::string html = TempPath("report.html");
  const auto run = RunTool({"report", kExample, "-o", html});
  ASSERT_EQ(run.code, 0) << run.err;
  EXPECT_NE(run.out.find(html), std::string::npos);
  const std::string page = ReadFile(html);
  EXPECT_EQ(page.find("<script"), std::string::npos);
  EXPECT_NE(page.find("BET Surface Area Plot"), std::string::npos);
  EXPECT_NE(page.find("BET Isotherm Plot"), std::string::npos);
  EXPECT_NE(page.find("1/[Q(Po/P - 1)]"), std::string::npos);

  const std::string json = TempPath("report.json");
  ASSERT_EQ(RunTool({"report", kExample, kExample, "--auto", "-o", json}).code, 0);
  rapidjson::Document doc;
  doc.Parse(ReadFile(json).c_str());
  ASSERT_FALSE(doc.HasParseError());
  // BET, t-plot and BJH pages per isotherm, and a last page with the overlaid BET plots.
  ASSERT_EQ(doc["pages"].Size(), 7u);
  const auto& overlay = doc["pages"][6]["items"];
  ASSERT_EQ(overlay.Size(), 2u);
  EXPECT_EQ(overlay[0]["curves"].Size(), 2u);

  const auto text = RunTool({"report", kExample});
  EXPECT_EQ(text.code, 0);
  EXPECT_NE(text.out.find("BET surface area:"), std::string::npos);
  std::remove(html.c_str());
  std::remove(json.c_str());
}

TEST(ToolReport, UnitsOptionChangesTheReportOnly) {
  const auto mmol = RunTool({"report", kExample, "--units", "mmol/g"});
  ASSERT_EQ(mmol.code, 0) << mmol.err;
  EXPECT_NE(mmol.out.find("mmol/g"), std::string::npos);
  // The process-wide formatter is back to its own unit after the command.
  EXPECT_EQ(DVolumeAds::sm_Formatter.DisplayText(), CStr("cm³/g STP"));
  EXPECT_EQ(RunTool({"report", kExample, "--units", "mg/g"}).code, fiofla::cli::kExitUsageError);
  EXPECT_EQ(RunTool({"report", kExample, "--units", "mg/g", "--molar-mass", "28.0134"}).code, 0);
}

TEST(ToolReport, BadInputLeavesNoFileBehind) {
  const std::string out = TempPath("kept.html");
  {
    std::ofstream previous(out);
    previous << "previous report";
  }
  const auto bad =
      RunTool({"report", kExample, fiofla::test::TestData("bad/non_numeric.csv"), "-o", out});
  EXPECT_EQ(bad.code, fiofla::cli::kExitInputError);
  EXPECT_NE(bad.err.find("non_numeric.csv:5:"), std::string::npos);
  EXPECT_EQ(ReadFile(out), "previous report");

  const std::string missing = TempPath("new.html");
  EXPECT_EQ(RunTool({"report", "/no/such.csv", "-o", missing}).code, fiofla::cli::kExitInputError);
  EXPECT_FALSE(std::ifstream(missing).good());
  const auto unwritable = RunTool({"report", kExample, "-o", "/no/such/dir/r.html"});
  EXPECT_EQ(unwritable.code, fiofla::cli::kExitInputError);
  EXPECT_NE(unwritable.err.find("cannot create"), std::string::npos);
  EXPECT_EQ(RunTool({"report"}).code, fiofla::cli::kExitUsageError);
  EXPECT_EQ(RunTool({"report", kExample, "--format", "pdf"}).code, fiofla::cli::kExitUsageError);
  std::remove(out.c_str());
}

// A small nitrogen-like table: Psat = 760 exp(700 (1/77.35 - 1/T)) mmHg, Z = 1 - 1e-5 p.
CGasCompressibilityTable SmallGas() {
  CNumVector<double> p{0.0, 500.0, 1000.0, 1500.0};
  CNumVector<double> t{70.0, 77.35, 90.0, 130.0};
  CNumMatrix<double> z(4, 4);
  CGasCompressibilityTable table;
  for (std::size_t i = 0; i < 4; ++i)
    for (std::size_t j = 0; j < 4; ++j) z(i, j) = 1.0 - 1e-5 * p[i];
  // Condensed at 1000 and 1500 mmHg at the two lowest temperatures.
  z(2, 0) = z(2, 1) = z(3, 0) = z(3, 1) = -1.0;
  table.Set(p, t, z);
  table.InitializeRows();
  for (std::size_t j = 0; j < 3; ++j)
    table.m_vPsat[j] = 760.0 * std::exp(700.0 * (1.0 / 77.35 - 1.0 / t[j]));
  table.m_dTcrit = 126.19;
  table.m_dPcrit = 25461.0;
  table.m_dMolecularWeight = 28.0134;
  return table;
}

// The names isotherm files use work here too; beyond the normal grid Z comes from the
// high-pressure table, and beyond every grid the answer says it is extrapolated.
TEST(ToolGas, AliasesAndPointsBeyondTheGrid) {
  for (const char* name : {"N2", "nitrogen", "Nitrogen"}) {
    const auto z = RunTool({"gas", "z", name, "--p", "76000", "--t", "273.15", "--json"});
    ASSERT_EQ(z.code, 0) << name << ": " << z.err;
    rapidjson::Document doc;
    doc.Parse(z.out.c_str());
    ASSERT_FALSE(doc.HasParseError()) << z.out;
    EXPECT_NEAR(doc["z"].GetDouble(), 0.98506, 1e-4);
    EXPECT_TRUE(doc["in_grid"].GetBool());
    EXPECT_STREQ(doc["note"].GetString(), "from the high-pressure table");
  }
  const auto far = RunTool({"gas", "z", "CH4", "--p", "300000", "--t", "298.15"});
  EXPECT_EQ(far.code, 0) << far.err;
  EXPECT_NE(far.out.find("outside the table's grid"), std::string::npos) << far.out;
  EXPECT_NE(far.out.find("extrapolated"), std::string::npos) << far.out;
  EXPECT_EQ(RunTool({"gas", "psat", "Ar", "--t", "87.3"}).code, 0);

  // Every spelling answers as the table's own name does.
  const auto co2 = RunTool({"gas", "z", "carbon_dioxide", "--p", "7600", "--t", "298.15"});
  ASSERT_EQ(co2.code, 0) << co2.err;
  for (const char* name : {"CO2", "carbon dioxide", "Carbon Dioxide"}) {
    const auto alias = RunTool({"gas", "z", name, "--p", "7600", "--t", "298.15"});
    EXPECT_EQ(alias.code, 0) << name << ": " << alias.err;
    EXPECT_EQ(alias.out, co2.out) << name;
  }
  EXPECT_NE(RunTool({"gas", "show", "N2_hp"}).out.find("nitrogen_hp.fpi"), std::string::npos);
  EXPECT_NE(RunTool({"gas", "z", "Xe", "--p", "1", "--t", "300"}).err.find("no gas table 'Xe'"),
            std::string::npos);
  // build takes the same names.
  const std::string dir = ::testing::TempDir() + "fiofla-gas-build-" + std::to_string(::getpid());
  std::filesystem::create_directories(dir);
  EXPECT_EQ(RunTool({"gas", "build", "h2_HP", "--out-dir", dir}).code, 0);
  EXPECT_TRUE(std::filesystem::exists(dir + "/hydrogen_hp.fpi"));
  std::filesystem::remove_all(dir);
}

TEST(ToolGas, QueriesAgreeWithTheLibrary) {
  const std::string dir = ::testing::TempDir() + "fiofla-gas-tool-" + std::to_string(::getpid());
  std::filesystem::create_directories(dir);
  const CGasCompressibilityTable gas = SmallGas();
  ASSERT_TRUE(gas.WriteToFile(CStr(dir + "/n2.fpi")));
  std::ofstream(dir + "/bad.fpi") << "{ \"use Kalrez\": 3 }";

  const auto list = RunTool({"gas", "list", "--gas-dir", dir});
  EXPECT_EQ(list.code, 0) << list.err;
  EXPECT_NE(list.out.find("n2  (Tc 126.19 K, M 28.0134 g/mol, 4 x 4 grid)"), std::string::npos)
      << list.out;
  EXPECT_NE(list.out.find("bad  unreadable:"), std::string::npos) << list.out;

  const auto show = RunTool({"gas", "show", "n2", "--gas-dir=" + dir, "--json"});
  ASSERT_EQ(show.code, 0) << show.err;
  rapidjson::Document doc;
  doc.Parse(show.out.c_str());
  ASSERT_FALSE(doc.HasParseError()) << show.out;
  EXPECT_EQ(doc["temperatures"].GetInt(), 4);
  EXPECT_EQ(doc["saturation"].Size(), 3u);
  EXPECT_EQ(doc["saturation"][1]["psat_mmhg"].GetDouble(), 760.0);

  const auto z = RunTool({"gas", "z", dir + "/n2.fpi", "--p", "250", "--t", "80", "--json"});
  ASSERT_EQ(z.code, 0) << z.err;
  doc.Parse(z.out.c_str());
  double eff = 0.0;
  EXPECT_DOUBLE_EQ(doc["z"].GetDouble(), gas(250.0, 80.0, &eff));
  EXPECT_EQ(doc["effective_temperature_k"].GetDouble(), 80.0);

  const auto psat = RunTool({"gas", "psat", "n2", "--gas-dir", dir, "--t", "77.35"});
  EXPECT_EQ(psat.code, 0) << psat.err;
  EXPECT_EQ(psat.out, "Psat = 760 mmHg at 77.35 K\n");
  const auto tsat = RunTool({"gas", "tsat", "n2", "--gas-dir", dir, "--p", "760"});
  EXPECT_EQ(tsat.out, "T = 77.35 K at 760 mmHg\n");

  // No value: exit 3 with the reason; unusable tables and arguments: exit 1 and 2.
  const auto hot = RunTool({"gas", "psat", "n2", "--gas-dir", dir, "--t", "200"});
  EXPECT_EQ(hot.code, 3);
  EXPECT_NE(hot.err.find("up to the critical temperature 126.19 K"), std::string::npos) << hot.err;
  // Beyond the table's curve there is no value, not an extrapolated 0.
  const auto cold = RunTool({"gas", "psat", "n2", "--gas-dir", dir, "--t", "1", "--sublimation"});
  EXPECT_EQ(cold.code, 3) << cold.out;
  EXPECT_NE(cold.err.find("no sublimation pressure at 1 K (the table has no sublimation curve)"),
            std::string::npos)
      << cold.err;
  const auto liquid = RunTool({"gas", "z", "n2", "--gas-dir", dir, "--p", "1200", "--t", "60"});
  EXPECT_EQ(liquid.code, 3) << liquid.out;
  EXPECT_NE(liquid.err.find("no gas phase"), std::string::npos);
  // Condensed by less than 5 K: taken on the saturation line, which the output says.
  const auto near = RunTool({"gas", "z", "n2", "--gas-dir", dir, "--p", "1200", "--t", "77"});
  EXPECT_EQ(near.code, 0) << near.err;
  EXPECT_NE(near.out.find("(taken on the saturation line at 81.4"), std::string::npos) << near.out;
  EXPECT_EQ(RunTool({"gas", "show", "argon", "--gas-dir", dir}).code, 1);
  const auto bad = RunTool({"gas", "show", "bad", "--gas-dir", dir});
  EXPECT_EQ(bad.code, 1);
  EXPECT_NE(bad.err.find("bad.fpi: \"use Kalrez\" is missing or not true/false"), std::string::npos)
      << bad.err;
  for (const std::vector<std::string>& args :
       {std::vector<std::string>{"gas", "z", "n2", "--t", "80"},
        {"gas", "psat", "n2", "--t", "-3"},
        {"gas", "tsat", "n2", "--p", "760", "--t", "3"},
        {"gas", "show"},
        {"gas", "shoe", "n2"},
        {"gas", "show", "n2", "--sublimation"}})
    EXPECT_EQ(RunTool(args).code, 2) << args[1];

  // Conversion both ways gives the same table; a bad stream leaves no output file.
  EXPECT_EQ(RunTool({"gas", "convert", dir + "/n2.fpi", dir + "/n2.bin"}).code, 0);
  EXPECT_EQ(RunTool({"gas", "convert", dir + "/n2.bin", dir + "/n2again.fpi"}).code, 0);
  const CGasCompressibilityTable again(CStr(dir + "/n2again.fpi"));
  EXPECT_TRUE(again.GetReadError().empty());
  EXPECT_EQ(again.m_vPsat, gas.m_vPsat);
  EXPECT_EQ(again.m_mCompressibility(3, 1), -1.0);
  std::ofstream(dir + "/short.bin") << std::string("\x07\x02\x00", 3);
  const auto shortRun = RunTool({"gas", "convert", dir + "/short.bin", dir + "/out.fpi"});
  EXPECT_EQ(shortRun.code, 1);
  EXPECT_NE(shortRun.err.find("not a gas table stream"), std::string::npos) << shortRun.err;
  EXPECT_FALSE(std::filesystem::exists(dir + "/out.fpi"));
  std::filesystem::remove_all(dir);
}

TEST(ToolReduce, SimulatedRunReducesToItsModelAndBadRunsWriteNothing) {
  const std::string dir = ::testing::TempDir() + "fiofla-reduce-" + std::to_string(::getpid());
  std::filesystem::create_directories(dir);
  const std::string gases = fiofla::test::ShippedData("gases");
  const auto sim = RunTool({"simulate", "-o", dir + "/run.json", "--model", "langmuir:k=40,qm=120",
                            "--points", "0.02:0.9:12", "--gas-dir", gases});
  ASSERT_EQ(sim.code, 0) << sim.err;
  const auto red =
      RunTool({"reduce", dir + "/run.json", "-o", dir + "/iso.csv", "--gas-dir", gases});
  ASSERT_EQ(red.code, 0) << red.err;
  const auto iso = fiofla::ReadIsothermCsv(dir + "/iso.csv");
  ASSERT_EQ(iso.size(), 12u);
  for (std::size_t i = 0; i < iso.size(); ++i) {
    const double x = iso.relativePressure[i];
    EXPECT_REL_CLOSE(iso.quantityAdsorbedCm3PerGStp[i], 120.0 * 40.0 * x / (1.0 + 40.0 * x), 1e-10);
  }
  // bet and report read the run directly.
  EXPECT_EQ(RunTool({"bet", dir + "/run.json"}).code, 0);

  // Bad runs: a clear message naming the field, and no output file.
  std::string text;
  {
    std::ifstream in(dir + "/run.json");
    text.assign(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
  }
  const std::string good = text;
  text.replace(text.find("\"mass_g\": 0.1"), 13, "\"mass_g\": 0.0");
  std::ofstream(dir + "/bad.json") << text;
  const auto bad = RunTool({"reduce", dir + "/bad.json", "-o", dir + "/bad.csv"});
  EXPECT_EQ(bad.code, 1);
  EXPECT_NE(bad.err.find("\"sample.mass_g\" must lie between 1e-06 and 10000 g"), std::string::npos)
      << bad.err;
  EXPECT_FALSE(std::filesystem::exists(dir + "/bad.csv"));
  EXPECT_EQ(RunTool({"reduce", dir + "/missing.json"}).code, 1);
  EXPECT_EQ(RunTool({"reduce"}).code, 2);
  EXPECT_EQ(RunTool({"simulate", "-o", dir + "/x.json", "--points", "0.5:0.2:3"}).code, 2);
  EXPECT_EQ(RunTool({"simulate", "-o", dir + "/x.json", "--model", "bet:k=3"}).code, 2);
  EXPECT_FALSE(std::filesystem::exists(dir + "/x.json"));
  std::filesystem::remove_all(dir);
}

TEST(ToolPores, TPlotAndBjhReportTheLibraryResults) {
  const auto t = RunTool({"tplot", kExample, "--json", "--t-range", "3.5:6", "--bet-area", "400"});
  ASSERT_EQ(t.code, 0) << t.err;
  rapidjson::Document doc;
  doc.Parse(t.out.c_str());
  ASSERT_FALSE(doc.HasParseError());
  EXPECT_EQ(doc["status"].GetInt(), 0);
  EXPECT_NEAR(
      doc["external_area_m2_per_g"].GetDouble() + doc["micropore_area_m2_per_g"].GetDouble(), 400.0,
      1e-9);
  const auto b = RunTool({"bjh", kExample, "--json", "--method", "corrected"});
  ASSERT_EQ(b.code, 0) << b.err;
  doc.Parse(b.out.c_str());
  ASSERT_FALSE(doc.HasParseError());
  const auto& intervals = doc["intervals"];
  ASSERT_GT(intervals.Size(), 3u);
  double sum = 0.0;
  for (const auto& i : intervals.GetArray()) sum += i["incremental_volume_cm3_per_g"].GetDouble();
  EXPECT_NEAR(sum, doc["total_pore_volume_cm3_per_g"].GetDouble(), 1e-12);

  // A user thickness curve from a file; bad curves and arguments are refused.
  const std::string dir = ::testing::TempDir() + "fiofla-pores-" + std::to_string(::getpid());
  std::filesystem::create_directories(dir);
  std::ofstream(dir + "/t.csv") << "relative_pressure,thickness [A]\n0.05,3.0\n0.5,6.5\n0.95,20\n";
  EXPECT_EQ(RunTool({"tplot", kExample, "--thickness", "user:" + dir + "/t.csv"}).code, 0);
  std::ofstream(dir + "/bad.csv") << "0.5,6\n0.4,5\n";
  const auto bad = RunTool({"tplot", kExample, "--thickness", "user:" + dir + "/bad.csv"});
  EXPECT_EQ(bad.code, 1);
  EXPECT_NE(bad.err.find("bad.csv:2: relative pressures must rise"), std::string::npos) << bad.err;
  // No hidden limits: a folder and an endless file say what they are.
  const auto folder = RunTool({"tplot", kExample, "--thickness", "user:" + dir});
  EXPECT_EQ(folder.code, 1);
  EXPECT_NE(folder.err.find("is it a directory?"), std::string::npos) << folder.err;
  const auto endless = RunTool({"tplot", kExample, "--thickness", "user:/dev/zero"});
  EXPECT_EQ(endless.code, 1);
  EXPECT_NE(endless.err.find("larger than 1 MB"), std::string::npos) << endless.err;
  EXPECT_NE(RunTool({"simulate", "--points", "0.1:0.9:20000"}).err.find("from 2 to 10000"),
            std::string::npos);
  EXPECT_EQ(RunTool({"bjh", kExample, "--method", "fancy"}).code, 2);
  EXPECT_EQ(RunTool({"tplot", kExample, "--t-range", "5:3"}).code, 2);
  EXPECT_EQ(RunTool({"bjh", kExample, "--diameter-range", "5000:6000"}).code, 3);
  // The report carries both sections, with the same totals.
  const auto report = RunTool({"report", kExample});
  ASSERT_EQ(report.code, 0) << report.err;
  EXPECT_NE(report.out.find("t-Plot Report"), std::string::npos);
  EXPECT_NE(report.out.find("BJH dV/dlog(D) Pore Volume"), std::string::npos);
  EXPECT_NE(report.out.find("BJH Pore Intervals"), std::string::npos);
  std::filesystem::remove_all(dir);
}

// bjh says what it left out, how much volume lies outside the diameter range, and warns
// when the peak sits at the range's edge; the report shows the same, its table page-wide.
TEST(ToolPores, BjhSaysWhatItLeftOut) {
  auto json = [](const ToolRun& run) {
    auto doc = std::make_unique<rapidjson::Document>();
    doc->Parse(run.out.c_str());
    EXPECT_FALSE(doc->HasParseError()) << run.out << run.err;
    return doc;
  };
  auto mentions = [](const rapidjson::Value& list, const std::string& text) {
    for (const auto& item : list.GetArray())
      if (std::string(item.GetString()).find(text) != std::string::npos) return true;
    return false;
  };
  // The example: no warning; its film steps below P/Po 0.3 open no pores, each listed.
  const auto plain = json(RunTool({"bjh", kExample, "--json"}));
  EXPECT_EQ((*plain)["warnings"].Size(), 0u);
  EXPECT_EQ((*plain)["points_dropped"].Size(), 0u);
  const auto& steps = (*plain)["steps_without_pores"];
  ASSERT_GT(steps.Size(), 0u);
  for (const auto& step : steps.GetArray()) {
    EXPECT_LE(step["volume_cm3_per_g"].GetDouble(), 0.0);
    EXPECT_GT(step["diameter_from_angstrom"].GetDouble(), step["diameter_to_angstrom"].GetDouble());
    EXPECT_STREQ(step["reason"].GetString(), "counted as an interval without pores");
  }
  EXPECT_EQ(RunTool({"bjh", kExample}).out.find("Warnings:"), std::string::npos);

  const auto all = json(RunTool({"bjh", kExample, "--json", "--diameter-range", "1:100000"}));
  const auto cut = json(RunTool({"bjh", kExample, "--json", "--diameter-range", "60:3000"}));
  const double below = (*cut)["volume_below_range_cm3_per_g"].GetDouble();
  EXPECT_GT(below, 0.1);
  EXPECT_NEAR(below + (*cut)["total_pore_volume_cm3_per_g"].GetDouble() +
                  (*cut)["volume_above_range_cm3_per_g"].GetDouble(),
              (*all)["total_pore_volume_cm3_per_g"].GetDouble(), 1e-12);
  // The main pores (about 55 Å) lie below 60 Å: the peak is at the lower edge.
  EXPECT_TRUE(mentions((*cut)["warnings"], "smallest-diameter interval"));
  EXPECT_TRUE(mentions((*cut)["warnings"], "--diameter-range (now 60:3000)"));
  const auto cutText = RunTool({"bjh", kExample, "--diameter-range", "60:3000"}).out;
  EXPECT_NE(cutText.find("Warnings:\n    The distribution's peak"), std::string::npos) << cutText;

  // A rising desorption point is named by the file's point and line, with its reason.
  fiofla::IsothermData iso = fiofla::ReadIsothermFile(kExample);
  std::size_t k = iso.size() - 5;
  ASSERT_EQ(iso.branch[k], fiofla::Branch::kDesorption);
  iso.relativePressure[k] = iso.relativePressure[k - 1] + 0.001;
  iso.quantityAdsorbedCm3PerGStp[k] = iso.quantityAdsorbedCm3PerGStp[k - 1] + 1.0;
  const std::string rising = TempPath("rising.csv");
  std::ofstream(rising) << fiofla::FormatIsothermCsv(iso);
  const std::size_t line = fiofla::ReadIsothermFile(rising).sourceLine[k];
  const auto text = RunTool({"bjh", rising});
  EXPECT_EQ(text.code, 0) << text.err;
  EXPECT_NE(text.out.find("Points BJH cannot use:\n    line " + std::to_string(line) + ": P/Po "),
            std::string::npos)
      << text.out;
  EXPECT_NE(text.out.find("1 point of the branch was left out"), std::string::npos) << text.out;
  const auto dropped = json(RunTool({"bjh", rising, "--json"}));
  ASSERT_EQ((*dropped)["points_dropped"].Size(), 1u);
  const auto& point = (*dropped)["points_dropped"][0];
  EXPECT_EQ(point["point"].GetInt64(), static_cast<long long>(k + 1));
  EXPECT_EQ(point["line"].GetInt64(), static_cast<long long>(line));
  EXPECT_STREQ(point["reason"].GetString(),
               "neither P/Po nor quantity adsorbed below the point before");

  // The report: volume outside, peak check, what was left out, a table as wide as the page.
  const std::string html = TempPath("bjh-report.html");
  ASSERT_EQ(RunTool({"report", rising, "-o", html}).code, 0);
  const std::string page = ReadFile(html);
  const auto table = page.find("<h2>BJH Pore Intervals</h2>");
  ASSERT_NE(table, std::string::npos);
  EXPECT_NE(page.rfind("width:100%\">", table), std::string::npos);
  EXPECT_NE(page.find(".std{width:100%"), std::string::npos);
  EXPECT_NE(page.find("Pore volume below 17 Å:"), std::string::npos);
  EXPECT_NE(page.find("Peak position:</th><td colspan=\"2\">Passed"), std::string::npos);
  const auto leftOut = page.find("<h2>BJH Points and Steps Left Out</h2>", table);
  ASSERT_NE(leftOut, std::string::npos);
  EXPECT_NE(page.find("Line " + std::to_string(line) + ":", leftOut), std::string::npos);
  EXPECT_NE(page.find("counted as an interval without pores", leftOut), std::string::npos);
  std::remove(html.c_str());
  std::remove(rising.c_str());
}

}  // namespace

namespace {

double JsonArea(const ToolRun& run) {
  rapidjson::Document doc;
  doc.Parse(run.out.c_str());
  EXPECT_FALSE(doc.HasParseError()) << run.out;
  return doc.HasParseError() ? 0.0 : doc["surface_area_m2_per_g"].GetDouble();
}

TEST(ToolFiles, EveryFormatGivesTheSameAreaAndConvertWritesThemBack) {
  const std::string aif = fiofla::test::ShippedData("examples/n2_77k_silica.aif");
  const std::string isodb = fiofla::test::ShippedData("examples/n2_77k_silica_isodb.json");
  const double area = JsonArea(RunTool({"bet", kExample, "--json"}));
  EXPECT_REL_CLOSE(JsonArea(RunTool({"bet", aif, "--json"})), area, 1e-9);
  EXPECT_REL_CLOSE(JsonArea(RunTool({"bet", isodb, "--json", "--p0", "1.01325bar"})), area, 1e-9);

  // Without Po the gas table supplies it, and says so.
  const auto table = RunTool({"bet", isodb});
  EXPECT_EQ(table.code, 0) << table.err;
  EXPECT_NE(table.err.find("saturation pressure of nitrogen at 77.35 K"), std::string::npos);

  // convert: AIF to CSV in other units, then to AIF again; the area stays.
  const std::string csv = TempPath("converted.csv");
  const std::string back = TempPath("converted.aif");
  EXPECT_EQ(
      RunTool({"convert", aif, "-o", csv, "--pressure-unit", "torr", "--loading-unit", "mg/g"})
          .code,
      0);
  EXPECT_EQ(RunTool({"convert", csv, "-o", back}).code, 0);
  EXPECT_NE(ReadFile(back).find("_units_loading     mg/g"), std::string::npos) << ReadFile(back);
  EXPECT_REL_CLOSE(JsonArea(RunTool({"bet", back, "--json"})), area, 1e-9);
  // An extension that says nothing: the content does, and --format may say it too.
  const std::string odd = TempPath("aif-as.txt");
  std::filesystem::copy_file(back, odd, std::filesystem::copy_options::overwrite_existing);
  EXPECT_REL_CLOSE(JsonArea(RunTool({"bet", odd, "--json"})), area, 1e-9);
  EXPECT_REL_CLOSE(JsonArea(RunTool({"bet", odd, "--format", "aif", "--json"})), area, 1e-9);
  EXPECT_EQ(RunTool({"bet", odd, "--format", "isodb"}).code, fiofla::cli::kExitInputError);
  // pyGAPS JSON by extension or --to, read back by content.
  const std::string pygaps = TempPath("converted.json");
  EXPECT_EQ(RunTool({"convert", aif, "-o", pygaps}).code, 0);
  EXPECT_NE(ReadFile(pygaps).find("\"pressure_mode\": \"relative\""), std::string::npos);
  EXPECT_REL_CLOSE(JsonArea(RunTool({"bet", pygaps, "--json"})), area, 1e-12);
  EXPECT_EQ(RunTool({"convert", pygaps, "--to", "pygaps"}).out, ReadFile(pygaps));
  std::remove(pygaps.c_str());
  const auto printed = RunTool({"convert", isodb, "--to", "aif", "--p0", "760 mmHg"});
  EXPECT_EQ(printed.code, 0) << printed.err;
  EXPECT_EQ(printed.out.find("# adsorbent"), std::string::npos);
  EXPECT_NE(printed.out.find("_units_pressure    bar"), std::string::npos) << printed.out;
  for (const auto& f : {csv, back, odd}) std::remove(f.c_str());
}

TEST(ToolFiles, BadOptionsAndUnwritableOutputs) {
  const std::string aif = fiofla::test::ShippedData("examples/n2_77k_silica.aif");
  const struct {
    std::vector<std::string> args;
    const char* message;
  } cases[] = {
      {{"bet", aif, "--format", "xlsx"}, "--format 'xlsx' is not one of"},
      {{"bet", aif, "--p0", "101.3"}, "has no unit"},
      {{"bet", aif, "--p0", "1e308kPa"}, "is above the largest pressure fiofla takes"},
      {{"gas", "z", "nitrogen", "--p", "1e9", "--t", "500"}, "is above 7.5e6 mmHg (10 kbar)"},
      {{"tplot", aif, "--p0", "-1kPa"}, "is not a positive pressure"},
      {{"bjh", aif, "--p0", "1 furlong"}, "unknown pressure unit 'furlong'"},
      {{"convert", aif, "--loading-unit", "furlong/g"}, "is not a loading unit"},
      {{"convert", aif, "--to", "isodb"}, "is not csv, aif or pygaps"},
  };
  for (const auto& c : cases) {
    const auto run = RunTool(c.args);
    EXPECT_EQ(run.code, fiofla::cli::kExitUsageError) << c.args[0];
    EXPECT_NE(run.err.find(c.message), std::string::npos) << run.err;
  }
  const auto unwritable = RunTool({"convert", aif, "-o", "/no/such/dir/x.aif"});
  EXPECT_EQ(unwritable.code, fiofla::cli::kExitInputError);
  EXPECT_FALSE(std::filesystem::exists("/no/such/dir/x.aif"));
  // A loading unit the adsorptive cannot take is refused before anything is written.
  const std::string xenon = TempPath("xenon.csv");
  std::ofstream(xenon) << "# adsorptive: Xe\nrelative_pressure,loading [mmol/g]\n0.1,1\n";
  const std::string out = TempPath("xenon.aif");
  const auto mass =
      RunTool({"convert", xenon, "-o", out, "--loading-unit", "mg/g", "--p0", "1atm"});
  EXPECT_EQ(mass.code, fiofla::cli::kExitInputError);
  EXPECT_NE(mass.err.find("no gas table for 'Xe'"), std::string::npos) << mass.err;
  EXPECT_FALSE(std::filesystem::exists(out));
  std::remove(xenon.c_str());
}

TEST(ToolFiles, BetListsThePointsItCannotUse) {
  const std::string file = TempPath("edges.csv");
  std::ofstream(file)
      << "relative_pressure,loading\n0,1\n0.05,80\n0.1,90\n0.2,100\n0.3,110\n1.02,400\n";
  const auto text = RunTool({"bet", file});
  EXPECT_NE(text.out.find("line 2: P/Po 0, relative pressure <= 0"), std::string::npos) << text.out;
  EXPECT_NE(text.out.find("line 7: P/Po 1.02, relative pressure >= 1"), std::string::npos);
  rapidjson::Document doc;
  doc.Parse(RunTool({"bet", file, "--json"}).out.c_str());
  ASSERT_FALSE(doc.HasParseError());
  ASSERT_EQ(doc["points_dropped"].Size(), 2u);
  EXPECT_STREQ(doc["points_dropped"][0]["reason"].GetString(), "relative pressure <= 0");
  EXPECT_EQ(doc["points_dropped"][1]["line"].GetInt(), 7);
  std::remove(file.c_str());
}

}  // namespace

TEST(ToolResult, TextAndJsonCarryTheSameContent) {
  fiofla::cli::Result r("Title line");
  r.Add("area_m2_per_g", "Area", 412.23671, "m2/g", fiofla::cli::Dec(2))
      .Error("area_error_m2_per_g", 0.5)
      .Add("missing", "Missing", std::nan(""))
      .Add("", "Text only", std::string("shown"))
      .Begin("nested", "Nested:")
      .Add("count", "Count", 3LL)
      .End();
  auto& t = r.AddTable("rows", "Rows", {{"x", "x", 8, {}}, {"line", "", 0, {}}});
  t.Row({1.5, 7LL});
  t.Row({2.5, fiofla::cli::Value()});

  std::ostringstream text, json;
  r.Print(text, false);
  r.Print(json, true);
  EXPECT_NE(text.str().find("Area                412.24 +/- 0.5 m2/g"), std::string::npos)
      << text.str();
  EXPECT_NE(text.str().find("Missing             n/a"), std::string::npos);
  EXPECT_NE(text.str().find("    Count               3"), std::string::npos) << text.str();

  rapidjson::Document doc;
  doc.Parse(json.str().c_str());
  ASSERT_FALSE(doc.HasParseError()) << json.str();
  EXPECT_DOUBLE_EQ(doc["area_m2_per_g"].GetDouble(), 412.23671);  // full precision in JSON
  EXPECT_DOUBLE_EQ(doc["area_error_m2_per_g"].GetDouble(), 0.5);
  EXPECT_TRUE(doc["missing"].IsNull());
  EXPECT_FALSE(doc.HasMember(""));
  EXPECT_EQ(doc["nested"]["count"].GetInt(), 3);
  ASSERT_EQ(doc["rows"].Size(), 2u);
  EXPECT_EQ(doc["rows"][0]["line"].GetInt(), 7);
  EXPECT_FALSE(doc["rows"][1].HasMember("line"));  // nothing is left out, not written as null
}

TEST(ToolAnswers, NoWindowPrintsTheExplanationOnly) {
  const auto text = RunTool({"bet", kExample, "--auto", "--min-points", "200"});
  EXPECT_EQ(text.code, fiofla::cli::kExitNoResult);
  EXPECT_NE(text.out.find("Automatic range"), std::string::npos) << text.out;
  EXPECT_EQ(text.out.find("Surface area"), std::string::npos) << text.out;
  EXPECT_EQ(text.out.find("Points used"), std::string::npos);
  const auto json = RunTool({"bet", kExample, "--auto", "--min-points", "200", "--json"});
  rapidjson::Document doc;
  doc.Parse(json.out.c_str());
  ASSERT_FALSE(doc.HasParseError());
  EXPECT_FALSE(doc["auto_range"]["found"].GetBool());
  EXPECT_FALSE(doc.HasMember("surface_area_m2_per_g"));

  // Every command's help names every option it takes; bet's includes --tolerance.
  const auto help = RunTool({"bet", "--help"});
  for (const char* option : {"--range", "--auto", "--min-points", "--min-r2", "--tolerance",
                             "--cross-section", "--format", "--p0", "--json"})
    EXPECT_NE(help.out.find(option), std::string::npos) << option;
}

TEST(ToolAnswers, TPlotSaysWhatItsRangeMeansAndWhichPointsItFitted) {
  const auto nm = RunTool({"tplot", kExample, "--t-range", "0.35:0.5"});
  EXPECT_EQ(nm.code, fiofla::cli::kExitNoResult);
  EXPECT_NE(nm.err.find("the range is in Å"), std::string::npos) << nm.err;
  EXPECT_NE(nm.err.find("the adsorption points cover t = "), std::string::npos) << nm.err;
  EXPECT_NE(nm.err.find("in nm needs multiplying by 10"), std::string::npos) << nm.err;

  const auto json = RunTool({"tplot", kExample, "--json"});
  ASSERT_EQ(json.code, 0) << json.err;
  rapidjson::Document doc;
  doc.Parse(json.out.c_str());
  ASSERT_FALSE(doc.HasParseError());
  std::size_t fitted = 0;
  for (const auto& p : doc["points"].GetArray()) {
    const double t = p["thickness_angstrom"].GetDouble();
    EXPECT_EQ(p["fitted"].GetBool(), t >= 3.5 && t <= 5.0) << t;
    fitted += p["fitted"].GetBool();
  }
  EXPECT_GE(fitted, 2u);
}

TEST(ToolAnswers, ReportPagesFollowTheUsersPoreOptions) {
  const auto plain = RunTool({"report", kExample});
  ASSERT_EQ(plain.code, 0) << plain.err;
  EXPECT_NE(plain.out.find("classical method, Harkins and Jura"), std::string::npos);
  const auto chosen = RunTool({"report", kExample, "--method", "kjs", "--branch", "adsorption",
                               "--t-range", "4:6", "--diameter-range", "20:500"});
  ASSERT_EQ(chosen.code, 0) << chosen.err;
  EXPECT_NE(chosen.out.find("adsorption branch, kjs method, Kruk-Jaroniec-Sayari"),
            std::string::npos)
      << chosen.out;
  EXPECT_EQ(chosen.out.find("classical method"), std::string::npos);
  EXPECT_NE(chosen.out, plain.out);
  const auto bad = RunTool({"report", kExample, "--thickness", "nonsense"});
  EXPECT_EQ(bad.code, fiofla::cli::kExitUsageError);
  EXPECT_NE(bad.err.find("--thickness 'nonsense' is not"), std::string::npos) << bad.err;
}

// The options a text names: every "--name" in it.
std::set<std::string> OptionsIn(const std::string& text) {
  std::set<std::string> names;
  static const std::regex option("--[a-z0-9][a-z0-9-]*");
  for (auto it = std::sregex_iterator(text.begin(), text.end(), option);
       it != std::sregex_iterator(); ++it)
    names.insert(it->str());
  names.erase("--help");
  return names;
}

TEST(ToolHelp, TheReadmeCommandListAndTheHelpAgree) {
  std::ifstream in(std::string(FIOFLA_DATA_DIR) + "/../README.md");
  const std::string readme((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
  const auto start = readme.find("## The tool\n\n```\n");
  ASSERT_NE(start, std::string::npos);
  const auto end = readme.find("```\n", start + 17);
  std::istringstream block(readme.substr(start + 17, end - start - 17));
  std::map<std::string, std::string> listed;
  std::string line, command;
  while (std::getline(block, line)) {
    if (line.rfind("fiofla ", 0) == 0) command = line.substr(7, line.find(' ', 7) - 7);
    listed[command] += line + "\n";
  }
  const auto inputStart = readme.find("Commands that read an isotherm", end);
  const std::string inputText =
      readme.substr(inputStart, readme.find(". ", inputStart) - inputStart);
  const auto inputOptions = OptionsIn(inputText);
  ASSERT_TRUE(inputOptions.count("--format"));

  for (const char* cmd : {"bet", "report", "tplot", "bjh", "dft", "fit", "convert", "iast", "hk",
                          "reduce", "simulate", "chemi", "batch"}) {
    auto documented = OptionsIn(listed[cmd]);
    if (std::string(cmd) != "reduce" && std::string(cmd) != "simulate")
      documented.insert(inputOptions.begin(), inputOptions.end());
    const auto help = RunTool({cmd, "--help"});
    ASSERT_EQ(help.code, 0) << cmd;
    EXPECT_EQ(OptionsIn(help.out), documented) << cmd;
  }
  // Commands of subcommands: the options of all of them against the command's lines.
  const std::map<std::string, std::vector<std::string>> groups = {
      {"gas", {"list", "show", "z", "psat", "tsat", "convert", "build"}},
      {"kernel", {"list", "show", "convert", "build"}},
      {"heat", {"isosteric", "dynamic"}}};
  for (const auto& [group, subs] : groups) {
    std::set<std::string> help;
    for (const std::string& sub : subs) {
      const auto r = RunTool({group, sub, "--help"});
      ASSERT_EQ(r.code, 0) << group << " " << sub;
      const auto names = OptionsIn(r.out);
      help.insert(names.begin(), names.end());
    }
    EXPECT_EQ(help, OptionsIn(listed[group])) << group;
  }
}

namespace {

// A stream that takes nothing, as a full disk.
class FullBuffer : public std::streambuf {
 protected:
  int overflow(int) override { return traits_type::eof(); }
  std::streamsize xsputn(const char*, std::streamsize) override { return 0; }
};

TEST(ToolOutput, AResultThatCannotBeWrittenFailsTheCommand) {
  FullBuffer full;
  std::ostream out(&full);
  std::ostringstream err;
  EXPECT_EQ(fiofla::cli::Run({"bet", kExample}, out, err), fiofla::cli::kExitInputError);
  EXPECT_NE(err.str().find("fiofla bet: cannot write the result to standard output"),
            std::string::npos)
      << err.str();
}

}  // namespace

namespace {

std::vector<std::string> JsonWarnings(const ToolRun& run) {
  rapidjson::Document doc;
  doc.Parse(run.out.c_str());
  std::vector<std::string> out;
  if (doc.HasParseError() || !doc.HasMember("warnings")) {
    ADD_FAILURE() << "no warnings member: " << run.out << run.err;
    return out;
  }
  for (const auto& w : doc["warnings"].GetArray()) out.emplace_back(w.GetString());
  return out;
}

// A result no isotherm can have is not "ok" without a word: bet and tplot carry the
// report's checks in text and JSON.
TEST(ToolWarnings, DoubtfulResultsSayWhy) {
  EXPECT_TRUE(JsonWarnings(RunTool({"bet", kExample, "--json"})).empty());
  EXPECT_TRUE(JsonWarnings(RunTool({"tplot", kExample, "--json"})).empty());

  const std::string negative = TempPath("negative.csv");
  std::ofstream(negative) << "relative_pressure,loading\n0.05,-10\n0.1,-8\n0.15,-7\n0.2,-6.5\n"
                             "0.25,-6.2\n0.3,-6\n";
  const auto bet = JsonWarnings(RunTool({"bet", negative, "--json"}));
  ASSERT_EQ(bet.size(), 4u);
  EXPECT_EQ(bet[0].rfind("C value: C value is low. Select a new range", 0), 0u) << bet[0];
  EXPECT_NE(bet[2].find("Negative surface area"), std::string::npos) << bet[2];
  EXPECT_NE(bet[3].find("negative quantity adsorbed"), std::string::npos) << bet[3];
  const auto text = RunTool({"bet", negative});
  EXPECT_NE(text.out.find("(ok, with 4 warnings below)"), std::string::npos) << text.out;
  EXPECT_NE(text.out.find("Warnings:"), std::string::npos);
  // The report's text joins a warning's two lines as the sentence they are.
  const auto report = RunTool({"report", negative, "--to", "text"});
  EXPECT_NE(report.out.find("removing some of the higher"), std::string::npos) << report.out;
  EXPECT_EQ(report.out.find(" / "), std::string::npos) << report.out;
  std::remove(negative.c_str());

  const auto tplot = JsonWarnings(RunTool({"tplot", kExample, "--json", "--t-range", "7:12"}));
  ASSERT_FALSE(tplot.empty());
  EXPECT_EQ(tplot[0].rfind("Micropore volume: the intercept is negative", 0), 0u) << tplot[0];
}

}  // namespace
