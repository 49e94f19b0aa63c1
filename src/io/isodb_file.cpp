#include "fiofla/io/isodb_file.h"

#include <rapidjson/document.h>
#include <rapidjson/encodedstream.h>
#include <rapidjson/error/en.h>
#include <rapidjson/memorystream.h>
#include <rapidjson/reader.h>
#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "fiofla/io/file_util.h"
#include "isotherm_internal.h"
#include "json_exact.h"

namespace fiofla {
namespace {

using JsonValue = rapidjson::Value;
using JsonStream = rapidjson::EncodedInputStream<rapidjson::UTF8<>, rapidjson::MemoryStream>;

constexpr const char* kPointsKey = "isotherm_data";
// Members turned into IsothermInfo fields or points; every other root member is kept.
constexpr const char* kReadKeys[] = {"adsorbates",    "adsorbent",       "temperature",
                                     "pressureUnits", "adsorptionUnits", kPointsKey};
// Values quoted in messages are cut here, so a message stays one readable line.
constexpr std::size_t kShownChars = 40;
// An ISODB document nests four deep; a bound turns a file of ten thousand '[' into a
// plain "not an ISODB isotherm" instead of a document built only to be refused.
constexpr int kMaxDepth = 256;

// Byte offsets of where root members' values and the points begin. The DOM keeps no
// offsets, and a line number is what lets someone find point 180 of a large document.
struct Offsets {
  std::vector<std::pair<std::string, std::size_t>> members;  // first occurrence counts
  std::vector<std::size_t> points;
  bool tooDeep = false;  // parsing stopped at kMaxDepth
};

// Builds the document from the reader's events and notes the offsets on the way.
class OffsetRecorder {
 public:
  OffsetRecorder(rapidjson::Document& doc, const JsonStream& stream, Offsets& offsets)
      : m_doc(doc), m_stream(stream), m_offsets(offsets) {}

  bool Null() { return Note(), m_doc.Null(); }
  bool Bool(bool b) { return Note(), m_doc.Bool(b); }
  bool Int(int i) { return Note(), m_doc.Int(i); }
  bool Uint(unsigned i) { return Note(), m_doc.Uint(i); }
  bool Int64(std::int64_t i) { return Note(), m_doc.Int64(i); }
  bool Uint64(std::uint64_t i) { return Note(), m_doc.Uint64(i); }
  bool Double(double d) { return Note(), m_doc.Double(d); }
  bool RawNumber(const char* s, rapidjson::SizeType n, bool copy) {
    return Note(), m_doc.RawNumber(s, n, copy);
  }
  bool String(const char* s, rapidjson::SizeType n, bool copy) {
    return Note(), m_doc.String(s, n, copy);
  }
  bool Key(const char* s, rapidjson::SizeType n, bool copy) {
    if (m_depth == 1) m_key.assign(s, n);
    return m_doc.Key(s, n, copy);
  }
  bool StartObject() {
    Note();
    if (!Deeper()) return false;
    return m_doc.StartObject();
  }
  bool EndObject(rapidjson::SizeType n) {
    --m_depth;
    return m_doc.EndObject(n);
  }
  bool StartArray() {
    Note();
    // Only the first isotherm_data is read (FindMember finds the first), so only it counts.
    if (m_depth == 1 && m_key == kPointsKey && !m_pointsSeen) m_inPoints = m_pointsSeen = true;
    if (!Deeper()) return false;
    return m_doc.StartArray();
  }
  bool EndArray(rapidjson::SizeType n) {
    if (--m_depth == 1) m_inPoints = false;
    return m_doc.EndArray(n);
  }

 private:
  bool Deeper() {
    if (m_depth >= kMaxDepth) {
      m_offsets.tooDeep = true;
      return false;
    }
    ++m_depth;
    return true;
  }
  void Note() {
    if (m_depth == 1)
      m_offsets.members.emplace_back(m_key, m_stream.Tell());
    else if (m_depth == 2 && m_inPoints)
      m_offsets.points.push_back(m_stream.Tell());
  }

