// Polynomials in one variable with real coefficients.
//
// Method: Horner's rule (Horner 1819). Cost: O(degree) per evaluation.
// Guarantee: the result is the backward-stable Horner value, i.e. the exact
// value of a polynomial whose coefficients differ from the given ones by a few
// rounding errors; near a root the relative error can still be large.
#pragma once

#include <cstddef>
#include <vector>

/// Polynomial c0 + c1 x + c2 x^2 + ... held by its coefficients in ascending powers.
class CNumPolynomial {
 public:
  /// The straight line c0 + c1 x.
  CNumPolynomial(double c0, double c1);
  /// Coefficients in ascending powers; an empty list is the zero polynomial {0}.
  explicit CNumPolynomial(std::vector<double> coefficients);

  /// Value at x.
  double Evaluate(double x) const;
  /// Value at x; same as Evaluate.
  double operator()(double x) const { return Evaluate(x); }
  /// Nominal degree: number of coefficients minus one, trailing zero coefficients included.
  std::size_t Degree() const { return m_coefficients.size() - 1; }
  /// Coefficients in ascending powers, as given.
  std::vector<double> const& Coefficients() const { return m_coefficients; }

 private:
  std::vector<double> m_coefficients;
};

/// A polynomial that a report overlay draws across the whole axis, not only
/// between the data points it was fitted to; the type itself is the marker.
class CNumPolynomialExtrap {
 public:
  /// Holds a copy of `polynomial`.
  explicit CNumPolynomialExtrap(CNumPolynomial const& polynomial) : m_polynomial(polynomial) {}

  /// Value at x.
  double Evaluate(double x) const { return m_polynomial.Evaluate(x); }
  /// Value at x; same as Evaluate.
  double operator()(double x) const { return m_polynomial.Evaluate(x); }
  /// The polynomial drawn.
  CNumPolynomial const& Polynomial() const { return m_polynomial; }

 private:
  CNumPolynomial m_polynomial;
};
