#include "fiofla/units/units.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <memory>
#include <string>

#include "fiofla/datagasadsorption.h"
#include "fiofla/units/unit_text.h"
#include "test_util.h"

namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kN2MolarMass = 28.0134;    // g/mol
constexpr double kN2LiquidDensity = 0.808;  // g/cm³ at 77 K

enum GasUnit { kStp, kMmol, kMolPerKg, kMass, kLiquid };

CUnits WithN2(CUnits units) {
  units.SetMolarMass(kN2MolarMass);
  units.SetLiquidDensity(kN2LiquidDensity);
  return units;
}

TEST(Units, EveryUnitRoundTripsAndNeedsItsParameters) {
  for (CUnits const& units :
       {fcn_UT_RelativePressure(), fcn_UT_InvRelativePressure(), fcn_UT_GasAmountAdsorbed(),
        fiofla::PressureUnits(), fiofla::InverseGasAmountUnits(), fiofla::TemperatureUnits()}) {
    const CUnits set = WithN2(units);
    EXPECT_FALSE(set.IsNull());
    for (std::size_t i = 0; i < set.Units().size(); ++i) {
      EXPECT_TRUE(set.CanConvert(i)) << set.Name() << " " << set.Units()[i].Id();
      for (double x : {-3.5, 0.0123, 77.35, 1.0e5}) {
        // Adding and removing an offset (°C) cancels digits at the offset's scale.
        const double tol = 1e-12 * std::max(std::fabs(x), std::fabs(set.Units()[i].Offset()));
        EXPECT_NEAR(set.ToInternal(set.FromInternal(x, i), i), x, tol);
        EXPECT_NEAR(set.FromInternal(set.ToInternal(x, i), i), x, tol);
      }
    }
    EXPECT_TRUE(std::isnan(set.ToInternal(1.0, set.Units().size())));
  }

  // Each inverse unit is the reciprocal of its quantity-adsorbed counterpart.
  const CUnits gas = WithN2(fcn_UT_GasAmountAdsorbed());
  const CUnits inverse = WithN2(fiofla::InverseGasAmountUnits());
  ASSERT_EQ(inverse.Units().size(), gas.Units().size());
  for (std::size_t i = 0; i < gas.Units().size(); ++i)
    EXPECT_REL_CLOSE(inverse.FromInternal(1.0 / 150.0, i), 1.0 / gas.FromInternal(150.0, i), 1e-12);

  CUnits bare = fcn_UT_GasAmountAdsorbed();
  EXPECT_TRUE(bare.CanConvert(kMmol));
  EXPECT_TRUE(std::isnan(bare.ToInternal(1.0, kMass)));
  bare.SetMolarMass(kN2MolarMass);
  bare.SetLiquidDensity(kNaN);
  EXPECT_TRUE(bare.CanConvert(kMass));
  EXPECT_TRUE(std::isnan(bare.FromInternal(1.0, kLiquid)));
  EXPECT_FALSE(bare.CanConvert(kLiquid));

  const CUnits none;
  EXPECT_EQ(none.DisplayText(), "");
  EXPECT_EQ(none.ToInternal(-4.25), -4.25);
  EXPECT_EQ(none.FromInternal(7.5), 7.5);
}

