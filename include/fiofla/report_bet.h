// Report content for BET calculations: the summary table, the validation rows that warn
// about doubtful results, the table of the points in range, and the two BET plots (the
// transform with its fitted line, and the isotherm with the BET model), for one
// calculation or several overlaid.
//
// The functions only read finished CCalcBET objects and add items to a report page; every
// text comes from the numbered text table (numbers 32000 to 32033, registered when the
// library is loaded). Numbers are held in internal units (cm³/g STP, P/Po, g/cm³ STP) and
// shown through the formatters of datagasadsorption.h.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "fiofla/calc_bet.h"
#include "fiofla/report/report_model.h"
#include "fiofla/str/cstr.h"

namespace NBET {

/// C check: warns when C < 0 or C > 300. With a table, adds its row; returns true on a warning.
bool ValidateC(CCalcBET const& calc, CReportOptionsTable* table);
/// Correlation check: warns when the correlation coefficient is below 0.9975.
bool ValidateCoeff(CCalcBET const& calc, CReportOptionsTable* table);
/// Area check: warns when the surface area is negative.
bool ValidateArea(CCalcBET const& calc, CReportOptionsTable* table);
/// Range check: warns when the first range point lies below P/Po 0.05 or the last above 0.3;
/// with no range points adds nothing and returns false.
bool ValidatePointRange(CCalcBET const& calc, CReportOptionsTable* table);
/// Runs the four checks (C, correlation, area, range) in that order; true if any warned.
bool Validate(CCalcBET const& calc, CReportOptionsTable* table);
/// The warnings of the four checks in words, one sentence each ("C value: C value is low.
/// Select a new range, ..."), as the report shows them; empty when every check passes.
std::vector<std::string> Warnings(CCalcBET const& calc);

/// Adds the summary lines (area, slope, intercept, C, Qm, correlation, cross-section), or the
/// single "at least two points" warning when there is no fit.
void FillSummary(CCalcBET const& calc, CReportOptionsTable& table);
/// Adds the "BET Report" summary table to `page`, below `below` when given; returns it.
CReportDataItemBase* AddSummaryTable(CCalcBET const& calc, CReportPageData* page,
                                     CReportDataItemBase* below);
/// Adds the table of the range points (P/Po, quantity, transform) below `below`; returns it.
CReportDataItemBase* AddTabularData(CCalcBET const& calc, CReportPageData* page,
                                    CReportDataItemBase* below);

/// Fills `curve` with the range points' transform, the other included points as a
/// "Not Fitted" sub-curve, and the fitted line as an overlay across the axis.
void FillBETCurveData(CCalcBET const& calc, CRSGraphCurveData* curve);
/// Fills `curve` with the check transform (1 - P/Po) Q of the range and other points.
void FillCheckCurveData(CCalcBET const& calc, CRSGraphCurveData* curve);
/// Adds the isotherm curve of one calculation (measured points up to the first fall in P/Po)
/// with its "BET Equation" model sub-curve; returns the curve.
CRSGraphCurveData* BuildCurveIso(CCalcBET const& calc, CStr const& name, CReportGraphData* graph,
                                 unsigned short index, unsigned short xAxis, unsigned short yAxis);
/// Adds the BET transform curve of one calculation with its "Not Fitted" sub-curve and fitted
/// line; returns the curve.
CRSGraphCurveData* BuildCurveBET(CCalcBET const& calc, CStr const& name, CReportGraphData* graph,
                                 unsigned short index, unsigned short xAxis, unsigned short yAxis);

/// Adds the "BET Isotherm Plot" graph of the first calculation, and of every further one when
/// `overlay` is set; returns the graph.
CReportGraphData* PlotReportIso(std::vector<std::shared_ptr<CCalcBET>> const& calcs,
                                std::vector<CStr> const& names, CReportPageData* page,
                                CRSGraphAxisData::SSetup const& x,
                                CRSGraphAxisData::SSetup const& y, bool overlay,
                                CReportDataItemBase* below);
/// Adds the "BET Surface Area Plot" graph, as PlotReportIso does; returns the graph.
CReportGraphData* PlotReportBET(std::vector<std::shared_ptr<CCalcBET>> const& calcs,
                                std::vector<CStr> const& names, CReportPageData* page,
                                CRSGraphAxisData::SSetup const& x,
                                CRSGraphAxisData::SSetup const& y, bool overlay,
                                CReportDataItemBase* below);

}  // namespace NBET

namespace fiofla {

/// Number of the first BET report text ("Warning:"); the texts run to 32033.
constexpr std::uint32_t kBetTextFirst = 32000;
/// Number of BET report texts.
constexpr std::uint32_t kBetTextCount = 34;

}  // namespace fiofla
