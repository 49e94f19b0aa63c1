// One-dimensional interpolation in a table of (x, y) points.
//
// Methods: eLinear joins neighbouring points by straight lines. eMonotoneCubic
// is the piecewise cubic Hermite interpolant of Fritsch & Carlson (1980) with
// the node derivatives of Fritsch & Butland (1984): zero where the data turn,
// otherwise the weighted harmonic mean of the neighbouring secants; at the two
// ends the non-centred three-point difference, set to zero when its sign
// differs from the end secant's and capped at three times that secant when the
// data turn next to the end (the shape-preserving end rule of the usual pchip).
// Cost: O(n) to load an ordered table, O(n log n) when it must be sorted;
// O(log n) per Interpolate (binary search).
// Guarantees: both types return the table's y at every table x and reproduce a
// straight line to rounding, extrapolation included. eMonotoneCubic is
// monotone on every interval, so it never leaves the range of the interval's
// two y values: monotone data stay monotone and steps do not overshoot.
//
// Table handling:
// - x ascending is used as given, strictly descending x is reversed, anything
//   else is sorted by x (stable);
// - min(x.size(), y.size()) points are used; points whose x is not finite are
//   dropped, since they cannot be placed in order;
// - points sharing one x become a single node at the mean of their y, so that
//   the order in which repeats arrive does not matter and no interval has zero
//   width.
// Evaluation:
// - outside the table both types extrapolate linearly: eLinear along the end
//   interval, eMonotoneCubic along the tangent at the end node;
// - one node gives that y everywhere; an empty table, or a NaN x, gives NaN.
#pragma once

#include <cstddef>
#include <vector>

#include "fiofla/num/numvector.h"

/// Interpolating function through a table of points.
class CNumInterpolate {
 public:
  /// Interpolation method; a value outside the enumerators behaves as eLinear.
  enum EType : int {
    /// Piecewise linear.
    eLinear = 0,
    /// Monotone piecewise cubic Hermite (Fritsch-Carlson / Fritsch-Butland).
    eMonotoneCubic = 1
  };

  /// An empty interpolant of the given type; load a table with Set.
  explicit CNumInterpolate(EType type = eLinear);
  /// An interpolant through the points (x[i], y[i]); see Set.
  CNumInterpolate(CNumVector<double> const& x, CNumVector<double> const& y, EType type = eLinear);

  /// Replaces the table with the points (x[i], y[i]), putting them in ascending x order.
  void Set(CNumVector<double> const& x, CNumVector<double> const& y);
  /// Replaces the table, sorting the points by x (stable) whatever their order.
  void SetAscending(CNumVector<double> const& x, CNumVector<double> const& y);

  /// Value of the interpolant at x, in the units of the table's y.
  double Interpolate(double x) const;
  /// True when the table holds at least one node.
  bool IsSet() const { return !m_x.empty(); }
  /// Number of nodes, after repeated x values have been merged.
  std::size_t Size() const { return m_x.size(); }
  /// Interpolation method in use.
  EType Type() const { return m_type; }

 private:
  void Load(CNumVector<double> const& x, CNumVector<double> const& y, bool forceSort);
  void ComputeSlopes();

  EType m_type;
  std::vector<double> m_x;
  std::vector<double> m_y;
  // dy/dx at every node; filled for eMonotoneCubic only.
  std::vector<double> m_slope;
};
