// Where an analysis gets its saturation pressure Po (mmHg) and its temperatures (K).
//
// Every relative pressure P/Po needs the Po that held when the point was taken, so
// the sources answer per time stamp as well as on average:
// - CEnteredPo: one operator-entered Po; the bath temperature may be derived from
//   it through a saturation curve or a gas table.
// - CPoFromT: one entered bath temperature; Po is derived from it.
// - CMeasuredPo: Po read from a saturation cell during the run, one value per
//   stamp, interpolated between stamps.
// - CAdjustedPo: measured values shifted as a whole so that they pass through a
//   Po the operator enters for one instant (a calibration of the cell's offset).
// - CPoFromPsat: the cell holds a reference gas; its measured pressure gives the
//   bath temperature, and that temperature gives the adsorptive's Po.
//
// Method: measured values are interpolated linearly in whole minutes between the
// two stamps around the query (see CMeasuredPo::InterpolatePsat); outside the
// stamps the end value holds. Temperatures and pressures are converted through
// CPsatVsT (an entered curve) or CGasCompressibilityBase (a gas table).
// Cost: a lookup walks the stamps linearly, O(n); a conversion costs one fit of
// the curve or one table lookup.
//
// Choices made here (documented so callers can rely on them):
// - A conversion that fails, or is given a non-finite value, gives 0.0 ("no
//   value"); nothing throws except allocation. CPsatVsT writes its end values
//   even when it fails, so its answer is used only on success.
// - From a gas table, temperature-from-pressure allows sublimation;
//   pressure-from-temperature tries the liquid first and sublimation second.
//   The table must be filled in mmHg for Po to come out in mmHg.
// - Stamps are taken as ascending; nothing sorts them.
// - Values and stamps of different lengths are used up to the shorter one for
//   interpolation, so nothing is read out of range; the mean uses all values.
// - Curves and gases given to CPoFromPsat are borrowed and must outlive it; the
//   other classes use theirs in the constructor only.
#pragma once

#include <vector>

#include "fiofla/compress.h"
#include "fiofla/psat_vs_t.h"
#include "fiofla/str/timeinterval.h"

/// Saturation pressure of the adsorptive over a run.
class CPoInfo {
 public:
  /// Po at the time stamp of a point, mmHg; 0.0 when there is no value.
  virtual double GetPo(CTimeInterval const& time) const = 0;
  /// Po over the whole run, mmHg; 0.0 when there is no value.
  virtual double GetAveragePo() const = 0;
  virtual ~CPoInfo() = default;
};

/// Temperatures of an analysis.
class CTemperatureInfo {
 public:
  /// Ambient (manifold) temperature, K.
  virtual double GetAmbientTemperature() const = 0;
  /// Analysis (sample bath) temperature, K; 0.0 when it could not be derived.
  virtual double GetAnalysisTemperature() const = 0;
  virtual ~CTemperatureInfo() = default;
};

/// Po and temperatures together, as every physisorption analysis needs them.
class CPoAndT : public CPoInfo, public CTemperatureInfo {};

/// One entered Po (mmHg) for the whole run.
class CEnteredPo : public CPoAndT {
 public:
  /// Po (mmHg), analysis temperature (K) and ambient temperature (K) as entered.
  CEnteredPo(double Po, double analysisT, double ambientT);
  /// Analysis temperature (K) is the curve's temperature at Po (mmHg); 0.0 if outside it.
  CEnteredPo(double Po, CPsatVsT const& curve, double ambientT);
  /// Analysis temperature (K) is the gas's saturation or sublimation temperature at Po
  /// (mmHg); 0.0 when the table has none.
  CEnteredPo(double Po, CGasCompressibilityBase const& gas, double ambientT);

  double GetPo(CTimeInterval const& time) const override;
  double GetAveragePo() const override;
  double GetAmbientTemperature() const override;
  double GetAnalysisTemperature() const override;

 protected:
  /// Entered saturation pressure, mmHg.
  double m_dPo;
  /// Ambient temperature, K.
  double m_dAmbientT;
  /// Analysis temperature, K; 0.0 = could not be derived.
  double m_dAnalysisT;
};

