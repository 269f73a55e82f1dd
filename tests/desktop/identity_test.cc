#include <gtest/gtest.h>

#include <csignal>

#include "desktop/defaults.h"
#include "desktop/environment.h"
#include "desktop/files.h"
#include "desktop/log.h"
#include "desktop/secure_store.h"
#include "identity/identity_manager.h"
#include "support/child_process.h"
#include "support/fake_services.h"
#include "support/manual_dispatch.h"
#include "support/temp_directory.h"

namespace zarn::desktop {
namespace {

using std::chrono::seconds;

TEST(IdentityOnFiles, AResetOutlivesAKillRightAfterIt) {
  const testing::TempDirectory folder;
  testing::ChildProcess host(ZARN_SETTINGS_HOST, {.arguments = {"reset", folder.path()}});
  const auto oldId = host.readLine(seconds(20));
  const auto newId = host.readLine(seconds(20));
  EXPECT_EQ(host.wait(seconds(20)).signal, SIGKILL);
  ASSERT_TRUE(newId);
  EXPECT_NE(newId, oldId);

  ProcessEnvironment environment;
  DescriptorLog log{STDERR_FILENO};
  PosixFiles files{{.dataDirectory = folder.path(), .bundleId = ""}, environment, log};
  testing::ManualClock clock;
  testing::ManualDispatch dispatch{clock};
  base::SerialQueue disk{dispatch.pool(), "disk", base::LockRank::storeQueue};
  FileDefaults defaults{folder.file("Zarn"), files, disk, clock, log};
  FileSecureStore secrets{folder.file("Zarn"), files, disk, clock, log};
  testing::FakeDevice device;
  testing::FakeCrypto crypto;
  testing::FakeRandom random;
  const identity::IdentityManager manager({.device = device,
                                           .crypto = crypto,
                                           .random = random,
                                           .secrets = secrets,
                                           .defaults = defaults,
                                           .executor = dispatch.pool()});
  EXPECT_EQ(manager.snapshot()->anonymousId, newId);
  EXPECT_EQ(manager.snapshot()->userId, std::nullopt);
  EXPECT_TRUE(manager.snapshot()->superProperties.empty());
  EXPECT_TRUE(manager.userProperties().empty());
  for (const std::string& name : files.list(folder.file("Zarn"))) {
    const std::string content = files.read(folder.file("Zarn/" + name)).value_or("");
    EXPECT_EQ(content.find("old"), std::string::npos) << name;
  }
}

}  // namespace
}  // namespace zarn::desktop
