#include "desktop/secure_store.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <csignal>

#include "desktop/environment.h"
#include "desktop/files.h"
#include "platform/log.h"
#include "support/child_process.h"
#include "support/manual_dispatch.h"
#include "support/temp_directory.h"

namespace zarn::desktop {
namespace {

class NoLog : public platform::LogSink {
 public:
  void write(std::string_view) override {}
};

class SecureStoreTest : public ::testing::Test {
 protected:
  std::unique_ptr<FileSecureStore> open() {
    return std::make_unique<FileSecureStore>(folder_.file("Zarn"), files_, queue_, clock_, log_);
  }

  testing::TempDirectory folder_;
  NoLog log_;
  ProcessEnvironment environment_;
  PosixFiles files_{{.dataDirectory = folder_.path(), .bundleId = ""}, environment_, log_};
  testing::ManualClock clock_;
  testing::ManualDispatch dispatch_{clock_};
  base::SerialQueue queue_{dispatch_.pool(), "disk", base::LockRank::storeQueue};
};

TEST_F(SecureStoreTest, KeepsAnySecretUnderAnyNameForTheUserAlone) {
  const std::string odd = "../../\"odd\"\n\u00fc";
  {
    const auto secrets = open();
    EXPECT_EQ(secrets->read("account"), std::nullopt);
    secrets->write("account", "old");
    secrets->write("account", "new");
    secrets->write(odd, odd);
    secrets->write("empty", "");
    EXPECT_EQ(secrets->read("account"), "new");
  }
  const auto secrets = open();
  EXPECT_EQ(secrets->read("account"), "new");
  EXPECT_EQ(secrets->read(odd), odd);
  EXPECT_EQ(secrets->read("empty"), std::nullopt);
  for (const std::string& name : files_.list(folder_.file("Zarn"))) {
    struct stat status {};
    ASSERT_EQ(::stat(folder_.file("Zarn/" + name).c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777U, 0600U) << name;
  }
  struct stat status {};
  ASSERT_EQ(::stat(folder_.file("Zarn").c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 0777U, 0700U);
}

TEST_F(SecureStoreTest, OutlivesAKillRightAfterTheWrite) {
  testing::ChildProcess host(ZARN_SETTINGS_HOST, {.arguments = {"secrets", folder_.path()}});
  EXPECT_EQ(host.wait(std::chrono::seconds(20)).signal, SIGKILL) << host.output();
  EXPECT_EQ(open()->read("account"), "newest");
}

TEST_F(SecureStoreTest, ProcessesThatStartTogetherShareTheFirstSecret) {
  const auto one = open();
  const auto two = open();
  EXPECT_EQ(one->read("id"), std::nullopt);
  EXPECT_EQ(two->read("id"), std::nullopt);
  EXPECT_EQ(two->readOrWrite("id", "of two"), "of two");
  EXPECT_EQ(one->readOrWrite("id", "of one"), "of two");

  // Even where the other one's is not seen before the lock is taken.
  auto lock = files_.tryLock(folder_.file("Zarn/secrets.lock"));
  EXPECT_EQ(one->readOrWrite("other", "of one"), "of one");
  EXPECT_EQ(two->readOrWrite("other", "of two"), "of two");
  lock.reset();
  EXPECT_TRUE(two->flush(base::seconds(1)));
  EXPECT_TRUE(one->flush(base::seconds(1)));
  EXPECT_EQ(one->read("other"), "of two");
  EXPECT_EQ(open()->read("other"), "of two");
}

TEST_F(SecureStoreTest, WithoutAFolderTheProcessSeesWhatItWrote) {
  ASSERT_TRUE(files_.writeUnsynced(folder_.file("Zarn"), "in the way"));
  const auto secrets = open();
  EXPECT_EQ(secrets->readOrWrite("id", "mine"), "mine");
  EXPECT_EQ(secrets->readOrWrite("id", "again"), "mine");
  secrets->write("id", "newer");
  EXPECT_EQ(secrets->read("id"), "newer");
}

}  // namespace
}  // namespace zarn::desktop
