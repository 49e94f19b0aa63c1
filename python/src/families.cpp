// hk, chemisorption, the isosteric heats and IAST run the body of the tool's command
// in-process on the isotherms as held, with the GIL released and no lock: the bodies take
// the thread's gas-table cache, so threads run side by side. Keyword arguments go through
// the command's own option declarations, so values are checked with its messages. reduce
// writes and reads back the text of `fiofla reduce`.
#include <cmath>
#include <sstream>

#include "bindings.h"
#include "chemi_options.h"
#include "fiofla/compress.h"
#include "fiofla/io/file_util.h"
#include "fiofla/io/measurement_file.h"
#include "heat_options.h"
#include "hk_options.h"
#include "iast_run.h"
#include "reduce_out.h"

namespace fiofla::py {
namespace {

using namespace pyb::literals;

// Parses `args` ("--geometry", "cylinder", ...) with the options `declare` adds.
template <typename Settings, typename Declare>
Settings SettingsOf(const std::vector<std::string>& args, Declare declare) {
  Settings settings;
  CLI::App app;
  declare(&app, settings);
  // CLI11 takes the arguments last first.
  std::vector<std::string> reversed(args.rbegin(), args.rend());
  std::string message;
  try {
    app.parse(reversed);
  } catch (const cli::UsageError& e) {
    message = e.message;
  } catch (const CLI::ParseError& e) {
    message = e.what();
  }
  if (!message.empty()) ThrowInput(message);
  return settings;
}

// The isotherm `value` gives, read without requiring Po (gases above their critical point
// have none), with `poMmHg` (NaN: none) in place of the file's Po. An Isotherm already held
// keeps its pressures; one of P/Po only gets its pressures from `poMmHg`.
std::shared_ptr<const IsothermData> AbsoluteIsothermArg(const pyb::handle& value, double poMmHg) {
  if (!pyb::isinstance<PyIsotherm>(value) && std::isfinite(poMmHg)) {
    if (!pyb::isinstance<pyb::str>(value) && !pyb::hasattr(value, "__fspath__"))
      return IsothermArg(value, false);  // raises the usual message
    const std::string path = pyb::str(pyb::module_::import("os").attr("fspath")(value));
    IsothermReadOptions options = ThreadReadOptions();
    options.requirePo = false;
    options.noteMissingPo = false;
    options.poMmHg = poMmHg;
    return Unlocked(
        [&] { return std::make_shared<const IsothermData>(ReadIsothermFile(path, options)); });
  }
  auto iso = IsothermArg(value, false);
  if (!std::isfinite(poMmHg) || iso->pressureMmHg.size() == iso->size()) return iso;
  auto copy = std::make_shared<IsothermData>(*iso);
  copy->poMmHg.assign(copy->size(), poMmHg);
  copy->pressureMmHg.clear();
  for (double x : copy->relativePressure) copy->pressureMmHg.push_back(x * poMmHg);
  return copy;
}

}  // namespace

void BindFamilies(pyb::module_& m) {
  m.def(
      "_hk",
      [](const pyb::handle& isotherm, const std::vector<std::string>& args) {
        const auto settings = SettingsOf<cli::HkSettings>(args, cli::AddHkOptions);
        std::shared_ptr<const IsothermData> iso = IsothermArg(isotherm);
        return RunCommandBody(
            [&](cli::Streams& io) { return cli::PrintHk(*iso, iso->source, settings, true, io); },
            "hk", {"micropore_volume_cm3_per_g", "median_width_angstrom"}, "intervals");
      },
      "isotherm"_a, "args"_a);
  m.def(
      "_chemisorption",
      [](const pyb::handle& combined, const pyb::handle& weak,
         const std::vector<std::string>& args) {
        const auto settings = SettingsOf<cli::ChemiSettings>(args, cli::AddChemiOptions);
        // Chemisorption runs far above the gas's critical point: no P/Po needed.
        std::vector<std::shared_ptr<const IsothermData>> held = {IsothermArg(combined, false)};
        if (!weak.is_none()) held.push_back(IsothermArg(weak, false));
        std::vector<const IsothermData*> isotherms;
        std::vector<std::string> names;
        for (const auto& iso : held) {
          isotherms.push_back(iso.get());
          names.push_back(iso->source);
        }
        return RunCommandBody(
            [&](cli::Streams& io) { return cli::PrintChemi(isotherms, names, settings, true, io); },
            "chemisorption", {"gas", "temperature_k"}, "uptakes");
      },
      "combined"_a, "weak"_a, "args"_a);
  m.def(
      "_isosteric",
      [](const std::vector<pyb::handle>& values, const std::vector<std::string>& args,
         const pyb::handle& p0, bool virial) {
        const auto settings = SettingsOf<cli::IsostericSettings>(args, cli::AddIsostericOptions);
        const double poMmHg = p0.is_none() ? NAN : ToPressureMmHg(p0, "p0");
        std::vector<std::shared_ptr<const IsothermData>> held;
        for (const auto& value : values) held.push_back(AbsoluteIsothermArg(value, poMmHg));
        std::vector<const IsothermData*> isotherms;
        std::vector<std::string> names;
        for (const auto& iso : held) {
          isotherms.push_back(iso.get());
          names.push_back(iso->source);
        }
        return RunCommandBody(
            [&](cli::Streams& io) {
              return cli::PrintIsosteric(isotherms, names, settings, true, io,
                                         &CGasCompressibilityCache::ForThisThread());
            },
            virial ? "virial" : "heat", {"loading_unit"}, "heats");
      },
      "isotherms"_a, "args"_a, "p0"_a, "virial"_a);
  m.def(
      "_reduce",
      [](const std::string& run, const std::string& output, const std::string& gasDir) {
        std::string stopped;
        auto data = Unlocked([&] {
          // A directory of its own gets a cache of its own; the thread's otherwise.
          std::unique_ptr<CGasCompressibilityCache> own;
          if (!gasDir.empty()) {
            own = std::make_unique<CGasCompressibilityCache>();
            own->SetDirectory(CStr(gasDir));
          }
          const ReducedIsotherm reduced = ReduceMeasurement(
              ReadMeasurementFile(run), own ? *own : CGasCompressibilityCache::ForThisThread());
          const std::string csv = cli::ReducedIsothermCsv(reduced);
          std::string error;
          if (!output.empty() && !WriteFileAtomically(output, csv, &error)) throw InputError(error);
          if (reduced.poStoppedAt)
            stopped = "Po is not positive at point " + std::to_string(*reduced.poStoppedAt + 1) +
                      ": conversion stops there; " + std::to_string(reduced.convertedPoints) +
                      " of " + std::to_string(reduced.timeS.size()) + " points were converted";
          // Read back as the written file reads, so the numbers are the file's.
          std::istringstream in(csv);
          return std::make_shared<const IsothermData>(
              ParseIsothermCsv(in, output.empty() ? run : output, ThreadReadOptions()));
        });
        if (!stopped.empty()) ThrowInput(stopped);
        return PyIsotherm{std::move(data)};
      },
      "run"_a, "output"_a, "gas_dir"_a);
  m.def(
      "_iast",
      [](const std::vector<pyb::handle>& values, const std::vector<pyb::object>& models,
         const std::vector<std::string>& args, const pyb::handle& p0) {
        const auto settings = SettingsOf<cli::IastSettings>(args, cli::AddIastOptions);
        IsothermReadOptions input = ThreadReadOptions();
        if (!p0.is_none()) input.poMmHg = ToPressureMmHg(p0, "p0");
        std::vector<std::shared_ptr<const IsothermData>> held;
        std::vector<cli::IastSource> sources;
        for (std::size_t i = 0; i < values.size(); ++i) {
          const std::string model = models[i].is_none() ? "" : pyb::str(models[i]);
          if (!pyb::isinstance<PyIsotherm>(values[i])) {
            if (!pyb::isinstance<pyb::str>(values[i]) && !pyb::hasattr(values[i], "__fspath__"))
              IsothermArg(values[i]);  // raises the usual message
            // Files are read as the tool reads its FILE[:MODEL] operands.
            const std::string path = pyb::str(pyb::module_::import("os").attr("fspath")(values[i]));
            std::string message;
            try {
              sources.push_back(cli::SplitIastOperand(model.empty() ? path : path + ":" + model));
            } catch (const cli::UsageError& e) {
              message = e.message;
            }
            if (!message.empty()) ThrowInput(message);
            continue;
          }
          held.push_back(AbsoluteIsothermArg(values[i], input.poMmHg));
          sources.push_back({held.back()->source, model, held.back().get()});
        }
        return RunCommandBody(
            [&](cli::Streams& io) {
              return cli::PrintIast(sources, input, settings, true, io,
                                    &CGasCompressibilityCache::ForThisThread());
            },
            "iast", {"pressure_unit", "loading_unit"}, "points");
      },
      "components"_a, "models"_a, "args"_a, "p0"_a);
}

}  // namespace fiofla::py
