#include <rapidjson/ostreamwrapper.h>
#include <rapidjson/prettywriter.h>

#include <cmath>

#include "fiofla/report/report_render.h"
#include "report/render_common.h"

namespace fiofla {
namespace {

using JsonWriter = rapidjson::PrettyWriter<rapidjson::OStreamWrapper>;

void String(JsonWriter& w, CStr const& text) {
  // The length is passed so text with embedded NULs is written whole.
  w.String(text.c_str(), static_cast<rapidjson::SizeType>(text.size()));
}

void KeyString(JsonWriter& w, char const* key, CStr const& text) {
  w.Key(key);
  String(w, text);
}

void Number(JsonWriter& w, double value) {
  if (std::isfinite(value))
    w.Double(value);
  else
    w.Null();  // JSON has no NaN or infinity
}

void KeyNumber(JsonWriter& w, char const* key, double value) {
  w.Key(key);
  Number(w, value);
}

// Arrays of plain values go on one line: curves carry hundreds of numbers, and one per line
// would bury the structure. The option is read per value, so switching it around an array
// of scalars leaves the rest of the document indented.
void StartFlatArray(JsonWriter& w) {
  w.SetFormatOptions(rapidjson::kFormatSingleLineArray);
  w.StartArray();
}

void EndFlatArray(JsonWriter& w) {
  w.EndArray();
  w.SetFormatOptions(rapidjson::kFormatDefault);
}

void NumberArray(JsonWriter& w, char const* key, CNumVector<double> const& values) {
  w.Key(key);
  StartFlatArray(w);
  for (double v : values) Number(w, v);
  EndFlatArray(w);
}

char const* LineKindName(CReportOptionsTable::ELineKind kind) {
  switch (kind) {
    case CReportOptionsTable::eNumeric:
      return "numeric";
    case CReportOptionsTable::eValidation:
      return "validation";
    default:
      return "item";
  }
}

char const* AxisTypeName(CRSGraphAxisData::EAxisType type) {
  switch (type) {
    case CRSGraphAxisData::eBottom:
      return "bottom";
    case CRSGraphAxisData::eTop:
      return "top";
    case CRSGraphAxisData::eLeft:
      return "left";
    default:
      return "right";
  }
}

void WriteOptionsTable(JsonWriter& w, CReportOptionsTable const& table) {
  w.Key("lines");
  w.StartArray();
  for (auto const& line : table.Lines()) {
    bool const numeric = line.kind == CReportOptionsTable::eNumeric;
    w.StartObject();
    w.Key("kind");
    w.String(LineKindName(line.kind));
    KeyString(w, "label", table.Resolve(line.label));
    KeyString(w, "text", table.Resolve(line.text));
    KeyString(w, "error_text", line.errorText);
    KeyString(w, "units", table.Resolve(line.units));
    // Only numeric lines carry numbers; null says so instead of a misleading 0.
    KeyNumber(w, "value", numeric ? line.value : NAN);
    KeyNumber(w, "error", numeric && line.hasError ? line.error : NAN);
    KeyString(w, "line2", table.Resolve(line.line2));
    w.Key("passed");
    w.Bool(line.passed);
    w.EndObject();
  }
  w.EndArray();
}

void WriteStdTable(JsonWriter& w, CReportStdTable const& table) {
  w.Key("rows");
  w.Uint64(table.RowCount());
  w.Key("columns");
  w.StartArray();
  for (int c = 0; c < table.ColumnCount(); ++c) {
    auto const& column = table.Column(c);
    w.StartObject();
    KeyString(w, "title", table.Resolve(column.title));
    w.Key("width");
    w.Int(column.width);
    KeyString(w, "units", report_detail::UnitText(column.formatter));
    NumberArray(w, "values", column.data);
    w.Key("texts");
    StartFlatArray(w);
    for (double v : column.data) String(w, report_detail::FormatValue(column.formatter, v));
    EndFlatArray(w);
    w.EndObject();
  }
  w.EndArray();
}

void WriteCurve(JsonWriter& w, CReportGraphData const& graph, CRSGraphCurveData const& curve) {
  w.StartObject();
  KeyString(w, "name", graph.Resolve(curve.Name()));
  w.Key("x_axis");
  w.Uint(curve.XAxis());
  w.Key("y_axis");
  w.Uint(curve.YAxis());
  NumberArray(w, "x", curve.X());
  NumberArray(w, "y", curve.Y());
  w.Key("symbol");
  w.Int(curve.Symbol());
  KeyString(w, "pen_color", report_detail::HexColor(curve.PenColor()));
  w.Key("pen_style");
  w.Int(curve.PenStyle());
  w.Key("curve_type");
  w.Int(curve.CurveType());
  w.Key("interpolation");
  w.Int(curve.Interpolation());
  w.Key("shown");
  w.Bool(curve.Shown());
  w.Key("sub_curves");
  w.StartArray();
  for (auto const& sub : curve.SubCurves()) WriteCurve(w, graph, *sub);
  w.EndArray();
  w.Key("overlays");
  w.StartArray();
  for (auto const& overlay : curve.Overlays()) {
    w.StartObject();
    w.Key("coefficients");
    StartFlatArray(w);
    for (double c : overlay->Polynomial().Polynomial().Coefficients()) Number(w, c);
    EndFlatArray(w);
    KeyString(w, "pen_color", report_detail::HexColor(overlay->PenColor()));
    w.Key("pen_style");
    w.Int(overlay->PenStyle());
    w.EndObject();
  }
  w.EndArray();
  w.EndObject();
}

void WriteGraph(JsonWriter& w, CReportGraphData const& graph) {
  w.Key("axes");
  w.StartArray();
  for (auto const& axis : graph.Axes()) {
    auto const& setup = axis->GetSetup();
    w.StartObject();
    w.Key("type");
    w.String(AxisTypeName(axis->Type()));
    w.Key("number");
    w.Uint(axis->Number());
    KeyString(w, "name", axis->Name());
    KeyString(w, "title", graph.Resolve(axis->Title()));
    KeyString(w, "units", report_detail::UnitText(axis->Formatter()));
    w.Key("setup");
    w.StartObject();
    w.Key("auto_scale");
    w.Bool(setup.autoScale);
    KeyNumber(w, "minimum", setup.minimum);
    KeyNumber(w, "maximum", setup.maximum);
    w.Key("include_zero");
    w.Bool(setup.includeZero);
    w.Key("use_margin");
    w.Bool(setup.useMargin);
    w.Key("logarithmic");
    w.Bool(setup.logarithmic);
    w.EndObject();
    KeyNumber(w, "margin", axis->Margin());
    w.EndObject();
  }
  w.EndArray();
  w.Key("legend");
  w.Int(graph.LegendType());
  w.Key("curves");
  w.StartArray();
  for (auto const& curve : graph.Curves()) WriteCurve(w, graph, *curve);
  w.EndArray();
}

void WriteItem(JsonWriter& w, CReportPageData const& page, CReportDataItemBase const& item) {
  w.StartObject();
  w.Key("kind");
  switch (item.Kind()) {
    case CReportDataItemBase::eOptionsTable:
      w.String("options_table");
      break;
    case CReportDataItemBase::eStdTable:
      w.String("std_table");
      break;
    case CReportDataItemBase::eGraph:
      w.String("graph");
      break;
  }
  KeyString(w, "title", item.Resolve(item.Title()));
  w.Key("layout");
  StartFlatArray(w);
  w.Int(item.LayoutLeft());
  w.Int(item.LayoutRight());
  EndFlatArray(w);
  w.Key("below");
  int const below = report_detail::ItemIndex(page, item.LayoutBottom());
  if (below >= 0)
    w.Int(below);
  else
    w.Null();
  switch (item.Kind()) {
    case CReportDataItemBase::eOptionsTable:
      WriteOptionsTable(w, static_cast<CReportOptionsTable const&>(item));
      break;
    case CReportDataItemBase::eStdTable:
      WriteStdTable(w, static_cast<CReportStdTable const&>(item));
      break;
    case CReportDataItemBase::eGraph:
      WriteGraph(w, static_cast<CReportGraphData const&>(item));
      break;
  }
  w.EndObject();
}

}  // namespace

void RenderJson(std::vector<CReportPageData const*> const& pages, RenderOptions const& options,
                std::ostream& out) {
  rapidjson::OStreamWrapper stream(out);
  JsonWriter w(stream);
  w.SetIndent(' ', 2);
  w.StartObject();
  KeyString(w, "title", options.documentTitle);
  KeyString(w, "subtitle", options.subtitle);
  KeyString(w, "generator", options.generator);
  w.Key("pages");
  w.StartArray();
  for (auto const* page : pages) {
    if (page == nullptr) continue;
    w.StartObject();
    KeyString(w, "title", page->Title());
    w.Key("items");
    w.StartArray();
    // Model order, not drawing order: "below" indices refer to this array.
    for (auto const& item : page->Items()) WriteItem(w, *page, *item);
    w.EndArray();
    w.EndObject();
  }
  w.EndArray();
  w.EndObject();

  out << '\n';
}

}  // namespace fiofla
