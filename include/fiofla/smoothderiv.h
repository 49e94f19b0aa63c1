// Smoothed first derivative of a cumulative pore curve against log10 diameter.
//
// NSmooth::ComputeDifferentials turns a cumulative amount y(x) over pore
// diameter x into a differential, either per decade of diameter (dy/dlog10 x)
// or per unit diameter (dy/dx), evaluated at any list of diameters.
//
// Method: the curve is put on a base-10 logarithmic axis u = log10 x, drawn
// through by the monotone cubic interpolant (CNumInterpolate::eMonotoneCubic),
// resampled on 200 equally spaced u and differentiated with the nine-point
// least-squares first-derivative weights of Savitzky & Golay (1964),
// (-4 ... 4) / 60. The four missing neighbours at each end are supplied by
// point reflection through the end sample (s[-k] = 2 s[0] - s[k]), which keeps a
// straight line straight. The derivative is then interpolated (monotone cubic
// again) at log10 of each requested diameter.
// Cost: O(n) to load the table plus a fixed 200-point grid, whatever n is;
// O(log n + log 200) per requested diameter.
// Guarantees: a cumulative that is a straight line in log10 x gives its slope
// exactly (to rounding) at every grid point, the first and last four included.
//
// Choices made here:
// - A non-positive x, or a non-positive requested diameter, stands at 1e-9 on
//   the log axis instead of its logarithm, so nothing takes log10 of it.
// - Requested diameters outside the data range get the interpolator's linear
//   extrapolation along the end tangent.
// - Bad input returns false with `out` emptied instead of reading out of range:
//   x and y of different lengths, fewer than two points, or a log axis whose two
//   ends coincide or are not finite (the grid step would be zero or undefined).
#pragma once

#include "fiofla/num/numvector.h"

/// Smoothed differentials of tabulated cumulative curves.
namespace NSmooth {

/// Differential of the cumulative y(x) at each diameter of `at` into `out` (same length as
/// `at`): amount per decade of diameter when `log`, else amount per unit of x's diameter unit.
/// `ascending` says x runs from small to large; when false the curve is read backwards and the
/// result negated, so a cumulative that grows towards small diameters reports positive values.
/// Returns false (and empties `out`) on the bad input listed above, otherwise true.
bool ComputeDifferentials(CNumVector<double> const& x, CNumVector<double> const& y,
                          CNumVector<double> const& at, CNumVector<double>& out, bool ascending,
                          bool log);

/// Number of equally spaced log10-diameter points the curve is resampled on.
constexpr int kGridPoints = 200;

}  // namespace NSmooth
