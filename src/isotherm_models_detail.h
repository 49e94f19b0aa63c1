// Internals shared by the isotherm model sources: the makers of each group of families and
// small helpers. Not installed.
#pragma once

#include <boost/math/tools/toms748_solve.hpp>
#include <cmath>
#include <cstdint>
#include <functional>
#include <limits>
#include <memory>
#include <vector>

#include "fiofla/isotherm_models.h"

namespace fiofla::detail {

/// Molar gas constant [J/(mol K)] (CODATA 2018, exact).
constexpr double kGasConstant = 8.314462618;
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kInf = std::numeric_limits<double>::infinity();

/// Parameters and setup are checked before these are called (count, finiteness, constants).
std::shared_ptr<const IsothermModel> MakeExplicitModel(EIsothermModel kind,
                                                       std::vector<double> params,
                                                       SIsothermSetup const& setup);
std::shared_ptr<const IsothermModel> MakeSaturationModel(EIsothermModel kind,
                                                         std::vector<double> params,
                                                         SIsothermSetup const& setup);
std::shared_ptr<const IsothermModel> MakeImplicitModel(EIsothermModel kind,
                                                       std::vector<double> params,
                                                       SIsothermSetup const& setup);
/// A sum of parts reported as `kind` (kComposite, or a multi-site family whose info is given).
std::shared_ptr<const IsothermModel> MakeSumModel(
    EIsothermModel kind, std::vector<std::shared_ptr<const IsothermModel>> parts,
    std::vector<SParameterInfo> info, SIsothermSetup const& setup);

/// x ≥ 0 with value(x) = target > 0 for an increasing value with value(0) ≤ target: a bracket
/// grown (or shrunk) by factors of 4 from `start`, bisected back from +∞, closed by TOMS 748.
/// kAboveCapacity when the value stays below the target up to the largest double.
SModelValue InvertIncreasing(std::function<double(double)> const& value, double target,
                             double start);

/// The same for a value of P > 0 that grows about as ln P (a spreading pressure): bracketed
/// and solved in ln P, from ln(start) in steps of 1, 2, 4, … With `slope` (d value/d ln P as
/// a function of P) the bracket is closed by safeguarded Newton steps, else by TOMS 748.
SModelValue InvertIncreasingInLog(std::function<double(double)> const& value, double target,
                                  double start, std::function<double(double)> const& slope = {});

/// The dilogarithm Li₂(−x) for x ≥ 0 (Bernoulli series in −ln(1+x), after the inversion
/// Li₂(z) = −π²/6 − ½ln²(−z) − Li₂(1/z) for x > 1); full double precision.
double DilogOfNegative(double x);

/// Toth site q = n y/(1+y^t)^(1/t), y = K P; its slope; its gradient (n, K, t), returning q.
double TothLoading(double p, double n, double k, double t);
double TothSlope(double p, double n, double k, double t);
double TothGradient(double p, double n, double k, double t, double* g);
/// Reduced spreading pressure of one Toth site, n_m z^(1/t) ₂F₁(1/t, 1; 1 + 1/t; z) with
/// z = y^t/(1 + y^t); `digammaA` is ψ(1/t), which the caller keeps.
double TothSpreadingPressure(double p, double n, double k, double t, double digammaA);

// The root of f in [lo, hi], f(lo) < 0 < f(hi), by TOMS 748 to the last two bits; NaN when
// it does not converge (parameters far outside their bounds can make f NaN in the bracket).
template <class F>
double Toms748(F const& f, double lo, double hi, double flo, double fhi) {
  std::uintmax_t maxIter = 200;
  try {
    const auto r = boost::math::tools::toms748_solve(
        f, lo, hi, flo, fhi,
        boost::math::tools::eps_tolerance<double>(std::numeric_limits<double>::digits - 2),
        maxIter);
    return 0.5 * (r.first + r.second);
  } catch (...) {
    return std::numeric_limits<double>::quiet_NaN();
  }
}

}  // namespace fiofla::detail
