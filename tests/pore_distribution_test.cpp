#include "fiofla/pore_distribution.h"

#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include "test_util.h"

namespace {

using Imported = CImportedPoreDistribution;

// N+1 boundaries from 10^logMax down by `step` decades, N equal increments of `perDecade`
// x step: a cumulative that is a straight line in log10 diameter.
void LogUniform(int n, double logMax, double step, double perDecade, CNumVector<double>& d,
                CNumVector<double>& v) {
  d.SetDim(n + 1);
  v.SetDim(n);
  for (int i = 0; i <= n; ++i) d[i] = std::pow(10.0, logMax - step * i);
  for (int i = 0; i < n; ++i) v[i] = perDecade * step;
}

}  // namespace

TEST(PoreDistribution, ValidityAndInvalidDistributionsYieldNothing) {
  EXPECT_TRUE(CBJHPoreDistribution({20.0, 10.0}, {1.0}).IsValid());
  EXPECT_FALSE(CBJHPoreDistribution().IsValid());
  EXPECT_FALSE(CBJHPoreDistribution({}, {}).IsValid());

  const CBJHPoreDistribution bjh({20.0, 10.0}, {1.0, 2.0});
  const Imported imported({20.0, 10.0}, {1.0, 2.0}, 0.5, 0.0);
  for (CPoreDistribution const* p : {static_cast<CPoreDistribution const*>(&bjh),
                                     static_cast<CPoreDistribution const*>(&imported)}) {
    EXPECT_FALSE(p->IsValid());
    CNumVector<double> out = {9.0}, x = {9.0}, y = {9.0};
    EXPECT_FALSE(p->GetCumulative(out, true));
    EXPECT_TRUE(out.empty());
    out = {9.0};
    EXPECT_FALSE(p->GetAverageDiameters(out));
    EXPECT_TRUE(out.empty());
    for (bool smoothed : {false, true}) {
      out = {9.0};
      EXPECT_FALSE(p->GetDifferential(out, smoothed));
      EXPECT_TRUE(out.empty());
      out = {9.0};
      EXPECT_FALSE(p->GetLogDifferential(out, smoothed));
      EXPECT_TRUE(out.empty());
    }
    EXPECT_FALSE(p->GetCumulativeXY(x, y, true));
  }
  // The base form leaves the curve untouched; the imported form empties it.
  CNumVector<double> x = {9.0}, y = {9.0};
  bjh.GetCumulativeXY(x, y, true);
  EXPECT_EQ(x, (CNumVector<double>{9.0}));
  imported.GetCumulativeXY(x, y, true);
  EXPECT_TRUE(x.empty() && y.empty());
  EXPECT_FALSE(imported.GetIncrementalXY(x, y));
}

TEST(PoreDistribution, RunningSumsForwardAndBackward) {
  std::vector<double> v = {1.0, 2.0, 3.0};
  ASSERT_TRUE(CPoreDistribution::IncrementalToCumulative(v, true));
  EXPECT_EQ(v, (std::vector<double>{1.0, 3.0, 6.0}));
  v = {1.0, 2.0, 3.0};
  ASSERT_TRUE(CPoreDistribution::IncrementalToCumulative(v, false));
  EXPECT_EQ(v, (std::vector<double>{6.0, 5.0, 3.0}));
  std::vector<double> empty;
  EXPECT_FALSE(CPoreDistribution::IncrementalToCumulative(empty, true));

  // The BJH cumulative curve pairs each running sum with the smaller boundary of its interval.
  const CBJHPoreDistribution bjh({100.0, 50.0, 20.0, 10.0}, {1.0, 2.0, 3.0});
  CNumVector<double> x, y;
  ASSERT_TRUE(bjh.GetCumulativeXY(x, y, true));
  EXPECT_EQ(x, (CNumVector<double>{50.0, 20.0, 10.0}));
  EXPECT_EQ(y, (CNumVector<double>{1.0, 3.0, 6.0}));
  ASSERT_TRUE(bjh.GetCumulative(y, false));
  EXPECT_EQ(y, (CNumVector<double>{6.0, 5.0, 3.0}));
  ASSERT_TRUE(bjh.GetAverageDiameters(x));
  EXPECT_EQ(x, (CNumVector<double>{75.0, 35.0, 15.0}));
}

