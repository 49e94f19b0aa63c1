#include "fiofla/num/polynomial.h"

#include <utility>

CNumPolynomial::CNumPolynomial(double c0, double c1) : m_coefficients{c0, c1} {}

CNumPolynomial::CNumPolynomial(std::vector<double> coefficients)
    : m_coefficients(std::move(coefficients)) {
  // Degree() and Evaluate() rely on at least one coefficient.
  if (m_coefficients.empty()) m_coefficients.push_back(0.0);
}

double CNumPolynomial::Evaluate(double x) const {
  double value = m_coefficients.back();
  for (auto c = m_coefficients.rbegin() + 1; c != m_coefficients.rend(); ++c)
    value = value * x + *c;
  return value;
}
