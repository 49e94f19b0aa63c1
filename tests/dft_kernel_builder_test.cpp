// Kernels from the density functional: both branches and the equilibrium of a pore, the
// same kernel on any number of threads, the model file's units and the manifest.
#include "fiofla/dft_kernel_builder.h"

#include <gtest/gtest.h>
#include <rapidjson/document.h>

#include <cmath>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "fiofla/io/isotherm_file.h"
#include "test_util.h"

namespace {

using namespace fiofla::dft;

KernelRecipe SmallNitrogenRecipe() {
  KernelRecipe r;
  r.name = "test N2 carbon slit";
  r.gas = "N2";
  r.temperatureK = 77.35;
  r.fluid = {94.45, 0.3575, 0.3575, 5.0, 28.0134};
  r.wall = {53.22, 0.3494};
  r.widthsNm = {0.7, 2.0, 3.0};
  for (int k = 0; k <= 42; ++k) r.pressures.push_back(1e-6 * std::pow(10.0, k / 7.0));
  r.pressures.back() = 0.95;
  r.settings.pointsPerRadius = 15;
  return r;
}

TEST(DftKernelBuilder, BranchesAndTheirEquilibrium) {
  const KernelRecipe r = SmallNitrogenRecipe();
  const BulkFluid fluid(r.fluid, r.temperatureK);
  const PoreIsotherm pore = ComputePoreIsotherm(fluid, r.wall, 3.0, r.pressures, r.settings);
  EXPECT_EQ(pore.unconverged, 0);
  // Capillary condensation with hysteresis: the film fills late, the liquid empties early,
  // and the two have equal grand potential in between.
  EXPECT_GT(pore.fillingPressure, pore.equilibriumPressure);
  EXPECT_GT(pore.equilibriumPressure, pore.emptyingPressure);
  EXPECT_GT(pore.emptyingPressure, 0.05);
  for (std::size_t k = 0; k < r.pressures.size(); ++k) {
    EXPECT_LE(pore.adsorption[k], pore.desorption[k] * (1.0 + 1e-9));
    const double expected =
        r.pressures[k] < pore.equilibriumPressure ? pore.adsorption[k] : pore.desorption[k];
    // (Where both branches hold the same state they agree to the convergence.)
    EXPECT_NEAR(pore.equilibrium[k], expected, 1e-7 * expected) << "P/Po " << r.pressures[k];
  }
  // Filled, the pore holds about the liquid: (w ρ_l) / 2 per unit of each wall.
  const double liquid = fluid.Coexist().liquid;
  EXPECT_NEAR(pore.desorption.back(), 3.0 * liquid / 2.0, 0.15 * 3.0 * liquid / 2.0);
}

TEST(DftKernelBuilder, SameKernelOnAnyNumberOfThreadsInTheFileUnits) {
  const KernelRecipe r = SmallNitrogenRecipe();
  std::size_t calls = 0;
  const KernelBuild one = BuildKernel(r, 1, [&](std::size_t done, std::size_t total) {
    ++calls;
    EXPECT_LE(done, total);
  });
  const KernelBuild two = BuildKernel(r, 2);
  EXPECT_EQ(calls, r.widthsNm.size());
  EXPECT_EQ(two.threads, 2);
  const CDFTModel a = KernelModel(r, one), b = KernelModel(r, two);
  ASSERT_TRUE(a.IsValid());
  ASSERT_EQ(a.Kernel().rows(), r.pressures.size());
  ASSERT_EQ(a.Kernel().cols(), r.widthsNm.size());
  for (std::size_t i = 0; i < r.pressures.size(); ++i)
    for (std::size_t j = 0; j < r.widthsNm.size(); ++j)
      EXPECT_EQ(a.Kernel()(i, j), b.Kernel()(i, j));
  // Widths in Å; amounts in cm3 STP per m2: molecules per nm² × 1e18 / N_A × 22414.
  EXPECT_DOUBLE_EQ(a.PoreWidths()[1], 20.0);
  EXPECT_DOUBLE_EQ(a.Kernel()(5, 2), one.pores[2].equilibrium[5] * 1e18 / 6.02214076e23 * 22414.0);
  EXPECT_EQ(a.Header().gasName.str(), "N2");
  EXPECT_NEAR(one.saturationPressureKPa, 102.2, 0.5);

  rapidjson::Document manifest;
  manifest.Parse(KernelManifest(r, one, "fiofla test").c_str());
  ASSERT_FALSE(manifest.HasParseError());
  EXPECT_EQ(std::string(manifest["branch"].GetString()), "equilibrium");
  EXPECT_EQ(manifest["pores"].GetArray().Size(), 3u);
  EXPECT_NEAR(manifest["model"]["liquid_density_mmol_per_cm3"].GetDouble(), 28.84, 0.05);
  EXPECT_NE(std::string(manifest["width_convention"].GetString()).find("solid_diameter"),
            std::string::npos);
}

TEST(DftKernelBuilder, TheCommittedTestKernelIsRegeneratedFromItsRecipe) {
  const std::string base = std::string(FIOFLA_TEST_DATA_DIR) + "/kernels/tiny-n2-carbon-slit";
  const KernelRecipe recipe = ReadKernelRecipe(base + ".json");
  const CDFTModel committed{CStr(base + ".dftk")};
  ASSERT_TRUE(committed.IsValid());
  const CDFTModel fresh = KernelModel(recipe, BuildKernel(recipe, 2));
  ASSERT_EQ(fresh.Kernel().rows(), committed.Kernel().rows());
  ASSERT_EQ(fresh.Kernel().cols(), committed.Kernel().cols());
  EXPECT_EQ(fresh.Header().modelName.str(), committed.Header().modelName.str());
  for (std::size_t j = 0; j < fresh.PoreWidths().size(); ++j)
    EXPECT_EQ(fresh.PoreWidths()[j], committed.PoreWidths()[j]);
  // Equal to the convergence of the profiles: another CPU may round the transforms
  // differently in the last bits.
  for (std::size_t i = 0; i < fresh.Kernel().rows(); ++i) {
    EXPECT_EQ(fresh.Pressures()[i], committed.Pressures()[i]);
    for (std::size_t j = 0; j < fresh.Kernel().cols(); ++j)
      EXPECT_NEAR(fresh.Kernel()(i, j), committed.Kernel()(i, j), 1e-7 * committed.Kernel()(i, j))
          << "P/Po " << fresh.Pressures()[i] << ", " << fresh.PoreWidths()[j] << " Å";
  }
}

TEST(DftKernelBuilder, AFluidAboveItsCriticalPointIsRefused) {
  KernelRecipe r = SmallNitrogenRecipe();
  r.temperatureK = 300.0;
  EXPECT_THROW(BuildKernel(r, 1), fiofla::InputError);
}

// Every kernel that ships: its grids are its recipe's and its manifest's, and each pore's
// stable amount never falls as the pressure rises (dN/dμ ≥ 0 of a stable state).
TEST(DftKernelBuilder, TheShippedKernelsAgreeWithTheirRecipesAndManifests) {
  namespace fs = std::filesystem;
  const fs::path folder = fiofla::test::ShippedData("kernels");
  int count = 0;
  for (const auto& entry : fs::directory_iterator(folder)) {
    if (entry.path().extension() != ".dftk") continue;
    ++count;
    const std::string stem = entry.path().stem().string();
    SCOPED_TRACE(stem);
    const CDFTModel model{CStr(entry.path().string())};
    ASSERT_TRUE(model.IsValid());
    // NAME-adsorption and NAME-desorption hold the branches of NAME's recipe.
    std::string source = stem, suffix;
    for (const char* branch : {"adsorption", "desorption"}) {
      const std::string tail = std::string("-") + branch;
      if (source.size() > tail.size() &&
          source.compare(source.size() - tail.size(), tail.size(), tail) == 0) {
        source.resize(source.size() - tail.size());
        suffix = std::string(" ") + branch + " branch";
      }
    }
    const KernelRecipe recipe =
        ReadKernelRecipe((folder / "recipes" / (source + ".json")).string());
    EXPECT_EQ(model.Header().modelName.str(), recipe.name + suffix);
    EXPECT_EQ(model.Header().gasName.str(), recipe.gas);
    ASSERT_EQ(model.Pressures().size(), recipe.pressures.size());
    ASSERT_EQ(model.PoreWidths().size(), recipe.widthsNm.size());
    for (std::size_t i = 0; i < recipe.pressures.size(); ++i)
      EXPECT_EQ(model.Pressures()[i], recipe.pressures[i]);
    for (std::size_t j = 0; j < recipe.widthsNm.size(); ++j)
      EXPECT_NEAR(model.PoreWidths()[j], 10.0 * recipe.widthsNm[j], 1e-12 * model.PoreWidths()[j]);

    std::ifstream in(folder / (stem + ".manifest.json"));
    std::stringstream text;
    text << in.rdbuf();
    rapidjson::Document manifest;
    ASSERT_FALSE(manifest.Parse(text.str().c_str()).HasParseError());
    EXPECT_EQ(std::string(manifest["name"].GetString()), recipe.name + suffix);
    EXPECT_EQ(manifest["pores"].GetArray().Size(), recipe.widthsNm.size());
    EXPECT_EQ(manifest["pressures"].GetArray().Size(), recipe.pressures.size());

    for (std::size_t j = 0; j < recipe.widthsNm.size(); ++j)
      for (std::size_t i = 1; i < recipe.pressures.size(); ++i)
        EXPECT_GE(model.Kernel()(i, j), model.Kernel()(i - 1, j) * (1.0 - 1e-9))
            << "P/Po " << recipe.pressures[i] << ", " << recipe.widthsNm[j] << " nm";
  }
  EXPECT_GE(count, 1);
}

}  // namespace
