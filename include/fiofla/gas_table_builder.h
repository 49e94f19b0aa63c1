// Gas tables generated from reference equations of state.
//
// BuildGasTable evaluates a HelmholtzEos on a pressure x temperature grid chosen
// for analysers and fills a CGasCompressibilityTable (pressures in mmHg,
// temperatures in K) that the reductions then interpolate:
// - Z = p / (rho R T) with rho the vapour root of the equation; -1 where there is
//   no gas phase (above the saturation pressure below Tc, above the sublimation
//   pressure below the triple point);
// - Psat per grid temperature from the phase equilibrium of the equation (triple
//   point to just below Tc), Psub below the triple point where a sublimation
//   equation is known, surface tension (mN/m) and saturated-liquid molar volume
//   (cm3/mol) per grid temperature, 0 where there is none;
// - the critical and triple-point constants, molar mass and atoms per molecule.
//
// Method: the pressure grid is fixed per gas; the temperature grid starts from
// the bath temperatures analysers use (always grid nodes, so a bath temperature
// is looked up without interpolation) and a log-spaced coarse grid, and is then
// refined where it matters: the interval whose midpoint is worst predicted by
// linear interpolation in T (largest |Z_interp - Z_eos| over the grid pressures
// with a gas phase at both ends) is split, until every midpoint error is below
// the tolerance or the table holds 150 temperatures. Only pressures up to the
// recipe's refinement limit count (1000 mmHg for the cryogenic gases): above it
// the grid is coarser and the error larger, as the build reports.
// Cost: about (nP x nT) x 3 vapour-density solutions, a second or two per gas.
// Guarantees: grid values are the equation's to its own precision (before
// rounding to kSignificantDigits); the build reports the largest interpolation
// error found at cell centres, so a table's accuracy is measured, not assumed.
//
// Sublimation pressure: carbon dioxide uses the sublimation equation of Span and
// Wagner (1996, eq. 3.12). Krypton, used at 77 K far below its 115.8 K triple
// point, has no published equation in the shipped data; its Psub is an estimate:
// Clausius-Clapeyron from the equation's triple point with a constant sublimation
// enthalpy = the equation's vaporisation enthalpy at the triple point (Clapeyron
// equation) + the enthalpy of fusion 1.64 kJ/mol. Treat it as good to about 10 %
// at 77 K; an entered or measured Po is better for krypton.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "fiofla/compress.h"
#include "fiofla/gas_eos.h"

namespace fiofla {

/// How a gas's sublimation pressure below the triple point is obtained.
enum class SublimationModel {
  kNone,               ///< no Psub; the temperature grid starts at the triple point
  kSpanWagnerCO2,      ///< Span and Wagner (1996) sublimation equation of carbon dioxide
  kClausiusClapeyron,  ///< estimate from the triple point with a constant enthalpy
};

/// What to build for one gas.
struct GasTableRecipe {
  /// Gas name, the file stem of the table ("nitrogen" for nitrogen.fpi).
  std::string name;
  /// Coefficient file of its equation of state, in the EOS folder ("Nitrogen.json").
  std::string eosFile;
  /// Atoms per molecule.
  int atoms = 1;
  /// Pressure grid, mmHg, ascending.
  std::vector<double> pressuresMmHg;
  /// Lowest and highest grid temperature, K.
  double minTemperatureK = 0.0, maxTemperatureK = 0.0;
  /// Temperatures that are always grid nodes (baths, ambient), K.
  std::vector<double> fixedTemperaturesK;
  /// Sublimation pressure source below the triple point.
  SublimationModel sublimation = SublimationModel::kNone;
  /// Enthalpy of fusion for kClausiusClapeyron, J/mol.
  double fusionEnthalpyJPerMol = 0.0;
  /// Refinement target: largest midpoint error of linear interpolation in T.
  double tolerance = 2e-6;
  /// Pressures up to this (mmHg) count in the refinement: the range analysers dose in.
  double refinePressureLimitMmHg = 1000.0;
};

/// The tables fiofla ships, with their grids: the seven gases from their triple point (or
/// below) to 350 K up to 2 atm (carbon dioxide to 30 bar), then the high-pressure tables
/// "<gas>_hp" of nitrogen, argon, carbon dioxide, hydrogen and methane, 0 to 200 bar at
/// 253.15 to 353.15 K.
std::vector<GasTableRecipe> StandardGasRecipes();

/// What a build measured.
struct GasTableBuildReport {
  /// Grid size.
  std::size_t pressures = 0, temperatures = 0;
  /// Largest midpoint error of the temperature refinement (dimensionless Z).
  double worstTemperatureMidpointError = 0.0;
  /// Largest |table - equation| at the centres of cells with a gas phase at all corners.
  double worstCellCentreError = 0.0;
  /// The same over cells up to the refinement pressure limit, and where: mmHg, K.
  double worstRefinedCentreError = 0.0, worstRefinedPressureMmHg = 0.0,
         worstRefinedTemperatureK = 0.0;
  /// Where that largest centre error occurred: mmHg, K.
  double worstCentrePressureMmHg = 0.0, worstCentreTemperatureK = 0.0;
  /// Grid points where the vapour root could not be found though a gas phase was expected.
  std::size_t unsolvedPoints = 0;
};

/// Significant digits the generated Z, Psat and curve values are rounded to.
constexpr int kSignificantDigits = 10;

/// Sublimation pressure of carbon dioxide, Pa, at T (K) below its triple point (Span and
/// Wagner 1996, eq. 3.12); 0 at or above the triple point or for T <= 0.
double CarbonDioxideSublimationPressurePa(double temperatureK);

/// Builds the table of one gas; `progress` (optional) receives one line per stage.
CGasCompressibilityTable BuildGasTable(
    const HelmholtzEos& eos, const GasTableRecipe& recipe, GasTableBuildReport* report,
    const std::function<void(const std::string&)>& progress = {});

}  // namespace fiofla
