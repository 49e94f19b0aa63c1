// The bulk Lennard-Jones fluid of the density functional that our DFT kernels are computed
// with: its free energy, pressure and chemical potential, and its own vapour-liquid
// coexistence at a temperature, so that a kernel's P/Po means the model's P/Po.
//
// Method: hard spheres of diameter d by the White Bear version of fundamental measure
// theory (Roth, Evans, Lang and Kahl 2002), whose bulk limit is exactly the
// Carnahan-Starling equation of state (Rosenfeld's 1989 original gives the Percus-Yevick
// compressibility equation, which overestimates the hard-sphere pressure of a liquid by a
// few per cent); plus the Lennard-Jones attraction in mean field, split at the potential
// minimum r_m = 2^(1/6) σ as Weeks, Chandler and Andersen did (−ε inside r_m, the full
// potential beyond) and cut at r_c = cutoff × σ without a shift. In the bulk the attraction
// adds a ρ²/2 to the free energy density, a = ∫ u_att(r) d³r.
//
// Units: lengths nm, number densities nm⁻³, energies kT (so pressures kT/nm³) unless a
// name says otherwise. The thermal wavelength is left out of μ (it cancels in every
// comparison between bulk and pore).
//
// Coexistence: Newton's method on μ(ρ_l) = μ(ρ_v), P(ρ_l) = P(ρ_v), started from the
// densities of both branches at the pressure halfway between the spinodals', until μ and P
// of the two agree to rounding (4e-15 of the size of the terms that cancel in the liquid's
// μ and P). Cost: microseconds.
// Guarantees: Coexist() returns ok only for a converged pair with ρ_v < ρ_l on either side
// of the spinodal; above the model's critical temperature there is none (ok false).
#pragma once

namespace fiofla::dft {

/// A Lennard-Jones fluid as the functional sees it.
struct LJFluid {
  double epsilonK = 0.0;     ///< well depth ε/k, K
  double sigmaNm = 0.0;      ///< σ, nm
  double diameterNm = 0.0;   ///< hard-sphere diameter d, nm
  double cutoffSigma = 5.0;  ///< r_c / σ
  double molarMass = 0.0;    ///< g/mol, for information only
};

/// Vapour-liquid coexistence of the model.
struct Coexistence {
  bool ok = false;
  double liquid = 0.0;    ///< nm⁻³
  double vapour = 0.0;    ///< nm⁻³
  double mu = 0.0;        ///< kT
  double pressure = 0.0;  ///< kT/nm³
  int iterations = 0;
};

/// The bulk fluid at one temperature (see the top of this header).
class BulkFluid {
 public:
  BulkFluid(LJFluid const& fluid, double temperatureK);

  LJFluid const& Fluid() const { return m_fluid; }
  double Temperature() const { return m_temperature; }
  /// a = ∫ u_att d³r, kT nm³ (negative).
  double Attraction() const { return m_a; }
  /// The attractive potential u_att(r) in kT (WCA split, cut at r_c).
  double AttractivePotential(double rNm) const;

  /// Helmholtz free energy density f(ρ), kT/nm³.
  double FreeEnergyDensity(double rho) const;
  /// μ = df/dρ, kT.
  double ChemicalPotential(double rho) const;
  /// P = ρ μ − f, kT/nm³.
  double Pressure(double rho) const;
  /// dμ/dρ, kT nm³.
  double ChemicalPotentialSlope(double rho) const;
  /// The excess hard-sphere part of μ (Carnahan-Starling), kT.
  double HardSphereExcessMu(double rho) const;

  /// The model's vapour-liquid coexistence (found once, at construction).
  Coexistence const& Coexist() const { return m_coexistence; }
  /// The vapour density whose pressure is `pressure` (kT/nm³), below the vapour spinodal;
  /// negative when there is none.
  double VapourDensityAt(double pressure) const;
  /// The density on the liquid side whose μ is `mu`; negative when there is none.
  double LiquidDensityAt(double mu) const;

  /// kT/nm³ in Pa at this temperature.
  double PascalPerUnit() const;

 private:
  LJFluid m_fluid;
  double m_temperature;
  double m_a = 0.0;
  double m_d3 = 0.0;  // π d³ / 6: the packing fraction per unit density
  Coexistence m_coexistence;

  Coexistence FindCoexistence() const;
};

}  // namespace fiofla::dft