TEST(Units, KnownConversions) {
  const CUnits gas = WithN2(fcn_UT_GasAmountAdsorbed());
  EXPECT_REL_CLOSE(gas.ToInternal(1.0, kMmol), 22.414, 1e-15);
  EXPECT_REL_CLOSE(gas.ToInternal(1.0, kMolPerKg), 22.414, 1e-15);
  EXPECT_REL_CLOSE(gas.ToInternal(kN2MolarMass, kMass), 22.414, 1e-15);
  EXPECT_REL_CLOSE(gas.ToInternal(1.0, kLiquid), 646.4946061527698, 1e-13);
  EXPECT_REL_CLOSE(fiofla::InverseGasAmountUnits().ToInternal(22.414, kMmol), 1.0, 1e-15);

  const CUnits pressure = fiofla::PressureUnits();
  const struct {
    char const* unit;
    double value, mmHg;
  } pressures[] = {{"kPa", 101.325, 760.0},  {"Pa", 101325.0, 760.0},
                   {"MPa", 0.101325, 760.0}, {"bar", 1.01325, 760.0},
                   {"mbar", 1013.25, 760.0}, {"atm", 1.0, 760.0},
                   {"torr", 1.0, 1.0},       {"psi", 1.0, 51.71493257150708}};
  for (auto const& p : pressures)
    EXPECT_REL_CLOSE(pressure.ToInternal(p.value, pressure.Find(p.unit)), p.mmHg, 1e-14) << p.unit;

  CUnits temperature = fiofla::TemperatureUnits();
  ASSERT_TRUE(temperature.Select("degC"));
  EXPECT_EQ(temperature.DisplayText(), "°C");
  EXPECT_EQ(temperature.ToInternal(0.0), 273.15);
  EXPECT_REL_CLOSE(temperature.FromInternal(77.35), -195.8, 1e-12);
}

TEST(Units, FindAndSelectIgnoreCaseAndBlanks) {
  CUnits gas = fcn_UT_GasAmountAdsorbed();
  EXPECT_EQ(gas.Name(), "GasAmountAdsorbed");
  EXPECT_EQ(gas.DisplayText(), "cm³/g STP");
  EXPECT_EQ(gas.Find("CC/G"), kStp);
  EXPECT_EQ(gas.Find("cm3 (STP) / g"), kStp);
  EXPECT_EQ(gas.Find(" mmol\t/ G "), kMmol);
  EXPECT_EQ(gas.Find("CM3LIQ/g"), kLiquid);
  EXPECT_EQ(gas.Find("cm³ liquid/g"), kLiquid);
  EXPECT_EQ(gas.Find(""), -1);
  EXPECT_EQ(gas.Find("mmol"), -1);

  EXPECT_FALSE(gas.Select("furlong"));
  EXPECT_EQ(gas.SelectedIndex(), 0u);
  EXPECT_TRUE(gas.Select("MOL/KG"));
  EXPECT_EQ(gas.SelectedIndex(), static_cast<std::size_t>(kMolPerKg));
  EXPECT_EQ(gas.DisplayText(), "mol/kg");
  EXPECT_REL_CLOSE(gas.ToInternal(2.0), 44.828, 1e-15);

  EXPECT_EQ(fiofla::TemperatureUnits().Find("Celsius"), 1);
  EXPECT_EQ(CUnits("X", {CUnitsStr("a", "a", 1.0)}, 5).SelectedIndex(), 0u);
}

TEST(UnitsContext, GasLibContextResolvesPlaceholders) {
  const std::shared_ptr<CUnitsContext> gasLib = UnitsContextGasLib();
  ASSERT_TRUE(gasLib);
  EXPECT_EQ(gasLib, UnitsContextGasLib());
  EXPECT_EQ(gasLib->Name(), "UnitsContextGasLib");
  EXPECT_TRUE(gasLib->Selections().empty());
  ASSERT_EQ(gasLib->Units().size(), 2u);
  EXPECT_EQ(gasLib->Units().begin()->first, "InvRelativePressure");

  EXPECT_EQ(gasLib->ResolveText("1/[Q({%UT:InvRelativePressure%} - 1)]"), "1/[Q(Po/P - 1)]");
  EXPECT_EQ(gasLib->ResolveText("Δ {%UT:RelativePressure%}{%UT:InvRelativePressure%} ≥ µ"),
            "Δ P/PoPo/P ≥ µ");
  for (char const* kept : {"{%UT:Nope%} and {%UT:%}", "tail {%UT:RelativePressure", "{%UT", ""})
    EXPECT_EQ(gasLib->ResolveText(kept), kept);
  EXPECT_EQ(gasLib->ResolveText("{%UT:Nope%}={%UT:RelativePressure%}"), "{%UT:Nope%}=P/Po");
  EXPECT_EQ(gasLib->ResolveText("{%UT:a {%UT:RelativePressure%}"), "{%UT:a P/Po");
  EXPECT_TRUE(gasLib->Lookup("Nope").IsNull());
}

