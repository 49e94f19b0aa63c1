// BET surface area of an isotherm held in memory: fill the input record, construct
// the calculation, read the results.
#include <fiofla/calc_bet.h>

#include <cstdio>

int main() {
  const double relativePressure[] = {0.05, 0.10, 0.15, 0.20, 0.25, 0.30};
  const double quantityCm3PerGStp[] = {39.97, 45.68, 49.96, 53.77, 57.52, 61.45};

  CCalcBET::SInput input;
  input.relativePressure.SetDim(6);
  input.quantityAdsorbed.SetDim(6);
  input.pointFlags.SetDim(6);
  for (int i = 0; i < 6; ++i) {
    input.relativePressure[i] = relativePressure[i];
    input.quantityAdsorbed[i] = quantityCm3PerGStp[i];
    input.pointFlags[i] = CCalcBET::POINT_INCLUDED | CCalcBET::POINT_IN_RANGE;
  }
  input.crossSectionalArea = 0.162;  // nm2, nitrogen

  const CCalcBET bet(input);
  std::printf("status %d (%s)\n", bet.status, fiofla::BETStatusText(bet.status));
  std::printf("surface area %.3f +/- %.3f m2/g\n", bet.surfaceArea, bet.surfaceAreaError);
  std::printf("C %.2f, Qm %.3f cm3/g STP\n", bet.cValue, bet.monolayerCapacity);
  return bet.status == CCalcBET::STATUS_OK ? 0 : 1;
}
