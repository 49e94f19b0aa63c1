#include "gasdft_solve.h"

#include <Eigen/Dense>
#include <algorithm>
#include <cmath>

#include "fiofla/num/bspline.h"

namespace fiofla::dft {
namespace {

using MatrixRM = Eigen::Matrix<double, Eigen::Dynamic, Eigen::Dynamic, Eigen::RowMajor>;

}  // namespace

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

LambdaSweep::LambdaSweep(CNumMatrix<double> const& A1, CNumVector<double> const& b1,
                         std::size_t dataRows, double scale)
    : m_n(A1.cols()), m_scale(scale) {
  const std::size_t m = A1.rows(), n = m_n;
  m_d.resize(dataRows * n);
  m_b.resize(dataRows);
  for (std::size_t i = 0; i < dataRows; ++i) {
    m_b[i] = b1[i];
    for (std::size_t j = 0; j < n; ++j) m_d[i * n + j] = A1(i, j);
  }
  MatrixRM l(Eigen::Index(m - dataRows), Eigen::Index(n));
  for (std::size_t i = dataRows; i < m; ++i)
    for (std::size_t j = 0; j < n; ++j) l(Eigen::Index(i - dataRows), Eigen::Index(j)) = A1(i, j);
  const Eigen::Map<const MatrixRM> d(m_d.data(), Eigen::Index(dataRows), Eigen::Index(n));
  const Eigen::Map<const Eigen::VectorXd> bv(m_b.data(), Eigen::Index(dataRows));
  m_g.resize(n * n);
  m_r.resize(n * n);
  m_atb.resize(n);
  Eigen::Map<MatrixRM>(m_g.data(), Eigen::Index(n), Eigen::Index(n)).noalias() = d.transpose() * d;
  Eigen::Map<MatrixRM>(m_r.data(), Eigen::Index(n), Eigen::Index(n)).noalias() = l.transpose() * l;
  Eigen::Map<Eigen::VectorXd>(m_atb.data(), Eigen::Index(n)).noalias() = d.transpose() * bv;
  m_btb = bv.squaredNorm();
}

bool LambdaSweep::Solve(double lambda, CNumVector<double>& x) {
  const std::size_t n = m_n;
  const double mu = lambda * lambda;
  // Columns scaled to unit length, as SolveNonNegative does.
  std::vector<double> norm(n);
  for (std::size_t j = 0; j < n; ++j) {
    const double d = m_g[j * n + j] + mu * m_r[j * n + j];
    norm[j] = d > 0.0 ? std::sqrt(d) : 1.0;
  }
  CNumMatrix<double> ata(n, n);
  CNumVector<double> atb(n);
  for (std::size_t i = 0; i < n; ++i) {
    atb[i] = m_atb[i] / norm[i];
    for (std::size_t j = 0; j < n; ++j)
      ata(i, j) = (m_g[i * n + j] + mu * m_r[i * n + j]) / (norm[i] * norm[j]);
  }
  m_solver.SetNormalEquations(ata, atb, m_btb);
  m_solver.SetSettings(1e-7, 1e-5, 1, 100);
  bool done = m_solver.Run();
  if (!done && m_solver.Summary().stop == CNumNNLS::EStop::kIterationLimit) done = m_solver.Run();
  x.SetDim(n);
  for (std::size_t j = 0; j < n; ++j) x[j] = m_solver.Solution()[j] / norm[j];
  return done;
}

FitStatistics LambdaSweep::Statistics(double lambda, CNumVector<double> const& x) const {
  const std::size_t n = m_n, m = m_b.size();
  FitStatistics s;
  for (std::size_t i = 0; i < m; ++i) {
    double r = -m_b[i];
    for (std::size_t j = 0; j < n; ++j) r += m_d[i * n + j] * x[j];
    s.rss += r * r;
  }
  std::vector<Eigen::Index> free;
  for (std::size_t j = 0; j < n; ++j)
    if (x[j] > 0.0) free.push_back(Eigen::Index(j));
  double rough = 0.0;
  for (Eigen::Index a : free)
    for (Eigen::Index c : free)
      rough += x[std::size_t(a)] * m_r[std::size_t(a) * n + std::size_t(c)] * x[std::size_t(c)];
  s.roughness = m_scale > 0.0 ? rough / (m_scale * m_scale) : 0.0;
  const Eigen::Index p = Eigen::Index(free.size());
  if (p == 0) return s;
  Eigen::MatrixXd g{p, p}, h{p, p};
  const double mu = lambda * lambda;
  for (Eigen::Index a = 0; a < p; ++a)
    for (Eigen::Index c = 0; c < p; ++c) {
      const std::size_t k =
          std::size_t(free[std::size_t(a)]) * n + std::size_t(free[std::size_t(c)]);
      g(a, c) = m_g[k];
      h(a, c) = m_g[k] + mu * m_r[k];
    }
  // trace(H⁻¹ G): the influence matrix D H⁻¹ Dᵀ has the same trace.
  const Eigen::LLT<Eigen::MatrixXd> llt(h);
  s.dof = llt.info() == Eigen::Success ? llt.solve(g).trace() : double(p);
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
