// Names of the shipped gas tables, and the choice between a gas's normal and high-pressure
// table.
#include <cctype>
#include <string>

#include "fiofla/compress.h"

namespace fiofla {
namespace {

bool AllInGrid(const CGasCompressibilityTable& table,
               const std::vector<std::pair<double, double>>& points) {
  for (const auto& [p, t] : points)
    if (!table.IsInGrid(p, t)) return false;
  return true;
}

}  // namespace

std::string GasTableName(const std::string& name) {
  static const struct {
    const char* table;
    const char* names[3];
  } kGases[] = {
      {"nitrogen", {"nitrogen", "n2", ""}}, {"argon", {"argon", "ar", ""}},
      {"krypton", {"krypton", "kr", ""}},   {"carbon_dioxide", {"carbondioxide", "co2", ""}},
      {"methane", {"methane", "ch4", ""}},  {"hydrogen", {"hydrogen", "h2", ""}},
      {"oxygen", {"oxygen", "o2", ""}},
  };
  const std::string wanted = NameKey(name);
  if (wanted.empty()) return {};
  for (const auto& gas : kGases)
    for (const char* n : gas.names)
      if (*n != '\0' && wanted == n) return gas.table;
  return {};
}

const CGasCompressibilityTable* PickTableFor(CGasCompressibilityCache& cache,
                                             const std::string& name,
                                             const std::vector<std::pair<double, double>>& points,
                                             CGasCompressibilityTable* owned,
                                             bool* usedHighPressure) {
  if (usedHighPressure != nullptr) *usedHighPressure = false;
  const CGasCompressibilityTable* normal = cache.GetGas(CStr(name));
  if (normal != nullptr && AllInGrid(*normal, points)) return normal;
  const std::string stem = GasTableName(name);
  if (stem.empty() || owned == nullptr) return normal;
  // Read beside the cache, not into it: a load could evict a table the caller holds.
  const CStr path =
      cache.GetEffectiveDirectory() + L"/" + CStr(stem + kHighPressureSuffix) + L".fpi";
  CGasCompressibilityTable high(path);
  if (!high.IsValid() || !high.GetReadError().empty() || !AllInGrid(high, points)) return normal;
  *owned = std::move(high);
  if (usedHighPressure != nullptr) *usedHighPressure = true;
  return owned;
}

}  // namespace fiofla
