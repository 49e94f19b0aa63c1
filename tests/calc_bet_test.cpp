#include "fiofla/calc_bet.h"

#include <cmath>
#include <limits>
#include <random>

#include "test_util.h"

namespace {

constexpr short kIn = CCalcBET::POINT_INCLUDED;
constexpr short kRange = CCalcBET::POINT_IN_RANGE;
constexpr short kBoth = CCalcBET::POINT_INCLUDED | CCalcBET::POINT_IN_RANGE;

// Infinite-layer BET isotherm, cm3/g STP.
double BetQuantity(double x, double c, double qm) {
  return c * qm * x / ((1.0 - x) * (1.0 + (c - 1.0) * x));
}

CCalcBET::SInput MakeInput(std::initializer_list<double> x, std::initializer_list<double> q,
                           std::initializer_list<short> flags, double crossSection = 0.162) {
  CCalcBET::SInput in;
  in.relativePressure = CNumVector<double>(x);
  in.quantityAdsorbed = CNumVector<double>(q);
  in.pointFlags = CNumVector<short>(flags);
  in.crossSectionalArea = crossSection;
  return in;
}

CCalcBET::SInput ModelInput(double c, double qm, const std::vector<double>& xs, double lo,
                            double hi) {
  CCalcBET::SInput in;
  in.relativePressure.SetDim(xs.size());
  in.quantityAdsorbed.SetDim(xs.size());
  in.pointFlags.SetDim(xs.size());
  for (std::size_t i = 0; i < xs.size(); ++i) {
    in.relativePressure[i] = xs[i];
    in.quantityAdsorbed[i] = BetQuantity(xs[i], c, qm);
    in.pointFlags[i] = (xs[i] >= lo && xs[i] <= hi) ? kBoth : kIn;
  }
  in.crossSectionalArea = 0.162;
  return in;
}

TEST(CalcBET, RecoversCAndQmOfAModelIsotherm) {
  const std::vector<double> xs = {0.01, 0.03, 0.05, 0.08, 0.11, 0.14, 0.17,
                                  0.20, 0.25, 0.30, 0.40, 0.60, 0.80, 0.95};
  for (double c : {3.0, 25.0, 100.0, 850.0}) {
    for (double qm : {0.05, 12.5, 400.0}) {
      const CCalcBET bet(ModelInput(c, qm, xs, 0.05, 0.30));
      SCOPED_TRACE(testing::Message() << "C=" << c << " Qm=" << qm);
      EXPECT_EQ(bet.status, CCalcBET::STATUS_OK);
      EXPECT_REL_CLOSE(bet.cValue, c, 1e-9);
      EXPECT_REL_CLOSE(bet.monolayerCapacity, qm, 1e-11);
      // Area = Qm / 22414 cm3/mol * N_A * sigma.
      EXPECT_REL_CLOSE(bet.surfaceArea, qm / 22414.0 * 6.02214129e23 * 0.162e-18, 1e-11);
      EXPECT_REL_CLOSE(bet.correlation, 1.0, 1e-12);
      EXPECT_LT(bet.surfaceAreaError, 1e-9 * bet.surfaceArea);
      EXPECT_EQ(bet.fitQuantity.size(), 8u);
      EXPECT_EQ(bet.otherQuantity.size(), 6u);
      ASSERT_EQ(bet.calculatedIsotherm.size(), xs.size());
      for (std::size_t i = 0; i < xs.size(); ++i)
        EXPECT_REL_CLOSE(bet.calculatedIsotherm[i], BetQuantity(xs[i], c, qm), 1e-9);
    }
  }
}

TEST(CalcBET, ErrorsGrowWithNoiseAndStayConsistent) {
  std::mt19937 rng(7);
  std::normal_distribution<double> noise(0.0, 0.003);
  const std::vector<double> xs = {0.05, 0.08, 0.11, 0.14, 0.17, 0.20, 0.23, 0.26, 0.29};
  auto in = ModelInput(80.0, 30.0, xs, 0.0, 1.0);
  for (auto& q : in.quantityAdsorbed) q *= 1.0 + noise(rng);
  const CCalcBET bet(in);
  EXPECT_EQ(bet.status, CCalcBET::STATUS_OK);
  EXPECT_GT(bet.surfaceAreaError, 0.0);
  EXPECT_NEAR(bet.monolayerCapacity, 30.0, 0.3);
  // The stated relations between the results hold whatever the data.
  const double s = bet.slope + bet.yIntercept;
  EXPECT_REL_CLOSE(bet.cValue, s / bet.yIntercept, 1e-14);
  EXPECT_REL_CLOSE(bet.monolayerCapacity, 1.0 / s, 1e-14);
  EXPECT_REL_CLOSE(bet.surfaceAreaError,
                   bet.surfaceArea * std::hypot(bet.slopeError, bet.yInterceptError) / s, 1e-12);
  EXPECT_LT(bet.correlation, 1.0);
  EXPECT_GT(bet.correlation, 0.99);
}

TEST(CalcBET, PointClassificationAndStatus) {
  // Flagged point at P/Po = 1 is dropped with status 35; the fit still runs.
  {
    const CCalcBET bet(
        MakeInput({0.05, 0.1, 0.2, 1.0}, {10, 12, 14, 50}, {kBoth, kBoth, kBoth, kIn}));
    EXPECT_EQ(bet.status, CCalcBET::STATUS_POINT_ABOVE_SATURATION);
    EXPECT_EQ(bet.fitQuantity.size(), 3u);
    EXPECT_EQ(bet.otherQuantity.size(), 0u);
    EXPECT_NE(bet.surfaceArea, 0.0);
  }
  // The same point with neither bit is skipped silently.
  {
    const CCalcBET bet(
        MakeInput({0.05, 0.1, 0.2, 1.0}, {10, 12, 14, 50}, {kBoth, kBoth, kBoth, 0}));
    EXPECT_EQ(bet.status, CCalcBET::STATUS_OK);
    EXPECT_EQ(bet.calculatedIsotherm.size(), 4u);
  }
  // In range without included takes part in nothing; included only goes to "other".
  {
    const CCalcBET bet(MakeInput({0.05, 0.1, 0.15, 0.2, 0.5}, {10, 12, 13, 14, 30},
                                 {kBoth, kRange, kBoth, kBoth, kIn}));
    ASSERT_EQ(bet.fitRelativePressure.size(), 3u);
    EXPECT_EQ(bet.fitRelativePressure[1], 0.15);
    ASSERT_EQ(bet.otherRelativePressure.size(), 1u);
    EXPECT_EQ(bet.otherRelativePressure[0], 0.5);
    EXPECT_EQ(bet.otherTransform.size(), 1u);
    EXPECT_REL_CLOSE(bet.otherCheck[0], 0.5 * 30, 1e-15);
  }
  // Flags or quantities shorter than the pressures: the extra points take part in nothing.
  {
    const CCalcBET bet(
        MakeInput({0.05, 0.1, 0.2, 0.25}, {10, 12, 14}, {kBoth, kBoth, kBoth, kBoth}));
    EXPECT_EQ(bet.fitQuantity.size(), 3u);
    EXPECT_EQ(bet.calculatedIsotherm.size(), 4u);
  }
  // 35 is overwritten by 1 when too few points remain.
  {
    const CCalcBET bet(MakeInput({0.1, 1.2}, {10, 12}, {kBoth, kBoth}));
    EXPECT_EQ(bet.status, CCalcBET::STATUS_TOO_FEW_POINTS);
    EXPECT_EQ(bet.surfaceArea, 0.0);
  }
}

TEST(CalcBET, FitNeedsTwoDistinctRangePoints) {
  // None or one range point: no fit, zero results, a zero model isotherm.
  for (auto in : {MakeInput({}, {}, {}), MakeInput({0.1, 0.2}, {10, 12}, {kBoth, kIn})}) {
    const CCalcBET bet(in);
    EXPECT_EQ(bet.status, CCalcBET::STATUS_TOO_FEW_POINTS);
    EXPECT_EQ(bet.slope, 0.0);
    EXPECT_EQ(bet.cValue, 0.0);
    EXPECT_EQ(bet.calculatedIsotherm.size(), in.relativePressure.size());
    for (double q : bet.calculatedIsotherm) EXPECT_EQ(q, 0.0);
  }
  EXPECT_EQ(CCalcBET().status, CCalcBET::STATUS_TOO_FEW_POINTS);
  EXPECT_EQ(CCalcBET().crossSectionalArea, 1.0);

  // Two points: the exact line through their transforms.
  const CCalcBET two(MakeInput({0.1, 0.3}, {20, 30}, {kBoth, kBoth}));
  EXPECT_EQ(two.status, CCalcBET::STATUS_OK);
  const double t1 = 0.1 / (0.9 * 20), t3 = 0.3 / (0.7 * 30);
  EXPECT_REL_CLOSE(two.slope, (t3 - t1) / 0.2, 1e-12);
  EXPECT_REL_CLOSE(two.yIntercept, t1 - 0.1 * (t3 - t1) / 0.2, 1e-12);

  // All range points at one relative pressure: no line, reported as a zero intercept.
  const CCalcBET same(MakeInput({0.2, 0.2, 0.2}, {10, 11, 12}, {kBoth, kBoth, kBoth}));
  EXPECT_EQ(same.status, CCalcBET::STATUS_ZERO_INTERCEPT);
  EXPECT_EQ(same.surfaceArea, 0.0);
  EXPECT_EQ(same.cValue, 0.0);
}

TEST(CalcBET, TransformGuardsAndModelBeyondSaturation) {
  // Zero quantity: guarded by a positive 1e-30, never a division by zero.
  EXPECT_EQ(CCalcBET::Transform(0.2, 0.0), 0.2 / 1e-30);
  EXPECT_EQ(CCalcBET::Transform(0.2, -1e-31), 0.2 / 1e-30);
  EXPECT_EQ(CCalcBET::Transform(1.0, 5.0), 1.0 / 1e-30);
  EXPECT_REL_CLOSE(CCalcBET::Transform(0.2, 10.0), 0.2 / 8.0, 1e-15);

  CNumVector<double> out{9, 9, 9, 9};
  CCalcBET::TransformCheck(CNumVector<double>{0.5, 0.25}, CNumVector<double>{4, 8}, out);
  ASSERT_EQ(out.size(), 2u);
  EXPECT_EQ(out[0], 2.0);
  EXPECT_EQ(out[1], 6.0);

  // Points outside the range, including P/Po > 1, still get a model value.
  const auto in = ModelInput(50.0, 20.0, {0.05, 0.1, 0.2, 0.3, 1.5}, 0.0, 0.35);
  const CCalcBET bet(in);
  ASSERT_EQ(bet.calculatedIsotherm.size(), 5u);
  EXPECT_TRUE(std::isfinite(bet.calculatedIsotherm[4]));
  EXPECT_REL_CLOSE(bet.calculatedIsotherm[4], BetQuantity(1.5, 50.0, 20.0), 1e-9);
}

TEST(CalcBET, MakeBETInputSelectsAdsorptionPointsInRange) {
  using fiofla::Branch;
  const auto in =
      fiofla::MakeBETInput({0.04, 0.05, 0.2, 0.3, 0.31, 0.2}, {1, 2, 3, 4, 5, 6},
                           {Branch::kAdsorption, Branch::kAdsorption, Branch::kAdsorption,
                            Branch::kAdsorption, Branch::kAdsorption, Branch::kDesorption},
                           0.05, 0.30, 0.142);
  EXPECT_EQ(in.crossSectionalArea, 0.142);
  const std::vector<short> expected = {kIn, kBoth, kBoth, kBoth, kIn, 0};
  ASSERT_EQ(in.pointFlags.size(), expected.size());
  for (std::size_t i = 0; i < expected.size(); ++i) EXPECT_EQ(in.pointFlags[i], expected[i]) << i;
}

}  // namespace
