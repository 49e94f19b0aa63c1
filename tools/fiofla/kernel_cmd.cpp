// `fiofla kernel`: the DFT kernels in the kernel directory listed and shown, kernels
// tabulated as CSV imported into kernel files, and kernels built from a recipe by the
// density-functional engine.
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cinttypes>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <iostream>
#include <memory>
#include <mutex>

#include "app.h"
#include "cli.h"
#include "cli_common.h"
#include "fiofla/dft_kernel_builder.h"
#include "fiofla/dft_kernels.h"
#include "fiofla/io/file_util.h"
#include "result.h"

namespace fiofla::cli {
namespace {

struct KernelOptions {
  std::string kernelDir;
  std::string kernel;  // show: NAME or PATH; convert: the CSV
  std::string output;
  bool grids = false;
  bool json = false;
  KernelCsvOptions csv;
  int threads = 0;        // build: 0 all cores
  bool branches = false;  // build: also the adsorption and desorption branches
};

std::string Directory(const KernelOptions& o) {
  return o.kernelDir.empty() ? DefaultKernelDirectory() : o.kernelDir;
}

std::string Range(double low, double high, const std::string& unit) {
  return Num(low) + " to " + Num(high) + (unit.empty() ? "" : " " + unit);
}

std::string HeaderValueText(std::uint64_t value) {
  char buf[24];
  std::snprintf(buf, sizeof buf, "0x%016" PRIx64, value);
  return buf;
}

// A grid as text lines of eight numbers.
void GridLines(Result& r, const CNumVector<double>& grid, double scale) {
  std::string line;
  for (std::size_t k = 0; k < grid.size(); ++k) {
    line += (line.empty() ? "  " : " ") + Num(grid[k] * scale);
    if ((k + 1) % 8 == 0 || k + 1 == grid.size()) {
      r.Text(line);
      line.clear();
    }
  }
}

// The fields `show` and `convert` print for one kernel.
void AddSummary(Result& r, const KernelInfo& k) {
  const double factor = k.geometry == eDFTGeometryCylinder ? 4.0 : 2.0;
  r.Add("gas", "Gas", k.gas)
      .Add("temperature_k", "Temperature", k.temperatureK, "K")
      .Add("", "Geometry",
           KernelGeometryName(k.geometry) + " (volume/area factor " + Num(factor) + ")")
      .Add("geometry", "", KernelGeometryName(k.geometry))
      .Add("geometry_code", "", static_cast<long long>(k.geometry))
      .Add("volume_per_area_factor", "", factor)
      .Add("model_name", "Model", k.modelName)
      .Add("label", k.label.empty() ? "" : "Label", k.label)
      .Add("description", k.description.empty() ? "" : "Description", k.description)
      .Add("", "Category, type", std::to_string(k.category) + ", " + std::to_string(k.type))
      .Add("category", "", static_cast<long long>(k.category))
      .Add("type", "", static_cast<long long>(k.type))
      .Add("header_value", "Header value", HeaderValueText(k.headerValue))
      .Add("pressure_count", "", static_cast<long long>(k.pressureCount))
      .Add("pressure_min", "", k.pressureMin)
      .Add("pressure_max", "", k.pressureMax)
      .Add("", "Pressures",
           std::to_string(k.pressureCount) + ", P/Po " + Range(k.pressureMin, k.pressureMax, ""))
      .Add("width_count", "", static_cast<long long>(k.widthCount))
      .Add("width_min_angstrom", "", k.widthMinA)
      .Add("width_max_angstrom", "", k.widthMaxA)
      .Add("width_min_nm", "", k.widthMinA / 10.0)
      .Add("width_max_nm", "", k.widthMaxA / 10.0)
      .Add("", "Pore widths",
           std::to_string(k.widthCount) + ", " + Range(k.widthMinA, k.widthMaxA, "\xC3\x85") +
               " (" + Range(k.widthMinA / 10.0, k.widthMaxA / 10.0, "nm") + ")")
      .Add("value_min_cm3_stp_per_m2", "", k.valueMin)
      .Add("value_max_cm3_stp_per_m2", "", k.valueMax)
      .Add("", "Kernel values", Range(k.valueMin, k.valueMax, "cm3 STP per m2 of pore wall"));
}

int List(const KernelOptions& o, Streams& io) {
  const std::string dir = Directory(o);
  const std::vector<KernelInfo> kernels = ListKernels(dir);
  Result r;
  r.Add("kernel_directory", "Kernel directory", dir);
  // The name column as wide as the longest name, so that the columns after it line up.
  int nameWidth = 24;
  for (const KernelInfo& k : kernels) nameWidth = std::max(nameWidth, int(k.name.size()) + 2);
  // An empty table keeps its JSON array but prints no text.
  Table& t = r.AddTable("kernels", kernels.empty() ? "" : "Kernels",
                        {{"name", "name", nameWidth, Sig(6)},
                         {"readable", "", 0, Sig(6)},
                         {"error", "", 0, Sig(6)},
                         {"gas", "gas", 8, Sig(6)},
                         {"temperature_k", "T (K)", 9, Sig(6)},
                         {"geometry", "geometry", 10, Sig(6)},
                         {"", "P/Po", 24, Sig(6)},
                         {"pressure_count", "", 0, Sig(6)},
                         {"pressure_min", "", 0, Sig(6)},
                         {"pressure_max", "", 0, Sig(6)},
                         {"", "widths (\xC3\x85)", 22, Sig(6)},
                         {"width_count", "", 0, Sig(6)},
                         {"width_min_angstrom", "", 0, Sig(6)},
                         {"width_max_angstrom", "", 0, Sig(6)},
                         {"model_name", "model", 0, Sig(6)}});
  for (const KernelInfo& k : kernels) {
    if (!k.readable) {
      t.Row({k.name,
             false,
             k.error,
             {},
             {},
             {},
             {},
             {},
             {},
             {},
             {},
             {},
             {},
             {},
             "unreadable: " + k.error});
      continue;
    }
    t.Row({k.name,
           true,
           {},
           k.gas,
           k.temperatureK,
           KernelGeometryName(k.geometry),
           std::to_string(k.pressureCount) + ", " + Range(k.pressureMin, k.pressureMax, ""),
           static_cast<long long>(k.pressureCount),
           k.pressureMin,
           k.pressureMax,
           std::to_string(k.widthCount) + ", " + Range(k.widthMinA, k.widthMaxA, ""),
           static_cast<long long>(k.widthCount),
           k.widthMinA,
           k.widthMaxA,
           k.modelName});
  }
  if (kernels.empty())
    r.Text("No kernels (.dftk files) there; 'fiofla kernel build' computes one from a recipe,")
        .Text("'fiofla kernel convert' imports one from CSV.");
  r.Print(io.out, o.json);
  return kExitOk;
}

int Show(const KernelOptions& o, Streams& io) {
  if (o.kernel.empty()) throw UsageError{"usage: fiofla kernel show NAME|PATH"};
  const std::string path = ResolveKernel(o.kernel, Directory(o));
  const CDFTModel model = LoadKernel(path);
  KernelInfo k = DescribeKernel(model);
  Result r("Kernel " + path);
  r.Add("path", "", path);
  AddSummary(r, k);
  if (o.grids) {
    std::vector<double> p(model.Pressures().size()), w(model.PoreWidths().size());
    for (std::size_t i = 0; i < p.size(); ++i) p[i] = model.Pressures()[i];
    for (std::size_t j = 0; j < w.size(); ++j) w[j] = model.PoreWidths()[j];
    r.Array("pressures", p).Array("widths_angstrom", w);
    r.Text("").Text("Pressure grid (P/Po):");
    GridLines(r, model.Pressures(), 1.0);
    r.Text("Pore width grid (\xC3\x85):");
    GridLines(r, model.PoreWidths(), 1.0);
  }
  r.Print(io.out, o.json);
  return kExitOk;
}

int Convert(const KernelOptions& o, Streams& io) {
  if (o.kernel.empty()) throw UsageError{"usage: fiofla kernel convert CSV -o KERNEL.dftk ..."};
  if (o.output.empty()) throw UsageError{"-o KERNEL.dftk is needed (the kernel file to write)"};
  // Nothing about the table can be told from its numbers, so every choice is asked for.
  if (!o.csv.widthUnit) throw UsageError{"--width-unit nm|A is needed (the header's widths)"};
  if (!o.csv.basis)
    throw UsageError{
        "--basis area|volume is needed (values per m2 of pore wall, or per cm3 of pore)"};
  if (!o.csv.geometry) throw UsageError{"--geometry slit|cylinder is needed"};
  if (o.csv.gas.empty()) throw UsageError{"--gas GAS is needed"};
  if (!(o.csv.temperatureK > 0.0)) throw UsageError{"--temperature K is needed"};
  const CDFTModel model = ReadKernelCsv(o.kernel, o.csv);
  WriteKernelFile(model, o.output);
  Result r("Wrote the kernel " + o.output + " from " + o.kernel);
  r.Add("output", "", o.output).Add("source", "", o.kernel);
  AddSummary(r, DescribeKernel(model));
  r.Print(io.out, o.json);
  return kExitOk;
}

const char* BranchName(dft::KernelBranch branch) {
  switch (branch) {
    case dft::KernelBranch::kAdsorption:
      return "adsorption";
    case dft::KernelBranch::kDesorption:
      return "desorption";
    case dft::KernelBranch::kEquilibrium:
      break;
  }
  return "equilibrium";
}

// "0:41", "12:05", "2:03:17".
std::string Clock(double seconds) {
  const long long s = static_cast<long long>(seconds);
  char text[32];
  if (s >= 3600)
    std::snprintf(text, sizeof text, "%lld:%02lld:%02lld", s / 3600, s / 60 % 60, s % 60);
  else
    std::snprintf(text, sizeof text, "%lld:%02lld", s / 60, s % 60);
  return text;
}

// KERNEL.dftk's manifest, KERNEL.manifest.json beside it.
std::string ManifestPath(const std::string& kernel) {
  const std::string ext = kKernelExtension;
  const std::string name = std::filesystem::path(kernel).filename().string();
  if (name.size() <= ext.size() || name.compare(name.size() - ext.size(), ext.size(), ext) != 0)
    throw UsageError{"--output '" + kernel + "' must name a " + ext +
                     " file (its manifest goes beside it as NAME.manifest.json)"};
  return kernel.substr(0, kernel.size() - ext.size()) + ".manifest.json";
}

int Build(const KernelOptions& o, Streams& io) {
  if (o.kernel.empty()) throw UsageError{"usage: fiofla kernel build RECIPE -o KERNEL.dftk"};
  if (o.output.empty()) throw UsageError{"-o KERNEL.dftk is needed (the kernel file to write)"};
  const std::string manifest = ManifestPath(o.output);
  const dft::KernelRecipe recipe = dft::ReadKernelRecipe(o.kernel);
  // A build takes a while: a missing folder is better said before it than after.
  const std::filesystem::path folder = std::filesystem::path(o.output).parent_path();
  std::error_code ec;
  if (!folder.empty() && !std::filesystem::is_directory(folder, ec))
    throw InputError("cannot write " + o.output + ": the folder " + folder.string() +
                     " does not exist");

  // Progress only for a person watching: never into a log or a test's stream.
  const bool terminal = io.err.rdbuf() == std::cerr.rdbuf() && ::isatty(STDERR_FILENO) == 1;
  const auto start = std::chrono::steady_clock::now();
  std::mutex lock;
  auto progress = [&](std::size_t done, std::size_t total) {
    const std::chrono::duration<double> elapsed = std::chrono::steady_clock::now() - start;
    std::lock_guard<std::mutex> hold(lock);
    io.err << "width " << done << "/" << total << " done, " << Clock(elapsed.count()) << " elapsed"
           << std::endl;
  };
  const dft::KernelBuild build =
      dft::BuildKernel(recipe, o.threads,
                       terminal ? std::function<void(std::size_t, std::size_t)>(progress)
                                : std::function<void(std::size_t, std::size_t)>());

  // The recipe's branch goes to KERNEL; with --branches, where any pore's two branches
  // part, each of them also goes beside it as NAME-adsorption.dftk and NAME-desorption.dftk
  // (same build, so no second computation), each with its manifest.
  std::vector<std::pair<dft::KernelRecipe, std::string>> files{{recipe, o.output}};
  bool apart = false;
  for (const dft::PoreIsotherm& pore : build.pores) apart = apart || pore.fillingPressure > 0.0;
  if (o.branches && apart) {
    const std::string ext = kKernelExtension;
    const std::string stem = o.output.substr(0, o.output.size() - ext.size());
    for (dft::KernelBranch branch :
         {dft::KernelBranch::kAdsorption, dft::KernelBranch::kDesorption})
      if (branch != recipe.branch) {
        dft::KernelRecipe other = recipe;
        other.branch = branch;
        other.name = recipe.name + " " + BranchName(branch) + " branch";
        files.emplace_back(other, stem + "-" + BranchName(branch) + ext);
      }
  }
  std::vector<std::string> written;
  for (const auto& [r, path] : files) {
    WriteKernelFile(dft::KernelModel(r, build), path);
    std::string error;
    if (!WriteFileAtomically(ManifestPath(path),
                             dft::KernelManifest(r, build, "fiofla " FIOFLA_VERSION), &error))
      throw InputError(error + " (the kernel " + path + " itself was written)");
    if (path != o.output) written.push_back(path);
  }

  long long transitions = 0, iterations = 0;
  for (const dft::PoreIsotherm& pore : build.pores) {
    transitions += pore.fillingPressure > 0.0 ? 1 : 0;
    iterations += pore.iterations;
  }
  const std::vector<double>& w = recipe.widthsNm;
  const std::vector<double>& p = recipe.pressures;
  Result r("Built the kernel " + o.output + " from " + o.kernel);
  r.Add("output", "", o.output)
      .Add("manifest", "Manifest", manifest)
      .Add("recipe", "", o.kernel)
      .Add("model_name", "Model", recipe.name)
      .Add("gas", "Gas", recipe.gas)
      .Add("temperature_k", "Temperature", recipe.temperatureK, "K")
      .Add("branch", "Branch", std::string(BranchName(recipe.branch)))
      .Add("width_count", "", static_cast<long long>(w.size()))
      .Add("width_min_nm", "", w.front())
      .Add("width_max_nm", "", w.back())
      .Add("", "Pore widths", std::to_string(w.size()) + ", " + Range(w.front(), w.back(), "nm"))
      .Add("pressure_count", "", static_cast<long long>(p.size()))
      .Add("pressure_min", "", p.front())
      .Add("pressure_max", "", p.back())
      .Add("", "Pressures", std::to_string(p.size()) + ", P/Po " + Range(p.front(), p.back(), ""))
      .Add("saturation_pressure_kpa", "Model Po", build.saturationPressureKPa, "kPa")
      .Add("liquid_density_mmol_per_cm3", "Liquid density", build.liquidDensityMmolPerCm3,
           "mmol/cm3 (model)")
      .Add("pores_with_transition", "", transitions)
      .Add("", "Filling steps",
           std::to_string(transitions) + " of " + std::to_string(w.size()) + " pores")
      .Add("iterations", "", iterations)
      .Add("threads", "Threads", static_cast<long long>(build.threads))
      .Add("seconds", "", build.seconds)
      .Add("", "Time", Clock(build.seconds) + " (" + Num(build.seconds, 4) + " s)");
  if (o.branches) {
    std::string list;
    for (const std::string& path : written) list += (list.empty() ? "" : ", ") + path;
    r.Add("branch_files", "Branch kernels",
          list.empty() ? std::string("none (the branches do not part in any pore)") : list);
  }
  r.Print(io.out, o.json);
  return kExitOk;
}

void AddKernelDirOption(CLI::App* cmd, KernelOptions& o) {
  cmd->add_option("--kernel-dir", o.kernelDir,
                  "where kernels are looked up (default: $FIOFLA_KERNEL_DIR, else the kernels\n"
                  "installed with fiofla)")
      ->type_name("DIR");
}

}  // namespace

void AddKernelCommand(CLI::App& app, Commands& commands) {
  CLI::App* kernel = AddCommand(
      app, "kernel", "DFT kernels: list, show, import from CSV, build from a recipe",
      "DFT kernels (KERNEL.dftk model files): the quantity adsorbed, cm3 STP per m2 of pore\n"
      "wall, at a grid of P/Po in pores of a grid of widths (angstrom), for one gas,\n"
      "temperature and pore geometry. A kernel is named by a path, or by its name in the\n"
      "kernel directory (NAME or NAME.dftk).\n",
      "exit codes: 0 ok, 1 kernel, CSV or recipe missing, unreadable or malformed, a\n"
      "            profile that would not converge, or OUT unwritable; 2 bad arguments\n");
  kernel->require_subcommand(0, 1);
  commands.Add(kernel, [](Streams&) -> int {
    throw UsageError{"no subcommand given (list, show, convert, build)"};
  });

  auto list = std::make_shared<KernelOptions>();
  CLI::App* cmd = AddCommand(*kernel, "list", "the kernels in the kernel directory", "", "");
  AddKernelDirOption(cmd, *list);
  cmd->add_flag("--json", list->json, "print the result as JSON");
  commands.Add(cmd, [list](Streams& io) { return List(*list, io); });

  auto show = std::make_shared<KernelOptions>();
  cmd = AddCommand(*kernel, "show", "a kernel's header, grids and value range", "", "");
  cmd->add_option("KERNEL", show->kernel, "kernel name or path");
  AddKernelDirOption(cmd, *show);
  cmd->add_flag("--grids", show->grids, "print every pressure and pore width of the grids");
  cmd->add_flag("--json", show->json, "print the result as JSON");
  commands.Add(cmd, [show](Streams& io) { return Show(*show, io); });

  auto conv = std::make_shared<KernelOptions>();
  cmd = AddCommand(
      *kernel, "convert", "a kernel tabulated as CSV into a kernel file",
      "Reads a CSV table whose first column is P/Po and whose header row gives one pore\n"
      "width per further column (separated by commas, semicolons or tabs; '#' lines are\n"
      "comments), and writes it as a kernel file. Rows must be in strictly ascending P/Po\n"
      "within (0, 1], widths strictly ascending, values finite and not negative. Values\n"
      "per cm3 of pore become values per m2 of wall as v x width(A) x 1e-4 / factor\n"
      "(factor 2 slit, 4 cylinder).\n",
      "");
  cmd->add_option("CSV", conv->kernel, "the kernel table");
  cmd->add_option_function<std::string>(
         "-o,--output",
         [conv](const std::string& v) {
           if (v.empty()) throw UsageError{"--output needs a file name"};
           conv->output = v;
         },
         "the kernel file to write; it is replaced only once complete")
      ->type_name("KERNEL.dftk");
  cmd->add_option_function<std::string>(
         "--width-unit",
         [conv](const std::string& v) {
           KernelWidthUnit unit{};
           if (!StringToKernelWidthUnit(v, &unit))
             throw UsageError{"--width-unit '" + v + "' is not nm or A"};
           conv->csv.widthUnit = unit;
         },
         "unit of the pore widths in the header row: nm or A (angstrom); needed")
      ->type_name("nm|A");
  cmd->add_option_function<std::string>(
         "--basis",
         [conv](const std::string& v) {
           KernelBasis basis{};
           if (!StringToKernelBasis(v, &basis))
             throw UsageError{"--basis '" + v + "' is not area or volume"};
           conv->csv.basis = basis;
         },
         "what the values are per: area (cm3 STP per m2 of pore wall) or volume (cm3 STP\n"
         "per cm3 of pore); needed")
      ->type_name("area|volume");
  cmd->add_option_function<std::string>(
         "--geometry",
         [conv](const std::string& v) {
           EDFTGeometry geometry{};
           if (!StringToKernelGeometry(v, &geometry))
             throw UsageError{"--geometry '" + v + "' is not slit or cylinder"};
           conv->csv.geometry = geometry;
         },
         "pore geometry: slit or cylinder; needed")
      ->type_name("slit|cylinder");
  cmd->add_option_function<std::string>(
         "--gas",
         [conv](const std::string& v) {
           if (v.empty()) throw UsageError{"--gas needs a name"};
           conv->csv.gas = v;
         },
         "the adsorptive, as isotherms name it (N2, Ar, CO2 ...); needed")
      ->type_name("GAS");
  cmd->add_option_function<std::string>(
         "--temperature",
         [conv](const std::string& v) {
           conv->csv.temperatureK = ParsePositive("--temperature", v);
         },
         "temperature of the kernel, K; needed")
      ->type_name("K");
  cmd->add_option("--name", conv->csv.modelName,
                  "model name stored in the file (default: the CSV's file name)")
      ->type_name("NAME");
  cmd->add_flag("--json", conv->json, "print the result as JSON");
  commands.Add(cmd, [conv](Streams& io) { return Convert(*conv, io); });

  auto build = std::make_shared<KernelOptions>();
  cmd = AddCommand(
      *kernel, "build", "a kernel computed from a recipe by fiofla's density functional",
      "Reads a kernel recipe (JSON: fluid, wall, temperature, pore widths, relative\n"
      "pressures; see data/kernels/README.md), computes every pore's isotherm with the\n"
      "density-functional engine and writes the kernel file, and its manifest (the recipe,\n"
      "the model's Po and liquid density, the grids and every pore's filling pressure) as\n"
      "KERNEL.manifest.json beside it. When standard error is a terminal, a line per\n"
      "width there says how far it got.\n",
      "");
  cmd->add_option("RECIPE", build->kernel, "the kernel recipe (JSON)");
  cmd->add_option_function<std::string>(
         "-o,--output",
         [build](const std::string& v) {
           if (v.empty()) throw UsageError{"--output needs a file name"};
           build->output = v;
         },
         "the kernel file to write (NAME.dftk); it and its manifest are replaced only once\n"
         "complete")
      ->type_name("KERNEL.dftk");
  cmd->add_option_function<std::string>(
         "--threads",
         [build](const std::string& v) {
           const auto n = ToDouble(v);
           if (!n || *n < 0 || *n != std::floor(*n) || *n > 1024)
             throw UsageError{"--threads '" + v + "' is not a whole number from 0 to 1024"};
           build->threads = static_cast<int>(*n);
         },
         "threads computing pores at once (default 0: all cores); the kernel is the same\n"
         "whatever the number")
      ->type_name("N");
  cmd->add_flag("--branches", build->branches,
                "also write the adsorption and desorption branches, where they part in any\n"
                "pore, as NAME-adsorption.dftk and NAME-desorption.dftk beside KERNEL, each\n"
                "with its manifest");
  cmd->add_flag("--json", build->json, "print the result as JSON");
  commands.Add(cmd, [build](Streams& io) { return Build(*build, io); });
}

}  // namespace fiofla::cli
