#include "fiofla/gasbjh.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <string>
#include <vector>

#include "test_util.h"

namespace {

constexpr double kDensity = 0.0015468;  // nitrogen: cm3 liquid per cm3 STP
constexpr double kKelvin = 9.53;        // Å

// Desorption branch of a solid whose pores all have diameter d0 (Å), total pore volume
// vp (cm3/g): full down to the pressure where the Kelvin radius plus the film reach d0/2,
// then only the film on the walls, (1 - (1 - 2t/d0)^2) of the pore volume; plus a film on
// 20 m2/g of external surface, so that every point lies below the one before.
CBJHCalc::SInput SinglePoreBranch(CThicknessFunction* t, double d0, double vp) {
  CBJHCalc::SInput in;
  in.m_pThickness = t;
  in.m_KelvinConstant = kKelvin;
  in.m_DensityConversion = kDensity;
  in.m_MinDiameter = 10.0;
  in.m_MaxDiameter = 3000.0;
  for (int i = 0; i < 120; ++i) {
    const double p = 0.98 - 0.96 * i / 119.0;
    const double width = 2.0 * (-kKelvin / std::log(p) + t->EvalAt(p));
    const double f = 1.0 - 2.0 * t->EvalAt(p) / d0;
    const double external = 20.0 * t->EvalAt(p) * 1e-4;  // m2/g x Å -> cm3/g
    const double liquid = (width > d0 ? vp : vp * (1.0 - f * f)) + external;
    in.m_RelPress.push_back(p);
    in.m_QtyAdsorbed.push_back(liquid / kDensity);
  }
  return in;
}

}  // namespace

TEST(BJHSteps, KelvinGeometryAndClamping) {
  double p = 0.99995;
  CBJHCalc::LimitRelPress(p);
  EXPECT_EQ(p, 0.9998);
  p = 0.0;
  CBJHCalc::LimitRelPress(p);
  EXPECT_EQ(p, 1e-10);
  EXPECT_EQ(CBJHCalc::WgtAvgCapDiam(12.0, 12.0), 24.0);
  EXPECT_EQ(CBJHCalc::WgtAvgCapDiam(0.0, 0.0), 0.0);
  EXPECT_REL_CLOSE(CBJHCalc::XSectAreaCapl(20.0) + CBJHCalc::XSectAreaAnnl(20.0, 5.0),
                   CBJHCalc::XSectAreaCapl(30.0), 1e-14);
  // A length of pores: volume = length x cross-section; area = length x perimeter.
  EXPECT_REL_CLOSE(CBJHCalc::IncrPoreVol(1e12, 40.0), 1e12 * CBJHCalc::XSectAreaCapl(40.0), 1e-14);
  EXPECT_REL_CLOSE(CBJHCalc::IncrSurfArea(1e12, 40.0), 1e12 * 3.14159265 * 40e-8 * 1e-4, 1e-14);

  // Method 1 with corrections: a radius of 20 Å becomes 23, and the diameter 46 inverts
  // back to the same pressure.
  CThicknessFunction halsey(CThicknessFunction::eHalsey);
  CBJHCalc::SInput in;
  in.m_pThickness = &halsey;
  in.m_UseCorrection = true;
  in.m_Method = 1;
  in.m_RadiusFraction = 0.0;
  const CBJHCalc calc(in);  // too few points, but the Kelvin settings are kept
  EXPECT_EQ(calc.GetStatus(), CBJHCalc::STATUS_TOO_FEW_POINTS);
  const double p20 = std::exp(-kKelvin / 20.0);
  EXPECT_REL_CLOSE(calc.KelvinRad(p20), 23.0, 1e-12);
  EXPECT_REL_CLOSE(calc.WgtAvgRelPress(46.0), p20, 1e-12);
  EXPECT_EQ(calc.WgtAvgRelPress(1e-31 + 6.0), 0.9998);
  EXPECT_EQ(calc.KelvinRad(0.0), 0.0);
  EXPECT_REL_CLOSE(CBJHCalc::GetSinglePointPoreWidth(p20, kKelvin, halsey),
                   2.0 * (20.0 + halsey.EvalAt(p20)), 1e-12);
}

