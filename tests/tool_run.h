// Runs the fiofla tool in-process for the tool's test suites.
#pragma once

#include <gtest/gtest.h>
#include <rapidjson/document.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
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

/// The JSON object a run printed; a parse error fails the calling test.
inline rapidjson::Document ParseJson(const ToolRun& r) {
  rapidjson::Document doc;
  doc.Parse(r.out.c_str());
  EXPECT_FALSE(doc.HasParseError()) << r.out << r.err;
  return doc;
}

/// A scratch folder of one test, named by `tag` and the process, removed with the object.
struct TempDir {
  explicit TempDir(const std::string& tag)
      : path(std::filesystem::temp_directory_path() /
             ("fiofla-" + tag + "-" + std::to_string(::getpid()))) {
    std::filesystem::remove_all(path);
    std::filesystem::create_directories(path);
  }
  ~TempDir() { std::filesystem::remove_all(path); }
  TempDir(const TempDir&) = delete;
  TempDir& operator=(const TempDir&) = delete;
  /// Writes `text` to the file `name` in the folder; returns its path.
  std::string Write(const std::string& name, const std::string& text) const {
    std::ofstream(path / name) << text;
    return (path / name).string();
  }
  std::filesystem::path path;
};

}  // namespace fiofla::testing
