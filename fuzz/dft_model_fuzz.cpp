// Fuzz target for DFT model files: any bytes load or are refused (never a crash or a huge
// allocation); a model that loads writes back and loads again to the same values, and the
// deconvolution of a fixed isotherm with it ends in a status, whatever the kernel holds.
#include <unistd.h>

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <fstream>
#include <memory>
#include <string>

#include "fiofla/gasdft.h"

namespace {

void Check(bool ok) {
  if (!ok) std::abort();
}

std::string Path(const char* what) {
  return "/tmp/fiofla-dft-fuzz-" + std::to_string(::getpid()) + "-" + what;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string in = Path("in"), out = Path("out");
  std::ofstream(in, std::ios::binary)
      .write(reinterpret_cast<const char*>(data), std::streamsize(size));
  const CDFTModel model{CStr(in)};
  if (model.IsValid()) {
    Check(model.Kernel().rows() == model.Pressures().size());
    // A matrix of no rows holds no column count (the container releases everything).
    Check(model.Kernel().rows() == 0 || model.Kernel().cols() == model.PoreWidths().size());
    Check(model.WriteToFile(CStr(out), 2));
    const CDFTModel back{CStr(out)};
    Check(back.IsValid() && back.Header() == model.Header());
    for (std::size_t i = 0; i < model.Kernel().rows(); ++i)
      for (std::size_t j = 0; j < model.Kernel().cols(); ++j) {
        const double a = model.Kernel()(i, j), b = back.Kernel()(i, j);
        Check(a == b || (a != a && b != b));
      }
    CDFTCalc::SInput input;
    input.model = std::make_shared<CDFTModel>(model);
    for (int k = 0; k < 12; ++k) {
      input.pressures.push_back(1e-5 * std::pow(10.0, 0.4 * k));
      input.quantities.push_back(100.0 + 30.0 * k);
    }
    input.clampOutside = size % 2 == 1;
    input.bspline = size % 3 == 0;
    const CDFTCalc calc(input);
    Check(calc.GetStatus() >= 0 && calc.GetStatus() <= 10);
    Check(calc.IsOK() || !calc.Warnings().empty());
  }
  CDFTModelSpecBase header{CStr(in)};
  (void)header.IsValid();
  return 0;
}
