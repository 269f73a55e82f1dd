#include "platform/host.h"

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include "platform/defaults.h"
#include "platform/device.h"
#include "platform/files.h"
#include "platform/life_events.h"
#include "support/temp_directory.h"
#include "zarn/desktop.h"

namespace zarn::desktop {
namespace {

constexpr const char* kFolder = "ZARN_TEST_HOST_FOLDER";

/// In a process of its own, started by the test below.
TEST(HostProcess, Run) {
  const char* folder = ::getenv(kFolder);
  if (!folder) GTEST_SKIP() << "runs in a process that another test starts";
  ASSERT_EQ(::chdir(folder), 0);
  describeHost({.bundleId = "com.example.shop", .version = "2.4.1", .dataDirectory = "data"});
  ASSERT_EQ(::chdir("/"), 0);  // must not move the data
  describeHost({.bundleId = "com.example.late"});
  platform::Host& host = platform::processHost();
  describeHost({.bundleId = "com.example.later"});
  EXPECT_EQ(&platform::processHost(), &host);
  EXPECT_EQ(host.files.dataDirectory(), std::filesystem::canonical(folder) / "data");
  EXPECT_EQ(host.device.app().bundleId, "com.example.shop");
  EXPECT_EQ(host.device.app().version, "2.4.1");
  EXPECT_NE(host.device.app().name, "");  // the executable's
  host.defaults.set("set just before the exit", true);
  host.life.start([&host](platform::LifeEvent) { host.defaults.set("set at the exit", true); });
}

TEST(Host, IsAsDescribedAndItsSettingsOutliveAnImmediateExit) {
  const testing::TempDirectory folder;
  const pid_t child = ::fork();
  if (child == 0) {
    ::setenv(kFolder, folder.path().c_str(), 1);
    ::execl("/proc/self/exe", "host", "--gtest_filter=HostProcess.*", nullptr);
    ::_exit(127);
  }
  int status = 0;
  ASSERT_EQ(::waitpid(child, &status, 0), child);
  EXPECT_EQ(status, 0);
  std::ifstream file(folder.file("data/Zarn/defaults.json"));
  const std::string text{std::istreambuf_iterator<char>(file), {}};
  EXPECT_EQ(text, R"({"set just before the exit":true,"set at the exit":true})");
}

}  // namespace
}  // namespace zarn::desktop
