// Batch analysis: the analyses of one file, the worker threads, and the walk of folders.
#include "fiofla/batch.h"

#ifdef __linux__
#include <sched.h>
#endif

#include <algorithm>
#include <atomic>
#include <cctype>
#include <cmath>
#include <exception>
#include <filesystem>
#include <limits>
#include <mutex>
#include <system_error>
#include <thread>

#include "fiofla/bet_range.h"
#include "fiofla/calc_bet.h"
#include "fiofla/compress.h"
#include "fiofla/gasbjh.h"
#include "fiofla/gastplot.h"

namespace fiofla {
namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

// The single commands' defaults (nitrogen at 77 K), so that a row repeats what they print.
constexpr double kCrossSectionNm2 = 0.162;
constexpr double kFixedBetLow = 0.05, kFixedBetHigh = 0.30;
constexpr double kTLowAngstrom = 3.5, kTHighAngstrom = 5.0;
constexpr double kDensityConversion = 0.0015468;
constexpr double kKelvinAngstrom = 9.53;
constexpr double kDLowAngstrom = 17.0, kDHighAngstrom = 3000.0;

// Thresholds of the BET report's validation rows and of the t-plot's warnings; a row
// beyond one is "doubtful".
constexpr double kLowestCorrelation = 0.9975;
constexpr double kHighestC = 300.0;
constexpr double kLowestTPlotCorrelation = 0.995;

const char* const kBetColumns[] = {"bet_area_m2_per_g",
                                   "bet_area_error_m2_per_g",
                                   "bet_c",
                                   "bet_monolayer_cm3_per_g_stp",
                                   "bet_range_low",
                                   "bet_range_high",
                                   "bet_range_points",
                                   "bet_r2"};
const char* const kTPlotColumns[] = {"tplot_micropore_volume_cm3_per_g",
                                     "tplot_external_area_m2_per_g",
                                     "tplot_micropore_area_m2_per_g", "tplot_r2"};
const char* const kBjhColumns[] = {"bjh_pore_volume_cm3_per_g", "bjh_pore_area_m2_per_g",
                                   "bjh_peak_diameter_nm"};

// Which analyses run, checked once for the whole batch.
struct Plan {
  bool bet = false, tplot = false, bjh = false;
};

Plan MakePlan(const SBatchOptions& options) {
  Plan plan;
  for (const std::string& name : options.analyses) {
    if (name == "bet")
      plan.bet = true;
    else if (name == "tplot")
      plan.tplot = true;
    else if (name == "bjh")
      plan.bjh = true;
    else
      throw InputError("analysis '" + name + "' is not one of bet, tplot, bjh");
  }
  return plan;
}

std::string Number(double x) {
  char buf[32];
  std::snprintf(buf, sizeof buf, "%.4g", x);
  return buf;
}

// What one file gave: its values in column order and what a person should hear of.
struct Outcome {
  std::vector<double> values;
  std::vector<std::string> missing;   // analyses without a result, with why
  std::vector<std::string> doubtful;  // results that warn
};

void BranchPoints(const IsothermData& iso, Branch want, std::vector<double>& p,
                  std::vector<double>& q, std::vector<std::size_t>* index = nullptr) {
  for (std::size_t i = 0; i < iso.size(); ++i)
    if (iso.branch[i] == want) {
      p.push_back(iso.relativePressure[i]);
      q.push_back(iso.quantityAdsorbedCm3PerGStp[i]);
      if (index != nullptr) index->push_back(i);
    }
}

bool NoBetResult(const CCalcBET& calc) {
  return calc.status == CCalcBET::STATUS_TOO_FEW_POINTS ||
         calc.status == CCalcBET::STATUS_ZERO_INTERCEPT;
}

// The automatic BET range on the adsorption branch, then the fit of the whole isotherm
// with that range marked (as `fiofla bet --auto`).
void RunBet(const IsothermData& iso, Outcome& out) {
  std::vector<std::size_t> index;
  std::vector<double> x, q;
  BranchPoints(iso, Branch::kAdsorption, x, q, &index);
  const BetRangeResult search = FindBetRange(x.data(), q.data(), x.size());
  CCalcBET::SInput input = MakeBETInput(iso.relativePressure, iso.quantityAdsorbedCm3PerGStp,
                                        iso.branch, 1.0, 0.0, kCrossSectionNm2);
  ApplyBetRange(search, index.data(), index.size(), input.pointFlags);
  const CCalcBET bet(input);
  if (!search.found || NoBetResult(bet)) {
    out.missing.push_back(
        "bet: " + (search.found ? std::string(BETStatusText(bet.status)) : search.Explain()));
    out.values.insert(out.values.end(), std::size(kBetColumns), kNaN);
    return;
  }
  std::size_t inRange = 0;
  for (std::size_t i = 0; i < iso.size(); ++i) {
    const short f = bet.pointFlags[i];
    const double p = iso.relativePressure[i];
    if ((f & CCalcBET::POINT_IN_RANGE) && (f & CCalcBET::POINT_INCLUDED) && p > 0.0 && p < 1.0)
      ++inRange;
  }
  out.values.insert(out.values.end(),
                    {bet.surfaceArea, bet.surfaceAreaError, bet.cValue, bet.monolayerCapacity,
                     search.relativePressureLow, search.relativePressureHigh,
                     static_cast<double>(inRange), bet.correlation * bet.correlation});
  // The BET report's validation rows, in words of our own.
  if (bet.cValue < 0.0) out.doubtful.push_back("bet: C is negative (" + Number(bet.cValue) + ")");
  if (bet.cValue > kHighestC)
    out.doubtful.push_back("bet: C is above 300 (" + Number(bet.cValue) + ")");
  if (bet.correlation < kLowestCorrelation)
    out.doubtful.push_back("bet: correlation " + Number(bet.correlation) + " is below 0.9975");
  if (bet.surfaceArea < 0.0) out.doubtful.push_back("bet: the area is negative");
  // The report's warning about a range outside 0.05 to 0.30 is for a range chosen by hand;
  // the search's criteria have judged this one.
}

// The t-plot of the adsorption branch with the BET area over the fixed range (as
// `fiofla tplot`).
void RunTPlot(const IsothermData& iso, Outcome& out) {
  const CCalcBET bet(MakeBETInput(iso.relativePressure, iso.quantityAdsorbedCm3PerGStp, iso.branch,
                                  kFixedBetLow, kFixedBetHigh, kCrossSectionNm2));
  CThicknessFunction thickness(CThicknessFunction::eHarkinsJura);
  CTPlotCalc::SInput in;
  BranchPoints(iso, Branch::kAdsorption, in.m_RelPress, in.m_QtyAdsorbed);
  in.m_pThickness = &thickness;
  in.m_ThicknessMin = kTLowAngstrom;
  in.m_ThicknessMax = kTHighAngstrom;
  in.m_DensityConversion = kDensityConversion;
  in.m_TotalSurfaceArea = NoBetResult(bet) ? 0.0 : bet.surfaceArea;
  const CTPlotCalc t(in);
  if (t.m_Status != 0 && t.m_Status != 1) {
    out.missing.push_back(t.m_Status == 4   ? "tplot: fewer than 2 points between t = 3.5 and 5 Å"
                          : t.m_Status == 3 ? "tplot: fewer than 2 adsorption points"
                                            : "tplot: no result");
    out.values.insert(out.values.end(), std::size(kTPlotColumns), kNaN);
    return;
  }
  // Status 1: no positive BET area, so no micropore area, as `fiofla tplot` reports it.
  if (t.m_Status == 1)
    out.doubtful.push_back("tplot: no BET area over P/Po 0.05 to 0.30, so no micropore area");
  // What `fiofla tplot` warns about.
  if (t.m_ExternalArea < 0.0) out.doubtful.push_back("tplot: the external area is negative");
  if (t.m_MicroporeVolume < 0.0) out.doubtful.push_back("tplot: the micropore volume is negative");
  if (t.m_Status == 0 && t.m_MicroporeArea < 0.0)
    out.doubtful.push_back("tplot: the external area exceeds the BET area");
  if (t.m_Correlation < kLowestTPlotCorrelation)
    out.doubtful.push_back("tplot: correlation " + Number(t.m_Correlation) + " is below 0.995");
  out.values.insert(out.values.end(), {t.m_MicroporeVolume, t.m_ExternalArea,
                                       t.m_Status == 0 ? t.m_MicroporeArea : kNaN,
                                       t.m_Correlation * t.m_Correlation});
}

// BJH of the desorption branch, or of the adsorption branch when there is no desorption
// (as `fiofla bjh`).
void RunBjh(const IsothermData& iso, Outcome& out) {
  CThicknessFunction thickness(CThicknessFunction::eHarkinsJura);
  CBJHCalc::SInput in;
  BranchPoints(iso, Branch::kDesorption, in.m_RelPress, in.m_QtyAdsorbed);
  in.m_UseAdsorption = in.m_RelPress.size() < 2;
  if (in.m_UseAdsorption) {
    in.m_RelPress.clear();
    in.m_QtyAdsorbed.clear();
    BranchPoints(iso, Branch::kAdsorption, in.m_RelPress, in.m_QtyAdsorbed);
  }
  in.m_pThickness = &thickness;
  in.m_DensityConversion = kDensityConversion;
  in.m_KelvinConstant = kKelvinAngstrom;
  in.m_MinDiameter = kDLowAngstrom;
  in.m_MaxDiameter = kDHighAngstrom;
  const CBJHCalc bjh(in);
  if (bjh.GetStatus() != CBJHCalc::STATUS_OK) {
    const int s = bjh.GetStatus();
    out.missing.push_back(std::string("bjh: ") +
                          (s == CBJHCalc::STATUS_TOO_FEW_POINTS     ? "fewer than 2 points"
                           : s == CBJHCalc::STATUS_TOO_FEW_PREPARED ? "fewer than 2 falling points"
                           : s == CBJHCalc::STATUS_NONE_IN_RANGE
                               ? "no pore interval between 17 and 3000 Å"
                               : "no pore interval"));
    out.values.insert(out.values.end(), std::size(kBjhColumns), kNaN);
    return;
  }
  CNumVector<double> avg, logVol;
  bjh.GetAverageDiameters(avg);
  bjh.GetLogDifferentialVolume(logVol, false);
  double peak = kNaN, highest = -HUGE_VAL;
  for (std::size_t k = 0; k < std::min(avg.size(), logVol.size()); ++k)
    if (logVol[k] > highest) {
      highest = logVol[k];
      peak = avg[k] / 10.0;  // Å to nm
    }
  out.values.insert(out.values.end(), {bjh.GetTotalPoreVolume(), bjh.GetTotalPoreArea(), peak});
}

std::string Join(const std::vector<std::string>& parts) {
  std::string s;
  for (const std::string& p : parts) s += (s.empty() ? "" : "; ") + p;
  return s;
}

SBatchRow ErrorRow(const std::string& file, std::string message, std::size_t columns) {
  SBatchRow row;
  row.file = file;
  row.status = "error";
  row.message = std::move(message);
  row.values.assign(columns, kNaN);
  return row;
}

SBatchRow AnalyseFile(const std::string& file, const Plan& plan, const IsothermReadOptions& read,
                      std::size_t columns) {
  try {
    const IsothermData iso = ReadIsothermFile(file, read);
    SBatchRow row;
    row.file = file;
    row.adsorptive = iso.info.adsorptive;
    Outcome out;
    out.values.reserve(columns);
    out.values.push_back(iso.info.temperatureK);
    out.values.push_back(static_cast<double>(iso.size()));
    if (plan.bet) RunBet(iso, out);
    if (plan.tplot) RunTPlot(iso, out);
    if (plan.bjh) RunBjh(iso, out);
    row.values = std::move(out.values);
    if (!out.missing.empty())
      row.status = "partial";
    else if (!out.doubtful.empty())
      row.status = "doubtful";
    else
      row.status = "ok";
    out.missing.insert(out.missing.end(), out.doubtful.begin(), out.doubtful.end());
    row.message = Join(out.missing);
    return row;
  } catch (const std::exception& e) {
    // The reader's InputError names the file and the problem; anything else (memory) is
    // this file's failure too, never the batch's.
    return ErrorRow(file, e.what(), columns);
  } catch (...) {
    return ErrorRow(file, file + ": unknown error", columns);
  }
}

bool IsIsothermExtension(const std::filesystem::path& path) {
  std::string ext = path.extension().string();
  for (char& c : ext) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  return ext == ".csv" || ext == ".tsv" || ext == ".aif" || ext == ".cif" || ext == ".json";
}

bool IsHidden(const std::filesystem::path& path) {
  const std::string name = path.filename().string();
  return !name.empty() && name[0] == '.';
}

// The isotherm files under `dir`, sorted; hidden entries (and what hidden folders hold)
// left out.
std::vector<std::string> WalkDirectory(const std::string& dir) {
  namespace fs = std::filesystem;
  std::vector<std::string> found;
  std::error_code ec;
  fs::recursive_directory_iterator it(dir, fs::directory_options::none, ec), end;
  for (; !ec && it != end; it.increment(ec)) {
    const fs::path& path = it->path();
    if (IsHidden(path)) {
      if (it->is_directory(ec)) it.disable_recursion_pending();
      continue;
    }
    std::error_code typeError;
    if (it->is_regular_file(typeError) && IsIsothermExtension(path)) found.push_back(path.string());
  }
  if (ec) throw InputError(dir + ": cannot read the directory: " + ec.message());
  std::sort(found.begin(), found.end());
  return found;
}

// The cores this process may run on: under taskset or a container's cpuset that is fewer
// than the machine has.
std::size_t UsableCores() {
#ifdef __linux__
  cpu_set_t set;
  if (sched_getaffinity(0, sizeof set, &set) == 0 && CPU_COUNT(&set) > 0)
    return static_cast<std::size_t>(CPU_COUNT(&set));
#endif
  return std::max(1u, std::thread::hardware_concurrency());
}

}  // namespace

