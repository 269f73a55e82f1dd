#include "desktop/files.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <fstream>
#include <map>

#include "platform/environment.h"
#include "platform/log.h"
#include "support/temp_directory.h"

namespace zarn::desktop {
namespace {

class FakeEnvironment : public platform::Environment {
 public:
  std::optional<std::string> variable(const char* name) override {
    const auto found = variables.find(name);
    return found == variables.end() ? std::nullopt : std::optional(found->second);
  }
  std::map<std::string, std::string> variables;
};

class LinesLog : public platform::LogSink {
 public:
  void write(std::string_view) override { ADD_FAILURE() << "seen by every host"; }
  void debug(std::string_view line) override { lines.emplace_back(line); }
  std::vector<std::string> lines;
};

class FilesTest : public ::testing::Test {
 protected:
  static unsigned modeOf(const std::string& path) {
    struct stat status {};
    return ::stat(path.c_str(), &status) == 0 ? status.st_mode & 07777U : 0;
  }

  testing::TempDirectory folder_;
  FakeEnvironment environment_;
  LinesLog log_;
  PosixFiles files_{{.dataDirectory = folder_.file("data/"), .bundleId = ""}, environment_, log_};
};

TEST_F(FilesTest, WhatItMakesIsPrivateUnderAnyUmask) {
  for (const mode_t mask : {0777U, 0U}) {
    const mode_t before = ::umask(mask);
    const std::string base = folder_.file("mask" + std::to_string(mask));
    EXPECT_TRUE(files_.createDirectories(base + "/a/b"));
    EXPECT_TRUE(files_.writeAtomically(base + "/a/b/file", "x"));
    const auto lock = files_.tryLock(base + "/a/lock");
    ::umask(before);
    EXPECT_NE(lock, nullptr);
    EXPECT_EQ(modeOf(base + "/a"), 0700U);
    EXPECT_EQ(modeOf(base + "/a/b"), 0700U);
    EXPECT_EQ(modeOf(base + "/a/b/file"), 0600U);
    EXPECT_EQ(modeOf(base + "/a/lock"), 0600U);
  }
  const std::string open = folder_.file("open");
  std::ofstream(open) << "x";
  ::chmod(open.c_str(), 0644);
  files_.makePrivate(open);
  files_.makePrivate(folder_.file("absent"));
  EXPECT_EQ(modeOf(open), 0600U);
}

TEST_F(FilesTest, ReadsWhatWasWrittenAndLeavesNothingElse) {
  const std::string path = folder_.file("value");
  const std::string content("two\nlines and \0 zero", 20);
  EXPECT_FALSE(files_.exists(path));
  EXPECT_EQ(files_.read(path), std::nullopt);
  EXPECT_TRUE(files_.writeAtomically(path, "old"));
  EXPECT_TRUE(files_.writeAtomically(path, content));
  EXPECT_EQ(files_.read(path), content);
  EXPECT_TRUE(files_.writeUnsynced(path + "2", "newer"));
  EXPECT_TRUE(files_.sync(path + "2"));
  EXPECT_TRUE(files_.rename(path + "2", path));
  EXPECT_EQ(files_.read(path), "newer");
  EXPECT_EQ(files_.list(folder_.path()), std::vector<std::string>{"value"});
  EXPECT_TRUE(files_.remove(path));
  EXPECT_FALSE(files_.remove(path));
  EXPECT_TRUE(files_.list(folder_.path()).empty());
}

TEST_F(FilesTest, FailuresAreAnswersAndKeepWhatWasThere) {
  EXPECT_FALSE(files_.writeAtomically(folder_.file("missing/file"), "x"));
  EXPECT_FALSE(files_.writeUnsynced(folder_.file("missing/file"), "x"));
  EXPECT_FALSE(files_.sync(folder_.file("missing/file")));
  EXPECT_FALSE(files_.rename(folder_.file("missing"), folder_.file("file")));
  EXPECT_EQ(files_.tryLock(folder_.file("missing/lock")), nullptr);
  EXPECT_TRUE(files_.list(folder_.file("missing")).empty());

  const std::string taken = folder_.file("taken");
  ASSERT_TRUE(files_.createDirectories(taken + "/full"));
  EXPECT_FALSE(files_.writeAtomically(taken, "x"));  // a folder is in the file's place
  EXPECT_FALSE(files_.remove(taken));
  EXPECT_EQ(files_.read(taken), std::nullopt);
  EXPECT_EQ(files_.list(taken), std::vector<std::string>{"full"});
  EXPECT_EQ(files_.list(folder_.path()), std::vector<std::string>{"taken"});

  const std::string file = folder_.file("file");
  ASSERT_TRUE(files_.writeAtomically(file, "x"));
  EXPECT_FALSE(files_.createDirectories(file + "/below"));
  ASSERT_EQ(::mkfifo(folder_.file("pipe").c_str(), 0600), 0);
  EXPECT_EQ(files_.read(folder_.file("pipe")), std::nullopt);  // does not wait for a writer
}

TEST_F(FilesTest, ALockHasOneOwnerAndDoesNotOutliveItInAChild) {
  const std::string path = folder_.file("lock");
  auto lock = files_.tryLock(path);
  ASSERT_NE(lock, nullptr);
  EXPECT_EQ(files_.tryLock(path), nullptr);

  int pipe[2];
  ASSERT_EQ(::pipe(pipe), 0);
  const pid_t child = ::fork();
  if (child == 0) {
    const int number = ::dup(pipe[0]);
    lock.reset();  // must not close what has its number now
    const bool stayed = ::fcntl(number, F_GETFD) != -1;
    char byte = 0;
    ::close(pipe[1]);
    [[maybe_unused]] const auto got = ::read(pipe[0], &byte, 1);  // until the parent is done
    ::_exit(stayed ? 0 : 1);
  }
  lock.reset();
  EXPECT_NE(files_.tryLock(path), nullptr);  // although the child lives
  ::close(pipe[1]);
  ::close(pipe[0]);
  int status = 0;
  ASSERT_EQ(::waitpid(child, &status, 0), child);
  EXPECT_EQ(status, 0);
}

TEST_F(FilesTest, ChoosesTheDataDirectory) {
  auto& variables = environment_.variables;
  variables["HOME"] = "/home/me/";
  const DataPlace place{.dataDirectory = "", .bundleId = "com.example.shop"};
  EXPECT_EQ(wantedDataDirectory(place, environment_), "/home/me/.local/share/com.example.shop");
  variables["XDG_DATA_HOME"] = "not/absolute";
  EXPECT_EQ(wantedDataDirectory(place, environment_), "/home/me/.local/share/com.example.shop");
  variables["XDG_DATA_HOME"] = "/data";
  EXPECT_EQ(wantedDataDirectory(place, environment_), "/data/com.example.shop");
  EXPECT_EQ(wantedDataDirectory({.dataDirectory = "", .bundleId = "../../etc"}, environment_),
            "/data/.._.._etc");
  EXPECT_EQ(wantedDataDirectory({.dataDirectory = "", .bundleId = ".."}, environment_),
            "/data/zarn-app");
  EXPECT_EQ(wantedDataDirectory({.dataDirectory = "/mine//", .bundleId = "x"}, environment_),
            "/mine");
  EXPECT_EQ(wantedDataDirectory({.dataDirectory = "moves/with/us", .bundleId = "x"}, environment_),
            "");
}

TEST_F(FilesTest, FallsBackToAPrivateTemporaryFolder) {
  EXPECT_EQ(files_.dataDirectory(), folder_.file("data"));
  EXPECT_TRUE(log_.lines.empty());

  ASSERT_TRUE(files_.writeAtomically(folder_.file("file"), "in the way"));
  environment_.variables["TMPDIR"] = folder_.path();
  const auto launch = [this](const std::string& bundleId) {
    PosixFiles blocked({.dataDirectory = folder_.file("file/data"), .bundleId = bundleId},
                       environment_, log_);
    const std::string chosen = blocked.dataDirectory();
    EXPECT_EQ(chosen.rfind(folder_.file("zarn-"), 0), 0U);
    EXPECT_EQ(blocked.dataDirectory(), chosen);
    EXPECT_EQ(modeOf(chosen), 0700U);
    return chosen;
  };
  const mode_t before = ::umask(0777);
  const std::string first = launch("com.example.shop");
  ::umask(before);
  EXPECT_EQ(log_.lines.size(), 1U);
  EXPECT_EQ(launch("com.example.shop"), first);  // and what is stored there goes out
  EXPECT_NE(launch("com.example.other"), first);

  // What others could have put there, or could look into, is not used.
  ::chmod(first.c_str(), 0755);
  EXPECT_NE(launch("com.example.shop"), first);
  ASSERT_TRUE(files_.remove(first));
  ASSERT_TRUE(files_.createDirectories(folder_.file("elsewhere")));
  ASSERT_EQ(::symlink(folder_.file("elsewhere").c_str(), first.c_str()), 0);
  EXPECT_NE(launch("com.example.shop"), first);
  EXPECT_TRUE(files_.list(folder_.file("elsewhere")).empty());
}

}  // namespace
}  // namespace zarn::desktop
