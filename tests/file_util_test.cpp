// Writing outputs: links, special files, modes, stale temporaries and messages.
#include "fiofla/io/file_util.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <thread>

namespace {

namespace fs = std::filesystem;

struct TempDir {
  TempDir() : path(fs::path(::testing::TempDir()) / ("fiofla-out-" + std::to_string(::getpid()))) {
    fs::remove_all(path);
    fs::create_directories(path);
  }
  ~TempDir() { fs::remove_all(path); }
  std::string operator/(const std::string& name) const { return (path / name).string(); }
  fs::path path;
};

std::string Read(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  std::ostringstream s;
  s << in.rdbuf();
  return s.str();
}

bool Write(const std::string& path, const std::string& text, std::string* error = nullptr) {
  return fiofla::WriteFileAtomically(path, text, error);
}

TEST(WriteFile, LinksModesAndHardLinksAreKept) {
  TempDir dir;
  const std::string target = dir / "target.csv", link = dir / "link.csv";
  ASSERT_TRUE(Write(target, "old"));
  fs::create_symlink("target.csv", link);
  ASSERT_TRUE(Write(link, "new"));
  EXPECT_TRUE(fs::is_symlink(link));
  EXPECT_EQ(Read(target), "new");

  ::chmod(target.c_str(), 0600);
  ASSERT_TRUE(Write(target, "private"));
  struct stat st;
  ASSERT_EQ(::stat(target.c_str(), &st), 0);
  EXPECT_EQ(st.st_mode & 07777, 0600u);

  const std::string other = dir / "other.csv";
  fs::create_hard_link(target, other);
  ASSERT_TRUE(Write(target, "both"));
  EXPECT_EQ(Read(other), "both");
  EXPECT_EQ(fs::hard_link_count(target), 2u);

  // Nothing of ours is left beside the outputs.
  for (const auto& entry : fs::directory_iterator(dir.path))
    EXPECT_EQ(entry.path().filename().string().find("fiofla-tmp"), std::string::npos);
}

TEST(WriteFile, AFifoIsWrittenDirectly) {
  TempDir dir;
  const std::string fifo = dir / "pipe";
  ASSERT_EQ(::mkfifo(fifo.c_str(), 0600), 0);
  std::string got;
  std::thread reader([&] { got = Read(fifo); });
  EXPECT_TRUE(Write(fifo, "through the pipe"));
  reader.join();
  EXPECT_EQ(got, "through the pipe");
  struct stat st;
  ASSERT_EQ(::lstat(fifo.c_str(), &st), 0);
  EXPECT_TRUE(S_ISFIFO(st.st_mode));
}

TEST(WriteFile, StaleTemporariesGoAndMessagesNameTheOutput) {
  TempDir dir;
  const std::string out = dir / "out.aif";
  // Left by killed writes: a process id that cannot be running, in both namings.
  const std::string stale = dir / ".out.aif.fiofla-tmp-999999999";
  const std::string older = dir / "out.aif.tmp-999999999";
  const std::string live = dir / (".out.aif.fiofla-tmp-" + std::to_string(::getppid()));
  for (const std::string& f : {stale, older, live}) std::ofstream(f) << "partial";
  ASSERT_TRUE(Write(out, "whole"));
  EXPECT_FALSE(fs::exists(stale));
  EXPECT_FALSE(fs::exists(older));
  EXPECT_TRUE(fs::exists(live));  // its writer may still be at work

  std::string error;
  EXPECT_FALSE(Write(dir / "no/such/folder/x.csv", "x", &error));
  EXPECT_NE(error.find("no/such/folder/x.csv"), std::string::npos) << error;
  EXPECT_NE(error.find("No such file or directory"), std::string::npos) << error;
  EXPECT_EQ(error.find("fiofla-tmp"), std::string::npos) << error;
  EXPECT_FALSE(Write(dir.path.string(), "x", &error));
  EXPECT_NE(error.find("is a directory"), std::string::npos) << error;
  fiofla::RemoveTemporaryFileInProgress();  // nothing in progress: nothing happens
  EXPECT_EQ(Read(out), "whole");
}

}  // namespace
