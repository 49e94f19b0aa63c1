#include "fiofla/smoothderiv.h"

#include <cmath>

#include "fiofla/num/interpolate.h"

namespace {

// Stands in for the logarithm of a non-positive diameter.
constexpr double kLogOfNonPositive = 1e-9;
constexpr double kLn10 = 2.302585092994046;
// Savitzky & Golay (1964) nine-point first derivative: sum k (s[j+k] - s[j-k]) / 60.
constexpr int kHalfWindow = 4;
constexpr double kWeightNorm = 60.0;

double LogAxis(double x) {
  return x > 0.0 ? std::log10(x) : kLogOfNonPositive;
}

}  // namespace

bool NSmooth::ComputeDifferentials(CNumVector<double> const& x, CNumVector<double> const& y,
                                   CNumVector<double> const& at, CNumVector<double>& out,
                                   bool ascending, bool log) {
  using Size = CNumVector<double>::size_type;
  const Size n = x.size();
  if (n < 2 || y.size() != n) {
    out.SetDim(0);
    return false;
  }

  CNumVector<double> u(n), w(n);
  for (Size k = 0; k < n; ++k) {
    const Size src = ascending ? k : n - 1 - k;
    u[k] = LogAxis(x[src]);
    w[k] = y[src];
  }
  constexpr int kLast = kGridPoints - 1;
  const double h = (u[n - 1] - u[0]) / kLast;
  if (!std::isfinite(h) || h == 0.0) {
    out.SetDim(0);
    return false;
  }

  const CNumInterpolate curve(u, w, CNumInterpolate::eMonotoneCubic);
  CNumVector<double> g(kGridPoints), s(kGridPoints + 2 * kHalfWindow);
  // s is offset by kHalfWindow so that the reflected end points have indices of their own.
  double* const sj = s.data() + kHalfWindow;
  for (int j = 0; j < kGridPoints; ++j) {
    g[j] = u[0] + j * h;
    sj[j] = curve.Interpolate(g[j]);
  }
  for (int k = 1; k <= kHalfWindow; ++k) {
    sj[-k] = 2.0 * sj[0] - sj[k];
    sj[kLast + k] = 2.0 * sj[kLast] - sj[kLast - k];
  }

  CNumVector<double> d(kGridPoints);
  for (int j = 0; j < kGridPoints; ++j) {
    double sum = 0.0;
    for (int k = 1; k <= kHalfWindow; ++k) sum += k * (sj[j + k] - sj[j - k]);
    sum /= kWeightNorm;
    // dy/dD = dy/dlog10 D / (D ln 10).
    d[j] = log ? sum / h : sum / (std::pow(10.0, g[j]) * h * kLn10);
  }

  const CNumInterpolate slope(g, d, CNumInterpolate::eMonotoneCubic);
  // Sizing `out` zeroes it, so a caller passing one vector as both `at` and `out` needs a copy.
  const CNumVector<double> atCopy = (&at == &out) ? at : CNumVector<double>();
  CNumVector<double> const& where = (&at == &out) ? atCopy : at;
  out.SetDim(where.size());
  for (Size i = 0; i < where.size(); ++i) {
    const double v = slope.Interpolate(LogAxis(where[i]));
    out[i] = ascending ? v : -v;
  }
  return true;
}
