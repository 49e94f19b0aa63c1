// Kernel recipes: every member read, the grids expanded, each kind of refusal naming the
// file and the member, and the recipes that ship all readable.
#include <gtest/gtest.h>
#include <rapidjson/document.h>
#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <fstream>
#include <functional>
#include <string>
#include <vector>

#include "fiofla/dft_kernel_builder.h"
#include "fiofla/io/isotherm_file.h"
#include "test_util.h"

namespace {

namespace fs = std::filesystem;
using fiofla::InputError;
using fiofla::dft::KernelBranch;
using fiofla::dft::KernelRecipe;
using fiofla::dft::ParseKernelRecipe;
using fiofla::dft::ReadKernelRecipe;

// Every member given, none at its default.
const char* kFull = R"({
  "name": "test kernel",
  "gas": "Ar",
  "description": "two lines\nof text",
  "temperature_K": 87.3,
  "fluid": {"epsilon_K": 118.05, "sigma_nm": 0.3305, "hs_diameter_nm": 0.339,
            "cutoff_sigma": 4.5, "molar_mass_g_per_mol": 39.948},
  "wall": {"epsilon_K": 55.0, "sigma_nm": 0.335, "density_per_nm3": 110.5,
           "spacing_nm": 0.34, "solid_diameter_nm": 0.3},
  "widths_nm": [0.6, 1.0, 1.5],
  "pressures": [1e-5, 0.001, 0.1, 0.9],
  "branch": "desorption",
  "settings": {"points_per_radius": 12, "tolerance": 1e-7, "max_iterations": 400,
               "history": 4, "mixing": 0.3, "cap_kT": 40}
})";

// Only what must be given.
const char* kMinimal = R"({
  "name": "minimal", "gas": "N2", "temperature_K": 77.35,
  "fluid": {"epsilon_K": 94.45, "sigma_nm": 0.3575, "hs_diameter_nm": 0.3575},
  "wall": {"epsilon_K": 53.22, "sigma_nm": 0.3494},
  "widths_nm": {"from": 0.35, "to": 50, "count": 100, "spacing": "log"},
  "pressures": {"from": 0.1, "to": 0.9, "count": 9, "spacing": "linear"}
})";

KernelRecipe Parse(const std::string& text) {
  return ParseKernelRecipe(text, "recipe.json");
}

// The message of the InputError `read` throws; empty (and a failure) when it throws none.
std::string Message(const std::function<void()>& read) {
  try {
    read();
  } catch (const InputError& e) {
    return e.what();
  }
  ADD_FAILURE() << "accepted";
  return std::string();
}

std::string Refusal(const std::string& text) {
  return Message([&] { Parse(text); });
}

// kFull with one change made to its document.
std::string Changed(const std::function<void(rapidjson::Document&)>& change) {
  rapidjson::Document doc;
  doc.Parse(kFull);
  change(doc);
  rapidjson::StringBuffer buffer;
  rapidjson::Writer<rapidjson::StringBuffer> writer(buffer);
  doc.Accept(writer);
  return buffer.GetString();
}