TEST(PoreDistribution, FiniteDifferencesOfAKnownDistribution) {
  const CBJHPoreDistribution bjh({100.0, 50.0, 20.0, 10.0}, {1.0, 2.0, 3.0});
  CNumVector<double> out;
  ASSERT_TRUE(bjh.GetLogDifferential(out, false));
  ASSERT_EQ(out.size(), 3u);
  EXPECT_REL_CLOSE(out[0], 1.0 / std::log10(2.0), 1e-14);
  EXPECT_REL_CLOSE(out[1], 2.0 / std::log10(2.5), 1e-14);
  EXPECT_REL_CLOSE(out[2], 3.0 / std::log10(2.0), 1e-14);
  ASSERT_TRUE(bjh.GetDifferential(out, false));
  EXPECT_REL_CLOSE(out[0], 1.0 / 50.0, 1e-14);
  EXPECT_REL_CLOSE(out[1], 2.0 / 30.0, 1e-14);
  EXPECT_REL_CLOSE(out[2], 3.0 / 10.0, 1e-14);

  // Summing the log differential times the decades of each interval gives the total back.
  const CNumVector<double> d = {300.0, 120.0, 47.0, 21.0, 8.0, 3.5};
  const CNumVector<double> v = {0.4, 1.1, 0.2, 0.7, 0.05};
  ASSERT_TRUE(Imported(d, v, 0.3, 0.0).GetLogDifferential(out, false));
  double total = 0.0;
  for (std::size_t i = 0; i < v.size(); ++i) total += out[i] * std::log10(d[i] / d[i + 1]);
  EXPECT_REL_CLOSE(total, 2.45, 1e-13);
}

TEST(PoreDistribution, NonPositiveRatioDividesByTheFallback) {
  const CBJHPoreDistribution bjh({20.0, -5.0, 2.0}, {1.0, 3.0});
  CNumVector<double> out;
  ASSERT_TRUE(bjh.GetLogDifferential(out, false));
  EXPECT_EQ(out[0], 1.0 / 1e-9);
  EXPECT_EQ(out[1], 3.0 / 1e-9);
  // A zero-width interval is not guarded: infinite differential.
  ASSERT_TRUE(CBJHPoreDistribution({20.0, 20.0}, {1.0}).GetDifferential(out, false));
  EXPECT_TRUE(std::isinf(out[0]));
}

TEST(PoreDistribution, SmoothedDifferentialOfALogUniformDistributionIsFlat) {
  CNumVector<double> d, v;
  LogUniform(30, 3.0, 0.07, 0.5, d, v);
  CNumVector<double> smoothed, plain, at;
  // BJH: evaluated at D[1..N]; every value, end intervals included, is the per-decade amount.
  const CBJHPoreDistribution bjh(d, v);
  ASSERT_TRUE(bjh.GetLogDifferential(smoothed, true));
  ASSERT_TRUE(bjh.GetLogDifferential(plain, false));
  ASSERT_EQ(smoothed.size(), 30u);
  for (std::size_t i = 0; i < smoothed.size(); ++i) {
    EXPECT_REL_CLOSE(smoothed[i], 0.5, 1e-9) << i;
    EXPECT_REL_CLOSE(plain[i], 0.5, 1e-12) << i;
  }
  // Per unit diameter: 0.5 / (D ln 10) at the smaller boundary of each interval. Between the
  // 200 grid nodes that curve is interpolated, hence the looser tolerance.
  ASSERT_TRUE(bjh.GetDifferential(smoothed, true));
  for (std::size_t i = 0; i < smoothed.size(); ++i)
    EXPECT_REL_CLOSE(smoothed[i], 0.5 / (d[i + 1] * std::log(10.0)), 1e-6) << i;

  // Imported: evaluated at the average diameters, with the leading tail as an offset only.
  const Imported imported(d, v, 4.0, 0.0);
  ASSERT_TRUE(imported.GetLogDifferential(smoothed, true));
  ASSERT_EQ(smoothed.size(), 30u);
  for (std::size_t i = 0; i < smoothed.size(); ++i) EXPECT_REL_CLOSE(smoothed[i], 0.5, 1e-9) << i;
  ASSERT_TRUE(imported.GetAverageDiameters(at));
  ASSERT_TRUE(imported.GetDifferential(smoothed, true));
  for (std::size_t i = 0; i < smoothed.size(); ++i)
    EXPECT_REL_CLOSE(smoothed[i], 0.5 / (at[i] * std::log(10.0)), 1e-6) << i;

  // One interval leaves the BJH curve a single point: nothing to smooth.
  EXPECT_FALSE(CBJHPoreDistribution({20.0, 10.0}, {1.0}).GetLogDifferential(smoothed, true));
  EXPECT_TRUE(smoothed.empty());
}

