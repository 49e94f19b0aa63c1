#include "fiofla/gasdft.h"

#include <algorithm>
#include <cctype>
#include <cmath>
#include <cstring>
#include <fstream>
#include <sstream>

#include "fiofla/io/file_util.h"

namespace {

// Little-endian integers and doubles, whatever the host's byte order.
template <typename T>
bool ReadLE(std::istream& in, T* value) {
  unsigned char bytes[sizeof(T)];
  if (!in.read(reinterpret_cast<char*>(bytes), sizeof bytes)) return false;
  std::uint64_t bits = 0;
  for (std::size_t k = 0; k < sizeof(T); ++k) bits |= std::uint64_t(bytes[k]) << (8 * k);
  if constexpr (sizeof(T) == 8) {
    std::memcpy(value, &bits, 8);
  } else {
    *value = static_cast<T>(bits);
  }
  return true;
}

template <typename T>
void WriteLE(std::ostream& out, T value) {
  std::uint64_t bits = 0;
  if constexpr (sizeof(T) == 8)
    std::memcpy(&bits, &value, 8);
  else
    bits = static_cast<std::uint64_t>(value);
  unsigned char bytes[sizeof(T)];
  for (std::size_t k = 0; k < sizeof(T); ++k)
    bytes[k] = static_cast<unsigned char>(bits >> (8 * k));
  out.write(reinterpret_cast<const char*>(bytes), sizeof bytes);
}

constexpr int kTextWidths[] = {4, 40, 40, 128};

// A count and its doubles; a count above the limit fails the stream before anything is
// allocated, and values come in chunks, so a short file costs only what it holds.
bool ReadVector(std::istream& in, CNumVector<double>& out) {
  std::uint32_t n = 0;
  if (!ReadLE(in, &n)) return false;
  if (n > CDFTModel::kMaxCount) {
    in.setstate(std::ios::failbit);
    return false;
  }
  std::vector<double> values;
  constexpr std::uint32_t kChunk = 65536;
  for (std::uint32_t done = 0; done < n;) {
    const std::uint32_t take = std::min(kChunk, n - done);
    const std::size_t at = values.size();
    values.resize(at + take);
    for (std::uint32_t k = 0; k < take; ++k)
      if (!ReadLE(in, &values[at + k])) return false;
    done += take;
  }
  out.SetDim(n);
  for (std::uint32_t k = 0; k < n; ++k) out[k] = values[k];
  return true;
}

}  // namespace

CDFTModelSpecBase::CDFTModelSpecBase() {
  SetParamDefaults();
}

CDFTModelSpecBase::CDFTModelSpecBase(CStr const& file) : fileName(file) {
  SetParamDefaults();
  std::ifstream in(file.c_str(), std::ios::binary);
  m_valid = in.good() && ReadFromStream(in);
}

CDFTModelSpecBase::CDFTModelSpecBase(std::istream& stream, CStr const& file) : fileName(file) {
  SetParamDefaults();
  m_valid = stream.good() && ReadFromStream(stream);
}

void CDFTModelSpecBase::SetParamDefaults() {
  category = eDFTCategoryAdsorption;
  type = eDFTTypeDefault;
  geometry = eDFTGeometrySlit;
  temperature = 0.0;
  reserved = 0.0;
  m_valid = false;
  gasName = modelName = label = description = CStr();
}

void CDFTModelSpecBase::SetParams(EDFTCategory c, EDFTType t, EDFTGeometry g, double temp,
                                  CStr const& gas, CStr const& model) {
  SetParamDefaults();
  category = c;
  type = t;
  geometry = g;
  temperature = temp;
  gasName = gas;
  modelName = model;
}

bool CDFTModelSpecBase::ReadFromStream(std::istream& stream) {
  unsigned char version = 0;
  if (!ReadLE(stream, &version)) return m_valid = false;
  return m_valid = ReadFromStream(stream, version);
}

bool CDFTModelSpecBase::ReadFromStream(std::istream& stream, unsigned char version) {
  std::uint16_t c = 0, t = 0, g = 0;
  ReadLE(stream, &c);
  ReadLE(stream, &t);
  ReadLE(stream, &g);
  category = EDFTCategory(c);
  type = EDFTType(t);
  geometry = EDFTGeometry(g);
  ReadLE(stream, &temperature);
  CStr* texts[] = {&gasName, &modelName, &label, &description};
  for (int k = 0; k < 4; ++k) {
    if (version <= 1)
      texts[k]->ReadCharArray(stream, kTextWidths[k]);
    else
      texts[k]->Read(stream);
  }
  return !stream.fail();
}

bool CDFTModelSpecBase::WriteToStream(std::ostream& stream, unsigned char version) const {
  WriteLE(stream, version);
  WriteLE(stream, std::uint16_t(category));
  WriteLE(stream, std::uint16_t(type));
  WriteLE(stream, std::uint16_t(geometry));
  WriteLE(stream, temperature);
  const CStr* texts[] = {&gasName, &modelName, &label, &description};
  for (int k = 0; k < 4; ++k) {
    if (version <= 1)
      texts[k]->WriteCharArray(stream, kTextWidths[k]);
    else
      texts[k]->Write(stream);
  }
  return stream.good();
}

