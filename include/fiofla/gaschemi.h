// Static volumetric chemisorption: the monolayer uptake of a supported metal from its
// isotherms, and the metal dispersion, active area and crystallite size that follow from it.
//
// Method: CSinfeltCalc takes the isotherms a static chemisorption analysis measures, the
// combined isotherm (first pass: strongly and weakly held gas) and the weak isotherm
// (repeated after evacuating at the analysis temperature: weakly held gas only), and forms
// the strong (irreversible) isotherm as their difference point by point. The monolayer
// uptake of each is the intercept at zero pressure of a straight line fitted to its plateau
// over a pressure range where the metal is saturated and only physisorption on the support
// still rises (the dual-isotherm method as Webb and Orr 1997 and Bergeret and Gallezot 2008
// describe it).
// Langmuir (molecular and dissociative), Freundlich and Temkin fits of the combined and
// strong isotherms are the alternative readings users compare against it.
// CActiveSurfaceCalc turns an uptake into surface metal atoms through the stoichiometry
// factor (metal atoms per gas molecule), and then into dispersion D = surface / total metal
// atoms, area = surface atoms × atomic cross-section, and the mean crystallite size
// d = f M / (ρ N_A σ D) for shape factor f (6 for spheres, 5 for hemispheres or cubes with
// one face on the support; Bergeret and Gallezot 2008). For platinum (σ = 0.0800 nm²,
// ρ = 21.45 g/cm³) that is d = 1.133 nm / D with f = 6.
// Cost: the line fits are O(n); each model fit is one Levenberg-Marquardt run from its
// linearised start, about 6 µs on 16 points (BENCHMARKS.md). The active-surface arithmetic is
// O(1).
// Guarantees: nothing throws for bad data; a status and a message in words say what was
// wrong, and results that could not be computed are 0 (lines) or marked not valid (fits).
//
// Units: pressures mmHg, quantities cm³/g STP (the library's units; 1 cm³ STP = 1/22.414
// mmol = 44.615 µmol), areas m²/g, sizes nm, dispersion and loading in percent.
//
// Choices made here:
// - the weak isotherm is interpolated onto the combined pressures linearly between its
//   points, and between the origin and its first point: evacuation removes the weakly held
//   gas, so the weak uptake is 0 at zero pressure. Combined points above the highest weak
//   pressure get no strong point (the weak isotherm is not extrapolated);
// - the weak isotherm is "above the combined" when at some combined pressure it exceeds the
//   combined quantity by more than SInput::m_WeakTolerance times the largest combined
//   quantity (default 1 %, room for measurement noise); the status then says where;
// - the extrapolation range is inclusive at both ends; every line needs two points in it.
//   With exactly two the line is exact and its standard errors are NaN;
// - the strong uptake is the intercept of the line through the strong points, which equals
//   the combined minus the weak intercept when both isotherms share their pressures;
// - the model fits use every point with a positive pressure (and, for Freundlich, a
//   positive quantity), not only the range: they describe the whole isotherm. A fit whose
//   capacity or affinity runs to 0 or infinity (an isotherm that falls) is not valid.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace fiofla {

/// Micromoles per cm³ STP of gas (1e6 / 22414 cm³ STP per mol).
constexpr double kMicromolPerCm3Stp = 1e6 / 22414.0;

/// The isotherm models of chemisorption.
enum class EChemiModel {
  kLangmuir,              ///< q = q_m K P / (1 + K P), molecular adsorption on one site
  kLangmuirDissociative,  ///< q = q_m √(K P) / (1 + √(K P)), a molecule split over two sites
  kFreundlich,            ///< q = k P^(1/n)
  kTemkin,                ///< q = B ln(A P), heat falling linearly with coverage
};

/// Canonical spelling of a model ("langmuir", "langmuir_dissociative", "freundlich",
/// "temkin").
const char* ChemiModelName(EChemiModel model);
/// Every chemisorption model in enumeration order.
std::vector<EChemiModel> ChemiModels();
/// Loading of a model at pressureMmHg with parameters as SChemiModelFit gives them,
/// cm³/g STP; NaN for a negative pressure or a wrong parameter count.
double ChemiModelLoading(EChemiModel model, std::vector<double> const& parameters,
                         double pressureMmHg);

/// Properties of an active metal, each from a published source (data/metals/README.md).
struct SMetalProperties {
  std::string symbol;             ///< element symbol ("Pt")
  std::string name;               ///< element name ("platinum")
  double molarMassGPerMol = 0.0;  ///< standard atomic weight, g/mol
  double densityGPerCm3 = 0.0;    ///< bulk density near 20 °C, g/cm³
  /// Surface metal atoms per m², mean over the low-index planes.
  double surfaceAtomsPerM2 = 0.0;
  /// Cross-sectional area of one surface atom, nm² (1e18 / surfaceAtomsPerM2).
  double AtomAreaNm2() const { return surfaceAtomsPerM2 > 0.0 ? 1e18 / surfaceAtomsPerM2 : 0.0; }
};

