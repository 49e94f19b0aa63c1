// The settings of the Horvath-Kawazoe analysis as the tool takes them, declared once and
// shared by `fiofla hk` and the page of `fiofla report --hk`.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "app.h"
#include "fiofla/gashk.h"

namespace fiofla::cli {

/// What a Horvath-Kawazoe analysis is computed with.
struct HkSettings {
  HKGeometry geometry = HKGeometry::kSlit;
  HKMethod method = HKMethod::kHorvathKawazoe;
  /// Surface: a shipped name (carbon, zeolite, alpo).
  std::string adsorbent = "carbon";
  /// Adsorbate: a shipped name; empty to take the isotherm's adsorptive (nitrogen if none).
  std::string adsorbate;
  /// Own constants replacing the named ones' (d Å, α cm³, χ cm³, n 1/cm²).
  std::optional<HKMolecule> adsorbateConstants, adsorbentConstants;
  double maxRelPress = 0.2;
  /// Largest width searched, Å.
  double maxWidthAngstrom = 100.0;
  /// Liquid cm³ per cm³ STP; unset for the adsorbate's own.
  std::optional<double> densityConversion;
};

/// Declares --geometry, --method, --adsorbent, --adsorbate, --adsorbent-constants,
/// --adsorbate-constants, --max-p-rel, --max-width and --density-conversion.
void AddHkOptions(CLI::App* cmd, HkSettings& s);
/// Reads the value of `fiofla report --hk`: a geometry, a method, an adsorbent and an
/// adsorbate, any of them, in any order, separated by commas ("cylinder,cheng-yang,zeolite");
/// throws UsageError.
void ParseHkSpec(const std::string& text, HkSettings& s);

/// One Horvath-Kawazoe analysis as the tool runs it.
struct HkRun {
  std::unique_ptr<CHKCalc> calc;
  /// Index in the isotherm of each point of the adsorption branch handed to the calculation.
  std::vector<std::size_t> isoIndex;
  /// Geometry, method, adsorbate, surface and temperature in one line.
  std::string description;
  double temperatureK = 0.0;
  double densityConversion = 0.0;
};

/// Runs the analysis on the adsorption branch of `iso`; throws UsageError when the adsorbate
/// cannot be told (an adsorptive without constants and no --adsorbate).
HkRun RunHkOn(const IsothermData& iso, const HkSettings& s);

/// Runs the analysis on `iso` (read from `file`) and prints what `fiofla hk` prints, as text
/// or JSON; returns the command's exit code. Touches no process-wide state, so threads may
/// run it side by side.
int PrintHk(const IsothermData& iso, const std::string& file, const HkSettings& s, bool json,
            Streams& io);

}  // namespace fiofla::cli
