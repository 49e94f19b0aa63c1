// Thermal virial equation fitted to isotherms at several temperatures at once, with the
// isosteric heat it implies.
//
// Method: ln P = ln N + (1/T) Σ_{i=0..m} a_i N^i + Σ_{j=0..k} b_j N^j (Czepirski & Jagiełło
// 1989), N quantity adsorbed, T kelvin. y = ln P − ln N is linear in the a_i and b_j, so all
// points of all isotherms make one linear least-squares problem, solved by SVD (CNumSVD) with
// N divided by its largest value and every column scaled to unit length first, which keeps the
// powers of N and the nearly collinear columns N^i/T and N^i well conditioned. The orders m
// and k are given, or chosen by the smallest corrected Akaike criterion (AICc, Hurvich & Tsai
// 1989) over every pair up to the given maxima.
// Derived: Qst(N) = −R Σ a_i N^i (Clausius-Clapeyron at constant N), its standard error from
// the parameter covariance s² (XᵀX)⁻¹; the Henry constant K_H(T) = lim N/P = exp(−b₀ − a₀/T);
// the reduced spreading pressure in closed form, π = ∫ N dln P = N + Σ_{i≥1} i a_i N^{i+1} /
// ((i+1) T) + Σ_{j≥1} j b_j N^{j+1}/(j+1), since N dlnP/dN = 1 + (1/T) Σ i a_i N^i + Σ j b_j N^j.
// Cost: a fit O(points × parameters²) per order pair tried; quantity from pressure a bracketed
// bisection in ln N of at most ~200 evaluations of a polynomial.
// Guarantees: exact virial data give the coefficients back to rounding; nothing throws for bad
// data: too few points leave IsValid() false and every result 0.
//
// As a CModel the fitted equation is evaluated at one temperature, the model temperature. N is
// the independent variable here (P is explicit in N), so IsPressureIndependentVariable() is
// false and GetModelPressure(N) gives P directly.
//
// Choices made here:
// - points with a pressure or quantity that is not positive and finite are left out (ln of
//   them is undefined), and so are isotherms whose temperature is not positive;
// - AICc takes RSS no smaller than n (1e-14 max|y|)², so that orders which fit exact data to
//   rounding count as equal and the fewest parameters win;
// - quantity from pressure returns 0 for P <= 0 and when no bracket is found within 2^60 of
//   the largest fitted quantity (a fit whose ln P does not rise).
#pragma once

#include <cstddef>
#include <vector>

#include "fiofla/gas_isotherm_model.h"

namespace NIsothermModel {

/// Thermal virial equation fitted across temperatures; a CModel at its model temperature.
class CVirialExpansion : public CModel {
 public:
  /// One isotherm: its temperature and its (pressure, quantity) points.
  struct SIsotherm {
    /// Temperature of the isotherm, K.
    double temperatureK = 0.0;
    /// Points, pressure in mmHg (any unit: it moves b₀ only), quantity in cm³/g STP.
    std::vector<SPressQAds> points;
  };

  /// Fit settings.
  struct SOptions {
    /// Order m of the temperature sum (a_0..a_m); −1 to choose it by AICc.
    int orderA = -1;
    /// Order k of the temperature-free sum (b_0..b_k); −1 to choose it by AICc.
    int orderB = -1;
    /// Largest m tried when choosing.
    int maxOrderA = 6;
    /// Largest k tried when choosing.
    int maxOrderB = 4;
    /// Singular values below this fraction of the largest are zeroed.
    double svdRelativeCutoff = 1e-13;
    /// Temperature of the CModel evaluation, K; 0 for the first isotherm's.
    double modelTemperatureK = 0.0;
  };

  /// Status of the fit.
  enum EStatus : int {
    eNotFitted = 0,
    /// Fewer usable points than parameters plus one, or fewer than two temperatures.
    eTooFewPoints = 1,
    eFitted = 2
  };

  /// Fits the isotherms with the default options.
  explicit CVirialExpansion(std::vector<SIsotherm> const& isotherms);
  /// Fits the isotherms.
  CVirialExpansion(std::vector<SIsotherm> const& isotherms, SOptions const& options);
  virtual ~CVirialExpansion() = default;

  bool IsValid() const override { return m_status == eFitted; }
  /// Quantity adsorbed at pressure P at the model temperature; 0 for P <= 0.
  double GetModelQuantityAds(double pressure) const override;
  /// Pressure at which the quantity adsorbed is N at the model temperature; 0 for N <= 0.
  double GetModelPressure(double quantityAds) const override;
  /// Reduced spreading pressure at P (units of quantity adsorbed).
  double GetModelSpreadingPressure(double pressure) const override;
  bool IsPressureIndependentVariable() const override { return false; }

  /// The same fit evaluated at another model temperature, K.
  CVirialExpansion AtTemperature(double temperatureK) const;

  /// Status of the fit.
  EStatus GetStatus() const { return m_status; }
  /// a_0..a_m, K per (quantity unit)^i.
  std::vector<double> const& GetA() const { return m_a; }
  /// b_0..b_k, per (quantity unit)^j.
  std::vector<double> const& GetB() const { return m_b; }
  /// Model temperature, K.
  double GetModelTemperature() const { return m_modelT; }
  /// ln P of the model at quantity N and temperature T; 0 when not fitted or N, T <= 0.
  double GetLnPressure(double quantityAds, double temperatureK) const;
  /// Reduced spreading pressure at quantity N and temperature T (units of quantity).
  double GetSpreadingPressureAtQuantity(double quantityAds, double temperatureK) const;
  /// Isosteric heat at quantity N, kJ/mol.
  double GetIsostericHeat(double quantityAds) const;
  /// Standard error of the isosteric heat at quantity N, kJ/mol.
  double GetIsostericHeatError(double quantityAds) const;
  /// Henry constant at temperature T, quantity per pressure unit.
  double GetHenryConstant(double temperatureK) const;
  /// Temperatures of the fitted isotherms, K, in input order (skipped ones left out).
  std::vector<double> const& GetTemperatures() const { return m_temperatures; }
  /// Henry constant of each fitted isotherm, in the order of GetTemperatures().
  std::vector<double> GetHenryConstants() const;
  /// ln P measured − ln P model of every point used, isotherm by isotherm in input order.
  std::vector<double> const& GetResiduals() const { return m_residuals; }
  /// Residual standard deviation of ln P.
  double GetResidualStdDev() const { return m_sigma; }
  /// Corrected Akaike criterion of the chosen fit.
  double GetAICc() const { return m_aicc; }
  /// Number of points used.
  std::size_t GetPointCount() const { return m_residuals.size(); }

 private:
  EStatus m_status = eNotFitted;
  double m_modelT = 0.0;
  std::vector<double> m_a;
  std::vector<double> m_b;
  // Covariance of (a_0..a_m), the block the isosteric heat needs, row-major.
  std::vector<double> m_covA;
  std::vector<double> m_temperatures;
  std::vector<double> m_residuals;
  double m_nMax = 0.0;
  double m_sigma = 0.0;
  double m_aicc = 0.0;
};

}  // namespace NIsothermModel
