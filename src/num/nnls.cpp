#include "fiofla/num/nnls.h"

#include <Eigen/Dense>
#include <algorithm>
#include <cmath>

namespace {

using MatrixRM = Eigen::Matrix<double, Eigen::Dynamic, Eigen::Dynamic, Eigen::RowMajor>;

}  // namespace

CNumNNLS::CNumNNLS(CNumMatrix<double> const& A, CNumVector<double> const& b) {
  SetProblem(A, b);
}

bool CNumNNLS::KeepsFreeSet(std::size_t n) const {
  return m_options.warmStart && n == m_cols && m_free.size() == n;
}

// What every new problem starts from: x = 0, the free set kept or emptied.
void CNumNNLS::StartProblem(std::size_t n, bool keep) {
  m_scale = 0.0;
  for (double v : m_atb) m_scale = std::max(m_scale, std::fabs(v));
  if (!keep) m_free.assign(n, 0);
  m_x.SetDim(n);
  for (std::size_t j = 0; j < n; ++j) m_x[j] = 0.0;
  m_summary = SSummary();
}

void CNumNNLS::SetProblem(CNumMatrix<double> const& A, CNumVector<double> const& b) {
  const std::size_t m = A.rows(), n = A.cols();
  const bool keep = KeepsFreeSet(n);
  m_rows = m;
  m_cols = n;
  m_valid = b.size() == m && n > 0 && m > 0;
  m_a.assign(m * n, 0.0);
  m_b.assign(m, 0.0);
  m_btb = 0.0;
  for (std::size_t i = 0; i < m && m_valid; ++i) {
    m_b[i] = b[i];
    m_valid = m_valid && std::isfinite(b[i]);
    for (std::size_t j = 0; j < n; ++j) {
      m_a[i * n + j] = A(i, j);
      m_valid = m_valid && std::isfinite(A(i, j));
    }
  }
  m_ata.assign(n * n, 0.0);
  m_atb.assign(n, 0.0);
  if (m_valid) {
    const Eigen::Map<const MatrixRM> a(m_a.data(), Eigen::Index(m), Eigen::Index(n));
    const Eigen::Map<const Eigen::VectorXd> bv(m_b.data(), Eigen::Index(m));
    Eigen::Map<MatrixRM> ata(m_ata.data(), Eigen::Index(n), Eigen::Index(n));
    Eigen::Map<Eigen::VectorXd> atb(m_atb.data(), Eigen::Index(n));
    // Half the products: the lower triangle by a rank update, then mirrored.
    ata.setZero();
    ata.selfadjointView<Eigen::Lower>().rankUpdate(a.transpose());
    ata.triangularView<Eigen::StrictlyUpper>() = ata.transpose();
    atb.noalias() = a.transpose() * bv;
  }
  StartProblem(n, keep);
}

void CNumNNLS::SetNormalEquations(CNumMatrix<double> const& AtA, CNumVector<double> const& Atb,
                                  double btb) {
  const std::size_t n = AtA.rows();
  const bool keep = KeepsFreeSet(n);
  m_rows = 0;
  m_cols = n;
  m_valid = n > 0 && AtA.cols() == n && Atb.size() == n && std::isfinite(btb);
  m_a.clear();
  m_b.clear();
  m_btb = btb;
  m_ata.assign(n * n, 0.0);
  m_atb.assign(n, 0.0);
  for (std::size_t i = 0; i < n && m_valid; ++i) {
    m_atb[i] = Atb[i];
    m_valid = m_valid && std::isfinite(Atb[i]);
    for (std::size_t j = 0; j < n; ++j) {
      m_ata[i * n + j] = AtA(i, j);
      m_valid = m_valid && std::isfinite(AtA(i, j));
    }
  }
  StartProblem(n, keep);
}

void CNumNNLS::SetSettings(double gradientTolerance, double zeroTolerance, int warmStart,
                           int maxIterations) {
  m_options.gradientTolerance = gradientTolerance;
  m_options.zeroTolerance = zeroTolerance;
  m_options.warmStart = warmStart != 0;
  m_options.maxIterations = maxIterations;
}

