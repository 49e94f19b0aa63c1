// Isotherms for Python: read from files in every format the library reads, or made from
// arrays through the same unit conversion (ConvertIsotherm).
#include <cmath>

#include "bindings.h"
#include "fiofla/compress.h"
#include "fiofla/types.h"
#include "report_pages.h"

namespace fiofla::py {
namespace {

using namespace pyb::literals;

std::vector<double> ToVector(const pyb::handle& value, const std::string& what) {
  try {
    auto a = pyb::array_t<double, pyb::array::c_style | pyb::array::forcecast>::ensure(value);
    if (!a || a.ndim() != 1) throw pyb::value_error("");
    return std::vector<double>(a.data(), a.data() + a.size());
  } catch (const pyb::error_already_set&) {
  } catch (const pyb::value_error&) {
  }
  PyErr_Clear();
  ThrowInput(what + " is not a one-dimensional sequence of numbers");
}

std::vector<Branch> ToBranches(const pyb::handle& value) {
  std::vector<Branch> out;
  if (pyb::isinstance<pyb::str>(value) || !pyb::isinstance<pyb::iterable>(value))
    ThrowInput("branch is not a sequence of 'adsorption' or 'desorption'");
  for (const pyb::handle item : value) {
    Branch b = Branch::kAdsorption;
    if (!pyb::isinstance<pyb::str>(item) || !StringToBranch(item.cast<std::string>(), &b))
      ThrowInput("branch " + pyb::repr(item).cast<std::string>() +
                 " is not 'adsorption' or 'desorption'");
    out.push_back(b);
  }
  return out;
}

double OptionalNumber(const pyb::object& value, const std::string& what) {
  return value.is_none() ? NAN : ToPositive(value, what);
}

pyb::array BranchArray(const IsothermData& iso) {
  std::vector<std::string> names;
  names.reserve(iso.size());
  for (Branch b : iso.branch) names.emplace_back(BranchName(b));
  return pyb::module_::import("numpy").attr("array")(names, "dtype"_a = "<U10");
}

pyb::array_t<double> OrNaN(const std::vector<double>& v, std::size_t n) {
  return v.empty() ? ToArray(std::vector<double>(n, NAN)) : ToArray(v);
}

PyIsotherm Make(const pyb::object& pressure, const pyb::object& loading,
                const pyb::object& relativePressure, const pyb::object& p0,
                const pyb::object& branch, const std::string& pressureUnit,
                const std::string& loadingUnit, const std::string& adsorptive,
                const pyb::object& temperature, const pyb::object& sampleMass,
                const std::string& material, const std::string& name) {
  RawIsotherm raw;
  raw.source = name.empty() ? "isotherm" : name;
  if (loading.is_none()) ThrowInput("loading is required");
  raw.loading = ToVector(loading, "loading");
  if (!pressure.is_none()) raw.pressure = ToVector(pressure, "pressure");
  if (!relativePressure.is_none())
    raw.relativePressure = ToVector(relativePressure, "relative_pressure");
  raw.pressureUnit = pressureUnit;
  raw.pressureUnitWhere = "pressure_unit";
  raw.poUnit = pressureUnit;
  raw.poUnitWhere = "pressure_unit";
  raw.loadingUnit = loadingUnit;
  raw.loadingUnitWhere = "loading_unit";
  if (!p0.is_none()) {
    if (pyb::isinstance<pyb::float_>(p0) || pyb::isinstance<pyb::int_>(p0))
      raw.poAll = ToPositive(p0, "p0");
    else
      raw.po = ToVector(p0, "p0");
  }
  if (!branch.is_none()) raw.branch = ToBranches(branch);
  raw.info.adsorptive = adsorptive;
  raw.info.material = material;
  raw.info.temperatureK = OptionalNumber(temperature, "temperature (K)");
  raw.info.sampleMassG = OptionalNumber(sampleMass, "sample_mass (g)");
  auto data = Unlocked([&] {
    return std::make_shared<const IsothermData>(
        ConvertIsotherm(std::move(raw), ThreadReadOptions()));
  });
  return PyIsotherm{std::move(data)};
}

PyIsotherm Read(const pyb::object& pathLike, const std::string& format, const pyb::object& p0,
                const pyb::object& adsorbentMolarMass, const pyb::object& materialDensity,
                bool requirePo) {
  const std::string path = pyb::str(pyb::module_::import("os").attr("fspath")(pathLike));
  IsothermReadOptions options = ThreadReadOptions();
  options.requirePo = requirePo;
  if (!FormatFromName(format, &options.format)) {
    std::string names;
    for (IsothermFormat f : AllFormats())
      names += (names.empty() ? "" : ", ") + std::string(FormatName(f));
    ThrowInput("format '" + format + "' is not one of " + names);
  }
  if (!p0.is_none()) options.poMmHg = ToPressureMmHg(p0, "p0");
  if (!adsorbentMolarMass.is_none())
    options.adsorbentMolarMassGPerMol = ToPositive(adsorbentMolarMass, "adsorbent_molar_mass");
  if (!materialDensity.is_none())
    options.materialDensityGPerCm3 = ToPositive(materialDensity, "material_density");
  auto data = Unlocked(
      [&] { return std::make_shared<const IsothermData>(ReadIsothermFile(path, options)); });
  return PyIsotherm{std::move(data)};
}

pyb::dict Metadata(const IsothermData& iso) {
  pyb::dict d;
  const IsothermInfo& info = iso.info;
  d["source"] = iso.source;
  d["adsorptive"] = info.adsorptive;
  d["temperature_k"] = info.temperatureK;
  d["sample_mass_g"] = info.sampleMassG;
  d["material"] = info.material;
  d["file_pressure_unit"] = info.pressureUnit;
  d["file_loading_unit"] = info.loadingUnit;
  for (const auto& [key, value] : info.items)
    if (!d.contains(key)) d[pyb::str(key)] = value;
  return d;
}

}  // namespace

std::shared_ptr<const IsothermData> IsothermArg(const pyb::handle& value, bool requirePo) {
  if (pyb::isinstance<PyIsotherm>(value)) return value.cast<const PyIsotherm&>().data;
  if (!pyb::isinstance<pyb::str>(value) && !pyb::hasattr(value, "__fspath__"))
    ThrowInput("isotherm " + pyb::repr(value).cast<std::string>() +
               " is not an Isotherm or a file path");
  const std::string path = pyb::str(pyb::module_::import("os").attr("fspath")(value));
  IsothermReadOptions options = ThreadReadOptions();
  options.requirePo = requirePo;
  return Unlocked(
      [&] { return std::make_shared<const IsothermData>(ReadIsothermFile(path, options)); });
}

void BindIsotherm(pyb::module_& m) {
  pyb::class_<PyIsotherm>(m, "Isotherm", R"(An adsorption isotherm, points in measured order.

Pressures are in mmHg, loadings in cm3/g STP (``units``); the file's own units are
in ``metadata``. Make one with ``read_isotherm(path)`` or from arrays::

    Isotherm(pressure=[...], loading=[...], p0=101.325, pressure_unit="kPa",
             loading_unit="mmol/g", adsorptive="N2", temperature=77.35)

Either ``pressure`` (with ``p0``, or an adsorptive and temperature whose gas table gives
the saturation pressure) or ``relative_pressure`` is needed. ``p0`` is one number or one
per point, in ``pressure_unit``. Without ``branch`` the points are split at the highest
pressure.)")
      .def(pyb::init(&Make), pyb::kw_only(), "pressure"_a = pyb::none(), "loading"_a = pyb::none(),
           "relative_pressure"_a = pyb::none(), "p0"_a = pyb::none(), "branch"_a = pyb::none(),
           "pressure_unit"_a = "mmHg", "loading_unit"_a = "cm3/g STP", "adsorptive"_a = "",
           "temperature"_a = pyb::none(), "sample_mass"_a = pyb::none(), "material"_a = "",
           "name"_a = "")
      .def("__len__", [](const PyIsotherm& i) { return i.data->size(); })
      // Pickled whole, so that isotherms travel to worker processes (multiprocessing, Dask).
      .def(pyb::pickle(
          [](const PyIsotherm& i) {
            const IsothermData& d = *i.data;
            std::vector<int> branch;
            for (Branch b : d.branch) branch.push_back(b == Branch::kAdsorption ? 0 : 1);
            const IsothermInfo& info = d.info;
            return pyb::make_tuple(
                1, d.source, d.relativePressure, d.quantityAdsorbedCm3PerGStp, branch, d.sourceLine,
                d.pressureMmHg, d.poMmHg, d.notes,
                pyb::make_tuple(info.adsorptive, info.temperatureK, info.sampleMassG, info.material,
                                info.pressureUnit, info.loadingUnit, info.items));
          },
          [](const pyb::tuple& t) {
            if (t.size() != 10 || t[0].cast<int>() != 1)
              throw std::runtime_error("not a pickled fiofla Isotherm");
            auto d = std::make_shared<IsothermData>();
            d->source = t[1].cast<std::string>();
            d->relativePressure = t[2].cast<std::vector<double>>();
            d->quantityAdsorbedCm3PerGStp = t[3].cast<std::vector<double>>();
            for (int b : t[4].cast<std::vector<int>>())
              d->branch.push_back(b == 0 ? Branch::kAdsorption : Branch::kDesorption);
            d->sourceLine = t[5].cast<std::vector<std::size_t>>();
            d->pressureMmHg = t[6].cast<std::vector<double>>();
            d->poMmHg = t[7].cast<std::vector<double>>();
            d->notes = t[8].cast<std::vector<std::string>>();
            const auto info = t[9].cast<pyb::tuple>();
            d->info.adsorptive = info[0].cast<std::string>();
            d->info.temperatureK = info[1].cast<double>();
            d->info.sampleMassG = info[2].cast<double>();
            d->info.material = info[3].cast<std::string>();
            d->info.pressureUnit = info[4].cast<std::string>();
            d->info.loadingUnit = info[5].cast<std::string>();
            d->info.items = info[6].cast<std::vector<std::pair<std::string, std::string>>>();
            return PyIsotherm{std::move(d)};
          }))
      .def_property_readonly(
          "pressure",
          [](const PyIsotherm& i) { return OrNaN(i.data->pressureMmHg, i.data->size()); },
          "Absolute pressure of every point, mmHg (NaN when only P/Po is known)")
      .def_property_readonly(
          "relative_pressure",
          [](const PyIsotherm& i) { return ToArray(i.data->relativePressure); },
          "P/Po of every point")
      .def_property_readonly(
          "loading",
          [](const PyIsotherm& i) { return ToArray(i.data->quantityAdsorbedCm3PerGStp); },
          "Quantity adsorbed of every point, cm3/g STP")
      .def_property_readonly(
          "p0", [](const PyIsotherm& i) { return OrNaN(i.data->poMmHg, i.data->size()); },
          "Po of every point, mmHg (NaN when not known)")
      .def_property_readonly(
          "branch", [](const PyIsotherm& i) { return BranchArray(*i.data); },
          "'adsorption' or 'desorption' for every point")
      .def_property_readonly(
          "metadata", [](const PyIsotherm& i) { return Metadata(*i.data); },
          "Adsorptive, temperature (K), sample mass (g), material, the file's "
          "units and its other items")
      .def_property_readonly("units",
                             [](const PyIsotherm&) {
                               pyb::dict d;
                               d["pressure"] = "mmHg";
                               d["loading"] = "cm3/g STP";
                               return d;
                             })
      .def_property_readonly(
          "notes", [](const PyIsotherm& i) { return i.data->notes; },
          "What the reader decided that a person should hear of")
      .def_property_readonly("source", [](const PyIsotherm& i) { return i.data->source; })
      .def("_html",
           [](const PyIsotherm& i) { return Unlocked([&] { return IsothermHtml(*i.data); }); })
      .def(
          "write",
          [](const PyIsotherm& i, const std::string& path, const std::string& format,
             const std::string& pressureUnit, const std::string& loadingUnit) {
            IsothermFormat f = IsothermFormat::kCsv;
            if (!FormatFromName(format, &f) || f == IsothermFormat::kAuto)
              ThrowInput("format '" + format + "' is not csv, aif or pygaps");
            IsothermWriteOptions options;
            options.pressureUnit = pressureUnit;
            options.loadingUnit = loadingUnit;
            options.gasCache = &CGasCompressibilityCache::ForThisThread();
            Unlocked([&] { WriteIsothermFile(path, *i.data, f, options); });
          },
          "path"_a, "format"_a = "csv", "pressure_unit"_a = "", "loading_unit"_a = "",
          "Writes the isotherm as CSV, AIF or pyGAPS JSON");

  m.def("read_isotherm", &Read, "path"_a, pyb::kw_only(), "format"_a = "auto", "p0"_a = pyb::none(),
        "adsorbent_molar_mass"_a = pyb::none(), "material_density"_a = pyb::none(),
        "require_p0"_a = true,
        R"(Reads an isotherm file: CSV with units in its header, AIF, NIST ISODB JSON,
pyGAPS JSON or CSV, or a fiofla measurement file (reduced on reading).

format: "auto" (by content), "csv", "aif", "isodb", "measurement", "pygaps", "pygaps-csv".
p0: Po replacing the file's, a number in mmHg or a text with its unit ("101.325kPa").
adsorbent_molar_mass: g/mol, for loadings per formula unit.
material_density: g/cm3, for loadings per volume of material.
require_p0: False reads absolute pressures with no Po anywhere (a gas above its critical
temperature) with P/Po NaN, for fits, IAST and heats.
Raises InputError with the reader's message.)");
}

}  // namespace fiofla::py
