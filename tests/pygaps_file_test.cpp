// pyGAPS JSON and CSV: every basis and mode the package writes reads as the same isotherm,
// fiofla's own JSON goes back and forth without loss, and the format is found by content.
#include "fiofla/io/pygaps_file.h"

#include <cmath>
#include <sstream>
#include <string>

#include "fiofla/compress.h"
#include "fiofla/io/isotherm_file.h"
#include "fiofla/io/measurement_file.h"
#include "test_util.h"

namespace {

using fiofla::InputError;
using fiofla::IsothermData;
using fiofla::IsothermFormat;
using fiofla::test::ShippedData;

// Three adsorption points and one desorption point of nitrogen at 77.35 K, in mmol/g.
const double kRelative[] = {0.05, 0.1, 0.2, 0.15};
const double kMmolPerG[] = {2.5, 3.0, 3.6, 3.4};
const bool kDesorption[] = {false, false, false, true};

// A pyGAPS JSON document with the loadings written as `scale` x mmol/g.
std::string Json(const std::string& keys, double scale, double pressureScale = 1.0) {
  std::ostringstream out;
  out.precision(17);
  out << "{\"adsorbate\": \"nitrogen\", \"temperature\": 77.35, \"file_version\": \"3.0\", " << keys
      << ", \"isotherm_data\": [";
  for (int i = 0; i < 4; ++i) {
    out << (i ? ", " : "") << "{\"pressure\": " << kRelative[i] * pressureScale
        << ", \"loading\": " << kMmolPerG[i] * scale;
    if (kDesorption[i]) out << ", \"branch\": \"des\"";
    out << "}";
  }
  out << "]}";
  return out.str();
}

void ExpectTheIsotherm(const IsothermData& iso, double tolerance) {
  ASSERT_EQ(iso.size(), 4u);
  for (int i = 0; i < 4; ++i) {
    EXPECT_REL_CLOSE(iso.relativePressure[i], kRelative[i], 1e-12);
    EXPECT_REL_CLOSE(iso.quantityAdsorbedCm3PerGStp[i], kMmolPerG[i] * 22.414, tolerance);
    EXPECT_EQ(iso.branch[i] == fiofla::Branch::kDesorption, kDesorption[i]);
  }
}

std::string ErrorOf(const std::string& text, const fiofla::IsothermReadOptions& options = {}) {
  try {
    fiofla::ParsePygapsJson(text, "x.json", options);
  } catch (const InputError& e) {
    return e.what();
  }
  return "no error";
}

double NitrogenMolarMass() {
  return CGasCompressibilityCache::ms_cCache.GetGas(CStr("nitrogen"))->GetMolecularWeight();
}

TEST(PygapsFile, EveryLoadingAndMaterialBasisReadsAsTheSameIsotherm) {
  const double m = NitrogenMolarMass();
  const double formula = 1750.0, density = 1.2;  // the material's g/mol and g/cm3
  const std::string relative = "\"pressure_mode\": \"relative\"";
  const struct {
    std::string keys;
    double scale;
  } cases[] = {
      {"\"loading_basis\": \"molar\", \"loading_unit\": \"mmol\", \"material_basis\": \"mass\", "
       "\"material_unit\": \"g\"",
       1.0},
      {"\"loading_basis\": \"molar\", \"loading_unit\": \"mol\", \"material_basis\": \"mass\", "
       "\"material_unit\": \"kg\"",
       1.0},
      {"\"loading_basis\": \"molar\", \"loading_unit\": \"cm3(STP)\", \"material_basis\": "
       "\"mass\", \"material_unit\": \"g\"",
       22.414},
      {"\"loading_basis\": \"mass\", \"loading_unit\": \"g\", \"material_basis\": \"mass\", "
       "\"material_unit\": \"kg\"",
       m},
      {"\"loading_basis\": \"fraction\", \"material_basis\": \"mass\"", m / 1000.0},
      {"\"loading_basis\": \"percent\", \"material_basis\": \"mass\", \"material_unit\": \"g\"",
       m / 10.0},
      {"\"loading_basis\": \"fraction\", \"material_basis\": \"molar\", \"material\": {\"name\": "
       "\"UiO-66\", \"molar_mass\": 1750.0}",
       formula / 1000.0},
      {"\"loading_basis\": \"molar\", \"loading_unit\": \"mmol\", \"material_basis\": "
       "\"volume\", \"material_unit\": \"cm3\", \"material\": {\"name\": \"X\", \"density\": 1.2}",
       density},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.keys);
    ExpectTheIsotherm(fiofla::ParsePygapsJson(Json(relative + ", " + c.keys, c.scale), "x.json"),
                      1e-12);
  }
  // Liquid volume goes through the liquid density of the gas table; percent P/Po is / 100.
  const IsothermData liquid = fiofla::ParsePygapsJson(
      Json("\"pressure_mode\": \"relative%\", \"loading_basis\": \"volume_liquid\", "
           "\"loading_unit\": \"cm3\", \"material_basis\": \"mass\", \"material_unit\": \"g\"",
           m / 806.1, 100.0),  // about nitrogen's liquid density at 77 K, kg/m3
      "x.json");
  ExpectTheIsotherm(liquid, 0.01);
  // The file's material data give way to the caller's.
  fiofla::IsothermReadOptions options;
  options.adsorbentMolarMassGPerMol = 2.0 * formula;
  const IsothermData doubled = fiofla::ParsePygapsJson(
      Json(relative + ", " + cases[6].keys, formula / 1000.0), "x.json", options);
  EXPECT_REL_CLOSE(doubled.quantityAdsorbedCm3PerGStp[0], 2.5 * 22.414 / 2.0, 1e-12);
}

