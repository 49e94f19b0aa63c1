#include "fiofla/types.h"

#include <cctype>
#include <charconv>
#include <cmath>

namespace fiofla {

const char* BranchName(Branch branch) {
  return branch == Branch::kAdsorption ? "adsorption" : "desorption";
}

bool StringToBranch(const std::string& text, Branch* branch) {
  std::string t;
  for (char c : text) t += static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  if (t == "adsorption" || t == "ads" || t == "a") {
    *branch = Branch::kAdsorption;
    return true;
  }
  if (t == "desorption" || t == "des" || t == "d") {
    *branch = Branch::kDesorption;
    return true;
  }
  return false;
}

bool StringToDouble(const std::string& text, double* value) {
  const char* first = text.data();
  const char* last = first + text.size();
  if (first != last && *first == '+') {
    ++first;
    if (first != last && *first == '-') return false;  // "+-5" is no number
  }
  double parsed = 0.0;
  const auto result = std::from_chars(first, last, parsed);
  if (result.ec != std::errc() || result.ptr != last || !std::isfinite(parsed)) return false;
  *value = parsed;
  return true;
}

}  // namespace fiofla
