// Report content of a chemisorption analysis (gaschemi.h), drawn with the report model like
// the other pages: the uptakes extrapolated from the combined, weak and strong isotherms with
// their line statistics, the isotherm models, a graph of the three isotherms each with its
// extrapolated line drawn across the axis down to zero pressure, and the active-metal results.
// Pressures mmHg, quantities cm³/g STP (µmol/g beside them).
#pragma once

#include <string>

#include "fiofla/gaschemi.h"
#include "fiofla/report/report_model.h"

namespace fiofla {

/// What the active-metal table names besides the calculation's results.
struct SActiveSurfaceReport {
  SMetalProperties metal;       ///< the metal's values as used
  double loadingPercent = 0.0;  ///< metal content, wt%
  std::string gas;              ///< probe gas ("H2"); empty when not known
  double stoichiometry = 0.0;   ///< metal atoms per gas molecule
  double shapeFactor = 6.0;     ///< crystallite shape factor
  std::string uptakeUsed;       ///< "combined" or "strong"
};

/// Adds the uptake table, the model table and the isotherm graph below `below`;
/// `description` names the files and the range. Nothing is added without combined points
/// (the function then returns `below`). Returns the last item added.
CReportDataItemBase* AddChemiSection(CSinfeltCalc const& calc, CStr const& description,
                                     CReportPageData* page, CReportDataItemBase* below);

/// Adds the "Active Metal" table below `below`; nothing when the calculation is not OK.
CReportDataItemBase* AddActiveSurfaceTable(CActiveSurfaceCalc const& calc,
                                           SActiveSurfaceReport const& what, CReportPageData* page,
                                           CReportDataItemBase* below);

}  // namespace fiofla
