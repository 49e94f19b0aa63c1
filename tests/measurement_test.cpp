#include "fiofla/measurement.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <string>

#include "test_util.h"

namespace {

using fiofla::InputError;
using fiofla::Measurement;
using fiofla::ReducedIsotherm;
using fiofla::SimulationPlan;

const CGasCompressibilityTable& Nitrogen() {
  CGasCompressibilityCache::ms_cCache.SetDirectory(CStr(fiofla::test::ShippedData("gases")));
  const CGasCompressibilityTable* gas =
      CGasCompressibilityCache::ms_cCache.GetGas(CStr("nitrogen"));
  EXPECT_NE(gas, nullptr);
  return *gas;
}

SimulationPlan Plan() {
  SimulationPlan plan;
  plan.sampleMassG = 0.1532;
  plan.freeSpaceAmbientCm3Stp = 21.3;
  plan.freeSpaceAnalysisCm3Stp = 64.8;
  for (int i = 1; i <= 20; ++i) plan.adsorptionTargets.push_back(0.0475 * i);
  for (int i = 1; i <= 8; ++i) plan.desorptionTargets.push_back(0.95 - 0.1 * i);
  return plan;
}

// Reduces a simulated run and checks every point against the model, to round-off.
void ExpectModelRecovered(const SimulationPlan& plan, double tolerance = 1e-11) {
  const Measurement run = SimulateMeasurement(plan, Nitrogen());
  // Through the file format too: what is written is what is reduced.
  const Measurement read = fiofla::ParseMeasurement(fiofla::FormatMeasurement(run), "run.json");
  const ReducedIsotherm r = fiofla::ReduceMeasurement(read);
  ASSERT_EQ(r.convertedPoints, plan.adsorptionTargets.size() + plan.desorptionTargets.size());
  EXPECT_FALSE(r.poStoppedAt.has_value());
  std::size_t offSchedule = 0;
  for (std::size_t i = 0; i < r.convertedPoints; ++i) {
    EXPECT_REL_CLOSE(r.quantityAdsorbedCm3PerGStp[i], plan.model.Evaluate(r.relativePressure[i]),
                     tolerance)
        << "point " << i;
    // Only the point where transpiration is switched off may leave its schedule.
    const double target = i < plan.adsorptionTargets.size()
                              ? plan.adsorptionTargets[i]
                              : plan.desorptionTargets[i - plan.adsorptionTargets.size()];
    EXPECT_NEAR(r.relativePressure[i], target, 1e-3) << i;
    if (std::fabs(r.relativePressure[i] - target) > 1e-12) ++offSchedule;
  }
  EXPECT_LE(offSchedule, plan.transpiration ? 1u : 0u);
  EXPECT_EQ(r.branch.back(), fiofla::Branch::kDesorption);
}

}  // namespace

TEST(VirtualAnalyser, ReductionReturnsTheModelInEveryGasLawForm) {
  SimulationPlan plan = Plan();
  ExpectModelRecovered(plan);  // gas table, no transpiration
  plan.gasLaw.adsorbedMolarVolumeCm3PerMol = 34.7;
  ExpectModelRecovered(plan);  // with the displaced-gas correction
  plan.gasLaw.form = fiofla::GasLawForm::kFactor;
  plan.gasLaw.nonIdealityPerMmHg = 6.6e-5;
  ExpectModelRecovered(plan);  // factor form
  plan.model.kind = fiofla::SimulationModel::Kind::kLangmuir;
  ExpectModelRecovered(plan);
}

TEST(VirtualAnalyser, ReductionReturnsTheModelWithThermalTranspiration) {
  SimulationPlan plan = Plan();
  plan.transpiration = Measurement::Transpiration{1.0, 0.3, 1.0};  // never switched off
  ExpectModelRecovered(plan, 1e-10);
  // Switched off part-way: the realised pressures jump, the quantities stay exact.
  plan.transpiration->ratioLimit = 0.999;
  ExpectModelRecovered(plan, 1e-10);
  const Measurement run = SimulateMeasurement(plan, Nitrogen());
  const ReducedIsotherm reduced = fiofla::ReduceMeasurement(run);
  EXPECT_NE(reduced.pressureMmHg.front(), reduced.manifoldPressureMmHg.front());
  EXPECT_EQ(reduced.pressureMmHg.back(), reduced.manifoldPressureMmHg.back());  // switched off
  // At low pressure the manifold reads more than the cold sample sees.
  EXPECT_GT(run.points[0].manifoldPressureMmHg,
            plan.adsorptionTargets[0] * Nitrogen()(0, 0, nullptr));
  plan.gasLaw.form = fiofla::GasLawForm::kFactor;
  plan.gasLaw.nonIdealityPerMmHg = 6.6e-5;
  ExpectModelRecovered(plan, 1e-10);
}

