// Automatic choice of the BET range of an adsorption isotherm.
//
// Method: every contiguous window of the adsorption points (in the order given) with
// at least minPoints points is fitted with the BET line y = x / ((1 - x) q) against
// x = P/Po, and judged by the consistency criteria of Rouquerol, Llewellyn &
// Rouquerol (2007), Stud. Surf. Sci. Catal. 160, 49:
//   1. n(1 - P/Po) = q (1 - x) rises strictly from each window point to the next;
//   2. C = slope / intercept + 1 > 0, with a positive intercept;
//   3. the P/Po at which the isotherm reaches Qm = 1 / (slope + intercept), read by
//      linear interpolation at the first crossing in point order, lies in the window's
//      P/Po range [lowest, highest];
//   4. 1/(sqrt C + 1) agrees with that P/Po within the relative tolerance.
// Windows whose squared correlation is below minRSquared are rejected as well. Of the
// windows that pass everything, those whose last point has the highest P/Po win (the
// knee of the isotherm); among them the smallest relative deviation in criterion 4,
// then the most points, then the earliest first point.
//
// Cost: O(n^2) time for n <= 2,000 points, with O(1) work per window (running centred sums,
// prefix counts of falling steps, and a search from the previous window's answer over
// running extremes of q, O(log n) at worst, for criterion 3); O(n) memory. A 150-point
// isotherm (10,011 windows of >= 10 points) takes about 0.15 ms. Past 2,000 points the
// cost is bounded: the points are cut into 2,000 equal blocks of consecutive points (the
// last may be shorter), and only windows of whole blocks are judged, their sums joined
// from the blocks' centred sums (Chan et al. 1979), so about 2 million windows and
// O(n + 2,000^2) time whatever n is (BENCHMARKS.md: 10^6 points).
//
// A point that cannot enter a BET fit (P/Po <= 0 or >= 1, q <= 0, a value not finite, or
// a BET transform that overflows) is not an error: it keeps its index, every window
// containing it is skipped and counted as unusable, and the isotherm read in criterion 3
// leaves it out.
// A criterion that cannot be evaluated for a window (no Qm crossing, or C <= 0 for
// criterion 4) counts as failed. Too few points and invalid options are reported through
// the result's status, never by an exception.
#pragma once

#include <cstddef>
#include <string>

#include "fiofla/num/numvector.h"

namespace fiofla {

/// Settings of the BET range search.
struct BetRangeOptions {
  /// Fewest points a window may have, points; at least 2.
  std::size_t minPoints = 10;
  /// Smallest squared correlation of the BET line a window may have, in [0, 1].
  double minRSquared = 0.995;
  /// Largest relative deviation of 1/(sqrt C + 1) from the monolayer P/Po, > 0 (0.20 = 20 %).
  double monolayerTolerance = 0.20;
};

/// How a BET range search ended.
enum class BetRangeStatus {
  kFound,           ///< a window passed every criterion
  kNoWindowPasses,  ///< windows were judged but none passed; the failure counts say why
  kTooFewPoints,    ///< fewer points than options.minPoints
  kInvalidOptions,  ///< an option is out of its documented domain; nothing was searched
};

/// Outcome of a BET range search: the chosen window, its fit and the tally of all windows.
struct BetRangeResult {
  /// How the search ended.
  BetRangeStatus status = BetRangeStatus::kTooFewPoints;
  /// True when status is kFound; the window fields below are 0 otherwise.
  bool found = false;
  /// The options the search ran with.
  BetRangeOptions options;
  /// Number of points given.
  std::size_t pointCount = 0;

  /// Index of the first window point in the given arrays (inclusive).
  std::size_t first = 0;
  /// Index of the last window point in the given arrays (inclusive).
  std::size_t last = 0;
  /// Lowest P/Po in the window.
  double relativePressureLow = 0.0;
  /// Highest P/Po in the window.
  double relativePressureHigh = 0.0;
  /// BET constant C of the window's fit (dimensionless).
  double cValue = 0.0;
  /// Monolayer quantity Qm of the window's fit, cm^3/g STP.
  double monolayerCapacityCm3PerGStp = 0.0;
  /// Slope of the window's BET line, g/cm^3 STP.
  double slopeGPerCm3Stp = 0.0;
  /// Intercept of the window's BET line, g/cm^3 STP.
  double interceptGPerCm3Stp = 0.0;
  /// Squared correlation of the window's BET line.
  double rSquared = 0.0;
  /// P/Po at which the isotherm reaches Qm (criterion 3).
  double monolayerRelativePressure = 0.0;
  /// 1/(sqrt C + 1), the monolayer P/Po the BET equation predicts (criterion 4).
  double cRelativePressure = 0.0;

  /// Windows with at least minPoints points, including unusable ones.
  std::size_t windowsSearched = 0;
  /// Windows that passed r^2 and all four criteria.
  std::size_t windowsPassed = 0;
  /// Windows (of the usable ones) with r^2 below minRSquared or no fittable line.
  std::size_t failedRSquared = 0;
  /// Windows where q (1 - P/Po) does not rise strictly (criterion 1).
  std::size_t failedIncreasing = 0;
  /// Windows with C <= 0 or intercept <= 0 (criterion 2).
  std::size_t failedPositiveC = 0;
  /// Windows whose monolayer P/Po is missing or outside the window (criterion 3).
  std::size_t failedMonolayerInRange = 0;
  /// Windows where 1/(sqrt C + 1) misses the monolayer P/Po by more than the tolerance
  /// (criterion 4).
  std::size_t failedMonolayerAgreement = 0;
  /// Windows skipped because they contain a point that cannot enter a BET fit.
  std::size_t unusable = 0;

  /// One line of English saying what was found, or why nothing was.
  std::string Explain() const;
};

/// Searches the `count` adsorption points (P/Po, quantity in cm^3/g STP; both arrays of
/// `count` values, null only when count is 0) for the BET range described above.
BetRangeResult FindBetRange(const double* relativePressure, const double* quantityCm3PerGStp,
                            std::size_t count, const BetRangeOptions& options = {});

/// Marks a found range in the flag words of a whole isotherm: `adsorptionIndex[k]` is the
/// isotherm index of the k-th point given to FindBetRange. Every flag word loses
/// CCalcBET::POINT_IN_RANGE, and the range points gain it and CCalcBET::POINT_INCLUDED.
/// Returns false, leaving the flags alone, when nothing was found or an index does not fit.
bool ApplyBetRange(const BetRangeResult& range, const std::size_t* adsorptionIndex,
                   std::size_t adsorptionCount, CNumVector<short>& pointFlags);

}  // namespace fiofla
