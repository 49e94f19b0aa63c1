#include "fiofla/isotherm.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "fiofla/num/interpolate.h"

namespace {

using Series = CNumVector<double>;

// Element i of a parallel series, 0 past its end.
double At(Series const& v, std::size_t i) {
  return i < v.size() ? v[i] : 0.0;
}

CTimeInterval TimeAt(std::vector<CTimeInterval> const& v, std::size_t i) {
  return i < v.size() ? v[i] : CTimeInterval();
}

CChemiTemperatureInfo TempsAt(std::vector<CChemiTemperatureInfo> const& v, std::size_t i) {
  return i < v.size() ? v[i] : CChemiTemperatureInfo();
}

std::size_t Resize(Series& out, Series const& leading) {
  out.SetDim(leading.size(), true);
  return leading.size();
}

// Index of the non-zero element of v nearest to x (first of equals), or -1.
int Nearest(Series const& v, double x) {
  int best = -1;
  double distance = std::numeric_limits<double>::infinity();
  for (std::size_t k = 0; k < v.size(); ++k) {
    if (v[k] == 0.0) continue;
    const double d = std::fabs(v[k] - x);
    if (best < 0 || d < distance) {
      best = int(k);
      distance = d;
    }
  }
  return best;
}

template <class Convert>
bool ConvertPressures(Series& out, Series const& in, std::vector<CTimeInterval> const& times,
                      CPoInfo const& po, Convert convert) {
  const std::size_t n = Resize(out, in);
  for (std::size_t i = 0; i < n; ++i) {
    const double p0 = po.GetPo(TimeAt(times, i));
    if (!(p0 > 0.0) || !std::isfinite(p0)) return false;
    out[i] = convert(in[i], p0);
  }
  return true;
}

}  // namespace

