// Fuzz target for kernel recipes: any text is read or refused with InputError (never a
// crash or another exception), and a recipe that is read keeps the promises of the reader:
// grids strictly ascending and within their counts, every parameter finite and in range.
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

#include "fiofla/dft_kernel_builder.h"
#include "fiofla/io/isotherm_file.h"

namespace {

void Check(bool ok) {
  if (!ok) std::abort();
}

bool Positive(double x) {
  return std::isfinite(x) && x > 0.0;
}

void CheckGrid(std::vector<double> const& grid, std::size_t most, double high) {
  Check(grid.size() >= 2 && grid.size() <= most);
  for (std::size_t i = 0; i < grid.size(); ++i) {
    Check(Positive(grid[i]) && grid[i] <= high);
    Check(i == 0 || grid[i] > grid[i - 1]);
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string text(reinterpret_cast<const char*>(data), size);
  fiofla::dft::KernelRecipe r;
  try {
    r = fiofla::dft::ParseKernelRecipe(text, "fuzz.json");
  } catch (const fiofla::InputError&) {
    return 0;
  }
  Check(!r.name.empty() && !r.gas.empty());
  Check(Positive(r.temperatureK));
  Check(Positive(r.fluid.epsilonK) && Positive(r.fluid.sigmaNm) && Positive(r.fluid.diameterNm));
  Check(Positive(r.fluid.cutoffSigma) && r.fluid.molarMass >= 0.0);
  Check(Positive(r.wall.epsilonK) && Positive(r.wall.sigmaNm) && Positive(r.wall.densityPerNm3));
  Check(Positive(r.wall.spacingNm) && r.wall.solidDiameterNm >= 0.0);
  CheckGrid(r.widthsNm, 1000, 1000.0);
  CheckGrid(r.pressures, 2000, 1.0);
  Check(r.pressures.back() < 1.0);
  Check(r.settings.pointsPerRadius >= 2 && r.settings.maxIterations >= 1);
  Check(r.settings.history >= 0 && Positive(r.settings.tolerance));
  Check(Positive(r.settings.mixing) && r.settings.mixing <= 1.0 && Positive(r.settings.capKT));
  // The widest pore's grid stays within what the reader promises.
  const double dz = r.fluid.diameterNm / (2.0 * r.settings.pointsPerRadius);
  Check((r.widthsNm.back() + r.wall.solidDiameterNm) / dz <= 200000.0);
  return 0;
}