const std::vector<std::string>& BatchAnalysisNames() {
  static const std::vector<std::string> kNames = {"bet", "tplot", "bjh"};
  return kNames;
}

std::vector<std::string> BatchColumns(const SBatchOptions& options) {
  const Plan plan = MakePlan(options);
  std::vector<std::string> columns = {"temperature_k", "points"};
  if (plan.bet) columns.insert(columns.end(), std::begin(kBetColumns), std::end(kBetColumns));
  if (plan.tplot) columns.insert(columns.end(), std::begin(kTPlotColumns), std::end(kTPlotColumns));
  if (plan.bjh) columns.insert(columns.end(), std::begin(kBjhColumns), std::end(kBjhColumns));
  return columns;
}

std::vector<std::string> ExpandBatchInputs(const std::vector<std::string>& filesOrDirs) {
  namespace fs = std::filesystem;
  std::vector<std::string> files;
  for (const std::string& item : filesOrDirs) {
    std::error_code ec;
    const fs::file_status status = fs::status(item, ec);
    if (ec || !fs::exists(status)) throw InputError(item + ": no such file or directory");
    if (fs::is_directory(status)) {
      std::vector<std::string> found = WalkDirectory(item);
      files.insert(files.end(), std::make_move_iterator(found.begin()),
                   std::make_move_iterator(found.end()));
    } else {
      files.push_back(item);
    }
  }
  return files;
}

