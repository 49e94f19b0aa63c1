// The mean potentials of the Horvath-Kawazoe family, their parameter sets and names.
#include <algorithm>
#include <boost/math/tools/minima.hpp>
#include <cctype>
#include <cmath>

#include "fiofla/gashk.h"
#include "isotherm_models_detail.h"

namespace fiofla {
namespace {

// CODATA 2018 (exact, or as recommended for the electron mass).
constexpr double kAvogadro = 6.02214076e23;         // 1/mol
constexpr double kGasConstant = 8.314462618;        // J/(mol K)
constexpr double kElectronMass = 9.1093837015e-31;  // kg
constexpr double kLightSpeed = 299792458.0;         // m/s
constexpr double kPi = 3.14159265358979323846;
constexpr double kCm3ToM3 = 1e-6;
constexpr double kPerCm2ToPerM2 = 1e4;
constexpr double kAngstrom = 1e-10;  // m
constexpr std::size_t kTableSize = 256;
// Far more than any width up to a few hundred Å needs; only a guard against a runaway sum.
constexpr std::size_t kMaxSeriesTerms = 200000;

// (2/5)^(1/6): the zero of the Lennard-Jones potential in units of its minimum's distance.
const double kSigmaRatio = std::pow(0.4, 1.0 / 6.0);

std::string Lower(std::string s) {
  for (char& c : s) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  return s;
}

bool Usable(HKMolecule const& m) {
  for (double v :
       {m.diameterAngstrom, m.polarisabilityCm3, m.susceptibilityCm3, m.surfaceDensityPerCm2})
    if (!(v > 0.0) || !std::isfinite(v)) return false;
  return true;
}

// The 10-4 potential of a plane at distance z, without its prefactor n A / (2σ⁴).
double Wall(double sigma, double z) {
  const double r4 = std::pow(sigma / z, 4);
  return r4 * r4 * (sigma / z) * (sigma / z) - r4;
}

// Horvath-Kawazoe slit bracket over (l - 2d0), with that factor divided out exactly:
// [F(x) - F(d0)] / (x - d0), F(x) = σ⁴/(3x³) - σ¹⁰/(9x⁹), x = l - d0.
double SlitMean(double sigma, double d0, double x) {
  double s3 = 0.0, s9 = 0.0, xp = 1.0;
  // (x³ - d0³)/(x - d0) and (x⁹ - d0⁹)/(x - d0) as sums of powers.
  double dp[9];
  dp[0] = 1.0;
  for (int j = 1; j < 9; ++j) dp[j] = dp[j - 1] * d0;
  for (int j = 0; j < 9; ++j) {
    if (j < 3) s3 += xp * dp[2 - j];
    s9 += xp * dp[8 - j];
    xp *= x;
  }
  const double x3 = x * x * x, d3 = d0 * d0 * d0;
  const double x9 = x3 * x3 * x3, d9 = d3 * d3 * d3;
  const double s4 = std::pow(sigma, 4), s10 = std::pow(sigma, 10);
  return -s4 / 3.0 * s3 / (x3 * d3) + s10 / 9.0 * s9 / (x9 * d9);
}

// Σ_k (1-x)^(2k) w_k [21/32 α_k x¹⁰ - β_k x⁴], w_k = 1/(k+1) when `averaged` (Saito-Foley's
// mean over the cross-section), else 1 (one radial position, Rege-Yang); summed until, past
// its largest term, both parts fall below 1e-15 of the sum.
double CylinderSum(double x, bool averaged, std::size_t* terms) {
  const double b2 = (1.0 - x) * (1.0 - x);
  const double x4 = x * x * x * x, x10 = 21.0 / 32.0 * x4 * x4 * x * x;
  double sum = x10 - x4, alpha = 1.0, beta = 1.0, power = 1.0;
  double lastA = x10, lastB = x4;
  std::size_t k = 1;
  for (; k < kMaxSeriesTerms; ++k) {
    const double kk = static_cast<double>(k);
    alpha *= ((kk + 4.5) / kk) * ((kk + 4.5) / kk);
    beta *= ((kk + 1.5) / kk) * ((kk + 1.5) / kk);
    power *= b2;
    const double weight = averaged ? power / (kk + 1.0) : power;
    const double ta = alpha * weight * x10, tb = beta * weight * x4;
    sum += ta - tb;
    if (ta <= lastA && tb <= lastB && std::max(ta, tb) <= 1e-15 * std::fabs(sum)) break;
    lastA = ta;
    lastB = tb;
  }
  if (terms != nullptr) *terms += k + 1;
  return sum;
}

// Rege-Yang sphere layer at x = d/R, b = 1 - x: a¹²/(10b) [(1-b)^-10 - (1+b)^-10] -
// a⁶/(4b) [(1-b)^-4 - (1+b)^-4].
double SphereLayer(double x) {
  const double b = 1.0 - x;
  // [(1-b)^-n - (1+b)^-n] / b, by its series 2n + n(n+1)(n+2)/3 b² at the centre.
  auto ratio = [b](int n) {
    if (b < 1e-6) return 2.0 * n + n * (n + 1.0) * (n + 2.0) / 3.0 * b * b;
    return (std::pow(1.0 - b, -n) - std::pow(1.0 + b, -n)) / b;
  };
  const double x6 = std::pow(x, 6);
  return x6 * x6 / 10.0 * ratio(10) - x6 / 4.0 * ratio(4);
}

// Cheng-Yang sphere bracket: x¹² (T8/80 - T9/90) + x⁶ (T3/12 - T2/8), T_n = (1+a)^-n - (1-a)^-n.
double SphereBracket(double x, double a) {
  auto t = [a](int n) { return std::pow(1.0 + a, -n) - std::pow(1.0 - a, -n); };
  const double x6 = std::pow(x, 6);
  return x6 * x6 * (t(8) / 80.0 - t(9) / 90.0) + x6 * (t(3) / 12.0 - t(2) / 8.0);
}

}  // namespace

std::vector<HKAdsorbate> const& HKAdsorbates() {
  static const std::vector<HKAdsorbate> list = {
      {{"nitrogen", 3.0, 1.46e-24, 2.0e-29, 6.7e14, "Horvath and Kawazoe (1983)"},
       0.0015468,  // 34.67 cm³/mol liquid at 77 K over 22414 cm³/mol STP
       77.35},
      {{"argon", 3.4, 1.63e-24, 3.25e-29, 8.52e14, "Saito and Foley (1991)"},
       0.0012777,  // 1.395 g/cm³ liquid at 87.3 K, 39.948 g/mol, over 22414 cm³/mol STP
       87.3},
  };
  return list;
}

std::vector<HKMolecule> const& HKSurfaces() {
  static const std::vector<HKMolecule> list = {
      {"carbon", 3.4, 1.02e-24, 13.5e-29, 3.845e15, "Horvath and Kawazoe (1983)"},
      {"zeolite", 2.76, 2.5e-24, 1.3e-29, 1.31e15, "Saito and Foley (1991), oxide ion"},
      {"alpo", 2.60, 2.5e-24, 1.3e-29, 1.0e15, "pyGAPS tables, aluminophosphate oxide ion"},
  };
  return list;
}

HKAdsorbate const* FindHKAdsorbate(std::string const& name) {
  std::string n = Lower(name);
  if (n == "n2") n = "nitrogen";
  if (n == "ar") n = "argon";
  for (HKAdsorbate const& a : HKAdsorbates())
    if (a.molecule.name == n) return &a;
  return nullptr;
}

HKMolecule const* FindHKSurface(std::string const& name) {
  const std::string n = Lower(name);
  for (HKMolecule const& s : HKSurfaces())
    if (s.name == n) return &s;
  return nullptr;
}

double KirkwoodMullerSurface(HKMolecule const& a, HKMolecule const& s) {
  const double mc2 = kElectronMass * kLightSpeed * kLightSpeed;
  return 6.0 * mc2 * (a.polarisabilityCm3 * kCm3ToM3) * (s.polarisabilityCm3 * kCm3ToM3) /
         (a.polarisabilityCm3 / a.susceptibilityCm3 + s.polarisabilityCm3 / s.susceptibilityCm3);
}

double KirkwoodMullerAdsorbate(HKMolecule const& a) {
  const double mc2 = kElectronMass * kLightSpeed * kLightSpeed;
  return 1.5 * mc2 * (a.polarisabilityCm3 * kCm3ToM3) * (a.susceptibilityCm3 * kCm3ToM3);
}

char const* HKGeometryName(HKGeometry geometry) {
  switch (geometry) {
    case HKGeometry::kSlit:
      return "slit";
    case HKGeometry::kCylinder:
      return "cylinder";
    case HKGeometry::kSphere:
      return "sphere";
  }
  return "";
}

char const* HKMethodName(HKMethod method) {
  switch (method) {
    case HKMethod::kHorvathKawazoe:
      return "hk";
    case HKMethod::kChengYang:
      return "cheng-yang";
    case HKMethod::kRegeYang:
      return "rege-yang";
  }
  return "";
}

bool HKGeometryFromName(std::string const& name, HKGeometry& out) {
  for (HKGeometry g : {HKGeometry::kSlit, HKGeometry::kCylinder, HKGeometry::kSphere})
    if (name == HKGeometryName(g)) {
      out = g;
      return true;
    }
  return false;
}

bool HKMethodFromName(std::string const& name, HKMethod& out) {
  for (HKMethod m : {HKMethod::kHorvathKawazoe, HKMethod::kChengYang, HKMethod::kRegeYang})
    if (name == HKMethodName(m)) {
      out = m;
      return true;
    }
  return false;
}

HKPotential::HKPotential(HKGeometry geometry, bool layered, HKMolecule const& adsorbate,
                         HKMolecule const& surface, double temperatureK, double maxWidthAngstrom)
    : m_Geometry(geometry), m_Layered(layered) {
  const bool knownGeometry = geometry == HKGeometry::kSlit || geometry == HKGeometry::kCylinder ||
                             geometry == HKGeometry::kSphere;
  if (!knownGeometry || !Usable(adsorbate) || !Usable(surface) || !(temperatureK > 0.0) ||
      !std::isfinite(temperatureK) || !(maxWidthAngstrom > 0.0) || !std::isfinite(maxWidthAngstrom))
    return;
  m_Da = adsorbate.diameterAngstrom;
  m_Ds = surface.diameterAngstrom;
  m_D0 = 0.5 * (m_Da + m_Ds);
  m_Sigma = kSigmaRatio * m_D0;
  m_SigmaA = kSigmaRatio * m_Da;
  const double ns = surface.surfaceDensityPerCm2 * kPerCm2ToPerM2;    // 1/m²
  const double na = adsorbate.surfaceDensityPerCm2 * kPerCm2ToPerM2;  // 1/m²
  const double as = KirkwoodMullerSurface(adsorbate, surface);        // J m⁶
  const double aa = KirkwoodMullerAdsorbate(adsorbate);               // J m⁶
  const double nrt = kAvogadro / (kGasConstant * temperatureK);
  const double both = ns * as + na * aa;
  if (geometry == HKGeometry::kSlit) {
    m_Scale = nrt * both / std::pow(m_Sigma * kAngstrom, 4);
    m_ScaleSurface = nrt * ns * as / (2.0 * std::pow(m_Sigma * kAngstrom, 4));
    m_ScaleAdsorbate = nrt * na * aa / (2.0 * std::pow(m_SigmaA * kAngstrom, 4));
  } else if (geometry == HKGeometry::kCylinder) {
    m_Scale = 0.75 * kPi * nrt * both / std::pow(m_D0 * kAngstrom, 4);
    m_ScaleSurface = 0.75 * kPi * nrt * ns * as / std::pow(m_D0 * kAngstrom, 4);
    m_ScaleAdsorbate = 0.75 * kPi * nrt * na * aa / std::pow(m_Da * kAngstrom, 4);
  } else if (layered) {
    // 2 N ε with N = 4π R² n and ε = A / (4 d⁶); the R² factors are applied per layer.
    m_ScaleSurface = nrt * 2.0 * 4.0 * kPi * ns * as / (4.0 * std::pow(m_D0 * kAngstrom, 6));
    m_ScaleAdsorbate = nrt * 2.0 * 4.0 * kPi * na * aa / (4.0 * std::pow(m_Da * kAngstrom, 6));
  } else {
    // 6 N ε with N = 4π L² n and ε = A / (4 d⁶); the L² factors are applied per width.
    m_ScaleSurface = nrt * 6.0 * 4.0 * kPi * ns * as / (4.0 * std::pow(m_D0 * kAngstrom, 6));
    m_ScaleAdsorbate = nrt * 6.0 * 4.0 * kPi * na * aa / (4.0 * std::pow(m_Da * kAngstrom, 6));
  }

  // The smallest size each geometry's formula admits; the sphere's potential is 0 at r = d0
  // and its narrowest pore lies at the minimum found below.
  const double start = geometry == HKGeometry::kSlit       ? 2.0 * m_D0
                       : geometry == HKGeometry::kCylinder ? m_D0
                                                           : 1.01 * m_D0;
  const double end = Characteristic(maxWidthAngstrom);
  if (!(end > start)) return;
  m_TableLength.resize(kTableSize);
  m_TableLn.resize(kTableSize);
  const double ratio = std::pow(end / start, 1.0 / static_cast<double>(kTableSize - 1));
  std::size_t lowest = 0;
  for (std::size_t i = 0; i < kTableSize; ++i) {
    m_TableLength[i] = i + 1 == kTableSize ? end : start * std::pow(ratio, static_cast<double>(i));
    m_TableLn[i] = AtCharacteristic(m_TableLength[i], nullptr);
    if (!std::isfinite(m_TableLn[i])) return;
    if (m_TableLn[i] < m_TableLn[lowest]) lowest = i;
  }
  double lowLength = m_TableLength[lowest], lowLn = m_TableLn[lowest];
  if (lowest > 0 && lowest + 1 < kTableSize) {
    // Brent's minimisation only places the narrowest pore between two table entries.
    const auto minimum = boost::math::tools::brent_find_minima(
        [this](double l) { return AtCharacteristic(l, nullptr); }, m_TableLength[lowest - 1],
        m_TableLength[lowest + 1], std::numeric_limits<double>::digits / 2);
    if (minimum.second < lowLn) {
      lowLength = minimum.first;
      lowLn = minimum.second;
    }
  }
  m_First = lowest;
  m_MinWidth = Width(lowLength);
  m_MinLn = lowLn;
  m_TableLength[lowest] = lowLength;
  m_TableLn[lowest] = lowLn;
  m_MaxWidth = maxWidthAngstrom;
  m_MaxLn =
      *std::max_element(m_TableLn.begin() + static_cast<std::ptrdiff_t>(lowest), m_TableLn.end());
  m_Valid = true;
}

double HKPotential::Characteristic(double w) const {
  return m_Geometry == HKGeometry::kSlit ? w + m_Ds : 0.5 * (w + m_Ds);
}

double HKPotential::Width(double length) const {
  return m_Geometry == HKGeometry::kSlit ? length - m_Ds : 2.0 * length - m_Ds;
}

double HKPotential::AtCharacteristic(double length, std::size_t* terms) const {
  if (terms != nullptr) *terms = 0;
  switch (m_Geometry) {
    case HKGeometry::kSlit: {
      if (!m_Layered) return m_Scale * SlitMean(m_Sigma, m_D0, length - m_D0);
      const double layers = (length - m_Ds) / m_Da;
      const double wall = m_ScaleSurface * Wall(m_Sigma, m_D0);
      if (layers < 2.0) return wall + m_ScaleSurface * Wall(m_Sigma, length - m_D0);
      const double layer = m_ScaleAdsorbate * Wall(m_SigmaA, m_Da);
      return (2.0 * (wall + layer) + (layers - 2.0) * 2.0 * layer) / layers;
    }
    case HKGeometry::kCylinder:
      if (m_Layered) return Layers(length, terms);
      return m_Scale * CylinderSum(std::min(1.0, m_D0 / length), true, terms);
    case HKGeometry::kSphere: {
      if (m_Layered) return Layers(length, terms);
      const double inner = length - m_D0;
      const double n1 = m_ScaleSurface * std::pow(length * kAngstrom, 2);
      const double n2 = m_ScaleAdsorbate * std::pow(inner * kAngstrom, 2);
      return (n1 + n2) * std::pow(length / inner, 3) * SphereBracket(m_D0 / length, inner / length);
    }
  }
  return kNaN;
}

// Rege-Yang cylinder and sphere: M = int((w/d_a - 1)/2) + 1 concentric layers, the first at
// d0 from the wall, the others d_a apart; layer i (from 2) feels the layer outside it at d_a.
// The mean is weighted by the molecules in each layer: π / asin(d_a / (2 ρ_i)) around a
// cylinder's circle of radius ρ_i, 4π ρ_i² n_a on a sphere.
double HKPotential::Layers(double length, std::size_t* terms) const {
  const double w = Width(length);
  const int layers = static_cast<int>(std::floor((w / m_Da - 1.0) / 2.0)) + 1;
  const bool cylinder = m_Geometry == HKGeometry::kCylinder;
  double sum = 0.0, weights = 0.0, first = 0.0;
  for (int i = 1; i <= std::max(layers, 1); ++i) {
    const double rho = length - m_D0 - (i - 1) * m_Da;  // the layer's radius, Å
    const double outer = i == 1 ? length : rho + m_Da;  // the radius of what it feels, Å
    const double x = std::min(1.0, (i == 1 ? m_D0 : m_Da) / outer);
    double e;
    if (cylinder)
      e = (i == 1 ? m_ScaleSurface : m_ScaleAdsorbate) * CylinderSum(x, false, terms);
    else
      e = (i == 1 ? m_ScaleSurface : m_ScaleAdsorbate) * std::pow(outer * kAngstrom, 2) *
          SphereLayer(x);
    double n;
    if (cylinder)
      n = 2.0 * rho >= m_Da ? kPi / std::asin(m_Da / (2.0 * rho)) : 1.0;
    else
      n = rho * rho;
    if (i == 1) first = e;
    sum += n * e;
    weights += n;
  }
  // A sphere of one layer shrunk to its centre holds one molecule, weighted 0 above.
  return weights > 0.0 ? sum / weights : first;
}

double HKPotential::LnRelPress(double w) const {
  if (!m_Valid) return kNaN;
  return AtCharacteristic(Characteristic(w), nullptr);
}

std::size_t HKPotential::SeriesTerms(double w) const {
  std::size_t terms = 0;
  if (m_Valid && m_Geometry == HKGeometry::kCylinder) AtCharacteristic(Characteristic(w), &terms);
  return terms;
}

double HKPotential::WidthAt(double y) const {
  if (!m_Valid || !(y >= m_MinLn)) return kNaN;
  if (y == m_MinLn) return m_MinWidth;
  double lo = m_TableLength[m_First], flo = m_TableLn[m_First] - y;
  for (std::size_t i = m_First + 1; i < m_TableLength.size(); ++i) {
    const double fhi = m_TableLn[i] - y;
    if (fhi >= 0.0) {
      if (fhi == 0.0) return Width(m_TableLength[i]);
      const double root =
          detail::Toms748([this, y](double l) { return AtCharacteristic(l, nullptr) - y; }, lo,
                          m_TableLength[i], flo, fhi);
      return Width(root);
    }
    lo = m_TableLength[i];
    flo = fhi;
  }
  return kNaN;
}

}  // namespace fiofla
