// Horvath-Kawazoe family: each potential against its published equation evaluated here
// directly (long double, CGS units, the papers' own arrangement of terms), the inversion,
// distributions of isotherms built from the relation itself, and bad inputs.
#include "fiofla/gashk.h"

#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <vector>

#include "test_util.h"

namespace {

using fiofla::HKGeometry;
using fiofla::HKMethod;
using fiofla::HKMolecule;
using fiofla::HKPotential;
using ld = long double;

// CGS: erg, cm, g.
constexpr ld kNa = 6.02214076e23L, kR = 8.314462618e7L, kMe = 9.1093837015e-28L,
             kC = 2.99792458e10L, kPiL = 3.141592653589793238462643L;

struct Reference {
  ld da, ds, d0, ns, na, as, aa, rt;  // cm, 1/cm², erg cm⁶, erg/mol
};

Reference Constants(HKMolecule const& a, HKMolecule const& s, ld t) {
  Reference r;
  r.da = a.diameterAngstrom * 1e-8L;
  r.ds = s.diameterAngstrom * 1e-8L;
  r.d0 = (r.da + r.ds) / 2;
  r.ns = s.surfaceDensityPerCm2;
  r.na = a.surfaceDensityPerCm2;
  const ld mc2 = kMe * kC * kC;
  const ld aa = a.polarisabilityCm3, xa = a.susceptibilityCm3;
  const ld as = s.polarisabilityCm3, xs = s.susceptibilityCm3;
  r.as = 6 * mc2 * aa * as / (aa / xa + as / xs);
  r.aa = 1.5L * mc2 * aa * xa;
  r.rt = kR * t;
  return r;
}

HKMolecule Nitrogen() {
  return fiofla::HKAdsorbates()[0].molecule;
}
HKMolecule Carbon() {
  return *fiofla::FindHKSurface("carbon");
}
HKMolecule Zeolite() {
  return *fiofla::FindHKSurface("zeolite");
}

// Horvath and Kawazoe (1983), l the internuclear width.
ld SlitPublished(Reference const& c, ld widthCm) {
  const ld l = widthCm + c.ds, s = powl(0.4L, 1.0L / 6) * c.d0;
  const ld k = kNa * (c.ns * c.as + c.na * c.aa) / (powl(s, 4) * (l - 2 * c.d0));
  const ld bracket = powl(s, 4) / (3 * powl(l - c.d0, 3)) - powl(s, 10) / (9 * powl(l - c.d0, 9)) -
                     powl(s, 4) / (3 * powl(c.d0, 3)) + powl(s, 10) / (9 * powl(c.d0, 9));
  return k * bracket / c.rt;
}

// Saito and Foley (1991), summed to a fixed, far longer length.
ld CylinderPublished(Reference const& c, ld widthCm, int terms) {
  const ld r = (widthCm + c.ds) / 2, x = c.d0 / r;
  ld alpha = 1, beta = 1, sum = 0;
  for (int k = 0; k < terms; ++k) {
    if (k > 0) {
      alpha *= powl((-4.5L - k) / k, 2);
      beta *= powl((-1.5L - k) / k, 2);
    }
    sum += powl(1 - x, 2 * k) / (k + 1) * (21.0L / 32 * alpha * powl(x, 10) - beta * powl(x, 4));
  }
  return 0.75L * kPiL * kNa * (c.ns * c.as + c.na * c.aa) / powl(c.d0, 4) * sum / c.rt;
}

// Cheng and Yang (1994), their T with the alternating sign inside.
ld SpherePublished(Reference const& c, ld widthCm) {
  const ld l = (widthCm + c.ds) / 2, a = (l - c.d0) / l, x = c.d0 / l;
  auto t = [a](int n) {
    const ld sign = n % 2 == 0 ? 1 : -1;
    return powl(1 + sign * a, -n) - powl(1 - sign * a, -n);
  };
  const ld n1 = 4 * kPiL * l * l * c.ns, n2 = 4 * kPiL * (l - c.d0) * (l - c.d0) * c.na;
  const ld e12 = c.as / (4 * powl(c.d0, 6)), e22 = c.aa / (4 * powl(c.da, 6));
  return kNa * 6 * (n1 * e12 + n2 * e22) * powl(l / (l - c.d0), 3) *
         (-powl(x, 6) * (t(3) / 12 + t(2) / 8) + powl(x, 12) * (t(9) / 90 + t(8) / 80)) / c.rt;
}

// Rege and Yang (2000), slit: M = w/d_a layers.
ld RegeYangPublished(Reference const& c, ld widthCm) {
  const ld l = widthCm + c.ds, s = powl(0.4L, 1.0L / 6) * c.d0, sa = powl(0.4L, 1.0L / 6) * c.da;
  auto wall = [](ld sig, ld z) { return powl(sig / z, 10) - powl(sig / z, 4); };
  const ld es = c.ns * c.as / (2 * powl(s, 4)), ea = c.na * c.aa / (2 * powl(sa, 4));
  const ld m = widthCm / c.da;
  ld e;
  if (m < 2) {
    e = es * (wall(s, c.d0) + wall(s, l - c.d0));
  } else {
    const ld hgg = es * wall(s, c.d0) + ea * wall(sa, c.da), ggg = 2 * ea * wall(sa, c.da);
    e = (2 * hgg + (m - 2) * ggg) / m;
  }
  return kNa * e / c.rt;
}

// Rege and Yang (2000), cylinder and sphere: concentric layers, each feeling what lies
// outside it; the series summed to a fixed, far longer length.
ld RegeYangRoundPublished(Reference const& c, ld widthCm, bool sphere) {
  const ld l = (widthCm + c.ds) / 2;
  const int layers = static_cast<int>((widthCm / c.da - 1) / 2) + 1;
  ld sum = 0, weights = 0;
  for (int i = 1; i <= layers; ++i) {
    const ld outer = i == 1 ? l : l - c.d0 - (i - 2) * c.da;
    const ld a = (i == 1 ? c.d0 : c.da) / outer, b = (l - c.d0 - (i - 1) * c.da) / outer;
    const ld n = i == 1 ? c.ns : c.na, k = i == 1 ? c.as : c.aa, d = i == 1 ? c.d0 : c.da;
    ld e, count;
    if (sphere) {
      const ld big = 4 * kPiL * outer * outer * n, eps = k / (4 * powl(d, 6));
      e = 2 * big * eps *
          (powl(a, 12) / (10 * b) * (powl(1 - b, -10) - powl(1 + b, -10)) -
           powl(a, 6) / (4 * b) * (powl(1 - b, -4) - powl(1 + b, -4)));
      const ld rho = l - c.d0 - (i - 1) * c.da;
      count = 4 * kPiL * rho * rho * c.na;
    } else {
      ld alpha = 1, beta = 1, sa = 0, sb = 0;
      for (int j = 0; j < 20000; ++j) {
        if (j > 0) {
          alpha *= powl((-4.5L - j) / j, 2);
          beta *= powl((-1.5L - j) / j, 2);
        }
        sa += alpha * powl(b, 2 * j);
        sb += beta * powl(b, 2 * j);
      }
      e = 0.75L * kPiL * n * k / powl(d, 4) * (21.0L / 32 * powl(a, 10) * sa - powl(a, 4) * sb);
      const ld circle = 2 * (l - c.d0 - (i - 1) * c.da);
      count = circle >= c.da ? kPiL / asinl(c.da / circle) : 1;
    }
    sum += count * e;
    weights += count;
  }
  return kNa * sum / weights / c.rt;
}

TEST(HKParameters, ShippedSetsAreCompleteAndFoundByTheirNames) {
  for (auto const& a : fiofla::HKAdsorbates()) {
    EXPECT_GT(a.molecule.diameterAngstrom, 0.0) << a.molecule.name;
    EXPECT_GT(a.densityConversion, 0.0) << a.molecule.name;
    EXPECT_GT(a.temperatureK, 0.0) << a.molecule.name;
    EXPECT_FALSE(a.molecule.source.empty()) << a.molecule.name;
    EXPECT_EQ(fiofla::FindHKAdsorbate(a.molecule.name), &a);
  }
  for (auto const& s : fiofla::HKSurfaces()) {
    EXPECT_GT(s.surfaceDensityPerCm2, 0.0) << s.name;
    EXPECT_FALSE(s.source.empty()) << s.name;
    EXPECT_EQ(fiofla::FindHKSurface(s.name), &s);
  }
  EXPECT_EQ(fiofla::FindHKAdsorbate("N2"), &fiofla::HKAdsorbates()[0]);
  EXPECT_EQ(fiofla::FindHKAdsorbate("Argon"), fiofla::FindHKAdsorbate("ar"));
  EXPECT_EQ(fiofla::FindHKSurface("graphite"), nullptr);
  // The 1983 nitrogen, not another table's.
  EXPECT_EQ(Nitrogen().polarisabilityCm3, 1.46e-24);

  // Kirkwood-Müller in SI against the same constants in CGS (1 erg cm⁶ = 1e-19 J m⁶).
  const Reference c = Constants(Nitrogen(), Carbon(), 77.35L);
  EXPECT_REL_CLOSE(fiofla::KirkwoodMullerSurface(Nitrogen(), Carbon()),
                   static_cast<double>(c.as * 1e-19L), 1e-12);
  EXPECT_REL_CLOSE(fiofla::KirkwoodMullerAdsorbate(Nitrogen()), static_cast<double>(c.aa * 1e-19L),
                   1e-12);

  HKGeometry g = HKGeometry::kSlit;
  HKMethod m = HKMethod::kHorvathKawazoe;
  for (HKGeometry each : {HKGeometry::kSlit, HKGeometry::kCylinder, HKGeometry::kSphere}) {
    ASSERT_TRUE(fiofla::HKGeometryFromName(fiofla::HKGeometryName(each), g));
    EXPECT_EQ(g, each);
  }
  for (HKMethod each : {HKMethod::kHorvathKawazoe, HKMethod::kChengYang, HKMethod::kRegeYang}) {
    ASSERT_TRUE(fiofla::HKMethodFromName(fiofla::HKMethodName(each), m));
    EXPECT_EQ(m, each);
  }
  EXPECT_FALSE(fiofla::HKGeometryFromName("cone", g));
  EXPECT_FALSE(fiofla::HKMethodFromName("HK", m));
}

TEST(HKPotential, EachGeometryMatchesItsPublishedEquation) {
  const double t = 77.35;
  const Reference n2c = Constants(Nitrogen(), Carbon(), t);
  const HKPotential slit(HKGeometry::kSlit, false, Nitrogen(), Carbon(), t);
  for (double w : {3.5, 4.0, 6.0, 9.0, 14.0, 30.0})
    EXPECT_REL_CLOSE(slit.LnRelPress(w), static_cast<double>(SlitPublished(n2c, w * 1e-8L)), 1e-12)
        << w;

  const HKPotential ry(HKGeometry::kSlit, true, Nitrogen(), Carbon(), t);
  for (double w : {3.5, 5.0, 5.9, 6.1, 9.0, 25.0})  // both sides of two layers (6 Å)
    EXPECT_REL_CLOSE(ry.LnRelPress(w), static_cast<double>(RegeYangPublished(n2c, w * 1e-8L)),
                     1e-12)
        << w;

  // Argon in a zeolite, the pair Saito and Foley wrote the cylinder for.
  const HKMolecule ar = fiofla::FindHKAdsorbate("argon")->molecule;
  const Reference arz = Constants(ar, Zeolite(), 87.3L);
  const HKPotential cyl(HKGeometry::kCylinder, false, ar, Zeolite(), 87.3);
  for (double w : {3.6, 5.0, 8.0, 12.0, 20.0, 60.0}) {
    EXPECT_REL_CLOSE(cyl.LnRelPress(w),
                     static_cast<double>(CylinderPublished(arz, w * 1e-8L, 20000)), 1e-12)
        << w;
    // Truncated well before the reference's 20000 terms, yet equal at 1e-12.
    EXPECT_GT(cyl.SeriesTerms(w), 1u);
    EXPECT_LT(cyl.SeriesTerms(w), 2000u) << w;
  }
  EXPECT_EQ(slit.SeriesTerms(10.0), 0u);

  // Rege-Yang in one to three layers (argon, 3.4 Å: a second layer from 10.2 Å, a third
  // from 17 Å).
  const HKPotential ryCyl(HKGeometry::kCylinder, true, ar, Zeolite(), 87.3);
  for (double w : {5.0, 8.0, 12.0, 20.0})
    EXPECT_REL_CLOSE(ryCyl.LnRelPress(w),
                     static_cast<double>(RegeYangRoundPublished(arz, w * 1e-8L, false)), 1e-12)
        << w;
  const HKPotential rySphere(HKGeometry::kSphere, true, ar, Zeolite(), 87.3);
  for (double w : {6.0, 8.0, 12.0, 20.0, 30.0})
    EXPECT_REL_CLOSE(rySphere.LnRelPress(w),
                     static_cast<double>(RegeYangRoundPublished(arz, w * 1e-8L, true)), 1e-10)
        << w;

  const HKPotential sphere(HKGeometry::kSphere, false, ar, Zeolite(), 87.3);
  for (double w : {6.0, 8.0, 12.0, 20.0, 40.0})
    EXPECT_REL_CLOSE(sphere.LnRelPress(w), static_cast<double>(SpherePublished(arz, w * 1e-8L)),
                     1e-10)
        << w;
}

TEST(HKPotential, WidthAtInvertsThePotentialOnItsBranch) {
  const HKMolecule n2 = Nitrogen(), c = Carbon();
  const HKPotential potentials[] = {HKPotential(HKGeometry::kSlit, false, n2, c, 77.35),
                                    HKPotential(HKGeometry::kCylinder, false, n2, c, 77.35),
                                    HKPotential(HKGeometry::kSphere, false, n2, c, 77.35),
                                    HKPotential(HKGeometry::kSlit, true, n2, c, 77.35, 40.0),
                                    HKPotential(HKGeometry::kCylinder, true, n2, c, 77.35),
                                    HKPotential(HKGeometry::kSphere, true, n2, c, 77.35)};
  for (HKPotential const& pot : potentials) {
    ASSERT_TRUE(pot.IsValid());
    EXPECT_LT(pot.MinLnRelPress(), pot.MaxLnRelPress());
    // The narrowest pore is the lowest point of the potential.
    for (double dw : {0.01, 0.5, 3.0})
      EXPECT_GT(pot.LnRelPress(pot.MinWidth() + dw), pot.MinLnRelPress());
    for (double f : {0.02, 0.2, 0.5, 0.9}) {
      const double w = pot.MinWidth() + f * (pot.MaxWidth() - pot.MinWidth());
      const double y = pot.LnRelPress(w);
      const double back = pot.WidthAt(y);
      EXPECT_REL_CLOSE(pot.LnRelPress(back), y, 1e-13) << w;
      if (&pot < &potentials[3]) EXPECT_REL_CLOSE(back, w, 1e-10) << w;
    }
    EXPECT_TRUE(std::isnan(pot.WidthAt(pot.MinLnRelPress() - 0.1)));
    EXPECT_TRUE(std::isnan(pot.WidthAt(pot.MaxLnRelPress() + 0.01)));
    EXPECT_TRUE(std::isnan(pot.WidthAt(std::nan(""))));
  }
  // The slit is narrowest at its smallest size. Rege-Yang jumps at two layers
  // (6 Å for nitrogen); a pressure inside the jump gets the jump's width.
  EXPECT_DOUBLE_EQ(potentials[0].MinWidth(), n2.diameterAngstrom);
  const HKPotential& ry = potentials[3];
  const double below = ry.LnRelPress(5.999999), above = ry.LnRelPress(6.000001);
  ASSERT_GT(std::fabs(below - above), 0.1);
  EXPECT_NEAR(ry.WidthAt(0.5 * (below + above)), 6.0, 1e-5);
  EXPECT_GT(ry.WidthAt(std::max(below, above) + 0.01), 6.0);
  EXPECT_LT(ry.WidthAt(std::min(below, above) - 0.01), 6.0);
}

// An isotherm whose pores all have width w: the volume fills in a narrow step around the
// filling pressure of w, as the relation itself gives it.
CHKCalc::SInput SinglePoreIsotherm(HKGeometry geometry, double width, double volume) {
  CHKCalc::SInput in;
  in.m_Geometry = geometry;
  const double lnStep =
      HKPotential(geometry, false, in.m_Adsorbate, in.m_Surface, 77.35).LnRelPress(width);
  for (int k = 0; k <= 120; ++k) {
    const double lnP = std::log(1e-12) + k * (std::log(0.2) - std::log(1e-12)) / 120;
    in.m_RelPress.push_back(std::exp(lnP));
    in.m_QtyAdsorbed.push_back(volume / in.m_DensityConversion /
                               (1.0 + std::exp(-(lnP - lnStep) / 0.15)));
  }
  return in;
}

TEST(HKCalc, SinglePoreIsothermPeaksAtItsWidth) {
  const std::pair<HKGeometry, double> cases[] = {
      {HKGeometry::kSlit, 7.0}, {HKGeometry::kCylinder, 9.0}, {HKGeometry::kSphere, 25.0}};
  for (auto const& [geometry, width] : cases) {
    const CHKCalc calc(SinglePoreIsotherm(geometry, width, 0.3));
    ASSERT_EQ(calc.GetStatus(), CHKCalc::STATUS_OK) << fiofla::HKStatusText(calc.GetStatus());
    CNumVector<double> avg, dv, inc;
    calc.GetAverageWidths(avg);
    calc.GetDifferentialVolume(dv);
    calc.GetIncrementalVolume(inc);
    ASSERT_EQ(avg.size(), dv.size());
    std::size_t peak = 0;
    for (std::size_t i = 0; i < dv.size(); ++i)
      if (dv[i] > dv[peak]) peak = i;
    EXPECT_NEAR(avg[peak], width, 0.05 * width) << fiofla::HKGeometryName(geometry);
    EXPECT_NEAR(calc.GetMedianWidth(), width, 0.02 * width);
    // The cumulative is the liquid volume adsorbed: intervals plus what lies below the first.
    double sum = calc.GetVolumeBelowFirstWidth();
    for (std::size_t i = 0; i < inc.size(); ++i) sum += inc[i];
    EXPECT_REL_CLOSE(sum, calc.GetMicroporeVolume(), 1e-12);
    EXPECT_NEAR(calc.GetMicroporeVolume(), 0.3, 0.01);
    // Widths rise with pressure; the distribution keeps them largest first.
    for (std::size_t k = 1; k < calc.GetWidths().size(); ++k)
      EXPECT_GT(calc.GetWidths()[k], calc.GetWidths()[k - 1]);
    CNumVector<double> bounds;
    calc.GetPoreWidths(bounds);
    EXPECT_EQ(bounds[0], calc.GetWidths().back());
  }
}

TEST(HKCalc, ChengYangCorrectionNarrowsTheWidthsAndVanishesAtLowFilling) {
  CHKCalc::SInput in = SinglePoreIsotherm(HKGeometry::kSlit, 8.0, 0.3);
  const CHKCalc hk(in);
  in.m_Method = HKMethod::kChengYang;
  in.m_LangmuirCapacity = 1e12;  // filling θ close to 0 everywhere
  const CHKCalc tiny(in);
  ASSERT_EQ(tiny.GetStatus(), CHKCalc::STATUS_OK);
  ASSERT_EQ(tiny.GetWidths().size(), hk.GetWidths().size());
  for (std::size_t k = 0; k < hk.GetWidths().size(); ++k)
    EXPECT_REL_CLOSE(tiny.GetWidths()[k], hk.GetWidths()[k], 1e-8);

  // A Langmuir isotherm gives its own capacity back, and the correction (negative, growing
  // with the filling) asks for a deeper potential: narrower pores at every point.
  CHKCalc::SInput lang;
  for (int k = 1; k <= 30; ++k) {
    const double p = 0.2 * std::pow(1e-4, 1.0 - k / 30.0);
    lang.m_RelPress.push_back(p);
    lang.m_QtyAdsorbed.push_back(250.0 * 400.0 * p / (1.0 + 400.0 * p));
  }
  const CHKCalc plain(lang);
  lang.m_Method = HKMethod::kChengYang;
  const CHKCalc fitted(lang);
  ASSERT_EQ(fitted.GetStatus(), CHKCalc::STATUS_OK) << fiofla::HKStatusText(fitted.GetStatus());
  EXPECT_REL_CLOSE(fitted.GetLangmuirCapacity(), 250.0, 1e-10);
  ASSERT_EQ(fitted.GetWidths().size(), plain.GetWidths().size());
  for (std::size_t k = 0; k < plain.GetWidths().size(); ++k)
    EXPECT_LT(fitted.GetWidths()[k], plain.GetWidths()[k]);
  EXPECT_LT(fitted.GetMedianWidth(), plain.GetMedianWidth());
}

TEST(HKCalc, PointsWithoutAWidthAreListedWithTheirReason) {
  CHKCalc::SInput in;
  in.m_MaxWidth = 12.0;
  in.m_RelPress = {1e-30, 0.0, 1e-6, 1e-5, 1e-5, std::nan(""), 1e-3, 0.1, 0.15, 0.3};
  in.m_QtyAdsorbed = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10};
  const CHKCalc calc(in);
  ASSERT_EQ(calc.GetStatus(), CHKCalc::STATUS_OK);
  EXPECT_EQ(calc.GetWidths().size(), 3u);  // 1e-6, 1e-5, 1e-3
  using R = CHKCalc::EDropReason;
  const std::vector<std::pair<std::size_t, R>> expected = {
      {0, CHKCalc::eBelowNarrowest}, {1, CHKCalc::eNotUsable},   {4, CHKCalc::eNotRising},
      {5, CHKCalc::eNotUsable},      {7, CHKCalc::eAboveWidest}, {8, CHKCalc::eAboveWidest},
      {9, CHKCalc::eAboveRange}};
  ASSERT_EQ(calc.GetDroppedPoints().size(), expected.size());
  for (std::size_t k = 0; k < expected.size(); ++k) {
    EXPECT_EQ(calc.GetDroppedPoints()[k].index, expected[k].first);
    EXPECT_EQ(calc.GetDroppedPoints()[k].reason, static_cast<R>(expected[k].second));
    EXPECT_NE(std::string(fiofla::HKDropReasonText(calc.GetDroppedPoints()[k].reason)), "");
  }
}

