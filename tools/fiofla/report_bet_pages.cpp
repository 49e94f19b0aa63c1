#include "report_bet_pages.h"

#include <algorithm>
#include <cmath>

#include "fiofla/report/report_text.h"
#include "fiofla/report_bet.h"

namespace fiofla::cli {
namespace {

CStr Verdict(std::size_t failed, std::size_t searched) {
  return CStr("fails in " + std::to_string(failed) + " of " + std::to_string(searched) +
              " windows");
}

// Axis ends that frame what the plots are about: the BET transform is near-linear only
// at low pressure and the BET model diverges towards saturation, so scaling to all the
// data would squeeze the fitted region into a corner.
void FrameAxes(const std::vector<std::shared_ptr<CCalcBET>>& calcs, CRSGraphAxisData::SSetup& betX,
               CRSGraphAxisData::SSetup& betY, CRSGraphAxisData::SSetup& isoY) {
  double rangeEnd = 0.0, quantityMax = 0.0;
  for (const auto& calc : calcs) {
    for (double x : calc->fitRelativePressure) rangeEnd = std::max(rangeEnd, x);
    for (double q : calc->quantityAdsorbed)
      if (std::isfinite(q)) quantityMax = std::max(quantityMax, q);
  }
  if (quantityMax > 0.0) {
    isoY.autoScale = false;
    isoY.minimum = 0.0;
    isoY.maximum = 1.1 * quantityMax;
  }
  if (rangeEnd <= 0.0) return;
  const double xEnd = std::min(1.0, std::ceil((rangeEnd + 0.1) / 0.05) * 0.05);
  double yEnd = 0.0;
  for (const auto& calc : calcs) {
    auto take = [&](const CNumVector<double>& x, const CNumVector<double>& y) {
      for (std::size_t i = 0; i < std::min(x.size(), y.size()); ++i)
        if (x[i] <= xEnd && std::isfinite(y[i])) yEnd = std::max(yEnd, y[i]);
    };
    take(calc->fitRelativePressure, calc->fitTransform);
    take(calc->otherRelativePressure, calc->otherTransform);
    if (calc->fitRelativePressure.size() >= 2)
      yEnd = std::max(yEnd, calc->yIntercept + calc->slope * xEnd);
  }
  if (!(yEnd > 0.0) || !std::isfinite(yEnd)) return;
  betX.autoScale = false;
  betX.minimum = 0.0;
  betX.maximum = xEnd;
  betY.autoScale = false;
  betY.minimum = 0.0;
  betY.maximum = 1.1 * yEnd;
}

}  // namespace

// The search's outcome as a table: the chosen window and one row per criterion.
CReportDataItemBase* AddRangeSearchTable(const BetRangeResult& s, CReportPageData* page,
                                         CReportDataItemBase* below) {
  CReportOptionsTable* table = page->AddOptionsTable("BET Range Selection", 75, 775);
  table->SetLayoutBottom(below);
  table->AddItem("Method:", "automatic, " + std::to_string(s.options.minPoints) +
                                " or more points, r² >= " + Num(s.options.minRSquared, 6) +
                                ", tolerance " + Num(100.0 * s.options.monolayerTolerance, 4) +
                                " %");
  const CStr passed = ReportText(kTextCheckPassed);
  if (s.found) {
    table->AddItem("Chosen range:", "P/Po " + Fixed(s.relativePressureLow, 6) + " to " +
                                        Fixed(s.relativePressureHigh, 6) + " (" +
                                        std::to_string(s.last - s.first + 1) + " points, " +
                                        std::to_string(s.windowsPassed) + " of " +
                                        std::to_string(s.windowsSearched) + " windows pass)");
    table->AddValidation("Q(1 - P/Po) rising:", passed, "over every step of the range");
    table->AddValidation("C positive:", passed, "C = " + Num(s.cValue, 6));
    table->AddValidation("Monolayer in range:", passed,
                         "Q = Qm at P/Po " + Fixed(s.monolayerRelativePressure, 6));
    table->AddValidation("Monolayer agreement:", passed,
                         "1/(√C + 1) = " + Fixed(s.cRelativePressure, 6));
    return table;
  }
  table->AddValidation("Chosen range:", "No range passes all criteria.", CStr(s.Explain()));
  const std::size_t n = s.windowsSearched;
  auto row = [&](const char* label, std::size_t failed) {
    if (failed == 0)
      table->AddValidation(label, passed, CStr());
    else
      table->AddValidation(label, Verdict(failed, n), CStr());
  };
  row("Correlation r²:", s.failedRSquared);
  row("Q(1 - P/Po) rising:", s.failedIncreasing);
  row("C positive:", s.failedPositiveC);
  row("Monolayer in range:", s.failedMonolayerInRange);
  row("Monolayer agreement:", s.failedMonolayerAgreement);
  return table;
}

// One isotherm's results: summary with its checks, the range search, and the range points;
// with a single isotherm the plots go between them.
CReportDataItemBase* AddIsothermItems(const BetRun& run, CReportPageData* page,
                                      CReportDataItemBase* below) {
  CReportDataItemBase* summary = NBET::AddSummaryTable(*run.calc, page, below);
  if (!NoBetResult(*run.calc))
    NBET::Validate(*run.calc, static_cast<CReportOptionsTable*>(summary));
  CReportDataItemBase* last = summary;
  if (run.search) last = AddRangeSearchTable(*run.search, page, last);
  return last;
}

CReportDataItemBase* AddPlots(const std::vector<std::shared_ptr<CCalcBET>>& calcs,
                              const std::vector<CStr>& names, CReportPageData* page,
                              CReportDataItemBase* below) {
  CRSGraphAxisData::SSetup betX, betY, isoX, isoY;
  isoX.autoScale = false;
  isoX.minimum = 0.0;
  isoX.maximum = 1.0;
  isoY.useMargin = true;
  FrameAxes(calcs, betX, betY, isoY);
  const bool overlay = calcs.size() > 1;
  CReportDataItemBase* graph = NBET::PlotReportBET(calcs, names, page, betX, betY, overlay, below);
  return NBET::PlotReportIso(calcs, names, page, isoX, isoY, overlay, graph);
}

// The name of a thickness curve as a report title shows it.
std::string ThicknessCurveTitle(const std::string& name) {
  if (name == "harkins-jura") return "Harkins and Jura";
  if (name == "halsey") return "Halsey";
  if (name == "carbon") return "Carbon Black STSA";
  if (name == "bdb") return "Broekhoff-de Boer";
  if (name == "kjs") return "Kruk-Jaroniec-Sayari";
  return name;
}

}  // namespace fiofla::cli
