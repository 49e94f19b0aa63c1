// Gas arithmetic of a static volumetric measurement: how much gas (cm3 STP) a volume
// holds at a pressure and temperature, how much of it sits in the free space of the
// sample tube, and therefore how much was dosed or adsorbed.
//
// Units: pressures mmHg, temperatures K, volumes cm3, free spaces cm3 STP (volume ×
// 273.15 / T), gas quantities cm3 STP. Non-ideality comes either from a factor alpha
// (per mmHg, applied to the cold part of the free space) or from a gas table, called as
// gas(P, T); a non-positive compressibility from the table is read as ideal gas where
// each formula says so.
//
// The free space is split into a warm part (manifold side, at ambient temperature) and
// a cold part (in the bath): the cold volume follows from the two free spaces measured
// at ambient and at analysis temperature (ColdFreeVolume).
//
// Choices: nothing here reports failure. Division-by-zero guards exist only for equal
// temperatures in ColdFreeVolume and for P and the temperatures in
// ThermalTranspirationPressure; elsewhere a zero pressure or temperature follows IEEE
// arithmetic, and callers pass physical values.
#pragma once

#include "fiofla/compress.h"

/// Standard temperature, K: 273.15 as stored in single precision, widened.
constexpr double kStandardTemperature = 273.1499938964844;
/// Standard pressure, mmHg.
constexpr double kStandardPressure = 760.0;
/// Molar volume of an ideal gas at STP, cm3/mol.
constexpr double kMolarVolumeStp = 22414.0;
/// Reference ambient temperature of the factor-form cold-volume split, K.
constexpr double kAmbientReferenceTemperature = 298.0;
/// Above this analysis temperature (K) the low-temperature factors f1 and f2 are dropped.
constexpr double kCryogenicLimit = 170.0;
/// Temperatures closer than this (K) count as equal in the cold-volume split.
constexpr double kEqualTemperatureTolerance = 1e-6;

/// Gas quantity in a free space by the factor form: Vfs P (1 + P alpha) / 760, cm3 STP.
double VorlanFreeSpaceQuantity(double freeSpace, double pressure, double nonIdeality);

/// Gas-law operations; its own state is the pressure transducer's deflection volume.
class CGasCalculation {
 public:
  /// Transducer deflection volume (cm3) and the pressure (mmHg) at which it has recovered.
  CGasCalculation(double volume = 0.0, double pressure = 0.0)
      : m_dDeflectionVolume(volume), m_dDeflectionPressure(pressure) {}
  virtual ~CGasCalculation() = default;

  /// Sets the deflection volume (cm3) and pressure (mmHg).
  void SetTransducerDeflection(double volume, double pressure) {
    m_dDeflectionVolume = volume;
    m_dDeflectionPressure = pressure;
  }
  /// The deflection volume (cm3) and pressure (mmHg).
  void GetTransducerDeflection(double* volume, double* pressure) const {
    if (volume != nullptr) *volume = m_dDeflectionVolume;
    if (pressure != nullptr) *pressure = m_dDeflectionPressure;
  }

  // Factor form.
  /// Part of the analysis free space in the cold zone, cm3 STP; Vana when T equals Tref.
  static double ColdFreeVolume(double Vamb, double Vana, double Tref, double T);
  /// (P / 273.15) (Vana - f2 Vcold + P Vcold alpha (1 - f1)): gas in the free space.
  static double MolesInFreeSpace(double Vana, double Vcold, double P, double alpha, double f1,
                                 double f2);
  /// Gas in the free space at P and analysis temperature T, cm3 STP (f1, f2 dropped above
  /// 170 K).
  static double VolumeInFreeSpace(double Vamb, double Vana, double P, double T, double alpha,
                                  double f1, double f2);
  /// q plus the gas in the free space, cm3 STP.
  static double QuantityDosed(double q, double Vamb, double Vana, double P, double T, double alpha,
                              double f1, double f2);
  /// q less the gas in the free space, cm3 STP.
  static double VolumeAdsorbed(double q, double Vamb, double Vana, double P, double T, double alpha,
                               double f1, double f2);
  /// q plus VorlanFreeSpaceQuantity(Vfs, P, alpha), cm3 STP.
  static double VorlanQuantityDosed(double q, double Vfs, double P, double alpha);
  /// q less VorlanFreeSpaceQuantity(Vfs, P, alpha), cm3 STP.
  static double VorlanQuantityAdsorbed(double q, double Vfs, double P, double alpha);
  /// q - (P / 760) V, cm3 STP.
  static double ChemiTorvQuantityAdsorbed(double q, double V, double P);

