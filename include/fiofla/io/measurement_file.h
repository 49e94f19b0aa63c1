// Measurement files: what a static volumetric analyser records during one run, as JSON.
//
// A measurement is the raw material of an isotherm: per point the time stamp, the
// pressure read on the manifold transducer and the cumulative quantity of gas dosed;
// around them what is needed to turn those into quantities adsorbed and relative
// pressures: the adsorptive (a gas table), the sample mass, the free space, how Po
// was obtained, the temperatures and the thermal-transpiration settings.
//
// Layout (every key below is read; unknown keys are ignored; units are in the names):
//   {
//     "format": "fiofla measurement", "version": 1,
//     "sample": {"name": "...", "mass_g": 0.1532, "density_g_per_cm3": 2.2},
//     "adsorptive": "nitrogen",
//     "ambient_temperature_k": 308.15,
//     "analysis_temperature_k": 77.35,
//     "free_space": {"kind": "measured", "ambient_cm3_stp": 21.3,
//                    "analysis_cm3_stp": 64.8, "offset_cm3_stp": 0.0},
//     "po": {"source": "entered", "po_mmhg": 760.4},
//     "gas_law": {"form": "table", "adsorbed_molar_volume_cm3_per_mol": 0.0},
//     "thermal_transpiration": {"gas_factor": 1.0, "tube_inside_diameter_cm": 0.3,
//                               "ratio_limit": 0.9999},
//     "points": [{"time_s": 0, "manifold_pressure_mmhg": 5.2,
//                 "quantity_dosed_cm3_stp": 8.41, "branch": "adsorption"}, ...]
//   }
// - Values must be physically possible, or the file is refused naming the field: masses
//   1e-6 to 1e4 g, densities 0.01 to 30 g/cm3, temperatures 1 to 3000 K, pressures up to
//   10 kbar (7.5e6 mmHg; Po above 1e-9 mmHg), free spaces 1e-6 to 1e6 cm3 STP (offsets
//   within ±1e6), quantities dosed 0 to 1e6 cm3 STP, a tube 1e-4 to 100 cm wide. A member
//   given twice is refused too.
// - "sample.density_g_per_cm3" is needed only for a calculated free space.
// - "analysis_temperature_k" may be left out when Po gives it (entered, measured or
//   adjusted Po through the gas table's saturation curve, reference gas); it is
//   required for "po.source" "bath_temperature", which derives Po from it.
// - "free_space.kind": "entered" or "measured" with "ambient_cm3_stp" and
//   "analysis_cm3_stp" (free volume × 273.15 K / T: cm3 STP that one atmosphere of ideal
//   gas fills), or "calculated" with "blank_ambient_cm3_stp" and
//   "blank_analysis_cm3_stp" (an empty tube), from which the sample's own volume
//   (mass / density) is taken off. "offset_cm3_stp" (optional, 0) is added to both.
// - "po.source": "entered" ("po_mmhg"); "measured" ("readings": [{"time_s", "po_mmhg"}]);
//   "adjusted" (readings plus "adjusted_po_mmhg" and "at_time_s": the readings are
//   shifted to pass through the adjusted value); "reference_gas" ("reference_gas": a gas
//   table name, readings of that gas's saturation pressure: they give the bath
//   temperature, which gives Po of the adsorptive); "bath_temperature" (Po from the
//   analysis temperature through the gas table, or through "saturation_curve":
//   [{"temperature_k", "psat_mmhg"}], at most 10 pairs, when given).
// - "gas_law.form": "table" (non-ideality from the gas table; optional
//   "adsorbed_molar_volume_cm3_per_mol" corrects for the gas the adsorbed phase
//   displaces) or "factor" ("non_ideality_per_mmhg": the non-ideality factor alpha,
//   optional "f1", both applied to the cold part of the free space).
// - "thermal_transpiration" is optional; without it the manifold pressure is the sample
//   pressure. With it, pressures are corrected by the Takaishi-Sensui equation
//   (X = P g d² 1000 / (2.33 Tm), P in mmHg, d in cm) until the pressure ratio reaches
//   "ratio_limit" (optional, 1: never switched off).
// - Time stamps are seconds from the start of the run, not decreasing, and below 49 days.
//   "branch" is "adsorption" or "desorption" (optional: adsorption).
// Readers throw InputError naming the file and the key ("points[3].time_s must not be
// earlier than points[2].time_s"), so nothing is reduced from a half-understood file.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "fiofla/io/isotherm_file.h"
#include "fiofla/types.h"

