#include "fiofla/isotherm.h"

#include <cmath>
#include <cstddef>

#include "fiofla/num/interpolate.h"

using fiofla::kAmbientReferenceTemperature;

namespace {

using Series = CNumVector<double>;

// Element i of a parallel input, 0 past its end.
double At(Series const& v, std::size_t i) {
  return i < v.size() ? v[i] : 0.0;
}

// Element i of a temperature list, both temperatures 0 K past its end.
CChemiTemperatureInfo At(std::vector<CChemiTemperatureInfo> const& v, std::size_t i) {
  return i < v.size() ? v[i] : CChemiTemperatureInfo();
}

// Time stamp of point i, the start of the run past the end of the list.
CTimeInterval At(std::vector<CTimeInterval> const& v, std::size_t i) {
  return i < v.size() ? v[i] : CTimeInterval();
}

// Sizes out to n, keeping what it held, and returns n.
std::size_t Fit(Series& out, Series const& leading) {
  out.SetDim(leading.size(), true);
  return leading.size();
}

// Multiplies (relative -> absolute) or divides by Po point by point; stops at a Po that is
// not a positive finite number.
bool ScaleByPo(Series& out, Series const& in, std::vector<CTimeInterval> const& times,
               CPoInfo const& po, bool multiply) {
  const std::size_t n = Fit(out, in);
  for (std::size_t i = 0; i < n; ++i) {
    const double p0 = po.GetPo(At(times, i));
    if (!(p0 > 0.0) || !std::isfinite(p0)) return false;
    out[i] = multiply ? in[i] * p0 : in[i] / p0;
  }
  return true;
}

// Index of the non-zero element of v nearest x, first of equals; -1 when there is none.
int Nearest(Series const& v, double x) {
  int best = -1;
  double bestDistance = 0.0;
  for (std::size_t k = 0; k < v.size(); ++k) {
    if (v[k] == 0.0) continue;
    const double distance = std::fabs(v[k] - x);
    if (std::isnan(distance)) continue;
    if (best < 0 || distance < bestDistance) {
      best = static_cast<int>(k);
      bestDistance = distance;
    }
  }
  return best;
}

}  // namespace

