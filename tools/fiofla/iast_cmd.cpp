// `fiofla iast`: the adsorbed phase of a gas mixture predicted by ideal adsorbed solution theory
// from the pure-component isotherms, each described by its measured points or a fitted model;
// at one pressure, over a range of pressures, or over the compositions of a binary mixture.
#include <algorithm>
#include <cmath>

#include "cli.h"
#include "cli_common.h"
#include "fiofla/gasiast.h"
#include "fiofla/report_fit.h"
#include "fiofla/units/unit_text.h"
#include "fit_options.h"
#include "iast_run.h"
#include "result.h"

namespace fiofla::cli {
namespace {

struct IastOptions {
  std::vector<std::string> isotherms;  // FILE[:MODEL]
  IsothermReadOptions input;
  IastSettings iast;
  bool json = false;
};

// A pressure as given: with a unit, converted to `unit`; a bare number is in `unit` already.
double PressureIn(const std::string& text, const std::string& unit, const std::string& option) {
  double value = 0.0;
  std::string given;
  if (!SplitValueAndUnit(text, &value, &given) || !(value > 0.0))
    throw UsageError{option + " '" + text + "' is not a positive pressure"};
  if (given.empty()) return value;
  const double mmHg = ParsePressure(text, option);
  return mmHg / *ParsePressureUnit(unit);
}

std::vector<double> Pressures(const IastSettings& o, const std::string& unit) {
  if (!o.pressure.empty()) return {PressureIn(o.pressure, unit, "--pressure")};
  const auto last = o.pressures.rfind(':');
  const auto first = o.pressures.find(':');
  if (last == std::string::npos || first == last)
    throw UsageError{"--pressures '" + o.pressures + "' is not LO:HI:N"};
  const double lo = PressureIn(o.pressures.substr(0, first), unit, "--pressures");
  const double hi =
      PressureIn(o.pressures.substr(first + 1, last - first - 1), unit, "--pressures");
  const auto n = ToDouble(o.pressures.substr(last + 1));
  if (!n || *n < 2 || *n != std::floor(*n) || *n > 100000)
    throw UsageError{"--pressures '" + o.pressures + "': N is not a whole number from 2 to 100000"};
  if (!(lo < hi)) throw UsageError{"--pressures '" + o.pressures + "': LO is not below HI"};
  const int count = static_cast<int>(*n);
  std::vector<double> p(count);
  for (int k = 0; k < count; ++k)
    p[k] = k == count - 1 ? hi : lo * std::pow(hi / lo, static_cast<double>(k) / (count - 1));
  return p;
}

std::string Describe(const IastComponentRun& c) {
  if (!c.fit) return "measured points (" + std::to_string(c.points.pressures.size()) + ")";
  return c.fit->name + " fit, RMS error " + Num(c.fit->rmsError, 3) + " " + c.points.loadingUnit;
}

std::vector<double> ParseFractions(const std::string& text) {
  std::vector<double> values;
  std::size_t start = 0;
  while (true) {
    const std::size_t comma = text.find(',', start);
    const std::string part = text.substr(start, comma == std::string::npos ? comma : comma - start);
    const auto v = ToDouble(part);
    if (!v || !(*v >= 0.0) || *v > 1.0)
      throw UsageError{"--fractions '" + text + "': '" + part + "' is not a fraction from 0 to 1"};
    values.push_back(*v);
    if (comma == std::string::npos) return values;
    start = comma + 1;
  }
}

int Iast(const IastOptions& o, Streams& io) {
  std::vector<IastSource> sources;
  for (const std::string& operand : o.isotherms) sources.push_back(SplitIastOperand(operand));
  return PrintIast(sources, o.input, o.iast, o.json, io);
}

}  // namespace

int PrintIast(const std::vector<IastSource>& sources, const IsothermReadOptions& input,
              const IastSettings& o, bool json, Streams& io, CGasCompressibilityCache* gasCache) {
  if (sources.empty()) throw UsageError{"no --iso FILE[:MODEL] given"};
  if (o.pressure.empty() == o.pressures.empty())
    throw UsageError{"give one of --pressure P and --pressures LO:HI:N"};
  if (o.compositions > 0 && sources.size() != 2)
    throw UsageError{"--compositions sweeps a binary mixture; give two --iso"};
  if (o.compositions > 0 && !o.pressures.empty())
    throw UsageError{"--compositions sweeps at one --pressure, not over --pressures"};
  if (o.compositions > 0 && o.reverse)
    throw UsageError{"--compositions sweeps gas compositions; it does not go with --reverse"};
  if (o.compositions == 0 && o.fractions.size() != sources.size())
    throw UsageError{"--fractions gives " + std::to_string(o.fractions.size()) + " fractions for " +
                     std::to_string(sources.size()) + " isotherms"};
  if (o.compositions == 0) {
    double sum = 0.0;
    for (double f : o.fractions) sum += f;
    if (!(std::fabs(sum - 1.0) <= 1e-6))
      throw UsageError{"--fractions add up to " + Num(sum, 10) + ", not 1"};
  }

  IastRunSettings settings;
  settings.pressureUnit = o.pressureUnit;
  settings.loadingUnit = o.loadingUnit;
  settings.gasCache = gasCache;
  const IastRun run = PrepareIast(sources, input, settings, io.err);
  const std::string p = run.pressureUnit, q = run.loadingUnit;
  const std::vector<double> pressures = Pressures(o, p);

  std::vector<SIastPoint> points;
  if (o.compositions > 0) {
    std::vector<std::vector<double>> ys;
    for (int k = 0; k < o.compositions; ++k) {
      const double y = o.compositions == 1 ? 0.5 : static_cast<double>(k) / (o.compositions - 1);
      ys.push_back({y, 1.0 - y});
    }
    points = run.calc->CompositionSweep(ys, pressures.front());
  } else if (o.reverse) {
    const SIastPoint* previous = nullptr;
    for (double at : pressures) {
      points.push_back(run.calc->GasFractions(o.fractions, at, previous));
      previous = points.back().Ok() ? &points.back() : nullptr;
    }
  } else {
    points = run.calc->PressureSweep(o.fractions, pressures);
  }

  const std::size_t n = run.components.size();
  std::string title =
      std::string(o.reverse ? "Reverse IAST" : "IAST") + " of " + std::to_string(n) + " components";
  if (pressures.size() == 1) title += " at " + Num(pressures.front()) + " " + p;
  Result r(title);
  r.Add("pressure_unit", "Pressure unit", p)
      .Add("loading_unit", "Loading unit", q)
      .Add("reverse", "", o.reverse);
  // Files and descriptions vary in length: their columns take the longest.
  int fileWidth = 6, nameWidth = 6, describedWidth = 14;
  for (std::size_t i = 0; i < n; ++i) {
    fileWidth = std::max(fileWidth, static_cast<int>(run.components[i].file.size()) + 2);
    nameWidth = std::max(nameWidth, static_cast<int>(run.calc->Names()[i].size()) + 2);
    describedWidth =
        std::max(describedWidth, static_cast<int>(Describe(run.components[i]).size()) + 2);
  }
  Table& comps = r.AddTable("components", "Components",
                            {{"index", "#", 3, {}},
                             {"name", "name", nameWidth, {}},
                             {"file", "file", fileWidth, {}},
                             {"described_by", "described by", describedWidth, {}},
                             {"min_pressure", "from (" + p + ")", 12, Sig(4)},
                             {"max_pressure", "to (" + p + ")", 12, Sig(4)},
                             {"henry_limit", "Henry limit", 0, {}}});
  for (std::size_t i = 0; i < n; ++i) {
    const IastComponentRun& c = run.components[i];
    comps.Row({static_cast<long long>(i + 1), run.calc->Names()[i], c.file, Describe(c),
               c.minPressure, c.maxPressure, run.calc->HenryLimit(i)});
    if (c.fit) r.Add("parameters_" + std::to_string(i + 1), "", FitParameterText(*c.fit, p, q));
  }
  for (std::size_t i = 0; i < n; ++i)
    if (run.components[i].fit)
      r.Text("  " + std::to_string(i + 1) + ": " + FitParameterText(*run.components[i].fit, p, q));
  if (!run.calc->Notes().empty()) r.Text("").Text(run.calc->Notes());
  r.Text("");

  std::vector<Column> cols = {{"pressure", "P (" + p + ")", 12, Sig(6)}};
  const auto name = [&](std::size_t i) { return run.calc->Names()[i]; };
  const auto key = [](const char* what, std::size_t i) {
    return std::string(what) + "_" + std::to_string(i + 1);
  };
  for (std::size_t i = 0; i < n; ++i)
    cols.push_back({key("gas_fraction", i), "y " + name(i), 12, Sig(6)});
  for (std::size_t i = 0; i < n; ++i)
    cols.push_back({key("adsorbed_fraction", i), "x " + name(i), 12, Sig(6)});
  for (std::size_t i = 0; i < n; ++i)
    cols.push_back({key("loading", i), "n " + name(i) + " (" + q + ")", 14, Sig(6)});
  cols.push_back({"total_loading", "total (" + q + ")", 14, Sig(6)});
  for (std::size_t j = 1; j < n; ++j)
    cols.push_back(
        {"selectivity_1_" + std::to_string(j + 1), "S " + name(0) + "/" + name(j), 14, Sig(5)});
  for (std::size_t i = 0; i < n; ++i)
    cols.push_back({key("pure_pressure", i), "P0 " + name(i) + " (" + p + ")", 16, Sig(6)});
  cols.push_back({"spreading_pressure", "pi (" + q + ")", 12, Sig(6)});
  cols.push_back({"status", "", 0, {}});
  cols.push_back({"note", "note", 0, {}});
  Table& t = r.AddTable("points", "Mixture", cols);
  int ok = 0;
  for (const SIastPoint& pt : points) {
    std::vector<double> numbers = {pt.pressure};
    const auto put = [&](const std::vector<double>& v) {
      for (std::size_t i = 0; i < n; ++i) numbers.push_back(pt.Ok() && i < v.size() ? v[i] : NAN);
    };
    put(pt.gasFractions);
    put(pt.adsorbedFractions);
    put(pt.loadings);
    numbers.push_back(pt.Ok() ? pt.totalLoading : NAN);
    for (std::size_t j = 1; j < n; ++j) numbers.push_back(pt.Ok() ? pt.Selectivity(0, j) : NAN);
    put(pt.purePressures);
    numbers.push_back(pt.Ok() ? pt.spreadingPressure : NAN);
    std::vector<Value> row(numbers.begin(), numbers.end());
    row.emplace_back(std::string(ToString(pt.status)));
    row.emplace_back(pt.message);
    t.Row(std::move(row));
    ok += pt.Ok() ? 1 : 0;
  }
  r.Text(
      "y gas and x adsorbed mole fractions; n adsorbed amounts; S selectivity (x_i/y_i)/(x_j/y_j); "
      "P0 the pure-component pressure at the mixture's spreading pressure pi");
  r.Print(io.out, json);
  if (!o.report.empty()) WriteIastReport(run, points, o.compositions > 0, o.report, json, io);
  if (ok == 0) {
    io.err << "fiofla iast: no mixture point was solved"
           << (points.empty() ? std::string() : ": " + points.front().message) << "\n";
    return kExitNoResult;
  }
  return kExitOk;
}

void AddIastOptions(CLI::App* cmd, IastSettings& s) {
  cmd->add_option_function<std::string>(
         "--fractions", [&s](const std::string& v) { s.fractions = ParseFractions(v); },
         "the gas mole fractions (adsorbed ones with --reverse), one per --iso in their\n"
         "order, separated by commas and adding up to 1")
      ->type_name("Y1,Y2,...");
  cmd->add_option("--pressure", s.pressure,
                  "total pressure, with a unit (65bar, '500 kPa') or in the pressure unit")
      ->type_name("P");
  cmd->add_option("--pressures", s.pressures,
                  "N total pressures spaced evenly in log P from LO to HI inclusive")
      ->type_name("LO:HI:N");
  cmd->add_option_function<int>(
         "--compositions",
         [&s](int v) {
           if (v < 1 || v > 100000)
             throw UsageError{"--compositions " + std::to_string(v) + " is not from 1 to 100000"};
           s.compositions = v;
         },
         "a binary mixture at N gas compositions, the first component's fraction evenly\n"
         "from 0 to 1, at --pressure (instead of --fractions)")
      ->type_name("N");
  cmd->add_flag("--reverse", s.reverse, "reverse IAST: the gas in equilibrium with --fractions");
  AddUnitOptions(cmd, s.pressureUnit, s.loadingUnit,
                 "work in Pa, kPa, MPa, bar, mbar, atm, torr, mmHg or psi (default: the first "
                 "file's)",
                 "work in mmol/g, mol/kg, cm3/g STP or another amount of substance per mass "
                 "(default mmol/g)");
  cmd->add_option("--report", s.report,
                  "also write a report page (adsorbed amounts and selectivity); its format\n"
                  "from the extension: .html, .json or .txt")
      ->type_name("FILE");
}

void AddIastCommand(CLI::App& app, Commands& commands) {
  auto o = std::make_shared<IastOptions>();
  CLI::App* cmd = AddCommand(
      app, "iast", "mixture adsorption predicted from pure-component isotherms (IAST)",
      "Ideal adsorbed solution theory: the adsorbed phase of a gas mixture from the\n"
      "isotherms of its pure components, one --iso per component, all at the mixture's\n"
      "temperature. Each is described by its measured points (linear between points,\n"
      "Henry's law below the first, constant above the last) or by a fitted model:\n"
      "FILE:langmuir, FILE:toth, ... or FILE:best for the default model with the lowest\n"
      "AICc. Pressures are in the first file's unit and loadings in mmol/g unless\n"
      "--pressure-unit or --loading-unit ask for others. Each point notes the components\n"
      "whose pure pressure P0 fell outside their measured or fitted range.\n"
      "--reverse takes --fractions as adsorbed fractions and gives the gas composition.\n",
      "exit codes: 0 ok, 1 unreadable or malformed file, 2 bad arguments, 3 no result\n");
  cmd->add_option("--iso", o->isotherms,
                  "a pure-component isotherm, optionally with the model that describes it:\n"
                  "FILE, FILE:points, FILE:MODEL or FILE:best; once per component")
      ->type_name("FILE[:MODEL]")
      ->take_all();
  AddInputOptions(cmd, o->input);
  AddIastOptions(cmd, o->iast);
  cmd->add_flag("--json", o->json, "print the result as one JSON object");
  commands.Add(cmd, [o](Streams& io) { return Iast(*o, io); });
}

}  // namespace fiofla::cli
