#include "fit_options.h"

#include <algorithm>
#include <cmath>
#include <optional>

#include "cli_common.h"
#include "fiofla/units/unit_text.h"
#include "fiofla/units/units.h"

namespace fiofla::cli {
namespace {

std::string KnownNames() {
  std::string names;
  for (const std::string& n : IsothermModelNames())
    if (n != IsothermModelName(EIsothermModel::kComposite))
      names += (names.empty() ? "" : ", ") + n;
  return names + " (aliases such as dsl, dr, da, fh-vst are understood), all, default";
}

// cm3/g STP per unit of the loading unit `text` for this isotherm's adsorptive; the units the
// report knows first, then any amount per mass of adsorbent the unit grammar reads.
std::optional<double> LoadingFactor(const std::string& text, const IsothermInfo& info,
                                    double molarMassGPerMol, std::string* why,
                                    CGasCompressibilityCache* cache) {
  CUnits units = LoadingUnitsFor(info, cache);
  if (!(units.MolarMass() > 0.0) && molarMassGPerMol > 0.0) units.SetMolarMass(molarMassGPerMol);
  const int index = units.Find(CStr(text));
  const double molarMass = units.MolarMass(), density = units.LiquidDensity();
  const std::string gas = info.adsorptive.empty() ? "an unnamed adsorptive" : info.adsorptive;
  if (index >= 0) {
    if (units.CanConvert(static_cast<std::size_t>(index)))
      return units.ToInternal(1.0, static_cast<std::size_t>(index));
    *why = "'" + text + "' needs the molar mass (and liquid density) of the adsorptive, which " +
           gas + " has no gas table to give";
    return std::nullopt;
  }
  const auto parts = ParseLoadingUnit(text);
  if (!parts) {
    *why = "'" + text + "' is not a loading unit; " + LoadingUnitHint();
    return std::nullopt;
  }
  if (parts->basis != MaterialBasis::kMass) {
    *why = "'" + text + "' is per volume or formula unit of adsorbent; fits take loadings per mass";
    return std::nullopt;
  }
  const double cm3PerMmol = kMolarVolumeStpCm3PerMol / 1000.0;
  double perBase = 1.0;  // cm3 STP per base amount (cm3, mmol, mg, cm3 liquid)
  switch (parts->amount) {
    case AmountKind::kGasVolume:
      break;
    case AmountKind::kMoles:
      perBase = cm3PerMmol;
      break;
    case AmountKind::kMass:
    case AmountKind::kLiquidVolume:
      if (!(molarMass > 0.0) || (parts->amount == AmountKind::kLiquidVolume && !(density > 0.0))) {
        *why = "'" + text + "' needs the molar mass (and liquid density) of the adsorptive, " +
               "which " + gas + " has no gas table to give";
        return std::nullopt;
      }
      perBase = cm3PerMmol / molarMass *
                (parts->amount == AmountKind::kLiquidVolume ? density * 1000.0 : 1.0);
      break;
  }
  return parts->amountFactor / parts->basisFactor * perBase;
}

}  // namespace

const char* const kDefaultModelsHelp =
    "henry, langmuir, dsl, freundlich, sips and toth, with bet and gab when Ps is known";

std::vector<std::string> SplitModelNames(const std::string& option, const std::string& text) {
  std::vector<std::string> names;
  std::size_t start = 0;
  while (true) {
    const std::size_t comma = text.find(',', start);
    std::string name = text.substr(start, comma == std::string::npos ? comma : comma - start);
    name.erase(0, name.find_first_not_of(" \t"));
    name.erase(name.find_last_not_of(" \t") + 1);
    if (name.empty()) throw UsageError{option + " '" + text + "' has an empty model name"};
    // Unknown names are refused before any file is read.
    const auto parsed = ParseIsothermModelName(name);
    if (name != "all" && name != "default" &&
        (!parsed || parsed->kind == EIsothermModel::kComposite))
      throw UsageError{option + " '" + name + "' is not a model; known: " + KnownNames()};
    names.push_back(name);
    if (comma == std::string::npos) return names;
    start = comma + 1;
  }
}

FitInput PrepareFitInput(const IsothermData& iso, const std::string& file, const FitSettings& s) {
  FitInput in;
  in.branch = s.desorption ? "desorption" : "adsorption";
  const Branch wanted = s.desorption ? Branch::kDesorption : Branch::kAdsorption;
  const std::size_t n = iso.size();
  // A file of P/Po is fitted in P/Po unless a pressure unit is asked for and Po is known
  // (the reader then derives the pressures).
  const bool known = iso.pressureMmHg.size() == n;
  const bool absolute = known && (!iso.info.pressureUnit.empty() || !s.pressureUnit.empty());
  const bool withPo = iso.poMmHg.size() == n;
  if (!s.pressureUnit.empty() && !absolute)
    throw InputError(file + ": gives relative pressures only and no Po; --pressure-unit " +
                     s.pressureUnit + " needs absolute pressures (give --p0)");

  // Pressures: the asked unit, else the file's own, else (P/Po with Po asked in a unit) kPa.
  const CUnits pressureUnits = PressureUnits();
  std::string pressureText = s.pressureUnit;
  if (pressureText.empty() && absolute)
    pressureText = iso.info.pressureUnit.empty() ? "kPa" : iso.info.pressureUnit;
  int pIndex = -1;
  if (absolute) {
    pIndex = FindPressureUnit(pressureText);
    if (pIndex < 0)
      throw UsageError{"--pressure-unit '" + pressureText + "' is not a pressure unit"};
    in.pressureUnit = pressureUnits.Units()[static_cast<std::size_t>(pIndex)].Id().str();
  } else {
    in.pressureUnit = "P/Po";
  }

  std::string why;
  const std::string loadingText = s.loadingUnit.empty() ? iso.info.loadingUnit : s.loadingUnit;
  const auto factor = LoadingFactor(loadingText, iso.info, s.molarMassGPerMol, &why, s.gasCache);
  if (!factor) {
    if (!s.loadingUnit.empty()) throw UsageError{"--loading-unit " + why};
    throw InputError(file + ": loadings cannot be fitted in the file's unit: " + why);
  }
  in.loadingUnit = loadingText;

  std::vector<double> po;
  for (std::size_t i = 0; i < iso.size(); ++i) {
    if (iso.branch[i] != wanted) continue;
    in.pressures.push_back(
        absolute ? pressureUnits.FromInternal(iso.pressureMmHg[i], static_cast<std::size_t>(pIndex))
                 : iso.relativePressure[i]);
    in.loadings.push_back(iso.quantityAdsorbedCm3PerGStp[i] / *factor);
    if (absolute && withPo && iso.poMmHg[i] > 0.0)
      po.push_back(pressureUnits.FromInternal(iso.poMmHg[i], static_cast<std::size_t>(pIndex)));
  }
  if (in.pressures.empty())
    throw InputError(file + ": the isotherm has no " + in.branch + " points to fit");
  // Po may drift a little over a run; the median stands for the branch.
  if (!absolute) {
    in.setup.saturationPressure = 1.0;
  } else if (!po.empty()) {
    std::nth_element(po.begin(), po.begin() + po.size() / 2, po.end());
    in.setup.saturationPressure = po[po.size() / 2];
  }
  in.setup.temperatureK = iso.info.temperatureK;
  return in;
}

std::vector<ModelChoice> ChooseModels(const std::vector<std::string>& names, const FitInput& in,
                                      const std::string& option) {
  const bool hasPs = std::isfinite(in.setup.saturationPressure);
  const bool hasT = std::isfinite(in.setup.temperatureK);
  std::vector<ModelChoice> choices;
  auto add = [&](EIsothermModel kind, int sites) {
    ModelChoice c{kind, in.setup};
    if (sites > 0) c.setup.sites = sites;
    for (const ModelChoice& old : choices)
      if (old.kind == c.kind && old.setup.sites == c.setup.sites) return;
    choices.push_back(c);
  };
  const std::vector<std::string> asked =
      names.empty() ? std::vector<std::string>{"default"} : names;
  for (const std::string& name : asked) {
    if (name == "default") {
      for (const char* n : {"henry", "langmuir", "dsl", "freundlich", "sips", "toth"}) {
        const auto parsed = ParseIsothermModelName(n);
        add(parsed->kind, parsed->sites);
      }
      if (hasPs) {
        add(EIsothermModel::kBET, 0);
        add(EIsothermModel::kGAB, 0);
      }
      continue;
    }
    if (name == "all") {
      // BET-n needs a layer count and a composite its parts: neither comes from a file.
      for (const std::string& n : IsothermModelNames()) {
        const EIsothermModel kind = ParseIsothermModelName(n)->kind;
        if (kind == EIsothermModel::kComposite || kind == EIsothermModel::kBETLayers) continue;
        if ((IsothermNeedsSaturationPressure(kind) && !hasPs) ||
            (IsothermNeedsTemperature(kind) && !hasT))
          continue;
        add(kind, 0);
      }
      continue;
    }
    const auto parsed = ParseIsothermModelName(name);
    if (!parsed || parsed->kind == EIsothermModel::kComposite)
      throw UsageError{option + " '" + name + "' is not a model; known: " + KnownNames()};
    const char* canonical = IsothermModelName(parsed->kind);
    if (parsed->kind == EIsothermModel::kBETLayers)
      throw UsageError{option + " '" + name + "': " + canonical +
                       " needs a layer count, which the tool does not take; use bet or gab"};
    if (IsothermNeedsSaturationPressure(parsed->kind) && !hasPs)
      throw UsageError{option + " '" + name + "': " + canonical +
                       " needs the saturation pressure Po, which the file does not give (give "
                       "--p0)"};
    if (IsothermNeedsTemperature(parsed->kind) && !hasT)
      throw UsageError{option + " '" + name + "': " + canonical +
                       " needs the temperature, which the file does not give"};
    add(parsed->kind, parsed->sites);
  }
  return choices;
}

std::vector<SIsothermFit> RunFits(const std::vector<ModelChoice>& choices, const FitInput& in) {
  std::vector<SIsothermFit> fits;
  for (const ModelChoice& c : choices)
    fits.push_back(FitIsotherm(c.kind, in.pressures, in.loadings, c.setup));
  std::stable_sort(fits.begin(), fits.end(), [](const SIsothermFit& a, const SIsothermFit& b) {
    if (a.Usable() != b.Usable()) return a.Usable();
    return a.Usable() && a.aicc < b.aicc;
  });
  return fits;
}

}  // namespace fiofla::cli