TEST(VirtualAnalyser, PoSourcesAndFreeSpaceKindsAgree) {
  const SimulationPlan plan = Plan();
  const Measurement run = SimulateMeasurement(plan, Nitrogen());
  const ReducedIsotherm entered = fiofla::ReduceMeasurement(run);

  // Po measured as a constant series, and adjusted onto the same value, give the same.
  Measurement measured = run;
  measured.po.source = fiofla::PoSourceKind::kMeasured;
  measured.po.readings = {{0.0, run.po.enteredMmHg}, {9000.0, run.po.enteredMmHg}};
  Measurement adjusted = measured;
  adjusted.po.source = fiofla::PoSourceKind::kAdjusted;
  adjusted.po.readings = {{0.0, run.po.enteredMmHg - 3.0}, {9000.0, run.po.enteredMmHg - 3.0}};
  adjusted.po.adjustedMmHg = run.po.enteredMmHg;
  adjusted.po.adjustedAtS = 600.0;
  // Po from the bath temperature through the gas table is the simulation's own Po.
  Measurement bath = run;
  bath.po.source = fiofla::PoSourceKind::kBathTemperature;
  // A calculated free space equal to the measured one: blank values plus the sample volume.
  Measurement calculated = run;
  calculated.sampleDensityGPerCm3 = 2.2;
  const double s = run.sampleMassG / 2.2 * 273.1499938964844;
  calculated.freeSpace.kind = fiofla::FreeSpaceKind::kCalculated;
  calculated.freeSpace.blankAmbientCm3Stp =
      run.freeSpace.ambientCm3Stp + s / run.ambientTemperatureK;
  calculated.freeSpace.blankAnalysisCm3Stp = run.freeSpace.analysisCm3Stp + s / 77.35;
  for (const Measurement* m : {&measured, &adjusted, &bath, &calculated}) {
    const ReducedIsotherm r = fiofla::ReduceMeasurement(*m);
    ASSERT_EQ(r.convertedPoints, entered.convertedPoints);
    for (std::size_t i = 0; i < r.convertedPoints; ++i) {
      EXPECT_REL_CLOSE(r.relativePressure[i], entered.relativePressure[i], 1e-12);
      EXPECT_REL_CLOSE(r.quantityAdsorbedCm3PerGStp[i], entered.quantityAdsorbedCm3PerGStp[i],
                       1e-10);
    }
  }
  // Without an analysis temperature, it follows from Po through the saturation curve.
  Measurement derived = run;
  derived.analysisTemperatureK.reset();
  EXPECT_NEAR(fiofla::ReduceMeasurement(derived).analysisTemperatureK, 77.35, 1e-6);
}

TEST(VirtualAnalyser, PoDroppingToZeroStopsConversionThere) {
  Measurement run = SimulateMeasurement(Plan(), Nitrogen());
  // Oxygen readings give the bath temperature; from the fifth point on they lie beyond the
  // critical pressure, where no temperature and hence no Po can be had.
  run.po.source = fiofla::PoSourceKind::kReferenceGas;
  run.po.referenceGas = "oxygen";
  run.po.readings = {{0.0, 160.0}, {1200.0, 160.0}, {1260.0, 1e6}};
  run.analysisTemperatureK = 77.35;
  const ReducedIsotherm r = fiofla::ReduceMeasurement(run);
  ASSERT_TRUE(r.poStoppedAt.has_value());
  EXPECT_EQ(*r.poStoppedAt, 4u);
  EXPECT_EQ(r.convertedPoints, 4u);
  EXPECT_GT(r.relativePressure[3], 0.0);
  EXPECT_EQ(r.ToIsothermData().size(), 4u);
}

