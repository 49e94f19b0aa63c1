#include "fiofla/gastplot.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>

#include "fiofla/num/linefit.h"

namespace {

// Below this P/Po the closed forms are not evaluated (log of ~0).
constexpr double kMinRelPress = 1e-10;
// log10 P/Po used by Broekhoff-de Boer at or below kMinRelPress.
constexpr double kBDBFloorLog10 = -10.0;
// Newton settings of the Broekhoff-de Boer root finder.
constexpr double kBDBResidualTol = 1e-6;
constexpr double kBDBDivergedThickness = 1e6;
constexpr std::uint16_t kBDBMaxSteps = 10000;
constexpr double kBDBFirstStart = 5.0;
constexpr double kBDBSecondStart = 1000.0;
// How far outside its pressure range a user table may still be evaluated.
constexpr double kUserRangeSlack = 1e-7;
// Value returned when a curve has no thickness to give.
constexpr double kNoThickness = -1.0;
constexpr int kTypeCount = 6;

// Default parameters per type, in enum order; the user-defined row is never read.
struct SParams {
  double a, b, c;
};
constexpr SParams kDefaults[kTypeCount] = {
    {-5.0, 3.54, 0.333},        // Halsey 1948
    {13.99, 0.034, 0.5},        // Harkins and Jura 1944
    {0.88, 6.45, 2.98},         // carbon black STSA, Magee 1995
    {-16.11, 0.1682, -0.1137},  // Broekhoff and de Boer 1967
    {0.0, 0.0, 0.0},            // user-defined: parameters unused
    {60.65, 0.03071, 0.3968},   // Kruk, Jaroniec and Sayari 1997
};

bool KnownType(int type) {
  return type >= 0 && type < kTypeCount;
}

}  // namespace

CThicknessFunction::CThicknessFunction(EType type)
    : m_A(0.0), m_B(0.0), m_C(0.0), m_Type(type), m_Interp(CNumInterpolate::eMonotoneCubic) {
  SetParamDefaults();
}

CThicknessFunction::CThicknessFunction(CThicknessFunction const& other)
    : m_A(other.m_A),
      m_B(other.m_B),
      m_C(other.m_C),
      m_Type(other.m_Type),
      m_Interp(CNumInterpolate::eLinear) {}

CThicknessFunction& CThicknessFunction::operator=(CThicknessFunction const& other) {
  if (this != &other) {
    m_A = other.m_A;
    m_B = other.m_B;
    m_C = other.m_C;
    m_Type = other.m_Type;
  }
  return *this;
}

void CThicknessFunction::SetParamDefaults() {
  if (m_Type == eUserDefined) {
    LoadUserDefinedThicknessCurve();
    return;
  }
  if (!KnownType(m_Type)) return;
  const SParams& p = kDefaults[m_Type];
  m_A = p.a;
  m_B = p.b;
  m_C = p.c;
}

void CThicknessFunction::SetUserDefinedThicknessCurve(CNumVector<double> const& relPress,
                                                      CNumVector<double> const& thickness) {
  m_UserRelPress = relPress;
  m_UserThickness = thickness;
  LoadUserDefinedThicknessCurve();
}

void CThicknessFunction::LoadUserDefinedThicknessCurve() {
  // A single point defines no curve, so it is not loaded.
  if (m_UserRelPress.size() > 1) m_Interp.Set(m_UserRelPress, m_UserThickness);
}

bool CThicknessFunction::OK() const {
  if (m_Type == eUserDefined) return m_Interp.IsSet();
  return KnownType(m_Type);
}

double CThicknessFunction::EvalAt(double relPress) const {
  switch (m_Type) {
    case eHalsey:
      return EvalHalsey(relPress);
    case eHarkinsJura:
      return EvalHarkinsJura(relPress);
    case eCarbon:
      return EvalCarbon(relPress);
    case eBroekhoffDeBoer:
      return EvalBroekhoffDeBoer(relPress);
    case eUserDefined:
      return EvalUserDefined(relPress);
    case eKrukJaroniecSayari:
      return EvalKrukJaroniecSayari(relPress);
  }
  return 0.0;
}

double CThicknessFunction::EvalHalsey(double relPress) const {
  if (!(relPress >= kMinRelPress)) return 0.0;
  return m_B * std::pow(m_A / std::log(relPress), m_C);
}

double CThicknessFunction::EvalHarkinsJura(double relPress) const {
  if (!(relPress >= kMinRelPress)) return 0.0;
  return std::pow(m_A / (m_B - std::log10(relPress)), m_C);
}

double CThicknessFunction::EvalKrukJaroniecSayari(double relPress) const {
  // Kruk-Jaroniec-Sayari is the Harkins-Jura form refitted to MCM-41 data.
  if (!(relPress >= kMinRelPress)) return 0.0;
  return std::pow(m_A / (m_B - std::log10(relPress)), m_C);
}

double CThicknessFunction::EvalCarbon(double relPress) const {
  return std::fma(m_A * relPress, relPress, m_B * relPress) + m_C;
}

double CThicknessFunction::EvalBroekhoffDeBoer(double relPress) const {
  const double log10RelPress = relPress > kMinRelPress ? std::log10(relPress) : kBDBFloorLog10;
  // f(0) = -a: with a > 0 the film equation has no positive root.
  if (BDBFunc(log10RelPress, 0.0) < 0.0) return kNoThickness;
  bool failed = false;
  double t = BDBSolve(kBDBFirstStart, log10RelPress, &failed);
  if (!failed) return t;
  // From far out f is nearly the quadratic t^2 log10 x - a, where Newton cannot overshoot.
  t = BDBSolve(kBDBSecondStart, log10RelPress, &failed);
  return failed ? kNoThickness : t;
}

