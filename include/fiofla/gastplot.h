// Statistical thickness curves and the t-plot.
//
// CThicknessFunction gives the statistical thickness t (angstroms) of the film
// adsorbed on a non-porous reference surface as a function of relative pressure
// x = P/Po. CTPlotCalc turns an isotherm into a t-plot (de Boer et al. 1966;
// Lippens and de Boer 1965): quantity adsorbed against t is a straight line over
// the multilayer range, whose slope gives the external surface area and whose
// intercept gives the micropore volume.
//
// Curves (a, b, c are m_A, m_B, m_C; defaults are the published nitrogen 77 K ones):
// - Halsey (Halsey 1948): t = b (a / ln x)^c; 3.54 (-5 / ln x)^0.333.
// - Harkins-Jura (Harkins and Jura 1944): t = (a / (b - log10 x))^c;
//   (13.99 / (0.034 - log10 x))^0.5.
// - Kruk-Jaroniec-Sayari (Kruk, Jaroniec and Sayari 1997): same form as
//   Harkins-Jura, (60.65 / (0.03071 - log10 x))^0.3968.
// - Carbon black STSA (Magee 1995, ASTM D6556): t = a x^2 + b x + c;
//   0.88 x^2 + 6.45 x + 2.98.
// - Broekhoff-de Boer (Broekhoff and de Boer 1967): t solves
//   log10 x = a / t^2 + b e^(c t), i.e. f(t) = t^2 (log10 x - b e^(c t)) - a = 0;
//   defaults -16.11, 0.1682, -0.1137. Solved by Newton from t = 5, then from
//   t = 1000 (where f is close to the quadratic t^2 log10 x - a) if that fails.
// - User-defined: a table of (P/Po, t) interpolated monotone-cubic (Fritsch and
//   Carlson 1980) so a monotone table gives a monotone curve.
// Cost: closed forms O(1); Broekhoff-de Boer a few Newton steps (at most 2 x 10000);
// user-defined O(log n) per evaluation.
// Guarantees: no evaluator throws; "no value" is a return value: 0.0 below
// P/Po = 1e-10 for Halsey, Harkins-Jura and Kruk-Jaroniec-Sayari, -1.0 for
// Broekhoff-de Boer without a root and for a user table outside its range.
//
// Choices made here (documented so callers can rely on them):
// - Pressure guards: Halsey, Harkins-Jura and Kruk-Jaroniec-Sayari need x >= 1e-10
//   (a NaN x fails it too); Broekhoff-de Boer uses log10 x = -10 unless x > 1e-10,
//   strictly. Carbon black has no guard: the polynomial is defined everywhere.
// - Beyond the pole (x >= 1 for Halsey, log10 x >= b for the Harkins-Jura form) the
//   closed forms are not guarded and give an infinite or NaN thickness, which never
//   falls in a t-plot range.
// - Copying and assigning carry the parameters and the type only, never the user
//   table: a copy starts with an empty linear interpolator, and assignment keeps
//   the target's own table. A copied user-defined curve is therefore not OK() until
//   SetUserDefinedThicknessCurve is called on it. Moves behave as copies, so a
//   user-defined curve returned by value (without elision) or held in a growing
//   std::vector loses its table; keep such curves in place and point at them.
// - The user table must be ascending in P/Po; its range check uses the first and last
//   pressures as given. Only as many points as both vectors hold are interpolated.
// - A user table of zero or one point loads nothing: a fresh curve stays not OK(),
//   and one that held an earlier table keeps interpolating that table (while its range
//   check follows the new vectors). Evaluating a user curve with no table gives -1.0.
// - An enum value outside 0..5 (negative included) is not OK(), evaluates to 0.0 and
//   keeps its parameters on SetParamDefaults.
// - BDBSolve accepts a null failure flag (the outcome is then not reported).
#pragma once

#include <vector>

#include "fiofla/num/interpolate.h"
#include "fiofla/num/numvector.h"

/// Statistical film thickness t (angstroms) as a function of relative pressure P/Po.
class CThicknessFunction {
 public:
  /// Selectable thickness curves; the values are stored by callers and must not change.
  enum EType : int {
    /// Halsey (1948).
    eHalsey = 0,
    /// Harkins and Jura (1944).
    eHarkinsJura = 1,
    /// Carbon black STSA polynomial (ASTM D6556).
    eCarbon = 2,
    /// Broekhoff and de Boer (1967), solved numerically.
    eBroekhoffDeBoer = 3,
    /// Tabulated (P/Po, t) curve, interpolated.
    eUserDefined = 4,
    /// Kruk, Jaroniec and Sayari (1997).
    eKrukJaroniecSayari = 5
  };

  /// A curve of the given type with its default parameters (monotone-cubic user table).
  explicit CThicknessFunction(EType type);
  /// Copies parameters and type; the copy has an empty linear user table (see above).
  CThicknessFunction(CThicknessFunction const& other);
  /// Copies parameters and type; the target keeps its own user table and interpolator.
  CThicknessFunction& operator=(CThicknessFunction const& other);

  /// Loads the default parameters of the current type; for eUserDefined reloads the table.
  void SetParamDefaults();
  /// Replaces the user table (P/Po ascending, t in angstroms) whatever the type, and loads it.
  void SetUserDefinedThicknessCurve(CNumVector<double> const& relPress,
                                    CNumVector<double> const& thickness);
  /// Loads the user table into the interpolator when it has two or more points.
  void LoadUserDefinedThicknessCurve();
  /// True when the curve can be evaluated: a loaded table for eUserDefined, a known type else.
  bool OK() const;

