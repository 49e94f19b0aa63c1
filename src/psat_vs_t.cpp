#include "fiofla/psat_vs_t.h"

#include <cmath>
#include <new>

int debugNNLS = 0;

// ---------------------------------------------------------------------------
// CPsatVsT

void CPsatVsT::Append(double psat, double T) {
  if (m_elements.size() < kMaxElements) m_elements.push_back({psat, T});
}

void CPsatVsT::Insert(unsigned long index, double psat, double T) {
  if (m_elements.size() >= kMaxElements || index > m_elements.size()) return;
  m_elements.insert(m_elements.begin() + static_cast<std::ptrdiff_t>(index), {psat, T});
}

void CPsatVsT::Delete(unsigned long index) {
  if (index < m_elements.size())
    m_elements.erase(m_elements.begin() + static_cast<std::ptrdiff_t>(index));
}

double CPsatVsT::GetPsat(unsigned long index) const {
  return index < m_elements.size() ? m_elements[index].psat : 0.0;
}

double CPsatVsT::GetTemperature(unsigned long index) const {
  return index < m_elements.size() ? m_elements[index].temperature : 0.0;
}

void CPsatVsT::SetPsat(unsigned long index, double psat) {
  if (index < m_elements.size()) m_elements[index].psat = psat;
}

void CPsatVsT::SetTemperature(unsigned long index, double T) {
  if (index < m_elements.size()) m_elements[index].temperature = T;
}

bool CPsatVsT::CalcPsatFromTemp(double* psat, double T) const {
  if (m_elements.empty()) {
    *psat = 0.0;
    return false;
  }
  // Outside the list the fit is an extrapolation nobody measured; hand back the end value.
  if (T < m_elements.front().temperature) {
    *psat = m_elements.front().psat;
    return false;
  }
  if (T > m_elements.back().temperature) {
    *psat = m_elements.back().psat;
    return false;
  }
  CLogNNLS fit(m_elements);
  if (debugNNLS != 0) fit.Check1stDeriv();
  *psat = fit.GetX(T);
  return true;
}

bool CPsatVsT::CalcTempFromPsat(double* T, double psat) const {
  if (m_elements.empty()) {
    *T = 0.0;
    return false;
  }
  if (psat < m_elements.front().psat) {
    *T = m_elements.front().temperature;
    return false;
  }
  if (psat > m_elements.back().psat) {
    *T = m_elements.back().temperature;
    return false;
  }
  CLogNNLS fit(m_elements);
  if (debugNNLS != 0) fit.Check1stDeriv();
  bool converged = true;
  *T = fit.GetY(psat, &converged);
  return converged;
}

// ---------------------------------------------------------------------------
// Householder reflections

double Householder1(unsigned short rows, unsigned short p, unsigned short col, double** a) {
  double norm2 = 0.0;
  for (unsigned i = p; i < rows; ++i) norm2 += a[i][col] * a[i][col];
  if (norm2 == 0.0) return 0.0;
  const double x0 = a[p][col];
  const double s = -std::copysign(std::sqrt(norm2), x0);  // opposite sign avoids cancellation
  a[p][col] = s;
  return x0 - s;
}

void Householder2(unsigned short rows, unsigned short p, unsigned short col, double const* const* a,
                  double up, double** y, unsigned short yc) {
  if (up == 0.0) return;
  // With v = (up, a[p+1][col], ...), H = I - 2 v v^T / |v|^2 and |v|^2 = -2 s up.
  const double b = up * a[p][col];
  double dot = up * y[p][yc];
  for (unsigned i = p + 1u; i < rows; ++i) dot += a[i][col] * y[i][yc];
  const double t = dot / b;
  y[p][yc] += t * up;
  for (unsigned i = p + 1u; i < rows; ++i) y[i][yc] += t * a[i][col];
}

// ---------------------------------------------------------------------------
// CLogNNLS

namespace {

unsigned short TermCount(std::size_t elements) {
  if (elements <= 2) return 2;
  return static_cast<unsigned short>(elements < CLogNNLS::kMaxTerms ? elements
                                                                    : CLogNNLS::kMaxTerms);
}

}  // namespace

CLogNNLS::CLogNNLS(std::vector<NPsatVsT::SElement> const& elements)
    : m_coeff(TermCount(elements.size())), m_elements(&elements) {
  CalcCoefficients();
}

bool CLogNNLS::CalcCoefficients() {
  const auto rows = static_cast<unsigned short>(m_elements->size());
  const auto terms = static_cast<unsigned short>(m_coeff.size());
  double** a = nullptr;
  double* b = nullptr;
  try {
    a = NewMatrix(rows, terms);
    b = new double[rows ? rows : 1u];
  } catch (const std::bad_alloc&) {
    DeleteMatrix(a);
    m_coeff.SetDim(terms);
    return false;
  }
  for (unsigned short r = 0; r < rows; ++r) {
    const double T = (*m_elements)[r].temperature;
    const double column[kMaxTerms] = {1.0, 1.0 / T, std::log(T), T, T * T};
    for (unsigned short c = 0; c < terms; ++c) a[r][c] = column[c];
    b[r] = std::log((*m_elements)[r].psat);
  }
  LeastSquares5d(rows, a, b);
  delete[] b;
  DeleteMatrix(a);
  return true;
}

