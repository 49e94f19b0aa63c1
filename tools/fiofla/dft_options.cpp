#include "dft_options.h"

#include <algorithm>
#include <cmath>
#include <numeric>

#include "cli_common.h"
#include "fiofla/compress.h"
#include "fiofla/dft_kernels.h"
#include "fiofla/report_dft.h"

namespace fiofla::cli {
namespace {

// The gas name to check the kernel against: the kernel's own spelling when both name the
// same gas ("nitrogen" and "N2"), else the isotherm's; empty when the file names none.
CStr GasToCheck(const std::string& adsorptive, CDFTModel const& kernel) {
  if (adsorptive.empty()) return CStr();
  const std::string a = GasTableName(adsorptive), k = GasTableName(kernel.Header().gasName.str());
  if (!a.empty() && a == k) return kernel.Header().gasName;
  return CStr(adsorptive);
}

void Branch(const IsothermData& iso, std::vector<double>& p, std::vector<double>& q) {
  for (std::size_t i = 0; i < iso.size(); ++i)
    if (iso.branch[i] == Branch::kAdsorption && std::isfinite(iso.relativePressure[i])) {
      p.push_back(iso.relativePressure[i]);
      q.push_back(iso.quantityAdsorbedCm3PerGStp[i]);
    }
}

std::string Describe(CDFTModel const& k, const std::string& path) {
  CDFTModelSpecBase const& h = k.Header();
  return h.modelName.str() + " (" + path + ", " + h.gasName.str() + " at " + Num(h.temperature) +
         " K)";
}

}  // namespace

void AddDftOptions(CLI::App* cmd, DftSettings& s, bool dual) {
  cmd->add_option("--kernel", s.kernel,
                  "the DFT kernel: a kernel file, or the name of one in the kernel directory\n"
                  "(see `fiofla kernel list`)")
      ->type_name("NAME|PATH");
  cmd->add_option("--kernel-dir", s.kernelDir,
                  "where kernel names are looked up (default: $FIOFLA_KERNEL_DIR, else the\n"
                  "shipped kernels' folder)")
      ->type_name("DIR");
  if (dual) {
    cmd->add_option("--kernel2", s.kernel2,
                    "a second kernel, fitted jointly with the first to one distribution\n"
                    "(needs --file2)")
        ->type_name("NAME|PATH");
    cmd->add_option("--file2", s.file2, "the isotherm the second kernel describes")
        ->type_name("FILE2");
  }
  cmd->add_option("--lambda", s.lambda,
                  "regularisation weight: a number >= 0, or auto (generalised\n"
                  "cross-validation, the default), gcv or lcurve (the L-curve corner)")
      ->type_name("X|auto");
  cmd->add_flag("--bspline", s.bspline,
                "also try a cubic B-spline distribution with as many knots as the data carry");
  cmd->add_flag("--clamp", s.clamp,
                "use the kernel's end values for points outside its pressures (default: leave\n"
                "those points out)");
  cmd->add_option_function<std::string>(
         "--pressure-range",
         [&s](const std::string& v) {
           std::tie(s.pLow, s.pHigh) = ParseRange("--pressure-range", v, 1.0);
         },
         "relative pressures used, P/Po (default: all)")
      ->type_name("LO:HI");
  cmd->add_option_function<std::string>(
         "--width-range",
         [&s](const std::string& v) { std::tie(s.wLow, s.wHigh) = ParseRange("--width-range", v); },
         "kernel pore widths fitted, Å (default: all)")
      ->type_name("LO:HI");
}

DftRun RunDftOn(const IsothermData& iso, const IsothermData* iso2, const DftSettings& s) {
  CDFTCalc::SInput in;
  if (s.lambda == "auto" || s.lambda == "gcv") {
    in.lambdaMethod = CDFTCalc::ELambda::kGcv;
  } else if (s.lambda == "lcurve") {
    in.lambdaMethod = CDFTCalc::ELambda::kLCurve;
  } else {
    const auto v = ToDouble(s.lambda);
    if (!v || !(*v >= 0.0) || !std::isfinite(*v))
      throw UsageError{"--lambda '" + s.lambda +
                       "' is neither a number >= 0 nor auto, gcv or lcurve"};
    in.lambdaMethod = CDFTCalc::ELambda::kFixed;
    in.lambda = *v;
  }
  const std::string dir = s.kernelDir.empty() ? DefaultKernelDirectory() : s.kernelDir;
  DftRun run;
  run.kernelPath = ResolveKernel(s.kernel, dir);
  auto kernel = std::make_shared<const CDFTModel>(LoadKernel(run.kernelPath));
  in.model = kernel;
  Branch(iso, in.pressures, in.quantities);
  in.gasName = GasToCheck(iso.info.adsorptive, *kernel);
  in.temperature = std::isfinite(iso.info.temperatureK) ? iso.info.temperatureK : 0.0;
  run.description = Describe(*kernel, run.kernelPath);
  if (iso2 != nullptr) {
    run.kernelPath2 = ResolveKernel(s.kernel2, dir);
    auto kernel2 = std::make_shared<const CDFTModel>(LoadKernel(run.kernelPath2));
    in.model2 = kernel2;
    Branch(*iso2, in.pressures2, in.quantities2);
    in.gasName2 = GasToCheck(iso2->info.adsorptive, *kernel2);
    in.temperature2 = std::isfinite(iso2->info.temperatureK) ? iso2->info.temperatureK : 0.0;
    run.description += " with " + Describe(*kernel2, run.kernelPath2);
  }
  in.clampOutside = s.clamp;
  in.pressureMin = s.pLow;
  in.pressureMax = s.pHigh;
  in.widthMin = s.wLow;
  in.widthMax = s.wHigh;
  in.bspline = s.bspline;
  run.calc = std::make_unique<CDFTCalc>(in);
  run.description += std::string(", λ: ") + LambdaMethodText(in.lambdaMethod);
  return run;
}

const char* DftStatusText(int status) {
  switch (status) {
    case 0:
      return "done";
    case 1:
      return "the kernel could not be read";
    case 2:
      return "the kernel is for another gas";
    case 4:
      return "the kernel is for another temperature";
    case 5:
      return "the second kernel could not be read or used with the first";
    case 6:
      return "too few points or pore widths in the ranges";
    case 7:
      return "the solver did not converge";
    case 8:
      return "the input is not usable";
    case 9:
      return "no B-spline solution; the plain solution is reported";
    case 10:
      return "done, with warnings";
  }
  return "unknown status";
}

std::vector<std::size_t> WorstFitPoints(CDFTCalc const& calc, std::size_t count) {
  const std::size_t n = calc.GetFitPressures().size();
  std::vector<std::size_t> order(n);
  std::iota(order.begin(), order.end(), std::size_t(0));
  auto rel = [&](std::size_t k) {
    return std::fabs(calc.RelError(static_cast<unsigned short>(k)));
  };
  std::stable_sort(order.begin(), order.end(),
                   [&](std::size_t a, std::size_t b) { return rel(a) > rel(b); });
  order.resize(std::min(n, count));
  return order;
}

}  // namespace fiofla::cli
