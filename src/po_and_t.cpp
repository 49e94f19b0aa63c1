#include "fiofla/po_and_t.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>

namespace {

// Every conversion goes through these four so that a failure always means 0.0. The
// answer is written to a local first: CPsatVsT leaves its end values behind on failure.
// A non-finite input is refused up front because CPsatVsT's range checks let NaN through
// to the fit, which would then hand back a plausible-looking temperature.

double TempFromCurve(CPsatVsT const& curve, double psat) {
  double T = 0.0;
  if (!std::isfinite(psat) || !curve.CalcTempFromPsat(&T, psat)) return 0.0;
  return T;
}

double TempFromGas(CGasCompressibilityBase const& gas, double psat) {
  double T = 0.0;
  // Sublimation allowed: a bath below the triple point still has a temperature.
  if (!std::isfinite(psat) || !gas.CalcTempFromPsat(&T, psat, true)) return 0.0;
  return T;
}

double PsatFromCurve(CPsatVsT const& curve, double T) {
  double psat = 0.0;
  if (!std::isfinite(T) || !curve.CalcPsatFromTemp(&psat, T)) return 0.0;
  return psat;
}

double PsatFromGas(CGasCompressibilityBase const& gas, double T) {
  double psat = 0.0;
  if (!std::isfinite(T)) return 0.0;
  // Liquid first: above the triple point that is what condenses in the sample tube.
  if (gas.CalcPsatFromTemp(&psat, T, false)) return psat;
  if (gas.CalcPsatFromTemp(&psat, T, true)) return psat;
  return 0.0;
}

}  // namespace

// ---------------------------------------------------------------------------
// CEnteredPo

CEnteredPo::CEnteredPo(double Po, double analysisT, double ambientT)
    : m_dPo(Po), m_dAmbientT(ambientT), m_dAnalysisT(analysisT) {}

CEnteredPo::CEnteredPo(double Po, CPsatVsT const& curve, double ambientT)
    : m_dPo(Po), m_dAmbientT(ambientT), m_dAnalysisT(TempFromCurve(curve, Po)) {}

CEnteredPo::CEnteredPo(double Po, CGasCompressibilityBase const& gas, double ambientT)
    : m_dPo(Po), m_dAmbientT(ambientT), m_dAnalysisT(TempFromGas(gas, Po)) {}

double CEnteredPo::GetPo(CTimeInterval const& /*time*/) const {
  return m_dPo;
}

double CEnteredPo::GetAveragePo() const {
  return m_dPo;
}

double CEnteredPo::GetAmbientTemperature() const {
  return m_dAmbientT;
}

double CEnteredPo::GetAnalysisTemperature() const {
  return m_dAnalysisT;
}

// ---------------------------------------------------------------------------
// CPoFromT

CPoFromT::CPoFromT(double analysisT, CPsatVsT const& curve, double ambientT)
    : m_dPo(PsatFromCurve(curve, analysisT)), m_dAmbientT(ambientT), m_dAnalysisT(analysisT) {}

CPoFromT::CPoFromT(double analysisT, CGasCompressibilityBase const& gas, double ambientT)
    : m_dPo(PsatFromGas(gas, analysisT)), m_dAmbientT(ambientT), m_dAnalysisT(analysisT) {}

double CPoFromT::GetPo(CTimeInterval const& /*time*/) const {
  return m_dPo;
}

double CPoFromT::GetAveragePo() const {
  return m_dPo;
}

double CPoFromT::GetAmbientTemperature() const {
  return m_dAmbientT;
}

double CPoFromT::GetAnalysisTemperature() const {
  return m_dAnalysisT;
}

// ---------------------------------------------------------------------------
// CMeasuredPo

CMeasuredPo::CMeasuredPo(std::vector<double> const& values, std::vector<CTimeInterval> const& times,
                         double analysisT, double ambientT)
    : m_vValues(values), m_vTimes(times), m_dAmbientT(ambientT), m_dAnalysisT(analysisT) {}

CMeasuredPo::CMeasuredPo(std::vector<double> const& values, std::vector<CTimeInterval> const& times,
                         CPsatVsT const& curve, double ambientT)
    : m_vValues(values), m_vTimes(times), m_dAmbientT(ambientT) {
  CalculateAnalysisT(curve);
}

CMeasuredPo::CMeasuredPo(std::vector<double> const& values, std::vector<CTimeInterval> const& times,
                         CGasCompressibilityBase const& gas, double ambientT)
    : m_vValues(values), m_vTimes(times), m_dAmbientT(ambientT) {
  CalculateAnalysisT(gas);
}

double CMeasuredPo::GetPo(CTimeInterval const& time) const {
  return InterpolatePsat(time);
}

double CMeasuredPo::GetAveragePo() const {
  return GetAveragePsat();
}

double CMeasuredPo::GetAmbientTemperature() const {
  return m_dAmbientT;
}

double CMeasuredPo::GetAnalysisTemperature() const {
  return m_dAnalysisT;
}

