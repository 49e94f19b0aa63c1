// BJH mesopore size distribution from one branch of an isotherm.
//
// Method: Barrett, Joyner and Halenda (1951). The branch is walked from high to low
// relative pressure; at each step the liquid that leaves the pores emptying at that
// pressure (Kelvin radius plus the adsorbed film of the thickness curve) is separated
// from the film that thins on pores already emptied, and the emptied pores are counted
// as a capillary length per interval. Three variants:
// - A, classical: the original stepwise formula with area and length running sums;
// - C, corrected: each new boundary is accepted only when the step frees more liquid
//   than the film of the pores already found; capillary diameters are the weighted mean
//   of the two Kelvin radii (2 r1 r2 (r1 + r2) / (r1² + r2²));
// - B, film widening: pore diameters grow by twice the film thinning at every later step
//   instead of being recomputed, and a step the film alone explains re-derives the
//   thinning from the volume it freed.
// Cost: O(n) for A, O(n · intervals) for B and C.
// Guarantees: totals are the sums of the reported increments; the distributions carry the
// selected boundaries from the largest to the smallest diameter.
//
// Units: relative pressure; quantity adsorbed cm3/g STP; diameters, radii and thicknesses
// Å; capillary lengths cm/g; pore volume cm3/g; pore area m2/g. pi is written 3.14159265
// (2 pi as 6.2831853 in the classical variant) as the method has always been computed.
//
// Choices:
// - Variant B: the walk takes every step from point i to i + 1 (i = 0 ... n - 2). The last
//   step never opens an interval; it widens every boundary and average diameter by twice
//   the film thinning of that step, so the final film is accounted for like every other.
// - Input vectors of different lengths are used up to the shorter one.
// - Any number of points is taken (counters are std::size_t).
// - Nothing is left out silently: the points the preparation drops (GetDroppedPoints), the
//   steps whose freed liquid the thinning film alone explains (GetEmptySteps: variant A
//   counts no pores for them, B and C merge them into the next interval), the pore volume
//   of intervals outside the diameter range (GetVolumeBelowRange, GetVolumeAboveRange) and
//   a peak in an edge interval (GetPeakAtEdge) are kept for the caller to report;
//   fiofla::BjhNotes and fiofla::BjhWarnings say them in words.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "fiofla/gastplot.h"
#include "fiofla/num/numvector.h"
#include "fiofla/pore_distribution.h"

/// BJH calculation; the constructor does the whole work.
class CBJHCalc {
 public:
  /// What the calculation needs.
  struct SInput {
    /// Relative pressures of the branch, in measured order.
    std::vector<double> m_RelPress;
    /// Quantity adsorbed at each pressure, cm3/g STP.
    std::vector<double> m_QtyAdsorbed;
    /// Thickness curve (not owned); must outlive the construction.
    CThicknessFunction* m_pThickness = nullptr;
    /// False: classical variant A; true: variant B or C by m_Method, with the Kelvin
    /// radius adjustments.
    bool m_UseCorrection = false;
    /// True for an adsorption branch (ascending pressure), false for desorption.
    bool m_UseAdsorption = false;
    /// With corrections: 2 selects variant B, anything else C; 1 also adds 3 Å to every
    /// Kelvin radius.
    int m_Method = 0;
    /// Quantity adsorbed (cm3/g STP) to liquid volume (cm3/g); 0.0015468 for nitrogen.
    double m_DensityConversion = 0.0015468;
    /// Kelvin constant K, Å: the Kelvin radius is -K / ln(P/Po).
    double m_KelvinConstant = 9.53;
    /// With corrections, the Kelvin radius is divided by (1 + f).
    double m_RadiusFraction = 0.0;
    /// Pore-diameter range reported, Å.
    double m_MaxDiameter = 3000.0;
    double m_MinDiameter = 17.0;
  };

  /// Calculated.
  static constexpr int STATUS_OK = 0;
  /// Fewer than 2 isotherm points.
  static constexpr int STATUS_TOO_FEW_POINTS = 1;
  /// Fewer than 2 points left after preparation.
  static constexpr int STATUS_TOO_FEW_PREPARED = 2;
  /// No pore interval produced.
  static constexpr int STATUS_NO_INTERVAL = 3;
  /// No interval inside the diameter range.
  static constexpr int STATUS_NONE_IN_RANGE = 4;
  /// No thickness function.
  static constexpr int STATUS_NO_THICKNESS = 5;
  /// Kelvin constant not positive.
  static constexpr int STATUS_BAD_KELVIN = 6;
  /// Density conversion not positive.
  static constexpr int STATUS_BAD_DENSITY = 7;
  /// Not calculated.
  static constexpr int STATUS_NOT_CALCULATED = 8;

