#include "fiofla/measurement.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <memory>

#include "fiofla/free_space.h"
#include "fiofla/gascalc.h"
#include "fiofla/isotherm.h"
#include "fiofla/po_and_t.h"
#include "fiofla/psat_vs_t.h"

namespace fiofla {
namespace {

[[noreturn]] void Fail(const Measurement& m, const std::string& key, const std::string& problem) {
  throw InputError(m.source + ": \"" + key + "\" " + problem);
}

std::string Show(double x) {
  char text[32];
  std::snprintf(text, sizeof text, "%.6g", x);
  return text;
}

const CGasCompressibilityTable& Gas(const Measurement& m, CGasCompressibilityCache& cache,
                                    const std::string& name, const char* key) {
  const CGasCompressibilityTable* table = cache.GetGas(CStr(name));
  if (table == nullptr)
    Fail(m, key,
         "names a gas with no table: " + std::string(cache.GetEffectiveDirectory().c_str()) + "/" +
             name + ".fpi cannot be opened");
  if (!table->GetReadError().empty())
    Fail(m, key, "names an unusable gas table: " + std::string(table->GetReadError().c_str()));
  return *table;
}

std::vector<CTimeInterval> Stamps(const std::vector<double>& seconds) {
  std::vector<CTimeInterval> out;
  out.reserve(seconds.size());
  for (double s : seconds) out.push_back(CTimeInterval::FromSeconds(s));
  return out;
}

// The Po and temperature source the file describes. `curve` and the gas tables must outlive
// the result (the reference-gas source borrows them).
std::unique_ptr<CPoAndT> MakeConditions(const Measurement& m, CGasCompressibilityCache& cache,
                                        const CGasCompressibilityTable& gas, CPsatVsT& curve) {
  const auto& po = m.po;
  const double tamb = m.ambientTemperatureK;
  const auto& tana = m.analysisTemperatureK;
  std::vector<double> values;
  std::vector<double> seconds;
  for (const auto& r : po.readings) {
    values.push_back(r.pressureMmHg);
    seconds.push_back(r.timeS);
  }
  const std::vector<CTimeInterval> times = Stamps(seconds);
  switch (po.source) {
    case PoSourceKind::kEntered:
      if (tana) return std::make_unique<CEnteredPo>(po.enteredMmHg, *tana, tamb);
      return std::make_unique<CEnteredPo>(po.enteredMmHg, gas, tamb);
    case PoSourceKind::kMeasured:
      if (tana) return std::make_unique<CMeasuredPo>(values, times, *tana, tamb);
      return std::make_unique<CMeasuredPo>(values, times, gas, tamb);
    case PoSourceKind::kAdjusted: {
      const CTimeInterval at = CTimeInterval::FromSeconds(po.adjustedAtS);
      if (tana)
        return std::make_unique<CAdjustedPo>(values, times, po.adjustedMmHg, at, *tana, tamb);
      return std::make_unique<CAdjustedPo>(values, times, po.adjustedMmHg, at, gas, tamb);
    }
    case PoSourceKind::kReferenceGas: {
      const CGasCompressibilityTable& reference =
          Gas(m, cache, po.referenceGas, "po.reference_gas");
      // The adsorptive's table may have been evicted by loading the reference gas only if
      // the cache held four others; reload it so both pointers are current.
      const CGasCompressibilityTable& adsorptive = Gas(m, cache, m.adsorptive, "adsorptive");
      if (tana)
        return std::make_unique<CPoFromPsat>(values, times, *tana, reference, adsorptive, tamb);
      return std::make_unique<CPoFromPsat>(values, times, reference, adsorptive, tamb);
    }
    case PoSourceKind::kBathTemperature:
      if (!po.saturationCurve.empty()) {
        for (const auto& pair : po.saturationCurve) curve.Append(pair.second, pair.first);
        return std::make_unique<CPoFromT>(*tana, curve, tamb);
      }
      return std::make_unique<CPoFromT>(*tana, gas, tamb);
  }
  return nullptr;
}

double BetLayers(double x, double c, double n) {
  if (n <= 0.0) return c * x / ((1.0 - x) * (1.0 - x + c * x));
  const double xn = std::pow(x, n);
  const double num = c * x * (1.0 - (n + 1.0) * xn + n * xn * x);
  const double den = (1.0 - x) * (1.0 + (c - 1.0) * x - c * xn * x);
  return num / den;
}

// Manifold pressure whose transpiration-corrected value is `sample` (bisection: the
// corrected pressure rises monotonically with the measured one).
double ManifoldPressureFor(double sample, const Measurement::Transpiration& tr, double tana,
                           double tamb) {
  if (!(sample > 0.0)) return sample;
  double lo = sample, hi = sample;
  // The ratio is at least sqrt(T1/T2) (molecular flow), so this bracket holds.
  const double minRatio = std::sqrt(std::min(tana, tamb) / std::max(tana, tamb));
  if (tana < tamb)
    hi = sample / minRatio * 1.0001;
  else
    lo = sample * minRatio / 1.0001;
  for (int k = 0; k < 200 && hi - lo > 0.0; ++k) {
    const double mid = 0.5 * (lo + hi);
    if (mid <= lo || mid >= hi) break;
    const double got = CGasCalculation::ThermalTranspirationPressure(
        mid, tr.gasFactor, tr.tubeInsideDiameterCm, tana, tamb, nullptr);
    (got < sample ? lo : hi) = mid;
  }
  return 0.5 * (lo + hi);
}

// The table Z comes from for the run's pressures at the manifold and sample temperatures:
// the adsorptive's own, or its high-pressure table when that holds every state and the own
// does not. States outside the table used are named in the notes. `high` keeps a
// high-pressure table alive for as long as the caller uses the result.
const CGasCompressibilityTable& TableForStates(const Measurement& m,
                                               CGasCompressibilityCache& cache,
                                               const CGasCompressibilityTable& adsorptive,
                                               const CNumVector<double>& pressure, double tana,
                                               ReducedIsotherm& r, CGasCompressibilityTable& high) {
  std::vector<std::pair<double, double>> states;
  for (std::size_t i = 0; i < pressure.size(); ++i) {
    states.emplace_back(pressure[i], m.ambientTemperatureK);
    states.emplace_back(pressure[i], tana);
  }
  const CGasCompressibilityTable* table = &adsorptive;
  bool usedHigh = false;
  const bool allIn = std::all_of(states.begin(), states.end(), [&](const auto& s) {
    return adsorptive.IsInGrid(s.first, s.second);
  });
  if (!allIn) {
    const CGasCompressibilityTable* picked =
        PickTableFor(cache, m.adsorptive, states, &high, &usedHigh);
    if (usedHigh && picked != nullptr) table = picked;
  }
  if (usedHigh)
    r.notes.push_back("Z of \"" + m.adsorptive + "\" is taken from its high-pressure table (" +
                      table->GridText() + ")");
  std::vector<std::string> outside;
  std::size_t count = 0;
  for (std::size_t i = 0; i < pressure.size(); ++i) {
    for (double t : {m.ambientTemperatureK, tana}) {
      if (table->IsInGrid(pressure[i], t)) continue;
      if (++count <= 3)
        outside.push_back("point " + std::to_string(i + 1) + " (" + Show(pressure[i]) +
                          " mmHg at " + Show(t) + " K)");
      break;
    }
  }
  if (count > 0) {
    std::string list;
    for (const auto& o : outside) list += (list.empty() ? "" : ", ") + o;
    if (count > outside.size()) list += " and " + std::to_string(count - outside.size()) + " more";
    r.notes.push_back(std::to_string(count) + " point" + (count == 1 ? " lies" : "s lie") +
                      " outside the gas table's grid (" + table->GridText() +
                      "), so their Z is extrapolated: " + list);
  }
  return *table;
}

}  // namespace

IsothermData ReducedIsotherm::ToIsothermData() const {
  IsothermData iso;
  iso.source = source;
  for (std::size_t i = 0; i < convertedPoints; ++i) {
    iso.relativePressure.push_back(relativePressure[i]);
    iso.quantityAdsorbedCm3PerGStp.push_back(quantityAdsorbedCm3PerGStp[i]);
    iso.branch.push_back(branch[i]);
    // A run's points have no lines of their own; PointName numbers them instead.
    iso.sourceLine.push_back(0);
    iso.pressureMmHg.push_back(pressureMmHg[i]);
    iso.poMmHg.push_back(poMmHg[i]);
  }
  iso.info.adsorptive = adsorptive;
  iso.info.temperatureK = analysisTemperatureK;
  iso.info.sampleMassG = sampleMassG;
  iso.info.pressureUnit = "mmHg";
  iso.notes = notes;
  return iso;
}

ReducedIsotherm ReduceMeasurement(const Measurement& m, CGasCompressibilityCache& cache) {
  const CGasCompressibilityTable& gas = Gas(m, cache, m.adsorptive, "adsorptive");
  CPsatVsT curve;
  const std::unique_ptr<CPoAndT> conditions = MakeConditions(m, cache, gas, curve);
  // The reference gas may have displaced nothing, but take the adsorptive afresh anyway.
  const CGasCompressibilityTable& adsorptive = Gas(m, cache, m.adsorptive, "adsorptive");
  const double tana = conditions->GetAnalysisTemperature();
  if (!(tana > 0.0))
    Fail(m, "analysis_temperature_k",
         "is not given and cannot be derived from Po (" + Show(conditions->GetAveragePo()) +
             " mmHg lies outside the saturation curve of \"" + m.adsorptive + "\")");
  if (m.po.source == PoSourceKind::kBathTemperature && !(conditions->GetAveragePo() > 0.0))
    Fail(m, "po",
         "cannot be obtained at the bath temperature " + Show(tana) +
             " K: it is above the critical temperature or outside the " +
             (m.po.saturationCurve.empty() ? "gas table" : "saturation curve"));

  const std::size_t n = m.points.size();
  ReducedIsotherm r;
  r.source = m.source;
  r.adsorptive = m.adsorptive;
  r.sampleMassG = m.sampleMassG;
  r.ambientTemperatureK = m.ambientTemperatureK;
  r.analysisTemperatureK = tana;
  CNumVector<double> measured(n), dosed(n);
  for (std::size_t i = 0; i < n; ++i) {
    const MeasuredPoint& p = m.points[i];
    r.timeS.push_back(p.timeS);
    r.branch.push_back(p.branch);
    r.manifoldPressureMmHg.push_back(p.manifoldPressureMmHg);
    measured[i] = p.manifoldPressureMmHg;
    dosed[i] = p.quantityDosedCm3Stp;
  }
  const std::vector<CTimeInterval> times = Stamps(r.timeS);

  CNumVector<double> pressure;
  if (m.transpiration)
    NIsotherm::MeasuredToAbsolutePressure(pressure, measured, m.transpiration->gasFactor,
                                          m.transpiration->tubeInsideDiameterCm, *conditions,
                                          m.transpiration->ratioLimit);
  else
    pressure = measured;

  const auto& f = m.freeSpace;
  std::unique_ptr<CFreeSpace> freeSpace;
  switch (f.kind) {
    case FreeSpaceKind::kEntered:
      freeSpace = std::make_unique<CEnteredFreeSpace>(f.ambientCm3Stp, f.analysisCm3Stp, 0.0,
                                                      f.offsetCm3Stp);
      break;
    case FreeSpaceKind::kMeasured:
      freeSpace = std::make_unique<CMeasuredFreeSpace>(f.ambientCm3Stp, f.analysisCm3Stp, 0.0,
                                                       f.offsetCm3Stp);
      break;
    case FreeSpaceKind::kCalculated:
      freeSpace = std::make_unique<CCalculatedFreeSpace>(
          *conditions, f.blankAmbientCm3Stp, f.blankAnalysisCm3Stp, m.sampleMassG,
          m.sampleDensityGPerCm3, 0.0, f.offsetCm3Stp);
      if (!(freeSpace->GetAnalysisFS(true) > 0.0) || !(freeSpace->GetAmbientFS(true) > 0.0))
        Fail(m, "free_space", "leaves no free space once the sample's volume is taken off");
      break;
  }

  CNumVector<double> adsorbed;
  if (m.gasLaw.form == GasLawForm::kTable) {
    CGasCompressibilityTable high;
    const CGasCompressibilityTable& zTable =
        TableForStates(m, cache, adsorptive, pressure, tana, r, high);
    NIsotherm::QuantityAdsorbed(adsorbed, dosed, pressure, m.sampleMassG, *freeSpace, *conditions,
                                zTable, m.gasLaw.adsorbedMolarVolumeCm3PerMol);
  } else
    NIsotherm::QuantityAdsorbed(adsorbed, dosed, pressure, m.sampleMassG, *freeSpace, *conditions,
                                m.gasLaw.nonIdealityPerMmHg, m.gasLaw.f1);

  CNumVector<double> relative;
  const bool all = NIsotherm::AbsoluteToRelativePressure(relative, pressure, times, *conditions);
  r.convertedPoints = n;
  for (std::size_t i = 0; i < n; ++i) {
    r.pressureMmHg.push_back(pressure[i]);
    r.quantityAdsorbedCm3PerGStp.push_back(adsorbed[i]);
    r.poMmHg.push_back(conditions->GetPo(times[i]));
    if (!all && !r.poStoppedAt && !(r.poMmHg[i] > 0.0)) {
      r.poStoppedAt = i;
      r.convertedPoints = i;
    }
    r.relativePressure.push_back(i < r.convertedPoints ? relative[i] : 0.0);
  }
  // What fiofla writes it must read back: a point that reduces to no finite number is an
  // error of the run, named here, not an "inf" in the output.
  for (std::size_t i = 0; i < r.convertedPoints; ++i)
    if (!std::isfinite(r.quantityAdsorbedCm3PerGStp[i]) || !std::isfinite(r.relativePressure[i]) ||
        !std::isfinite(r.pressureMmHg[i]))
      Fail(m, "points[" + std::to_string(i) + "]",
           "reduces to a value that is not a finite number (quantity adsorbed " +
               Show(r.quantityAdsorbedCm3PerGStp[i]) + " cm3/g STP, P/Po " +
               Show(r.relativePressure[i]) + "); check the sample mass and the free space");
  return r;
}

double SimulationModel::Evaluate(double x) const {
  if (kind == Kind::kLangmuir) return qm * k * x / (1.0 + k * x);
  return qm * BetLayers(x, c, layers);
}

std::string SimulationModel::Describe() const {
  if (kind == Kind::kLangmuir)
    return "Langmuir, K = " + Show(k) + ", Qm = " + Show(qm) + " cm3/g STP";
  const std::string which = layers > 0.0 ? Show(layers) + "-layer BET" : "BET";
  return which + ", C = " + Show(c) + ", Qm = " + Show(qm) + " cm3/g STP";
}

Measurement SimulateMeasurement(const SimulationPlan& plan, const CGasCompressibilityBase& gas) {
  Measurement m;
  m.source = "simulation";
  auto fail = [&](const std::string& what) { throw InputError("simulation: " + what); };
  if (!(plan.sampleMassG > 0.0)) fail("the sample mass must be greater than 0");
  if (!(plan.freeSpaceAmbientCm3Stp > 0.0) || !(plan.freeSpaceAnalysisCm3Stp > 0.0))
    fail("both free spaces must be greater than 0");
  if (!(plan.ambientTemperatureK > 0.0) || !(plan.analysisTemperatureK > 0.0))
    fail("both temperatures must be greater than 0");
  if (!(plan.secondsPerPoint > 0.0)) fail("the time between points must be greater than 0");
  std::vector<double> targets = plan.adsorptionTargets;
  targets.insert(targets.end(), plan.desorptionTargets.begin(), plan.desorptionTargets.end());
  if (targets.empty()) fail("no relative pressures to dose to");
  for (double x : targets)
    if (!(x > 0.0 && x < 1.0))
      fail("relative pressures must lie between 0 and 1 (got " + Show(x) + ")");
  if (plan.model.kind == SimulationModel::Kind::kBet && plan.model.layers <= 0.0 &&
      targets.end() !=
          std::find_if(targets.begin(), targets.end(), [](double x) { return x >= 0.999; }))
    fail("the unrestricted BET equation has no finite value that close to saturation");

  const double tana = plan.analysisTemperatureK, tamb = plan.ambientTemperatureK;
  double po = plan.poMmHg;
  if (!(po > 0.0)) {
    if (!gas.CalcPsatFromTemp(&po, tana, false) && !gas.CalcPsatFromTemp(&po, tana, true))
      fail("the gas table has no saturation pressure at " + Show(tana) + " K; give Po");
  }

  m.sampleName = plan.sampleName;
  m.sampleMassG = plan.sampleMassG;
  m.adsorptive = plan.adsorptive;
  m.ambientTemperatureK = tamb;
  m.analysisTemperatureK = tana;
  m.freeSpace.kind = FreeSpaceKind::kMeasured;
  m.freeSpace.ambientCm3Stp = plan.freeSpaceAmbientCm3Stp;
  m.freeSpace.analysisCm3Stp = plan.freeSpaceAnalysisCm3Stp;
  m.po.source = PoSourceKind::kEntered;
  m.po.enteredMmHg = po;
  m.gasLaw = plan.gasLaw;
  m.transpiration = plan.transpiration;

  const CEnteredPo conditions(po, tana, tamb);
  const std::size_t n = targets.size();
  std::vector<double> seconds(n);
  CNumVector<double> manifold(n);
  for (std::size_t i = 0; i < n; ++i) {
    seconds[i] = plan.secondsPerPoint * double(i + 1);
    const double sample = targets[i] * po;
    manifold[i] =
        plan.transpiration ? ManifoldPressureFor(sample, *plan.transpiration, tana, tamb) : sample;
  }
  // Once the reduction switches the correction off (at the first point whose ratio reaches
  // the limit) it takes later manifold pressures as they are: dose those to the target.
  if (plan.transpiration) {
    for (std::size_t i = 0; i < n; ++i) {
      double ratio = 1.0;
      CGasCalculation::ThermalTranspirationPressure(manifold[i], plan.transpiration->gasFactor,
                                                    plan.transpiration->tubeInsideDiameterCm, tana,
                                                    tamb, &ratio);
      if (ratio >= plan.transpiration->ratioLimit) {
        for (std::size_t j = i + 1; j < n; ++j) manifold[j] = targets[j] * po;
        break;
      }
    }
  }
  // The sample pressures the reduction will find, switch-off included.
  CNumVector<double> pressure;
  if (plan.transpiration)
    NIsotherm::MeasuredToAbsolutePressure(pressure, manifold, plan.transpiration->gasFactor,
                                          plan.transpiration->tubeInsideDiameterCm, conditions,
                                          plan.transpiration->ratioLimit);
  else
    pressure = manifold;
  const std::vector<CTimeInterval> times = Stamps(seconds);
  CNumVector<double> relative;
  NIsotherm::AbsoluteToRelativePressure(relative, pressure, times, conditions);

  const double vamb = plan.freeSpaceAmbientCm3Stp, vana = plan.freeSpaceAnalysisCm3Stp;
  const double vm = plan.gasLaw.adsorbedMolarVolumeCm3PerMol;
  double ambient = tamb;  // mirrors the reduction's sticky ambient substitution
  for (std::size_t i = 0; i < n; ++i) {
    const double p = pressure[i];
    const double adsorbedCm3 = plan.sampleMassG * plan.model.Evaluate(relative[i]);
    double dosed = 0.0;
    if (plan.gasLaw.form == GasLawForm::kFactor) {
      dosed = CGasCalculation::QuantityDosed(adsorbedCm3, vamb, vana, p, tana,
                                             plan.gasLaw.nonIdealityPerMmHg, plan.gasLaw.f1, 0.0);
    } else {
      if (gas(p, ambient, nullptr) <= 0.0) ambient = tana;
      const double z = gas(p, tana, nullptr);
      const double displaced =
          z > 0.0 ? p * vm * kStandardTemperature / (z * kMolarVolumeStp * tana * kStandardPressure)
                  : 0.0;
      dosed = CGasCalculation::VolumeDosed(adsorbedCm3 * (1.0 - displaced), vamb, vana, p, ambient,
                                           tana, gas);
    }
    MeasuredPoint point;
    point.timeS = seconds[i];
    point.manifoldPressureMmHg = manifold[i];
    point.quantityDosedCm3Stp = dosed;
    point.branch = i < plan.adsorptionTargets.size() ? Branch::kAdsorption : Branch::kDesorption;
    m.points.push_back(point);
  }
  return m;
}

}  // namespace fiofla
