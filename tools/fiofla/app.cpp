#include "app.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <sstream>

#include "cli.h"

namespace fiofla::cli {
namespace {

constexpr const char* kVersion = FIOFLA_VERSION;

constexpr const char* kMainDescription =
    "fiofla - data reduction for volumetric gas-sorption isotherms\n";

constexpr const char* kMainFooter =
    "'fiofla COMMAND --help' shows a command's options. Files of isotherms may be CSV with\n"
    "units in the header, AIF, NIST ISODB JSON, pyGAPS JSON or CSV, or fiofla measurement\n"
    "files; the format is found from the content.\n";

// CLI11's help layout, with option descriptions wrapped to fit 80 columns beside the names.
class HelpFormatter : public CLI::Formatter {
 public:
  HelpFormatter() {
    column_width(kNameWidth);
    label("Positionals", "Operands");
  }
  std::string make_option_desc(const CLI::Option* opt) const override {
    return Wrap(opt->get_description(), 80 - kNameWidth);
  }
  std::string make_option_opts(const CLI::Option* opt) const override {
    // A positional shows only its name; CLI11 would add its type (TEXT).
    return opt->get_positional() ? std::string() : CLI::Formatter::make_option_opts(opt);
  }

 private:
  static constexpr std::size_t kNameWidth = 26;

