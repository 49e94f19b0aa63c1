// Report content of the Horvath-Kawazoe micropore analysis, drawn with the report model like
// the other pore pages: a results table (the calculation, micropore volume, median width, the
// narrowest pore the model describes, the Langmuir capacity of the Cheng-Yang correction and
// how many points have no width), the cumulative pore volume and dV/dw against pore width,
// the isotherm's points on a log P/Po axis against their width, and the table of points.
// Units: widths Å, quantities cm3/g STP, volumes cm3/g.
// Nothing is added for a calculation without a result; the function then returns `below`.
#pragma once

#include "fiofla/gashk.h"
#include "fiofla/report/report_model.h"

namespace fiofla {

/// Adds the Horvath-Kawazoe section below `below`; `description` names geometry, method,
/// adsorbate, surface and temperature. Returns the last item added.
CReportDataItemBase* AddHkSection(CHKCalc const& calc, CStr const& description,
                                  CReportPageData* page, CReportDataItemBase* below);

}  // namespace fiofla
