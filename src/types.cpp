#include "fiofla/types.h"

#include <cctype>

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

}  // namespace fiofla
