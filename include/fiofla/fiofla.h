// Everything fiofla offers, in one include.
#pragma once

// Platform layer: containers, numerics, strings and time.
#include "fiofla/num/bspline.h"
#include "fiofla/num/interpolate.h"
#include "fiofla/num/linefit.h"
#include "fiofla/num/marquette.h"
#include "fiofla/num/nnls.h"
#include "fiofla/num/numvector.h"
#include "fiofla/num/polynomial.h"
#include "fiofla/num/svd.h"
#include "fiofla/str/cstr.h"
#include "fiofla/str/timeinterval.h"

// Platform layer: units, formatted quantities and the report model.
#include "fiofla/report/report_model.h"
#include "fiofla/report/report_render.h"
#include "fiofla/report/report_text.h"
#include "fiofla/units/formatter.h"
#include "fiofla/units/unit_text.h"
#include "fiofla/units/units.h"

// Shared enumerations and file readers.
#include "fiofla/io/aif_file.h"
#include "fiofla/io/file_util.h"
#include "fiofla/io/isodb_file.h"
#include "fiofla/io/isotherm_file.h"
#include "fiofla/io/pygaps_file.h"
#include "fiofla/types.h"

// Gas properties.
#include "fiofla/compress.h"
#include "fiofla/gas_eos.h"
#include "fiofla/gas_table_builder.h"
#include "fiofla/po_and_t.h"
#include "fiofla/psat_vs_t.h"

// Isotherm reduction.
#include "fiofla/free_space.h"
#include "fiofla/gascalc.h"
#include "fiofla/io/measurement_file.h"
#include "fiofla/isotherm.h"
#include "fiofla/measurement.h"

// Classical pore analysis.
#include "fiofla/gasbjh.h"
#include "fiofla/gashk.h"
#include "fiofla/gastplot.h"
#include "fiofla/pore_distribution.h"
#include "fiofla/smoothderiv.h"

// Calculations.
#include "fiofla/batch.h"
#include "fiofla/bet_range.h"
#include "fiofla/calc_bet.h"
#include "fiofla/datagasadsorption.h"
#include "fiofla/gas_isotherm_model.h"
#include "fiofla/gas_virial.h"
#include "fiofla/gaschemi.h"
#include "fiofla/gasdft.h"
#include "fiofla/gashoa.h"
#include "fiofla/gasiast.h"
#include "fiofla/isotherm_fit.h"
#include "fiofla/isotherm_models.h"
#include "fiofla/report_bet.h"
#include "fiofla/report_chemi.h"
#include "fiofla/report_dft.h"
#include "fiofla/report_fit.h"
#include "fiofla/report_heat.h"
#include "fiofla/report_iast.h"
#include "fiofla/report_hk.h"
#include "fiofla/report_pores.h"

// DFT kernels: the catalogue, and the density-functional engine that makes them.
#include "fiofla/dft_fluid.h"
#include "fiofla/dft_kernel_builder.h"
#include "fiofla/dft_kernels.h"
#include "fiofla/dft_slit.h"
