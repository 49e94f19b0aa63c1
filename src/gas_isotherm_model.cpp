#include "fiofla/gas_isotherm_model.h"

#include <algorithm>
#include <cmath>

#include "fiofla/num/linefit.h"

namespace NIsothermModel {

namespace {

// Logarithm with the models' guard: an argument not greater than 0 (or NaN) gives 1e-9.
double GuardedLog(double x) {
  return x > 0.0 ? std::log(x) : 1e-9;
}

// ∫₀ᴾ q(x)/x dx by successive midpoint refinement. Each pass adds n − 1 midpoints, not n:
// the last one is left out, as the rule is defined.
double RefinedSpreadingPressure(std::function<double(double)> const& q, double P) {
  auto integrand = [&](double x) { return x > 0.0 ? q(x) / x : 0.0; };
  double s = 0.5 * q(P);
  double previous = -1e30;
  unsigned long n = 1;
  int level = 2;
  for (;;) {
    const double h = P / double(n);
    double x = h / 2.0;
    double sum = 0.0;
    for (unsigned long j = 1; j < n; ++j) {
      sum += integrand(x);
      x += h;
    }
    s = (s + h * sum) * 0.5;
    if (std::fabs(s - previous) / std::fabs(previous) < 1e-6) break;
    if (previous == 0.0 && level > 6 && s == 0.0) break;
    if (++level == 16) break;
    previous = s;
    n *= 2;
  }
  return s;
}

struct FitResult {
  bool ok = false;
  std::vector<SCurveFitParam> params;
};

FitResult CurveFit(std::vector<SPressQAds> const& points, std::vector<double> const& start,
                   CMarquetteFit::Model const& model) {
  FitResult r;
  if (points.size() < 2) return r;
  std::vector<CMarquetteFit::SData> data;
  data.reserve(points.size());
  for (auto const& p : points) data.push_back({p.pressure, p.quantityAds, 1.0});
  for (double v : start) r.params.push_back({v, true, 0.0});
  CMarquetteFit fit(data, r.params, model);
  r.ok = fit.IsValid();
  return r;
}

}  // namespace

std::pair<double, double> CModel::GetModelSpreadingPressureRange(double p1, double p2) const {
  return {std::min(GetModelSpreadingPressure(p1), 1e-6), GetModelSpreadingPressure(p2)};
}

bool CModel::GetModelPressureAndQuantityAds(double spreadingPressure, double& pressure,
                                            double& quantity) const {
  const double P = FindXTarget([this](double p) { return GetModelSpreadingPressure(p); },
                               spreadingPressure, 0.0001, pressure);
  if (!(P > 0.0)) return false;
  pressure = P;
  quantity = GetModelQuantityAds(P);
  return true;
}

// ---- Langmuir ------------------------------------------------------------------------

CLangmuir::CLangmuir(std::vector<SPressQAds> const& points) {
  if (points.size() < 2) {
    m_status = 1;
    return;
  }
  CNumLineFit line(CNumLineFit::eOrdinaryLeastSquares);
  for (auto const& p : points) {
    if (p.quantityAds != 0.0) line.AddPoint(p.pressure, p.pressure / p.quantityAds);
  }
  line.CalculateVariance();
  const double s = line.Slope(), i = line.YIntercept();
  if (s == 0.0) {
    m_status = 2;
  } else if (i == 0.0) {
    m_status = 3;
  } else {
    m_b = s / i;
    m_Qm = 1.0 / s;
    m_slopeRelError = std::sqrt(line.VarSlope()) / s;
    m_status = 4;
  }
}

double CLangmuir::GetModelQuantityAds(double P, double Qm, double b) {
  const double d = 1.0 + b * P;
  return d == 0.0 ? 0.0 : b * Qm * P / d;
}
double CLangmuir::GetModelQuantityAds(double pressure) const {
  return GetModelQuantityAds(pressure, m_Qm, m_b);
}
double CLangmuir::GetModelSpreadingPressure(double pressure) const {
  return m_Qm * GuardedLog(1.0 + m_b * pressure);
}
double CLangmuir::GetSurfaceArea(double crossSectionalAreaNm2) const {
  return (crossSectionalAreaNm2 / 1e18) * 6.02214129e23 * m_Qm / 22414.0;
}
double CLangmuir::GetSurfaceAreaError(double crossSectionalAreaNm2) const {
  return GetSurfaceArea(crossSectionalAreaNm2) * m_slopeRelError;
}

// ---- Sips ----------------------------------------------------------------------------

double CSips::GetModelQuantityAds(double P, double Qm, double b, double n) {
  if (P <= 0.0) return 0.0;
  const double t = std::pow(b * P, n);
  return Qm * t / (1.0 + t);
}

double GetSipsQAdsWithParams(double P, std::vector<SCurveFitParam>& p) {
  const double Qm = p[0].value, b = p[1].value, n = p[2].value;
  if (P <= 0.0) {
    p[0].derivative = p[1].derivative = p[2].derivative = 0.0;
    return 0.0;
  }
  const double x = b * P, t = std::pow(x, n), u = (t + 1.0) * (t + 1.0);
  p[0].derivative = t / (t + 1.0);
  p[1].derivative = Qm * n * t / (u * b);
  p[2].derivative = t * Qm * (x > 0.0 ? std::log(x) : 1e-9) / u;
  return Qm * t / (1.0 + t);
}

CSips::CSips(std::vector<SPressQAds> const& points) {
  if (points.size() < 2) return;
  const auto r = CurveFit(points, {points.back().quantityAds, 0.5, 1.0}, GetSipsQAdsWithParams);
  if (!r.ok) return;
  m_Qm = r.params[0].value;
  m_b = r.params[1].value;
  m_n = r.params[2].value;
  m_status = 2;
}
double CSips::GetModelQuantityAds(double pressure) const {
  return GetModelQuantityAds(pressure, m_Qm, m_b, m_n);
}
double CSips::GetModelSpreadingPressure(double pressure) const {
  return (m_Qm / m_n) * GuardedLog(1.0 + std::pow(m_b * pressure, m_n));
}

// ---- Toth ----------------------------------------------------------------------------

double CToth::GetModelQuantityAds(double P, double Qm, double b, double n) {
  if (P <= 0.0) return 0.0;
  return b * Qm * P / std::pow(1.0 + std::pow(b * P, n), 1.0 / n);
}

// q = Qm x D^(−1/n), x = bP, D = 1 + xⁿ: ∂q/∂b = P Qm D^(−1/n − 1),
// ∂q/∂n = q (ln D / n² − xⁿ ln x / (n D)).
double GetTothQAdsWithParams(double P, std::vector<SCurveFitParam>& p) {
  const double Qm = p[0].value, b = p[1].value, n = p[2].value;
  if (P <= 0.0) {
    p[0].derivative = p[1].derivative = p[2].derivative = 0.0;
    return 0.0;
  }
  const double x = b * P, xn = std::pow(x, n), D = 1.0 + xn;
  const double root = std::pow(D, -1.0 / n);
  const double q = Qm * x * root;
  p[0].derivative = x * root;
  p[1].derivative = P * Qm * root / D;
  p[2].derivative = q * (GuardedLog(D) / (n * n) - xn * (x > 0.0 ? std::log(x) : 1e-9) / (n * D));
  return q;
}

CToth::CToth(std::vector<SPressQAds> const& points) {
  if (points.size() < 2) return;
  const auto r = CurveFit(points, {points.back().quantityAds, 0.5, 1.0}, GetTothQAdsWithParams);
  if (!r.ok) return;
  m_Qm = r.params[0].value;
  m_b = r.params[1].value;
  m_n = r.params[2].value;
  m_status = 2;
}
double CToth::GetModelQuantityAds(double pressure) const {
  return GetModelQuantityAds(pressure, m_Qm, m_b, m_n);
}
double CToth::GetModelSpreadingPressure(double pressure) const {
  return RefinedSpreadingPressure([this](double x) { return GetModelQuantityAds(x); }, pressure);
}

// ---- Redlich-Peterson ----------------------------------------------------------------

double CRedlichPeterson::GetModelQuantityAds(double P, double K, double a, double g) {
  if (P <= 0.0) return 0.0;
  return K * P / (1.0 + a * std::pow(P, g));
}

double GetRedlichPetersonQAdsWithParams(double P, std::vector<SCurveFitParam>& p) {
  const double K = p[0].value, a = p[1].value, g = p[2].value;
  if (P <= 0.0) {
    p[0].derivative = p[1].derivative = p[2].derivative = 0.0;
    return 0.0;
  }
  const double pg = std::pow(P, g), d = 1.0 + a * pg;
  p[0].derivative = P / d;
  p[1].derivative = -K * P * pg / (d * d);
  p[2].derivative = -K * P * a * pg * GuardedLog(P) / (d * d);
  return K * P / d;
}

CRedlichPeterson::CRedlichPeterson(std::vector<SPressQAds> const& points) {
  if (points.size() < 2) return;
  const auto r = CurveFit(points, {1.0, 0.5, 1.0}, GetRedlichPetersonQAdsWithParams);
  if (!r.ok) return;
  m_K = r.params[0].value;
  m_a = r.params[1].value;
  m_g = r.params[2].value;
  m_status = 2;
}
double CRedlichPeterson::GetModelQuantityAds(double pressure) const {
  return GetModelQuantityAds(pressure, m_K, m_a, m_g);
}
double CRedlichPeterson::GetModelSpreadingPressure(double pressure) const {
  return RefinedSpreadingPressure([this](double x) { return GetModelQuantityAds(x); }, pressure);
}

// ---- Dual-site Langmuir --------------------------------------------------------------

double CDualSiteLangmuir::GetModelQuantityAds(double P, double Qm1, double b1, double Qm2,
                                              double b2) {
  if (P <= 0.0) return 0.0;
  return Qm1 * b1 * P / (1.0 + b1 * P) + Qm2 * b2 * P / (1.0 + b2 * P);
}

double GetDualSiteLangmuirQAdsWithParams(double P, std::vector<SCurveFitParam>& p) {
  const double Qm1 = p[0].value, b1 = p[1].value, Qm2 = p[2].value, b2 = p[3].value;
  if (P <= 0.0) {
    for (auto& q : p) q.derivative = 0.0;
    return 0.0;
  }
  const double d1 = 1.0 + b1 * P, d2 = 1.0 + b2 * P;
  p[0].derivative = b1 * P / d1;
  p[1].derivative = Qm1 * P / (d1 * d1);
  p[2].derivative = b2 * P / d2;
  p[3].derivative = Qm2 * P / (d2 * d2);
  return Qm1 * b1 * P / d1 + Qm2 * b2 * P / d2;
}

CDualSiteLangmuir::CDualSiteLangmuir(std::vector<SPressQAds> const& points) {
  if (points.size() < 2) return;
  const double qLast = points.back().quantityAds;
  const auto r =
      CurveFit(points, {qLast, 0.5, qLast / 10.0, 0.5}, GetDualSiteLangmuirQAdsWithParams);
  if (!r.ok) return;
  m_Qm1 = r.params[0].value;
  m_b1 = r.params[1].value;
  m_Qm2 = r.params[2].value;
  m_b2 = r.params[3].value;
  m_status = 2;
}
double CDualSiteLangmuir::GetModelQuantityAds(double pressure) const {
  return GetModelQuantityAds(pressure, m_Qm1, m_b1, m_Qm2, m_b2);
}
double CDualSiteLangmuir::GetModelSpreadingPressure(double pressure) const {
  return m_Qm1 * GuardedLog(1.0 + m_b1 * pressure) + m_Qm2 * GuardedLog(1.0 + m_b2 * pressure);
}

// ---- Root finding and measured spreading pressure ------------------------------------

double FindXTarget(std::function<double(double)> f, double target, double relativeTolerance,
                   double start) {
  if (target <= 0.0) return -1.0;
  const double tol = target * relativeTolerance;
  const double f0 = f(start);
  if (std::fabs(f0 - target) < tol) return start;
  double lo = start, hi = start;
  if (target < f0) {
    lo = start * 0.1;
    for (int evaluations = 1;; ++evaluations) {
      if (!(target < f(lo))) break;
      if (evaluations == 20) return -1.0;
      lo *= 0.1;
    }
  } else if (target > f0) {
    hi = start * 10.0;
    double fHi = 0.0;
    for (int evaluations = 1;; ++evaluations) {
      fHi = f(hi);
      if (!(target > fHi)) break;
      if (evaluations == 20) return -1.0;
      hi *= 10.0;
    }
    if (std::fabs(fHi - target) < tol) return hi;
  }
  if (tol >= 1.0) return 0.0;
  double mid = 0.0, d = 0.0;
  do {
    const double next = (lo + hi) / 2.0;
    if (next == mid) break;  // the bracket cannot shrink any further
    mid = next;
    d = target - f(mid);
    if (d > 0.0) {
      lo = mid;
    } else {
      hi = mid;
    }
  } while (std::fabs(d) > tol);
  return mid > 0.0 ? mid : 0.0;
}

std::vector<SPressQAds> GetSpreadingPressure(std::vector<SPressQAds> const& points) {
  std::vector<SPressQAds> out;
  if (points.size() < 2) return out;
  double pi = 0.0;
  for (std::size_t i = 1; i < points.size(); ++i) {
    const SPressQAds& a = points[i - 1];
    const SPressQAds& b = points[i];
    if (a.pressure == 0.0 || b.pressure == 0.0) continue;
    pi += (a.quantityAds + b.quantityAds) / 2.0 * GuardedLog(b.pressure / a.pressure);
    out.push_back({b.pressure, pi});
  }
  return out;
}

}  // namespace NIsothermModel
