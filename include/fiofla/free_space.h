// Free space (dead volume) of a sample tube, as the reductions read it.
//
// A free space is stored as the volume times 273.15 K / T: the cm3 STP that one standard
// atmosphere of ideal gas fills in it. "Ambient" refers the whole volume to the manifold
// temperature, "analysis" to the sample tube in its bath. The three concrete kinds differ
// only in how the values were obtained (entered by the operator, measured with helium,
// or calculated from a blank tube and the sample's own volume); the reductions do not
// care which.
//
// Choices: CCalculatedFreeSpace takes the sample's volume off only for a positive
// density; with a temperature of 0 or less it cannot refer that volume to it and leaves
// the corresponding free space at its blank value instead of dividing by zero.
#pragma once

#include "fiofla/po_and_t.h"

/// Free space record, cm3 STP (volume × 273.15 / T).
class CFreeSpace {
 public:
  /// Ambient and analysis free space, the low-temperature factor f2 and an offset, cm3 STP.
  CFreeSpace(double ambient, double analysis, double third, double offset)
      : m_dAmbient(ambient), m_dAnalysis(analysis), m_dThird(third), m_dOffset(offset) {}
  virtual ~CFreeSpace() = default;

  /// Free space referred to ambient temperature, cm3 STP; plus the offset when asked.
  double GetAmbientFS(bool withOffset) const { return m_dAmbient + (withOffset ? m_dOffset : 0.0); }
  /// Free space with the tube in the analysis bath, cm3 STP; plus the offset when asked.
  double GetAnalysisFS(bool withOffset) const {
    return m_dAnalysis + (withOffset ? m_dOffset : 0.0);
  }
  /// Replaces both free spaces, cm3 STP.
  void SetFreeSpace(double ambient, double analysis) {
    m_dAmbient = ambient;
    m_dAnalysis = analysis;
  }
  /// The third value: the factor-form reductions pass it as the low-temperature factor f2.
  double GetThirdValue() const { return m_dThird; }
  /// The offset added by the getters, cm3 STP.
  double GetOffset() const { return m_dOffset; }

 protected:
  double m_dAmbient;
  double m_dAnalysis;
  double m_dThird;
  double m_dOffset;
};

/// Free space entered by the operator.
class CEnteredFreeSpace : public CFreeSpace {
 public:
  using CFreeSpace::CFreeSpace;
};

/// Free space measured (with helium) before or after the analysis.
class CMeasuredFreeSpace : public CFreeSpace {
 public:
  using CFreeSpace::CFreeSpace;
};

/// Free space of a blank tube less the sample's own volume (mass / density).
class CCalculatedFreeSpace : public CFreeSpace {
 public:
  /// Blank free spaces (cm3 STP), sample mass (g) and density (g/cm3); temperatures from
  /// `conditions`.
  CCalculatedFreeSpace(CPoAndT const& conditions, double blankAmbient, double blankAnalysis,
                       double sampleMass, double sampleDensity, double third, double offset);
};
