#include "fiofla/io/isotherm_file.h"

#include <filesystem>
#include <fstream>
#include <sstream>

#include "test_util.h"

namespace {

using fiofla::Branch;
using fiofla::InputError;

fiofla::IsothermData Parse(const std::string& text) {
  std::istringstream in(text);
  return fiofla::ParseIsothermCsv(in, "mem.csv");
}

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
  EXPECT_GE(checked, 10);
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

}  // namespace