TEST(KernelRecipe, EveryMemberIsRead) {
  const KernelRecipe r = Parse(kFull);
  EXPECT_EQ(r.name, "test kernel");
  EXPECT_EQ(r.gas, "Ar");
  EXPECT_EQ(r.description, "two lines\nof text");
  EXPECT_EQ(r.temperatureK, 87.3);
  EXPECT_EQ(r.fluid.epsilonK, 118.05);
  EXPECT_EQ(r.fluid.sigmaNm, 0.3305);
  EXPECT_EQ(r.fluid.diameterNm, 0.339);
  EXPECT_EQ(r.fluid.cutoffSigma, 4.5);
  EXPECT_EQ(r.fluid.molarMass, 39.948);
  EXPECT_EQ(r.wall.epsilonK, 55.0);
  EXPECT_EQ(r.wall.sigmaNm, 0.335);
  EXPECT_EQ(r.wall.densityPerNm3, 110.5);
  EXPECT_EQ(r.wall.spacingNm, 0.34);
  EXPECT_EQ(r.wall.solidDiameterNm, 0.3);
  EXPECT_EQ(r.widthsNm, (std::vector<double>{0.6, 1.0, 1.5}));
  EXPECT_EQ(r.pressures, (std::vector<double>{1e-5, 0.001, 0.1, 0.9}));
  EXPECT_EQ(r.branch, KernelBranch::kDesorption);
  EXPECT_EQ(r.settings.pointsPerRadius, 12);
  EXPECT_EQ(r.settings.tolerance, 1e-7);
  EXPECT_EQ(r.settings.maxIterations, 400);
  EXPECT_EQ(r.settings.history, 4);
  EXPECT_EQ(r.settings.mixing, 0.3);
  EXPECT_EQ(r.settings.capKT, 40.0);

  // The other branches by name; any order of members.
  for (const auto& p :
       {std::pair<const char*, KernelBranch>{"adsorption", KernelBranch::kAdsorption},
        {"equilibrium", KernelBranch::kEquilibrium}}) {
    const auto named = [&](rapidjson::Document& d) {
      d["branch"].SetString(p.first, d.GetAllocator());
    };
    EXPECT_EQ(Parse(Changed(named)).branch, p.second);
  }
}

TEST(KernelRecipe, LeftOutMembersTakeTheEngineDefaults) {
  const KernelRecipe r = Parse(kMinimal);
  const fiofla::dft::SteeleWall wall;
  const fiofla::dft::SlitSettings settings;
  EXPECT_TRUE(r.description.empty());
  EXPECT_EQ(r.fluid.cutoffSigma, fiofla::dft::LJFluid().cutoffSigma);
  EXPECT_EQ(r.fluid.molarMass, 0.0);
  EXPECT_EQ(r.wall.densityPerNm3, wall.densityPerNm3);
  EXPECT_EQ(r.wall.spacingNm, wall.spacingNm);
  EXPECT_EQ(r.wall.solidDiameterNm, wall.solidDiameterNm);
  EXPECT_EQ(r.branch, KernelBranch::kEquilibrium);
  EXPECT_EQ(r.settings.pointsPerRadius, settings.pointsPerRadius);
  EXPECT_EQ(r.settings.tolerance, settings.tolerance);
  EXPECT_EQ(r.settings.maxIterations, settings.maxIterations);
  EXPECT_EQ(r.settings.history, settings.history);
  EXPECT_EQ(r.settings.mixing, settings.mixing);
  EXPECT_EQ(r.settings.capKT, settings.capKT);
  // An empty settings object is the same as none.
  std::string text = kMinimal;
  text.insert(text.rfind('}'), ", \"settings\": {}");
  EXPECT_EQ(Parse(text).settings.pointsPerRadius, settings.pointsPerRadius);
}

