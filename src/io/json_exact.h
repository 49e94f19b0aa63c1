// JSON numbers read exactly and safely.
//
// rapidjson 1.1.0's full-precision number parser reads past its tables on long mantissas
// with large negative exponents (a fuzzer found "2566...6.66...76e-427"), and its default
// parser may be an ulp off. So the readers take numbers as text and convert them with
// fiofla::StringToDouble (from_chars: correctly rounded, locale-independent), through this
// handler wrapped around whatever builds the document.
#pragma once

#include <rapidjson/document.h>
#include <rapidjson/error/en.h>
#include <rapidjson/memorystream.h>
#include <rapidjson/reader.h>

#include <algorithm>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "fiofla/io/file_util.h"
#include "fiofla/types.h"

namespace fiofla::io_detail {

/// Flags every exact parse uses: numbers as text (converted here) and an iterative parser,
/// so deep nesting cannot exhaust the stack.
constexpr unsigned kExactJsonFlags =
    rapidjson::kParseNumbersAsStringsFlag | rapidjson::kParseIterativeFlag;

/// Forwards SAX events to `Next`, turning each number into a double first. A number that
/// does not fit a double stops the parse; BadNumber() then holds it.
template <typename Next>
class ExactNumbers {
 public:
  explicit ExactNumbers(Next& next) : m_next(next) {}

  bool Null() { return m_next.Null(); }
  bool Bool(bool b) { return m_next.Bool(b); }
  bool Int(int i) { return m_next.Int(i); }
  bool Uint(unsigned i) { return m_next.Uint(i); }
  bool Int64(std::int64_t i) { return m_next.Int64(i); }
  bool Uint64(std::uint64_t i) { return m_next.Uint64(i); }
  bool Double(double d) { return m_next.Double(d); }
  bool RawNumber(const char* s, rapidjson::SizeType n, bool) {
    // A plain integer stays an integer (a count, a flag), exactly; the rest become doubles.
    if (n > 0 && n <= 18) {
      rapidjson::SizeType k = s[0] == '-' ? 1 : 0;
      bool digits = k < n;
      for (; k < n && digits; ++k) digits = s[k] >= '0' && s[k] <= '9';
      if (digits) return m_next.Int64(std::stoll(std::string(s, n)));
    }
    double value = 0.0;
    if (!StringToDouble(std::string(s, n), &value)) {
      m_badNumber.assign(s, n);
      return false;
    }
    return m_next.Double(value);
  }
  bool String(const char* s, rapidjson::SizeType n, bool copy) { return m_next.String(s, n, copy); }
  bool StartObject() { return m_next.StartObject(); }
  bool Key(const char* s, rapidjson::SizeType n, bool copy) { return m_next.Key(s, n, copy); }
  bool EndObject(rapidjson::SizeType n) { return m_next.EndObject(n); }
  bool StartArray() { return m_next.StartArray(); }
  bool EndArray(rapidjson::SizeType n) { return m_next.EndArray(n); }

  /// The number that did not fit a double; empty when none.
  const std::string& BadNumber() const { return m_badNumber; }

 private:
  Next& m_next;
  std::string m_badNumber;
};

/// Why a parse stopped, for "<file>:<line>: not valid JSON: <why>".
inline std::string JsonParseProblem(const rapidjson::ParseResult& result,
                                    const std::string& badNumber) {
  if (!badNumber.empty()) {
    const std::string shown = badNumber.size() > 40 ? badNumber.substr(0, 40) + "..." : badNumber;
    return "number " + shown + " does not fit a double";
  }
  return rapidjson::GetParseError_En(result.Code());
}

/// The first member name an object of `value` (at any depth) holds twice, with the path
/// of that object ("isotherm_data[3]"); false when there is none. JSON leaves duplicates
/// undefined, and a reader that took either one would be guessing.
inline bool FindDuplicateMember(const rapidjson::Value& value, const std::string& path,
                                std::string* name, std::string* where) {
  auto container = [](const rapidjson::Value& v) { return v.IsObject() || v.IsArray(); };
  if (value.IsObject()) {
    // Sorted names: a long object (points keyed by index) costs n log n, not n².
    std::vector<std::string_view> names;
    names.reserve(value.MemberCount());
    for (const auto& m : value.GetObject())
      names.emplace_back(m.name.GetString(), m.name.GetStringLength());
    std::sort(names.begin(), names.end());
    const auto twice = std::adjacent_find(names.begin(), names.end());
    if (twice != names.end()) {
      *name = std::string(*twice);
      *where = path;
      return true;
    }
    for (const auto& m : value.GetObject())
      if (container(m.value) &&
          FindDuplicateMember(m.value, (path.empty() ? "" : path + ".") + m.name.GetString(), name,
                              where))
        return true;
  } else if (value.IsArray()) {
    for (rapidjson::SizeType i = 0; i < value.Size(); ++i)
      if (container(value[i]) &&
          FindDuplicateMember(value[i], path + "[" + std::to_string(i) + "]", name, where))
        return true;
  }
  return false;
}

/// Parses `text` into `doc` with exact numbers; on failure throws nothing and returns the
/// problem with its line ("12: not valid JSON: ..."). A member given twice in one object
/// is a failure too.
inline bool ParseJsonExact(const std::string& text, rapidjson::Document& doc,
                           std::string* problem) {
  rapidjson::MemoryStream stream(text.data(), text.size());
  rapidjson::Reader reader;
  std::string badNumber;
  auto parse = [&](rapidjson::Document& target) {
    ExactNumbers<rapidjson::Document> handler(target);
    const bool ok = !reader.Parse<kExactJsonFlags>(stream, handler).IsError();
    badNumber = handler.BadNumber();
    return ok;
  };
  doc.Populate(parse);
  if (!reader.HasParseError()) {
    std::string name, where;
    if (!FindDuplicateMember(doc, "", &name, &where)) return true;
    const std::size_t second = text.find("\"" + name + "\"", text.find("\"" + name + "\"") + 1);
    const std::string shown = name.size() > 40 ? name.substr(0, 40) + "..." : name;
    *problem = std::to_string(LineOfOffset(text, second == std::string::npos ? 0 : second)) +
               ": member \"" + shown + "\" is given twice" +
               (where.empty() ? std::string() : " in " + where);
    return false;
  }
  rapidjson::ParseResult result(reader.GetParseErrorCode(), reader.GetErrorOffset());
  *problem = std::to_string(LineOfOffset(text, reader.GetErrorOffset())) +
             ": not valid JSON: " + JsonParseProblem(result, badNumber);
  return false;
}

}  // namespace fiofla::io_detail
