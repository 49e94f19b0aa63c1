#include "fiofla/dft_kernel_builder.h"

#include <rapidjson/prettywriter.h>
#include <rapidjson/stringbuffer.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <mutex>
#include <thread>

#include "fiofla/io/isotherm_file.h"

namespace fiofla::dft {
namespace {

constexpr double kAvogadro = 6.02214076e23;
// Molecules per nm² in cm3 STP per m²: 1e18 nm² a m², 22414 cm3 STP a mole.
constexpr double kPerNm2ToCm3StpPerM2 = 1e18 / kAvogadro * 22414.0;

struct Point {
  double amount = 0.0, omega = 0.0;
  bool converged = false;
  std::vector<double> rho;
};

// One branch over the pressures in the order of `order` (indices into x), each solved from
// the profile before; where that fails, from the other phase's start (the state followed
// has ceased to exist).
std::vector<Point> Branch(SlitPore const& pore, std::vector<double> const& x, bool ascending,
                          PoreIsotherm& out) {
  BulkFluid const& fluid = pore.Fluid();
  const Coexistence& c = fluid.Coexist();
  std::vector<Point> points(x.size());
  std::vector<double> previous;
  // A branch never runs backwards: a state holding less than the one before at a higher
  // pressure (more, going down) is not its continuation but another state the iteration
  // fell into (in micropores, a half-filled layer), and is treated as a failed step.
  double lastAmount = -1.0;
  auto along = [&](SlitProfile const& p) {
    if (!p.converged) return false;
    if (lastAmount < 0.0) return true;
    const double slack = 1e-7 * lastAmount;
    return ascending ? p.amount >= lastAmount - slack : p.amount <= lastAmount + slack;
  };
  for (std::size_t step = 0; step < x.size(); ++step) {
    const std::size_t k = ascending ? step : x.size() - 1 - step;
    const double mu = ChemicalPotentialAt(fluid, x[k]);
    const double vapour = fluid.VapourDensityAt(x[k] * c.pressure);
    const double liquid = fluid.LiquidDensityAt(mu);
    const double liquidStart = liquid > 0.0 ? liquid : c.liquid;
    SlitProfile prof = pore.Solve(mu, previous, ascending ? vapour : liquidStart);
    out.iterations += prof.iterations;
    // A step too long for the iteration: walk to it from the last converged pressure in
    // 4, then 16 geometric sub-steps.
    for (int parts = 4; !along(prof) && !previous.empty() && step > 0 && parts <= 16; parts *= 4) {
      const double from = x[ascending ? k - 1 : k + 1];
      std::vector<double> walk = previous;
      bool ok = true;
      for (int q = 1; q <= parts && ok; ++q) {
        const double xq = from * std::pow(x[k] / from, double(q) / parts);
        const SlitProfile sub = pore.Solve(ChemicalPotentialAt(fluid, xq), walk, 0.0);
        out.iterations += sub.iterations;
        ok = sub.converged;
        if (ok) walk = sub.rho;
        if (ok && q == parts && (along(sub) || !prof.converged)) prof = sub;
      }
    }
    if (!along(prof)) {
      SlitProfile other = pore.Solve(mu, {}, ascending ? liquidStart : vapour);
      out.iterations += other.iterations;
      if (other.converged || !prof.converged) prof = std::move(other);
    }
    Point& p = points[k];
    p.converged = prof.converged;
    p.amount = prof.amount;
    p.omega = prof.grandPotential;
    if (prof.converged) {
      lastAmount = prof.amount;
      previous = prof.rho;
      p.rho = std::move(prof.rho);
    } else {
      ++out.unconverged;
      if (out.firstUnconverged == 0.0 || x[k] < out.firstUnconverged) out.firstUnconverged = x[k];
    }
  }
  return points;
}

// The pressure of the largest rise of `amount` between neighbours k − 1 and k for k in
// [from, to], as the geometric mean of the two: over the hysteresis loop only, so that a
// steep but reversible rise elsewhere (a first layer in a micropore) is not taken for it.
double StepPressure(std::vector<double> const& x, std::vector<double> const& amount,
                    std::size_t from, std::size_t to) {
  std::size_t best = from;
  for (std::size_t k = from; k <= to; ++k)
    if (amount[k] - amount[k - 1] > amount[best] - amount[best - 1]) best = k;
  return std::sqrt(x[best - 1] * x[best]);
}

}  // namespace

PoreIsotherm ComputePoreIsotherm(BulkFluid const& fluid, SteeleWall const& wall, double widthNm,
                                 std::vector<double> const& x, SlitSettings const& settings) {
  const auto start = std::chrono::steady_clock::now();
  PoreIsotherm out;
  out.widthNm = widthNm;
  const SlitPore pore(fluid, wall, widthNm, settings);
  const std::vector<Point> ads = Branch(pore, x, true, out);
  const std::vector<Point> des = Branch(pore, x, false, out);
  const std::size_t n = x.size();
  double largest = 0.0, apart = 0.0;
  for (std::size_t k = 0; k < n; ++k) {
    out.adsorption.push_back(ads[k].amount);
    out.desorption.push_back(des[k].amount);
    largest = std::max(largest, std::fabs(ads[k].amount));
    apart = std::max(apart, std::fabs(ads[k].amount - des[k].amount));
    out.adsorptionConverged.push_back(ads[k].converged);
    out.desorptionConverged.push_back(des[k].converged);
  }
  if (apart > 1e-6 * largest && n >= 2) {
    // Equal grand potentials. Over the pressures where the branches differ, the film is the
    // more stable below the transition and the filled pore above; just outside that range
    // only one of the two exists. The first pressure where the filled pore wins (or the
    // film is gone) and the one before it bracket the transition, which is bisected.
    auto same = [&](double a, double b) { return std::fabs(a - b) <= 1e-6 * largest; };
    std::size_t first = n, last = 0;
    for (std::size_t k = 0; k < n; ++k)
      if (ads[k].converged && des[k].converged && !same(ads[k].amount, des[k].amount)) {
        first = std::min(first, k);
        last = k;
      }
    if (first < n) {
      // The adsorption branch rises (and the desorption branch falls, read downwards)
      // between a pressure where the two agree and one where they differ.
      const std::size_t from = std::max<std::size_t>(first, 1), to = std::min(last + 1, n - 1);
      out.fillingPressure = StepPressure(x, out.adsorption, from, to);
      out.emptyingPressure = StepPressure(x, out.desorption, from, to);
    }
    // In wide pores the film may outlast the top pressure; the crossing of Ω then still
    // lies inside the grid.
    std::size_t j = n;
    if (first < n && first > 0) {
      for (std::size_t k = first; k <= last; ++k)
        if (ads[k].omega - des[k].omega > 0.0) {
          j = k;
          break;
        }
      if (j == n && last + 1 < n) j = last + 1;
    }
    if (j < n) {
      double lo = x[j - 1], hi = x[j];
      std::vector<double> film = ads[j - 1].rho, filled = des[j].rho;
      bool ok = !film.empty() && !filled.empty();
      while (ok && hi / lo - 1.0 > 1e-4) {
        const double mid = std::sqrt(lo * hi), mu = ChemicalPotentialAt(fluid, mid);
        const SlitProfile a = pore.Solve(mu, film, 0.0), d = pore.Solve(mu, filled, 0.0);
        out.iterations += a.iterations + d.iterations;
        ok = a.converged && d.converged;
        if (!ok) break;
        // A state that turns into the other at `mid` does not exist there.
        // (Which one it became: nearer the filled pore's amount or the film's.)
        const bool collapsed = same(a.amount, d.amount);
        const bool filmGone = collapsed && 2.0 * a.amount > ads[j - 1].amount + des[j].amount;
        const bool filledGone = collapsed && !filmGone;
        if (filledGone || (!filmGone && a.grandPotential - d.grandPotential <= 0.0)) {
          lo = mid;
          film = a.rho;
        } else {
          hi = mid;
          filled = d.rho;
        }
      }
      if (ok) out.equilibriumPressure = std::sqrt(lo * hi);
    }
  }
  // The stable state at each pressure: the lower grand potential where both converged;
  // otherwise the film below the transition and the filled pore above it.
  for (std::size_t k = 0; k < n; ++k) {
    bool filledWins;
    if (ads[k].converged && des[k].converged)
      filledWins = des[k].omega < ads[k].omega;
    else if (out.equilibriumPressure > 0.0)
      filledWins = x[k] > out.equilibriumPressure;
    else
      filledWins = !ads[k].converged;
    out.equilibrium.push_back(filledWins ? des[k].amount : ads[k].amount);
    out.equilibriumConverged.push_back(filledWins ? des[k].converged : ads[k].converged);
  }
  out.seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
  return out;
}

KernelBuild BuildKernel(KernelRecipe const& recipe, int threads,
                        std::function<void(std::size_t, std::size_t)> const& progress) {
  const auto start = std::chrono::steady_clock::now();
  const BulkFluid fluid(recipe.fluid, recipe.temperatureK);
  const Coexistence& c = fluid.Coexist();
  if (!c.ok)
    throw InputError("kernel " + recipe.name + ": the fluid has no vapour-liquid coexistence at " +
                     std::to_string(recipe.temperatureK) + " K (above its critical temperature)");
  KernelBuild build;
  build.liquidDensityMmolPerCm3 = c.liquid * 1e21 / kAvogadro * 1e3;
  build.saturationPressureKPa = c.pressure * fluid.PascalPerUnit() / 1e3;
  const std::size_t count = recipe.widthsNm.size();
  build.pores.resize(count);
  unsigned workers =
      threads > 0 ? unsigned(threads) : std::max(1u, std::thread::hardware_concurrency());
  workers = std::min<unsigned>(workers, unsigned(std::max<std::size_t>(count, 1)));
  build.threads = int(workers);
  std::atomic<std::size_t> next{0};
  std::size_t done = 0;
  std::mutex lock;
  auto work = [&] {
    for (;;) {
      const std::size_t j = next++;
      if (j >= count) return;
      build.pores[j] = ComputePoreIsotherm(fluid, recipe.wall, recipe.widthsNm[j], recipe.pressures,
                                           recipe.settings);
      std::lock_guard<std::mutex> hold(lock);
      ++done;
      if (progress) progress(done, count);
    }
  };
  std::vector<std::thread> pool;
  for (unsigned t = 1; t < workers; ++t) pool.emplace_back(work);
  work();
  for (std::thread& t : pool) t.join();
  // A profile the kernel uses that did not converge refuses the kernel, naming it.
  for (PoreIsotherm const& p : build.pores) {
    std::vector<char> const& used =
        recipe.branch == KernelBranch::kAdsorption   ? p.adsorptionConverged
        : recipe.branch == KernelBranch::kDesorption ? p.desorptionConverged
                                                     : p.equilibriumConverged;
    for (std::size_t k = 0; k < used.size(); ++k)
      if (!used[k]) {
        char text[200];
        std::snprintf(text, sizeof text,
                      "kernel %s: the profile in the %.4g nm pore at P/Po %.4g did not converge",
                      recipe.name.c_str(), p.widthNm, recipe.pressures[k]);
        throw InputError(text);
      }
  }
  build.seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
  return build;
}

CDFTModel KernelModel(KernelRecipe const& recipe, KernelBuild const& build) {
  CDFTModelSpecBase header;
  header.SetParams(eDFTCategoryAdsorption, eDFTTypeDefault, eDFTGeometrySlit, recipe.temperatureK,
                   CStr(recipe.gas), CStr(recipe.name));
  header.label = CStr("fiofla DFT kernel");
  header.description = CStr(recipe.description);
  const std::size_t np = recipe.pressures.size(), nw = build.pores.size();
  CNumVector<double> p(np), w(nw);
  CNumMatrix<double> k(np, nw);
  for (std::size_t i = 0; i < np; ++i) p[i] = recipe.pressures[i];
  for (std::size_t j = 0; j < nw; ++j) {
    PoreIsotherm const& pore = build.pores[j];
    w[j] = pore.widthNm * 10.0;
    std::vector<double> const& amount = recipe.branch == KernelBranch::kAdsorption ? pore.adsorption
                                        : recipe.branch == KernelBranch::kDesorption
                                            ? pore.desorption
                                            : pore.equilibrium;
    for (std::size_t i = 0; i < np; ++i) k(i, j) = amount[i] * kPerNm2ToCm3StpPerM2;
  }
  return CDFTModel(header, p, w, k);
}

std::string KernelManifest(KernelRecipe const& recipe, KernelBuild const& build,
                           const std::string& generator) {
  rapidjson::StringBuffer text;
  rapidjson::PrettyWriter<rapidjson::StringBuffer> out(text);
  auto key = [&](const char* k) { out.Key(k); };
  auto number = [&](const char* k, double v) {
    out.Key(k);
    if (std::isfinite(v))
      out.Double(v);
    else
      out.Null();
  };
  auto whole = [&](const char* k, long long v) {
    out.Key(k);
    out.Int64(v);
  };
  auto string = [&](const char* k, const std::string& v) {
    out.Key(k);
    out.String(v.c_str());
  };
  auto array = [&](const char* k, std::vector<double> const& v) {
    out.Key(k);
    out.StartArray();
    for (double d : v) out.Double(d);
    out.EndArray();
  };
  const char* branch = recipe.branch == KernelBranch::kAdsorption   ? "adsorption"
                       : recipe.branch == KernelBranch::kDesorption ? "desorption"
                                                                    : "equilibrium";
  out.StartObject();
  string("name", recipe.name);
  string("gas", recipe.gas);
  string("description", recipe.description);
  string("generator", generator);
  string("method",
         "classical density functional theory: White Bear fundamental measure theory for the "
         "hard spheres, Lennard-Jones attraction in mean field split at the potential minimum "
         "(WCA) and cut at cutoff_sigma; Steele 10-4-3 walls");
  string("branch", branch);
  number("temperature_K", recipe.temperatureK);
  key("fluid");
  out.StartObject();
  number("epsilon_K", recipe.fluid.epsilonK);
  number("sigma_nm", recipe.fluid.sigmaNm);
  number("hs_diameter_nm", recipe.fluid.diameterNm);
  number("cutoff_sigma", recipe.fluid.cutoffSigma);
  number("molar_mass_g_per_mol", recipe.fluid.molarMass);
  out.EndObject();
  key("wall");
  out.StartObject();
  number("epsilon_K", recipe.wall.epsilonK);
  number("sigma_nm", recipe.wall.sigmaNm);
  number("density_per_nm3", recipe.wall.densityPerNm3);
  number("spacing_nm", recipe.wall.spacingNm);
  number("solid_diameter_nm", recipe.wall.solidDiameterNm);
  out.EndObject();
  key("settings");
  out.StartObject();
  whole("points_per_radius", recipe.settings.pointsPerRadius);
  number("tolerance", recipe.settings.tolerance);
  whole("max_iterations", recipe.settings.maxIterations);
  whole("history", recipe.settings.history);
  number("mixing", recipe.settings.mixing);
  number("cap_kT", recipe.settings.capKT);
  out.EndObject();
  key("model");
  out.StartObject();
  number("saturation_pressure_kPa", build.saturationPressureKPa);
  number("liquid_density_mmol_per_cm3", build.liquidDensityMmolPerCm3);
  out.EndObject();
  key("units");
  out.StartObject();
  string("kernel", "cm3 STP adsorbed per m2 of pore wall (absolute amount in the pore)");
  string("pressures", "P/Po of the model (its own saturation pressure above)");
  string("widths", "angstrom in the model file, nm in this manifest");
  out.EndObject();
  string("width_convention",
         "w = H - solid_diameter_nm, H the distance between the planes of the centres of the "
         "surface atoms of the two walls");
  array("widths_nm", recipe.widthsNm);
  array("pressures", recipe.pressures);
  number("seconds", build.seconds);
  whole("threads", build.threads);
  key("pores");
  out.StartArray();
  for (PoreIsotherm const& p : build.pores) {
    out.StartObject();
    number("width_nm", p.widthNm);
    number("filling_pressure", p.fillingPressure);
    number("emptying_pressure", p.emptyingPressure);
    number("equilibrium_pressure", p.equilibriumPressure);
    whole("iterations", p.iterations);
    whole("unconverged_unused_profiles", p.unconverged);
    number("seconds", p.seconds);
    out.EndObject();
  }
  out.EndArray();
  out.EndObject();
  return std::string(text.GetString(), text.GetSize()) + "\n";
}

}  // namespace fiofla::dft
