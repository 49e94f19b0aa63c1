// `fiofla chemi`: the chemisorbed monolayer uptake from a combined and an optional weak
// isotherm, and the metal dispersion, active area and crystallite size it gives.
#include <cmath>

#include "chemi_options.h"
#include "cli.h"
#include "cli_common.h"
#include "fiofla/gaschemi.h"
#include "fiofla/report_chemi.h"
#include "report_out.h"
#include "result.h"

namespace fiofla::cli {
namespace {

struct ChemiOptions {
  std::vector<std::string> files;
  IsothermReadOptions input;
  ChemiSettings chemi;
  bool json = false;
};

// Pressures (mmHg) and quantities (cm3/g STP) of a file's adsorption points.
struct Points {
  std::vector<double> p, q;
  IsothermInfo info;
};

Points PointsOf(const IsothermData& iso, const std::string& file, Streams& io) {
  // Notes on Po are left out: P/Po plays no part here, and a gas far above its critical
  // point has none to find.
  for (const std::string& note : iso.notes)
    if (note.find("Po") == std::string::npos) io.err << "fiofla: " << file << ": " << note << "\n";
  if (iso.pressureMmHg.size() != iso.size())
    throw InputError(file +
                     ": gives relative pressures only; chemisorption needs absolute "
                     "pressures (a column such as 'pressure [mmHg]')");
  Points pts;
  pts.info = iso.info;
  for (std::size_t i = 0; i < iso.size(); ++i)
    if (iso.branch[i] == Branch::kAdsorption) {
      pts.p.push_back(iso.pressureMmHg[i]);
      pts.q.push_back(iso.quantityAdsorbedCm3PerGStp[i]);
    }
  return pts;
}

const char* IsothermKey(CSinfeltCalc::EIsotherm which) {
  return which == CSinfeltCalc::eCombined ? "combined"
         : which == CSinfeltCalc::eWeak   ? "weak"
                                          : "strong";
}

// The metal with the user's own values in place of the table's.
SMetalProperties MetalOf(const ChemiSettings& o) {
  SMetalProperties m;
  if (const auto known = FindMetal(o.metal)) {
    m = *known;
  } else {
    m.symbol = o.metal;
    if (std::isnan(o.molarMass) || std::isnan(o.density) || std::isnan(o.atomArea)) {
      std::string known;
      for (const auto& k : MetalTable()) known += (known.empty() ? "" : ", ") + k.symbol;
      throw UsageError{"--metal '" + o.metal + "' is not in the table (" + known +
                       "); give --molar-mass, --density and --atom-area for it"};
    }
  }
  if (!std::isnan(o.molarMass)) m.molarMassGPerMol = o.molarMass;
  if (!std::isnan(o.density)) m.densityGPerCm3 = o.density;
  if (!std::isnan(o.atomArea)) m.surfaceAtomsPerM2 = 1e18 / o.atomArea;
  return m;
}

void AddLines(Result& r, const CSinfeltCalc& calc) {
  Table& t = r.AddTable("uptakes", "Uptake extrapolated to zero pressure",
                        {{"isotherm", "isotherm", 9, {}},
                         {"points", "points", 7, {}},
                         {"uptake_cm3_per_g_stp", "cm3/g STP", 11, Sig(5)},
                         {"uptake_error_cm3_per_g_stp", "+/-", 9, Sig(2)},
                         {"uptake_umol_per_g", "umol/g", 10, Sig(5)},
                         {"slope_cm3_per_g_stp_per_mmhg", "slope", 11, Sig(4)},
                         {"slope_error_cm3_per_g_stp_per_mmhg", "+/-", 9, Sig(2)},
                         {"r_squared", "r2", 9, Sig(6)}});
  for (auto which : {CSinfeltCalc::eCombined, CSinfeltCalc::eWeak, CSinfeltCalc::eStrong}) {
    if (which != CSinfeltCalc::eCombined && !calc.HasWeak()) continue;
    const auto& l = calc.GetLine(which);
    if (!l.m_Valid) {
      t.Row({std::string(IsothermKey(which)), static_cast<long long>(l.m_Points)});
      continue;
    }
    t.Row({std::string(IsothermKey(which)), static_cast<long long>(l.m_Points), l.m_Intercept,
           l.m_InterceptError, l.m_Intercept * kMicromolPerCm3Stp, l.m_Slope, l.m_SlopeError,
           l.m_RSquared});
  }
  if (calc.HasWeak() && calc.GetUptakeDifference() != 0.0)
    r.Add("combined_minus_weak_cm3_per_g_stp", "Combined minus weak uptake",
          calc.GetUptakeDifference(), "cm3/g STP", Sig(5));
}

void AddFits(Result& r, const CSinfeltCalc& calc) {
  // Text shows the parameters as one line; JSON gives each name, value, error and unit.
  std::vector<Column> columns = {
      {"isotherm", "isotherm", 9, {}}, {"model", "model", 22, {}},
      {"r_squared", "r2", 9, Sig(6)},  {"rms_error_cm3_per_g_stp", "RMS", 9, Sig(3)},
      {"", "parameters", 0, {}},       {"message", "", 0, {}}};
  for (const char* i : {"1", "2"})
    for (const char* what : {"name_", "value_", "error_", "unit_"})
      columns.push_back({std::string("parameter_") + what + i, "", 0, {}});
  Table& t = r.AddTable("model_fits", "Isotherm models", columns);
  for (const auto& f : calc.GetModelFits()) {
    std::vector<Value> row = {std::string(IsothermKey(f.m_Isotherm)),
                              std::string(ChemiModelName(f.m_Model))};
    if (!f.m_Valid) {
      row.insert(row.end(), {Value(), Value(), "not fitted: " + f.m_Message, f.m_Message});
      t.Row(row);
      continue;
    }
    std::string text;
    for (std::size_t i = 0; i < f.m_Parameters.size(); ++i)
      text += (i ? ", " : "") + f.m_Names[i] + " = " + Num(f.m_Parameters[i], 5) + " +/- " +
              Num(f.m_StandardErrors[i], 2) + (f.m_Units[i].empty() ? "" : " " + f.m_Units[i]);
    row.insert(row.end(), {f.m_RSquared, f.m_RmsError, text, Value()});
    for (std::size_t i = 0; i < f.m_Parameters.size(); ++i)
      row.insert(row.end(), {f.m_Names[i], f.m_Parameters[i], f.m_StandardErrors[i], f.m_Units[i]});
    t.Row(row);
  }
}

double ParseLoading(const std::string& v) {
  std::string number = v;
  for (const char* suffix : {"wt%", "%"}) {
    const std::string s = suffix;
    if (number.size() > s.size() && number.compare(number.size() - s.size(), s.size(), s) == 0) {
      number.erase(number.size() - s.size());
      break;
    }
  }
  while (!number.empty() && number.back() == ' ') number.pop_back();
  const auto x = ToDouble(number);
  if (!x || !(*x > 0.0 && *x <= 100.0))
    throw UsageError{"--loading '" + v + "' is not a metal content above 0 and at most 100 wt%"};
  return *x;
}

int Chemi(const ChemiOptions& o, Streams& io) {
  if (o.files.empty()) throw UsageError{"no COMBINED isotherm given"};
  if (o.files.size() > 2) throw UsageError{"more than two isotherms given: COMBINED [WEAK]"};
  IsothermReadOptions input = o.input;
  input.requirePo = false;  // chemisorption runs far above the gas's critical point
  std::vector<IsothermData> read;
  for (const std::string& file : o.files) read.push_back(ReadIsothermFile(file, input));
  std::vector<const IsothermData*> isotherms;
  for (const IsothermData& iso : read) isotherms.push_back(&iso);
  return PrintChemi(isotherms, o.files, o.chemi, o.json, io);
}

}  // namespace

int PrintChemi(const std::vector<const IsothermData*>& isotherms,
               const std::vector<std::string>& files, const ChemiSettings& o, bool json,
               Streams& io) {
  const bool surface = !o.metal.empty() || !std::isnan(o.loadingPercent);
  if (surface && (o.metal.empty() || std::isnan(o.loadingPercent)))
    throw UsageError{o.metal.empty() ? "--loading needs --metal" : "--metal needs --loading"};
  if (o.uptake == "strong" && files.size() < 2)
    throw UsageError{"--uptake strong needs a WEAK isotherm"};
  const SMetalProperties metal = surface ? MetalOf(o) : SMetalProperties();

  const Points combined = PointsOf(*isotherms[0], files[0], io);
  const Points weak = files.size() > 1 ? PointsOf(*isotherms[1], files[1], io) : Points();
  const std::string gas = !o.gas.empty() ? o.gas : combined.info.adsorptive;
  double stoichiometry = o.stoichiometry;
  if (surface && std::isnan(stoichiometry)) {
    const auto known = ChemisorptionStoichiometry(gas);
    if (!known)
      throw UsageError{gas.empty() ? "no --gas given and " + files[0] +
                                         " names no adsorptive; give --gas or --stoichiometry"
                                   : "--gas '" + gas +
                                         "' has no usual stoichiometry (H2, D2, CO, O2, N2O); "
                                         "give --stoichiometry"};
    stoichiometry = *known;
  }

  CSinfeltCalc::SInput in;
  in.m_CombinedPressures = combined.p;
  in.m_CombinedQuantities = combined.q;
  in.m_WeakPressures = weak.p;
  in.m_WeakQuantities = weak.q;
  in.m_RangeLow = o.rangeLow;
  in.m_RangeHigh = o.rangeHigh;
  const CSinfeltCalc calc(in);

  std::string title = "Chemisorption";
  if (!gas.empty()) title += " of " + gas;
  if (surface) title += " on " + metal.symbol;
  title += " from " + files[0] + (files.size() > 1 ? " and " + files[1] : "");
  Result r(title);
  r.Add("combined_file", "Combined isotherm", files[0]);
  if (files.size() > 1) r.Add("weak_file", "Weak isotherm", files[1]);
  if (!gas.empty()) r.Add("gas", "", gas);
  if (std::isfinite(combined.info.temperatureK))
    r.Add("temperature_k", "Temperature", combined.info.temperatureK, "K", Sig(6));
  r.Array("range_mmhg", {o.rangeLow, o.rangeHigh})
      .Text("Extrapolated over " + Num(o.rangeLow) + " to " + Num(o.rangeHigh) + " mmHg");
  AddLines(r, calc);

  const auto which = o.uptake == "combined"                   ? CSinfeltCalc::eCombined
                     : o.uptake == "strong" || calc.HasWeak() ? CSinfeltCalc::eStrong
                                                              : CSinfeltCalc::eCombined;
  std::optional<CActiveSurfaceCalc> active;
  const CSinfeltCalc::SLine& line = calc.GetLine(which);
  if (surface && line.m_Valid) {
    CActiveSurfaceCalc::SInput s = CActiveSurfaceCalc::InputFor(metal);
    s.m_Uptake = line.m_Intercept;
    s.m_UptakeUnit = CActiveSurfaceCalc::eCm3StpPerGram;
    s.m_MetalLoadingPercent = o.loadingPercent;
    s.m_Stoichiometry = stoichiometry;
    s.m_ShapeFactor = o.shapeFactor;
    active.emplace(s);
    r.Text("");
    r.Begin("active_metal", "Active metal");
    r.Add("metal", "Metal", metal.symbol)
        .Add("loading_wt_percent", "Loading", o.loadingPercent, "wt%", Sig(6))
        .Add("molar_mass_g_per_mol", "Molar mass", metal.molarMassGPerMol, "g/mol", Sig(6))
        .Add("density_g_per_cm3", "Density", metal.densityGPerCm3, "g/cm3", Sig(5))
        .Add("atom_area_nm2", "Atom area", metal.AtomAreaNm2(), "nm2", Sig(4))
        .Add("stoichiometry", "Stoichiometry", stoichiometry, "metal atoms per molecule", Sig(4))
        .Add("uptake_used", "Uptake used", std::string(IsothermKey(which)));
    if (active->IsOK()) {
      r.Add("uptake_umol_per_g", "Uptake", active->GetUptakeMicromolPerG(), "umol/g", Sig(5))
          .Add("dispersion_percent", "Dispersion", active->GetDispersionPercent(), "%", Sig(4))
          .Add("metal_area_m2_per_g_sample", "Metal area", active->GetAreaM2PerGSample(),
               "m2/g sample", Sig(4))
          .Add("metal_area_m2_per_g_metal", "Metal area", active->GetAreaM2PerGMetal(),
               "m2/g metal", Sig(4))
          .Add("crystallite_size_nm", "Crystallite size", active->GetCrystalliteSizeNm(), "nm",
               Sig(4))
          .Add("shape_factor", "Shape factor", o.shapeFactor, "", Sig(3));
    }
    r.End();
  }
  if (!calc.GetModelFits().empty()) AddFits(r, calc);
  if (!o.report.empty()) {
    CReportPageData page(CStr("Chemisorption report: " + files[0]));
    std::string what = "Extrapolated from " + Num(o.rangeLow) + " to " + Num(o.rangeHigh) +
                       " mmHg; combined isotherm " + files[0];
    if (files.size() > 1) what += ", weak isotherm " + files[1];
    CReportDataItemBase* last = AddChemiSection(calc, CStr(what), &page, nullptr);
    if (active && active->IsOK()) {
      SActiveSurfaceReport a;
      a.metal = metal;
      a.loadingPercent = o.loadingPercent;
      a.gas = gas;
      a.stoichiometry = stoichiometry;
      a.shapeFactor = o.shapeFactor;
      a.uptakeUsed = IsothermKey(which);
      AddActiveSurfaceTable(*active, a, &page, last);
    }
    const std::string names = files[0] + (files.size() > 1 ? ", " + files[1] : "");
    WriteReportPages({&page}, "Chemisorption report", "Isotherms: " + names, o.report,
                     "fiofla chemi", names, json ? io.err : io.out);
  }
  r.Print(io.out, json);

  int code = kExitOk;
  if (!calc.IsOK()) {
    io.err << "fiofla chemi: " << calc.GetMessage() << "\n";
    code = kExitNoResult;
  }
  if (surface && !line.m_Valid) {
    io.err << "fiofla chemi: no " << IsothermKey(which)
           << " uptake, so no dispersion, metal area or crystallite size\n";
    code = kExitNoResult;
  } else if (active && !active->IsOK()) {
    io.err << "fiofla chemi: " << active->GetMessage() << "\n";
    code = kExitNoResult;
  } else if (active && active->GetDispersionPercent() > 100.0) {
    io.err << "fiofla chemi: a dispersion above 100 % means more gas than surface metal "
              "atoms: check the stoichiometry, the loading and the extrapolation range\n";
  }
  return code;
}

void AddChemiOptions(CLI::App* cmd, ChemiSettings& s) {
  cmd->add_option_function<std::string>(
         "--range",
         [&s](const std::string& v) {
           std::tie(s.rangeLow, s.rangeHigh) = ParseRange("--range", v);
         },
         "pressure range of the straight-line extrapolation, mmHg (default 100:400)")
      ->type_name("LO:HI");
  cmd->add_option("--metal", s.metal,
                  "the active metal (Pt, Pd, Ni, Rh, Ru, Ir, Cu, Ag, Au, Co, Fe)")
      ->type_name("M");
  cmd->add_option_function<std::string>(
         "--loading", [&s](const std::string& v) { s.loadingPercent = ParseLoading(v); },
         "metal content of the sample, wt% (1wt%, 0.5)")
      ->type_name("W");
  cmd->add_option("--gas", s.gas, "the probe gas (default: the file's adsorptive)")->type_name("G");
  cmd->add_option_function<std::string>(
         "--stoichiometry",
         [&s](const std::string& v) { s.stoichiometry = ParsePositive("--stoichiometry", v); },
         "metal atoms per gas molecule (default by gas: H2 2, CO 1, O2 2, N2O 2)")
      ->type_name("N");
  cmd->add_option_function<std::string>(
         "--uptake",
         [&s](const std::string& v) {
           if (v != "combined" && v != "strong")
             throw UsageError{"--uptake '" + v + "' is not combined or strong"};
           s.uptake = v;
         },
         "uptake the dispersion uses: combined or strong (default: strong with a WEAK\n"
         "isotherm, else combined)")
      ->type_name("U");
  cmd->add_option_function<std::string>(
         "--shape-factor",
         [&s](const std::string& v) {
           if (v == "sphere")
             s.shapeFactor = 6.0;
           else if (v == "hemisphere" || v == "cube")
             s.shapeFactor = 5.0;
           else
             s.shapeFactor = ParsePositive("--shape-factor", v);
         },
         "crystallite shape: sphere (6, default), hemisphere or cube (5), or a number")
      ->type_name("F");
  cmd->add_option_function<std::string>(
         "--molar-mass",
         [&s](const std::string& v) { s.molarMass = ParsePositive("--molar-mass", v); },
         "molar mass of the metal, g/mol, in place of the table's")
      ->type_name("G/MOL");
  cmd->add_option_function<std::string>(
         "--density", [&s](const std::string& v) { s.density = ParsePositive("--density", v); },
         "density of the metal, g/cm3, in place of the table's")
      ->type_name("G/CM3");
  cmd->add_option_function<std::string>(
         "--atom-area",
         [&s](const std::string& v) { s.atomArea = ParsePositive("--atom-area", v); },
         "cross-sectional area of a surface metal atom, nm2, in place of the table's")
      ->type_name("NM2");
  cmd->add_option_function<std::string>(
         "--report",
         [&s](const std::string& v) {
           if (v.empty()) throw UsageError{"--report needs a file name"};
           s.report = v;
         },
         "also write the report page to OUT (.html, .json or .txt by its extension)")
      ->type_name("OUT");
}

void AddChemiCommand(CLI::App& app, Commands& commands) {
  auto o = std::make_shared<ChemiOptions>();
  CLI::App* cmd = AddCommand(
      app, "chemi", "chemisorption uptake, metal dispersion, area and crystallite size",
      "Reads the COMBINED isotherm of a static chemisorption run and, when measured, the\n"
      "WEAK (repeat) isotherm taken after evacuation; the strong isotherm is their\n"
      "difference, the weak interpolated linearly onto the combined pressures. Each uptake\n"
      "is the intercept of a straight line fitted to the plateau over --range. Langmuir,\n"
      "dissociative Langmuir, Freundlich and Temkin are fitted to the combined and strong\n"
      "isotherms. With --metal and --loading the uptake gives the dispersion, the metal area\n"
      "and the crystallite size. Pressures must be absolute; loadings in any unit the\n"
      "isotherm readers know (cm3/g STP, umol/g, ...).\n",
      "exit codes: 0 ok, 1 unreadable or malformed file, 2 bad arguments, 3 no result\n");
  cmd->add_option("COMBINED", o->files, "the combined isotherm, then the WEAK one when measured")
      ->expected(1, 2);
  AddInputOptions(cmd, o->input);
  AddChemiOptions(cmd, o->chemi);
  cmd->add_flag("--json", o->json, "print the result as JSON");
  commands.Add(cmd, [o](Streams& io) { return Chemi(*o, io); });
}

}  // namespace fiofla::cli