TEST(UnitsContext, SelectionsApplyByKindName) {
  const CUnitsContext::UnitsMap units{{"Quantity", fcn_UT_GasAmountAdsorbed()}};
  const auto mmol = CUnitsContext::Create(
      "c", {{"GasAmountAdsorbed", std::make_shared<CUnitSelection>("GasAmountAdsorbed", "mmol/g")}},
      units);
  EXPECT_EQ(mmol->Lookup("Quantity").DisplayText(), "mmol/g");
  EXPECT_EQ(mmol->ResolveText("Q ({%UT:Quantity%})"), "Q (mmol/g)");

  // A selection keyed by the name texts use, not by the kind, does not apply.
  const auto byTextName = CUnitsContext::Create(
      "c", {{"Quantity", std::make_shared<CUnitSelection>("Quantity", "mmol/g")}}, units);
  EXPECT_EQ(byTextName->DisplayText("Quantity"), "cm³/g STP");
}

TEST(NumericFormat, NotationsSeparatorsAndSpecialValues) {
  using F = CNumericFormat;
  EXPECT_EQ(F(F::eFixed, 3, ',').Format(1234.5678), "1,234.568");
  EXPECT_EQ(F(F::eFixed, 0, ',').Format(-1234567.0), "-1,234,567");
  EXPECT_EQ(F(F::eFixed, 2, '.', ',').Format(1234.5), "1.234,50");
  EXPECT_EQ(F(F::eScientific, 4).Format(12345.6), "1.2346e+04");
  EXPECT_EQ(F(F::eScientific, 2, ' ', ',').Format(-0.000123), "-1,23e-04");
  EXPECT_EQ(F(F::eSignificant, 6).Format(0.000123456789), "0.000123457");
  EXPECT_EQ(F(F::eSignificant, 6).Format(1234567.0), "1.23457e+06");
  EXPECT_EQ(F(F::eFixed, 4).Format(2.5, 1), "2.5");

  for (F const& format : {F(F::eFixed, 2, ','), F(F::eScientific, 3), F()}) {
    EXPECT_EQ(format.Format(kNaN), "n/a");
    EXPECT_EQ(format.Format(std::numeric_limits<double>::infinity()), "inf");
    EXPECT_EQ(format.Format(-std::numeric_limits<double>::infinity()), "-inf");
    EXPECT_EQ(format.Format(-0.0).str().find('-'), std::string::npos);
  }
  EXPECT_EQ(F(F::eFixed, 2).Format(-0.001), "0.00");
  EXPECT_EQ(F(F::eFixed, 2).Format(-0.005001), "-0.01");

  F clamped(F::eFixed, 40);
  EXPECT_EQ(clamped.Precision(), 17);
  clamped.SetPrecision(-2);
  EXPECT_EQ(clamped.Format(2.4), "2");
  EXPECT_EQ(clamped.Format(0.5, 99).size(), 19u);
}

TEST(QuantityFormatter, LibraryFormattersAndLimits) {
  EXPECT_EQ(DVolumeAds(95.12345).Format(), "95.1235");
  EXPECT_EQ(DVolumeAds(12345.6).Format(), "1.2346e+04");
  EXPECT_EQ(DVolumeAds(10000.0).Format(), "1.0000e+04");
  EXPECT_EQ(DVolumeAds(0.00005).Format(), "5.0000e-05");
  EXPECT_EQ(DVolumeAds(0.0001).Format(), "0.0001");
  EXPECT_EQ(DVolumeAds(-0.0).Format(), "0.0000");
  EXPECT_EQ(DVolumeAds(kNaN).Format(), "n/a");
  EXPECT_EQ(DVolumeAds(95.12345).Format(2), "95.12");
  EXPECT_EQ(DVolumeAds(12345.6).Format(1), "1.2e+04");
  EXPECT_EQ(DPressureRel(0.05).Format(), "0.050000000");
  EXPECT_EQ(DBETTransform(0.0123456789).Format(), "0.0123457");
  EXPECT_EQ(DBETTransform(3.2e-4).Format(), "3.20000e-04");
  EXPECT_EQ(DBETTransform::sm_Formatter.DisplayText(), "g/cm³ STP");

  CQuantityFormatter zeroed = DVolumeAds::sm_Formatter;
  zeroed.SetZeroLimit(1e-6);
  EXPECT_EQ(zeroed.Format(-5e-7), "0.0000");
  EXPECT_EQ(zeroed.Format(5e-6), "5.0000e-06");
  ASSERT_TRUE(zeroed.Units().Select("mmol/g"));
  EXPECT_EQ(zeroed.Format(22.414), "1.0000");
  ASSERT_TRUE(zeroed.Units().Select("mg/g"));
  EXPECT_EQ(zeroed.Format(22.414), "n/a");
}

