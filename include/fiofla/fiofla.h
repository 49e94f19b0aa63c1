// Everything fiofla offers, in one include.
#pragma once

// Platform layer: containers, numerics, strings and time.
#include "fiofla/num/interpolate.h"
#include "fiofla/num/linefit.h"
#include "fiofla/num/numvector.h"
#include "fiofla/num/polynomial.h"
#include "fiofla/str/cstr.h"
#include "fiofla/str/timeinterval.h"

// Shared enumerations and file readers.
#include "fiofla/io/isotherm_file.h"
#include "fiofla/types.h"

// Calculations.
#include "fiofla/calc_bet.h"
