#include <rapidjson/document.h>

#include <sstream>

#include "cli.h"
#include "fiofla/calc_bet.h"
#include "fiofla/io/isotherm_file.h"
#include "test_util.h"

namespace {

struct ToolRun {
  int code;
  std::string out;
  std::string err;
};

ToolRun RunTool(const std::vector<std::string>& args) {
  std::ostringstream out, err;
  const int code = fiofla::cli::Run(args, out, err);
  return {code, out.str(), err.str()};
}

const std::string kExample = fiofla::test::ShippedData("examples/n2_77k_silica.csv");

TEST(ToolBet, TextAndJsonAgreeWithTheLibrary) {
  const auto iso = fiofla::ReadIsothermCsv(kExample);
  const CCalcBET bet(fiofla::MakeBETInput(iso.relativePressure, iso.quantityAdsorbedCm3PerGStp,
                                          iso.branch, 0.05, 0.30, 0.162));

  const auto text = RunTool({"bet", kExample});
  EXPECT_EQ(text.code, 0) << text.err;
  EXPECT_NE(text.out.find("Surface area"), std::string::npos);
  EXPECT_NE(text.out.find("Status              4 (ok)"), std::string::npos);

  const auto json = RunTool({"bet", kExample, "--json"});
  ASSERT_EQ(json.code, 0) << json.err;
  rapidjson::Document doc;
  doc.Parse(json.out.c_str());
  ASSERT_FALSE(doc.HasParseError());
  EXPECT_EQ(doc["status"].GetInt(), 4);
  EXPECT_DOUBLE_EQ(doc["surface_area_m2_per_g"].GetDouble(), bet.surfaceArea);
  EXPECT_DOUBLE_EQ(doc["c_value"].GetDouble(), bet.cValue);
  EXPECT_EQ(doc["points_used"].Size(), bet.fitQuantity.size());
  // Desorption points inside the range are not used.
  EXPECT_EQ(bet.fitQuantity.size(), 11u);
}

TEST(ToolBet, OptionsChangeTheCalculation) {
  const auto narrow =
      RunTool({"bet", kExample, "--json", "--range=0.1:0.2", "--cross-section", "0.142"});
  ASSERT_EQ(narrow.code, 0) << narrow.err;
  rapidjson::Document doc;
  doc.Parse(narrow.out.c_str());
  EXPECT_EQ(doc["points_used"].Size(), 5u);
  EXPECT_DOUBLE_EQ(doc["cross_section_nm2"].GetDouble(), 0.142);

  // One point in range: the calculation runs, reports, and the exit code says no result.
  const auto one = RunTool({"bet", kExample, "--range", "0.045:0.055"});
  EXPECT_EQ(one.code, fiofla::cli::kExitNoResult);
  EXPECT_NE(one.err.find("fewer than two points"), std::string::npos);
}

TEST(ToolBet, BadArgumentsAndFilesGiveOneLineErrors) {
  const struct {
    std::vector<std::string> args;
    int code;
    std::string message;
  } cases[] = {
      {{"bet"}, fiofla::cli::kExitUsageError, "no isotherm FILE given"},
      {{"bet", kExample, "--range", "0.3:0.1"}, fiofla::cli::kExitUsageError, "0 <= LO < HI <= 1"},
      {{"bet", kExample, "--range", "abc"}, fiofla::cli::kExitUsageError, "is not LO:HI"},
      {{"bet", kExample, "--range"}, fiofla::cli::kExitUsageError, "--range needs a value"},
      {{"bet", kExample, "--cross-section", "-1"}, fiofla::cli::kExitUsageError, "positive area"},
      {{"bet", kExample, "--frobnicate"},
       fiofla::cli::kExitUsageError,
       "unknown option '--frobnicate'"},
      {{"bet", kExample, kExample}, fiofla::cli::kExitUsageError, "more than one FILE"},
      {{"bogus"}, fiofla::cli::kExitUsageError, "unknown command 'bogus'"},
      {{"bet", "/no/such.csv"}, fiofla::cli::kExitInputError, "/no/such.csv: cannot open"},
      {{"bet", fiofla::test::TestData("bad/non_numeric.csv")},
       fiofla::cli::kExitInputError,
       "non_numeric.csv:5: quantity adsorbed '1O.5' is not a number"},
  };
  for (const auto& c : cases) {
    const auto r = RunTool(c.args);
    SCOPED_TRACE(r.err);
    EXPECT_EQ(r.code, c.code);
    EXPECT_NE(r.err.find(c.message), std::string::npos);
    EXPECT_TRUE(r.out.empty());
  }
  EXPECT_EQ(RunTool({"bet", "--help"}).code, 0);
  EXPECT_EQ(RunTool({"--version"}).out.rfind("fiofla ", 0), 0u);
}

}  // namespace
