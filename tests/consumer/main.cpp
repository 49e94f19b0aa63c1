// Links the installed library, reads an installed example isotherm (any format) and checks
// the BET result, then checks that the installed library finds its own gas tables.
#include <fiofla/fiofla.h>

#include <cmath>
#include <cstdio>

int main(int argc, char** argv) {
  if (argc != 2) {
    std::fprintf(stderr, "usage: consumer ISOTHERM\n");
    return 2;
  }
  try {
    const fiofla::IsothermData iso = fiofla::ReadIsothermFile(argv[1]);
    const CCalcBET bet(fiofla::MakeBETInput(iso.relativePressure, iso.quantityAdsorbedCm3PerGStp,
                                            iso.branch, 0.05, 0.30, 0.162));
    std::printf("BET surface area %.4f m2/g, C %.2f, status %d\n", bet.surfaceArea, bet.cValue,
                bet.status);
    const bool ok = bet.status == CCalcBET::STATUS_OK && bet.surfaceArea > 0.0 &&
                    std::isfinite(bet.surfaceAreaError);
    // Without FIOFLA_GAS_DIR the cache looks beside the installed library.
    const CGasCompressibilityTable* n2 =
        CGasCompressibilityCache::ms_cCache.GetGas(CStr("nitrogen"));
    double psat = 0.0;
    const bool gas = n2 != nullptr && n2->CalcPsatFromTemp(&psat, 77.35, false);
    std::printf("gas tables in %s: nitrogen Psat at 77.35 K %.3f mmHg\n",
                CGasCompressibilityCache::ms_cCache.GetEffectiveDirectory().c_str(), psat);
    return ok && gas && std::fabs(psat - 759.55) < 0.1 ? 0 : 1;
  } catch (const fiofla::InputError& e) {
    std::fprintf(stderr, "consumer: %s\n", e.what());
    return 1;
  }
}
