// Conversion of what isotherm files give into IsothermData, shared by every reader.
#include <algorithm>
#include <cctype>
#include <cerrno>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <limits>
#include <sstream>

#include "fiofla/compress.h"
#include "fiofla/io/aif_file.h"
#include "fiofla/io/file_util.h"
#include "fiofla/io/isodb_file.h"
#include "fiofla/io/isotherm_file.h"
#include "fiofla/io/measurement_file.h"
#include "fiofla/measurement.h"
#include "fiofla/units/unit_text.h"
#include "isotherm_internal.h"

namespace fiofla {
namespace {

using io_detail::Fail;
using io_detail::Short;

// Bounds of a physically possible isotherm, wide enough for any instrument.
constexpr double kMaxTemperatureK = 3000.0;
constexpr double kMaxSampleMassG = 1e4;
constexpr double kMaxPressureMmHg = 1e4 * 750.061682704;  // 10 kbar

CGasCompressibilityCache& CacheOf(CGasCompressibilityCache* cache) {
  return cache ? *cache : CGasCompressibilityCache::ms_cCache;
}

// The adsorptive's table, or null when it has none or the file does not read.
const CGasCompressibilityTable* TableOf(const std::string& adsorptive,
                                        CGasCompressibilityCache* cache) {
  const std::string name = GasTableName(adsorptive);
  if (name.empty()) return nullptr;
  const CGasCompressibilityTable* gas = CacheOf(cache).GetGas(CStr(name));
  if (gas == nullptr || !gas->GetReadError().empty()) return nullptr;
  return gas;
}

std::string UnitList(const CUnits& units) {
  std::string list;
  for (const CUnitsStr& u : units.Units()) list += (list.empty() ? "" : ", ") + u.Id().str();
  return list;
}

std::string Where(const std::string& where) {
  return where.empty() ? std::string() : " (" + where + ")";
}

// Why unit `index` of the loading units cannot convert for this isotherm.
std::string WhyNoConversion(const CUnits& units, std::size_t index, const IsothermInfo& info) {
  const CUnitsStr& unit = units.Units()[index];
  std::string why = "loading unit '" + unit.Id().str() + "' needs the adsorptive's ";
  if (units.MolarMass() <= 0.0) {
    why += "molar mass, and ";
    why += info.adsorptive.empty() ? "the file names no adsorptive"
                                   : "fiofla has no gas table for '" + info.adsorptive + "'";
    return why;
  }
  why += "liquid density, and ";
  why += std::isnan(info.temperatureK)
             ? "the file gives no temperature"
             : "its gas table has none at " + Short(info.temperatureK) + " K";
  return why;
}

void CheckLength(const RawIsotherm& raw, std::size_t size, const char* what) {
  if (size != 0 && size != raw.loading.size())
    Fail(raw.source, std::string(what) + " has " + std::to_string(size) + " values but there are " +
                         std::to_string(raw.loading.size()) + " loadings");
}

// Po from the adsorptive's saturation (or, below its triple point, sublimation) curve.
bool PoFromGasTable(const IsothermInfo& info, CGasCompressibilityCache* cache, double* poMmHg) {
  if (!std::isfinite(info.temperatureK)) return false;
  const CGasCompressibilityTable* gas = TableOf(info.adsorptive, cache);
  if (gas == nullptr) return false;
  double psat = 0.0;
  const bool below = info.temperatureK < gas->GetTriplePointTemperature();
  if (!gas->CalcPsatFromTemp(&psat, info.temperatureK, below) || !(psat > 0.0)) return false;
  *poMmHg = psat;
  return true;
}

// Why no Po can be had for absolute pressures, and what to give.
std::string NoPoReason(const IsothermInfo& info, CGasCompressibilityCache* cache) {
  const CGasCompressibilityTable* gas = TableOf(info.adsorptive, cache);
  if (gas != nullptr && std::isfinite(info.temperatureK) &&
      info.temperatureK >= gas->GetCriticalTemperature())
    return "pressures are absolute and no Po is given, and " + GasTableName(info.adsorptive) +
           " has none at " + Short(info.temperatureK) + " K, above its critical temperature (" +
           Short(gas->GetCriticalTemperature()) + " K); give a Po (--p0) to work in P/Po";
  return "pressures are absolute but no Po is given; give one (--p0), or the adsorptive and "
         "temperature of a gas fiofla has a table for";
}

}  // namespace

namespace io_detail {

std::size_t PressureUnitIndex(const std::string& text, const std::string& source,
                              const std::string& where) {
  if (text.empty()) Fail(source, "no pressure unit" + Where(where));
  std::string why;
  const std::string id = PressureUnitId(text, &why);
  if (id.empty())
    Fail(source, (why.empty() ? "unknown pressure unit '" + text + "'" : why) + Where(where) +
                     "; known: " + UnitList(PressureUnits()) + " (any letter case)");
  return static_cast<std::size_t>(PressureUnits().Find(CStr(id)));
}

ResolvedLoadingUnit ResolveLoadingUnit(const std::string& text, const IsothermInfo& info,
                                       CGasCompressibilityCache* cache,
                                       const AdsorbentProperties& adsorbent,
                                       const std::string& source, const std::string& where) {
  const auto parts = ParseLoadingUnit(text);
  if (!parts)
    Fail(source, "unknown loading unit '" + text + "'" + Where(where) + "; " + LoadingUnitHint());
  ResolvedLoadingUnit resolved{fcn_UT_GasAmountAdsorbed(), 0};
  // A standard spelling keeps its standard unit, so writers name it the usual way.
  const int standard = resolved.units.Find(CStr(text));
  if (standard >= 0 && parts->basis == MaterialBasis::kMass) {
    resolved.index = static_cast<std::size_t>(standard);
  } else {
    double factor = parts->amountFactor;
    int molarMassPower = 0, densityPower = 0;
    switch (parts->amount) {
      case AmountKind::kGasVolume:
        break;
      case AmountKind::kMoles:
        factor *= kMolarVolumeStpCm3PerMol / 1000.0;
        break;
      case AmountKind::kMass:  // mg / (g/mol) = mmol
        factor *= kMolarVolumeStpCm3PerMol / 1000.0;
        molarMassPower = -1;
        break;
      case AmountKind::kLiquidVolume:  // cm3 * g/cm3 / (g/mol) = mol
        factor *= kMolarVolumeStpCm3PerMol;
        molarMassPower = -1;
        densityPower = 1;
        break;
    }
    switch (parts->basis) {
      case MaterialBasis::kMass:
        factor /= parts->basisFactor;
        break;
      case MaterialBasis::kVolume:
        if (!(adsorbent.densityGPerCm3 > 0.0))
          Fail(source, "loadings per volume of adsorbent ('" + text + "'" + Where(where) +
                           ") need the material's density; give it with --material-density "
                           "G/CM3");
        factor /= parts->basisFactor * adsorbent.densityGPerCm3;
        break;
      case MaterialBasis::kMolar:
        if (!(adsorbent.molarMassGPerMol > 0.0))
          Fail(source, "loadings per formula unit ('" + text + "'" + Where(where) +
                           ") need the adsorbent's molar mass; give it with "
                           "--adsorbent-molar-mass G/MOL");
        factor /= parts->basisFactor * adsorbent.molarMassGPerMol;
        break;
    }
    std::vector<CUnitsStr> list = resolved.units.Units();
    list.push_back(
        CUnitsStr(CStr(text), CStr(text), factor).SetParameterPowers(molarMassPower, densityPower));
    resolved.units = CUnits(resolved.units.Name(), std::move(list));
    resolved.index = resolved.units.Units().size() - 1;
  }
  const CUnitsStr& unit = resolved.units.Units()[resolved.index];
  // The gas table is read only when the unit needs what it gives.
  if (unit.MolarMassPower() != 0 || unit.LiquidDensityPower() != 0) {
    const CUnits withGas = LoadingUnitsFor(info, cache);
    resolved.units.SetMolarMass(withGas.MolarMass());
    resolved.units.SetLiquidDensity(withGas.LiquidDensity());
  }
  if (!resolved.units.CanConvert(resolved.index))
    Fail(source, WhyNoConversion(resolved.units, resolved.index, info) + Where(where));
  return resolved;
}

const CGasCompressibilityTable* AdsorptiveTable(const IsothermInfo& info,
                                                CGasCompressibilityCache* cache) {
  return TableOf(info.adsorptive, cache);
}

std::string FormatValue(double value) {
  // to_chars prints what "%.15g" would, locale-free and about three times faster.
  char buf[32];
  const auto result = std::to_chars(buf, buf + sizeof buf, value, std::chars_format::general, 15);
  return std::string(buf, result.ptr);
}

std::string ReadTextFile(const std::string& path) {
  constexpr std::size_t kMaxBytes = std::size_t(256) << 20;
  std::error_code ec;
  if (std::filesystem::is_directory(path, ec)) Fail(path, "is a directory, not a file");
  std::string text;
  errno = 0;
  switch (ReadFileLimited(path, kMaxBytes, &text)) {
    case FileReadStatus::kOk:
      return text;
    case FileReadStatus::kNotOpened:
      Fail(path, std::string("cannot open: ") + std::strerror(errno ? errno : ENOENT));
    case FileReadStatus::kNotRead:
      Fail(path, "cannot read the file");
    case FileReadStatus::kTooLarge:
      break;
  }
  Fail(path, "the file is larger than 256 MB");
}

}  // namespace io_detail

std::string IsothermData::PointName(std::size_t i) const {
  if (i < sourceLine.size() && sourceLine[i] > 0) return "line " + std::to_string(sourceLine[i]);
  return "point " + std::to_string(i + 1);
}

int FindPressureUnit(const std::string& unitText) {
  const std::string id = PressureUnitId(unitText);
  return id.empty() ? -1 : PressureUnits().Find(CStr(id));
}

CUnits LoadingUnitsFor(const IsothermInfo& info, CGasCompressibilityCache* cache) {
  CUnits units = fcn_UT_GasAmountAdsorbed();
  const CGasCompressibilityTable* gas = TableOf(info.adsorptive, cache);
  if (gas == nullptr) return units;
  const double molarMass = gas->GetMolecularWeight();
  units.SetMolarMass(molarMass);
  if (std::isfinite(info.temperatureK)) {
    const double molarVolume = gas->GetLiquidMolarVolume(info.temperatureK);
    if (molarVolume > 0.0) units.SetLiquidDensity(molarMass / molarVolume);
  }
  return units;
}

IsothermData ConvertIsotherm(RawIsotherm raw, const IsothermReadOptions& options) {
  const std::size_t n = raw.loading.size();
  if (n == 0) Fail(raw.source, "no points");
  if (raw.pressure.empty() && raw.relativePressure.empty())
    Fail(raw.source, "no pressures: neither absolute nor relative pressures are given");
  CheckLength(raw, raw.pressure.size(), "the pressure list");
  CheckLength(raw, raw.relativePressure.size(), "the relative-pressure list");
  CheckLength(raw, raw.po.size(), "the Po list");
  CheckLength(raw, raw.branch.size(), "the branch list");
  CheckLength(raw, raw.sourceLine.size(), "the line list");

  // What no measurement can be: refused here, so that no writer puts it in a file that
  // fiofla would then refuse to read.
  if (std::isfinite(raw.info.temperatureK) &&
      !(raw.info.temperatureK > 0.0 && raw.info.temperatureK <= kMaxTemperatureK))
    Fail(raw.source, "the temperature " + Short(raw.info.temperatureK) +
                         " K is not between 0 and " + Short(kMaxTemperatureK) + " K");
  if (std::isfinite(raw.info.sampleMassG) &&
      !(raw.info.sampleMassG > 0.0 && raw.info.sampleMassG <= kMaxSampleMassG))
    Fail(raw.source, "the sample mass " + Short(raw.info.sampleMassG) + " g is not between 0 and " +
                         Short(kMaxSampleMassG) + " g");
  IsothermData iso;
  iso.source = raw.source;
  bool relativeUnknown = false;  // absolute pressures without any Po, when allowed
  iso.info = std::move(raw.info);
  const CUnits pressureUnits = PressureUnits();

  // Absolute pressures, and the unit that Po falls back to.
  int pressureIndex = -1;
  if (!raw.pressure.empty()) {
    pressureIndex = static_cast<int>(
        io_detail::PressureUnitIndex(raw.pressureUnit, raw.source, raw.pressureUnitWhere));
    iso.pressureMmHg.reserve(n);
    for (double p : raw.pressure) {
      iso.pressureMmHg.push_back(pressureUnits.ToInternal(p, pressureIndex));
      if (!(iso.pressureMmHg.back() >= 0.0 && iso.pressureMmHg.back() <= kMaxPressureMmHg))
        Fail(raw.source, "the pressure of point " + std::to_string(iso.pressureMmHg.size()) + ", " +
                             Short(p) + " " + raw.pressureUnit + ", is not between 0 and 10 kbar");
    }
    iso.info.pressureUnit = raw.pressureUnit;
  }

  // Po: the caller's, the file's per point or single value, or the gas table's.
  if (std::isfinite(options.poMmHg)) {
    if (!(options.poMmHg > 0.0))
      Fail(raw.source, "the Po given (" + Short(options.poMmHg) + " mmHg) is not positive");
    iso.poMmHg.assign(n, options.poMmHg);
  } else if (!raw.po.empty() || std::isfinite(raw.poAll)) {
    int poIndex = pressureIndex;
    if (!raw.poUnit.empty())
      poIndex =
          static_cast<int>(io_detail::PressureUnitIndex(raw.poUnit, raw.source, raw.poUnitWhere));
    if (poIndex < 0) Fail(raw.source, "no Po unit" + Where(raw.poUnitWhere));
    if (raw.po.empty())
      iso.poMmHg.assign(n, pressureUnits.ToInternal(raw.poAll, poIndex));
    else
      for (double po : raw.po) iso.poMmHg.push_back(pressureUnits.ToInternal(po, poIndex));
  } else if (raw.relativePressure.empty()) {
    double po = 0.0;
    if (PoFromGasTable(iso.info, options.gasCache, &po)) {
      iso.poMmHg.assign(n, po);
      iso.notes.push_back("Po is the saturation pressure of " + GasTableName(iso.info.adsorptive) +
                          " at " + Short(iso.info.temperatureK) + " K from its gas table, " +
                          Short(po) + " mmHg (give --p0 to set it)");
    } else {
      const std::string why = NoPoReason(iso.info, options.gasCache);
      if (options.requirePo) Fail(raw.source, why);
      relativeUnknown = true;
      if (options.noteMissingPo) iso.notes.push_back(why + "; the isotherm is read without P/Po");
    }
  }

  // P/Po, given or derived; absolute pressures derived when only P/Po and Po are known.
  if (!raw.relativePressure.empty()) {
    iso.relativePressure = std::move(raw.relativePressure);
    if (iso.pressureMmHg.empty() && !iso.poMmHg.empty())
      for (std::size_t i = 0; i < n; ++i)
        iso.pressureMmHg.push_back(iso.relativePressure[i] * iso.poMmHg[i]);
  } else if (relativeUnknown) {
    iso.relativePressure.assign(n, std::numeric_limits<double>::quiet_NaN());
  } else {
    iso.relativePressure.resize(n);
    for (std::size_t i = 0; i < n; ++i) {
      if (!(iso.poMmHg[i] > 0.0))
        Fail(raw.source, "Po of point " + std::to_string(i + 1) + " is not positive");
      iso.relativePressure[i] = iso.pressureMmHg[i] / iso.poMmHg[i];
    }
  }

  // Loadings.
  const std::string loadingText = raw.loadingUnit.empty() ? "cm3/g STP" : raw.loadingUnit;
  const io_detail::ResolvedLoadingUnit loading = io_detail::ResolveLoadingUnit(
      loadingText, iso.info, options.gasCache,
      {std::isfinite(options.adsorbentMolarMassGPerMol) ? options.adsorbentMolarMassGPerMol
                                                        : raw.adsorbentMolarMassGPerMol,
       std::isfinite(options.materialDensityGPerCm3) ? options.materialDensityGPerCm3
                                                     : raw.materialDensityGPerCm3},
      raw.source, raw.loadingUnitWhere);
  iso.quantityAdsorbedCm3PerGStp.reserve(n);
  for (double q : raw.loading)
    iso.quantityAdsorbedCm3PerGStp.push_back(loading.units.ToInternal(q, loading.index));
  iso.info.loadingUnit = loadingText;

  for (std::size_t i = 0; i < n; ++i) {
    const bool finite = (relativeUnknown || std::isfinite(iso.relativePressure[i])) &&
                        std::isfinite(iso.quantityAdsorbedCm3PerGStp[i]) &&
                        (iso.pressureMmHg.empty() || std::isfinite(iso.pressureMmHg[i]));
    if (!finite)
      Fail(raw.source, "point " + std::to_string(i + 1) + " does not convert to finite values");
  }

  iso.branch = raw.branch.empty() ? SplitBranches(iso.pressureMmHg.empty() ? iso.relativePressure
                                                                           : iso.pressureMmHg)
                                  : std::move(raw.branch);
  iso.sourceLine =
      raw.sourceLine.empty() ? std::vector<std::size_t>(n, 0) : std::move(raw.sourceLine);
  return iso;
}

}  // namespace fiofla
