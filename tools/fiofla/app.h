// How the tool's commands are put together. Each command declares its options once, on its
// own CLI11 subcommand, into an options record it owns, and registers the body that runs
// once parsing succeeded. Run() parses, then turns every failure into the same shape: one
// line "fiofla CMD: message" on the error stream and the exit code of cli.h (UsageError 2,
// InputError 1); help goes to the output stream with exit code 0.
#pragma once

#include <CLI/CLI.hpp>
#include <functional>
#include <ostream>
#include <string>
#include <utility>
#include <vector>

#include "fiofla/io/isotherm_file.h"

namespace fiofla::cli {

/// A bad command line; the message says which argument and why.
struct UsageError {
  std::string message;
};

/// Where a command writes: results to `out`, messages to `err`.
struct Streams {
  std::ostream& out;
  std::ostream& err;
};

/// The body of a command, run after its options were parsed; returns the exit code.
using CommandBody = std::function<int(Streams&)>;

/// The commands of one tool invocation: the subcommand each declared and its body.
class Commands {
 public:
  /// Registers `body` for the subcommand `app`.
  void Add(CLI::App* app, CommandBody body) { m_list.emplace_back(app, std::move(body)); }
  /// The body of the deepest subcommand that was parsed, with that subcommand; null when none.
  std::pair<CLI::App*, const CommandBody*> Chosen() const;

 private:
  std::vector<std::pair<CLI::App*, CommandBody>> m_list;
};

/// A new subcommand `name` of `parent` with the tool's help layout; `description` is the
/// paragraph under the usage line, `footer` the exit codes.
CLI::App* AddCommand(CLI::App& parent, const std::string& name, const std::string& summary,
                     const std::string& description, const std::string& footer);

/// "fiofla bet" for the subcommand bet, "fiofla gas z" for z under gas.
std::string CommandPath(const CLI::App* app);

// Each command file declares its commands through one of these.
void AddBetCommand(CLI::App& app, Commands& commands);
void AddReportCommand(CLI::App& app, Commands& commands);
void AddPoreCommands(CLI::App& app, Commands& commands);
void AddReduceCommands(CLI::App& app, Commands& commands);
void AddConvertCommand(CLI::App& app, Commands& commands);
void AddGasCommand(CLI::App& app, Commands& commands);
void AddKernelCommand(CLI::App& app, Commands& commands);
void AddDftCommand(CLI::App& app, Commands& commands);
void AddFitCommand(CLI::App& app, Commands& commands);
void AddHeatCommand(CLI::App& app, Commands& commands);
void AddIastCommand(CLI::App& app, Commands& commands);
void AddChemiCommand(CLI::App& app, Commands& commands);
void AddHkCommand(CLI::App& app, Commands& commands);
void AddBatchCommand(CLI::App& app, Commands& commands);

}  // namespace fiofla::cli