/// The metals the library knows: Pt, Pd, Ni, Rh, Ru, Ir, Cu, Ag, Au, Co, Fe.
std::vector<SMetalProperties> const& MetalTable();
/// A metal by symbol or English name, any case ("pt", "Platinum"); empty when unknown.
std::optional<SMetalProperties> FindMetal(std::string_view symbolOrName);
/// Metal atoms per molecule for the usual probe gases: H2 and D2 2 (dissociative), CO 1
/// (linear), O2 2 (dissociative), N2O 2 (one surface oxide per two atoms, as on copper).
/// Names or formulas, any case; empty when unknown.
std::optional<double> ChemisorptionStoichiometry(std::string_view gas);

}  // namespace fiofla

/// Monolayer chemisorption uptakes from the combined, weak and strong isotherms, by
/// extrapolating the plateau to zero pressure, with isotherm-model fits; all work in the
/// constructor.
class CSinfeltCalc {
 public:
  /// What a result may be used for; the first problem found wins.
  enum EStatus : int {
    eOK = 0,                  ///< every line that was asked for was fitted
    eTooFewCombined = 1,      ///< fewer than two combined points with finite P >= 0 and q
    eBadRange = 2,            ///< range not 0 <= low < high, finite
    eCombinedNotInRange = 3,  ///< fewer than two combined points in the range
    eWeakNotInRange = 4,      ///< a weak isotherm with fewer than two points in the range
    eWeakAboveCombined = 5,   ///< the weak exceeds the combined isotherm (see above)
    eStrongNotInRange = 6,    ///< fewer than two strong points in the range
  };

  /// The three isotherms of the analysis.
  enum EIsotherm : int { eCombined = 0, eWeak = 1, eStrong = 2 };

  /// What the calculation is given.
  struct SInput {
    /// Pressures of the combined (first) isotherm, mmHg.
    std::vector<double> m_CombinedPressures;
    /// Quantities of the combined isotherm, cm³/g STP, one per pressure.
    std::vector<double> m_CombinedQuantities;
    /// Pressures of the weak (repeat) isotherm, mmHg; empty when none was measured.
    std::vector<double> m_WeakPressures;
    /// Quantities of the weak isotherm, cm³/g STP, one per pressure.
    std::vector<double> m_WeakQuantities;
    /// Low end of the extrapolation range, mmHg, inclusive.
    double m_RangeLow = 100.0;
    /// High end of the extrapolation range, mmHg, inclusive.
    double m_RangeHigh = 400.0;
    /// Allowed excess of weak over combined, as a fraction of the largest combined quantity.
    double m_WeakTolerance = 0.01;
    /// Fit the chemisorption models to the combined and strong isotherms.
    bool m_FitModels = true;
  };

  /// One straight line fitted to an isotherm's plateau: q = intercept + slope P.
  struct SLine {
    bool m_Valid = false;           ///< true when the line was fitted
    int m_Points = 0;               ///< points in the range
    double m_Slope = 0.0;           ///< cm³/g STP per mmHg
    double m_SlopeError = 0.0;      ///< standard error of the slope, cm³/g STP per mmHg
    double m_Intercept = 0.0;       ///< the uptake, cm³/g STP
    double m_InterceptError = 0.0;  ///< standard error of the uptake, cm³/g STP
    double m_RSquared = 0.0;        ///< coefficient of determination r²
  };

  /// One chemisorption model fitted to one isotherm.
  struct SModelFit {
    fiofla::EChemiModel m_Model = fiofla::EChemiModel::kLangmuir;
    EIsotherm m_Isotherm = eCombined;      ///< eCombined or eStrong
    bool m_Valid = false;                  ///< true when the fit converged
    std::string m_Message;                 ///< why not valid; empty when valid
    std::vector<std::string> m_Names;      ///< "q_m", "K", "k", "n", "B", "A"
    std::vector<std::string> m_Units;      ///< "cm3/g STP", "1/mmHg", …
    std::vector<double> m_Parameters;      ///< in m_Units
    std::vector<double> m_StandardErrors;  ///< same order; NaN where not estimable
    int m_Points = 0;                      ///< points fitted
    double m_RSquared = 0.0;               ///< 1 - RSS/TSS of the quantities
    double m_RmsError = 0.0;               ///< RMS residual, cm³/g STP
  };

  /// Runs the whole calculation on input.
  explicit CSinfeltCalc(SInput const& input);

  /// The status (see EStatus).
  EStatus GetStatus() const { return m_Status; }
  /// True when the status is eOK.
  bool IsOK() const { return m_Status == eOK; }
  /// The status in words, naming the values at fault; empty when OK.
  std::string const& GetMessage() const { return m_Message; }
  /// True when a weak isotherm was given.
  bool HasWeak() const { return !m_WeakP.empty(); }

