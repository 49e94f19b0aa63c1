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
    const char* names[2];
    bool highPressure;  // a "<table>_hp" file ships too
  } kGases[] = {
      {"nitrogen", {"nitrogen", "n2"}, true}, {"argon", {"argon", "ar"}, true},
      {"krypton", {"krypton", "kr"}, false},  {"carbon_dioxide", {"carbondioxide", "co2"}, true},
      {"methane", {"methane", "ch4"}, true},  {"hydrogen", {"hydrogen", "h2"}, true},
      {"oxygen", {"oxygen", "o2"}, false},
  };
  const std::string wanted = NameKey(name);
  if (wanted.empty()) return {};
  for (const auto& gas : kGases)
    for (const std::string n : gas.names) {
      if (wanted == n) return gas.table;
      // No gas name ends in "hp", so "N2_hp" or "nitrogen HP" can only mean this table.
      if (gas.highPressure && wanted == n + "hp")
        return gas.table + std::string(kHighPressureSuffix);
    }
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
  const std::string suffix = kHighPressureSuffix;
  const bool isHigh = stem.size() > suffix.size() &&
                      stem.compare(stem.size() - suffix.size(), suffix.size(), suffix) == 0;
  if (stem.empty() || isHigh || owned == nullptr) return normal;
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
