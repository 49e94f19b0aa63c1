#include "fiofla/compress.h"

#include <algorithm>
#include <cmath>

#include "fiofla/num/interpolate.h"

namespace {

// Standard temperature as stored in single precision by the gas files, widened.
constexpr double kStandardTemperatureF = 273.1499938964844;

// Condensed points closer than this (K) to the saturation line are moved onto it:
// they are measurement noise at the boundary, not genuinely liquid states.
constexpr double kCondensationShift = 5.0;

// Linear blend of two corner values that never leans towards a missing (<= 0) one.
double BlendPositive(double a, double b, double x, double x0, double x1) {
  if (a <= 0.0) return b > 0.0 ? b : -1.0;
  if (b <= 0.0) return a;
  return a + (b - a) * (x - x0) / (x1 - x0);
}

// Slope B of ln p against 1/T through two curve nodes; false when the nodes give none.
bool ClausiusSlope(double t0, double t1, double p0, double p1, double* slope) {
  if (t0 == 0.0 || t1 == 0.0 || t0 == t1 || p0 <= 0.0 || p1 <= 0.0 || p0 == p1) return false;
  *slope = (std::log(p1) - std::log(p0)) / (1.0 / t1 - 1.0 / t0);
  return true;
}

}  // namespace

double CGasCompressibilityBase::operator()(double pressure, double temperature,
                                           double* effectiveTemperature) const {
  if (effectiveTemperature != nullptr) *effectiveTemperature = temperature;
  double z = GetRawCompressibility(pressure, temperature);
  if (z > 0.0) return z;
  double ts = temperature;
  CalcTempFromPsat(&ts, pressure, true);
  if (std::fabs(ts - temperature) <= kCondensationShift) z = GetRawCompressibility(pressure, ts);
  if (effectiveTemperature != nullptr) *effectiveTemperature = ts;
  return z;
}

CGasCompressibilityTable::CGasCompressibilityTable() {
  InitializeFluidProperties();
}

void CGasCompressibilityTable::Set(SCompressTable const& record) {
  const int np = record.nPressures;
  const int nt = record.nTemperatures;
  if (np < 0 || np > kMaxPressures || nt < 0 || nt > kMaxTemperatures) return;
  m_vPressures.SetDim(np);
  for (int i = 0; i < np; ++i) m_vPressures[i] = record.pressures[i];
  m_vTemperatures.SetDim(nt);
  InitializeRows();
  for (int j = 0; j < nt; ++j) {
    m_vTemperatures[j] = record.temperatures[j];
    m_vPsat[j] = record.psat[j];
    m_vPsub[j] = record.psub[j];
    m_vSurfaceTension[j] = record.surfaceTension[j];
    m_vLiquidMolarVolume[j] = record.liquidMolarVolume[j];
  }
  m_mCompressibility.SetDim(np, nt);
  for (int i = 0; i < np; ++i)
    for (int j = 0; j < nt; ++j) m_mCompressibility(i, j) = record.compressibility[i][j];
  m_nLastPressureIndex = 0;
  m_nLastTemperatureIndex = 0;
}

void CGasCompressibilityTable::Get(SCompressTable& record) const {
  const std::size_t np = m_vPressures.size();
  const std::size_t nt = m_vTemperatures.size();
  if (np > std::size_t(kMaxPressures) || nt > std::size_t(kMaxTemperatures)) return;
  record.nPressures = static_cast<std::int32_t>(np);
  record.nTemperatures = static_cast<std::int32_t>(nt);
  for (std::size_t i = 0; i < np; ++i) record.pressures[i] = static_cast<float>(m_vPressures[i]);
  // A curve shorter than the grid (vectors filled by hand) is written as zeros there.
  auto curve = [](CNumVector<double> const& v, std::size_t j) {
    return j < v.size() ? static_cast<float>(v[j]) : 0.0f;
  };
  for (std::size_t j = 0; j < nt; ++j) {
    record.temperatures[j] = static_cast<float>(m_vTemperatures[j]);
    record.psat[j] = curve(m_vPsat, j);
    record.psub[j] = curve(m_vPsub, j);
    record.surfaceTension[j] = curve(m_vSurfaceTension, j);
    record.liquidMolarVolume[j] = curve(m_vLiquidMolarVolume, j);
  }
  for (std::size_t i = 0; i < np; ++i)
    for (std::size_t j = 0; j < nt; ++j)
      record.compressibility[i][j] = static_cast<float>(m_mCompressibility(i, j));
}

void CGasCompressibilityTable::Set(CNumVector<double> const& pressures,
                                   CNumVector<double> const& temperatures,
                                   CNumMatrix<double> const& compressibility) {
  // Lookups index the matrix without checks, so its shape must match the grids.
  if (compressibility.rows() != pressures.size()) return;
  if (!pressures.empty() && compressibility.cols() != temperatures.size()) return;
  m_vPressures = pressures;
  m_vTemperatures = temperatures;
  m_mCompressibility = compressibility;
  m_nLastPressureIndex = 0;
  m_nLastTemperatureIndex = 0;
}

void CGasCompressibilityTable::InitializeRow(CNumVector<double>& row) const {
  row.SetDim(m_vTemperatures.size());
}

void CGasCompressibilityTable::InitializeRows() {
  InitializeRow(m_vPsat);
  InitializeRow(m_vPsub);
  InitializeRow(m_vSurfaceTension);
  InitializeRow(m_vLiquidMolarVolume);
}

