// What a binding returns: the values of one analysis, gathered in C++ while the GIL is
// released and turned into Python objects only when asked for (an attribute, to_dict()).
// Keys are the tool's JSON keys, with their units, so that one spelling holds in the tool,
// its JSON and Python.
#pragma once

#include <deque>
#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <variant>
#include <vector>

namespace fiofla::py {

/// A table column: numbers (floats, whole numbers or flags, as `kind` says) or texts.
struct Column {
  enum Kind { kFloat, kInt, kBool, kText };
  Kind kind = kFloat;
  std::vector<double> numbers;
  std::vector<std::string> texts;
};

/// Named columns of equal length; a Python dict of NumPy arrays, a DataFrame's columns.
struct Table {
  std::deque<std::pair<std::string, Column>> columns;  // a deque: adding keeps references
  /// The column `key`, made when first asked for.
  Column& Col(const std::string& key, Column::Kind kind = Column::kFloat);
};

struct Fields;
/// One value; monostate is None.
using Value =
    std::variant<std::monostate, double, long long, bool, std::string, std::vector<std::string>,
                 std::vector<double>, std::shared_ptr<Fields>, std::shared_ptr<Table>>;

/// Named values in the order they were added.
struct Fields {
  std::vector<std::pair<std::string, Value>> items;
  Fields& Add(std::string key, Value value) {
    items.emplace_back(std::move(key), std::move(value));
    return *this;
  }
  /// Adds a nested group and returns it.
  Fields& Group(std::string key);
  /// Adds a table and returns it.
  Table& AddTable(std::string key);
  /// The value `key`, or null.
  const Value* Find(const std::string& key) const;
};

/// The result of one analysis. `ok` says whether its numbers may be used; when not,
/// `reason` says why, in the tool's words.
struct Result {
  Fields fields;
  bool ok = true;
  std::string reason;
  /// Fields shown by repr, in order.
  std::vector<std::string> headline;
  /// Table that to_dataframe() gives.
  std::string mainTable;
  /// Draws the result as report HTML (the report's SVG plots); empty when it has no plots.
  std::function<std::string()> html;
  virtual ~Result() = default;
};

// One C++ type per Python result class, so that isinstance and the stubs can tell them apart.
struct BetResult : Result {};
struct TPlotResult : Result {};
struct BjhResult : Result {};
struct DftResult : Result {};
struct PyModel;
struct FitResult : Result {
  /// Every model fitted, in rank order.
  std::shared_ptr<std::vector<PyModel>> models;
};
struct IastResult : Result {};
struct HeatResult : Result {};
struct VirialResult : Result {};
struct ChemisorptionResult : Result {};
struct HkResult : Result {};

}  // namespace fiofla::py