TEST(KernelRecipe, GridsAreExpandedWithTheirEndsExact) {
  const KernelRecipe r = Parse(kMinimal);
  // Log spacing: 100 widths with one ratio between neighbours, the ends as written.
  ASSERT_EQ(r.widthsNm.size(), 100u);
  EXPECT_EQ(r.widthsNm.front(), 0.35);
  EXPECT_EQ(r.widthsNm.back(), 50.0);
  const double ratio = std::pow(50.0 / 0.35, 1.0 / 99.0);
  for (std::size_t j = 1; j < r.widthsNm.size(); ++j)
    EXPECT_REL_CLOSE(r.widthsNm[j] / r.widthsNm[j - 1], ratio, 1e-12) << j;
  // Linear spacing: 0.1, 0.2, ... 0.9.
  ASSERT_EQ(r.pressures.size(), 9u);
  for (std::size_t i = 0; i < r.pressures.size(); ++i)
    EXPECT_REL_CLOSE(r.pressures[i], 0.1 * double(i + 1), 1e-14) << i;
  EXPECT_EQ(r.pressures.back(), 0.9);

  // The two largest grids allowed; one more is refused.
  std::string text = kMinimal;
  text.replace(text.find("\"count\": 100"), 12, "\"count\": 1000");
  text.replace(text.find("\"count\": 9"), 10, "\"count\": 2000");
  const KernelRecipe big = Parse(text);
  EXPECT_EQ(big.widthsNm.size(), 1000u);
  EXPECT_EQ(big.pressures.size(), 2000u);
  for (std::size_t i = 1; i < big.pressures.size(); ++i)
    ASSERT_GT(big.pressures[i], big.pressures[i - 1]) << i;
  text.replace(text.find("\"count\": 2000"), 13, "\"count\": 2001");
  EXPECT_NE(Refusal(text).find("recipe.json: pressures.count: must be a whole number from 2 to "
                               "2000, got 2001"),
            std::string::npos);
}

TEST(KernelRecipe, SegmentsAreJoinedEndToEnd) {
  std::string text = kMinimal;
  const auto at = text.find("\"pressures\"");
  const auto end = text.find('}', at);
  text.replace(at, end - at + 1,
               "\"pressures\": [{\"from\": 1e-6, \"to\": 0.1, \"count\": 6, \"spacing\": \"log\"}, "
               "{\"from\": 0.1, \"to\": 0.9, \"count\": 5, \"spacing\": \"linear\"}]");
  const KernelRecipe r = Parse(text);
  // The shared end 0.1 once: 6 + 5 − 1 points.
  ASSERT_EQ(r.pressures.size(), 10u);
  EXPECT_EQ(r.pressures[5], 0.1);
  EXPECT_REL_CLOSE(r.pressures[4], 0.01, 1e-12);
  EXPECT_REL_CLOSE(r.pressures[6], 0.3, 1e-12);
  EXPECT_EQ(r.pressures.back(), 0.9);
  // A segment that starts below the end of the one before is refused.
  std::string back = text;
  back.replace(back.find("\"from\": 0.1"), 11, "\"from\": 0.05");
  EXPECT_NE(Refusal(back).find("pressures[1].from: must not lie below the end of the segment "
                               "before, 0.1, got 0.05"),
            std::string::npos)
      << Refusal(back);
}

