// The metal table, the probe-gas stoichiometries and CActiveSurfaceCalc.
#include <algorithm>
#include <cctype>
#include <cmath>
#include <string>

#include "fiofla/gaschemi.h"
#include "report_numbers.h"

namespace fiofla {
namespace {

constexpr double kAvogadro = 6.02214076e23;  // 1/mol, exact since the 2019 SI

std::string Lower(std::string_view text) {
  std::string s;
  for (char c : text)
    if (!std::isspace(static_cast<unsigned char>(c)))
      s.push_back(static_cast<char>(std::tolower(static_cast<unsigned char>(c))));
  return s;
}

bool PositiveFinite(double x) {
  return x > 0.0 && std::isfinite(x);
}

}  // namespace

std::vector<SMetalProperties> const& MetalTable() {
  // Molar masses: CIAAW standard atomic weights (abridged values, Prohaska et al. 2022).
  // Densities: bulk metal at 20 °C, CRC Handbook of Chemistry and Physics (97th ed., 2016),
  // given to the figures commonly used in chemisorption work; Pt 21.45 is its X-ray density.
  // Surface atom densities: mean over the (100), (110) and (111) planes, 1e19 atoms/m²,
  // Bergeret and Gallezot, Handbook of Heterogeneous Catalysis (2nd ed., 2008), ch. 3.1.2.
  static const std::vector<SMetalProperties> table = {
      {"Pt", "platinum", 195.084, 21.45, 1.25e19}, {"Pd", "palladium", 106.42, 12.02, 1.27e19},
      {"Ni", "nickel", 58.693, 8.90, 1.54e19},     {"Rh", "rhodium", 102.91, 12.41, 1.33e19},
      {"Ru", "ruthenium", 101.07, 12.37, 1.63e19}, {"Ir", "iridium", 192.22, 22.56, 1.30e19},
      {"Cu", "copper", 63.546, 8.96, 1.47e19},     {"Ag", "silver", 107.87, 10.49, 1.15e19},
      {"Au", "gold", 196.97, 19.30, 1.15e19},      {"Co", "cobalt", 58.933, 8.90, 1.51e19},
      {"Fe", "iron", 55.845, 7.874, 1.63e19},
  };
  return table;
}

std::optional<SMetalProperties> FindMetal(std::string_view symbolOrName) {
  const std::string key = Lower(symbolOrName);
  for (SMetalProperties const& m : MetalTable())
    if (Lower(m.symbol) == key || m.name == key) return m;
  return std::nullopt;
}

std::optional<double> ChemisorptionStoichiometry(std::string_view gas) {
  const std::string key = Lower(gas);
  if (key == "h2" || key == "hydrogen" || key == "d2" || key == "deuterium") return 2.0;
  if (key == "co" || key == "carbonmonoxide") return 1.0;
  if (key == "o2" || key == "oxygen") return 2.0;
  if (key == "n2o" || key == "nitrousoxide") return 2.0;
  return std::nullopt;
}

}  // namespace fiofla

CActiveSurfaceCalc::SInput CActiveSurfaceCalc::InputFor(fiofla::SMetalProperties const& metal) {
  SInput in;
  in.m_MolarMassGPerMol = metal.molarMassGPerMol;
  in.m_DensityGPerCm3 = metal.densityGPerCm3;
  in.m_AtomAreaNm2 = metal.AtomAreaNm2();
  return in;
}

CActiveSurfaceCalc::CActiveSurfaceCalc(SInput const& in) {
  using fiofla::PositiveFinite;
  const auto num = [](double x) { return fiofla::detail::FormatNumber(x, "%.6g"); };
  if (!PositiveFinite(in.m_Uptake)) {
    m_Status = eBadUptake;
    m_Message = "uptake " + num(in.m_Uptake) + " is not a positive number";
    return;
  }
  if (!(in.m_MetalLoadingPercent > 0.0 && in.m_MetalLoadingPercent <= 100.0)) {
    m_Status = eBadLoading;
    m_Message = "metal loading " + num(in.m_MetalLoadingPercent) +
                " wt% is not above 0 and at most 100 wt%";
    return;
  }
  if (!PositiveFinite(in.m_Stoichiometry)) {
    m_Status = eBadStoichiometry;
    m_Message = "stoichiometry " + num(in.m_Stoichiometry) +
                " (metal atoms per gas molecule) is not a positive number";
    return;
  }
  const char* bad = !PositiveFinite(in.m_MolarMassGPerMol) ? "molar mass"
                    : !PositiveFinite(in.m_DensityGPerCm3) ? "density"
                    : !PositiveFinite(in.m_AtomAreaNm2)    ? "atomic cross-sectional area"
                                                           : nullptr;
  if (bad != nullptr) {
    const double v = !PositiveFinite(in.m_MolarMassGPerMol) ? in.m_MolarMassGPerMol
                     : !PositiveFinite(in.m_DensityGPerCm3) ? in.m_DensityGPerCm3
                                                            : in.m_AtomAreaNm2;
    m_Status = eBadMetal;
    m_Message = std::string("metal ") + bad + " " + num(v) + " is not a positive number";
    return;
  }
  if (!PositiveFinite(in.m_ShapeFactor)) {
    m_Status = eBadShapeFactor;
    m_Message = "shape factor " + num(in.m_ShapeFactor) + " is not a positive number";
    return;
  }

  m_UptakeUmol =
      in.m_UptakeUnit == eCm3StpPerGram ? in.m_Uptake * fiofla::kMicromolPerCm3Stp : in.m_Uptake;
  m_SurfaceUmol = m_UptakeUmol * in.m_Stoichiometry;
  const double surfaceMol = m_SurfaceUmol * 1e-6;                                    // mol/g
  const double metalMol = in.m_MetalLoadingPercent / 100.0 / in.m_MolarMassGPerMol;  // mol/g
  const double dispersion = surfaceMol / metalMol;                                   // fraction
  m_Dispersion = 100.0 * dispersion;
  m_AreaSample = surfaceMol * fiofla::kAvogadro * in.m_AtomAreaNm2 * 1e-18;
  m_AreaMetal = m_AreaSample / (in.m_MetalLoadingPercent / 100.0);
  // d = f V_m / (N_A σ D): the volume of the metal over its exposed area, 1 cm³ = 1e21 nm³.
  const double molarVolumeNm3 = in.m_MolarMassGPerMol / in.m_DensityGPerCm3 * 1e21;
  m_Size = in.m_ShapeFactor * molarVolumeNm3 / (fiofla::kAvogadro * in.m_AtomAreaNm2 * dispersion);
}
