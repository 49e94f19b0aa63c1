#include "gasdft_solve.h"

#include <Eigen/Dense>
#include <algorithm>
#include <cmath>

#include "fiofla/num/bspline.h"

namespace fiofla::dft {

bool SolveNonNegative(CNumNNLS& solver, CNumMatrix<double> const& A, CNumVector<double> const& b,
                      CNumVector<double>& x) {
  const std::size_t m = A.rows(), n = A.cols();
  std::vector<double> norm(n, 0.0);
  for (std::size_t i = 0; i < m; ++i)
    for (std::size_t j = 0; j < n; ++j) norm[j] += A(i, j) * A(i, j);
  CNumMatrix<double> scaled(m, n);
  for (std::size_t j = 0; j < n; ++j) norm[j] = norm[j] > 0.0 ? std::sqrt(norm[j]) : 1.0;
  for (std::size_t i = 0; i < m; ++i)
    for (std::size_t j = 0; j < n; ++j) scaled(i, j) = A(i, j) / norm[j];
  solver.SetProblem(scaled, b);
  solver.SetSettings(1e-7, 1e-5, 1, 100);
  bool done = solver.Run();
  if (!done && solver.Summary().stop == CNumNNLS::EStop::kIterationLimit) done = solver.Run();
  x.SetDim(n);
  for (std::size_t j = 0; j < n; ++j) x[j] = solver.Solution()[j] / norm[j];
  return done;
}

FitStatistics Statistics(CNumMatrix<double> const& A, CNumVector<double> const& b,
                         std::size_t dataRows, double weight, CNumVector<double> const& x) {
  const std::size_t m = A.rows(), n = A.cols();
  FitStatistics s;
  for (std::size_t i = 0; i < m; ++i) {
    double r = i < dataRows ? -b[i] : 0.0;
    for (std::size_t j = 0; j < n; ++j) r += A(i, j) * x[j];
    (i < dataRows ? s.rss : s.roughness) += r * r;
  }
  s.roughness = weight > 0.0 ? s.roughness / (weight * weight) : 0.0;
  std::vector<Eigen::Index> free;
  for (std::size_t j = 0; j < n; ++j)
    if (x[j] > 0.0) free.push_back(Eigen::Index(j));
  const Eigen::Index p = Eigen::Index(free.size());
  if (p == 0) return s;
  Eigen::MatrixXd d(Eigen::Index(dataRows), p), r(Eigen::Index(m - dataRows), p);
  for (Eigen::Index c = 0; c < p; ++c) {
    const std::size_t j = std::size_t(free[std::size_t(c)]);
    for (std::size_t i = 0; i < dataRows; ++i) d(Eigen::Index(i), c) = A(i, j);
    for (std::size_t i = dataRows; i < m; ++i) r(Eigen::Index(i - dataRows), c) = A(i, j);
  }
  const Eigen::MatrixXd g = d.transpose() * d;
  const Eigen::MatrixXd h = g + r.transpose() * r;
  // trace(H⁻¹ G): the influence matrix D H⁻¹ Dᵀ has the same trace.
  const Eigen::LDLT<Eigen::MatrixXd> ldlt(h);
  if (ldlt.info() != Eigen::Success) {
    s.dof = double(p);
    return s;
  }
  s.dof = ldlt.solve(g).trace();
  if (!std::isfinite(s.dof)) s.dof = double(p);
  return s;
}

int LCurveCorner(std::vector<double> const& logRss, std::vector<double> const& logRoughness) {
  const std::size_t n = std::min(logRss.size(), logRoughness.size());
  int best = -1;
  double bestK = 0.0;
  for (std::size_t k = 1; k + 1 < n; ++k) {
    // Menger curvature of three neighbours; positive where the curve turns towards the origin
    // (rss rising, roughness falling as λ grows).
    const double ax = logRss[k] - logRss[k - 1], ay = logRoughness[k] - logRoughness[k - 1];
    const double bx = logRss[k + 1] - logRss[k], by = logRoughness[k + 1] - logRoughness[k];
    const double cx = logRss[k + 1] - logRss[k - 1], cy = logRoughness[k + 1] - logRoughness[k - 1];
    const double la = std::hypot(ax, ay), lb = std::hypot(bx, by), lc = std::hypot(cx, cy);
    if (!(la > 0.0 && lb > 0.0 && lc > 0.0)) continue;
    const double curvature = 2.0 * (ax * by - ay * bx) / (la * lb * lc);
    if (std::isfinite(curvature) && curvature > bestK) bestK = curvature, best = int(k);
  }
  return best;
}

SplineTrial RunSplineTrial(CNumMatrix<double> const& D, CNumVector<double> const& b,
                           CNumVector<double> const& widths, unsigned short intervals,
                           double noise) {
  SplineTrial trial;
  const std::size_t m = D.rows(), n = D.cols();
  const std::vector<double> knots =
      NCardinalBSpline::GetKnotVector(widths[0], widths[n - 1], intervals);
  if (knots.empty()) return trial;
  const std::size_t k = knots.size() - CardinalBSpline::kDefaultDegree - 1;
  const CardinalBSpline spline(knots, std::vector<double>(k, 0.0));
  if (!spline.IsValid()) return trial;
  // basis(j, i): basis function i at class j.
  Eigen::MatrixXd basis{Eigen::Index(n), Eigen::Index(k)};
  for (std::size_t j = 0; j < n; ++j)
    for (std::size_t i = 0; i < k; ++i)
      basis(Eigen::Index(j), Eigen::Index(i)) = spline.Basis(i, std::log10(widths[j]));
  Eigen::MatrixXd d{Eigen::Index(m), Eigen::Index(n)};
  for (std::size_t i = 0; i < m; ++i)
    for (std::size_t j = 0; j < n; ++j) d(Eigen::Index(i), Eigen::Index(j)) = D(i, j);
  const Eigen::MatrixXd design = d * basis;

  CNumMatrix<double> a(m, k);
  for (std::size_t i = 0; i < m; ++i)
    for (std::size_t c = 0; c < k; ++c) a(i, c) = design(Eigen::Index(i), Eigen::Index(c));
  CNumNNLS solver;
  CNumVector<double> coefficients;
  trial.converged = SolveNonNegative(solver, a, b, coefficients);
  std::vector<double> c(k);
  for (std::size_t i = 0; i < k; ++i) c[i] = coefficients[i];
  const CardinalBSpline solution(knots, c);
  trial.x.SetDim(n);
  double peak = 0.0;
  for (std::size_t j = 0; j < n; ++j) {
    trial.x[j] = std::max(0.0, solution.Evaluate(std::log10(widths[j])));
    peak = std::max(peak, trial.x[j]);
  }

  // Stability: the standard error that the data's noise gives the distribution, through
  // the coefficients that are free (> 0), at every class.
  std::vector<Eigen::Index> free;
  for (std::size_t i = 0; i < k; ++i)
    if (solution.GetCoefficients()[i] > 0.0) free.push_back(Eigen::Index(i));
  const Eigen::Index p = Eigen::Index(free.size());
  if (!trial.converged || p == 0 || !(peak > 0.0)) return trial;
  Eigen::MatrixXd mf{design.rows(), p}, bf{basis.rows(), p};
  for (Eigen::Index q = 0; q < p; ++q) {
    mf.col(q) = design.col(free[std::size_t(q)]);
    bf.col(q) = basis.col(free[std::size_t(q)]);
  }
  const Eigen::LDLT<Eigen::MatrixXd> ldlt(mf.transpose() * mf);
  if (ldlt.info() != Eigen::Success || !ldlt.isPositive()) return trial;
  const Eigen::MatrixXd spread = ldlt.solve(bf.transpose());  // p × n
  double worst = 0.0;
  for (Eigen::Index j = 0; j < bf.rows(); ++j)
    worst = std::max(worst, bf.row(j).dot(spread.col(j)));
  trial.error = noise * std::sqrt(std::max(0.0, worst)) / peak;
  trial.accepted = std::isfinite(trial.error) && trial.error <= 0.1;
  return trial;
}

}  // namespace fiofla::dft
