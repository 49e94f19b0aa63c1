#include "fiofla/bet_range.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <limits>
#include <vector>

#include "fiofla/calc_bet.h"

namespace fiofla {
namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

// Index of the first element of the non-decreasing a[0..n) that is >= v, or n. Consecutive
// windows from one start move Qm only a little, so a few steps from the previous answer
// usually find it; the branch-free binary search is the fallback.
std::size_t FirstAtLeast(const double* a, std::size_t n, double v, std::size_t hint) {
  std::size_t k = std::min(hint, n);
  for (int step = 0; step < 4; ++step) {
    const bool answerAtOrAbove = k == 0 || a[k - 1] < v;
    const bool answerAtOrBelow = k == n || a[k] >= v;
    if (answerAtOrAbove && answerAtOrBelow) return k;
    k = answerAtOrAbove ? k + 1 : k - 1;
  }
  if (n == 0) return 0;
  const double* base = a;
  while (n > 1) {
    const std::size_t half = n / 2;
    base = base[half] < v ? base + half : base;
    n -= half;
  }
  return std::size_t(base - a) + (*base < v ? 1 : 0);
}

// The isotherm as criterion 3 reads it: the usable points in order, the running maximum
// of q and of -q, and dx/dq of the segment ending at each point. A level above q[0] is
// first crossed at the first point whose running maximum of q reaches it, a level below
// q[0] at the first whose running maximum of -q reaches its negative, so a search over a
// sorted array finds the first crossing whether or not q is monotone.
struct MonolayerReader {
  const double* x;
  const double* q;
  const double* runMax;
  const double* runMaxNegated;
  const double* slopeXPerQ;
  std::size_t n;

  // P/Po where the isotherm first reaches qm; NaN when it never does. `hint` is the
  // crossing index of a nearby qm and is updated.
  double At(double qm, std::size_t& hint) const {
    if (n == 0 || !std::isfinite(qm)) return kNaN;
    if (q[0] == qm) return x[0];
    const std::size_t b = hint =
        q[0] < qm ? FirstAtLeast(runMax, n, qm, hint) : FirstAtLeast(runMaxNegated, n, -qm, hint);
    if (b == n) return kNaN;
    // q[0] != qm, so b >= 1 and every point before b lies strictly on q[0]'s side of qm,
    // which makes q[b - 1] != q[b] and the segment's dx/dq finite.
    return x[b - 1] + (qm - q[b - 1]) * slopeXPerQ[b];
  }
};

// "8256" -> "8,256", so the tallies in Explain() read at a glance.
std::string Grouped(std::size_t value) {
  std::string digits = std::to_string(value);
  for (std::size_t pos = digits.size(); pos > 3; pos -= 3) digits.insert(pos - 3, ",");
  return digits;
}

std::string Format(const char* format, double value) {
  char buffer[64];
  std::snprintf(buffer, sizeof buffer, format, value);
  return buffer;
}

const char* InvalidOption(const BetRangeOptions& options) {
  if (options.minPoints < 2) return "minPoints must be at least 2";
  if (!(options.minRSquared >= 0.0 && options.minRSquared <= 1.0))
    return "minRSquared must lie in [0, 1]";
  if (!(options.monolayerTolerance > 0.0) || !std::isfinite(options.monolayerTolerance))
    return "monolayerTolerance must be a finite number > 0";
  return nullptr;
}

// Past this many points, windows start and end on the boundaries of this many blocks.
constexpr std::size_t kMaxBoundaries = 2000;

// Centred statistics of a run of points, combined pairwise (Chan, Golub and LeVeque 1979),
// which keeps the precision of Welford's updates when runs are joined.
struct Moments {
  double count = 0.0, meanX = 0.0, meanY = 0.0, sxx = 0.0, sxy = 0.0, syy = 0.0;
  double low = 0.0, high = 0.0;
  void Add(const Moments& b) {
    if (count == 0.0) {
      *this = b;
      return;
    }
    const double n = count + b.count, dx = b.meanX - meanX, dy = b.meanY - meanY;
    const double w = count * b.count / n;
    sxx += b.sxx + dx * dx * w;
    sxy += b.sxy + dx * dy * w;
    syy += b.syy + dy * dy * w;
    meanX += dx * b.count / n;
    meanY += dy * b.count / n;
    count = n;
    low = std::min(low, b.low);
    high = std::max(high, b.high);
  }
};

// The window search over kMaxBoundaries equal blocks of consecutive points: every window
// of whole blocks with at least minPoints points is judged, so the cost is O(n) to build
// the blocks plus O(blocks^2) windows, whatever n is.
template <typename Judge>
void SearchBlocks(std::size_t n, std::size_t minPoints, const double* x, const double* y,
                  Judge& judge, BetRangeResult& result) {
  const std::size_t size = (n + kMaxBoundaries - 1) / kMaxBoundaries;
  const std::size_t blocks = (n + size - 1) / size;
  std::vector<Moments> moments(blocks);
  std::vector<char> usable(blocks, 1);
  for (std::size_t k = 0; k < blocks; ++k) {
    Moments& m = moments[k];
    m.low = m.high = x[k * size];
    for (std::size_t i = k * size; i < std::min(n, (k + 1) * size); ++i) {
      if (std::isnan(y[i])) usable[k] = 0;
      m.count += 1.0;
      const double dx = x[i] - m.meanX, dy = y[i] - m.meanY;
      m.meanX += dx / m.count;
      m.meanY += dy / m.count;
      m.sxx += dx * (x[i] - m.meanX);
      m.sxy += dx * (y[i] - m.meanY);
      m.syy += dy * (y[i] - m.meanY);
      m.low = std::min(m.low, x[i]);
      m.high = std::max(m.high, x[i]);
    }
  }
  std::size_t searched = 0;
  for (std::size_t a = 0; a < blocks; ++a) {
    Moments window;
    bool spoiled = false;  // a block holding an unusable point spoils every window with it
    std::size_t crossingHint = 0;
    for (std::size_t c = a; c < blocks; ++c) {
      spoiled = spoiled || !usable[c];
      if (!spoiled) window.Add(moments[c]);
      const std::size_t first = a * size, last = std::min(n, (c + 1) * size) - 1;
      if (last + 1 - first < minPoints) continue;
      ++searched;
      if (spoiled) {
        ++result.unusable;
        continue;
      }
      judge(first, last, window.meanX, window.meanY, window.sxx, window.sxy, window.syy, window.low,
            window.high, crossingHint);
    }
  }
  result.windowsSearched = searched;
}

}  // namespace

