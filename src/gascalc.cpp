#include "fiofla/gascalc.h"

#include <algorithm>
#include <cmath>

using fiofla::kAmbientReferenceTemperature;
using fiofla::kCryogenicLimit;
using fiofla::kEqualTemperatureTolerance;
using fiofla::kMolarVolumeStp;
using fiofla::kStandardPressure;
using fiofla::kStandardTemperature;

namespace {

// Compressibility with "no gas-phase value" read as ideal gas.
double ZOrIdeal(CGasCompressibilityBase const& gas, double P, double T) {
  const double z = gas(P, T, nullptr);
  return z > 0.0 ? z : 1.0;
}

}  // namespace

double VorlanFreeSpaceQuantity(double Vfs, double P, double alpha) {
  return Vfs * P * (1.0 + P * alpha) / kStandardPressure;
}

void CGasCalculation::SetTransducerDeflection(double volume, double pressure) {
  m_dDeflectionVolume = volume;
  m_dDeflectionPressure = pressure;
}

void CGasCalculation::GetTransducerDeflection(double* volume, double* pressure) const {
  if (volume != nullptr) *volume = m_dDeflectionVolume;
  if (pressure != nullptr) *pressure = m_dDeflectionPressure;
}

double CGasCalculation::VorlanQuantityDosed(double q, double Vfs, double P, double alpha) {
  return q + VorlanFreeSpaceQuantity(Vfs, P, alpha);
}

double CGasCalculation::VorlanQuantityAdsorbed(double q, double Vfs, double P, double alpha) {
  return q - VorlanFreeSpaceQuantity(Vfs, P, alpha);
}

double CGasCalculation::ChemiTorvQuantityAdsorbed(double q, double V, double P) {
  return q - P / kStandardPressure * V;
}

double CGasCalculation::ColdFreeVolume(double Vamb, double Vana, double Tref, double T) {
  // Equal temperatures give 0/0: the whole tube counts as cold.
  if (std::fabs(T - Tref) < kEqualTemperatureTolerance) return Vana;
  // Vana - Vamb = Vcold (1 - T / Tref) when the cold part is referred to T.
  const double cold = std::min(Vana, (Vana - Vamb) / (1.0 - T / Tref));
  return cold < 0.0 ? 0.0 : cold;
}

double CGasCalculation::MolesInFreeSpace(double Vana, double Vcold, double P, double alpha,
                                         double f1, double f2) {
  return P / kStandardTemperature * (Vana - f2 * Vcold + P * Vcold * alpha * (1.0 - f1));
}

double CGasCalculation::VolumeInFreeSpace(double Vamb, double Vana, double P, double T,
                                          double alpha, double f1, double f2) {
  const double cold = ColdFreeVolume(Vamb, Vana, kAmbientReferenceTemperature, T);
  // The low-temperature factors describe a cryogenic bath only.
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
  const double warm = (Vana - Vcold) / ZOrIdeal(gas, P, Tamb);
  const double cold = Vcold / ZOrIdeal(gas, P, Tana);
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
  const double z = gas(P, Tana, nullptr);
  if (z <= 0.0 || Tana <= 0.0) return v;
  // The adsorbed phase occupies free space that was counted as gas: v is short by the gas
  // density times its volume, a fixed fraction of the amount adsorbed.
  const double displaced =
      P * Vm * kStandardTemperature / (z * kMolarVolumeStp * Tana * kStandardPressure);
  return v / (1.0 - displaced);
}

double CGasCalculation::GasQuantity(double P, double V, double T,
                                    CGasCompressibilityBase const& gas) {
  const double z = gas(P, T, nullptr);
  const double denominator = z > 0.0 ? T * z : T;
  return P * V / denominator * kStandardTemperature / kStandardPressure;
}

double CGasCalculation::GasVolume(double n, double P, double T,
                                  CGasCompressibilityBase const& gas) {
  const double z = gas(P, T, nullptr);
  const double real = z > 0.0 ? n * z : n;
  return T * real / P * kStandardPressure / kStandardTemperature;
}

double CGasCalculation::AdjustedVolume(double V, double P) const {
  if (P <= 0.0) return V - m_dDeflectionVolume;
  if (m_dDeflectionPressure <= P) return V;
  // Cubic recovery of the diaphragm volume as the pressure rises to Pd.
  const double x = (m_dDeflectionPressure - P) / m_dDeflectionPressure;
  return V - m_dDeflectionVolume * x * x * x;
}

double CGasCalculation::AdjustedGasQuantity(double P, double V, double T,
                                            CGasCompressibilityBase const& gas) const {
  return P * AdjustedVolume(V, P) / (ZOrIdeal(gas, P, T) * T) * kStandardTemperature /
         kStandardPressure;
}

double CGasCalculation::ThermalTranspirationPressure(double P, double g, double d, double T1,
                                                     double T2, double* ratio) {
  double r = 1.0;
  if (P > 0.0 && T1 > 0.0 && T2 > 0.0) {
    // X measures the tube against the mean free path: 0 is molecular flow, where
    // P1/P2 = sqrt(T1/T2); large X is viscous flow, where the pressures are equal.
    const double tm = (T1 + T2) * 0.5;
    const double x = P * g * d * d * 1000.0 / (2.33 * tm);
    const double denominator = 0.033 * x * x + 0.245 * x + (1.0 + 2.5 * x) / (1.0 + 2.0 * x);
    r = 1.0 - (1.0 - std::sqrt(T1 / T2)) / denominator;
  }
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
  const double inSample = n - AdjustedGasQuantity(P, m_dManifoldVolume, Tmanifold, gas);
  return GasVolume(inSample, P, Tsample, gas) +
         AdjustedVolume(m_dManifoldVolume, kStandardPressure);
}
