// `fiofla fit` and the model-fit page of `fiofla report`, driven in-process on isotherms
// written to a temporary folder from known Langmuir parameters, and on the bundled example.
#include <gtest/gtest.h>
#include <rapidjson/document.h>
#include <unistd.h>

#include <cmath>
#include <filesystem>
#include <fstream>
#include <set>

#include "test_util.h"
#include "tool_run.h"

namespace {

namespace fs = std::filesystem;
using fiofla::testing::RunTool;
using fiofla::testing::ToolRun;

constexpr double kCapacityMmolPerG = 3.2;
constexpr double kAffinityPerKPa = 0.05;

double Langmuir(double p) {
  return kCapacityMmolPerG * kAffinityPerKPa * p / (1.0 + kAffinityPerKPa * p);
}

// An adsorption branch from the Langmuir parameters above, a desorption branch of 1.1 times
// the capacity, and a file whose loadings are all equal.
struct Fixture {
  Fixture() : dir(fs::temp_directory_path() / ("fiofla-fit-tool-" + std::to_string(::getpid()))) {
    fs::remove_all(dir);
    fs::create_directories(dir);
    std::ofstream lang(dir / "langmuir.csv");
    lang.precision(17);
    lang << "# adsorptive: CO2; temperature: 298.15 K\n"
            "pressure [kPa],loading [mmol/g],branch\n";
    for (int i = 1; i <= 15; ++i) lang << i * 7.0 << "," << Langmuir(i * 7.0) << ",ads\n";
    for (int i = 14; i >= 1; --i) lang << i * 7.0 << "," << 1.1 * Langmuir(i * 7.0) << ",des\n";
    std::ofstream flat(dir / "flat.csv");
    flat << "pressure [kPa],loading [mmol/g]\n";
    for (int i = 1; i <= 8; ++i) flat << i * 10.0 << ",2.0\n";
  }
  ~Fixture() { fs::remove_all(dir); }
  std::string operator/(const char* name) const { return (dir / name).string(); }
  fs::path dir;
};

rapidjson::Document Json(const ToolRun& r) {
  rapidjson::Document doc;
  doc.Parse(r.out.c_str());
  EXPECT_FALSE(doc.HasParseError()) << r.out;
  return doc;
}

// The value of parameter `name` of `model` in the JSON parameter list; NaN when missing.
double Parameter(const rapidjson::Document& doc, const char* model, const char* name,
                 std::string* unit = nullptr) {
  for (const auto& p : doc["parameters"].GetArray())
    if (p["model"].GetString() == std::string(model) &&
        p["name"].GetString() == std::string(name)) {
      if (unit) *unit = p["unit"].GetString();
      return p["value"].GetDouble();
    }
  return NAN;
}

TEST(ToolFit, KnownLangmuirParametersComeBackInEveryUnit) {
  const Fixture fx;
  ToolRun r = RunTool({"fit", fx / "langmuir.csv", "--models", "langmuir,henry,toth", "--json"});
  ASSERT_EQ(r.code, 0) << r.err;
  auto doc = Json(r);
  EXPECT_STREQ(doc["pressure_unit"].GetString(), "kPa");
  EXPECT_STREQ(doc["loading_unit"].GetString(), "mmol/g");
  EXPECT_EQ(doc["points"].GetInt(), 15);
  std::string unit;
  EXPECT_REL_CLOSE(Parameter(doc, "langmuir", "n_m", &unit), kCapacityMmolPerG, 1e-6);
  EXPECT_EQ(unit, "mmol/g");
  EXPECT_REL_CLOSE(Parameter(doc, "langmuir", "K", &unit), kAffinityPerKPa, 1e-6);
  EXPECT_EQ(unit, "1/kPa");

  // In bar and cm3/g STP the affinity is 100 times larger and the capacity 22.414 times.
  r = RunTool({"fit", fx / "langmuir.csv", "--models", "langmuir", "--json", "--pressure-unit",
               "bar", "--loading-unit", "cm3/g STP"});
  ASSERT_EQ(r.code, 0) << r.err;
  doc = Json(r);
  EXPECT_REL_CLOSE(Parameter(doc, "langmuir", "K"), 100.0 * kAffinityPerKPa, 1e-6);
  EXPECT_REL_CLOSE(Parameter(doc, "langmuir", "n_m"), 22.414 * kCapacityMmolPerG, 1e-6);

  // The desorption branch has its own capacity.
  r = RunTool({"fit", fx / "langmuir.csv", "--model", "dsl", "--json", "--branch", "desorption"});
  ASSERT_EQ(r.code, 0) << r.err;
  doc = Json(r);
  EXPECT_STREQ(doc["branch"].GetString(), "desorption");
  EXPECT_REL_CLOSE(
      Parameter(doc, "multisite_langmuir", "n_1") + Parameter(doc, "multisite_langmuir", "n_2"),
      1.1 * kCapacityMmolPerG, 1e-3);

  // The text table carries the same fit, with units.
  r = RunTool({"fit", fx / "langmuir.csv", "--models", "langmuir"});
  ASSERT_EQ(r.code, 0) << r.err;
  EXPECT_NE(r.out.find("n_m = 3.2 +/- "), std::string::npos) << r.out;
  EXPECT_NE(r.out.find("K = 0.05 +/- "), std::string::npos) << r.out;
}

TEST(ToolFit, FitsAreRankedByAiccWithUnusableOnesLast) {
  const Fixture fx;
  const fiofla::testing::ToolRun r =
      RunTool({"fit", fx / "langmuir.csv", "--models", "all", "--json"});
  ASSERT_EQ(r.code, 0) << r.err;
  const auto doc = Json(r);
  const auto& fits = doc["fits"].GetArray();
  ASSERT_GE(fits.Size(), 15u);
  bool seenUnusable = false;
  double last = -HUGE_VAL;
  for (rapidjson::SizeType k = 0; k < fits.Size(); ++k) {
    EXPECT_EQ(fits[k]["rank"].GetInt(), static_cast<int>(k) + 1);
    const std::string status = fits[k]["status"].GetString();
    const bool usable = status == "ok" || status == "iteration limit" || status == "undetermined";
    if (!usable) {
      seenUnusable = true;
      EXPECT_TRUE(fits[k]["aicc"].IsNull());
      continue;
    }
    EXPECT_FALSE(seenUnusable) << "usable fit after an unusable one at rank " << k + 1;
    EXPECT_GE(fits[k]["aicc"].GetDouble(), last);
    last = fits[k]["aicc"].GetDouble();
  }
  // Langmuir data: Henry's line is the worse description of the two.
  int langmuir = 0, henry = 0;
  for (const auto& f : fits) {
    if (f["model"].GetString() == std::string("langmuir")) langmuir = f["rank"].GetInt();
    if (f["model"].GetString() == std::string("henry")) henry = f["rank"].GetInt();
  }
  EXPECT_GT(langmuir, 0);
  EXPECT_LT(langmuir, henry);

  // The bundled example gives P/Po only: the fit is in P/Po with Ps = 1, so BET and GAB join
  // the default set.
  const ToolRun example =
      RunTool({"fit", fiofla::test::ShippedData("examples/n2_77k_silica.csv"), "--json"});
  ASSERT_EQ(example.code, 0) << example.err;
  const auto ex = Json(example);
  EXPECT_STREQ(ex["pressure_unit"].GetString(), "P/Po");
  EXPECT_EQ(ex["saturation_pressure"].GetDouble(), 1.0);
  std::set<std::string> models;
  for (const auto& f : ex["fits"].GetArray()) models.insert(f["model"].GetString());
  EXPECT_EQ(models, (std::set<std::string>{"henry", "langmuir", "multisite_langmuir", "freundlich",
                                           "sips", "toth", "bet", "gab"}));
}

TEST(ToolFit, ShowGivesTheCurveAndSpreadingPressureAtThePoints) {
  const Fixture fx;
  ToolRun r = RunTool({"fit", fx / "langmuir.csv", "--model", "langmuir", "--show", "--json"});
  ASSERT_EQ(r.code, 0) << r.err;
  const auto doc = Json(r);
  EXPECT_STREQ(doc["shown_model"].GetString(), "langmuir");
  const auto& curve = doc["curve"].GetArray();
  ASSERT_EQ(curve.Size(), 15u);
  for (const auto& row : curve) {
    const double p = row["pressure"].GetDouble();
    EXPECT_REL_CLOSE(row["measured_loading"].GetDouble(), Langmuir(p), 1e-12);
    EXPECT_REL_CLOSE(row["fitted_loading"].GetDouble(), Langmuir(p), 1e-6);
    EXPECT_NEAR(row["residual"].GetDouble(),
                row["measured_loading"].GetDouble() - row["fitted_loading"].GetDouble(), 1e-12);
    // Langmuir's π = n_m ln(1 + K P).
    EXPECT_REL_CLOSE(row["spreading_pressure"].GetDouble(),
                     kCapacityMmolPerG * std::log1p(kAffinityPerKPa * p), 1e-6);
  }
  r = RunTool({"fit", fx / "langmuir.csv", "--model", "langmuir", "--show"});
  ASSERT_EQ(r.code, 0) << r.err;
  for (const char* header :
       {"P (kPa)", "measured (mmol/g)", "fitted (mmol/g)", "residual", "pi (mmol/g)"})
    EXPECT_NE(r.out.find(header), std::string::npos) << header << "\n" << r.out;
}

TEST(ToolFit, RefusalsAndDegenerateDataInWords) {
  const Fixture fx;
  // An unknown name is refused before the file is read, with the names that exist.
  ToolRun r = RunTool({"fit", fx / "missing.csv", "--models", "langmuir,frumkin"});
  EXPECT_EQ(r.code, 2);
  EXPECT_NE(r.err.find("'frumkin' is not a model"), std::string::npos) << r.err;
  for (const char* known : {"langmuir", "toth", "dubinin_astakhov", "virial", "dsl"})
    EXPECT_NE(r.err.find(known), std::string::npos) << known;
  r = RunTool({"fit", fx / "langmuir.csv", "--models", "langmuir,,toth"});
  EXPECT_EQ(r.code, 2);
  r = RunTool({"fit", fx / "langmuir.csv", "--loading-unit", "furlongs"});
  EXPECT_EQ(r.code, 2);
  EXPECT_NE(r.err.find("--loading-unit 'furlongs'"), std::string::npos) << r.err;

  // A file of P/Po takes a pressure unit only with a Po, whose value becomes Ps.
  const std::string example = fiofla::test::ShippedData("examples/n2_77k_silica.csv");
  r = RunTool({"fit", example, "--model", "gab", "--pressure-unit", "kPa"});
  EXPECT_EQ(r.code, 1);
  EXPECT_NE(r.err.find("give --p0"), std::string::npos) << r.err;
  r = RunTool(
      {"fit", example, "--model", "gab", "--pressure-unit", "kPa", "--p0", "760 torr", "--json"});
  ASSERT_EQ(r.code, 0) << r.err;
  EXPECT_REL_CLOSE(Json(r)["saturation_pressure"].GetDouble(), 101.325, 1e-9);

  // A model needing Po on a file without one is refused naming what is missing.
  r = RunTool({"fit", fx / "flat.csv", "--models", "bet"});
  EXPECT_EQ(r.code, 2);
  EXPECT_NE(r.err.find("needs the saturation pressure"), std::string::npos) << r.err;

  // All loadings equal: every fit says why it cannot be used; nothing crashes.
  r = RunTool({"fit", fx / "flat.csv"});
  EXPECT_EQ(r.code, 3);
  EXPECT_NE(r.out.find("Fits that cannot be used:"), std::string::npos) << r.out;
  EXPECT_NE(r.out.find("langmuir: degenerate"), std::string::npos) << r.out;
  EXPECT_NE(r.err.find("no usable fit"), std::string::npos) << r.err;
  r = RunTool({"fit", fx / "flat.csv", "--json"});
  EXPECT_EQ(r.code, 3);
  const auto doc = Json(r);
  for (const auto& f : doc["fits"].GetArray()) {
    EXPECT_STRNE(f["status"].GetString(), "ok");
    EXPECT_GT(f["message"].GetStringLength(), 0u);
  }
  EXPECT_EQ(doc["parameters"].GetArray().Size(), 0u);
}

TEST(ToolFit, ReportWithFitHasTheModelPage) {
  const Fixture fx;
  ToolRun r = RunTool({"report", fx / "langmuir.csv", "--fit", "langmuir,henry", "--to", "text",
                       "--units", "mmol/g"});
  ASSERT_NE(r.code, 1) << r.err;
  ASSERT_NE(r.code, 2) << r.err;
  EXPECT_NE(r.out.find("Model fit report: "), std::string::npos) << r.out;
  EXPECT_NE(r.out.find("Isotherm Model Fits"), std::string::npos);
  EXPECT_NE(r.out.find("1. langmuir:"), std::string::npos) << r.out;
  EXPECT_NE(r.out.find("2. henry:"), std::string::npos) << r.out;
  EXPECT_NE(r.out.find("Graph: Model Fits, Logarithmic Pressure"), std::string::npos);
  EXPECT_NE(r.out.find("axis Pressure (kPa)"), std::string::npos) << r.out;
  // Without --fit there is no such page; a bad name stops the report before any file.
  r = RunTool({"report", fx / "langmuir.csv", "--to", "text"});
  EXPECT_EQ(r.out.find("Model fit report: "), std::string::npos);
  r = RunTool({"report", fx / "missing.csv", "--fit", "nonsense"});
  EXPECT_EQ(r.code, 2);
  EXPECT_NE(r.err.find("--fit 'nonsense' is not a model"), std::string::npos) << r.err;
}

}  // namespace
