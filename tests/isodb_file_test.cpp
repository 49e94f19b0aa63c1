#include "fiofla/io/isodb_file.h"

#include <filesystem>
#include <fstream>
#include <map>
#include <string>
#include <vector>

#include "fiofla/compress.h"
#include "test_util.h"

namespace {

using fiofla::Branch;
using fiofla::InputError;
using fiofla::IsothermData;
using fiofla::IsothermReadOptions;

constexpr double kMmHgPerBar = 1e5 * 760.0 / 101325.0;  // 750.0616827...
constexpr double kCm3StpPerMmol = 22.414;

// One ISODB document; `points` is the text inside isotherm_data's brackets.
std::string Document(const std::string& adsorbate, const std::string& pressureUnits,
                     const std::string& adsorptionUnits, const std::string& points) {
  return "{\"filename\": \"test\", \"DOI\": \"10.1000/x\",\n"
         " \"adsorbent\": {\"hashkey\": \"h\", \"name\": \"Zeolite 5A\"},\n"
         " \"adsorbates\": [{\"InChIKey\": \"K\", \"name\": \"" +
         adsorbate +
         "\"}],\n"
         " \"temperature\": 77, \"pressureUnits\": \"" +
         pressureUnits + "\", \"adsorptionUnits\": \"" + adsorptionUnits +
         "\",\n"
         " \"concentrationUnits\": null,\n"
         " \"isotherm_data\": [" +
         points + "]}";
}

// Points on lines of their own, loadings in species_data.
std::string Points(const std::vector<double>& pressures, const std::vector<double>& loadings) {
  std::string text;
  for (std::size_t i = 0; i < pressures.size(); ++i)
    text += std::string(i ? "," : "") + "\n  {\"pressure\": " + std::to_string(pressures[i]) +
            ", \"species_data\": [{\"InChIKey\": \"K\", \"adsorption\": " +
            std::to_string(loadings[i]) + "}]}";
  return text;
}

std::string Message(const std::string& text, const IsothermReadOptions& options) {
  try {
    fiofla::ParseIsodbJson(text, "mem.json", options);
  } catch (const InputError& e) {
    return e.what();
  }
  return "no error";
}

IsothermReadOptions WithPo(double poMmHg) {
  IsothermReadOptions options;
  options.poMmHg = poMmHg;
  return options;
}

CGasCompressibilityCache& ShippedGases() {
  static CGasCompressibilityCache cache;
  cache.SetDirectory(CStr(fiofla::test::ShippedData("gases")));
  return cache;
}

TEST(IsodbFile, ReadsBarAndMmolPerGramWithTheDocumentsDetails) {
  // The species' amount wins over total_adsorption; a point without species_data uses
  // the total.
  const std::string points =
      "\n  {\"pressure\": 0.1, \"total_adsorption\": 99, \"species_data\": "
      "[{\"InChIKey\": \"K\", \"composition\": 1.0, \"adsorption\": 2.5}]},"
      "\n  {\"pressure\": 0.5, \"total_adsorption\": 3.25}";
  const IsothermData iso = fiofla::ParseIsodbJson(Document("Nitrogen", "bar", "mmol/g", points),
                                                  "mem.json", WithPo(760.0));
  ASSERT_EQ(iso.size(), 2u);
  EXPECT_REL_CLOSE(iso.relativePressure[0], 0.1 * kMmHgPerBar / 760.0, 1e-14);
  EXPECT_REL_CLOSE(iso.relativePressure[1], 0.5 * kMmHgPerBar / 760.0, 1e-14);
  EXPECT_REL_CLOSE(iso.quantityAdsorbedCm3PerGStp[0], 2.5 * kCm3StpPerMmol, 1e-14);
  EXPECT_REL_CLOSE(iso.quantityAdsorbedCm3PerGStp[1], 3.25 * kCm3StpPerMmol, 1e-14);
  EXPECT_EQ(iso.sourceLine, (std::vector<std::size_t>{7, 8}));
  EXPECT_EQ(iso.PointName(1), "line 8");
  EXPECT_TRUE(iso.notes.empty());

  EXPECT_EQ(iso.info.adsorptive, "Nitrogen");
  EXPECT_EQ(iso.info.material, "Zeolite 5A");
  EXPECT_EQ(iso.info.temperatureK, 77.0);
  // Members not read are kept as JSON text, in file order, strings with their quotes.
  const std::vector<std::pair<std::string, std::string>> items = {
      {"filename", "\"test\""}, {"DOI", "\"10.1000/x\""}, {"concentrationUnits", "null"}};
  EXPECT_EQ(iso.info.items, items);
}

TEST(IsodbFile, PoComesFromTheGasTableWhenNotGiven) {
  const CGasCompressibilityTable* n2 = ShippedGases().GetGas(CStr("nitrogen"));
  ASSERT_NE(n2, nullptr);
  double psat = 0.0;
  ASSERT_TRUE(n2->CalcPsatFromTemp(&psat, 77.0, false));
  EXPECT_GT(psat, 700.0);  // nitrogen boils at 77.35 K under 760 mmHg
  EXPECT_LT(psat, 760.0);

  IsothermReadOptions options;
  options.gasCache = &ShippedGases();
  const IsothermData iso = fiofla::ParseIsodbJson(
      Document("Nitrogen", "bar", "mmol/g", Points({0.2}, {4.0})), "mem.json", options);
  EXPECT_REL_CLOSE(iso.relativePressure[0], 0.2 * kMmHgPerBar / psat, 1e-12);
  ASSERT_EQ(iso.notes.size(), 1u);
  EXPECT_NE(iso.notes[0].find("saturation pressure of nitrogen at 77 K"), std::string::npos)
      << iso.notes[0];
}

TEST(IsodbFile, OneListSplitsIntoBranchesAtItsHighestPressure) {
  const IsothermData iso = fiofla::ParseIsodbJson(
      Document("Argon", "kPa", "cm3(STP)/g", Points({10, 50, 90, 60, 20}, {1, 2, 3, 2.5, 1.5})),
      "mem.json", WithPo(760.0));
  EXPECT_EQ(iso.branch,
            (std::vector<Branch>{Branch::kAdsorption, Branch::kAdsorption, Branch::kAdsorption,
                                 Branch::kDesorption, Branch::kDesorption}));
}

// The volume spellings ISODB uses need no gas table; mass needs the adsorptive's.
TEST(IsodbFile, LoadingUnitsOfTheDatabase) {
  IsothermReadOptions options = WithPo(760.0);
  options.gasCache = &ShippedGases();
  const std::string gas = "Sulfur hexafluoride";
  const std::map<std::string, double> cm3StpPerUnit = {{"mmol/g", kCm3StpPerMmol},
                                                       {"mol/kg", kCm3StpPerMmol},
                                                       {"cm3(STP)/g", 1.0},
                                                       {"ml(STP)/g", 1.0}};
  for (const auto& [unit, factor] : cm3StpPerUnit) {
    SCOPED_TRACE(unit);
    const IsothermData iso =
        fiofla::ParseIsodbJson(Document(gas, "Torr", unit, Points({1}, {2})), "mem.json", options);
    EXPECT_REL_CLOSE(iso.quantityAdsorbedCm3PerGStp[0], 2.0 * factor, 1e-14);
    EXPECT_EQ(iso.pressureMmHg[0], 1.0);
  }

  const double molarMass = ShippedGases().GetGas(CStr("nitrogen"))->GetMolecularWeight();
  const IsothermData n2 = fiofla::ParseIsodbJson(
      Document("Nitrogen", "bar", "mg/g", Points({0.1}, {56.0})), "mem.json", options);
  EXPECT_REL_CLOSE(n2.quantityAdsorbedCm3PerGStp[0], 56.0 / molarMass * kCm3StpPerMmol, 1e-12);
  EXPECT_EQ(Message(Document(gas, "bar", "mg/g", Points({0.1}, {7.5})), options),
            "mem.json: loading unit 'mg/g' needs the adsorptive's molar mass, and fiofla has no "
            "gas table for 'Sulfur hexafluoride' (adsorptionUnits, line 4)");
}

// The expected message of every bad_isodb_*.json file is in expected_messages.txt, since
// JSON has no comments to carry it.
// Numbers are read correctly rounded, including long mantissas with large exponents that
// once sent the JSON parser's own conversion out of its tables; a number beyond a double's
// range is an error, not a crash.
TEST(IsodbFile, NumbersAreExactAndOutOfRangeOnesRefused) {
  const std::string longPressure =
      "2" + std::string(54, '6') + "." + std::string(50, '6') + "7e-52";
  const std::string points = "{\"pressure\": " + longPressure +
                             ", \"total_adsorption\": 0.1000000000000000055511151231257827}";
  const auto iso = fiofla::ParseIsodbJson(Document("Nitrogen", "bar", "mmol/g", points), "n.json",
                                          WithPo(760.0));
  EXPECT_EQ(iso.pressureMmHg[0], std::strtod(longPressure.c_str(), nullptr) * 750.0616827041697);
  EXPECT_EQ(iso.quantityAdsorbedCm3PerGStp[0], 0.1 * kCm3StpPerMmol);

  const std::string tiny =
      "{\"pressure\": 2" + std::string(60, '6') + "e-427, \"total_adsorption\": 1}";
  EXPECT_NE(Message(Document("Nitrogen", "bar", "mmol/g", tiny), WithPo(760.0))
                .find(": not valid JSON: number 2666"),
            std::string::npos);
}

TEST(IsodbFile, BadFilesGiveOneLineErrorsNamingFileAndMember) {
  const std::string folder = fiofla::test::TestData("bad");
  std::map<std::string, std::string> expected;
  std::ifstream manifest(folder + "/expected_messages.txt");
  ASSERT_TRUE(manifest) << "no manifest in " << folder;
  for (std::string line; std::getline(manifest, line);) {
    const auto tab = line.find('\t');
    ASSERT_NE(tab, std::string::npos) << line;
    expected[line.substr(0, tab)] = line.substr(tab + 1);
  }

  int checked = 0;
  for (const auto& entry : std::filesystem::directory_iterator(folder)) {
    if (entry.path().extension() != ".json") continue;
    const std::string file = entry.path().filename().string();
    const std::string path = entry.path().string();
    SCOPED_TRACE(path);
    const auto wanted = expected.find(file);
    if (wanted == expected.end()) {
      ADD_FAILURE() << "no line in expected_messages.txt";
      continue;
    }
    try {
      fiofla::ReadIsodbFile(path, WithPo(760.0));
      ADD_FAILURE() << "no error";
    } catch (const InputError& e) {
      const std::string msg = e.what();
      EXPECT_NE(msg.find(wanted->second), std::string::npos) << msg;
      EXPECT_EQ(msg.find('\n'), std::string::npos) << msg;
      EXPECT_EQ(msg.rfind(path, 0), 0u) << msg;
    }
    expected.erase(wanted);
    ++checked;
  }
  EXPECT_GE(checked, 10);
  for (const auto& stale : expected)
    ADD_FAILURE() << "manifest names a missing file: " << stale.first;
}

}  // namespace