TEST(BJHSteps, PreparationOrdersThinsAndClosesTheBranch) {
  // Desorption: the rising point goes, and so does the one after it, which is not below
  // its own input predecessor.
  std::vector<double> P{0.9, 0.8, 0.7, 0.6, 0.5}, Q{300, 250, 260, 255, 200};
  CBJHCalc::PrepDesPoints(P, Q);
  EXPECT_EQ(P, (std::vector<double>{0.9, 0.8, 0.6, 0.5}));
  EXPECT_EQ(Q, (std::vector<double>{300, 250, 255, 200}));

  CThicknessFunction t(CThicknessFunction::eHarkinsJura);
  CBJHCalc::SInput in;
  in.m_pThickness = &t;
  in.m_UseAdsorption = true;
  in.m_RelPress = {0.3, 0.5, 0.7, 0.99995};
  in.m_QtyAdsorbed = {100, 150, 300, 400};
  CBJHCalc calc(in);
  std::vector<double> p = in.m_RelPress, q = in.m_QtyAdsorbed;
  ASSERT_TRUE(calc.PrepIsotherm(p, q));
  EXPECT_EQ(p, (std::vector<double>{0.9998, 0.7, 0.5, 0.3, 0.0}));  // (0, 0) appended
  EXPECT_EQ(q, (std::vector<double>{400, 300, 150, 100, 0.0}));
  CNumVector<double> boundaries;
  calc.GetPoreRelativePressures(boundaries);
  EXPECT_EQ(calc.GetStatus(), CBJHCalc::STATUS_OK);
  EXPECT_EQ(calc.GetNumIntervals(), 3u);
  // The first interval (pores of about 9.5 µm) lies beyond the 3000 Å maximum.
  EXPECT_EQ(calc.GetNumSelected(), 2u);
  EXPECT_EQ(boundaries[0], 0.7);
}

TEST(BJHCalculation, StatusValuesLeaveTotalsUnset) {
  CThicknessFunction t(CThicknessFunction::eHalsey);
  CBJHCalc::SInput in = SinglePoreBranch(&t, 60.0, 0.5);
  auto status = [](CBJHCalc::SInput const& s) {
    const CBJHCalc calc(s);
    if (calc.GetStatus() != CBJHCalc::STATUS_OK) {
      EXPECT_EQ(calc.GetTotalPoreVolume(), -1.0);
      EXPECT_EQ(calc.GetTotalPoreArea(), -1.0);
      CNumVector<double> d;
      calc.GetPoreDiameters(d);
      EXPECT_TRUE(d.empty());
    }
    return calc.GetStatus();
  };
  EXPECT_EQ(CBJHCalc().GetStatus(), CBJHCalc::STATUS_NOT_CALCULATED);
  EXPECT_EQ(status(in), CBJHCalc::STATUS_OK);
  CBJHCalc::SInput bad = in;
  bad.m_pThickness = nullptr;
  EXPECT_EQ(status(bad), CBJHCalc::STATUS_NO_THICKNESS);
  bad = in;
  bad.m_KelvinConstant = 0.0;
  EXPECT_EQ(status(bad), CBJHCalc::STATUS_BAD_KELVIN);
  bad = in;
  bad.m_DensityConversion = -1.0;
  EXPECT_EQ(status(bad), CBJHCalc::STATUS_BAD_DENSITY);
  bad = in;
  bad.m_RelPress.resize(1);
  EXPECT_EQ(status(bad), CBJHCalc::STATUS_TOO_FEW_POINTS);
  bad = in;
  bad.m_QtyAdsorbed.assign(in.m_QtyAdsorbed.size(), 10.0);  // flat: nothing but the first
  EXPECT_EQ(status(bad), CBJHCalc::STATUS_TOO_FEW_PREPARED);
  bad = in;
  bad.m_MinDiameter = 5000.0;
  bad.m_MaxDiameter = 6000.0;
  EXPECT_EQ(status(bad), CBJHCalc::STATUS_NONE_IN_RANGE);
}

