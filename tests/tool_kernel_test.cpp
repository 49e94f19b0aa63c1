// `fiofla kernel`, driven in-process: a CSV imported, then listed and shown from a kernel
// directory in text and JSON; refusals of incomplete or bad imports; a small kernel built
// from a recipe, with its manifest, and the refusals of bad builds.
#include <rapidjson/document.h>
#include <unistd.h>

#include <cmath>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "cli.h"
#include "fiofla/dft_kernel_builder.h"
#include "fiofla/dft_kernels.h"
#include "test_util.h"
#include "tool_run.h"

namespace {

namespace fs = std::filesystem;

using fiofla::testing::RunTool;
using fiofla::testing::ToolRun;

struct TempDir {
  TempDir()
      : path(fs::temp_directory_path() / ("fiofla-kernel-tool-" + std::to_string(::getpid()))) {
    fs::remove_all(path);
    fs::create_directories(path);
  }
  ~TempDir() { fs::remove_all(path); }
  std::string operator/(const std::string& name) const { return (path / name).string(); }
  fs::path path;
};

// Widths in nm, values per cm3 of pore (cylinders), as a published table might give them.
const char* kCsv =
    "# test kernel\n"
    "P/Po\t1\t2\t5\n"
    "0.001\t400\t100\t10\n"
    "0.1\t600\t500\t80\n"
    "0.8\t700\t690\t650\n";

std::vector<std::string> ConvertArgs(const std::string& csv, const std::string& out) {
  return {"kernel", "convert",    csv,        "-o",    out,  "--width-unit",  "nm",   "--basis",
          "volume", "--geometry", "cylinder", "--gas", "N2", "--temperature", "77.35"};
}

rapidjson::Document Json(const std::string& text) {
  rapidjson::Document doc;
  doc.Parse(text.c_str());
  EXPECT_FALSE(doc.HasParseError()) << text;
  return doc;
}

TEST(ToolKernel, ConvertThenListAndShowFromTheKernelDirectory) {
  TempDir dir;
  std::ofstream(dir / "table.csv") << kCsv;
  const std::string kernel = dir / "n2_cyl.dftk";
  const auto conv = RunTool(ConvertArgs(dir / "table.csv", kernel));
  ASSERT_EQ(conv.code, 0) << conv.err;
  EXPECT_NE(conv.out.find("Wrote the kernel " + kernel), std::string::npos) << conv.out;

  // What the tool wrote is what the library reads from the same table.
  fiofla::KernelCsvOptions o;
  o.widthUnit = fiofla::KernelWidthUnit::kNanometre;
  o.basis = fiofla::KernelBasis::kPoreVolume;
  o.geometry = eDFTGeometryCylinder;
  o.gas = "N2";
  o.temperatureK = 77.35;
  const CDFTModel expected = fiofla::ParseKernelCsv(kCsv, dir / "table.csv", o);
  const CDFTModel written = fiofla::LoadKernel(kernel);
  ASSERT_EQ(written.Kernel().rows(), 3u);
  for (std::size_t i = 0; i < 3; ++i)
    for (std::size_t j = 0; j < 3; ++j) EXPECT_EQ(written.Kernel()(i, j), expected.Kernel()(i, j));
  // 400 cm3/cm3 in 1 nm cylinders: 400 × 10 Å × 1e-4 / 4 cm3 STP per m2 of wall.
  EXPECT_REL_CLOSE(written.Kernel()(0, 0), 0.1, 1e-12);

  const auto list = RunTool({"kernel", "list", "--kernel-dir", dir.path.string()});
  ASSERT_EQ(list.code, 0) << list.err;
  EXPECT_NE(list.out.find("n2_cyl"), std::string::npos) << list.out;
  EXPECT_NE(list.out.find("cylinder"), std::string::npos) << list.out;

  const auto listJson = RunTool({"kernel", "list", "--kernel-dir", dir.path.string(), "--json"});
  ASSERT_EQ(listJson.code, 0) << listJson.err;
  const auto listed = Json(listJson.out);
  EXPECT_EQ(std::string(listed["kernel_directory"].GetString()), dir.path.string());
  ASSERT_EQ(listed["kernels"].Size(), 1u);
  const auto& entry = listed["kernels"][0];
  EXPECT_EQ(std::string(entry["name"].GetString()), "n2_cyl");
  EXPECT_TRUE(entry["readable"].GetBool());
  EXPECT_EQ(entry["width_count"].GetInt(), 3);
  EXPECT_EQ(entry["width_max_angstrom"].GetDouble(), 50.0);

  // By name through the environment's directory, and by path.
  ::setenv("FIOFLA_KERNEL_DIR", dir.path.c_str(), 1);
  const auto show = RunTool({"kernel", "show", "n2_cyl", "--json", "--grids"});
  ::unsetenv("FIOFLA_KERNEL_DIR");
  ASSERT_EQ(show.code, 0) << show.err;
  const auto shown = Json(show.out);
  EXPECT_EQ(std::string(shown["path"].GetString()), kernel);
  EXPECT_EQ(std::string(shown["gas"].GetString()), "N2");
  EXPECT_EQ(std::string(shown["geometry"].GetString()), "cylinder");
  EXPECT_EQ(std::string(shown["model_name"].GetString()), "table");
  EXPECT_EQ(std::string(shown["header_value"].GetString()), "0x0000000000000000");
  EXPECT_EQ(shown["pressure_min"].GetDouble(), 0.001);
  EXPECT_EQ(shown["width_min_nm"].GetDouble(), 1.0);
  ASSERT_EQ(shown["pressures"].Size(), 3u);
  EXPECT_EQ(shown["widths_angstrom"][2].GetDouble(), 50.0);
  // The smallest value: 10 cm3/cm3 in 5 nm cylinders, 10 × 50 Å × 1e-4 / 4.
  EXPECT_REL_CLOSE(shown["value_min_cm3_stp_per_m2"].GetDouble(), 0.0125, 1e-12);

  const auto text = RunTool({"kernel", "show", kernel, "--grids"});
  ASSERT_EQ(text.code, 0) << text.err;
  EXPECT_NE(text.out.find("Pore widths         3, 10 to 50 \xC3\x85 (1 to 5 nm)"),
            std::string::npos)
      << text.out;
  EXPECT_NE(text.out.find("Pressure grid (P/Po):\n    0.001 0.1 0.8\n"), std::string::npos)
      << text.out;
}

TEST(ToolKernel, IncompleteOrBadImportsAreRefusedAndWriteNothing) {
  TempDir dir;
  std::ofstream(dir / "table.csv") << kCsv;
  std::ofstream(dir / "bad.csv") << "P,1,2\n0.2,1,1\n0.1,1,1\n";
  const std::string out = dir / "k.dftk";
  // Each needed option left out in turn (with its value).
  const std::vector<std::string> full = ConvertArgs(dir / "table.csv", out);
  for (const std::string option :
       {"--width-unit", "--basis", "--geometry", "--gas", "--temperature"}) {
    std::vector<std::string> args;
    for (std::size_t k = 0; k < full.size(); ++k) {
      if (full[k] == option) {
        ++k;
        continue;
      }
      args.push_back(full[k]);
    }
    const auto r = RunTool(args);
    SCOPED_TRACE(option);
    EXPECT_EQ(r.code, fiofla::cli::kExitUsageError);
    EXPECT_NE(r.err.find("fiofla kernel convert: " + option), std::string::npos) << r.err;
  }
  std::vector<std::string> badUnit = full;
  badUnit[6] = "mm";
  const auto unit = RunTool(badUnit);
  EXPECT_EQ(unit.code, fiofla::cli::kExitUsageError);
  EXPECT_NE(unit.err.find("--width-unit 'mm' is not nm or A"), std::string::npos) << unit.err;

  const auto bad = RunTool(ConvertArgs(dir / "bad.csv", out));
  EXPECT_EQ(bad.code, fiofla::cli::kExitInputError);
  EXPECT_NE(bad.err.find(dir / "bad.csv" + ":3: column 1: P/Po 0.1 is not above 0.2"),
            std::string::npos)
      << bad.err;
  EXPECT_FALSE(fs::exists(out));

  const auto missing = RunTool({"kernel", "show", "nothing", "--kernel-dir", dir.path.string()});
  EXPECT_EQ(missing.code, fiofla::cli::kExitInputError);
  EXPECT_NE(missing.err.find("no kernel 'nothing'"), std::string::npos) << missing.err;
  EXPECT_NE(missing.err.find("holds no .dftk files"), std::string::npos) << missing.err;

  EXPECT_EQ(RunTool({"kernel"}).code, fiofla::cli::kExitUsageError);
  EXPECT_EQ(RunTool({"kernel", "show"}).code, fiofla::cli::kExitUsageError);
}

// Three micropores and twelve pressures on a coarse grid: a kernel in well under a second.
const char* kTinyRecipe = R"({
  "name": "tiny N2", "gas": "N2", "temperature_K": 77.35,
  "fluid": {"epsilon_K": 94.45, "sigma_nm": 0.3575, "hs_diameter_nm": 0.3575},
  "wall": {"epsilon_K": 53.22, "sigma_nm": 0.3494},
  "widths_nm": [0.6, 1.0, 1.5],
  "pressures": {"from": 1e-6, "to": 0.9, "count": 12, "spacing": "log"},
  "settings": {"points_per_radius": 10}
})";