TEST(KernelRecipe, EachRefusalNamesTheFileTheMemberAndTheValue) {
  using Doc = rapidjson::Document;
  auto number = [](const char* object, const char* member, double v) {
    return [=](Doc& d) { d[object][member].SetDouble(v); };
  };
  auto text = [](const char* object, const char* member, const char* v) {
    return [=](Doc& d) {
      rapidjson::Value& target = *object == '\0' ? d : d[object];
      target[member].SetString(v, d.GetAllocator());
    };
  };
  auto rename = [](const char* object, const char* from, const char* to) {
    return [=](Doc& d) {
      rapidjson::Value& target = *object == '\0' ? d : d[object];
      rapidjson::Value value(target[from], d.GetAllocator());
      target.RemoveMember(from);
      target.AddMember(rapidjson::Value(to, d.GetAllocator()), value, d.GetAllocator());
    };
  };
  auto grid = [](const char* member, std::vector<double> values) {
    return [=](Doc& d) {
      d[member].SetArray();
      for (double v : values) d[member].PushBack(v, d.GetAllocator());
    };
  };
  auto object = [](const char* member, const char* json) {
    return [=](Doc& d) {
      Doc part(&d.GetAllocator());
      part.Parse(json);
      d[member].CopyFrom(part, d.GetAllocator());
    };
  };
  const struct {
    std::function<void(Doc&)> change;
    std::string message;
  } cases[] = {
      {number("fluid", "sigma_nm", -1),
       "fluid.sigma_nm: must be a positive number up to 2 nm, got -1"},
      {number("fluid", "epsilon_K", 0), "fluid.epsilon_K: must be a positive number up to 5000 K"},
      // A length in Å where nm was meant.
      {number("fluid", "hs_diameter_nm", 3.39),
       "fluid.hs_diameter_nm: must be a positive number up to 2 nm, got 3.39"},
      {number("fluid", "cutoff_sigma", 0.5),
       "fluid.cutoff_sigma: must be a number from 1 to 20 sigma, got 0.5"},
      {number("fluid", "molar_mass_g_per_mol", -28), "fluid.molar_mass_g_per_mol: must be a"},
      {text("fluid", "epsilon_K", "94"),
       "fluid.epsilon_K: must be a positive number up to "
       "5000 K, got \"94\""},
      {number("wall", "density_per_nm3", 0), "wall.density_per_nm3: must be a positive number"},
      {number("wall", "solid_diameter_nm", -0.34),
       "wall.solid_diameter_nm: must be a number from 0 to 2 nm, got -0.34"},
      {[](Doc& d) { d.RemoveMember("temperature_K"); },
       "temperature_K: missing; must be a positive number up to 1000 K"},
      {[](Doc& d) { d["wall"].RemoveMember("sigma_nm"); }, "wall.sigma_nm: missing"},
      {[](Doc& d) { d.RemoveMember("fluid"); }, "fluid: missing; must be an object"},
      {[](Doc& d) { d["fluid"].SetInt(3); }, "fluid: must be an object, got 3"},
      // Misspelt members, required or optional, are refused rather than defaulted.
      {rename("fluid", "sigma_nm", "sigma"),
       "fluid.sigma: unknown member (fluid takes "
       "epsilon_K, sigma_nm, hs_diameter_nm"},
      {rename("wall", "spacing_nm", "spacing"), "wall.spacing: unknown member"},
      {rename("settings", "mixing", "mixng"), "settings.mixng: unknown member (settings takes"},
      {rename("", "settings", "setings"), "setings: unknown member (a recipe takes name, gas"},
      {rename("", "temperature_K", "temperature_k"), "temperature_k: unknown member"},
      {text("", "name", ""), "name: must be a text of 1 to 200 bytes, got 0 bytes"},
      {text("", "gas", "N\n2"), "gas: must not hold control characters, got \"N?2\""},
      {text("", "gas", "N\xff"), "gas: must be UTF-8 text, got \"N?\""},
      {[](Doc& d) { d["gas"].SetInt(2); }, "gas: must be a text of 1 to 40 bytes, got 2"},
      {text("", "branch", "eq"),
       "branch: must be \"equilibrium\", \"adsorption\" or \"desorption\", got \"eq\""},
      {grid("widths_nm", {0.6, 1.5, 1.0}),
       "widths_nm[2]: must be above the value before it, 1.5, got 1"},
      {grid("widths_nm", {0.6, 0.6}), "widths_nm[1]: must be above the value before it"},
      {grid("widths_nm", {0.6}), "widths_nm: must hold 2 to 1000 widths, got 1"},
      {grid("widths_nm", {0.0, 1.0}), "widths_nm[0]: must be a positive number up to 1000 nm"},
      {grid("pressures", {0.1, 1.0}),
       "pressures[1]: must be a positive number below 1 (P/Po), got 1"},
      {grid("pressures", std::vector<double>(2001, 0.5)),
       "pressures: must hold 2 to 2000 pressures, got 2001"},
      {[](Doc& d) { d["pressures"].SetString("log"); },
       "pressures: must be an ascending array of pressures, an object {from, to, count, "
       "spacing} or an array of such objects, got \"log\""},
      {object("widths_nm", R"({"from": 0.35, "to": 50, "count": 1, "spacing": "log"})"),
       "widths_nm.count: must be a whole number from 2 to 1000, got 1"},
      {object("widths_nm", R"({"from": 0.35, "to": 50, "count": 2.5, "spacing": "log"})"),
       "widths_nm.count: must be a whole number from 2 to 1000, got 2.5"},
      {object("widths_nm", R"({"from": 0.35, "to": 50, "count": 10})"),
       "widths_nm.spacing: missing; must be \"log\" or \"linear\""},
      {object("widths_nm", R"({"from": 0.35, "to": 50, "count": 10, "spacing": "lin"})"),
       "widths_nm.spacing: must be \"log\" or \"linear\", got \"lin\""},
      {object("widths_nm", R"({"from": 0.35, "to": 50, "count": 10, "spacing": "log", "n": 3})"),
       "widths_nm.n: unknown member (widths_nm takes from, to, count, spacing)"},
      {object("pressures", R"({"from": 0.5, "to": 0.1, "count": 10, "spacing": "log"})"),
       "pressures.to: must be above pressures.from (0.5), got 0.1"},
      {object("pressures", R"({"from": 0.5, "to": 0.5000000000000001, "count": 100,
                             "spacing": "linear"})"),
       "pressures: 100 linear-spaced pressures from 0.5 to 0.5000000000000001 are not all "
       "distinct"},
      {number("settings", "points_per_radius", 1),
       "settings.points_per_radius: must be a whole number from 2 to 1000, got 1"},
      {number("settings", "history", -1), "settings.history: must be a whole number from 0"},
      {number("settings", "mixing", 1.5), "settings.mixing: must be a positive number up to 1"},
      {number("settings", "tolerance", 0), "settings.tolerance: must be a positive number"},
      {[](Doc& d) { d["settings"].SetArray(); }, "settings: must be an object, got an array"},
      // Each number plausible, but together a grid too fine to hold.
      {[](Doc& d) {
         d["settings"]["points_per_radius"].SetInt(1000);
         d["widths_nm"][2].SetDouble(500.0);
       },
       "widths_nm: the widest pore, 500 nm, needs 2951622 grid points at fluid.hs_diameter_nm "
       "0.339 and settings.points_per_radius 1000; at most 200000"},
      {[](Doc& d) {
         d["fluid"]["sigma_nm"].SetDouble(2.0);
         d["fluid"]["cutoff_sigma"].SetDouble(20.0);
         d["fluid"]["hs_diameter_nm"].SetDouble(0.01);
         d["settings"]["points_per_radius"].SetInt(100);
       },
       "fluid.cutoff_sigma: the attraction reaches 800000 grid points at fluid.sigma_nm 2 and "
       "fluid.hs_diameter_nm 0.01; at most 200000"},
  };
  for (const auto& c : cases) {
    const std::string message = Refusal(Changed(c.change));
    EXPECT_EQ(message.rfind("recipe.json: ", 0), 0u) << message;
    EXPECT_NE(message.find(c.message), std::string::npos) << message << "\nwanted: " << c.message;
    EXPECT_EQ(message.find('\n'), std::string::npos) << message;
  }
}