std::vector<SBatchRow> RunBatch(const std::vector<std::string>& files,
                                const SBatchOptions& options) {
  const Plan plan = MakePlan(options);
  const std::size_t columns = BatchColumns(options).size();
  std::vector<SBatchRow> rows(files.size());
  if (files.empty()) return rows;

  std::size_t jobs = options.jobs > 0 ? static_cast<std::size_t>(options.jobs) : UsableCores();
  jobs = std::min(jobs, files.size());

  std::atomic<std::size_t> next{0};
  std::atomic<bool> stop{false};
  std::mutex progressLock;
  std::size_t done = 0;
  std::exception_ptr failure;

  auto work = [&] {
    // Each worker has its own gas tables: a cache is for one thread at a time.
    IsothermReadOptions read = options.read;
    read.gasCache = &CGasCompressibilityCache::ForThisThread();
    while (!stop.load(std::memory_order_relaxed)) {
      const std::size_t i = next.fetch_add(1, std::memory_order_relaxed);
      if (i >= files.size()) break;
      rows[i] = AnalyseFile(files[i], plan, read, columns);
      std::lock_guard<std::mutex> lock(progressLock);
      ++done;
      if (!options.progress || failure) continue;
      try {
        options.progress(done, files.size());
      } catch (...) {
        failure = std::current_exception();
        stop = true;
      }
    }
  };
  std::vector<std::thread> threads;
  if (jobs > 1) {
    threads.reserve(jobs);
    try {
      for (std::size_t j = 0; j < jobs; ++j) threads.emplace_back(work);
    } catch (const std::system_error&) {
      // Fewer threads than asked (a process limit): those that started do the work.
    }
  }
  if (threads.empty()) work();
  for (std::thread& t : threads) t.join();
  if (failure) std::rethrow_exception(failure);
  return rows;
}

}  // namespace fiofla
