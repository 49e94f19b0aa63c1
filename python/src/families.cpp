// hk and chemisorption (the analyses that take the tool's option spellings) run the body of the
// tool's command in-process on an isotherm already read, with the GIL released and no lock:
// the body reads no file and uses no process-wide cache, so threads run side by side. The
// options go through the tool's own declarations, so values are checked with its messages.
#include "bindings.h"
#include "chemi_options.h"
#include "hk_options.h"

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
}

}  // namespace fiofla::py
