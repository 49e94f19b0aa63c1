// The report model: what a report page holds, independent of how it is drawn.
//
// A page is a list of items (option tables of labelled results, standard tables of
// columns, graphs), each with two layout numbers (left and right edge, in 1/1000 of the
// page width) and optionally placed below another item. Items keep numbers in internal
// units with the formatter that shows them, so a renderer can write text, draw to scale,
// or hand the raw values on (JSON). Texts may hold "{%UT:name%}" unit placeholders,
// resolved through the units context attached to an item when it is rendered.
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "fiofla/num/numvector.h"
#include "fiofla/num/polynomial.h"
#include "fiofla/str/cstr.h"
#include "fiofla/units/formatter.h"
#include "fiofla/units/units.h"

class CReportPageData;

/// Base of every item on a report page.
class CReportDataItemBase {
 public:
  /// Kind of item, for renderers.
  enum EKind { eOptionsTable = 0, eStdTable = 1, eGraph = 2 };

  virtual ~CReportDataItemBase() = default;
  /// Kind of item.
  virtual EKind Kind() const = 0;

  /// Title shown above the item; may be empty.
  CStr const& Title() const { return m_title; }
  /// Sets the title.
  void SetTitle(CStr title) { m_title = std::move(title); }
  /// Left edge, 1/1000 of the page width.
  int LayoutLeft() const { return m_layoutLeft; }
  /// Right edge, 1/1000 of the page width.
  int LayoutRight() const { return m_layoutRight; }
  /// Sets both layout numbers.
  void SetLayout(int left, int right) {
    m_layoutLeft = left;
    m_layoutRight = right;
  }
  /// Places this item below `above` (an item of the same page; null = no constraint).
  void SetLayoutBottom(CReportDataItemBase const* above) { m_below = above; }
  /// The item this one is placed below, or null.
  CReportDataItemBase const* LayoutBottom() const { return m_below; }
  /// Units context that resolves the placeholders of this item's texts; may be null.
  std::shared_ptr<CUnitsContext> const& UnitsContext() const { return m_unitsContext; }
  /// Sets the units context.
  void SetUnitsContext(std::shared_ptr<CUnitsContext> context) {
    m_unitsContext = std::move(context);
  }
  /// `text` with its unit placeholders resolved through this item's context (unchanged
  /// without one).
  CStr Resolve(CStr const& text) const;

 protected:
  CReportDataItemBase(CStr title, int left, int right)
      : m_title(std::move(title)), m_layoutLeft(left), m_layoutRight(right) {}

 private:
  CStr m_title;
  int m_layoutLeft;
  int m_layoutRight;
  CReportDataItemBase const* m_below = nullptr;
  std::shared_ptr<CUnitsContext> m_unitsContext;
};

/// A table of labelled lines: numeric results, validation verdicts and plain items.
class CReportOptionsTable : public CReportDataItemBase {
 public:
  /// Kind of line.
  enum ELineKind { eNumeric = 0, eValidation = 1, eItem = 2 };

  /// One line of the table. Numeric lines keep both the written texts and the internal
  /// values; validation lines keep their two message lines.
  struct SLine {
    ELineKind kind = eItem;
    CStr label;
    CStr text;           ///< value as written (numeric), line 1 (validation), text (item)
    CStr errorText;      ///< error as written, empty without one (numeric)
    CStr units;          ///< units text after the value (numeric)
    CStr line2;          ///< second message line (validation)
    double value = 0.0;  ///< internal value (numeric)
    double error = 0.0;  ///< internal error (numeric)
    bool hasError = false;
    bool passed = false;  ///< validation: line 1 is the "check passed" text
  };

  /// A table titled `title` between the two layout numbers.
  CReportOptionsTable(CStr title, int left, int right)
      : CReportDataItemBase(std::move(title), left, right) {}
  EKind Kind() const override { return eOptionsTable; }

  /// Adds "label  value units", the value written by its formatter; null `units` shows the
  /// formatter's own unit text.
  template <class T>
  void AddNumericLine(CStr const& label, TFormattedNumeric<T> const& value, char const* units);
  /// Adds "label  value ± error units", both written by their formatters.
  template <class T>
  void AddNumericLine(CStr const& label, TFormattedNumeric<T> const& value,
                      TFormattedNumeric<T> const& error, char const* units);
  /// Adds "label  value units" with `precision` decimals.
  void AddNumericLine(CStr const& label, double value, int precision, char const* units);
  /// Adds "label  value ± error units" with `precision` decimals for both.
  void AddNumericLine(CStr const& label, double value, double error, int precision,
                      char const* units);
  /// Adds a validation row; a row whose line 1 is the "check passed" text is a pass,
  /// any other a warning.
  void AddValidation(CStr const& label, CStr const& line1, CStr const& line2);
  /// Adds a plain "label  text" line.
  void AddItem(CStr const& label, CStr const& text);

