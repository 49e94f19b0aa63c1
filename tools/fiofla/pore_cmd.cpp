// `fiofla tplot` and `fiofla bjh`: the t-plot and the BJH pore-size distribution of an
// isotherm, as text or JSON.
#include <cmath>
#include <cstdio>
#include <fstream>
#include <memory>
#include <sstream>
#include <tuple>

#include "cli.h"
#include "cli_common.h"
#include "fiofla/gasbjh.h"
#include "fiofla/gastplot.h"

namespace fiofla::cli {
namespace {

constexpr const char* kThicknessHelp =
    "  --thickness CURVE       halsey, harkins-jura, carbon, bdb (Broekhoff-de Boer),\n"
    "                          kjs (Kruk-Jaroniec-Sayari) or user:FILE, a CSV of\n"
    "                          relative pressure and thickness in angstroms, ascending\n";

constexpr const char* kTPlotHelp =
    "usage: fiofla tplot FILE [--thickness CURVE] [--t-range LO:HI]\n"
    "                         [--density-conversion F] [--bet-area A] [--json]\n"
    "\n"
    "Plots the quantity adsorbed against the statistical film thickness t(P/Po) and fits\n"
    "a line over the thickness range: the slope gives the external surface area, the\n"
    "intercept the micropore volume, and the BET area less the external area the\n"
    "micropore area. FILE is an isotherm (CSV, AIF, ISODB JSON) or a measurement file.\n"
    "\n"
    "%s"
    "                          (default harkins-jura)\n"
    "  --t-range LO:HI         fitted thickness range, angstroms (default 3.5:5.0)\n"
    "  --density-conversion F  liquid cm3 per cm3 STP (default 0.0015468, nitrogen at 77 K)\n"
    "  --bet-area A            total surface area, m2/g (default: the BET area of FILE over\n"
    "                          P/Po 0.05 to 0.30)\n"
    "  --format F              read FILE as csv, aif, isodb or measurement (default: by\n"
    "                          extension)\n"
    "  --p0 P                  Po with its unit (101.325kPa) for absolute pressures\n"
    "  --json                  print the results as JSON\n"
    "\n"
    "exit codes: 0 ok, 1 unreadable file, 2 bad arguments, 3 no t-plot result\n";

constexpr const char* kBjhHelp =
    "usage: fiofla bjh FILE [--branch adsorption|desorption]\n"
    "                       [--method classical|corrected|widening|kjs]\n"
    "                       [--thickness CURVE] [--kelvin-constant K] [--radius-fraction F]\n"
    "                       [--density-conversion F] [--diameter-range LO:HI] [--json]\n"
    "\n"
    "BJH pore-size distribution (Barrett, Joyner and Halenda 1951) of one branch: the\n"
    "pores emptying at each step of the branch, by the Kelvin equation plus the film of\n"
    "the thickness curve, with the film thinning on pores already emptied taken off.\n"
    "Prints per interval the diameters, the incremental and cumulative pore volume and\n"
    "area, and dV/dlog(D). FILE is an isotherm (CSV, AIF, ISODB JSON) or a measurement\n"
    "file.\n"
    "\n"
    "  --branch B              desorption (default) or adsorption\n"
    "  --method M              classical (default), corrected (weighted capillary\n"
    "                          diameters, film subtracted before a step counts), widening\n"
    "                          (pores widen as the film thins) or kjs (corrected, plus 3 A\n"
    "                          on every Kelvin radius, with the kjs thickness curve)\n"
    "%s"
    "                          (default harkins-jura; kjs with --method kjs)\n"
    "  --kelvin-constant K     angstroms, r = -K / ln(P/Po) (default 9.53, nitrogen at 77 K)\n"
    "  --radius-fraction F     corrected methods divide the Kelvin radius by 1 + F (default 0)\n"
    "  --density-conversion F  liquid cm3 per cm3 STP (default 0.0015468, nitrogen at 77 K)\n"
    "  --diameter-range LO:HI  pore diameters reported, angstroms (default 17:3000)\n"
    "  --format F              read FILE as csv, aif, isodb or measurement (default: by\n"
    "                          extension)\n"
    "  --p0 P                  Po with its unit (101.325kPa) for absolute pressures\n"
    "  --json                  print the results as JSON\n"
    "\n"
    "exit codes: 0 ok, 1 unreadable file, 2 bad arguments, 3 no BJH result\n";

std::string Help(const char* format) {
  char text[4096];
  std::snprintf(text, sizeof text, format, kThicknessHelp);
  return text;
}

std::string Trim(const std::string& s) {
  const std::size_t a = s.find_first_not_of(" \t\r\"");
  const std::size_t b = s.find_last_not_of(" \t\r\"");
  return a == std::string::npos ? std::string() : s.substr(a, b - a + 1);
}

std::pair<double, double> Range(const std::string& option, const std::string& v) {
  const auto colon = v.find(':');
  const auto lo = colon == std::string::npos ? std::nullopt : ToDouble(v.substr(0, colon));
  const auto hi = colon == std::string::npos ? std::nullopt : ToDouble(v.substr(colon + 1));
  if (!lo || !hi || !(*lo >= 0.0) || !(*lo < *hi))
    throw UsageError{option + " '" + v + "' must be LO:HI with 0 <= LO < HI"};
  return {*lo, *hi};
}

double PositiveValue(const std::string& option, const std::string& v) {
  const auto x = ToDouble(v);
  if (!x || !(*x > 0.0)) throw UsageError{option + " '" + v + "' must be a positive number"};
  return *x;
}

// Reads "relative pressure, thickness" rows; '#' comments and one header line are allowed.
void LoadUserCurve(const std::string& path, CThicknessFunction& curve) {
  std::ifstream in(path);
  if (!in) throw InputError(path + ": cannot open the thickness curve");
  std::vector<double> p, t;
  std::string line;
  std::size_t lineNo = 0;
  bool header = false;
  while (std::getline(in, line)) {
    ++lineNo;
    const std::size_t first = line.find_first_not_of(" \t\r");
    if (first == std::string::npos || line[first] == '#') continue;
    const std::size_t sep = line.find_first_of(",;\t", first);
    const auto x =
        sep == std::string::npos ? std::nullopt : ToDouble(Trim(line.substr(first, sep - first)));
    const auto y = sep == std::string::npos ? std::nullopt : ToDouble(Trim(line.substr(sep + 1)));
    if (!x || !y) {
      if (p.empty() && !header) {
        header = true;  // a header naming the columns
        continue;
      }
      throw InputError(path + ":" + std::to_string(lineNo) +
                       ": expected 'relative pressure, thickness' as two numbers");
    }
    if (!(*x > 0.0 && *x < 1.0) || !(*y > 0.0))
      throw InputError(path + ":" + std::to_string(lineNo) +
                       ": relative pressure must lie in (0, 1) and thickness be positive");
    if (!p.empty() && !(*x > p.back()))
      throw InputError(path + ":" + std::to_string(lineNo) + ": relative pressures must rise");
    p.push_back(*x);
    t.push_back(*y);
  }
  if (p.size() < 2) throw InputError(path + ": a thickness curve needs at least 2 points");
  CNumVector<double> pv(p.size()), tv(t.size());
  for (std::size_t i = 0; i < p.size(); ++i) {
    pv[i] = p[i];
    tv[i] = t[i];
  }
  curve.SetUserDefinedThicknessCurve(pv, tv);
}

// The curve named by --thickness; user curves are read from their file.
std::unique_ptr<CThicknessFunction> MakeThickness(const std::string& name) {
  using T = CThicknessFunction;
  if (name.rfind("user:", 0) == 0) {
    auto curve = std::make_unique<T>(T::eUserDefined);
    LoadUserCurve(name.substr(5), *curve);
    return curve;
  }
  const std::pair<const char*, T::EType> names[] = {{"halsey", T::eHalsey},
                                                    {"harkins-jura", T::eHarkinsJura},
                                                    {"carbon", T::eCarbon},
                                                    {"bdb", T::eBroekhoffDeBoer},
                                                    {"kjs", T::eKrukJaroniecSayari}};
  for (const auto& n : names)
    if (name == n.first) return std::make_unique<T>(n.second);
  throw UsageError{"--thickness '" + name +
                   "' is not halsey, harkins-jura, carbon, bdb, kjs or user:FILE"};
}

struct PoreOptions {
  std::string file;
  IsothermReadOptions input;
  std::string thickness;
  bool json = false;
  bool help = false;
  // t-plot
  double tLow = 3.5, tHigh = 5.0;
  double densityConversion = 0.0015468;
  std::optional<double> betArea;
  // BJH
  bool adsorption = false;
  std::string method = "classical";
  double kelvin = 9.53, radiusFraction = 0.0;
  double dLow = 17.0, dHigh = 3000.0;
};

PoreOptions Parse(const std::vector<std::string>& args, bool bjh) {
  PoreOptions o;
  ArgReader reader(args);
  while (reader.Next()) {
    const std::string& a = reader.Arg();
    if (a == "--help" || a == "-h") {
      o.help = true;
    } else if (a == "--json") {
      o.json = true;
    } else if (a == "--thickness") {
      o.thickness = reader.Value();
    } else if (a == "--density-conversion") {
      o.densityConversion = PositiveValue(a, reader.Value());
    } else if (!bjh && a == "--t-range") {
      std::tie(o.tLow, o.tHigh) = Range(a, reader.Value());
    } else if (!bjh && a == "--bet-area") {
      o.betArea = PositiveValue(a, reader.Value());
    } else if (bjh && a == "--branch") {
      const std::string v = reader.Value();
      if (v != "adsorption" && v != "desorption")
        throw UsageError{"--branch '" + v + "' is not adsorption or desorption"};
      o.adsorption = v == "adsorption";
    } else if (bjh && a == "--method") {
      o.method = reader.Value();
      if (o.method != "classical" && o.method != "corrected" && o.method != "widening" &&
          o.method != "kjs")
        throw UsageError{"--method '" + o.method +
                         "' is not classical, corrected, widening or kjs"};
    } else if (bjh && a == "--kelvin-constant") {
      o.kelvin = PositiveValue(a, reader.Value());
    } else if (bjh && a == "--radius-fraction") {
      const std::string v = reader.Value();
      const auto f = ToDouble(v);
      if (!f || !(*f > -1.0)) throw UsageError{"--radius-fraction '" + v + "' must be > -1"};
      o.radiusFraction = *f;
    } else if (bjh && a == "--diameter-range") {
      std::tie(o.dLow, o.dHigh) = Range(a, reader.Value());
    } else if (ReadInputOption(reader, o.input)) {
    } else if (reader.IsOption()) {
      throw UsageError{"unknown option '" + a + "'"};
    } else if (o.file.empty()) {
      o.file = a;
    } else {
      throw UsageError{"more than one FILE given"};
    }
  }
  if (!o.help && o.file.empty()) throw UsageError{"no isotherm FILE given"};
  if (o.thickness.empty()) o.thickness = bjh && o.method == "kjs" ? "kjs" : "harkins-jura";
  return o;
}

const char* TPlotStatusText(int status) {
  switch (status) {
    case 1:
      return "the total surface area is not positive";
    case 2:
      return "not calculated";
    case 3:
      return "fewer than 2 isotherm points";
    case 4:
      return "fewer than 2 points in the thickness range";
    case 5:
      return "no usable thickness curve";
    default:
      return "ok";
  }
}

const char* BjhStatusText(int status) {
  switch (status) {
    case 1:
      return "fewer than 2 isotherm points";
    case 2:
      return "fewer than 2 points left once rising points are dropped";
    case 3:
      return "no pore interval produced";
    case 4:
      return "no interval inside the diameter range";
    case 5:
      return "no thickness curve";
    case 6:
      return "Kelvin constant not positive";
    case 7:
      return "density conversion not positive";
    case 8:
      return "not calculated";
    default:
      return "ok";
  }
}

// Points of one branch, in measured order.
void BranchPoints(const IsothermData& iso, bool adsorption, std::vector<double>& p,
                  std::vector<double>& q) {
  const fiofla::Branch want =
      adsorption ? fiofla::Branch::kAdsorption : fiofla::Branch::kDesorption;
  for (std::size_t i = 0; i < iso.size(); ++i)
    if (iso.branch[i] == want) {
      p.push_back(iso.relativePressure[i]);
      q.push_back(iso.quantityAdsorbedCm3PerGStp[i]);
    }
}

// Parses the command line, builds the thickness curve and reads the isotherm; an exit code
// when the command is done (help shown or an error reported).
std::optional<int> Prepare(const char* command, const char* help, bool bjh,
                           const std::vector<std::string>& args, std::ostream& out,
                           std::ostream& err, PoreOptions& o,
                           std::unique_ptr<CThicknessFunction>& thickness, IsothermData& iso) {
  try {
    o = Parse(args, bjh);
    if (o.help) {
      out << Help(help);
      return kExitOk;
    }
    thickness = MakeThickness(o.thickness);
    iso = LoadIsotherm(o.file, o.input, err);
  } catch (const UsageError& e) {
    err << "fiofla " << command << ": " << e.message << "\ntry 'fiofla " << command << " --help'\n";
    return kExitUsageError;
  } catch (const InputError& e) {
    err << "fiofla " << command << ": " << e.what() << "\n";
    return kExitInputError;
  }
  return std::nullopt;
}

}  // namespace

int RunTPlot(const std::vector<std::string>& args, std::ostream& out, std::ostream& err) {
  PoreOptions o;
  std::unique_ptr<CThicknessFunction> thickness;
  IsothermData iso;
  if (const auto code = Prepare("tplot", kTPlotHelp, false, args, out, err, o, thickness, iso))
    return *code;
  double area = 0.0;
  if (o.betArea) {
    area = *o.betArea;
  } else {
    const BetRun run = RunBetOn(iso, BetSettings());
    if (!NoBetResult(*run.calc)) area = run.calc->surfaceArea;
  }
  CTPlotCalc::SInput in;
  BranchPoints(iso, true, in.m_RelPress, in.m_QtyAdsorbed);
  in.m_pThickness = thickness.get();
  in.m_ThicknessMin = o.tLow;
  in.m_ThicknessMax = o.tHigh;
  in.m_DensityConversion = o.densityConversion;
  in.m_TotalSurfaceArea = area;
  const CTPlotCalc t(in);
  if (t.m_Status != 0 && t.m_Status != 1) {
    err << "fiofla tplot: no t-plot result: " << TPlotStatusText(t.m_Status) << "\n";
    return kExitNoResult;
  }
  if (o.json) {
    rapidjson::OStreamWrapper os(out);
    JsonWriter w(os);
    w.StartObject();
    w.Key("file");
    w.String(o.file.c_str());
    w.Key("thickness_curve");
    w.String(o.thickness.c_str());
    w.Key("status");
    w.Int(t.m_Status);
    JsonKeyNumber(w, "thickness_min_angstrom", t.m_ThicknessMin);
    JsonKeyNumber(w, "thickness_max_angstrom", t.m_ThicknessMax);
    JsonKeyNumber(w, "slope_cm3_per_g_per_angstrom", t.m_Slope);
    JsonKeyNumber(w, "slope_error", t.m_SlopeError);
    JsonKeyNumber(w, "intercept_cm3_per_g", t.m_Intercept);
    JsonKeyNumber(w, "intercept_error", t.m_InterceptError);
    JsonKeyNumber(w, "correlation", t.m_Correlation);
    JsonKeyNumber(w, "micropore_volume_cm3_per_g", t.m_MicroporeVolume);
    JsonKeyNumber(w, "micropore_volume_error", t.m_MicroporeVolumeError);
    JsonKeyNumber(w, "external_area_m2_per_g", t.m_ExternalArea);
    JsonKeyNumber(w, "external_area_error", t.m_ExternalAreaError);
    JsonKeyNumber(w, "micropore_area_m2_per_g", t.m_MicroporeArea);
    JsonKeyNumber(w, "total_area_m2_per_g", t.m_TotalSurfaceArea);
    w.Key("points");
    w.StartArray();
    for (std::size_t i = 0; i < t.m_Thickness.size(); ++i) {
      w.StartObject();
      JsonKeyNumber(w, "relative_pressure", t.m_RelPress[i]);
      JsonKeyNumber(w, "thickness_angstrom", t.m_Thickness[i]);
      JsonKeyNumber(w, "quantity_adsorbed_cm3_per_g_stp", t.m_QtyAdsorbed[i]);
      w.EndObject();
    }
    w.EndArray();
    w.EndObject();
    out << "\n";
    return kExitOk;
  }
  out << "t-plot of " << o.file << "\n"
      << "  thickness curve " << o.thickness << ", fitted over t = " << Num(t.m_ThicknessMin)
      << " to " << Num(t.m_ThicknessMax) << " A\n\n"
      << "  Micropore volume    " << Fixed(t.m_MicroporeVolume, 6) << " +/- "
      << Num(t.m_MicroporeVolumeError, 3) << " cm3/g\n"
      << "  External area       " << Fixed(t.m_ExternalArea, 4) << " +/- "
      << Num(t.m_ExternalAreaError, 3) << " m2/g\n";
  if (t.m_Status == 0)
    out << "  Micropore area      " << Fixed(t.m_MicroporeArea, 4) << " m2/g (total "
        << Fixed(t.m_TotalSurfaceArea, 4) << " m2/g)\n";
  else
    out << "  Micropore area      n/a: " << TPlotStatusText(t.m_Status) << "\n";
  out << "  Slope               " << Num(t.m_Slope) << " +/- " << Num(t.m_SlopeError, 3)
      << " cm3/g STP per A\n"
      << "  Intercept           " << Num(t.m_Intercept) << " +/- " << Num(t.m_InterceptError, 3)
      << " cm3/g STP\n"
      << "  Correlation         " << Fixed(t.m_Correlation, 8) << "\n";
  return kExitOk;
}

int RunBjh(const std::vector<std::string>& args, std::ostream& out, std::ostream& err) {
  PoreOptions o;
  std::unique_ptr<CThicknessFunction> thickness;
  IsothermData iso;
  if (const auto code = Prepare("bjh", kBjhHelp, true, args, out, err, o, thickness, iso))
    return *code;
  CBJHCalc::SInput in;
  BranchPoints(iso, o.adsorption, in.m_RelPress, in.m_QtyAdsorbed);
  in.m_pThickness = thickness.get();
  in.m_UseAdsorption = o.adsorption;
  in.m_UseCorrection = o.method != "classical";
  in.m_Method = o.method == "widening" ? 2 : o.method == "kjs" ? 1 : 0;
  in.m_DensityConversion = o.densityConversion;
  in.m_KelvinConstant = o.kelvin;
  in.m_RadiusFraction = o.radiusFraction;
  in.m_MinDiameter = o.dLow;
  in.m_MaxDiameter = o.dHigh;
  const CBJHCalc bjh(in);
  if (bjh.GetStatus() != CBJHCalc::STATUS_OK) {
    err << "fiofla bjh: no BJH result from the " << (o.adsorption ? "adsorption" : "desorption")
        << " branch (" << in.m_RelPress.size() << " points): " << BjhStatusText(bjh.GetStatus())
        << "\n";
    return kExitNoResult;
  }
  CNumVector<double> d, avg, vol, cumVol, logVol, area, cumArea;
  bjh.GetPoreDiameters(d);
  bjh.GetAverageDiameters(avg);
  bjh.GetIncrementalVolume(vol);
  bjh.GetCumulativeVolume(cumVol, true);
  bjh.GetLogDifferentialVolume(logVol, false);
  bjh.GetIncrementalArea(area);
  bjh.GetCumulativeArea(cumArea, true);
  if (o.json) {
    rapidjson::OStreamWrapper os(out);
    JsonWriter w(os);
    w.StartObject();
    w.Key("file");
    w.String(o.file.c_str());
    w.Key("branch");
    w.String(o.adsorption ? "adsorption" : "desorption");
    w.Key("method");
    w.String(o.method.c_str());
    w.Key("thickness_curve");
    w.String(o.thickness.c_str());
    JsonKeyNumber(w, "total_pore_volume_cm3_per_g", bjh.GetTotalPoreVolume());
    JsonKeyNumber(w, "total_pore_area_m2_per_g", bjh.GetTotalPoreArea());
    w.Key("intervals");
    w.StartArray();
    for (std::size_t k = 0; k < avg.size(); ++k) {
      w.StartObject();
      JsonKeyNumber(w, "diameter_from_angstrom", d[k]);
      JsonKeyNumber(w, "diameter_to_angstrom", d[k + 1]);
      JsonKeyNumber(w, "average_diameter_angstrom", avg[k]);
      JsonKeyNumber(w, "incremental_volume_cm3_per_g", vol[k]);
      JsonKeyNumber(w, "cumulative_volume_cm3_per_g", k < cumVol.size() ? cumVol[k] : NAN);
      JsonKeyNumber(w, "dv_dlogd_cm3_per_g", k < logVol.size() ? logVol[k] : NAN);
      JsonKeyNumber(w, "incremental_area_m2_per_g", area[k]);
      JsonKeyNumber(w, "cumulative_area_m2_per_g", k < cumArea.size() ? cumArea[k] : NAN);
      w.EndObject();
    }
    w.EndArray();
    w.EndObject();
    out << "\n";
    return kExitOk;
  }
  out << "BJH pore-size distribution of " << o.file << "\n"
      << "  " << (o.adsorption ? "adsorption" : "desorption") << " branch, " << o.method
      << " method, thickness curve " << o.thickness << ", Kelvin constant " << Num(o.kelvin)
      << " A\n\n"
      << "  Total pore volume   " << Fixed(bjh.GetTotalPoreVolume(), 6) << " cm3/g (pores of "
      << Num(o.dLow) << " to " << Num(o.dHigh) << " A)\n"
      << "  Total pore area     " << Fixed(bjh.GetTotalPoreArea(), 4) << " m2/g\n\n"
      << "  D range (A)              Davg (A)   V (cm3/g)   cum V (cm3/g)   dV/dlogD    "
         "A (m2/g)   cum A (m2/g)\n";
  char line[200];
  for (std::size_t k = 0; k < avg.size(); ++k) {
    std::snprintf(
        line, sizeof line, "  %9.2f - %9.2f  %9.2f  %10.6f  %14.6f  %9.5f  %10.4f  %13.4f\n", d[k],
        d[k + 1], avg[k], vol[k], k < cumVol.size() ? cumVol[k] : NAN,
        k < logVol.size() ? logVol[k] : NAN, area[k], k < cumArea.size() ? cumArea[k] : NAN);
    out << line;
  }
  return kExitOk;
}

}  // namespace fiofla::cli
