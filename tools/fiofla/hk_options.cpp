#include "hk_options.h"

#include <cmath>
#include <sstream>

#include "cli_common.h"

namespace fiofla::cli {
namespace {

std::string Names(std::vector<std::string> const& names) {
  std::string out;
  for (std::size_t i = 0; i < names.size(); ++i)
    out += (i == 0 ? "" : i + 1 == names.size() ? " or " : ", ") + names[i];
  return out;
}

std::string SurfaceNames() {
  std::vector<std::string> names;
  for (HKMolecule const& s : HKSurfaces()) names.push_back(s.name);
  return Names(names);
}

std::string AdsorbateNames() {
  std::vector<std::string> names;
  for (HKAdsorbate const& a : HKAdsorbates()) names.push_back(a.molecule.name);
  return Names(names);
}

// "D,ALPHA,CHI,N": four positive numbers.
HKMolecule ParseConstants(const std::string& option, const std::string& text,
                          const std::string& name) {
  std::vector<double> v;
  std::istringstream in(text);
  std::string part;
  while (std::getline(in, part, ',')) {
    const auto x = ToDouble(part);
    if (!x || !(*x > 0.0) || !std::isfinite(*x))
      throw UsageError{option + " '" + text + "': '" + part + "' is not a positive number"};
    v.push_back(*x);
  }
  if (v.size() != 4)
    throw UsageError{option + " '" + text +
                     "' needs four numbers D,ALPHA,CHI,N: diameter Å, polarisability cm3, "
                     "magnetic susceptibility cm3, surface density 1/cm2"};
  return {name, v[0], v[1], v[2], v[3], "given with " + option};
}

void SetGeometry(const std::string& option, const std::string& v, HkSettings& s) {
  if (!HKGeometryFromName(v, s.geometry))
    throw UsageError{option + " '" + v + "' is not slit, cylinder or sphere"};
}

void SetMethod(const std::string& option, const std::string& v, HkSettings& s) {
  if (!HKMethodFromName(v, s.method))
    throw UsageError{option + " '" + v + "' is not hk, cheng-yang or rege-yang"};
}

void SetAdsorbent(const std::string& option, const std::string& v, HkSettings& s) {
  if (FindHKSurface(v) == nullptr)
    throw UsageError{option + " '" + v + "' is not " + SurfaceNames()};
  s.adsorbent = FindHKSurface(v)->name;
}

}  // namespace

void AddHkOptions(CLI::App* cmd, HkSettings& s) {
  cmd->add_option_function<std::string>(
         "--geometry", [&s](const std::string& v) { SetGeometry("--geometry", v, s); },
         "pore shape: slit (Horvath-Kawazoe, default), cylinder (Saito-Foley) or sphere\n"
         "(Cheng-Yang)")
      ->type_name("G");
  cmd->add_option_function<std::string>(
         "--method", [&s](const std::string& v) { SetMethod("--method", v, s); },
         "hk (the mean potential, default), cheng-yang (with the correction for a\n"
         "Langmuir-shaped isotherm) or rege-yang (molecules in layers)")
      ->type_name("M");
  cmd->add_option_function<std::string>(
         "--adsorbent", [&s](const std::string& v) { SetAdsorbent("--adsorbent", v, s); },
         "the pore walls: carbon (default), zeolite (oxide ion) or alpo\n"
         "(aluminophosphate)")
      ->type_name("A");
  cmd->add_option_function<std::string>(
         "--adsorbate",
         [&s](const std::string& v) {
           if (FindHKAdsorbate(v) == nullptr)
             throw UsageError{"--adsorbate '" + v + "' is not " + AdsorbateNames()};
           s.adsorbate = FindHKAdsorbate(v)->molecule.name;
         },
         "nitrogen or argon (default: the isotherm's adsorptive); it also sets the density\n"
         "conversion and the temperature the file does not give")
      ->type_name("GAS");
  cmd->add_option_function<std::string>(
         "--adsorbent-constants",
         [&s](const std::string& v) {
           s.adsorbentConstants = ParseConstants("--adsorbent-constants", v, "own surface");
         },
         "own constants of the wall atoms instead of --adsorbent's: diameter Å,\n"
         "polarisability cm3, magnetic susceptibility cm3, atoms per cm2")
      ->type_name("D,ALPHA,CHI,N");
  cmd->add_option_function<std::string>(
         "--adsorbate-constants",
         [&s](const std::string& v) {
           s.adsorbateConstants = ParseConstants("--adsorbate-constants", v, "own adsorbate");
         },
         "own constants of the adsorbate, as --adsorbent-constants")
      ->type_name("D,ALPHA,CHI,N");
  cmd->add_option_function<std::string>(
         "--max-p-rel",
         [&s](const std::string& v) {
           s.maxRelPress = ParsePositive("--max-p-rel", v);
           if (s.maxRelPress > 1.0)
             throw UsageError{"--max-p-rel '" + v + "' is above 1; it is a relative pressure"};
         },
         "points up to this P/Po are used (default 0.2)")
      ->type_name("X");
  cmd->add_option_function<std::string>(
         "--max-width",
         [&s](const std::string& v) { s.maxWidthAngstrom = ParsePositive("--max-width", v); },
         "largest pore width searched, Å (default 100); points filling wider pores are\n"
         "listed as left out")
      ->type_name("W");
  cmd->add_option_function<std::string>(
         "--density-conversion",
         [&s](const std::string& v) {
           s.densityConversion = ParsePositive("--density-conversion", v);
         },
         "cm3 liquid per cm3 STP (default: the adsorbate's, 0.0015468 for nitrogen at\n"
         "77 K)")
      ->type_name("F");
}

void ParseHkSpec(const std::string& text, HkSettings& s) {
  std::istringstream in(text);
  std::string part;
  while (std::getline(in, part, ',')) {
    HKGeometry g;
    HKMethod m;
    if (HKGeometryFromName(part, g))
      s.geometry = g;
    else if (HKMethodFromName(part, m))
      s.method = m;
    else if (FindHKSurface(part) != nullptr)
      s.adsorbent = FindHKSurface(part)->name;
    else if (FindHKAdsorbate(part) != nullptr)
      s.adsorbate = FindHKAdsorbate(part)->molecule.name;
    else
      throw UsageError{"--hk '" + text + "': '" + part +
                       "' is no geometry (slit, cylinder, sphere), method (hk, cheng-yang, "
                       "rege-yang), adsorbent (" +
                       SurfaceNames() + ") or adsorbate (" + AdsorbateNames() + ")"};
  }
}

HkRun RunHkOn(const IsothermData& iso, const HkSettings& s) {
  HKAdsorbate const* adsorbate = nullptr;
  if (!s.adsorbate.empty()) {
    adsorbate = FindHKAdsorbate(s.adsorbate);
  } else if (!iso.info.adsorptive.empty()) {
    adsorbate = FindHKAdsorbate(iso.info.adsorptive);
    if (adsorbate == nullptr && !s.adsorbateConstants)
      throw UsageError{"the isotherm's adsorptive '" + iso.info.adsorptive +
                       "' has no Horvath-Kawazoe constants here; name the adsorbate (" +
                       AdsorbateNames() + ") or give its constants"};
  }
  if (adsorbate == nullptr) adsorbate = &HKAdsorbates()[0];

  CHKCalc::SInput in;
  in.m_Adsorbate = s.adsorbateConstants ? *s.adsorbateConstants : adsorbate->molecule;
  in.m_Surface = s.adsorbentConstants ? *s.adsorbentConstants : *FindHKSurface(s.adsorbent);
  in.m_Geometry = s.geometry;
  in.m_Method = s.method;
  in.m_MaxRelPress = s.maxRelPress;
  in.m_MaxWidth = s.maxWidthAngstrom;
  const bool fileTemperature = std::isfinite(iso.info.temperatureK) && iso.info.temperatureK > 0.0;
  in.m_TemperatureK = fileTemperature ? iso.info.temperatureK : adsorbate->temperatureK;
  in.m_DensityConversion = s.densityConversion.value_or(adsorbate->densityConversion);

  HkRun run;
  for (std::size_t i = 0; i < iso.size(); ++i)
    if (iso.branch[i] == Branch::kAdsorption) {
      in.m_RelPress.push_back(iso.relativePressure[i]);
      in.m_QtyAdsorbed.push_back(iso.quantityAdsorbedCm3PerGStp[i]);
      run.isoIndex.push_back(i);
    }
  run.temperatureK = in.m_TemperatureK;
  run.densityConversion = in.m_DensityConversion;
  run.description = std::string(HKGeometryName(s.geometry)) + " pores, " + HKMethodName(s.method) +
                    " method, " + in.m_Adsorbate.name + " on " + in.m_Surface.name + " at " +
                    Num(in.m_TemperatureK) + " K" +
                    (fileTemperature ? "" : " (the adsorbate's usual temperature)");
  run.calc = std::make_unique<CHKCalc>(in);
  return run;
}

}  // namespace fiofla::cli
