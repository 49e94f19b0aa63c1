// Cardinal B-splines: the basis sums to one, reproduces straight lines, and the knot vector
// spans the widths asked for in log10.
#include "fiofla/num/bspline.h"

#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include "test_util.h"

namespace {

TEST(BSpline, BasisSumsToOneAndReproducesLines) {
  const std::vector<double> knots = NCardinalBSpline::GetKnotVector(3.5, 500.0, 12);
  ASSERT_EQ(knots.size(), 12u + 7u);
  EXPECT_NEAR(knots[3], std::log10(3.5), 1e-14);
  EXPECT_NEAR(knots[15], std::log10(500.0), 1e-12);
  const std::size_t count = knots.size() - 4;
  const CardinalBSpline ones(knots, std::vector<double>(count, 1.0));
  ASSERT_TRUE(ones.IsValid());
  // Greville abscissae as coefficients reproduce u itself.
  std::vector<double> greville(count);
  for (std::size_t i = 0; i < count; ++i)
    greville[i] = (knots[i + 1] + knots[i + 2] + knots[i + 3]) / 3.0;
  const CardinalBSpline line(knots, greville);
  for (double w : {3.5, 5.0, 17.0, 42.0, 100.0, 499.0, 500.0}) {
    const double u = std::log10(w);
    SCOPED_TRACE(w);
    EXPECT_NEAR(ones.Evaluate(u), 1.0, 1e-12);
    EXPECT_NEAR(line.Evaluate(u), u, 1e-12);
    double sum = 0.0;
    for (std::size_t i = 0; i < count; ++i) sum += ones.Basis(i, u);
    EXPECT_NEAR(sum, 1.0, 1e-12);
  }
  EXPECT_EQ(ones.Evaluate(knots.back() + 0.1), 0.0);
  EXPECT_EQ(ones.GetCoefficients().size(), count);
  // A single bell: non-negative, largest at its centre, zero beyond its four intervals.
  std::vector<double> one(count, 0.0);
  one[5] = 1.0;
  const CardinalBSpline bell(knots, one);
  EXPECT_NEAR(bell.Evaluate(knots[7]), 2.0 / 3.0, 1e-12);
  EXPECT_EQ(bell.Evaluate(knots[9] + 1e-9), 0.0);
}

TEST(BSpline, KnotsAndCoefficientsMustFitTogether) {
  const std::vector<double> knots = NCardinalBSpline::GetKnotVector(1.0, 100.0, 4);
  EXPECT_FALSE(CardinalBSpline(knots, std::vector<double>(3, 1.0)).IsValid());  // too few
  std::vector<double> uneven = knots;
  uneven[4] += 0.01;
  EXPECT_FALSE(CardinalBSpline(uneven, std::vector<double>(7, 1.0)).IsValid());
  EXPECT_FALSE(CardinalBSpline(knots, std::vector<double>(7, NAN)).IsValid());
  EXPECT_FALSE(CardinalBSpline(knots, std::vector<double>(7, 1.0), 9).IsValid());
  EXPECT_TRUE(CardinalBSpline(knots, std::vector<double>(7, 1.0)).IsValid());
  EXPECT_TRUE(NCardinalBSpline::GetKnotVector(0.0, 10.0, 4).empty());
  EXPECT_TRUE(NCardinalBSpline::GetKnotVector(10.0, 1.0, 4).empty());
  EXPECT_TRUE(NCardinalBSpline::GetKnotVector(1.0, 10.0, 0).empty());
}

}  // namespace
