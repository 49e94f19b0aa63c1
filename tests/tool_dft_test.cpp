// `fiofla dft` and the DFT page of `fiofla report`, driven in-process on a synthetic kernel
// and isotherm written to a temporary folder.
#include <gtest/gtest.h>
#include <rapidjson/document.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <sstream>

#include "cli.h"
#include "dft_synthetic.h"
#include "tool_run.h"

namespace {

namespace fs = std::filesystem;
using fiofla::testing::LogSpaced;

using fiofla::testing::RunTool;
using fiofla::testing::ToolRun;

// A kernel directory with one nitrogen and one carbon dioxide kernel, and an isotherm of
// each gas of one two-peak sample.
struct Fixture {
  Fixture() : dir(fs::temp_directory_path() / ("fiofla-dft-tool-" + std::to_string(::getpid()))) {
    fs::remove_all(dir);
    fs::create_directories(dir);
    const std::vector<double> kw = LogSpaced(3.6, 360.0, 100);
    const auto area = fiofla::testing::PeakAreas(kw, {{8.0, 0.05, 0.3}, {40.0, 0.06, 0.5}});
    fiofla::testing::SyntheticKernel(n2, LogSpaced(1e-7, 0.995, 100), kw)
        .WriteToFile(CStr((dir / "n2-slit.dftk").string()));
    fiofla::testing::SyntheticKernel(co2, LogSpaced(1e-6, 0.035, 60), kw)
        .WriteToFile(CStr((dir / "co2-slit.dftk").string()));
    std::vector<double> p = LogSpaced(1e-6, 0.1, 35);
    for (int k = 1; k <= 30; ++k) p.push_back(0.1 + 0.88 * k / 30.0);
    Write("n2.csv", "N2", 77.35, p, fiofla::testing::SyntheticIsotherm(n2, p, kw, area));
    const std::vector<double> p2 = LogSpaced(2e-5, 0.03, 25);
    Write("co2.csv", "CO2", 273.15, p2, fiofla::testing::SyntheticIsotherm(co2, p2, kw, area));
  }
  ~Fixture() { fs::remove_all(dir); }
  void Write(const char* name, const char* gas, double t, std::vector<double> const& p,
             std::vector<double> const& q) const {
    std::ofstream f(dir / name);
    f << "# adsorptive: " << gas << "; temperature: " << t << " K\n"
      << "relative_pressure,quantity_adsorbed [cm3/g STP]\n";
    f.precision(10);
    for (std::size_t k = 0; k < p.size(); ++k) f << p[k] << "," << q[k] << "\n";
  }
  std::string operator/(const char* name) const { return (dir / name).string(); }

  fiofla::testing::SyntheticGas n2;
  fiofla::testing::SyntheticGas co2{"CO2", 273.15, 12.0, 2.5, 0.3, 590.0, 1e-3};
  fs::path dir;
};

TEST(ToolDft, DistributionInTextAndJson) {
  const Fixture fx;
  const ToolRun text =
      RunTool({"dft", fx / "n2.csv", "--kernel", "n2-slit", "--kernel-dir", fx.dir.string()});
  ASSERT_EQ(text.code, 0) << text.err;
  EXPECT_NE(text.out.find("Total pore volume"), std::string::npos);
  EXPECT_NE(text.out.find("generalised cross-validation"), std::string::npos);
  EXPECT_NE(text.out.find("Pore classes (100)"), std::string::npos);

  const ToolRun json = RunTool({"dft", fx / "n2.csv", "--kernel", fx / "n2-slit.dftk", "--json",
                                "--lambda", "0.01", "--width-range", "5:200"});
  ASSERT_EQ(json.code, 0) << json.err;
  rapidjson::Document doc;
  doc.Parse(json.out.c_str());
  ASSERT_FALSE(doc.HasParseError()) << json.out;
  EXPECT_NEAR(doc["total_pore_volume_cm3_per_g"].GetDouble(), 0.8, 0.01);
  EXPECT_EQ(doc["lambda"].GetDouble(), 0.01);
  EXPECT_EQ(doc["status"].GetInt(), 0);
  const auto& classes = doc["classes"].GetArray();
  ASSERT_GT(classes.Size(), 2u);
  EXPECT_GE(classes[0]["width_angstrom"].GetDouble(), 5.0);
  EXPECT_LE(classes[classes.Size() - 1]["width_angstrom"].GetDouble(), 200.0);
  EXPECT_EQ(doc["fit"].GetArray().Size(), 65u);
}

TEST(ToolDft, TwoGasesAndTheReportPage) {
  const Fixture fx;
  const ToolRun dual = RunTool({"dft", fx / "n2.csv", "--kernel", fx / "n2-slit.dftk", "--kernel2",
                                fx / "co2-slit.dftk", "--file2", fx / "co2.csv", "--json"});
  ASSERT_EQ(dual.code, 0) << dual.err;
  rapidjson::Document doc;
  doc.Parse(dual.out.c_str());
  ASSERT_FALSE(doc.HasParseError());
  EXPECT_NEAR(doc["total_pore_volume_cm3_per_g"].GetDouble(), 0.8, 0.02);
  int second = 0;
  for (const auto& row : doc["fit"].GetArray()) second += row["gas"].GetInt() == 2;
  EXPECT_EQ(second, 25);

  const ToolRun report =
      RunTool({"report", fx / "n2.csv", "--kernel", fx / "n2-slit.dftk", "--to", "text"});
  ASSERT_EQ(report.code, 0) << report.err;
  EXPECT_NE(report.out.find("DFT report: "), std::string::npos);
  EXPECT_NE(report.out.find("DFT Pore Classes"), std::string::npos);
}

TEST(ToolDft, RefusalsAndWarningsInWords) {
  const Fixture fx;
  ToolRun r = RunTool({"dft", fx / "n2.csv"});
  EXPECT_EQ(r.code, 2);
  EXPECT_NE(r.err.find("--kernel"), std::string::npos);
  r = RunTool({"dft", fx / "n2.csv", "--kernel", "argon-zeolite", "--kernel-dir", fx.dir.string()});
  EXPECT_EQ(r.code, 1);
  EXPECT_NE(r.err.find("argon-zeolite"), std::string::npos);
  EXPECT_NE(r.err.find("n2-slit"), std::string::npos);  // what there is
  r = RunTool({"dft", fx / "n2.csv", "--kernel", fx / "n2-slit.dftk", "--lambda", "-1"});
  EXPECT_EQ(r.code, 2);
  r = RunTool(
      {"dft", fx / "n2.csv", "--kernel", fx / "n2-slit.dftk", "--kernel2", fx / "co2-slit.dftk"});
  EXPECT_EQ(r.code, 2);
  r = RunTool(
      {"dft", fx / "n2.csv", "--kernel", fx / "n2-slit.dftk", "--pressure-range", "0.5:0.51"});
  EXPECT_EQ(r.code, 3);
  EXPECT_NE(r.err.find("fewer than 3 points"), std::string::npos);
  // The isotherm of another gas is still analysed, with the mismatch in words.
  r = RunTool({"dft", fx / "co2.csv", "--kernel", fx / "n2-slit.dftk"});
  EXPECT_EQ(r.code, 0) << r.err;
  EXPECT_NE(r.out.find("The kernel is for N2, the isotherm is of CO2"), std::string::npos) << r.out;
}

}  // namespace
