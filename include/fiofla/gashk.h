// Horvath-Kawazoe micropore size distribution.
//
// Method: each point of the adsorption branch is taken as the filling pressure of one pore
// width. The width w follows from RT ln(P/Po) = N_A Φ(w), Φ the mean Lennard-Jones potential of
// an adsorbate molecule in the pore, summed over the wall atoms (surface) and the adsorbed
// molecules (adsorbate), with Kirkwood-Müller dispersion constants
//   A_s = 6 m c² α_a α_s / (α_a/χ_a + α_s/χ_s),   A_a = 3/2 m c² α_a χ_a
// (m the electron mass, c the speed of light, α polarisabilities and χ magnetic
// susceptibilities as volumes). With d0 = (d_a + d_s)/2 and σ = (2/5)^(1/6) d0:
// - Slit (Horvath and Kawazoe 1983), l the distance between the nuclei of the two walls:
//   Φ = (n_s A_s + n_a A_a) / (σ⁴ (l - 2d0)) [σ⁴/(3(l-d0)³) - σ¹⁰/(9(l-d0)⁹) - σ⁴/(3d0³)
//   + σ¹⁰/(9d0⁹)]; width w = l - d_s. Written with the factor (l - 2d0) divided out, so the
//   narrowest pore l = 2d0 is no 0/0.
// - Cylinder (Saito and Foley 1991), r the radius to the wall nuclei, x = d0/r:
//   Φ = 3/4 π (n_s A_s + n_a A_a)/d0⁴ Σ_k (1-x)^(2k)/(k+1) [21/32 α_k x¹⁰ - β_k x⁴],
//   α_0 = β_0 = 1, α_k = ((k+4.5)/k)² α_(k-1), β_k = ((k+1.5)/k)² β_(k-1); w = 2r - d_s.
//   Summed until, past the largest term, both parts of a term fall below 1e-15 of the sum.
// - Sphere (Cheng and Yang 1994), a = (r-d0)/r, T_x = (1+a)^-x - (1-a)^-x:
//   Φ = 6 (N1 ε_s + N2 ε_a) (r/(r-d0))³ [x¹² (T_8/80 - T_9/90) + x⁶ (T_3/12 - T_2/8)],
//   N1 = 4π r² n_s, N2 = 4π (r-d0)² n_a, ε_s = A_s/(4 d0⁶), ε_a = A_a/(4 d_a⁶); w = 2r - d_s.
// - Cheng-Yang correction (Cheng and Yang 1994) for a Langmuir-shaped rather than a linear
//   isotherm: ln(P/Po) = N_A Φ/RT - [1 + ln(1-θ)/θ], θ = q/q_m the fractional filling.
// - Rege-Yang (Rege and Yang 2000): molecules sit in layers. Slit, M = w/d_a: below two
//   layers one molecule feels both walls at d0 and l - d0; from two layers on the mean is
//   [2 ε_hgg + (M-2) ε_ggg]/M, ε_hgg a wall at d0 plus a layer of adsorbate at d_a, ε_ggg two
//   adsorbate layers at d_a, each wall or layer a 10-4 potential n A/(2σ⁴)[(σ/z)¹⁰ - (σ/z)⁴].
//   Cylinder and sphere, M = int((w/d_a - 1)/2) + 1 concentric layers of radius
//   ρ_1 = r - d0, ρ_i = ρ_(i-1) - d_a, each feeling only what lies outside it at distance
//   d (d0 from the wall for the first, d_a from the layer before for the others), x = d/R
//   with R = ρ_i + d: cylinder ε_i = 3/4 π n A/d⁴ Σ_k (1-x)^(2k) [21/32 α_k x¹⁰ - β_k x⁴];
//   sphere ε_i = 2 N ε [x¹²/(10b) ((1-b)^-10 - (1+b)^-10) - x⁶/(4b) ((1-b)^-4 - (1+b)^-4)],
//   b = 1 - x, N = 4π R² n, ε = A/(4d⁶). The mean is weighted by the molecules per layer:
//   π / asin(d_a/(2ρ_i)) around a cylinder (1 when the circle is narrower than d_a),
//   4π ρ_i² n_a on a sphere.
// Cost: a fixed table of 256 widths per calculation; per point a bracket from the table and
// TOMS 748 (Alefeld, Potra and Shi 1995) on ln(P/Po) to full double precision, about ten
// evaluations of Φ (the cylinder series adds tens to hundreds of terms to each).
// Guarantees: each width solves its equation to the last bits of ln(P/Po) (but for a pressure
// inside a Rege-Yang jump, below); solved widths grow with pressure; the cumulative volume at
// a width is the liquid volume adsorbed at its point.
//
// Choices made here (documented so callers can rely on them):
// - Parameter sets: nitrogen and the carbon surface are the values of Horvath and Kawazoe
//   (1983): nitrogen d 3.0 Å, α 1.46e-24 cm³, χ 2.0e-29 cm³, 6.7e14 molecules/cm²; carbon
//   3.4 Å, 1.02e-24 cm³, 13.5e-29 cm³, 3.845e15 atoms/cm². Argon and the oxide ion of zeolites
//   are those of Saito and Foley (1991): argon 3.4 Å, 1.63e-24 cm³, 3.25e-29 cm³, 8.52e14 /cm²;
//   oxide ion 2.76 Å, 2.5e-24 cm³, 1.3e-29 cm³, 1.31e15 /cm². The aluminophosphate surface
//   (2.60 Å, 2.5e-24 cm³, 1.3e-29 cm³, 1.0e15 /cm²) is as tabulated by the pyGAPS package.
//   Published tables differ (pyGAPS gives nitrogen α 1.74e-24 cm³ and χ 3.6e-29 cm³, so its
//   widths differ from these); any set can be given instead through SInput.
// - The liquid volume of a loading is q x m_DensityConversion, cm³ liquid per cm³ STP
//   (nitrogen at 77 K: 34.67 cm³/mol liquid / 22414 cm³/mol gas = 0.0015468).
// - The narrowest pore is where Φ is lowest, found on the table and placed by Brent's
//   minimisation: the Horvath-Kawazoe slit at its smallest size (l = 2d0, w = d_a), the
//   cylinder and sphere a little wider (the sphere's Φ is 0 at r = d0; the table starts at
//   1.01 d0). A point below its pressure, or above the pressure of the largest width searched
//   (m_MaxWidth), has no width and is listed in GetDroppedPoints. Where Φ is not monotone
//   the smallest width that solves the equation is taken. The Rege-Yang potentials jump where
//   the number of layers changes (the slit at w = 2 d_a); a pressure inside a jump is given
//   the jump's width.
// - Cheng-Yang: q_m is m_LangmuirCapacity when positive, else the Langmuir capacity of the
//   points in range with q > 0: the line (P/Po)/q = 1/(K q_m) + (P/Po)/q_m multiplied by q,
//   P/Po = q/(K q_m) + q (P/Po)/q_m, fitted by least squares (so points of tiny q, whose
//   (P/Po)/q is noise, do not dominate).
//   A point with θ ≥ 1 or θ < 0 has no width. The correction can make a later point's width
//   come out below an earlier one's; such a point is left out (eWidthNotRising).
// - The distribution carries the solved widths from the largest to the smallest, as the BJH
//   one does, and the volume between each pair of neighbours; the volume at the first solved
//   point lies in pores at or below its width (GetVolumeBelowFirstWidth) and is in the
//   cumulative and the micropore volume, not in any interval.
// - The median width is where the cumulative volume, linear between solved points, reaches
//   half the micropore volume; the first width when that half is already at the first point.
#pragma once