TEST(MeasurementFile, RoundTripsAndNamesTheFieldOfEveryDefect) {
  SimulationPlan plan = Plan();
  plan.transpiration = Measurement::Transpiration{1.2, 0.25, 0.999};
  const Measurement run = SimulateMeasurement(plan, Nitrogen());
  const std::string text = fiofla::FormatMeasurement(run);
  const Measurement back = fiofla::ParseMeasurement(text, "run.json");
  EXPECT_EQ(back.points.size(), run.points.size());
  EXPECT_EQ(back.points[7].quantityDosedCm3Stp, run.points[7].quantityDosedCm3Stp);
  EXPECT_EQ(back.transpiration->ratioLimit, 0.999);
  EXPECT_EQ(fiofla::FormatMeasurement(back).substr(20), text.substr(20));

  auto fails = [&](const std::string& from, const std::string& to, const std::string& message,
                   const std::string& base = std::string()) {
    std::string bad = base.empty() ? text : base;
    const std::size_t at = bad.find(from);
    ASSERT_NE(at, std::string::npos) << from;
    bad.replace(at, from.size(), to);
    try {
      const Measurement m = fiofla::ParseMeasurement(bad, "run.json");
      fiofla::ReduceMeasurement(m);
      ADD_FAILURE() << "accepted: " << to;
    } catch (const InputError& e) {
      EXPECT_NE(std::string(e.what()).find(message), std::string::npos) << e.what();
    }
  };
  fails("\"mass_g\": 0.1532", "\"mass_g\": -0.1532",
        "\"sample.mass_g\" must lie between 1e-06 and 10000 g (got -0.1532)");
  // Values no instrument gives are refused where they are read, not reduced to infinities.
  fails("\"mass_g\": 0.1532", "\"mass_g\": 1e-320", "\"sample.mass_g\" must lie between");
  fails("\"ambient_cm3_stp\": 21.3", "\"ambient_cm3_stp\": 1e300",
        "\"free_space.ambient_cm3_stp\" must lie between 1e-06 and 1000000 cm3 STP");
  fails("\"quantity_dosed_cm3_stp\": ", "\"quantity_dosed_cm3_stp\": -5, \"y\": ",
        "\"points[0].quantity_dosed_cm3_stp\" must lie between 0 and");
  fails("\"manifold_pressure_mmhg\": ", "\"manifold_pressure_mmhg\": 1e300, \"x\": ",
        "\"points[0].manifold_pressure_mmhg\" must lie between 0 and 7500616.827 mmHg");
  fails("\"mass_g\": 0.1532", "\"mass_g\": \"heavy\"", "\"sample.mass_g\" must be a number");
  fails("\"adsorptive\": \"nitrogen\"", "\"adsorptive\": \"unobtainium\"",
        "\"adsorptive\" names a gas with no table");
  fails("\"time_s\": 600.0", "\"time_s\": 100.0",
        "\"points[1].time_s\" must not be earlier than points[0].time_s");
  fails("\"kind\": \"measured\"", "\"kind\": \"guessed\"",
        "\"free_space.kind\" must be one of \"entered\", \"measured\", \"calculated\"");
  fails("\"ambient_cm3_stp\"", "\"ambient_cm3\"", "\"free_space.ambient_cm3_stp\" is missing");
  std::string bath = text;
  bath.replace(bath.find("\"source\": \"entered\""), 19, "\"source\": \"bath_temperature\"");
  fails("\"analysis_temperature_k\": 77.35,", "",
        "\"analysis_temperature_k\" is needed when Po comes from the bath temperature", bath);
  fails("\"analysis_temperature_k\": 77.35", "\"analysis_temperature_k\": 300.0",
        "\"po\" cannot be obtained at the bath temperature 300 K", bath);
  fails("\"branch\": \"adsorption\"", "\"branch\": \"sideways\"",
        "\"points[0].branch\" must be \"adsorption\" or \"desorption\"");
  fails("\"format\": \"fiofla measurement\"", "\"format\": \"other\"", "\"format\" must be");
  fails("{", "[", "not valid JSON");
}

// A run the gas table does not hold says which points are extrapolated; one at high
// pressure near ambient takes the high-pressure table.
TEST(Reduction, StatesOutsideTheGasTableAreNamed) {
  const Measurement run = SimulateMeasurement(Plan(), Nitrogen());
  EXPECT_TRUE(fiofla::ReduceMeasurement(run).notes.empty());

  Measurement hot = run;
  hot.ambientTemperatureK = 400.0;  // the normal table stops at 350 K
  const ReducedIsotherm outside = fiofla::ReduceMeasurement(hot);
  ASSERT_EQ(outside.notes.size(), 1u);
  EXPECT_NE(outside.notes[0].find("28 points lie outside the gas table's grid"), std::string::npos)
      << outside.notes[0];
  // Named by number, pressure and the temperature that left the grid.
  char first[64];
  std::snprintf(first, sizeof first, "point 1 (%.6g mmHg at 400 K)", outside.pressureMmHg[0]);
  EXPECT_NE(outside.notes[0].find(first), std::string::npos) << outside.notes[0];
  EXPECT_NE(outside.notes[0].find("and 25 more"), std::string::npos);
  EXPECT_EQ(outside.ToIsothermData().notes, outside.notes);

  Measurement high = run;
  high.analysisTemperatureK = 298.15;
  for (auto& p : high.points) p.manifoldPressureMmHg *= 100.0;
  const ReducedIsotherm pressed = fiofla::ReduceMeasurement(high);
  ASSERT_EQ(pressed.notes.size(), 1u);
  EXPECT_NE(pressed.notes[0].find("high-pressure table"), std::string::npos) << pressed.notes[0];
}
