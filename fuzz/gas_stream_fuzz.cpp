// Fuzz target for the binary gas-table reader: any byte sequence must read without
// memory or undefined-behaviour errors, lookups on whatever was read must stay in bounds,
// and a table that read successfully must write and read back to the very same bytes.
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <sstream>
#include <string>
#include <vector>

#include "fiofla/compress.h"
#include "fuzz_common.h"

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
  std::istringstream input(std::string(reinterpret_cast<char const*>(data), size));
  CGasCompressibilityTable table;
  const bool ok = table.Read(input);
  // The read error is documented as empty exactly after a success.
  if (ok != table.GetReadError().empty()) __builtin_trap();
  fuzz::ExerciseLookups(table);

  std::ostringstream first;
  const bool written = table.Write(first);
  if (!ok) return 0;  // a partly read table must still write safely, but need not round-trip
  if (!written) __builtin_trap();

  std::istringstream again(first.str());
  CGasCompressibilityTable back;
  if (!back.Read(again)) __builtin_trap();
  std::ostringstream second;
  if (!back.Write(second) || second.str() != first.str()) __builtin_trap();
  return 0;
}