#include <cstddef>
#include <limits>
#include <string>
#include <vector>

#include "fiofla/num/numvector.h"
#include "fiofla/pore_distribution.h"

namespace fiofla {

/// Pore geometry of the Horvath-Kawazoe family; the values are stored by callers.
enum class HKGeometry : int {
  kSlit = 0,      ///< parallel walls (Horvath and Kawazoe 1983)
  kCylinder = 1,  ///< cylindrical pores (Saito and Foley 1991)
  kSphere = 2,    ///< spherical cavities (Cheng and Yang 1994)
};

/// How the potential is related to the pressure.
enum class HKMethod : int {
  kHorvathKawazoe = 0,  ///< the mean potential alone (linear isotherm)
  kChengYang = 1,       ///< plus the Cheng-Yang term of the Langmuir isotherm
  kRegeYang = 2,        ///< layer-by-layer potential (Rege and Yang 2000)
};

/// Physical constants of an adsorbate molecule or a surface atom, for the dispersion constants.
struct HKMolecule {
  /// Name as the tool spells it ("nitrogen", "carbon").
  std::string name;
  /// Diameter, Å.
  double diameterAngstrom = 0.0;
  /// Polarisability (as a volume), cm³.
  double polarisabilityCm3 = 0.0;
  /// Magnetic susceptibility (as a volume), cm³.
  double susceptibilityCm3 = 0.0;
  /// Molecules (adsorbate) or atoms (surface) per cm² of surface, 1/cm².
  double surfaceDensityPerCm2 = 0.0;
  /// Where the values come from, one line.
  std::string source;
};

/// An adsorbate's constants with its liquid density and usual temperature.
struct HKAdsorbate {
  /// Diameter, polarisability, susceptibility and surface density of the molecule.
  HKMolecule molecule;
  /// Liquid volume per gas volume at STP, cm³ liquid / cm³ STP.
  double densityConversion = 0.0;
  /// Analysis temperature the density conversion belongs to, K.
  double temperatureK = 0.0;
};

/// The shipped adsorbates: nitrogen, argon.
std::vector<HKAdsorbate> const& HKAdsorbates();
/// The shipped surfaces: carbon, zeolite (oxide ion), alpo (aluminophosphate oxide ion).
std::vector<HKMolecule> const& HKSurfaces();
/// The adsorbate named `name` (also "N2", "Ar", any case); null when unknown.
HKAdsorbate const* FindHKAdsorbate(std::string const& name);
/// The surface named `name` (any case); null when unknown.
HKMolecule const* FindHKSurface(std::string const& name);

/// Kirkwood-Müller constant of adsorbate-surface dispersion A_s, J m⁶.
double KirkwoodMullerSurface(HKMolecule const& adsorbate, HKMolecule const& surface);
/// Kirkwood-Müller constant of adsorbate-adsorbate dispersion A_a, J m⁶.
double KirkwoodMullerAdsorbate(HKMolecule const& adsorbate);

/// "slit", "cylinder", "sphere".
char const* HKGeometryName(HKGeometry geometry);
/// "hk", "cheng-yang", "rege-yang".
char const* HKMethodName(HKMethod method);
/// The geometry spelt `name`; false when it is none.
bool HKGeometryFromName(std::string const& name, HKGeometry& out);
/// The method spelt `name`; false when it is none.
bool HKMethodFromName(std::string const& name, HKMethod& out);

/// The mean potential of one geometry as ln(P/Po) against the effective pore width, and its
/// inverse. Copyable value; all its work is done in the constructor.
class HKPotential {
 public:
  /// Not valid: widths are NaN.
  HKPotential() = default;
  /// The potential of `geometry` (Rege-Yang layers when `layered`), at `temperatureK`; widths
  /// searched up to `maxWidthAngstrom`. Not valid when a constant is not positive and finite.
  HKPotential(HKGeometry geometry, bool layered, HKMolecule const& adsorbate,
              HKMolecule const& surface, double temperatureK, double maxWidthAngstrom = 100.0);