void CNumNNLS::Reset() {
  m_free.assign(m_cols, 0);
  for (std::size_t j = 0; j < m_x.size(); ++j) m_x[j] = 0.0;
  m_summary = SSummary();
}

// The Cholesky factor L (row-major, n × n storage, the first p rows used) of AᵀA restricted
// to the free columns, in the order they joined: a column that joins adds one row in O(p²);
// a column that leaves makes the factor be rebuilt.
bool CNumNNLS::AppendToFactor(std::size_t j) {
  const std::size_t p = m_order.size(), n = m_cols;
  double* row = &m_chol[p * n];
  double d = m_ata[j * n + j];
  for (std::size_t k = 0; k < p; ++k) {
    const double* lk = &m_chol[k * n];
    double v = m_ata[m_order[k] * n + j];
    for (std::size_t q = 0; q < k; ++q) v -= lk[q] * row[q];
    row[k] = v / lk[k];
    d -= row[k] * row[k];
  }
  // A column (nearly) in the span of the free ones: its own part is lost to rounding.
  if (!(d > 1e-15 * m_ata[j * n + j]) || !std::isfinite(d)) return false;
  row[p] = std::sqrt(d);
  m_order.push_back(j);
  return true;
}

bool CNumNNLS::Refactor() {
  m_order.clear();
  m_chol.resize(m_cols * m_cols);
  for (std::size_t j = 0; j < m_cols; ++j)
    if (m_free[j] && !AppendToFactor(j)) return false;
  return true;
}

// Least squares over the free columns with the current factor: z (n entries, 0 off the
// free set).
void CNumNNLS::SolveFree(std::vector<double>& z) const {
  const std::size_t p = m_order.size(), n = m_cols;
  z.assign(n, 0.0);
  std::vector<double> y(p);
  for (std::size_t k = 0; k < p; ++k) {
    const double* lk = &m_chol[k * n];
    double v = m_atb[m_order[k]];
    for (std::size_t q = 0; q < k; ++q) v -= lk[q] * y[q];
    y[k] = v / lk[k];
  }
  for (std::size_t k = p; k-- > 0;) {
    double v = y[k];
    for (std::size_t q = k + 1; q < p; ++q) v -= m_chol[q * n + k] * y[q];
    y[k] = v / m_chol[k * n + k];
    z[m_order[k]] = y[k];
  }
}

// g = Aᵀb − AᵀA x.
void CNumNNLS::Gradient(std::vector<double>& g) const {
  const std::size_t n = m_cols;
  g.assign(m_atb.begin(), m_atb.end());
  for (std::size_t j = 0; j < n; ++j) {
    const double xj = m_x[j];
    if (xj == 0.0) continue;
    for (std::size_t i = 0; i < n; ++i) g[i] -= m_ata[i * n + j] * xj;
  }
}

double CNumNNLS::Kkt(std::vector<double> const& g) const {
  double worst = 0.0;
  for (std::size_t j = 0; j < m_cols; ++j)
    worst = std::max(worst, m_x[j] > 0.0 ? std::fabs(g[j]) : std::max(0.0, g[j]));
  return m_scale > 0.0 ? worst / m_scale : 0.0;
}

