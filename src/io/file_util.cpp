#include "fiofla/io/file_util.h"

#include <dirent.h>
#include <fcntl.h>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>

namespace fiofla {
namespace {

constexpr const char* kTempMark = ".fiofla-tmp-";

// The temporary file of the write in progress, for RemoveTemporaryFileInProgress; a fixed
// buffer, since a signal handler may read it.
char g_tempPath[4096];
volatile std::sig_atomic_t g_tempActive = 0;

std::string Reason(int err) {
  return std::strerror(err != 0 ? err : EIO);
}

std::string Folder(const std::string& path) {
  const auto slash = path.find_last_of('/');
  if (slash == std::string::npos) return ".";
  return slash == 0 ? "/" : path.substr(0, slash);
}

std::string BaseName(const std::string& path) {
  const auto slash = path.find_last_of('/');
  return slash == std::string::npos ? path : path.substr(slash + 1);
}

// The file a chain of symbolic links ends at; the path itself when it is none.
std::string FollowLinks(const std::string& path) {
  std::string target = path;
  for (int hops = 0; hops < 40; ++hops) {
    struct stat st;
    if (::lstat(target.c_str(), &st) != 0 || !S_ISLNK(st.st_mode)) break;
    std::string link(static_cast<std::size_t>(st.st_size > 0 ? st.st_size : 4096) + 1, '\0');
    const ssize_t n = ::readlink(target.c_str(), &link[0], link.size());
    if (n <= 0) break;
    link.resize(static_cast<std::size_t>(n));
    target = link[0] == '/' ? link : Folder(target) + "/" + link;
  }
  return target;
}

bool WriteAll(int fd, std::string_view text) {
  std::size_t done = 0;
  while (done < text.size()) {
    const ssize_t n = ::write(fd, text.data() + done, text.size() - done);
    if (n < 0 && errno == EINTR) continue;
    if (n <= 0) return false;
    done += static_cast<std::size_t>(n);
  }
  return true;
}

// Whether a process with this id is gone, so a temporary file it left is stale.
bool ProcessGone(const std::string& digits) {
  if (digits.empty() || digits.size() > 9 ||
      !std::all_of(digits.begin(), digits.end(), [](char c) { return c >= '0' && c <= '9'; }))
    return false;
  const long pid = std::strtol(digits.c_str(), nullptr, 10);
  return pid > 0 && pid != ::getpid() && ::kill(static_cast<pid_t>(pid), 0) != 0 && errno == ESRCH;
}

// Removes temporaries that earlier, killed writes of the same output left behind: ours are
// ".NAME.fiofla-tmp-PID", and before that "NAME.tmp-PID".
void RemoveStaleTemporaries(const std::string& folder, const std::string& name) {
  DIR* dir = ::opendir(folder.c_str());
  if (dir == nullptr) return;
  const std::string ours = "." + name + kTempMark, older = name + ".tmp-";
  while (const dirent* entry = ::readdir(dir)) {
    const std::string file = entry->d_name;
    for (const std::string& prefix : {ours, older})
      if (file.size() > prefix.size() && file.compare(0, prefix.size(), prefix) == 0 &&
          ProcessGone(file.substr(prefix.size())))
        ::unlink((folder + "/" + file).c_str());
  }
  ::closedir(dir);
}

bool Fail(std::string* error, const std::string& message) {
  if (error != nullptr) *error = message;
  return false;
}

// Devices, fifos and files with other names (hard links) are written where they are.
bool WriteInPlace(const std::string& path, const std::string& target, std::string_view text,
                  bool truncate, std::string* error) {
  const int fd = ::open(target.c_str(), O_WRONLY | O_CLOEXEC | (truncate ? O_TRUNC : 0));
  if (fd < 0) return Fail(error, "cannot write '" + path + "': " + Reason(errno));
  const bool ok = WriteAll(fd, text);
  const int err = errno;
  if (::close(fd) != 0 || !ok) return Fail(error, "cannot write '" + path + "': " + Reason(err));
  return true;
}

}  // namespace

bool WriteFileAtomically(const std::string& path, std::string_view text, std::string* error) {
  const std::string target = FollowLinks(path);
  struct stat st;
  const bool exists = ::stat(target.c_str(), &st) == 0;
  if (exists && !S_ISREG(st.st_mode)) {
    if (S_ISDIR(st.st_mode)) return Fail(error, "cannot write '" + path + "': it is a directory");
    return WriteInPlace(path, target, text, false, error);
  }
  if (exists && st.st_nlink > 1) return WriteInPlace(path, target, text, true, error);

  const std::string folder = Folder(target), name = BaseName(target);
  RemoveStaleTemporaries(folder, name);
  const std::string temp = folder + "/." + name + kTempMark + std::to_string(::getpid());
  if (temp.size() >= sizeof g_tempPath)
    return Fail(error, "cannot write '" + path + "': the path is too long");
  const mode_t mode = exists ? (st.st_mode & 07777) : 0666;
  const int fd = ::open(temp.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, mode);
  if (fd < 0) return Fail(error, "cannot create '" + path + "': " + Reason(errno));
  std::memcpy(g_tempPath, temp.c_str(), temp.size() + 1);
  g_tempActive = 1;
  auto fail = [&](int err) {
    g_tempActive = 0;
    ::unlink(temp.c_str());
    return Fail(error, "cannot write '" + path + "': " + Reason(err));
  };
  // The umask may have taken bits the existing file had; it keeps its mode.
  if (exists && ::fchmod(fd, mode) != 0) {
    const int err = errno;
    ::close(fd);
    return fail(err);
  }
  const bool written = WriteAll(fd, text) && ::fsync(fd) == 0;
  const int err = errno;
  if (::close(fd) != 0 || !written) return fail(err);
  if (::rename(temp.c_str(), target.c_str()) != 0) return fail(errno);
  g_tempActive = 0;
  return true;
}

void RemoveTemporaryFileInProgress() {
  if (g_tempActive) ::unlink(g_tempPath);
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
