// The kernel catalogue: where DFT kernels (model files, gasdft.h) are kept, what each one
// holds, how a name given by a user becomes a file, and the import of kernels tabulated
// as CSV.
//
// Kernel directory: $FIOFLA_KERNEL_DIR when set, else data/kernels beside the library
// (the build tree mirrors the installed layout), else the installed
// PREFIX/share/fiofla/kernels. Kernel files there end in ".dftk".
//
// Kernel CSV: the first column is the relative pressure P/Po, every further column one
// pore width; the first row that is neither blank nor a '#' comment is the header, whose
// first cell is free text and whose other cells are the widths, as plain numbers in the
// unit KernelCsvOptions::widthUnit names. Cells are separated by tabs, semicolons or
// commas: the first of those found in the header row, in that order, is the separator for
// the whole file. A cell may be wrapped in double quotes. Numbers are read in the C
// locale (a decimal point, never a decimal comma). Choices:
// - Rows out of order are refused, not sorted: a table whose pressures go down or repeat
//   is more often a pasted-together or mislabelled export than a shuffled one.
// - Nothing is guessed: width unit, basis of the values, geometry, gas and temperature
//   must all be given, since none of them can be told from the numbers.
// - Values per unit pore volume (cm3 STP per cm3 of pore) become values per unit wall
//   area (cm3 STP per m2) as v × width[Å] × 1e-4 / factor, the pore volume of 1 m2 of
//   wall being width × 1e-4 / factor cm3 (factor 2 slit, 4 cylinder).
#pragma once

#include <cstddef>
#include <cstdint>
#include <limits>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "fiofla/gasdft.h"

namespace fiofla {

/// Extension of kernel files in the kernel directory.
inline constexpr const char* kKernelExtension = ".dftk";

/// Largest kernel CSV file read, bytes (512 MiB: some 20 million values in full precision).
inline constexpr std::size_t kMaxKernelCsvBytes = std::size_t(512) << 20;

/// The kernel directory: $FIOFLA_KERNEL_DIR, else data/kernels beside the library, else
/// the installed one (see the top of this header).
std::string DefaultKernelDirectory();

/// What one kernel file holds, read for listing and showing.
struct KernelInfo {
  /// File name without ".dftk".
  std::string name;
  std::string path;
  /// False when the file is no loadable model file; `error` then says why.
  bool readable = false;
  std::string error;
  std::string gas;
  std::string modelName;
  std::string label;
  std::string description;
  std::uint32_t category = 0;
  std::uint32_t type = 0;
  std::uint32_t geometry = 0;
  /// Model temperature, K.
  double temperatureK = std::numeric_limits<double>::quiet_NaN();
  /// The 8 bytes after the header, as stored.
  std::uint64_t headerValue = 0;
  std::size_t pressureCount = 0;
  /// Lowest and highest P/Po of the grid; NaN when it is empty.
  double pressureMin = std::numeric_limits<double>::quiet_NaN();
  double pressureMax = std::numeric_limits<double>::quiet_NaN();
  std::size_t widthCount = 0;
  /// Narrowest and widest pore, Å; NaN when the grid is empty.
  double widthMinA = std::numeric_limits<double>::quiet_NaN();
  double widthMaxA = std::numeric_limits<double>::quiet_NaN();
  /// Smallest and largest kernel value, cm3 STP per m2 of wall; NaN when it is empty.
  double valueMin = std::numeric_limits<double>::quiet_NaN();
  double valueMax = std::numeric_limits<double>::quiet_NaN();
};

/// Reads the kernel file at `path`; a file that does not load gives readable == false.
KernelInfo DescribeKernel(const std::string& path);

/// The header fields and grid extents of a loaded model (name and path left empty).
KernelInfo DescribeKernel(CDFTModel const& model);

/// The ".dftk" files of `dir`, each described, sorted by name. Throws InputError when the
/// directory cannot be listed.
std::vector<KernelInfo> ListKernels(const std::string& dir);

/// The file a kernel argument names: `text` itself when it is an existing file, else
/// `dir`/NAME.dftk (or `dir`/NAME when NAME already ends in ".dftk"). Throws InputError
/// naming what was tried and the kernels `dir` holds.
std::string ResolveKernel(const std::string& text, const std::string& dir);

/// Loads the kernel file at `path`; throws InputError naming it when it does not load.
CDFTModel LoadKernel(const std::string& path);

/// The unit pore widths of a kernel CSV are in.
enum class KernelWidthUnit { kNanometre, kAngstrom };
/// What the values of a kernel CSV are per.
enum class KernelBasis {
  kWallArea,   ///< cm3 STP per m2 of pore wall (the model file's own basis)
  kPoreVolume  ///< cm3 STP per cm3 of pore
};

/// "nm" or "A".
const char* KernelWidthUnitName(KernelWidthUnit unit);
/// Parses "nm" or "A" (also "Å" and "angstrom"); false otherwise, `unit` left alone.
bool StringToKernelWidthUnit(const std::string& text, KernelWidthUnit* unit);
/// "area" or "volume".
const char* KernelBasisName(KernelBasis basis);
/// Parses "area" or "volume"; false otherwise, `basis` left alone.
bool StringToKernelBasis(const std::string& text, KernelBasis* basis);
/// "slit", "cylinder", or "geometry N" for any other stored value.
std::string KernelGeometryName(std::uint32_t geometry);
/// Parses "slit" or "cylinder"; false otherwise, `geometry` left alone.
bool StringToKernelGeometry(const std::string& text, EDFTGeometry* geometry);

/// How to read a kernel CSV; every member but modelName must be set.
struct KernelCsvOptions {
  std::optional<KernelWidthUnit> widthUnit;
  std::optional<KernelBasis> basis;
  std::optional<EDFTGeometry> geometry;
  /// Adsorptive, as the analyses will name it ("N2", "Ar").
  std::string gas;
  /// Temperature of the kernel, K.
  double temperatureK = std::numeric_limits<double>::quiet_NaN();
  /// Model name; empty takes the file name without its folder and extension.
  std::string modelName;
};

/// Parses kernel CSV text (see the top of this header) into a model; `name` (the file)
/// starts every error message. Throws InputError.
CDFTModel ParseKernelCsv(std::string_view text, const std::string& name,
                         const KernelCsvOptions& options);

/// Reads a kernel CSV file; throws InputError.
CDFTModel ReadKernelCsv(const std::string& path, const KernelCsvOptions& options);

/// Writes the model file at `path` through a temporary file and a rename; throws
/// InputError naming the path when it cannot.
void WriteKernelFile(CDFTModel const& model, const std::string& path);

}  // namespace fiofla