  rapidjson::Document& m_doc;
  const JsonStream& m_stream;
  Offsets& m_offsets;
  int m_depth = 0;
  std::string m_key;
  bool m_inPoints = false;
  bool m_pointsSeen = false;
};

std::string CompactJson(const JsonValue& value) {
  rapidjson::StringBuffer buffer;
  rapidjson::Writer<rapidjson::StringBuffer> writer(buffer);
  value.Accept(writer);
  return std::string(buffer.GetString(), buffer.GetSize());
}

std::string Shown(const JsonValue& value) {
  std::string text = CompactJson(value);
  if (text.size() <= kShownChars) return text;
  std::size_t cut = kShownChars;
  while (cut > 0 && (static_cast<unsigned char>(text[cut]) & 0xC0) == 0x80) --cut;  // UTF-8
  return text.substr(0, cut) + "...";
}

const char* TypeName(const JsonValue& value) {
  if (value.IsObject()) return "an object";
  if (value.IsArray()) return "a list";
  if (value.IsString()) return "a text";
  if (value.IsNumber()) return "a number";
  if (value.IsBool()) return "true or false";
  return "null";
}

bool IsReadKey(const std::string& key) {
  for (const char* read : kReadKeys)
    if (key == read) return true;
  return false;
}

// Reads the parsed document into a RawIsotherm; every error names the member's path and,
// where it is known, its line.
class IsodbReader {
 public:
  IsodbReader(const std::string& text, const std::string& name, const Offsets& offsets)
      : m_text(text), m_name(name), m_offsets(offsets) {
    // The points' offsets rise, so one pass counts the lines of all of them; a line count
    // from the start for each point would make large documents quadratic.
    std::size_t line = 1, at = 0;
    for (std::size_t offset : offsets.points) {
      for (; at < offset && at < text.size(); ++at)
        if (text[at] == '\n') ++line;
      m_pointLines.push_back(line);
    }
  }

  RawIsotherm Read(const JsonValue& root) const {
    if (!root.IsObject())
      Fail(0, "the document is " + std::string(TypeName(root)) + ", not an ISODB isotherm object");
    RawIsotherm raw;
    raw.source = m_name;
    raw.info.adsorptive = Adsorptive(root);
    raw.info.material = Material(root);
    raw.info.temperatureK = Temperature(root);
    raw.pressureUnit = Text(root, "pressureUnits", "pressureUnits", MemberLine("pressureUnits"));
    raw.pressureUnitWhere = Where("pressureUnits");
    raw.loadingUnit =
        Text(root, "adsorptionUnits", "adsorptionUnits", MemberLine("adsorptionUnits"));
    raw.loadingUnitWhere = Where("adsorptionUnits");
    ReadPoints(root, raw);
    for (auto m = root.MemberBegin(); m != root.MemberEnd(); ++m) {
      std::string key(m->name.GetString(), m->name.GetStringLength());
      if (!IsReadKey(key)) raw.info.items.emplace_back(std::move(key), CompactJson(m->value));
    }
    return raw;
  }

 private:
  [[noreturn]] void Fail(std::size_t line, const std::string& what) const {
    throw InputError(m_name + (line > 0 ? ":" + std::to_string(line) : std::string()) + ": " +
                     what);
  }

  std::size_t Line(std::size_t offset) const { return LineOfOffset(m_text, offset); }

  // Line of a root member's value; 0 when the member is absent.
  std::size_t MemberLine(const char* key) const {
    for (const auto& member : m_offsets.members)
      if (member.first == key) return Line(member.second);
    return 0;
  }

  std::size_t PointLine(rapidjson::SizeType i) const {
    return i < m_pointLines.size() ? m_pointLines[i] : 0;
  }

  // For ConvertIsotherm's unit messages: "pressureUnits, line 17".
  std::string Where(const char* key) const {
    const std::size_t line = MemberLine(key);
    return line > 0 ? std::string(key) + ", line " + std::to_string(line) : std::string(key);
  }

  // The member, or null when it is absent or JSON null: ISODB writes null for "not given".
  static const JsonValue* Find(const JsonValue& object, const char* key) {
    const auto it = object.FindMember(key);
    if (it == object.MemberEnd() || it->value.IsNull()) return nullptr;
    return &it->value;
  }

  const JsonValue& Need(const JsonValue& object, const char* key, const std::string& path,
                        std::size_t line) const {
    const JsonValue* value = Find(object, key);
    if (value == nullptr) Fail(line, path + " is missing");
    return *value;
  }

  void Expect(bool ok, const JsonValue& value, const std::string& path, const char* expected,
              std::size_t line) const {
    if (!ok)
      Fail(line,
           path + " is not " + expected + " (got " + TypeName(value) + " " + Shown(value) + ")");
  }

  double Number(const JsonValue& object, const char* key, const std::string& path,
                std::size_t line) const {
    const JsonValue& value = Need(object, key, path, line);
    Expect(value.IsNumber(), value, path, "a number", line);
    const double x = value.GetDouble();
    if (!std::isfinite(x)) Fail(line, path + " is not a finite number");
    return x;
  }

  std::string Text(const JsonValue& object, const char* key, const std::string& path,
                   std::size_t line) const {
    const JsonValue& value = Need(object, key, path, line);
    Expect(value.IsString(), value, path, "a text", line);
    return std::string(value.GetString(), value.GetStringLength());
  }

  std::string Adsorptive(const JsonValue& root) const {
    const std::size_t line = MemberLine("adsorbates");
    const JsonValue& list = Need(root, "adsorbates", "adsorbates", line);
    Expect(list.IsArray(), list, "adsorbates", "a list", line);
    if (list.Size() != 1)
      Fail(line, "the isotherm has " + std::to_string(list.Size()) +
                     " adsorbates; only single-gas isotherms are read");
    Expect(list[0].IsObject(), list[0], "adsorbates[0]", "an object", line);
    return Text(list[0], "name", "adsorbates[0].name", line);
  }

