// The numerical core of the DFT deconvolution: the non-negative solve with its settings,
// the fit statistics used to choose λ, and one B-spline trial. Internal to the library.
#pragma once

#include <cmath>
#include <vector>

#include "fiofla/num/nnls.h"
#include "fiofla/num/numvector.h"

namespace fiofla::dft {

/// Solves A x ≈ b, x ≥ 0, with the deconvolution's settings (1e-7, 1e-5, warm start, 100
/// iterations a run, a second run when the first stopped at the bound) on the columns
/// scaled to unit length. `solver` keeps its free set between calls with the same column
/// count. False when the solve did not converge.
bool SolveNonNegative(CNumNNLS& solver, CNumMatrix<double> const& A, CNumVector<double> const& b,
                      CNumVector<double>& x);

/// What a solution costs: the data's residual sum of squares, the roughness (the sum of
/// squares of the unweighted roughness rows times x) and the effective degrees of freedom
/// (the trace of the influence matrix over the classes with x > 0).
struct FitStatistics {
  double rss = 0.0, roughness = 0.0, dof = 0.0;
};

/// The system of SetupDecon at weight 1 (the first `dataRows` rows the data D, the rest the
/// roughness rows s L) kept as normal equations, so that each λ costs O(n²) to set up:
/// AᵀA(λ) = DᵀD + λ² (sL)ᵀ(sL), Aᵀb = Dᵀb. The solver keeps its free set from one λ to the
/// next.
class LambdaSweep {
 public:
  LambdaSweep(CNumMatrix<double> const& A1, CNumVector<double> const& b1, std::size_t dataRows,
              double scale);
  /// Solves at λ as SolveNonNegative does; false when it did not converge.
  bool Solve(double lambda, CNumVector<double>& x);
  FitStatistics Statistics(double lambda, CNumVector<double> const& x) const;

 private:
  std::size_t m_n = 0;
  std::vector<double> m_d, m_b;  // D row-major, b of the data rows
  std::vector<double> m_g, m_r;  // DᵀD and (sL)ᵀ(sL), n × n
  std::vector<double> m_atb;     // Dᵀb
  double m_btb = 0.0, m_scale = 1.0;
  CNumNNLS m_solver;
};

/// The index of the L-curve corner of the points (log rss, log roughness), λ ascending:
/// the largest curvature turning towards the origin; -1 when the curve has no corner.
int LCurveCorner(std::vector<double> const& logRss, std::vector<double> const& logRoughness);

/// One B-spline trial with `intervals` knot intervals over the class widths `widths`, on the
/// data rows `D` (weighted) and `b`: the distribution (one value per class) and whether the
/// trial is accepted when the rows carry noise of standard deviation `noise` (see CDFTCalc).
struct SplineTrial {
  bool accepted = false;
  bool converged = false;
  double error = HUGE_VAL;  // largest standard error of x, over the peak of x
  CNumVector<double> x;
};
SplineTrial RunSplineTrial(CNumMatrix<double> const& D, CNumVector<double> const& b,
                           CNumVector<double> const& widths, unsigned short intervals,
                           double noise);

}  // namespace fiofla::dft
