#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <iostream>
#include <string>
#include <vector>

#include "cli.h"
#include "fiofla/io/file_util.h"

namespace {

// An interrupted write leaves no temporary file behind; then the signal does what it does.
extern "C" void OnSignal(int sig) {
  fiofla::RemoveTemporaryFileInProgress();
  std::signal(sig, SIG_DFL);
  std::raise(sig);
}

}  // namespace

int main(int argc, char** argv) {
  std::signal(SIGINT, OnSignal);
  std::signal(SIGTERM, OnSignal);
  std::vector<std::string> args(argv + 1, argv + argc);
  const int code = fiofla::cli::Run(args, std::cout, std::cerr);
  // What stdio still holds must reach the file too; a failing close is a failed run.
  // A run that failed has said why already.
  errno = 0;
  const bool written =
      std::fflush(stdout) == 0 && std::ferror(stdout) == 0 && std::fclose(stdout) == 0;
  if (!written && code == 0) {
    std::fprintf(stderr, "fiofla: cannot write the result to standard output: %s\n",
                 std::strerror(errno != 0 ? errno : EIO));
    return 1;
  }
  return code;
}