BetRangeResult FindBetRange(const double* relativePressure, const double* quantityCm3PerGStp,
                            std::size_t count, const BetRangeOptions& options) {
  BetRangeResult result;
  result.options = options;
  result.pointCount = count;
  if (InvalidOption(options)) {
    result.status = BetRangeStatus::kInvalidOptions;
    return result;
  }
  if (count < options.minPoints) {
    result.status = BetRangeStatus::kTooFewPoints;
    return result;
  }
  const std::size_t n = count;
  const std::size_t minPoints = options.minPoints;
  const double* x = relativePressure;
  const double* q = quantityCm3PerGStp;
  result.windowsSearched = (n - minPoints + 1) * (n - minPoints + 2) / 2;

  // One block for everything, so the search costs two allocations whatever the size.
  // y is NaN at unusable points, which is the only mark they need; reciprocal[k] = 1/k
  // turns the two divisions of every running-mean update into multiplications.
  std::vector<double> work(7 * n + 1);
  double* y = work.data();
  double* ux = y + n;
  double* uq = ux + n;
  double* runMax = uq + n;
  double* runMaxNegated = runMax + n;
  double* slopeXPerQ = runMaxNegated + n;
  double* reciprocal = slopeXPerQ + n;
  // badSteps[t]: steps s -> s + 1 with s < t where q (1 - x) does not rise.
  std::vector<std::size_t> badSteps(n, 0);

  std::size_t usableCount = 0;
  for (std::size_t i = 0; i < n; ++i) {
    reciprocal[i + 1] = 1.0 / double(i + 1);
    const double xi = x[i], qi = q[i];
    const double yi = xi / ((1.0 - xi) * qi);
    const bool usable = std::isfinite(xi) && std::isfinite(qi) && xi > 0.0 && xi < 1.0 &&
                        qi > 0.0 && std::isfinite(yi);
    y[i] = usable ? yi : kNaN;
    if (usable) {
      const std::size_t k = usableCount++;
      ux[k] = xi;
      uq[k] = qi;
      runMax[k] = k ? std::max(runMax[k - 1], qi) : qi;
      runMaxNegated[k] = k ? std::max(runMaxNegated[k - 1], -qi) : -qi;
      slopeXPerQ[k] = k ? (xi - ux[k - 1]) / (qi - uq[k - 1]) : 0.0;
    }
    if (i > 0) {
      const bool rises = (1.0 - xi) * qi > (1.0 - x[i - 1]) * q[i - 1];
      badSteps[i] = badSteps[i - 1] + (rises ? 0 : 1);
    }
  }
  const MonolayerReader reader{ux, uq, runMax, runMaxNegated, slopeXPerQ, usableCount};

  const double minR2 = options.minRSquared;
  const double tolerance = options.monolayerTolerance;
  bool haveBest = false;
  double bestEndX = 0.0, bestDeviation = 0.0;
  std::size_t bestLength = 0;

  // Judges window i..j from its centred sums and P/Po extremes, and keeps it when best.
  auto judge = [&](std::size_t i, std::size_t j, double meanX, double meanY, double sxx, double sxy,
                   double syy, double low, double high, std::size_t& crossingHint) {
    const bool increasing = badSteps[j] == badSteps[i];
    // Slope + intercept and the intercept, both times sxx: C and Qm then cost one
    // division each instead of a chain of three, which is most of a window's time.
    const double sumTimesSxx = sxy * (1.0 - meanX) + meanY * sxx;
    const double interceptTimesSxx = meanY * sxx - sxy * meanX;
    // Without spread in x there is no line, and none of the fit criteria can hold.
    const bool line = sxx > 0.0;
    const bool positiveC = line && interceptTimesSxx > 0.0 && sumTimesSxx > 0.0;
    const double c = sumTimesSxx / interceptTimesSxx;
    const double qm = sxx / sumTimesSxx;
    const double pm = line ? reader.At(qm, crossingHint) : kNaN;
    const bool inRange = pm >= low && pm <= high;
    // |1/u - pm| <= tol pm with u = sqrt C + 1, multiplied out by u pm > 0.
    const double u = line && c > 0.0 ? std::sqrt(c) + 1.0 : kNaN;
    const bool agrees = u * pm * (1.0 - tolerance) <= 1.0 && u * pm * (1.0 + tolerance) >= 1.0;
    const bool r2Ok = line && (syy > 0.0 ? sxy * sxy >= minR2 * (sxx * syy) : minR2 <= 0.0);

    result.failedRSquared += !r2Ok;
    result.failedIncreasing += !increasing;
    result.failedPositiveC += !positiveC;
    result.failedMonolayerInRange += !inRange;
    result.failedMonolayerAgreement += !agrees;
    if (!(r2Ok && increasing && positiveC && inRange && agrees)) return;
    ++result.windowsPassed;

    const double cPressure = 1.0 / u;
    const double deviation = std::fabs(cPressure - pm) / pm;

    const std::size_t length = j - i + 1;
    const bool better = !haveBest || x[j] > bestEndX ||
                        (x[j] == bestEndX && (deviation < bestDeviation ||
                                              (deviation == bestDeviation && length > bestLength)));
    if (!better) return;
    haveBest = true;
    bestEndX = x[j];
    bestDeviation = deviation;
    bestLength = length;
    result.first = i;
    result.last = j;
    result.relativePressureLow = low;
    result.relativePressureHigh = high;
    result.cValue = c;
    result.monolayerCapacityCm3PerGStp = qm;
    result.slopeGPerCm3Stp = sxy / sxx;
    result.interceptGPerCm3Stp = interceptTimesSxx / sxx;
    result.rSquared = syy > 0.0 ? sxy * sxy / (sxx * syy) : 0.0;
    result.monolayerRelativePressure = pm;
    result.cRelativePressure = cPressure;
  };

  if (n > kMaxBoundaries) {
    SearchBlocks(n, minPoints, x, y, judge, result);
  } else {
    for (std::size_t i = 0; i + minPoints <= n; ++i) {
      const std::size_t firstEnd = i + minPoints - 1;
      if (std::isnan(y[i])) {
        result.unusable += n - firstEnd;
        continue;
      }
      // Welford's updates keep the sums centred on the running means; raw sums of squares
      // lose their digits to cancellation whenever a window's spread is small next to its
      // mean.
      double meanX = 0.0, meanY = 0.0, sxx = 0.0, sxy = 0.0, syy = 0.0;
      double low = x[i], high = x[i];
      std::size_t crossingHint = 0;
      for (std::size_t j = i; j < n; ++j) {
        if (std::isnan(y[j])) {
          result.unusable += n - std::max(j, firstEnd);
          break;
        }
        const double dx = x[j] - meanX;
        const double dy = y[j] - meanY;
        meanX += dx * reciprocal[j - i + 1];
        meanY += dy * reciprocal[j - i + 1];
        sxx += dx * (x[j] - meanX);
        sxy += dx * (y[j] - meanY);
        syy += dy * (y[j] - meanY);
        low = std::min(low, x[j]);
        high = std::max(high, x[j]);
        if (j < firstEnd) continue;
        judge(i, j, meanX, meanY, sxx, sxy, syy, low, high, crossingHint);
      }
    }
  }
  result.found = haveBest;
  result.status = haveBest ? BetRangeStatus::kFound : BetRangeStatus::kNoWindowPasses;
  return result;
}

