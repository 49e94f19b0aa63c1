// fiofla.Mixture: IAST on fitted models or measured points held in Python, point by point
// in microseconds, where fiofla.iast runs the tool's whole command on files.
#include <cmath>

#include "bindings.h"
#include "fiofla/gasiast.h"

namespace fiofla::py {
namespace {

using namespace pyb::literals;

struct PyMixture {
  std::shared_ptr<const CIASTCalculation> calc;
};

std::vector<double> Numbers(const pyb::handle& value, const std::string& what) {
  try {
    auto a = pyb::array_t<double, pyb::array::c_style | pyb::array::forcecast>::ensure(value);
    if (a && a.ndim() == 1) return std::vector<double>(a.data(), a.data() + a.size());
  } catch (const pyb::error_already_set&) {
  }
  PyErr_Clear();
  ThrowInput(what + " is not a one-dimensional sequence of numbers");
}

PyMixture Make(const pyb::sequence& components, const pyb::object& names) {
  std::vector<SIastComponent> list;
  std::size_t k = 0;
  for (const pyb::handle c : components) {
    ++k;
    SIastComponent comp;
    if (pyb::isinstance<PyModel>(c)) {
      const PyModel& m = c.cast<const PyModel&>();
      if (!m.fit.model)
        ThrowInput("component " + std::to_string(k) + ", " + m.fit.name +
                   ", has no usable fit: " + m.fit.message);
      comp.model = m.fit.model;
      comp.name = m.fit.name;
    } else if (pyb::isinstance<pyb::sequence>(c) && pyb::len(c) == 2 &&
               !pyb::isinstance<pyb::str>(c)) {
      const auto pair = pyb::reinterpret_borrow<pyb::sequence>(c);
      comp.pressures = Numbers(pair[0], "component " + std::to_string(k) + " pressures");
      comp.loadings = Numbers(pair[1], "component " + std::to_string(k) + " loadings");
      comp.name = std::to_string(k);
    } else {
      ThrowInput("component " + std::to_string(k) +
                 " is not a FittedModel or (pressures, loadings)");
    }
    list.push_back(std::move(comp));
  }
  if (!names.is_none()) {
    const auto given = names.cast<std::vector<std::string>>();
    if (given.size() != list.size())
      ThrowInput("names has " + std::to_string(given.size()) + " names for " +
                 std::to_string(list.size()) + " components");
    for (std::size_t i = 0; i < list.size(); ++i) list[i].name = given[i];
  }
  auto calc = Unlocked([&] { return std::make_shared<const CIASTCalculation>(std::move(list)); });
  if (!calc->Ok()) ThrowInput(calc->Message());
  return PyMixture{std::move(calc)};
}

pyb::dict PointDict(const SIastPoint& p) {
  pyb::dict d;
  d["ok"] = p.Ok();
  d["status"] = ToString(p.status);
  d["message"] = p.message;
  d["pressure"] = p.pressure;
  d["gas_fractions"] = ToArray(p.gasFractions);
  d["adsorbed_fractions"] = ToArray(p.adsorbedFractions);
  d["loadings"] = ToArray(p.loadings);
  d["total_loading"] = p.totalLoading;
  d["pure_pressures"] = ToArray(p.purePressures);
  d["spreading_pressure"] = p.spreadingPressure;
  d["iterations"] = p.iterations;
  return d;
}

}  // namespace

void BindIast(pyb::module_& m) {
  pyb::class_<PyMixture>(m, "Mixture", R"(A prepared IAST mixture of pure components.

components: FittedModel objects (fiofla.fit(...).best) or (pressures, loadings) pairs of
measured points, all in one pressure and one loading unit (amounts of substance per mass).
solve() and reverse() give one point as a dict; sweep() a pressure sweep as arrays.)")
      .def(pyb::init(&Make), "components"_a, "names"_a = pyb::none())
      .def_property_readonly("names", [](const PyMixture& x) { return x.calc->Names(); })
      .def_property_readonly("notes", [](const PyMixture& x) { return x.calc->Notes(); })
      .def("__len__", [](const PyMixture& x) { return x.calc->Size(); })
      .def(
          "solve",
          [](const PyMixture& x, const pyb::object& fractions, double pressure) {
            const auto y = Numbers(fractions, "fractions");
            const SIastPoint p = Unlocked([&] { return x.calc->Mixture(y, pressure); });
            return PointDict(p);
          },
          "fractions"_a, "pressure"_a,
          "The adsorbed phase in equilibrium with gas fractions y at total pressure P")
      .def(
          "reverse",
          [](const PyMixture& x, const pyb::object& fractions, double pressure) {
            const auto xs = Numbers(fractions, "fractions");
            const SIastPoint p = Unlocked([&] { return x.calc->GasFractions(xs, pressure); });
            return PointDict(p);
          },
          "adsorbed_fractions"_a, "pressure"_a,
          "The gas in equilibrium with adsorbed fractions x at total pressure P")
      .def(
          "sweep",
          [](const PyMixture& x, const pyb::object& fractions, const pyb::object& pressures) {
            const auto y = Numbers(fractions, "fractions");
            const auto ps = Numbers(pressures, "pressures");
            const auto points = Unlocked([&] { return x.calc->PressureSweep(y, ps); });
            const std::size_t n = x.calc->Size();
            std::vector<double> total, pi;
            std::vector<std::vector<double>> loadings(n), fractionsX(n);
            std::vector<std::string> status;
            for (const SIastPoint& p : points) {
              total.push_back(p.totalLoading);
              pi.push_back(p.spreadingPressure);
              status.emplace_back(ToString(p.status));
              for (std::size_t i = 0; i < n; ++i) {
                loadings[i].push_back(i < p.loadings.size() ? p.loadings[i] : NAN);
                fractionsX[i].push_back(i < p.adsorbedFractions.size() ? p.adsorbedFractions[i]
                                                                       : NAN);
              }
            }
            pyb::dict d;
            d["pressure"] = ToArray(ps);
            d["total_loading"] = ToArray(total);
            for (std::size_t i = 0; i < n; ++i) {
              d[pyb::str("loading_" + std::to_string(i + 1))] = ToArray(loadings[i]);
              d[pyb::str("adsorbed_fraction_" + std::to_string(i + 1))] = ToArray(fractionsX[i]);
            }
            d["spreading_pressure"] = ToArray(pi);
            d["status"] = status;
            return d;
          },
          "fractions"_a, "pressures"_a,
          "Forward IAST at fixed gas fractions over total pressures, as a dict of arrays")
      .def("__repr__", [](const PyMixture& x) {
        std::string names;
        for (const auto& n : x.calc->Names()) names += (names.empty() ? "" : ", ") + n;
        return "<Mixture of " + names + ">";
      });
}

}  // namespace fiofla::py
