#include "pore_options.h"

#include <cerrno>
#include <cstring>
#include <fstream>
#include <sstream>
#include <tuple>
#include <vector>

#include "cli_common.h"
#include "fiofla/io/file_util.h"

namespace fiofla::cli {
namespace {

std::string Trim(const std::string& s) {
  const std::size_t a = s.find_first_not_of(" \t\r\"");
  const std::size_t b = s.find_last_not_of(" \t\r\"");
  return a == std::string::npos ? std::string() : s.substr(a, b - a + 1);
}

// Reads "relative pressure, thickness" rows; '#' comments and one header line are allowed.
// A thickness curve is a short table; 1 MB is thousands of rows more than any needs.
constexpr std::size_t kMaxCurveBytes = std::size_t(1) << 20;

void LoadUserCurve(const std::string& path, CThicknessFunction& curve) {
  std::string text;
  switch (ReadFileLimited(path, kMaxCurveBytes, &text)) {
    case FileReadStatus::kOk:
      break;
    case FileReadStatus::kNotOpened:
      throw InputError(path + ": cannot open the thickness curve: " + std::strerror(errno));
    case FileReadStatus::kNotRead:
      throw InputError(path + ": cannot read the thickness curve (is it a directory?)");
    case FileReadStatus::kTooLarge:
      throw InputError(path +
                       ": the thickness curve is larger than 1 MB; it is a table of "
                       "relative pressure and thickness");
  }
  std::istringstream in(text);
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

const std::pair<const char*, CThicknessFunction::EType> kCurves[] = {
    {"halsey", CThicknessFunction::eHalsey},
    {"harkins-jura", CThicknessFunction::eHarkinsJura},
    {"carbon", CThicknessFunction::eCarbon},
    {"bdb", CThicknessFunction::eBroekhoffDeBoer},
    {"kjs", CThicknessFunction::eKrukJaroniecSayari}};

void CheckThicknessName(const std::string& name) {
  if (name.rfind("user:", 0) == 0 && name.size() > 5) return;
  for (const auto& c : kCurves)
    if (name == c.first) return;
  throw UsageError{"--thickness '" + name +
                   "' is not halsey, harkins-jura, carbon, bdb, kjs or user:FILE"};
}

// Points of one branch, in measured order; their indices in `iso` go to `index` when given.
void BranchPoints(const IsothermData& iso, bool adsorption, std::vector<double>& p,
                  std::vector<double>& q, std::vector<std::size_t>* index = nullptr) {
  const Branch want = adsorption ? Branch::kAdsorption : Branch::kDesorption;
  for (std::size_t i = 0; i < iso.size(); ++i)
    if (iso.branch[i] == want) {
      p.push_back(iso.relativePressure[i]);
      q.push_back(iso.quantityAdsorbedCm3PerGStp[i]);
      if (index != nullptr) index->push_back(i);
    }
}

}  // namespace

std::string PoreSettings::ThicknessName() const {
  if (!thickness.empty()) return thickness;
  return method == "kjs" ? "kjs" : "harkins-jura";
}

void AddCommonPoreOptions(CLI::App* cmd, PoreSettings& s) {
  cmd->add_option_function<std::string>(
         "--thickness",
         [&s](const std::string& v) {
           CheckThicknessName(v);
           s.thickness = v;
         },
         "thickness curve: halsey, harkins-jura (default), carbon, bdb (Broekhoff-de\n"
         "Boer), kjs (Kruk-Jaroniec-Sayari; the default of the kjs BJH method) or user:FILE,\n"
         "a CSV of relative pressure and thickness in Å, ascending")
      ->type_name("CURVE");
  cmd->add_option_function<std::string>(
         "--density-conversion",
         [&s](const std::string& v) {
           s.densityConversion = ParsePositive("--density-conversion", v);
         },
         "liquid cm3 per cm3 STP (default 0.0015468, nitrogen at 77 K)")
      ->type_name("F");
}

void AddTPlotOptions(CLI::App* cmd, PoreSettings& s, bool withBetArea) {
  cmd->add_option_function<std::string>(
         "--t-range",
         [&s](const std::string& v) {
           std::tie(s.tLowAngstrom, s.tHighAngstrom) = ParseRange("--t-range", v);
         },
         "fitted thickness range of the t-plot, in Å (default 3.5:5.0)")
      ->type_name("LO:HI");
  if (withBetArea)
    cmd->add_option_function<std::string>(
           "--bet-area",
           [&s](const std::string& v) { s.betAreaM2PerG = ParsePositive("--bet-area", v); },
           "total surface area, m2/g (default: the BET area of FILE over P/Po 0.05 to 0.30)")
        ->type_name("A");
}

void AddBjhOptions(CLI::App* cmd, PoreSettings& s) {
  cmd->add_option_function<std::string>(
         "--branch",
         [&s](const std::string& v) {
           if (v != "adsorption" && v != "desorption")
             throw UsageError{"--branch '" + v + "' is not adsorption or desorption"};
           s.adsorption = v == "adsorption";
         },
         "BJH branch: desorption (default) or adsorption")
      ->type_name("B");
  cmd->add_option_function<std::string>(
         "--method",
         [&s](const std::string& v) {
           if (v != "classical" && v != "corrected" && v != "widening" && v != "kjs")
             throw UsageError{"--method '" + v + "' is not classical, corrected, widening or kjs"};
           s.method = v;
         },
         "BJH method: classical (default), corrected (weighted capillary diameters,\n"
         "film subtracted before a step counts), widening (pores widen as the film thins)\n"
         "or kjs (corrected, plus 3 Å on every Kelvin radius, with the kjs curve)")
      ->type_name("M");
  cmd->add_option_function<std::string>(
         "--kelvin-constant",
         [&s](const std::string& v) { s.kelvinAngstrom = ParsePositive("--kelvin-constant", v); },
         "Å, r = -K / ln(P/Po) (default 9.53, nitrogen at 77 K)")
      ->type_name("K");
  cmd->add_option_function<std::string>(
         "--radius-fraction",
         [&s](const std::string& v) {
           const auto f = ToDouble(v);
           if (!f || !(*f > -1.0)) throw UsageError{"--radius-fraction '" + v + "' must be > -1"};
           s.radiusFraction = *f;
         },
         "corrected methods divide the Kelvin radius by 1 + F (default 0)")
      ->type_name("F");
  cmd->add_option_function<std::string>(
         "--diameter-range",
         [&s](const std::string& v) {
           std::tie(s.dLowAngstrom, s.dHighAngstrom) = ParseRange("--diameter-range", v);
         },
         "pore diameters reported by BJH, Å (default 17:3000)")
      ->type_name("LO:HI");
}

std::unique_ptr<CThicknessFunction> MakeThickness(const std::string& name) {
  using T = CThicknessFunction;
  if (name.rfind("user:", 0) == 0) {
    auto curve = std::make_unique<T>(T::eUserDefined);
    LoadUserCurve(name.substr(5), *curve);
    return curve;
  }
  for (const auto& c : kCurves)
    if (name == c.first) return std::make_unique<T>(c.second);
  CheckThicknessName(name);
  return nullptr;
}

std::unique_ptr<CTPlotCalc> RunTPlotOn(const IsothermData& iso, const PoreSettings& s,
                                       double totalAreaM2PerG) {
  const auto thickness = MakeThickness(s.ThicknessName());
  CTPlotCalc::SInput in;
  BranchPoints(iso, true, in.m_RelPress, in.m_QtyAdsorbed);
  in.m_pThickness = thickness.get();
  in.m_ThicknessMin = s.tLowAngstrom;
  in.m_ThicknessMax = s.tHighAngstrom;
  in.m_DensityConversion = s.densityConversion;
  in.m_TotalSurfaceArea = totalAreaM2PerG;
  return std::make_unique<CTPlotCalc>(in);
}

BjhRun RunBjhOn(const IsothermData& iso, const PoreSettings& s) {
  BjhRun run;
  run.thickness = MakeThickness(s.ThicknessName());
  CBJHCalc::SInput in;
  bool adsorption = s.adsorption.value_or(false);
  BranchPoints(iso, adsorption, in.m_RelPress, in.m_QtyAdsorbed, &run.isoIndex);
  if (!s.adsorption && in.m_RelPress.size() < 2) {
    // An isotherm without a desorption branch still has an adsorption distribution.
    adsorption = true;
    in.m_RelPress.clear();
    in.m_QtyAdsorbed.clear();
    run.isoIndex.clear();
    BranchPoints(iso, true, in.m_RelPress, in.m_QtyAdsorbed, &run.isoIndex);
  }
  in.m_pThickness = run.thickness.get();
  in.m_UseAdsorption = adsorption;
  in.m_UseCorrection = s.method != "classical";
  in.m_Method = s.method == "widening" ? 2 : s.method == "kjs" ? 1 : 0;
  in.m_DensityConversion = s.densityConversion;
  in.m_KelvinConstant = s.kelvinAngstrom;
  in.m_RadiusFraction = s.radiusFraction;
  in.m_MinDiameter = s.dLowAngstrom;
  in.m_MaxDiameter = s.dHighAngstrom;
  run.adsorption = adsorption;
  run.points = in.m_RelPress.size();
  run.calc = std::make_unique<CBJHCalc>(in);
  return run;
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

BjhWording BjhRun::Wording(const IsothermData& iso) const {
  BjhWording w;
  w.pointName = [this, &iso](std::size_t k) {
    return k < isoIndex.size() ? iso.PointName(isoIndex[k]) : "point " + std::to_string(k + 1);
  };
  w.rangeSetting = "--diameter-range";
  return w;
}

void AddBjhAccounting(Result& r, const BjhRun& run, const IsothermData& iso) {
  const CBJHCalc& bjh = *run.calc;
  const BjhWording wording = run.Wording(iso);
  // As `bet` lists its points: the file's point and line in JSON, the point's name in text.
  Table& dropped = r.AddTable("points_dropped", "",
                              {{"point", "", 0, {}},
                               {"line", "", 0, {}},
                               {"relative_pressure", "", 0, {}},
                               {"quantity_cm3_per_g_stp", "", 0, {}},
                               {"reason", "", 0, {}}});
  std::vector<std::string> droppedLines;
  for (const auto& d : bjh.GetDroppedPoints()) {
    const std::size_t i = d.index < run.isoIndex.size() ? run.isoIndex[d.index] : d.index;
    Value line;  // left out of JSON when the format has no lines
    if (i < iso.sourceLine.size() && iso.sourceLine[i] > 0)
      line = static_cast<long long>(iso.sourceLine[i]);
    const std::string reason = BjhDropReasonText(bjh, d);
    dropped.Row({static_cast<long long>(i + 1), line, d.relPress, d.qtyAdsorbed, reason});
    droppedLines.push_back(wording.pointName(d.index) + ": P/Po " +
                           FormatNumber(d.relPress, Sig(6)) + ", " +
                           FormatNumber(d.qtyAdsorbed, Sig(6)) + " cm3/g STP, " + reason);
  }
  if (!droppedLines.empty()) r.Text("").List("", "Points BJH cannot use:", droppedLines);

  const auto& empty = bjh.GetEmptySteps();
  Table& steps =
      r.AddTable("steps_without_pores", empty.empty() ? "" : "Steps the thinning film explains",
                 {{"relative_pressure_from", "P/Po from", 11, Sig(4)},
                  {"relative_pressure_to", "P/Po to", 11, Sig(4)},
                  {"diameter_from_angstrom", "D from (Å)", 11, Dec(2)},
                  {"diameter_to_angstrom", "D to (Å)", 11, Dec(2)},
                  {"volume_cm3_per_g", "V (cm3/g)", 12, Sig(4)},
                  {"reason", "what became of it", 0, {}}});
  for (const auto& e : empty)
    steps.Row({e.relPressHigh, e.relPressLow, e.diameterHigh, e.diameterLow, e.volume,
               BjhEmptyStepText(e)});

  const std::vector<std::string> notes = BjhNotes(bjh, wording);
  const std::vector<std::string> warnings = BjhWarnings(bjh, wording);
  r.List("notes", "", notes).List("warnings", "", warnings);
  if (!notes.empty()) r.Text("").List("", "Notes:", notes);
  if (!warnings.empty()) r.Text("").List("", "Warnings:", warnings);
}

}  // namespace fiofla::cli