TEST(BJHCalculation, EveryVariantFindsASinglePoreSize) {
  for (auto type : {CThicknessFunction::eHalsey, CThicknessFunction::eHarkinsJura}) {
    CThicknessFunction t(type);
    for (int variant = 0; variant < 3; ++variant) {
      SCOPED_TRACE(::testing::Message() << "curve " << int(type) << ", variant " << variant);
      CBJHCalc::SInput in = SinglePoreBranch(&t, 60.0, 0.5);
      in.m_UseCorrection = variant > 0;
      in.m_Method = variant == 1 ? 2 : 0;  // 1: film widening (B), 2: corrected (C)
      const CBJHCalc calc(in);
      ASSERT_EQ(calc.GetStatus(), CBJHCalc::STATUS_OK);
      CNumVector<double> avg, vol, cum;
      calc.GetAverageDiameters(avg);
      calc.GetIncrementalVolume(vol);
      calc.GetCumulativeVolume(cum, true);  // summed from the largest pores
      ASSERT_EQ(avg.size(), vol.size());
      std::size_t peak = 0;
      for (std::size_t k = 1; k < vol.size(); ++k)
        if (vol[k] > vol[peak]) peak = k;
      EXPECT_NEAR(avg[peak], 60.0, 60.0 * 0.15);
      // The total is the sum of the increments, and most of the volume is in the pores.
      EXPECT_REL_CLOSE(cum[cum.size() - 1], calc.GetTotalPoreVolume(), 1e-12);
      EXPECT_GT(vol[peak], 0.3 * 0.5);
      EXPECT_LT(calc.GetTotalPoreVolume(), 0.5 * 1.3);
      // Diameters run from the largest to the smallest.
      CNumVector<double> d;
      calc.GetPoreDiameters(d);
      ASSERT_EQ(d.size(), avg.size() + 1);
      for (std::size_t k = 0; k + 1 < d.size(); ++k) EXPECT_GE(d[k], d[k + 1]);
    }
  }
}

// Film widening: every boundary grows by twice the film thinning of each later step, a
// step the film explains re-derives the thinning from the volume freed, and an interval
// opens with L = (dV - W) / (capillary + annulus).
TEST(BJHCalculation, FilmWideningKeepsItsRelations) {
  CThicknessFunction t(CThicknessFunction::eHalsey);
  for (const double secondStep : {120.0, 0.01}) {  // opens a second interval, or film only
    SCOPED_TRACE(secondStep);
    CBJHCalc::SInput in;
    in.m_pThickness = &t;
    in.m_UseCorrection = true;
    in.m_Method = 2;
    in.m_MinDiameter = 0.0;
    in.m_MaxDiameter = 1e9;
    in.m_RelPress = {0.9, 0.7, 0.5};
    in.m_QtyAdsorbed = {400.0, 250.0, 250.0 - secondStep};
    const CBJHCalc calc(in);
    ASSERT_EQ(calc.GetStatus(), CBJHCalc::STATUS_OK);
    const double F = in.m_DensityConversion;
    const double r0 = calc.KelvinRad(0.9), r1 = calc.KelvinRad(0.7), r2 = calc.KelvinRad(0.5);
    const double dt0 = t.EvalAt(0.9) - t.EvalAt(0.7);
    const double dt2 = t.EvalAt(0.5) - t.EvalAt(0.0);  // the closing step to (0, 0)
    // First interval.
    double davg = CBJHCalc::WgtAvgCapDiam(r0, r1);
    const double t1 = t.EvalAt(calc.WgtAvgRelPress(davg)), t2 = t.EvalAt(0.7);
    const double dV0 = F * 150.0;
    const double L0 =
        dV0 / (CBJHCalc::XSectAreaCapl(davg) + CBJHCalc::XSectAreaAnnl(davg, t1 - t2));
    davg += 2.0 * (t1 - t2);
    // Second step.
    double dt1 = t.EvalAt(0.7) - t.EvalAt(0.5);
    const double dV1 = F * secondStep;
    const double W = L0 * CBJHCalc::XSectAreaAnnl(davg, dt1);
    CNumVector<double> d, avg, vol;
    calc.GetPoreDiameters(d);
    calc.GetAverageDiameters(avg);
    calc.GetIncrementalVolume(vol);
    EXPECT_EQ(W<dV1, secondStep> 1.0);  // both paths are taken
    if (W < dV1) {
      ASSERT_EQ(avg.size(), 2u);
      EXPECT_REL_CLOSE(d[0], 2.0 * r0 + 2.0 * (dt0 + dt1 + dt2), 1e-12);
      EXPECT_REL_CLOSE(d[1], 2.0 * r1 + 2.0 * (dt1 + dt2), 1e-12);
      EXPECT_REL_CLOSE(d[2], 2.0 * r2 + 2.0 * dt2, 1e-12);
      EXPECT_REL_CLOSE(avg[0], davg + 2.0 * (dt1 + dt2), 1e-12);
    } else {
      ASSERT_EQ(avg.size(), 1u);
      dt1 = (dV1 * 1e-6) / (3.1415926500000005e-12 * davg * L0 * 1e-10);
      EXPECT_REL_CLOSE(d[0], 2.0 * r0 + 2.0 * (dt0 + dt1 + dt2), 1e-12);
      EXPECT_REL_CLOSE(d[1], 2.0 * r1 + 2.0 * (dt1 + dt2), 1e-12);
      EXPECT_REL_CLOSE(avg[0], davg + 2.0 * (dt1 + dt2), 1e-12);
    }
    EXPECT_REL_CLOSE(vol[0], CBJHCalc::IncrPoreVol(L0, avg[0]), 1e-12);
  }
}

