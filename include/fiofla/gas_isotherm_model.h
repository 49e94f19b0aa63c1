// Single-component isotherm models: Langmuir, Sips, Toth, Redlich-Peterson and dual-site
// Langmuir fitted to measured (pressure, quantity adsorbed) points, their evaluation, and the
// reduced spreading pressure π(P) = ∫₀ᴾ q(x)/x dx (units of quantity adsorbed) that a mixture
// calculation inverts.
//
// Method: Langmuir by the straight line P/q = 1/(b Qm) + P/Qm (CNumLineFit); the other four
// by Levenberg-Marquardt (CMarquetteFit) with analytic derivatives, unit weights and fixed
// start values. Spreading pressures in closed form where one exists (Langmuir, Sips,
// dual-site Langmuir); for Toth and Redlich-Peterson by successive midpoint refinement, which
// leaves out the last midpoint of every pass on purpose: the rule is kept as it is defined,
// so that its values stay comparable wherever it is used. FindXTarget inverts an
// increasing function by decade bracketing and bisection.
// Cost: a fit is O(points × iterations); a refined spreading pressure at most 2¹⁴ model
// evaluations; FindXTarget at most 20 bracketing evaluations plus the bisection.
// Guarantees: nothing throws for bad data; a failed fit leaves its status at the failure
// value and every parameter 0; a logarithm whose argument is not greater than 0 (or is NaN)
// is replaced by 1e-9, never an error.
//
// Choices made here:
// - the fit callbacks return 0 and write 0 derivatives for P <= 0, like the model functions;
// - in the refined integral the integrand q(x)/x is taken as 0 for x <= 0, so π(0) = 0 instead
//   of 0/0;
// - FindXTarget's bisection also stops when the bracket can no longer shrink in double
//   precision (a target that the function jumps over), rather than looping for ever.
#pragma once

#include <functional>
#include <utility>
#include <vector>

#include "fiofla/num/marquette.h"

namespace NIsothermModel {

/// One isotherm point.
struct SPressQAds {
  double pressure = 0.0;     ///< pressure, mmHg (or any unit the caller keeps throughout)
  double quantityAds = 0.0;  ///< quantity adsorbed, cm³/g STP (or the caller's unit)
};

/// Common interface of the isotherm models. No public virtual destructor: the
/// destructor is protected so that no model is deleted through this base.
class CModel {
 public:
  /// True when the model's parameters may be used.
  virtual bool IsValid() const = 0;
  /// Quantity adsorbed at a pressure.
  virtual double GetModelQuantityAds(double pressure) const = 0;
  /// Pressure at a quantity adsorbed; 0 where a model has no inverse.
  virtual double GetModelPressure(double) const { return 0.0; }
  /// Reduced spreading pressure at a pressure, units of quantity adsorbed.
  virtual double GetModelSpreadingPressure(double pressure) const = 0;
  /// (min(π(p1), 1e-6), π(p2)): the lower end is never above 1e-6.
  virtual std::pair<double, double> GetModelSpreadingPressureRange(double p1, double p2) const;
  /// True for a model that is complete as fitted.
  virtual bool IsComplete() const { return true; }
  /// True when pressure is the model's independent variable.
  virtual bool IsPressureIndependentVariable() const { return true; }
  /// Pressure and quantity at which the model reaches a spreading pressure, searched from
  /// the pressure passed in; false (arguments unchanged) when no positive pressure is found.
  virtual bool GetModelPressureAndQuantityAds(double spreadingPressure, double& pressure,
                                              double& quantity) const;

 protected:
  CModel() = default;
  CModel(CModel const&) = default;
  CModel& operator=(CModel const&) = default;
  ~CModel() = default;
};

/// Langmuir q = b Qm P / (1 + b P), fitted as a straight line of P/q on P.
class CLangmuir : public CModel {
 public:
  /// Fits the points: status 1 fewer than two points, 2 slope 0, 3 intercept 0, 4 fitted.
  explicit CLangmuir(std::vector<SPressQAds> const& points);
  virtual ~CLangmuir() = default;

  bool IsValid() const override { return m_status == 4; }
  double GetModelQuantityAds(double pressure) const override;
  /// Qm ln(1 + b P).
  double GetModelSpreadingPressure(double pressure) const override;

  /// b Qm P / (1 + b P); 0 when 1 + b P is exactly 0 (negative P is not guarded).
  static double GetModelQuantityAds(double P, double Qm, double b);

  int GetStatus() const { return m_status; }
  /// Langmuir constant b, 1/pressure unit.
  double GetLangmuirConstant() const { return m_b; }
  /// Monolayer quantity Qm, quantity unit.
  double GetMonoLayerQAds() const { return m_Qm; }
  /// Surface area, m²/g, for a molecular cross-section in nm² (Qm in cm³/g STP).
  double GetSurfaceArea(double crossSectionalAreaNm2) const;
  /// Its error from the relative error of the fitted slope, m²/g.
  double GetSurfaceAreaError(double crossSectionalAreaNm2) const;

