// Gas-law arithmetic of a static volumetric analysis: how much gas a volume or a free
// space holds, and hence how much was dosed or adsorbed.
//
// Units: pressures mmHg, temperatures K, volumes cm3, free spaces cm3 STP per standard
// atmosphere (see free_space.h), quantities cm3 STP.
//
// Method. The free space of a sample tube is split into a warm part at ambient (manifold)
// temperature and a cold part in the bath; the cold share follows from the free space
// measured at the two temperatures (ColdFreeVolume). Non-ideality comes in two forms:
// - factor form: a non-ideality factor alpha (per mmHg) applied to the cold part, with
//   two low-temperature factors f1, f2 that count only up to kCryogenicLimit;
// - table form: the compressibility factor Z of a gas table, warm part at Z(P, Tamb),
//   cold part at Z(P, Tana), and optionally the gas an adsorbed phase of molar volume Vm
//   pushes out of the free space.
// The pressure a sample sees in a cold tube differs from the one read on a warm manifold
// at low pressure (thermal transpiration); ThermalTranspirationPressure uses the
// Takaishi & Sensui (1963) correlation. CGasCalculationHTP adds a manifold volume and the
// volume a pressure transducer's diaphragm gives up until it has fully deflected.
// Cost: every operation is O(1), at most three gas-table lookups.
//
// Choices made here (documented so callers can rely on them):
// - Nothing reports failure. Division by zero is guarded only where a formula can meet
//   it with physical input: equal temperatures in ColdFreeVolume and a non-positive
//   pressure or temperature in ThermalTranspirationPressure. Elsewhere a zero pressure
//   (GasVolume) or temperature follows IEEE arithmetic; callers pass physical values.
// - A compressibility <= 0 from the table (no gas-phase value) is read as ideal gas,
//   Z = 1, wherever a formula divides by it.
// - Standard temperature is 273.15 K as single precision stores it, so quantities match
//   those computed with the single-precision constant to the last bit.
#pragma once

#include "fiofla/compress.h"

namespace fiofla {

/// Standard temperature, K (273.15 in single precision, widened).
constexpr double kStandardTemperature = 273.1499938964844;
/// Standard pressure, mmHg.
constexpr double kStandardPressure = 760.0;
/// Molar volume of an ideal gas at STP, cm3/mol.
constexpr double kMolarVolumeStp = 22414.0;
/// Ambient temperature the factor form refers its cold-volume split to, K.
constexpr double kAmbientReferenceTemperature = 298.0;
/// Analysis temperature (K) above which the factor form drops f1 and f2.
constexpr double kCryogenicLimit = 170.0;
/// Temperatures closer than this (K) are equal for the cold-volume split.
constexpr double kEqualTemperatureTolerance = 1e-6;

}  // namespace fiofla

/// Gas in free space Vfs (cm3 STP) at P (mmHg), factor alpha (1/mmHg): Vfs P (1 + P alpha)
/// / 760, cm3 STP.
double VorlanFreeSpaceQuantity(double Vfs, double P, double alpha);

/// Gas-law operations; its own state is the transducer's deflection volume and pressure.
class CGasCalculation {
 public:
  /// Deflection volume (cm3) and the pressure (mmHg) at which it is fully given up.
  explicit CGasCalculation(double volume = 0.0, double pressure = 0.0)
      : m_dDeflectionVolume(volume), m_dDeflectionPressure(pressure) {}
  virtual ~CGasCalculation() = default;

  /// Sets the deflection volume (cm3) and pressure (mmHg).
  void SetTransducerDeflection(double volume, double pressure);
  /// Deflection volume (cm3) and pressure (mmHg), each written when its pointer is non-null.
  void GetTransducerDeflection(double* volume, double* pressure) const;

  // Factor form (alpha = non-ideality factor, 1/mmHg).

  /// q + VorlanFreeSpaceQuantity(Vfs, P, alpha): quantity dosed, cm3 STP.
  static double VorlanQuantityDosed(double q, double Vfs, double P, double alpha);
  /// q - VorlanFreeSpaceQuantity(Vfs, P, alpha): quantity adsorbed, cm3 STP.
  static double VorlanQuantityAdsorbed(double q, double Vfs, double P, double alpha);
  /// q - (P / 760) V: quantity adsorbed in chemisorption, free space V (cm3 STP), cm3 STP.
  static double ChemiTorvQuantityAdsorbed(double q, double V, double P);
  /// Cold share (cm3 STP) of analysis free space Vana, given ambient free space Vamb
  /// referred to Tref (K) and bath temperature T (K): in [0, Vana], or Vana when T == Tref.
  static double ColdFreeVolume(double Vamb, double Vana, double Tref, double T);
  /// (P / 273.15)(Vana - f2 Vcold + P Vcold alpha (1 - f1)): gas in the free space,
  /// cm3 STP x 760 / 273.15.
  static double MolesInFreeSpace(double Vana, double Vcold, double P, double alpha, double f1,
                                 double f2);
  /// Gas in the free space at P (mmHg) and bath temperature T (K), cm3 STP; cold split at
  /// 298 K, f1 and f2 dropped above 170 K.
  static double VolumeInFreeSpace(double Vamb, double Vana, double P, double T, double alpha,
                                  double f1, double f2);
  /// q + VolumeInFreeSpace(...): quantity dosed, cm3 STP.
  static double QuantityDosed(double q, double Vamb, double Vana, double P, double T, double alpha,
                              double f1, double f2);
  /// q - VolumeInFreeSpace(...): quantity adsorbed, cm3 STP.
  static double VolumeAdsorbed(double q, double Vamb, double Vana, double P, double T, double alpha,
                               double f1, double f2);

