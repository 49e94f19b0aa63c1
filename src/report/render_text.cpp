#include <algorithm>
#include <cmath>
#include <string>
#include <vector>

#include "fiofla/report/report_render.h"
#include "report/render_common.h"

namespace fiofla {
namespace {

using report_detail::DisplayWidth;

std::string PadRight(std::string const& text, std::size_t width) {
  std::size_t const w = DisplayWidth(text);
  return w >= width ? text : text + std::string(width - w, ' ');
}

std::string PadLeft(std::string const& text, std::size_t width) {
  std::size_t const w = DisplayWidth(text);
  return w >= width ? text : std::string(width - w, ' ') + text;
}

void WriteLine(std::ostream& out, std::string line) {
  // Padding of the last column would only leave trailing blanks.
  while (!line.empty() && line.back() == ' ') line.pop_back();
  out << line << '\n';
}

void WriteHeading(std::ostream& out, std::string const& text, char rule) {
  if (text.empty()) return;
  out << text << '\n' << std::string(DisplayWidth(text), rule) << '\n';
}

void WriteOptionsTable(std::ostream& out, CReportOptionsTable const& table) {
  std::size_t labelWidth = 0, valueWidth = 0, errorWidth = 0;
  bool anyError = false;
  for (auto const& line : table.Lines()) {
    labelWidth = std::max(labelWidth, DisplayWidth(table.Resolve(line.label).str()));
    if (line.kind != CReportOptionsTable::eNumeric) continue;
    valueWidth = std::max(valueWidth, DisplayWidth(line.text.str()));
    if (line.hasError) {
      anyError = true;
      errorWidth = std::max(errorWidth, DisplayWidth(line.errorText.str()));
    }
  }
  for (auto const& line : table.Lines()) {
    std::string text = "  " + PadRight(table.Resolve(line.label).str(), labelWidth) + "  ";
    switch (line.kind) {
      case CReportOptionsTable::eNumeric: {
        text += PadLeft(line.text.str(), valueWidth);
        // Lines without an error keep their units under those of lines with one.
        if (line.hasError)
          text += " ± " + PadLeft(line.errorText.str(), errorWidth);
        else if (anyError)
          text += std::string(3 + errorWidth, ' ');
        std::string const units = table.Resolve(line.units).str();
        if (!units.empty()) text += " " + units;
        break;
      }
      case CReportOptionsTable::eValidation: {
        text += line.passed ? "[ok] " : "[WARNING] ";
        text += table.Resolve(line.text).str();
        std::string const line2 = table.Resolve(line.line2).str();
        // The two lines are one sentence broken for the page.
        if (!line.passed && !line2.empty()) text += " " + line2;
        break;
      }
      default:
        text += table.Resolve(line.text).str();
        break;
    }
    WriteLine(out, text);
  }
}

void WriteStdTable(std::ostream& out, CReportStdTable const& table) {
  std::size_t const rows = table.RowCount();
  int const columns = table.ColumnCount();
  if (columns == 0) return;
  std::vector<std::vector<std::string>> cells(static_cast<std::size_t>(columns));
  std::vector<std::string> titles;
  std::vector<std::size_t> widths;
  for (int c = 0; c < columns; ++c) {
    auto const& column = table.Column(c);
    titles.push_back(table.Resolve(column.title).str());
    std::size_t width = DisplayWidth(titles.back());
    auto& texts = cells[static_cast<std::size_t>(c)];
    for (double v : column.data) {
      texts.push_back(report_detail::FormatValue(column.formatter, v).str());
      width = std::max(width, DisplayWidth(texts.back()));
    }
    widths.push_back(width);
  }
  std::string header, rule;
  for (int c = 0; c < columns; ++c) {
    auto const i = static_cast<std::size_t>(c);
    // Titles right-aligned over right-aligned numbers, so each sits over its digits.
    header += "  " + PadLeft(titles[i], widths[i]);
    rule += "  " + std::string(widths[i], '-');
  }
  WriteLine(out, header);
  WriteLine(out, rule);
  for (std::size_t r = 0; r < rows; ++r) {
    std::string text;
    for (std::size_t c = 0; c < cells.size(); ++c)
      text += "  " + PadLeft(r < cells[c].size() ? cells[c][r] : std::string(), widths[c]);
    WriteLine(out, text);
  }
}

/// "min .. max unit" of coordinate `values` over the points whose both coordinates are
/// finite in display units, written by the axis formatter.
std::string RangeText(CRSGraphAxisData const& axis, CNumVector<double> const& values,
                      std::vector<bool> const& usable) {
  auto const* formatter = axis.Formatter();
  bool found = false;
  double low = 0.0, high = 0.0;
  for (std::size_t i = 0; i < usable.size(); ++i) {
    if (!usable[i]) continue;
    double const v = values[i];
    double const d = report_detail::ToDisplay(formatter, v);
    if (!found || d < report_detail::ToDisplay(formatter, low)) low = v;
    if (!found || d > report_detail::ToDisplay(formatter, high)) high = v;
    found = true;
  }
  std::string text = report_detail::FormatValue(formatter, low).str() + " .. " +
                     report_detail::FormatValue(formatter, high).str();
  std::string const unit = report_detail::UnitText(formatter).str();
  if (!unit.empty()) text += " " + unit;
  return text;
}

// Internal value of display value `v` on an axis; identity without a formatter.
double ToInternal(CQuantityFormatter const* formatter, double v) {
  return formatter == nullptr ? v : formatter->Units().ToInternal(v);
}

// The polynomial rewritten in the display units of its axes, so the equation reads on the
// same scale as the ranges printed beside it. Unit conversions are linear:
// x_internal = ax x + bx and y = (y_internal - by) / ay, which expands binomially.
std::vector<double> DisplayCoefficients(CNumPolynomial const& polynomial,
                                        CQuantityFormatter const* xFormatter,
                                        CQuantityFormatter const* yFormatter) {
  auto const& c = polynomial.Coefficients();
  double const bx = ToInternal(xFormatter, 0.0), ax = ToInternal(xFormatter, 1.0) - bx;
  double const by = ToInternal(yFormatter, 0.0), ay = ToInternal(yFormatter, 1.0) - by;
  std::vector<double> d(c.size(), 0.0);
  for (std::size_t j = 0; j < c.size(); ++j) {
    double binomial = 1.0;  // C(j, k)
    for (std::size_t k = 0; k <= j; ++k) {
      d[k] += c[j] * binomial * std::pow(ax, double(k)) * std::pow(bx, double(j - k));
      binomial = binomial * double(j - k) / double(k + 1);
    }
  }
  d[0] -= by;
  for (double& v : d) v /= ay;
  return d;
}

std::string Equation(std::vector<double> const& c) {
  CNumericFormat const format;
  std::string text = c.size() <= 2 ? "fitted line y = " : "fitted polynomial y = ";
  text += format.Format(c[0]).str();
  for (std::size_t k = 1; k < c.size(); ++k) {
    text += std::signbit(c[k]) ? " - " : " + ";
    text += format.Format(std::fabs(c[k])).str() + " x";
    if (k > 1) text += "^" + std::to_string(k);
  }
  return text;
}

void WriteCurve(std::ostream& out, CReportGraphData const& graph, CRSGraphCurveData const& curve,
                std::string const& indent) {
  auto const* x = graph.Axis(curve.XAxis());
  auto const* y = graph.Axis(curve.YAxis());
  if (x == nullptr || y == nullptr) return;
  std::string text = indent + graph.Resolve(curve.Name()).str() + ": " +
                     std::to_string(curve.X().size()) +
                     (curve.X().size() == 1 ? " point" : " points");
  std::vector<bool> usable(curve.X().size());
  for (std::size_t i = 0; i < usable.size(); ++i)
    usable[i] = std::isfinite(report_detail::ToDisplay(x->Formatter(), curve.X()[i])) &&
                std::isfinite(report_detail::ToDisplay(y->Formatter(), curve.Y()[i]));
  if (std::find(usable.begin(), usable.end(), true) != usable.end())
    text += ", x " + RangeText(*x, curve.X(), usable) + ", y " + RangeText(*y, curve.Y(), usable);
  else if (!usable.empty())
    text += ", no finite points";
  if (!curve.Shown()) text += " (hidden)";
  WriteLine(out, text);
  for (auto const& overlay : curve.Overlays())
    WriteLine(out, indent + "  " +
                       Equation(DisplayCoefficients(overlay->Polynomial().Polynomial(),
                                                    x->Formatter(), y->Formatter())));
  for (auto const& sub : curve.SubCurves()) WriteCurve(out, graph, *sub, indent + "  ");
}

void WriteGraph(std::ostream& out, CReportGraphData const& graph) {
  for (auto const& axis : graph.Axes()) {
    std::string text = "  axis " + graph.Resolve(axis->Title()).str();
    std::string const unit = report_detail::UnitText(axis->Formatter()).str();
    if (!unit.empty() && text.find(unit) == std::string::npos) text += " [" + unit + "]";
    WriteLine(out, text);
  }
  for (auto const& curve : graph.Curves()) WriteCurve(out, graph, *curve, "  ");
}

}  // namespace

void RenderText(std::vector<CReportPageData const*> const& pages, RenderOptions const& options,
                std::ostream& out) {
  WriteHeading(out, options.documentTitle.str(), '=');
  if (!options.subtitle.empty()) out << options.subtitle << '\n';
  if (!options.generator.empty()) out << "Generated by " << options.generator << '\n';
  for (auto const* page : pages) {
    if (page == nullptr) continue;
    out << '\n';
    WriteHeading(out, page->Title().str(), '=');
    for (std::size_t index : report_detail::LayoutOrder(*page)) {
      auto const& item = *page->Items()[index];
      out << '\n';
      std::string const title = item.Resolve(item.Title()).str();
      switch (item.Kind()) {
        case CReportDataItemBase::eOptionsTable:
          WriteHeading(out, title, '-');
          WriteOptionsTable(out, static_cast<CReportOptionsTable const&>(item));
          break;
        case CReportDataItemBase::eStdTable:
          WriteHeading(out, title, '-');
          WriteStdTable(out, static_cast<CReportStdTable const&>(item));
          break;
        case CReportDataItemBase::eGraph:
          out << "Graph: " << title << '\n';
          WriteGraph(out, static_cast<CReportGraphData const&>(item));
          break;
      }
    }
  }
}

}  // namespace fiofla