  // Gas-table form.
  /// (warm / Z(P, Tamb) + cold / Z(P, Tana)) P / 273.15; a non-positive Z reads as 1.
  static double MolesInFreeSpace(double Vana, double Vcold, double P, double Tamb, double Tana,
                                 CGasCompressibilityBase const& gas);
  /// Gas in the free space, cm3 STP, with the cold part split at the measured ambient.
  static double VolumeInFreeSpace(double Vamb, double Vana, double P, double Tamb, double Tana,
                                  CGasCompressibilityBase const& gas);
  /// q plus the gas in the free space, cm3 STP.
  static double VolumeDosed(double q, double Vamb, double Vana, double P, double Tamb, double Tana,
                            CGasCompressibilityBase const& gas);
  /// q less the gas in the free space, corrected for the gas an adsorbed phase of molar
  /// volume Vm (cm3/mol) displaces, cm3 STP.
  static double VolumeAdsorbed(double q, double Vamb, double Vana, double P, double Tamb,
                               double Tana, CGasCompressibilityBase const& gas, double Vm);
  /// Gas that volume V (cm3) holds at P and T, cm3 STP.
  static double GasQuantity(double P, double V, double T, CGasCompressibilityBase const& gas);
  /// Volume (cm3) that n cm3 STP fill at P and T: the inverse of GasQuantity.
  static double GasVolume(double n, double P, double T, CGasCompressibilityBase const& gas);

  // Transducer deflection.
  /// Volume V (cm3) less the part of the deflection volume not recovered at P.
  double AdjustedVolume(double V, double P) const;
  /// GasQuantity with the deflection-adjusted volume, cm3 STP.
  double AdjustedGasQuantity(double P, double V, double T,
                             CGasCompressibilityBase const& gas) const;

  /// Pressure (mmHg) at temperature T1 for pressure P measured at T2 across a tube of
  /// inside diameter d with gas factor g (Takaishi and Sensui 1963); the pressure ratio
  /// goes to *ratio when non-null.
  static double ThermalTranspirationPressure(double P, double g, double d, double T1, double T2,
                                             double* ratio = nullptr);

 protected:
  double m_dDeflectionVolume;
  double m_dDeflectionPressure;
};

/// Gas arithmetic of a high-pressure system, whose manifold volume is part of the free space.
class CGasCalculationHTP : public CGasCalculation {
 public:
  /// All volumes 0.
  CGasCalculationHTP() : CGasCalculation(0.0, 0.0), m_dManifoldVolume(0.0) {}
  /// Manifold volume (cm3), deflection volume (cm3) and deflection pressure (mmHg).
  CGasCalculationHTP(double manifoldVolume, double deflectionVolume, double deflectionPressure)
      : CGasCalculation(deflectionVolume, deflectionPressure), m_dManifoldVolume(manifoldVolume) {}

  /// Total free volume less the manifold at one atmosphere, cm3.
  double SampleVolume(double Vtotal) const;
  /// Gas in manifold and sample volume, cm3 STP.
  double QuantityInFreeSpace(double Vtotal, double P, double Tsample, double Tmanifold,
                             CGasCompressibilityBase const& gas) const;
  /// q less QuantityInFreeSpace, cm3 STP.
  double QuantityAdsorbed(double q, double Vtotal, double P, double Tsample, double Tmanifold,
                          CGasCompressibilityBase const& gas) const;
  /// Volume (cm3) that a known dose n (cm3 STP) fills, manifold included.
  double FreeSpace(double n, double P, double Tsample, double Tmanifold,
                   CGasCompressibilityBase const& gas) const;

 private:
  double m_dManifoldVolume;
};