// Every point the walk cannot use is named with its reason, in the order of the branch as
// given whichever way it runs; leaving one out is the same as never having measured it.
TEST(BJHLeftOut, DroppedPointsCarryTheirReason) {
  CThicknessFunction hj(CThicknessFunction::eHarkinsJura);
  const CBJHCalc::SInput clean = SinglePoreBranch(&hj, 40.0, 0.5);
  CBJHCalc::SInput in = clean;
  std::vector<double>& P = in.m_RelPress;
  std::vector<double>& Q = in.m_QtyAdsorbed;
  P[30] = P[29] + 0.001;  // pressure rises, quantity falls
  Q[30] = (Q[29] + Q[30]) / 2.0;
  P[60] = (P[59] + P[60]) / 2.0;  // quantity rises, pressure falls
  Q[60] = Q[59] + 1.0;
  P[90] = P[89] + 0.001;  // both rise
  Q[90] = Q[89] + 1.0;
  // Two points above the 0.9998 cap: the second falls as given, not once capped.
  P.insert(P.begin(), {0.99995, 0.9999});
  Q.insert(Q.begin(), {Q[0] + 2.0, Q[0] + 1.0});
  const CBJHCalc desorption(in);
  ASSERT_EQ(desorption.GetStatus(), CBJHCalc::STATUS_OK);
  const std::vector<std::size_t> index{1, 32, 62, 92};
  const std::vector<CBJHCalc::EDropReason> reason{
      CBJHCalc::eRelPressAboveLimit, CBJHCalc::eRelPressNotFalling, CBJHCalc::eQuantityNotFalling,
      CBJHCalc::eNeitherFalling};
  const auto& dropped = desorption.GetDroppedPoints();
  ASSERT_EQ(dropped.size(), index.size());
  for (std::size_t k = 0; k < index.size(); ++k) {
    EXPECT_EQ(dropped[k].index, index[k]);
    EXPECT_EQ(dropped[k].reason, reason[k]);
    EXPECT_EQ(dropped[k].relPress, P[index[k]]);  // as given, not capped
    EXPECT_EQ(dropped[k].qtyAdsorbed, Q[index[k]]);
  }
  EXPECT_EQ(fiofla::BjhDropReasonText(desorption, dropped[2]),
            "quantity adsorbed not below the point before");

  // Without the dropped points the walk is the same.
  CBJHCalc::SInput without = clean;
  for (std::size_t k : {90, 60, 30}) {
    without.m_RelPress.erase(without.m_RelPress.begin() + k);
    without.m_QtyAdsorbed.erase(without.m_QtyAdsorbed.begin() + k);
  }
  without.m_RelPress.insert(without.m_RelPress.begin(), 0.99995);
  without.m_QtyAdsorbed.insert(without.m_QtyAdsorbed.begin(), Q[0]);
  const CBJHCalc reference(without);
  EXPECT_EQ(desorption.GetTotalPoreVolume(), reference.GetTotalPoreVolume());
  EXPECT_EQ(desorption.GetNumIntervals(), reference.GetNumIntervals());

  // Given ascending as an adsorption branch: the same points, counted from the other end,
  // held against the point after them.
  CBJHCalc::SInput ascending = in;
  std::reverse(ascending.m_RelPress.begin(), ascending.m_RelPress.end());
  std::reverse(ascending.m_QtyAdsorbed.begin(), ascending.m_QtyAdsorbed.end());
  ascending.m_UseAdsorption = true;
  const CBJHCalc adsorption(ascending);
  const auto& reversed = adsorption.GetDroppedPoints();
  ASSERT_EQ(reversed.size(), index.size());
  for (std::size_t k = 0; k < index.size(); ++k) {
    const auto& d = reversed[index.size() - 1 - k];
    EXPECT_EQ(d.index, P.size() - 1 - index[k]);
    EXPECT_EQ(d.reason, reason[k]);
  }
  EXPECT_EQ(fiofla::BjhDropReasonText(adsorption, reversed[1]),
            "quantity adsorbed not below the point after");
  EXPECT_EQ(adsorption.GetTotalPoreVolume(), desorption.GetTotalPoreVolume());

  // The notes name every point the way the caller asks.
  fiofla::BjhWording wording;
  wording.pointName = [](std::size_t k) { return "row " + std::to_string(k + 10); };
  const auto notes = fiofla::BjhNotes(desorption, wording);
  ASSERT_FALSE(notes.empty());
  EXPECT_EQ(notes[0].rfind("4 points of the branch were left out", 0), 0u) << notes[0];
  for (std::size_t k : index)
    EXPECT_NE(notes[0].find("row " + std::to_string(k + 10)), std::string::npos) << notes[0];
}

