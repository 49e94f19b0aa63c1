// Enumerations shared by the library, the tool and file formats, each with the one
// spelling used everywhere for it.
#pragma once

#include <string>

namespace fiofla {

/// Which branch of the isotherm a point was measured on.
enum class Branch { kAdsorption, kDesorption };

/// Lower-case name of a branch: "adsorption" or "desorption".
const char* BranchName(Branch branch);

/// Parses "adsorption"/"desorption" (also "ads"/"des" and "a"/"d", any case);
/// false for anything else, leaving `branch` alone.
bool StringToBranch(const std::string& text, Branch* branch);

/// Parses a whole text as a finite decimal number ("1.5", "+2e-3"), independent of the
/// locale; false for anything else (empty, trailing characters, nan, inf, overflow),
/// leaving `value` alone.
bool StringToDouble(const std::string& text, double* value);

}  // namespace fiofla