  /// True when the constants were usable.
  bool IsValid() const { return m_Valid; }
  /// N_A Φ / RT at the effective width w (Å), i.e. ln(P/Po) of the pore without correction.
  double LnRelPress(double widthAngstrom) const;
  /// The smallest width with N_A Φ/RT = lnRelPress, Å; NaN below the narrowest pore's value
  /// or above the largest searched width's (or when not valid).
  double WidthAt(double lnRelPress) const;
  /// The narrowest pore the model describes, Å, and its ln(P/Po).
  double MinWidth() const { return m_MinWidth; }
  double MinLnRelPress() const { return m_MinLn; }
  /// The largest width searched, Å, and the largest ln(P/Po) reached below it.
  double MaxWidth() const { return m_MaxWidth; }
  double MaxLnRelPress() const { return m_MaxLn; }
  /// Terms of the cylinder series summed at width w, all layers' together (0 for the other
  /// geometries).
  std::size_t SeriesTerms(double widthAngstrom) const;

 private:
  static constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
  double Characteristic(double widthAngstrom) const;
  double Width(double characteristic) const;
  double AtCharacteristic(double length, std::size_t* terms) const;
  double Layers(double length, std::size_t* terms) const;

  bool m_Valid = false;
  HKGeometry m_Geometry = HKGeometry::kSlit;
  bool m_Layered = false;
  double m_Da = 0.0, m_Ds = 0.0, m_D0 = 0.0;            // Å
  double m_Sigma = 0.0, m_SigmaA = 0.0;                 // Å
  double m_Scale = 0.0;                                 // N_A/RT times the geometry's energy, 1
  double m_ScaleSurface = 0.0, m_ScaleAdsorbate = 0.0;  // the same per part
  double m_MinWidth = kNaN, m_MinLn = kNaN, m_MaxWidth = kNaN, m_MaxLn = kNaN;
  std::vector<double> m_TableLength, m_TableLn;  // characteristic lengths Å, ln(P/Po)
  std::size_t m_First = 0;                       // table entry of the narrowest pore
};

}  // namespace fiofla

