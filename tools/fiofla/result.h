// A command's printed result, built once and printed either as aligned text for a person or
// as one JSON object for a program, so the two never disagree and no command writes its own
// JSON. Keys carry their units (surface_area_m2_per_g); numbers that are not finite are
// "n/a" in text and null in JSON, since JSON has neither NaN nor infinity.
#pragma once

#include <cstddef>
#include <memory>
#include <ostream>
#include <string>
#include <variant>
#include <vector>

namespace fiofla::cli {

/// How a number is written in text: significant digits, or fixed decimals.
struct NumberStyle {
  int digits = 6;
  bool fixed = false;
};
/// `digits` significant digits.
inline NumberStyle Sig(int digits) {
  return {digits, false};
}
/// `decimals` decimals.
inline NumberStyle Dec(int decimals) {
  return {decimals, true};
}

/// One value of a result or a table cell; monostate is "nothing" (left out of JSON).
using Value = std::variant<std::monostate, double, long long, std::string, bool>;

/// A table column: its JSON key (empty: text only), its text header (empty: JSON only), the
/// text width and the style of numbers.
struct Column {
  std::string key;
  std::string header;
  int width = 12;
  NumberStyle style;
};

/// A table: a JSON array of objects, or a text block of aligned columns.
class Table {
 public:
  Table(std::string key, std::string title, std::vector<Column> columns)
      : m_key(std::move(key)), m_title(std::move(title)), m_columns(std::move(columns)) {}
  /// Adds a row, one value per column.
  void Row(std::vector<Value> cells) { m_rows.push_back(std::move(cells)); }
  std::size_t Size() const { return m_rows.size(); }
  const std::string& Title() const { return m_title; }
  const std::vector<Column>& Columns() const { return m_columns; }
  const std::vector<std::vector<Value>>& Rows() const { return m_rows; }

 private:
  std::string m_key, m_title;
  std::vector<Column> m_columns;
  std::vector<std::vector<Value>> m_rows;
};

/// The result of one command.
class Result {
 public:
  /// `title` is the first text line ("BET surface area of x.csv"); JSON leaves it out.
  explicit Result(std::string title = std::string());

  /// A labelled value; `unit` follows it in text. An empty label keeps it out of the text.
  Result& Add(const std::string& key, const std::string& label, Value value,
              const std::string& unit = std::string(), NumberStyle style = NumberStyle());
  /// Gives the last value a standard error, written "+/- e" in text and as `key` in JSON.
  Result& Error(const std::string& key, double error, NumberStyle style = NumberStyle());
  /// A JSON array of numbers (a range, say); text shows nothing of it.
  Result& Array(const std::string& key, const std::vector<double>& values);
  /// A line of text only (an explanation, a blank line).
  Result& Text(const std::string& line);
  /// A JSON member holding a list of strings; in text each is a line under `label`.
  Result& List(const std::string& key, const std::string& label,
               const std::vector<std::string>& items);
  /// Opens a nested object: a JSON member `key`, a text heading `label` with its members
  /// indented beneath. Close it with End().
  Result& Begin(const std::string& key, const std::string& label);
  Result& End();
  /// A table, printed where it was added; fill it through the reference.
  Table& AddTable(const std::string& key, const std::string& title, std::vector<Column> columns);

  /// Prints as text or as one JSON object followed by a newline.
  void Print(std::ostream& out, bool json) const;

  /// One item of the printed tree (defined with the printers).
  struct Node;

 private:
  void PrintText(std::ostream& out, const std::vector<Node>& nodes, int indent) const;
  std::vector<Node>& Current();

  std::string m_title;
  std::shared_ptr<std::vector<Node>> m_root;
  std::vector<std::vector<Node>*> m_open;
};

/// A number as text: `style` digits, "n/a" for NaN.
std::string FormatNumber(double value, NumberStyle style);

}  // namespace fiofla::cli