TEST(QuantityFormatter, CheckDataParsesWholeNumbersOnly) {
  CQuantityFormatter f(fcn_UT_GasAmountAdsorbed(), CNumericFormat(CNumericFormat::eFixed, 4, ','),
                       CNumericFormat(CNumericFormat::eScientific, 4));
  double v = -7.0;
  char* end = nullptr;
  const auto offset = [&end](CStr const& text) { return end - text.c_str(); };

  const CStr grouped = "1,234.5";
  EXPECT_TRUE(f.CheckData(grouped, &end, v));
  EXPECT_EQ(v, 1234.5);
  EXPECT_EQ(offset(grouped), 7);
  EXPECT_TRUE(f.CheckData("+2e3", nullptr, v) && v == 2000.0);

  v = -7.0;
  for (char const* bad : {"12 ", "", "x1", "+-1", "1e999", "nan", "inf", "+"})
    EXPECT_FALSE(f.CheckData(bad, nullptr, v)) << bad;
  const CStr trailing = "1,2x";
  EXPECT_FALSE(f.CheckData(trailing, &end, v));
  EXPECT_EQ(offset(trailing), 3);
  const CStr leading = " 12";
  EXPECT_FALSE(f.CheckData(leading, &end, v));
  EXPECT_EQ(offset(leading), 0);
  EXPECT_EQ(v, -7.0);

  ASSERT_TRUE(f.Units().Select("mmol/g"));
  EXPECT_TRUE(f.CheckData("2", nullptr, v) && std::fabs(v - 44.828) < 1e-12);
  ASSERT_TRUE(f.Units().Select("mg/g"));
  EXPECT_FALSE(f.CheckData("2", nullptr, v));

  const CQuantityFormatter comma(CUnits(), CNumericFormat(CNumericFormat::eFixed, 2, '.', ','),
                                 CNumericFormat(CNumericFormat::eScientific, 2));
  EXPECT_TRUE(comma.CheckData("1.234,5", nullptr, v) && v == 1234.5);

  DVolumeAds stored(5.0);
  EXPECT_FALSE(stored.StoreData("7.5x"));
  EXPECT_EQ(stored.GetInternalValue(), 5.0);
  EXPECT_TRUE(stored.StoreData("7.5") && stored.GetInternalValue() == 7.5);
}

}  // namespace

