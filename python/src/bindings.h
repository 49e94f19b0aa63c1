// What the binding files share: the conversions to Python, the GIL rule and the pieces of
// the tool's option handling that keyword arguments go through.
#pragma once

#include <pybind11/numpy.h>
#include <pybind11/pybind11.h>
#include <pybind11/stl.h>

#include <functional>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "cli_common.h"
#include "fiofla/io/isotherm_file.h"
#include "fiofla/isotherm_fit.h"
#include "result.h"

namespace fiofla::py {

namespace pyb = pybind11;

/// A fitted isotherm model that Python can evaluate, with the units of its fit.
struct PyModel {
  SIsothermFit fit;
  std::string pressureUnit, loadingUnit;
};

/// The isotherm a Python `Isotherm` holds; shared, never changed after it is made.
struct PyIsotherm {
  std::shared_ptr<const IsothermData> data;
};

/// The isotherm an argument gives: an Isotherm, or a path read as the tool reads it (with
/// `requirePo` false, a gas above its critical point reads without P/Po).
std::shared_ptr<const IsothermData> IsothermArg(const pyb::handle& value, bool requirePo = true);

/// Runs `f` with the GIL released: every calculation and file read goes through it.
template <typename F>
auto Unlocked(F&& f) {
  pyb::gil_scoped_release release;
  return f();
}

/// Serialises the calls that use the library's process-wide gas-table cache
/// (CGasCompressibilityCache::ms_cCache): the unit conversions of fits and of the report.
/// Readers and the family analyses take a cache of their own thread instead.
std::mutex& GasCacheLock();

/// Read options with the calling thread's own gas-table cache.
IsothermReadOptions ThreadReadOptions();

/// A Python value as a double; raises InputError naming `what` when it is not a number.
double ToNumber(const pyb::handle& value, const std::string& what);
/// A positive finite number; raises InputError naming `what`.
double ToPositive(const pyb::handle& value, const std::string& what);
/// (lo, hi) with 0 <= lo < hi (<= `most`); raises InputError naming `what`.
std::pair<double, double> ToRange(const pyb::handle& value, const std::string& what,
                                  double most = HUGE_VAL);
/// A pressure: a number in mmHg or a text with its unit ("101.325kPa").
double ToPressureMmHg(const pyb::handle& value, const std::string& what);

/// A Value as a Python object (tables as dicts of NumPy arrays, groups as dicts).
pyb::object ToPython(const Value& value);
/// A column as a NumPy array.
pyb::object ToPython(const Column& column);
/// A vector as a NumPy array (a copy).
pyb::array_t<double> ToArray(const std::vector<double>& v);

/// Raises InputError with `message`.
[[noreturn]] void ThrowInput(const std::string& message);

/// BET of `iso` as `fiofla bet` runs it, with the values of its --json.
std::shared_ptr<BetResult> MakeBetResult(std::shared_ptr<const IsothermData> iso,
                                         const cli::BetSettings& settings);

/// Runs the body of one of the tool's commands (its options already set) with the GIL
/// released and no lock: the body must use no process-wide gas cache. Its --json becomes
/// the result; a usage or input error raises InputError, another failure gives `ok` false
/// with the command's message.
std::shared_ptr<Result> RunCommandBody(const std::function<int(cli::Streams&)>& body,
                                       const std::string& kind,
                                       const std::vector<std::string>& headline,
                                       const std::string& mainTable);

// Each binding file registers its functions.
void BindResults(pyb::module_& m);
void BindIsotherm(pyb::module_& m);
void BindPores(pyb::module_& m);
void BindAnalyses(pyb::module_& m);
void BindReport(pyb::module_& m);
void BindBatch(pyb::module_& m);
void BindIast(pyb::module_& m);
void BindFamilies(pyb::module_& m);

}  // namespace fiofla::py
