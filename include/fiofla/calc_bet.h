// BET surface area from the points of an adsorption isotherm.
//
// The BET equation is linearised as 1/[Q(Po/P - 1)] = 1/(Qm C) + (C - 1)/(Qm C) x
// (Brunauer, Emmett & Teller 1938) and fitted by ordinary least squares over the
// points the analyst put in range. The object does all of its work in the
// constructor; afterwards its members are the results and `status` says how far
// they can be trusted. Quantities are cm^3/g STP, areas m^2/g, the molecular
// cross-section nm^2.
#pragma once

#include <cstdint>
#include <vector>

#include "fiofla/num/numvector.h"
#include "fiofla/types.h"

/// BET calculation over one isotherm; all work happens in the constructor.
class CCalcBET {
 public:
  /// Flag bit: the point takes part in calculations.
  static constexpr short POINT_INCLUDED = 2;
  /// Flag bit: the point lies in the selected BET range.
  static constexpr short POINT_IN_RANGE = 4;

  /// Status: all results valid.
  static constexpr std::int16_t STATUS_OK = 4;
  /// Status: a flagged point with relative pressure >= 1 was dropped; results valid without it.
  static constexpr std::int16_t STATUS_POINT_ABOVE_SATURATION = 35;
  /// Status: fewer than two points in range; fit results are 0.
  static constexpr std::int16_t STATUS_TOO_FEW_POINTS = 1;
  /// Status: the fitted intercept is exactly 0; surface area, C and Qm are 0.
  static constexpr std::int16_t STATUS_ZERO_INTERCEPT = 17;

  /// What the calculation is given.
  struct SInput {
    /// P/Po of every isotherm point, in point order.
    CNumVector<double> relativePressure;
    /// Quantity adsorbed of every point, cm^3/g STP; at least as long as relativePressure.
    CNumVector<double> quantityAdsorbed;
    /// One flag word per point (POINT_INCLUDED, POINT_IN_RANGE); at least as long as
    /// relativePressure.
    CNumVector<short> pointFlags;
    /// Molecular cross-sectional area of the adsorptive, nm^2.
    double crossSectionalArea = 0.162;
  };

  /// An empty result: cross-section 1.0, no vectors, status 1, all results 0.
  CCalcBET();
  /// Runs the whole calculation on `input`.
  explicit CCalcBET(const SInput& input);
  ~CCalcBET();

  /// Sets the nine fit results to 0; leaves status, cross-section and vectors alone.
  void SetAllToZero();

  /// BET transform 1/[Q(Po/P - 1)] = x / ((1 - x) q) of one point, g/cm^3 STP;
  /// a denominator smaller than 1e-30 in magnitude is replaced by +1e-30.
  static double Transform(double relativePressure, double quantity);
  /// Element-wise BET transform; `out` takes the length of `quantity`. Returns true.
  static bool Transform(const CNumVector<double>& relativePressure,
                        const CNumVector<double>& quantity, CNumVector<double>& out);
  /// Element-wise check transform (1 - x) q, cm^3/g STP; `out` takes the length of `quantity`.
  /// Returns true.
  static bool TransformCheck(const CNumVector<double>& relativePressure,
                             const CNumVector<double>& quantity, CNumVector<double>& out);

  /// Recomputes fitTransform from the range points, fits the BET line through them and
  /// derives area, C and Qm;
  /// false (status 17) when the intercept is exactly 0.
  bool DoLineFit();
  /// Fills calculatedIsotherm with the BET model at every input relative pressure. Returns true.
  bool DoIsoCalc();

  /// Molecular cross-sectional area, nm^2.
  double crossSectionalArea;
  /// Copy of the input relative pressures.
  CNumVector<double> relativePressure;
  /// Copy of the input quantities, cm^3/g STP.
  CNumVector<double> quantityAdsorbed;
  /// Copy of the input flag words.
  CNumVector<short> pointFlags;
  /// BET surface area, m^2/g.
  double surfaceArea;
  /// Standard error of the surface area, m^2/g.
  double surfaceAreaError;
  /// Slope of the BET line, g/cm^3 STP.
  double slope;
  /// Standard error of the slope, g/cm^3 STP.
  double slopeError;
  /// Intercept of the BET line, g/cm^3 STP.
  double yIntercept;
  /// Standard error of the intercept, g/cm^3 STP.
  double yInterceptError;
  /// BET constant C (dimensionless).
  double cValue;
  /// Monolayer quantity Qm, cm^3/g STP.
  double monolayerCapacity;
  /// Correlation coefficient of the line fit.
  double correlation;
  /// Outcome: 4 OK, 35 point at P/Po >= 1 dropped, 1 too few points, 17 zero intercept.
  std::int16_t status;
  /// Quantities of the range points, cm^3/g STP.
  CNumVector<double> fitQuantity;
  /// Relative pressures of the range points.
  CNumVector<double> fitRelativePressure;
  /// Quantities of included points outside the range, cm^3/g STP.
  CNumVector<double> otherQuantity;
  /// Relative pressures of included points outside the range.
  CNumVector<double> otherRelativePressure;
  /// BET model quantity at every input relative pressure, cm^3/g STP.
  CNumVector<double> calculatedIsotherm;
  /// BET transform of the range points, g/cm^3 STP.
  CNumVector<double> fitTransform;
  /// BET transform of the other included points, g/cm^3 STP.
  CNumVector<double> otherTransform;
  /// Check transform of the range points, cm^3/g STP.
  CNumVector<double> fitCheck;
  /// Check transform of the other included points, cm^3/g STP.
  CNumVector<double> otherCheck;
};

namespace fiofla {

/// Short English description of a CCalcBET status value, for tools and logs.
const char* BETStatusText(std::int16_t status);

/// Builds the input of a BET calculation from an isotherm: the adsorption-branch points
/// are flagged included, those with rangeLow <= P/Po <= rangeHigh also in range; the
/// desorption points keep no flag. The three vectors should have the same length; only as many
/// points as the shortest holds are taken. The bounds hold to 1e-12 relative: a point written as
/// P/Po 0.05 and recomputed from a pressure and Po in another unit lands an ulp or two away,
/// and must not leave the range for it.
CCalcBET::SInput MakeBETInput(const std::vector<double>& relativePressure,
                              const std::vector<double>& quantityCm3PerGStp,
                              const std::vector<Branch>& branch, double rangeLow, double rangeHigh,
                              double crossSectionNm2);

}  // namespace fiofla
