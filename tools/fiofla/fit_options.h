// Isotherm-model fits as the tool runs them, shared by `fiofla fit` and the model-fit page of
// `fiofla report`: which points and units are fitted, which models, with which constants.
//
// Units: pressures in the file's own pressure unit unless another is asked for, or in P/Po
// when the file gives relative pressures only (another unit then needs its Po); loadings in
// the file's own loading unit unless another is asked for. Ps (BET, GAB, Dubinin) is the
// file's Po in the pressure unit (1 for P/Po); the temperature (Dubinin,
// chemi-physisorption) is the file's.
#pragma once

#include <string>
#include <vector>

#include "app.h"
#include "fiofla/isotherm_fit.h"

namespace fiofla::cli {

/// What is fitted and in which units.
struct FitSettings {
  /// Model names or aliases, "all" or "default"; empty is "default".
  std::vector<std::string> models;
  /// Pressure unit of the fit; empty for the file's (P/Po for a file of relative pressures).
  std::string pressureUnit;
  /// Loading unit of the fit; empty for the file's.
  std::string loadingUnit;
  /// Molar mass of the adsorptive [g/mol] for mass loadings when it has no gas table; 0: none.
  double molarMassGPerMol = 0.0;
  /// Gas tables for the loading units (molar mass, liquid density); null for the
  /// process-wide cache, which belongs to the tool's one thread.
  CGasCompressibilityCache* gasCache = nullptr;
  /// Branch fitted.
  bool desorption = false;
};

/// The points of one branch in the fit's units, and the constants the file gives.
struct FitInput {
  std::vector<double> pressures;
  std::vector<double> loadings;
  std::string pressureUnit;  ///< as printed: "kPa", "P/Po", …
  std::string loadingUnit;   ///< as printed: "mmol/g", "cm3/g STP", …
  SIsothermSetup setup;      ///< Ps (NaN when unknown) and temperature (NaN when unknown)
  std::string branch;        ///< "adsorption" or "desorption"
};

/// One model to fit: its family and its own setup (an alias's site count).
struct ModelChoice {
  EIsothermModel kind;
  SIsothermSetup setup;
};

/// The models fitted by default: henry, langmuir, dsl, freundlich, sips and toth, with bet and
/// gab when Ps is known.
extern const char* const kDefaultModelsHelp;

/// Splits "a,b , c" into names; throws UsageError naming `option` for an empty name.
std::vector<std::string> SplitModelNames(const std::string& option, const std::string& text);

/// The branch of `iso` in the units of `s`; throws UsageError for a unit that is none,
/// InputError naming `file` for one the isotherm cannot be given in or a branch with no points.
FitInput PrepareFitInput(const IsothermData& iso, const std::string& file, const FitSettings& s);

/// The models `names` ask for ("all": every family whose constants `in` has; "default").
/// Throws UsageError naming `option` for an unknown name (listing the known ones) or a model
/// whose constants the file does not give.
std::vector<ModelChoice> ChooseModels(const std::vector<std::string>& names, const FitInput& in,
                                      const std::string& option);

/// Fits every choice and ranks the fits: usable ones by AICc, then the rest in asked order.
std::vector<SIsothermFit> RunFits(const std::vector<ModelChoice>& choices, const FitInput& in);

}  // namespace fiofla::cli
