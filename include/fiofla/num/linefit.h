// Straight line y = a + b x fitted to points by ordinary least squares.
//
// Method: least squares (Legendre 1805) from centred sums. The means are taken
// first and refined by one correction pass, then Sxx, Sxy and Syy are summed
// over the deviations, the two-pass scheme recommended by Chan, Golub &
// LeVeque (1983); it keeps the fit accurate when x or y carries a large offset,
// where the textbook one-pass sums lose every significant digit.
// Cost: O(n) time per fit. The array constructor fits the caller's arrays in
// place (no copy); AddPoint stores the points and the fit runs once, when a
// result is first asked for after the last AddPoint. A fit made from arrays is
// complete: AddPoint on it makes it invalid, since the arrays were not kept.
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

#include <cstddef>
#include <vector>

/// Ordinary least-squares fit of y on x.
class CNumLineFit {
 public:
  /// Kind of fit; ordinary least squares is the only one, any other int value gives an invalid
  /// fit (the int base makes such values well-defined).
  enum ELineType : int { eOrdinaryLeastSquares = 0 };

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
  double Slope() const { return Refresh(), m_slope; }
  /// Intercept a of the fitted line at x = 0, y units.
  double YIntercept() const { return Refresh(), m_intercept; }
  /// Estimated variance of the slope, s^2 / Sxx.
  double VarSlope() const { return Refresh(), m_varSlope; }
  /// Estimated variance of the intercept, s^2 (1/n + mean(x)^2 / Sxx).
  double VarYIntercept() const { return Refresh(), m_varIntercept; }
  /// Pearson correlation coefficient r = Sxy / sqrt(Sxx Syy), in [-1, 1].
  double Correlation() const { return Refresh(), m_correlation; }
  /// Number of points given so far.
  unsigned long Count() const { return m_count; }
  /// True when the results describe a fitted line (see the degenerate cases above).
  bool IsValid() const { return Refresh(), m_valid; }

 private:
  void Fit(const double* x, const double* y, std::size_t n) const;
  void Refresh() const;

  ELineType m_type;
  unsigned long m_count = 0;
  bool m_fromArrays = false;
  bool m_mixed = false;
  // Points given through AddPoint; the array constructor leaves these empty.
  std::vector<double> m_x;
  std::vector<double> m_y;
  // Results are filled lazily by Refresh() after AddPoint, hence mutable.
  mutable bool m_stale = false;
  mutable double m_slope = 0.0;
  mutable double m_intercept = 0.0;
  mutable double m_varSlope = 0.0;
  mutable double m_varIntercept = 0.0;
  mutable double m_correlation = 0.0;
  mutable bool m_valid = false;
};
