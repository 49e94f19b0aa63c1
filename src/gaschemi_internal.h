// Pieces of the chemisorption calculation shared between its source files.
#pragma once

#include <vector>

#include "fiofla/gaschemi.h"

namespace fiofla::detail {

/// Fits one chemisorption model to the points (pressure mmHg, quantity cm³/g STP); the
/// isotherm field of the result is left for the caller.
CSinfeltCalc::SModelFit FitChemiModel(EChemiModel model, std::vector<double> const& pressures,
                                      std::vector<double> const& quantities);

}  // namespace fiofla::detail
