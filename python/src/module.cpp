// The extension module _fiofla: the library's analyses for Python. The package fiofla
// (python/fiofla) re-exports it and adds what is easier written in Python (repr, DataFrames).
#include "app.h"
#include "bindings.h"
#include "fiofla/compress.h"

namespace fiofla::py {
namespace {

PyObject* g_inputError = nullptr;

}  // namespace

[[noreturn]] void ThrowInput(const std::string& message) {
  throw InputError(message);
}

std::mutex& GasCacheLock() {
  static std::mutex lock;
  return lock;
}

IsothermReadOptions ThreadReadOptions() {
  IsothermReadOptions options;
  options.gasCache = &CGasCompressibilityCache::ForThisThread();
  return options;
}

}  // namespace fiofla::py

PYBIND11_MODULE(_fiofla, m) {
  namespace py = fiofla::py;
  m.doc() = "fiofla: gas-sorption analysis (BET, t-plot, BJH, DFT, fits, IAST, heats)";
  m.attr("__version__") = FIOFLA_VERSION;

  // Bad input at the library's boundary and bad arguments both arrive as InputError, a
  // ValueError, with the library's one-line message.
  static pybind11::exception<fiofla::InputError> inputError(m, "InputError", PyExc_ValueError);
  py::g_inputError = inputError.ptr();
  pybind11::register_exception_translator([](std::exception_ptr p) {
    try {
      if (p) std::rethrow_exception(p);
    } catch (const fiofla::InputError& e) {
      PyErr_SetString(py::g_inputError, e.what());
    } catch (const fiofla::cli::UsageError& e) {
      PyErr_SetString(py::g_inputError, e.message.c_str());
    }
  });

  py::BindResults(m);
  py::BindIsotherm(m);
  py::BindPores(m);
  py::BindAnalyses(m);
  py::BindReport(m);
  py::BindBatch(m);
  py::BindIast(m);
  py::BindFamilies(m);
}