  /// The lines in the order added.
  std::vector<SLine> const& Lines() const { return m_lines; }

 private:
  void AddNumeric(CStr const& label, double value, CStr text, bool hasError, double error,
                  CStr errorText, CStr units);

  std::vector<SLine> m_lines;
};

/// A table of columns of numbers, each column with its title, width and formatter.
class CReportStdTable : public CReportDataItemBase {
 public:
  /// One column.
  struct SColumn {
    CStr title;                                     ///< may hold unit placeholders
    int width = 80;                                 ///< nominal width, points
    CQuantityFormatter const* formatter = nullptr;  ///< null: 6 significant digits
    CNumVector<double> data;                        ///< internal units
  };

  /// A table with `columns` empty columns.
  CReportStdTable(CStr title, int columns, int left, int right);
  EKind Kind() const override { return eStdTable; }

  /// Number of columns.
  int ColumnCount() const { return static_cast<int>(m_columns.size()); }
  /// Sets the title of column `index` (ignored when out of range).
  void SetColumnTitle(int index, CStr const& title);
  /// Sets the width of column `index`.
  void SetColumnWidth(int index, int width);
  /// Sets the formatter of column `index` (borrowed; it must outlive the table).
  void SetColumnFormatter(int index, CQuantityFormatter const* formatter);
  /// Sets the data of column `index`, internal units.
  void SetColumnData(int index, CNumVector<double> const& data);
  /// Column `index` (must be in range).
  SColumn const& Column(int index) const { return m_columns.at(static_cast<std::size_t>(index)); }
  /// Number of rows: the length of the longest column.
  std::size_t RowCount() const;

 private:
  std::vector<SColumn> m_columns;
};

/// One axis of a graph.
class CRSGraphAxisData {
 public:
  /// Axis placement: 0 bottom X, 1 top X, 2 left Y, 3 right Y.
  enum EAxisType { eBottom = 0, eTop = 1, eLeft = 2, eRight = 3 };

  /// How an axis is scaled; the defaults scale to the data.
  struct SSetup {
    bool autoScale = true;     ///< fit the range to the data (and overlays' end points)
    double minimum = 0.0;      ///< lower end when not auto-scaled
    double maximum = 1.0;      ///< upper end when not auto-scaled
    bool includeZero = true;   ///< when auto-scaling, extend the range to take in 0
    bool useMargin = false;    ///< when auto-scaling, add the axis margin on both ends
    bool logarithmic = false;  ///< base-10 logarithmic scale (positive data only)
  };

  /// An axis of the given type and number, named `name`.
  CRSGraphAxisData(EAxisType type, unsigned short number, CStr name)
      : m_type(type), m_number(number), m_name(std::move(name)), m_title(m_name) {}

  /// Placement.
  EAxisType Type() const { return m_type; }
  /// Number curves refer to.
  unsigned short Number() const { return m_number; }
  /// Name of the axis.
  CStr const& Name() const { return m_name; }
  /// Title written along the axis (starts as the name); may hold unit placeholders.
  CStr const& Title() const { return m_title; }
  /// Sets the title.
  void SetTitle(CStr title) { m_title = std::move(title); }
  /// Applies a setup.
  void Setup(SSetup const& setup) { m_setup = setup; }
  /// The setup.
  SSetup const& GetSetup() const { return m_setup; }
  /// Margin added on both ends when the setup asks for it (data units).
  double Margin() const { return m_margin; }
  /// Sets the margin.
  void SetMargin(double margin) { m_margin = margin; }
  /// Formatter of the tick labels (borrowed); null: plain numbers.
  CQuantityFormatter const* Formatter() const { return m_formatter; }
  /// Sets the tick-label formatter; its unit also converts the data for drawing.
  void SetFormatter(CQuantityFormatter const* formatter) { m_formatter = formatter; }