double CThicknessFunction::EvalUserDefined(double relPress) const {
  const auto n = m_UserRelPress.size();
  if (n == 0 || !m_Interp.IsSet()) return kNoThickness;
  if (relPress < m_UserRelPress[0] - kUserRangeSlack) return kNoThickness;
  if (relPress > m_UserRelPress[n - 1] + kUserRangeSlack) return kNoThickness;
  return m_Interp.Interpolate(relPress);
}

double CThicknessFunction::BDBFunc(double log10RelPress, double thickness) const {
  const double t = thickness;
  return t * t * (log10RelPress - m_B * std::exp(m_C * t)) - m_A;
}

double CThicknessFunction::BDBDeriv(double log10RelPress, double thickness) const {
  const double t = thickness;
  const double ct = m_C * t;
  return std::fma(2.0 * t, log10RelPress, -(m_B * t * std::exp(ct) * (ct + 2.0)));
}

double CThicknessFunction::BDBSolve(double startThickness, double log10RelPress,
                                    bool* failed) const {
  bool localFailed = false;
  bool& fail = failed ? *failed : localFailed;
  fail = false;
  double t = startThickness;
  std::uint16_t count = 0;
  for (;;) {
    // A runaway iterate is flagged but still takes this step, then the loop stops.
    if (std::fabs(t) > kBDBDivergedThickness) fail = true;
    const double f = BDBFunc(log10RelPress, t);
    if (std::fabs(f) < kBDBResidualTol) return t;
    const double fp = BDBDeriv(log10RelPress, t);
    if (fp == 0.0) {
      fail = true;
      return t - f / fp;
    }
    t -= f / fp;
    ++count;
    if (count == kBDBMaxSteps) {
      fail = true;
      return t;
    }
    if (fail) return t;
  }
}

CTPlotCalc::CTPlotCalc() {
  Initialize();
}

CTPlotCalc::CTPlotCalc(SInput const& input)
    : m_ThicknessMin(input.m_ThicknessMin),
      m_ThicknessMax(input.m_ThicknessMax),
      m_DensityConversion(input.m_DensityConversion),
      m_SurfaceAreaCorrection(input.m_SurfaceAreaCorrection),
      m_TotalSurfaceArea(input.m_TotalSurfaceArea),
      m_RelPress(input.m_RelPress),
      m_QtyAdsorbed(input.m_QtyAdsorbed) {
  Initialize();
  CThicknessFunction const* curve = input.m_pThickness;
  if (curve == nullptr || !curve->OK()) {
    m_Status = 5;
    return;
  }
  if (m_RelPress.size() < 2) {
    m_Status = 3;
    return;
  }

  m_Thickness.reserve(m_RelPress.size());
  for (double x : m_RelPress) m_Thickness.push_back(curve->EvalAt(x));

  // Every point takes part, however many there are.
  const std::size_t nScan = std::min(m_RelPress.size(), m_QtyAdsorbed.size());
  std::vector<double> fitT;
  std::vector<double> fitQ;
  for (std::size_t i = 0; i < nScan; ++i) {
    const double t = m_Thickness[i];
    const double q = m_QtyAdsorbed[i];
    if (t >= m_ThicknessMin && t <= m_ThicknessMax && q >= 0.0) {
      fitT.push_back(t);
      fitQ.push_back(q);
    }
  }
  if (fitT.size() < 2) {
    m_Status = 4;
    return;
  }

  CNumLineFit fit(fitT.size(), fitT.data(), fitQ.data(), CNumLineFit::eOrdinaryLeastSquares);
  fit.CalculateVariance();
  m_Slope = fit.Slope();
  m_SlopeError = std::sqrt(fit.VarSlope());
  m_Intercept = fit.YIntercept();
  m_InterceptError = std::sqrt(fit.VarYIntercept());
  m_Correlation = fit.Correlation();

  // Intercept is gas at STP held in micropores; D turns it into liquid volume.
  const double d = m_DensityConversion;
  const double f = m_SurfaceAreaCorrection;
  m_MicroporeVolume = m_Intercept * d;
  m_MicroporeVolumeError = m_InterceptError * d;
  // Area = liquid volume / film thickness: cm^3 -> m^3 (1e-6) over angstrom -> m (1e-10).
  m_ExternalArea = d * m_Slope * 1e10 / (f * 1e6);
  m_ExternalAreaError = d * m_SlopeError * 1e10 / (f * 1e6);
  m_MicroporeArea = m_TotalSurfaceArea - m_ExternalArea;

  m_Status = m_TotalSurfaceArea > 0.0 ? 0 : 1;
}

void CTPlotCalc::Initialize() {
  m_Slope = 0.0;
  m_SlopeError = 0.0;
  m_Intercept = 0.0;
  m_InterceptError = 0.0;
  m_Correlation = 0.0;
  m_MicroporeVolume = 0.0;
  m_MicroporeVolumeError = 0.0;
  m_MicroporeArea = 0.0;
  m_ExternalArea = 0.0;
  m_ExternalAreaError = 0.0;
  m_Status = 2;
}
