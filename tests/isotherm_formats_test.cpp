// One isotherm through every reader, writer and unit: the BET area must not notice.
#include <sys/stat.h>
#include <unistd.h>

#include <cmath>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <thread>

#include "fiofla/calc_bet.h"
#include "fiofla/io/aif_file.h"
#include "fiofla/io/isodb_file.h"
#include "fiofla/io/isotherm_file.h"
#include "fiofla/io/pygaps_file.h"
#include "test_util.h"

namespace {

using fiofla::IsothermData;
using fiofla::test::ShippedData;

double BetArea(const IsothermData& iso) {
  const CCalcBET bet(fiofla::MakeBETInput(iso.relativePressure, iso.quantityAdsorbedCm3PerGStp,
                                          iso.branch, 0.05, 0.30, 0.162));
  EXPECT_EQ(bet.status, CCalcBET::STATUS_OK);
  return bet.surfaceArea;
}

IsothermData ReadCsvText(const std::string& text) {
  std::istringstream in(text);
  return fiofla::ParseIsothermCsv(in, "converted.csv");
}

TEST(IsothermFormats, BundledExamplesGiveTheSameBetArea) {
  const IsothermData csv = fiofla::ReadIsothermFile(ShippedData("examples/n2_77k_silica.csv"));
  const IsothermData aif = fiofla::ReadIsothermFile(ShippedData("examples/n2_77k_silica.aif"));
  fiofla::IsothermReadOptions p0;
  p0.poMmHg = 760.0;  // 1.01325 bar, as the ISODB example was written with
  const IsothermData isodb =
      fiofla::ReadIsothermFile(ShippedData("examples/n2_77k_silica_isodb.json"), p0);
  const IsothermData pygaps =
      fiofla::ReadIsothermFile(ShippedData("examples/n2_77k_silica_pygaps.json"));
  p0.poMmHg = 760.0;  // 101.325 kPa for the pyGAPS CSV's absolute pressures
  const IsothermData pygapsCsv =
      fiofla::ReadIsothermFile(ShippedData("examples/n2_77k_silica_pygaps.csv"), p0);

  ASSERT_EQ(aif.size(), csv.size());
  ASSERT_EQ(isodb.size(), csv.size());
  EXPECT_EQ(aif.branch, csv.branch);
  EXPECT_EQ(isodb.branch, csv.branch);
  EXPECT_EQ(aif.info.loadingUnit, "mmol/g");
  EXPECT_EQ(isodb.info.pressureUnit, "bar");

  const double area = BetArea(csv);
  EXPECT_GT(area, 300.0);
  EXPECT_REL_CLOSE(BetArea(aif), area, 1e-9);
  EXPECT_REL_CLOSE(BetArea(isodb), area, 1e-9);
  for (const IsothermData* other : {&pygaps, &pygapsCsv}) {
    ASSERT_EQ(other->size(), csv.size());
    EXPECT_EQ(other->branch, csv.branch);
    EXPECT_EQ(other->info.material, "silica S-1");
    EXPECT_REL_CLOSE(BetArea(*other), area, 1e-9);
  }
}

TEST(IsothermFormats, ConvertingThroughEveryFormatAndUnitKeepsTheBetArea) {
  const IsothermData aif = fiofla::ReadIsothermFile(ShippedData("examples/n2_77k_silica.aif"));
  const double area = BetArea(aif);
  const struct {
    const char* pressure;
    const char* loading;
  } units[] = {{"Pa", "cm3/g STP"},  {"bar", "mol/kg"}, {"torr", "mg/g"},
               {"psi", "cm3 liq/g"}, {"atm", "mmol/g"}, {"mbar", "cm3/g STP"}};
  for (const auto& u : units) {
    SCOPED_TRACE(std::string(u.pressure) + ", " + u.loading);
    fiofla::IsothermWriteOptions options;
    options.pressureUnit = u.pressure;
    options.loadingUnit = u.loading;
    const IsothermData viaCsv = ReadCsvText(fiofla::FormatIsothermCsv(aif, options));
    const IsothermData viaAif = fiofla::ParseAif(fiofla::FormatAif(aif, options), "converted.aif");
    EXPECT_EQ(viaCsv.info.loadingUnit, u.loading);
    EXPECT_EQ(viaAif.info.pressureUnit, u.pressure);
    EXPECT_REL_CLOSE(BetArea(viaCsv), area, 1e-9);
    EXPECT_REL_CLOSE(BetArea(viaAif), area, 1e-9);
  }
}

TEST(IsothermFormats, AifRoundTripOfTheExampleIsAFixedPoint) {
  const IsothermData first = fiofla::ReadIsothermFile(ShippedData("examples/n2_77k_silica.aif"));
  const std::string text = fiofla::FormatAif(first);
  const IsothermData second = fiofla::ParseAif(text, "again.aif");
  ASSERT_EQ(second.size(), first.size());
  for (std::size_t i = 0; i < first.size(); ++i) {
    EXPECT_EQ(second.pressureMmHg[i], first.pressureMmHg[i]);
    EXPECT_EQ(second.quantityAdsorbedCm3PerGStp[i], first.quantityAdsorbedCm3PerGStp[i]);
  }
  EXPECT_EQ(second.info.items, first.info.items);
  EXPECT_EQ(fiofla::FormatAif(second), text);
}

TEST(IsothermFormats, AMeasurementFileReducesAndTakesAGivenPo) {
  const std::string run = ShippedData("examples/n2_77k_run.json");
  const IsothermData own = fiofla::ReadIsothermFile(run);
  ASSERT_FALSE(own.pressureMmHg.empty());
  EXPECT_EQ(own.info.adsorptive, "nitrogen");
  EXPECT_EQ(own.sourceLine[0], 0u);
  EXPECT_EQ(own.PointName(2), "point 3");
  fiofla::IsothermReadOptions p0;
  p0.poMmHg = 800.0;
  const IsothermData given = fiofla::ReadIsothermFile(run, p0);
  EXPECT_REL_CLOSE(given.relativePressure[5], own.pressureMmHg[5] / 800.0, 1e-15);
  p0.poMmHg = -1.0;
  EXPECT_THROW(fiofla::ReadIsothermFile(run, p0), fiofla::InputError);
}

}  // namespace