  /// Why a point was left out: the walk from high to low pressure needs each point below
  /// the one it walked from in both P/Po and quantity adsorbed.
  enum EDropReason {
    eRelPressNotFalling = 0,  ///< P/Po not below, the quantity is
    eQuantityNotFalling = 1,  ///< quantity not below, P/Po is
    eNeitherFalling = 2,      ///< neither below
    eRelPressAboveLimit = 3,  ///< P/Po falls as given but both lie above 0.9998, the cap
  };
  /// A point of the branch the preparation left out.
  struct SDroppedPoint {
    std::size_t index;   ///< 0-based position in the branch as given
    double relPress;     ///< P/Po, as given
    double qtyAdsorbed;  ///< cm3/g STP
    EDropReason reason;  ///< against its neighbour in walk order (the point after it, for an
                         ///< adsorption branch)
  };
  /// A step of the walk that opened no pores because the film thinning on the pores already
  /// found explains all the liquid it freed.
  struct SEmptyStep {
    double relPressHigh, relPressLow;  ///< the step's end pressures
    double diameterHigh, diameterLow;  ///< pores emptying at them, 2 (r_K + t), Å
    double volume;                     ///< volume left for new pores, cm3/g (not positive)
    /// False: variant A keeps the step as an interval without pores (its volume zeroed);
    /// true: B and C open no interval, and the next one reaches back over the step.
    bool merged;
  };

  /// Empty, not calculated (status 8).
  CBJHCalc() = default;
  /// The whole calculation.
  explicit CBJHCalc(SInput const& input);
  ~CBJHCalc() = default;

  /// Status, one of the STATUS_ values.
  int GetStatus() const { return m_Status; }
  /// Total pore volume of the selected intervals, cm3/g; -1.0 unless status 0.
  double GetTotalPoreVolume() const { return m_TotalPoreVolume; }
  /// Total pore area of the selected intervals, m2/g; -1.0 unless status 0.
  double GetTotalPoreArea() const { return m_TotalPoreArea; }
  /// Number of intervals computed, and selected.
  std::size_t GetNumIntervals() const { return m_NumIntervals; }
  std::size_t GetNumSelected() const { return m_NumSelected; }

  /// Selected interval boundaries (m + 1), Å, largest first.
  void GetPoreDiameters(CNumVector<double>& out) const;
  /// Relative pressure of each selected boundary.
  void GetPoreRelativePressures(CNumVector<double>& out) const;
  /// Average diameter of each selected interval (m), Å.
  void GetAverageDiameters(CNumVector<double>& out) const;
  /// Pore volume per interval, cm3/g.
  void GetIncrementalVolume(CNumVector<double>& out) const;
  /// Cumulative pore volume, cm3/g; reverse sums from the smallest pores.
  void GetCumulativeVolume(CNumVector<double>& out, bool reverse) const;
  /// dV/dD, cm3/(g Å); smoothed through NSmooth when asked.
  void GetDifferentialVolume(CNumVector<double>& out, bool smoothed) const;
  /// dV/dlog(D), cm3/g.
  void GetLogDifferentialVolume(CNumVector<double>& out, bool smoothed) const;
  /// Pore area per interval, m2/g.
  void GetIncrementalArea(CNumVector<double>& out) const;
  /// Cumulative pore area, m2/g.
  void GetCumulativeArea(CNumVector<double>& out, bool reverse) const;
  /// dA/dD, m2/(g Å).
  void GetDifferentialArea(CNumVector<double>& out, bool smoothed) const;
  /// dA/dlog(D), m2/g.
  void GetLogDifferentialArea(CNumVector<double>& out, bool smoothed) const;

  /// Points of the branch that were left out, in branch order.
  std::vector<SDroppedPoint> const& GetDroppedPoints() const { return m_Dropped; }
  /// Steps that opened no pores, from high to low pressure.
  std::vector<SEmptyStep> const& GetEmptySteps() const { return m_EmptySteps; }
  /// Pore volume of the computed intervals whose average diameter lies below the lower or
  /// above the upper bound of the diameter range, cm3/g; 0 unless status 0.
  double GetVolumeBelowRange() const { return m_VolumeBelow; }
  double GetVolumeAboveRange() const { return m_VolumeAbove; }
  /// True when the branch was given as an adsorption branch (ascending pressure).
  bool IsAdsorption() const { return m_UseAdsorption; }
  /// The diameter range asked for, Å.
  double GetMinDiameter() const { return m_MinDiameter; }
  double GetMaxDiameter() const { return m_MaxDiameter; }
  /// Where the largest dV/dD of three or more selected intervals lies: -1 in the smallest-
  /// diameter interval, +1 in the largest, 0 between them (or fewer intervals, or no result).
  int GetPeakAtEdge() const;

