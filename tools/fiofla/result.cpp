#include "result.h"

#include <rapidjson/ostreamwrapper.h>
#include <rapidjson/prettywriter.h>

#include <cmath>
#include <cstdio>

namespace fiofla::cli {

struct Result::Node {
  enum class Kind { kValue, kText, kList, kArray, kObject, kTable } kind = Kind::kValue;
  std::string key, label, unit;
  Value value;
  NumberStyle style;
  std::string errorKey;
  double error = 0.0;
  bool hasError = false;
  NumberStyle errorStyle;
  std::vector<std::string> items;
  std::vector<double> numbers;
  std::vector<Node> children;
  std::shared_ptr<Table> table;
};

namespace {

using Writer = rapidjson::PrettyWriter<rapidjson::OStreamWrapper>;

constexpr int kLabelWidth = 20;

std::string Pad(const std::string& text, std::size_t width) {
  // Widths count characters, not bytes, so labels with "²" or "Å" line up.
  std::size_t chars = 0;
  for (unsigned char c : text) chars += (c & 0xC0) != 0x80;
  return chars >= width ? text + " " : text + std::string(width - chars, ' ');
}

std::string ValueText(const Value& v, NumberStyle style) {
  if (const auto* d = std::get_if<double>(&v)) return FormatNumber(*d, style);
  if (const auto* i = std::get_if<long long>(&v)) return std::to_string(*i);
  if (const auto* s = std::get_if<std::string>(&v)) return *s;
  if (const auto* b = std::get_if<bool>(&v)) return *b ? "yes" : "no";
  return std::string();
}

void JsonValue(Writer& w, const Value& v) {
  if (const auto* d = std::get_if<double>(&v)) {
    if (std::isfinite(*d))
      w.Double(*d);
    else
      w.Null();
  } else if (const auto* i = std::get_if<long long>(&v)) {
    w.Int64(*i);
  } else if (const auto* s = std::get_if<std::string>(&v)) {
    w.String(s->c_str(), static_cast<rapidjson::SizeType>(s->size()));
  } else if (const auto* b = std::get_if<bool>(&v)) {
    w.Bool(*b);
  } else {
    w.Null();
  }
}

void JsonTable(Writer& w, const Table& t) {
  const auto& columns = t.Columns();
  const auto& rows = t.Rows();
  w.StartArray();
  for (const auto& row : rows) {
    w.StartObject();
    for (std::size_t c = 0; c < columns.size() && c < row.size(); ++c) {
      if (columns[c].key.empty() || std::holds_alternative<std::monostate>(row[c])) continue;
      w.Key(columns[c].key.c_str());
      JsonValue(w, row[c]);
    }
    w.EndObject();
  }
  w.EndArray();
}

}  // namespace

std::string FormatNumber(double value, NumberStyle style) {
  if (!std::isfinite(value)) return std::isnan(value) ? "n/a" : (value > 0 ? "inf" : "-inf");
  char buf[64];
  std::snprintf(buf, sizeof buf, style.fixed ? "%.*f" : "%.*g", style.digits, value);
  return buf;
}

Result::Result(std::string title)
    : m_title(std::move(title)), m_root(std::make_shared<std::vector<Node>>()) {
  m_open.push_back(m_root.get());
}

std::vector<Result::Node>& Result::Current() {
  return *m_open.back();
}

Result& Result::Add(const std::string& key, const std::string& label, Value value,
                    const std::string& unit, NumberStyle style) {
  Node n;
  n.key = key;
  n.label = label;
  n.value = std::move(value);
  n.unit = unit;
  n.style = style;
  Current().push_back(std::move(n));
  return *this;
}

Result& Result::Error(const std::string& key, double error, NumberStyle style) {
  Node& n = Current().back();
  n.errorKey = key;
  n.error = error;
  n.hasError = true;
  n.errorStyle = style;
  return *this;
}

Result& Result::Text(const std::string& line) {
  Node n;
  n.kind = Node::Kind::kText;
  n.label = line;
  Current().push_back(std::move(n));
  return *this;
}

Result& Result::List(const std::string& key, const std::string& label,
                     const std::vector<std::string>& items) {
  Node n;
  n.kind = Node::Kind::kList;
  n.key = key;
  n.label = label;
  n.items = items;
  Current().push_back(std::move(n));
  return *this;
}

Result& Result::Array(const std::string& key, const std::vector<double>& values) {
  Node n;
  n.kind = Node::Kind::kArray;
  n.key = key;
  n.numbers = values;
  Current().push_back(std::move(n));
  return *this;
}

Result& Result::Begin(const std::string& key, const std::string& label) {
  Node n;
  n.kind = Node::Kind::kObject;
  n.key = key;
  n.label = label;
  Current().push_back(std::move(n));
  m_open.push_back(&Current().back().children);
  return *this;
}

Result& Result::End() {
  if (m_open.size() > 1) m_open.pop_back();
  return *this;
}

Table& Result::AddTable(const std::string& key, const std::string& title,
                        std::vector<Column> columns) {
  Node n;
  n.kind = Node::Kind::kTable;
  n.key = key;
  n.table = std::make_shared<Table>(key, title, std::move(columns));
  Current().push_back(std::move(n));
  return *Current().back().table;
}

void Result::PrintText(std::ostream& out, const std::vector<Node>& nodes, int indent) const {
  const std::string margin(static_cast<std::size_t>(indent), ' ');
  for (const Node& n : nodes) {
    switch (n.kind) {
      case Node::Kind::kText:
        out << (n.label.empty() ? "" : margin + n.label) << "\n";
        break;
      case Node::Kind::kValue: {
        if (n.label.empty()) break;
        std::string line = margin + Pad(n.label, kLabelWidth) + ValueText(n.value, n.style);
        if (n.hasError) line += " +/- " + FormatNumber(n.error, n.errorStyle);
        if (!n.unit.empty()) line += " " + n.unit;
        out << line << "\n";
        break;
      }
      case Node::Kind::kArray:
        break;
      case Node::Kind::kList:
        if (n.items.empty() || n.label.empty()) break;
        out << margin << n.label << "\n";
        for (const auto& item : n.items) out << margin << "  " << item << "\n";
        break;
      case Node::Kind::kObject:
        if (!n.label.empty()) out << margin << n.label << "\n";
        PrintText(out, n.children, n.label.empty() ? indent : indent + 2);
        break;
      case Node::Kind::kTable: {
        const Table& t = *n.table;
        if (t.Title().empty()) break;
        out << "\n" << margin << t.Title() << " (" << t.Rows().size() << "):\n";
        std::string header = margin;
        for (const Column& c : t.Columns())
          if (!c.header.empty()) header += Pad(c.header, static_cast<std::size_t>(c.width));
        out << header << "\n";
        for (const auto& row : t.Rows()) {
          std::string line = margin;
          for (std::size_t c = 0; c < t.Columns().size() && c < row.size(); ++c) {
            const Column& col = t.Columns()[c];
            if (col.header.empty()) continue;
            line += Pad(ValueText(row[c], col.style), static_cast<std::size_t>(col.width));
          }
          while (!line.empty() && line.back() == ' ') line.pop_back();
          out << line << "\n";
        }
        break;
      }
    }
  }
}

namespace {

void JsonNodes(Writer& w, const std::vector<Result::Node>& nodes);

}  // namespace

void Result::Print(std::ostream& out, bool json) const {
  if (!json) {
    if (!m_title.empty()) out << m_title << "\n";
    PrintText(out, *m_root, m_title.empty() ? 0 : 2);
    return;
  }
  rapidjson::OStreamWrapper os(out);
  Writer w(os);
  w.StartObject();
  JsonNodes(w, *m_root);
  w.EndObject();
  os.Flush();
  out << "\n";
}

namespace {

void JsonNodes(Writer& w, const std::vector<Result::Node>& nodes) {
  using Kind = Result::Node::Kind;
  for (const auto& n : nodes) {
    if (n.key.empty()) continue;
    switch (n.kind) {
      case Kind::kText:
        break;
      case Kind::kValue:
        if (std::holds_alternative<std::monostate>(n.value)) break;
        w.Key(n.key.c_str());
        JsonValue(w, n.value);
        if (n.hasError && !n.errorKey.empty()) {
          w.Key(n.errorKey.c_str());
          JsonValue(w, n.error);
        }
        break;
      case Kind::kList:
        w.Key(n.key.c_str());
        w.StartArray();
        for (const auto& item : n.items) w.String(item.c_str());
        w.EndArray();
        break;
      case Kind::kArray:
        w.Key(n.key.c_str());
        w.StartArray();
        for (double x : n.numbers) JsonValue(w, x);
        w.EndArray();
        break;
      case Kind::kObject:
        w.Key(n.key.c_str());
        w.StartObject();
        JsonNodes(w, n.children);
        w.EndObject();
        break;
      case Kind::kTable:
        w.Key(n.key.c_str());
        JsonTable(w, *n.table);
        break;
    }
  }
}

}  // namespace

}  // namespace fiofla::cli
