#include "desktop/defaults.h"

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <fstream>
#include <functional>
#include <thread>
#include <vector>

#include "base/host_call.h"
#include "desktop/clock.h"
#include "desktop/dispatch.h"
#include "desktop/environment.h"
#include "desktop/files.h"
#include "platform/log.h"
#include "support/child_process.h"
#include "support/manual_dispatch.h"
#include "support/temp_directory.h"

namespace zarn::desktop {
namespace {

constexpr const char* kProcessFolder = "ZARN_TEST_DEFAULTS_FOLDER";
constexpr const char* kProcessNumber = "ZARN_TEST_DEFAULTS_PROCESS";

class LinesLog : public platform::LogSink {
 public:
  void write(std::string_view) override { ADD_FAILURE() << "seen by every host"; }
  void debug(std::string_view line) override { lines.emplace_back(line); }
  std::vector<std::string> lines;
};

/// Files whose reads or writes fail while told to, and that let a test come in between.
class FailingFiles : public PosixFiles {
 public:
  using PosixFiles::PosixFiles;
  std::optional<std::string> read(const std::string& path) override {
    if (path.ends_with(".json")) ++reads;
    return failReads ? std::nullopt : PosixFiles::read(path);
  }
  bool writeUnsynced(const std::string& path, std::string_view content) override {
    return !failWrites && PosixFiles::writeUnsynced(path, content);
  }
  bool sync(const std::string& path) override {
    if (failSyncs || !PosixFiles::sync(path)) return false;
    if (auto hook = std::exchange(afterSync, nullptr)) hook();
    return true;
  }
  int reads = 0;
  bool failReads = false;
  bool failWrites = false;
  bool failSyncs = false;
  std::function<void()> afterSync;
};

class DefaultsTest : public ::testing::Test {
 protected:
  std::unique_ptr<FileDefaults> open() {
    return std::make_unique<FileDefaults>(folder_.file("Zarn"), files_, queue_, clock_, log_);
  }
  std::string file() { return files_.PosixFiles::read(path_).value_or(""); }
  void writeFile(std::string_view text) {
    files_.createDirectories(folder_.file("Zarn"));
    files_.PosixFiles::writeAtomically(path_, text);
  }

