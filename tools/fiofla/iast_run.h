// IAST as the tool runs it: the components read from FILE[:MODEL] operands, put in one
// pressure and one loading unit, each described by its points or a fitted model; and the
// report page of the solved points.
//
// Units: pressures in the asked unit, else the first file's; loadings in the asked unit, else
// mmol/g. IAST compares amounts of substance, so loadings must be moles or gas volumes STP
// per mass; a mass loading is converted through the adsorptive's molar mass.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "app.h"
#include "fiofla/gasiast.h"
#include "fit_options.h"

namespace fiofla::cli {

/// The units asked for.
struct IastRunSettings {
  std::string pressureUnit;  ///< empty: the first file's
  std::string loadingUnit;   ///< empty: mmol/g
  /// Gas tables for unit conversions; null for the process-wide cache (the tool's thread).
  CGasCompressibilityCache* gasCache = nullptr;
};

/// One component as given: a file, or an isotherm already read, and what describes it.
struct IastSource {
  std::string file;                   ///< the file, or the name the isotherm goes by
  std::string model;                  ///< empty or "points": its points; "best"; a model name
  const IsothermData* iso = nullptr;  ///< null: read `file`
};

/// A FILE[:MODEL] operand; a file whose own name holds a colon is taken whole when it
/// exists. Throws UsageError for an unknown model.
IastSource SplitIastOperand(const std::string& text);

/// One component as it was read and described.
struct IastComponentRun {
  std::string file;
  FitInput points;                  ///< the adsorption branch in the run's units
  std::optional<SIsothermFit> fit;  ///< the model describing it; empty: the points do
  double minPressure = 0.0;         ///< range it is known on [pressure unit]
  double maxPressure = 0.0;
};

/// The prepared mixture.
struct IastRun {
  std::vector<IastComponentRun> components;
  std::shared_ptr<const CIASTCalculation> calc;
  std::string pressureUnit;
  std::string loadingUnit;
};

/// Reads every FILE[:MODEL] of `specs`, fits the models asked for and prepares the mixture.
/// Throws UsageError for a bad operand or unit, InputError naming the file for one that
/// cannot be read, has relative pressures only or no usable fit of its model.
IastRun PrepareIast(const std::vector<std::string>& specs, const IsothermReadOptions& input,
                    const IastRunSettings& settings, std::ostream& err);
/// The same for components given as sources; those without an isotherm are read.
IastRun PrepareIast(const std::vector<IastSource>& sources, const IsothermReadOptions& input,
                    const IastRunSettings& settings, std::ostream& err);

/// What `fiofla iast` solves for, besides its components.
struct IastSettings {
  std::vector<double> fractions;
  std::string pressure;   ///< one total pressure, with or without a unit
  std::string pressures;  ///< LO:HI:N
  int compositions = 0;   ///< binary composition sweep
  bool reverse = false;
  std::string pressureUnit, loadingUnit;
  std::string report;
};

/// Declares --fractions, --pressure, --pressures, --compositions, --reverse,
/// --pressure-unit, --loading-unit and --report.
void AddIastOptions(CLI::App* cmd, IastSettings& s);

/// Prepares the mixture of `sources`, solves it and prints what `fiofla iast` prints, as
/// text or JSON; returns the exit code. Throws UsageError and InputError as the command does.
/// Units take their gas tables from `gasCache` (null: the process-wide one).
int PrintIast(const std::vector<IastSource>& sources, const IsothermReadOptions& input,
              const IastSettings& s, bool json, Streams& io,
              CGasCompressibilityCache* gasCache = nullptr);

/// Writes the report page of `points` to `path` (HTML, JSON or text by its extension),
/// atomically; says so on `io.out` (on `io.err` when the result is printed as JSON). Throws
/// InputError when it cannot be written.
void WriteIastReport(const IastRun& run, const std::vector<SIastPoint>& points,
                     bool compositionSweep, const std::string& path, bool json, Streams& io);

}  // namespace fiofla::cli
