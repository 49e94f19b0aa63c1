#include "fiofla/bet_range.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <random>
#include <vector>

#include "fiofla/calc_bet.h"
#include "test_util.h"

namespace {

using fiofla::BetRangeOptions;
using fiofla::BetRangeResult;
using fiofla::BetRangeStatus;
using fiofla::FindBetRange;

constexpr short kFitted = CCalcBET::POINT_IN_RANGE | CCalcBET::POINT_INCLUDED;

struct Isotherm {
  std::vector<double> x, q;
};

// BET isotherm limited to `layers` layers, cm3/g STP: it flattens towards layers * Qm, so
// the BET plot bends away from its line at higher pressure as on a real knee.
Isotherm NLayerBet(double c, double qm, double layers, std::size_t n, double x0, double x1,
                   double noise = 0.0, unsigned seed = 1) {
  std::mt19937 rng(seed);
  std::normal_distribution<double> rel(0.0, noise);
  Isotherm iso;
  for (std::size_t i = 0; i < n; ++i) {
    const double x = x0 + (x1 - x0) * double(i) / double(n - 1);
    const double xn = std::pow(x, layers);
    const double q = c * qm * x * (1 - (layers + 1) * xn + layers * xn * x) /
                     ((1 - x) * (1 + (c - 1) * x - c * xn * x));
    iso.x.push_back(x);
    iso.q.push_back(q * (1.0 + (noise > 0.0 ? rel(rng) : 0.0)));
  }
  return iso;
}

BetRangeResult Find(const Isotherm& iso, const BetRangeOptions& options = {}) {
  return FindBetRange(iso.x.data(), iso.q.data(), iso.x.size(), options);
}

// A point the BET transform cannot take.
bool Unusable(double x, double q) {
  return !(x > 0.0 && x < 1.0 && q > 0.0 && std::isfinite(q));
}

// The four criteria and r², judged from a CCalcBET fit of points first..last and a plain
// scan of the usable isotherm, independently of the search's running sums and binary search.
struct Verdict {
  bool r2 = false, increasing = true, positiveC = false, inRange = false, agrees = false;
  double deviation = 0.0, c = 0.0, qm = 0.0;
  bool Passes() const { return r2 && increasing && positiveC && inRange && agrees; }
};

Verdict Judge(const Isotherm& iso, std::size_t first, std::size_t last,
              const BetRangeOptions& options) {
  CCalcBET::SInput in;
  const std::size_t n = iso.x.size();
  in.relativePressure = CNumVector<double>(n);
  in.quantityAdsorbed = CNumVector<double>(n);
  in.pointFlags = CNumVector<short>(n);
  std::vector<double> ux, uq;
  for (std::size_t i = 0; i < n; ++i) {
    in.relativePressure[i] = iso.x[i];
    in.quantityAdsorbed[i] = iso.q[i];
    in.pointFlags[i] = (first <= i && i <= last) ? kFitted : 0;
    if (!Unusable(iso.x[i], iso.q[i])) ux.push_back(iso.x[i]), uq.push_back(iso.q[i]);
  }
  const CCalcBET bet(in);
  Verdict v;
  v.c = bet.cValue;
  v.qm = bet.monolayerCapacity;
  v.r2 = bet.correlation * bet.correlation >= options.minRSquared;
  for (std::size_t k = 0; k + 1 < bet.fitCheck.size(); ++k)
    v.increasing = v.increasing && bet.fitCheck[k + 1] > bet.fitCheck[k];
  v.positiveC = bet.yIntercept > 0.0 && bet.cValue > 0.0;
  double pm = std::numeric_limits<double>::quiet_NaN();
  for (std::size_t k = 0; k + 1 < ux.size() && std::isnan(pm); ++k) {
    const double qa = uq[k], qb = uq[k + 1];
    if (std::min(qa, qb) <= v.qm && v.qm <= std::max(qa, qb))
      pm = qa == v.qm ? ux[k] : ux[k] + (v.qm - qa) / (qb - qa) * (ux[k + 1] - ux[k]);
  }
  v.inRange = pm >= iso.x[first] - 1e-12 && pm <= iso.x[last] + 1e-12;
  v.deviation = std::fabs(1.0 / (std::sqrt(bet.cValue) + 1.0) - pm) / pm;
  v.agrees = bet.cValue > 0.0 && v.deviation <= options.monolayerTolerance;
  return v;
}

// What the search should report, from a CCalcBET refit of every window.
struct Expected {
  std::size_t searched = 0, passed = 0, unusable = 0, fails[5] = {}, first = 0, last = 0;
};

Expected BruteForce(const Isotherm& iso, const BetRangeOptions& o) {
  Expected e;
  double bestDeviation = 0.0;
  for (std::size_t i = 0; i < iso.x.size(); ++i) {
    bool bad = false;
    for (std::size_t j = i; j < iso.x.size(); ++j) {
      bad = bad || Unusable(iso.x[j], iso.q[j]);
      if (j + 1 < i + o.minPoints) continue;
      ++e.searched;
      if (bad) {
        ++e.unusable;
        continue;
      }
      const Verdict v = Judge(iso, i, j, o);
      e.fails[0] += !v.r2, e.fails[1] += !v.increasing, e.fails[2] += !v.positiveC;
      e.fails[3] += !v.inRange, e.fails[4] += !v.agrees;
      if (!v.Passes()) continue;
      const bool better = e.passed++ == 0 || iso.x[j] > iso.x[e.last] ||
                          (j == e.last && v.deviation < bestDeviation);
      if (better) e.first = i, e.last = j, bestDeviation = v.deviation;
    }
  }
  return e;
}

void ExpectMatches(const BetRangeResult& r, const Expected& e) {
  EXPECT_EQ(r.windowsSearched, e.searched);
  EXPECT_EQ(r.windowsPassed, e.passed);
  EXPECT_EQ(r.unusable, e.unusable);
  EXPECT_EQ(r.failedRSquared, e.fails[0]);
  EXPECT_EQ(r.failedIncreasing, e.fails[1]);
  EXPECT_EQ(r.failedPositiveC, e.fails[2]);
  EXPECT_EQ(r.failedMonolayerInRange, e.fails[3]);
  EXPECT_EQ(r.failedMonolayerAgreement, e.fails[4]);
  ASSERT_EQ(r.found, e.passed > 0);
  EXPECT_EQ(r.first, e.first);
  EXPECT_EQ(r.last, e.last);
}

TEST(BetRange, ModelIsothermRangePassesAnIndependentRecheck) {
  for (double noise : {0.0, 0.002}) {
    SCOPED_TRACE(noise);
    const Isotherm iso = NLayerBet(120.0, 95.0, 6.0, 100, 0.001, 0.95, noise, 11);
    const BetRangeResult r = Find(iso);
    ASSERT_TRUE(r.found) << r.Explain();
    EXPECT_GE(r.last - r.first + 1, 10u);
    const Verdict v = Judge(iso, r.first, r.last, r.options);
    EXPECT_TRUE(v.Passes());
    EXPECT_REL_CLOSE(r.cValue, v.c, 1e-9);
    EXPECT_REL_CLOSE(r.monolayerCapacityCm3PerGStp, v.qm, 1e-9);
    EXPECT_REL_CLOSE(r.cValue, 120.0, 0.15);
    EXPECT_REL_CLOSE(r.monolayerCapacityCm3PerGStp, 95.0, 0.03);
    // The six-layer model bends off the BET line near 0.3; noise of 0.2 % already breaks
    // the rise of n(1-P/Po) earlier, where its steps are as small as the noise.
    EXPECT_GT(r.relativePressureHigh, noise > 0.0 ? 0.1 : 0.3);
    EXPECT_LT(r.relativePressureHigh, 0.4);
    EXPECT_NE(r.Explain().find("BET range points " + std::to_string(r.first)), std::string::npos);
  }
}

TEST(BetRange, ChoiceAndTalliesMatchABruteForceRefitOfEveryWindow) {
  const BetRangeOptions settings[] = {{5, 0.995, 0.20}, {8, 0.999, 0.20}, {4, 0.99, 0.05}};
  for (unsigned seed : {3u, 4u, 5u}) {
    for (const BetRangeOptions& o : settings) {
      SCOPED_TRACE(testing::Message() << "seed " << seed << " minPoints " << o.minPoints);
      Isotherm iso = NLayerBet(60.0, 40.0, 4.0, 25, 0.01, 0.6, 0.004, seed);
      const BetRangeResult r = Find(iso, o);
      const Expected e = BruteForce(iso, o);
      ExpectMatches(r, e);
      EXPECT_GT(e.passed, 0u);
      EXPECT_LT(e.passed, e.searched);
      EXPECT_GE(r.rSquared, o.minRSquared);
      EXPECT_GE(r.last - r.first + 1, o.minPoints);
      // A first reading far above Qm turns the monolayer crossing into a downward one.
      iso.q[0] *= 4.0;
      ExpectMatches(Find(iso, o), BruteForce(iso, o));
    }
  }
}

TEST(BetRange, OptionsAndPointCountAreChecked) {
  const Isotherm iso = NLayerBet(120.0, 95.0, 6.0, 100, 0.001, 0.95);
  for (std::size_t minPoints : {2u, 30u, 100u}) {
    const BetRangeResult r = Find(iso, {minPoints, 0.995, 0.2});
    EXPECT_EQ(r.found, minPoints < 100);
    EXPECT_GE(r.found ? r.last - r.first + 1 : minPoints, minPoints);
    EXPECT_EQ(r.windowsSearched, (101 - minPoints) * (102 - minPoints) / 2);
  }
  const BetRangeResult few = Find(iso, {101, 0.995, 0.2});
  EXPECT_EQ(few.status, BetRangeStatus::kTooFewPoints);
  EXPECT_EQ(few.Explain(), "no BET range: 100 points given, at least 101 needed");
  const double nan = std::numeric_limits<double>::quiet_NaN();
  const BetRangeOptions invalid[] = {
      {1, 0.995, 0.2}, {10, 1.5, 0.2}, {10, nan, 0.2}, {10, 0.995, 0.0}, {10, 0.995, nan}};
  const char* named[] = {"minPoints", "minRSquared", "minRSquared", "monolayerTolerance",
                         "monolayerTolerance"};
  for (std::size_t k = 0; k < 5; ++k) {
    const BetRangeResult r = Find(iso, invalid[k]);
    EXPECT_EQ(r.status, BetRangeStatus::kInvalidOptions);
    EXPECT_FALSE(r.found);
    EXPECT_NE(r.Explain().find(named[k]), std::string::npos) << r.Explain();
  }
}

TEST(BetRange, ConvexIsothermExplainsEveryFailedCriterion) {
  // Type III shape without a knee: q rises with the square of the pressure.
  Isotherm iso;
  for (int i = 0; i < 137; ++i) {
    iso.x.push_back(0.01 + 0.9 * i / 136.0);
    iso.q.push_back(10.0 * iso.x.back() * iso.x.back());
  }
  const BetRangeResult r = Find(iso);
  EXPECT_EQ(r.status, BetRangeStatus::kNoWindowPasses);
  EXPECT_EQ(r.windowsPassed, 0u);
  const std::string text = r.Explain();
  EXPECT_EQ(text.find("no BET range passes: of 8,256 windows with >= 10 points"), 0u) << text;
  const std::size_t counts[] = {r.failedRSquared, r.failedIncreasing, r.failedPositiveC,
                                r.failedMonolayerInRange, r.failedMonolayerAgreement};
  const char* names[] = {"have r² < 0.995", "fail n(1-P/Po) increasing", "fail C > 0",
                         "have the monolayer P/Po outside the window",
                         "have 1/(sqrt C + 1) off the monolayer P/Po by more than 20%"};
  for (std::size_t k = 0; k < 5; ++k) {
    ASSERT_GT(counts[k], 999u);
    const std::string count = std::to_string(counts[k] / 1000) + "," +
                              std::to_string(counts[k] % 1000 + 1000).substr(1) + " ";
    EXPECT_NE(text.find(count + names[k]), std::string::npos) << count << names[k];
  }
}

TEST(BetRange, UnusablePointsAreSkippedWhereTheyStand) {
  Isotherm iso = NLayerBet(120.0, 95.0, 6.0, 40, 0.005, 0.6, 0.001, 9);
  // An origin point, a dosing glitch, a repeated and a lost reading, saturation points.
  iso.x.insert(iso.x.begin(), 0.0), iso.q.insert(iso.q.begin(), 0.0);
  iso.q[3] = -1.0;
  iso.x.insert(iso.x.begin() + 30, 0.45);
  iso.q.insert(iso.q.begin() + 30, std::numeric_limits<double>::quiet_NaN());
  iso.x.insert(iso.x.begin() + 12, iso.x[12]), iso.q.insert(iso.q.begin() + 12, iso.q[12]);
  iso.x.push_back(1.0), iso.q.push_back(500.0);
  iso.x.push_back(1.02), iso.q.push_back(510.0);
  const BetRangeResult r = Find(iso, {6, 0.995, 0.2});
  ExpectMatches(r, BruteForce(iso, {6, 0.995, 0.2}));
  ASSERT_TRUE(r.found) << r.Explain();

  // The adsorption points sit at odd indices of a full isotherm; only their flags move.
  std::vector<std::size_t> index(iso.x.size());
  for (std::size_t k = 0; k < index.size(); ++k) index[k] = 2 * k + 1;
  CNumVector<short> flags(2 * index.size() + 1);
  for (short& f : flags) f = CCalcBET::POINT_IN_RANGE;
  ASSERT_TRUE(fiofla::ApplyBetRange(r, index.data(), index.size(), flags));
  for (std::size_t k = 0; k < flags.size(); ++k) {
    const bool inRange = k % 2 == 1 && r.first <= k / 2 && k / 2 <= r.last;
    EXPECT_EQ(flags[k], inRange ? kFitted : 0) << k;
  }
  EXPECT_FALSE(fiofla::ApplyBetRange(r, index.data(), r.last, flags));

  for (double& q : iso.q) q = 0.0;
  const BetRangeResult none = Find(iso);
  EXPECT_EQ(none.unusable, none.windowsSearched);
  EXPECT_NE(none.Explain().find("unusable"), std::string::npos);
}

}  // namespace

