// `fiofla batch` driven in-process: its rows against the single commands on the bundled
// examples, the output written whole or not at all, and its command line.
#include <gtest/gtest.h>
#include <rapidjson/document.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "batch_synthetic.h"
#include "test_util.h"
#include "tool_run.h"

namespace {

namespace fs = std::filesystem;
using fiofla::testing::RunTool;
using fiofla::testing::ToolRun;

struct Fixture {
  Fixture() : dir(fs::temp_directory_path() / ("fiofla-batch-tool-" + std::to_string(::getpid()))) {
    fs::remove_all(dir);
    fs::create_directories(dir / "in" / "sub");
    for (std::uint32_t i = 0; i < 6; ++i)
      fiofla::test::WriteText(
          (dir / "in" / (i % 2 ? "sub" : "") / ("s" + std::to_string(i) + ".csv")).string(),
          fiofla::test::SyntheticCsv(fiofla::test::VariedSynthetic(i)));
    fiofla::test::WriteText((dir / "in" / "broken.csv").string(), "not,an\nisotherm\n");
  }
  ~Fixture() { fs::remove_all(dir); }
  std::string operator/(const char* name) const { return (dir / name).string(); }
  fs::path dir;
};

std::string ReadFile(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  std::stringstream text;
  text << in.rdbuf();
  return text.str();
}

rapidjson::Document Parse(const std::string& text) {
  rapidjson::Document doc;
  doc.Parse<rapidjson::kParseFullPrecisionFlag>(text.c_str());
  EXPECT_FALSE(doc.HasParseError()) << text;
  return doc;
}

rapidjson::Document Single(const std::vector<std::string>& args) {
  const ToolRun r = RunTool(args);
  EXPECT_EQ(r.code, 0) << r.err;
  return Parse(r.out);
}

double Number(const rapidjson::Value& v) {
  return v.IsNull() ? NAN : v.GetDouble();
}

// The peak of a `fiofla bjh --json` distribution: the average diameter, nm, of the interval
// of largest dV/dlog D.
double BjhPeakNm(const rapidjson::Document& bjh) {
  double peak = NAN, highest = -HUGE_VAL;
  for (const auto& interval : bjh["intervals"].GetArray())
    if (interval["dv_dlogd_cm3_per_g"].GetDouble() > highest) {
      highest = interval["dv_dlogd_cm3_per_g"].GetDouble();
      peak = interval["average_diameter_angstrom"].GetDouble() / 10.0;
    }
  return peak;
}

TEST(ToolBatch, ARowHoldsWhatTheSingleCommandsPrint) {
  Fixture f;
  const std::string examples = fiofla::test::ShippedData("examples");
  const std::string out = f / "rows.json";
  const ToolRun run = RunTool({"batch", examples, f / "in", "-o", out, "--jobs", "2"});
  ASSERT_EQ(run.code, 0) << run.err;
  const rapidjson::Document rows = Parse(ReadFile(out));
  ASSERT_TRUE(rows.IsArray());
  std::size_t compared = 0;
  for (const auto& row : rows.GetArray()) {
    const std::string file = row["file"].GetString();
    const std::string status = row["status"].GetString();
    if (status == "error") {
      // The single command fails on it the same way.
      const ToolRun bet = RunTool({"bet", file, "--auto", "--json"});
      EXPECT_EQ(bet.code, 1) << file;
      EXPECT_NE(bet.err.find(row["message"].GetString()), std::string::npos) << bet.err;
      continue;
    }
    if (status == "partial") continue;
    SCOPED_TRACE(file);
    ++compared;
    const auto bet = Single({"bet", file, "--auto", "--json"});
    EXPECT_EQ(Number(row["bet_area_m2_per_g"]), bet["surface_area_m2_per_g"].GetDouble());
    EXPECT_EQ(Number(row["bet_area_error_m2_per_g"]),
              bet["surface_area_error_m2_per_g"].GetDouble());
    EXPECT_EQ(Number(row["bet_c"]), bet["c_value"].GetDouble());
    EXPECT_EQ(Number(row["bet_monolayer_cm3_per_g_stp"]),
              bet["monolayer_capacity_cm3_per_g_stp"].GetDouble());
    EXPECT_EQ(Number(row["bet_range_low"]), bet["range"][0].GetDouble());
    EXPECT_EQ(Number(row["bet_range_high"]), bet["range"][1].GetDouble());
    EXPECT_EQ(Number(row["bet_range_points"]), bet["points_used"].Size());
    const double r = bet["correlation"].GetDouble();
    EXPECT_EQ(Number(row["bet_r2"]), r * r);

    const auto tplot = Single({"tplot", file, "--json"});
    EXPECT_EQ(Number(row["tplot_micropore_volume_cm3_per_g"]),
              tplot["micropore_volume_cm3_per_g"].GetDouble());
    EXPECT_EQ(Number(row["tplot_external_area_m2_per_g"]),
              tplot["external_area_m2_per_g"].GetDouble());
    const double microArea = Number(tplot["micropore_area_m2_per_g"]);
    if (std::isnan(microArea))
      EXPECT_TRUE(std::isnan(Number(row["tplot_micropore_area_m2_per_g"])));
    else
      EXPECT_EQ(Number(row["tplot_micropore_area_m2_per_g"]), microArea);
    const double rt = tplot["correlation"].GetDouble();
    EXPECT_EQ(Number(row["tplot_r2"]), rt * rt);

    const auto bjh = Single({"bjh", file, "--json"});
    EXPECT_EQ(Number(row["bjh_pore_volume_cm3_per_g"]),
              bjh["total_pore_volume_cm3_per_g"].GetDouble());
    EXPECT_EQ(Number(row["bjh_pore_area_m2_per_g"]), bjh["total_pore_area_m2_per_g"].GetDouble());
    EXPECT_EQ(Number(row["bjh_peak_diameter_nm"]), BjhPeakNm(bjh));
  }
  // The six readable examples and the six synthetic files.
  EXPECT_GE(compared, 12u);
  EXPECT_NE(run.err.find("error"), std::string::npos) << run.err;
}

TEST(ToolBatch, WritesTheWholeFileOrNone) {
  Fixture f;
  const ToolRun csv = RunTool({"batch", f / "in", "-o", f / "rows.csv"});
  ASSERT_EQ(csv.code, 0) << csv.err;
  // A header and one line per file; the summary counts them.
  const std::string text = ReadFile(f / "rows.csv");
  EXPECT_EQ(std::count(text.begin(), text.end(), '\n'), 8);
  EXPECT_EQ(text.rfind("file,status,adsorptive,temperature_k,points,bet_area_m2_per_g", 0), 0u);
  EXPECT_NE(csv.err.find("fiofla batch: 7 files: "), std::string::npos) << csv.err;
  EXPECT_NE(csv.err.find(", 1 error in "), std::string::npos) << csv.err;
  EXPECT_NE(csv.err.find("wrote " + f / "rows.csv"), std::string::npos) << csv.err;

  // A second run into a folder it reads does not read its own output.
  const ToolRun again = RunTool({"batch", f / "in", "-o", (f.dir / "in" / "rows.csv").string()});
  ASSERT_EQ(again.code, 0) << again.err;
  const ToolRun third = RunTool({"batch", f / "in", "-o", (f.dir / "in" / "rows.csv").string()});
  EXPECT_NE(third.err.find("fiofla batch: 7 files: "), std::string::npos) << third.err;

  // An output folder that does not exist: exit 1, a message naming it, and no file.
  const std::string nowhere = f / "missing-dir/rows.csv";
  const ToolRun bad = RunTool({"batch", f / "in", "-o", nowhere});
  EXPECT_EQ(bad.code, 1);
  EXPECT_NE(bad.err.find(nowhere), std::string::npos) << bad.err;
  EXPECT_FALSE(fs::exists(f.dir / "missing-dir"));
  // An input that does not exist: nothing is run and the old output stays as it was.
  const ToolRun missing = RunTool({"batch", f / "nothing-here", "-o", f / "rows.csv"});
  EXPECT_EQ(missing.code, 1);
  EXPECT_EQ(missing.err, "fiofla batch: " + f / "nothing-here" + ": no such file or directory\n");
  EXPECT_EQ(ReadFile(f / "rows.csv"), text);
  for (const auto& entry : fs::directory_iterator(f.dir))
    EXPECT_EQ(entry.path().filename().string().find(".fiofla-tmp"), std::string::npos);
}

TEST(ToolBatch, AnalysesFormatAndJobsAreChecked) {
  Fixture f;
  const ToolRun bet =
      RunTool({"batch", f / "in", "-o", f / "rows.txt", "--to", "json", "--analyses", "bet"});
  ASSERT_EQ(bet.code, 0) << bet.err;
  const auto rows = Parse(ReadFile(f / "rows.txt"));
  ASSERT_EQ(rows.Size(), 7u);
  EXPECT_TRUE(rows[0].HasMember("bet_c"));
  EXPECT_FALSE(rows[0].HasMember("bjh_pore_volume_cm3_per_g"));

  const std::vector<std::pair<std::vector<std::string>, std::string>> bad = {
      {{"batch", "-o", "x.csv"}, "no isotherm FILE or DIR given"},
      {{"batch", f / "in"}, "no -o/--output given"},
      {{"batch", f / "in", "-o", "x.txt"}, "ends neither in .csv nor in .json"},
      {{"batch", f / "in", "-o", "x.csv", "--to", "xml"}, "--to 'xml' is not csv or json"},
      {{"batch", f / "in", "-o", "x.csv", "--analyses", "bet,dft"},
       "--analyses: analysis 'dft' is not one of bet, tplot, bjh"},
      {{"batch", f / "in", "-o", "x.csv", "--jobs", "-1"}, "--jobs '-1' is not a whole number"},
      {{"batch", f / "in", "-o", "x.csv", "--jobs", "1.5"}, "--jobs '1.5' is not a whole number"},
  };
  for (const auto& [args, message] : bad) {
    const ToolRun r = RunTool(args);
    EXPECT_EQ(r.code, 2) << args.back();
    EXPECT_NE(r.err.find(message), std::string::npos) << r.err;
  }
  EXPECT_FALSE(fs::exists("x.csv"));
}

}  // namespace
