// `fiofla batch`: the main figures of many isotherm files, one row each, written as CSV or
// JSON.
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <iostream>
#include <sstream>

#include "cli.h"
#include "cli_common.h"
#include "fiofla/batch.h"
#include "fiofla/io/file_util.h"

namespace fiofla::cli {
namespace {

struct BatchCmdOptions {
  std::vector<std::string> inputs;
  std::string output;
  std::string to;  // csv or json; empty: from the output's extension
  SBatchOptions batch;
};

using Clock = std::chrono::steady_clock;

double Seconds(Clock::duration d) {
  return std::chrono::duration<double>(d).count();
}

// Files per second: whole numbers from 100 on, three digits below.
std::string Rate(std::size_t files, double seconds) {
  const double rate = seconds > 0.0 ? files / seconds : 0.0;
  return rate >= 100.0 ? Fixed(rate, 0) : Num(rate, 3);
}

// "1 h 02 min", "3 min 05 s", "12 s".
std::string Duration(double seconds) {
  const long s = static_cast<long>(seconds + 0.5);
  char buf[32];
  if (s >= 3600)
    std::snprintf(buf, sizeof buf, "%ld h %02ld min", s / 3600, (s / 60) % 60);
  else if (s >= 60)
    std::snprintf(buf, sizeof buf, "%ld min %02ld s", s / 60, s % 60);
  else
    std::snprintf(buf, sizeof buf, "%ld s", s);
  return buf;
}

// One line on a terminal, rewritten in place at most ten times a second.
class ProgressLine {
 public:
  explicit ProgressLine(std::ostream& err) : m_err(err), m_start(Clock::now()) {}

  void Update(std::size_t done, std::size_t total) {
    const Clock::time_point now = Clock::now();
    if (done < total && now - m_last < std::chrono::milliseconds(100)) return;
    m_last = now;
    const double elapsed = Seconds(now - m_start);
    const double rate = elapsed > 0.0 ? done / elapsed : 0.0;
    std::string line = "fiofla batch: " + std::to_string(done) + "/" + std::to_string(total) +
                       " files, " + Rate(done, elapsed) + " files/s";
    if (done < total && rate > 0.0) line += ", " + Duration((total - done) / rate) + " left";
    // Blanks cover what a longer earlier line left.
    const std::size_t width = line.size();
    if (line.size() < m_width) line.append(m_width - line.size(), ' ');
    m_width = width;
    m_err << '\r' << line << std::flush;
    m_shown = true;
  }
  void Finish() {
    if (m_shown) m_err << '\n' << std::flush;
  }

