// `fiofla gas`: the gas tables the reductions use, listed, shown, queried and converted.
#include <algorithm>
#include <cmath>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "app.h"
#include "cli.h"
#include "cli_common.h"
#include "fiofla/compress.h"
#include "fiofla/gas_table_builder.h"
#include "fiofla/io/file_util.h"
#include "result.h"

namespace fiofla::cli {
namespace {

struct GasOptions {
  std::string sub;
  std::vector<std::string> names;
  std::string gasDir;
  std::string eosDir;
  std::string outDir;
  std::optional<double> pressure;
  std::optional<double> temperature;
  bool sublimation = false;
  bool json = false;
};

bool LooksLikePath(const std::string& name) {
  return name.find('/') != std::string::npos ||
         (name.size() > 4 && name.compare(name.size() - 4, 4, ".fpi") == 0);
}

// The table of GAS: a path is read directly, a name through the library's cache. Throws a
// one-line message when there is no usable table.
const CGasCompressibilityTable& LoadGas(const GasOptions& opt, const std::string& name,
                                        std::unique_ptr<CGasCompressibilityTable>& owned,
                                        std::string& source) {
  const CGasCompressibilityTable* table = nullptr;
  if (LooksLikePath(name)) {
    owned = std::make_unique<CGasCompressibilityTable>(CStr(name));
    table = owned.get();
    source = name;
  } else {
    CGasCompressibilityCache& cache = CGasCompressibilityCache::ms_cCache;
    cache.SetDirectory(CStr(opt.gasDir));
    source = std::string(cache.GetEffectiveDirectory().c_str()) + "/" + name + ".fpi";
    table = cache.GetGas(CStr(name));
    if (table == nullptr)
      throw std::runtime_error("no gas table '" + name + "' (cannot open " + source + ")");
    source = table->m_sName.str();  // "N2" was read from nitrogen.fpi
  }
  if (!table->GetReadError().empty()) throw std::runtime_error(table->GetReadError().c_str());
  return *table;
}

void WriteTableJson(JsonWriter& w, const CGasCompressibilityTable& t, const std::string& source) {
  w.Key("source");
  w.String(source.c_str());
  w.Key("molecular_weight_g_per_mol");
  JsonNumber(w, t.GetMolecularWeight());
  w.Key("number_of_atoms");
  w.Int(t.GetNumberOfAtoms());
  JsonKeyNumber(w, "critical_temperature_k", t.GetCriticalTemperature());
  JsonKeyNumber(w, "critical_pressure_mmhg", t.GetCriticalPressure());
  JsonKeyNumber(w, "triple_point_temperature_k", t.GetTriplePointTemperature());
  JsonKeyNumber(w, "triple_point_pressure_mmhg", t.m_dPtrip);
  w.Key("pressures");
  w.Uint64(t.m_vPressures.size());
  w.Key("temperatures");
  w.Uint64(t.m_vTemperatures.size());
}

// Up to `count` grid temperatures spread over those with a saturation or sublimation value.
std::vector<std::size_t> SaturationRows(const CGasCompressibilityTable& t, std::size_t count) {
  std::vector<std::size_t> rows;
  const std::size_t nt = t.m_vTemperatures.size();
  for (std::size_t j = 0; j < nt; ++j) {
    const bool sat = j < t.m_vPsat.size() && t.m_vPsat[j] > 0.0;
    const bool sub = j < t.m_vPsub.size() && t.m_vPsub[j] > 0.0;
    if (sat || sub) rows.push_back(j);
  }
  if (rows.size() <= count) return rows;
  std::vector<std::size_t> picked;
  for (std::size_t k = 0; k < count; ++k)
    picked.push_back(rows[k * (rows.size() - 1) / (count - 1)]);
  return picked;
}

double CurveAt(const CNumVector<double>& curve, std::size_t j) {
  return j < curve.size() ? curve[j] : 0.0;
}

int Show(const GasOptions& opt, std::ostream& out) {
  std::unique_ptr<CGasCompressibilityTable> owned;
  std::string source;
  const CGasCompressibilityTable& t = LoadGas(opt, opt.names[0], owned, source);
  const auto rows = SaturationRows(t, 8);
  const std::size_t np = t.m_vPressures.size(), nt = t.m_vTemperatures.size();
  if (opt.json) {
    rapidjson::OStreamWrapper os(out);
    JsonWriter w(os);
    w.StartObject();
    WriteTableJson(w, t, source);
    if (np > 0) {
      JsonKeyNumber(w, "pressure_min_mmhg", t.m_vPressures[0]);
      JsonKeyNumber(w, "pressure_max_mmhg", t.m_vPressures[np - 1]);
    }
    if (nt > 0) {
      JsonKeyNumber(w, "temperature_min_k", t.m_vTemperatures[0]);
      JsonKeyNumber(w, "temperature_max_k", t.m_vTemperatures[nt - 1]);
    }
    w.Key("saturation");
    w.StartArray();
    for (std::size_t j : rows) {
      w.StartObject();
      JsonKeyNumber(w, "temperature_k", t.m_vTemperatures[j]);
      JsonKeyNumber(w, "psat_mmhg", CurveAt(t.m_vPsat, j));
      JsonKeyNumber(w, "psub_mmhg", CurveAt(t.m_vPsub, j));
      JsonKeyNumber(w, "surface_tension", CurveAt(t.m_vSurfaceTension, j));
      JsonKeyNumber(w, "liquid_molar_volume_cm3_per_mol", CurveAt(t.m_vLiquidMolarVolume, j));
      w.EndObject();
    }
    w.EndArray();
    w.EndObject();
    out << "\n";
    return kExitOk;
  }
  out << "Gas table              " << source << "\n"
      << "Molecular weight       " << Num(t.GetMolecularWeight()) << " g/mol\n"
      << "Atoms per molecule     " << t.GetNumberOfAtoms() << "\n"
      << "Critical point         " << Num(t.GetCriticalTemperature()) << " K, "
      << Num(t.GetCriticalPressure()) << " mmHg\n"
      << "Triple point           " << Num(t.GetTriplePointTemperature()) << " K, "
      << Num(t.m_dPtrip) << " mmHg\n";
  out << "Pressure grid          " << np << " pressures";
  if (np > 0)
    out << ", " << Num(t.m_vPressures[0]) << " to " << Num(t.m_vPressures[np - 1]) << " mmHg";
  out << "\nTemperature grid       " << nt << " temperatures";
  if (nt > 0)
    out << ", " << Num(t.m_vTemperatures[0]) << " to " << Num(t.m_vTemperatures[nt - 1]) << " K";
  out << "\n";
  if (rows.empty()) {
    out << "No saturation data.\n";
    return kExitOk;
  }
  out << "\n    T (K)   Psat (mmHg)   Psub (mmHg)   surface tension   liquid volume (cm3/mol)\n";
  char line[160];
  for (std::size_t j : rows) {
    std::snprintf(line, sizeof line, "%9s %13s %13s %17s %25s\n", Num(t.m_vTemperatures[j]).c_str(),
                  Num(CurveAt(t.m_vPsat, j)).c_str(), Num(CurveAt(t.m_vPsub, j)).c_str(),
                  Num(CurveAt(t.m_vSurfaceTension, j)).c_str(),
                  Num(CurveAt(t.m_vLiquidMolarVolume, j)).c_str());
    out << line;
  }
  return kExitOk;
}

int List(const GasOptions& opt, std::ostream& out, std::ostream& err) {
  CGasCompressibilityCache& cache = CGasCompressibilityCache::ms_cCache;
  cache.SetDirectory(CStr(opt.gasDir));
  const std::string dir = cache.GetEffectiveDirectory().c_str();
  std::error_code ec;
  std::vector<std::string> names;
  for (std::filesystem::directory_iterator it(dir, ec), end; !ec && it != end; it.increment(ec))
    if (it->path().extension() == ".fpi") names.push_back(it->path().stem().string());
  if (ec) {
    err << "fiofla gas: cannot list the gas directory " << dir << ": " << ec.message() << "\n";
    return kExitInputError;
  }
  std::sort(names.begin(), names.end());
  rapidjson::OStreamWrapper os(out);
  JsonWriter w(os);
  if (opt.json) {
    w.StartObject();
    w.Key("gas_directory");
    w.String(dir.c_str());
    w.Key("gases");
    w.StartArray();
  } else {
    out << "Gas tables in " << dir << ":\n";
    if (names.empty()) out << "  (none)\n";
  }
  for (const std::string& name : names) {
    // Each table is read on its own, so listing does not disturb the cache.
    const CGasCompressibilityTable t(CStr(dir + "/" + name + ".fpi"));
    const bool ok = t.GetReadError().empty();
    if (opt.json) {
      w.StartObject();
      w.Key("name");
      w.String(name.c_str());
      w.Key("readable");
      w.Bool(ok);
      if (ok) {
        JsonKeyNumber(w, "critical_temperature_k", t.GetCriticalTemperature());
        JsonKeyNumber(w, "molecular_weight_g_per_mol", t.GetMolecularWeight());
        w.Key("pressures");
        w.Uint64(t.m_vPressures.size());
        w.Key("temperatures");
        w.Uint64(t.m_vTemperatures.size());
      } else {
        w.Key("error");
        w.String(t.GetReadError().c_str());
      }
      w.EndObject();
    } else if (ok) {
      out << "  " << name << "  (Tc " << Num(t.GetCriticalTemperature()) << " K, M "
          << Num(t.GetMolecularWeight()) << " g/mol, " << t.m_vPressures.size() << " x "
          << t.m_vTemperatures.size() << " grid)\n";
    } else {
      out << "  " << name << "  unreadable: " << t.GetReadError().c_str() << "\n";
    }
  }
  if (opt.json) {
    w.EndArray();
    w.EndObject();
    out << "\n";
  }
  return kExitOk;
}

// The temperatures (K) over which a table's saturation or sublimation curve has values;
// false when it has none.
bool CurveExtent(const CGasCompressibilityTable& t, bool sublimation, double* low, double* high) {
  const CNumVector<double>& curve = sublimation ? t.m_vPsub : t.m_vPsat;
  bool any = false;
  for (std::size_t j = 0; j < curve.size() && j < t.m_vTemperatures.size(); ++j)
    if (curve[j] > 0.0) {
      if (!any) *low = t.m_vTemperatures[j];
      *high = t.m_vTemperatures[j];
      any = true;
    }
  return any;
}

// Where the curve has values, for saying why it has none at a temperature.
std::string CurveSpan(const CGasCompressibilityTable& t, bool sublimation) {
  double low = 0.0, high = 0.0;
  const char* name = sublimation ? "sublimation" : "saturation";
  if (!CurveExtent(t, sublimation, &low, &high))
    return std::string("the table has no ") + name + " curve";
  return std::string("the table's ") + name + " curve runs from " + Num(low) + " to " + Num(high) +
         " K" +
         (sublimation
              ? ", below the triple point"
              : ", up to the critical temperature " + Num(t.GetCriticalTemperature()) + " K");
}

// Whether T (K) lies where the table's curve has values.
bool InCurve(const CGasCompressibilityTable& t, bool sublimation, double temperature) {
  double low = 0.0, high = 0.0;
  return CurveExtent(t, sublimation, &low, &high) && temperature >= low && temperature <= high;
}

// Prints one value or, when there is none, says why and returns kExitNoResult.
int Query(const GasOptions& opt, std::ostream& out, std::ostream& err) {
  std::unique_ptr<CGasCompressibilityTable> owned;
  std::string source;
  const CGasCompressibilityTable* table = &LoadGas(opt, opt.names[0], owned, source);
  // Z beyond the normal grid comes from the gas's high-pressure table when that holds it.
  CGasCompressibilityTable high;
  std::string note;
  if (opt.sub == "z" && !LooksLikePath(opt.names[0]) &&
      !table->IsInGrid(*opt.pressure, *opt.temperature)) {
    bool usedHigh = false;
    const CGasCompressibilityTable* picked =
        PickTableFor(CGasCompressibilityCache::ms_cCache, opt.names[0],
                     {{*opt.pressure, *opt.temperature}}, &high, &usedHigh);
    if (usedHigh) {
      table = picked;
      source = high.m_sName.str();
      note = "from the high-pressure table";
    }
  }
  const CGasCompressibilityTable& t = *table;
  if (opt.sub == "z" && !t.IsInGrid(*opt.pressure, *opt.temperature))
    note = "outside the table's grid (" + t.GridText() + "): the value is extrapolated";
  const char* curve = opt.sublimation ? "sublimation" : "saturation";
  double value = 0.0;
  double effective = 0.0;
  bool ok = false;
  std::string key, unit, text, reason;
  if (opt.sub == "z") {
    value = t(*opt.pressure, *opt.temperature, &effective);
    ok = value > 0.0;
    key = "z";
    text = "Z = " + Num(value, 8) + " at " + Num(*opt.pressure) + " mmHg and " +
           Num(*opt.temperature) + " K";
    if (effective != *opt.temperature)
      text += " (taken on the saturation line at " + Num(effective, 8) + " K)";
    reason = "no gas phase at " + Num(*opt.pressure) + " mmHg and " + Num(*opt.temperature) +
             " K: the point is condensed by more than 5 K";
  } else if (opt.sub == "psat") {
    // Only where the table has the curve: beyond it the extrapolation is a guess (0 mmHg
    // for CO2 at 1 K).
    ok = t.CalcPsatFromTemp(&value, *opt.temperature, opt.sublimation) && value > 0.0 &&
         InCurve(t, opt.sublimation, *opt.temperature);
    key = opt.sublimation ? "psub_mmhg" : "psat_mmhg";
    text = std::string(opt.sublimation ? "Psub" : "Psat") + " = " + Num(value, 8) + " mmHg at " +
           Num(*opt.temperature) + " K";
    reason = std::string("no ") + curve + " pressure at " + Num(*opt.temperature) + " K (" +
             CurveSpan(t, opt.sublimation) + ")";
  } else {
    ok = t.CalcTempFromPsat(&value, *opt.pressure, opt.sublimation);
    key = "temperature_k";
    text = "T = " + Num(value, 8) + " K at " + Num(*opt.pressure) + " mmHg";
    reason = "no " + std::string(curve) + " temperature at " + Num(*opt.pressure) +
             " mmHg (above the critical pressure " + Num(t.GetCriticalPressure()) +
             " mmHg, or outside the table's curves)";
  }
  if (!ok) {
    err << "fiofla gas " << opt.sub << ": " << reason << "\n";
    return kExitNoResult;
  }
  Result r;
  r.Add("gas", "", source);
  if (opt.pressure) r.Add("pressure_mmhg", "", *opt.pressure);
  if (opt.temperature) r.Add("temperature_k", "", *opt.temperature);
  r.Add(key, "", value);
  if (opt.sub == "z") {
    r.Add("effective_temperature_k", "", effective);
    r.Add("in_grid", "", t.IsInGrid(*opt.pressure, *opt.temperature));
  } else {
    r.Add("sublimation", "", opt.sublimation);
  }
  r.Text(text);
  if (!note.empty()) {
    r.Add("note", "", note);
    r.Text("Note: " + note);
  }
  r.Print(out, opt.json);
  return kExitOk;
}

int Convert(const GasOptions& opt, std::ostream& out, std::ostream& err) {
  const std::string& in = opt.names[0];
  const std::string& outPath = opt.names[1];
  std::string bytes;
  const FileReadStatus status =
      ReadFileLimited(in, CGasCompressibilityTable::kMaxFileBytes, &bytes);
  if (status != FileReadStatus::kOk) {
    err << "fiofla gas convert: " << in << ": "
        << (status == FileReadStatus::kTooLarge ? "too large for a gas table"
                                                : "cannot read the file")
        << "\n";
    return kExitInputError;
  }
  // JSON starts with '{' after optional whitespace; a binary stream starts with its version
  // byte, 0 to 7.
  const std::size_t first = bytes.find_first_not_of(" \t\r\n");
  const bool fromJson = first != std::string::npos && bytes[first] == '{';
  CGasCompressibilityTable table;
  std::string text;
  if (fromJson) {
    if (!table.ReadFromFile(CStr(in))) {
      err << "fiofla gas convert: " << table.GetReadError().c_str() << "\n";
      return kExitInputError;
    }
    std::ostringstream stream(std::ios::binary);
    table.Write(stream);
    text = stream.str();
  } else {
    std::istringstream stream(bytes, std::ios::binary);
    if (!table.Read(stream)) {
      err << "fiofla gas convert: " << in
          << ": not a gas table stream: " << table.GetReadError().c_str() << "\n";
      return kExitInputError;
    }
    if (stream.peek() != std::char_traits<char>::eof()) {
      err << "fiofla gas convert: " << in << ": unexpected bytes after the table\n";
      return kExitInputError;
    }
    // The JSON form goes through the library's own writer, so the file is a normal gas file.
    if (!table.WriteToFile(CStr(outPath))) {
      err << "fiofla gas convert: cannot write " << outPath
          << " (folder missing, or a value JSON cannot hold)\n";
      return kExitInputError;
    }
    out << "fiofla gas convert: wrote the JSON gas file " << outPath << "\n";
    return kExitOk;
  }
  std::string error;
  if (!WriteFileAtomically(outPath, text, &error)) {
    err << "fiofla gas convert: " << error << "\n";
    return kExitInputError;
  }
  out << "fiofla gas convert: wrote the binary table stream " << outPath << " (version "
      << table.GetVersion() << ")\n";
  return kExitOk;
}

int Build(const GasOptions& opt, std::ostream& out, std::ostream& err) {
  std::string eosDir = opt.eosDir;
  if (eosDir.empty()) {
    CGasCompressibilityCache::ms_cCache.SetDirectory(CStr(opt.gasDir));
    eosDir =
        (std::filesystem::path(CGasCompressibilityCache::ms_cCache.GetEffectiveDirectory().c_str())
             .parent_path() /
         "eos")
            .string();
  }
  std::vector<GasTableRecipe> recipes = StandardGasRecipes();
  if (!opt.names.empty()) {
    std::vector<GasTableRecipe> chosen;
    for (const std::string& name : opt.names) {
      // Recipes carry the tables' names; "N2" and "CO2_hp" are taken as elsewhere.
      const std::string stem = GasTableName(name);
      const std::string& wanted = stem.empty() ? name : stem;
      auto it = std::find_if(recipes.begin(), recipes.end(),
                             [&](const GasTableRecipe& r) { return r.name == wanted; });
      if (it == recipes.end()) {
        std::string known;
        for (const auto& r : recipes) known += (known.empty() ? "" : ", ") + r.name;
        err << "fiofla gas build: no recipe for '" << name << "' (known: " << known << ")\n";
        return kExitUsageError;
      }
      chosen.push_back(*it);
    }
    recipes = chosen;
  }
  std::error_code ec;
  if (!std::filesystem::is_directory(opt.outDir, ec)) {
    err << "fiofla gas build: --out-dir " << opt.outDir << " is not a folder\n";
    return kExitInputError;
  }
  for (const GasTableRecipe& recipe : recipes) {
    std::string error;
    const auto eos = HelmholtzEos::Load(eosDir + "/" + recipe.eosFile, &error);
    if (!eos) {
      err << "fiofla gas build: " << error << "\n";
      return kExitInputError;
    }
    GasTableBuildReport report;
    const CGasCompressibilityTable table =
        BuildGasTable(*eos, recipe, &report, [&](const std::string& line) { err << line << "\n"; });
    const std::string path = opt.outDir + "/" + recipe.name + ".fpi";
    if (!table.WriteToFile(CStr(path))) {
      err << "fiofla gas build: cannot write " << path << "\n";
      return kExitInputError;
    }
    out << "wrote " << path << " (" << report.pressures << " x " << report.temperatures
        << ", worst cell-centre error in Z " << Num(report.worstCellCentreError, 2) << ")\n";
  }
  return kExitOk;
}

// Runs one gas subcommand; a missing or unreadable table is an input error.
int RunGasCommand(const GasOptions& opt, Streams& io) {
  try {
    if (opt.sub == "list") return List(opt, io.out, io.err);
    if (opt.sub == "show") return Show(opt, io.out);
    if (opt.sub == "convert") return Convert(opt, io.out, io.err);
    if (opt.sub == "build") return Build(opt, io.out, io.err);
    return Query(opt, io.out, io.err);
  } catch (const std::runtime_error& e) {
    throw InputError(e.what());
  }
}

}  // namespace

void AddGasCommand(CLI::App& app, Commands& commands) {
  CLI::App* gas = AddCommand(
      app, "gas", "gas tables: list, show, Z, saturation pressure and temperature, convert",
      "Gas tables (GAS.fpi files: compressibility factor over pressure x temperature, and the\n"
      "saturation, sublimation, surface tension and liquid volume curves). GAS is a name\n"
      "looked up in the gas directory (N2, nitrogen, CO2, 'carbon dioxide', Ar, H2, CH4, Kr,\n"
      "O2 ...; N2_hp and the like for the high-pressure tables), or a path to a .fpi file.\n"
      "Pressures are in the unit of the table, mmHg for the tables fiofla ships.\n",
      "exit codes: 0 ok, 1 gas table missing or unreadable, 2 bad arguments,\n"
      "            3 no value (no gas phase, outside the table, above the critical point)\n");
  gas->require_subcommand(0, 1);
  commands.Add(gas, [](Streams&) -> int {
    throw UsageError{"no subcommand given (list, show, z, psat, tsat, convert, build)"};
  });
  struct Shape {
    const char* name;
    const char* summary;
    const char* operands;  // help of the operands; null for none
    std::size_t count;     // operands needed (0: any number)
    bool pressure, temperature, sublimation;
  };
  static const Shape kShapes[] = {
      {"list", "the gas tables in the gas directory", nullptr, 0, false, false, false},
      {"show", "constants, grid extents and saturation points", "GAS", 1, false, false, false},
      {"z",
       "compressibility factor Z at P mmHg and T K; a point condensed by less than 5 K\n"
       "is taken on the saturation line, and the temperature used is printed",
       "GAS", 1, true, true, false},
      {"psat", "saturation (or sublimation) pressure at T K, mmHg", "GAS", 1, false, true, true},
      {"tsat", "saturation (or sublimation) temperature at P mmHg, K", "GAS", 1, true, false, true},
      {"convert",
       "a binary table stream to a JSON gas file, or a JSON gas file to a binary stream\n"
       "(the direction follows IN)",
       "IN OUT", 2, false, false, false},
      {"build",
       "generate the tables of the shipped gases (all, or those named) from their\n"
       "reference equations of state",
       "GAS...", 0, false, false, false},
  };
  for (const Shape& shape : kShapes) {
    auto opt = std::make_shared<GasOptions>();
    opt->sub = shape.name;
    CLI::App* cmd = AddCommand(*gas, shape.name, shape.summary, "", "");
    if (shape.operands != nullptr)
      cmd->add_option(shape.operands[0] == 'G' && shape.count == 1 ? "GAS" : "OPERANDS", opt->names,
                      shape.operands);
    if (shape.pressure)
      cmd->add_option_function<std::string>(
             "--p",
             [opt](const std::string& v) {
               opt->pressure = ParsePositive("--p", v);
               // Past 10 kbar no table, and no sorption measurement, has anything to say.
               if (*opt->pressure > 7.5e6)
                 throw UsageError{"--p " + v + " mmHg is above 7.5e6 mmHg (10 kbar)"};
             },
             "pressure, mmHg")
          ->type_name("P");
    if (shape.temperature)
      cmd->add_option_function<std::string>(
             "--t",
             [opt](const std::string& v) {
               opt->temperature = ParsePositive("--t", v);
               if (*opt->temperature > 5000.0) throw UsageError{"--t " + v + " K is above 5000 K"};
             },
             "temperature, K")
          ->type_name("T");
    if (shape.sublimation)
      cmd->add_flag("--sublimation", opt->sublimation,
                    "use the sublimation curve where the table has one");
    if (std::string(shape.name) == "build") {
      cmd->add_option("--out-dir", opt->outDir, "where the tables are written (needed)")
          ->type_name("DIR");
      cmd->add_option("--eos-dir", opt->eosDir,
                      "coefficient files (default: the eos folder beside the gas directory)")
          ->type_name("DIR");
    }
    cmd->add_option("--gas-dir", opt->gasDir,
                    "where gas tables are looked up (default: $FIOFLA_GAS_DIR, else the\n"
                    "tables installed with fiofla)")
        ->type_name("DIR");
    cmd->add_flag("--json", opt->json, "print the result as JSON");
    commands.Add(cmd, [opt, shape](Streams& io) {
      const std::string usage = std::string("usage: fiofla gas ") + shape.name +
                                (shape.operands ? std::string(" ") + shape.operands : "");
      if (shape.count > 0 && opt->names.size() != shape.count) throw UsageError{usage};
      if (shape.pressure && !opt->pressure) throw UsageError{"--p P (mmHg) is needed"};
      if (shape.temperature && !opt->temperature) throw UsageError{"--t T (K) is needed"};
      if (std::string(shape.name) == "build" && opt->outDir.empty())
        throw UsageError{"build needs --out-dir DIR"};
      return RunGasCommand(*opt, io);
    });
  }
}

}  // namespace fiofla::cli
