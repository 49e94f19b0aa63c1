// Links the installed library, reads the installed example isotherm and checks the BET result.
#include <fiofla/fiofla.h>

#include <cmath>
#include <cstdio>

int main(int argc, char** argv) {
  if (argc != 2) {
    std::fprintf(stderr, "usage: consumer ISOTHERM.csv\n");
    return 2;
  }
  try {
    const fiofla::IsothermData iso = fiofla::ReadIsothermCsv(argv[1]);
    const CCalcBET bet(fiofla::MakeBETInput(iso.relativePressure, iso.quantityAdsorbedCm3PerGStp,
                                            iso.branch, 0.05, 0.30, 0.162));
    std::printf("BET surface area %.4f m2/g, C %.2f, status %d\n", bet.surfaceArea, bet.cValue,
                bet.status);
    const bool ok = bet.status == CCalcBET::STATUS_OK && bet.surfaceArea > 0.0 &&
                    std::isfinite(bet.surfaceAreaError);
    return ok ? 0 : 1;
  } catch (const fiofla::InputError& e) {
    std::fprintf(stderr, "consumer: %s\n", e.what());
    return 1;
  }
}
