// Drawing report pages: a self-contained HTML file with inline SVG graphs, JSON of the
// whole page model, and plain text for a terminal.
//
// Every renderer writes what the model holds and nothing else: numbers appear as their
// formatters write them (JSON also carries the internal values), unit placeholders are
// resolved through each item's units context, and graphs are drawn to scale with the
// axes converted to the display units of their formatters.
#pragma once

#include <ostream>
#include <vector>

#include "fiofla/report/report_model.h"

namespace fiofla {

/// What a rendered document says about where it came from.
struct RenderOptions {
  /// Document title (HTML <title>, JSON "title", first line of text).
  CStr documentTitle = "fiofla report";
  /// Free line under the title (e.g. the files reported); may be empty.
  CStr subtitle;
  /// Program and version that made the document; may be empty.
  CStr generator;
};

/// Writes the pages as one HTML document: no scripts, no external resources, graphs as
/// inline SVG, validation rows marked as warnings or passes.
void RenderHtml(std::vector<CReportPageData const*> const& pages, RenderOptions const& options,
                std::ostream& out);
/// Writes the pages as one JSON document (UTF-8) holding every item, line, column, axis,
/// curve and overlay with internal values and their written forms.
void RenderJson(std::vector<CReportPageData const*> const& pages, RenderOptions const& options,
                std::ostream& out);
/// Writes the pages as plain UTF-8 text for a terminal: tables aligned, graphs as a list of
/// their curves with point counts and ranges.
void RenderText(std::vector<CReportPageData const*> const& pages, RenderOptions const& options,
                std::ostream& out);

}  // namespace fiofla
