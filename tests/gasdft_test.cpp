// DFT model files: written and read back in both layouts, refused at every limit, and the
// matching rules and geometry helpers.
#include "fiofla/gasdft.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <cmath>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

#include "test_util.h"

namespace {

struct TempDir {
  TempDir()
      : path(std::filesystem::temp_directory_path() /
             ("fiofla-dft-" + std::to_string(::getpid()))) {
    std::filesystem::create_directories(path);
  }
  ~TempDir() { std::filesystem::remove_all(path); }
  std::string operator/(const std::string& name) const { return (path / name).string(); }
  std::filesystem::path path;
};

CDFTModel SmallModel(EDFTCategory category = eDFTCategoryAdsorption,
                     EDFTGeometry geometry = eDFTGeometryCylinder) {
  CDFTModelSpecBase header;
  header.SetParams(category, eDFTTypeDefault, geometry, 77.35, CStr("N2"),
                   CStr("N2 at 77 K on oxide, cylindrical pores"));
  header.label = CStr("test kernel");
  header.description = CStr("three pressures, two widths");
  CNumVector<double> p(3), w(2);
  CNumMatrix<double> k(3, 2);
  for (std::size_t i = 0; i < 3; ++i) p[i] = 0.1 * double(i + 1);
  w[0] = 20.0;
  w[1] = 50.0;
  for (std::size_t i = 0; i < 3; ++i)
    for (std::size_t j = 0; j < 2; ++j) k(i, j) = 0.5 + double(i) + 0.25 * double(j);
  return CDFTModel(header, p, w, k);
}

std::string Slurp(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  std::ostringstream s;
  s << in.rdbuf();
  return s.str();
}

TEST(DFTModelFile, WrittenAndReadBackInBothLayouts) {
  TempDir dir;
  const CDFTModel model = SmallModel();
  ASSERT_TRUE(model.IsValid());
  for (unsigned char version : {1, 2}) {
    SCOPED_TRACE(int(version));
    const std::string path = dir / ("k" + std::to_string(version) + ".dft");
    ASSERT_TRUE(model.WriteToFile(CStr(path), version));
    const CDFTModel back{CStr(path)};
    ASSERT_TRUE(back.IsValid());
    EXPECT_EQ(back.Header().geometry, eDFTGeometryCylinder);
    EXPECT_EQ(back.Header().temperature, 77.35);
    EXPECT_EQ(back.Header().gasName, CStr("N2"));
    EXPECT_TRUE(back.Header() == model.Header());
    EXPECT_EQ(back.Kernel()(2, 1), model.Kernel()(2, 1));
    EXPECT_EQ(back.PoreWidths()[1], 50.0);
    EXPECT_EQ(back.Work().size(), 3u);
    // The header alone reads the same way.
    const CDFTModelSpecBase header{CStr(path)};
    EXPECT_TRUE(header.IsValid());
    EXPECT_EQ(header.label, CStr("test kernel"));
  }
  // Version 1 holds 212 bytes of fixed text: 4 + 40 + 40 + 128.
  const std::size_t numbers = 8 + 4 + 3 * 8 + 4 + 2 * 8 + 8 + 6 * 8;
  EXPECT_EQ(Slurp(dir / "k1.dft").size(), 1u + 6u + 8u + 212u + numbers);
}

TEST(DFTModelFile, RefusedAtEveryLimit) {
  TempDir dir;
  const CDFTModel model = SmallModel();
  ASSERT_TRUE(model.WriteToFile(CStr(dir / "good.dft"), 1));
  const std::string good = Slurp(dir / "good.dft");
  const std::size_t countAt = 1 + 6 + 8 + 212 + 8;  // N_p
  auto invalid = [&](const std::string& bytes) {
    std::ofstream(dir / "bad.dft", std::ios::binary) << bytes;
    return !CDFTModel(CStr(dir / "bad.dft")).IsValid();
  };
  EXPECT_FALSE(invalid(good));
  // Truncated anywhere.
  for (std::size_t cut : {std::size_t(5), countAt + 2, good.size() - 1})
    EXPECT_TRUE(invalid(good.substr(0, cut))) << cut;
  // A count above 10,000,000 fails at once.
  std::string big = good;
  const std::uint32_t over = CDFTModel::kMaxCount + 1;
  std::memcpy(&big[countAt], &over, 4);
  EXPECT_TRUE(invalid(big));
  // Rows and cols swapped: 2 x 3 against 3 pressures and 2 widths.
  std::string swapped = good;
  const std::size_t rowsAt = countAt + 4 + 3 * 8 + 4 + 2 * 8;
  const std::uint32_t two = 2, three = 3;
  std::memcpy(&swapped[rowsAt], &two, 4);
  std::memcpy(&swapped[rowsAt + 4], &three, 4);
  EXPECT_TRUE(invalid(swapped));
  EXPECT_FALSE(CDFTModel(CStr(dir / "missing.dft")).IsValid());
  EXPECT_FALSE(CDFTModelSpecBase(CStr(dir / "missing.dft")).IsValid());
}

TEST(DFTModelSpec, MatchingRules) {
  CDFTModelSpecBase header;
  header.SetParams(eDFTCategoryAdsorption, eDFTTypeDefault, eDFTGeometrySlit, 77.35, CStr("N2"),
                   CStr("Carbon slit"));
  EXPECT_FALSE(header.IsValid());
  EXPECT_TRUE(header.IsTemperatureMatch(77.35 + 1.99));
  EXPECT_FALSE(header.IsTemperatureMatch(77.35 + 2.0));
  EXPECT_FALSE(header.IsTemperatureMatch(77.35 - 2.0));
  EXPECT_TRUE(header.IsGasMatch(CStr("n2")));
  EXPECT_FALSE(header.IsGasMatch(CStr("N2 ")));
  EXPECT_TRUE(CDFTModelSpecBase::AreStringsEqual(CStr(), CStr()));
  CDFTModelSpecBase other = header;
  other.type = EDFTType(7);
  other.gasName = CStr("Ar");
  EXPECT_TRUE(header.IsBasicCompatible(other));
  EXPECT_TRUE(header == other);
  other.modelName = CStr("carbon SLIT");
  EXPECT_TRUE(header == other);
  other.geometry = eDFTGeometryCylinder;
  EXPECT_FALSE(header == other);
}

TEST(DFTModel, GeometryHelpers) {
  const CDFTModel cylinder = SmallModel();
  EXPECT_EQ(cylinder.GeometryFactor(eDFTGeometryCylinder), 4.0);
  EXPECT_EQ(cylinder.GeometryFactor(EDFTGeometry(2)), 2.0);
  // 10 m2/g of wall in 50 Å cylinders: 10 / 4 × 50 × 1e-4 cm3/g.
  EXPECT_DOUBLE_EQ(cylinder.IncrementalVolume(1, 10.0), 10.0 / 4.0 * 50.0 * 0.0001);
  const double q = 2.75 / 50.0 * 1e8 / 22414.0;
  EXPECT_EQ(cylinder.Density(2, 1), q / 10000.0 * 4.0);
  EXPECT_EQ(cylinder.Density(3, 0), 0.0);
  const CDFTModel other = SmallModel(EDFTCategory(1));
  for (unsigned long i = 0; i < 3; ++i)
    for (unsigned long j = 0; j < 2; ++j) EXPECT_EQ(other.Density(i, j), 0.0);
}

}  // namespace