// A step that frees less liquid than the film thins off the pores already found has a
// negative increment: variant A keeps it as an interval without pores, B and C let the next
// interval reach over it. Each variant records the step with its volume and diameters.
TEST(BJHLeftOut, NegativeIncrementsAreRecorded) {
  CThicknessFunction hj(CThicknessFunction::eHarkinsJura);
  CBJHCalc::SInput in = SinglePoreBranch(&hj, 40.0, 0.5);
  // Well below the pores' emptying (P/Po about 0.54) only films thin; this step frees a
  // tenth of what they give up.
  const std::size_t k = 70;
  const double pHigh = in.m_RelPress[k - 1], pLow = in.m_RelPress[k];
  in.m_QtyAdsorbed[k] =
      in.m_QtyAdsorbed[k - 1] - 0.1 * (in.m_QtyAdsorbed[k - 1] - in.m_QtyAdsorbed[k]);
  for (int variant = 0; variant < 3; ++variant) {
    SCOPED_TRACE(variant);
    CBJHCalc::SInput v = in;
    v.m_UseCorrection = variant > 0;
    v.m_Method = variant == 1 ? 2 : 0;  // 1: film widening (B), 2: corrected (C)
    const CBJHCalc calc(v);
    ASSERT_EQ(calc.GetStatus(), CBJHCalc::STATUS_OK);
    const auto& steps = calc.GetEmptySteps();
    const auto step = std::find_if(steps.begin(), steps.end(),
                                   [&](const auto& e) { return e.relPressLow == pLow; });
    ASSERT_NE(step, steps.end());
    EXPECT_LT(step->volume, 0.0);
    EXPECT_EQ(step->merged, variant > 0);
    EXPECT_REL_CLOSE(step->diameterLow, 2.0 * (calc.KelvinRad(pLow) + hj.EvalAt(pLow)), 1e-12);
    EXPECT_GT(step->diameterHigh, step->diameterLow);
    for (const auto& e : steps) EXPECT_LE(e.volume, 0.0);
    CNumVector<double> boundaries, vol;
    calc.GetPoreRelativePressures(boundaries);
    calc.GetIncrementalVolume(vol);
    const auto at = std::find(boundaries.begin(), boundaries.end(), pLow);
    if (variant == 0) {
      // The interval from pHigh to pLow is there, with no volume.
      ASSERT_NE(at, boundaries.end());
      const std::size_t interval = static_cast<std::size_t>(at - boundaries.begin()) - 1;
      EXPECT_EQ(boundaries[interval], pHigh);
      EXPECT_EQ(vol[interval], 0.0);
      EXPECT_NE(fiofla::BjhEmptyStepText(*step).find("without pores"), std::string::npos);
    } else {
      EXPECT_EQ(at, boundaries.end());  // no boundary where the step ends
      EXPECT_NE(fiofla::BjhEmptyStepText(*step).find("reaches over"), std::string::npos);
    }
    for (double x : vol) EXPECT_GE(x, 0.0);
  }
}

// The volume outside the diameter range is the rest of the volume of all intervals.
TEST(BJHLeftOut, VolumeOutsideTheRangeAddsUp) {
  CThicknessFunction hj(CThicknessFunction::eHarkinsJura);
  for (int variant = 0; variant < 3; ++variant) {
    SCOPED_TRACE(variant);
    CBJHCalc::SInput in = SinglePoreBranch(&hj, 40.0, 0.5);
    in.m_UseCorrection = variant > 0;
    in.m_Method = variant == 1 ? 2 : 0;
    in.m_MinDiameter = 0.0;
    in.m_MaxDiameter = 1e9;
    const CBJHCalc all(in);
    ASSERT_EQ(all.GetStatus(), CBJHCalc::STATUS_OK);
    EXPECT_EQ(all.GetVolumeBelowRange(), 0.0);
    EXPECT_EQ(all.GetVolumeAboveRange(), 0.0);
    in.m_MinDiameter = 30.0;
    in.m_MaxDiameter = 60.0;
    const CBJHCalc window(in);
    ASSERT_EQ(window.GetStatus(), CBJHCalc::STATUS_OK);
    EXPECT_GT(window.GetVolumeBelowRange(), 0.0);
    EXPECT_GT(window.GetVolumeAboveRange(), 0.0);
    EXPECT_REL_CLOSE(
        window.GetVolumeBelowRange() + window.GetTotalPoreVolume() + window.GetVolumeAboveRange(),
        all.GetTotalPoreVolume(), 1e-12);
  }
}

