// The fiofla command-line tool: argument parsing and printing around the library.
#pragma once

#include <ostream>
#include <string>
#include <vector>

namespace fiofla::cli {

/// Exit codes of the tool.
enum ExitCode {
  kExitOk = 0,
  kExitInputError = 1,  ///< a file could not be read or is malformed
  kExitUsageError = 2,  ///< bad command line
  kExitNoResult = 3,    ///< the calculation ran but gave no usable result
};

/// Runs the tool with `args` (without the program name); results go to `out`,
/// messages to `err`. Returns the process exit code.
int Run(const std::vector<std::string>& args, std::ostream& out, std::ostream& err);

}  // namespace fiofla::cli
