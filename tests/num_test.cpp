#include <algorithm>
#include <cmath>
#include <limits>
#include <new>
#include <random>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "fiofla/num/interpolate.h"
#include "fiofla/num/linefit.h"
#include "fiofla/num/numvector.h"
#include "fiofla/num/polynomial.h"
#include "test_util.h"

namespace {

using V = CNumVector<double>;
const double kNaN = std::numeric_limits<double>::quiet_NaN();

// ---------------------------------------------------------------- line fit

// Validity (1 or 0), slope, intercept, both variances and r.
std::vector<double> Results(const CNumLineFit& f) {
  return {double(f.IsValid()), f.Slope(),         f.YIntercept(),
          f.VarSlope(),        f.VarYIntercept(), f.Correlation()};
}

// Exact comparison of Results, NaN matching NaN.
void ExpectFit(const CNumLineFit& fit, const std::vector<double>& expected) {
  const std::vector<double> got = Results(fit);
  for (int i = 0; i < 6; ++i)
    EXPECT_TRUE(std::isnan(expected[i]) ? std::isnan(got[i]) : got[i] == expected[i])
        << "result " << i << ": " << got[i] << " expected " << expected[i];
}

// NIST Statistical Reference Datasets, linear regression, "Norris" (y, x pairs); certified
// values to 15 digits, compared at 1e-12 (estimates) and 1e-10 (deviations). Along the way the
// lazily refitted AddPoint form must agree exactly with the array form after every point.
TEST(NumLineFit, MatchesNistNorrisIncrementallyAndRecoversAnExactLine) {
  const double yx[36][2] = {{0.1, 0.2},     {338.8, 337.4}, {118.1, 118.2}, {888.0, 884.6},
                            {9.2, 10.1},    {228.1, 226.5}, {668.5, 666.3}, {998.5, 996.3},
                            {449.1, 448.6}, {778.9, 777.0}, {559.2, 558.2}, {0.3, 0.4},
                            {0.1, 0.6},     {778.1, 775.5}, {668.8, 666.9}, {339.3, 338.0},
                            {448.9, 447.5}, {10.8, 11.6},   {557.7, 556.0}, {228.3, 228.1},
                            {998.0, 995.8}, {888.8, 887.6}, {119.6, 120.2}, {0.3, 0.3},
                            {0.6, 0.3},     {557.6, 556.8}, {339.3, 339.1}, {888.0, 887.2},
                            {998.5, 999.0}, {778.9, 779.0}, {10.2, 11.1},   {117.6, 118.3},
                            {228.9, 229.2}, {668.4, 669.1}, {449.2, 448.9}, {0.2, 0.5}};
  // The same data shifted far from the origin: centred sums keep the slope, one-pass
  // sums would lose about ten digits to the offset.
  for (double offset : {0.0, 1e8}) {
    SCOPED_TRACE(testing::Message() << "x offset " << offset);
    std::vector<double> x, y, line;
    CNumLineFit fit;
    for (const auto& p : yx) {
      x.push_back(p[1] + offset), y.push_back(p[0]), line.push_back(4.0 - 1.5 * p[1]);
      fit.AddPoint(x.back(), y.back());
      ExpectFit(fit, Results(CNumLineFit(x.size(), x.data(), y.data())));
    }
    fit.CalculateVariance();
    const double tol = offset == 0.0 ? 1e-12 : 1e-8;
    EXPECT_REL_CLOSE(fit.Slope(), 1.00211681802045, tol);
    EXPECT_REL_CLOSE(std::sqrt(fit.VarSlope()), 4.29796848199937E-04, 100 * tol);
    EXPECT_REL_CLOSE(fit.Correlation() * fit.Correlation(), 0.999993745883712, tol);
    if (offset != 0.0) continue;  // the intercept moves with the offset
    EXPECT_REL_CLOSE(fit.YIntercept(), -0.262323073774029, 1e-12);
    EXPECT_REL_CLOSE(std::sqrt(fit.VarYIntercept()), 0.232818234301152, 1e-10);
    // Points on a line: that line, r = -1, and residual variances tiny but never negative.
    const CNumLineFit exact(x.size(), x.data(), line.data());
    EXPECT_REL_CLOSE(exact.Slope(), -1.5, 1e-12);
    EXPECT_REL_CLOSE(exact.Correlation(), -1.0, 1e-12);
    for (double v : {exact.VarSlope(), exact.VarYIntercept()}) EXPECT_TRUE(v >= 0.0 && v < 1e-18);
  }
}

TEST(NumLineFit, DegenerateInputsFollowTheDocumentedRules) {
  // 0.1 is not exact in binary; a rounded mean must not leave a spurious slope for flatY.
  const double sameX[] = {0.3, 0.3, 0.3, 0.3}, flatY[] = {0.1, 0.1, 0.1, 0.1}, ys[] = {1, 2, 5, 3};
  const double withNaN[] = {1.0, kNaN, 3.0, 4.0}, x2[] = {1.0, 3.0}, y2[] = {5.0, 1.0};
  // Arrays are not kept, so adding to a fit made from them cannot give a right answer.
  CNumLineFit mixed(2, x2, y2);
  for (double x : {2.0, 4.0}) mixed.AddPoint(x, 3.0);
  for (const CNumLineFit& fit :
       {CNumLineFit(), CNumLineFit(1, ys, ys), CNumLineFit(4, sameX, ys),
        CNumLineFit(4, ys, withNaN), CNumLineFit(4, nullptr, ys), CNumLineFit(4, ys, nullptr),
        CNumLineFit(4, ys, ys, CNumLineFit::ELineType(3)), mixed})
    ExpectFit(fit, {0, 0, 0, 0, 0, 0});
  ExpectFit(CNumLineFit(2, x2, y2), {1, -2.0, 7.0, kNaN, kNaN, -1.0});
  ExpectFit(CNumLineFit(4, ys, flatY), {1, 0.0, 0.1, 0.0, 0.0, 0.0});
  ExpectFit(CNumLineFit(2, ys, flatY), {1, 0.0, 0.1, kNaN, kNaN, 0.0});
}

// ---------------------------------------------------------------- interpolation

// n points with ascending, unevenly spaced x from a fixed seed; y rising, or anywhere in [-1, 1).
std::pair<V, V> Table(unsigned seed, int n, bool rising) {
  std::mt19937 rng(seed);
  std::uniform_real_distribution<double> u(0.01, 2.0);
  V x(n), y(n);  // both start at zero
  for (int i = 1; i < n; ++i)
    x[i] = x[i - 1] + u(rng), y[i] = rising ? y[i - 1] + u(rng) * u(rng) : u(rng) - 1.0;
  return {x, y};
}

const CNumInterpolate::EType kTypes[] = {CNumInterpolate::eLinear, CNumInterpolate::eMonotoneCubic};

// Both types return the table's y at its nodes and reproduce a straight line, extrapolation
// included; ascending, strictly descending and shuffled input, by Set or SetAscending, agree.
TEST(NumInterpolate, ReproducesNodesAndLinesWhateverTheInputOrder) {
  const auto [x, y] = Table(11, 30, false);
  V sx = x, sy = y, rx = x, ry = y, line = x;
  std::shuffle(sx.begin(), sx.end(), std::mt19937(99));  // same seed and length: the same
  std::shuffle(sy.begin(), sy.end(), std::mt19937(99));  // permutation for both
  std::reverse(rx.begin(), rx.end()), std::reverse(ry.begin(), ry.end());
  for (double& v : line) v = 3.0 - 2.0 * v;
  for (auto type : kTypes) {
    SCOPED_TRACE(testing::Message() << "type " << type);
    CNumInterpolate ascending(type);
    ascending.SetAscending(sx, sy);
    const CNumInterpolate sorted(x, y, type), straight(x, line, type);
    const CNumInterpolate others[] = {{rx, ry, type}, {sx, sy, type}, ascending};
    for (std::size_t i = 0; i < x.size(); ++i) EXPECT_EQ(sorted.Interpolate(x[i]), y[i]);
    for (double t = x[0] - 5.0; t < x[x.size() - 1] + 5.0; t += 0.0731) {
      EXPECT_REL_CLOSE(straight.Interpolate(t), 3.0 - 2.0 * t, 1e-12);
      for (const auto& other : others) EXPECT_EQ(other.Interpolate(t), sorted.Interpolate(t));
    }
  }
}

// On every interval the cubic runs monotonically from one node value to the next, so monotone
// data stay monotone and steps do not overshoot.
TEST(NumInterpolate, MonotoneCubicKeepsShapeWithoutOvershoot) {
  const V sx = {0, 1, 2, 2.1, 3, 4, 4.05, 6}, sy = {0, 0, 0, 1, 1, 1, 0, 0};
  for (const auto& [x, y] : {Table(5, 25, true), Table(23, 40, false), std::pair{sx, sy}}) {
    const CNumInterpolate f(x, y, CNumInterpolate::eMonotoneCubic);
    for (std::size_t k = 0; k + 1 < x.size(); ++k) {
      double last = y[k];
      for (double t = x[k]; t <= x[k + 1]; t += (x[k + 1] - x[k]) / 97.0) {
        const double v = f.Interpolate(t);
        ASSERT_TRUE(v >= std::min(y[k], y[k + 1]) && v <= std::max(y[k], y[k + 1]) &&
                    (v - last) * (y[k + 1] - y[k]) >= 0.0)
            << v << " after " << last << " at x = " << t;
        last = v;
      }
    }
  }
}

TEST(NumInterpolate, SmallTablesGiveHandCheckedValues) {
  // y = x^2 at 0, 1, 3, 4; secants 1, 4, 7; cubic node slopes 0 (end rule), 1.5 and 5.25 (the
  // uneven spacing tells the two harmonic-mean weights apart), 8. Outside, eLinear (and an
  // unknown type) follows the end interval, the cubic the end tangent.
  const V sx = {0, 1, 3, 4}, sy = {0, 1, 9, 16};
  for (auto type : {CNumInterpolate::eLinear, CNumInterpolate::EType(2)})
    EXPECT_DOUBLE_EQ(CNumInterpolate(sx, sy, type).Interpolate(5.0), 23.0);
  const CNumInterpolate cubic(sx, sy, CNumInterpolate::eMonotoneCubic);
  EXPECT_DOUBLE_EQ(cubic.Interpolate(0.5), 0.3125);
  EXPECT_DOUBLE_EQ(cubic.Interpolate(2.0), 4.0625);
  EXPECT_DOUBLE_EQ(cubic.Interpolate(-1.0), 0.0);
  EXPECT_DOUBLE_EQ(cubic.Interpolate(5.0), 24.0);
  // A turn next to the end: the three-point slope 11 would overshoot, so it is capped at 3.
  const CNumInterpolate turn(V{0, 1, 1.1}, V{0, 1, 0}, CNumInterpolate::eMonotoneCubic);
  EXPECT_DOUBLE_EQ(turn.Interpolate(0.5), 0.875);
  EXPECT_DOUBLE_EQ(turn.Interpolate(-1.0), -3.0);
  for (auto type : kTypes) {
    SCOPED_TRACE(testing::Message() << "type " << type);
    // Repeated x merge into one node at the mean y, whatever order they arrive in.
    const CNumInterpolate a(V{0, 1, 1, 2, 2, 2}, V{0, 1, 3, 4, 4, 7}, type);
    const CNumInterpolate b(V{2, 1, 0, 2, 1, 2}, V{7, 3, 0, 4, 1, 4}, type);
    EXPECT_TRUE(a.Size() == 3u && a.Interpolate(1.0) == 2.0 && a.Interpolate(2.0) == 5.0);
    for (double t = -1.0; t <= 3.0; t += 0.01) EXPECT_EQ(a.Interpolate(t), b.Interpolate(t)) << t;
    // Extra y ignored; non-finite x dropped; one node gives its y everywhere. NaN for a NaN x
    // and for an empty table.
    const CNumInterpolate one(V{kNaN, HUGE_VAL, 4.0}, V{1.0, 7.0, 2.5, 9.0}, type);
    EXPECT_TRUE(one.Size() == 1u && one.Interpolate(-9.0) == 2.5 && one.Interpolate(9.0) == 2.5);
    EXPECT_TRUE(std::isnan(one.Interpolate(kNaN)) &&
                std::isnan(CNumInterpolate(type).Interpolate(0)));
    const CNumInterpolate two(V{1.0, 3.0}, V{1.0, 2.0}, type);
    EXPECT_TRUE(two.Interpolate(2.0) == 1.5 && two.Interpolate(5.0) == 3.0);
  }
}

// ---------------------------------------------------------------- polynomials

TEST(NumPolynomial, HornerMatchesThePowerSum) {
  const std::vector<double> c = {0.3, -1.7, 0.25, 2.0, -0.6, 1.1};
  const CNumPolynomialExtrap p{CNumPolynomial(c)};
  for (double x = -3.0; x <= 3.0; x += 0.25) {
    double sum = 0.0;
    for (std::size_t i = 0; i < c.size(); ++i) sum += c[i] * std::pow(x, double(i));
    EXPECT_NEAR(p(x), sum, 1e-12 * (1.0 + std::fabs(sum)));
  }
  EXPECT_TRUE(CNumPolynomial(1.5, -2.0)(4.0) == -6.5 && p.Polynomial().Degree() == 5u);
  EXPECT_EQ(CNumPolynomial(std::vector<double>{})(7.0), 0.0);  // empty list: zero polynomial
}

// ---------------------------------------------------------------- containers

// SetDim against a model of the storage rules over a fixed random sequence.
TEST(NumVector, SetDimFollowsTheStorageRules) {
  std::mt19937 rng(42);
  V v;
  std::size_t capacity = 0;
  for (int step = 0; step < 500; ++step) {
    const std::size_t old = v.size(), n = rng() % 13;
    for (std::size_t i = 0; i < old; ++i) v[i] = step + i + 1.0;
    const bool keep = rng() % 2, reuse = n != 0 && n <= capacity;
    const double* before = v.data();
    v.SetDim(n, keep);
    capacity = n == 0 ? 0 : std::max(capacity, n);
    SCOPED_TRACE(testing::Message() << "step " << step << " n " << n << " keep " << keep);
    ASSERT_TRUE(v.size() == n && v.capacity() == capacity);
    ASSERT_TRUE(n == 0 ? v.data() == nullptr : !reuse || v.data() == before);
    for (std::size_t i = 0; i < n; ++i) ASSERT_EQ(v[i], keep && i < old ? step + i + 1.0 : 0.0);
  }
  EXPECT_THROW(v.SetDim(~0ull), std::bad_array_new_length);
}

// Streambuf over a caller's buffer, so the 80 MB case is not copied into a string stream.
struct MemoryBuf : std::streambuf {
  explicit MemoryBuf(std::vector<char>& b) { setg(b.data(), b.data(), b.data() + b.size()); }
};

std::string CountBytes(std::uint32_t n) {
  return std::string{char(n & 0xff), char((n >> 8) & 0xff), char((n >> 16) & 0xff), char(n >> 24)};
}

TEST(NumVector, StreamFormRoundTripsAndEnforcesLimits) {
  const V d = {1.5, -0.0, 1e-310, std::numeric_limits<double>::max(), -HUGE_VAL};
  const CNumVector<short> s = {0, -1, 32767, -32768, 6};
  std::stringstream io;
  s.Write(d.Write(io));
  EXPECT_TRUE(io.str().size() == 58u && io.str().substr(44, 6) == CountBytes(5) + '\0' + '\0');
  V d2(50);  // reused storage must still come back with the written length
  CNumVector<short> s2;
  EXPECT_TRUE(d2.Read(io) && s2.Read(io) && d2 == d && s2 == s);

  // A stream that ends inside the third element (the second is 8.0, 0x4020000000000000):
  // failed, and the old value in the reused storage does not show through.
  std::istringstream truncated(CountBytes(3) + std::string(14, '\0') + "\x20\x40\x7f\x7f");
  EXPECT_TRUE(d2.Read(truncated).fail() && d2.size() == 3u && d2[1] == 8.0 && d2[2] == 0.0);

  V kept = {1.0, 2.0, 3.0};
  const double* before = kept.data();
  std::istringstream tooMany(CountBytes(10000001u) + std::string(64, '\0'));
  EXPECT_EQ(kept.Read(tooMany).rdstate(), std::ios::failbit);
  EXPECT_TRUE(kept == (V{1.0, 2.0, 3.0}) && kept.data() == before);
  std::istringstream none(CountBytes(0));
  EXPECT_TRUE(kept.Read(none) && kept.empty() && kept.data() == nullptr);

  const std::uint32_t limit = 10000000u;  // the largest count accepted; one more is refused above
  std::vector<char> big(4 + std::size_t(limit) * sizeof(double), '\0');
  CountBytes(limit).copy(big.data(), 4);
  big.back() = 0x40;  // the last element is 2.0
  MemoryBuf buf(big);
  std::istream bigStream(&buf);
  V large;
  ASSERT_TRUE(large.Read(bigStream) && large.size() == limit);
  EXPECT_TRUE(large[0] == 0.0 && large[limit - 1] == 2.0);
}

TEST(NumMatrix, ResizesCopiesAndRowPointerForm) {
  CNumMatrix<double> m(3, 4);
  m(1, 1) = 11.0, m(2, 3) = 23.0;
  const CNumMatrix<double> copy(m);
  m.SetDim(5, 6, true);
  EXPECT_TRUE(m(1, 1) == 11.0 && m(2, 3) == 23.0 && m(2, 5) == 0.0 && m(4, 5) == 0.0);
  m.SetDim(2, 2, true);
  EXPECT_EQ(m(1, 1), 11.0);
  m.SetDim(0, 7);
  EXPECT_TRUE(m.rows() == 0u && m.cols() == 0u);
  EXPECT_TRUE(copy.rows() == 3u && copy.cols() == 4u && copy(1, 1) == 11.0 && copy(2, 3) == 23.0);

  // Row-pointer form: zeroed rows (read to the last column, checked by the sanitizer build),
  // then a null terminator.
  double** empty = NewMatrix(0, 5);
  EXPECT_TRUE(empty != nullptr && empty[0] == nullptr);
  DeleteMatrix(empty);
  DeleteMatrix(nullptr);
  double** rows = NewMatrix(4, 3);
  for (int r = 0; r < 4; ++r)
    EXPECT_TRUE(rows[r] != nullptr && rows[r][0] == 0.0 && rows[r][2] == 0.0) << "row " << r;
  EXPECT_EQ(rows[4], nullptr);
  DeleteMatrix(rows);
}

}  // namespace