void CGasCompressibilityTable::InitializeFluidProperties() {
  m_nAtoms = 1;
  m_dMolecularWeight = 0.0;
  m_dReserved1 = 1.0;
  m_uUseKalrez = 0;
  m_dReserved2 = 0.0;
  m_dReserved3 = 0.0;
  m_dSpecificHeat = 1.0;
  m_dTcrit = 0.0;
  m_dPcrit = 0.0;
  m_dTtrip = 0.0;
  m_dPtrip = 0.0;
  InitializeRows();
}

std::size_t CGasCompressibilityTable::FindLowerIndex(double x, CNumVector<double> const& grid,
                                                     std::size_t start) {
  const std::size_t n = grid.size();
  if (n < 2) return 0;
  std::size_t i = 0;
  if (start != 0 && start + 2 <= n) {
    i = start;
    while (grid[i] > x && i > 0) --i;
  }
  while (i + 2 < n && grid[i + 1] < x) ++i;
  return i;
}

std::size_t CGasCompressibilityTable::GetTemperatureIndex(double t) const {
  return FindLowerIndex(t, m_vTemperatures, m_nLastTemperatureIndex);
}

double CGasCompressibilityTable::GetTemperatureRange(double t, std::size_t count,
                                                     std::size_t before, std::size_t* first,
                                                     std::size_t* number) const {
  const std::size_t k = GetTemperatureIndex(t);
  const std::size_t f = k > before ? k - before : 0;
  const std::size_t end = std::min<std::size_t>(count + f, m_vTemperatures.size());
  const std::size_t n = end > f ? end - f : 0;
  if (first != nullptr) *first = f;
  if (number != nullptr) *number = n;
  return n > 0 ? m_vTemperatures[end - 1] - m_vTemperatures[f] : 0.0;
}

double CGasCompressibilityTable::GetRawCompressibility(double pressure, double temperature) const {
  if (m_vPressures.size() < 2 || m_vTemperatures.size() < 2) return 1.0;
  const std::size_t i = FindLowerIndex(pressure, m_vPressures, m_nLastPressureIndex);
  const std::size_t j = FindLowerIndex(temperature, m_vTemperatures, m_nLastTemperatureIndex);
  m_nLastPressureIndex = i;
  m_nLastTemperatureIndex = j;
  const double t0 = m_vTemperatures[j];
  const double t1 = m_vTemperatures[j + 1];
  const CNumVector<double>& lo = m_mCompressibility[i];
  const CNumVector<double>& hi = m_mCompressibility[i + 1];
  const double zi = BlendPositive(lo[j], lo[j + 1], temperature, t0, t1);
  const double zk = BlendPositive(hi[j], hi[j + 1], temperature, t0, t1);
  return BlendPositive(zi, zk, pressure, m_vPressures[i], m_vPressures[i + 1]);
}

bool CGasCompressibilityTable::CalcPsatFromTemp(double* psat, double temperature,
                                                bool sublimation) const {
  if (IsEmpty() || temperature > m_dTcrit || temperature <= 0.0) return false;
  const CNumVector<double>& curve = sublimation ? m_vPsub : m_vPsat;
  const std::size_t nt = m_vTemperatures.size();
  const std::size_t j = FindLowerIndex(temperature, m_vTemperatures, 0);
  if (j + 1 >= nt || j + 1 >= curve.size()) return false;
  const double t0 = m_vTemperatures[j];
  double slope = 0.0;
  if (!ClausiusSlope(t0, m_vTemperatures[j + 1], curve[j], curve[j + 1], &slope)) return false;
  *psat = std::exp(slope / temperature + std::log(curve[j]) - slope / t0);
  return true;
}

bool CGasCompressibilityTable::CalcTempFromPsat(double* temperature, double pressure,
                                                bool sublimation) const {
  if (IsEmpty() || pressure > m_dPcrit || pressure <= 0.0) return false;
  const CNumVector<double>* curve = &m_vPsat;
  std::size_t j = 0;
  bool useSub = false;
  if (sublimation && m_vPsub.size() >= 2) {
    j = FindLowerIndex(pressure, m_vPsub, 0);
    useSub = m_vPsub[j] != 0.0 && m_vPsub[j + 1] != 0.0;
  }
  if (useSub)
    curve = &m_vPsub;
  else
    j = FindLowerIndex(pressure, m_vPsat, 0);
  const std::size_t nt = m_vTemperatures.size();
  if (j + 1 >= nt || j + 1 >= curve->size()) return false;
  const double t0 = m_vTemperatures[j];
  const double p0 = (*curve)[j];
  double slope = 0.0;
  if (!ClausiusSlope(t0, m_vTemperatures[j + 1], p0, (*curve)[j + 1], &slope)) return false;
  const double d = std::log(pressure) - (std::log(p0) - slope / t0);
  *temperature = d == 0.0 ? kStandardTemperatureF : slope / d;
  return true;
}

double CGasCompressibilityTable::GetLiquidMolarVolume(double temperature) const {
  const std::size_t n = std::min<std::size_t>(m_vTemperatures.size(), m_vLiquidMolarVolume.size());
  std::size_t begin = 0;
  while (begin < n && m_vLiquidMolarVolume[begin] <= 0.0) ++begin;
  std::size_t end = begin;
  while (end < n && m_vLiquidMolarVolume[end] > 0.0) ++end;
  if (end == begin || temperature > m_vTemperatures[end - 1]) return 0.0;
  CNumVector<double> x(end - begin);
  CNumVector<double> y(end - begin);
  for (std::size_t k = begin; k < end; ++k) {
    x[k - begin] = m_vTemperatures[k];
    y[k - begin] = m_vLiquidMolarVolume[k];
  }
  return CNumInterpolate(x, y, CNumInterpolate::eLinear).Interpolate(temperature);
}
