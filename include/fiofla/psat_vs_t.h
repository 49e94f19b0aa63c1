// Operator-entered saturation curve: Psat (mmHg) against temperature (K).
//
// Method: ln Psat is fitted to the entered pairs by linear least squares in the
// basis 1, 1/T, ln T, T, T^2 (the first max(2, min(n, 5)) terms for n pairs);
// the Clausius-Clapeyron form ln P = a + b/T for two pairs, growing towards the
// extended Antoine-type forms of vapour-pressure correlations for more. The
// least-squares problem is solved by Householder orthogonal transformations
// (Householder 1958), in the construct/apply split of Lawson & Hanson (1974),
// after scaling every column to unit norm.
// Cost: O(n k^2) for the fit (n <= 10 pairs, k <= 5 terms), rebuilt for every
// conversion; a temperature-from-pressure conversion adds a step-halving search
// of a few dozen evaluations.
// Guarantees: two pairs are interpolated exactly by ln P = a + b/T; up to five
// pairs with distinct temperatures are interpolated; more pairs give the
// ordinary least-squares fit with five terms. The pressure search stops when the
// fitted pressure is within 1e-5 of the asked pressure (relative), or after
// kMaxSearchSteps steps.
//
// Choices the fit makes on its own (documented so a caller can rely on them):
// - Plain least squares, no sign constraint on the coefficients: a saturation
//   curve needs negative terms (c1 < 0) and the fit is only used through its
//   values.
// - A term whose column is dependent on the earlier ones (relative remaining
//   norm <= kRankTolerance, e.g. repeated temperatures) is dropped and its
//   coefficient is 0, so repeated pairs give the fit through the distinct ones
//   instead of a division by zero.
// - Pressures and temperatures must be positive; a list holding zero or negative
//   values gives non-finite coefficients and the conversions then give
//   non-finite or end-of-list values.
#pragma once

#include <cstddef>
#include <vector>

#include "fiofla/num/numvector.h"

/// Non-zero: every conversion also runs CLogNNLS::Check1stDeriv (diagnostic only).
extern int debugNNLS;

namespace NPsatVsT {

/// One entered pair of the saturation curve.
struct SElement {
  /// Saturation pressure, mmHg.
  double psat;
  /// Temperature, K.
  double temperature;
};

}  // namespace NPsatVsT

/// Saturation pressure (mmHg) against temperature (K), at most kMaxElements pairs, kept in
/// the order entered; conversions expect both columns ascending.
class CPsatVsT {
 public:
  using const_iterator = std::vector<NPsatVsT::SElement>::const_iterator;

  /// Largest number of pairs the list holds.
  static constexpr std::size_t kMaxElements = 10;

  /// Empty list with room for kMaxElements pairs.
  CPsatVsT() { m_elements.reserve(kMaxElements); }

  /// Adds a pair (mmHg, K) at the end; ignored when the list is full.
  void Append(double psat, double T);
  /// Inserts a pair (mmHg, K) before index; ignored when the list is full or index > Size().
  void Insert(unsigned long index, double psat, double T);
  /// Removes the pair at index; ignored for an index at or beyond Size().
  void Delete(unsigned long index);
  /// Removes all pairs.
  void Clear() { m_elements.clear(); }

  /// Pressure of pair index, mmHg; 0.0 for an index at or beyond Size().
  double GetPsat(unsigned long index) const;
  /// Temperature of pair index, K; 0.0 for an index at or beyond Size().
  double GetTemperature(unsigned long index) const;
  /// Sets the pressure of pair index, mmHg; ignored for an index at or beyond Size().
  void SetPsat(unsigned long index, double psat);
  /// Sets the temperature of pair index, K; ignored for an index at or beyond Size().
  void SetTemperature(unsigned long index, double T);
  /// Pressure of the last pair, mmHg; 0.0 when empty.
  double GetLastPsat() const { return m_elements.empty() ? 0.0 : m_elements.back().psat; }
  /// Temperature of the last pair, K; 0.0 when empty.
  double GetLastTemperature() const {
    return m_elements.empty() ? 0.0 : m_elements.back().temperature;
  }

