// Report pages for Python: the pages `fiofla report` makes, for fiofla.report(), and the
// plots of one result for a notebook (_repr_html_).
#pragma once

#include <string>
#include <vector>

#include "cli_common.h"
#include "dft_options.h"
#include "fiofla/io/isotherm_file.h"
#include "fiofla/report/report_model.h"
#include "fit_options.h"
#include "pore_options.h"

class CTPlotCalc;

namespace fiofla::py {

/// The SVG plots of a BET result, one after another in a <div>.
std::string BetHtml(const IsothermData& iso, const cli::BetRun& run);
/// The SVG plot of a t-plot.
std::string TPlotHtml(const CTPlotCalc& calc, const std::string& curve);
/// The SVG plots of a BJH distribution.
std::string BjhHtml(const IsothermData& iso, const cli::BjhRun& run,
                    const std::string& description);
/// The SVG plots of a DFT distribution.
std::string DftHtml(const cli::DftRun& run);
struct PyModel;
/// The SVG plots of model fits (the best three curves over the points).
std::string FitHtml(const std::vector<PyModel>& models, const cli::FitInput& in);
/// The isotherm plotted (the BET report's isotherm plot of its points).
std::string IsothermHtml(const IsothermData& iso);

}  // namespace fiofla::py
