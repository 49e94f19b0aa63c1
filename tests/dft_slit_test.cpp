// Density profiles in carbon slits: bulk in the middle of a wide pore, Gibbs adsorption
// from the grand potential, independence of the grid, filling pressure against width.
#include "fiofla/dft_slit.h"

#include <gtest/gtest.h>

#include <cmath>
#include <vector>

namespace {

using namespace fiofla::dft;

const LJFluid kNitrogen{94.45, 0.3575, 0.3575, 5.0, 28.0134};
const SteeleWall kCarbon{53.22, 0.3494};

struct Nitrogen {
  BulkFluid bulk{kNitrogen, 77.35};
  Coexistence coexistence = bulk.Coexist();
  // μ and the vapour density at a relative pressure of the model.
  double Mu(double x) const { return bulk.ChemicalPotential(Vapour(x)); }
  double Vapour(double x) const { return bulk.VapourDensityAt(x * coexistence.pressure); }
};

// Relative pressures from 1e-7 to `top`, `perDecade` a decade, ending at `top` itself.
std::vector<double> Pressures(double top, int perDecade) {
  std::vector<double> x;
  for (int k = 0;; ++k) {
    const double p = 1e-7 * std::pow(10.0, double(k) / perDecade);
    if (p >= top * (1.0 - 1e-9)) break;
    x.push_back(p);
  }
  x.push_back(top);
  return x;
}

// The profile at the last of the pressures, each solved from the previous one.
SlitProfile Sweep(SlitPore const& pore, Nitrogen const& n2, std::vector<double> const& x) {
  SlitProfile prof;
  for (double p : x) prof = pore.Solve(n2.Mu(p), prof.rho, n2.Vapour(p));
  return prof;
}

// The amounts of the adsorption branch, every point converged.
std::vector<double> Branch(SlitPore const& pore, std::vector<double> const& x) {
  std::vector<double> amount;
  for (BranchPoint const& pt : AdsorptionBranch(pore, x)) {
    EXPECT_TRUE(pt.converged) << "P/Po " << pt.relativePressure << " in " << pore.WidthNm()
                              << " nm";
    amount.push_back(pt.amount);
  }
  return amount;
}

TEST(DftSlit, WidePoreHoldsTheBulkInItsMiddleAndIsSymmetric) {
  const Nitrogen n2;
  ASSERT_TRUE(n2.coexistence.ok);
  const SlitPore pore(n2.bulk, kCarbon, 10.0);
  // A vapour at P/Po 0.3: a film on each wall, the bulk vapour between.
  const SlitProfile vapour = Sweep(pore, n2, Pressures(0.3, 4));
  ASSERT_TRUE(vapour.converged);
  // The middle holds the bulk fluid of the local chemical potential μ − V (the walls still
  // pull 5 nm away by some 0.005 kT), to 1e-5 kT (the density still varies slowly there).
  const std::size_t n = vapour.rho.size(), mid = n / 2;
  EXPECT_NEAR(n2.bulk.ChemicalPotential(vapour.rho[mid]) + pore.External()[mid], n2.Mu(0.3), 1e-5);
  EXPECT_NEAR(vapour.rho[mid], n2.Vapour(0.3), 0.01 * n2.Vapour(0.3));
  for (std::size_t i = 0; i < n; ++i)
    EXPECT_NEAR(vapour.rho[i], vapour.rho[n - 1 - i], 1e-9 * vapour.rho[i]);
  // The same pore full of liquid at P/Po 0.95: the bulk liquid of that μ in the middle.
  const double mu = n2.Mu(0.95);
  const SlitProfile liquid = pore.Solve(mu, {}, n2.bulk.LiquidDensityAt(mu));
  ASSERT_TRUE(liquid.converged);
  EXPECT_NEAR(liquid.rho[mid], n2.bulk.LiquidDensityAt(mu), 2e-3 * n2.bulk.LiquidDensityAt(mu));
  EXPECT_GT(liquid.amount, 5.0 * vapour.amount);
  // Below Po the filled pore is the more stable state only in the narrow pores.
  EXPECT_GT(liquid.grandPotential, -1e9);
}

TEST(DftSlit, AmountIsMinusTheSlopeOfTheGrandPotential) {
  const Nitrogen n2;
  SlitSettings tight;
  tight.tolerance = 1e-12;
  for (double width : {0.8, 2.5}) {
    const SlitPore pore(n2.bulk, kCarbon, width, tight);
    for (double x : {1e-4, 0.2}) {
      const double mu = n2.Mu(x), h = 1e-4;
      const SlitProfile mid = Sweep(pore, n2, Pressures(x, 4));
      const SlitProfile up = pore.Solve(mu + h, mid.rho, 0.0);
      const SlitProfile down = pore.Solve(mu - h, mid.rho, 0.0);
      ASSERT_TRUE(mid.converged && up.converged && down.converged);
      const double slope = (up.grandPotential - down.grandPotential) / (2.0 * h);
      EXPECT_NEAR(-slope, mid.amount, 1e-5 * mid.amount) << width << " nm, P/Po " << x;
    }
  }
}

TEST(DftSlit, HalvingTheGridSpacingChangesAmountsBelowOnePerMille) {
  const Nitrogen n2;
  SlitSettings fine;
  fine.pointsPerRadius = 2 * SlitSettings().pointsPerRadius;
  const std::vector<double> x = Pressures(0.6, 4);
  for (double width : {0.7, 3.0}) {
    const std::vector<double> coarse = Branch(SlitPore(n2.bulk, kCarbon, width), x);
    const std::vector<double> finer = Branch(SlitPore(n2.bulk, kCarbon, width, fine), x);
    for (std::size_t k = 0; k < x.size(); ++k)
      EXPECT_NEAR(finer[k], coarse[k], 1e-3 * finer[k]) << width << " nm, P/Po " << x[k];
  }
}

TEST(DftSlit, FillingPressureRisesWithWidth) {
  const Nitrogen n2;
  const std::vector<double> x = Pressures(0.98, 10);
  double last = 0.0;
  for (double width : {0.6, 0.8, 1.0, 1.5, 2.0, 3.0}) {
    const std::vector<double> amount = Branch(SlitPore(n2.bulk, kCarbon, width), x);
    // The filling step: the largest rise between neighbouring pressures.
    std::size_t step = 1;
    for (std::size_t k = 1; k < amount.size(); ++k)
      if (amount[k] - amount[k - 1] > amount[step] - amount[step - 1]) step = k;
    EXPECT_GT(x[step], last) << width << " nm";
    last = x[step];
  }
}

}  // namespace