/// Po (mmHg) derived from one entered analysis temperature (K).
class CPoFromT : public CPoAndT {
 public:
  /// Po is the curve's pressure at analysisT (K); 0.0 if outside the curve.
  CPoFromT(double analysisT, CPsatVsT const& curve, double ambientT);
  /// Po is the gas's saturation pressure at analysisT (K), or its sublimation pressure
  /// where there is no liquid; 0.0 when the table has neither.
  CPoFromT(double analysisT, CGasCompressibilityBase const& gas, double ambientT);

  double GetPo(CTimeInterval const& time) const override;
  double GetAveragePo() const override;
  double GetAmbientTemperature() const override;
  double GetAnalysisTemperature() const override;

 protected:
  /// Derived saturation pressure, mmHg; 0.0 = no value.
  double m_dPo;
  /// Ambient temperature, K.
  double m_dAmbientT;
  /// Entered analysis temperature, K.
  double m_dAnalysisT;
};

/// Po (mmHg) measured during the run, one value per time stamp.
class CMeasuredPo : public CPoAndT {
 public:
  /// Measured values (mmHg) at their stamps, with entered temperatures (K).
  CMeasuredPo(std::vector<double> const& values, std::vector<CTimeInterval> const& times,
              double analysisT, double ambientT);
  /// Analysis temperature (K) is the curve's temperature at the mean of the values.
  CMeasuredPo(std::vector<double> const& values, std::vector<CTimeInterval> const& times,
              CPsatVsT const& curve, double ambientT);
  /// Analysis temperature (K) is the gas's saturation or sublimation temperature at the
  /// mean of the values.
  CMeasuredPo(std::vector<double> const& values, std::vector<CTimeInterval> const& times,
              CGasCompressibilityBase const& gas, double ambientT);

  /// InterpolatePsat(time), mmHg.
  double GetPo(CTimeInterval const& time) const override;
  /// GetAveragePsat(), mmHg.
  double GetAveragePo() const override;
  double GetAmbientTemperature() const override;
  double GetAnalysisTemperature() const override;

  /// Measured value at `time`, mmHg. Before the first stamp the first value, from the last
  /// stamp on the last value, 0.0 with no values. Between stamps s[k-1] <= t < s[k] the
  /// line through both values in whole minutes: v[k] + (m - m_k)(v[k] - v[k-1]) /
  /// (m_k - m_{k-1}), and v[k-1] when both stamps fall in the same minute.
  double InterpolatePsat(CTimeInterval const& time) const;
  /// Arithmetic mean of all values, mmHg; NaN with no values.
  double GetAveragePsat() const;
  /// Shifts every value by the same amount so that GetPo(time) becomes newPo (mmHg).
  void AdjustPo(double newPo, CTimeInterval const& time);
  /// Sets the analysis temperature (K) to the curve's temperature at the mean value; 0.0
  /// when there is none.
  void CalculateAnalysisT(CPsatVsT const& curve);
  /// Sets the analysis temperature (K) to the gas's saturation or sublimation temperature
  /// at the mean value; 0.0 when there is none.
  void CalculateAnalysisT(CGasCompressibilityBase const& gas);

  /// Measured values, mmHg, in stamp order.
  std::vector<double> const& GetValues() const { return m_vValues; }
  /// Time stamps of the values, ascending.
  std::vector<CTimeInterval> const& GetTimes() const { return m_vTimes; }

 protected:
  /// Measured values, mmHg.
  std::vector<double> m_vValues;
  /// Time stamps of the values, ascending.
  std::vector<CTimeInterval> m_vTimes;
  /// Ambient temperature, K.
  double m_dAmbientT;
  /// Analysis temperature, K; 0.0 = could not be derived.
  double m_dAnalysisT = 0.0;
};