  /// Thickness at relative pressure relPress, angstroms, by the selected curve; 0.0 if unknown.
  double EvalAt(double relPress) const;
  /// Halsey thickness at relPress, angstroms; 0.0 below 1e-10.
  double EvalHalsey(double relPress) const;
  /// Harkins-Jura thickness at relPress, angstroms; 0.0 below 1e-10.
  double EvalHarkinsJura(double relPress) const;
  /// Carbon black STSA thickness at relPress, angstroms.
  double EvalCarbon(double relPress) const;
  /// Broekhoff-de Boer thickness at relPress, angstroms; -1.0 when no root is found.
  double EvalBroekhoffDeBoer(double relPress) const;
  /// User-table thickness at relPress, angstroms; -1.0 more than 1e-7 outside the table.
  double EvalUserDefined(double relPress) const;
  /// Kruk-Jaroniec-Sayari thickness at relPress, angstroms; 0.0 below 1e-10.
  double EvalKrukJaroniecSayari(double relPress) const;

  /// Broekhoff-de Boer residual f(t) = t^2 (log10RelPress - b e^(c t)) - a, angstrom^2.
  double BDBFunc(double log10RelPress, double thickness) const;
  /// Derivative df/dt of BDBFunc, angstroms.
  double BDBDeriv(double log10RelPress, double thickness) const;
  /// Newton root of BDBFunc from startThickness (angstroms); *failed set when it gives up.
  double BDBSolve(double startThickness, double log10RelPress, bool* failed) const;

  /// First curve parameter (see the table of curves above).
  double m_A;
  /// Second curve parameter.
  double m_B;
  /// Third curve parameter.
  double m_C;
  /// Relative pressures of the user table, ascending.
  CNumVector<double> m_UserRelPress;
  /// Thicknesses of the user table, angstroms, one per pressure.
  CNumVector<double> m_UserThickness;
  /// Selected curve.
  EType m_Type;
  /// Interpolator over the user table.
  CNumInterpolate m_Interp;
};

/// t-plot of one isotherm: micropore volume and external area; all work in the constructor.
///
/// Choices: every point can take part in the fit, however many there are; a point without a
/// quantity
/// (quantity vector shorter than the pressures) is never fitted; with exactly two fitted
/// points the errors are NaN (no degrees of freedom left), and when all fitted points share
/// one thickness the line fit fails and slope, intercept and everything derived are 0.
class CTPlotCalc {
 public:
  /// What the calculation is given.
  struct SInput {
    /// P/Po of every isotherm point.
    std::vector<double> m_RelPress;
    /// Quantity adsorbed at every point, cm^3/g STP, same length as m_RelPress.
    std::vector<double> m_QtyAdsorbed;
    /// Liquid volume per gas volume at STP, cm^3 liquid / cm^3 STP; default nitrogen at
    /// 77 K (34.67 cm^3/mol liquid over 22414 cm^3/mol gas).
    double m_DensityConversion = 0.0015468;
    /// Thickness curve used (not owned; null gives status 5).
    CThicknessFunction const* m_pThickness = nullptr;
    /// Lower end of the fitted thickness range, angstroms, inclusive.
    double m_ThicknessMin = 3.5;
    /// Upper end of the fitted thickness range, angstroms, inclusive.
    double m_ThicknessMax = 5.0;
    /// Total (BET) surface area, m^2/g; not positive gives status 1.
    double m_TotalSurfaceArea = 0.0;
    /// Divisor applied to the external area (dimensionless; 1.0 leaves it unchanged).
    double m_SurfaceAreaCorrection = 1.0;
  };

  /// Not calculated: results zero, vectors empty, status 2.
  CTPlotCalc();
  /// Runs the whole t-plot on input.
  explicit CTPlotCalc(SInput const& input);

  /// Sets the ten result values to zero and the status to 2 (not calculated).
  void Initialize();

  /// Slope of quantity against thickness, cm^3/g STP per angstrom.
  double m_Slope = 0.0;
  /// Standard error of the slope, cm^3/g STP per angstrom.
  double m_SlopeError = 0.0;
  /// Intercept on the quantity axis, cm^3/g STP.
  double m_Intercept = 0.0;
  /// Standard error of the intercept, cm^3/g STP.
  double m_InterceptError = 0.0;
  /// Correlation coefficient of the fit.
  double m_Correlation = 0.0;
  /// Micropore volume, cm^3 liquid/g.
  double m_MicroporeVolume = 0.0;
  /// Standard error of the micropore volume, cm^3 liquid/g.
  double m_MicroporeVolumeError = 0.0;
  /// Micropore area (total minus external), m^2/g.
  double m_MicroporeArea = 0.0;
  /// External surface area, m^2/g.
  double m_ExternalArea = 0.0;
  /// Standard error of the external area, m^2/g.
  double m_ExternalAreaError = 0.0;
  /// Lower end of the fitted thickness range, angstroms.
  double m_ThicknessMin = 0.0;
  /// Upper end of the fitted thickness range, angstroms.
  double m_ThicknessMax = 0.0;
  /// Liquid volume per gas volume at STP, cm^3 liquid / cm^3 STP.
  double m_DensityConversion = 0.0;
  /// Divisor applied to the external area.
  double m_SurfaceAreaCorrection = 0.0;
  /// Total (BET) surface area, m^2/g.
  double m_TotalSurfaceArea = 0.0;
  /// Copy of the input relative pressures.
  std::vector<double> m_RelPress;
  /// Copy of the input quantities, cm^3/g STP.
  std::vector<double> m_QtyAdsorbed;
  /// Thickness of every input point, angstroms (statuses 0, 1 and 4).
  std::vector<double> m_Thickness;
  /// 0 calculated, 1 total area not positive, 2 not calculated, 3 fewer than 2 points,
  /// 4 fewer than 2 points in the thickness range, 5 no usable thickness curve.
  int m_Status = 2;
};