/// Horvath-Kawazoe calculation on one adsorption branch; the constructor does the whole work.
class CHKCalc {
 public:
  /// What the calculation is given.
  struct SInput {
    /// P/Po of the adsorption branch, in measured (ascending) order.
    std::vector<double> m_RelPress;
    /// Quantity adsorbed at each pressure, cm³/g STP; used up to the shorter vector.
    std::vector<double> m_QtyAdsorbed;
    /// Pore geometry; default slit.
    fiofla::HKGeometry m_Geometry = fiofla::HKGeometry::kSlit;
    /// Potential and correction; default the original Horvath-Kawazoe.
    fiofla::HKMethod m_Method = fiofla::HKMethod::kHorvathKawazoe;
    /// Adsorbate constants; default nitrogen (Horvath and Kawazoe 1983).
    fiofla::HKMolecule m_Adsorbate = fiofla::HKAdsorbates()[0].molecule;
    /// Surface constants; default carbon (Horvath and Kawazoe 1983).
    fiofla::HKMolecule m_Surface = fiofla::HKSurfaces()[0];
    /// Analysis temperature, K; default 77.35 (nitrogen).
    double m_TemperatureK = 77.35;
    /// Liquid volume per gas volume at STP, cm³ liquid / cm³ STP; default nitrogen at 77 K.
    double m_DensityConversion = 0.0015468;
    /// Points with P/Po above this are not used; default 0.2.
    double m_MaxRelPress = 0.2;
    /// Largest effective width searched, Å; default 100.
    double m_MaxWidth = 100.0;
    /// Cheng-Yang capacity q_m, cm³/g STP; 0 (default) fits it (Langmuir, see above).
    double m_LangmuirCapacity = 0.0;
  };

  /// Calculated.
  static constexpr int STATUS_OK = 0;
  /// Fewer than 2 points with a width.
  static constexpr int STATUS_TOO_FEW_POINTS = 1;
  /// An adsorbate or surface constant not positive and finite.
  static constexpr int STATUS_BAD_CONSTANTS = 2;
  /// Temperature not positive and finite.
  static constexpr int STATUS_BAD_TEMPERATURE = 3;
  /// Density conversion not positive and finite.
  static constexpr int STATUS_BAD_DENSITY = 4;
  /// Geometry or method unknown, P/Po range not positive, or m_MaxWidth not above the
  /// narrowest pore.
  static constexpr int STATUS_BAD_SETTINGS = 5;
  /// Cheng-Yang: no Langmuir capacity (the line has no positive slope).
  static constexpr int STATUS_NO_CAPACITY = 6;
  /// Not calculated.
  static constexpr int STATUS_NOT_CALCULATED = 7;

