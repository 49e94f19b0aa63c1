// Pieces shared by the tool's commands: the shared options, number printing, JSON helpers
// and the BET calculation as the commands run it (fixed or automatic range).
#pragma once

#include <rapidjson/ostreamwrapper.h>
#include <rapidjson/prettywriter.h>

#include <CLI/CLI.hpp>
#include <cmath>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "app.h"
#include "fiofla/bet_range.h"
#include "fiofla/calc_bet.h"
#include "fiofla/io/isotherm_file.h"

namespace fiofla::cli {

/// A file's name without folder and extension ("n2" for "data/n2.csv"), as reports and
/// messages name what came from it.
std::string Stem(const std::string& path);
/// The number in `text`, or nothing.
std::optional<double> ToDouble(const std::string& text);
/// `value` to `significant` digits; "n/a" for NaN.
std::string Num(double value, int significant = 6);
/// `value` with `decimals` decimals.
std::string Fixed(double value, int decimals);

/// How the BET range of a command is chosen.
struct BetSettings {
  double rangeLow = 0.05;          ///< fixed range, P/Po
  double rangeHigh = 0.30;         ///< fixed range, P/Po
  bool autoRange = false;          ///< search the range instead
  BetRangeOptions autoOptions;     ///< settings of the search
  double crossSectionNm2 = 0.162;  ///< molecular cross-sectional area, nm^2
};

/// Declares the BET options shared by the commands (--range, --auto and its settings,
/// --cross-section) on `cmd`.
void AddBetOptions(CLI::App* cmd, BetSettings& settings);

/// One BET calculation on one isotherm, as the commands report it.
struct BetRun {
  std::shared_ptr<CCalcBET> calc;
  /// Isotherm indices of the range points, in the order the calculation took them.
  std::vector<std::size_t> rangeRows;
  /// Isotherm indices of points at P/Po <= 0 or >= 1, which BET cannot use.
  std::vector<std::size_t> dropped;
  /// The range that was used, P/Po (the found window when searched).
  double rangeLow = 0.0;
  double rangeHigh = 0.0;
  /// The search, when the range was searched.
  std::optional<BetRangeResult> search;
};

/// The isotherm in `path`, in any format ReadIsothermFile reads; the reader's notes (where Po
/// came from, a run's early stop) go to `err`. Throws InputError.
IsothermData LoadIsotherm(const std::string& path, const IsothermReadOptions& options,
                          std::ostream& err);
/// Declares the options of reading an isotherm (--format, --p0, ...) on `cmd`. A --format
/// value that `otherFormat` takes (returns true for) is not an input format.
void AddInputOptions(CLI::App* cmd, IsothermReadOptions& options,
                     std::function<bool(const std::string&)> otherFormat = {});
/// Declares the isotherm FILE operand of `cmd`.
void AddFileOperand(CLI::App* cmd, std::string& file);
/// Declares --pressure-unit and --loading-unit on `cmd`, each checked as it is given and
/// stored in `pressure` and `loading` (which must outlive the command line).
void AddUnitOptions(CLI::App* cmd, std::string& pressure, std::string& loading,
                    const std::string& pressureHelp, const std::string& loadingHelp);
/// LO:HI as two numbers with 0 <= LO < HI (and HI <= `most`); throws UsageError naming
/// `option`.
std::pair<double, double> ParseRange(const std::string& option, const std::string& text,
                                     double most = HUGE_VAL);
/// A positive finite number; throws UsageError naming `option`.
double ParsePositive(const std::string& option, const std::string& text);
/// A pressure with its unit ("101.325kPa", "760 mmHg") in mmHg; throws UsageError naming
/// `option` when it has no unit, an unknown one or is not positive.
double ParsePressure(const std::string& text, const std::string& option);

/// Runs BET on `iso` with the fixed or searched range of `settings`.
BetRun RunBetOn(const IsothermData& iso, const BetSettings& settings);
/// True when the calculation gave no usable result (status 1 or 17).
bool NoBetResult(const CCalcBET& calc);
/// Why BET cannot use a point of `run.dropped`.
const char* DroppedReason(double relativePressure);
/// Why a run gave no result: the failed range search, or the calculation's status.
std::string NoResultReason(const BetRun& run);

using JsonWriter = rapidjson::PrettyWriter<rapidjson::OStreamWrapper>;
/// Writes a number, or null when it is not finite (JSON has neither NaN nor infinity).
void JsonNumber(JsonWriter& w, double value);
/// Writes "key": number.
void JsonKeyNumber(JsonWriter& w, const char* key, double value);

}  // namespace fiofla::cli