TEST(HKCalc, BadInputsGiveStatusesAndMessages) {
  EXPECT_EQ(CHKCalc().GetStatus(), CHKCalc::STATUS_NOT_CALCULATED);
  const CHKCalc::SInput good = SinglePoreIsotherm(HKGeometry::kSlit, 7.0, 0.2);
  auto status = [](CHKCalc::SInput const& in) { return CHKCalc(in).GetStatus(); };
  auto text = [](int s) { return std::string(fiofla::HKStatusText(s)); };

  CHKCalc::SInput in = good;
  in.m_Adsorbate.polarisabilityCm3 = -1.0;
  EXPECT_EQ(status(in), CHKCalc::STATUS_BAD_CONSTANTS);
  EXPECT_NE(text(CHKCalc::STATUS_BAD_CONSTANTS).find("polarisability"), std::string::npos);
  in = good;
  in.m_Surface.surfaceDensityPerCm2 = std::nan("");
  EXPECT_EQ(status(in), CHKCalc::STATUS_BAD_CONSTANTS);
  in = good;
  in.m_TemperatureK = 0.0;
  EXPECT_EQ(status(in), CHKCalc::STATUS_BAD_TEMPERATURE);
  EXPECT_NE(text(CHKCalc::STATUS_BAD_TEMPERATURE).find("kelvin"), std::string::npos);
  in = good;
  in.m_DensityConversion = 0.0;
  EXPECT_EQ(status(in), CHKCalc::STATUS_BAD_DENSITY);
  in = good;
  in.m_Method = static_cast<HKMethod>(9);
  EXPECT_EQ(status(in), CHKCalc::STATUS_BAD_SETTINGS);
  EXPECT_NE(text(CHKCalc::STATUS_BAD_SETTINGS).find("method"), std::string::npos);
  in = good;
  in.m_Geometry = static_cast<HKGeometry>(7);
  EXPECT_EQ(status(in), CHKCalc::STATUS_BAD_SETTINGS);
  in = good;
  in.m_MaxRelPress = -0.1;
  EXPECT_EQ(status(in), CHKCalc::STATUS_BAD_SETTINGS);
  in = good;
  in.m_MaxWidth = 2.0;  // below nitrogen's narrowest slit, 3 Å
  EXPECT_EQ(status(in), CHKCalc::STATUS_BAD_SETTINGS);
  EXPECT_NE(text(CHKCalc::STATUS_BAD_SETTINGS).find("narrowest pore"), std::string::npos);
  in = good;
  in.m_Method = HKMethod::kChengYang;
  for (double& q : in.m_QtyAdsorbed) q = 0.0;  // nothing adsorbed: no Langmuir capacity
  EXPECT_EQ(status(in), CHKCalc::STATUS_NO_CAPACITY);
  EXPECT_NE(text(CHKCalc::STATUS_NO_CAPACITY).find("Langmuir"), std::string::npos);
  in = good;
  in.m_RelPress.resize(1);
  const CHKCalc one(in);
  EXPECT_EQ(one.GetStatus(), CHKCalc::STATUS_TOO_FEW_POINTS);
  EXPECT_EQ(one.GetMicroporeVolume(), 0.0);
  CNumVector<double> w;
  one.GetPoreWidths(w);
  EXPECT_EQ(w.size(), 0u);
  EXPECT_EQ(text(99), "unknown status");
}

}  // namespace
