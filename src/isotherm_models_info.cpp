// Parameter metadata of the isotherm families and heuristic starting points for fits.
#include <algorithm>
#include <cmath>

#include "fiofla/isotherm_models.h"
#include "isotherm_models_detail.h"

namespace fiofla {

using detail::kInf;

namespace {

SParameterInfo Capacity(const char* name = "n_m") {
  return {name, "loading", 0.0, kInf, false};
}
SParameterInfo Affinity(const char* name = "K", const char* unit = "1/pressure") {
  return {name, unit, 0.0, kInf, true};
}
SParameterInfo Exponent(const char* name, double lower = 0.0, double upper = kInf) {
  return {name, "1", lower, upper, false};
}

std::string Indexed(const char* base, int i) {
  return std::string(base) + "_" + std::to_string(i);
}

}  // namespace

std::vector<SParameterInfo> IsothermParameterInfo(EIsothermModel kind,
                                                  SIsothermSetup const& setup) {
  using K = EIsothermModel;
  switch (kind) {
    case K::kHenry:
      return {Affinity("K_H", "loading/pressure")};
    case K::kLangmuir:
    case K::kAntiLangmuir:
      return {Capacity(), Affinity()};
    case K::kMultiSiteLangmuir:
    case K::kMultiSiteToth: {
      std::vector<SParameterInfo> info;
      for (int i = 1; i <= std::max(setup.sites, 0); ++i) {
        info.push_back({Indexed("n", i), "loading", 0.0, kInf, false});
        info.push_back({Indexed("K", i), "1/pressure", 0.0, kInf, true});
        if (kind == K::kMultiSiteToth) info.push_back({Indexed("t", i), "1", 0.0, kInf, false});
      }
      return info;
    }
    case K::kBET:
    case K::kBETLayers:
      return {Capacity(), Affinity("C", "1")};
    case K::kGAB:
      return {Capacity(), Affinity("C", "1"), Exponent("k", 0.0, 1.0)};
    case K::kFreundlich:
      return {Affinity("K_F", "loading/pressure^(1/n)"), Exponent("n")};
    case K::kDubininRadushkevich:
      return {Capacity("n_p"), {"E", "J/mol", 0.0, kInf, true}};
    case K::kDubininAstakhov:
      return {Capacity("n_p"), {"E", "J/mol", 0.0, kInf, true}, Exponent("m")};
    case K::kQuadratic:
      return {Capacity(), Affinity("K_a"), {"K_b", "1/pressure^2", 0.0, kInf, false}};
    case K::kTemkinApprox:
      return {Capacity(), Affinity(), Exponent("g", -1.0, 3.0)};
    case K::kToth:
      return {Capacity(), Affinity(), Exponent("t")};
    case K::kSips:
      return {Capacity(), Affinity(), Exponent("n")};
    case K::kLangmuirFreundlich:
      return {Capacity(), Affinity("K", "1/pressure^n"), Exponent("n")};
    case K::kRedlichPeterson:
      return {Affinity("K_R", "loading/pressure"), Affinity("a", "1/pressure^g"),
              Exponent("g", 0.0, 1.0)};
    case K::kUnilan:
      return {Capacity(), Affinity(), Exponent("s")};
    case K::kJensenSeaton:
      return {Affinity("K_H", "loading/pressure"),
              Capacity("a"),
              Exponent("c"),
              {"kappa", "1/pressure", 0.0, kInf, false}};
    case K::kOBrienMyers:
      return {Capacity(), Affinity(), Exponent("sigma")};
    case K::kChemiPhysisorption:
      return {Capacity("n_1"), Affinity("K_1"), Exponent("t_1"),
              Capacity("n_2"), Affinity("K_2"), {"E_a", "J/mol", 0.0, kInf, false}};
    case K::kFloryHugginsVST:
      return {Capacity(), Affinity(), Exponent("alpha", -1.0)};
    case K::kWilsonVST:
      return {Capacity(),
              Affinity(),
              {"Lambda_1v", "1", 0.0, kInf, true},
              {"Lambda_v1", "1", 0.0, kInf, true}};
    case K::kVirial: {
      std::vector<SParameterInfo> info{Affinity("K_H", "loading/pressure")};
      for (int i = 1; i <= std::max(setup.virialTerms, 0); ++i) {
        info.push_back({Indexed("A", i), "1/loading^" + std::to_string(i), -kInf, kInf, false});
      }
      return info;
    }
    case K::kComposite:
      return {};
  }
  return {};
}

std::vector<double> IsothermInitialGuess(EIsothermModel kind, SIsothermSetup const& setup,
                                         std::vector<double> const& pressures,
                                         std::vector<double> const& loadings) {
  // The plateau and the initial slope (least squares through the origin over the lowest
  // quarter of the points, at least two) are all the heuristics need.
  std::vector<std::pair<double, double>> pts;
  for (std::size_t i = 0; i < std::min(pressures.size(), loadings.size()); ++i) {
    if (pressures[i] > 0.0 && loadings[i] > 0.0 && std::isfinite(pressures[i]) &&
        std::isfinite(loadings[i]))
      pts.emplace_back(pressures[i], loadings[i]);
  }
  if (pts.empty() || kind == EIsothermModel::kComposite) return {};
  std::sort(pts.begin(), pts.end());
  const double qMax = std::max_element(pts.begin(), pts.end(), [](auto const& a, auto const& b) {
                        return a.second < b.second;
                      })->second;
  const std::size_t low = std::max<std::size_t>(2, pts.size() / 4);
  double sxy = 0.0;
  double sxx = 0.0;
  for (std::size_t i = 0; i < std::min(low, pts.size()); ++i) {
    sxy += pts[i].first * pts[i].second;
    sxx += pts[i].first * pts[i].first;
  }
  const double slope = sxy / sxx;  // loading/pressure
  const double nm = 1.1 * qMax;
  const double k = slope / nm;  // 1/pressure
  const double ps = setup.saturationPressure;
  const double rt = detail::kGasConstant * setup.temperatureK;
  const auto& mid = pts[pts.size() / 2];

  using K = EIsothermModel;
  switch (kind) {
    case K::kHenry:
      return {slope};
    case K::kLangmuir:
    case K::kOBrienMyers:
      return kind == K::kLangmuir ? std::vector<double>{nm, k} : std::vector<double>{nm, k, 0.1};
    case K::kAntiLangmuir:
      return {nm, 1.0 / (2.0 * pts.back().first)};
    case K::kMultiSiteLangmuir:
    case K::kMultiSiteToth: {
      // Sites share the capacity and spread their affinities a decade apart around k.
      std::vector<double> g;
      const int n = std::max(setup.sites, 1);
      for (int i = 0; i < n; ++i) {
        const double ki = k * std::pow(10.0, 0.5 * (n - 1) - i);
        g.push_back(nm / n);
        g.push_back(ki);
        if (kind == K::kMultiSiteToth) g.push_back(1.0);
      }
      return g;
    }
    case K::kBET:
    case K::kBETLayers:
    case K::kGAB: {
      // Monolayer near a third of the plateau seen below P/Ps = 0.35; C from the slope.
      double qLow = pts.front().second;
      for (auto const& p : pts)
        if (p.first <= 0.35 * ps) qLow = p.second;
      const double n = std::max(qLow / 2.0, 1e-300);
      const double c = std::clamp(slope * ps / n, 2.0, 1e4);
      if (kind == K::kGAB) return {n, c, 0.9};
      return {n, c};
    }
    case K::kFreundlich:
      return {mid.second / mid.first, 1.0};
    case K::kDubininRadushkevich:
    case K::kDubininAstakhov: {
      double e = rt;
      if (mid.first < ps && mid.second < nm)
        e = rt * std::log(ps / mid.first) / std::sqrt(std::log(nm / mid.second));
      if (kind == K::kDubininRadushkevich) return {nm, e};
      return {nm, e, 2.0};
    }
    case K::kQuadratic:
      return {nm / 2.0, 2.0 * k, k * k};
    case K::kTemkinApprox:
      return {nm, k, 0.0};
    case K::kToth:
    case K::kSips:
    case K::kLangmuirFreundlich:
      return {nm, k, 1.0};
    case K::kRedlichPeterson:
      return {slope, k, 0.9};
    case K::kUnilan:
      return {nm, k, 1.0};
    case K::kJensenSeaton:
      return {slope, nm, 1.0, 0.0};
    case K::kChemiPhysisorption:
      return {0.7 * nm, k, 1.0, 0.4 * nm, 10.0 * k, 0.0};
    case K::kFloryHugginsVST:
      // Not 0: α enters as α², so α = 0 is a stationary point a fit would not leave.
      return {nm, k, 0.5};
    case K::kWilsonVST:
      return {nm, k, 1.0, 1.0};
    case K::kVirial: {
      std::vector<double> g{slope};
      g.resize(1 + static_cast<std::size_t>(std::max(setup.virialTerms, 0)), 0.0);
      return g;
    }
    case K::kComposite:
      return {};
  }
  return {};
}

}  // namespace fiofla