TEST(ImportedPoreDistribution, TailRuleFoldsInExactlyOneTail) {
  const std::vector<double> d = {40.0, 20.0, 10.0};
  std::vector<double> v = {1.0, 2.0};
  // Positive leading tail goes in front, even with a trailing one.
  ASSERT_TRUE(Imported::IncrementalWithTailToIncremental(d, v, 0.5, 0.25));
  EXPECT_EQ(v, (std::vector<double>{0.5, 1.0, 2.0}));
  // No trailing tail: the leading one goes in front whatever its sign.
  v = {1.0, 2.0};
  ASSERT_TRUE(Imported::IncrementalWithTailToIncremental(d, v, -0.5, 0.0));
  EXPECT_EQ(v, (std::vector<double>{-0.5, 1.0, 2.0}));
  v = {1.0, 2.0};
  ASSERT_TRUE(Imported::IncrementalWithTailToIncremental(d, v, 0.0, 0.0));
  EXPECT_EQ(v, (std::vector<double>{0.0, 1.0, 2.0}));
  // Otherwise the trailing tail is appended.
  v = {1.0, 2.0};
  ASSERT_TRUE(Imported::IncrementalWithTailToIncremental(d, v, 0.0, 0.25));
  EXPECT_EQ(v, (std::vector<double>{1.0, 2.0, 0.25}));
  // Lengths that do not fit: untouched, and the running sum is over the increments as given.
  v = {1.0, 2.0, 3.0};
  EXPECT_FALSE(Imported::IncrementalWithTailToIncremental(d, v, 0.5, 0.0));
  EXPECT_EQ(v, (std::vector<double>{1.0, 2.0, 3.0}));
  ASSERT_TRUE(Imported::IncrementalToCumulative(d, v, 0.5, 0.0, true));
  EXPECT_EQ(v, (std::vector<double>{1.0, 3.0, 6.0}));

  // The getters use the same rule: one cumulative value and one increment per boundary.
  const Imported leading({40.0, 20.0, 10.0}, {1.0, 2.0}, 0.5, 0.25);
  CNumVector<double> x, y;
  ASSERT_TRUE(leading.GetIncrementalXY(x, y));
  EXPECT_EQ(x, (CNumVector<double>{40.0, 20.0, 10.0}));
  EXPECT_EQ(y, (CNumVector<double>{0.5, 1.0, 2.0}));
  ASSERT_TRUE(leading.GetCumulativeXY(x, y, true));
  EXPECT_EQ(x, (CNumVector<double>{40.0, 20.0, 10.0}));
  EXPECT_EQ(y, (CNumVector<double>{0.5, 1.5, 3.5}));
  const Imported trailing({40.0, 20.0, 10.0}, {1.0, 2.0}, 0.0, 0.25);
  ASSERT_TRUE(trailing.GetCumulative(y, false));
  EXPECT_EQ(y, (CNumVector<double>{3.25, 2.25, 0.25}));
}