bool CNumNNLS::Run() {
  m_summary.iterations = 0;
  if (!m_valid) {
    m_summary.stop = EStop::kBadProblem;
    return false;
  }
  const std::size_t n = m_cols;
  if (!m_options.warmStart && m_summary.totalIterations > 0) Reset();
  std::vector<double> z, g;

  // A free set kept from before: drop the columns its solution wants negative until the
  // rest is feasible, then go on from there.
  if (std::any_of(m_free.begin(), m_free.end(), [](char f) { return f != 0; }) &&
      std::all_of(&m_x[0], &m_x[0] + n, [](double v) { return v == 0.0; })) {
    for (;;) {
      if (!Refactor()) {
        std::fill(m_free.begin(), m_free.end(), 0);
        m_order.clear();
        break;
      }
      SolveFree(z);
      bool dropped = false;
      for (std::size_t j = 0; j < n; ++j)
        if (m_free[j] && z[j] <= 0.0) m_free[j] = 0, dropped = true;
      if (!dropped) {
        for (std::size_t j = 0; j < n; ++j) m_x[j] = z[j];
        break;
      }
    }
  }

  // The factor of the free set as it now stands (the problem may have changed since).
  if (!Refactor()) {
    std::fill(m_free.begin(), m_free.end(), 0);
    for (std::size_t j = 0; j < n; ++j) m_x[j] = 0.0;
    m_order.clear();
  }
  const double enter = m_options.gradientTolerance * m_scale;
  for (;;) {
    Gradient(g);
    // Optimal: no zero entry would lower the residual by moving up.
    std::size_t best = n;
    double bestG = enter;
    for (std::size_t j = 0; j < n; ++j)
      if (!m_free[j] && g[j] > bestG) bestG = g[j], best = j;
    if (best == n || m_scale == 0.0) {
      m_summary.stop = EStop::kConverged;
      break;
    }
    if (m_summary.iterations >= m_options.maxIterations) {
      m_summary.stop = EStop::kIterationLimit;
      break;
    }
    ++m_summary.iterations;
    ++m_summary.totalIterations;
    if (!AppendToFactor(best)) {
      // The column would depend on the free ones: it stays out.
      m_summary.stop = EStop::kSingular;
      break;
    }
    m_free[best] = 1;

    // Inner loop: keep the free solution feasible by stepping back along the segment.
    bool singular = false;
    for (int guard = 0; guard <= int(n); ++guard) {
      SolveFree(z);
      bool feasible = true;
      double alpha = 1.0;
      for (std::size_t j = 0; j < n; ++j)
        if (m_free[j] && z[j] <= 0.0) {
          feasible = false;
          const double denom = m_x[j] - z[j];
          if (denom > 0.0) alpha = std::min(alpha, m_x[j] / denom);
        }
      if (feasible) {
        for (std::size_t j = 0; j < n; ++j) m_x[j] = z[j];
        break;
      }
      double largest = 0.0;
      for (std::size_t j = 0; j < n; ++j) {
        m_x[j] += alpha * (z[j] - m_x[j]);
        largest = std::max(largest, m_x[j]);
      }
      const double floor = m_options.zeroTolerance * largest;
      for (std::size_t j = 0; j < n; ++j)
        if (m_free[j] && m_x[j] <= floor) m_free[j] = 0, m_x[j] = 0.0;
      if (!Refactor()) {
        singular = true;
        break;
      }
    }
    if (singular) {
      // The column just added depends on the others: it stays out.
      m_free[best] = 0;
      m_summary.stop = EStop::kSingular;
      break;
    }
  }
  for (std::size_t j = 0; j < n; ++j)
    if (!(m_x[j] > 0.0)) m_x[j] = 0.0;
  Gradient(g);
  m_summary.kktResidual = Kkt(g);
  m_summary.freeCount =
      std::size_t(std::count_if(&m_x[0], &m_x[0] + n, [](double v) { return v > 0.0; }));
  return m_summary.stop == EStop::kConverged;
}

double CNumNNLS::ResidualNorm() const {
  if (m_a.empty()) {
    // |Ax − b|² = bᵀb − 2 xᵀAᵀb + xᵀAᵀA x.
    double sum = m_btb;
    for (std::size_t j = 0; j < m_cols; ++j) {
      double row = 0.0;
      for (std::size_t k = 0; k < m_cols; ++k) row += m_ata[j * m_cols + k] * m_x[k];
      sum += m_x[j] * (row - 2.0 * m_atb[j]);
    }
    return std::sqrt(std::max(0.0, sum));
  }
  double sum = 0.0;
  for (std::size_t i = 0; i < m_rows; ++i) {
    double r = -m_b[i];
    for (std::size_t j = 0; j < m_cols; ++j) r += m_a[i * m_cols + j] * m_x[j];
    sum += r * r;
  }
  return std::sqrt(sum);
}
