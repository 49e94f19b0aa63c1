// Pieces the report renderers share: page order, escaping, text widths, value formatting.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "fiofla/report/report_model.h"
#include "fiofla/units/formatter.h"

namespace fiofla::report_detail {

/// Index of `item` among the page's items, or -1 when it is not on the page.
inline int ItemIndex(CReportPageData const& page, CReportDataItemBase const* item) {
  if (item == nullptr) return -1;
  auto const& items = page.Items();
  for (std::size_t i = 0; i < items.size(); ++i)
    if (items[i].get() == item) return static_cast<int>(i);
  return -1;
}

/// Item indices in the order to draw them: the order added, except that an item placed
/// below another comes after it. References to items of other pages, and cycles, are
/// ignored rather than trusted.
inline std::vector<std::size_t> LayoutOrder(CReportPageData const& page) {
  auto const& items = page.Items();
  enum EState { eNew, eVisiting, eDone };
  std::vector<EState> state(items.size(), eNew);
  std::vector<std::size_t> order;
  order.reserve(items.size());
  // Iterative walk down the "below" chain: a long chain must not exhaust the stack.
  for (std::size_t start = 0; start < items.size(); ++start) {
    std::vector<std::size_t> chain;
    std::size_t current = start;
    while (state[current] == eNew) {
      state[current] = eVisiting;
      chain.push_back(current);
      int const above = ItemIndex(page, items[current]->LayoutBottom());
      if (above < 0 || state[static_cast<std::size_t>(above)] != eNew) break;
      current = static_cast<std::size_t>(above);
    }
    for (auto it = chain.rbegin(); it != chain.rend(); ++it) {
      state[*it] = eDone;
      order.push_back(*it);
    }
  }
  return order;
}

/// Characters a terminal shows for UTF-8 text: code points, so "±" and "³" count once.
inline std::size_t DisplayWidth(std::string const& text) {
  std::size_t width = 0;
  for (unsigned char c : text)
    if ((c & 0xC0u) != 0x80u) ++width;
  return width;
}

/// Text escaped for HTML and XML content and attribute values. Control characters that XML
/// forbids are dropped so the inline SVG stays well-formed.
inline std::string EscapeXml(std::string const& text) {
  std::string out;
  out.reserve(text.size());
  for (char c : text) {
    switch (c) {
      case '&':
        out += "&amp;";
        break;
      case '<':
        out += "&lt;";
        break;
      case '>':
        out += "&gt;";
        break;
      case '"':
        out += "&quot;";
        break;
      case '\'':
        out += "&#39;";
        break;
      default:
        if (static_cast<unsigned char>(c) < 0x20 && c != '\t' && c != '\n' && c != '\r') break;
        out += c;
    }
  }
  return out;
}

/// "#rrggbb" of a 0xRRGGBB colour.
inline std::string HexColor(std::uint32_t color) {
  static char const kDigits[] = "0123456789abcdef";
  std::string out = "#";
  for (int shift = 20; shift >= 0; shift -= 4) out += kDigits[(color >> shift) & 0xFu];
  return out;
}

/// An internal value as a column or axis formatter writes it; without one, 6 significant digits.
inline CStr FormatValue(CQuantityFormatter const* formatter, double internalValue) {
  return formatter ? formatter->Format(internalValue) : CNumericFormat().Format(internalValue);
}

/// An internal value in the display unit of `formatter`; without one, unchanged.
inline double ToDisplay(CQuantityFormatter const* formatter, double internalValue) {
  return formatter ? formatter->ToDisplay(internalValue) : internalValue;
}

/// Unit text of `formatter`; empty without one.
inline CStr UnitText(CQuantityFormatter const* formatter) {
  return formatter ? formatter->DisplayText() : CStr();
}

/// The HTML report's stylesheet (render_html_style.cpp).
extern const char* const kHtmlStyle;

}  // namespace fiofla::report_detail
