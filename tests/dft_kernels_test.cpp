// The kernel catalogue: CSV import in both bases and width units, its refusals, the
// listing and naming of kernels in a directory, and where the directory is found.
#include "fiofla/dft_kernels.h"

#include <gtest/gtest.h>
#include <stdlib.h>
#include <unistd.h>

#include <cmath>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "fiofla/io/isotherm_file.h"
#include "test_util.h"

namespace {

namespace fs = std::filesystem;
using fiofla::InputError;
using fiofla::KernelBasis;
using fiofla::KernelCsvOptions;
using fiofla::KernelWidthUnit;

struct TempDir {
  explicit TempDir(const std::string& tag)
      : path(fs::temp_directory_path() /
             ("fiofla-kernels-" + tag + "-" + std::to_string(::getpid()))) {
    fs::remove_all(path);
    fs::create_directories(path);
  }
  ~TempDir() { fs::remove_all(path); }
  std::string operator/(const std::string& name) const { return (path / name).string(); }
  fs::path path;
};

void WriteText(const std::string& path, const std::string& text) {
  std::ofstream(path, std::ios::binary) << text;
}

// A kernel in the model file's own basis (cm3 STP per m2 of wall) over widths in Å: a
// filling step that moves to higher pressure in wider pores, as real kernels do.
const std::vector<double> kPressures = {1e-6, 1e-4, 0.01, 0.2, 0.6, 0.95};
const std::vector<double> kWidthsA = {4.0, 7.5, 20.0, 110.0};

double AreaValue(std::size_t i, std::size_t j) {
  const double fill = 1.0 / (1.0 + std::pow(kWidthsA[j] * 1e-3 / kPressures[i], 2.0));
  return 1e-3 * (1.0 + 0.1 * double(j)) + 0.5 * kWidthsA[j] * 1e-3 * fill;
}

double Factor(EDFTGeometry geometry) {
  return geometry == eDFTGeometryCylinder ? 4.0 : 2.0;
}

// The kernel as CSV in the given unit and basis: per-volume values are the area values
// divided by the pore volume of 1 m2 of wall, width[cm] × 1e4 cm2 / factor.
std::string KernelCsv(KernelWidthUnit unit, KernelBasis basis, EDFTGeometry geometry,
                      char separator) {
  const std::string sep(1, separator);
  std::string text = "# a test kernel\n\nP/Po";
  char buf[40];
  for (double w : kWidthsA) {
    std::snprintf(buf, sizeof buf, "%.17g", unit == KernelWidthUnit::kNanometre ? w / 10 : w);
    text += sep + buf;
  }
  text += "\n";
  for (std::size_t i = 0; i < kPressures.size(); ++i) {
    std::snprintf(buf, sizeof buf, "%.17g", kPressures[i]);
    text += buf;
    for (std::size_t j = 0; j < kWidthsA.size(); ++j) {
      double v = AreaValue(i, j);
      if (basis == KernelBasis::kPoreVolume) v /= kWidthsA[j] * 1e-4 / Factor(geometry);
      std::snprintf(buf, sizeof buf, "%.17g", v);
      text += sep + buf;
    }
    text += "\n";
  }
  return text;
}

KernelCsvOptions Options(KernelWidthUnit unit, KernelBasis basis, EDFTGeometry geometry) {
  KernelCsvOptions o;
  o.widthUnit = unit;
  o.basis = basis;
  o.geometry = geometry;
  o.gas = "N2";
  o.temperatureK = 77.35;
  return o;
}

TEST(KernelCsv, EveryUnitBasisAndGeometryGivesTheSameKernelThroughAFile) {
  TempDir dir("import");
  for (EDFTGeometry geometry : {eDFTGeometrySlit, eDFTGeometryCylinder})
    for (KernelWidthUnit unit : {KernelWidthUnit::kNanometre, KernelWidthUnit::kAngstrom})
      for (KernelBasis basis : {KernelBasis::kWallArea, KernelBasis::kPoreVolume}) {
        const std::string tag = fiofla::KernelGeometryName(geometry) + "_" +
                                fiofla::KernelWidthUnitName(unit) + "_" +
                                fiofla::KernelBasisName(basis);
        SCOPED_TRACE(tag);
        const std::string csv = dir / (tag + ".csv"), out = dir / (tag + ".dftk");
        WriteText(csv, KernelCsv(unit, basis, geometry, ','));
        fiofla::WriteKernelFile(fiofla::ReadKernelCsv(csv, Options(unit, basis, geometry)), out);
        const CDFTModel back = fiofla::LoadKernel(out);
        EXPECT_EQ(back.Header().gasName.str(), "N2");
        EXPECT_EQ(back.Header().modelName.str(), tag);  // the CSV's name without extension
        EXPECT_EQ(back.Header().geometry, geometry);
        EXPECT_DOUBLE_EQ(back.Header().temperature, 77.35);
        EXPECT_NE(back.Header().description.str().find(tag + ".csv"), std::string::npos);
        ASSERT_EQ(back.Pressures().size(), kPressures.size());
        ASSERT_EQ(back.PoreWidths().size(), kWidthsA.size());
        for (std::size_t i = 0; i < kPressures.size(); ++i)
          EXPECT_EQ(back.Pressures()[i], kPressures[i]);
        for (std::size_t j = 0; j < kWidthsA.size(); ++j)
          EXPECT_REL_CLOSE(back.PoreWidths()[j], kWidthsA[j], 1e-15);
        for (std::size_t i = 0; i < kPressures.size(); ++i)
          for (std::size_t j = 0; j < kWidthsA.size(); ++j)
            EXPECT_REL_CLOSE(back.Kernel()(i, j), AreaValue(i, j), 1e-14) << i << "," << j;
      }
}

TEST(KernelCsv, SeparatorsCommentsQuotesAndLineEndsAreRead) {
  const auto options =
      Options(KernelWidthUnit::kAngstrom, KernelBasis::kWallArea, eDFTGeometrySlit);
  const CDFTModel plain = fiofla::ParseKernelCsv(
      KernelCsv(KernelWidthUnit::kAngstrom, KernelBasis::kWallArea, eDFTGeometrySlit, ','), "k.csv",
      options);
  for (char sep : {';', '\t'}) {
    const CDFTModel other = fiofla::ParseKernelCsv(
        KernelCsv(KernelWidthUnit::kAngstrom, KernelBasis::kWallArea, eDFTGeometrySlit, sep),
        "k.csv", options);
    ASSERT_EQ(other.Kernel().rows(), plain.Kernel().rows());
    for (std::size_t i = 0; i < plain.Kernel().rows(); ++i)
      for (std::size_t j = 0; j < plain.Kernel().cols(); ++j)
        EXPECT_EQ(other.Kernel()(i, j), plain.Kernel()(i, j));
  }
  // A spreadsheet's export: byte-order mark, CRLF, quoted header cells, a header label
  // holding commas in a semicolon file, trailing rows of empty cells.
  const std::string sheet =
      "\xEF\xBB\xBF# comment\r\n\"P/Po, relative\";\"0.5\";\"1\"\r\n"
      "  # indented comment\r\n0.1; 2 ; 3\r\n0.5;\"4\";5\r\n;;\r\n\r\n";
  const CDFTModel model = fiofla::ParseKernelCsv(
      sheet, "dir/sheet.txt",
      Options(KernelWidthUnit::kNanometre, KernelBasis::kWallArea, eDFTGeometrySlit));
  ASSERT_TRUE(model.IsValid());
  ASSERT_EQ(model.PoreWidths().size(), 2u);
  EXPECT_EQ(model.PoreWidths()[0], 5.0);
  EXPECT_EQ(model.PoreWidths()[1], 10.0);
  EXPECT_EQ(model.Kernel()(1, 0), 4.0);
  EXPECT_EQ(model.Header().modelName.str(), "sheet");
  auto named = Options(KernelWidthUnit::kNanometre, KernelBasis::kWallArea, eDFTGeometrySlit);
  named.modelName = "my kernel";
  EXPECT_EQ(fiofla::ParseKernelCsv(sheet, "sheet.txt", named).Header().modelName.str(),
            "my kernel");
}

TEST(KernelCsv, BadTablesAndMissingChoicesAreRefusedWithFileLineAndColumn) {
  const auto ok = Options(KernelWidthUnit::kNanometre, KernelBasis::kPoreVolume, eDFTGeometrySlit);
  const struct {
    std::string text;
    std::string message;
  } cases[] = {
      {"", "t.csv: no header row"},
      {"# only a comment\n", "t.csv: no header row"},
      {"P,1\n0.1,2\n0.2,3\n", "t.csv:1: the header row has 1 pore width(s)"},
      {"P,1,2\n0.1,2,3\n", "t.csv: the table has 1 pressure row(s)"},
      {"P,1,x2\n", "t.csv:1: column 3: pore width 'x2' is not a number"},
      {"P,1,-2\n", "t.csv:1: column 3: pore width '-2' nm is not positive"},
      {"P,1,2,2\n", "t.csv:1: column 4: pore width 2 nm is not above 2 nm in column 3"},
      {"P,1,2\n\n0.1,1,1\n0.1,1,1\n", "t.csv:4: column 1: P/Po 0.1 is not above 0.1 on line 3"},
      {"P,1,2\n0.5,1,1\n0.2,1,1\n", "t.csv:3: column 1: P/Po 0.2 is not above 0.5 on line 2"},
      {"P,1,2\n0,1,1\n", "t.csv:2: column 1: P/Po 0 is outside (0, 1]"},
      {"P,1,2\n1.5,1,1\n", "t.csv:2: column 1: P/Po 1.5 is outside (0, 1]"},
      {"P,1,2\nabc,1,1\n", "t.csv:2: column 1: P/Po 'abc' is not a number"},
      {"P,1,2\n0.1,1,-3\n", "t.csv:2: column 3: value '-3' (width 2 nm) is negative"},
      {"P,1,2\n0.1,nan,1\n", "t.csv:2: column 2: value 'nan' (width 1 nm) is not a finite number"},
      {"P,1,2\n0.1,1e999,1\n", "t.csv:2: column 2: value '1e999' (width 1 nm) is not a finite"},
      {"P,1,2\n0.1,,1\n", "t.csv:2: column 2: value is empty (width 1 nm)"},
      {"P,1,1e308\n", "t.csv:1: column 3: pore width 1e+308 nm is too large"},
      {"P,1,1e300\n0.1,1,1e10\n",
       "t.csv:2: column 3: value '1e10' (width 1e+300 nm) is too large once converted"},
      {"P,1,2\n0.1,1,1,1\n", "t.csv:2: the row has 4 cell(s), the header 3"},
      {"P,1,2\n0.1,1\n", "t.csv:2: the row has 2 cell(s), the header 3"},
      {"P;1;2\n0.1,1,1\n",
       "t.csv:2: the row has 1 cell(s), the header 3 (P/Po and 2 widths), separated by semicolons"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.text);
    try {
      fiofla::ParseKernelCsv(c.text, "t.csv", ok);
      ADD_FAILURE() << "accepted";
    } catch (const InputError& e) {
      EXPECT_EQ(std::string(e.what()).rfind(c.message, 0), 0u) << e.what();
    }
  }
  // Every choice is needed: none is guessed.
  const std::string table = "P,1,2\n0.1,1,1\n0.2,1,1\n";
  const struct {
    void (*unset)(KernelCsvOptions&);
    std::string message;
  } missing[] = {
      {[](KernelCsvOptions& o) { o.widthUnit.reset(); }, "t.csv: the pore-width unit"},
      {[](KernelCsvOptions& o) { o.basis.reset(); }, "t.csv: the basis of the values"},
      {[](KernelCsvOptions& o) { o.geometry.reset(); }, "t.csv: the pore geometry"},
      {[](KernelCsvOptions& o) { o.gas.clear(); }, "t.csv: the gas is not given"},
      {[](KernelCsvOptions& o) { o.temperatureK = -1; }, "t.csv: the temperature -1 K"},
  };
  for (const auto& m : missing) {
    KernelCsvOptions o = ok;
    m.unset(o);
    try {
      fiofla::ParseKernelCsv(table, "t.csv", o);
      ADD_FAILURE() << m.message << " accepted";
    } catch (const InputError& e) {
      EXPECT_EQ(std::string(e.what()).rfind(m.message, 0), 0u) << e.what();
    }
  }
  EXPECT_TRUE(fiofla::ParseKernelCsv(table, "t.csv", ok).IsValid());
  try {
    fiofla::ReadKernelCsv("/no/such/kernel.csv", ok);
    ADD_FAILURE() << "a missing file was read";
  } catch (const InputError& e) {
    EXPECT_STREQ(e.what(), "/no/such/kernel.csv: cannot open the file");
  }
}

CDFTModel TinyKernel(const std::string& gas, EDFTGeometry geometry) {
  auto o = Options(KernelWidthUnit::kAngstrom, KernelBasis::kWallArea, geometry);
  o.gas = gas;
  return fiofla::ParseKernelCsv("P,5,10,40\n0.001,0.1,0.05,0.01\n0.5,0.3,0.6,0.2\n", "tiny", o);
}

TEST(KernelCatalogue, ListsDescribesAndResolvesTheKernelsOfADirectory) {
  TempDir dir("catalogue");
  fiofla::WriteKernelFile(TinyKernel("Ar", eDFTGeometryCylinder), dir / "b_ar.dftk");
  fiofla::WriteKernelFile(TinyKernel("N2", eDFTGeometrySlit), dir / "a_n2.dftk");
  WriteText(dir / "broken.dftk", "not a kernel");
  WriteText(dir / "notes.txt", "ignored");
  fs::create_directory(dir / "folder.dftk");

  const auto kernels = fiofla::ListKernels(dir.path.string());
  ASSERT_EQ(kernels.size(), 3u);
  EXPECT_EQ(kernels[0].name, "a_n2");
  EXPECT_EQ(kernels[1].name, "b_ar");
  EXPECT_EQ(kernels[2].name, "broken");
  EXPECT_FALSE(kernels[2].readable);
  EXPECT_NE(kernels[2].error.find("not a kernel file"), std::string::npos);
  const fiofla::KernelInfo& ar = kernels[1];
  ASSERT_TRUE(ar.readable) << ar.error;
  EXPECT_EQ(ar.gas, "Ar");
  EXPECT_EQ(ar.geometry, eDFTGeometryCylinder);
  EXPECT_EQ(ar.modelName, "tiny");
  EXPECT_EQ(ar.pressureCount, 2u);
  EXPECT_EQ(ar.pressureMin, 0.001);
  EXPECT_EQ(ar.pressureMax, 0.5);
  EXPECT_EQ(ar.widthCount, 3u);
  EXPECT_EQ(ar.widthMinA, 5.0);
  EXPECT_EQ(ar.widthMaxA, 40.0);
  EXPECT_EQ(ar.valueMin, 0.01);
  EXPECT_EQ(ar.valueMax, 0.6);

  const std::string d = dir.path.string();
  EXPECT_EQ(fiofla::ResolveKernel("a_n2", d), dir / "a_n2.dftk");
  EXPECT_EQ(fiofla::ResolveKernel("a_n2.dftk", d), dir / "a_n2.dftk");
  EXPECT_EQ(fiofla::ResolveKernel(dir / "b_ar.dftk", "/elsewhere"), dir / "b_ar.dftk");
  try {
    fiofla::ResolveKernel("c_kr", d);
    ADD_FAILURE() << "resolved a missing kernel";
  } catch (const InputError& e) {
    EXPECT_EQ(std::string(e.what()), "no kernel 'c_kr' (no file c_kr and " + (dir / "c_kr.dftk") +
                                         "); kernels in " + d + ": a_n2, b_ar, broken");
  }
  // A folder is not a kernel, whatever it is called.
  EXPECT_THROW(fiofla::ResolveKernel("folder", d), InputError);
  // A path is not looked up in the directory.
  EXPECT_THROW(fiofla::ResolveKernel("x/a_n2", d), InputError);
  EXPECT_THROW(fiofla::LoadKernel(dir / "broken.dftk"), InputError);

  TempDir empty("empty");
  try {
    fiofla::ResolveKernel("a_n2", empty.path.string());
    ADD_FAILURE();
  } catch (const InputError& e) {
    EXPECT_NE(std::string(e.what()).find("holds no .dftk files"), std::string::npos) << e.what();
  }
  EXPECT_TRUE(fiofla::ListKernels(empty.path.string()).empty());
  try {
    fiofla::ListKernels(dir / "missing");
    ADD_FAILURE();
  } catch (const InputError& e) {
    EXPECT_EQ(
        std::string(e.what()).rfind("cannot list the kernel directory " + (dir / "missing"), 0),
        0u);
  }
}

TEST(KernelCatalogue, AFailedWriteNamesThePathAndLeavesNothing) {
  TempDir dir("write");
  try {
    fiofla::WriteKernelFile(TinyKernel("N2", eDFTGeometrySlit), dir / "no/such/k.dftk");
    ADD_FAILURE();
  } catch (const InputError& e) {
    EXPECT_NE(std::string(e.what()).find("the folder " + (dir / "no/such") + " does not exist"),
              std::string::npos)
        << e.what();
  }
  EXPECT_TRUE(fs::is_empty(dir.path));
}

TEST(KernelDirectory, TheEnvironmentFirstThenTheDataBesideTheLibrary) {
  ::setenv("FIOFLA_KERNEL_DIR", "/some/kernels", 1);
  EXPECT_EQ(fiofla::DefaultKernelDirectory(), "/some/kernels");
  ::unsetenv("FIOFLA_KERNEL_DIR");
  // The build tree mirrors the installed layout, so the source tree's folder is found.
  const std::string found = fiofla::DefaultKernelDirectory();
  std::error_code ec;
  EXPECT_TRUE(fs::equivalent(found, fiofla::test::ShippedData("kernels"), ec)) << found;
  // Every kernel that ships loads and says what it is for.
  for (const fiofla::KernelInfo& k : fiofla::ListKernels(found)) {
    SCOPED_TRACE(k.path);
    EXPECT_TRUE(k.readable) << k.error;
    EXPECT_FALSE(k.gas.empty());
    EXPECT_GT(k.temperatureK, 0.0);
    EXPECT_GE(k.pressureCount, 2u);
    EXPECT_GE(k.widthCount, 2u);
  }
}

TEST(KernelNames, EverySpellingReadsBackToItself) {
  for (KernelWidthUnit u : {KernelWidthUnit::kNanometre, KernelWidthUnit::kAngstrom}) {
    KernelWidthUnit back{};
    ASSERT_TRUE(fiofla::StringToKernelWidthUnit(fiofla::KernelWidthUnitName(u), &back));
    EXPECT_EQ(back, u);
  }
  for (KernelBasis b : {KernelBasis::kWallArea, KernelBasis::kPoreVolume}) {
    KernelBasis back{};
    ASSERT_TRUE(fiofla::StringToKernelBasis(fiofla::KernelBasisName(b), &back));
    EXPECT_EQ(back, b);
  }
  for (EDFTGeometry g : {eDFTGeometrySlit, eDFTGeometryCylinder}) {
    EDFTGeometry back{};
    ASSERT_TRUE(fiofla::StringToKernelGeometry(fiofla::KernelGeometryName(g), &back));
    EXPECT_EQ(back, g);
  }
  EXPECT_EQ(fiofla::KernelGeometryName(7), "geometry 7");
  KernelWidthUnit unit = KernelWidthUnit::kNanometre;
  EXPECT_FALSE(fiofla::StringToKernelWidthUnit("mm", &unit));
  EXPECT_EQ(unit, KernelWidthUnit::kNanometre);
}

}  // namespace
