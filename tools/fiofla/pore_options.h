// The settings of the t-plot and BJH calculations as the tool takes them, declared once and
// shared by `fiofla tplot`, `fiofla bjh` and the pages of `fiofla report`.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "app.h"
#include "fiofla/gasbjh.h"
#include "fiofla/gastplot.h"
#include "result.h"

namespace fiofla::cli {

/// What a t-plot or a BJH distribution is computed with.
struct PoreSettings {
  /// Thickness curve: halsey, harkins-jura, carbon, bdb, kjs or user:FILE; empty for the
  /// default (harkins-jura, or kjs with the kjs BJH method).
  std::string thickness;
  /// Liquid cm^3 per cm^3 STP of the adsorbate (nitrogen at 77 K).
  double densityConversion = 0.0015468;
  /// Fitted thickness range of the t-plot, Å.
  double tLowAngstrom = 3.5, tHighAngstrom = 5.0;
  /// Total surface area for the t-plot, m²/g; unset to take the BET area over 0.05 to 0.30.
  std::optional<double> betAreaM2PerG;
  /// BJH branch; unset for desorption, or adsorption when the isotherm has no desorption.
  std::optional<bool> adsorption;
  /// BJH method: classical, corrected, widening or kjs.
  std::string method = "classical";
  /// Kelvin constant, Å (r = -K / ln(P/Po)).
  double kelvinAngstrom = 9.53;
  /// Corrected methods divide the Kelvin radius by 1 + this.
  double radiusFraction = 0.0;
  /// Pore diameters reported by BJH, Å.
  double dLowAngstrom = 17.0, dHighAngstrom = 3000.0;

  /// The thickness curve's name as used (the default filled in).
  std::string ThicknessName() const;
};

/// Declares --thickness and --density-conversion.
void AddCommonPoreOptions(CLI::App* cmd, PoreSettings& s);
/// Declares --t-range (and --bet-area when `withBetArea`).
void AddTPlotOptions(CLI::App* cmd, PoreSettings& s, bool withBetArea);
/// Declares --branch, --method, --kelvin-constant, --radius-fraction, --diameter-range.
void AddBjhOptions(CLI::App* cmd, PoreSettings& s);

/// The thickness curve `name` names; user curves are read from their file (InputError when
/// the file is bad, UsageError when the name is unknown).
std::unique_ptr<CThicknessFunction> MakeThickness(const std::string& name);

/// A t-plot of the adsorption branch of `iso` with the total area `totalAreaM2PerG`.
std::unique_ptr<CTPlotCalc> RunTPlotOn(const IsothermData& iso, const PoreSettings& s,
                                       double totalAreaM2PerG);
/// The input of a BJH calculation of `iso` (the chosen branch, the settings) and the
/// thickness curve it points to; `adsorption` tells which branch was taken.
struct BjhRun {
  std::unique_ptr<CThicknessFunction> thickness;
  std::unique_ptr<CBJHCalc> calc;
  bool adsorption = false;
  std::size_t points = 0;
  /// Index in `iso` of each point of the branch, so that results name the file's points.
  std::vector<std::size_t> isoIndex;

  /// How BJH notes name points ("line 41") and the diameter range (--diameter-range).
  BjhWording Wording(const IsothermData& iso) const;
};
BjhRun RunBjhOn(const IsothermData& iso, const PoreSettings& s);

/// A t-plot status in words.
const char* TPlotStatusText(int status);
/// A BJH status in words.
const char* BjhStatusText(int status);

/// Adds to a BJH result what the calculation left out (points, steps without pores) as JSON
/// arrays and text sections, BjhNotes as notes and BjhWarnings as warnings.
void AddBjhAccounting(Result& r, const BjhRun& run, const IsothermData& iso);

}  // namespace fiofla::cli