 private:
  std::ostream& m_err;
  Clock::time_point m_start, m_last;
  std::size_t m_width = 0;
  bool m_shown = false;
};

// The progress line only for a person watching: the tool's own stderr, on a terminal.
bool ErrIsTerminal(const std::ostream& err) {
  return err.rdbuf() == std::cerr.rdbuf() && isatty(STDERR_FILENO) == 1;
}

std::string OutputFormat(const BatchCmdOptions& o) {
  if (!o.to.empty()) return o.to;
  const std::string ext = std::filesystem::path(o.output).extension().string();
  if (ext == ".csv" || ext == ".CSV") return "csv";
  if (ext == ".json" || ext == ".JSON") return "json";
  throw UsageError{"-o '" + o.output +
                   "' ends neither in .csv nor in .json; name the format with --to"};
}

// The output is no input, when a second run writes it inside a folder it walks. Only files
// of its name are asked about, so a large batch costs no stat per file.
void DropOutput(std::vector<std::string>& files, const std::string& output) {
  namespace fs = std::filesystem;
  std::error_code ec;
  if (!fs::exists(output, ec)) return;
  const fs::path name = fs::path(output).filename();
  files.erase(std::remove_if(files.begin(), files.end(),
                             [&](const std::string& f) {
                               std::error_code e;
                               return fs::path(f).filename() == name &&
                                      fs::equivalent(f, output, e);
                             }),
              files.end());
}

int Batch(const BatchCmdOptions& o, Streams& io) {
  if (o.inputs.empty()) throw UsageError{"no isotherm FILE or DIR given"};
  if (o.output.empty()) throw UsageError{"no -o/--output given (results.csv or results.json)"};
  const std::string format = OutputFormat(o);
  BatchColumns(o.batch);  // an unknown analysis is refused before any file is read
  std::vector<std::string> files = ExpandBatchInputs(o.inputs);
  DropOutput(files, o.output);
  if (files.empty())
    throw InputError("no isotherm files (.csv, .tsv, .aif, .cif, .json) in the given folders");

  const Clock::time_point start = Clock::now();
  ProgressLine progress(io.err);
  SBatchOptions options = o.batch;
  if (ErrIsTerminal(io.err))
    options.progress = [&progress](std::size_t done, std::size_t total) {
      progress.Update(done, total);
    };
  const std::vector<SBatchRow> rows = RunBatch(files, options);
  progress.Finish();
  const double seconds = Seconds(Clock::now() - start);

  const std::string text =
      format == "json" ? FormatBatchJson(rows, o.batch) : FormatBatchCsv(rows, o.batch);
  std::string error;
  if (!WriteFileAtomically(o.output, text, &error)) throw InputError(error);

  std::size_t ok = 0, doubtful = 0, partial = 0, errors = 0;
  for (const SBatchRow& r : rows) {
    ok += r.status == "ok";
    doubtful += r.status == "doubtful";
    partial += r.status == "partial";
    errors += r.status == "error";
  }
  io.err << "fiofla batch: " << rows.size() << " file" << (rows.size() == 1 ? "" : "s") << ": "
         << ok << " ok, " << doubtful << " doubtful, " << partial << " partial, " << errors
         << " error" << (errors == 1 ? "" : "s") << " in " << Fixed(seconds, 2) << " s ("
         << Rate(rows.size(), seconds) << " files/s); wrote " << o.output << "\n";
  return kExitOk;
}

}  // namespace

void AddBatchCommand(CLI::App& app, Commands& commands) {
  auto o = std::make_shared<BatchCmdOptions>();
  CLI::App* cmd = AddCommand(
      app, "batch", "main figures of many isotherm files, one CSV or JSON row each",
      "Reads every FILE, and every isotherm file (.csv, .tsv, .aif, .cif, .json) under\n"
      "every DIR, sorted, and writes one row per file: its status (ok, doubtful, partial,\n"
      "error), adsorptive, temperature, points, and the main figures of each analysis with\n"
      "the defaults of the single commands: bet (its automatic range search), tplot\n"
      "and bjh. A file that cannot be read becomes a row with the reader's message.\n",
      "exit codes: 0 written (rows may hold errors), 1 an input path that does not exist\n"
      "            or an output that cannot be written, 2 bad arguments\n");
  cmd->add_option("FILES", o->inputs, "isotherm files and folders of them")->type_name("PATH...");
  cmd->add_option("-o,--output", o->output,
                  "results.csv or results.json (written whole or not at all)")
      ->type_name("OUT");
  cmd->add_option_function<std::string>(
         "--to",
         [o](const std::string& v) {
           if (v != "csv" && v != "json") throw UsageError{"--to '" + v + "' is not csv or json"};
           o->to = v;
         },
         "csv or json (default: from the extension of OUT)")
      ->type_name("FMT");
  cmd->add_option_function<std::string>(
         "--analyses",
         [o](const std::string& v) {
           std::vector<std::string> names;
           std::stringstream in(v);
           for (std::string name; std::getline(in, name, ',');)
             if (!name.empty()) names.push_back(name);
           SBatchOptions check;
           check.analyses = names;
           try {
             BatchColumns(check);
           } catch (const InputError& e) {
             throw UsageError{std::string("--analyses: ") + e.what()};
           }
           o->batch.analyses = names;
         },
         "comma-separated analyses of bet, tplot, bjh (default bet,tplot,bjh)")
      ->type_name("LIST");
  cmd->add_option_function<std::string>(
         "--jobs",
         [o](const std::string& v) {
           const auto n = ToDouble(v);
           if (!n || *n < 0 || *n != std::floor(*n) || *n > 1024)
             throw UsageError{"--jobs '" + v + "' is not a whole number from 0 to 1024"};
           o->batch.jobs = static_cast<int>(*n);
         },
         "worker threads (default 0: one per core)")
      ->type_name("N");
  AddInputOptions(cmd, o->batch.read);
  commands.Add(cmd, [o](Streams& io) { return Batch(*o, io); });
}

}  // namespace fiofla::cli