double CMeasuredPo::InterpolatePsat(CTimeInterval const& time) const {
  // The shorter of the two lists bounds the search, so a mismatch never reads past either.
  const std::size_t n = std::min(m_vValues.size(), m_vTimes.size());
  if (n == 0) return 0.0;
  if (time < m_vTimes[0]) return m_vValues[0];
  std::size_t k = 1;
  while (k < n && !(time < m_vTimes[k])) ++k;
  if (k == n) return m_vValues[n - 1];

  // Whole minutes, signed: the query lies before stamp k, so m - mk is zero or negative.
  // Minute resolution is deliberate: two readings within one minute are one reading, and
  // their difference is noise, not a trend to follow.
  const std::int64_t m = time.GetWholeMinutes();
  const std::int64_t mk = m_vTimes[k].GetWholeMinutes();
  const std::int64_t mk1 = m_vTimes[k - 1].GetWholeMinutes();
  if (mk == mk1) return m_vValues[k - 1];
  const double rise = m_vValues[k] - m_vValues[k - 1];
  return m_vValues[k] + static_cast<double>(m - mk) * rise / static_cast<double>(mk - mk1);
}

double CMeasuredPo::GetAveragePsat() const {
  if (m_vValues.empty()) return std::numeric_limits<double>::quiet_NaN();
  double sum = 0.0;
  for (double v : m_vValues) sum += v;
  return sum / static_cast<double>(m_vValues.size());
}

void CMeasuredPo::AdjustPo(double newPo, CTimeInterval const& time) {
  // Through the virtual GetPo, so a derived source is shifted by what it reports.
  const double offset = newPo - GetPo(time);
  for (double& v : m_vValues) v += offset;
}

void CMeasuredPo::CalculateAnalysisT(CPsatVsT const& curve) {
  m_dAnalysisT = TempFromCurve(curve, GetAveragePsat());
}

void CMeasuredPo::CalculateAnalysisT(CGasCompressibilityBase const& gas) {
  m_dAnalysisT = TempFromGas(gas, GetAveragePsat());
}

// ---------------------------------------------------------------------------
// CAdjustedPo

CAdjustedPo::CAdjustedPo(std::vector<double> const& values, std::vector<CTimeInterval> const& times,
                         double adjustedPo, CTimeInterval const& at, double analysisT,
                         double ambientT)
    : CMeasuredPo(values, times, analysisT, ambientT) {
  AdjustPo(adjustedPo, at);
}

// The base computes the temperature from the raw values; it is computed again so that it
// follows the shifted ones the analysis will actually use.
CAdjustedPo::CAdjustedPo(std::vector<double> const& values, std::vector<CTimeInterval> const& times,
                         double adjustedPo, CTimeInterval const& at, CPsatVsT const& curve,
                         double ambientT)
    : CMeasuredPo(values, times, curve, ambientT) {
  AdjustPo(adjustedPo, at);
  CalculateAnalysisT(curve);
}

CAdjustedPo::CAdjustedPo(std::vector<double> const& values, std::vector<CTimeInterval> const& times,
                         double adjustedPo, CTimeInterval const& at,
                         CGasCompressibilityBase const& gas, double ambientT)
    : CMeasuredPo(values, times, gas, ambientT) {
  AdjustPo(adjustedPo, at);
  CalculateAnalysisT(gas);
}

// ---------------------------------------------------------------------------
// CPoFromPsat

CPoFromPsat::CPoFromPsat(std::vector<double> const& values, std::vector<CTimeInterval> const& times,
                         double analysisT, CPsatVsT const& reference, CPsatVsT const& adsorptive,
                         double ambientT)
    : CMeasuredPo(values, times, analysisT, ambientT),
      m_pReferenceCurve(&reference),
      m_pAdsorptiveCurve(&adsorptive) {}

CPoFromPsat::CPoFromPsat(std::vector<double> const& values, std::vector<CTimeInterval> const& times,
                         double analysisT, CGasCompressibilityBase const& reference,
                         CGasCompressibilityBase const& adsorptive, double ambientT)
    : CMeasuredPo(values, times, analysisT, ambientT),
      m_pReferenceGas(&reference),
      m_pAdsorptiveGas(&adsorptive) {}

CPoFromPsat::CPoFromPsat(std::vector<double> const& values, std::vector<CTimeInterval> const& times,
                         CPsatVsT const& reference, CPsatVsT const& adsorptive, double ambientT)
    : CMeasuredPo(values, times, reference, ambientT),
      m_pReferenceCurve(&reference),
      m_pAdsorptiveCurve(&adsorptive) {}

CPoFromPsat::CPoFromPsat(std::vector<double> const& values, std::vector<CTimeInterval> const& times,
                         CGasCompressibilityBase const& reference,
                         CGasCompressibilityBase const& adsorptive, double ambientT)
    : CMeasuredPo(values, times, reference, ambientT),
      m_pReferenceGas(&reference),
      m_pAdsorptiveGas(&adsorptive) {}

double CPoFromPsat::GetPo(CTimeInterval const& time) const {
  return CalculatePoFromT(GetAnalysisTAt(time));
}

double CPoFromPsat::GetAveragePo() const {
  return CalculatePoFromT(CalculateTFromPsat(GetAveragePsat()));
}

double CPoFromPsat::GetAnalysisTAt(CTimeInterval const& time) const {
  return CalculateTFromPsat(InterpolatePsat(time));
}

double CPoFromPsat::CalculateTFromPsat(double psat) const {
  if (m_pReferenceCurve != nullptr) return TempFromCurve(*m_pReferenceCurve, psat);
  if (m_pReferenceGas != nullptr) return TempFromGas(*m_pReferenceGas, psat);
  return 0.0;
}

double CPoFromPsat::CalculatePoFromT(double T) const {
  if (m_pAdsorptiveCurve != nullptr) return PsatFromCurve(*m_pAdsorptiveCurve, T);
  if (m_pAdsorptiveGas != nullptr) return PsatFromGas(*m_pAdsorptiveGas, T);
  return 0.0;
}