TEST(IsothermFormats, LoadingUnitsSpelledAnyWayRoundTripThroughAif) {
  const IsothermData aif = fiofla::ReadIsothermFile(ShippedData("examples/n2_77k_silica.aif"));
  const double area = BetArea(aif);
  for (const char* unit : {"ml(STP) g-1", "cm3(STP)/kg", "\xC2\xB5mol/g", "mmol g^-1", "wt%"}) {
    SCOPED_TRACE(unit);
    fiofla::IsothermWriteOptions options;
    options.loadingUnit = unit;
    const IsothermData back = fiofla::ParseAif(fiofla::FormatAif(aif, options), "spelled.aif");
    EXPECT_EQ(back.info.loadingUnit, unit);
    EXPECT_REL_CLOSE(BetArea(back), area, 1e-9);
  }
}

TEST(IsothermFormats, LoadingsPerFormulaUnitOrVolumeNeedTheAdsorbentsData) {
  const IsothermData csv = fiofla::ReadIsothermFile(ShippedData("examples/n2_77k_silica.csv"));
  const double molarMass = 60.08, density = 2.2;  // silica formula unit, g/mol; g/cm3
  fiofla::RawIsotherm perMol, perVolume;
  perMol.source = perVolume.source = "isodb.json";
  for (std::size_t i = 0; i < csv.size(); ++i) {
    const double mmolPerG = csv.quantityAdsorbedCm3PerGStp[i] / 22.414;
    perMol.loading.push_back(mmolPerG * molarMass / 1000.0);
    perVolume.loading.push_back(mmolPerG * density);
  }
  perMol.relativePressure = perVolume.relativePressure = csv.relativePressure;
  perMol.branch = perVolume.branch = csv.branch;
  perMol.loadingUnit = "mol/mol";
  perVolume.loadingUnit = "mmol/cm3";
  perMol.loadingUnitWhere = perVolume.loadingUnitWhere = "adsorptionUnits";

  try {
    fiofla::ConvertIsotherm(perMol);
    ADD_FAILURE() << "mol/mol converted without the adsorbent's molar mass";
  } catch (const fiofla::InputError& e) {
    EXPECT_NE(std::string(e.what()).find("need the adsorbent's molar mass; give it with "
                                         "--adsorbent-molar-mass"),
              std::string::npos)
        << e.what();
  }
  try {
    fiofla::ConvertIsotherm(perVolume);
    ADD_FAILURE() << "mmol/cm3 converted without the material's density";
  } catch (const fiofla::InputError& e) {
    EXPECT_NE(std::string(e.what()).find("--material-density"), std::string::npos) << e.what();
  }
  fiofla::IsothermReadOptions options;
  options.adsorbentMolarMassGPerMol = molarMass;
  options.materialDensityGPerCm3 = density;
  EXPECT_REL_CLOSE(BetArea(fiofla::ConvertIsotherm(perMol, options)), BetArea(csv), 1e-12);
  EXPECT_REL_CLOSE(BetArea(fiofla::ConvertIsotherm(perVolume, options)), BetArea(csv), 1e-12);
}

