// The settings of the chemisorption analysis as the tool takes them, shared by `fiofla chemi`
// and the Python package, which runs it on isotherms it already holds.
#pragma once

#include <cmath>
#include <string>
#include <vector>

#include "app.h"
#include "fiofla/io/isotherm_file.h"

namespace fiofla::cli {

/// What a chemisorption analysis is computed with.
struct ChemiSettings {
  /// Active metal symbol; empty for uptakes only.
  std::string metal;
  /// Metal content, wt%; NaN without a metal.
  double loadingPercent = NAN;
  /// Probe gas; empty for the combined isotherm's adsorptive.
  std::string gas;
  /// Metal atoms per gas molecule; NaN for the gas's usual one.
  double stoichiometry = NAN;
  /// Pressure range of the straight-line extrapolation, mmHg.
  double rangeLow = 100.0, rangeHigh = 400.0;
  /// "combined" or "strong"; empty: strong with a weak isotherm.
  std::string uptake;
  double shapeFactor = 6.0;
  /// The metal's own values in place of the table's (g/mol, g/cm3, nm2); NaN for the table's.
  double molarMass = NAN, density = NAN, atomArea = NAN;
  /// Report file to write; empty for none.
  std::string report;
};

/// Declares --range, --metal, --loading, --gas, --stoichiometry, --uptake, --shape-factor,
/// --molar-mass, --density, --atom-area and --report.
void AddChemiOptions(CLI::App* cmd, ChemiSettings& s);

/// Runs the analysis on the combined isotherm and the optional weak one (`isotherms`, one
/// or two, named `files` in the result) and prints what `fiofla chemi` prints, as text or
/// JSON; returns the exit code. Throws UsageError and InputError as the command does. Uses
/// no process-wide state, so threads may run it side by side.
int PrintChemi(const std::vector<const IsothermData*>& isotherms,
               const std::vector<std::string>& files, const ChemiSettings& s, bool json,
               Streams& io);

}  // namespace fiofla::cli
