#include "fiofla/report/report_model.h"

#include <algorithm>
#include <cmath>

#include "fiofla/report/report_text.h"

CStr CReportDataItemBase::Resolve(CStr const& text) const {
  return m_unitsContext ? m_unitsContext->ResolveText(text) : text;
}

// ---- CReportOptionsTable ----------------------------------------------------------------

void CReportOptionsTable::AddNumeric(CStr const& label, double value, CStr text, bool hasError,
                                     double error, CStr errorText, CStr units) {
  SLine line;
  line.kind = eNumeric;
  line.label = label;
  line.text = std::move(text);
  line.errorText = std::move(errorText);
  line.units = std::move(units);
  line.value = value;
  line.error = error;
  line.hasError = hasError;
  m_lines.push_back(std::move(line));
}

void CReportOptionsTable::AddNumericLine(CStr const& label, double value, int precision,
                                         char const* units) {
  CNumericFormat const format(CNumericFormat::eFixed, precision);
  AddNumeric(label, value, format.Format(value), false, 0.0, CStr(), CStr(units));
}

void CReportOptionsTable::AddNumericLine(CStr const& label, double value, double error,
                                         int precision, char const* units) {
  CNumericFormat const format(CNumericFormat::eFixed, precision);
  AddNumeric(label, value, format.Format(value), true, error, format.Format(error), CStr(units));
}

void CReportOptionsTable::AddValidation(CStr const& label, CStr const& line1, CStr const& line2) {
  SLine line;
  line.kind = eValidation;
  line.label = label;
  line.text = line1;
  line.line2 = line2;
  // Looked up per row rather than cached: an application may swap the text (a translation)
  // after the library is loaded.
  line.passed = line1 == fiofla::ReportText(fiofla::kTextCheckPassed);
  m_lines.push_back(std::move(line));
}

void CReportOptionsTable::AddItem(CStr const& label, CStr const& text) {
  SLine line;
  line.kind = eItem;
  line.label = label;
  line.text = text;
  m_lines.push_back(std::move(line));
}

// ---- CReportStdTable --------------------------------------------------------------------

CReportStdTable::CReportStdTable(CStr title, int columns, int left, int right)
    : CReportDataItemBase(std::move(title), left, right),
      m_columns(static_cast<std::size_t>(std::max(columns, 0))) {}

void CReportStdTable::SetColumnTitle(int index, CStr const& title) {
  if (index >= 0 && index < ColumnCount()) m_columns[static_cast<std::size_t>(index)].title = title;
}

void CReportStdTable::SetColumnWidth(int index, int width) {
  if (index >= 0 && index < ColumnCount()) m_columns[static_cast<std::size_t>(index)].width = width;
}

void CReportStdTable::SetColumnFormatter(int index, CQuantityFormatter const* formatter) {
  if (index >= 0 && index < ColumnCount())
    m_columns[static_cast<std::size_t>(index)].formatter = formatter;
}

void CReportStdTable::SetColumnData(int index, CNumVector<double> const& data) {
  if (index >= 0 && index < ColumnCount()) m_columns[static_cast<std::size_t>(index)].data = data;
}

std::size_t CReportStdTable::RowCount() const {
  std::size_t rows = 0;
  for (auto const& column : m_columns)
    rows = std::max(rows, static_cast<std::size_t>(column.data.size()));
  return rows;
}

// ---- CRSGraphCurveData ------------------------------------------------------------------

void CRSGraphCurveData::SetData(CNumVector<double> const& x, CNumVector<double> const& y) {
  auto const n = std::min(x.size(), y.size());
  m_x.SetDim(n);
  m_y.SetDim(n);
  std::copy(x.begin(), x.begin() + n, m_x.begin());
  std::copy(y.begin(), y.begin() + n, m_y.begin());
}

CRSGraphCurveData* CRSGraphCurveData::AddSubCurve(CStr const& name) {
  m_subCurves.push_back(std::make_unique<CRSGraphCurveData>(name, m_xAxis, m_yAxis));
  return m_subCurves.back().get();
}

CRSGraphOverlayData* CRSGraphCurveData::AddOverlayLine(double slope, double intercept) {
  return AddOverlay(CNumPolynomialExtrap(CNumPolynomial(intercept, slope)));
}

