// Report content of the DFT pore analysis, drawn with the report model like the other pore
// pages: a results table (totals, λ and how it was chosen, the fit, the B-spline count and
// every warning), the measured and fitted isotherms on a log P/Po axis, the cumulative pore
// volume, dV/dw and dV/dlog(w) against pore width on a log axis, and the table of classes.
// Units: widths Å, quantities cm3/g STP, volumes cm3/g, areas m2/g.
// Nothing is added for a calculation without classes; the function then returns `below`.
#pragma once

#include "fiofla/gasdft.h"
#include "fiofla/report/report_model.h"

namespace fiofla {

/// Adds the DFT section below `below`; `description` names the kernel(s) and settings.
/// Returns the last item added.
CReportDataItemBase* AddDftSection(CDFTCalc const& calc, CStr const& description,
                                   CReportPageData* page, CReportDataItemBase* below);

/// How λ was chosen, in words ("generalised cross-validation", ...).
const char* LambdaMethodText(CDFTCalc::ELambda method);

}  // namespace fiofla