TEST(ImportedPoreDistribution, CumulativeToIncrementalInvertsTheTailRule) {
  const std::vector<double> d = {500.0, 200.0, 90.0, 40.0, 17.0, 6.0};
  // Cumulative -> increments -> cumulative gives the cumulative back, whichever way it runs,
  // including a falling one that ends at 0 and a mostly-rising one with a dip.
  const std::vector<std::vector<double>> cumulatives = {
      {0.3, 0.9, 1.4, 2.2, 2.3, 3.1},  {3.1, 2.3, 2.2, 1.4, 0.9, 0.3},
      {3.1, 2.3, 2.2, 1.4, 0.9, 0.0},  {0.0, 0.0, 0.0, 0.0, 0.0, 0.0},
      {-1.0, 0.5, 0.4, 0.8, 1.9, 2.0}, {0.1, 0.1, 0.1, 0.7, 0.7, 0.2}};
  for (auto const& c : cumulatives) {
    std::vector<double> inc;
    double lead = -7.0, trail = -7.0;
    bool forward = false;
    ASSERT_TRUE(Imported::CumulativeToIncremental(d, c, inc, lead, trail, &forward));
    ASSERT_EQ(inc.size(), d.size() - 1);
    std::vector<double> back = inc;
    ASSERT_TRUE(Imported::IncrementalToCumulative(d, back, lead, trail, forward));
    ASSERT_EQ(back.size(), c.size());
    for (std::size_t i = 0; i < c.size(); ++i) EXPECT_NEAR(back[i], c[i], 1e-14) << i;
    // The same through an imported distribution built from the pieces.
    CNumVector<double> dv(d.size()), iv(inc.size()), y;
    for (std::size_t i = 0; i < d.size(); ++i) dv[i] = d[i];
    for (std::size_t i = 0; i < inc.size(); ++i) iv[i] = inc[i];
    ASSERT_TRUE(Imported(dv, iv, lead, trail).GetCumulative(y, forward));
    for (std::size_t i = 0; i < c.size(); ++i) EXPECT_NEAR(y[i], c[i], 1e-14) << i;
  }

  // Increments and tails -> cumulative -> the same increments and tails, for the forms the
  // tail rule produces: a leading tail summed forwards, a trailing tail summed backwards.
  const std::vector<double> v = {0.25, 0.5, 1.0, 0.125, 2.0};
  struct SCase {
    double lead, trail;
    bool forward;
  };
  for (SCase const& k : {SCase{0.75, 0.0, true}, SCase{0.0, 0.375, false}}) {
    std::vector<double> c = v, inc;
    ASSERT_TRUE(Imported::IncrementalToCumulative(d, c, k.lead, k.trail, k.forward));
    double lead = -7.0, trail = -7.0;
    bool forward = !k.forward;
    ASSERT_TRUE(Imported::CumulativeToIncremental(d, c, inc, lead, trail, &forward));
    EXPECT_EQ(forward, k.forward);
    EXPECT_EQ(lead, k.lead);
    EXPECT_EQ(trail, k.trail);
    ASSERT_EQ(inc.size(), v.size());
    for (std::size_t i = 0; i < v.size(); ++i) EXPECT_NEAR(inc[i], v[i], 1e-14) << i;
  }
}

TEST(ImportedPoreDistribution, CumulativeToIncrementalRefusesMismatchedLengths) {
  std::vector<double> inc = {9.0};
  double lead = 9.0, trail = 9.0;
  EXPECT_FALSE(Imported::CumulativeToIncremental({1.0, 2.0}, {1.0}, inc, lead, trail));
  EXPECT_FALSE(Imported::CumulativeToIncremental({}, {}, inc, lead, trail));
  EXPECT_EQ(inc, (std::vector<double>{9.0}));
  EXPECT_EQ(lead, 9.0);
  // One boundary, one value: no increments, all of it in the leading tail.
  ASSERT_TRUE(Imported::CumulativeToIncremental({5.0}, {2.0}, inc, lead, trail));
  EXPECT_TRUE(inc.empty());
  EXPECT_EQ(lead, 2.0);
  EXPECT_EQ(trail, 0.0);
}

TEST(PoreDistribution, CopiesArePolymorphicAndIndependent) {
  CNumVector<double> d = {30.0, 15.0, 5.0}, v = {1.0, 2.0};
  Imported original(d, v, 0.5, 0.0);
  d[0] = 99.0;  // the distribution holds copies
  const Imported copy = original;
  CPoreDistribution const& base = copy;
  CNumVector<double> out;
  base.GetPoreDiameters(out);
  EXPECT_EQ(out, (CNumVector<double>{30.0, 15.0, 5.0}));
  ASSERT_TRUE(base.GetCumulative(out, true));
  EXPECT_EQ(out, (CNumVector<double>{0.5, 1.5, 3.5}));
  EXPECT_EQ(copy.GetLeadingTail(), 0.5);
}
