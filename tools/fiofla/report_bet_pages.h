// Pieces of the BET report pages shared by `fiofla report` and the Python package's
// fiofla.report(): the automatic range search as a table, one isotherm's summary items, the
// two BET plots framed on the fitted range, and the names report titles use.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "cli_common.h"
#include "fiofla/report/report_model.h"

namespace fiofla::cli {

/// The automatic range search's outcome as a table: the chosen window and one row per
/// criterion.
CReportDataItemBase* AddRangeSearchTable(const BetRangeResult& s, CReportPageData* page,
                                         CReportDataItemBase* below);

/// One isotherm's results: the summary with its checks, then the range search when there
/// was one.
CReportDataItemBase* AddIsothermItems(const BetRun& run, CReportPageData* page,
                                      CReportDataItemBase* below);

/// The BET transform and isotherm plots of the calculations, overlaid when several, their
/// axes framed on the fitted range.
CReportDataItemBase* AddPlots(const std::vector<std::shared_ptr<CCalcBET>>& calcs,
                              const std::vector<CStr>& names, CReportPageData* page,
                              CReportDataItemBase* below);

/// The name of a thickness curve as a report title shows it ("Harkins and Jura").
std::string ThicknessCurveTitle(const std::string& name);

}  // namespace fiofla::cli