  testing::TempDirectory folder_;
  const std::string path_ = folder_.file("Zarn/defaults.json");
  const std::string newPath_ = path_ + ".new";
  LinesLog log_;
  ProcessEnvironment environment_;
  FailingFiles files_{{.dataDirectory = folder_.path(), .bundleId = ""}, environment_, log_};
  testing::ManualClock clock_;
  testing::ManualDispatch dispatch_{clock_};
  base::SerialQueue queue_{dispatch_.pool(), "disk", base::LockRank::storeQueue};
};

TEST_F(DefaultsTest, ChangesAreReadAtOnceAndInTheFileSoonAfter) {
  const auto defaults = open();
  defaults->set("flag", true);
  defaults->set("number", 3.0);
  defaults->set("fraction", 0.1);
  defaults->set("text", "gr\u00fc\u00df \"dich\"");
  defaults->set("gone", "x");
  defaults->remove("gone");
  const auto check = [](FileDefaults& read) {
    EXPECT_EQ(read.getBool("flag"), true);
    EXPECT_EQ(read.getDouble("number"), 3.0);
    EXPECT_EQ(read.getDouble("fraction"), 0.1);
    EXPECT_EQ(read.getString("text"), "gr\u00fc\u00df \"dich\"");
    EXPECT_EQ(read.getString("gone"), std::nullopt);
    EXPECT_EQ(read.getString("flag"), std::nullopt);  // of another kind
    EXPECT_EQ(read.getBool("number"), std::nullopt);
    EXPECT_EQ(read.getDouble("text"), std::nullopt);
  };
  check(*defaults);
  EXPECT_EQ(file(), "");
  dispatch_.runUntilIdle();
  check(*defaults);
  check(*open());
}

TEST_F(DefaultsTest, AnotherInstancesChangesAreSeenAndKept) {
  const auto one = open();
  const auto two = open();
  one->set("common", "one");
  one->set("ofOne", true);
  two->set("ofTwo", true);
  two->set("common", "two");
  EXPECT_EQ(two->getString("common"), "two");
  dispatch_.runUntilIdle();
  EXPECT_EQ(one->getBool("ofTwo"), true);
  EXPECT_EQ(two->getBool("ofOne"), true);
  EXPECT_EQ(one->getString("common"), "two");  // written last

  two->remove("ofOne");
  one->set("pending", true);  // not lost by the reload that the removal causes
  EXPECT_TRUE(two->flush(base::seconds(1)));
  EXPECT_EQ(one->getBool("ofOne"), std::nullopt);
  EXPECT_EQ(one->getBool("pending"), true);
}

TEST_F(DefaultsTest, ABrokenFileCountsAsEmptyAndIsReported) {
  for (const char* text : {"", "{\"flag\":tr", "[1]", "\xff\xfe"}) {
    writeFile(text);
    log_.lines.clear();
    const auto defaults = open();
    EXPECT_EQ(defaults->getBool("flag"), std::nullopt);
    EXPECT_EQ(log_.lines.size(), 1U) << text;
    defaults->set("flag", true);
    EXPECT_TRUE(defaults->flush(base::seconds(1)));
    EXPECT_EQ(open()->getBool("flag"), true);
  }
}

TEST_F(DefaultsTest, AFileThatCantBeReadNowIsNotTakenForAnEmptyOne) {
  writeFile(R"({"zarn_opt_out":true,"of":{"later":["version"]}})");
  const auto defaults = open();
  EXPECT_EQ(defaults->getBool("zarn_opt_out"), true);
  files_.failReads = true;
  const auto other = open();
  other->set("key", "value");
  EXPECT_FALSE(other->flush(base::seconds(1)));
  EXPECT_EQ(defaults->getBool("zarn_opt_out"), true);
  files_.failReads = false;
  EXPECT_TRUE(other->flush(base::seconds(1)));
  EXPECT_EQ(defaults->getBool("zarn_opt_out"), true);
  EXPECT_EQ(file(), R"({"zarn_opt_out":true,"of":{"later":["version"]},"key":"value"})");

  other->remove("zarn_opt_out");
  EXPECT_TRUE(other->flush(base::seconds(1)));
  files_.failReads = true;
  defaults->set("zarn_opt_out", true);  // which it still believes to be so
  files_.failReads = false;
  EXPECT_TRUE(defaults->flush(base::seconds(1)));
  EXPECT_EQ(other->getBool("zarn_opt_out"), true);
}

TEST_F(DefaultsTest, AFileThatCantBeReadNowIsNotOpenedByEveryCall) {
  const auto defaults = open();
  const auto other = open();
  const auto changeElsewhere = [&](bool value) {
    other->set("flag", value);
    EXPECT_TRUE(other->flush(base::seconds(1)));
    files_.reads = 0;
  };
  changeElsewhere(true);
  for (int i = 0; i < 100; ++i) EXPECT_EQ(defaults->getBool("flag"), true);
  EXPECT_EQ(files_.reads, 1);

  changeElsewhere(false);
  files_.failReads = true;
  for (int i = 0; i < 100; ++i) EXPECT_EQ(defaults->getBool("flag"), true);
  EXPECT_EQ(files_.reads, 1);
  clock_.advance(base::seconds(1));
  for (int i = 0; i < 100; ++i) EXPECT_EQ(defaults->getBool("flag"), true);
  EXPECT_EQ(files_.reads, 2);
  files_.failReads = false;
  clock_.advance(base::seconds(1));
  EXPECT_EQ(defaults->getBool("flag"), false);

  files_.failReads = true;
  other->set("flag", true);
  EXPECT_EQ(defaults->getBool("flag"), false);
  files_.failReads = false;
  changeElsewhere(true);  // the next change ends the wait
  EXPECT_EQ(defaults->getBool("flag"), true);
}

TEST_F(DefaultsTest, AFailedWriteIsTriedAgain) {
  const auto defaults = open();
  files_.failWrites = true;
  defaults->set("key", "old");
  dispatch_.runUntilIdle();
  defaults->set("key", "new");
  dispatch_.advance(10.0);
  EXPECT_EQ(file(), "");
  EXPECT_FALSE(log_.lines.empty());
  files_.failWrites = false;
  files_.failSyncs = true;
  dispatch_.advance(300.0);
  EXPECT_EQ(open()->getString("key"), "new");
  EXPECT_EQ(file(), "");
  files_.failSyncs = false;
  dispatch_.advance(300.0);
  EXPECT_EQ(file(), R"({"key":"new"})");
  EXPECT_EQ(dispatch_.pendingCount(), 0U);
}

TEST_F(DefaultsTest, NothingIsLostWithTheLastMoment) {
  auto defaults = open();
  defaults->set("key", "value");
  defaults.reset();
  EXPECT_EQ(open()->getString("key"), "value");

  defaults = open();
  defaults->set("key", "at the end");
  defaults->finish(base::seconds(1));
  EXPECT_EQ(file(), R"({"key":"at the end"})");
  {
    const base::HostCall call;  // that of a static's destructor
    defaults->set("key", "after it");
  }
  EXPECT_EQ(open()->getString("key"), "after it");
}

TEST_F(DefaultsTest, ACommitWaitsNeitherForTheDiskNorForAProcessThatHangs) {
  const auto defaults = open();
  {
    const base::HostCall call;  // aborts when anything waits for the disk
    defaults->set("flag", true);
    EXPECT_TRUE(defaults->commit());
    EXPECT_TRUE(defaults->commit());  // nothing to do
  }
  EXPECT_EQ(open()->getBool("flag"), true);

  const auto before = std::chrono::steady_clock::now();
  auto lock = files_.tryLock(folder_.file("Zarn/defaults.lock"));
  defaults->set("flag", false);
  EXPECT_FALSE(defaults->commit());
  EXPECT_LT(std::chrono::steady_clock::now() - before, std::chrono::seconds(1));
  EXPECT_EQ(open()->getBool("flag"), true);
  lock.reset();
  EXPECT_TRUE(defaults->commit());
  EXPECT_EQ(open()->getBool("flag"), false);
}

TEST_F(DefaultsTest, NobodyIsLockedOutWhileAnotherWaitsForTheDisk) {
  const auto one = open();
  const auto two = open();
  one->set("a", true);
  files_.afterSync = [&] {
    two->set("b", true);
    EXPECT_TRUE(two->commit());
  };
  EXPECT_TRUE(one->flush(base::seconds(1)));
  // What two has committed is not synced: it may not take the old file's place yet.
  EXPECT_EQ(file(), "");
  EXPECT_EQ(one->getBool("b"), true);
  EXPECT_TRUE(two->flush(base::seconds(1)));
  EXPECT_EQ(file(), R"({"a":true,"b":true})");
  EXPECT_FALSE(files_.exists(newPath_));
}

TEST_F(DefaultsTest, ALossOfPowerTakesTheNewestWriteAtMost) {
  const auto defaults = open();
  defaults->set("zarn_opt_out", true);
  EXPECT_TRUE(defaults->flush(base::seconds(1)));
  files_.failSyncs = true;
  defaults->set("newest", true);
  EXPECT_TRUE(defaults->commit());
  EXPECT_FALSE(defaults->flush(base::seconds(1)));
  const std::string whole = files_.PosixFiles::read(newPath_).value_or("");
  ASSERT_EQ(whole, R"({"zarn_opt_out":true,"newest":true})");
  for (const std::string& left :
       {whole.substr(0, whole.size() / 2), std::string(), std::string(whole.size(), '\0')}) {
    files_.writeUnsynced(newPath_, left);
    const auto relaunched = open();
    EXPECT_EQ(relaunched->getBool("zarn_opt_out"), true);
    EXPECT_EQ(relaunched->getBool("newest"), std::nullopt);
  }
  files_.failSyncs = false;
  EXPECT_TRUE(open()->flush(base::seconds(1)));
  EXPECT_FALSE(files_.exists(newPath_));
  EXPECT_EQ(file(), R"({"zarn_opt_out":true})");
}

TEST_F(DefaultsTest, WhatWasCommittedOutlivesAKill) {
  testing::ChildProcess host(ZARN_SETTINGS_HOST, {.arguments = {"defaults", folder_.path()}});
  EXPECT_EQ(host.wait(std::chrono::seconds(20)).signal, SIGKILL) << host.output();
  EXPECT_EQ(file(), "");
  {
    const auto defaults = open();
    EXPECT_EQ(defaults->getBool("committed"), true);
    EXPECT_EQ(defaults->getBool("only in memory"), std::nullopt);
    EXPECT_EQ(dispatch_.dueCount(), 1U);
    dispatch_.runUntilIdle();  // settles what the other had no time for
  }
  EXPECT_EQ(file(), R"({"committed":true})");
  EXPECT_FALSE(files_.exists(newPath_));
}

TEST_F(DefaultsTest, WorksWithoutAFolder) {
  std::ofstream(folder_.file("Zarn")) << "in the way";
  const auto defaults = open();
  defaults->set("key", true);
  EXPECT_EQ(defaults->getBool("key"), true);
  EXPECT_FALSE(defaults->flush(base::seconds(1)));
  EXPECT_EQ(defaults->getBool("key"), true);
}

TEST_F(DefaultsTest, ACounterFileInAnotherOnesPlaceIsFollowed) {
  const auto one = open();
  const auto two = open();
  one->set("a", true);
  EXPECT_TRUE(one->flush(base::seconds(1)));
  files_.remove(folder_.file("Zarn/defaults.counter"));
  for (const auto* writer : {&one, &two}) {  // both meet the new file when they write
    (*writer)->set("b", writer == &one);
    EXPECT_TRUE((*writer)->flush(base::seconds(1)));
  }
  one->set("c", true);
  EXPECT_TRUE(one->flush(base::seconds(1)));
  EXPECT_EQ(two->getBool("c"), true);
}

/// What one of several processes does: it sets many keys of its own, with several threads.
void changeManyKeys(const std::string& folder, int process) {
  LinesLog log;
  ProcessEnvironment environment;
  PosixFiles files({.dataDirectory = folder, .bundleId = ""}, environment, log);
  ThreadDispatch dispatch;
  base::SerialQueue queue(dispatch.pool(), "disk", base::LockRank::storeQueue);
  SystemClock clock;
  FileDefaults defaults(folder + "/Zarn", files, queue, clock, log);
  std::vector<std::thread> threads;
  for (int t = 0; t < 2; ++t) {
    threads.emplace_back([&, t] {
      for (int i = 0; i < 20; ++i) {
        defaults.set(std::to_string(process) + "-" + std::to_string(t) + "-" + std::to_string(i),
                     true);
      }
    });
  }
  for (auto& thread : threads) thread.join();
  while (!defaults.flush(base::seconds(5))) {
  }
}

TEST_F(DefaultsTest, ProcessesDoNotLoseEachOthersKeys) {
  const auto reader = open();
  EXPECT_EQ(reader->getBool("0-0-0"), std::nullopt);
  std::vector<pid_t> children;
  for (int process = 0; process < 4; ++process) {
    children.push_back(::fork());
    ASSERT_GE(children.back(), 0);
    if (children.back() == 0) {
      // Started anew, since a forked child may not use the library.
      const std::string number = std::to_string(process);
      ::setenv(kProcessFolder, folder_.path().c_str(), 1);
      ::setenv(kProcessNumber, number.c_str(), 1);
      ::execl("/proc/self/exe", "defaults", "--gtest_filter=DefaultsProcess.*", nullptr);
      ::_exit(127);
    }
  }
  for (const pid_t child : children) {
    int status = 0;
    ASSERT_EQ(::waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0);
  }
  for (int process = 0; process < 4; ++process) {
    for (int i = 0; i < 20; ++i) {
      for (const char* thread : {"-0-", "-1-"}) {
        const std::string key = std::to_string(process) + thread + std::to_string(i);
        EXPECT_EQ(reader->getBool(key), true) << key;
      }
    }
  }
}

/// The other end of the test above.
TEST(DefaultsProcess, Run) {
  const char* folder = ::getenv(kProcessFolder);
  const char* number = ::getenv(kProcessNumber);
  if (!folder || !number) GTEST_SKIP() << "runs in processes that another test starts";
  changeManyKeys(folder, std::stoi(number));
}

}  // namespace
}  // namespace zarn::desktop
