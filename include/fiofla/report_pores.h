// Report content of the classical pore analyses: the t-plot and the BJH distribution, drawn
// with the report model like the BET pages.
//
// - t-plot: a results table (micropore volume, external and micropore areas, the fit) and
//   the graph of quantity adsorbed against thickness, with the points inside the fitted
//   range set apart and the fitted line drawn across them.
// - BJH: a results table (totals, method), the cumulative pore volume and the dV/dlog(D)
//   graphs against pore diameter on a logarithmic axis (dV/dlog(D) plain per interval and
//   smoothed at the boundaries), and the table of intervals. The results table also holds
//   the pore volume outside the diameter range, a check of where the peak lies and notes on
//   what was left out; the points and steps left out follow the intervals, one line each.
// Units: thickness and diameters Å, quantities cm3/g STP, pore volume cm3/g, areas m2/g.
// Nothing is added for a calculation without a result; the functions then return `below`.
#pragma once

#include "fiofla/gasbjh.h"
#include "fiofla/gastplot.h"
#include "fiofla/report/report_model.h"

namespace fiofla {

/// Adds the t-plot section below `below`; returns the last item added.
CReportDataItemBase* AddTPlotSection(CTPlotCalc const& calc, CStr const& curveName,
                                     CReportPageData* page, CReportDataItemBase* below);

/// Adds the BJH section below `below`; `description` says branch, method and curve, and
/// `wording` how points and the diameter range are named.
CReportDataItemBase* AddBjhSection(CBJHCalc const& calc, CStr const& description,
                                   CReportPageData* page, CReportDataItemBase* below,
                                   BjhWording const& wording = {});

}  // namespace fiofla
