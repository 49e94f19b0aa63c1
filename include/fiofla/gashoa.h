// Heats of adsorption and desorption from families of measurements, by straight-line fits.
//
// Method: CIsostereCalc takes the isosteric heat at one quantity adsorbed from isotherms at
// several temperatures by the Clausius-Clapeyron relation: at constant amount, ln P against
// 1/T is a line of slope -Qst/R. Each isotherm is inverted at the target quantity by
// bisection on its monotone cubic interpolant (Fritsch & Carlson 1980). CDynamicHeatCalc takes
// the activation energy of desorption from temperature-programmed peaks at several ramp rates
// by the Kissinger (1957) / Redhead (1962) relation for first-order desorption:
// ln(Tp²/β) = E/(R Tp) + ln(E/(R A)), a line in 1/Tp of slope E/R.
// Cost: AddIsotherm O(n log n) for the table plus a bisection of at most ~60 interpolations;
// both fits O(number of isotherms or runs).
// Guarantees: nothing throws for bad data; too few points leave IsOK()/IsValid() false and
// every result 0.
//
// Units: pressures in any one unit (the heat does not depend on it), temperatures in kelvin,
// energies in kJ/mol with R = 0.00831441 kJ/(mol K). The ramp rate may be in K/min or K/s:
// its unit moves only the intercept of the dynamic fit (by ln 60), never the heat.
//
// Choices made here:
// - a target equal to the first tabulated quantity has no lower neighbour; its bracket is the
//   first table pressure on both sides, so the isostere pressure is that pressure;
// - the first table index at or above the target is searched with a full-width index, so
//   tables of any length work;
// - an isotherm at a temperature that is not positive and finite adds nothing (0 K means
//   "no value"), and AddIsotherm returns whether it added a point;
// - with exactly two points the line is exact and its standard errors are reported as 0.
#pragma once

#include <vector>

#include "fiofla/num/numvector.h"

/// Isosteric heat of adsorption at one quantity adsorbed from isotherms at several temperatures.
class CIsostereCalc {
 public:
  /// Builder of the isostere: one pressure and temperature per isotherm that reaches the target.
  class CInput {
   public:
    /// Starts an isostere at the quantity adsorbed quantityAds (units of the isotherms).
    explicit CInput(double quantityAds) : m_QuantityAds(quantityAds) {}

    /// Adds the pressure at which the isotherm (pressures, quantities) reaches the target
    /// quantity, at temperatureK; false (nothing added) when the isotherm does not reach it.
    bool AddIsotherm(CNumVector<double> const& pressures, CNumVector<double> const& quantities,
                     double temperatureK);

    /// Quantity adsorbed at which the isostere is taken.
    double m_QuantityAds;
    /// Interpolated pressure of each accepted isotherm.
    std::vector<double> m_Pressures;
    /// Temperature of each accepted isotherm, K.
    std::vector<double> m_Temperatures;
  };

  /// One fitted point: x = 1/T (1/K), y = ln P.
  struct SData {
    double x;
    double y;
  };

  /// Builds the points (1/T, ln P) and fits the line.
  explicit CIsostereCalc(CInput const& input);

  /// True when at least two isotherms gave a point.
  bool IsOK() const { return m_Data.size() >= 2; }
  /// Quantity adsorbed of the isostere.
  double GetQuantityAds() const { return m_QuantityAds; }
  /// Slope of ln P against 1/T, K.
  double GetSlope() const { return m_Slope; }
  /// Standard error of the slope, K.
  double GetSlopeError() const { return m_SlopeError; }
  /// Intercept of ln P at 1/T = 0.
  double GetIntercept() const { return m_Intercept; }
  /// The fitted points.
  std::vector<SData> const& GetData() const { return m_Data; }
  /// Isosteric heat, kJ/mol; 0 when not OK.
  double HeatOfAdsorption() const;
  /// Standard error of the isosteric heat, kJ/mol; 0 when not OK.
  double GetUncertainty() const;

 private:
  double m_QuantityAds;
  std::vector<SData> m_Data;
  double m_Slope = 0.0;
  double m_SlopeError = 0.0;
  double m_Intercept = 0.0;
};

/// Heat (activation energy) of desorption from peak temperatures at several ramp rates.
class CDynamicHeatCalc {
 public:
  /// One temperature-programmed run.
  struct STempRampRate {
    /// Peak temperature, K.
    double temperatureK;
    /// Ramp rate, K per time unit (K/min or K/s; the heat does not depend on it).
    double rampRate;
  };

  /// Fits ln(T²/rate) against 1/T over the runs with T != 0 and rate > 0.
  explicit CDynamicHeatCalc(std::vector<STempRampRate> runs);

  /// True when at least two runs were accepted.
  bool IsValid() const { return m_InvTemperatures.size() >= 2; }
  /// Heat of desorption, kJ/mol.
  double GetHeatOfDesorption() const { return m_HeatOfDesorption; }
  /// Standard error of the heat, kJ/mol.
  double GetHeatError() const { return m_HeatError; }
  /// Slope of ln(T²/rate) against 1/T, K.
  double GetFitSlope() const { return m_FitSlope; }
  /// Standard error of the slope, K.
  double GetFitSlopeError() const { return m_FitSlopeError; }
  /// Intercept of ln(T²/rate) at 1/T = 0.
  double GetFitYIntercept() const { return m_FitYIntercept; }
  /// Standard error of the intercept.
  double GetFitYInterceptError() const { return m_FitYInterceptError; }
  /// Correlation coefficient of the fit.
  double GetFitCorrCoef() const { return m_FitCorrCoef; }
  /// 1/T of each accepted run, 1/K.
  std::vector<double> const& GetInvTemperatures() const { return m_InvTemperatures; }
  /// ln(T²/rate) of each accepted run.
  std::vector<double> const& GetTransform() const { return m_Transform; }

 private:
  std::vector<double> m_InvTemperatures;
  std::vector<double> m_Transform;
  double m_HeatOfDesorption = 0.0;
  double m_HeatError = 0.0;
  double m_FitSlope = 0.0;
  double m_FitSlopeError = 0.0;
  double m_FitYIntercept = 0.0;
  double m_FitYInterceptError = 0.0;
  double m_FitCorrCoef = 0.0;
};
