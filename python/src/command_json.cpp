// The analyses whose inputs are families of isotherms (IAST, heats, chemisorption, HK) run
// the body of the tool's command on the isotherms given, and their results are its --json
// read back. Those commands put files, models and units together in ways a second copy
// would only drift from; the JSON costs microseconds.
#include <rapidjson/document.h>

#include <sstream>

#include "bindings.h"
#include "cli.h"

namespace fiofla::py {
namespace {

using namespace pyb::literals;

Value FromJson(const rapidjson::Value& v);

}  // namespace

namespace {

std::shared_ptr<Table> TableFromJson(const rapidjson::Value& rows) {
  auto table = std::make_shared<Table>();
  // Columns in the order keys first appear; a row without a key leaves NaN or "".
  for (const auto& row : rows.GetArray())
    for (const auto& m : row.GetObject()) {
      const std::string key = m.name.GetString();
      bool known = false;
      for (const auto& c : table->columns) known = known || c.first == key;
      if (known) continue;
      // The first value that says more than "whole number" decides the column's kind.
      Column::Kind kind = Column::kInt;
      bool seen = false;
      for (const auto& r : rows.GetArray()) {
        const auto it = r.FindMember(m.name);
        if (it == r.MemberEnd() || it->value.IsNull()) continue;
        seen = true;
        if (it->value.IsString() || it->value.IsBool() || !it->value.IsInt64()) {
          kind = it->value.IsString() ? Column::kText
                 : it->value.IsBool() ? Column::kBool
                                      : Column::kFloat;
          break;
        }
      }
      table->Col(key, seen ? kind : Column::kFloat);
    }
  for (const auto& r : rows.GetArray())
    for (auto& [key, column] : table->columns) {
      const auto it = r.FindMember(key.c_str());
      const bool has = it != r.MemberEnd() && !it->value.IsNull();
      if (column.kind == Column::kText)
        column.texts.push_back(has && it->value.IsString() ? it->value.GetString() : "");
      else if (column.kind == Column::kBool)
        column.numbers.push_back(has && it->value.IsBool() && it->value.GetBool() ? 1.0 : 0.0);
      else
        column.numbers.push_back(has && it->value.IsNumber() ? it->value.GetDouble() : NAN);
    }
  return table;
}

Value FromJson(const rapidjson::Value& v) {
  if (v.IsNull()) return NAN;  // the tool writes numbers that are not finite as null
  if (v.IsBool()) return v.GetBool();
  if (v.IsInt64()) return static_cast<long long>(v.GetInt64());
  if (v.IsNumber()) return v.GetDouble();
  if (v.IsString()) return std::string(v.GetString());
  if (v.IsObject()) {
    auto fields = std::make_shared<Fields>();
    for (const auto& m : v.GetObject()) fields->Add(m.name.GetString(), FromJson(m.value));
    return fields;
  }
  const auto a = v.GetArray();
  if (a.Empty()) return std::vector<double>{};
  if (a[0].IsObject()) return TableFromJson(v);
  if (a[0].IsString()) {
    std::vector<std::string> texts;
    for (const auto& x : a) texts.push_back(x.IsString() ? x.GetString() : "");
    return texts;
  }
  std::vector<double> numbers;
  for (const auto& x : a) numbers.push_back(x.IsNumber() ? x.GetDouble() : NAN);
  return numbers;
}

// The message of the tool's last "fiofla CMD: message" line (a hint to try --help may
// follow it), without that prefix.
std::string Message(const std::string& err) {
  std::string message, last;
  std::istringstream in(err);
  for (std::string l; std::getline(in, l);) {
    if (l.empty()) continue;
    last = l;
    const auto colon = l.find(": ");
    if (l.rfind("fiofla ", 0) == 0 && colon != std::string::npos) message = l.substr(colon + 2);
  }
  return message.empty() ? last : message;
}

template <typename T>
std::shared_ptr<Result> Make() {
  return std::make_shared<T>();
}

std::shared_ptr<Result> ResultOf(const std::string& kind) {
  if (kind == "iast") return Make<IastResult>();
  if (kind == "heat") return Make<HeatResult>();
  if (kind == "virial") return Make<VirialResult>();
  if (kind == "chemisorption") return Make<ChemisorptionResult>();
  if (kind == "hk") return Make<HkResult>();
  return Make<Result>();
}

// The command's result as Python sees it: its JSON read back, or `ok` false with its message.
std::shared_ptr<Result> ResultOfRun(int code, const std::string& out, const std::string& err,
                                    const std::string& kind,
                                    const std::vector<std::string>& headline,
                                    const std::string& mainTable) {
  if (code == cli::kExitInputError || code == cli::kExitUsageError) ThrowInput(Message(err));
  std::shared_ptr<Result> result = ResultOf(kind);
  result->headline = headline;
  result->mainTable = mainTable;
  if (code != cli::kExitOk) {
    result->ok = false;
    result->reason = Message(err);
  }
  rapidjson::Document doc;
  if (!out.empty() && !doc.Parse(out.c_str()).HasParseError() && doc.IsObject())
    for (const auto& member : doc.GetObject())
      result->fields.Add(member.name.GetString(), FromJson(member.value));
  return result;
}

}  // namespace

std::shared_ptr<Result> RunCommandBody(const std::function<int(cli::Streams&)>& body,
                                       const std::string& kind,
                                       const std::vector<std::string>& headline,
                                       const std::string& mainTable) {
  std::ostringstream out, err;
  int code = 0;
  std::string usage, input;
  {
    pyb::gil_scoped_release release;
    cli::Streams io{out, err};
    try {
      code = body(io);
    } catch (const cli::UsageError& e) {
      usage = e.message.empty() ? "bad arguments" : e.message;
    } catch (const InputError& e) {
      input = e.what();
    }
  }
  if (!usage.empty()) ThrowInput(usage);
  if (!input.empty()) ThrowInput(input);
  return ResultOfRun(code, out.str(), err.str(), kind, headline, mainTable);
}

}  // namespace fiofla::py
