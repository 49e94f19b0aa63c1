#include "fiofla/smoothderiv.h"

#include <gtest/gtest.h>

#include <cmath>

#include "test_util.h"

namespace {

constexpr double kLn10 = 2.302585092994046;

// n diameters from dMax down (descending) or up (ascending), equally spaced in log10.
CNumVector<double> LogSpaced(double logMin, double logMax, int n, bool ascending) {
  CNumVector<double> x(n);
  for (int i = 0; i < n; ++i) {
    const int k = ascending ? i : n - 1 - i;
    x[i] = std::pow(10.0, logMin + (logMax - logMin) * k / (n - 1));
  }
  return x;
}

// y = a + b log10 x at every x.
CNumVector<double> LogLine(CNumVector<double> const& x, double a, double b) {
  CNumVector<double> y(x.size());
  for (std::size_t i = 0; i < x.size(); ++i) y[i] = a + b * std::log10(x[i]);
  return y;
}

// The 200 grid diameters the curve is resampled on, for data spanning [logMin, logMax].
CNumVector<double> GridDiameters(double logMin, double logMax) {
  CNumVector<double> at(NSmooth::kGridPoints);
  const double h = (logMax - logMin) / (NSmooth::kGridPoints - 1);
  for (int j = 0; j < NSmooth::kGridPoints; ++j) at[j] = std::pow(10.0, logMin + j * h);
  return at;
}

}  // namespace

TEST(SmoothDifferentials, StraightLineInLogDiameterKeepsItsSlopeAtEveryGridPoint) {
  // Irregular spacing in the data; the grid points include the four at each end that
  // lean on the point-reflected extension.
  const CNumVector<double> x = {2.0, 2.5, 4.0, 7.0, 11.0, 30.0, 45.0, 90.0, 200.0};
  const double a = 3.0, b = 0.75;
  const CNumVector<double> y = LogLine(x, a, b);
  const CNumVector<double> at = GridDiameters(std::log10(2.0), std::log10(200.0));
  CNumVector<double> out;
  ASSERT_TRUE(NSmooth::ComputeDifferentials(x, y, at, out, true, true));
  ASSERT_EQ(out.size(), at.size());
  for (std::size_t j = 0; j < at.size(); ++j) EXPECT_REL_CLOSE(out[j], b, 1e-9) << "grid " << j;

  // Per unit diameter the same curve gives b / (D ln 10).
  ASSERT_TRUE(NSmooth::ComputeDifferentials(x, y, at, out, true, false));
  for (std::size_t j = 0; j < at.size(); ++j)
    EXPECT_REL_CLOSE(out[j], b / (at[j] * kLn10), 1e-9) << "grid " << j;
}

TEST(SmoothDifferentials, NotAscendingReadsBackwardsAndNegates) {
  const CNumVector<double> up = LogSpaced(0.3, 2.5, 25, true);
  const CNumVector<double> down = LogSpaced(0.3, 2.5, 25, false);
  // A curve with curvature, so that the comparison is not only about straight lines.
  CNumVector<double> yUp(up.size()), yDown(down.size());
  for (std::size_t i = 0; i < up.size(); ++i) {
    yUp[i] = std::tanh(std::log10(up[i]) - 1.2);
    yDown[i] = std::tanh(std::log10(down[i]) - 1.2);
  }
  const CNumVector<double> at = {2.5, 10.0, 33.0, 150.0};
  CNumVector<double> ascending, descending;
  for (bool log : {true, false}) {
    ASSERT_TRUE(NSmooth::ComputeDifferentials(up, yUp, at, ascending, true, log));
    ASSERT_TRUE(NSmooth::ComputeDifferentials(down, yDown, at, descending, false, log));
    for (std::size_t i = 0; i < at.size(); ++i) {
      EXPECT_GT(ascending[i], 0.0);
      EXPECT_REL_CLOSE(descending[i], -ascending[i], 1e-12) << "log " << log << " at " << at[i];
    }
  }

  // A cumulative growing towards small diameters, read from large to small, reports positive.
  const CNumVector<double> yGrowsDown = LogLine(down, 10.0, -0.4);
  ASSERT_TRUE(NSmooth::ComputeDifferentials(down, yGrowsDown, at, descending, false, true));
  for (std::size_t i = 0; i < at.size(); ++i) EXPECT_REL_CLOSE(descending[i], 0.4, 1e-9);
}