  /// The line of one isotherm (not valid when it could not be fitted or has no data).
  SLine const& GetLine(EIsotherm which) const { return m_Lines[which]; }
  /// Extrapolated uptake of one isotherm, cm³/g STP; 0 when its line is not valid.
  double GetUptake(EIsotherm which) const {
    return m_Lines[which].m_Valid ? m_Lines[which].m_Intercept : 0.0;
  }
  /// Combined minus weak uptake, cm³/g STP; 0 unless both lines are valid.
  double GetUptakeDifference() const;

  /// Pressures of an isotherm's usable points, mmHg, in the given order (strong: those
  /// combined pressures where the weak could be interpolated).
  std::vector<double> const& GetPressures(EIsotherm which) const;
  /// Quantities of an isotherm's usable points, cm³/g STP, one per pressure.
  std::vector<double> const& GetQuantities(EIsotherm which) const;
  /// Low end of the range, mmHg.
  double GetRangeLow() const { return m_RangeLow; }
  /// High end of the range, mmHg.
  double GetRangeHigh() const { return m_RangeHigh; }

  /// The model fits, combined first, then strong, each in ChemiModels() order.
  std::vector<SModelFit> const& GetModelFits() const { return m_Fits; }

 private:
  void Fail(EStatus status, std::string message);

  EStatus m_Status = eOK;
  std::string m_Message;
  double m_RangeLow;
  double m_RangeHigh;
  std::vector<double> m_CombinedP, m_CombinedQ, m_WeakP, m_WeakQ, m_StrongP, m_StrongQ;
  SLine m_Lines[3];
  std::vector<SModelFit> m_Fits;
};

/// Metal dispersion, active metal area and crystallite size from a chemisorption uptake; all
/// work in the constructor.
class CActiveSurfaceCalc {
 public:
  /// What a result may be used for; the first problem found wins.
  enum EStatus : int {
    eOK = 0,
    eBadUptake = 1,         ///< uptake not positive and finite
    eBadLoading = 2,        ///< metal loading not above 0 and at most 100 wt%
    eBadStoichiometry = 3,  ///< stoichiometry factor not positive and finite
    eBadMetal = 4,          ///< molar mass, density or atomic area not positive and finite
    eBadShapeFactor = 5,    ///< shape factor not positive and finite
  };

  /// Unit of the uptake.
  enum EUptakeUnit : int { eMicromolPerGram = 0, eCm3StpPerGram = 1 };

  /// What the calculation is given; the metal's values default to none and are usually
  /// copied from fiofla::FindMetal, each of them open to the caller's own value.
  struct SInput {
    /// Gas chemisorbed per gram of sample, in m_UptakeUnit.
    double m_Uptake = 0.0;
    /// Unit of m_Uptake.
    EUptakeUnit m_UptakeUnit = eMicromolPerGram;
    /// Metal content of the sample, wt% (0 < loading <= 100).
    double m_MetalLoadingPercent = 0.0;
    /// Surface metal atoms per chemisorbed gas molecule (H2 2, CO 1, O2 2).
    double m_Stoichiometry = 2.0;
    /// Molar mass of the metal, g/mol.
    double m_MolarMassGPerMol = 0.0;
    /// Density of the metal, g/cm³.
    double m_DensityGPerCm3 = 0.0;
    /// Cross-sectional area of one surface metal atom, nm².
    double m_AtomAreaNm2 = 0.0;
    /// Crystallite shape factor: 6 sphere, 5 hemisphere or cube on the support.
    double m_ShapeFactor = 6.0;
  };

  /// An input with the metal's values from the table.
  static SInput InputFor(fiofla::SMetalProperties const& metal);

  /// Runs the whole calculation on input.
  explicit CActiveSurfaceCalc(SInput const& input);

  /// The status (see EStatus).
  EStatus GetStatus() const { return m_Status; }
  /// True when the status is eOK.
  bool IsOK() const { return m_Status == eOK; }
  /// The status in words, naming the value at fault; empty when OK.
  std::string const& GetMessage() const { return m_Message; }

  /// Gas chemisorbed, µmol per g of sample.
  double GetUptakeMicromolPerG() const { return m_UptakeUmol; }
  /// Surface metal atoms, µmol per g of sample.
  double GetSurfaceAtomsMicromolPerG() const { return m_SurfaceUmol; }
  /// Metal dispersion (surface over total metal atoms), percent; may exceed 100 when the
  /// stoichiometry or uptake is wrong (spillover, a support that adsorbs too).
  double GetDispersionPercent() const { return m_Dispersion; }
  /// Active metal area per g of sample, m²/g.
  double GetAreaM2PerGSample() const { return m_AreaSample; }
  /// Active metal area per g of metal, m²/g.
  double GetAreaM2PerGMetal() const { return m_AreaMetal; }
  /// Mean crystallite size for the shape factor, nm.
  double GetCrystalliteSizeNm() const { return m_Size; }

 private:
  EStatus m_Status = eOK;
  std::string m_Message;
  double m_UptakeUmol = 0.0;
  double m_SurfaceUmol = 0.0;
  double m_Dispersion = 0.0;
  double m_AreaSample = 0.0;
  double m_AreaMetal = 0.0;
  double m_Size = 0.0;
};