  // The adsorbent is only a label here, so a document without one still reads.
  std::string Material(const JsonValue& root) const {
    const JsonValue* adsorbent = Find(root, "adsorbent");
    if (adsorbent == nullptr) return {};
    const std::size_t line = MemberLine("adsorbent");
    Expect(adsorbent->IsObject(), *adsorbent, "adsorbent", "an object", line);
    if (Find(*adsorbent, "name") == nullptr) return {};
    return Text(*adsorbent, "name", "adsorbent.name", line);
  }

  double Temperature(const JsonValue& root) const {
    const std::size_t line = MemberLine("temperature");
    const double t = Number(root, "temperature", "temperature", line);
    if (!(t > 0.0))
      Fail(line, "temperature is not above 0 K (got " + io_detail::FormatValue(t) + ")");
    return t;
  }

  void ReadPoints(const JsonValue& root, RawIsotherm& raw) const {
    const std::size_t listLine = MemberLine(kPointsKey);
    const JsonValue& list = Need(root, kPointsKey, kPointsKey, listLine);
    Expect(list.IsArray(), list, kPointsKey, "a list", listLine);
    if (list.Empty()) Fail(listLine, std::string(kPointsKey) + " has no points");
    for (rapidjson::SizeType i = 0; i < list.Size(); ++i) {
      const std::string path = std::string(kPointsKey) + "[" + std::to_string(i) + "]";
      const std::size_t line = PointLine(i);
      const JsonValue& point = list[i];
      Expect(point.IsObject(), point, path, "an object", line);
      raw.pressure.push_back(Number(point, "pressure", path + ".pressure", line));
      raw.loading.push_back(Loading(point, path, line));
      raw.sourceLine.push_back(line);
    }
  }

  // The species' own amount when given: for a single gas it is the total, and it is the
  // member that states which gas it counts.
  double Loading(const JsonValue& point, const std::string& path, std::size_t line) const {
    const JsonValue* species = Find(point, "species_data");
    if (species == nullptr) {
      if (Find(point, "total_adsorption") == nullptr)
        Fail(line, path + " has neither species_data nor total_adsorption");
      return Number(point, "total_adsorption", path + ".total_adsorption", line);
    }
    const std::string speciesPath = path + ".species_data";
    Expect(species->IsArray(), *species, speciesPath, "a list", line);
    if (species->Size() != 1)
      Fail(line, speciesPath + " has " + std::to_string(species->Size()) +
                     " entries; a single-gas isotherm has one");
    const JsonValue& entry = (*species)[0];
    Expect(entry.IsObject(), entry, speciesPath + "[0]", "an object", line);
    return Number(entry, "adsorption", speciesPath + "[0].adsorption", line);
  }

  const std::string& m_text;
  const std::string& m_name;
  const Offsets& m_offsets;
  std::vector<std::size_t> m_pointLines;
};

}  // namespace

IsothermData ParseIsodbJson(const std::string& text, const std::string& name,
                            const IsothermReadOptions& options) {
  rapidjson::Document doc;
  Offsets offsets;
  rapidjson::MemoryStream memory(text.data(), text.size());
  JsonStream stream(memory);
  rapidjson::Reader reader;
  std::string badNumber;
  auto parse = [&](rapidjson::Document& target) {
    OffsetRecorder recorder(target, stream, offsets);
    io_detail::ExactNumbers<OffsetRecorder> exact(recorder);
    const bool ok = !reader.Parse<io_detail::kExactJsonFlags>(stream, exact).IsError();
    badNumber = exact.BadNumber();
    return ok;
  };
  doc.Populate(parse);
  if (reader.HasParseError()) {
    const std::string where =
        name + ":" + std::to_string(LineOfOffset(text, reader.GetErrorOffset()));
    if (offsets.tooDeep)
      throw InputError(where + ": nested more than " + std::to_string(kMaxDepth) +
                       " levels deep; not an ISODB isotherm");
    const rapidjson::ParseResult result(reader.GetParseErrorCode(), reader.GetErrorOffset());
    throw InputError(where + ": not valid JSON: " + io_detail::JsonParseProblem(result, badNumber));
  }
  std::string twice, in;
  if (io_detail::FindDuplicateMember(doc, "", &twice, &in))
    throw InputError(name + ": member \"" + io_detail::Shown(twice) + "\" is given twice" +
                     (in.empty() ? std::string() : " in " + in));
  return ConvertIsotherm(IsodbReader(text, name, offsets).Read(doc), options);
}

IsothermData ReadIsodbFile(const std::string& path, const IsothermReadOptions& options) {
  return ParseIsodbJson(io_detail::ReadTextFile(path), path, options);
}

}  // namespace fiofla
