// bet, tplot and bjh: the calculations the tool's `bet`, `tplot` and `bjh` run, with the same
// settings and the same values under the same keys as their --json.
#include <chrono>
#include <cmath>

#include "bindings.h"
#include "cli_common.h"
#include "fiofla/report_bet.h"
#include "pore_options.h"
#include "report_bet_pages.h"
#include "report_pages.h"

namespace fiofla::py {
namespace {

using namespace pyb::literals;

cli::BetSettings BetSettingsFrom(const pyb::object& range, const pyb::object& crossSection,
                                 const pyb::object& minPoints, const pyb::object& minR2,
                                 const pyb::object& tolerance) {
  cli::BetSettings s;
  if (pyb::isinstance<pyb::str>(range)) {
    if (range.cast<std::string>() != "auto")
      ThrowInput("range '" + range.cast<std::string>() + "' is not (lo, hi) or 'auto'");
    s.autoRange = true;
  } else {
    std::tie(s.rangeLow, s.rangeHigh) = ToRange(range, "range", 1.0);
  }
  s.crossSectionNm2 = ToPositive(crossSection, "cross_section (nm2)");
  const double n = ToNumber(minPoints, "min_points");
  if (n < 3 || n != std::floor(n) || n > 1e6)
    ThrowInput("min_points " + cli::Num(n) + " is not a whole number of points >= 3");
  s.autoOptions.minPoints = static_cast<std::size_t>(n);
  const double r = ToNumber(minR2, "min_r2");
  if (!(r >= 0.0 && r <= 1.0)) ThrowInput("min_r2 " + cli::Num(r) + " is not in [0, 1]");
  s.autoOptions.minRSquared = r;
  s.autoOptions.monolayerTolerance = ToPositive(tolerance, "tolerance");
  return s;
}

void AddSearch(Fields& f, const BetRangeResult& s) {
  Fields& g = f.Group("auto_range");
  g.Add("found", s.found)
      .Add("explanation", s.Explain())
      .Add("min_points", static_cast<long long>(s.options.minPoints))
      .Add("min_r_squared", s.options.minRSquared)
      .Add("monolayer_tolerance", s.options.monolayerTolerance)
      .Add("monolayer_relative_pressure", s.monolayerRelativePressure)
      .Add("c_relative_pressure", s.cRelativePressure)
      .Add("windows_searched", static_cast<long long>(s.windowsSearched))
      .Add("windows_passed", static_cast<long long>(s.windowsPassed));
  g.Group("windows_failed")
      .Add("r_squared", static_cast<long long>(s.failedRSquared))
      .Add("increasing", static_cast<long long>(s.failedIncreasing))
      .Add("positive_c", static_cast<long long>(s.failedPositiveC))
      .Add("monolayer_in_range", static_cast<long long>(s.failedMonolayerInRange))
      .Add("monolayer_agreement", static_cast<long long>(s.failedMonolayerAgreement))
      .Add("unusable", static_cast<long long>(s.unusable));
}

}  // namespace

std::shared_ptr<BetResult> MakeBetResult(std::shared_ptr<const IsothermData> data,
                                         const cli::BetSettings& settings) {
  auto run = std::make_shared<cli::BetRun>(cli::RunBetOn(*data, settings));
  const IsothermData& iso = *data;
  const CCalcBET& bet = *run->calc;
  auto result = std::make_shared<BetResult>();
  Fields& f = result->fields;
  f.Add("file", iso.source);
  if (run->search) AddSearch(f, *run->search);
  result->ok = !cli::NoBetResult(bet) && !(run->search && !run->search->found);
  if (!result->ok) result->reason = cli::NoResultReason(*run);
  result->headline = {"surface_area_m2_per_g", "c_value", "monolayer_capacity_cm3_per_g_stp",
                      "range"};
  result->mainTable = "points_used";
  result->html = [data, run] { return BetHtml(*data, *run); };
  if (run->search && !run->search->found) return result;

  f.Add("range", std::vector<double>{run->rangeLow, run->rangeHigh})
      .Add("cross_section_nm2", settings.crossSectionNm2)
      .Add("status", static_cast<long long>(bet.status))
      .Add("status_text", std::string(BETStatusText(bet.status)));
  if (!cli::NoBetResult(bet)) {
    f.Add("surface_area_m2_per_g", bet.surfaceArea)
        .Add("surface_area_error_m2_per_g", bet.surfaceAreaError)
        .Add("c_value", bet.cValue)
        .Add("monolayer_capacity_cm3_per_g_stp", bet.monolayerCapacity)
        .Add("slope_g_per_cm3_stp", bet.slope)
        .Add("slope_error_g_per_cm3_stp", bet.slopeError)
        .Add("intercept_g_per_cm3_stp", bet.yIntercept)
        .Add("intercept_error_g_per_cm3_stp", bet.yInterceptError)
        .Add("correlation", bet.correlation);
  }
  std::vector<std::string> warnings;
  if (!cli::NoBetResult(bet)) warnings = NBET::Warnings(bet);
  std::size_t negative = 0;
  for (double q : bet.fitQuantity) negative += q < 0.0 ? 1 : 0;
  if (negative > 0)
    warnings.push_back(std::to_string(negative) + " of the points in range " +
                       (negative == 1 ? "has" : "have") +
                       " a negative quantity adsorbed; review the isotherm");
  f.Add("warnings", std::move(warnings));

  Table& used = f.AddTable("points_used");
  Column& point = used.Col("point", Column::kInt);
  Column& line = used.Col("line", Column::kInt);
  Column& x = used.Col("relative_pressure");
  Column& q = used.Col("quantity_cm3_per_g_stp");
  Column& t = used.Col("bet_transform_g_per_cm3_stp");
  for (std::size_t k = 0; k < run->rangeRows.size(); ++k) {
    const std::size_t i = run->rangeRows[k];
    point.numbers.push_back(static_cast<double>(i + 1));
    line.numbers.push_back(static_cast<double>(iso.sourceLine[i]));
    x.numbers.push_back(bet.fitRelativePressure[k]);
    q.numbers.push_back(bet.fitQuantity[k]);
    t.numbers.push_back(bet.fitTransform[k]);
  }
  Table& dropped = f.AddTable("points_dropped");
  Column& dPoint = dropped.Col("point", Column::kInt);
  Column& dX = dropped.Col("relative_pressure");
  Column& dReason = dropped.Col("reason", Column::kText);
  for (std::size_t i : run->dropped) {
    dPoint.numbers.push_back(static_cast<double>(i + 1));
    dX.numbers.push_back(iso.relativePressure[i]);
    dReason.texts.emplace_back(cli::DroppedReason(iso.relativePressure[i]));
  }
  return result;
}

namespace {

cli::PoreSettings PoreSettingsFrom(const std::string& thickness, const pyb::object& density) {
  cli::PoreSettings s;
  if (!thickness.empty()) {
    s.thickness = thickness;
    cli::MakeThickness(thickness);  // an unknown name or a bad user curve raises here
  }
  s.densityConversion = ToPositive(density, "density_conversion");
  return s;
}

std::vector<std::string> TPlotWarnings(const CTPlotCalc& t) {
  std::vector<std::string> w;
  if (t.m_ExternalArea < 0.0)
    w.push_back("External area: the slope is negative (" + cli::Num(t.m_ExternalArea) +
                " m2/g); the thickness range does not lie on the multilayer part of the "
                "isotherm: choose another --t-range");
  if (t.m_MicroporeVolume < 0.0)
    w.push_back("Micropore volume: the intercept is negative (" + cli::Num(t.m_MicroporeVolume) +
                " cm3/g); read it as no micropores, or choose another --t-range");
  if (t.m_Status == 0 && t.m_MicroporeArea < 0.0)
    w.push_back("Micropore area: the external area exceeds the BET area (" +
                cli::Num(t.m_MicroporeArea) + " m2/g); read it as no micropores");
  if (t.m_Correlation < 0.995)
    w.push_back("Correlation coefficient: " + cli::Num(t.m_Correlation) +
                " is below 0.995; the points in the thickness range do not lie on a line");
  return w;
}

std::shared_ptr<TPlotResult> MakeTPlot(std::shared_ptr<const IsothermData> data,
                                       const cli::PoreSettings& s) {
  const IsothermData& iso = *data;
  double area = 0.0;
  if (s.betAreaM2PerG) {
    area = *s.betAreaM2PerG;
  } else {
    const cli::BetRun run = cli::RunBetOn(iso, cli::BetSettings());
    if (!cli::NoBetResult(*run.calc)) area = run.calc->surfaceArea;
  }
  std::shared_ptr<const CTPlotCalc> calc = cli::RunTPlotOn(iso, s, area);
  const CTPlotCalc& t = *calc;
  auto result = std::make_shared<TPlotResult>();
  Fields& f = result->fields;
  const std::string curve = s.ThicknessName();
  result->ok = t.m_Status == 0 || t.m_Status == 1;
  if (!result->ok) result->reason = cli::TPlotStatusText(t.m_Status);
  result->headline = {"micropore_volume_cm3_per_g", "external_area_m2_per_g",
                      "micropore_area_m2_per_g"};
  result->mainTable = "points";
  result->html = [calc, curve] { return TPlotHtml(*calc, curve); };
  f.Add("file", iso.source)
      .Add("thickness_curve", curve)
      .Add("status", static_cast<long long>(t.m_Status))
      .Add("thickness_min_angstrom", t.m_ThicknessMin)
      .Add("thickness_max_angstrom", t.m_ThicknessMax);
  if (!result->ok) return result;
  f.Add("micropore_volume_cm3_per_g", t.m_MicroporeVolume)
      .Add("micropore_volume_error", t.m_MicroporeVolumeError)
      .Add("external_area_m2_per_g", t.m_ExternalArea)
      .Add("external_area_error", t.m_ExternalAreaError)
      .Add("micropore_area_m2_per_g", t.m_Status == 0 ? t.m_MicroporeArea : NAN)
      .Add("total_area_m2_per_g", t.m_TotalSurfaceArea)
      .Add("slope_cm3_per_g_per_angstrom", t.m_Slope)
      .Add("slope_error", t.m_SlopeError)
      .Add("intercept_cm3_per_g", t.m_Intercept)
      .Add("intercept_error", t.m_InterceptError)
      .Add("correlation", t.m_Correlation);
  Table& points = f.AddTable("points");
  Column& x = points.Col("relative_pressure");
  Column& th = points.Col("thickness_angstrom");
  Column& q = points.Col("quantity_adsorbed_cm3_per_g_stp");
  Column& fitted = points.Col("fitted", Column::kBool);
  for (std::size_t i = 0; i < t.m_Thickness.size(); ++i) {
    x.numbers.push_back(t.m_RelPress[i]);
    th.numbers.push_back(t.m_Thickness[i]);
    q.numbers.push_back(t.m_QtyAdsorbed[i]);
    fitted.numbers.push_back(t.m_Thickness[i] >= t.m_ThicknessMin &&
                             t.m_Thickness[i] <= t.m_ThicknessMax);
  }
  f.Add("warnings", TPlotWarnings(t));
  return result;
}

std::shared_ptr<BjhResult> MakeBjh(std::shared_ptr<const IsothermData> data,
                                   const cli::PoreSettings& s) {
  const IsothermData& iso = *data;
  auto run = std::make_shared<cli::BjhRun>(cli::RunBjhOn(iso, s));
  const CBJHCalc& bjh = *run->calc;
  const char* branch = run->adsorption ? "adsorption" : "desorption";
  auto result = std::make_shared<BjhResult>();
  Fields& f = result->fields;
  result->ok = bjh.GetStatus() == CBJHCalc::STATUS_OK;
  result->headline = {"total_pore_volume_cm3_per_g", "total_pore_area_m2_per_g", "branch"};
  result->mainTable = "intervals";
  f.Add("file", iso.source)
      .Add("branch", std::string(branch))
      .Add("method", s.method)
      .Add("thickness_curve", s.ThicknessName())
      .Add("kelvin_constant_angstrom", s.kelvinAngstrom)
      .Add("diameter_range_angstrom", std::vector<double>{s.dLowAngstrom, s.dHighAngstrom})
      .Add("status", static_cast<long long>(bjh.GetStatus()));
  if (!result->ok) {
    result->reason = "no BJH result from the " + std::string(branch) + " branch (" +
                     std::to_string(run->points) +
                     " points): " + cli::BjhStatusText(bjh.GetStatus());
    return result;
  }
  const std::string description = std::string(branch) + " branch, " + s.method + " method, " +
                                  cli::ThicknessCurveTitle(s.ThicknessName()) +
                                  " thickness curve, Kelvin constant " +
                                  cli::Num(s.kelvinAngstrom) + " Å";
  result->html = [data, run, description] { return BjhHtml(*data, *run, description); };
  CNumVector<double> d, avg, vol, cumVol, logVol, area, cumArea;
  bjh.GetPoreDiameters(d);
  bjh.GetAverageDiameters(avg);
  bjh.GetIncrementalVolume(vol);
  bjh.GetCumulativeVolume(cumVol, true);
  bjh.GetLogDifferentialVolume(logVol, false);
  bjh.GetIncrementalArea(area);
  bjh.GetCumulativeArea(cumArea, true);
  f.Add("total_pore_volume_cm3_per_g", bjh.GetTotalPoreVolume())
      .Add("total_pore_area_m2_per_g", bjh.GetTotalPoreArea())
      .Add("volume_below_range_cm3_per_g", bjh.GetVolumeBelowRange())
      .Add("volume_above_range_cm3_per_g", bjh.GetVolumeAboveRange());
  auto at = [](const CNumVector<double>& v, std::size_t k) { return k < v.size() ? v[k] : NAN; };
  Table& t = f.AddTable("intervals");
  Column* cols[] = {&t.Col("diameter_from_angstrom"),      &t.Col("diameter_to_angstrom"),
                    &t.Col("average_diameter_angstrom"),   &t.Col("incremental_volume_cm3_per_g"),
                    &t.Col("cumulative_volume_cm3_per_g"), &t.Col("dv_dlogd_cm3_per_g"),
                    &t.Col("incremental_area_m2_per_g"),   &t.Col("cumulative_area_m2_per_g")};
  for (std::size_t k = 0; k < avg.size(); ++k) {
    const double row[] = {d[k],          d[k + 1],      avg[k],  vol[k],
                          at(cumVol, k), at(logVol, k), area[k], at(cumArea, k)};
    for (int c = 0; c < 8; ++c) cols[c]->numbers.push_back(row[c]);
  }
  const BjhWording wording = run->Wording(iso);
  Table& dropped = f.AddTable("points_dropped");
  Column& dPoint = dropped.Col("point", Column::kInt);
  Column& dX = dropped.Col("relative_pressure");
  Column& dQ = dropped.Col("quantity_cm3_per_g_stp");
  Column& dReason = dropped.Col("reason", Column::kText);
  for (const auto& p : bjh.GetDroppedPoints()) {
    const std::size_t i = p.index < run->isoIndex.size() ? run->isoIndex[p.index] : p.index;
    dPoint.numbers.push_back(static_cast<double>(i + 1));
    dX.numbers.push_back(p.relPress);
    dQ.numbers.push_back(p.qtyAdsorbed);
    dReason.texts.push_back(BjhDropReasonText(bjh, p));
  }
  f.Add("notes", BjhNotes(bjh, wording)).Add("warnings", BjhWarnings(bjh, wording));
  return result;
}

}  // namespace

void BindPores(pyb::module_& m) {
  // For the overhead benchmark (python/bench): the mean time of the C++ that `bet` runs once
  // its arguments are read, in seconds, without Python in the loop.
  m.def("_time_bet", [](const PyIsotherm& iso, int repeats) {
    const cli::BetSettings settings;
    pyb::gil_scoped_release release;
    const auto start = std::chrono::steady_clock::now();
    for (int i = 0; i < repeats; ++i) MakeBetResult(iso.data, settings);
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count() /
           repeats;
  });
  m.def(
      "bet",
      [](const pyb::object& iso, const pyb::object& range, const pyb::object& crossSection,
         const pyb::object& minPoints, const pyb::object& minR2, const pyb::object& tolerance) {
        const cli::BetSettings s =
            BetSettingsFrom(range, crossSection, minPoints, minR2, tolerance);
        auto data = IsothermArg(iso);
        return Unlocked([&] { return MakeBetResult(data, s); });
      },
      "isotherm"_a, pyb::kw_only(), "range"_a = pyb::make_tuple(0.05, 0.30),
      "cross_section"_a = 0.162, "min_points"_a = 10, "min_r2"_a = 0.995, "tolerance"_a = 0.20,
      R"(BET surface area of the adsorption branch.

range: (lo, hi) in P/Po, or "auto" to choose it by the four consistency criteria
(min_points, min_r2 and tolerance set the search). cross_section: nm2 (nitrogen 0.162).
Returns a BetResult: surface_area_m2_per_g, c_value, monolayer_capacity_cm3_per_g_stp, ...)");
  m.def(
      "tplot",
      [](const pyb::object& iso, const std::string& thickness, const pyb::object& tRange,
         const pyb::object& betArea, const pyb::object& density) {
        cli::PoreSettings s = PoreSettingsFrom(thickness, density);
        std::tie(s.tLowAngstrom, s.tHighAngstrom) = ToRange(tRange, "t_range (Å)");
        if (!betArea.is_none()) s.betAreaM2PerG = ToPositive(betArea, "bet_area (m2/g)");
        auto data = IsothermArg(iso);
        return Unlocked([&] { return MakeTPlot(data, s); });
      },
      "isotherm"_a, pyb::kw_only(), "thickness"_a = "", "t_range"_a = pyb::make_tuple(3.5, 5.0),
      "bet_area"_a = pyb::none(), "density_conversion"_a = 0.0015468,
      R"(t-plot: micropore volume, external and micropore areas.

thickness: "halsey", "harkins-jura" (default), "carbon", "bdb", "kjs" or "user:FILE".
t_range: fitted thickness range, Å. bet_area: total area, m2/g (default: BET over
0.05 to 0.30). density_conversion: liquid cm3 per cm3 STP (nitrogen at 77 K).)");
  m.def(
      "bjh",
      [](const pyb::object& iso, const pyb::object& branch, const std::string& method,
         const std::string& thickness, const pyb::object& kelvin, const pyb::object& radiusFraction,
         const pyb::object& diameterRange, const pyb::object& density) {
        cli::PoreSettings s = PoreSettingsFrom(thickness, density);
        if (!branch.is_none()) {
          const std::string b = pyb::str(branch);
          if (b != "adsorption" && b != "desorption")
            ThrowInput("branch '" + b + "' is not adsorption or desorption");
          s.adsorption = b == "adsorption";
        }
        if (method != "classical" && method != "corrected" && method != "widening" &&
            method != "kjs")
          ThrowInput("method '" + method + "' is not classical, corrected, widening or kjs");
        s.method = method;
        if (thickness.empty()) s.thickness.clear();
        s.kelvinAngstrom = ToPositive(kelvin, "kelvin_constant (Å)");
        s.radiusFraction = ToNumber(radiusFraction, "radius_fraction");
        if (!(s.radiusFraction > -1.0))
          ThrowInput("radius_fraction " + cli::Num(s.radiusFraction) + " must be > -1");
        std::tie(s.dLowAngstrom, s.dHighAngstrom) = ToRange(diameterRange, "diameter_range (Å)");
        auto data = IsothermArg(iso);
        return Unlocked([&] { return MakeBjh(data, s); });
      },
      "isotherm"_a, pyb::kw_only(), "branch"_a = pyb::none(), "method"_a = "classical",
      "thickness"_a = "", "kelvin_constant"_a = 9.53, "radius_fraction"_a = 0.0,
      "diameter_range"_a = pyb::make_tuple(17.0, 3000.0), "density_conversion"_a = 0.0015468,
      R"(BJH pore-size distribution of one branch.

branch: "desorption" (default; adsorption when there is none) or "adsorption".
method: "classical", "corrected", "widening" or "kjs". kelvin_constant: Å.
diameter_range: pore diameters reported, Å.)");
}

}  // namespace fiofla::py