  /// Number of pairs.
  unsigned long Size() const { return static_cast<unsigned long>(m_elements.size()); }
  /// Number of pairs.
  std::size_t size() const { return m_elements.size(); }
  /// True when the list holds no pair.
  bool empty() const { return m_elements.empty(); }
  /// First pair.
  const_iterator begin() const { return m_elements.begin(); }
  /// Past the last pair.
  const_iterator end() const { return m_elements.end(); }

  /// Fitted saturation pressure (mmHg) at T (K). Returns false with 0.0 when empty, and
  /// false with the first or last pressure when T lies below or above the list.
  bool CalcPsatFromTemp(double* psat, double T) const;
  /// Temperature (K) at which the fitted pressure is psat (mmHg). Returns false with 0.0
  /// when empty, and false with the first or last temperature when psat lies below or
  /// above the list. Also false, with the nearest listed temperature above psat, when the
  /// search gives up (a list that is not ascending); a normal list never does.
  bool CalcTempFromPsat(double* T, double psat) const;

 private:
  std::vector<NPsatVsT::SElement> m_elements;
};

/// Least-squares fit of ln Psat (mmHg) against T (K) over a list of pairs; the list is
/// borrowed and must outlive the object.
class CLogNNLS {
 public:
  /// Most terms the fit uses: 1, 1/T, ln T, T, T^2.
  static constexpr unsigned short kMaxTerms = 5;
  /// Remaining column norm (relative, columns scaled to 1) below which a term is dropped.
  static constexpr double kRankTolerance = 1e-12;
  /// Relative pressure tolerance at which GetY stops.
  static constexpr double kSearchTolerance = 1e-5;
  /// Step cap of GetY's search; a convergent search needs well under 100 steps.
  static constexpr unsigned kMaxSearchSteps = 10000;

  /// Fits the list; max(2, min(size, 5)) terms.
  explicit CLogNNLS(std::vector<NPsatVsT::SElement> const& elements);

  /// Builds the design rows and solves them; false only when the work storage cannot be
  /// allocated (the coefficients are then all 0).
  bool CalcCoefficients();
  /// Least-squares solution of the rows a (rows x terms, overwritten) and b (rows,
  /// overwritten) into the coefficients.
  void LeastSquares5d(unsigned short rows, double** a, double* b);

  /// Fitted saturation pressure at T (K), mmHg.
  double GetX(double T) const;
  /// Temperature (K) at which the fitted pressure is psat (mmHg); the first listed
  /// temperature when its fit already exceeds psat, the last when none does, 0.0 for an
  /// empty list. When the search hits kMaxSearchSteps it returns the listed temperature it
  /// started from and *converged (if given) is false.
  double GetY(double psat, bool* converged = nullptr) const;
  /// True when d(ln Psat)/dT > 0 at 101 evenly spaced temperatures from the first to the
  /// last pair (a saturation curve always rises); diagnostic only.
  bool Check1stDeriv() const;

  /// Fitted coefficients c0.. of ln Psat = c0 + c1/T + c2 ln T + c3 T + c4 T^2 (mmHg, K).
  const CNumVector<double>& Coefficients() const { return m_coeff; }

 private:
  /// Fitted ln Psat at T (K), Psat in mmHg.
  double LogPsat(double T) const;

  CNumVector<double> m_coeff;
  std::vector<NPsatVsT::SElement> const* m_elements;
};

/// Builds the Householder reflection that zeroes a[p+1..rows-1][col] into a[p][col];
/// returns the first component of its vector (the rest stay below the diagonal), or 0.0
/// when the column below p is already zero (the reflection is then the identity).
double Householder1(unsigned short rows, unsigned short p, unsigned short col, double** a);
/// Applies the reflection built by Householder1(rows, p, col, a) returning up to column yc
/// of the row-pointer matrix y (rows p..rows-1).
void Householder2(unsigned short rows, unsigned short p, unsigned short col, double const* const* a,
                  double up, double** y, unsigned short yc);