namespace {

// A column that fills in a steep step, as a mesopore does.
CDFTModel StepModel() {
  CDFTModelSpecBase header;
  header.SetParams(eDFTCategoryAdsorption, eDFTTypeDefault, eDFTGeometryCylinder, 77.35, CStr("N2"),
                   CStr("step"));
  const std::size_t np = 30;
  CNumVector<double> p(np), w(3);
  CNumMatrix<double> k(np, 3);
  for (std::size_t i = 0; i < np; ++i) p[i] = std::pow(10.0, -5.0 + 5.0 * double(i) / double(np));
  for (std::size_t j = 0; j < 3; ++j) w[j] = 20.0 * double(j + 1);
  for (std::size_t i = 0; i < np; ++i)
    for (std::size_t j = 0; j < 3; ++j) k(i, j) = p[i] < 0.3 * double(j + 1) ? 1.0 : 5.0;
  return CDFTModel(header, p, w, k);
}

TEST(DFTModel, ConfigureResamplesWithoutOvershootAndKeepsTheWidthsAsked) {
  CDFTModel model = StepModel();
  const CNumMatrix<double> original = model.Kernel();
  const CNumVector<double> grid = model.Pressures();
  // On the kernel's own pressures nothing changes.
  std::vector<double> same(&grid[0], &grid[0] + grid.size());
  CDFTModel copy = StepModel();
  ASSERT_TRUE(copy.Configure(same, {}, false));
  for (std::size_t i = 0; i < grid.size(); ++i) EXPECT_EQ(copy.Kernel()(i, 1), original(i, 1));
  // A fine grid across the steps: values stay within each step's two levels.
  std::vector<double> fine;
  for (int k = 1; k < 400; ++k) fine.push_back(std::pow(10.0, -4.9 + 4.85 * k / 400.0));
  ASSERT_TRUE(model.Configure(fine, {30.0, 60.0}, true));
  EXPECT_EQ(model.PoreWidths().size(), 2u);
  EXPECT_EQ(model.PoreWidths()[0], 40.0);
  EXPECT_EQ(model.Pressures().size(), fine.size());
  EXPECT_EQ(model.Work().size(), fine.size());
  for (std::size_t r = 0; r < fine.size(); ++r)
    for (std::size_t c = 0; c < 2; ++c) {
      EXPECT_GE(model.Kernel()(r, c), 1.0) << r;
      EXPECT_LE(model.Kernel()(r, c), 5.0) << r;
      if (r > 0) EXPECT_GE(model.Kernel()(r, c), model.Kernel()(r - 1, c)) << r;
    }
  // Grids that cannot be used leave the model as it was.
  CDFTModel kept = StepModel();
  EXPECT_FALSE(kept.Configure({0.5, 0.4}, {}, true));
  EXPECT_FALSE(kept.Configure({0.999}, {}, false));  // beyond the kernel's last pressure
  EXPECT_FALSE(kept.Configure({}, {100.0, 200.0}, true));
  EXPECT_EQ(kept.PoreWidths().size(), 3u);
}

}  // namespace

// A file with no pressures but some widths loads, and writes back a file that loads too.
TEST(DFTModelFile, AnEmptyKernelRoundTrips) {
  TempDir dir;
  std::ostringstream bytes(std::ios::binary);
  CDFTModelSpecBase header;
  header.WriteToStream(bytes, 2);
  auto u32 = [&](std::uint32_t v) { bytes.write(reinterpret_cast<const char*>(&v), 4); };
  const double widths[2] = {20.0, 50.0};
  bytes.write(std::string(8, '\0').data(), 8);  // the header value
  u32(0);                                       // no pressures
  u32(2);
  bytes.write(reinterpret_cast<const char*>(widths), sizeof widths);
  u32(0);
  u32(2);
  std::ofstream(dir / "empty.dft", std::ios::binary) << bytes.str();
  const CDFTModel model{CStr(dir / "empty.dft")};
  ASSERT_TRUE(model.IsValid());
  ASSERT_TRUE(model.WriteToFile(CStr(dir / "again.dft")));
  EXPECT_TRUE(CDFTModel(CStr(dir / "again.dft")).IsValid());
}
