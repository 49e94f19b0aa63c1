// From a measurement to an isotherm, and back: the reduction of a static volumetric run
// and a virtual analyser that plays a known isotherm backwards into a run.
//
// ReduceMeasurement chains the library's reduction steps the way an analyser does:
// manifold pressure -> sample pressure (thermal transpiration, switched off once its
// ratio reaches the limit) -> quantity adsorbed per gram (gas table or factor form,
// free space from the file) -> relative pressure through the Po source of the file.
// SimulateMeasurement does the reverse from an isotherm model: it chooses the manifold
// pressures that give the scheduled relative pressures, and the cumulative doses that an
// ideal analyser would have had to deliver, using the same gas arithmetic. Reducing a
// simulated run therefore returns the model's isotherm to round-off, which is how the
// reduction is tested.
//
// Choices:
// - Problems with the file's content that stop a reduction (a gas table that cannot be
//   found, an analysis temperature or Po that cannot be obtained) throw InputError
//   naming the file and the key; nothing is reduced by halves.
// - A Po that drops to 0 or below at some point (a reference-gas reading outside its
//   saturation curve) is not an error: conversion stops there, as the library's
//   conversion does, the points before it are kept and poStoppedAt says which point.
// - In a simulation, the point where the transpiration correction is switched off is
//   realised at its measured pressure, a little off the schedule; quantities are computed
//   at the realised pressures, so the run stays exact.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "fiofla/compress.h"
#include "fiofla/io/measurement_file.h"

namespace fiofla {

/// The isotherm a measurement reduces to, point by point in measured order.
struct ReducedIsotherm {
  /// Measurement file the isotherm came from.
  std::string source;
  /// Gas table name of the adsorptive.
  std::string adsorptive;
  /// Sample mass, g.
  double sampleMassG = 0.0;
  /// Ambient and analysis temperatures used, K (the analysis one possibly derived from Po).
  double ambientTemperatureK = 0.0, analysisTemperatureK = 0.0;
  /// Time stamp, s.
  std::vector<double> timeS;
  /// Pressure read on the manifold, mmHg.
  std::vector<double> manifoldPressureMmHg;
  /// Sample (absolute) pressure after the transpiration correction, mmHg.
  std::vector<double> pressureMmHg;
  /// Po at each point, mmHg.
  std::vector<double> poMmHg;
  /// P/Po; only the first convertedPoints are set.
  std::vector<double> relativePressure;
  /// Quantity adsorbed, cm3/g STP.
  std::vector<double> quantityAdsorbedCm3PerGStp;
  /// Branch of each point.
  std::vector<Branch> branch;
  /// Points with a relative pressure (all, unless Po dropped to 0 or below).
  std::size_t convertedPoints = 0;
  /// What a person should hear of: the high-pressure gas table used, points whose pressure
  /// and temperature lie outside the gas table's grid (their Z is extrapolated).
  std::vector<std::string> notes;
  /// Index of the point where Po was not positive and conversion stopped.
  std::optional<std::size_t> poStoppedAt;

  /// The converted points as an isotherm for the BET, report and other commands.
  IsothermData ToIsothermData() const;
};

/// Reduces a measurement with gas tables from `cache`; throws InputError (see above).
ReducedIsotherm ReduceMeasurement(
    const Measurement& measurement,
    CGasCompressibilityCache& cache = CGasCompressibilityCache::ms_cCache);

/// A model isotherm: quantity adsorbed (cm3/g STP) as a function of P/Po.
struct SimulationModel {
  /// Which model.
  enum class Kind {
    kBet,  ///< n-layer BET: Qm C x [1 - (n+1) x^n + n x^(n+1)] / ((1-x)(1 + (C-1) x - C x^(n+1)))
    kLangmuir,  ///< Qm K x / (1 + K x), x = P/Po
  } kind = Kind::kBet;
  /// Monolayer (BET) or saturation (Langmuir) quantity, cm3/g STP.
  double qm = 95.0;
  /// BET constant C.
  double c = 120.0;
  /// Number of BET layers; 0 for the unrestricted (infinite) BET equation.
  double layers = 8.0;
  /// Langmuir constant, per unit P/Po.
  double k = 50.0;
  /// The quantity adsorbed at relative pressure x, cm3/g STP.
  double Evaluate(double x) const;
  /// Short description, e.g. "8-layer BET, C = 120, Qm = 95 cm3/g STP".
  std::string Describe() const;
};

/// What to simulate.
struct SimulationPlan {
  /// Gas table name of the adsorptive.
  std::string adsorptive = "nitrogen";
  /// Sample name written into the run.
  std::string sampleName = "simulated sample";
  /// Sample mass, g.
  double sampleMassG = 0.1;
  /// Ambient (manifold) and analysis (bath) temperatures, K.
  double ambientTemperatureK = 308.15, analysisTemperatureK = 77.35;
  /// Free space, cm3 STP (volume × 273.15 / T), ambient and analysis.
  double freeSpaceAmbientCm3Stp = 20.0, freeSpaceAnalysisCm3Stp = 60.0;
  /// Po, mmHg; 0 takes the gas table's saturation (or sublimation) pressure at the bath.
  double poMmHg = 0.0;
  /// The isotherm to play back.
  SimulationModel model;
  /// Relative pressures dosed to on adsorption, then on desorption, in order.
  std::vector<double> adsorptionTargets, desorptionTargets;
  /// Time between points, s.
  double secondsPerPoint = 300.0;
  /// Gas law of the run.
  Measurement::GasLaw gasLaw;
  /// Thermal transpiration of the run; empty for none.
  std::optional<Measurement::Transpiration> transpiration;
};

/// Plays the model back through an ideal analyser with the gas table `gas`; throws
/// InputError when the plan cannot be measured (non-positive mass or free
/// space, no Po at the bath temperature, targets outside (0, 1)).
Measurement SimulateMeasurement(const SimulationPlan& plan, const CGasCompressibilityBase& gas);

}  // namespace fiofla