TEST(KernelRecipe, TextThatIsNoRecipeIsRefusedWithItsLine) {
  EXPECT_EQ(Refusal("[1, 2]"), "recipe.json: a recipe must be a JSON object, got an array");
  EXPECT_EQ(Refusal(""), "recipe.json:1: not valid JSON: The document is empty.");
  const std::string twice = std::string(kMinimal).insert(1, "\"gas\": \"Ar\",\n");
  EXPECT_NE(Refusal(twice).find("recipe.json:3: member \"gas\" is given twice"), std::string::npos)
      << Refusal(twice);
  // Numbers beyond a double, too large or too small, are refused rather than rounded.
  for (const char* number : {"1e999", "1e-999"})
    EXPECT_EQ(Refusal(std::string("{\"temperature_K\": ") + number + "}")
                  .rfind("recipe.json:1: not valid JSON: ", 0),
              0u)
        << number;
  // Deep nesting is refused before it is parsed, with the line it gets too deep on.
  const std::string deep = "{\"name\":\n" + std::string(100000, '[');
  EXPECT_EQ(Refusal(deep), "recipe.json:2: nested deeper than 32 levels; a recipe is 3 deep");
}

struct TempDir {
  TempDir() : path(fs::temp_directory_path() / ("fiofla-recipe-" + std::to_string(::getpid()))) {
    fs::remove_all(path);
    fs::create_directories(path);
  }
  ~TempDir() { fs::remove_all(path); }
  std::string operator/(const std::string& name) const { return (path / name).string(); }
  fs::path path;
};