  /// Why a point has no width.
  enum EDropReason {
    eNotUsable = 0,          ///< P/Po not positive or not finite, or the quantity not finite
    eAboveRange = 1,         ///< P/Po above m_MaxRelPress
    eNotRising = 2,          ///< P/Po not above the point before it that was kept
    eBelowNarrowest = 3,     ///< ln(P/Po) below the narrowest pore's
    eAboveWidest = 4,        ///< ln(P/Po) above that of the largest width searched
    eFillingOutOfRange = 5,  ///< Cheng-Yang filling θ not in [0, 1)
    eWidthNotRising = 6      ///< width not above the previous solved point's (Cheng-Yang)
  };
  /// A point of the branch without a width.
  struct SDroppedPoint {
    std::size_t index;   ///< 0-based position in the branch as given
    double relPress;     ///< P/Po as given
    double qtyAdsorbed;  ///< cm³/g STP
    EDropReason reason;
  };

  /// Not calculated (status 7).
  CHKCalc() = default;
  /// The whole calculation.
  explicit CHKCalc(SInput const& input);

  /// One of the STATUS_ values.
  int GetStatus() const { return m_Status; }
  /// Micropore volume: liquid volume at the last solved point, cm³/g; 0 unless status 0.
  double GetMicroporeVolume() const { return m_MicroporeVolume; }
  /// Median effective width, Å; 0 unless status 0.
  double GetMedianWidth() const { return m_MedianWidth; }
  /// Liquid volume at the first solved point, in pores at or below its width, cm³/g.
  double GetVolumeBelowFirstWidth() const { return m_VolumeBelowFirst; }
  /// Cheng-Yang capacity q_m used, cm³/g STP; 0 for the other methods.
  double GetLangmuirCapacity() const { return m_Capacity; }
  /// The potential the widths were solved with.
  fiofla::HKPotential const& GetPotential() const { return m_Potential; }

  /// P/Po, quantity (cm³/g STP), effective width (Å) and cumulative liquid volume (cm³/g) of
  /// every solved point, in ascending pressure.
  std::vector<double> const& GetRelPress() const { return m_RelPress; }
  std::vector<double> const& GetQtyAdsorbed() const { return m_Qty; }
  std::vector<double> const& GetWidths() const { return m_Widths; }
  std::vector<double> const& GetCumulativeVolumes() const { return m_Cumulative; }
  /// Points without a width, in branch order.
  std::vector<SDroppedPoint> const& GetDroppedPoints() const { return m_Dropped; }

  /// Incremental pore volume per interval, cm³/g, boundaries from the largest width down.
  CBJHPoreDistribution const& GetDistribution() const { return m_Distribution; }
  /// Interval boundaries, Å, largest first.
  void GetPoreWidths(CNumVector<double>& out) const;
  /// Interval means, Å, largest first.
  void GetAverageWidths(CNumVector<double>& out) const;
  /// Pore volume per interval, cm³/g.
  void GetIncrementalVolume(CNumVector<double>& out) const;
  /// dV/dw per interval, cm³/(g Å).
  void GetDifferentialVolume(CNumVector<double>& out) const;
  /// dV/dlog(w) per interval, cm³/g.
  void GetLogDifferentialVolume(CNumVector<double>& out) const;

 private:
  void Calculate(SInput const& in);
  bool FitCapacity(std::vector<double> const& p, std::vector<double> const& q);

  int m_Status = STATUS_NOT_CALCULATED;
  double m_MicroporeVolume = 0.0;
  double m_MedianWidth = 0.0;
  double m_VolumeBelowFirst = 0.0;
  double m_Capacity = 0.0;
  fiofla::HKPotential m_Potential;
  std::vector<double> m_RelPress, m_Qty, m_Widths, m_Cumulative;
  std::vector<SDroppedPoint> m_Dropped;
  CBJHPoreDistribution m_Distribution;
};

namespace fiofla {

/// A status of CHKCalc in words ("fewer than 2 points have a pore width").
char const* HKStatusText(int status);
/// Why a point has no width, as a clause ("P/Po above the range").
char const* HKDropReasonText(CHKCalc::EDropReason reason);

}  // namespace fiofla