TEST(PygapsFile, AbsolutePressuresAndTheOldLayoutRead) {
  // Absolute mbar with the gas table's Po, points keyed by index as text, old key names.
  const std::string old =
      "{\"adsorbate\": \"N2\", \"t_exp\": 77.35, \"sample_name\": \"MCM-41\", \"adsorbent_basis\": "
      "\"mass\", \"adsorbent_unit\": \"g\", \"isotherm_data\": {\"0\": {\"loading\": \"2.5\", "
      "\"pressure\": \"0.05\"}, \"10\": {\"loading\": \"3.4\", \"pressure\": \"0.15\"}, \"2\": "
      "{\"loading\": \"3.6\", \"pressure\": \"0.2\"}, \"1\": {\"loading\": \"3.0\", \"pressure\": "
      "\"0.1\"}}}";
  const IsothermData iso = fiofla::ParsePygapsJson(old, "old.json");
  EXPECT_EQ(iso.info.material, "MCM-41");
  EXPECT_EQ(iso.info.temperatureK, 77.35);
  ASSERT_EQ(iso.size(), 4u);
  // No pressure_mode: the package's default, absolute bar, with a note saying so.
  EXPECT_EQ(iso.info.pressureUnit, "bar");
  EXPECT_REL_CLOSE(iso.pressureMmHg[3], 0.15 * 750.061682704, 1e-9);
  EXPECT_EQ(iso.quantityAdsorbedCm3PerGStp[3], 3.4 * 22.414);
  EXPECT_EQ(iso.branch[3], fiofla::Branch::kDesorption);  // split at the highest pressure
  bool noted = false;
  for (const auto& n : iso.notes) noted = noted || n.find("pressure_mode is not given") == 0;
  EXPECT_TRUE(noted);
}