 private:
  int m_status = 1;
  double m_b = 0.0;
  double m_Qm = 0.0;
  double m_slopeRelError = 0.0;
};

/// Sips q = Qm (bP)ⁿ / (1 + (bP)ⁿ).
class CSips : public CModel {
 public:
  /// Fits the points: status 0 not fitted, 2 fitted.
  explicit CSips(std::vector<SPressQAds> const& points);
  virtual ~CSips() = default;
  bool IsValid() const override { return m_status == 2; }
  double GetModelQuantityAds(double pressure) const override;
  /// (Qm/n) ln(1 + (bP)ⁿ).
  double GetModelSpreadingPressure(double pressure) const override;
  /// The model; 0 for P <= 0.
  static double GetModelQuantityAds(double P, double Qm, double b, double n);
  int GetStatus() const { return m_status; }
  double GetExponent() const { return m_n; }  ///< n, dimensionless
  double Getb() const { return m_b; }         ///< b, 1/pressure unit
  double GetQm() const { return m_Qm; }       ///< Qm, quantity unit

 private:
  int m_status = 0;
  double m_n = 0.0, m_b = 0.0, m_Qm = 0.0;
};

/// Toth q = b Qm P / (1 + (bP)ⁿ)^(1/n).
class CToth : public CModel {
 public:
  /// Fits the points: status 0 not fitted, 2 fitted.
  explicit CToth(std::vector<SPressQAds> const& points);
  virtual ~CToth() = default;
  bool IsValid() const override { return m_status == 2; }
  double GetModelQuantityAds(double pressure) const override;
  /// By successive refinement (see the top of this header).
  double GetModelSpreadingPressure(double pressure) const override;
  /// The model; 0 for P <= 0.
  static double GetModelQuantityAds(double P, double Qm, double b, double n);
  int GetStatus() const { return m_status; }
  double GetExponent() const { return m_n; }  ///< n, dimensionless
  double Getb() const { return m_b; }         ///< b, 1/pressure unit
  double GetQm() const { return m_Qm; }       ///< Qm, quantity unit

 private:
  int m_status = 0;
  double m_n = 0.0, m_b = 0.0, m_Qm = 0.0;
};

/// Redlich-Peterson q = K P / (1 + a P^g).
class CRedlichPeterson : public CModel {
 public:
  /// Fits the points: status 0 not fitted, 2 fitted.
  explicit CRedlichPeterson(std::vector<SPressQAds> const& points);
  virtual ~CRedlichPeterson() = default;
  bool IsValid() const override { return m_status == 2; }
  double GetModelQuantityAds(double pressure) const override;
  /// By successive refinement (see the top of this header).
  double GetModelSpreadingPressure(double pressure) const override;
  /// The model; 0 for P <= 0.
  static double GetModelQuantityAds(double P, double K, double a, double g);
  int GetStatus() const { return m_status; }
  double GetK() const { return m_K; }  ///< K, quantity per pressure unit
  double Geta() const { return m_a; }  ///< a, 1/pressure unit^g
  double Getg() const { return m_g; }  ///< g, dimensionless

 private:
  int m_status = 0;
  double m_K = 0.0, m_a = 0.0, m_g = 0.0;
};

/// Dual-site Langmuir: two Langmuir terms (Qm1, b1) and (Qm2, b2).
class CDualSiteLangmuir : public CModel {
 public:
  /// Fits the points: status 0 not fitted, 2 fitted.
  explicit CDualSiteLangmuir(std::vector<SPressQAds> const& points);
  virtual ~CDualSiteLangmuir() = default;
  bool IsValid() const override { return m_status == 2; }
  double GetModelQuantityAds(double pressure) const override;
  /// Qm1 ln(1 + b1 P) + Qm2 ln(1 + b2 P).
  double GetModelSpreadingPressure(double pressure) const override;
  /// The model; 0 for P <= 0.
  static double GetModelQuantityAds(double P, double Qm1, double b1, double Qm2, double b2);
  int GetStatus() const { return m_status; }
  double Getb1() const { return m_b1; }    ///< b1, 1/pressure unit
  double GetQm1() const { return m_Qm1; }  ///< Qm1, quantity unit
  double Getb2() const { return m_b2; }    ///< b2, 1/pressure unit
  double GetQm2() const { return m_Qm2; }  ///< Qm2, quantity unit

 private:
  int m_status = 0;
  double m_b1 = 0.0, m_Qm1 = 0.0, m_b2 = 0.0, m_Qm2 = 0.0;
};

/// Fit callbacks: the model at P for parameters in the order (Qm, b, n), (Qm, b, n),
/// (K, a, g) and (Qm1, b1, Qm2, b2); each writes ∂q/∂parameter into the derivative fields.
double GetSipsQAdsWithParams(double P, std::vector<SCurveFitParam>& params);
double GetTothQAdsWithParams(double P, std::vector<SCurveFitParam>& params);
double GetRedlichPetersonQAdsWithParams(double P, std::vector<SCurveFitParam>& params);
double GetDualSiteLangmuirQAdsWithParams(double P, std::vector<SCurveFitParam>& params);

/// x with f(x) = target for an increasing f, searched from start: −1 for target <= 0 or no
/// bracket within 20 decades; 0 when target × relativeTolerance >= 1 (and neither the start
/// nor the upper bracket end is already within it) or the root is not positive.
double FindXTarget(std::function<double(double)> f, double target, double relativeTolerance,
                   double start);

/// Spreading pressure of measured points by the trapezoid rule in ln P, one (P, π) per
/// point after the first; pairs with a zero pressure are skipped.
std::vector<SPressQAds> GetSpreadingPressure(std::vector<SPressQAds> const& points);

}  // namespace NIsothermModel