 private:
  EAxisType m_type;
  unsigned short m_number;
  CStr m_name;
  CStr m_title;
  SSetup m_setup;
  double m_margin = 0.0;
  CQuantityFormatter const* m_formatter = nullptr;
};

/// Something drawn across a graph's whole X axis: a straight line or a polynomial.
class CRSGraphOverlayData {
 public:
  /// The polynomial drawn.
  explicit CRSGraphOverlayData(CNumPolynomialExtrap polynomial)
      : m_polynomial(std::move(polynomial)) {}

  /// The polynomial drawn.
  CNumPolynomialExtrap const& Polynomial() const { return m_polynomial; }
  /// Pen colour, 0xRRGGBB.
  std::uint32_t PenColor() const { return m_penColor; }
  /// Sets the pen colour.
  void SetPenColor(std::uint32_t color) { m_penColor = color; }
  /// Pen style: 0 solid, 1 dashed, 2 dotted.
  int PenStyle() const { return m_penStyle; }
  /// Sets the pen style.
  void SetPenStyle(int style) { m_penStyle = style; }

 private:
  CNumPolynomialExtrap m_polynomial;
  std::uint32_t m_penColor = 0x000000;
  int m_penStyle = 0;
};

/// A curve of a graph: its points, how they are drawn, sub-curves and overlays.
class CRSGraphCurveData {
 public:
  /// Curve type: 1 line through the points, 2 symbols only, 3 line and symbols.
  enum ECurveType { eLine = 1, eSymbols = 2, eLineAndSymbols = 3 };

  /// A curve named `name` on the given axis numbers.
  CRSGraphCurveData(CStr name, unsigned short xAxis, unsigned short yAxis)
      : m_name(std::move(name)), m_xAxis(xAxis), m_yAxis(yAxis) {}

  /// Name, shown in the legend.
  CStr const& Name() const { return m_name; }
  /// X axis number.
  unsigned short XAxis() const { return m_xAxis; }
  /// Y axis number.
  unsigned short YAxis() const { return m_yAxis; }

  /// Sets the points (internal units); the shorter length counts.
  void SetData(CNumVector<double> const& x, CNumVector<double> const& y);
  /// X values.
  CNumVector<double> const& X() const { return m_x; }
  /// Y values.
  CNumVector<double> const& Y() const { return m_y; }

  /// Symbol code (see NRSGraphCurveData); 0 none.
  int Symbol() const { return m_symbol; }
  /// Sets the symbol.
  void SetSymbol(int symbol) { m_symbol = symbol; }
  /// Pen colour, 0xRRGGBB.
  std::uint32_t PenColor() const { return m_penColor; }
  /// Sets the pen colour.
  void SetPenColor(std::uint32_t color) { m_penColor = color; }
  /// Pen style: 0 solid, 1 dashed, 2 dotted.
  int PenStyle() const { return m_penStyle; }
  /// Sets the pen style.
  void SetPenStyle(int style) { m_penStyle = style; }
  /// Curve type (ECurveType).
  int CurveType() const { return m_curveType; }
  /// Sets the curve type.
  void SetCurveType(int type) { m_curveType = type; }
  /// Interpolation of a line: 0 straight segments, 1 smooth (monotone cubic).
  int Interpolation() const { return m_interpolation; }
  /// Sets the interpolation.
  void SetInterpolation(int interpolation) { m_interpolation = interpolation; }
  /// Whether the curve is drawn.
  bool Shown() const { return m_shown; }
  /// Shows or hides the curve.
  void SetShown(bool shown) { m_shown = shown; }

  /// Adds a sub-curve on the same axes (drawn with the curve, listed under it in the legend).
  CRSGraphCurveData* AddSubCurve(CStr const& name);
  /// The sub-curves.
  std::vector<std::unique_ptr<CRSGraphCurveData>> const& SubCurves() const { return m_subCurves; }
  /// Adds the line intercept + slope x drawn across the whole X axis.
  CRSGraphOverlayData* AddOverlayLine(double slope, double intercept);
  /// Adds a polynomial drawn across the whole X axis.
  CRSGraphOverlayData* AddOverlay(CNumPolynomialExtrap const& polynomial);
  /// The overlays.
  std::vector<std::unique_ptr<CRSGraphOverlayData>> const& Overlays() const { return m_overlays; }