namespace fiofla {

/// How the free space was obtained.
enum class FreeSpaceKind { kEntered, kMeasured, kCalculated };
/// How Po was obtained.
enum class PoSourceKind { kEntered, kMeasured, kAdjusted, kReferenceGas, kBathTemperature };
/// How non-ideality is corrected.
enum class GasLawForm { kTable, kFactor };

/// One timed pressure reading, s and mmHg.
struct TimedPressure {
  double timeS = 0.0;
  double pressureMmHg = 0.0;
};

/// One measured point.
struct MeasuredPoint {
  /// Time stamp, s from the start of the run.
  double timeS = 0.0;
  /// Pressure read on the manifold, mmHg.
  double manifoldPressureMmHg = 0.0;
  /// Cumulative quantity dosed up to this point, cm3 STP.
  double quantityDosedCm3Stp = 0.0;
  /// Branch of the point.
  Branch branch = Branch::kAdsorption;
};

/// Everything a measurement file holds.
struct Measurement {
  /// File it came from (for messages), or a name given by the writer.
  std::string source;
  /// Sample name, free text.
  std::string sampleName;
  /// Sample mass, g.
  double sampleMassG = 0.0;
  /// Sample skeletal density, g/cm3; 0 when not given.
  double sampleDensityGPerCm3 = 0.0;
  /// Gas table name of the adsorptive.
  std::string adsorptive;
  /// Manifold (ambient) temperature, K.
  double ambientTemperatureK = 0.0;
  /// Bath (analysis) temperature, K; empty when Po is to give it.
  std::optional<double> analysisTemperatureK;

  /// Free space record, cm3 STP (volume × 273.15 / T).
  struct FreeSpace {
    FreeSpaceKind kind = FreeSpaceKind::kMeasured;
    double ambientCm3Stp = 0.0, analysisCm3Stp = 0.0;            ///< entered or measured
    double blankAmbientCm3Stp = 0.0, blankAnalysisCm3Stp = 0.0;  ///< calculated
    double offsetCm3Stp = 0.0;
  } freeSpace;

  /// Saturation pressure source.
  struct Po {
    PoSourceKind source = PoSourceKind::kEntered;
    double enteredMmHg = 0.0;             ///< entered
    std::vector<TimedPressure> readings;  ///< measured, adjusted, reference gas
    double adjustedMmHg = 0.0;            ///< adjusted: the value to pass through, mmHg
    double adjustedAtS = 0.0;             ///< adjusted: at this time, s
    std::string referenceGas;             ///< reference gas table name
    /// Entered saturation curve, (K, mmHg) pairs; empty to use the gas table.
    std::vector<std::pair<double, double>> saturationCurve;
  } po;

  /// Gas-law settings.
  struct GasLaw {
    GasLawForm form = GasLawForm::kTable;
    double adsorbedMolarVolumeCm3PerMol = 0.0;  ///< table form
    double nonIdealityPerMmHg = 0.0;            ///< factor form, alpha
    double f1 = 0.0;                            ///< factor form
  } gasLaw;

  /// Thermal transpiration settings; empty for none.
  struct Transpiration {
    double gasFactor = 0.0;
    double tubeInsideDiameterCm = 0.0;
    double ratioLimit = 1.0;
  };
  std::optional<Transpiration> transpiration;

  /// The points, in measured order.
  std::vector<MeasuredPoint> points;
};

/// Reads a measurement file; throws InputError naming the file and the offending key.
Measurement ReadMeasurementFile(const std::string& path);
/// Parses measurement JSON text; `name` is used in messages.
Measurement ParseMeasurement(const std::string& text, const std::string& name);
/// The measurement as JSON text in the layout above (numbers written to round-trip).
std::string FormatMeasurement(const Measurement& measurement);
/// True when the file is JSON whose "format" is "fiofla measurement" (cheap sniff: only
/// the first 64 kB are examined).
bool LooksLikeMeasurementFile(const std::string& path);
/// The same test on text already read, all of it (a UTF-8 byte-order mark is allowed).
bool LooksLikeMeasurementText(const std::string& text);

}  // namespace fiofla
