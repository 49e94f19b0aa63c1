// Singular-value decomposition of a dense matrix and least-squares solution through it.
//
// Method: one-sided Jacobi SVD (Demmel & Veselić 1992) as Eigen's JacobiSVD computes it, with
// column-pivoting QR preconditioning, thin factors A = U diag(s) Vᵀ. Least squares by
// back-substitution x = V diag(1/s) Uᵀ b over the singular values kept; ZeroBelowRelative
// truncates the small ones (Golub & Reinsch 1970; Press et al., Numerical Recipes §2.6), which
// gives the minimum-norm solution of a rank-deficient or nearly collinear problem.
// Cost: O(m n²) time and O(m n) memory for an m x n matrix (m >= n); every BackSub O(m n).
// Guarantees: singular values are non-negative and in descending order; a full-rank exact
// system is solved to rounding, with an error of order cond(A) × machine epsilon (no normal
// equations, so the condition number is not squared); a matrix with a non-finite element, or
// with no rows or no columns, gives IsValid() false, rank 0, and BackSub x = 0.
#pragma once

#include <cstddef>
#include <vector>

#include "fiofla/num/numvector.h"

/// Singular-value decomposition A = U diag(s) Vᵀ of an m x n matrix.
class CNumSVD {
 public:
  /// Decomposes a (rows are equations, columns unknowns).
  explicit CNumSVD(CNumMatrix<double> const& a);

  /// Sets to 0 every singular value below fraction × the largest, for the solves that follow.
  void ZeroBelowRelative(double fraction);
  /// Least-squares solution x of a x ≈ b (minimum norm over the singular values kept); x is
  /// resized to the column count. False (x all 0) when invalid or b has the wrong length.
  bool BackSub(CNumVector<double> const& b, CNumVector<double>& x) const;
  /// (AᵀA)⁺ = V diag(1/s²) Vᵀ over the singular values kept: times the residual variance it is
  /// the covariance of the least-squares parameters. False when invalid.
  bool GetInverseNormalMatrix(CNumMatrix<double>& inverse) const;

  /// True when the matrix was decomposed.
  bool IsValid() const { return m_valid; }
  /// Singular values in descending order, including those zeroed.
  std::vector<double> const& GetSingularValues() const { return m_s; }
  /// Number of singular values kept (not zeroed and not 0).
  std::size_t Rank() const;
  /// Ratio of the largest to the smallest kept singular value; 0 when invalid.
  double ConditionNumber() const;
  /// Rows m of the decomposed matrix.
  std::size_t Rows() const { return m_rows; }
  /// Columns n of the decomposed matrix.
  std::size_t Cols() const { return m_cols; }

 private:
  std::size_t m_rows = 0;
  std::size_t m_cols = 0;
  std::size_t m_k = 0;  // min(m, n): columns of U and V
  bool m_valid = false;
  std::vector<double> m_u;     // m x k, row-major
  std::vector<double> m_v;     // n x k, row-major
  std::vector<double> m_s;     // k singular values as computed
  std::vector<double> m_kept;  // k singular values, those below the threshold set to 0
};
