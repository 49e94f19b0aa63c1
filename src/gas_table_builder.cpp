#include "fiofla/gas_table_builder.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <limits>
#include <map>

namespace fiofla {
namespace {

// 1 mmHg = 101325/760 Pa exactly (the conventional millimetre of mercury).
constexpr double kPaPerMmHg = 101325.0 / 760.0;
// Table capacity in temperatures (the fixed-capacity record holds 150).
constexpr std::size_t kMaxTemperatures = CGasCompressibilityTable::kMaxTemperatures;
// Saturation is solved up to this close below Tc (relative); that node bounds the Psat curve.
constexpr double kNearCritical = 2e-4;
// Intervals narrower than this (K) are not split further.
constexpr double kMinInterval = 0.02;
// Nodes of the coarse log-spaced start grid.
constexpr int kCoarseNodes = 40;

double RoundSignificant(double x) {
  if (x == 0.0 || !std::isfinite(x)) return x;
  char text[40];
  std::snprintf(text, sizeof text, "%.*e", kSignificantDigits - 1, x);
  return std::strtod(text, nullptr);
}

std::vector<double> Steps(double from, double to, double step) {
  std::vector<double> v;
  for (int k = 0;; ++k) {
    const double x = from + k * step;
    if (x > to + 1e-9) break;
    v.push_back(x);
  }
  return v;
}

std::vector<double> Concat(std::vector<double> a, const std::vector<double>& b) {
  a.insert(a.end(), b.begin(), b.end());
  return a;
}

// Evaluates the equation on the grid pressures, one temperature at a time.
class ColumnEvaluator {
 public:
  ColumnEvaluator(const HelmholtzEos& eos, const GasTableRecipe& recipe)
      : m_eos(eos), m_recipe(recipe) {
    if (recipe.sublimation == SublimationModel::kClausiusClapeyron) PrepareEstimate();
  }

  // Pressure above which there is no gas phase at T, Pa (infinity above Tc).
  double CondensationPressurePa(double t) const {
    const double tc = m_eos.CriticalTemperatureK();
    const double tt = m_eos.TriplePointTemperatureK();
    if (t >= tc) return std::numeric_limits<double>::infinity();
    if (t >= tt) {
      if (const auto sat = m_eos.Saturation(t)) return sat->pressurePa;
      if (const auto anc = m_eos.AncillaryPsat(t)) return *anc;
      return m_eos.CriticalPressurePa();  // closer to Tc than the solver reaches
    }
    return SublimationPressurePa(t);
  }

  double SublimationPressurePa(double t) const {
    const double tt = m_eos.TriplePointTemperatureK();
    if (t > tt || t <= 0.0) return 0.0;
    switch (m_recipe.sublimation) {
      case SublimationModel::kSpanWagnerCO2:
        return t == tt ? m_eos.TriplePointPressurePa() : CarbonDioxideSublimationPressurePa(t);
      case SublimationModel::kClausiusClapeyron:
        return m_eos.TriplePointPressurePa() *
               std::exp(-m_sublimationEnthalpy / m_eos.GasConstantJPerMolK() *
                        (1.0 / t - 1.0 / tt));
      case SublimationModel::kNone:
        break;
    }
    return 0.0;
  }

  double Z(double pMmHg, double t, double condensationPa) {
    if (pMmHg <= 0.0) return 1.0;
    const double pa = pMmHg * kPaPerMmHg;
    if (pa > condensationPa) return -1.0;
    const auto rho = m_eos.VapourDensity(t, pa);
    if (!rho) {
      ++m_unsolved;
      return -1.0;
    }
    return m_eos.Compressibility(t, *rho);
  }

  const std::vector<double>& Column(double t) {
    auto it = m_columns.find(t);
    if (it != m_columns.end()) return it->second;
    const double cond = CondensationPressurePa(t);
    std::vector<double> z(m_recipe.pressuresMmHg.size());
    for (std::size_t i = 0; i < z.size(); ++i) z[i] = Z(m_recipe.pressuresMmHg[i], t, cond);
    return m_columns.emplace(t, std::move(z)).first->second;
  }