// Past 2,000 points the search judges windows of whole blocks, so its cost is bounded; on a
// dense model isotherm it still finds the knee a sparse one gives.
TEST(BetRange, DenseIsothermsSearchWholeBlocksAndStillFindTheKnee) {
  auto model = [](int n) {
    std::pair<std::vector<double>, std::vector<double>> xq;
    const double c = 110.0, qm = 85.0;
    for (int i = 0; i < n; ++i) {
      const double x = 0.001 + 0.949 * i / (n - 1);
      xq.first.push_back(x);
      xq.second.push_back(c * qm * x / ((1 - x) * (1 + (c - 1) * x)));
    }
    return xq;
  };
  const auto sparse = model(150);
  const auto dense = model(20000);
  const fiofla::BetRangeResult a =
      fiofla::FindBetRange(sparse.first.data(), sparse.second.data(), sparse.first.size());
  const fiofla::BetRangeResult b =
      fiofla::FindBetRange(dense.first.data(), dense.second.data(), dense.first.size());
  ASSERT_TRUE(a.found);
  ASSERT_TRUE(b.found);
  // 2,000 blocks of 10 points: about 2 million windows, not the 200 million of every pair.
  EXPECT_LE(b.windowsSearched, 2001u * 2000u / 2u);
  EXPECT_EQ((b.first % 10), 0u);
  EXPECT_EQ((b.last + 1) % 10, 0u);
  EXPECT_NEAR(b.cValue, 110.0, 1.0);
  EXPECT_NEAR(b.relativePressureHigh, a.relativePressureHigh, 0.02);
}