std::string BetRangeResult::Explain() const {
  switch (status) {
    case BetRangeStatus::kInvalidOptions: {
      const char* why = InvalidOption(options);
      return std::string("invalid BET range options: ") + (why ? why : "unknown");
    }
    case BetRangeStatus::kTooFewPoints:
      return "no BET range: " + Grouped(pointCount) + " points given, at least " +
             Grouped(options.minPoints) + " needed";
    case BetRangeStatus::kFound:
      return "BET range points " + std::to_string(first) + ".." + std::to_string(last) + " (" +
             Grouped(last - first + 1) + " points, P/Po " + Format("%.4g", relativePressureLow) +
             ".." + Format("%.4g", relativePressureHigh) + "): C = " + Format("%.4g", cValue) +
             ", Qm = " + Format("%.5g", monolayerCapacityCm3PerGStp) +
             " cm3/g STP, r² = " + Format("%.6f", rSquared) +
             ", 1/(sqrt C + 1) = " + Format("%.4g", cRelativePressure) + " vs monolayer P/Po " +
             Format("%.4g", monolayerRelativePressure) + "; " + Grouped(windowsPassed) + " of " +
             Grouped(windowsSearched) + " windows pass";
    case BetRangeStatus::kNoWindowPasses:
      break;
  }
  std::string text = "no BET range passes: of " + Grouped(windowsSearched) +
                     " windows with >= " + Grouped(options.minPoints) + " points";
  const auto add = [&text](std::size_t n, const std::string& what) {
    if (n != 0) text += ", " + Grouped(n) + " " + what;
  };
  add(unusable, "contain a point unusable for BET (P/Po outside (0, 1), q <= 0 or not finite)");
  add(failedRSquared, "have r² < " + Format("%g", options.minRSquared));
  add(failedIncreasing, "fail n(1-P/Po) increasing");
  add(failedPositiveC, "fail C > 0");
  add(failedMonolayerInRange, "have the monolayer P/Po outside the window");
  add(failedMonolayerAgreement, "have 1/(sqrt C + 1) off the monolayer P/Po by more than " +
                                    Format("%g", 100.0 * options.monolayerTolerance) + "%");
  return text + " (a window can fail several criteria)";
}

bool ApplyBetRange(const BetRangeResult& range, const std::size_t* adsorptionIndex,
                   std::size_t adsorptionCount, CNumVector<short>& pointFlags) {
  if (!range.found || range.last >= adsorptionCount) return false;
  for (std::size_t k = range.first; k <= range.last; ++k)
    if (adsorptionIndex[k] >= pointFlags.size()) return false;
  for (short& flags : pointFlags) flags = short(flags & ~CCalcBET::POINT_IN_RANGE);
  for (std::size_t k = range.first; k <= range.last; ++k)
    pointFlags[adsorptionIndex[k]] |= CCalcBET::POINT_IN_RANGE | CCalcBET::POINT_INCLUDED;
  return true;
}

}  // namespace fiofla
