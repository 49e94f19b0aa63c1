// Writing report pages to a file, as `fiofla report` and the commands with a --report option
// do: the format from the extension (.json, .txt or .text; HTML otherwise), written atomically
// so a failed run leaves no half-written report.
#pragma once

#include <string>
#include <vector>

#include "app.h"
#include "fiofla/report/report_model.h"

namespace fiofla::cli {

/// Renders `pages` with `title` and `subtitle` and writes them to `path`; says on `say` that
/// it did ("fiofla CMD: wrote the HTML report of WHAT to PATH"; a command printing JSON says
/// it on its error stream). Throws InputError when the file cannot be written.
void WriteReportPages(const std::vector<const CReportPageData*>& pages, const std::string& title,
                      const std::string& subtitle, const std::string& path,
                      const std::string& command, const std::string& what, std::ostream& say);

}  // namespace fiofla::cli
