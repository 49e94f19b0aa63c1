#include "fiofla/io/aif_file.h"

#include <cmath>
#include <filesystem>
#include <fstream>
#include <string>
#include <utility>
#include <vector>

#include "fiofla/compress.h"
#include "test_util.h"

namespace {

using fiofla::Branch;
using fiofla::InputError;
using fiofla::IsothermData;

constexpr double kMmHgPerKPa = 760.0 / 101.325;
constexpr double kCm3StpPerMmol = 22.414;

// Both branches with Po, kPa and mmol/g, temperature in C, mass in mg, the material only as
// the sample name, a multi-line item and a standard uncertainty on one amount.
const char kTwoBranches[] =
    "# two branches\n"
    "data_test\n"
    "_audit_aif_version 2263c7e\n"
    "_exptl_operator 'A. N. Other'\n"
    "_exptl_adsorptive N2\n"
    "_exptl_temperature -195.8\n"
    "_units_temperature C\n"
    "_exptl_sample_mass 52.3\n"
    "_units_mass mg\n"
    "_adsnt_sample_name 'silica S-1'\n"
    "_adsnt_degas_temperature 300\n"
    "_exptl_instrument\n"
    ";volumetric analyser\n"
    "serial \"7\" it's\n"
    ";\n"
    "_units_pressure kPa\n"
    "_units_loading mmol/g\n"
    "loop_\n"
    "_adsorp_pressure\n"
    "_adsorp_p0\n"
    "_adsorp_amount\n"
    "10.1325 101.325 2.0\n"
    "50.6625 101.325 5.0(2)\n"
    "81.06 101.325 8.0\n"
    "loop_\n"
    "_desorp_pressure _desorp_p0 _desorp_amount\n"
    "60.795 101.3 6.5\n"
    "20.265 101.3 3.0\n";

using Items = std::vector<std::pair<std::string, std::string>>;

TEST(Aif, ReadsBranchesUnitsAndItems) {
  const IsothermData iso = fiofla::ParseAif(kTwoBranches, "two.aif");
  ASSERT_EQ(iso.size(), 5u);
  EXPECT_EQ(iso.branch,
            (std::vector<Branch>{Branch::kAdsorption, Branch::kAdsorption, Branch::kAdsorption,
                                 Branch::kDesorption, Branch::kDesorption}));
  EXPECT_REL_CLOSE(iso.pressureMmHg[0], 10.1325 * kMmHgPerKPa, 1e-15);
  EXPECT_REL_CLOSE(iso.relativePressure[3], 60.795 / 101.3, 1e-15);
  EXPECT_REL_CLOSE(iso.quantityAdsorbedCm3PerGStp[1], 5.0 * kCm3StpPerMmol, 1e-15);
  EXPECT_EQ(iso.info.adsorptive, "N2");
  EXPECT_REL_CLOSE(iso.info.temperatureK, 77.35, 1e-14);
  EXPECT_REL_CLOSE(iso.info.sampleMassG, 0.0523, 1e-15);
  EXPECT_EQ(iso.info.material, "silica S-1");
  EXPECT_EQ(iso.info.pressureUnit, "kPa");
  EXPECT_EQ(iso.info.loadingUnit, "mmol/g");
  const Items items = {{"_audit_aif_version", "2263c7e"},
                       {"_exptl_operator", "A. N. Other"},
                       {"_units_temperature", "C"},
                       {"_units_mass", "mg"},
                       {"_adsnt_sample_name", "silica S-1"},
                       {"_adsnt_degas_temperature", "300"},
                       {"_exptl_instrument", "volumetric analyser\nserial \"7\" it's"}};
  EXPECT_EQ(iso.info.items, items);

  // A desorption loop alone, with one Po for it as a single item; a Po option replaces it.
  const char kOnePo[] =
      "data_x\n_units_pressure bar\n_units_loading 'cm3/g STP'\n_desorp_p0 1.0\n"
      "loop_\n_desorp_pressure\n_desorp_amount\n0.5 100\n0.25 80\n";
  const IsothermData desorption = fiofla::ParseAif(kOnePo, "po.aif");
  EXPECT_EQ(desorption.branch, std::vector<Branch>(2, Branch::kDesorption));
  EXPECT_REL_CLOSE(desorption.relativePressure[1], 0.25, 1e-15);
  fiofla::IsothermReadOptions options;
  options.poMmHg = 1500.0;
  EXPECT_REL_CLOSE(fiofla::ParseAif(kOnePo, "po.aif", options).relativePressure[0],
                   50.0 * kMmHgPerKPa / 1500.0, 1e-12);
  // One point as single items.
  const IsothermData single = fiofla::ParseAif(
      "data_x\n_units_pressure kPa\n_units_loading mmol/g\n_adsorp_pressure 10\n"
      "_adsorp_p0 100\n_adsorp_amount 1\n",
      "single.aif");
  ASSERT_EQ(single.size(), 1u);
  EXPECT_REL_CLOSE(single.relativePressure[0], 0.1, 1e-15);
}

TEST(Aif, WritingAndReadingBackKeepsEverythingAndIsAFixedPoint) {
  const IsothermData first = fiofla::ParseAif(kTwoBranches, "two.aif");
  const std::string text = fiofla::FormatAif(first);
  const IsothermData second = fiofla::ParseAif(text, "again.aif");
  ASSERT_EQ(second.size(), first.size());
  EXPECT_EQ(second.branch, first.branch);
  for (std::size_t i = 0; i < first.size(); ++i) {
    EXPECT_REL_CLOSE(second.pressureMmHg[i], first.pressureMmHg[i], 1e-14);
    EXPECT_REL_CLOSE(second.poMmHg[i], first.poMmHg[i], 1e-14);
    EXPECT_REL_CLOSE(second.quantityAdsorbedCm3PerGStp[i], first.quantityAdsorbedCm3PerGStp[i],
                     1e-14);
  }
  EXPECT_EQ(second.info.adsorptive, first.info.adsorptive);
  EXPECT_REL_CLOSE(second.info.temperatureK, first.info.temperatureK, 1e-14);
  EXPECT_REL_CLOSE(second.info.sampleMassG, first.info.sampleMassG, 1e-14);
  EXPECT_EQ(second.info.material, first.info.material);
  EXPECT_EQ(second.info.pressureUnit, "kPa");
  EXPECT_EQ(second.info.loadingUnit, "mmol/g");
  EXPECT_EQ(second.info.items, first.info.items);
  EXPECT_EQ(fiofla::FormatAif(second), text);
  // Temperature and mass stay in the kept units, which the degas temperature shares.
  EXPECT_NE(text.find(" -195.8\n"), std::string::npos) << text;
  EXPECT_NE(text.find(" 52.3\n"), std::string::npos) << text;
  EXPECT_EQ(text.rfind("data_silica_S-1\n", 0), 0u) << text;

  // Units on request; no Po, no p0 column; K and g added as items and kept from then on.
  IsothermData bare = first;
  bare.poMmHg.clear();
  bare.info.items.clear();
  fiofla::IsothermWriteOptions options;
  options.pressureUnit = "Pa";
  options.loadingUnit = "cm3/g STP";
  const std::string pa = fiofla::FormatAif(bare, options);
  EXPECT_EQ(pa.find("_p0"), std::string::npos) << pa;
  fiofla::IsothermReadOptions po;
  po.poMmHg = 760.0;
  IsothermData viaPa = fiofla::ParseAif(pa, "pa.aif", po);
  EXPECT_EQ(viaPa.info.items, (Items{{"_units_temperature", "K"}, {"_units_mass", "g"}}));
  EXPECT_EQ(viaPa.info.pressureUnit, "Pa");
  EXPECT_EQ(viaPa.info.loadingUnit, "cm3/g STP");
  EXPECT_REL_CLOSE(viaPa.pressureMmHg[4], first.pressureMmHg[4], 1e-14);
  EXPECT_REL_CLOSE(viaPa.quantityAdsorbedCm3PerGStp[4], first.quantityAdsorbedCm3PerGStp[4], 1e-14);
  viaPa.poMmHg.clear();
  EXPECT_EQ(fiofla::FormatAif(viaPa), pa);
}

TEST(Aif, ItemValuesOfEveryShapeSurviveWritingAndUnwritableOnesAreRefused) {
  IsothermData iso = fiofla::ParseAif(kTwoBranches, "two.aif");
  iso.info.temperatureK = iso.info.sampleMassG = std::nan("");  // no unit items added
  iso.info.items = {{"_plain", "abc"},        {"_blank", "two words"}, {"_apostrophe", "it's"},
                    {"_both", "\"hi\" it's"}, {"_lines", "one\ntwo"},  {"_underscore", "_x"},
                    {"_keyword", "data_y"},   {"_question", "?"},      {"_dot", "."},
                    {"_unknown", ""},         {"_hash", "#1"},         {"_quote", "'q"},
                    {"_semicolon", ";s"},     {"_bracket", "[1]"},     {"_utf8", "\xc3\x85"}};
  EXPECT_EQ(fiofla::ParseAif(fiofla::FormatAif(iso), "items.aif").info.items, iso.info.items);

  for (const Items& bad : {Items{{"_a", "1"}, {"_A", "2"}}, Items{{"_text", "a\n;b"}}}) {
    iso.info.items = bad;
    EXPECT_THROW(fiofla::FormatAif(iso), InputError) << bad[0].first;
  }
  // Another format's items have no tag: they become comments and are not read back.
  iso.info.items = {{"DOI", "\"10.1/x\"\nnext"}, {"_kept", "y"}};
  const std::string withForeign = fiofla::FormatAif(iso);
  EXPECT_EQ(withForeign.rfind("# DOI: \"10.1/x\" next\ndata_", 0), 0u) << withForeign;
  EXPECT_EQ(fiofla::ParseAif(withForeign, "f.aif").info.items, (Items{{"_kept", "y"}}));
  iso.info.temperatureK = 77.35;
  iso.info.items = {{"_units_temperature", "F"}};
  EXPECT_THROW(fiofla::FormatAif(iso), InputError);

  iso.source = "rel.csv";
  iso.pressureMmHg.clear();
  try {
    fiofla::FormatAif(iso);
    ADD_FAILURE() << "no error";
  } catch (const InputError& e) {
    EXPECT_EQ(std::string(e.what()).rfind("rel.csv: ", 0), 0u) << e.what();
    EXPECT_NE(std::string(e.what()).find("relative pressures only"), std::string::npos);
  }
}

TEST(Aif, MassLoadingsUseTheAdsorptivesMolarMass) {
  CGasCompressibilityCache cache;
  cache.SetDirectory(CStr(fiofla::test::ShippedData("gases")));
  const CGasCompressibilityTable* n2 = cache.GetGas(CStr("nitrogen"));
  ASSERT_NE(n2, nullptr);
  fiofla::IsothermReadOptions options;
  options.gasCache = &cache;
  const IsothermData iso = fiofla::ParseAif(
      "data_m\n_exptl_adsorptive nitrogen\n_units_pressure torr\n_units_loading mg/g\n"
      "loop_\n_adsorp_pressure\n_adsorp_p0\n_adsorp_amount\n76 760 56.027\n380 760 140\n",
      "mass.aif", options);
  EXPECT_REL_CLOSE(iso.quantityAdsorbedCm3PerGStp[0],
                   56.027 / n2->GetMolecularWeight() * kCm3StpPerMmol, 1e-14);
  fiofla::IsothermWriteOptions write;
  write.gasCache = &cache;
  const std::string written = fiofla::FormatAif(iso, write);
  EXPECT_NE(written.find("\n76 760 56.027\n380 760 140\n"), std::string::npos) << written;
}

// Every bad_*.aif file names, in its first line, what its error message must contain.
// Files written to later versions of the dictionary name the adsorptive, the material and
// the amounts' unit otherwise, and may give the adsorbent's molar mass and density.
TEST(Aif, LaterDictionaryNamesAndTheAdsorbentsData) {
  const std::string later =
      "data_later\n"
      "_exptl_temperature 298.15\n"
      "_adsnt_material_name 'UiO-66-NH2'\n"
      "_adsnt_sample_mass 0.0567\n"
      "_adsnt_molar_mass 1746.23\n"
      "_adsorptive_name 'Carbon Dioxide (dry)'\n"
      "_adsorptive_info CO2\n"
      "_units_pressure Pa\n"
      "_units_sorbed_amount 'mol/mol'\n"
      "loop_\n_adsorp_index\n_adsorp_pressure\n_adsorp_p0\n_adsorp_loading\n"
      "1 500.0 6427400.0 0.5\n2 1000.0 6427400.0 1.0\n";
  const IsothermData iso = fiofla::ParseAif(later, "later.aif");
  EXPECT_EQ(iso.info.adsorptive, "CO2");  // the name with a gas table
  EXPECT_EQ(iso.info.material, "UiO-66-NH2");
  EXPECT_EQ(iso.info.sampleMassG, 0.0567);
  ASSERT_EQ(iso.size(), 2u);
  EXPECT_REL_CLOSE(iso.quantityAdsorbedCm3PerGStp[1], 1000.0 / 1746.23 * kCm3StpPerMmol, 1e-14);
  // The caller's molar mass wins over the file's.
  fiofla::IsothermReadOptions options;
  options.adsorbentMolarMassGPerMol = 1000.0;
  EXPECT_REL_CLOSE(fiofla::ParseAif(later, "later.aif", options).quantityAdsorbedCm3PerGStp[1],
                   kCm3StpPerMmol, 1e-14);
}

TEST(Aif, BadFilesGiveOneLineErrorsStartingWithThePath) {
  int checked = 0;
  for (const auto& entry : std::filesystem::directory_iterator(fiofla::test::TestData("bad"))) {
    const std::string path = entry.path().string();
    if (entry.path().extension() != ".aif") continue;
    SCOPED_TRACE(path);
    std::ifstream f(path);
    std::string first;
    std::getline(f, first);
    const std::string prefix = "# expect: ";
    ASSERT_EQ(first.rfind(prefix, 0), 0u);
    try {
      fiofla::ReadAifFile(path);
      ADD_FAILURE() << "no error";
    } catch (const InputError& e) {
      const std::string msg = e.what();
      EXPECT_NE(msg.find(first.substr(prefix.size())), std::string::npos) << msg;
      EXPECT_EQ(msg.rfind(path, 0), 0u) << msg;
      EXPECT_EQ(msg.find('\n'), std::string::npos) << msg;
    }
    ++checked;
  }
  EXPECT_GE(checked, 15);
}

}  // namespace
