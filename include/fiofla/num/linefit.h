// Straight line y = a + b x fitted to points by ordinary least squares.
//
// Method: least squares (Legendre 1805) from centred sums. The means are taken
// first and refined by one correction pass, then Sxx, Sxy and Syy are summed
// over the deviations, the two-pass scheme recommended by Chan, Golub &
// LeVeque (1983); it keeps the fit accurate when x or y carries a large offset,
// where the textbook one-pass sums lose every significant digit.
// Cost: O(n) time per fit and O(n) memory for the points; AddPoint refits over
// all points so far, so n calls to it cost O(n^2) in total.
// Guarantees: points on a line give that line back to rounding; the residual
// variance is summed from the residuals themselves and is never negative;
// |Correlation()| <= 1.
//
// Degenerate inputs (deliberate; callers test the results, not an exception):
// - fewer than two points, all x equal, or any x or y not finite: IsValid()
//   is false and slope, intercept, both variances and the correlation are all
//   0, so a caller sees a failed fit as a zero slope and intercept;
// - exactly two points: the line through them is exact and both variances are
//   NaN, because n - 2 = 0 residual degrees of freedom leave nothing to
//   estimate them from;
// - all y equal with x varying: slope 0, intercept y, correlation 0 (r is
//   strictly undefined there) and both variances 0 (NaN for two points).
#pragma once

#include <vector>

/// Ordinary least-squares fit of y on x.
class CNumLineFit {
 public:
  /// Kind of fit; ordinary least squares is the only one, any other value gives an invalid fit.
  enum ELineType { eOrdinaryLeastSquares = 0 };

  /// Fits the n points (x[i], y[i]) at once; null arrays count as no points.
  CNumLineFit(unsigned long n, double const* x, double const* y,
              ELineType type = eOrdinaryLeastSquares);
  /// Starts with no points; add them with AddPoint.
  explicit CNumLineFit(ELineType type = eOrdinaryLeastSquares);

  /// Adds one point and refits over all points so far.
  void AddPoint(double x, double y);
  /// Makes VarSlope and VarYIntercept available. The fit already computes them
  /// alongside the line, so this is cheap and may be called any number of times.
  void CalculateVariance();

  /// Slope b of the fitted line, y units per x unit.
  double Slope() const { return m_slope; }
  /// Intercept a of the fitted line at x = 0, y units.
  double YIntercept() const { return m_intercept; }
  /// Estimated variance of the slope, s^2 / Sxx.
  double VarSlope() const { return m_varSlope; }
  /// Estimated variance of the intercept, s^2 (1/n + mean(x)^2 / Sxx).
  double VarYIntercept() const { return m_varIntercept; }
  /// Pearson correlation coefficient r = Sxy / sqrt(Sxx Syy), in [-1, 1].
  double Correlation() const { return m_correlation; }
  /// Number of points given so far.
  unsigned long Count() const { return static_cast<unsigned long>(m_x.size()); }
  /// True when the results describe a fitted line (see the degenerate cases above).
  bool IsValid() const { return m_valid; }

 private:
  void Fit();

  ELineType m_type;
  std::vector<double> m_x;
  std::vector<double> m_y;
  double m_slope = 0.0;
  double m_intercept = 0.0;
  double m_varSlope = 0.0;
  double m_varIntercept = 0.0;
  double m_correlation = 0.0;
  bool m_valid = false;
};
