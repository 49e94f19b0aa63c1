// Cardinal B-splines: a smooth function as a sum of shifted copies of one bell, for
// representing a pore-size distribution with few parameters.
//
// A CardinalBSpline of degree p (cubic, p = 3, unless asked otherwise) lives on uniformly
// spaced knots t_0 < t_1 < ... < t_K (that uniformity is what "cardinal" means, and it is
// checked) with K − p coefficients c_i: f(u) = Σ c_i B_i,p(u), where B_i,p is the B-spline
// on t_i .. t_{i+p+1} (Cox-de Boor recursion, de Boor 1978). On [t_p, t_{K−p}] the basis
// sums to 1; outside [t_0, t_K] f is 0.
//
// Spacing: NCardinalBSpline::GetKnotVector(low, high, intervals) spaces knots uniformly in
// log10 of the width, since a pore distribution spreads over decades: the knots it returns
// are log10 values, low and high (widths, > 0) map to t_p and t_{p+intervals}, and p knots
// extend each end, so intervals + p coefficients cover [low, high]. Evaluate such a spline
// at log10(width).
// Cost: Evaluate is O(p²); building one is O(K).
#pragma once

#include <cstddef>
#include <vector>

/// A B-spline function on uniformly spaced knots (see the top of this header).
class CardinalBSpline {
 public:
  /// Degree used unless given: cubic.
  static constexpr unsigned long kDefaultDegree = 3;

  /// The spline with these knots and coefficients; IsValid() says whether they fit together.
  CardinalBSpline(std::vector<double> const& knots, std::vector<double> const& coefficients,
                  unsigned long degree = kDefaultDegree);

  /// True when the degree is 1 to 5, the knots are finite, ascending and uniformly spaced
  /// (to 1e-9 of the spacing), and there are knots − degree − 1 finite coefficients.
  bool IsValid() const { return m_valid; }
  /// The coefficients as given.
  std::vector<double> const& GetCoefficients() const { return m_coefficients; }
  /// The knots as given.
  std::vector<double> const& GetKnots() const { return m_knots; }
  unsigned long GetDegree() const { return m_degree; }
  /// f(u); 0 outside the knots or when the spline is not valid.
  double Evaluate(double u) const;
  /// The value of basis function i at u (0 when i is out of range).
  double Basis(std::size_t i, double u) const;

 private:
  std::vector<double> m_knots, m_coefficients;
  unsigned long m_degree;
  bool m_valid = false;
};

namespace NCardinalBSpline {

/// Knots uniformly spaced in log10 for a cubic spline over widths low..high (0 < low < high)
/// with `intervals` intervals between them, extended by three knots beyond each end:
/// intervals + 7 values. Empty when the arguments cannot give a knot vector.
std::vector<double> GetKnotVector(double low, double high, unsigned long intervals);

}  // namespace NCardinalBSpline
