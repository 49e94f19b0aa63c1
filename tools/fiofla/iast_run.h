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
};

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

/// Writes the report page of `points` to `path` (HTML, JSON or text by its extension),
/// atomically; says so on `io.out` (on `io.err` when the result is printed as JSON). Throws
/// InputError when it cannot be written.
void WriteIastReport(const IastRun& run, const std::vector<SIastPoint>& points,
                     bool compositionSweep, const std::string& path, bool json, Streams& io);

}  // namespace fiofla::cli