CRSGraphOverlayData* CRSGraphCurveData::AddOverlay(CNumPolynomialExtrap const& polynomial) {
  m_overlays.push_back(std::make_unique<CRSGraphOverlayData>(polynomial));
  return m_overlays.back().get();
}

// ---- CReportGraphData -------------------------------------------------------------------

CRSGraphAxisData* CReportGraphData::AddAxis(CRSGraphAxisData::EAxisType type, unsigned short number,
                                            CStr const& name) {
  m_axes.push_back(std::make_unique<CRSGraphAxisData>(type, number, name));
  return m_axes.back().get();
}

CRSGraphAxisData* CReportGraphData::Axis(unsigned short number) {
  return const_cast<CRSGraphAxisData*>(static_cast<CReportGraphData const*>(this)->Axis(number));
}

CRSGraphAxisData const* CReportGraphData::Axis(unsigned short number) const {
  for (auto const& axis : m_axes)
    if (axis->Number() == number) return axis.get();
  return nullptr;
}

CRSGraphCurveData* CReportGraphData::AddCurve(CStr const& name, unsigned short xAxis,
                                              unsigned short yAxis) {
  m_curves.push_back(std::make_unique<CRSGraphCurveData>(name, xAxis, yAxis));
  return m_curves.back().get();
}

// ---- CReportPageData --------------------------------------------------------------------

CReportOptionsTable* CReportPageData::AddOptionsTable(CStr const& title, int left, int right) {
  auto item = std::make_unique<CReportOptionsTable>(title, left, right);
  auto* raw = item.get();
  m_items.push_back(std::move(item));
  return raw;
}

CReportStdTable* CReportPageData::AddStdTable(CStr const& title, int columns, int left, int right) {
  auto item = std::make_unique<CReportStdTable>(title, columns, left, right);
  auto* raw = item.get();
  m_items.push_back(std::move(item));
  return raw;
}

CReportGraphData* CReportPageData::AddGraph(CStr const& title, int left, int right) {
  auto item = std::make_unique<CReportGraphData>(title, left, right);
  auto* raw = item.get();
  m_items.push_back(std::move(item));
  return raw;
}

// ---- NRSGraphCurveData ------------------------------------------------------------------

namespace NRSGraphCurveData {

namespace {

// Dark and saturated enough to stay apart on paper and in grey-scale print; ordered so that
// neighbouring indices differ in hue as much as possible.
constexpr std::uint32_t kPalette[] = {
    0x1B4F9C,  // blue
    0xD9480F,  // red-orange
    0x2B8A3E,  // green
    0x6741D9,  // violet
    0xC2255C,  // crimson
    0x0C8599,  // teal
    0xE67700,  // amber
    0x7A4B2A,  // brown
    0x495057,  // slate grey
    0x5C940D,  // olive
};

// eTriangleUp is left out: BET plots draw their main curve with it.
constexpr int kSymbols[] = {eCircle, eSquare, eDiamond, eTriangleDown, eCross, ePlus, eStar};

}  // namespace

std::uint32_t ColorPalette(unsigned index) {
  return kPalette[index % (sizeof(kPalette) / sizeof(kPalette[0]))];
}

std::uint32_t SaturateColor(std::uint32_t color, double factor) {
  // NaN keeps the colour: a bad factor should not make a curve vanish into the paper.
  if (!(factor >= 0.0)) factor = std::isnan(factor) ? 1.0 : 0.0;
  factor = std::min(factor, 1.0);
  std::uint32_t result = 0;
  for (int shift = 16; shift >= 0; shift -= 8) {
    double const channel = static_cast<double>((color >> shift) & 0xFFu);
    double const mixed = std::round(255.0 - (255.0 - channel) * factor);
    auto const byte = static_cast<std::uint32_t>(std::clamp(mixed, 0.0, 255.0));
    result |= byte << shift;
  }
  return result;
}

int SymbolPalette(unsigned index) {
  return kSymbols[index % (sizeof(kSymbols) / sizeof(kSymbols[0]))];
}

}  // namespace NRSGraphCurveData
