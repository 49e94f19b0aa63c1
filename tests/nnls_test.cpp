// Non-negative least squares: optimality on random problems, the exact optimum on small
// ones, warm starts and the iteration budget.
#include "fiofla/num/nnls.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>

#include "test_util.h"

namespace {

struct Problem {
  CNumMatrix<double> a;
  CNumVector<double> b;
};

Problem Random(std::size_t m, std::size_t n, std::mt19937& random) {
  std::normal_distribution<double> normal;
  Problem p{CNumMatrix<double>(m, n), CNumVector<double>(m)};
  for (std::size_t i = 0; i < m; ++i) {
    p.b[i] = normal(random);
    for (std::size_t j = 0; j < n; ++j) p.a(i, j) = normal(random);
  }
  return p;
}

// A smooth, ill-conditioned kernel as DFT problems have: column j fills at its own
// pressure, row i is one pressure.
Problem Kernel(std::size_t m, std::size_t n, double lambda) {
  Problem p{CNumMatrix<double>(m + (lambda > 0 ? n - 2 : 0), n),
            CNumVector<double>(m + (lambda > 0 ? n - 2 : 0))};
  for (std::size_t i = 0; i < m; ++i) {
    const double x = double(i) / double(m - 1);
    for (std::size_t j = 0; j < n; ++j) {
      const double step = double(j) / double(n - 1);
      p.a(i, j) = 1.0 / (1.0 + std::exp(-(x - step) * 40.0));
    }
    // Two peaks of a distribution, read through the kernel.
    p.b[i] = 0.0;
    for (std::size_t j = 0; j < n; ++j) {
      const double w = double(j) / double(n - 1);
      p.b[i] += p.a(i, j) * (std::exp(-std::pow((w - 0.3) / 0.05, 2)) +
                             0.5 * std::exp(-std::pow((w - 0.7) / 0.08, 2)));
    }
  }
  for (std::size_t k = 1; lambda > 0 && k + 1 < n; ++k) {
    p.a(m + k - 1, k - 1) = lambda;
    p.a(m + k - 1, k) = -2.0 * lambda;
    p.a(m + k - 1, k + 1) = lambda;
  }
  return p;
}

// The optimality conditions, relative to |Aᵀb|∞.
void ExpectKkt(const Problem& p, const CNumVector<double>& x, double tolerance) {
  const std::size_t m = p.a.rows(), n = p.a.cols();
  double scale = 0.0;
  std::vector<double> g(n, 0.0);
  for (std::size_t j = 0; j < n; ++j) {
    double atb = 0.0;
    for (std::size_t i = 0; i < m; ++i) {
      double r = p.b[i];
      for (std::size_t k = 0; k < n; ++k) r -= p.a(i, k) * x[k];
      g[j] += p.a(i, j) * r;
      atb += p.a(i, j) * p.b[i];
    }
    scale = std::max(scale, std::fabs(atb));
  }
  for (std::size_t j = 0; j < n; ++j) {
    EXPECT_GE(x[j], 0.0) << j;
    if (x[j] > 0.0)
      EXPECT_LE(std::fabs(g[j]), tolerance * scale) << j;
    else
      EXPECT_LE(g[j], tolerance * scale) << j;
  }
}

double Objective(const Problem& p, const std::vector<double>& x) {
  double sum = 0.0;
  for (std::size_t i = 0; i < p.a.rows(); ++i) {
    double r = -p.b[i];
    for (std::size_t j = 0; j < p.a.cols(); ++j) r += p.a(i, j) * x[j];
    sum += r * r;
  }
  return sum;
}

TEST(NNLS, RandomProblemsMeetTheOptimalityConditions) {
  std::mt19937 random(20261124);
  for (int trial = 0; trial < 40; ++trial) {
    const std::size_t m = 10 + random() % 60, n = 2 + random() % 40;
    SCOPED_TRACE(std::to_string(m) + " x " + std::to_string(n));
    const Problem p = Random(m, n, random);
    CNumNNLS nnls(p.a, p.b);
    nnls.SetSettings(1e-10, 1e-12, 1, 1000);
    ASSERT_TRUE(nnls.Run());
    EXPECT_EQ(nnls.Summary().stop, CNumNNLS::EStop::kConverged);
    EXPECT_LE(nnls.Summary().kktResidual, 1e-8);
    ExpectKkt(p, nnls.Solution(), 1e-8);
  }
}

// Every subset of free columns, solved and kept when feasible: the true optimum.
TEST(NNLS, SmallProblemsReachTheExactOptimum) {
  std::mt19937 random(7);
  for (int trial = 0; trial < 30; ++trial) {
    const std::size_t n = 2 + random() % 5, m = n + random() % 6;
    const Problem p = Random(m, n, random);
    double best = std::numeric_limits<double>::infinity();
    for (unsigned mask = 0; mask < (1u << n); ++mask) {
      CNumMatrix<double> sub(m, n);
      for (std::size_t i = 0; i < m; ++i)
        for (std::size_t j = 0; j < n; ++j) sub(i, j) = (mask >> j) & 1u ? p.a(i, j) : 0.0;
      // The unconstrained least squares of the subset by the normal equations.
      CNumNNLS free(sub, p.b);
      free.SetSettings(1e-12, 0.0, 0, 1000);
      free.Run();
      std::vector<double> x(free.Solution().size());
      for (std::size_t j = 0; j < n; ++j) x[j] = free.Solution()[j];
      best = std::min(best, Objective(p, x));
    }
    CNumNNLS nnls(p.a, p.b);
    ASSERT_TRUE(nnls.Run());
    std::vector<double> x(n);
    for (std::size_t j = 0; j < n; ++j) x[j] = nnls.Solution()[j];
    EXPECT_LE(Objective(p, x), best * (1.0 + 1e-9) + 1e-12);
  }
}

TEST(NNLS, WarmStartsAndTheIterationBudget) {
  // The DFT calculation's settings: a budget of 100 per Run, and Run again to go on.
  const Problem p = Kernel(100, 100, 0.0);
  CNumNNLS limited(p.a, p.b);
  limited.SetSettings(1e-7, 1e-5, 1, 3);
  EXPECT_FALSE(limited.Run());
  EXPECT_EQ(limited.Summary().stop, CNumNNLS::EStop::kIterationLimit);
  EXPECT_EQ(limited.Summary().iterations, 3);
  limited.Options().maxIterations = 1000;
  EXPECT_TRUE(limited.Run());
  ExpectKkt(p, limited.Solution(), 1e-6);

  // A sweep over regularisation weights: each solve starts from the last free set and
  // reaches the same optimum in fewer steps (tight tolerances, so that both are exact).
  CNumNNLS cold, warm;
  cold.SetSettings(1e-13, 0.0, 0, 1000);
  warm.SetSettings(1e-13, 0.0, 1, 1000);
  int coldSteps = 0, warmSteps = 0;
  for (double lambda : {1e-3, 2e-3, 4e-3, 8e-3, 1.6e-2}) {
    const Problem q = Kernel(100, 100, lambda);
    cold.SetProblem(q.a, q.b);
    warm.SetProblem(q.a, q.b);
    ASSERT_TRUE(cold.Run());
    ASSERT_TRUE(warm.Run());
    coldSteps += cold.Summary().iterations;
    warmSteps += warm.Summary().iterations;
    EXPECT_NEAR(warm.ResidualNorm(), cold.ResidualNorm(), 1e-6 * cold.ResidualNorm());
  }
  EXPECT_LT(warmSteps, coldSteps);

  // The same problem given as normal equations reaches the same solution and residual.
  {
    const Problem q = Kernel(100, 100, 4e-3);
    const std::size_t m = q.a.rows(), n = q.a.cols();
    CNumMatrix<double> ata(n, n);
    CNumVector<double> atb(n);
    double btb = 0.0;
    for (std::size_t i = 0; i < m; ++i) {
      btb += q.b[i] * q.b[i];
      for (std::size_t j = 0; j < n; ++j) {
        atb[j] += q.a(i, j) * q.b[i];
        for (std::size_t k = 0; k < n; ++k) ata(j, k) += q.a(i, j) * q.a(i, k);
      }
    }
    CNumNNLS direct(q.a, q.b), normal;
    normal.SetNormalEquations(ata, atb, btb);
    for (CNumNNLS* s : {&direct, &normal}) s->SetSettings(1e-13, 0.0, 0, 1000);
    ASSERT_TRUE(direct.Run());
    ASSERT_TRUE(normal.Run());
    for (std::size_t j = 0; j < n; ++j)
      EXPECT_NEAR(normal.Solution()[j], direct.Solution()[j],
                  1e-7 * (1.0 + std::fabs(direct.Solution()[j])));
    // From normal equations the residual cancels: good to rounding of |b|², not of |r|².
    EXPECT_NEAR(normal.ResidualNorm(), direct.ResidualNorm(), 1e-8 * std::sqrt(btb));
  }

  // Sizes that disagree or values that are not finite are no problem to solve.
  CNumVector<double> shortB(3);
  CNumNNLS bad(p.a, shortB);
  EXPECT_FALSE(bad.Run());
  EXPECT_EQ(bad.Summary().stop, CNumNNLS::EStop::kBadProblem);
}

}  // namespace