bool CDFTModelSpecBase::IsBasicCompatible(CDFTModelSpecBase const& other) const {
  return category == other.category && geometry == other.geometry;
}

bool CDFTModelSpecBase::operator==(CDFTModelSpecBase const& other) const {
  return IsBasicCompatible(other) && AreStringsEqual(modelName, other.modelName);
}

bool CDFTModelSpecBase::IsGasMatch(CStr const& gas) const {
  return AreStringsEqual(gas, gasName);
}

bool CDFTModelSpecBase::IsTemperatureMatch(double t) const {
  return temperature - 2.0 < t && temperature + 2.0 > t;
}

bool CDFTModelSpecBase::AreStringsEqual(CStr a, CStr b) {
  const std::string& x = a.str();
  const std::string& y = b.str();
  if (x.size() != y.size()) return false;
  for (std::size_t k = 0; k < x.size(); ++k)
    if (std::tolower(static_cast<unsigned char>(x[k])) !=
        std::tolower(static_cast<unsigned char>(y[k])))
      return false;
  return true;
}

double CDFTModelBase::GeometryFactor(EDFTGeometry geometry) const {
  return geometry == 1 ? 4.0 : 2.0;
}

double CDFTModelBase::IncrementalVolume(unsigned long j, double area) const {
  return area / GeometryFactor(Geometry(j)) * m_poreWidths[j] * 0.0001;
}

double CDFTModelBase::Density(unsigned long i, unsigned long j) const {
  if (GetCategory() != 0 || i >= m_pressures.size() || j >= m_poreWidths.size()) return 0.0;
  // In this order, as the quantity has always been computed.
  const double q = m_kernel(i, j) / m_poreWidths[j] * 1e8 / 22414.0;
  return q / 10000.0 * GeometryFactor(Geometry(j));
}

CDFTModel::CDFTModel(CStr const& fileName) {
  std::ifstream in(fileName.c_str(), std::ios::binary);
  if (!in) {
    m_invalid = 1;
  } else {
    m_header.fileName = fileName;
    m_header.ReadFromStream(in);
    ReadLE(in, &m_headerValue);
    ReadVector(in, m_pressures);
    ReadVector(in, m_poreWidths);
    std::uint32_t rows = 0, cols = 0;
    ReadLE(in, &rows);
    ReadLE(in, &cols);
    // A kernel that disagrees with the grids is refused before any of it is read.
    if (!in.fail() && rows == m_pressures.size() && cols == m_poreWidths.size()) {
      m_kernel.SetDim(rows, cols);
      for (std::uint32_t i = 0; i < rows && !in.fail(); ++i)
        for (std::uint32_t j = 0; j < cols; ++j)
          if (!ReadLE(in, &m_kernel(i, j))) break;
      m_invalid = in.fail() ? 1 : 0;
    } else {
      m_invalid = 1;
    }
  }
  m_work.SetDim(m_pressures.size());
  for (std::size_t i = 0; i < m_work.size(); ++i) m_work[i] = 0.0;
}

CDFTModel::CDFTModel(CDFTModelSpecBase const& header, CNumVector<double> const& pressures,
                     CNumVector<double> const& poreWidths, CNumMatrix<double> const& kernel)
    : m_header(header) {
  m_pressures = pressures;
  m_poreWidths = poreWidths;
  m_kernel = kernel;
  m_invalid = kernel.rows() == pressures.size() && kernel.cols() == poreWidths.size() &&
                      pressures.size() <= kMaxCount && poreWidths.size() <= kMaxCount
                  ? 0
                  : 1;
  m_work.SetDim(m_pressures.size());
  for (std::size_t i = 0; i < m_work.size(); ++i) m_work[i] = 0.0;
}

bool CDFTModel::WriteToFile(CStr const& path, unsigned char version) const {
  if (!IsValid()) return false;
  std::ostringstream out(std::ios::binary);
  m_header.WriteToStream(out, version);
  WriteLE(out, m_headerValue);
  WriteLE(out, std::uint32_t(m_pressures.size()));
  for (std::size_t i = 0; i < m_pressures.size(); ++i) WriteLE(out, m_pressures[i]);
  WriteLE(out, std::uint32_t(m_poreWidths.size()));
  for (std::size_t j = 0; j < m_poreWidths.size(); ++j) WriteLE(out, m_poreWidths[j]);
  // The grids' sizes: a kernel of no rows keeps no column count of its own.
  WriteLE(out, std::uint32_t(m_pressures.size()));
  WriteLE(out, std::uint32_t(m_poreWidths.size()));
  for (std::size_t i = 0; i < m_kernel.rows(); ++i)
    for (std::size_t j = 0; j < m_kernel.cols(); ++j) WriteLE(out, m_kernel(i, j));
  if (!out) return false;
  return fiofla::WriteFileAtomically(path.str(), out.str(), nullptr);
}

