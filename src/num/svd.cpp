#include "fiofla/num/svd.h"

#include <Eigen/SVD>
#include <cmath>

CNumSVD::CNumSVD(CNumMatrix<double> const& a)
    : m_rows(static_cast<std::size_t>(a.rows())), m_cols(static_cast<std::size_t>(a.cols())) {
  if (m_rows == 0 || m_cols == 0) return;
  Eigen::MatrixXd A(m_rows, m_cols);
  for (std::size_t r = 0; r < m_rows; ++r)
    for (std::size_t c = 0; c < m_cols; ++c) {
      const double v = a[r][c];
      if (!std::isfinite(v)) return;
      A(r, c) = v;
    }
  // Column-pivoting QR first keeps Jacobi fast and accurate on tall matrices.
  Eigen::JacobiSVD<Eigen::MatrixXd, Eigen::ColPivHouseholderQRPreconditioner> svd(
      A, Eigen::ComputeThinU | Eigen::ComputeThinV);
  m_k = static_cast<std::size_t>(svd.singularValues().size());
  m_s.assign(svd.singularValues().data(), svd.singularValues().data() + m_k);
  m_kept = m_s;
  m_u.resize(m_rows * m_k);
  m_v.resize(m_cols * m_k);
  for (std::size_t r = 0; r < m_rows; ++r)
    for (std::size_t j = 0; j < m_k; ++j) m_u[r * m_k + j] = svd.matrixU()(r, j);
  for (std::size_t r = 0; r < m_cols; ++r)
    for (std::size_t j = 0; j < m_k; ++j) m_v[r * m_k + j] = svd.matrixV()(r, j);
  m_valid = true;
}

void CNumSVD::ZeroBelowRelative(double fraction) {
  if (!m_valid) return;
  const double largest = m_s.empty() ? 0.0 : m_s.front();
  const double threshold = fraction * largest;
  for (std::size_t j = 0; j < m_k; ++j) m_kept[j] = m_s[j] < threshold ? 0.0 : m_s[j];
}

bool CNumSVD::BackSub(CNumVector<double> const& b, CNumVector<double>& x) const {
  x.SetDim(m_cols);
  for (std::size_t c = 0; c < m_cols; ++c) x[c] = 0.0;
  if (!m_valid || b.size() != m_rows) return false;
  std::vector<double> w(m_k, 0.0);  // diag(1/s) Uᵀ b
  for (std::size_t j = 0; j < m_k; ++j) {
    if (m_kept[j] == 0.0) continue;
    double dot = 0.0;
    for (std::size_t r = 0; r < m_rows; ++r) dot += m_u[r * m_k + j] * b[r];
    w[j] = dot / m_kept[j];
  }
  for (std::size_t c = 0; c < m_cols; ++c) {
    double sum = 0.0;
    for (std::size_t j = 0; j < m_k; ++j) sum += m_v[c * m_k + j] * w[j];
    x[c] = sum;
  }
  return true;
}

bool CNumSVD::GetInverseNormalMatrix(CNumMatrix<double>& inverse) const {
  inverse.SetDim(m_cols, m_cols);
  if (!m_valid) return false;
  for (std::size_t r = 0; r < m_cols; ++r)
    for (std::size_t c = 0; c < m_cols; ++c) {
      double sum = 0.0;
      for (std::size_t j = 0; j < m_k; ++j)
        if (m_kept[j] != 0.0) sum += m_v[r * m_k + j] * m_v[c * m_k + j] / (m_kept[j] * m_kept[j]);
      inverse[r][c] = sum;
    }
  return true;
}

std::size_t CNumSVD::Rank() const {
  std::size_t rank = 0;
  for (double s : m_kept) rank += s > 0.0;
  return rank;
}

double CNumSVD::ConditionNumber() const {
  if (!m_valid || Rank() == 0) return 0.0;
  double smallest = m_s.front();
  for (double s : m_kept)
    if (s > 0.0) smallest = s;
  return m_s.front() / smallest;
}