// Loading-unit texts as files from other programs write them, with what they mean: amount
// kind and size (cm3, mmol, mg or cm3 liquid) per basis kind and size (g, cm3 or mol).
TEST(UnitGrammar, ReadsLoadingUnitsAsWrittenInTheWild) {
  using fiofla::AmountKind;
  using fiofla::MaterialBasis;
  const struct {
    const char* text;
    AmountKind amount;
    double amountFactor;
    MaterialBasis basis;
    double basisFactor;
  } cases[] = {
      {"ml(STP) g-1", AmountKind::kGasVolume, 1, MaterialBasis::kMass, 1},
      {"cm3(STP)/g", AmountKind::kGasVolume, 1, MaterialBasis::kMass, 1},
      {"cm\xC2\xB3/g STP", AmountKind::kGasVolume, 1, MaterialBasis::kMass, 1},
      {"cm^3 STP g^-1", AmountKind::kGasVolume, 1, MaterialBasis::kMass, 1},
      {"cc/g", AmountKind::kGasVolume, 1, MaterialBasis::kMass, 1},
      {"mL/g", AmountKind::kGasVolume, 1, MaterialBasis::kMass, 1},
      {"cm3 g-1 (STP)", AmountKind::kGasVolume, 1, MaterialBasis::kMass, 1},
      {"cm3(STP)/kg", AmountKind::kGasVolume, 1, MaterialBasis::kMass, 1000},
      {"mmol/g", AmountKind::kMoles, 1, MaterialBasis::kMass, 1},
      {"mmol g^-1", AmountKind::kMoles, 1, MaterialBasis::kMass, 1},
      {"mmol\xC2\xB7g\xE2\x81\xBB\xC2\xB9", AmountKind::kMoles, 1, MaterialBasis::kMass, 1},
      {"mmol g\xE2\x88\x92"
       "1",
       AmountKind::kMoles, 1, MaterialBasis::kMass, 1},
      {"mol/kg", AmountKind::kMoles, 1000, MaterialBasis::kMass, 1000},
      {"\xC2\xB5mol/g", AmountKind::kMoles, 1e-3, MaterialBasis::kMass, 1},
      {"umol per g", AmountKind::kMoles, 1e-3, MaterialBasis::kMass, 1},
      {"mg/g", AmountKind::kMass, 1, MaterialBasis::kMass, 1},
      {"g/g", AmountKind::kMass, 1000, MaterialBasis::kMass, 1},
      {"wt%", AmountKind::kMass, 10, MaterialBasis::kMass, 1},
      {"cm3 liq/g", AmountKind::kLiquidVolume, 1, MaterialBasis::kMass, 1},
      {"cm3(liq)/g", AmountKind::kLiquidVolume, 1, MaterialBasis::kMass, 1},
      {"mmol/cm3", AmountKind::kMoles, 1, MaterialBasis::kVolume, 1},
      {"mmol cm-3", AmountKind::kMoles, 1, MaterialBasis::kVolume, 1},
      {"mol/mol", AmountKind::kMoles, 1000, MaterialBasis::kMolar, 1},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.text);
    const auto parts = fiofla::ParseLoadingUnit(c.text);
    ASSERT_TRUE(parts.has_value());
    EXPECT_EQ(parts->amount, c.amount);
    EXPECT_DOUBLE_EQ(parts->amountFactor, c.amountFactor);
    EXPECT_EQ(parts->basis, c.basis);
    EXPECT_DOUBLE_EQ(parts->basisFactor, c.basisFactor);
  }
  for (const char* bad :
       {"", "g", "furlongs/g", "mmol", "mmol/furlong", "mmol//g", "mg liq/g", "STP", "/g"})
    EXPECT_FALSE(fiofla::ParseLoadingUnit(bad).has_value()) << bad;
}

TEST(UnitGrammar, ReadsPressureUnitsInAnyCaseAndRefusesGauge) {
  const CUnits units = fiofla::PressureUnits();
  const struct {
    const char* text;
    const char* id;
  } cases[] = {{"kPa", "kPa"},   {"KPA", "kPa"},   {"kpa", "kPa"},    {"MPa", "MPa"},
               {"mpa", "MPa"},   {"Torr", "torr"}, {"mm Hg", "mmHg"}, {"mmHg", "mmHg"},
               {"mbar", "mbar"}, {"hPa", "mbar"},  {"psia", "psi"},   {"bar(a)", "bar"},
               {"Pascal", "Pa"}, {"ATM", "atm"}};
  for (const auto& c : cases) {
    EXPECT_EQ(fiofla::PressureUnitId(c.text), c.id) << c.text;
    const auto factor = fiofla::ParsePressureUnit(c.text);
    ASSERT_TRUE(factor.has_value()) << c.text;
    EXPECT_DOUBLE_EQ(*factor, units.Units()[units.Find(c.id)].Factor()) << c.text;
  }
  std::string why;
  EXPECT_FALSE(fiofla::ParsePressureUnit("psig", &why).has_value());
  EXPECT_NE(why.find("gauge pressure"), std::string::npos) << why;
  EXPECT_FALSE(fiofla::ParsePressureUnit("furlong").has_value());
}
