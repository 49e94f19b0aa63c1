#include <iostream>
#include <string>
#include <vector>

#include "cli.h"

int main(int argc, char** argv) {
  std::vector<std::string> args(argv + 1, argv + argc);
  return fiofla::cli::Run(args, std::cout, std::cerr);
}