void CLogNNLS::LeastSquares5d(unsigned short rows, double** a, double* b) {
  const auto terms = static_cast<unsigned short>(m_coeff.size());
  m_coeff.SetDim(terms);  // dropped terms stay 0

  // Unit-norm columns: T^2 and 1/T differ by ~1e6 in size, and the dependence test below
  // needs one scale for all of them.
  double scale[kMaxTerms] = {};
  for (unsigned short c = 0; c < terms; ++c) {
    double n2 = 0.0;
    for (unsigned short r = 0; r < rows; ++r) n2 += a[r][c] * a[r][c];
    scale[c] = n2 > 0.0 ? 1.0 / std::sqrt(n2) : 0.0;
    for (unsigned short r = 0; r < rows; ++r) a[r][c] *= scale[c];
  }

  std::vector<double*> bRows(rows);
  for (unsigned short r = 0; r < rows; ++r) bRows[r] = &b[r];

  // Triangularise column by column in term order; a column with nothing left below the
  // current row depends on the lower-order terms and is left out (coefficient 0).
  unsigned short used[kMaxTerms] = {};
  unsigned short nUsed = 0;
  for (unsigned short c = 0; c < terms && nUsed < rows; ++c) {
    const unsigned short p = nUsed;
    double rest2 = 0.0;
    for (unsigned short r = p; r < rows; ++r) rest2 += a[r][c] * a[r][c];
    if (scale[c] == 0.0 || !(std::sqrt(rest2) > kRankTolerance)) continue;
    const double up = Householder1(rows, p, c, a);
    for (unsigned short c2 = c + 1; c2 < terms; ++c2) Householder2(rows, p, c, a, up, a, c2);
    Householder2(rows, p, c, a, up, bRows.data(), 0);
    used[nUsed++] = c;
  }

  // Back substitution over the kept columns; R[p][q] is a[p][used[q]].
  double z[kMaxTerms] = {};
  for (int p = nUsed - 1; p >= 0; --p) {
    double sum = b[p];
    for (int q = p + 1; q < nUsed; ++q) sum -= a[p][used[q]] * z[q];
    z[p] = sum / a[p][used[p]];
  }
  for (unsigned short q = 0; q < nUsed; ++q) m_coeff[used[q]] = z[q] * scale[used[q]];
}

double CLogNNLS::LogPsat(double T) const {
  const double term[kMaxTerms] = {1.0, 1.0 / T, std::log(T), T, T * T};
  double sum = 0.0;
  for (std::size_t c = 0; c < m_coeff.size(); ++c) sum += m_coeff[c] * term[c];
  return sum;
}

double CLogNNLS::GetX(double T) const {
  return std::exp(LogPsat(T));
}

double CLogNNLS::GetY(double psat, bool* converged) const {
  if (converged != nullptr) *converged = true;
  const auto& el = *m_elements;
  if (el.empty()) return 0.0;
  const double tol = psat * kSearchTolerance;
  for (short k = 0; k < static_cast<short>(el.size()); ++k) {
    const double Tk = el[k].temperature;
    double f = GetX(Tk) - psat;
    if (!(f > 0.0)) continue;
    if (k == 0) return Tk;
    // Walk down from T_k towards T_{k-1}, reversing and halving the step at each sign change.
    double h = (el[k - 1].temperature - Tk) * 0.5;
    double T = Tk;
    if (std::fabs(f) <= tol) return T;
    for (unsigned step = 0; step < kMaxSearchSteps; ++step) {
      T += h;
      const double f2 = GetX(T) - psat;
      if (f * f2 < 0.0) h *= -0.5;
      f = f2;
      if (std::fabs(f) <= tol) return T;
    }
    // Only a fit that does not cross psat between T_{k-1} and T_k gets here.
    if (converged != nullptr) *converged = false;
    return Tk;
  }
  return el.back().temperature;
}

bool CLogNNLS::Check1stDeriv() const {
  const auto& el = *m_elements;
  if (el.empty()) return true;
  const double T0 = el.front().temperature;
  const double step = (el.back().temperature - T0) / 100.0;
  const double c[kMaxTerms] = {
      0.0, m_coeff.size() > 1 ? m_coeff[1] : 0.0, m_coeff.size() > 2 ? m_coeff[2] : 0.0,
      m_coeff.size() > 3 ? m_coeff[3] : 0.0, m_coeff.size() > 4 ? m_coeff[4] : 0.0};
  for (int i = 0; i <= 100; ++i) {
    const double T = T0 + step * i;
    const double slope = -c[1] / (T * T) + c[2] / T + c[3] + 2.0 * c[4] * T;
    if (!(slope > 0.0)) return false;
  }
  return true;
}
