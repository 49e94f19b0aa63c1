// Report content of isotherm-model fits (isotherm_fit.h), drawn with the report model like the
// other pages: the ranked table (each model's parameters with their standard errors, RMS error,
// AICc and status, unusable fits last with the reason), then the measured points with the
// curves of the best usable models (at most three) on a linear and on a logarithmic pressure
// axis. Units are the caller's, named by `pressureUnit` and `loadingUnit`.
// Nothing is added without points; the function then returns `below`.
#pragma once

#include <string>
#include <vector>

#include "fiofla/isotherm_fit.h"
#include "fiofla/report/report_model.h"

namespace fiofla {

/// The points fitted and their units, for a fit section.
struct SFitPoints {
  std::vector<double> pressures;  ///< [pressureUnit]
  std::vector<double> loadings;   ///< [loadingUnit]
  std::string pressureUnit;       ///< "kPa", "P/Po", …
  std::string loadingUnit;        ///< "mmol/g", "cm3/g STP", …
};

/// Adds the model-fit section below `below`, `fits` in ranked order; `description` names the
/// branch and the settings. Returns the last item added.
CReportDataItemBase* AddFitSection(std::vector<SIsothermFit> const& fits, SFitPoints const& points,
                                   CStr const& description, CReportPageData* page,
                                   CReportDataItemBase* below);

/// A parameter unit of SParameterInfo ("1/pressure", "loading/pressure") with the words
/// pressure and loading replaced by the given units ("1/kPa", "mmol/g/kPa").
std::string FitParameterUnit(std::string const& unit, std::string const& pressureUnit,
                             std::string const& loadingUnit);

/// "name = value ± error unit" for every parameter of a usable fit, joined by ", ".
std::string FitParameterText(SIsothermFit const& fit, std::string const& pressureUnit,
                             std::string const& loadingUnit);

}  // namespace fiofla
