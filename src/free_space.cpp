#include "fiofla/free_space.h"

namespace {
// Standard temperature as the gas arithmetic uses it (273.15 K stored in single precision).
constexpr double kStandardTemperatureF = 273.1499938964844;
}  // namespace

CCalculatedFreeSpace::CCalculatedFreeSpace(CPoAndT const& conditions, double blankAmbient,
                                           double blankAnalysis, double sampleMass,
                                           double sampleDensity, double third, double offset)
    : CFreeSpace(0.0, 0.0, third, offset) {
  const double tamb = conditions.GetAmbientTemperature();
  const double tana = conditions.GetAnalysisTemperature();
  const double s = sampleDensity > 0.0 ? sampleMass / sampleDensity * kStandardTemperatureF : 0.0;
  m_dAmbient = s != 0.0 && tamb > 0.0 ? blankAmbient - s / tamb : blankAmbient;
  m_dAnalysis = s != 0.0 && tana > 0.0 ? blankAnalysis - s / tana : blankAnalysis;
}
