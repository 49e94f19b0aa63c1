// The isotherm `fiofla reduce` writes, shared with the Python package so that both write and
// read back the same text.
#pragma once

#include <string>

#include "fiofla/measurement.h"

namespace fiofla::cli {

/// The reduced isotherm as CSV: a comment naming the run, one with the adsorptive and the
/// temperatures, then relative_pressure, quantity_adsorbed [cm3/g STP], branch,
/// pressure [mmHg], p0 [mmHg], manifold_pressure [mmHg] and time [s] at 12 digits.
std::string ReducedIsothermCsv(const ReducedIsotherm& r);

}  // namespace fiofla::cli