  // Largest error of linear interpolation in T at the midpoint of [a, b].
  double MidpointError(double a, double b) {
    const std::vector<double>& za = Column(a);
    const std::vector<double>& zb = Column(b);
    const std::vector<double>& zm = Column(0.5 * (a + b));
    double worst = 0.0;
    for (std::size_t i = 0; i < za.size(); ++i)
      if (m_recipe.pressuresMmHg[i] <= m_recipe.refinePressureLimitMmHg && za[i] > 0.0 &&
          zb[i] > 0.0 && zm[i] > 0.0)
        worst = std::max(worst, std::fabs(0.5 * (za[i] + zb[i]) - zm[i]));
    return worst;
  }

  std::size_t Unsolved() const { return m_unsolved; }
  double SublimationEnthalpy() const { return m_sublimationEnthalpy; }

 private:
  // Sublimation enthalpy = Clapeyron vaporisation enthalpy at the triple point + fusion.
  void PrepareEstimate() {
    const double tt = m_eos.TriplePointTemperatureK();
    const double h = 0.01;
    const auto s0 = m_eos.Saturation(tt);
    const auto s1 = m_eos.Saturation(tt + h);
    const auto s2 = m_eos.Saturation(tt + 2 * h);
    if (!s0 || !s1 || !s2) return;
    const double slope = (-3.0 * s0->pressurePa + 4.0 * s1->pressurePa - s2->pressurePa) / (2 * h);
    const double dv = 1.0 / s0->vapourDensity - 1.0 / s0->liquidDensity;
    m_sublimationEnthalpy = tt * slope * dv + m_recipe.fusionEnthalpyJPerMol;
  }

