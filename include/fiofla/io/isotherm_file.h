// Reading isotherms from text files.
//
// CSV layout accepted by ReadIsothermCsv:
//   - lines whose first non-blank character is '#' are comments; blank lines are skipped;
//   - the first other line is the header, naming the columns; fields are separated by
//     commas, tabs or semicolons (the separator of the header is used throughout) and may
//     be wrapped in double quotes;
//   - a column name may carry its unit in square brackets, e.g. "loading [cm3/g STP]";
//   - required: a relative-pressure column ("relative_pressure", "p/p0", "p/po", "p_rel",
//     "prel") and a quantity column ("quantity_adsorbed", "quantity", "loading", "amount",
//     "volume_adsorbed"), quantities in cm3/g STP (the unit may be omitted; "cm3/g STP",
//     "cm^3/g STP", "cm³/g STP", "cc/g" and "ml/g STP" are accepted);
//   - optional: a "branch" column with "adsorption"/"desorption" (or "ads"/"des", "a"/"d");
//     without it the points up to the highest relative pressure form the adsorption
//     branch and the rest the desorption branch;
//   - other columns are ignored.
// Names are matched without regard to case. Every data cell that is read must be a finite
// number; a problem stops the read with an InputError naming the file, the line and the
// problem, so no partial isotherm is ever returned.
#pragma once

#include <cstddef>
#include <istream>
#include <stdexcept>
#include <string>
#include <vector>

#include "fiofla/types.h"

namespace fiofla {

/// Bad input at a boundary with the outside world (file, argument); the message names
/// where (file, line or key) and what was wrong.
class InputError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// An isotherm as read from a file, points in measured order.
struct IsothermData {
  /// Where the points came from (file name, or the name given to the parser).
  std::string source;
  /// P/Po of every point.
  std::vector<double> relativePressure;
  /// Quantity adsorbed of every point, cm^3/g STP.
  std::vector<double> quantityAdsorbedCm3PerGStp;
  /// Branch of every point.
  std::vector<Branch> branch;
  /// 1-based line of the file that each point came from.
  std::vector<std::size_t> sourceLine;

  /// Number of points.
  std::size_t size() const { return relativePressure.size(); }
};

/// Reads an isotherm CSV file; throws InputError on a missing, unreadable or malformed file.
IsothermData ReadIsothermCsv(const std::string& path);

/// Parses isotherm CSV text from a stream; `name` is used in error messages.
IsothermData ParseIsothermCsv(std::istream& in, const std::string& name);

/// Marks the points of a single list as adsorption up to (and including) the first point
/// of highest relative pressure and as desorption after it.
std::vector<Branch> SplitBranches(const std::vector<double>& relativePressure);

}  // namespace fiofla
