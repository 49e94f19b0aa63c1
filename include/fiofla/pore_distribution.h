// Pore-size distributions: N+1 diameter boundaries and N incremental amounts.
//
// CPoreDistribution holds the boundaries D[0..N] and the amounts V[0..N-1]
// (pore volume or pore area, in whatever unit the producer used), V[i] lying
// between D[i] and D[i+1], and derives from them the cumulative, the
// differential (amount per unit diameter) and the log-differential (amount per
// decade of diameter). CBJHPoreDistribution is what the BJH calculation hands
// out; CImportedPoreDistribution is a distribution from outside (a reference,
// say) that also carries the amounts beyond its first and last boundary.
//
// Method: plain differentials are finite differences over each interval,
// V[i] / (D[i] - D[i+1]) and V[i] / log10(D[i] / D[i+1]); smoothed ones
// differentiate the cumulative curve with NSmooth::ComputeDifferentials
// (Savitzky & Golay 1964 weights on a log10-diameter grid, see smoothderiv.h).
// Cost: O(N) for every getter; smoothing adds a fixed 200-point grid.
// Guarantees: the finite differences assume boundaries from the largest to the
// smallest, as the BJH calculation stores them, so they come out positive for
// positive amounts. For imported distributions, CumulativeToIncremental and
// IncrementalToCumulative invert each other: a cumulative taken to increments
// and tails and back is reproduced (to rounding).
//
// Choices made here:
// - Nothing is sorted or checked on Set; IsValid() (boundaries not empty and
//   one more than the amounts) is asked by every getter, and an invalid
//   distribution yields false and empty outputs, never a read out of range.
// - The `reverse` flag of the cumulatives is handed on unchanged as the
//   `forward` flag of IncrementalToCumulative: true sums from the first (largest)
//   boundary towards the small pores, false from the last (smallest) one up.
// - A zero-width interval, or a log ratio of exactly 1, divides by zero and gives
//   an infinite differential; only a non-positive ratio D[i] / D[i+1] (a
//   non-positive boundary) falls back to dividing by 1e-9.
// - Tail rule (IncrementalWithTailToIncremental): exactly one tail is folded in,
//   the leading one in front when leadingTail > 0 or trailingTail == 0,
//   otherwise the trailing one at the end. CumulativeToIncremental inverts it:
//   a cumulative with at least as many rising as falling steps is taken as
//   summed forwards (ties count as rising) and gives leadingTail = C[0],
//   increments C[i+1] - C[i] and trailingTail 0; a falling one gives
//   trailingTail = C[N], increments C[i] - C[i+1] and leadingTail 0, except
//   when C[N] is exactly 0: the tail rule would then put the (zero) trailing tail
//   in front, so the leading form is used instead (leadingTail = C[0] - C[1],
//   increments C[i+1] - C[i+2], last increment C[N] = 0).
// - CumulativeToIncremental takes the boundaries as its first argument, like the
//   other two converters, to check the cumulative's length against them, and can
//   report the direction it chose so that the way back uses the same one.
#pragma once

#include <vector>

#include "fiofla/num/numvector.h"

/// Pore-size distribution: N+1 diameter boundaries and N incremental amounts between them.
class CPoreDistribution {
 public:
  /// Empty, hence invalid, distribution.
  CPoreDistribution() = default;
  /// Copies the boundaries (diameter unit of the producer) and amounts as given; no checks.
  CPoreDistribution(CNumVector<double> const& diameters, CNumVector<double> const& incremental);
  CPoreDistribution(CPoreDistribution const&) = default;
  CPoreDistribution(CPoreDistribution&&) = default;
  CPoreDistribution& operator=(CPoreDistribution const&) = default;
  CPoreDistribution& operator=(CPoreDistribution&&) = default;
  virtual ~CPoreDistribution() = default;

  /// N+1 cumulative amounts (imported) or N (others) into `out`, in the amount unit; see the
  /// file comment for `reverse`. False with `out` empty when not valid.
  virtual bool GetCumulative(CNumVector<double>& out, bool reverse) const;
  /// Amount per unit diameter, one value per interval; `smoothed` selects the smoothed form.
  virtual bool GetDifferential(CNumVector<double>& out, bool smoothed) const = 0;
  /// Amount per decade of diameter, one value per interval; `smoothed` selects the smoothed form.
  virtual bool GetLogDifferential(CNumVector<double>& out, bool smoothed) const = 0;
  /// Cumulative curve: y = GetCumulative(reverse), x = the smaller boundary of each interval
  /// D[1..N]. False with both outputs untouched when not valid.
  virtual bool GetCumulativeXY(CNumVector<double>& x, CNumVector<double>& y, bool reverse) const;

  /// Replaces boundaries and amounts by copies of the given vectors; no checks.
  void Set(CNumVector<double> const& diameters, CNumVector<double> const& incremental);
  /// True when there is at least one boundary and one more boundary than amounts.
  bool IsValid() const;
  /// Copy of the N+1 boundaries, diameter unit, as stored.
  void GetPoreDiameters(CNumVector<double>& out) const;
  /// N interval means (D[i] + D[i+1]) / 2, diameter unit; false and empty when not valid.
  bool GetAverageDiameters(CNumVector<double>& out) const;
  /// Copy of the N incremental amounts, amount unit, as stored.
  void GetIncremental(CNumVector<double>& out) const;