/// Measured Po shifted so that it passes through an entered value at one instant.
class CAdjustedPo : public CMeasuredPo {
 public:
  /// Measured values (mmHg) shifted to adjustedPo (mmHg) at `at`; temperatures (K) entered.
  CAdjustedPo(std::vector<double> const& values, std::vector<CTimeInterval> const& times,
              double adjustedPo, CTimeInterval const& at, double analysisT, double ambientT);
  /// As above; analysis temperature (K) from the curve at the mean of the shifted values.
  CAdjustedPo(std::vector<double> const& values, std::vector<CTimeInterval> const& times,
              double adjustedPo, CTimeInterval const& at, CPsatVsT const& curve, double ambientT);
  /// As above; analysis temperature (K) from the gas at the mean of the shifted values.
  CAdjustedPo(std::vector<double> const& values, std::vector<CTimeInterval> const& times,
              double adjustedPo, CTimeInterval const& at, CGasCompressibilityBase const& gas,
              double ambientT);
};

/// Po (mmHg) of the adsorptive from the measured saturation pressure of a reference gas:
/// reference pressure -> bath temperature -> adsorptive Po. Either two curves or two gases
/// are used; they are borrowed and must outlive the object.
class CPoFromPsat : public CMeasuredPo {
 public:
  /// Reference values (mmHg) at their stamps through two curves; analysis temperature (K)
  /// as entered.
  CPoFromPsat(std::vector<double> const& values, std::vector<CTimeInterval> const& times,
              double analysisT, CPsatVsT const& reference, CPsatVsT const& adsorptive,
              double ambientT);
  /// Reference values (mmHg) at their stamps through two gases; analysis temperature (K)
  /// as entered.
  CPoFromPsat(std::vector<double> const& values, std::vector<CTimeInterval> const& times,
              double analysisT, CGasCompressibilityBase const& reference,
              CGasCompressibilityBase const& adsorptive, double ambientT);
  /// As with curves above; analysis temperature (K) from the reference curve at the mean
  /// reference value.
  CPoFromPsat(std::vector<double> const& values, std::vector<CTimeInterval> const& times,
              CPsatVsT const& reference, CPsatVsT const& adsorptive, double ambientT);
  /// As with gases above; analysis temperature (K) from the reference gas at the mean
  /// reference value.
  CPoFromPsat(std::vector<double> const& values, std::vector<CTimeInterval> const& times,
              CGasCompressibilityBase const& reference, CGasCompressibilityBase const& adsorptive,
              double ambientT);

  /// Adsorptive Po at the bath temperature at `time`, mmHg.
  double GetPo(CTimeInterval const& time) const override;
  /// Adsorptive Po at the bath temperature of the mean reference value, mmHg.
  double GetAveragePo() const override;

  /// Bath temperature at `time` from the interpolated reference value, K.
  double GetAnalysisTAt(CTimeInterval const& time) const;
  /// Temperature (K) at which the reference gas has saturation pressure psat (mmHg); 0.0
  /// when there is none.
  double CalculateTFromPsat(double psat) const;
  /// Saturation (or sublimation) pressure of the adsorptive at T (K), mmHg; 0.0 when there
  /// is none.
  double CalculatePoFromT(double T) const;

 protected:
  /// Reference curve giving temperature from pressure; null when gases are used.
  CPsatVsT const* m_pReferenceCurve = nullptr;
  /// Adsorptive curve giving Po from temperature; null when gases are used.
  CPsatVsT const* m_pAdsorptiveCurve = nullptr;
  /// Reference gas giving temperature from pressure; null when curves are used.
  CGasCompressibilityBase const* m_pReferenceGas = nullptr;
  /// Adsorptive gas giving Po from temperature; null when curves are used.
  CGasCompressibilityBase const* m_pAdsorptiveGas = nullptr;
};

/// Temperatures of a chemisorption analysis, which has no Po.
class CChemiTemperatureInfo : public CTemperatureInfo {
 public:
  /// Both temperatures 0.0 K.
  CChemiTemperatureInfo() = default;
  /// Analysis and ambient temperature, K.
  CChemiTemperatureInfo(double analysisT, double ambientT)
      : m_dAnalysisT(analysisT), m_dAmbientT(ambientT) {}

  double GetAmbientTemperature() const override { return m_dAmbientT; }
  double GetAnalysisTemperature() const override { return m_dAnalysisT; }

 protected:
  /// Analysis temperature, K.
  double m_dAnalysisT = 0.0;
  /// Ambient temperature, K.
  double m_dAmbientT = 0.0;
};
