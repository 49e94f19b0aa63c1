// Batch analysis: the walk of folders, rows in input order whatever the threads, error rows
// for unreadable files, figures a known model gives back, and the CSV and JSON forms.
#include "fiofla/batch.h"

#include <gtest/gtest.h>
#include <rapidjson/document.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <filesystem>
#include <set>
#include <sstream>
#include <stdexcept>

#include "batch_synthetic.h"
#include "test_util.h"

namespace {

namespace fs = std::filesystem;
using fiofla::SBatchOptions;
using fiofla::SBatchRow;

struct TempDir {
  fs::path path;
  TempDir() {
    path = fs::temp_directory_path() /
           ("fiofla-batch-" + std::to_string(::getpid()) + "-" + std::to_string(counter++));
    fs::create_directories(path);
  }
  ~TempDir() { fs::remove_all(path); }
  std::string operator/(const std::string& name) const { return (path / name).string(); }
  static inline int counter = 0;
};

std::string Write(const TempDir& dir, const std::string& name, const std::string& text) {
  const std::string path = dir / name;
  fs::create_directories(fs::path(path).parent_path());
  EXPECT_TRUE(fiofla::test::WriteText(path, text)) << path;
  return path;
}

// Rows equal value for value, NaN matching NaN.
void ExpectSameRows(const std::vector<SBatchRow>& a, const std::vector<SBatchRow>& b) {
  ASSERT_EQ(a.size(), b.size());
  for (std::size_t i = 0; i < a.size(); ++i) {
    EXPECT_EQ(a[i].file, b[i].file);
    EXPECT_EQ(a[i].status, b[i].status) << a[i].file;
    EXPECT_EQ(a[i].message, b[i].message) << a[i].file;
    EXPECT_EQ(a[i].adsorptive, b[i].adsorptive) << a[i].file;
    ASSERT_EQ(a[i].values.size(), b[i].values.size());
    EXPECT_EQ(
        std::memcmp(a[i].values.data(), b[i].values.data(), a[i].values.size() * sizeof(double)), 0)
        << a[i].file;
  }
}

double Value(const SBatchRow& row, const SBatchOptions& options, const std::string& column) {
  const auto columns = fiofla::BatchColumns(options);
  const auto it = std::find(columns.begin(), columns.end(), column);
  if (it == columns.end()) throw std::logic_error("no column " + column);
  return row.values[static_cast<std::size_t>(it - columns.begin())];
}

TEST(BatchInputs, FoldersAreWalkedRecursivelyAndSortedFilesKeptAsGiven) {
  TempDir dir;
  for (const char* name : {"b.csv", "a.AIF", "sub/z.json", "sub/deeper/c.tsv", "sub/m.cif",
                           "notes.txt", "README.md", ".hidden.csv", ".git/x.csv", "sub/.t.json"})
    Write(dir, name, "x");
  fs::create_directories(dir.path / "empty");
  const std::string single = Write(dir, "elsewhere/one.txt", "x");

  const auto files = fiofla::ExpandBatchInputs({single, dir.path.string()});
  const std::vector<std::string> expected = {single,
                                             dir / "a.AIF",
                                             dir / "b.csv",
                                             dir / "sub/deeper/c.tsv",
                                             dir / "sub/m.cif",
                                             dir / "sub/z.json"};
  EXPECT_EQ(files, expected);
  // The same folder gives the same list every time.
  EXPECT_EQ(fiofla::ExpandBatchInputs({single, dir.path.string()}), files);

  try {
    fiofla::ExpandBatchInputs({dir / "b.csv", dir / "missing"});
    FAIL() << "a missing path was accepted";
  } catch (const fiofla::InputError& e) {
    EXPECT_EQ(std::string(e.what()), dir / "missing" + ": no such file or directory");
  }
}

TEST(BatchColumns, FollowTheAnalysesInTheirOwnOrderAndRefuseUnknownOnes) {
  SBatchOptions options;
  const auto all = fiofla::BatchColumns(options);
  EXPECT_EQ(all.front(), "temperature_k");
  EXPECT_EQ(std::set<std::string>(all.begin(), all.end()).size(), all.size());
  for (const char* c : {"bet_area_m2_per_g", "bet_c", "bet_range_low", "bet_range_high", "bet_r2",
                        "tplot_micropore_volume_cm3_per_g", "tplot_external_area_m2_per_g",
                        "bjh_pore_volume_cm3_per_g", "bjh_peak_diameter_nm"})
    EXPECT_NE(std::find(all.begin(), all.end(), c), all.end()) << c;

  options.analyses = {"bjh", "bet", "tplot"};
  EXPECT_EQ(fiofla::BatchColumns(options), all);
  options.analyses = {"bjh"};
  const auto bjh = fiofla::BatchColumns(options);
  EXPECT_EQ(bjh, (std::vector<std::string>{"temperature_k", "points", "bjh_pore_volume_cm3_per_g",
                                           "bjh_pore_area_m2_per_g", "bjh_peak_diameter_nm"}));

  options.analyses = {"bet", "dft"};
  try {
    fiofla::BatchColumns(options);
    FAIL() << "an unknown analysis was accepted";
  } catch (const fiofla::InputError& e) {
    EXPECT_EQ(std::string(e.what()), "analysis 'dft' is not one of bet, tplot, bjh");
  }
  EXPECT_THROW(fiofla::RunBatch({}, options), fiofla::InputError);
}

// The bundled examples, unreadable files among them, and varied synthetic isotherms.
std::vector<std::string> MixedFiles(const TempDir& dir) {
  std::vector<std::string> files =
      fiofla::ExpandBatchInputs({fiofla::test::ShippedData("examples")});
  files.push_back(fiofla::test::TestData("bad/bad_branch.csv"));
  files.push_back(dir / "does-not-exist.csv");
  for (std::uint32_t i = 0; i < 24; ++i)
    files.push_back(Write(dir, "s" + std::to_string(i) + ".csv",
                          fiofla::test::SyntheticCsv(fiofla::test::VariedSynthetic(i))));
  return files;
}

TEST(Batch, RowsComeInInputOrderAndDoNotDependOnTheThreads) {
  TempDir dir;
  const auto files = MixedFiles(dir);
  SBatchOptions options;
  options.jobs = 1;
  const auto one = fiofla::RunBatch(files, options);
  options.jobs = 4;
  const auto four = fiofla::RunBatch(files, options);
  ASSERT_EQ(one.size(), files.size());
  for (std::size_t i = 0; i < files.size(); ++i) EXPECT_EQ(one[i].file, files[i]);
  ExpectSameRows(one, four);
  // More threads than files, and the default (one per core), change nothing either.
  options.jobs = 64;
  ExpectSameRows(fiofla::RunBatch({files.begin(), files.begin() + 3}, options),
                 {one.begin(), one.begin() + 3});
  options.jobs = 0;
  ExpectSameRows(fiofla::RunBatch(files, options), one);
  EXPECT_TRUE(fiofla::RunBatch({}, options).empty());
}

TEST(Batch, UnreadableFilesBecomeErrorRowsWithTheReadersMessage) {
  TempDir dir;
  const auto files = MixedFiles(dir);
  const std::size_t columns = fiofla::BatchColumns(SBatchOptions()).size();
  const auto rows = fiofla::RunBatch(files, SBatchOptions());
  std::size_t errors = 0, ok = 0;
  for (std::size_t i = 0; i < rows.size(); ++i) {
    ASSERT_EQ(rows[i].values.size(), columns);
    std::string readerMessage;
    try {
      fiofla::ReadIsothermFile(files[i]);
    } catch (const fiofla::InputError& e) {
      readerMessage = e.what();
    }
    if (readerMessage.empty()) {
      EXPECT_NE(rows[i].status, "error") << files[i];
      ok += rows[i].status == "ok";
      EXPECT_EQ(rows[i].message.empty(), rows[i].status == "ok") << files[i];
      continue;
    }
    ++errors;
    EXPECT_EQ(rows[i].status, "error");
    EXPECT_EQ(rows[i].message, readerMessage);
    for (double v : rows[i].values) EXPECT_TRUE(std::isnan(v));
  }
  // The missing file, the bad branch and the examples without a Po.
  EXPECT_GE(errors, 3u);
  EXPECT_GT(ok, 0u);
}

// Nitrogen on a 0.162 nm2 site: m2/g per cm3/g STP of monolayer.
constexpr double kAreaPerQm = 6.02214076e23 * 0.162e-18 / 22414.0;

TEST(Batch, AKnownIsothermGivesBackItsModel) {
  TempDir dir;
  fiofla::test::SyntheticIsotherm m;  // infinite-layer BET, C 100, Qm 100
  m.noise = 0.0;
  m.desorptionPoints = 0;
  m.adsorptionPoints = 60;
  const std::string bet = Write(dir, "bet.csv", fiofla::test::SyntheticCsv(m));
  SBatchOptions options;
  options.analyses = {"bet"};
  const auto rows = fiofla::RunBatch({bet}, options);
  ASSERT_EQ(rows[0].status, "ok") << rows[0].message;
  EXPECT_REL_CLOSE(Value(rows[0], options, "bet_c"), 100.0, 0.02);
  EXPECT_REL_CLOSE(Value(rows[0], options, "bet_monolayer_cm3_per_g_stp"), 100.0, 0.005);
  EXPECT_REL_CLOSE(Value(rows[0], options, "bet_area_m2_per_g"), 100.0 * kAreaPerQm, 0.005);
  EXPECT_GT(Value(rows[0], options, "bet_r2"), 0.9999);
  EXPECT_GE(Value(rows[0], options, "bet_range_points"), 10.0);
  EXPECT_EQ(Value(rows[0], options, "points"), 60.0);
  EXPECT_EQ(Value(rows[0], options, "temperature_k"), 77.35);
  EXPECT_EQ(rows[0].adsorptive, "N2");

  // Pores that fill near P/Po 0.75 and empty near 0.65: BJH finds their volume (as liquid)
  // and a peak of the desorption branch at the Kelvin diameter of 0.65 plus two films.
  m.stepCm3PerGStp = 300.0;
  m.layers = 8;
  m.desorptionPoints = 40;
  const std::string pores = Write(dir, "pores.csv", fiofla::test::SyntheticCsv(m));
  options.analyses = {"bjh", "tplot"};
  const auto p = fiofla::RunBatch({pores}, options)[0];
  ASSERT_NE(p.status, "error") << p.message;
  const double volume = Value(p, options, "bjh_pore_volume_cm3_per_g");
  EXPECT_GT(volume, 300.0 * 0.0015468);
  EXPECT_LT(volume, 1.5 * (300.0 + 8 * 100.0) * 0.0015468);
  const double rk = -9.53 / std::log(0.65);  // Å
  const double t = std::sqrt(13.99 / (0.034 - std::log10(0.65)));
  EXPECT_REL_CLOSE(Value(p, options, "bjh_peak_diameter_nm"), 2.0 * (rk + t) / 10.0, 0.05);
  EXPECT_TRUE(std::isfinite(Value(p, options, "tplot_external_area_m2_per_g")));
}

TEST(Batch, AnAnalysisWithoutResultLeavesNaNAndSaysWhy) {
  TempDir dir;
  const std::string few = Write(dir, "few.csv",
                                "# adsorptive: N2; temperature: 77.35 K\n"
                                "relative_pressure,quantity_adsorbed\n"
                                "0.05,80\n0.10,90\n0.15,97\n0.20,103\n0.25,109\n");
  SBatchOptions options;
  options.analyses = {"bet"};
  const auto row = fiofla::RunBatch({few}, options)[0];
  EXPECT_EQ(row.status, "partial");
  EXPECT_EQ(row.message.rfind("bet: ", 0), 0u) << row.message;
  EXPECT_TRUE(std::isnan(Value(row, options, "bet_area_m2_per_g")));
  EXPECT_EQ(Value(row, options, "points"), 5.0);

  // Reading only: every readable file is ok.
  options.analyses.clear();
  const auto read = fiofla::RunBatch({few}, options)[0];
  EXPECT_EQ(read.status, "ok");
  EXPECT_EQ(read.values, (std::vector<double>{77.35, 5.0}));
}

TEST(Batch, ProgressCountsEveryFileAndItsExceptionStopsTheBatch) {
  TempDir dir;
  const auto files = MixedFiles(dir);
  SBatchOptions options;
  options.jobs = 3;
  std::vector<std::size_t> seen;
  options.progress = [&](std::size_t done, std::size_t total) {
    EXPECT_EQ(total, files.size());
    seen.push_back(done);
  };
  fiofla::RunBatch(files, options);
  ASSERT_EQ(seen.size(), files.size());
  for (std::size_t i = 0; i < seen.size(); ++i) EXPECT_EQ(seen[i], i + 1);

  std::size_t calls = 0;
  options.progress = [&](std::size_t done, std::size_t) {
    ++calls;
    if (done == 2) throw std::runtime_error("stop here");
  };
  try {
    fiofla::RunBatch(files, options);
    FAIL() << "the progress callback's exception was lost";
  } catch (const std::runtime_error& e) {
    EXPECT_STREQ(e.what(), "stop here");
  }
  EXPECT_EQ(calls, 2u);  // never called again once it threw
}

// Splits one CSV line into fields, quotes undone.
std::vector<std::string> CsvFields(const std::string& line) {
  std::vector<std::string> fields(1);
  bool quoted = false;
  for (std::size_t i = 0; i < line.size(); ++i) {
    const char c = line[i];
    if (quoted && c == '"' && i + 1 < line.size() && line[i + 1] == '"') {
      fields.back() += '"';
      ++i;
    } else if (c == '"') {
      quoted = !quoted;
    } else if (c == ',' && !quoted) {
      fields.emplace_back();
    } else {
      fields.back() += c;
    }
  }
  return fields;
}

TEST(BatchWrite, CsvAndJsonGiveBackEveryRowExactly) {
  TempDir dir;
  auto files = MixedFiles(dir);
  files.push_back(Write(dir, "a, \"quoted\" name.csv",
                        fiofla::test::SyntheticCsv(fiofla::test::VariedSynthetic(99))));
  SBatchOptions options;
  const auto rows = fiofla::RunBatch(files, options);
  const auto columns = fiofla::BatchColumns(options);

  std::istringstream csv(fiofla::FormatBatchCsv(rows, options));
  std::string line;
  std::getline(csv, line);
  auto header = CsvFields(line);
  ASSERT_EQ(header.size(), columns.size() + 4);
  EXPECT_EQ(header[0], "file");
  EXPECT_EQ(header[1], "status");
  EXPECT_EQ(header[2], "adsorptive");
  EXPECT_EQ(header.back(), "message");
  EXPECT_EQ(std::vector<std::string>(header.begin() + 3, header.end() - 1), columns);
  for (const SBatchRow& row : rows) {
    ASSERT_TRUE(std::getline(csv, line));
    const auto f = CsvFields(line);
    ASSERT_EQ(f.size(), header.size()) << line;
    EXPECT_EQ(f[0], row.file);
    EXPECT_EQ(f[1], row.status);
    EXPECT_EQ(f.back(), row.message);
    for (std::size_t k = 0; k < columns.size(); ++k) {
      const std::string& cell = f[3 + k];
      if (std::isnan(row.values[k]))
        EXPECT_TRUE(cell.empty()) << cell;
      else
        EXPECT_EQ(std::strtod(cell.c_str(), nullptr), row.values[k]) << columns[k];
    }
  }
  EXPECT_FALSE(std::getline(csv, line));

  rapidjson::Document doc;
  const std::string json = fiofla::FormatBatchJson(rows, options);
  ASSERT_FALSE(doc.Parse<rapidjson::kParseFullPrecisionFlag>(json.c_str()).HasParseError());
  ASSERT_TRUE(doc.IsArray());
  ASSERT_EQ(doc.Size(), rows.size());
  for (rapidjson::SizeType i = 0; i < doc.Size(); ++i) {
    const auto& o = doc[i];
    EXPECT_EQ(o.MemberCount(), header.size());
    auto member = o.MemberBegin();
    for (const std::string& key : header) EXPECT_EQ((member++)->name.GetString(), key);
    EXPECT_EQ(o["file"].GetString(), rows[i].file);
    EXPECT_EQ(o["message"].GetString(), rows[i].message);
    for (std::size_t k = 0; k < columns.size(); ++k) {
      const auto& v = o[columns[k].c_str()];
      if (std::isnan(rows[i].values[k]))
        EXPECT_TRUE(v.IsNull());
      else
        EXPECT_EQ(v.GetDouble(), rows[i].values[k]) << columns[k];
    }
  }
  EXPECT_EQ(fiofla::FormatBatchJson({}, options), "[]\n");

  // Rows of other options do not fit the columns.
  SBatchOptions betOnly;
  betOnly.analyses = {"bet"};
  EXPECT_THROW(fiofla::FormatBatchCsv(rows, betOnly), fiofla::InputError);
  EXPECT_THROW(fiofla::FormatBatchJson(rows, betOnly), fiofla::InputError);
}

}  // namespace
