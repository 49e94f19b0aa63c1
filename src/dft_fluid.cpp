#include "fiofla/dft_fluid.h"

#include <algorithm>
#include <cmath>

namespace fiofla::dft {
namespace {

constexpr double kPi = 3.14159265358979323846;
constexpr double kBoltzmann = 1.380649e-23;  // J/K

}  // namespace

BulkFluid::BulkFluid(LJFluid const& fluid, double temperatureK)
    : m_fluid(fluid), m_temperature(temperatureK) {
  const double e = fluid.epsilonK / temperatureK, s = fluid.sigmaNm;
  const double rm = std::pow(2.0, 1.0 / 6.0) * s, rc = fluid.cutoffSigma * s;
  // ∫ 4e((s/r)^12 − (s/r)^6) r² dr = 4e (−s^12 / (9 r^9) + s^6 / (3 r^3)).
  auto tail = [&](double r) {
    return 4.0 * e *
           (-std::pow(s, 12) / (9.0 * std::pow(r, 9)) + std::pow(s, 6) / (3.0 * r * r * r));
  };
  m_a = 4.0 * kPi * (-e * rm * rm * rm / 3.0 + (rc > rm ? tail(rc) - tail(rm) : 0.0));
  m_d3 = kPi / 6.0 * std::pow(fluid.diameterNm, 3);
  // Every pressure of every kernel asks for Po and the coexisting densities.
  m_coexistence = FindCoexistence();
}

double BulkFluid::AttractivePotential(double r) const {
  const double e = m_fluid.epsilonK / m_temperature, s = m_fluid.sigmaNm;
  const double rm = std::pow(2.0, 1.0 / 6.0) * s;
  if (r < rm) return -e;
  if (r > m_fluid.cutoffSigma * s) return 0.0;
  const double q = std::pow(s / r, 6);
  return 4.0 * e * (q * q - q);
}

double BulkFluid::FreeEnergyDensity(double rho) const {
  const double eta = m_d3 * rho;
  return rho * (std::log(rho) - 1.0) + rho * eta * (4.0 - 3.0 * eta) / ((1.0 - eta) * (1.0 - eta)) +
         0.5 * m_a * rho * rho;
}

double BulkFluid::HardSphereExcessMu(double rho) const {
  const double eta = m_d3 * rho, g = 1.0 - eta;
  return eta * (8.0 - 9.0 * eta + 3.0 * eta * eta) / (g * g * g);
}

double BulkFluid::ChemicalPotential(double rho) const {
  return std::log(rho) + HardSphereExcessMu(rho) + m_a * rho;
}

double BulkFluid::Pressure(double rho) const {
  const double eta = m_d3 * rho, g = 1.0 - eta;
  return rho * (1.0 + eta + eta * eta - eta * eta * eta) / (g * g * g) + 0.5 * m_a * rho * rho;
}

double BulkFluid::ChemicalPotentialSlope(double rho) const {
  // d/dρ of η(8 − 9η + 3η²)/(1 − η)³ is η'(8 − 2η)/(1 − η)⁴.
  const double eta = m_d3 * rho, g = 1.0 - eta;
  return 1.0 / rho + m_d3 * (8.0 - 2.0 * eta) / (g * g * g * g) + m_a;
}

double BulkFluid::PascalPerUnit() const {
  return kBoltzmann * m_temperature * 1e27;
}

Coexistence BulkFluid::FindCoexistence() const {
  Coexistence c;
  const double top = 0.999 / m_d3;
  auto slope = [&](double r) { return ChemicalPotentialSlope(r); };
  // dμ/dρ falls from +∞, has one minimum and rises to +∞ at close packing; there is a loop
  // where that minimum is negative. Golden section finds it.
  double lo = 1e-12 * top, hi = top;
  for (int k = 0; k < 200; ++k) {
    const double a = lo + 0.381966 * (hi - lo), b = lo + 0.618034 * (hi - lo);
    if (slope(a) < slope(b))
      hi = b;
    else
      lo = a;
  }
  const double middle = 0.5 * (lo + hi);
  if (!(slope(middle) < 0.0)) return c;
  // The spinodals, where the slope crosses zero on either side of the minimum.
  auto zero = [&](double a, double b) {
    const bool positiveAtA = slope(a) > 0.0;
    for (int k = 0; k < 200; ++k) {
      const double m = 0.5 * (a + b);
      if ((slope(m) > 0.0) == positiveAtA)
        a = m;
      else
        b = m;
    }
    return 0.5 * (a + b);
  };
  const double spinV = zero(1e-12 * top, middle), spinL = zero(top, middle);
  // The start: each branch's density at the pressure halfway between the spinodals' (the
  // liquid spinodal's taken as 0 when negative); P rises with ρ on both branches.
  const double pStart = 0.5 * (std::max(Pressure(spinL), 0.0) + Pressure(spinV));
  auto atPressure = [&](double a, double b, double p) {
    for (int k = 0; k < 200; ++k) {
      const double m = 0.5 * (a + b);
      if (Pressure(m) < p)
        a = m;
      else
        b = m;
    }
    return 0.5 * (a + b);
  };
  double rv = atPressure(1e-14 * spinV, spinV, pStart);
  double rl = atPressure(spinL, top, pStart);
  for (c.iterations = 0; c.iterations < 100; ++c.iterations) {
    const double f1 = ChemicalPotential(rl) - ChemicalPotential(rv);
    const double f2 = Pressure(rl) - Pressure(rv);
    const double ml = slope(rl), mv = slope(rv);
    // Jacobian [[ml, −mv], [rl ml, −rv mv]] (dP/dρ = ρ dμ/dρ).
    const double det = ml * mv * (rl - rv);
    if (!(det != 0.0) || !std::isfinite(det)) break;
    const double drl = (-rv * mv * f1 + mv * f2) / det;
    const double drv = (-rl * ml * f1 + ml * f2) / det;
    // Each density stays on its side of the loop.
    rl = std::clamp(rl - drl, 0.5 * (rl + spinL), top);
    rv = std::clamp(rv - drv, 0.5 * rv, 0.5 * (rv + spinV));
    // Tolerances on the size of the terms that cancel in the liquid's μ and P.
    const double terms = 1.0 + std::fabs(m_a) * rl + HardSphereExcessMu(rl);
    const double muTol = 4e-15 * terms, pTol = 4e-15 * rl * terms;
    if (std::fabs(ChemicalPotential(rl) - ChemicalPotential(rv)) <= muTol &&
        std::fabs(Pressure(rl) - Pressure(rv)) <= pTol) {
      c.ok = rv < spinV && rl > spinL;
      break;
    }
  }
  c.liquid = rl;
  c.vapour = rv;
  c.mu = ChemicalPotential(rv);
  c.pressure = Pressure(rv);
  return c;
}

double BulkFluid::VapourDensityAt(double pressure) const {
  if (!(pressure > 0.0)) return -1.0;
  // Below the vapour spinodal P rises with ρ; Newton from the ideal gas, kept positive.
  double rho = pressure;
  for (int k = 0; k < 200; ++k) {
    const double dp = rho * ChemicalPotentialSlope(rho);
    if (!(dp > 0.0)) return -1.0;
    const double step = (Pressure(rho) - pressure) / dp;
    const double next = std::max(0.5 * rho, rho - step);
    if (std::fabs(next - rho) <= 1e-15 * rho) return next;
    rho = next;
  }
  return std::fabs(Pressure(rho) - pressure) <= 1e-12 * pressure ? rho : -1.0;
}

double BulkFluid::LiquidDensityAt(double mu) const {
  const Coexistence& c = m_coexistence;
  if (!c.ok) return -1.0;
  double rho = c.liquid;
  for (int k = 0; k < 200; ++k) {
    const double slope = ChemicalPotentialSlope(rho);
    if (!(slope > 0.0)) return -1.0;
    const double next =
        std::min(rho - (ChemicalPotential(rho) - mu) / slope, 0.5 * (rho + 1.0 / m_d3));
    if (std::fabs(next - rho) <= 1e-15 * rho) return next;
    rho = next;
  }
  return rho;
}

}  // namespace fiofla::dft