namespace NIsotherm {

void OldTorvChemiQuantityAdsorbed(Series& out, Series const& q, Series const& P, double m,
                                  CFreeSpace const& fs) {
  const std::size_t n = Fit(out, q);
  const double vana = fs.GetAnalysisFS(true);
  for (std::size_t i = 0; i < n; ++i)
    out[i] = CGasCalculation::ChemiTorvQuantityAdsorbed(q[i], vana, At(P, i)) / m;
}

void VorlanQuantityDosed(Series& out, Series const& a, Series const& P, double m,
                         CFreeSpace const& fs, double alpha) {
  const std::size_t n = Fit(out, a);
  const double vana = fs.GetAnalysisFS(true);
  for (std::size_t i = 0; i < n; ++i)
    out[i] = CGasCalculation::VorlanQuantityDosed(m * a[i], vana, At(P, i), alpha);
}

void VorlanQuantityAdsorbed(Series& out, Series const& q, Series const& P, double m,
                            CFreeSpace const& fs, double alpha) {
  const std::size_t n = Fit(out, q);
  const double vana = fs.GetAnalysisFS(true);
  for (std::size_t i = 0; i < n; ++i)
    out[i] = CGasCalculation::VorlanQuantityAdsorbed(q[i], vana, At(P, i), alpha) / m;
}

void QuantityAdsorbed(Series& out, Series const& q, Series const& P, double m, CFreeSpace const& fs,
                      CTemperatureInfo const& t, double alpha, double f1) {
  const std::size_t n = Fit(out, q);
  const double vamb = fs.GetAmbientFS(true), vana = fs.GetAnalysisFS(true);
  const double f2 = fs.GetThirdValue(), tana = t.GetAnalysisTemperature();
  for (std::size_t i = 0; i < n; ++i)
    out[i] = CGasCalculation::VolumeAdsorbed(q[i], vamb, vana, At(P, i), tana, alpha, f1, f2) / m;
}

void QuantityDosed(Series& out, Series const& a, Series const& P, double m, CFreeSpace const& fs,
                   CTemperatureInfo const& t, double alpha, double f1) {
  const std::size_t n = Fit(out, a);
  const double vamb = fs.GetAmbientFS(true), vana = fs.GetAnalysisFS(true);
  const double f2 = fs.GetThirdValue(), tana = t.GetAnalysisTemperature();
  for (std::size_t i = 0; i < n; ++i)
    out[i] = CGasCalculation::QuantityDosed(m * a[i], vamb, vana, At(P, i), tana, alpha, f1, f2);
}

void QuantityDosed(Series& out, Series const& a, Series const& P, double m, CFreeSpace const& fs,
                   CTemperatureInfo const& t, CGasCompressibilityBase const& gas) {
  const std::size_t n = Fit(out, a);
  const double vamb = fs.GetAmbientFS(true), vana = fs.GetAnalysisFS(true);
  const double tamb = t.GetAmbientTemperature(), tana = t.GetAnalysisTemperature();
  for (std::size_t i = 0; i < n; ++i)
    out[i] = CGasCalculation::VolumeDosed(m * a[i], vamb, vana, At(P, i), tamb, tana, gas);
}

void QuantityAdsorbed(Series& out, Series const& q, Series const& P, double m, CFreeSpace const& fs,
                      CTemperatureInfo const& t, CGasCompressibilityBase const& gas, double Vm) {
  const std::size_t n = Fit(out, q);
  const double vamb = fs.GetAmbientFS(true), vana = fs.GetAnalysisFS(true);
  const double tana = t.GetAnalysisTemperature();
  double tamb = t.GetAmbientTemperature();
  for (std::size_t i = 0; i < n; ++i) {
    const double p = At(P, i);
    // No gas phase at ambient means the run's ambient reading is unusable: keep the
    // substitute for every later point rather than flip back and forth.
    if (gas(p, tamb, nullptr) <= 0.0) tamb = tana;
    out[i] = CGasCalculation::VolumeAdsorbed(q[i], vamb, vana, p, tamb, tana, gas, Vm) / m;
  }
}

void ChemiQuantityAdsorbed(Series& out, Series const& q, Series const& P, double m,
                           CFreeSpace const& fs, std::vector<CChemiTemperatureInfo> const& temps,
                           CGasCompressibilityBase const& gas) {
  const std::size_t n = Fit(out, q);
  const double vamb = fs.GetAmbientFS(true), vana = fs.GetAnalysisFS(true);
  for (std::size_t i = 0; i < n; ++i) {
    const CChemiTemperatureInfo t = At(temps, i);
    const double p = At(P, i), tana = t.GetAnalysisTemperature();
    double tamb = t.GetAmbientTemperature();
    if (gas(p, tamb, nullptr) <= 0.0) tamb = tana;
    out[i] = CGasCalculation::VolumeAdsorbed(q[i], vamb, vana, p, tamb, tana, gas, 0.0) / m;
  }
}

void HTPChemiQuantityAdsorbed(Series& out, CGasCalculationHTP const& h, Series const& q,
                              Series const& P, double m, CFreeSpace const& fs,
                              std::vector<CChemiTemperatureInfo> const& temps,
                              CGasCompressibilityBase const& gas) {
  const std::size_t n = Fit(out, q);
  const double vana = fs.GetAnalysisFS(true);
  for (std::size_t i = 0; i < n; ++i) {
    const CChemiTemperatureInfo t = At(temps, i);
    out[i] = h.QuantityAdsorbed(q[i], vana, At(P, i), t.GetAnalysisTemperature(),
                                t.GetAmbientTemperature(), gas) /
             m;
  }
}

bool AbsoluteToRelativePressure(Series& out, Series const& P,
                                std::vector<CTimeInterval> const& times, CPoInfo const& po) {
  return ScaleByPo(out, P, times, po, false);
}

bool RelativeToAbsolutePressure(Series& out, Series const& rel,
                                std::vector<CTimeInterval> const& times, CPoInfo const& po) {
  return ScaleByPo(out, rel, times, po, true);
}

void MeasuredToAbsolutePressure(Series& out, Series const& P, double g, double d,
                                CTemperatureInfo const& t, double ratioLimit) {
  const std::size_t n = Fit(out, P);
  const double tamb = t.GetAmbientTemperature(), tana = t.GetAnalysisTemperature();
  double ratio = 0.0;
  std::size_t i = 0;
  while (i < n && ratio < ratioLimit) {
    out[i] = CGasCalculation::ThermalTranspirationPressure(P[i], g, d, tana, tamb, &ratio);
    ++i;
  }
  // Once the correction is negligible it is switched off for the rest of the run, the point
  // that reached the limit included, so the corrected isotherm has a single seam. Written as
  // "not below" so that a NaN ratio or limit also switches it off.
  if (!(ratio < ratioLimit))
    for (std::size_t j = i > 0 ? i - 1 : 0; j < n; ++j) out[j] = P[j];
}

void MeasuredToAbsolutePressure(Series& out, Series const& P, double g, double d,
                                std::vector<CChemiTemperatureInfo> temps) {
  const std::size_t n = Fit(out, P);
  for (std::size_t i = 0; i < n; ++i) {
    const CChemiTemperatureInfo t = At(temps, i);
    const double tana = t.GetAnalysisTemperature();
    double tamb = t.GetAmbientTemperature();
    if (tamb <= 0.0) tamb = kAmbientReferenceTemperature;
    out[i] = P[i] > 0.0 && tana > 0.0
                 ? CGasCalculation::ThermalTranspirationPressure(P[i], g, d, tana, tamb, nullptr)
                 : P[i];
  }
}

void DifferentialIsotherm(Series& difference, Series& pressure, Series const& q1, Series const& P1,
                          Series const& q2, Series const& P2) {
  // Reference rows that hold neither pressure nor quantity are unfilled, not data.
  auto filled = [&](std::size_t k) { return P2[k] != 0.0 || At(q2, k) != 0.0; };
  std::size_t kept = 0;
  for (std::size_t k = 0; k < P2.size(); ++k) kept += filled(k) ? 1 : 0;
  Series x(kept), y(kept);
  bool haveRange = false;
  double lo = 0.0, hi = 0.0;
  for (std::size_t k = 0, r = 0; k < P2.size(); ++k) {
    if (!filled(k)) continue;
    const double p = P2[k];
    x[r] = p;
    y[r++] = At(q2, k);
    if (!std::isfinite(p)) continue;
    lo = haveRange ? std::fmin(lo, p) : p;
    hi = haveRange ? std::fmax(hi, p) : p;
    haveRange = true;
  }
  if (lo < 0.0) lo = 0.0;
  if (hi < 0.0) hi = 0.0;
  // CNumInterpolate sorts the rows, gives a single row everywhere and NaN with none; with
  // no rows no point can match either, so it is never asked then.
  const CNumInterpolate reference(x, y, CNumInterpolate::eLinear);

  const std::size_t n = P1.size();
  difference.SetDim(n, true);
  pressure.SetDim(n, true);
  for (std::size_t i = 0; i < n; ++i) {
    const double p = P1[i];
    const bool inRange = haveRange && p >= lo && p <= hi;
    if (reference.IsSet() && (inRange || FindMatchingRow(P1, P2, static_cast<int>(i)) >= 0)) {
      pressure[i] = p;
      difference[i] = At(q1, i) - reference.Interpolate(p);
    } else {
      pressure[i] = 0.0;
      difference[i] = 0.0;
    }
  }
}

int FindMatchingRow(Series const& A, Series const& B, int i) {
  if (i < 0 || static_cast<std::size_t>(i) >= A.size() || B.size() == 0) return -1;
  const int k = Nearest(B, A[i]);
  if (k < 0) return -1;
  return Nearest(A, B[k]) == i ? k : -1;
}

}  // namespace NIsotherm