  const HelmholtzEos& m_eos;
  const GasTableRecipe& m_recipe;
  std::map<double, std::vector<double>> m_columns;
  std::size_t m_unsolved = 0;
  double m_sublimationEnthalpy = 0.0;
};

// Start grid: the fixed nodes, the ends, the triple point, a node just below Tc and a
// coarse log-spaced grid; nodes closer than kMinInterval to an earlier one are dropped.
std::vector<double> StartGrid(const HelmholtzEos& eos, const GasTableRecipe& r) {
  std::vector<double> t = r.fixedTemperaturesK;
  t.push_back(r.minTemperatureK);
  t.push_back(r.maxTemperatureK);
  t.push_back(eos.TriplePointTemperatureK());
  t.push_back(eos.CriticalTemperatureK() * (1.0 - kNearCritical));
  const double ratio = std::log(r.maxTemperatureK / r.minTemperatureK) / (kCoarseNodes - 1);
  for (int k = 0; k < kCoarseNodes; ++k) t.push_back(r.minTemperatureK * std::exp(ratio * k));
  std::vector<double> kept;
  for (double x : t)
    if (x >= r.minTemperatureK && x <= r.maxTemperatureK &&
        std::none_of(kept.begin(), kept.end(),
                     [x](double y) { return std::fabs(x - y) < kMinInterval; }))
      kept.push_back(x);
  std::sort(kept.begin(), kept.end());
  return kept;
}

}  // namespace

double CarbonDioxideSublimationPressurePa(double temperatureK) {
  // Span and Wagner (1996), eq. 3.12: ln(p/pt) = (Tt/T) sum a_i (1 - T/Tt)^t_i.
  constexpr double kTt = 216.592, kPt = 0.51795e6;
  constexpr double a[] = {-14.740846, 2.4327015, -5.3061778};
  constexpr double e[] = {1.0, 1.9, 2.9};
  if (!(temperatureK > 0.0) || temperatureK >= kTt) return 0.0;
  const double theta = 1.0 - temperatureK / kTt;
  double sum = 0.0;
  for (int i = 0; i < 3; ++i) sum += a[i] * std::pow(theta, e[i]);
  return kPt * std::exp(kTt / temperatureK * sum);
}

std::vector<GasTableRecipe> StandardGasRecipes() {
  // Analysers dose up to about an atmosphere: 0.5 mmHg steps to 10 mmHg (krypton at 77 K
  // and the first doses of every gas, where cryogenic vapours are already non-ideal), 5 mmHg
  // steps to 1000 mmHg, then coarser to 2 atm. Carbon dioxide near ambient goes to 30 bar.
  const std::vector<double> cryogenic =
      Concat(Steps(0.0, 9.5, 0.5), Concat(Steps(10.0, 1000.0, 5.0), Steps(1050.0, 1500.0, 50.0)));
  const std::vector<double> highPressure =
      Concat(Steps(0.0, 1000.0, 10.0), Steps(1150.0, 22600.0, 150.0));
  const std::vector<double> ambient = {273.15, 293.15, 298.15, 303.15, 308.15, 313.15};
  auto with = [&](std::vector<double> baths) { return Concat(std::move(baths), ambient); };

  std::vector<GasTableRecipe> r(7);
  r[0] = {"nitrogen", "Nitrogen.json", 2, cryogenic, 63.151, 350.0, with({77.35, 87.3})};
  r[1] = {"argon", "Argon.json", 1, cryogenic, 83.806, 350.0, with({87.3})};
  r[2] = {"krypton",
          "Krypton.json",
          1,
          cryogenic,
          70.0,
          350.0,
          with({77.35, 87.3}),
          SublimationModel::kClausiusClapeyron,
          1640.0};
  r[3] = {"carbon_dioxide",
          "CarbonDioxide.json",
          3,
          highPressure,
          190.0,
          350.0,
          with({194.686, 195.0}),
          SublimationModel::kSpanWagnerCO2};
  r[3].refinePressureLimitMmHg = 22600.0;
  r[4] = {"hydrogen", "Hydrogen.json", 2, cryogenic, 20.0, 330.0, with({20.28, 77.35, 87.3})};
  r[5] = {"methane", "Methane.json", 5, cryogenic, 90.6941, 350.0, with({111.67})};
  r[6] = {"oxygen", "Oxygen.json", 2, cryogenic, 73.0, 350.0, with({77.35, 90.19})};

  // High-pressure sorption near ambient: 0 to 200 bar (250 nodes, 0.81 bar apart) at -20 to
  // 80 °C. One record cannot hold this beside the cryogenic grid, so these are second tables.
  const std::vector<double> toTwoHundredBar = Steps(0.0, 151392.0, 608.0);
  const std::vector<double> room = {273.15, 283.15, 293.15, 298.15, 303.15,
                                    308.15, 313.15, 318.15, 323.15};
  for (const auto& [gas, atoms] : {std::pair<int, int>{0, 2}, {1, 1}, {3, 3}, {4, 2}, {5, 5}}) {
    GasTableRecipe hp{r[gas].name + kHighPressureSuffix,
                      r[gas].eosFile,
                      atoms,
                      toTwoHundredBar,
                      253.15,
                      353.15,
                      room};
    hp.refinePressureLimitMmHg = toTwoHundredBar.back();
    r.push_back(hp);
  }
  return r;
}

CGasCompressibilityTable BuildGasTable(const HelmholtzEos& eos, const GasTableRecipe& recipe,
                                       GasTableBuildReport* report,
                                       const std::function<void(const std::string&)>& progress) {
  auto say = [&](const std::string& line) {
    if (progress) progress(recipe.name + ": " + line);
  };
  const std::vector<double>& pGrid = recipe.pressuresMmHg;
  const bool usable = !pGrid.empty() && pGrid.size() <= CNumVector<double>::kMaxStreamCount &&
                      std::is_sorted(pGrid.begin(), pGrid.end()) &&
                      std::all_of(pGrid.begin(), pGrid.end(),
                                  [](double p) { return std::isfinite(p) && p >= 0.0; }) &&
                      recipe.minTemperatureK > 0.0 &&
                      recipe.maxTemperatureK > recipe.minTemperatureK &&
                      std::isfinite(recipe.maxTemperatureK) && recipe.tolerance > 0.0;
  if (!usable) {
    say("not built: the pressure grid must be ascending, finite and not negative, and the "
        "temperature range 0 < min < max");
    if (report != nullptr) *report = GasTableBuildReport();
    return CGasCompressibilityTable();
  }
  ColumnEvaluator eval(eos, recipe);
  std::vector<double> t = StartGrid(eos, recipe);

  // Split the worst interval until the tolerance or the capacity is reached.
  std::map<double, double> intervalError;  // keyed by the interval's lower node
  auto measure = [&](std::size_t k) { intervalError[t[k]] = eval.MidpointError(t[k], t[k + 1]); };
  for (std::size_t k = 0; k + 1 < t.size(); ++k) measure(k);
  double worst = 0.0;
  while (true) {
    std::size_t at = 0;
    worst = -1.0;
    for (std::size_t k = 0; k + 1 < t.size(); ++k) {
      const double e = intervalError[t[k]];
      if (t[k + 1] - t[k] >= 2 * kMinInterval && e > worst) {
        worst = e;
        at = k;
      }
    }
    if (worst < recipe.tolerance || t.size() >= kMaxTemperatures) break;
    t.insert(t.begin() + std::ptrdiff_t(at) + 1, 0.5 * (t[at] + t[at + 1]));
    measure(at);
    measure(at + 1);
  }
  say(std::to_string(t.size()) + " temperatures, worst midpoint error " +
      std::to_string(std::max(worst, 0.0)));

  const std::size_t np = recipe.pressuresMmHg.size(), nt = t.size();
  CNumVector<double> pressures(np), temperatures(nt);
  CNumMatrix<double> z(np, nt);
  for (std::size_t i = 0; i < np; ++i) pressures[i] = recipe.pressuresMmHg[i];
  for (std::size_t j = 0; j < nt; ++j) {
    temperatures[j] = t[j];
    const std::vector<double>& column = eval.Column(t[j]);
    for (std::size_t i = 0; i < np; ++i) z(i, j) = RoundSignificant(column[i]);
  }

  CGasCompressibilityTable table;
  table.Set(pressures, temperatures, z);
  table.InitializeRows();
  const double tc = eos.CriticalTemperatureK(), tt = eos.TriplePointTemperatureK();
  for (std::size_t j = 0; j < nt; ++j) {
    const double tj = t[j];
    if (tj >= tt && tj < tc) {
      if (const auto sat = eos.Saturation(tj)) {
        table.m_vPsat[j] = RoundSignificant(sat->pressurePa / kPaPerMmHg);
        table.m_vLiquidMolarVolume[j] = RoundSignificant(1e6 / sat->liquidDensity);
      }
      if (const auto sigma = eos.SurfaceTension(tj))
        table.m_vSurfaceTension[j] = RoundSignificant(*sigma * 1e3);
    }
    table.m_vPsub[j] = RoundSignificant(eval.SublimationPressurePa(tj) / kPaPerMmHg);
  }
  table.m_nAtoms = recipe.atoms;
  table.m_dMolecularWeight = eos.MolarMassGPerMol();
  table.m_dTcrit = tc;
  table.m_dPcrit = RoundSignificant(eos.CriticalPressurePa() / kPaPerMmHg);
  table.m_dTtrip = tt;
  table.m_dPtrip = RoundSignificant(eos.TriplePointPressurePa() / kPaPerMmHg);

  // Measured accuracy: the table against the equation at every gas-phase cell centre.
  GasTableBuildReport rep;
  rep.pressures = np;
  rep.temperatures = nt;
  rep.worstTemperatureMidpointError = std::max(worst, 0.0);
  for (std::size_t j = 0; j + 1 < nt; ++j) {
    const double tm = 0.5 * (t[j] + t[j + 1]);
    const double cond = eval.CondensationPressurePa(tm);
    for (std::size_t i = 0; i + 1 < np; ++i) {
      if (z(i, j) <= 0.0 || z(i + 1, j) <= 0.0 || z(i, j + 1) <= 0.0 || z(i + 1, j + 1) <= 0.0)
        continue;
      const double pm = 0.5 * (pressures[i] + pressures[i + 1]);
      const double exact = eval.Z(pm, tm, cond);
      if (exact <= 0.0) continue;
      const double err = std::fabs(table.GetRawCompressibility(pm, tm) - exact);
      if (pm <= recipe.refinePressureLimitMmHg && err > rep.worstRefinedCentreError) {
        rep.worstRefinedCentreError = err;
        rep.worstRefinedPressureMmHg = pm;
        rep.worstRefinedTemperatureK = tm;
      }
      if (err > rep.worstCellCentreError) {
        rep.worstCellCentreError = err;
        rep.worstCentrePressureMmHg = pm;
        rep.worstCentreTemperatureK = tm;
      }
    }
  }
  rep.unsolvedPoints = eval.Unsolved();
  char line[200];
  std::snprintf(line, sizeof line,
                "%zu x %zu grid, worst cell-centre error %.2e up to %g mmHg (at %.1f mmHg, "
                "%.2f K), %.2e overall (at %.1f mmHg, %.2f K); %zu unsolved",
                np, nt, rep.worstRefinedCentreError, recipe.refinePressureLimitMmHg,
                rep.worstRefinedPressureMmHg, rep.worstRefinedTemperatureK,
                rep.worstCellCentreError, rep.worstCentrePressureMmHg, rep.worstCentreTemperatureK,
                rep.unsolvedPoints);
  say(line);
  if (report != nullptr) *report = rep;
  return table;
}

}  // namespace fiofla