TEST(KernelRecipe, FilesAreReadWhole) {
  TempDir dir;
  const std::string path = dir / "r.json";
  std::ofstream(path) << kFull;
  const KernelRecipe r = ReadKernelRecipe(path);
  EXPECT_EQ(r.widthsNm, Parse(kFull).widthsNm);
  EXPECT_EQ(r.settings.capKT, 40.0);
  auto read = [&](const std::string& file) { return Message([&] { ReadKernelRecipe(file); }); };
  std::ofstream(path) << std::string(kMinimal).replace(1, 0, "\"branch\": 7,");
  EXPECT_EQ(read(path), path +
                            ": branch: must be \"equilibrium\", \"adsorption\" or "
                            "\"desorption\", got 7");
  // Over 1 MiB: refused unread, whatever it holds.
  std::ofstream(path) << std::string(kMinimal) + std::string(std::size_t(1) << 20, ' ');
  EXPECT_EQ(read(path), path + ": larger than 1 MiB, not a kernel recipe");
  EXPECT_EQ(read(dir / "none.json"), dir / "none.json" + ": cannot open the file");
  EXPECT_NE(read(dir.path.string()).find(dir.path.string() + ": cannot"), std::string::npos);
}

TEST(KernelRecipe, TheShippedRecipesAllParse) {
  const fs::path folder = fiofla::test::ShippedData("kernels/recipes");
  std::vector<std::string> names;
  for (const auto& entry : fs::directory_iterator(folder)) {
    if (entry.path().extension() != ".json") continue;
    names.push_back(entry.path().filename().string());
    SCOPED_TRACE(names.back());
    const KernelRecipe r = ReadKernelRecipe(entry.path().string());
    EXPECT_FALSE(r.description.empty());
    EXPECT_GT(r.fluid.molarMass, 0.0);
    // Carbon walls, the equilibrium branch, the engine's own settings.
    EXPECT_EQ(r.wall.solidDiameterNm, 0.34);
    EXPECT_EQ(r.branch, KernelBranch::kEquilibrium);
    EXPECT_EQ(r.settings.pointsPerRadius, fiofla::dft::SlitSettings().pointsPerRadius);
  }
  std::sort(names.begin(), names.end());
  EXPECT_EQ(names, (std::vector<std::string>{"ar-87-carbon-slit.json", "co2-273-carbon-slit.json",
                                             "n2-77-carbon-slit.json"}));
  // The grids data/kernels/README.md states.
  const KernelRecipe n2 = ReadKernelRecipe((folder / "n2-77-carbon-slit.json").string());
  EXPECT_EQ(n2.widthsNm.size(), 100u);
  EXPECT_EQ(n2.pressures.size(), 160u);  // 100 log-spaced below 0.1, 61 linear from it
  EXPECT_EQ(n2.pressures.back(), 0.995);
  const KernelRecipe co2 = ReadKernelRecipe((folder / "co2-273-carbon-slit.json").string());
  EXPECT_EQ(co2.widthsNm.size(), 40u);
  EXPECT_EQ(co2.widthsNm.back(), 1.5);
  EXPECT_EQ(co2.pressures.size(), 100u);
  EXPECT_EQ(co2.pressures.back(), 0.0256);
}

}  // namespace
