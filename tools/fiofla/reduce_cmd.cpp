// `fiofla reduce` turns a measurement file into an isotherm CSV; `fiofla simulate` plays an
// isotherm model back into a measurement file, as an ideal analyser would have recorded it.
#include <cmath>
#include <cstdio>
#include <sstream>

#include "cli.h"
#include "cli_common.h"
#include "fiofla/io/file_util.h"
#include "fiofla/measurement.h"
#include "reduce_out.h"

namespace fiofla::cli {
namespace {

std::string Format(double value) {
  char text[40];
  std::snprintf(text, sizeof text, "%.12g", value);
  return text;
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

SimulationModel ParseModel(const std::string& text) {
  SimulationModel model;
  const std::size_t colon = text.find(':');
  const std::string kind = text.substr(0, colon);
  if (kind == "bet") {
    model.kind = SimulationModel::Kind::kBet;
  } else if (kind == "langmuir") {
    model.kind = SimulationModel::Kind::kLangmuir;
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
    const bool bet = model.kind == SimulationModel::Kind::kBet;
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

struct ReduceOptions {
  std::string file, output, gasDir;
};

int Reduce(const ReduceOptions& o, Streams& io) {
  if (o.file.empty()) throw UsageError{"no measurement file given"};
  CGasCompressibilityCache::ms_cCache.SetDirectory(CStr(o.gasDir));
  const ReducedIsotherm reduced = ReduceMeasurement(ReadMeasurementFile(o.file));
  const std::string csv = ReducedIsothermCsv(reduced);
  if (o.output.empty()) {
    io.out << csv;
  } else {
    std::string error;
    if (!WriteFileAtomically(o.output, csv, &error)) throw InputError(error);
    io.out << "fiofla reduce: wrote " << reduced.convertedPoints << " points of " << o.file
           << " to " << o.output << " (" << reduced.adsorptive << " at "
           << Format(reduced.analysisTemperatureK) << " K)\n";
  }
  for (const std::string& note : reduced.notes) io.err << "fiofla reduce: " << note << "\n";
  if (reduced.poStoppedAt) {
    const std::size_t i = *reduced.poStoppedAt;
    io.err << "fiofla reduce: Po is not positive at point " << i + 1
           << " (t = " << Format(reduced.timeS[i]) << " s): conversion stops there; "
           << reduced.convertedPoints << " of " << reduced.timeS.size() << " points were written\n";
    return kExitNoResult;
  }
  return kExitOk;
}

struct SimulateOptions {
  SimulationPlan plan;
  std::string output, gasDir;
  double lo = 0.01, hi = 0.95;
  std::size_t count = 30, desorption = 0;
};

int Simulate(SimulateOptions o, Streams& io) {
  if (o.output.empty()) throw UsageError{"-o RUN.json is needed"};
  SimulationPlan& plan = o.plan;
  for (std::size_t i = 0; i < o.count; ++i)
    plan.adsorptionTargets.push_back(o.lo + (o.hi - o.lo) * double(i) / double(o.count - 1));
  for (std::size_t i = 1; i <= o.desorption; ++i)
    plan.desorptionTargets.push_back(o.hi - (o.hi - o.lo) * double(i) / double(o.desorption));
  plan.sampleName = "simulated: " + plan.model.Describe();

  CGasCompressibilityCache& cache = CGasCompressibilityCache::ms_cCache;
  cache.SetDirectory(CStr(o.gasDir));
  const CGasCompressibilityTable* gas = cache.GetGas(CStr(plan.adsorptive));
  if (gas == nullptr || !gas->GetReadError().empty())
    throw InputError("no usable gas table '" + plan.adsorptive + "' in " +
                     cache.GetEffectiveDirectory().c_str());
  std::string text;
  try {
    text = FormatMeasurement(SimulateMeasurement(plan, *gas));
  } catch (const InputError& e) {
    // The plan came from the command line, so what it cannot do is a usage error.
    throw UsageError{e.what()};
  }
  std::string error;
  if (!WriteFileAtomically(o.output, text, &error)) throw InputError(error);
  io.out << "fiofla simulate: wrote "
         << plan.adsorptionTargets.size() + plan.desorptionTargets.size() << " points of "
         << plan.adsorptive << " at " << Format(plan.analysisTemperatureK) << " K ("
         << plan.model.Describe() << ") to " << o.output << "\n";
  return kExitOk;
}

void AddGasDir(CLI::App* cmd, std::string& dir) {
  cmd->add_option("--gas-dir", dir,
                  "where gas tables are looked up (default: $FIOFLA_GAS_DIR, else the tables\n"
                  "installed with fiofla)")
      ->type_name("DIR");
}

// "--name" taking a value that `parse` turns into the setting.
template <typename F>
void Opt(CLI::App* cmd, const char* name, const char* type, const char* help, F parse) {
  cmd->add_option_function<std::string>(name, parse, help)->type_name(type);
}

}  // namespace

std::string ReducedIsothermCsv(const ReducedIsotherm& r) {
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

void AddReduceCommands(CLI::App& app, Commands& commands) {
  auto r = std::make_shared<ReduceOptions>();
  CLI::App* cmd = AddCommand(
      app, "reduce", "reduce a measurement file to an isotherm (CSV)",
      "Reduces a measurement file (see the README: adsorptive, sample mass, free space, Po\n"
      "source, temperatures, thermal transpiration and the measured points) to an isotherm:\n"
      "manifold pressures are corrected for thermal transpiration, quantities dosed become\n"
      "quantities adsorbed per gram with the adsorptive's gas table (or the non-ideality\n"
      "factor), and pressures become relative pressures through the Po source. The CSV has\n"
      "the columns relative_pressure, quantity_adsorbed [cm3/g STP], branch, pressure [mmHg],\n"
      "p0 [mmHg], manifold_pressure [mmHg] and time [s]; 'fiofla bet' and 'fiofla report'\n"
      "read it, and also read the measurement file directly.\n",
      "exit codes: 0 ok, 1 unreadable or inconsistent measurement file, 2 bad arguments,\n"
      "            3 Po dropped to 0 at some point: the points before it were written\n");
  cmd->add_option("RUN", r->file, "measurement file (JSON)");
  cmd->add_option("-o,--output", r->output, "write the isotherm there (default: standard output)")
      ->type_name("FILE");
  AddGasDir(cmd, r->gasDir);
  commands.Add(cmd, [r](Streams& io) { return Reduce(*r, io); });

  auto s = std::make_shared<SimulateOptions>();
  cmd = AddCommand(
      app, "simulate", "play an isotherm model back into a measurement file",
      "Plays an isotherm model back through an ideal static volumetric analyser and writes\n"
      "the measurement file it would have recorded: the manifold pressures that give the\n"
      "scheduled relative pressures and the cumulative quantities dosed. Reducing that file\n"
      "gives the model back.\n",
      "exit codes: 0 ok, 1 no usable gas table or unwritable RUN.json, 2 bad arguments\n");
  cmd->add_option("-o,--output", s->output, "the measurement file to write")->type_name("RUN.json");
  cmd->add_option("--gas", s->plan.adsorptive, "adsorptive gas table (default nitrogen)")
      ->type_name("NAME");
  Opt(cmd, "--model", "M",
      "bet:c=C,qm=Q[,n=LAYERS] (n=0: unrestricted BET) or langmuir:k=K,qm=Q; Q in\n"
      "cm3/g STP (default bet:c=120,qm=95,n=8)",
      [s](const std::string& v) { s->plan.model = ParseModel(v); });
  Opt(cmd, "--points", "LO:HI:N",
      "N adsorption points evenly from P/Po LO to HI, N from 2 to 10000 (default\n"
      "0.01:0.95:30)",
      [s](const std::string& v) {
        const auto a = v.find(':'), b = v.find(':', a == std::string::npos ? a : a + 1);
        // NaN for a missing part fails every comparison below.
        const double nan = std::nan("");
        const double l = a == std::string::npos ? nan : ToDouble(v.substr(0, a)).value_or(nan);
        const double h =
            b == std::string::npos ? nan : ToDouble(v.substr(a + 1, b - a - 1)).value_or(nan);
        const double n = b == std::string::npos ? nan : ToDouble(v.substr(b + 1)).value_or(nan);
        if (!(l > 0.0 && l < h && h < 1.0 && n >= 2 && n <= 10000 && n == std::floor(n)))
          throw UsageError{"--points '" + v +
                           "' must be LO:HI:N with 0 < LO < HI < 1 and N a whole number from 2 "
                           "to 10000"};
        s->lo = l;
        s->hi = h;
        s->count = std::size_t(n);
      });
  Opt(cmd, "--desorption", "N",
      "then N desorption points evenly from HI back to LO, at most 10000 (default 0)",
      [s](const std::string& v) {
        const auto n = ToDouble(v);
        if (!n || *n < 0 || *n > 10000 || *n != std::floor(*n))
          throw UsageError{"--desorption '" + v + "' must be a whole number from 0 to 10000"};
        s->desorption = std::size_t(*n);
      });
  Opt(cmd, "--mass", "G", "sample mass, g (default 0.1)",
      [s](const std::string& v) { s->plan.sampleMassG = Positive("--mass", v); });
  Opt(cmd, "--free-space", "AMB,ANA", "ambient and analysis free space, cm3 STP (default 20,60)",
      [s](const std::string& v) {
        const auto f = Numbers("--free-space", v, 2, 2);
        s->plan.freeSpaceAmbientCm3Stp = f[0];
        s->plan.freeSpaceAnalysisCm3Stp = f[1];
      });
  Opt(cmd, "--temperature", "K", "analysis (bath) temperature (default 77.35)",
      [s](const std::string& v) { s->plan.analysisTemperatureK = Positive("--temperature", v); });
  Opt(cmd, "--ambient", "K", "manifold temperature (default 308.15)",
      [s](const std::string& v) { s->plan.ambientTemperatureK = Positive("--ambient", v); });
  Opt(cmd, "--po", "MMHG", "Po (default: the gas table's saturation pressure at the bath)",
      [s](const std::string& v) { s->plan.poMmHg = Positive("--po", v); });
  Opt(cmd, "--interval", "S", "seconds between points (default 300)",
      [s](const std::string& v) { s->plan.secondsPerPoint = Positive("--interval", v); });
  Opt(cmd, "--factor", "ALPHA",
      "factor-form gas law with non-ideality ALPHA per mmHg (default: the gas table)",
      [s](const std::string& v) {
        const auto alpha = ToDouble(v);
        if (!alpha || *alpha < 0.0) throw UsageError{"--factor '" + v + "' must be >= 0"};
        s->plan.gasLaw.form = GasLawForm::kFactor;
        s->plan.gasLaw.nonIdealityPerMmHg = *alpha;
      });
  Opt(cmd, "--transpiration", "G,D[,L]",
      "thermal transpiration with gas factor G, tube inside diameter D cm and ratio\n"
      "limit L (default: none)",
      [s](const std::string& v) {
        const auto f = Numbers("--transpiration", v, 2, 3);
        s->plan.transpiration = Measurement::Transpiration{f[0], f[1], f.size() > 2 ? f[2] : 1.0};
      });
  AddGasDir(cmd, s->gasDir);
  commands.Add(cmd, [s](Streams& io) { return Simulate(*s, io); });
}

}  // namespace fiofla::cli
