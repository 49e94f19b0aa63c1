// Fuzz target for kernel CSV tables: any text is read or refused with InputError (never a
// crash or another exception). A table that is read keeps the promised grids and values,
// converts between bases by the geometry factor, and survives a model file round trip.
#include <unistd.h>

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <optional>
#include <string>
#include <string_view>

#include "fiofla/dft_kernels.h"
#include "fiofla/io/isotherm_file.h"

namespace {

void Check(bool ok) {
  if (!ok) std::abort();
}

fiofla::KernelCsvOptions Options(fiofla::KernelWidthUnit unit, fiofla::KernelBasis basis,
                                 EDFTGeometry geometry) {
  fiofla::KernelCsvOptions o;
  o.widthUnit = unit;
  o.basis = basis;
  o.geometry = geometry;
  o.gas = "N2";
  o.temperatureK = 77.35;
  return o;
}

void CheckModel(const CDFTModel& m) {
  Check(m.IsValid());
  const std::size_t np = m.Pressures().size(), ns = m.PoreWidths().size();
  Check(np >= 2 && ns >= 2 && m.Kernel().rows() == np && m.Kernel().cols() == ns);
  for (std::size_t i = 0; i < np; ++i) {
    Check(m.Pressures()[i] > 0.0 && m.Pressures()[i] <= 1.0);
    Check(i == 0 || m.Pressures()[i] > m.Pressures()[i - 1]);
  }
  for (std::size_t j = 0; j < ns; ++j) {
    Check(m.PoreWidths()[j] > 0.0 && std::isfinite(m.PoreWidths()[j]));
    Check(j == 0 || m.PoreWidths()[j] > m.PoreWidths()[j - 1]);
  }
  for (std::size_t i = 0; i < np; ++i)
    for (std::size_t j = 0; j < ns; ++j)
      Check(m.Kernel()(i, j) >= 0.0 && std::isfinite(m.Kernel()(i, j)));
}

// The table read with these choices, or nothing when it is refused.
std::optional<CDFTModel> Parse(std::string_view text, fiofla::KernelWidthUnit unit,
                               fiofla::KernelBasis basis, EDFTGeometry geometry) {
  try {
    return fiofla::ParseKernelCsv(text, "fuzz.csv", Options(unit, basis, geometry));
  } catch (const fiofla::InputError&) {
    return std::nullopt;
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view text(reinterpret_cast<const char*>(data), size);
  using fiofla::KernelBasis;
  using fiofla::KernelWidthUnit;
  const auto area =
      Parse(text, KernelWidthUnit::kAngstrom, KernelBasis::kWallArea, eDFTGeometrySlit);
  if (!area) return 0;
  CheckModel(*area);
  // The same table per unit pore volume: the values scale by width × 1e-4 / factor, unless
  // that overflows, which is refused.
  for (EDFTGeometry geometry : {eDFTGeometrySlit, eDFTGeometryCylinder}) {
    const auto volume = Parse(text, KernelWidthUnit::kAngstrom, KernelBasis::kPoreVolume, geometry);
    if (!volume) continue;
    CheckModel(*volume);
    const double factor = geometry == eDFTGeometryCylinder ? 4.0 : 2.0;
    for (std::size_t i = 0; i < area->Pressures().size(); ++i)
      for (std::size_t j = 0; j < area->PoreWidths().size(); ++j)
        Check(volume->Kernel()(i, j) ==
              area->Kernel()(i, j) * area->PoreWidths()[j] * 1e-4 / factor);
  }
  if (const auto nm =
          Parse(text, KernelWidthUnit::kNanometre, KernelBasis::kWallArea, eDFTGeometrySlit))
    CheckModel(*nm);
  const std::string path = "/tmp/fiofla-kernel-csv-fuzz-" + std::to_string(::getpid());
  fiofla::WriteKernelFile(*area, path);
  const CDFTModel back = fiofla::LoadKernel(path);
  for (std::size_t i = 0; i < area->Pressures().size(); ++i)
    for (std::size_t j = 0; j < area->PoreWidths().size(); ++j)
      Check(back.Kernel()(i, j) == area->Kernel()(i, j));
  ::unlink(path.c_str());
  return 0;
}
