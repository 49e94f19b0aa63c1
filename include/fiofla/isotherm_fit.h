// Fitting the isotherm models of isotherm_models.h to measured points, and ranking them.
//
// Method: Levenberg-Marquardt (num/marquette.h) on the model's parameters, affinities and
// other strictly positive scales in log space, bounded ones mapped into their interval, from
// several deterministic starts (the model's heuristic guess and scaled copies of it); the
// best converged start wins. Residuals are in loading, or in ln P for models given as P(q).
// Models are ranked by the corrected Akaike criterion, AICc = n ln(RSS/n) + 2k +
// 2k(k + 1)/(n − k − 1) (Hurvich and Tsai 1989), lower is better.
// Points with a zero, negative or non-finite pressure, a negative or non-finite loading, or
// a weight of 0 are left out (the message counts them); weights are scaled to mean 1, so
// scaling all of them changes nothing. Chemi-physisorption's E_a is held at its start: at
// one temperature only n_2·exp(−E_a/RT) is identifiable.
// Cost: one Levenberg-Marquardt run per start, each some 10–30 sweeps of the model over the
// points: a Toth fit on 50 points takes about 30 µs a start, an implicit (vacancy-solution)
// model milliseconds, as each q(P) is a root (BENCHMARKS.md).
// Guarantees: a fit never throws for bad data (no points, a single point, all loadings equal,
// points at zero pressure); it returns a status and a message in words instead, and never
// NaN parameters with an ok status. Results are the same on every run (no random starts).
// Threads: the functions keep no state; fits may run on several threads at once.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "fiofla/isotherm_models.h"
#include "fiofla/num/marquette.h"

namespace fiofla {

/// How an isotherm fit ended.
enum class EFitStatus {
  kOk,              ///< converged; parameters and errors may be used
  kIterationLimit,  ///< best start stopped at the iteration bound; parameters usable, doubtful
  /// Converged, but the data do not determine every parameter: one ran to a limit of the
  /// model (a capacity of 1e18 with an affinity of 1e-16 is Henry's law) and has no
  /// standard error. The curve may be used; the parameters named in the message may not.
  kUndetermined,
  kTooFewPoints,  ///< fewer usable points than parameters + 1
  kDegenerate,    ///< data carry no information for this model (all loadings equal, …)
  kFailed,        ///< no start converged to finite parameters
};

/// Text of a fit status ("ok", "iteration limit", …).
const char* ToString(EFitStatus status);

/// Levenberg-Marquardt settings of isotherm fits: the defaults with cost and step tolerances
/// of 1e-12 instead of 1e-14. On 1 % noise that moves the parameters by under 1e-7 of their
/// standard errors and halves the sweeps of a Toth fit (18 to 8): the tighter bound spends its
/// last sweeps on steps that change the cost only at rounding level (BENCHMARKS.md).
inline SLMOptions IsothermFitLMOptions() {
  SLMOptions o;
  o.functionTolerance = 1e-12;
  o.parameterTolerance = 1e-12;
  return o;
}

/// Settings of an isotherm fit.
struct SIsothermFitOptions {
  /// Weight of each point (empty: all 1); w multiplies the squared residual.
  std::vector<double> weights;
  /// Starts besides the heuristic guess (0: the guess only).
  int extraStarts = 4;
  /// Settings of each Levenberg-Marquardt run.
  SLMOptions lm = IsothermFitLMOptions();
};

/// One fitted model.
struct SIsothermFit {
  EIsothermModel kind = EIsothermModel::kLangmuir;
  std::string name;  ///< canonical model name
  EFitStatus status = EFitStatus::kFailed;
  std::string message;                         ///< in words: why not ok, or notes on an ok fit
  std::shared_ptr<const IsothermModel> model;  ///< the fitted model; null unless usable
  std::vector<std::string> parameterNames;
  std::vector<double> parameters;      ///< fitted values, in the units of ParameterInfo
  std::vector<double> standardErrors;  ///< same order; NaN where not estimable
  int points = 0;                      ///< points used
  double rss = 0.0;                    ///< residual sum of squares (in the residual's unit)
  double rmsError = 0.0;               ///< RMS of the loading residuals [loading units]
  double aicc = 0.0;                   ///< corrected Akaike criterion (+∞ when not computable)
  int iterations = 0;                  ///< Levenberg-Marquardt iterations over all starts
  int evaluations = 0;                 ///< sweeps of the model over all points, over all starts
  ELMStop stop = ELMStop::kNotRun;     ///< how the winning start stopped
  bool Usable() const {
    return status == EFitStatus::kOk || status == EFitStatus::kIterationLimit ||
           status == EFitStatus::kUndetermined;
  }
};

/// Fits one model to the points (pressure, loading), pressures in the caller's unit and
/// loadings in theirs; `setup` carries the model's fixed constants (Ps, T, sites, …).
SIsothermFit FitIsotherm(EIsothermModel kind, std::vector<double> const& pressures,
                         std::vector<double> const& loadings, SIsothermSetup const& setup = {},
                         SIsothermFitOptions const& options = {});

/// Fits every model of `kinds` and returns the fits ranked by AICc, usable fits first.
std::vector<SIsothermFit> FitBest(std::vector<EIsothermModel> const& kinds,
                                  std::vector<double> const& pressures,
                                  std::vector<double> const& loadings,
                                  SIsothermSetup const& setup = {},
                                  SIsothermFitOptions const& options = {});

}  // namespace fiofla
