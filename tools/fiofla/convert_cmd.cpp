// `fiofla convert`: an isotherm from any format the readers take into CSV, AIF or pyGAPS
// JSON, in the units asked for.
#include "cli.h"
#include "cli_common.h"
#include "fiofla/io/aif_file.h"
#include "fiofla/io/file_util.h"
#include "fiofla/io/pygaps_file.h"
#include "fiofla/units/unit_text.h"

namespace fiofla::cli {
namespace {

struct ConvertOptions {
  std::string file;
  std::string output;
  std::optional<IsothermFormat> to;
  IsothermReadOptions input;
  IsothermWriteOptions write;
};

// By --to, else by the extension of OUT: .aif/.cif AIF, .json pyGAPS (the one JSON written).
IsothermFormat OutputFormat(const ConvertOptions& o) {
  if (o.to) return *o.to;
  const auto dot = o.output.find_last_of('.');
  if (dot == std::string::npos || o.output.find('/', dot) != std::string::npos)
    return IsothermFormat::kCsv;
  std::string ext = o.output.substr(dot + 1);
  for (char& c : ext) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  if (ext == "aif" || ext == "cif") return IsothermFormat::kAif;
  if (ext == "json") return IsothermFormat::kPygapsJson;
  return IsothermFormat::kCsv;
}

std::string Formatted(const IsothermData& iso, IsothermFormat format,
                      const IsothermWriteOptions& options) {
  if (format == IsothermFormat::kAif) return FormatAif(iso, options);
  if (format == IsothermFormat::kPygapsJson) return FormatPygapsJson(iso, options);
  return FormatIsothermCsv(iso, options);
}

int Convert(const ConvertOptions& o, Streams& io) {
  if (o.file.empty()) throw UsageError{"no isotherm FILE given"};
  // Converting needs no P/Po: a supercritical isotherm moves between formats as it is.
  IsothermReadOptions input = o.input;
  input.requirePo = false;
  const IsothermData iso = LoadIsotherm(o.file, input, io.err);
  const IsothermFormat format = OutputFormat(o);
  if (o.output.empty())
    io.out << Formatted(iso, format, o.write);
  else
    WriteIsothermFile(o.output, iso, format, o.write);
  return kExitOk;
}

}  // namespace

void AddConvertCommand(CLI::App& app, Commands& commands) {
  auto o = std::make_shared<ConvertOptions>();
  CLI::App* cmd = AddCommand(
      app, "convert", "an isotherm in another format (CSV, AIF, pyGAPS) and other units",
      "Reads an isotherm and writes it as CSV, AIF or pyGAPS JSON: every point in measured\n"
      "order with its branch, the adsorptive, temperature, sample mass and material, in the\n"
      "file's own units unless others are asked for. pyGAPS JSON holds P/Po (so pyGAPS\n"
      "works from the same relative pressures) and, when known, the absolute pressure and\n"
      "Po of every point.\n",
      "exit codes: 0 ok, 1 unreadable or malformed file, a unit the isotherm cannot be\n"
      "            written in, or an unwritable OUT; 2 bad arguments\n");
  AddFileOperand(cmd, o->file);
  cmd->add_option_function<std::string>(
         "-o,--output",
         [o](const std::string& v) {
           if (v.empty()) throw UsageError{"--output needs a file name"};
           o->output = v;
         },
         "write there (format from the extension: .aif/.cif AIF, .json pyGAPS, else\n"
         "CSV); without it the result goes to standard output. OUT is replaced only once\n"
         "the whole file is ready")
      ->type_name("OUT");
  cmd->add_option_function<std::string>(
         "--to",
         [o](const std::string& v) {
           IsothermFormat f;
           if (!FormatFromName(v, &f) || (f != IsothermFormat::kCsv && f != IsothermFormat::kAif &&
                                          f != IsothermFormat::kPygapsJson))
             throw UsageError{"--to '" + v + "' is not csv, aif or pygaps"};
           o->to = f;
         },
         "csv, aif or pygaps (JSON), whatever the extension")
      ->type_name("F");
  AddUnitOptions(cmd, o->write.pressureUnit, o->write.loadingUnit,
                 "Pa, kPa, MPa, bar, mbar, atm, torr, mmHg or psi",
                 "cm3/g STP, mmol/g, mol/kg, mg/g, cm3 liq/g or any amount per mass (mass and\n"
                 "liquid volume need an adsorptive with a gas table)");
  AddInputOptions(cmd, o->input);
  commands.Add(cmd, [o](Streams& io) { return Convert(*o, io); });
}

}  // namespace fiofla::cli
