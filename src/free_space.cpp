#include "fiofla/free_space.h"

#include "fiofla/gascalc.h"

namespace {

// Blank free space less the sample's volume referred to temperature t (K). A zero volume
// skips the division so that density 0 keeps the blank bit for bit.
double LessSample(double blank, double sampleCm3Stp, double t) {
  if (sampleCm3Stp == 0.0 || !(t > 0.0)) return blank;
  return blank - sampleCm3Stp / t;
}

}  // namespace

CCalculatedFreeSpace::CCalculatedFreeSpace(CPoAndT const& conditions, double blankAmbient,
                                           double blankAnalysis, double sampleMass,
                                           double sampleDensity, double third, double offset)
    : CFreeSpace(0.0, 0.0, third, offset) {
  // Sample volume (cm3) times 273.15 K: dividing by T gives its free-space share.
  const double s =
      sampleDensity > 0.0 ? sampleMass / sampleDensity * fiofla::kStandardTemperature : 0.0;
  m_dAmbient = LessSample(blankAmbient, s, conditions.GetAmbientTemperature());
  m_dAnalysis = LessSample(blankAnalysis, s, conditions.GetAnalysisTemperature());
}
