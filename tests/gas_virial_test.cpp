// Thermal virial equation: coefficients from exact virial data, agreement of its isosteric
// heat with the Clausius-Clapeyron isostere, and the CModel inversions.
#include "fiofla/gas_virial.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>
#include <vector>

#include "fiofla/gashoa.h"
#include "test_util.h"

namespace {

using NIsothermModel::CVirialExpansion;
using NIsothermModel::SPressQAds;

const std::vector<double> kA{-2500.0, 15.0, -0.05};  // K, K g/cm³, K (g/cm³)²
const std::vector<double> kB{12.0, -0.02, 1e-4};     // ln mmHg g/cm³ and its slopes
const std::vector<double> kTemps{273.15, 298.15, 323.15};

double LnP(double N, double T) {
  double a = 0.0, b = 0.0;
  for (std::size_t i = kA.size(); i-- > 0;) a = a * N + kA[i];
  for (std::size_t j = kB.size(); j-- > 0;) b = b * N + kB[j];
  return std::log(N) + a / T + b;
}

std::vector<CVirialExpansion::SIsotherm> ExactVirialIsotherms() {
  std::vector<CVirialExpansion::SIsotherm> isos;
  for (double T : kTemps) {
    CVirialExpansion::SIsotherm iso;
    iso.temperatureK = T;
    for (int i = 0; i < 25; ++i) {
      const double N = 1.0 + 4.0 * i;  // 1 .. 97 cm³/g
      iso.points.push_back({std::exp(LnP(N, T)), N});
    }
    isos.push_back(iso);
  }
  return isos;
}

TEST(VirialExpansion, ExactVirialDataGiveTheCoefficientsBack) {
  CVirialExpansion::SOptions given;
  given.orderA = 2;
  given.orderB = 2;
  const CVirialExpansion fixed(ExactVirialIsotherms(), given);
  const CVirialExpansion chosen(ExactVirialIsotherms());  // orders by AICc
  for (auto const* fit : {&fixed, &chosen}) {
    ASSERT_TRUE(fit->IsValid());
    ASSERT_EQ(fit->GetA().size(), kA.size());
    ASSERT_EQ(fit->GetB().size(), kB.size());
    for (std::size_t i = 0; i < kA.size(); ++i) EXPECT_REL_CLOSE(fit->GetA()[i], kA[i], 1e-8);
    for (std::size_t j = 0; j < kB.size(); ++j) EXPECT_REL_CLOSE(fit->GetB()[j], kB[j], 1e-8);
    EXPECT_EQ(fit->GetPointCount(), 75u);
    for (double r : fit->GetResiduals()) EXPECT_NEAR(r, 0.0, 1e-10);
    // Henry constant and heat follow from the coefficients.
    ASSERT_EQ(fit->GetHenryConstants().size(), 3u);
    for (std::size_t t = 0; t < 3; ++t)
      EXPECT_REL_CLOSE(fit->GetHenryConstants()[t], std::exp(-kB[0] - kA[0] / kTemps[t]), 1e-7);
    EXPECT_REL_CLOSE(fit->GetIsostericHeat(0.0), -0.00831441 * kA[0], 1e-8);
    EXPECT_LT(fit->GetIsostericHeatError(50.0), 1e-6);
  }
}

TEST(VirialExpansion, TooFewPointsOrOneTemperatureLeaveItInvalid) {
  auto isos = ExactVirialIsotherms();
  const CVirialExpansion oneT({isos[0]});
  EXPECT_FALSE(oneT.IsValid());
  EXPECT_EQ(oneT.GetStatus(), CVirialExpansion::eTooFewPoints);
  EXPECT_EQ(oneT.GetIsostericHeat(10.0), 0.0);
  EXPECT_EQ(oneT.GetModelQuantityAds(100.0), 0.0);
  EXPECT_EQ(oneT.GetHenryConstant(300.0), 0.0);

  for (auto& iso : isos) iso.points.resize(1);
  EXPECT_FALSE(CVirialExpansion(isos).IsValid());
  // Points at zero pressure or quantity are left out, not fitted as ln 0.
  auto withZeros = ExactVirialIsotherms();
  for (auto& iso : withZeros) iso.points.push_back({0.0, 0.0});
  EXPECT_EQ(CVirialExpansion(withZeros).GetPointCount(), 75u);
}

TEST(VirialExpansion, ModelInvertsAndIntegratesConsistently) {
  const CVirialExpansion fit(ExactVirialIsotherms());
  ASSERT_TRUE(fit.IsValid());
  for (double T : kTemps) {
    const CVirialExpansion model = fit.AtTemperature(T);
    EXPECT_EQ(model.GetModelTemperature(), T);
    for (double N : {0.01, 1.0, 20.0, 97.0, 150.0}) {
      const double P = model.GetModelPressure(N);
      EXPECT_REL_CLOSE(std::log(P), LnP(N, T), 1e-9);
      EXPECT_REL_CLOSE(model.GetModelQuantityAds(P), N, 1e-10);
    }
    // Closed-form spreading pressure against the trapezoid rule in ln P on a fine grid.
    std::vector<SPressQAds> pts;
    for (int i = 0; i <= 4000; ++i) {
      const double N = 1e-6 * std::pow(80.0 / 1e-6, i / 4000.0);
      pts.push_back({model.GetModelPressure(N), N});
    }
    const auto numeric = NIsothermModel::GetSpreadingPressure(pts);
    const double P80 = pts.back().pressure;
    EXPECT_REL_CLOSE(model.GetModelSpreadingPressure(P80), numeric.back().quantityAds + 1e-6, 1e-5);
    // The inherited inversion from spreading pressure finds the point back.
    double P = 1.0, q = 0.0;
    ASSERT_TRUE(model.GetModelPressureAndQuantityAds(model.GetModelSpreadingPressure(P80), P, q));
    EXPECT_REL_CLOSE(q, 80.0, 1e-3);
  }
  EXPECT_EQ(fit.GetModelQuantityAds(0.0), 0.0);
  EXPECT_EQ(fit.GetModelPressure(-1.0), 0.0);
  EXPECT_FALSE(fit.IsPressureIndependentVariable());
}

// Dual-site Langmuir with site heats of 30 and 18 kJ/mol: a heterogeneous surface whose
// isosteric heat falls with loading.
double DualSite(double P, double T) {
  const double R = 8.314462618e-3;
  const double b1 = 1e-7 * std::exp(30.0 / (R * T)), b2 = 1e-6 * std::exp(18.0 / (R * T));
  return 20.0 * b1 * P / (1.0 + b1 * P) + 60.0 * b2 * P / (1.0 + b2 * P);
}

// ln P at which the dual-site isotherm holds N, by bisection in ln P.
double LnPDualSite(double N, double T) {
  double lo = -30.0, hi = 30.0;
  for (int i = 0; i < 200; ++i) {
    const double mid = 0.5 * (lo + hi);
    (DualSite(std::exp(mid), T) < N ? lo : hi) = mid;
  }
  return 0.5 * (lo + hi);
}

// Isotherms of one made-up gas on a heterogeneous surface, with 0.2 % noise on the quantity.
TEST(VirialExpansion, IsostericHeatAgreesWithClausiusClapeyron) {
  std::mt19937 rng(20261125);
  std::normal_distribution<double> noise(0.0, 0.002);
  std::vector<CVirialExpansion::SIsotherm> isos;
  for (double T : kTemps) {
    CVirialExpansion::SIsotherm iso;
    iso.temperatureK = T;
    for (int i = 0; i < 40; ++i) {
      const double P = 0.5 * std::pow(760.0 / 0.5, i / 39.0);
      iso.points.push_back({P, DualSite(P, T) * (1.0 + noise(rng))});
    }
    isos.push_back(iso);
  }
  const CVirialExpansion fit(isos);
  ASSERT_TRUE(fit.IsValid());
  for (double N : {5.0, 10.0, 20.0, 30.0}) {
    CIsostereCalc::CInput input(N);
    for (auto const& iso : isos) {
      CNumVector<double> P(iso.points.size()), q(iso.points.size());
      for (std::size_t i = 0; i < iso.points.size(); ++i) {
        P[i] = iso.points[i].pressure;
        q[i] = iso.points[i].quantityAds;
      }
      input.AddIsotherm(P, q, iso.temperatureK);
    }
    const CIsostereCalc cc(input);
    ASSERT_TRUE(cc.IsOK()) << "N = " << N;
    // 95 % intervals overlap: three points leave the isostere one degree of freedom (Student t
    // 12.706); the virial fit has over a hundred (normal 1.96).
    const double band = 12.706 * cc.GetUncertainty() + 1.96 * fit.GetIsostericHeatError(N);
    EXPECT_NEAR(fit.GetIsostericHeat(N), cc.HeatOfAdsorption(), band)
        << "N = " << N << ", virial " << fit.GetIsostericHeat(N) << " ± "
        << fit.GetIsostericHeatError(N) << ", isostere " << cc.HeatOfAdsorption() << " ± "
        << cc.GetUncertainty();
    EXPECT_GT(band, 0.0);
    // And the virial heat lies within three standard errors of the generating model's heat,
    // the Clausius-Clapeyron secant at constant N between the end temperatures.
    const double x1 = 1.0 / kTemps.front(), x2 = 1.0 / kTemps.back();
    const double qTrue =
        -0.00831441 * (LnPDualSite(N, kTemps.front()) - LnPDualSite(N, kTemps.back())) / (x1 - x2);
    EXPECT_NEAR(fit.GetIsostericHeat(N), qTrue, 3.0 * fit.GetIsostericHeatError(N)) << "N = " << N;
  }
}

}  // namespace
