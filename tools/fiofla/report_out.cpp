#include "report_out.h"

#include <sstream>

#include "fiofla/io/file_util.h"
#include "fiofla/report/report_render.h"

namespace fiofla::cli {

void WriteReportPages(const std::vector<const CReportPageData*>& pages, const std::string& title,
                      const std::string& subtitle, const std::string& path,
                      const std::string& command, const std::string& what, std::ostream& say) {
  RenderOptions render;
  render.documentTitle = CStr(title);
  render.subtitle = CStr(subtitle);
  render.generator = CStr(std::string("fiofla ") + FIOFLA_VERSION);
  const auto dot = path.rfind('.');
  const std::string ext = dot == std::string::npos ? std::string() : path.substr(dot + 1);
  std::ostringstream text;
  const char* kind = "HTML";
  if (ext == "json") {
    RenderJson(pages, render, text);
    kind = "JSON";
  } else if (ext == "txt" || ext == "text") {
    RenderText(pages, render, text);
    kind = "text";
  } else {
    RenderHtml(pages, render, text);
  }
  std::string error;
  if (!WriteFileAtomically(path, text.str(), &error)) throw InputError(error);
  say << command << ": wrote the " << kind << " report of " << what << " to " << path << "\n";
}

}  // namespace fiofla::cli
