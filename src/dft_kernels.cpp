// The kernel directory, the listing and description of kernel files, and kernel names.
#include "fiofla/dft_kernels.h"

#include <dlfcn.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>

#include "fiofla/io/isotherm_file.h"

namespace fiofla {
namespace {

namespace fs = std::filesystem;

bool EndsWith(const std::string& text, const std::string& tail) {
  return text.size() >= tail.size() &&
         text.compare(text.size() - tail.size(), tail.size(), tail) == 0;
}

// The stems of the kernel files in `dir`, sorted; throws InputError when it cannot be listed.
std::vector<std::string> KernelNames(const std::string& dir) {
  std::error_code ec;
  std::vector<std::string> names;
  for (fs::directory_iterator it(dir, ec), end; !ec && it != end; it.increment(ec)) {
    std::error_code fileEc;
    if (it->path().extension() == kKernelExtension && fs::is_regular_file(it->path(), fileEc))
      names.push_back(it->path().stem().string());
  }
  if (ec) throw InputError("cannot list the kernel directory " + dir + ": " + ec.message());
  std::sort(names.begin(), names.end());
  return names;
}

}  // namespace

std::string DefaultKernelDirectory() {
  const char* env = std::getenv("FIOFLA_KERNEL_DIR");
  if (env != nullptr && *env != '\0') return env;
  // Beside the library first, as for the gas tables: a moved installation, or the build
  // tree, which mirrors the installed layout, finds its own kernels.
  Dl_info info{};
  if (::dladdr(reinterpret_cast<void*>(&DefaultKernelDirectory), &info) != 0 &&
      info.dli_fname != nullptr) {
    const fs::path dir =
        (fs::path(info.dli_fname).parent_path() / FIOFLA_KERNEL_DIR_FROM_LIBDIR).lexically_normal();
    std::error_code ec;
    if (fs::is_directory(dir, ec)) return dir.string();
  }
  return FIOFLA_INSTALLED_KERNEL_DIR;
}

KernelInfo DescribeKernel(CDFTModel const& model) {
  KernelInfo k;
  const CDFTModelSpecBase& h = model.Header();
  k.readable = model.IsValid();
  k.gas = h.gasName.str();
  k.modelName = h.modelName.str();
  k.label = h.label.str();
  k.description = h.description.str();
  k.category = h.category;
  k.type = h.type;
  k.geometry = h.geometry;
  k.temperatureK = h.temperature;
  k.headerValue = model.HeaderValue();
  const CNumVector<double>& p = model.Pressures();
  const CNumVector<double>& w = model.PoreWidths();
  const CNumMatrix<double>& kernel = model.Kernel();
  k.pressureCount = p.size();
  k.widthCount = w.size();
  // Extremes over the values, not the grid ends: a file need not keep its grids sorted.
  for (std::size_t i = 0; i < p.size(); ++i) {
    k.pressureMin = i == 0 ? p[i] : std::min(k.pressureMin, p[i]);
    k.pressureMax = i == 0 ? p[i] : std::max(k.pressureMax, p[i]);
  }
  for (std::size_t j = 0; j < w.size(); ++j) {
    k.widthMinA = j == 0 ? w[j] : std::min(k.widthMinA, w[j]);
    k.widthMaxA = j == 0 ? w[j] : std::max(k.widthMaxA, w[j]);
  }
  bool first = true;
  for (std::size_t i = 0; i < kernel.rows(); ++i)
    for (std::size_t j = 0; j < kernel.cols(); ++j) {
      const double v = kernel(i, j);
      k.valueMin = first ? v : std::min(k.valueMin, v);
      k.valueMax = first ? v : std::max(k.valueMax, v);
      first = false;
    }
  return k;
}

KernelInfo DescribeKernel(const std::string& path) {
  KernelInfo k;
  std::error_code ec;
  if (!fs::is_regular_file(path, ec)) {
    k.error = "cannot open the file";
  } else {
    const CDFTModel model{CStr(path)};
    k = DescribeKernel(model);
    if (!k.readable) k.error = "not a kernel file (truncated, or another kind of file)";
  }
  k.path = path;
  k.name = fs::path(path).filename().string();
  if (EndsWith(k.name, kKernelExtension))
    k.name.resize(k.name.size() - std::char_traits<char>::length(kKernelExtension));
  return k;
}

std::vector<KernelInfo> ListKernels(const std::string& dir) {
  std::vector<KernelInfo> kernels;
  for (const std::string& name : KernelNames(dir))
    kernels.push_back(DescribeKernel((fs::path(dir) / (name + kKernelExtension)).string()));
  return kernels;
}

std::string ResolveKernel(const std::string& text, const std::string& dir) {
  if (text.empty()) throw InputError("no kernel named (a name in the kernel directory, or a path)");
  std::error_code ec;
  if (fs::is_regular_file(text, ec)) return text;
  std::string tried = text;
  // A text with a folder in it is a path only; a bare name is also looked up in `dir`.
  if (text.find('/') == std::string::npos) {
    const fs::path candidate =
        fs::path(dir) / (EndsWith(text, kKernelExtension) ? text : text + kKernelExtension);
    if (fs::is_regular_file(candidate, ec)) return candidate.string();
    tried += " and " + candidate.string();
  }
  std::string available;
  try {
    const std::vector<std::string> names = KernelNames(dir);
    for (const std::string& name : names) available += (available.empty() ? "" : ", ") + name;
    available = names.empty() ? "the kernel directory " + dir + " holds no .dftk files"
                              : "kernels in " + dir + ": " + available;
  } catch (const InputError& e) {
    available = e.what();
  }
  throw InputError("no kernel '" + text + "' (no file " + tried + "); " + available);
}

CDFTModel LoadKernel(const std::string& path) {
  std::error_code ec;
  if (!fs::is_regular_file(path, ec)) throw InputError(path + ": cannot open the kernel file");
  CDFTModel model{CStr(path)};
  if (!model.IsValid())
    throw InputError(path + ": not a kernel file (truncated, or another kind of file)");
  return model;
}

void WriteKernelFile(CDFTModel const& model, const std::string& path) {
  if (!model.IsValid()) throw InputError("cannot write " + path + ": the kernel is not valid");
  if (model.WriteToFile(CStr(path), 2)) return;
  const fs::path folder = fs::path(path).parent_path();
  std::error_code ec;
  if (!folder.empty() && !fs::is_directory(folder, ec))
    throw InputError("cannot write " + path + ": the folder " + folder.string() +
                     " does not exist");
  throw InputError("cannot write " + path + " (not writable, or the disk is full)");
}

const char* KernelWidthUnitName(KernelWidthUnit unit) {
  return unit == KernelWidthUnit::kNanometre ? "nm" : "A";
}

bool StringToKernelWidthUnit(const std::string& text, KernelWidthUnit* unit) {
  if (text == "nm") {
    *unit = KernelWidthUnit::kNanometre;
    return true;
  }
  if (text == "A" || text == "\xC3\x85" || text == "angstrom") {
    *unit = KernelWidthUnit::kAngstrom;
    return true;
  }
  return false;
}

const char* KernelBasisName(KernelBasis basis) {
  return basis == KernelBasis::kWallArea ? "area" : "volume";
}

bool StringToKernelBasis(const std::string& text, KernelBasis* basis) {
  if (text != "area" && text != "volume") return false;
  *basis = text == "area" ? KernelBasis::kWallArea : KernelBasis::kPoreVolume;
  return true;
}

std::string KernelGeometryName(std::uint32_t geometry) {
  if (geometry == eDFTGeometrySlit) return "slit";
  if (geometry == eDFTGeometryCylinder) return "cylinder";
  return "geometry " + std::to_string(geometry);
}

bool StringToKernelGeometry(const std::string& text, EDFTGeometry* geometry) {
  if (text != "slit" && text != "cylinder") return false;
  *geometry = text == "slit" ? eDFTGeometrySlit : eDFTGeometryCylinder;
  return true;
}

}  // namespace fiofla
