// The settings of the isosteric heat (Clausius-Clapeyron or the thermal virial equation) as
// the tool takes them, shared by `fiofla heat isosteric` and the Python package, which runs
// it on isotherms it already holds.
#pragma once

#include <string>
#include <vector>

#include "app.h"
#include "fiofla/io/isotherm_file.h"

namespace fiofla::cli {

/// What an isosteric heat is computed with.
struct IsostericSettings {
  /// Whether low, high and count were given; otherwise 10 loadings over the shared range.
  bool loadingsGiven = false;
  /// Loadings from low to high inclusive, in the isotherms' loading unit.
  double low = 0.0, high = 0.0;
  int count = 10;
  /// The thermal virial equation instead of Clausius-Clapeyron.
  bool virial = false;
  /// Orders of the virial sums; -1: chosen by AICc.
  int orderA = -1, orderB = -1;
  /// Report file to write; empty for none.
  std::string report;
};

/// Declares --loadings, --method, --orders and --report.
void AddIsostericOptions(CLI::App* cmd, IsostericSettings& s);

/// Computes the heats from `isotherms` (two or more, named `names` in the result) and prints
/// what `fiofla heat isosteric` prints, as text or JSON; returns the exit code. Throws
/// UsageError and InputError as the command does. Loading units take their gas tables from
/// `gasCache` (null: the process-wide cache, which only the tool's thread may use).
int PrintIsosteric(const std::vector<const IsothermData*>& isotherms,
                   const std::vector<std::string>& names, const IsostericSettings& s, bool json,
                   Streams& io, CGasCompressibilityCache* gasCache = nullptr);

}  // namespace fiofla::cli
