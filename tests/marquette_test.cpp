// Levenberg-Marquardt fit: the NIST StRD certified problems, and the behaviours a caller
// relies on (fixed parameters, exact fits, standard errors, failures as values).
#include "fiofla/num/marquette.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>

#include "nist_strd.h"
#include "test_util.h"

namespace {

using fiofla::ELMStop;
using fiofla::test::RelClose;

// y = a exp(-b x) + c with analytic derivatives.
double Decay(double x, std::vector<SCurveFitParam>& p) {
  const double e = std::exp(-p[1].value * x);
  p[0].derivative = e;
  p[1].derivative = -p[0].value * x * e;
  p[2].derivative = 1.0;
  return p[0].value * e + p[2].value;
}

std::vector<CMarquetteFit::SData> DecayData(double a, double b, double c, int n) {
  std::vector<CMarquetteFit::SData> d;
  for (int i = 0; i < n; ++i) {
    const double x = 0.25 * i;
    d.push_back({x, a * std::exp(-b * x) + c, 1.0});
  }
  return d;
}

TEST(MarquetteNist, CertifiedValuesFromBothStarts) {
  const auto problems = fiofla::test::ReadNistFolder(fiofla::test::TestData("nist"));
  ASSERT_FALSE(problems.empty());
  int starts = 0, passing = 0;
  for (auto const& p : problems) {
    ASSERT_EQ(fiofla::test::NistModels().count(p.name), 1u) << p.name << " has no model";
    ASSERT_EQ(p.y.size(), p.x.size());
    for (int s = 1; s <= 2; ++s) {
      const auto r = fiofla::test::FitNist(p, s);
      ++starts;
      if (r.valid && r.minLre >= 4.0) ++passing;
      // A start counted as passing also reproduces the certified residual sum of squares,
      // relatively, or, where that sum is only the rounding of the data (Lanczos1, 1e-25),
      // to 1e-20 of the sum of the squared observations.
      if (r.valid && r.minLre >= 4.0) {
        double scale = 0.0;
        for (double y : p.y) scale += y * y;
        const double rss = 2.0 * r.summary.finalCost;
        EXPECT_TRUE(RelClose(rss, p.certifiedRss, 1e-6) ||
                    std::fabs(rss - p.certifiedRss) <= 1e-20 * scale)
            << p.name << ": " << rss << " against " << p.certifiedRss;
      }
      std::cout << p.name << " start " << s << ": LRE " << r.minLre << " ("
                << fiofla::ToString(r.summary.stop) << ", " << r.summary.iterations
                << " iterations)\n";
    }
  }
  // The NIST bar for a sound solver: 50 of the 54 starts to four significant digits.
  EXPECT_GE(passing * 54, starts * 50) << passing << " of " << starts << " starts pass";
}

TEST(MarquetteNist, StandardErrorsMatchCertifiedDeviations) {
  for (auto const& p : fiofla::test::ReadNistFolder(fiofla::test::TestData("nist"))) {
    const auto r = fiofla::test::FitNist(p, 2);
    if (!r.valid || r.minLre < 6.0) continue;
    for (std::size_t k = 0; k < p.certifiedSd.size(); ++k) {
      EXPECT_TRUE(RelClose(r.summary.standardErrors[k], p.certifiedSd[k], 1e-3))
          << p.name << " b" << k + 1;
    }
  }
}

TEST(MarquetteNist, ReaderTakesTheFileAsNistLaysItOut) {
  fiofla::test::NistProblem p;
  ASSERT_TRUE(fiofla::test::ReadNist(fiofla::test::TestData("nist/Nelson.dat"), p));
  EXPECT_EQ(p.y.size(), 128u);
  EXPECT_EQ(p.x[0].size(), 2u);  // two predictors
  EXPECT_EQ(p.start2[1], 0.000000005);
  EXPECT_EQ(p.certified[2], -5.7701013174E-02);
  EXPECT_EQ(p.certifiedRss, 3.7976833176E+00);
  EXPECT_FALSE(fiofla::test::ReadNist(fiofla::test::TestData("nist/README.md"), p));
}

TEST(Marquette, ExactDataGivesItsParametersBack) {
  const auto data = DecayData(5.0, 0.7, 1.5, 30);
  std::vector<SCurveFitParam> p = {{1.0, true, 0.0}, {0.2, true, 0.0}, {0.0, true, 0.0}};
  CMarquetteFit fit(data, p, Decay);
  ASSERT_TRUE(fit.IsValid()) << fiofla::ToString(fit.Summary().stop);
  EXPECT_TRUE(RelClose(p[0].value, 5.0, 1e-10));
  EXPECT_TRUE(RelClose(p[1].value, 0.7, 1e-10));
  EXPECT_TRUE(RelClose(p[2].value, 1.5, 1e-10));
  EXPECT_LT(fit.Summary().finalCost, 1e-20);
  EXPECT_GT(fit.Summary().initialCost, fit.Summary().finalCost);
  EXPECT_TRUE(fit.Summary().Converged());
}

TEST(Marquette, FixedParametersStayFixed) {
  const auto data = DecayData(5.0, 0.7, 1.5, 30);
  // c held at a wrong value: the other two absorb what they can, c does not move.
  std::vector<SCurveFitParam> p = {{1.0, true, 0.0}, {0.2, true, 0.0}, {1.0, false, 0.0}};
  CMarquetteFit fit(data, p, Decay);
  ASSERT_TRUE(fit.IsValid());
  EXPECT_EQ(p[2].value, 1.0);
  EXPECT_EQ(fit.Summary().standardErrors[2], 0.0);
  EXPECT_GT(fit.Summary().finalCost, 1e-6);
  // Held at the right value, the rest is exact.
  std::vector<SCurveFitParam> q = {{1.0, true, 0.0}, {1.5, false, 0.0}, {0.0, true, 0.0}};
  q[1].value = 0.7;
  CMarquetteFit fit2(data, q, Decay);
  ASSERT_TRUE(fit2.IsValid());
  EXPECT_EQ(q[1].value, 0.7);
  EXPECT_TRUE(RelClose(q[0].value, 5.0, 1e-10));
  EXPECT_TRUE(RelClose(q[2].value, 1.5, 1e-10));
}

TEST(Marquette, StandardErrorsOfAStraightLineAreTheRegressionOnes) {
  // Noisy line; the textbook formulas for slope and intercept errors.
  std::mt19937 rng(42);
  std::normal_distribution<double> noise(0.0, 0.3);
  std::vector<CMarquetteFit::SData> data;
  double sx = 0, sy = 0;
  const int n = 25;
  for (int i = 0; i < n; ++i) {
    const double x = i * 0.5;
    data.push_back({x, 2.0 + 0.8 * x + noise(rng), 1.0});
    sx += x;
    sy += data.back().y;
  }
  const double mx = sx / n, my = sy / n;
  double sxx = 0, sxy = 0;
  for (auto const& d : data) {
    sxx += (d.x - mx) * (d.x - mx);
    sxy += (d.x - mx) * (d.y - my);
  }
  const double slope = sxy / sxx, icpt = my - slope * mx;
  double rss = 0;
  for (auto const& d : data) rss += std::pow(d.y - icpt - slope * d.x, 2);
  const double s2 = rss / (n - 2);
  auto line = [](double x, std::vector<SCurveFitParam>& p) {
    p[0].derivative = 1.0;
    p[1].derivative = x;
    return p[0].value + p[1].value * x;
  };
  std::vector<SCurveFitParam> p = {{0.0, true, 0.0}, {0.0, true, 0.0}};
  CMarquetteFit fit(data, p, line);
  ASSERT_TRUE(fit.IsValid());
  EXPECT_TRUE(RelClose(p[0].value, icpt, 1e-10));
  EXPECT_TRUE(RelClose(p[1].value, slope, 1e-10));
  EXPECT_TRUE(RelClose(fit.Summary().standardErrors[1], std::sqrt(s2 / sxx), 1e-8));
  EXPECT_TRUE(
      RelClose(fit.Summary().standardErrors[0], std::sqrt(s2 * (1.0 / n + mx * mx / sxx)), 1e-8));

  // Weights multiply the squared residual: doubling every point's weight is the same as
  // listing every point twice.
  auto doubled = data;
  for (auto& d : doubled) d.weight = 2.0;
  auto twice = data;
  twice.insert(twice.end(), data.begin(), data.end());
  std::vector<SCurveFitParam> a = {{0.0, true, 0.0}, {0.0, true, 0.0}}, b = a;
  CMarquetteFit fa(doubled, a, line), fb(twice, b, line);
  EXPECT_TRUE(RelClose(a[1].value, b[1].value, 1e-12));
  EXPECT_TRUE(RelClose(fa.Summary().finalCost, fb.Summary().finalCost, 1e-10));
}

TEST(Marquette, BadInputIsAStatusNeverAThrow) {
  std::vector<SCurveFitParam> start = {{1.0, true, 0.0}, {0.2, true, 0.0}, {0.0, true, 0.0}};
  auto expectUntouched = [&](std::vector<SCurveFitParam> const& p) {
    for (std::size_t k = 0; k < p.size(); ++k) EXPECT_EQ(p[k].value, start[k].value);
  };
  {  // no data
    auto p = start;
    CMarquetteFit fit({}, p, Decay);
    EXPECT_FALSE(fit.IsValid());
    EXPECT_EQ(fit.Summary().stop, ELMStop::kBadInput);
    expectUntouched(p);
  }
  {  // more parameters than points
    auto p = start;
    CMarquetteFit fit(DecayData(5, 0.7, 1.5, 2), p, Decay);
    EXPECT_EQ(fit.Summary().stop, ELMStop::kBadInput);
    EXPECT_STREQ(fiofla::ToString(fit.Summary().stop), "bad input");
  }
  {  // a negative weight, a NaN measurement
    auto d = DecayData(5, 0.7, 1.5, 10);
    d[3].weight = -1.0;
    auto p = start;
    EXPECT_EQ(CMarquetteFit(d, p, Decay).Summary().stop, ELMStop::kBadInput);
    d[3].weight = 1.0;
    d[4].y = std::numeric_limits<double>::quiet_NaN();
    EXPECT_EQ(CMarquetteFit(d, p, Decay).Summary().stop, ELMStop::kBadInput);
  }
  {  // a model that answers NaN everywhere
    auto p = start;
    CMarquetteFit fit(DecayData(5, 0.7, 1.5, 10), p, [](double, std::vector<SCurveFitParam>&) {
      return std::numeric_limits<double>::quiet_NaN();
    });
    EXPECT_FALSE(fit.IsValid());
    EXPECT_EQ(fit.Summary().stop, ELMStop::kBadModelValue);
    expectUntouched(p);
  }
  {  // a model whose derivative is NaN
    auto p = start;
    CMarquetteFit fit(DecayData(5, 0.7, 1.5, 10), p, [](double x, std::vector<SCurveFitParam>& q) {
      const double f = Decay(x, q);
      q[1].derivative = std::numeric_limits<double>::quiet_NaN();
      return f;
    });
    EXPECT_EQ(fit.Summary().stop, ELMStop::kBadModelValue);
    expectUntouched(p);
  }
  {  // NaN only far from the data's solution (log of a negative rate): the solver steps back
    auto p = start;
    CMarquetteFit fit(DecayData(5, 0.7, 1.5, 30), p, [](double x, std::vector<SCurveFitParam>& q) {
      const double f = Decay(x, q);
      return q[1].value < 0 ? std::numeric_limits<double>::quiet_NaN() : f;
    });
    EXPECT_TRUE(fit.IsValid()) << fiofla::ToString(fit.Summary().stop);
    EXPECT_TRUE(RelClose(p[1].value, 0.7, 1e-8));
  }
  {  // iteration limit: not valid, parameters as they came
    auto p = start;
    fiofla::SLMOptions o;
    o.maxEvaluations = 2;
    CMarquetteFit fit(DecayData(5, 0.7, 1.5, 30), p, Decay, o);
    EXPECT_EQ(fit.Summary().stop, ELMStop::kIterationLimit);
    EXPECT_FALSE(fit.IsValid());
    expectUntouched(p);
  }
}

}  // namespace