std::string FileText(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  return std::string((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
}

TEST(ToolKernel, BuildWritesAKernelOfTheRecipesGridsAndItsManifest) {
  TempDir dir;
  std::ofstream(dir / "tiny.json") << kTinyRecipe;
  const std::string kernel = dir / "tiny.dftk";
  const auto run = RunTool({"kernel", "build", dir / "tiny.json", "-o", kernel, "--json"});
  ASSERT_EQ(run.code, 0) << run.err;
  // Progress lines are for a terminal, never for a captured stream.
  EXPECT_EQ(run.err, "");
  const auto result = Json(run.out);
  EXPECT_EQ(std::string(result["manifest"].GetString()), dir / "tiny.manifest.json");
  EXPECT_EQ(result["width_count"].GetInt(), 3);
  EXPECT_EQ(result["pressure_count"].GetInt(), 12);

  const auto recipe = fiofla::dft::ParseKernelRecipe(kTinyRecipe, "tiny.json");
  const CDFTModel model = fiofla::LoadKernel(kernel);
  ASSERT_TRUE(model.IsValid());
  EXPECT_EQ(model.Header().gasName.str(), "N2");
  EXPECT_EQ(model.Header().modelName.str(), "tiny N2");
  EXPECT_EQ(model.Header().temperature, 77.35);
  EXPECT_EQ(model.Header().geometry, eDFTGeometrySlit);
  ASSERT_EQ(model.Pressures().size(), 12u);
  ASSERT_EQ(model.PoreWidths().size(), 3u);
  for (std::size_t i = 0; i < 12; ++i) EXPECT_EQ(model.Pressures()[i], recipe.pressures[i]);
  for (std::size_t j = 0; j < 3; ++j)
    EXPECT_REL_CLOSE(model.PoreWidths()[j], recipe.widthsNm[j] * 10.0, 1e-15);
  // Amounts: finite, never less at a higher pressure, and at the top more per unit wall in
  // the wider pore (it holds more fluid between its walls).
  for (std::size_t j = 0; j < 3; ++j)
    for (std::size_t i = 0; i < 12; ++i) {
      EXPECT_TRUE(std::isfinite(model.Kernel()(i, j)) && model.Kernel()(i, j) >= 0.0);
      if (i > 0) EXPECT_GE(model.Kernel()(i, j), model.Kernel()(i - 1, j)) << i << " " << j;
    }
  EXPECT_GT(model.Kernel()(11, 2), model.Kernel()(11, 0));

  // The manifest is JSON with the grids, and the same model Po the summary printed.
  const auto manifest = Json(FileText(dir / "tiny.manifest.json"));
  ASSERT_TRUE(manifest.IsObject());
  EXPECT_EQ(manifest["widths_nm"].Size(), 3u);
  EXPECT_EQ(manifest["pressures"].Size(), 12u);
  EXPECT_EQ(manifest["pores"].Size(), 3u);
  EXPECT_EQ(std::string(manifest["generator"].GetString()).rfind("fiofla ", 0), 0u);
  EXPECT_EQ(manifest["model"]["saturation_pressure_kPa"].GetDouble(),
            result["saturation_pressure_kpa"].GetDouble());
  // The model's own Po of nitrogen at 77.35 K: near the real gas's 101.3 kPa.
  EXPECT_NEAR(result["saturation_pressure_kpa"].GetDouble(), 101.3, 10.0);

  // One thread or three: the same kernel, byte for byte.
  const auto one =
      RunTool({"kernel", "build", dir / "tiny.json", "-o", dir / "one.dftk", "--threads", "1"});
  ASSERT_EQ(one.code, 0) << one.err;
  EXPECT_NE(one.out.find("Built the kernel " + dir / "one.dftk"), std::string::npos) << one.out;
  const auto three =
      RunTool({"kernel", "build", dir / "tiny.json", "-o", dir / "three.dftk", "--threads", "3"});
  ASSERT_EQ(three.code, 0) << three.err;
  EXPECT_EQ(FileText(dir / "one.dftk"), FileText(kernel));
  EXPECT_EQ(FileText(dir / "three.dftk"), FileText(kernel));
}

// --branches: the two branches beside the equilibrium kernel, from the same build, where
// they part; nothing more where they do not.
TEST(ToolKernel, BranchKernelsGoBesideTheKernelWhereTheBranchesPart) {
  TempDir dir;
  // Pores of 2 and 3 nm, which fill with a loop, and pressures that cross it.
  std::string parting = kTinyRecipe;
  parting.replace(parting.find("[0.6, 1.0, 1.5]"), 15, "[2.0, 3.0]");
  parting.replace(parting.find("\"from\": 1e-6"), 12, "\"from\": 1e-4");
  std::ofstream(dir / "tiny.json") << parting;
  const auto run =
      RunTool({"kernel", "build", dir / "tiny.json", "-o", dir / "tiny.dftk", "--branches"});
  ASSERT_EQ(run.code, 0) << run.err;
  EXPECT_NE(run.out.find(dir / "tiny-adsorption.dftk"), std::string::npos) << run.out;
  const CDFTModel eq = fiofla::LoadKernel(dir / "tiny.dftk");
  const CDFTModel ads = fiofla::LoadKernel(dir / "tiny-adsorption.dftk");
  const CDFTModel des = fiofla::LoadKernel(dir / "tiny-desorption.dftk");
  ASSERT_TRUE(eq.IsValid() && ads.IsValid() && des.IsValid());
  EXPECT_EQ(ads.Header().modelName.str(), "tiny N2 adsorption branch");
  EXPECT_EQ(
      std::string(Json(FileText(dir / "tiny-desorption.manifest.json"))["branch"].GetString()),
      "desorption");
  // The stable state is one of the two branches: the film below the filled pore.
  bool parted = false;
  for (std::size_t i = 0; i < eq.Pressures().size(); ++i)
    for (std::size_t j = 0; j < eq.PoreWidths().size(); ++j) {
      const double a = ads.Kernel()(i, j), e = eq.Kernel()(i, j), d = des.Kernel()(i, j);
      EXPECT_TRUE(e == a || e == d) << i << " " << j;
      EXPECT_LE(a, d * (1.0 + 1e-7)) << i << " " << j;  // one state: equal to convergence
      parted = parted || a < d * (1.0 - 1e-3);
    }
  EXPECT_TRUE(parted);

  // Below every filling pressure the branches are one: no branch files.
  std::string low = kTinyRecipe;
  low.replace(low.find("\"to\": 0.9"), 9, "\"to\": 1e-3");
  low.replace(low.find("[0.6, 1.0, 1.5]"), 15, "[1.5, 2.0]");
  std::ofstream(dir / "low.json") << low;
  const auto none =
      RunTool({"kernel", "build", dir / "low.json", "-o", dir / "low.dftk", "--branches"});
  ASSERT_EQ(none.code, 0) << none.err;
  EXPECT_NE(none.out.find("none (the branches do not part in any pore)"), std::string::npos)
      << none.out;
  EXPECT_FALSE(std::filesystem::exists(dir / "low-adsorption.dftk"));
}

TEST(ToolKernel, BadBuildsAreRefusedBeforeAnythingIsComputedOrWritten) {
  TempDir dir;
  std::ofstream(dir / "tiny.json") << kTinyRecipe;
  const std::string recipe = dir / "tiny.json";
  auto refused = [&](const std::vector<std::string>& args, int code, const std::string& message) {
    const auto r = RunTool(args);
    EXPECT_EQ(r.code, code) << r.err;
    EXPECT_NE(r.err.find(message), std::string::npos) << r.err;
  };
  using fiofla::cli::kExitInputError;
  using fiofla::cli::kExitUsageError;
  refused({"kernel", "build", recipe}, kExitUsageError, "-o KERNEL.dftk is needed");
  refused({"kernel", "build", "-o", dir / "k.dftk"}, kExitUsageError, "usage: fiofla kernel build");
  refused({"kernel", "build", recipe, "-o", dir / "k.bin"}, kExitUsageError,
          "must name a .dftk file");
  refused({"kernel", "build", recipe, "-o", dir / "k.dftk", "--threads", "-1"}, kExitUsageError,
          "--threads '-1' is not a whole number from 0 to 1024");
  refused({"kernel", "build", recipe, "-o", dir / "k.dftk", "--threads", "1.5"}, kExitUsageError,
          "--threads '1.5'");
  refused({"kernel", "build", dir / "none.json", "-o", dir / "k.dftk"}, kExitInputError,
          dir / "none.json" + ": cannot open the file");
  refused({"kernel", "build", recipe, "-o", dir / "no/such/k.dftk"}, kExitInputError,
          "the folder " + dir / "no/such" + " does not exist");
  // A recipe with a misspelt member names it.
  std::string typo = kTinyRecipe;
  typo.replace(typo.find("points_per_radius"), 17, "points_per_radium");
  std::ofstream(dir / "typo.json") << typo;
  refused({"kernel", "build", dir / "typo.json", "-o", dir / "k.dftk"}, kExitInputError,
          dir / "typo.json" + ": settings.points_per_radium: unknown member");
  // Above the fluid's critical temperature there is no Po: refused by the builder.
  std::string hot = kTinyRecipe;
  hot.replace(hot.find("77.35"), 5, "300");
  std::ofstream(dir / "hot.json") << hot;
  refused({"kernel", "build", dir / "hot.json", "-o", dir / "k.dftk"}, kExitInputError,
          "no vapour-liquid coexistence");
  EXPECT_FALSE(fs::exists(dir / "k.dftk"));
  EXPECT_FALSE(fs::exists(dir / "k.manifest.json"));
  EXPECT_FALSE(fs::exists(dir / "no"));
}

}  // namespace
