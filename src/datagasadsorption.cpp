#include "fiofla/datagasadsorption.h"

#include <utility>

namespace {

// Four decimals would show anything below 1e-4 as 0.0000 and make large uptakes
// unwieldy, so those switch to scientific.
CQuantityFormatter MakeVolumeAdsFormatter() {
  CQuantityFormatter formatter(CUnits(fcn_UT_GasAmountAdsorbed()),
                               CNumericFormat(CNumericFormat::eFixed, 4),
                               CNumericFormat(CNumericFormat::eScientific, 4));
  formatter.SetZeroLimit(0);
  formatter.SetUpperLimit(10000.0);
  formatter.SetLowerLimit(0.0001);
  return formatter;
}

// BET transforms are typically 1e-4..1e-1 g/cm³ STP, below the lower limit, so they
// mostly print in scientific notation; 5 decimals there keep 6 significant digits.
CQuantityFormatter MakeBetTransformFormatter() {
  CQuantityFormatter formatter(fiofla::InverseGasAmountUnits(),
                               CNumericFormat(CNumericFormat::eSignificant, 6),
                               CNumericFormat(CNumericFormat::eScientific, 5));
  formatter.SetUpperLimit(1e4);
  formatter.SetLowerLimit(1e-3);
  return formatter;
}

CQuantityFormatter MakePressureRelFormatter() {
  return CQuantityFormatter(fcn_UT_RelativePressure(), CNumericFormat(CNumericFormat::eFixed, 9),
                            CNumericFormat(CNumericFormat::eScientific, 4));
}

}  // namespace

template class TFormattedNumeric<double>;

CQuantityFormatter DVolumeAds::sm_Formatter = MakeVolumeAdsFormatter();
CQuantityFormatter DBETTransform::sm_Formatter = MakeBetTransformFormatter();
CQuantityFormatter DPressureRel::sm_Formatter = MakePressureRelFormatter();

std::shared_ptr<CUnitsContext> UnitsContextGasLib() {
  // A function-local static is built on first use, whatever the order in which the
  // library's statics are initialised, and thread-safely.
  static const std::shared_ptr<CUnitsContext> context = [] {
    CUnitsContext::UnitsMap units;
    units.emplace("RelativePressure", fcn_UT_RelativePressure());
    units.emplace("InvRelativePressure", fcn_UT_InvRelativePressure());
    return CUnitsContext::Create("UnitsContextGasLib", CUnitsContext::SelectionMap(),
                                 std::move(units));
  }();
  return context;
}
