// A BET report page built from the library and drawn as text and HTML: the calculation,
// its summary and checks, the range points and both plots.
#include <fiofla/calc_bet.h>
#include <fiofla/datagasadsorption.h>
#include <fiofla/report/report_render.h>
#include <fiofla/report_bet.h>

#include <fstream>
#include <iostream>
#include <memory>

int main(int argc, char** argv) {
  const double relativePressure[] = {0.02, 0.05, 0.10, 0.15, 0.20, 0.25, 0.30, 0.40, 0.60};
  const double quantityCm3PerGStp[] = {33.1, 39.97, 45.68, 49.96, 53.77, 57.52, 61.45, 70.2, 92.8};
  const int n = 9;

  CCalcBET::SInput input;
  input.relativePressure.SetDim(n);
  input.quantityAdsorbed.SetDim(n);
  input.pointFlags.SetDim(n);
  for (int i = 0; i < n; ++i) {
    input.relativePressure[i] = relativePressure[i];
    input.quantityAdsorbed[i] = quantityCm3PerGStp[i];
    const bool inRange = relativePressure[i] >= 0.05 && relativePressure[i] <= 0.30;
    input.pointFlags[i] = CCalcBET::POINT_INCLUDED | (inRange ? CCalcBET::POINT_IN_RANGE : 0);
  }
  const auto bet = std::make_shared<CCalcBET>(input);

  // Quantities in mmol/g for this report; the model keeps cm3/g STP.
  DVolumeAds::sm_Formatter.Units().Select("mmol/g");
  DBETTransform::sm_Formatter.Units().Select("g/mmol");

  CReportPageData page("BET report of an in-memory isotherm");
  CReportDataItemBase* summary = NBET::AddSummaryTable(*bet, &page, nullptr);
  NBET::Validate(*bet, static_cast<CReportOptionsTable*>(summary));
  CRSGraphAxisData::SSetup x, y;
  CReportDataItemBase* plot = NBET::PlotReportBET({bet}, {"sample"}, &page, x, y, false, summary);
  plot = NBET::PlotReportIso({bet}, {"sample"}, &page, x, y, false, plot);
  NBET::AddTabularData(*bet, &page, plot);

  fiofla::RenderOptions options;
  options.documentTitle = "BET report example";
  fiofla::RenderText({&page}, options, std::cout);
  if (argc > 1) {
    std::ofstream html(argv[1]);
    fiofla::RenderHtml({&page}, options, html);
    if (!html) return 1;
  }
  return bet->status == CCalcBET::STATUS_OK ? 0 : 1;
}
