// The stylesheet of the HTML report: one page per report page, tables and validation rows
// that read on screen and in print, graphs that scale to the page.
#include "render_common.h"

namespace fiofla::report_detail {

const char* const kHtmlStyle = R"(
*{box-sizing:border-box}
body{margin:0;padding:28px 20px;background:#f4f5f7;color:#1f2328;
  font:14px/1.45 "Segoe UI","Helvetica Neue",Arial,"Liberation Sans",sans-serif}
.doc{max-width:1000px;margin:0 auto}
.doc-head{padding:0 0 10px;border-bottom:3px solid #1b4f9c}
.doc-title{font-size:13px;font-weight:600;letter-spacing:.06em;text-transform:uppercase;color:#1b4f9c}
.doc-sub{color:#444;margin-top:2px}
.doc-gen{color:#888;font-size:12px}
.page{background:#fff;border:1px solid #dde1e6;margin:22px 0;padding:20px 26px 8px;
  display:flow-root}
h1{font-size:21px;font-weight:600;margin:0 0 14px}
.item{margin-bottom:22px}
h2{font-size:14.5px;font-weight:600;margin:0 0 8px;padding-bottom:4px;border-bottom:1px solid #d0d5db}
table{border-collapse:collapse;font-size:13px}
.options th{text-align:left;font-weight:normal;color:#333;padding:3px 18px 3px 10px;white-space:nowrap;
  border-left:4px solid transparent;vertical-align:top}
.options td{padding:3px 8px;vertical-align:top}
.options tr+tr>*{border-top:1px solid #eef0f2}
.num{text-align:right;white-space:nowrap;font-variant-numeric:tabular-nums}
.err{color:#555}
.unit{color:#555}
.options .unit{text-align:left}
tr.warn>*{background:#fff4e6}
tr.warn th{border-left-color:#d9480f;font-weight:600;color:#a0330a}
tr.warn .mark,tr.warn .tag{color:#d9480f;font-weight:600}
tr.pass th{border-left-color:#2b8a3e}
tr.pass .mark{color:#2b8a3e;font-weight:700}
.line2{color:#555}
.scroll{overflow-x:auto}
.std{width:100%;font-size:12px}
.std th{text-align:right;font-weight:600;padding:4px 6px;border-bottom:1.5px solid #333;
  vertical-align:bottom}
.std th .unit{font-weight:normal}
.std td{padding:2px 6px}
.std tbody tr:nth-child(even){background:#f6f8fa}
.std tbody tr:last-child td{border-bottom:1px solid #333}
svg.graph{display:block;max-width:100%;height:auto;font-family:inherit}
@media print{body{background:#fff;padding:0}.page{border:0;padding:0;break-after:page}}
)";

}  // namespace fiofla::report_detail
