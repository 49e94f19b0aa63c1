// Result objects as Python sees them, and the conversions of values and arguments.
#include <cmath>

#include "bindings.h"
#include "cli_common.h"

namespace fiofla::py {

Column& Table::Col(const std::string& key, Column::Kind kind) {
  for (auto& [name, column] : columns)
    if (name == key) return column;
  columns.emplace_back(key, Column{});
  columns.back().second.kind = kind;
  return columns.back().second;
}

Fields& Fields::Group(std::string key) {
  auto group = std::make_shared<Fields>();
  Fields& ref = *group;
  items.emplace_back(std::move(key), std::move(group));
  return ref;
}

Table& Fields::AddTable(std::string key) {
  auto table = std::make_shared<Table>();
  Table& ref = *table;
  items.emplace_back(std::move(key), std::move(table));
  return ref;
}

const Value* Fields::Find(const std::string& key) const {
  for (const auto& [name, value] : items)
    if (name == key) return &value;
  return nullptr;
}

pyb::array_t<double> ToArray(const std::vector<double>& v) {
  pyb::array_t<double> a(static_cast<pyb::ssize_t>(v.size()));
  std::copy(v.begin(), v.end(), a.mutable_data());
  return a;
}

pyb::object ToPython(const Column& c) {
  const auto n =
      static_cast<pyb::ssize_t>(c.kind == Column::kText ? c.texts.size() : c.numbers.size());
  switch (c.kind) {
    case Column::kFloat:
      return ToArray(c.numbers);
    case Column::kInt: {
      pyb::array_t<long long> a(n);
      for (pyb::ssize_t i = 0; i < n; ++i)
        a.mutable_data()[i] = static_cast<long long>(c.numbers[i]);
      return std::move(a);
    }
    case Column::kBool: {
      pyb::array_t<bool> a(n);
      for (pyb::ssize_t i = 0; i < n; ++i) a.mutable_data()[i] = c.numbers[i] != 0.0;
      return std::move(a);
    }
    case Column::kText:
      break;
  }
  return pyb::module_::import("numpy").attr("array")(pyb::cast(c.texts), pyb::arg("dtype") = "str");
}

pyb::object ToPython(const Value& value) {
  return std::visit(
      [](const auto& v) -> pyb::object {
        using T = std::decay_t<decltype(v)>;
        if constexpr (std::is_same_v<T, std::monostate>) {
          return pyb::none();
        } else if constexpr (std::is_same_v<T, double>) {
          return pyb::float_(v);
        } else if constexpr (std::is_same_v<T, std::vector<double>>) {
          return ToArray(v);
        } else if constexpr (std::is_same_v<T, std::shared_ptr<Fields>>) {
          pyb::dict d;
          for (const auto& [key, item] : v->items) d[pyb::str(key)] = ToPython(item);
          return std::move(d);
        } else if constexpr (std::is_same_v<T, std::shared_ptr<Table>>) {
          pyb::dict d;
          for (const auto& [key, column] : v->columns) d[pyb::str(key)] = ToPython(column);
          return std::move(d);
        } else {
          return pyb::cast(v);
        }
      },
      value);
}

double ToNumber(const pyb::handle& value, const std::string& what) {
  if (pyb::isinstance<pyb::bool_>(value) || !PyNumber_Check(value.ptr()) ||
      pyb::isinstance<pyb::str>(value))
    ThrowInput(what + " " + pyb::repr(value).cast<std::string>() + " is not a number");
  return value.cast<double>();
}

double ToPositive(const pyb::handle& value, const std::string& what) {
  const double x = ToNumber(value, what);
  if (!std::isfinite(x) || !(x > 0.0))
    ThrowInput(what + " " + pyb::repr(value).cast<std::string>() + " is not a positive number");
  return x;
}

std::pair<double, double> ToRange(const pyb::handle& value, const std::string& what, double most) {
  const std::string shown = pyb::repr(value).cast<std::string>();
  if (pyb::isinstance<pyb::str>(value) || !pyb::isinstance<pyb::sequence>(value) ||
      pyb::len(value) != 2)
    ThrowInput(what + " " + shown + " is not (lo, hi), two numbers");
  const auto seq = pyb::reinterpret_borrow<pyb::sequence>(value);
  const double lo = ToNumber(seq[0], what + " low end");
  const double hi = ToNumber(seq[1], what + " high end");
  if (!(lo >= 0.0) || !(lo < hi) || !(hi <= most))
    ThrowInput(what + " " + shown + " must satisfy 0 <= lo < hi" +
               (std::isfinite(most) ? " <= " + cli::Num(most) : std::string()));
  return {lo, hi};
}

double ToPressureMmHg(const pyb::handle& value, const std::string& what) {
  if (pyb::isinstance<pyb::str>(value)) return cli::ParsePressure(value.cast<std::string>(), what);
  return ToPositive(value, what + " (mmHg)");
}

void BindResults(pyb::module_& m) {
  using pyb::literals::operator""_a;
  pyb::class_<Result, std::shared_ptr<Result>>(m, "Result", R"(The result of an analysis.

Values are attributes named as the tool's JSON keys, with their units
(``surface_area_m2_per_g``); series are NumPy arrays and tables dicts of arrays.
``ok`` says whether the numbers may be used and ``reason`` why not.)")
      .def_readonly("ok", &Result::ok, "Whether the numbers may be used")
      .def_readonly("reason", &Result::reason, "Why they may not, in words (empty when ok)")
      .def_property_readonly("_headline", [](const Result& r) { return r.headline; })
      .def_property_readonly("_main_table", [](const Result& r) { return r.mainTable; })
      .def(
          "keys",
          [](const Result& r) {
            std::vector<std::string> k;
            for (const auto& item : r.fields.items) k.push_back(item.first);
            return k;
          },
          "The names of the values, in the tool's order")
      .def("__getattr__",
           [](const Result& r, const std::string& name) -> pyb::object {
             if (const Value* v = r.fields.Find(name)) return ToPython(*v);
             throw pyb::attribute_error("result has no value '" + name + "'");
           })
      .def("__getitem__",
           [](const Result& r, const std::string& name) -> pyb::object {
             if (const Value* v = r.fields.Find(name)) return ToPython(*v);
             throw pyb::key_error(name);
           })
      .def("__dir__",
           [](const Result& r) {
             std::vector<std::string> names{"ok", "reason", "keys", "to_dict", "to_dataframe"};
             for (const auto& item : r.fields.items) names.push_back(item.first);
             return names;
           })
      .def("_html", [](const Result& r) -> pyb::object {
        if (!r.html) return pyb::none();
        std::string text;
        {
          pyb::gil_scoped_release release;
          text = r.html();
        }
        return pyb::str(text);
      });
#define FIOFLA_RESULT_CLASS(T, doc) pyb::class_<T, Result, std::shared_ptr<T>>(m, #T, doc)
  FIOFLA_RESULT_CLASS(BetResult, "BET surface area, C and monolayer capacity");
  FIOFLA_RESULT_CLASS(TPlotResult, "t-plot: micropore volume, external and micropore areas");
  FIOFLA_RESULT_CLASS(BjhResult, "BJH pore-size distribution of one branch");
  FIOFLA_RESULT_CLASS(DftResult, "DFT pore-size distribution");
  FIOFLA_RESULT_CLASS(IastResult, "IAST mixture adsorption");
  FIOFLA_RESULT_CLASS(HeatResult, "Isosteric heat of adsorption");
  FIOFLA_RESULT_CLASS(VirialResult, "Virial fit and heat of adsorption");
  FIOFLA_RESULT_CLASS(ChemisorptionResult, "Chemisorption: monolayer uptake and metal dispersion");
  FIOFLA_RESULT_CLASS(HkResult, "Horvath-Kawazoe micropore-size distribution");
#undef FIOFLA_RESULT_CLASS
}

}  // namespace fiofla::py