  /// Finite-difference differential per interval: per unit diameter, or per decade when `log`.
  /// False and empty when not valid.
  bool ComputeDifferential(CNumVector<double>& out, bool log) const;
  /// Smoothed differential of GetCumulativeXY(x, y, true) at the diameters `at`: per unit
  /// diameter, or per decade when `log`. False when not valid or the curve cannot be smoothed.
  bool ComputeDifferentialSmoothed(CNumVector<double> const& at, CNumVector<double>& out,
                                   bool log) const;

  /// Running sum in place: forward v[i] = v[0] + ... + v[i], otherwise v[i] = v[i] + ... +
  /// v[n-1]. False for an empty vector.
  static bool IncrementalToCumulative(std::vector<double>& v, bool forward);

 protected:
  /// Interval boundaries, normally from the largest to the smallest diameter.
  CNumVector<double> m_Diameters;
  /// Amount in each interval, m_Incremental[i] between m_Diameters[i] and m_Diameters[i+1].
  CNumVector<double> m_Incremental;
};

/// Distribution from the BJH calculation; smoothed differentials are evaluated at D[1..N].
class CBJHPoreDistribution : public CPoreDistribution {
 public:
  using CPoreDistribution::CPoreDistribution;
  CBJHPoreDistribution() = default;
  ~CBJHPoreDistribution() override = default;

  bool GetDifferential(CNumVector<double>& out, bool smoothed) const override;
  bool GetLogDifferential(CNumVector<double>& out, bool smoothed) const override;
  /// Per decade when `log`, else per unit diameter; finite differences or, when `smoothed`,
  /// the smoothed cumulative at the smaller boundary of each interval D[1..N].
  bool GetDifferential(CNumVector<double>& out, bool log, bool smoothed) const;
};

/// Distribution supplied from outside, with the amounts beyond its first and last boundary.
class CImportedPoreDistribution : public CPoreDistribution {
 public:
  /// Empty distribution, both tails 0.
  CImportedPoreDistribution() = default;
  /// Copies boundaries and amounts; the tails are amounts beyond D[0] and beyond D[N].
  CImportedPoreDistribution(CNumVector<double> const& diameters,
                            CNumVector<double> const& incremental, double leadingTail,
                            double trailingTail);
  ~CImportedPoreDistribution() override = default;

  /// N+1 cumulative amounts, one per boundary, with the tail folded in by the tail rule.
  bool GetCumulative(CNumVector<double>& out, bool reverse) const override;
  bool GetDifferential(CNumVector<double>& out, bool smoothed) const override;
  bool GetLogDifferential(CNumVector<double>& out, bool smoothed) const override;
  /// x = all N+1 boundaries, y = GetCumulative(reverse); both emptied and false when their
  /// sizes differ (as for an invalid distribution).
  bool GetCumulativeXY(CNumVector<double>& x, CNumVector<double>& y, bool reverse) const override;

  /// As CBJHPoreDistribution's, but smoothed values are taken at the N average diameters.
  bool GetDifferential(CNumVector<double>& out, bool log, bool smoothed) const;
  /// x = the N+1 boundaries, y = N+1 amounts: the increments with one tail folded in by the tail
  /// rule. Both emptied and false when not valid.
  bool GetIncrementalXY(CNumVector<double>& x, CNumVector<double>& y) const;

  /// Amount beyond the first boundary D[0], amount unit.
  double GetLeadingTail() const { return m_LeadingTail; }
  /// Amount beyond the last boundary D[N], amount unit.
  double GetTrailingTail() const { return m_TrailingTail; }

  /// Splits a cumulative (one value per boundary) into N increments and the two tails, inverting
  /// IncrementalToCumulative; see the file comment. `*forward`, when given, receives the
  /// direction to use on the way back. False, outputs untouched, when the cumulative is empty
  /// or its length differs from the boundaries'.
  static bool CumulativeToIncremental(std::vector<double> const& diameters,
                                      std::vector<double> const& cumulative,
                                      std::vector<double>& incremental, double& leadingTail,
                                      double& trailingTail, bool* forward = nullptr);
  /// Folds one tail into the increments by the tail rule when there is exactly one increment
  /// fewer than boundaries (true); otherwise leaves them alone and returns false.
  static bool IncrementalWithTailToIncremental(std::vector<double> const& diameters,
                                               std::vector<double>& incremental, double leadingTail,
                                               double trailingTail);
  using CPoreDistribution::IncrementalToCumulative;
  /// IncrementalWithTailToIncremental, then the running sum of the result (which is taken over
  /// the increments as given when their length did not fit). False for an empty result.
  static bool IncrementalToCumulative(std::vector<double> const& diameters, std::vector<double>& v,
                                      double leadingTail, double trailingTail, bool forward);

 protected:
  /// Amount beyond the first boundary, amount unit.
  double m_LeadingTail = 0.0;
  /// Amount beyond the last boundary, amount unit.
  double m_TrailingTail = 0.0;
};
