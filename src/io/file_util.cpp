#include "fiofla/io/file_util.h"

#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <fstream>

namespace fiofla {

bool WriteFileAtomically(const std::string& path, std::string_view text, std::string* error) {
  // The process id keeps two processes writing the same target from sharing a temporary.
  const std::string temp = path + ".tmp-" + std::to_string(::getpid());
  auto fail = [&](const std::string& message) {
    std::remove(temp.c_str());
    if (error != nullptr) *error = message;
    return false;
  };
  {
    std::ofstream file(temp, std::ios::binary | std::ios::trunc);
    if (!file) return fail("cannot create '" + temp + "'");
    file.write(text.data(), static_cast<std::streamsize>(text.size()));
    file.flush();
    if (!file) return fail("cannot write '" + temp + "'");
  }
  if (std::rename(temp.c_str(), path.c_str()) != 0) return fail("cannot replace '" + path + "'");
  return true;
}

std::size_t LineOfOffset(std::string_view text, std::size_t offset) {
  offset = std::min(offset, text.size());
  return 1 + static_cast<std::size_t>(std::count(text.begin(), text.begin() + offset, '\n'));
}

FileReadStatus ReadFileLimited(const std::string& path, std::size_t maxBytes, std::string* text) {
  std::ifstream file(path, std::ios::binary);
  if (!file) return FileReadStatus::kNotOpened;
  std::string content;
  char buffer[1 << 16];
  // Chunked reading, so the limit holds for pipes and files whose size changes.
  while (file) {
    file.read(buffer, sizeof buffer);
    const std::size_t got = static_cast<std::size_t>(file.gcount());
    if (content.size() + got > maxBytes) return FileReadStatus::kTooLarge;
    content.append(buffer, got);
  }
  if (file.bad() || !file.eof()) return FileReadStatus::kNotRead;
  *text = std::move(content);
  return FileReadStatus::kOk;
}

}  // namespace fiofla