  /// Clamps p into [1e-10, 0.9998].
  static void LimitRelPress(double& p);
  /// Kelvin radius at p, Å, with this object's corrections; 0 for p < 1e-30.
  double KelvinRad(double p) const;
  /// Relative pressure at which a capillary of diameter d (Å) empties: KelvinRad inverted.
  double WgtAvgRelPress(double d) const;
  /// Weighted mean capillary diameter of two Kelvin radii, Å.
  static double WgtAvgCapDiam(double r1, double r2);
  /// Cross-section of a capillary of diameter d (Å), cm2.
  static double XSectAreaCapl(double d);
  /// Cross-section of a film of thickness t (Å) around a capillary of diameter d (Å), cm2.
  static double XSectAreaAnnl(double d, double t);
  /// Pore volume of a length L (cm/g) of pores of diameter D (Å), cm3/g.
  static double IncrPoreVol(double L, double D);
  /// Wall area of a length L (cm/g) of pores of diameter D (Å), m2/g.
  static double IncrSurfArea(double L, double D);
  /// Diameter of the pore emptying at p, 2 (-K / ln p + t(p)), Å, without adjustments.
  static double GetSinglePointPoreWidth(double p, double K, CThicknessFunction const& t);
  /// Clamps, orders (high to low pressure) and thins the branch; sets the status on failure.
  bool PrepIsotherm(std::vector<double>& P, std::vector<double>& Q);
  /// Keeps the first point and every point below its predecessor in both P and Q; the
  /// positions of the others go to `dropped` when given.
  static void PrepDesPoints(std::vector<double>& P, std::vector<double>& Q,
                            std::vector<std::size_t>* dropped = nullptr);
  /// Reverses both vectors (an adsorption branch walked downwards).
  static void InvertAdsPoints(std::vector<double>& P, std::vector<double>& Q);

 private:
  void VariantA(CThicknessFunction const& t);
  void VariantB(CThicknessFunction const& t);
  void VariantC(CThicknessFunction const& t);
  void Select(CNumVector<double>& out, std::vector<double> const& v, std::size_t extra) const;
  void AddEmptyStep(double pHigh, double pLow, double volume, bool merged,
                    CThicknessFunction const& t);

  int m_Method = 0;
  bool m_UseCorrection = false;
  bool m_UseAdsorption = false;
  double m_KelvinConstant = 0.0;
  double m_DensityConversion = 0.0;
  double m_MaxDiameter = 0.0;
  double m_MinDiameter = 0.0;
  double m_RadiusFraction = 0.0;
  double m_TotalPoreVolume = -1.0;
  double m_TotalPoreArea = -1.0;
  int m_Status = STATUS_NOT_CALCULATED;
  std::size_t m_NumIntervals = 0;
  std::size_t m_NumSelected = 0;
  std::size_t m_FirstSelected = 0;
  std::size_t m_EndSelected = 0;
  std::vector<double> m_RelPress;
  std::vector<double> m_QtyAdsorbed;
  std::vector<double> m_Diameters;
  std::vector<double> m_BoundaryRelPress;
  std::vector<double> m_AvgDiameters;
  std::vector<double> m_Lengths;
  CBJHPoreDistribution m_VolumeDistribution;
  CBJHPoreDistribution m_AreaDistribution;
  std::vector<SDroppedPoint> m_Dropped;
  std::vector<SEmptyStep> m_EmptySteps;
  double m_VolumeBelow = 0.0;
  double m_VolumeAbove = 0.0;
};

namespace fiofla {

/// How BjhNotes and BjhWarnings name what lies outside the calculation.
struct BjhWording {
  /// Names the point at a 0-based position of the branch as given ("line 41"); unset: "point
  /// k of the branch".
  std::function<std::string(std::size_t)> pointName;
  /// Where the diameter range is set ("--diameter-range"); empty: said in words only.
  std::string rangeSetting;
};

/// Why a point was left out, as a clause ("P/Po not below the point before").
std::string BjhDropReasonText(CBJHCalc const& calc, CBJHCalc::SDroppedPoint const& point);
/// What became of a step without pores, as a clause ("counted as an interval without pores").
std::string BjhEmptyStepText(CBJHCalc::SEmptyStep const& step);

/// What the calculation left out, one sentence each: dropped points, steps without pores,
/// the pore volume outside the diameter range. Empty when there is nothing to say.
std::vector<std::string> BjhNotes(CBJHCalc const& calc, BjhWording const& wording = {});
/// What makes the distribution doubtful: its peak in the first or last interval of the
/// range, where the range may cut off the main pores. Empty without a result.
std::vector<std::string> BjhWarnings(CBJHCalc const& calc, BjhWording const& wording = {});

}  // namespace fiofla
