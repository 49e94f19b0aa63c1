// Free space (dead volume) of the sample tube, in the form the reductions consume.
//
// A free space is kept as gas capacity rather than geometric volume: volume x
// 273.15 / T, i.e. the cm3 STP one standard atmosphere of ideal gas fills in it.
// "Ambient" refers the whole tube to the manifold temperature, "analysis" to the
// tube with its lower part in the bath. Keeping both lets the gas arithmetic split
// the tube into a warm and a cold part (CGasCalculation::ColdFreeVolume).
//
// The concrete kinds differ only in where the numbers came from (entered, measured
// with a non-adsorbing gas, or calculated from a blank tube and the sample's own
// volume); a reduction reads all of them through the base class.
//
// Choices made here (documented so callers can rely on them):
// - The third value is carried, not interpreted: the factor-form reductions pass it
//   on as the low-temperature factor f2.
// - The offset is added only when a getter is asked to, so the stored values stay
//   what was entered or measured.
// - CCalculatedFreeSpace takes the sample's volume off only for a positive density;
//   with density 0 (unknown) the blank values are kept exactly. A temperature of 0 K
//   or below (or NaN) cannot refer the sample's volume to it, so that free space is
//   left at its blank value instead of becoming infinite.
#pragma once

#include "fiofla/po_and_t.h"

/// Free space of a sample tube, cm3 STP per standard atmosphere (volume x 273.15 / T).
class CFreeSpace {
 public:
  /// Ambient and analysis free space (cm3 STP), third value (f2) and offset (cm3 STP).
  CFreeSpace(double ambient, double analysis, double third, double offset)
      : m_dAmbient(ambient), m_dAnalysis(analysis), m_dThird(third), m_dOffset(offset) {}
  virtual ~CFreeSpace() = default;

  /// Free space at ambient temperature, cm3 STP; plus the offset when withOffset.
  double GetAmbientFS(bool withOffset) const {
    return withOffset ? m_dAmbient + m_dOffset : m_dAmbient;
  }
  /// Free space with the tube in the analysis bath, cm3 STP; plus the offset when withOffset.
  double GetAnalysisFS(bool withOffset) const {
    return withOffset ? m_dAnalysis + m_dOffset : m_dAnalysis;
  }
  /// Replaces the ambient and analysis free space, cm3 STP; third value and offset are kept.
  void SetFreeSpace(double ambient, double analysis) {
    m_dAmbient = ambient;
    m_dAnalysis = analysis;
  }
  /// Third value, carried only (the factor form's f2, dimensionless).
  double GetThirdValue() const { return m_dThird; }
  /// Offset the getters may add, cm3 STP.
  double GetOffset() const { return m_dOffset; }

 protected:
  /// Free space at ambient temperature, cm3 STP.
  double m_dAmbient;
  /// Free space with the tube in the bath, cm3 STP.
  double m_dAnalysis;
  /// Third value (f2), dimensionless.
  double m_dThird;
  /// Offset, cm3 STP.
  double m_dOffset;
};

/// Free space entered by the operator, cm3 STP.
class CEnteredFreeSpace : public CFreeSpace {
 public:
  /// Ambient and analysis free space (cm3 STP), third value (f2) and offset (cm3 STP).
  CEnteredFreeSpace(double ambient, double analysis, double third, double offset)
      : CFreeSpace(ambient, analysis, third, offset) {}
};

/// Free space measured with a non-adsorbing gas, cm3 STP.
class CMeasuredFreeSpace : public CFreeSpace {
 public:
  /// Ambient and analysis free space (cm3 STP), third value (f2) and offset (cm3 STP).
  CMeasuredFreeSpace(double ambient, double analysis, double third, double offset)
      : CFreeSpace(ambient, analysis, third, offset) {}
};

/// Free space of a blank tube less the sample's own volume (mass / density), cm3 STP.
class CCalculatedFreeSpace : public CFreeSpace {
 public:
  /// Blank free spaces (cm3 STP), sample mass (g) and density (g/cm3), third value (f2) and
  /// offset (cm3 STP); temperatures (K) from `conditions`.
  CCalculatedFreeSpace(CPoAndT const& conditions, double blankAmbient, double blankAnalysis,
                       double sampleMass, double sampleDensity, double third, double offset);
};
