// Report pages for Python: the pages `fiofla report` makes, for fiofla.report(), and the
// plots of one result for a notebook (_repr_html_).
#pragma once

#include <string>
#include <vector>

#include "cli_common.h"
#include "fiofla/io/isotherm_file.h"
#include "pore_options.h"

class CTPlotCalc;

namespace fiofla::py {

/// The name of a thickness curve as report titles show it ("Harkins and Jura").
std::string PoreCurveTitle(const std::string& name);

/// The SVG plots of a BET result, one after another in a <div>.
std::string BetHtml(const IsothermData& iso, const cli::BetRun& run);
/// The SVG plot of a t-plot.
std::string TPlotHtml(const CTPlotCalc& calc, const std::string& curve);
/// The SVG plots of a BJH distribution.
std::string BjhHtml(const IsothermData& iso, const cli::BjhRun& run,
                    const std::string& description);
/// The isotherm plotted (the BET report's isotherm plot of its points).
std::string IsothermHtml(const IsothermData& iso);

}  // namespace fiofla::py
