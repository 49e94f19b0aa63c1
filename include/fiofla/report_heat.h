// Report content of an isosteric heat of adsorption, drawn with the report model like the
// other pages: how it was found, Qst against loading with a band of one standard error on
// either side, the isosteres (ln P against 1000/T, points and fitted lines) that it comes
// from, and a table of the heats. The isosteres are the measured points interpolated at each
// loading (Clausius-Clapeyron) or the fitted virial equation at the isotherms' temperatures.
// Nothing is added without heats; the function then returns `below`.
#pragma once

#include <string>
#include <vector>

#include "fiofla/report/report_model.h"

namespace fiofla {

/// One isostere: ln P against 1/T at a fixed loading, and its straight line.
struct SIsostere {
  double loading = 0.0;                    ///< [loading unit]
  std::vector<double> inverseTemperature;  ///< 1/T [1/K]
  std::vector<double> lnPressure;          ///< ln(P / pressure unit)
  double slope = 0.0;                      ///< d ln P / d(1/T) [K]
  double intercept = 0.0;                  ///< ln P at 1/T = 0
};

/// What an isosteric-heat section shows.
struct SHeatSection {
  std::string loadingUnit;           ///< "mmol/g", …
  std::string pressureUnit;          ///< unit inside ln P ("kPa")
  std::vector<double> loadings;      ///< [loading unit]
  std::vector<double> heats;         ///< Qst [kJ/mol]; NaN where none
  std::vector<double> errors;        ///< standard error of Qst [kJ/mol]; NaN where none
  std::vector<SIsostere> isosteres;  ///< drawn in the isostere graph (at most 12 are drawn)
  std::vector<std::string> lines;    ///< "label: text" lines for the summary table
};

/// Adds the isosteric-heat section below `below`; returns the last item added.
CReportDataItemBase* AddIsostericHeatSection(SHeatSection const& section, CStr const& description,
                                             CReportPageData* page, CReportDataItemBase* below);

}  // namespace fiofla