 private:
  CStr m_name;
  unsigned short m_xAxis;
  unsigned short m_yAxis;
  CNumVector<double> m_x;
  CNumVector<double> m_y;
  int m_symbol = 0;
  std::uint32_t m_penColor = 0x000000;
  int m_penStyle = 0;
  int m_curveType = eLineAndSymbols;
  int m_interpolation = 0;
  bool m_shown = true;
  std::vector<std::unique_ptr<CRSGraphCurveData>> m_subCurves;
  std::vector<std::unique_ptr<CRSGraphOverlayData>> m_overlays;
};

/// A graph: axes, curves and an optional legend.
class CReportGraphData : public CReportDataItemBase {
 public:
  /// A graph titled `title` between the two layout numbers.
  CReportGraphData(CStr title, int left, int right)
      : CReportDataItemBase(std::move(title), left, right) {}
  EKind Kind() const override { return eGraph; }

  /// Adds an axis.
  CRSGraphAxisData* AddAxis(CRSGraphAxisData::EAxisType type, unsigned short number,
                            CStr const& name);
  /// The axis with `number`, or null.
  CRSGraphAxisData* Axis(unsigned short number);
  /// The axis with `number`, or null.
  CRSGraphAxisData const* Axis(unsigned short number) const;
  /// The axes in the order added.
  std::vector<std::unique_ptr<CRSGraphAxisData>> const& Axes() const { return m_axes; }

  /// Adds a curve on the given axis numbers.
  CRSGraphCurveData* AddCurve(CStr const& name, unsigned short xAxis, unsigned short yAxis);
  /// The curves in the order added.
  std::vector<std::unique_ptr<CRSGraphCurveData>> const& Curves() const { return m_curves; }

  /// Adds (or retypes) the legend: 0 none, 1 a box inside the plot area listing every shown
  /// curve and sub-curve.
  void AddLegend(int type) { m_legendType = type; }
  /// Legend type.
  int LegendType() const { return m_legendType; }

 private:
  std::vector<std::unique_ptr<CRSGraphAxisData>> m_axes;
  std::vector<std::unique_ptr<CRSGraphCurveData>> m_curves;
  int m_legendType = 0;
};

/// One report page: items in the order added.
class CReportPageData {
 public:
  /// An empty page with a title.
  explicit CReportPageData(CStr title = CStr()) : m_title(std::move(title)) {}

  /// Title of the page.
  CStr const& Title() const { return m_title; }
  /// Adds an options table.
  CReportOptionsTable* AddOptionsTable(CStr const& title, int left, int right);
  /// Adds a standard table with `columns` columns.
  CReportStdTable* AddStdTable(CStr const& title, int columns, int left, int right);
  /// Adds a graph.
  CReportGraphData* AddGraph(CStr const& title, int left, int right);
  /// The items in the order added.
  std::vector<std::unique_ptr<CReportDataItemBase>> const& Items() const { return m_items; }

 private:
  CStr m_title;
  std::vector<std::unique_ptr<CReportDataItemBase>> m_items;
};

/// Colours and symbols that tell the curves of several calculations apart.
namespace NRSGraphCurveData {

/// Symbol codes.
enum ESymbol {
  eNone = 0,
  eCircle = 1,
  eSquare = 2,
  eDiamond = 3,
  eTriangleUp = 4,
  eTriangleDown = 5,
  eCross = 6,
  ePlus = 7,
  eStar = 8,
};

/// Pen colour of curve `index` (0xRRGGBB); repeats after the palette's length.
std::uint32_t ColorPalette(unsigned index);
/// `color` with its saturation scaled by `factor` (0 white .. 1 unchanged).
std::uint32_t SaturateColor(std::uint32_t color, double factor);
/// Symbol of curve `index`; repeats after the palette's length.
int SymbolPalette(unsigned index);

}  // namespace NRSGraphCurveData

template <class T>
void CReportOptionsTable::AddNumericLine(CStr const& label, TFormattedNumeric<T> const& value,
                                         char const* units) {
  AddNumeric(label, static_cast<double>(value.GetInternalValue()), value.Format(), false, 0.0,
             CStr(), units ? CStr(units) : value.Formatter().DisplayText());
}

template <class T>
void CReportOptionsTable::AddNumericLine(CStr const& label, TFormattedNumeric<T> const& value,
                                         TFormattedNumeric<T> const& error, char const* units) {
  AddNumeric(label, static_cast<double>(value.GetInternalValue()), value.Format(), true,
             static_cast<double>(error.GetInternalValue()), error.Format(),
             units ? CStr(units) : value.Formatter().DisplayText());
}
