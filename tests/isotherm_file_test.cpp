#include "fiofla/io/isotherm_file.h"

#include <filesystem>
#include <fstream>
#include <sstream>

#include "fiofla/compress.h"
#include "test_util.h"

namespace {

using fiofla::Branch;
using fiofla::InputError;

fiofla::IsothermData Parse(const std::string& text,
                           const fiofla::IsothermReadOptions& options = {}) {
  std::istringstream in(text);
  return fiofla::ParseIsothermCsv(in, "mem.csv", options);
}

std::string Message(const std::string& text, const fiofla::IsothermReadOptions& options = {}) {
  try {
    Parse(text, options);
  } catch (const InputError& e) {
    return e.what();
  }
  return "no error";
}

constexpr double kMmHgPerKPa = 760.0 / 101.325;

TEST(IsothermCsv, ReadsColumnsInAnyOrderWithCommentsQuotesAndSeparators) {
  const auto iso = Parse(
      "\xef\xbb\xbf# run 12\n"
      "\n"
      "note,\"Quantity_Adsorbed [cm\xc2\xb3/g STP]\",P/P0\n"
      "a,10.5,0.05\n"
      "  # comment between rows\n"
      "b , +11.25 , 1e-1 \n");
  ASSERT_EQ(iso.size(), 2u);
  EXPECT_EQ(iso.relativePressure[1], 0.1);
  EXPECT_EQ(iso.quantityAdsorbedCm3PerGStp[1], 11.25);
  EXPECT_EQ(iso.sourceLine[0], 4u);
  EXPECT_EQ(iso.sourceLine[1], 6u);

  const auto tabbed = Parse("relative_pressure\tloading [cc/g]\n0.2\t3\n");
  EXPECT_EQ(tabbed.quantityAdsorbedCm3PerGStp[0], 3.0);
  const auto semi = Parse("prel;amount\n0.2;4\n");
  EXPECT_EQ(semi.quantityAdsorbedCm3PerGStp[0], 4.0);
}

// Headers as other programs write them: units in parentheses or after a slash, names
// with blanks, underscores or run together.
TEST(IsothermCsv, HeadersAsOtherProgramsWriteThem) {
  const auto paren = Parse(
      "Relative Pressure (P/Po),Absolute Pressure (kPa),Quantity Adsorbed (cm\xc2\xb3/g STP)\n"
      "0.05,5.07,80.1\n");
  EXPECT_EQ(paren.relativePressure[0], 0.05);
  EXPECT_REL_CLOSE(paren.pressureMmHg[0], 5.07 * kMmHgPerKPa, 1e-14);
  EXPECT_EQ(paren.quantityAdsorbedCm3PerGStp[0], 80.1);

  fiofla::IsothermReadOptions p0;
  p0.poMmHg = 760.0;
  const auto slash = Parse("Pressure/bar;Uptake/mmol g-1\n1.01325;1.0\n", p0);
  EXPECT_REL_CLOSE(slash.relativePressure[0], 1.0, 1e-14);
  EXPECT_REL_CLOSE(slash.quantityAdsorbedCm3PerGStp[0], 22.414, 1e-14);
  // "P/Po" alone is the relative pressure, not a pressure in a unit called "Po".
  const auto plain = Parse("P/Po,AdsorbedAmount [mmol/g]\n0.3,2\n");
  EXPECT_EQ(plain.relativePressure[0], 0.3);
  EXPECT_TRUE(plain.pressureMmHg.empty());
}

TEST(IsothermCsv, BranchesFromColumnOrFromThePressureTurn) {
  const auto split = Parse("p/p0,quantity\n0.1,1\n0.5,2\n0.9,3\n0.7,2.8\n0.4,1.9\n");
  const std::vector<Branch> expected = {Branch::kAdsorption, Branch::kAdsorption,
                                        Branch::kAdsorption, Branch::kDesorption,
                                        Branch::kDesorption};
  EXPECT_EQ(split.branch, expected);

  const auto given = Parse("p/p0,quantity,branch\n0.1,1,des\n0.5,2,Adsorption\n");
  EXPECT_EQ(given.branch, (std::vector<Branch>{Branch::kDesorption, Branch::kAdsorption}));

  EXPECT_TRUE(fiofla::SplitBranches({}).empty());
  // A plateau at the top belongs to desorption after its first point.
  EXPECT_EQ(fiofla::SplitBranches({0.2, 0.9, 0.9}),
            (std::vector<Branch>{Branch::kAdsorption, Branch::kAdsorption, Branch::kDesorption}));
}

// Every file in the bad-input folder names, in its first line, the message it must give.
TEST(IsothermCsv, BadFilesGiveOneLineErrorsNamingFileLineAndProblem) {
  int checked = 0;
  for (const auto& entry : std::filesystem::directory_iterator(fiofla::test::TestData("bad"))) {
    if (entry.path().extension() != ".csv") continue;
    std::ifstream f(entry.path());
    std::string first;
    std::getline(f, first);
    const std::string prefix = "# expect: ";
    ASSERT_EQ(first.rfind(prefix, 0), 0u) << entry.path();
    const std::string expected = first.substr(prefix.size());
    SCOPED_TRACE(entry.path().string());
    try {
      fiofla::ReadIsothermCsv(entry.path().string());
      ADD_FAILURE() << "no error";
    } catch (const InputError& e) {
      const std::string msg = e.what();
      EXPECT_NE(msg.find(expected), std::string::npos) << msg;
      EXPECT_EQ(msg.find('\n'), std::string::npos) << msg;
      EXPECT_EQ(msg.rfind(entry.path().string(), 0), 0u) << msg;
    }
    ++checked;
  }
  EXPECT_GE(checked, 17);
}

TEST(IsothermCsv, MissingFileAndDirectory) {
  EXPECT_THROW(
      {
        try {
          fiofla::ReadIsothermCsv("/nonexistent/iso.csv");
        } catch (const InputError& e) {
          EXPECT_STREQ(e.what(), "/nonexistent/iso.csv: cannot open: No such file or directory");
          throw;
        }
      },
      InputError);
  try {
    fiofla::ReadIsothermCsv(fiofla::test::TestData("bad"));
    ADD_FAILURE() << "no error";
  } catch (const InputError& e) {
    EXPECT_NE(std::string(e.what()).find("is a directory"), std::string::npos);
  }
}

TEST(IsothermCsv, UnitsInTheHeaderAndPoFromColumnCommentOrOption) {
  // Pressure and Po in kPa, loading in mmol/g: P/Po from the columns, loading to cm3/g STP.
  const auto iso = Parse(
      "# adsorptive: N2; temperature: 77.35 K; sample_mass: 52 mg; material: silica S-1\n"
      "pressure [kPa],p0 [kPa],loading [mmol/g]\n"
      "10.1325,101.325,2.0\n"
      "50.6625,101.325,5.0\n");
  ASSERT_EQ(iso.size(), 2u);
  EXPECT_REL_CLOSE(iso.relativePressure[1], 0.5, 1e-15);
  EXPECT_REL_CLOSE(iso.pressureMmHg[0], 76.0, 1e-15);
  EXPECT_REL_CLOSE(iso.poMmHg[1], 760.0, 1e-15);
  EXPECT_REL_CLOSE(iso.quantityAdsorbedCm3PerGStp[1], 5.0 * 22.414, 1e-15);
  EXPECT_EQ(iso.info.adsorptive, "N2");
  EXPECT_EQ(iso.info.temperatureK, 77.35);
  EXPECT_REL_CLOSE(iso.info.sampleMassG, 0.052, 1e-15);
  EXPECT_EQ(iso.info.material, "silica S-1");
  EXPECT_EQ(iso.info.pressureUnit, "kPa");
  EXPECT_EQ(iso.info.loadingUnit, "mmol/g");

  // One Po in a comment, in its own unit; an explicit option replaces it.
  const std::string oneValue = "# p0: 1.01325 bar\npressure [torr],loading\n76,10\n380,20\n";
  EXPECT_REL_CLOSE(Parse(oneValue).relativePressure[1], 0.5, 1e-15);
  fiofla::IsothermReadOptions options;
  options.poMmHg = 400.0;
  EXPECT_REL_CLOSE(Parse(oneValue, options).relativePressure[1], 0.95, 1e-15);
  // P/Po given with an option Po: absolute pressures follow.
  EXPECT_REL_CLOSE(Parse("p/p0,loading\n0.25,3\n", options).pressureMmHg[0], 100.0, 1e-15);

  // No Po at all, but a known gas and temperature: the gas table's saturation pressure, said.
  const auto table =
      Parse("# adsorptive: nitrogen; temperature: -195.8 C\npressure [kPa],loading\n50,100\n");
  double psat = 0.0;
  ASSERT_TRUE(CGasCompressibilityCache::ms_cCache.GetGas("nitrogen")
                  ->CalcPsatFromTemp(&psat, 77.35, false));
  EXPECT_REL_CLOSE(table.relativePressure[0], 50.0 * kMmHgPerKPa / psat, 1e-12);
  ASSERT_EQ(table.notes.size(), 1u);
  EXPECT_NE(table.notes[0].find("saturation pressure of nitrogen at 77.35 K"), std::string::npos);
}

TEST(IsothermCsv, MassAndLiquidLoadingsNeedTheAdsorptivesTable) {
  const CGasCompressibilityTable* n2 = CGasCompressibilityCache::ms_cCache.GetGas("nitrogen");
  ASSERT_NE(n2, nullptr);
  const double molarMass = n2->GetMolecularWeight();
  const auto mass = Parse("# adsorptive: N2\nrelative_pressure,loading [mg/g]\n0.1,56.027\n");
  EXPECT_REL_CLOSE(mass.quantityAdsorbedCm3PerGStp[0], 56.027 / molarMass * 22.414, 1e-14);

  const auto liquid = Parse(
      "# adsorptive: N2; temperature: 77.35\nrelative_pressure,loading [cm3 liq/g]\n0.9,0.5\n");
  const double density = molarMass / n2->GetLiquidMolarVolume(77.35);
  EXPECT_GT(density, 0.80);  // liquid nitrogen at its boiling point, about 0.807 g/cm3
  EXPECT_LT(density, 0.81);
  EXPECT_REL_CLOSE(liquid.quantityAdsorbedCm3PerGStp[0], 0.5 * density / molarMass * 22414.0,
                   1e-14);

  EXPECT_NE(
      Message("relative_pressure,loading [mg/g]\n0.1,5\n").find("the file names no adsorptive"),
      std::string::npos);
  EXPECT_NE(Message("# adsorptive: N2\nrelative_pressure,loading [cm3 liq/g]\n0.1,5\n")
                .find("liquid density, and the file gives no temperature"),
            std::string::npos);
}

// Writing in other units and reading back returns every point, branch and item.
TEST(IsothermCsv, WriteAndReadBackInEveryPressureAndLoadingUnit) {
  const auto iso = Parse(
      "# adsorptive: Ar; temperature: 87.3 K; sample_mass: 0.25 g; material: zeolite\n"
      "pressure [kPa],p0 [kPa],loading [mmol/g],branch\n"
      "5,100.1,1.25,ads\n60,100.2,4.5,ads\n30,100.3,4.25,des\n");
  const CUnits pressures = fiofla::PressureUnits();
  const CUnits loadings = fcn_UT_GasAmountAdsorbed();
  for (const CUnitsStr& pressure : pressures.Units()) {
    for (const CUnitsStr& loading : loadings.Units()) {
      fiofla::IsothermWriteOptions units;
      units.pressureUnit = pressure.Id().str();
      units.loadingUnit = loading.Id().str();
      const std::string text = fiofla::FormatIsothermCsv(iso, units);
      SCOPED_TRACE(text);
      const auto back = Parse(text);
      ASSERT_EQ(back.size(), iso.size());
      EXPECT_EQ(back.branch, iso.branch);
      EXPECT_EQ(back.info.pressureUnit, units.pressureUnit);
      EXPECT_EQ(back.info.loadingUnit, units.loadingUnit);
      EXPECT_EQ(back.info.adsorptive, "Ar");
      EXPECT_EQ(back.info.material, "zeolite");
      EXPECT_EQ(back.info.sampleMassG, 0.25);
      EXPECT_EQ(back.info.temperatureK, 87.3);
      for (std::size_t i = 0; i < iso.size(); ++i) {
        EXPECT_REL_CLOSE(back.relativePressure[i], iso.relativePressure[i], 1e-14);
        EXPECT_REL_CLOSE(back.pressureMmHg[i], iso.pressureMmHg[i], 1e-14);
        EXPECT_REL_CLOSE(back.poMmHg[i], iso.poMmHg[i], 1e-14);
        EXPECT_REL_CLOSE(back.quantityAdsorbedCm3PerGStp[i], iso.quantityAdsorbedCm3PerGStp[i],
                         1e-14);
      }
      // Written in the file's own units, the text is a fixed point.
      EXPECT_EQ(fiofla::FormatIsothermCsv(back), text);
    }
  }
}

TEST(IsothermFormats, NamesExtensionsAndAdsorptives) {
  using fiofla::IsothermFormat;
  IsothermFormat f = IsothermFormat::kCsv;
  EXPECT_TRUE(fiofla::FormatFromName("AIF", &f));
  EXPECT_EQ(f, IsothermFormat::kAif);
  EXPECT_FALSE(fiofla::FormatFromName("xlsx", &f));
  EXPECT_EQ(f, IsothermFormat::kAif);
  EXPECT_EQ(fiofla::DetectFormat("dir.aif/iso"), IsothermFormat::kCsv);
  EXPECT_EQ(fiofla::DetectFormat("x/iso.CIF"), IsothermFormat::kAif);
  EXPECT_EQ(fiofla::DetectFormat("/nonexistent/iso.json"), IsothermFormat::kIsodb);
  EXPECT_EQ(fiofla::DetectFormat(fiofla::test::ShippedData("examples/n2_77k_run.json")),
            IsothermFormat::kMeasurement);
  EXPECT_EQ(fiofla::GasTableName("Carbon Dioxide"), "carbon_dioxide");
  EXPECT_EQ(fiofla::GasTableName("CO2"), "carbon_dioxide");
  EXPECT_EQ(fiofla::GasTableName("nitrogen"), "nitrogen");
  EXPECT_EQ(fiofla::GasTableName("Xe"), "");
  EXPECT_EQ(fiofla::GasTableName(""), "");
}

}  // namespace

// What no measurement can be is refused on reading, so no writer passes it on.
TEST(IsothermCsv, ImpossibleTemperaturesMassesAndPressuresAreRefused) {
  EXPECT_NE(Message("# temperature: -500 K\nrelative_pressure,loading\n0.1,2\n")
                .find("the temperature -500 K is not between 0 and 3000 K"),
            std::string::npos);
  EXPECT_NE(Message("# sample_mass: -1 g\nrelative_pressure,loading\n0.1,2\n")
                .find("the sample mass -1 g is not between 0 and 10000 g"),
            std::string::npos);
  EXPECT_NE(Message("# p0: 100 kPa\npressure [kPa],loading\n1e300,2\n")
                .find("the pressure of point 1, 1e+300 kPa, is not between 0 and 10 kbar"),
            std::string::npos);
}