// Desorption branch of a microporous solid: a Langmuir-like uptake that is nearly complete by
// P/Po 0.05, with a film on 30 m2/g of mesopore and external surface.
CBJHCalc::SInput MicroporousBranch(CThicknessFunction* t) {
  CBJHCalc::SInput in;
  in.m_pThickness = t;
  for (int i = 0; i < 60; ++i) {
    const double p = 0.98 * std::pow(0.005 / 0.98, i / 59.0);  // 0.98 down to 0.005
    const double micro = 180.0 * 300.0 * p / (1.0 + 300.0 * p);
    in.m_RelPress.push_back(p);
    in.m_QtyAdsorbed.push_back(micro + 30.0 * t->EvalAt(p) * 1e-4 / kDensity);
  }
  return in;
}

// The peak in the first or last interval is warned about; a peak inside is not.
TEST(BJHLeftOut, PeakAtTheRangesEdgeIsWarned) {
  CThicknessFunction hj(CThicknessFunction::eHarkinsJura);
  fiofla::BjhWording wording;
  wording.rangeSetting = "--diameter-range";
  auto warned = [&](const CBJHCalc& calc, const char* text) {
    const auto warnings = fiofla::BjhWarnings(calc, wording);
    return warnings.size() == 1 && warnings[0].find(text) != std::string::npos;
  };

  // Micropores under the default 17 Å cut: the cut takes volume and the peak sits at it.
  const CBJHCalc micro(MicroporousBranch(&hj));
  ASSERT_EQ(micro.GetStatus(), CBJHCalc::STATUS_OK);
  EXPECT_EQ(micro.GetPeakAtEdge(), -1);
  EXPECT_GT(micro.GetVolumeBelowRange(), 0.0);
  EXPECT_TRUE(warned(micro, "smallest-diameter interval"));
  EXPECT_TRUE(warned(micro, "widen the range with --diameter-range (now 17:3000)"));

  // Mesopores of 40 Å inside the range: no warning, also with the default cut.
  CBJHCalc::SInput meso = SinglePoreBranch(&hj, 40.0, 0.5);
  meso.m_MinDiameter = 17.0;
  const CBJHCalc inside(meso);
  EXPECT_EQ(inside.GetPeakAtEdge(), 0);
  EXPECT_TRUE(fiofla::BjhWarnings(inside, wording).empty());

  // An upper bound just above the pores: their interval is the largest one kept.
  meso.m_MaxDiameter = 40.0;
  const CBJHCalc cut(meso);
  ASSERT_EQ(cut.GetStatus(), CBJHCalc::STATUS_OK);
  EXPECT_EQ(cut.GetPeakAtEdge(), 1);
  EXPECT_TRUE(warned(cut, "largest-diameter interval"));
  EXPECT_TRUE(warned(cut, "above the range's upper bound of 40 Å"));
}

// No hidden limit: a branch of 70,000 points is walked whole.
TEST(BJHCalculation, TakesAnyNumberOfPoints) {
  CThicknessFunction hj(CThicknessFunction::eHarkinsJura);
  CBJHCalc::SInput in;
  in.m_pThickness = &hj;
  in.m_MinDiameter = 0.0;
  in.m_MaxDiameter = 1e9;
  for (int i = 0; i < 70000; ++i) {
    const double p = 0.98 - 0.96 * i / 69999.0;
    in.m_RelPress.push_back(p);
    in.m_QtyAdsorbed.push_back(100.0 + 300.0 * p);
  }
  const CBJHCalc bjh(in);
  ASSERT_EQ(bjh.GetStatus(), CBJHCalc::STATUS_OK);
  EXPECT_EQ(bjh.GetNumIntervals(), 70000u - 1);
}
