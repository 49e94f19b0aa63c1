// Fuzz target for measurement files (raw runs): any input must parse or be refused with an
// InputError; what parses must write back to the same text, and its reduction must either
// give finite values for the points it converts or refuse with an InputError.
#include <unistd.h>

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

#include "fiofla/compress.h"
#include "fiofla/io/measurement_file.h"
#include "fiofla/measurement.h"

namespace {

void Check(bool ok) {
  if (!ok) std::abort();
}

// A small nitrogen-like table in a folder of its own, so reductions have a gas to use
// without the shipped data: Psat = 760 exp(700 (1/77.35 - 1/T)) mmHg, Z = 1 - 1e-5 p.
void MakeGasFolder() {
  CNumVector<double> p{0.0, 500.0, 1000.0, 1500.0};
  CNumVector<double> t{70.0, 77.35, 90.0, 130.0, 350.0};
  CNumMatrix<double> z(4, 5);
  for (std::size_t i = 0; i < 4; ++i)
    for (std::size_t j = 0; j < 5; ++j) z(i, j) = 1.0 - 1e-5 * p[i];
  CGasCompressibilityTable table;
  table.Set(p, t, z);
  table.InitializeRows();
  for (std::size_t j = 0; j < 3; ++j)
    table.m_vPsat[j] = 760.0 * std::exp(700.0 * (1.0 / 77.35 - 1.0 / t[j]));
  table.m_dTcrit = 126.19;
  table.m_dPcrit = 25461.0;
  table.m_dTtrip = 63.15;
  table.m_dMolecularWeight = 28.0134;
  char folder[] = "/tmp/fiofla-fuzz-gas-XXXXXX";
  Check(::mkdtemp(folder) != nullptr);
  Check(table.WriteToFile(CStr(std::string(folder) + "/nitrogen.fpi")));
  CGasCompressibilityCache::ms_cCache.SetDirectory(CStr(folder));
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  MakeGasFolder();
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string text(reinterpret_cast<const char*>(data), size);
  fiofla::Measurement m;
  try {
    m = fiofla::ParseMeasurement(text, "fuzz.json");
  } catch (const fiofla::InputError&) {
    return 0;
  }
  // Written and read back, a run is a fixed point.
  const std::string written = fiofla::FormatMeasurement(m);
  fiofla::Measurement again;
  try {
    again = fiofla::ParseMeasurement(written, "again.json");
  } catch (const fiofla::InputError&) {
    std::abort();  // fiofla refused what it wrote itself
  }
  Check(fiofla::FormatMeasurement(again) == written);

  try {
    const fiofla::ReducedIsotherm r = fiofla::ReduceMeasurement(m);
    Check(r.convertedPoints <= r.timeS.size());
    for (std::size_t i = 0; i < r.convertedPoints; ++i)
      Check(std::isfinite(r.relativePressure[i]) && std::isfinite(r.quantityAdsorbedCm3PerGStp[i]));
  } catch (const fiofla::InputError&) {
  }
  return 0;
}