namespace {

// Monotone cubic Hermite interpolation (Fritsch and Carlson 1980) of y over ascending x,
// at u: the slopes are limited so that the curve never leaves the range of its neighbours.
class MonotoneCubic {
 public:
  MonotoneCubic(std::vector<double> x, std::vector<double> y)
      : m_x(std::move(x)), m_y(std::move(y)) {
    const std::size_t n = m_x.size();
    m_d.assign(n, 0.0);
    if (n < 2) return;
    std::vector<double> delta(n - 1);
    for (std::size_t k = 0; k + 1 < n; ++k)
      delta[k] = (m_y[k + 1] - m_y[k]) / (m_x[k + 1] - m_x[k]);
    m_d[0] = delta[0];
    m_d[n - 1] = delta[n - 2];
    for (std::size_t k = 1; k + 1 < n; ++k)
      m_d[k] = delta[k - 1] * delta[k] <= 0.0 ? 0.0 : (delta[k - 1] + delta[k]) / 2.0;
    for (std::size_t k = 0; k + 1 < n; ++k) {
      if (delta[k] == 0.0) {
        m_d[k] = m_d[k + 1] = 0.0;
        continue;
      }
      const double a = m_d[k] / delta[k], b = m_d[k + 1] / delta[k];
      const double r = a * a + b * b;
      if (r > 9.0) {
        const double t = 3.0 / std::sqrt(r);
        m_d[k] = t * a * delta[k];
        m_d[k + 1] = t * b * delta[k];
      }
    }
  }
  double operator()(double u) const {
    const std::size_t n = m_x.size();
    if (n == 1 || u <= m_x[0]) return m_y[0];
    if (u >= m_x[n - 1]) return m_y[n - 1];
    const std::size_t k =
        std::size_t(std::upper_bound(m_x.begin(), m_x.end(), u) - m_x.begin()) - 1;
    const double h = m_x[k + 1] - m_x[k], t = (u - m_x[k]) / h;
    const double t2 = t * t, t3 = t2 * t;
    return (2 * t3 - 3 * t2 + 1) * m_y[k] + (t3 - 2 * t2 + t) * h * m_d[k] +
           (-2 * t3 + 3 * t2) * m_y[k + 1] + (t3 - t2) * h * m_d[k + 1];
  }

 private:
  std::vector<double> m_x, m_y, m_d;
};

}  // namespace

bool CDFTModel::Configure(std::vector<double> const& pressures, std::vector<double> const& sizes,
                          bool clampOutside) {
  const std::size_t np = m_pressures.size(), ns = m_poreWidths.size();
  if (!IsValid() || np == 0 || ns == 0 || (sizes.size() != 0 && sizes.size() != 2)) return false;
  for (std::size_t k = 0; k < pressures.size(); ++k)
    if (!(pressures[k] > 0.0 && pressures[k] < 1.0) ||
        (k > 0 && !(pressures[k] > pressures[k - 1])))
      return false;
  for (std::size_t i = 0; i < np; ++i)
    if (!(m_pressures[i] > 0.0) || (i > 0 && !(m_pressures[i] > m_pressures[i - 1]))) return false;
  if (!clampOutside)
    for (double p : pressures)
      if (p < m_pressures[0] || p > m_pressures[np - 1]) return false;
  std::vector<std::size_t> kept;
  for (std::size_t j = 0; j < ns; ++j)
    if (sizes.empty() || (m_poreWidths[j] >= sizes[0] && m_poreWidths[j] <= sizes[1]))
      kept.push_back(j);
  if (kept.empty()) return false;

  std::vector<double> logP(np);
  for (std::size_t i = 0; i < np; ++i) logP[i] = std::log10(m_pressures[i]);
  const std::size_t rows = pressures.empty() ? np : pressures.size();
  CNumMatrix<double> kernel(rows, kept.size());
  CNumVector<double> widths(kept.size());
  for (std::size_t c = 0; c < kept.size(); ++c) {
    const std::size_t j = kept[c];
    widths[c] = m_poreWidths[j];
    if (pressures.empty()) {
      for (std::size_t i = 0; i < np; ++i) kernel(i, c) = m_kernel(i, j);
      continue;
    }
    std::vector<double> column(np);
    for (std::size_t i = 0; i < np; ++i) column[i] = m_kernel(i, j);
    const MonotoneCubic curve(logP, column);
    for (std::size_t r = 0; r < rows; ++r) kernel(r, c) = curve(std::log10(pressures[r]));
  }
  if (!pressures.empty()) {
    m_pressures.SetDim(rows);
    for (std::size_t r = 0; r < rows; ++r) m_pressures[r] = pressures[r];
  }
  m_poreWidths = widths;
  m_kernel = kernel;
  m_work.SetDim(m_pressures.size());
  for (std::size_t i = 0; i < m_work.size(); ++i) m_work[i] = 0.0;
  return true;
}
