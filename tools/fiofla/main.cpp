#include <cerrno>
#include <cstdio>
#include <cstring>
#include <iostream>
#include <string>
#include <vector>

#include "cli.h"

int main(int argc, char** argv) {
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