// A supercritical isotherm has no Po: analyses refuse it and say why, converting keeps it.
TEST(IsothermFormats, WithoutPoAnIsothermConvertsButDoesNotAnalyse) {
  fiofla::RawIsotherm raw;
  raw.source = "methane.aif";
  raw.info.adsorptive = "CH4";
  raw.info.temperatureK = 298.15;
  raw.pressure = {100.0, 500.0, 1000.0};
  raw.pressureUnit = "kPa";
  raw.loading = {0.45, 1.89, 3.12};
  raw.loadingUnit = "mmol/g";
  try {
    fiofla::ConvertIsotherm(raw);
    ADD_FAILURE() << "read without Po";
  } catch (const fiofla::InputError& e) {
    EXPECT_NE(std::string(e.what()).find("above its critical temperature"), std::string::npos)
        << e.what();
  }
  fiofla::IsothermReadOptions converting;
  converting.requirePo = false;
  const IsothermData iso = fiofla::ConvertIsotherm(raw, converting);
  ASSERT_EQ(iso.size(), 3u);
  EXPECT_TRUE(std::isnan(iso.relativePressure[0]));
  EXPECT_TRUE(iso.poMmHg.empty());
  EXPECT_EQ(iso.notes.size(), 1u);
  // CSV and pyGAPS JSON carry the absolute pressures and read back the same way.
  const std::string csv = fiofla::FormatIsothermCsv(iso);
  EXPECT_EQ(csv.find("relative_pressure"), std::string::npos) << csv;
  std::istringstream in(csv);
  const IsothermData back = fiofla::ParseIsothermCsv(in, "back.csv", converting);
  const IsothermData json =
      fiofla::ParsePygapsJson(fiofla::FormatPygapsJson(iso), "back.json", converting);
  for (const IsothermData* other : {&back, &json}) {
    ASSERT_EQ(other->size(), 3u);
    for (std::size_t i = 0; i < 3; ++i) {
      EXPECT_REL_CLOSE(other->pressureMmHg[i], iso.pressureMmHg[i], 1e-14);
      EXPECT_REL_CLOSE(other->quantityAdsorbedCm3PerGStp[i], iso.quantityAdsorbedCm3PerGStp[i],
                       1e-14);
    }
  }
}

namespace {

std::string Slurp(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  std::ostringstream s;
  s << in.rdbuf();
  return s.str();
}

}  // namespace

// Every format reads from a pipe, with a UTF-8 byte-order mark, and UTF-16 is named.
TEST(IsothermFormats, PipesByteOrderMarksAndUtf16) {
  const std::string dir = ::testing::TempDir() + "fiofla-bom-" + std::to_string(::getpid());
  std::filesystem::create_directories(dir);
  const double area = BetArea(fiofla::ReadIsothermFile(ShippedData("examples/n2_77k_silica.csv")));

  const std::string fifo = dir + "/pipe";
  ASSERT_EQ(::mkfifo(fifo.c_str(), 0600), 0);
  const std::string csv = Slurp(ShippedData("examples/n2_77k_silica.csv"));
  std::thread writer([&] { std::ofstream(fifo) << csv; });
  const IsothermData piped = fiofla::ReadIsothermFile(fifo);
  writer.join();
  EXPECT_REL_CLOSE(BetArea(piped), area, 1e-12);

  for (const char* example : {"n2_77k_silica.aif", "n2_77k_silica_isodb.json",
                              "n2_77k_silica_pygaps.json", "n2_77k_run.json"}) {
    SCOPED_TRACE(example);
    const std::string path = dir + "/bom-" + example;
    std::ofstream(path, std::ios::binary)
        << "\xef\xbb\xbf" << Slurp(ShippedData(std::string("examples/") + example));
    fiofla::IsothermReadOptions options;
    options.poMmHg = std::string(example).find("isodb") != std::string::npos ? 760.0 : NAN;
    EXPECT_GT(BetArea(fiofla::ReadIsothermFile(path, options)), 300.0);
  }

  const std::string utf16 = dir + "/utf16.csv";
  std::ofstream(utf16, std::ios::binary) << std::string("\xff\xfer\0e\0", 6);
  try {
    fiofla::ReadIsothermFile(utf16);
    ADD_FAILURE() << "UTF-16 read";
  } catch (const fiofla::InputError& e) {
    EXPECT_NE(std::string(e.what()).find("UTF-16"), std::string::npos) << e.what();
  }
  // A measurement file says what it is wherever its "format" member stands.
  const std::string late =
      "{\"comment\": \"" + std::string(70000, 'x') + "\", \"format\": \"fiofla measurement\"}";
  EXPECT_EQ(fiofla::DetectFormatOfText("run.json", late), fiofla::IsothermFormat::kMeasurement);
  std::filesystem::remove_all(dir);
}