TEST(PygapsFile, CsvReadsAsTheJsonDoes) {
  std::ostringstream csv;
  csv.precision(17);
  csv << "file_version,3.0\npressure_mode,relative\npressure_unit,\nmaterial_basis,mass\n"
         "material_unit,g\nloading_basis,molar\nloading_unit,mmol\ntemperature_unit,K\n"
         "adsorbate,nitrogen\nmaterial,MCM-41\ntemperature,77.35\niso_type,Isotherme\n"
         "data:[pressure,loading,branch,(otherdata)]\nloading(mmol),pressure,branch\n";
  for (int i = 0; i < 4; ++i)
    csv << kMmolPerG[i] << "," << kRelative[i] << "," << (kDesorption[i] ? "des" : "ads") << "\n";
  EXPECT_EQ(fiofla::DetectFormatOfText("iso.txt", csv.str()), IsothermFormat::kPygapsCsv);
  const IsothermData iso = fiofla::ParsePygapsCsv(csv.str(), "iso.csv");
  ExpectTheIsotherm(iso, 1e-12);
  EXPECT_EQ(iso.sourceLine[0], 15u);
  ASSERT_EQ(iso.info.items.size(), 1u);  // kept for writing back
  EXPECT_EQ(iso.info.items[0].second, "Isotherme");
}

TEST(PygapsFile, WrittenJsonReadsBackWithoutLoss) {
  for (const char* example : {"examples/n2_77k_silica.aif", "examples/n2_77k_silica.csv"}) {
    SCOPED_TRACE(example);
    const IsothermData first = fiofla::ReadIsothermFile(ShippedData(example));
    const std::string text = fiofla::FormatPygapsJson(first);
    EXPECT_EQ(fiofla::DetectFormatOfText("x.json", text), IsothermFormat::kPygapsJson);
    const IsothermData back = fiofla::ParsePygapsJson(text, "x.json");
    ASSERT_EQ(back.size(), first.size());
    EXPECT_EQ(back.relativePressure, first.relativePressure);
    EXPECT_EQ(back.branch, first.branch);
    EXPECT_EQ(back.pressureMmHg.size(), first.pressureMmHg.size());
    for (std::size_t i = 0; i < first.size(); ++i) {
      EXPECT_REL_CLOSE(back.quantityAdsorbedCm3PerGStp[i], first.quantityAdsorbedCm3PerGStp[i],
                       1e-14);
      if (!first.pressureMmHg.empty())
        EXPECT_REL_CLOSE(back.pressureMmHg[i], first.pressureMmHg[i], 1e-14);
    }
    EXPECT_EQ(back.info.material, first.info.material);
    EXPECT_EQ(back.info.temperatureK, first.info.temperatureK);
    if (std::isfinite(first.info.sampleMassG))
      EXPECT_EQ(back.info.sampleMassG, first.info.sampleMassG);
    // Written again, the text is the same: nothing drifts.
    EXPECT_EQ(fiofla::FormatPygapsJson(back), text);
  }
  // A unit the package has no name for is refused with the ones it has.
  fiofla::IsothermWriteOptions micro;
  micro.loadingUnit = "\xC2\xB5mol/g";
  EXPECT_THROW(fiofla::FormatPygapsJson(
                   fiofla::ReadIsothermFile(ShippedData("examples/n2_77k_silica.csv")), micro),
               InputError);
}

