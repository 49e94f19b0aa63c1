// `fiofla convert`: an isotherm from any format the readers take into CSV or AIF, in the
// units asked for.
#include "cli.h"
#include "cli_common.h"
#include "fiofla/io/aif_file.h"
#include "fiofla/io/file_util.h"

namespace fiofla::cli {
namespace {

constexpr const char* kConvertHelp =
    "usage: fiofla convert FILE [-o OUT] [--to csv|aif] [--pressure-unit U]\n"
    "                           [--loading-unit U] [--format F] [--p0 P]\n"
    "\n"
    "Reads an isotherm (CSV, AIF, NIST ISODB JSON or a measurement file) and writes it\n"
    "as CSV or AIF: every point in measured order with its branch, the adsorptive,\n"
    "temperature, sample mass and material, in the file's own units unless others are\n"
    "asked for.\n"
    "\n"
    "  -o, --output OUT     write there (format from the extension: .aif/.cif AIF, else\n"
    "                       CSV); without it the result goes to standard output. OUT is\n"
    "                       replaced only once the whole file is ready\n"
    "  --to F               csv or aif, whatever the extension\n"
    "  --pressure-unit U    Pa, kPa, MPa, bar, mbar, atm, torr, mmHg or psi\n"
    "  --loading-unit U     cm3/g STP, mmol/g, mol/kg, mg/g or cm3 liq/g (the last two\n"
    "                       need an adsorptive with a gas table)\n"
    "  --format F           read FILE as csv, aif, isodb or measurement (default: by\n"
    "                       extension; .json files by content)\n"
    "  --p0 P               Po with its unit (e.g. 101.325kPa), for files that give\n"
    "                       absolute pressures; replaces the file's own Po\n"
    "\n"
    "exit codes: 0 ok, 1 unreadable or malformed file, a unit the isotherm cannot be\n"
    "            written in, or an unwritable OUT; 2 bad arguments\n";

struct ConvertOptions {
  std::string file;
  std::string output;
  std::optional<IsothermFormat> to;
  IsothermReadOptions input;
  IsothermWriteOptions write;
  bool help = false;
};

ConvertOptions Parse(const std::vector<std::string>& args) {
  ConvertOptions o;
  ArgReader reader(args);
  while (reader.Next()) {
    const std::string& a = reader.Arg();
    if (a == "--help" || a == "-h") {
      o.help = true;
    } else if (a == "-o" || a == "--output") {
      o.output = reader.Value();
      if (o.output.empty()) throw UsageError{a + " needs a file name"};
    } else if (a == "--to") {
      const std::string v = reader.Value();
      IsothermFormat f;
      if (!FormatFromName(v, &f) || (f != IsothermFormat::kCsv && f != IsothermFormat::kAif))
        throw UsageError{"--to '" + v + "' is not csv or aif"};
      o.to = f;
    } else if (a == "--pressure-unit") {
      o.write.pressureUnit = reader.Value();
      if (FindPressureUnit(o.write.pressureUnit) < 0)
        throw UsageError{"--pressure-unit '" + o.write.pressureUnit + "' is not a pressure unit"};
    } else if (a == "--loading-unit") {
      o.write.loadingUnit = reader.Value();
      if (fcn_UT_GasAmountAdsorbed().Find(CStr(o.write.loadingUnit)) < 0)
        throw UsageError{"--loading-unit '" + o.write.loadingUnit + "' is not a loading unit"};
    } else if (ReadInputOption(reader, o.input)) {
    } else if (reader.IsOption()) {
      throw UsageError{"unknown option '" + a + "'"};
    } else if (o.file.empty()) {
      o.file = a;
    } else {
      throw UsageError{"more than one FILE given ('" + o.file + "' and '" + a + "')"};
    }
  }
  if (!o.help && o.file.empty()) throw UsageError{"no isotherm FILE given"};
  return o;
}

IsothermFormat OutputFormat(const ConvertOptions& o) {
  if (o.to) return *o.to;
  if (!o.output.empty() && DetectFormat(o.output) == IsothermFormat::kAif)
    return IsothermFormat::kAif;
  return IsothermFormat::kCsv;
}

}  // namespace

int RunConvert(const std::vector<std::string>& args, std::ostream& out, std::ostream& err) {
  ConvertOptions o;
  try {
    o = Parse(args);
  } catch (const UsageError& e) {
    err << "fiofla convert: " << e.message << "\ntry 'fiofla convert --help'\n";
    return kExitUsageError;
  }
  if (o.help) {
    out << kConvertHelp;
    return kExitOk;
  }
  try {
    const IsothermData iso = LoadIsotherm(o.file, o.input, err);
    const IsothermFormat format = OutputFormat(o);
    if (o.output.empty())
      out << (format == IsothermFormat::kAif ? FormatAif(iso, o.write)
                                             : FormatIsothermCsv(iso, o.write));
    else
      WriteIsothermFile(o.output, iso, format, o.write);
  } catch (const InputError& e) {
    err << "fiofla convert: " << e.what() << "\n";
    return kExitInputError;
  }
  return kExitOk;
}

}  // namespace fiofla::cli
