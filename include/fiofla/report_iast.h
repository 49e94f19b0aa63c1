// Report content of an IAST calculation (gasiast.h), drawn with the report model like the
// other pages: the components and how each is described, the adsorbed amounts of every
// component and their total, the selectivity of the first component over each other one,
// and a table of the points. A pressure sweep is drawn against pressure (logarithmic when it
// spans more than a decade); a composition sweep of a binary mixture against the first
// component's gas fraction, with the adsorbed-against-gas fraction diagram beside it.
// Points that did not solve are left out of the graphs and listed with their reason.
// Nothing is added without points; the function then returns `below`.
#pragma once

#include <string>
#include <vector>

#include "fiofla/gasiast.h"
#include "fiofla/report/report_model.h"

namespace fiofla {

/// What an IAST section shows and in which units.
struct SIastSection {
  std::vector<std::string> names;         ///< component names, in the points' order
  std::vector<std::string> descriptions;  ///< how each component is described (one line each)
  std::vector<SIastPoint> points;         ///< the solved points, in sweep order
  bool byComposition = false;             ///< a composition sweep (else a pressure sweep)
  std::string pressureUnit;               ///< "bar", "kPa", …
  std::string loadingUnit;                ///< "mmol/g", …
};

/// Adds the IAST section below `below`; returns the last item added.
CReportDataItemBase* AddIastSection(SIastSection const& section, CStr const& description,
                                    CReportPageData* page, CReportDataItemBase* below);

}  // namespace fiofla
