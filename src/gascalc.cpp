#include "fiofla/gascalc.h"

#include <algorithm>
#include <cmath>

namespace {

double Z(CGasCompressibilityBase const& gas, double P, double T) {
  return gas(P, T, nullptr);
}

}  // namespace

double VorlanFreeSpaceQuantity(double freeSpace, double pressure, double nonIdeality) {
  return freeSpace * pressure * (1.0 + pressure * nonIdeality) / kStandardPressure;
}

double CGasCalculation::VorlanQuantityDosed(double q, double Vfs, double P, double alpha) {
  return q + VorlanFreeSpaceQuantity(Vfs, P, alpha);
}

double CGasCalculation::VorlanQuantityAdsorbed(double q, double Vfs, double P, double alpha) {
  return q - VorlanFreeSpaceQuantity(Vfs, P, alpha);
}

double CGasCalculation::ChemiTorvQuantityAdsorbed(double q, double V, double P) {
  return q - (P / kStandardPressure) * V;
}

double CGasCalculation::ColdFreeVolume(double Vamb, double Vana, double Tref, double T) {
  if (std::fabs(T - Tref) < kEqualTemperatureTolerance) return Vana;
  // Vana = warm + cold, Vamb = warm + cold T/Tref: solve for the cold part.
  const double cold = std::min(Vana, (Vana - Vamb) / (1.0 - T / Tref));
  return cold < 0.0 ? 0.0 : cold;
}

double CGasCalculation::MolesInFreeSpace(double Vana, double Vcold, double P, double alpha,
                                         double f1, double f2) {
  return (P / kStandardTemperature) * (Vana - f2 * Vcold + P * Vcold * alpha * (1.0 - f1));
}

double CGasCalculation::VolumeInFreeSpace(double Vamb, double Vana, double P, double T,
                                          double alpha, double f1, double f2) {
  const double cold = ColdFreeVolume(Vamb, Vana, kAmbientReferenceTemperature, T);
  if (T > kCryogenicLimit) f1 = f2 = 0.0;
  return MolesInFreeSpace(Vana, cold, P, alpha, f1, f2) * kStandardTemperature / kStandardPressure;
}

double CGasCalculation::QuantityDosed(double q, double Vamb, double Vana, double P, double T,
                                      double alpha, double f1, double f2) {
  return q + VolumeInFreeSpace(Vamb, Vana, P, T, alpha, f1, f2);
}

double CGasCalculation::VolumeAdsorbed(double q, double Vamb, double Vana, double P, double T,
                                       double alpha, double f1, double f2) {
  return q - VolumeInFreeSpace(Vamb, Vana, P, T, alpha, f1, f2);
}

double CGasCalculation::MolesInFreeSpace(double Vana, double Vcold, double P, double Tamb,
                                         double Tana, CGasCompressibilityBase const& gas) {
  const double zw = Z(gas, P, Tamb);
  const double zc = Z(gas, P, Tana);
  const double warm = (Vana - Vcold) / (zw > 0.0 ? zw : 1.0);
  const double cold = zc > 0.0 ? Vcold / zc : Vcold;
  return (warm + cold) * P / kStandardTemperature;
}

double CGasCalculation::VolumeInFreeSpace(double Vamb, double Vana, double P, double Tamb,
                                          double Tana, CGasCompressibilityBase const& gas) {
  const double cold = ColdFreeVolume(Vamb, Vana, Tamb, Tana);
  return MolesInFreeSpace(Vana, cold, P, Tamb, Tana, gas) * kStandardTemperature /
         kStandardPressure;
}

double CGasCalculation::VolumeDosed(double q, double Vamb, double Vana, double P, double Tamb,
                                    double Tana, CGasCompressibilityBase const& gas) {
  return q + VolumeInFreeSpace(Vamb, Vana, P, Tamb, Tana, gas);
}

double CGasCalculation::VolumeAdsorbed(double q, double Vamb, double Vana, double P, double Tamb,
                                       double Tana, CGasCompressibilityBase const& gas, double Vm) {
  const double v = q - VolumeInFreeSpace(Vamb, Vana, P, Tamb, Tana, gas);
  const double z = Z(gas, P, Tana);
  if (z <= 0.0 || Tana <= 0.0) return v;
  // The adsorbed phase takes room that free gas would otherwise occupy.
  return v /
         (1.0 - P * Vm * kStandardTemperature / (z * kMolarVolumeStp * Tana * kStandardPressure));
}

double CGasCalculation::GasQuantity(double P, double V, double T,
                                    CGasCompressibilityBase const& gas) {
  const double z = Z(gas, P, T);
  return P * V / (z > 0.0 ? T * z : T) * kStandardTemperature / kStandardPressure;
}

double CGasCalculation::GasVolume(double n, double P, double T,
                                  CGasCompressibilityBase const& gas) {
  const double z = Z(gas, P, T);
  return T * (z > 0.0 ? n * z : n) / P * kStandardPressure / kStandardTemperature;
}

double CGasCalculation::AdjustedVolume(double V, double P) const {
  if (P <= 0.0) return V - m_dDeflectionVolume;
  if (m_dDeflectionPressure <= P) return V;
  const double f = (m_dDeflectionPressure - P) / m_dDeflectionPressure;
  return V - m_dDeflectionVolume * f * f * f;
}

double CGasCalculation::AdjustedGasQuantity(double P, double V, double T,
                                            CGasCompressibilityBase const& gas) const {
  const double z = Z(gas, P, T);
  return P * AdjustedVolume(V, P) / ((z > 0.0 ? z : 1.0) * T) * kStandardTemperature /
         kStandardPressure;
}

double CGasCalculation::ThermalTranspirationPressure(double P, double g, double d, double T1,
                                                     double T2, double* ratio) {
  if (P <= 0.0 || T1 <= 0.0 || T2 <= 0.0) {
    if (ratio != nullptr) *ratio = 1.0;
    return P;
  }
  const double tm = (T1 + T2) * 0.5;
  const double x = P * g * d * d * 1000.0 / (2.33 * tm);
  const double D = 0.033 * x * x + 0.245 * x + (1.0 + 2.5 * x) / (1.0 + 2.0 * x);
  const double r = 1.0 - (1.0 - std::sqrt(T1 / T2)) / D;
  if (ratio != nullptr) *ratio = r;
  return P * r;
}

double CGasCalculationHTP::SampleVolume(double Vtotal) const {
  return Vtotal - AdjustedVolume(m_dManifoldVolume, kStandardPressure);
}

double CGasCalculationHTP::QuantityInFreeSpace(double Vtotal, double P, double Tsample,
                                               double Tmanifold,
                                               CGasCompressibilityBase const& gas) const {
  return AdjustedGasQuantity(P, m_dManifoldVolume, Tmanifold, gas) +
         GasQuantity(P, SampleVolume(Vtotal), Tsample, gas);
}

double CGasCalculationHTP::QuantityAdsorbed(double q, double Vtotal, double P, double Tsample,
                                            double Tmanifold,
                                            CGasCompressibilityBase const& gas) const {
  return q - QuantityInFreeSpace(Vtotal, P, Tsample, Tmanifold, gas);
}

double CGasCalculationHTP::FreeSpace(double n, double P, double Tsample, double Tmanifold,
                                     CGasCompressibilityBase const& gas) const {
  return GasVolume(n - AdjustedGasQuantity(P, m_dManifoldVolume, Tmanifold, gas), P, Tsample, gas) +
         AdjustedVolume(m_dManifoldVolume, kStandardPressure);
}
