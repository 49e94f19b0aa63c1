// Pieces shared by the tool's commands: argument reading, number printing, JSON helpers and
// the BET calculation as the commands run it (fixed or automatic range).
#pragma once

#include <rapidjson/ostreamwrapper.h>
#include <rapidjson/prettywriter.h>

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "fiofla/bet_range.h"
#include "fiofla/calc_bet.h"
#include "fiofla/io/isotherm_file.h"

namespace fiofla::cli {

/// A bad command line; the message says which argument and why.
struct UsageError {
  std::string message;
};

/// Walks a command's arguments; "--name=value" and "--name value" are both accepted.
class ArgReader {
 public:
  explicit ArgReader(const std::vector<std::string>& args) : m_args(args) {}
  /// Moves to the next argument; false at the end.
  bool Next();
  /// The current argument (for "--name=value", the "--name" part).
  const std::string& Arg() const { return m_arg; }
  /// True when the current argument is an option rather than a file name.
  bool IsOption() const { return m_arg.size() > 1 && m_arg[0] == '-'; }
  /// The value of the current option; throws UsageError when there is none.
  std::string Value();
  /// What Value() would return, without taking it; nothing when there is none.
  std::optional<std::string> Peek() const;

 private:
  const std::vector<std::string>& m_args;
  std::size_t m_next = 0;
  std::string m_arg;
  std::string m_inlineValue;
  bool m_hasInline = false;
};

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

/// Reads a BET option shared by the commands; false when `reader` is at none of them.
bool ReadBetOption(ArgReader& reader, BetSettings& settings);
/// Help lines of the shared BET options.
extern const char* const kBetOptionsHelp;

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
/// Reads an input option shared by the commands (--format, --p0); false when `reader` is
/// at neither.
bool ReadInputOption(ArgReader& reader, IsothermReadOptions& options);
/// Help lines of the shared input options.
extern const char* const kInputOptionsHelp;
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

/// Runs `fiofla bet`.
int RunBet(const std::vector<std::string>& args, std::ostream& out, std::ostream& err);
/// Runs `fiofla report`.
int RunReport(const std::vector<std::string>& args, std::ostream& out, std::ostream& err);
/// Runs `fiofla reduce`.
int RunReduce(const std::vector<std::string>& args, std::ostream& out, std::ostream& err);
/// Runs `fiofla simulate`.
int RunSimulate(const std::vector<std::string>& args, std::ostream& out, std::ostream& err);
/// Runs `fiofla tplot`.
int RunTPlot(const std::vector<std::string>& args, std::ostream& out, std::ostream& err);
/// Runs `fiofla bjh`.
int RunBjh(const std::vector<std::string>& args, std::ostream& out, std::ostream& err);
/// Runs `fiofla convert`.
int RunConvert(const std::vector<std::string>& args, std::ostream& out, std::ostream& err);
/// Runs `fiofla gas`.
int RunGas(const std::vector<std::string>& args, std::ostream& out, std::ostream& err);

}  // namespace fiofla::cli