TEST(PygapsFile, WhatCannotConvertIsNamedWithWhatToGive) {
  const std::string rel = "\"pressure_mode\": \"relative\", ";
  const struct {
    std::string keys;
    const char* message;
  } cases[] = {
      {rel + "\"loading_basis\": \"molar\", \"loading_unit\": \"mmol\", \"material_basis\": "
             "\"volume\", \"material_unit\": \"cm3\"",
       "need the material's density; give it with --material-density"},
      {rel + "\"loading_basis\": \"molar\", \"loading_unit\": \"mmol\", \"material_basis\": "
             "\"molar\", \"material_unit\": \"mol\"",
       "need the adsorbent's molar mass"},
      {rel + "\"loading_basis\": \"mass\", \"loading_unit\": \"cg\"",
       "loading_unit 'cg' is not a unit fiofla reads"},
      {rel + "\"loading_basis\": \"molar\", \"loading_unit\": \"mg\"",
       "loading_basis 'molar' with loading_unit 'mg' is not one of"},
      {"\"pressure_mode\": \"gauge\"", "pressure_mode 'gauge' is not absolute, relative"},
      {rel + "\"temperature_unit\": \"F\"", "temperature_unit 'F' is not K or °C"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.keys);
    const std::string error = ErrorOf(Json(c.keys, 1.0));
    EXPECT_NE(error.find(c.message), std::string::npos) << error;
    EXPECT_EQ(error.rfind("x.json", 0), 0u) << error;
  }
  EXPECT_NE(ErrorOf("{\"adsorbate\": \"N2\", \"isotherm_model\": {\"name\": \"Langmuir\"}}")
                .find("model isotherm"),
            std::string::npos);
  // JSON leaves a member given twice undefined; no reader guesses which one counts.
  EXPECT_NE(ErrorOf(Json(rel + "\"pressure_mode\": \"absolute\"", 1.0))
                .find("member \"pressure_mode\" is given twice"),
            std::string::npos);
  std::string noLoading = Json("\"pressure_mode\": \"relative\"", 1.0);
  noLoading.replace(noLoading.find("\"loading\""), 9, "\"amount\"");
  EXPECT_NE(ErrorOf(noLoading).find("isotherm_data[0].loading is missing"), std::string::npos);
  // The package's gas volume is saturated vapour: none above the critical temperature.
  std::string hot = Json(rel + "\"loading_basis\": \"volume_gas\", \"loading_unit\": \"cm3\"", 1.0);
  hot.replace(hot.find("77.35"), 5, "298.15");
  EXPECT_NE(ErrorOf(hot).find("has no saturated vapour at 298.15 K"), std::string::npos);
  // At 77.35 K it is about the ideal gas at Psat (Z of the saturated vapour is near 0.96).
  const IsothermData vapour = fiofla::ParsePygapsJson(
      Json(rel + "\"loading_basis\": \"volume_gas\", \"loading_unit\": \"cm3\"", 1.0), "x.json");
  const double idealMmolPerCm3 = 101325.0 / (8.314462618 * 77.35) * 1e-3;
  EXPECT_REL_CLOSE(vapour.quantityAdsorbedCm3PerGStp[0], 2.5 * idealMmolPerCm3 * 22.414, 0.06);
}

TEST(PygapsFile, FormatsAreFoundByContent) {
  const struct {
    const char* path;
    std::string text;
    IsothermFormat format;
  } cases[] = {
      {"a.json", Json("\"pressure_mode\": \"relative\"", 1.0), IsothermFormat::kPygapsJson},
      {"a.txt", Json("\"pressure_mode\": \"relative\"", 1.0), IsothermFormat::kPygapsJson},
      {"a.json", "{\"adsorbates\": [], \"isotherm_data\": [{\"total_adsorption\": 1}]}",
       IsothermFormat::kIsodb},
      {"a.json", "{\"format\": \"fiofla measurement\"}", IsothermFormat::kMeasurement},
      {"a.dat", "# exported\n\ndata_sample\n_units_loading 'mmol/g'\n", IsothermFormat::kAif},
      {"a.csv", "pressure [kPa],loading [mmol/g]\n1,2\n", IsothermFormat::kCsv},
      {"a.csv", "comment,not pygaps\ndata:\npressure,loading\n", IsothermFormat::kCsv},
      {"a.aif", "", IsothermFormat::kAif},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.text);
    EXPECT_EQ(fiofla::DetectFormatOfText(c.path, c.text), c.format);
  }
  IsothermFormat f;
  ASSERT_TRUE(fiofla::FormatFromName("pyGAPS_CSV", &f));
  EXPECT_EQ(f, IsothermFormat::kPygapsCsv);
}

}  // namespace