namespace NIsotherm {

void OldTorvChemiQuantityAdsorbed(Series& out, Series const& q, Series const& P, double m,
                                  CFreeSpace const& fs) {
  const std::size_t n = Resize(out, q);
  const double vana = fs.GetAnalysisFS(true);
  for (std::size_t i = 0; i < n; ++i)
    out[i] = CGasCalculation::ChemiTorvQuantityAdsorbed(q[i], vana, At(P, i)) / m;
}

void VorlanQuantityDosed(Series& out, Series const& a, Series const& P, double m,
                         CFreeSpace const& fs, double alpha) {
  const std::size_t n = Resize(out, a);
  const double vana = fs.GetAnalysisFS(true);
  for (std::size_t i = 0; i < n; ++i)
    out[i] = CGasCalculation::VorlanQuantityDosed(m * a[i], vana, At(P, i), alpha);
}

void VorlanQuantityAdsorbed(Series& out, Series const& q, Series const& P, double m,
                            CFreeSpace const& fs, double alpha) {
  const std::size_t n = Resize(out, q);
  const double vana = fs.GetAnalysisFS(true);
  for (std::size_t i = 0; i < n; ++i)
    out[i] = CGasCalculation::VorlanQuantityAdsorbed(q[i], vana, At(P, i), alpha) / m;
}

void QuantityAdsorbed(Series& out, Series const& q, Series const& P, double m, CFreeSpace const& fs,
                      CTemperatureInfo const& t, double alpha, double f1) {
  const std::size_t n = Resize(out, q);
  const double vamb = fs.GetAmbientFS(true), vana = fs.GetAnalysisFS(true);
  const double tana = t.GetAnalysisTemperature();
  for (std::size_t i = 0; i < n; ++i)
    out[i] = CGasCalculation::VolumeAdsorbed(q[i], vamb, vana, At(P, i), tana, alpha, f1,
                                             fs.GetThirdValue()) /
             m;
}

void QuantityDosed(Series& out, Series const& a, Series const& P, double m, CFreeSpace const& fs,
                   CTemperatureInfo const& t, double alpha, double f1) {
  const std::size_t n = Resize(out, a);
  const double vamb = fs.GetAmbientFS(true), vana = fs.GetAnalysisFS(true);
  const double tana = t.GetAnalysisTemperature();
  for (std::size_t i = 0; i < n; ++i)
    out[i] = CGasCalculation::QuantityDosed(m * a[i], vamb, vana, At(P, i), tana, alpha, f1,
                                            fs.GetThirdValue());
}

void QuantityDosed(Series& out, Series const& a, Series const& P, double m, CFreeSpace const& fs,
                   CTemperatureInfo const& t, CGasCompressibilityBase const& gas) {
  const std::size_t n = Resize(out, a);
  const double vamb = fs.GetAmbientFS(true), vana = fs.GetAnalysisFS(true);
  const double tamb = t.GetAmbientTemperature(), tana = t.GetAnalysisTemperature();
  for (std::size_t i = 0; i < n; ++i)
    out[i] = CGasCalculation::VolumeDosed(m * a[i], vamb, vana, At(P, i), tamb, tana, gas);
}

void QuantityAdsorbed(Series& out, Series const& q, Series const& P, double m, CFreeSpace const& fs,
                      CTemperatureInfo const& t, CGasCompressibilityBase const& gas, double Vm) {
  const std::size_t n = Resize(out, q);
  const double vamb = fs.GetAmbientFS(true), vana = fs.GetAnalysisFS(true);
  const double tana = t.GetAnalysisTemperature();
  double tamb = t.GetAmbientTemperature();
  for (std::size_t i = 0; i < n; ++i) {
    const double p = At(P, i);
    // Sticky: the ambient reading is not taken again within the call.
    if (gas(p, tamb, nullptr) <= 0.0) tamb = tana;
    out[i] = CGasCalculation::VolumeAdsorbed(q[i], vamb, vana, p, tamb, tana, gas, Vm) / m;
  }
}

void ChemiQuantityAdsorbed(Series& out, Series const& q, Series const& P, double m,
                           CFreeSpace const& fs, std::vector<CChemiTemperatureInfo> const& temps,
                           CGasCompressibilityBase const& gas) {
  const std::size_t n = Resize(out, q);
  const double vamb = fs.GetAmbientFS(true), vana = fs.GetAnalysisFS(true);
  for (std::size_t i = 0; i < n; ++i) {
    const CChemiTemperatureInfo ti = TempsAt(temps, i);
    const double p = At(P, i);
    const double tana = ti.GetAnalysisTemperature();
    double tamb = ti.GetAmbientTemperature();
    if (gas(p, tamb, nullptr) <= 0.0) tamb = tana;
    out[i] = CGasCalculation::VolumeAdsorbed(q[i], vamb, vana, p, tamb, tana, gas, 0.0) / m;
  }
}

void HTPChemiQuantityAdsorbed(Series& out, CGasCalculationHTP const& h, Series const& q,
                              Series const& P, double m, CFreeSpace const& fs,
                              std::vector<CChemiTemperatureInfo> const& temps,
                              CGasCompressibilityBase const& gas) {
  const std::size_t n = Resize(out, q);
  const double vana = fs.GetAnalysisFS(true);
  for (std::size_t i = 0; i < n; ++i) {
    const CChemiTemperatureInfo ti = TempsAt(temps, i);
    out[i] = h.QuantityAdsorbed(q[i], vana, At(P, i), ti.GetAnalysisTemperature(),
                                ti.GetAmbientTemperature(), gas) /
             m;
  }
}

bool AbsoluteToRelativePressure(Series& out, Series const& P,
                                std::vector<CTimeInterval> const& times, CPoInfo const& po) {
  return ConvertPressures(out, P, times, po, [](double p, double p0) { return p / p0; });
}

bool RelativeToAbsolutePressure(Series& out, Series const& rel,
                                std::vector<CTimeInterval> const& times, CPoInfo const& po) {
  return ConvertPressures(out, rel, times, po, [](double r, double p0) { return r * p0; });
}

void MeasuredToAbsolutePressure(Series& out, Series const& P, double g, double d,
                                CTemperatureInfo const& t, double ratioLimit) {
  const std::size_t n = Resize(out, P);
  const double tana = t.GetAnalysisTemperature(), tamb = t.GetAmbientTemperature();
  double ratio = 0.0;
  std::size_t i = 0;
  while (i < n && ratio < ratioLimit) {
    out[i] = CGasCalculation::ThermalTranspirationPressure(P[i], g, d, tana, tamb, &ratio);
    ++i;
  }
  // Once the correction is negligible it is switched off for good, that point included.
  if (ratio >= ratioLimit)
    for (std::size_t j = i > 0 ? i - 1 : 0; j < n; ++j) out[j] = P[j];
}

void MeasuredToAbsolutePressure(Series& out, Series const& P, double g, double d,
                                std::vector<CChemiTemperatureInfo> temps) {
  const std::size_t n = Resize(out, P);
  for (std::size_t i = 0; i < n; ++i) {
    const CChemiTemperatureInfo ti = TempsAt(temps, i);
    const double tana = ti.GetAnalysisTemperature();
    double tamb = ti.GetAmbientTemperature();
    if (tamb <= 0.0) tamb = kAmbientReferenceTemperature;
    out[i] = P[i] > 0.0 && tana > 0.0
                 ? CGasCalculation::ThermalTranspirationPressure(P[i], g, d, tana, tamb, nullptr)
                 : P[i];
  }
}

void DifferentialIsotherm(Series& difference, Series& pressure, Series const& q1, Series const& P1,
                          Series const& q2, Series const& P2) {
  std::vector<double> keptP, keptQ;
  for (std::size_t k = 0; k < P2.size(); ++k) {
    const double q = At(q2, k);
    if (P2[k] != 0.0 || q != 0.0) {
      keptP.push_back(P2[k]);
      keptQ.push_back(q);
    }
  }
  double lo = 0.0, hi = -1.0;  // empty range when nothing is kept
  if (!keptP.empty()) {
    lo = std::max(0.0, *std::min_element(keptP.begin(), keptP.end()));
    hi = std::max(0.0, *std::max_element(keptP.begin(), keptP.end()));
  }
  Series x(keptP.size()), y(keptQ.size());
  for (std::size_t k = 0; k < keptP.size(); ++k) {
    x[k] = keptP[k];
    y[k] = keptQ[k];
  }
  const CNumInterpolate reference(x, y, CNumInterpolate::eLinear);
  const std::size_t n = P1.size();
  difference.SetDim(n, true);
  pressure.SetDim(n, true);
  for (std::size_t i = 0; i < n; ++i) {
    const double p = P1[i];
    if ((p >= lo && p <= hi) || FindMatchingRow(P1, P2, int(i)) >= 0) {
      pressure[i] = p;
      difference[i] = At(q1, i) - reference.Interpolate(p);
    } else {
      pressure[i] = 0.0;
      difference[i] = 0.0;
    }
  }
}

int FindMatchingRow(Series const& A, Series const& B, int i) {
  if (i < 0 || std::size_t(i) >= A.size() || B.empty()) return -1;
  const int k = Nearest(B, A[std::size_t(i)]);
  if (k < 0) return -1;
  return Nearest(A, B[std::size_t(k)]) == i ? k : -1;
}

}  // namespace NIsotherm
