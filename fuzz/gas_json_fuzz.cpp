// Fuzz target for the JSON gas-table reader: any text that parses as JSON must be accepted
// or rejected without memory or undefined-behaviour errors, a rejected document must leave
// the default table, and an accepted one must survive WriteJson -> ReadJson unchanged.
#include <rapidjson/document.h>
#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <sstream>
#include <string>
#include <vector>

#include "fiofla/compress.h"
#include "fuzz_common.h"

namespace {

std::string Serialise(rapidjson::Document const& doc) {
  rapidjson::StringBuffer buffer;
  rapidjson::Writer<rapidjson::StringBuffer> writer(buffer);
  doc.Accept(writer);
  return std::string(buffer.GetString(), buffer.GetSize());
}

std::string BinaryForm(CGasCompressibilityTable const& table) {
  std::ostringstream out;
  table.Write(out);
  return out.str();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
  rapidjson::Document doc;
  doc.Parse(reinterpret_cast<char const*>(data), size);
  if (doc.HasParseError()) return 0;

  CGasCompressibilityTable table;
  const bool ok = table.ReadJson(doc);
  if (ok != table.GetReadError().empty()) __builtin_trap();
  // A rejected document is documented to leave the default, empty table.
  if (!ok && !(table.m_vPressures.empty() && table.m_vTemperatures.empty() &&
               table.m_mCompressibility.rows() == 0 && table.m_dTcrit == 0.0))
    __builtin_trap();
  fuzz::ExerciseLookups(table);
  if (!ok) return 0;

  // Parsed JSON holds only finite numbers, so an accepted table is always writable.
  rapidjson::Document first;
  if (!table.WriteJson(first)) __builtin_trap();
  CGasCompressibilityTable back;
  if (!back.ReadJson(first)) __builtin_trap();
  rapidjson::Document second;
  if (!back.WriteJson(second)) __builtin_trap();
  if (first != second || Serialise(first) != Serialise(second)) __builtin_trap();
  // The binary form carries every bit, so it also catches what JSON equality forgives.
  if (BinaryForm(table) != BinaryForm(back)) __builtin_trap();
  return 0;
}