  static std::string Wrap(const std::string& text, std::size_t width) {
    std::string out, line, word;
    std::istringstream words(text);
    while (words >> word) {
      if (!line.empty() && line.size() + 1 + word.size() > width) {
        out += line + "\n";
        line.clear();
      }
      line += (line.empty() ? "" : " ") + word;
    }
    return out + line;
  }
};

// What CLI11 says about a bad command line, in the words the tool uses everywhere.
std::string UsageMessage(const CLI::ParseError& e) {
  const std::string what = e.what();
  const auto colon = what.find(':');
  if (dynamic_cast<const CLI::ArgumentMismatch*>(&e) != nullptr && colon != std::string::npos &&
      what.rfind("-", 0) == 0)
    return what.substr(0, colon) + " needs a value";
  return what;
}

// Arguments CLI11 left over: an unknown option, or one operand too many.
std::string ExtrasMessage(const std::vector<std::string>& extras) {
  for (const std::string& a : extras)
    if (a.size() > 1 && a[0] == '-') return "unknown option '" + a.substr(0, a.find('=')) + "'";
  return "more than one FILE given: '" + extras.front() + "' is one too many";
}

}  // namespace

std::pair<CLI::App*, const CommandBody*> Commands::Chosen() const {
  std::pair<CLI::App*, const CommandBody*> chosen{nullptr, nullptr};
  int depth = -1;
  for (const auto& [app, body] : m_list) {
    if (!app->parsed()) continue;
    int d = 0;
    for (const CLI::App* p = app->get_parent(); p != nullptr; p = p->get_parent()) ++d;
    if (d > depth) {
      depth = d;
      chosen = {app, &body};
    }
  }
  return chosen;
}

CLI::App* AddCommand(CLI::App& parent, const std::string& name, const std::string& summary,
                     const std::string& description, const std::string& footer) {
  CLI::App* app = parent.add_subcommand(name, summary);
  // The long description shows under the usage line of the command's own help only.
  app->formatter_fn([description](const CLI::App* a, std::string prev, CLI::AppFormatMode mode) {
    HelpFormatter formatter;
    std::string text = formatter.make_help(a, prev, mode);
    // CLI11 puts the summary first; the longer paragraph reads better under the usage line.
    const std::string& summary = a->get_description();
    if (!summary.empty() && text.rfind(summary, 0) == 0) text.erase(0, summary.size() + 1);
    const auto usageEnd = text.find('\n');
    if (!description.empty() && usageEnd != std::string::npos)
      text.insert(usageEnd + 1, "\n" + description);
    return text;
  });
  app->footer(footer);
  app->allow_extras();
  return app;
}

std::string CommandPath(const CLI::App* app) {
  std::vector<std::string> names;
  for (const CLI::App* a = app; a != nullptr; a = a->get_parent()) names.push_back(a->get_name());
  std::string path;
  for (auto it = names.rbegin(); it != names.rend(); ++it) path += (path.empty() ? "" : " ") + *it;
  return path;
}

int Run(const std::vector<std::string>& args, std::ostream& out, std::ostream& err) {
  CLI::App app(kMainDescription, "fiofla");
  app.footer(kMainFooter);
  app.allow_extras();
  app.get_formatter()->column_width(18);
  Commands commands;
  AddBetCommand(app, commands);
  AddReportCommand(app, commands);
  AddPoreCommands(app, commands);
  AddReduceCommands(app, commands);
  AddConvertCommand(app, commands);
  AddGasCommand(app, commands);
  AddKernelCommand(app, commands);
  AddDftCommand(app, commands);
  AddFitCommand(app, commands);
  AddHeatCommand(app, commands);
  AddIastCommand(app, commands);
  AddChemiCommand(app, commands);
  AddHkCommand(app, commands);
  AddBatchCommand(app, commands);
  CLI::App* help = app.add_subcommand("help", "this text; 'fiofla COMMAND --help' for a command");
  CLI::App* version = app.add_subcommand("version", "the version of fiofla");
  app.add_flag("--version", "the version of fiofla");

  // CLI11 takes the arguments last first.
  std::vector<std::string> reversed(args.rbegin(), args.rend());
  std::string where = "fiofla";
  try {
    app.parse(reversed);
  } catch (const CLI::CallForHelp&) {
    out << app.help();
    return kExitOk;
  } catch (const CLI::CallForAllHelp&) {
    out << app.help("", CLI::AppFormatMode::All);
    return kExitOk;
  } catch (const CLI::ParseError& e) {
    const CLI::App* failed = &app;
    for (const CLI::App* sub = &app; sub != nullptr;) {
      const auto parsed = sub->get_subcommands();
      if (parsed.empty()) break;
      failed = sub = parsed.front();
    }
    where = CommandPath(failed);
    err << where << ": " << UsageMessage(e) << "\ntry '" << where << " --help'\n";
    return kExitUsageError;
  } catch (const UsageError& e) {
    // An option's own check failed while parsing.
    const auto chosen = commands.Chosen();
    where = chosen.first != nullptr ? CommandPath(chosen.first) : where;
    err << where << ": " << e.message << "\ntry '" << where << " --help'\n";
    return kExitUsageError;
  }

  if (help->parsed() || (args.empty())) {
    (args.empty() ? err : out) << app.help();
    return args.empty() ? kExitUsageError : kExitOk;
  }
  if (version->parsed() || app.count("--version") > 0) {
    out << "fiofla " << kVersion << "\n";
    return kExitOk;
  }
  const auto [chosenApp, body] = commands.Chosen();
  if (chosenApp == nullptr) {
    const auto extras = app.remaining();
    if (!extras.empty() && extras.front().rfind("-", 0) != 0)
      err << "fiofla: unknown command '" << extras.front() << "'\ntry 'fiofla help'\n";
    else
      err << "fiofla: no command given\ntry 'fiofla help'\n";
    return kExitUsageError;
  }
  where = CommandPath(chosenApp);
  if (!chosenApp->remaining().empty() || !app.remaining().empty()) {
    auto extras = chosenApp->remaining();
    if (extras.empty()) extras = app.remaining();
    err << where << ": " << ExtrasMessage(extras) << "\ntry '" << where << " --help'\n";
    return kExitUsageError;
  }
  // A parent of subcommands run without one ("fiofla gas") has a body that says so.
  Streams streams{out, err};
  int code = kExitOk;
  try {
    code = (*body)(streams);
  } catch (const UsageError& e) {
    err << where << ": " << e.message << "\ntry '" << where << " --help'\n";
    return kExitUsageError;
  } catch (const InputError& e) {
    err << where << ": " << e.what() << "\n";
    return kExitInputError;
  }
  // A result that did not reach its reader (a full disk, a closed pipe) is a failure.
  errno = 0;
  out.flush();
  if (!out) {
    err << where << ": cannot write the result to standard output"
        << (errno != 0 ? std::string(": ") + std::strerror(errno) : std::string()) << "\n";
    return kExitInputError;
  }
  return code;
}

}  // namespace fiofla::cli
