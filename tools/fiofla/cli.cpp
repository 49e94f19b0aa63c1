#include "cli.h"

#include "cli_common.h"

namespace fiofla::cli {
namespace {

constexpr const char* kVersion = FIOFLA_VERSION;

constexpr const char* kMainHelp =
    "fiofla - data reduction for volumetric gas-sorption isotherms\n"
    "\n"
    "usage: fiofla <command> [options]\n"
    "\n"
    "commands:\n"
    "  bet FILE       BET surface area, C value and monolayer quantity of an isotherm\n"
    "  report FILE... BET report (summary, checks, points, plots) as HTML, JSON or text\n"
    "  tplot FILE     t-plot: micropore volume, external and micropore areas\n"
    "  bjh FILE       BJH pore-size distribution of one branch\n"
    "  reduce RUN     reduce a measurement file to an isotherm (CSV)\n"
    "  convert FILE   an isotherm (CSV, AIF, ISODB JSON, run) as CSV or AIF, in any units\n"
    "  simulate       play an isotherm model back into a measurement file\n"
    "  gas ...        gas tables: list, show, Z, saturation pressure and temperature, convert\n"
    "  help           this text; 'fiofla <command> --help' for a command\n"
    "  version        the version of fiofla\n";

}  // namespace

int Run(const std::vector<std::string>& args, std::ostream& out, std::ostream& err) {
  if (args.empty()) {
    err << kMainHelp;
    return kExitUsageError;
  }
  const std::string& command = args[0];
  const std::vector<std::string> rest(args.begin() + 1, args.end());
  if (command == "bet") return RunBet(rest, out, err);
  if (command == "report") return RunReport(rest, out, err);
  if (command == "gas") return RunGas(rest, out, err);
  if (command == "reduce") return RunReduce(rest, out, err);
  if (command == "convert") return RunConvert(rest, out, err);
  if (command == "tplot") return RunTPlot(rest, out, err);
  if (command == "bjh") return RunBjh(rest, out, err);
  if (command == "simulate") return RunSimulate(rest, out, err);
  if (command == "help" || command == "--help" || command == "-h") {
    out << kMainHelp;
    return kExitOk;
  }
  if (command == "version" || command == "--version") {
    out << "fiofla " << kVersion << "\n";
    return kExitOk;
  }
  err << "fiofla: unknown command '" << command << "'\n"
      << "try 'fiofla help'\n";
  return kExitUsageError;
}

}  // namespace fiofla::cli