TEST(SmoothDifferentials, SmoothsNoiseButFollowsTheTrend) {
  // A line with alternating wiggle: the nine-point fit removes most of it.
  const CNumVector<double> x = LogSpaced(0.0, 2.0, 60, true);
  CNumVector<double> y = LogLine(x, 0.0, 1.0);
  for (std::size_t i = 0; i < y.size(); ++i) y[i] += (i % 2 ? 1.0 : -1.0) * 1e-3;
  const CNumVector<double> at = LogSpaced(0.5, 1.5, 11, true);
  CNumVector<double> out;
  ASSERT_TRUE(NSmooth::ComputeDifferentials(x, y, at, out, true, true));
  // A raw difference between neighbours would be off by 2e-3 / (2/59) ~ 0.06.
  for (std::size_t i = 0; i < at.size(); ++i) EXPECT_NEAR(out[i], 1.0, 0.03) << at[i];
}

TEST(SmoothDifferentials, NonPositiveDiametersStandAtTheFallbackLogarithm) {
  // x = 0 sits at 1e-9 on the log axis, i.e. next to x = 1 (log 0); a line through
  // (1e-9, 0) and (2, 2) on that axis has slope 1.
  const CNumVector<double> x = {0.0, 10.0, 100.0};
  const CNumVector<double> y = {0.0, 1.0, 2.0};
  CNumVector<double> out;
  ASSERT_TRUE(
      NSmooth::ComputeDifferentials(x, y, CNumVector<double>{-5.0, 0.0, 31.0}, out, true, true));
  ASSERT_EQ(out.size(), 3u);
  for (std::size_t i = 0; i < out.size(); ++i) EXPECT_NEAR(out[i], 1.0, 1e-6) << i;
}

TEST(SmoothDifferentials, BadInputIsRefusedWithoutReadingOutOfRange) {
  CNumVector<double> out = {7.0};
  const CNumVector<double> at = {1.0, 2.0};
  EXPECT_FALSE(NSmooth::ComputeDifferentials({}, {}, at, out, true, true));
  EXPECT_TRUE(out.empty());
  out = {7.0};
  EXPECT_FALSE(NSmooth::ComputeDifferentials({1.0}, {1.0}, at, out, true, true));
  EXPECT_TRUE(out.empty());
  EXPECT_FALSE(NSmooth::ComputeDifferentials({1.0, 2.0, 3.0}, {1.0, 2.0}, at, out, true, true));
  EXPECT_FALSE(NSmooth::ComputeDifferentials({5.0, 5.0}, {1.0, 2.0}, at, out, true, true));
  EXPECT_FALSE(NSmooth::ComputeDifferentials({1.0, INFINITY}, {1.0, 2.0}, at, out, true, true));
  // No requested diameters: nothing to do, and that is fine.
  EXPECT_TRUE(NSmooth::ComputeDifferentials({1.0, 10.0}, {0.0, 1.0}, {}, out, true, true));
  EXPECT_TRUE(out.empty());
}

TEST(SmoothDifferentials, OutputMayBeTheRequestVector) {
  const CNumVector<double> x = LogSpaced(0.0, 3.0, 10, true);
  const CNumVector<double> y = LogLine(x, 1.0, 2.0);
  CNumVector<double> inOut = {3.0, 30.0, 300.0};
  ASSERT_TRUE(NSmooth::ComputeDifferentials(x, y, inOut, inOut, true, false));
  // Off the grid nodes the per-unit-diameter curve is interpolated: close, not exact.
  const double requested[] = {3.0, 30.0, 300.0};
  for (std::size_t i = 0; i < 3; ++i)
    EXPECT_REL_CLOSE(inOut[i], 2.0 / (requested[i] * kLn10), 1e-6) << requested[i];
}
