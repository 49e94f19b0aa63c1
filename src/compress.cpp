#include "fiofla/compress.h"

#include <dlfcn.h>
#include <rapidjson/document.h>
#include <rapidjson/error/en.h>
#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <functional>
#include <initializer_list>
#include <memory>
#include <string>
#include <type_traits>
#include <vector>

#include "fiofla/io/file_util.h"
#include "fiofla/num/interpolate.h"
#include "io/json_exact.h"

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

CGasCompressibilityTable::CGasCompressibilityTable(CStr const& path) {
  InitializeFluidProperties();
  if (!path.empty()) ReadFromFile(path);
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
  const std::size_t size = m_vTemperatures.size();
  // count can be anything a caller passes; compare without forming count + f.
  const std::size_t end = f >= size ? size : f + std::min(count, size - f);
  const std::size_t n = end > f ? end - f : 0;
  if (first != nullptr) *first = f;
  if (number != nullptr) *number = n;
  return n > 0 ? m_vTemperatures[end - 1] - m_vTemperatures[f] : 0.0;
}

bool CGasCompressibilityTable::IsInGrid(double pressure, double temperature) const {
  if (IsEmpty()) return false;
  return pressure >= m_vPressures[0] && pressure <= m_vPressures[m_vPressures.size() - 1] &&
         temperature >= m_vTemperatures[0] &&
         temperature <= m_vTemperatures[m_vTemperatures.size() - 1];
}

std::string CGasCompressibilityTable::GridText() const {
  if (IsEmpty()) return "no grid";
  char text[128];
  std::snprintf(text, sizeof text, "%.6g to %.6g mmHg, %.6g to %.6g K", m_vPressures[0],
                m_vPressures[m_vPressures.size() - 1], m_vTemperatures[0],
                m_vTemperatures[m_vTemperatures.size() - 1]);
  return text;
}

