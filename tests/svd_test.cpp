// Singular-value decomposition: exact and least-squares solves, rank truncation, covariance.
#include "fiofla/num/svd.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>

#include "test_util.h"

namespace {

CNumMatrix<double> RandomMatrix(std::size_t m, std::size_t n, unsigned seed) {
  std::mt19937 rng(seed);
  std::uniform_real_distribution<double> u(-1.0, 1.0);
  CNumMatrix<double> a(m, n);
  for (std::size_t r = 0; r < m; ++r)
    for (std::size_t c = 0; c < n; ++c) a[r][c] = u(rng);
  return a;
}

TEST(SVD, SolvesExactAndLeastSquaresSystems) {
  const std::size_t m = 9, n = 5;
  const CNumMatrix<double> a = RandomMatrix(m, n, 7);
  CNumSVD svd(a);
  ASSERT_TRUE(svd.IsValid());
  auto const& s = svd.GetSingularValues();
  ASSERT_EQ(s.size(), n);
  for (std::size_t j = 0; j < n; ++j) {
    EXPECT_GT(s[j], 0.0);
    if (j > 0) EXPECT_LE(s[j], s[j - 1]);
  }
  EXPECT_EQ(svd.Rank(), n);

  // b in the range of a: the solve gives x back.
  const CNumVector<double> xTrue{1.5, -2.0, 0.25, 3.0, -0.75};
  CNumVector<double> b(m);
  for (std::size_t r = 0; r < m; ++r)
    for (std::size_t c = 0; c < n; ++c) b[r] += a[r][c] * xTrue[c];
  CNumVector<double> x;
  ASSERT_TRUE(svd.BackSub(b, x));
  ASSERT_EQ(x.size(), n);
  for (std::size_t c = 0; c < n; ++c) EXPECT_NEAR(x[c], xTrue[c], 1e-12);

  // A b off the range: the residual is orthogonal to every column (normal equations).
  std::mt19937 rng(3);
  std::normal_distribution<double> noise(0.0, 0.1);
  for (std::size_t r = 0; r < m; ++r) b[r] += noise(rng);
  ASSERT_TRUE(svd.BackSub(b, x));
  for (std::size_t c = 0; c < n; ++c) {
    double dot = 0.0;
    for (std::size_t r = 0; r < m; ++r) {
      double res = b[r];
      for (std::size_t k = 0; k < n; ++k) res -= a[r][k] * x[k];
      dot += a[r][c] * res;
    }
    EXPECT_NEAR(dot, 0.0, 1e-12);
  }

  // (AᵀA)⁺ is the inverse of AᵀA for a full-rank matrix.
  CNumMatrix<double> inv;
  ASSERT_TRUE(svd.GetInverseNormalMatrix(inv));
  for (std::size_t i = 0; i < n; ++i)
    for (std::size_t j = 0; j < n; ++j) {
      double sum = 0.0;
      for (std::size_t k = 0; k < n; ++k) {
        double ata = 0.0;
        for (std::size_t r = 0; r < m; ++r) ata += a[r][i] * a[r][k];
        sum += ata * inv[k][j];
      }
      EXPECT_NEAR(sum, i == j ? 1.0 : 0.0, 1e-10);
    }
}

TEST(SVD, TruncationGivesTheMinimumNormSolutionOfARankDeficientSystem) {
  CNumMatrix<double> a = RandomMatrix(6, 3, 11);
  for (std::size_t r = 0; r < 6; ++r) a[r][2] = a[r][1];  // two equal columns
  CNumSVD svd(a);
  ASSERT_TRUE(svd.IsValid());
  EXPECT_LT(svd.GetSingularValues()[2], 1e-14 * svd.GetSingularValues()[0]);
  svd.ZeroBelowRelative(1e-12);
  EXPECT_EQ(svd.Rank(), 2u);
  CNumVector<double> b(6);
  for (std::size_t r = 0; r < 6; ++r) b[r] = 2.0 * a[r][0] + 4.0 * a[r][1];
  CNumVector<double> x;
  ASSERT_TRUE(svd.BackSub(b, x));
  // The weight of the repeated column is split evenly, the smallest-norm way.
  EXPECT_NEAR(x[0], 2.0, 1e-12);
  EXPECT_NEAR(x[1], 2.0, 1e-12);
  EXPECT_NEAR(x[2], 2.0, 1e-12);
  EXPECT_GT(svd.ConditionNumber(), 1.0);
}

TEST(SVD, BadInputGivesInvalidAndZeroSolution) {
  CNumMatrix<double> a = RandomMatrix(4, 2, 5);
  a[1][1] = std::nan("");
  CNumSVD bad(a);
  EXPECT_FALSE(bad.IsValid());
  EXPECT_EQ(bad.Rank(), 0u);
  CNumVector<double> x;
  EXPECT_FALSE(bad.BackSub(CNumVector<double>(4), x));
  ASSERT_EQ(x.size(), 2u);
  EXPECT_EQ(x[0], 0.0);
  EXPECT_EQ(x[1], 0.0);

  CNumSVD good(RandomMatrix(4, 2, 5));
  EXPECT_FALSE(good.BackSub(CNumVector<double>(3), x));  // b of the wrong length
  EXPECT_FALSE(CNumSVD(CNumMatrix<double>()).IsValid());
}

}  // namespace
