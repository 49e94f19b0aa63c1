// `fiofla reduce` turns a measurement file into an isotherm CSV; `fiofla simulate` plays an
// isotherm model back into a measurement file, as an ideal analyser would have recorded it.
#include <cmath>
#include <cstdio>
#include <sstream>

#include "cli.h"
#include "cli_common.h"
#include "fiofla/io/file_util.h"
#include "fiofla/measurement.h"

namespace fiofla::cli {
namespace {

constexpr const char* kReduceHelp =
    "usage: fiofla reduce RUN.json [-o ISOTHERM.csv] [--gas-dir DIR]\n"
    "\n"
    "Reduces a measurement file (see the README: adsorptive, sample mass, free space, Po\n"
    "source, temperatures, thermal transpiration and the measured points) to an isotherm:\n"
    "manifold pressures are corrected for thermal transpiration, quantities dosed become\n"
    "quantities adsorbed per gram with the adsorptive's gas table (or the non-ideality\n"
    "factor), and pressures become relative pressures through the Po source. The CSV has\n"
    "the columns relative_pressure, quantity_adsorbed [cm3/g STP], branch, pressure [mmHg],\n"
    "p0 [mmHg], manifold_pressure [mmHg] and time [s]; 'fiofla bet' and 'fiofla report'\n"
    "read it, and also read the measurement file directly.\n"
    "\n"
    "  -o FILE        write the isotherm there (default: standard output)\n"
    "  --gas-dir DIR  where gas tables are looked up (default: $FIOFLA_GAS_DIR, else the\n"
    "                 tables installed with fiofla)\n"
    "\n"
    "exit codes: 0 ok, 1 unreadable or inconsistent measurement file, 2 bad arguments,\n"
    "            3 Po dropped to 0 at some point: the points before it were written\n";

constexpr const char* kSimulateHelp =
    "usage: fiofla simulate -o RUN.json [options]\n"
    "\n"
    "Plays an isotherm model back through an ideal static volumetric analyser and writes\n"
    "the measurement file it would have recorded: the manifold pressures that give the\n"
    "scheduled relative pressures and the cumulative quantities dosed. Reducing that file\n"
    "gives the model back.\n"
    "\n"
    "  --gas NAME              adsorptive gas table (default nitrogen)\n"
    "  --model M               bet:c=C,qm=Q[,n=LAYERS] (n=0: unrestricted BET) or\n"
    "                          langmuir:k=K,qm=Q; Q in cm3/g STP\n"
    "                          (default bet:c=120,qm=95,n=8)\n"
    "  --points LO:HI:N        N adsorption points evenly from P/Po LO to HI\n"
    "                          (default 0.01:0.95:30)\n"
    "  --desorption N          then N desorption points evenly from HI back to LO (default 0)\n"
    "  --mass G                sample mass, g (default 0.1)\n"
    "  --free-space AMB,ANA    ambient and analysis free space, cm3 STP (default 20,60)\n"
    "  --temperature K         analysis (bath) temperature (default 77.35)\n"
    "  --ambient K             manifold temperature (default 308.15)\n"
    "  --po MMHG               Po (default: the gas table's saturation pressure at the bath)\n"
    "  --factor ALPHA          factor-form gas law with non-ideality ALPHA per mmHg\n"
    "                          (default: the gas table)\n"
    "  --transpiration G,D[,L] thermal transpiration with gas factor G, tube inside\n"
    "                          diameter D cm and ratio limit L (default: none)\n"
    "  --interval S            seconds between points (default 300)\n"
    "  --gas-dir DIR           where gas tables are looked up\n";

std::string Format(double value) {
  char text[40];
  std::snprintf(text, sizeof text, "%.12g", value);
  return text;
}

std::string IsothermCsv(const ReducedIsotherm& r) {
  std::ostringstream csv;
  csv << "# fiofla reduce: " << r.source << "\n"
      << "# adsorptive: " << r.adsorptive
      << "; analysis temperature: " << Format(r.analysisTemperatureK)
      << " K; ambient temperature: " << Format(r.ambientTemperatureK)
      << " K; sample mass: " << Format(r.sampleMassG) << " g\n"
      << "relative_pressure,quantity_adsorbed [cm3/g STP],branch,pressure [mmHg],p0 [mmHg],"
         "manifold_pressure [mmHg],time [s]\n";
  for (std::size_t i = 0; i < r.convertedPoints; ++i)
    csv << Format(r.relativePressure[i]) << "," << Format(r.quantityAdsorbedCm3PerGStp[i]) << ","
        << BranchName(r.branch[i]) << "," << Format(r.pressureMmHg[i]) << "," << Format(r.poMmHg[i])
        << "," << Format(r.manifoldPressureMmHg[i]) << "," << Format(r.timeS[i]) << "\n";
  return csv.str();
}

// "a,b" or "a,b,c" as positive numbers.
std::vector<double> Numbers(const std::string& option, const std::string& text, std::size_t least,
                            std::size_t most) {
  std::vector<double> values;
  std::size_t start = 0;
  while (true) {
    const std::size_t comma = text.find(',', start);
    const auto value = ToDouble(text.substr(start, comma - start));
    if (!value || !(*value > 0.0))
      throw UsageError{option + " '" + text + "' must be positive numbers separated by commas"};
    values.push_back(*value);
    if (comma == std::string::npos) break;
    start = comma + 1;
  }
  if (values.size() < least || values.size() > most)
    throw UsageError{option + " '" + text + "' needs " + std::to_string(least) +
                     (least == most ? "" : " or " + std::to_string(most)) + " numbers"};
  return values;
}

double Positive(const std::string& option, const std::string& text) {
  return Numbers(option, text, 1, 1)[0];
}

IsothermModel ParseModel(const std::string& text) {
  IsothermModel model;
  const std::size_t colon = text.find(':');
  const std::string kind = text.substr(0, colon);
  if (kind == "bet") {
    model.kind = IsothermModel::Kind::kBet;
  } else if (kind == "langmuir") {
    model.kind = IsothermModel::Kind::kLangmuir;
  } else {
    throw UsageError{"--model '" + text + "': the model is bet or langmuir"};
  }
  std::string rest = colon == std::string::npos ? "" : text.substr(colon + 1);
  while (!rest.empty()) {
    const std::size_t comma = rest.find(',');
    const std::string item = rest.substr(0, comma);
    rest = comma == std::string::npos ? "" : rest.substr(comma + 1);
    const std::size_t eq = item.find('=');
    const std::string name = item.substr(0, eq);
    const auto value = eq == std::string::npos ? std::nullopt : ToDouble(item.substr(eq + 1));
    if (!value) throw UsageError{"--model '" + text + "': '" + item + "' is not NAME=NUMBER"};
    const bool bet = model.kind == IsothermModel::Kind::kBet;
    if (name == "qm" && *value > 0.0)
      model.qm = *value;
    else if (bet && name == "c" && *value > 0.0)
      model.c = *value;
    else if (bet && name == "n" && *value >= 0.0 && *value == std::floor(*value) && *value < 1000)
      model.layers = *value;
    else if (!bet && name == "k" && *value > 0.0)
      model.k = *value;
    else
      throw UsageError{"--model '" + text + "': '" + item + "' is not a parameter of " + kind +
                       " with an allowed value"};
  }
  return model;
}

}  // namespace

int RunReduce(const std::vector<std::string>& args, std::ostream& out, std::ostream& err) {
  std::string file, output, gasDir;
  try {
    ArgReader reader(args);
    while (reader.Next()) {
      const std::string& arg = reader.Arg();
      if (arg == "--help" || arg == "-h") {
        out << kReduceHelp;
        return kExitOk;
      } else if (arg == "-o" || arg == "--output") {
        output = reader.Value();
      } else if (arg == "--gas-dir") {
        gasDir = reader.Value();
      } else if (reader.IsOption()) {
        throw UsageError{"unknown option '" + arg + "'"};
      } else if (file.empty()) {
        file = arg;
      } else {
        throw UsageError{"more than one measurement file given"};
      }
    }
    if (file.empty()) throw UsageError{"no measurement file given"};
  } catch (const UsageError& e) {
    err << "fiofla reduce: " << e.message << "\ntry 'fiofla reduce --help'\n";
    return kExitUsageError;
  }
  ReducedIsotherm reduced;
  try {
    CGasCompressibilityCache::ms_cCache.SetDirectory(CStr(gasDir));
    reduced = ReduceMeasurement(ReadMeasurementFile(file));
  } catch (const InputError& e) {
    err << "fiofla reduce: " << e.what() << "\n";
    return kExitInputError;
  }
  const std::string csv = IsothermCsv(reduced);
  if (output.empty()) {
    out << csv;
  } else {
    std::string error;
    if (!WriteFileAtomically(output, csv, &error)) {
      err << "fiofla reduce: " << error << "\n";
      return kExitInputError;
    }
    out << "fiofla reduce: wrote " << reduced.convertedPoints << " points of " << file << " to "
        << output << " (" << reduced.adsorptive << " at " << Format(reduced.analysisTemperatureK)
        << " K)\n";
  }
  if (reduced.poStoppedAt) {
    const std::size_t i = *reduced.poStoppedAt;
    err << "fiofla reduce: Po is not positive at point " << i + 1
        << " (t = " << Format(reduced.timeS[i]) << " s): conversion stops there; "
        << reduced.convertedPoints << " of " << reduced.timeS.size() << " points were written\n";
    return kExitNoResult;
  }
  return kExitOk;
}

int RunSimulate(const std::vector<std::string>& args, std::ostream& out, std::ostream& err) {
  SimulationPlan plan;
  std::string output, gasDir;
  double lo = 0.01, hi = 0.95;
  std::size_t count = 30, desorption = 0;
  try {
    ArgReader reader(args);
    while (reader.Next()) {
      const std::string& arg = reader.Arg();
      if (arg == "--help" || arg == "-h") {
        out << kSimulateHelp;
        return kExitOk;
      } else if (arg == "-o" || arg == "--output") {
        output = reader.Value();
      } else if (arg == "--gas-dir") {
        gasDir = reader.Value();
      } else if (arg == "--gas") {
        plan.adsorptive = reader.Value();
      } else if (arg == "--model") {
        plan.model = ParseModel(reader.Value());
      } else if (arg == "--points") {
        const std::string v = reader.Value();
        const auto a = v.find(':'), b = v.find(':', a == std::string::npos ? a : a + 1);
        // NaN for a missing part fails every comparison below.
        const double nan = std::nan("");
        const double l = a == std::string::npos ? nan : ToDouble(v.substr(0, a)).value_or(nan);
        const double h =
            b == std::string::npos ? nan : ToDouble(v.substr(a + 1, b - a - 1)).value_or(nan);
        const double n = b == std::string::npos ? nan : ToDouble(v.substr(b + 1)).value_or(nan);
        if (!(l > 0.0 && l < h && h < 1.0 && n >= 2 && n <= 10000 && n == std::floor(n)))
          throw UsageError{"--points '" + v + "' must be LO:HI:N with 0 < LO < HI < 1, 2 <= N"};
        lo = l;
        hi = h;
        count = std::size_t(n);
      } else if (arg == "--desorption") {
        const std::string v = reader.Value();
        const auto n = ToDouble(v);
        if (!n || *n < 0 || *n > 10000 || *n != std::floor(*n))
          throw UsageError{"--desorption '" + v + "' must be a whole number of points"};
        desorption = std::size_t(*n);
      } else if (arg == "--mass") {
        plan.sampleMassG = Positive(arg, reader.Value());
      } else if (arg == "--free-space") {
        const auto v = Numbers(arg, reader.Value(), 2, 2);
        plan.freeSpaceAmbientCm3Stp = v[0];
        plan.freeSpaceAnalysisCm3Stp = v[1];
      } else if (arg == "--temperature") {
        plan.analysisTemperatureK = Positive(arg, reader.Value());
      } else if (arg == "--ambient") {
        plan.ambientTemperatureK = Positive(arg, reader.Value());
      } else if (arg == "--po") {
        plan.poMmHg = Positive(arg, reader.Value());
      } else if (arg == "--interval") {
        plan.secondsPerPoint = Positive(arg, reader.Value());
      } else if (arg == "--factor") {
        const std::string v = reader.Value();
        const auto alpha = ToDouble(v);
        if (!alpha || *alpha < 0.0) throw UsageError{"--factor '" + v + "' must be >= 0"};
        plan.gasLaw.form = GasLawForm::kFactor;
        plan.gasLaw.nonIdealityPerMmHg = *alpha;
      } else if (arg == "--transpiration") {
        const auto v = Numbers(arg, reader.Value(), 2, 3);
        plan.transpiration = Measurement::Transpiration{v[0], v[1], v.size() > 2 ? v[2] : 1.0};
      } else {
        throw UsageError{"unknown option or argument '" + arg + "'"};
      }
    }
    if (output.empty()) throw UsageError{"-o RUN.json is needed"};
  } catch (const UsageError& e) {
    err << "fiofla simulate: " << e.message << "\ntry 'fiofla simulate --help'\n";
    return kExitUsageError;
  }
  for (std::size_t i = 0; i < count; ++i)
    plan.adsorptionTargets.push_back(lo + (hi - lo) * double(i) / double(count - 1));
  for (std::size_t i = 1; i <= desorption; ++i)
    plan.desorptionTargets.push_back(hi - (hi - lo) * double(i) / double(desorption));
  plan.sampleName = "simulated: " + plan.model.Describe();

  CGasCompressibilityCache& cache = CGasCompressibilityCache::ms_cCache;
  cache.SetDirectory(CStr(gasDir));
  const CGasCompressibilityTable* gas = cache.GetGas(CStr(plan.adsorptive));
  if (gas == nullptr || !gas->GetReadError().empty()) {
    err << "fiofla simulate: no usable gas table '" << plan.adsorptive << "' in "
        << cache.GetEffectiveDirectory().c_str() << "\n";
    return kExitInputError;
  }
  std::string text;
  try {
    text = FormatMeasurement(SimulateMeasurement(plan, *gas));
  } catch (const InputError& e) {
    err << "fiofla simulate: " << e.what() << "\n";
    return kExitUsageError;
  }
  std::string error;
  if (!WriteFileAtomically(output, text, &error)) {
    err << "fiofla simulate: " << error << "\n";
    return kExitInputError;
  }
  out << "fiofla simulate: wrote " << plan.adsorptionTargets.size() + plan.desorptionTargets.size()
      << " points of " << plan.adsorptive << " at " << Format(plan.analysisTemperatureK) << " K ("
      << plan.model.Describe() << ") to " << output << "\n";
  return kExitOk;
}

}  // namespace fiofla::cli