double CGasCompressibilityTable::GetRawCompressibility(double pressure, double temperature) const {
  if (m_vPressures.size() < 2 || m_vTemperatures.size() < 2) return 1.0;
  // A matrix out of step with the grids (a failed read) must not be indexed.
  if (m_mCompressibility.rows() != m_vPressures.size() ||
      m_mCompressibility.cols() != m_vTemperatures.size())
    return 1.0;
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

// ---------------------------------------------------------------------------------------
// Binary stream form.

namespace {

// Doubles are read in pieces of this many, so a stream that claims far more than it
// holds costs no more memory than it actually supplied.
constexpr std::size_t kReadChunk = std::size_t(1) << 16;

template <class T>
bool ReadScalar(std::istream& is, T& value) {
  static_assert(std::is_arithmetic<T>::value, "scalars only");
  unsigned char bytes[sizeof(T)];
  if (!is.read(reinterpret_cast<char*>(bytes), sizeof(T))) return false;
  if (!fiofla::detail::kHostLittleEndian) std::reverse(bytes, bytes + sizeof(T));
  std::memcpy(&value, bytes, sizeof(T));
  return true;
}

template <class T>
void WriteScalar(std::ostream& os, T value) {
  unsigned char bytes[sizeof(T)];
  std::memcpy(bytes, &value, sizeof(T));
  if (!fiofla::detail::kHostLittleEndian) std::reverse(bytes, bytes + sizeof(T));
  os.write(reinterpret_cast<const char*>(bytes), sizeof(T));
}

bool ReadDoubles(std::istream& is, std::uint64_t count, std::vector<double>& out) {
  out.clear();
  while (out.size() < count) {
    const std::size_t old = out.size();
    const std::size_t n =
        static_cast<std::size_t>(std::min<std::uint64_t>(kReadChunk, count - old));
    out.resize(old + n);
    if (!is.read(reinterpret_cast<char*>(out.data() + old), std::streamsize(n * sizeof(double))))
      return false;
  }
  if (!fiofla::detail::kHostLittleEndian)
    fiofla::detail::SwapElementBytes(out.data(), out.size(), sizeof(double));
  return true;
}

void Assign(CNumVector<double>& v, std::vector<double> const& values) {
  v.SetDim(values.size());
  std::copy(values.begin(), values.end(), v.begin());
}

// Count, then that many doubles; the vector is replaced only when all of them arrived.
bool ReadVector(std::istream& is, CNumVector<double>& v) {
  std::uint32_t count = 0;
  if (!fiofla::detail::ReadU32LE(is, count)) return false;
  if (count > CNumVector<double>::kMaxStreamCount) {
    is.setstate(std::ios::failbit);
    return false;
  }
  std::vector<double> values;
  if (!ReadDoubles(is, count, values)) return false;
  Assign(v, values);
  return true;
}

}  // namespace

bool CGasCompressibilityTable::Write(std::ostream& os) const {
  WriteScalar<std::uint8_t>(os, kVersion);
  WriteScalar<std::int32_t>(os, m_nAtoms);
  WriteScalar(os, m_dMolecularWeight);
  WriteScalar(os, m_dReserved1);
  WriteScalar(os, m_uUseKalrez);
  WriteScalar(os, m_dReserved2);
  WriteScalar(os, m_dReserved3);
  WriteScalar(os, m_dSpecificHeat);
  WriteScalar(os, m_dTcrit);
  WriteScalar(os, m_dPcrit);
  WriteScalar(os, m_dTtrip);
  WriteScalar(os, m_dPtrip);
  m_vPressures.Write(os);
  m_vTemperatures.Write(os);
  const std::uint64_t rows = m_mCompressibility.rows();
  const std::uint64_t cols = m_mCompressibility.cols();
  if (rows > CNumVector<double>::kMaxStreamCount || cols > CNumVector<double>::kMaxStreamCount) {
    os.setstate(std::ios::failbit);
    return false;
  }
  fiofla::detail::WriteU32LE(os, static_cast<std::uint32_t>(rows));
  fiofla::detail::WriteU32LE(os, static_cast<std::uint32_t>(cols));
  for (std::uint64_t i = 0; i < rows; ++i) {
    // A row resized by hand is written at the matrix width, so the stream stays readable.
    CNumVector<double> const& row = m_mCompressibility[i];
    for (std::uint64_t j = 0; j < cols; ++j) WriteScalar(os, j < row.size() ? row[j] : 0.0);
  }
  m_vPsat.Write(os);
  m_vPsub.Write(os);
  m_vSurfaceTension.Write(os);
  m_vLiquidMolarVolume.Write(os);
  return !os.fail();
}

bool CGasCompressibilityTable::Read(std::istream& is) {
  InitializeFluidProperties();
  m_sReadError = CStr();
  m_nLastPressureIndex = 0;
  m_nLastTemperatureIndex = 0;
  auto fail = [&](char const* what) {
    is.setstate(std::ios::failbit);
    m_sReadError = CStr(what);
    return false;
  };
  std::uint8_t version = 0;
  if (!ReadScalar(is, version)) return fail("the stream ends before the version byte");
  if (version > kVersion) return fail("unknown gas table version");
  const bool ok = (version < 7 || ReadScalar(is, m_nAtoms)) &&
                  (version < 3 || ReadScalar(is, m_dMolecularWeight)) &&
                  (version < 4 || ReadScalar(is, m_dReserved1)) &&
                  (version < 5 || ReadScalar(is, m_uUseKalrez)) &&
                  (version < 3 || ReadScalar(is, m_dReserved2)) &&
                  (version < 6 || ReadScalar(is, m_dReserved3)) &&
                  (version < 7 || ReadScalar(is, m_dSpecificHeat)) &&
                  (version < 3 || (ReadScalar(is, m_dTcrit) && ReadScalar(is, m_dPcrit) &&
                                   ReadScalar(is, m_dTtrip) && ReadScalar(is, m_dPtrip)));
  if (!ok) return fail("the stream ends inside the fluid constants");
  if (!ReadVector(is, m_vPressures) || !ReadVector(is, m_vTemperatures))
    return fail("the pressure or temperature grid is truncated or too long");

  std::uint32_t rows = 0;
  std::uint32_t cols = 0;
  if (!fiofla::detail::ReadU32LE(is, rows) || !fiofla::detail::ReadU32LE(is, cols))
    return fail("the stream ends before the compressibility matrix");
  if (rows != m_vPressures.size() || (rows != 0 && cols != m_vTemperatures.size()))
    return fail("the compressibility matrix does not match the pressure and temperature grids");
  std::vector<double> values;
  if (!ReadDoubles(is, std::uint64_t(rows) * cols, values))
    return fail("the compressibility matrix is truncated");
  m_mCompressibility.SetDim(rows, rows != 0 ? cols : 0);
  for (std::uint32_t i = 0; i < rows; ++i)
    std::copy_n(values.begin() + std::ptrdiff_t(std::size_t(i) * cols), cols,
                m_mCompressibility[i].begin());

  if (version == 2) {
    CStr discarded;
    if (!discarded.Read(is)) return fail("the embedded text of a version 2 table is truncated");
  }
  InitializeRows();
  const bool curves = (version < 2 || ReadVector(is, m_vPsat)) &&
                      (version < 3 || ReadVector(is, m_vPsub)) &&
                      (version < 2 || ReadVector(is, m_vSurfaceTension)) &&
                      (version < 2 || ReadVector(is, m_vLiquidMolarVolume));
  if (!curves) return fail("a saturation, surface tension or liquid volume curve is truncated");
  return !is.fail();
}

// ---------------------------------------------------------------------------------------
// JSON document form.

namespace {

// Member keys in the order they are written.
constexpr char const* kKeyKalrez = "use Kalrez";
constexpr char const* kKeyAtoms = "number of atoms";
constexpr char const* kKeySpecificHeat = "specific heat capacity";
constexpr char const* kKeyTcrit = "Tcrit";
constexpr char const* kKeyPcrit = "Pcrit";
constexpr char const* kKeyTtrip = "Ttrip";
constexpr char const* kKeyPtrip = "Ptrip";
constexpr char const* kKeyTemperature = "temperature";
constexpr char const* kKeyPsat = "Psat";
constexpr char const* kKeyPsub = "Psub";
constexpr char const* kKeySurfaceTension = "surface tension";
constexpr char const* kKeyLiquidVolume = "liquid molar volume";
constexpr char const* kKeyPressure = "pressure";
constexpr char const* kKeyCompressibility = "compressibility";
constexpr char const* kKeyMolecularWeight = "molecular weight";

bool AllFinite(CNumVector<double> const& v) {
  return std::all_of(v.begin(), v.end(), [](double x) { return std::isfinite(x); });
}

rapidjson::Value JsonArray(CNumVector<double> const& v, std::uint64_t n,
                           rapidjson::Document::AllocatorType& alloc) {
  rapidjson::Value array(rapidjson::kArrayType);
  array.Reserve(static_cast<rapidjson::SizeType>(n), alloc);
  for (std::uint64_t i = 0; i < n; ++i) array.PushBack(i < v.size() ? v[i] : 0.0, alloc);
  return array;
}

// Reads a member that must be an array of numbers; `expected` < 0 accepts any length.
bool JsonNumbers(rapidjson::Value const& object, char const* key, long long expected,
                 CNumVector<double>& out, std::string& error) {
  auto it = object.FindMember(key);
  if (it == object.MemberEnd()) {
    error = std::string("missing key \"") + key + "\"";
    return false;
  }
  rapidjson::Value const& array = it->value;
  if (!array.IsArray()) {
    error = std::string("\"") + key + "\" is not an array";
    return false;
  }
  if (expected >= 0 && array.Size() != static_cast<unsigned long long>(expected)) {
    error = std::string("\"") + key + "\" has " + std::to_string(array.Size()) + " values where " +
            std::to_string(expected) + " are expected";
    return false;
  }
  out.SetDim(array.Size());
  for (rapidjson::SizeType i = 0; i < array.Size(); ++i) {
    if (!array[i].IsNumber()) {
      error = std::string("\"") + key + "\" value " + std::to_string(i + 1) + " is not a number";
      return false;
    }
    out[i] = array[i].GetDouble();
  }
  return true;
}

bool JsonNumber(rapidjson::Value const& object, char const* key, double& out, std::string& error) {
  auto it = object.FindMember(key);
  if (it == object.MemberEnd() || !it->value.IsNumber()) {
    error =
        std::string(it == object.MemberEnd() ? "missing key \"" : "not a number: \"") + key + "\"";
    return false;
  }
  out = it->value.GetDouble();
  return true;
}

}  // namespace

bool CGasCompressibilityTable::WriteJson(rapidjson::Document& doc) const {
  const std::uint64_t rows = m_mCompressibility.rows();
  const std::uint64_t nt = m_vTemperatures.size();
  // JSON has no NaN or infinity, so such a table cannot be written faithfully.
  const double constants[] = {m_dSpecificHeat, m_dTcrit, m_dPcrit,
                              m_dTtrip,        m_dPtrip, m_dMolecularWeight};
  if (!std::all_of(std::begin(constants), std::end(constants),
                   [](double x) { return std::isfinite(x); }))
    return false;
  for (auto const* v : {&m_vTemperatures, &m_vPsat, &m_vPsub, &m_vSurfaceTension,
                        &m_vLiquidMolarVolume, &m_vPressures})
    if (!AllFinite(*v)) return false;
  for (std::uint64_t i = 0; i < rows; ++i)
    if (!AllFinite(m_mCompressibility[i])) return false;

  doc.SetObject();
  auto& alloc = doc.GetAllocator();
  doc.AddMember(rapidjson::StringRef(kKeyKalrez), m_uUseKalrez != 0, alloc);
  doc.AddMember(rapidjson::StringRef(kKeyAtoms), m_nAtoms, alloc);
  doc.AddMember(rapidjson::StringRef(kKeySpecificHeat), m_dSpecificHeat, alloc);
  doc.AddMember(rapidjson::StringRef(kKeyTcrit), m_dTcrit, alloc);
  doc.AddMember(rapidjson::StringRef(kKeyPcrit), m_dPcrit, alloc);
  doc.AddMember(rapidjson::StringRef(kKeyTtrip), m_dTtrip, alloc);
  doc.AddMember(rapidjson::StringRef(kKeyPtrip), m_dPtrip, alloc);
  doc.AddMember(rapidjson::StringRef(kKeyTemperature), JsonArray(m_vTemperatures, nt, alloc),
                alloc);
  // The curves are written one value per grid temperature, as readers expect.
  doc.AddMember(rapidjson::StringRef(kKeyPsat), JsonArray(m_vPsat, nt, alloc), alloc);
  doc.AddMember(rapidjson::StringRef(kKeyPsub), JsonArray(m_vPsub, nt, alloc), alloc);
  doc.AddMember(rapidjson::StringRef(kKeySurfaceTension), JsonArray(m_vSurfaceTension, nt, alloc),
                alloc);
  doc.AddMember(rapidjson::StringRef(kKeyLiquidVolume), JsonArray(m_vLiquidMolarVolume, nt, alloc),
                alloc);
  doc.AddMember(rapidjson::StringRef(kKeyPressure),
                JsonArray(m_vPressures, m_vPressures.size(), alloc), alloc);
  rapidjson::Value matrix(rapidjson::kArrayType);
  for (std::uint64_t i = 0; i < rows; ++i)
    matrix.PushBack(JsonArray(m_mCompressibility[i], nt, alloc), alloc);
  doc.AddMember(rapidjson::StringRef(kKeyCompressibility), matrix, alloc);
  doc.AddMember(rapidjson::StringRef(kKeyMolecularWeight), m_dMolecularWeight, alloc);
  return true;
}

namespace {

// Defaults and no grids: what a rejected document leaves, never a mixture of old and new.
void ResetTable(CGasCompressibilityTable& table) {
  table.InitializeFluidProperties();
  table.m_vPressures.SetDim(0);
  table.m_vTemperatures.SetDim(0);
  table.m_mCompressibility.SetDim(0, 0);
  table.InitializeRows();
  table.m_nLastPressureIndex = 0;
  table.m_nLastTemperatureIndex = 0;
  table.m_sReadError = CStr();
}

}  // namespace

namespace {

// What no gas table can hold, in words; empty when the table is physically possible.
// A file is where a slip gets in (a reversed grid gave Po = 2.3 million mmHg), so the
// JSON reader checks; tables filled in code are the caller's to keep sound.
std::string Implausible(
    CNumVector<double> const& t, CNumVector<double> const& p, CNumMatrix<double> const& z,
    std::initializer_list<std::reference_wrapper<CNumVector<double> const>> curves, double tcrit,
    double pcrit, double ttrip, double ptrip, double molarMass) {
  auto show = [](double x) {
    char text[32];
    std::snprintf(text, sizeof text, "%.6g", x);
    return std::string(text);
  };
  for (std::size_t j = 0; j < t.size(); ++j) {
    if (!(t[j] > 0.0 && t[j] <= 5000.0))
      return "\"temperature\" " + show(t[j]) + " K is not between 0 and 5000 K";
    if (j > 0 && !(t[j] > t[j - 1]))
      return "\"temperature\" is not ascending at value " + std::to_string(j + 1);
  }
  for (std::size_t i = 0; i < p.size(); ++i) {
    if (!(p[i] >= 0.0 && p[i] <= 1e8))
      return "\"pressure\" " + show(p[i]) + " mmHg is not between 0 and 1e8 mmHg";
    if (i > 0 && !(p[i] > p[i - 1]))
      return "\"pressure\" is not ascending at value " + std::to_string(i + 1);
  }
  bool gas = z.rows() == 0;
  for (std::size_t i = 0; i < z.rows(); ++i)
    for (std::size_t j = 0; j < z.cols(); ++j) {
      const double v = z(i, j);
      // 0 and -1 mark "no gas phase"; a gas's Z lies well inside (0, 10].
      if (!(v == 0.0 || v == -1.0 || (v > 0.0 && v <= 10.0)))
        return "\"compressibility\" row " + std::to_string(i + 1) + " value " +
               std::to_string(j + 1) + " is " + show(v) +
               ": Z lies in (0, 10], or is 0 or -1 "
               "where there is no gas phase";
      gas = gas || v > 0.0;
    }
  if (!gas) return "\"compressibility\" has no gas phase anywhere";
  for (CNumVector<double> const& curve : curves)
    for (double v : curve)
      if (!(v >= 0.0 && v <= 1e9)) return "a saturation or liquid curve holds " + show(v);
  if (!(tcrit > 0.0 && tcrit <= 5000.0))
    return "\"Tcrit\" " + show(tcrit) + " K is not between 0 and 5000 K";
  if (!(pcrit > 0.0)) return "\"Pcrit\" " + show(pcrit) + " mmHg is not above 0";
  if (!(ttrip >= 0.0 && ttrip < tcrit))
    return "\"Ttrip\" " + show(ttrip) + " K is not between 0 and Tcrit";
  if (!(ptrip >= 0.0)) return "\"Ptrip\" " + show(ptrip) + " mmHg is negative";
  if (!(molarMass >= 0.0 && molarMass <= 1e4))
    return "\"molecular weight\" " + show(molarMass) + " g/mol is not between 0 and 1e4";
  return {};
}

}  // namespace

bool CGasCompressibilityTable::ReadJson(rapidjson::Document const& doc) {
  ResetTable(*this);

  std::string error;
  auto fail = [&]() {
    m_sReadError = CStr(error);
    return false;
  };
  if (!doc.IsObject()) {
    error = "the document is not a JSON object";
    return fail();
  }
  auto kalrez = doc.FindMember(kKeyKalrez);
  if (kalrez == doc.MemberEnd() || !kalrez->value.IsBool()) {
    error = std::string("\"") + kKeyKalrez + "\" is missing or not true/false";
    return fail();
  }
  auto atoms = doc.FindMember(kKeyAtoms);
  if (atoms == doc.MemberEnd() || !atoms->value.IsInt()) {
    error = std::string("\"") + kKeyAtoms + "\" is missing or not an integer";
    return fail();
  }
  double specificHeat = 0.0, tcrit = 0.0, pcrit = 0.0, ttrip = 0.0, ptrip = 0.0;
  if (!JsonNumber(doc, kKeySpecificHeat, specificHeat, error) ||
      !JsonNumber(doc, kKeyTcrit, tcrit, error) || !JsonNumber(doc, kKeyPcrit, pcrit, error) ||
      !JsonNumber(doc, kKeyTtrip, ttrip, error) || !JsonNumber(doc, kKeyPtrip, ptrip, error))
    return fail();
  CNumVector<double> temperatures, psat, psub, tension, volume, pressures;
  if (!JsonNumbers(doc, kKeyTemperature, -1, temperatures, error)) return fail();
  const long long nt = static_cast<long long>(temperatures.size());
  if (!JsonNumbers(doc, kKeyPsat, nt, psat, error) ||
      !JsonNumbers(doc, kKeyPsub, nt, psub, error) ||
      !JsonNumbers(doc, kKeySurfaceTension, nt, tension, error) ||
      !JsonNumbers(doc, kKeyLiquidVolume, nt, volume, error) ||
      !JsonNumbers(doc, kKeyPressure, -1, pressures, error))
    return fail();
  auto matrixIt = doc.FindMember(kKeyCompressibility);
  if (matrixIt == doc.MemberEnd() || !matrixIt->value.IsArray()) {
    error = std::string("\"") + kKeyCompressibility + "\" is missing or not an array";
    return fail();
  }
  rapidjson::Value const& matrix = matrixIt->value;
  if (matrix.Size() != pressures.size()) {
    error = std::string("\"") + kKeyCompressibility + "\" has " + std::to_string(matrix.Size()) +
            " rows for " + std::to_string(pressures.size()) + " pressures";
    return fail();
  }
  CNumMatrix<double> z(matrix.Size(), matrix.Size() != 0 ? temperatures.size() : 0);
  for (rapidjson::SizeType i = 0; i < matrix.Size(); ++i) {
    rapidjson::Value const& row = matrix[i];
    if (!row.IsArray() || row.Size() != temperatures.size()) {
      error = std::string("\"") + kKeyCompressibility + "\" row " + std::to_string(i + 1) +
              " is not an array of " + std::to_string(temperatures.size()) + " numbers";
      return fail();
    }
    for (rapidjson::SizeType j = 0; j < row.Size(); ++j) {
      if (!row[j].IsNumber()) {
        error = std::string("\"") + kKeyCompressibility + "\" row " + std::to_string(i + 1) +
                " value " + std::to_string(j + 1) + " is not a number";
        return fail();
      }
      z(i, j) = row[j].GetDouble();
    }
  }
  double molecularWeight = 0.0;
  if (doc.HasMember(kKeyMolecularWeight) &&
      !JsonNumber(doc, kKeyMolecularWeight, molecularWeight, error))
    return fail();
  error = Implausible(temperatures, pressures, z, {psat, psub, tension, volume}, tcrit, pcrit,
                      ttrip, ptrip, molecularWeight);
  if (!error.empty()) return fail();

  m_uUseKalrez = kalrez->value.GetBool() ? 1u : 0u;
  m_nAtoms = atoms->value.GetInt();
  m_dSpecificHeat = specificHeat;
  m_dTcrit = tcrit;
  m_dPcrit = pcrit;
  m_dTtrip = ttrip;
  m_dPtrip = ptrip;
  m_dMolecularWeight = molecularWeight;
  m_vTemperatures = std::move(temperatures);
  m_vPsat = std::move(psat);
  m_vPsub = std::move(psub);
  m_vSurfaceTension = std::move(tension);
  m_vLiquidMolarVolume = std::move(volume);
  m_vPressures = std::move(pressures);
  m_mCompressibility = std::move(z);
  return true;
}

namespace {

// One member per line and one matrix row per line: readable, diffable, still compact.
std::string FormatGasJson(rapidjson::Document const& doc) {
  auto compact = [](rapidjson::Value const& value) {
    rapidjson::StringBuffer buffer;
    rapidjson::Writer<rapidjson::StringBuffer> writer(buffer);
    value.Accept(writer);
    return std::string(buffer.GetString(), buffer.GetSize());
  };
  std::string out = "{\n";
  bool first = true;
  for (auto it = doc.MemberBegin(); it != doc.MemberEnd(); ++it) {
    if (!first) out += ",\n";
    first = false;
    out += "  " + compact(it->name) + ": ";
    if (it->value.IsArray() && !it->value.Empty() && it->value[0].IsArray()) {
      out += "[\n";
      for (rapidjson::SizeType i = 0; i < it->value.Size(); ++i)
        out += "    " + compact(it->value[i]) + (i + 1 < it->value.Size() ? ",\n" : "\n");
      out += "  ]";
    } else {
      out += compact(it->value);
    }
  }
  out += "\n}\n";
  return out;
}

}  // namespace

bool CGasCompressibilityTable::WriteToFile(CStr const& path) const {
  rapidjson::Document doc;
  if (!WriteJson(doc)) return false;
  return fiofla::WriteFileAtomically(path.c_str(), FormatGasJson(doc), nullptr);
}

bool CGasCompressibilityTable::ReadFromFile(CStr const& path) {
  m_sName = path;
  m_sReadError = CStr();
  std::string text;
  const fiofla::FileReadStatus status = fiofla::ReadFileLimited(path.c_str(), kMaxFileBytes, &text);
  // Opened-but-unreadable (a folder, an I/O error) counts as not opened: nothing usable.
  m_bValid = status == fiofla::FileReadStatus::kOk || status == fiofla::FileReadStatus::kTooLarge;
  const std::string where = std::string(path.c_str());
  switch (status) {
    case fiofla::FileReadStatus::kNotOpened:
      m_sReadError = CStr(where + ": cannot open the file");
      return false;
    case fiofla::FileReadStatus::kNotRead:
      m_sReadError = CStr(where + ": cannot read the file");
      return false;
    case fiofla::FileReadStatus::kTooLarge:
      m_sReadError = CStr(where + ": larger than " + std::to_string(kMaxFileBytes >> 20) +
                          " MiB, not a gas table");
      return false;
    case fiofla::FileReadStatus::kOk:
      break;
  }
  rapidjson::Document doc;
  // Numbers correctly rounded (JSON -> table -> JSON gives the same text), and an iterative
  // parse: a file of a million "[" must not recurse the stack away.
  std::string problem;
  if (!fiofla::io_detail::ParseJsonExact(text, doc, &problem)) {
    ResetTable(*this);
    m_sReadError = CStr(where + ":" + problem);
    return false;
  }
  if (!ReadJson(doc)) {
    m_sReadError = CStr(where + ": " + std::string(m_sReadError.c_str()));
    return false;
  }
  return true;
}

// ---------------------------------------------------------------------------------------
// Cache.

CGasCompressibilityCache CGasCompressibilityCache::ms_cCache;

CGasCompressibilityCache& CGasCompressibilityCache::ForThisThread() {
  thread_local CGasCompressibilityCache cache;
  thread_local bool directorySet = false;
  if (!directorySet) {
    cache.SetDirectory(ms_cCache.GetDirectory());
    directorySet = true;
  }
  return cache;
}

CGasCompressibilityTable* CGasCompressibilityCache::GetGas(CStr const& given) {
  if (given.empty()) return nullptr;
  // "N2" means nitrogen.fpi; a folder of one's own may still hold an n2.fpi.
  const std::string stem = fiofla::GasTableName(given.str());
  if (!stem.empty() && CStr(stem) != given) {
    if (CGasCompressibilityTable* table = Load(CStr(stem))) return table;
  }
  return Load(given);
}

CGasCompressibilityTable* CGasCompressibilityCache::Load(CStr const& name) {
  for (int k = 0; k < kSlots; ++k)
    if (m_pTables[k] != nullptr && m_sNames[k] == name) return m_pTables[k];
  const CStr path = GetEffectiveDirectory() + L"/" + name + L".fpi";
  auto table = std::make_unique<CGasCompressibilityTable>(path);
  // The oldest slot is given up before keeping the new table, whether or not it loads.
  if (!m_sNames[kSlots - 1].empty() || m_pTables[kSlots - 1] != nullptr) {
    m_sNames[kSlots - 1] = CStr();
    delete m_pTables[kSlots - 1];
    m_pTables[kSlots - 1] = nullptr;
  }
  if (!table->IsValid()) return nullptr;
  for (int k = kSlots - 1; k > 0; --k) {
    m_sNames[k] = m_sNames[k - 1];
    m_pTables[k] = m_pTables[k - 1];
  }
  m_sNames[0] = name;
  m_pTables[0] = table.release();
  return m_pTables[0];
}

void CGasCompressibilityCache::SetDirectory(CStr const& directory) {
  if (directory == m_sDirectory) return;
  Clear();
  m_sDirectory = directory;
}

CStr CGasCompressibilityCache::GetEffectiveDirectory() const {
  return m_sDirectory.empty() ? DefaultDirectory() : m_sDirectory;
}

CStr CGasCompressibilityCache::DefaultDirectory() {
  const char* env = std::getenv("FIOFLA_GAS_DIR");
  if (env != nullptr && *env != '\0') return CStr(env);
  // Beside the library first, so a moved installation (or the build tree, which mirrors
  // the installed layout) finds its own tables.
  Dl_info info{};
  if (::dladdr(reinterpret_cast<void*>(&CGasCompressibilityCache::DefaultDirectory), &info) != 0 &&
      info.dli_fname != nullptr) {
    std::string lib = info.dli_fname;
    const std::size_t slash = lib.rfind('/');
    if (slash != std::string::npos) {
      const std::filesystem::path dir =
          (std::filesystem::path(lib.substr(0, slash)) / FIOFLA_GAS_DIR_FROM_LIBDIR)
              .lexically_normal();
      std::error_code ec;
      if (std::filesystem::is_directory(dir, ec)) return CStr(dir.string());
    }
  }
  return CStr(FIOFLA_INSTALLED_GAS_DIR);
}

CStr CGasCompressibilityCache::GetSlotName(int slot) const {
  return slot >= 0 && slot < kSlots ? m_sNames[slot] : CStr();
}

void CGasCompressibilityCache::Clear() {
  for (int k = 0; k < kSlots; ++k) {
    delete m_pTables[k];
    m_pTables[k] = nullptr;
    m_sNames[k] = CStr();
  }
}