  // Table form (gas = compressibility table in mmHg).

  /// ((Vana - Vcold) / Z(P, Tamb) + Vcold / Z(P, Tana)) P / 273.15, Z <= 0 read as 1: gas
  /// in the free space, cm3 STP x 760 / 273.15.
  static double MolesInFreeSpace(double Vana, double Vcold, double P, double Tamb, double Tana,
                                 CGasCompressibilityBase const& gas);
  /// Gas in the free space at P (mmHg), cold split at the measured ambient Tamb (K), cm3 STP.
  static double VolumeInFreeSpace(double Vamb, double Vana, double P, double Tamb, double Tana,
                                  CGasCompressibilityBase const& gas);
  /// q + VolumeInFreeSpace(...): quantity dosed, cm3 STP.
  static double VolumeDosed(double q, double Vamb, double Vana, double P, double Tamb, double Tana,
                            CGasCompressibilityBase const& gas);
  /// q - VolumeInFreeSpace(...), enlarged for the gas displaced by an adsorbed phase of molar
  /// volume Vm (cm3/mol; 0 = none): quantity adsorbed, cm3 STP.
  static double VolumeAdsorbed(double q, double Vamb, double Vana, double P, double Tamb,
                               double Tana, CGasCompressibilityBase const& gas, double Vm);
  /// Gas that volume V (cm3) holds at P (mmHg) and T (K), cm3 STP.
  static double GasQuantity(double P, double V, double T, CGasCompressibilityBase const& gas);
  /// Volume (cm3) that n cm3 STP fill at P (mmHg) and T (K); inverse of GasQuantity.
  static double GasVolume(double n, double P, double T, CGasCompressibilityBase const& gas);

  // Transducer deflection.

  /// Volume V (cm3) less the deflection volume still to be given up at P (mmHg), cm3.
  double AdjustedVolume(double V, double P) const;
  /// GasQuantity with V replaced by AdjustedVolume(V, P), cm3 STP.
  double AdjustedGasQuantity(double P, double V, double T,
                             CGasCompressibilityBase const& gas) const;

  /// Pressure (mmHg) at sample temperature T1 (K) when P (mmHg) is read at manifold
  /// temperature T2 (K) through a tube of inside diameter d with gas factor g (Takaishi &
  /// Sensui 1963); P/P-read goes to *ratio when non-null.
  static double ThermalTranspirationPressure(double P, double g, double d, double T1, double T2,
                                             double* ratio = nullptr);

 protected:
  /// Volume the transducer gives up until fully deflected, cm3.
  double m_dDeflectionVolume;
  /// Pressure at which the transducer is fully deflected, mmHg.
  double m_dDeflectionPressure;
};

/// Gas-law operations of a high-pressure system, whose manifold is part of the free volume.
class CGasCalculationHTP : public CGasCalculation {
 public:
  /// No manifold volume and no deflection.
  CGasCalculationHTP() : CGasCalculationHTP(0.0, 0.0, 0.0) {}
  /// Manifold volume (cm3), deflection volume (cm3) and deflection pressure (mmHg).
  CGasCalculationHTP(double manifoldVolume, double deflectionVolume, double deflectionPressure)
      : CGasCalculation(deflectionVolume, deflectionPressure), m_dManifoldVolume(manifoldVolume) {}

  /// Free volume Vtotal (cm3) less the manifold as it is at one atmosphere, cm3.
  double SampleVolume(double Vtotal) const;
  /// Gas in manifold (at Tmanifold) and sample volume (at Tsample), cm3 STP; P in mmHg.
  double QuantityInFreeSpace(double Vtotal, double P, double Tsample, double Tmanifold,
                             CGasCompressibilityBase const& gas) const;
  /// q - QuantityInFreeSpace(...): quantity adsorbed, cm3 STP.
  double QuantityAdsorbed(double q, double Vtotal, double P, double Tsample, double Tmanifold,
                          CGasCompressibilityBase const& gas) const;
  /// Free volume (cm3) in which n cm3 STP of a non-adsorbing gas give P (mmHg); inverse of
  /// QuantityInFreeSpace in Vtotal.
  double FreeSpace(double n, double P, double Tsample, double Tmanifold,
                   CGasCompressibilityBase const& gas) const;

 protected:
  /// Manifold volume, cm3.
  double m_dManifoldVolume;
};
