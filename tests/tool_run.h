// Runs the fiofla tool in-process for the tool's test suites.
#pragma once

#include <sstream>
#include <string>
#include <vector>

#include "cli.h"

namespace fiofla::testing {

/// What one run of the tool did: its exit code and what it wrote to each stream.
struct ToolRun {
  int code;
  std::string out;
  std::string err;
};

inline ToolRun RunTool(const std::vector<std::string>& args) {
  std::ostringstream out, err;
  const int code = fiofla::cli::Run(args, out, err);
  return {code, out.str(), err.str()};
}

}  // namespace fiofla::testing
