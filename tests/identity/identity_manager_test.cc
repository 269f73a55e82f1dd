#include "identity/identity_manager.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cmath>
#include <thread>
#include <vector>

#include "base/json.h"
#include "model/remote_config.h"
#include "support/fake_services.h"
#include "support/manual_dispatch.h"

namespace zarn::identity {
namespace {

using Manager = std::unique_ptr<IdentityManager>;

/// What outlives a launch.
struct Stores {
  testing::FakeSecureStore secrets;
  testing::FakeDefaults defaults;
};

IdentityManager::Policy policyOf(std::string_view json) {
  return std::make_shared<const model::RemoteDataCollectionConfig>(
      *model::decodeRemoteConfig(*base::parseJson(json)));
}

class IdentityManagerTest : public ::testing::Test {
 protected:
  Manager launch(Stores& stores) {
    return std::make_unique<IdentityManager>(IdentityServices{.device = device_,
                                                              .crypto = crypto_,
                                                              .random = random_,
                                                              .secrets = stores.secrets,
                                                              .defaults = stores.defaults,
                                                              .executor = dispatch_.pool()});
  }
  Manager launch() { return launch(stores_); }
  /// The launch after a kill at this moment.
  Manager launchAfterKill() {
    afterKill_.push_back(std::make_unique<Stores>());
    stores_.secrets.leaveTo(afterKill_.back()->secrets);
    stores_.defaults.leaveTo(afterKill_.back()->defaults);
    return launch(*afterKill_.back());
  }
  static void expectNobody(const IdentityManager& manager) {
    EXPECT_EQ(manager.snapshot()->userId, std::nullopt);
    EXPECT_TRUE(manager.snapshot()->superProperties.empty());
    EXPECT_TRUE(manager.userProperties().empty());
    EXPECT_TRUE(manager.traits().empty());
  }
  static std::string anonymousId(const Manager& manager) {
    return manager->snapshot()->anonymousId;
  }

  testing::ManualClock clock_;
  testing::ManualDispatch dispatch_{clock_};
  testing::FakeDevice device_;
  testing::FakeCrypto crypto_;
  testing::FakeRandom random_;
  Stores stores_;
  std::vector<std::unique_ptr<Stores>> afterKill_;
};

TEST_F(IdentityManagerTest, IdsOutliveALaunchAndTheAnonymousOneAReinstallation) {
  const auto first = launch()->snapshot();
  const auto second = launch()->snapshot();
  EXPECT_TRUE(Uuid::parse(first->anonymousId));
  EXPECT_TRUE(Uuid::parse(first->deviceId));
  EXPECT_NE(first->anonymousId, first->deviceId);
  EXPECT_EQ(second->idMembers, first->idMembers);
  EXPECT_EQ(second->fingerprint, first->fingerprint);
  EXPECT_EQ(first->idMembers, "\"device_id\":\"" + first->deviceId + "\",\"anonymous_id\":\"" +
                                  first->anonymousId + "\"");

  Stores reinstalled;
  stores_.secrets.leaveTo(reinstalled.secrets);
  EXPECT_EQ(launch(reinstalled)->snapshot()->anonymousId, first->anonymousId);

  device_.deviceFacts.vendorIdentifier = "VENDOR";
  Stores fresh;
  EXPECT_EQ(launch(fresh)->snapshot()->deviceId, "VENDOR");
  EXPECT_EQ(fresh.secrets.read("zarn_device_id"), std::nullopt);
}

TEST_F(IdentityManagerTest, TheUserComesBackAtTheNextLaunch) {
  const Date date = std::chrono::sys_days(std::chrono::year(2024) / 3 / 9);
  {
    const auto manager = launch();
    manager->identify("user-7", {{"plan", "pro"}, {"email", "ida@example.org"}}, nullptr);
    manager->identify("user-8", {{"plan", "free"}}, nullptr);
    EXPECT_EQ(manager->traits(), (Properties{{"plan", "free"}}));
    manager->setUserProperty("seats", 3, nullptr);
    manager->setSuperProperties({{"theme", "dark"}, {"gone", 1}, {"since", date}});
    manager->setSuperProperty("theme", "light");
    manager->setSuperProperty("odd", Array{1.5, nullptr, Url{"http://x"}, Uuid{}, date,
                                           Properties{{"nan", std::nan("")}, {"ok", true}}});
    manager->unsetSuperProperty("gone");
  }
  const auto manager = launch();
  EXPECT_EQ(manager->snapshot()->userId, "user-8");
  EXPECT_NE(manager->snapshot()->idMembers.find(R"("user_id":"user-8")"), std::string::npos);
  EXPECT_EQ(manager->userProperties(),
            (Properties{{"plan", "free"}, {"email", "ida@example.org"}, {"seats", 3}}));
  EXPECT_TRUE(manager->traits().empty());
  const std::string dateText = "2024-03-09T00:00:00.000Z";
  EXPECT_EQ(manager->snapshot()->superProperties,
            (Properties{{"theme", "light"},
                        {"since", dateText},
                        {"odd", Array{1.5, dateText, Properties{{"ok", true}}}}}));

  manager->clearSuperProperties();
  dispatch_.runUntilIdle();
  EXPECT_EQ(stores_.defaults.getString("zarn_super_properties"), std::nullopt);
}

TEST_F(IdentityManagerTest, BrokenDataIsIgnored) {
  auto& defaults = stores_.defaults;
  for (const char* text : {"", "{\"a\":", "[1]", "null", "\xff"}) {
    defaults.set("zarn_user_properties", text);
    defaults.set("zarn_super_properties", text);
    defaults.set("zarn_user_id", true);
    const auto manager = launch();
    expectNobody(*manager);
    manager->setSuperProperty("a", 1);
  }
  EXPECT_EQ(launch()->snapshot()->superProperties, (Properties{{"a", 1}}));
}

TEST_F(IdentityManagerTest, ADictionaryTooLongToKeepDoesNotComeBackAsAnOlderOne) {
  auto manager = launch();
  manager->setSuperProperty("a", 1);
  manager->setUserProperty("b", 2, nullptr);
  dispatch_.runUntilIdle();
  manager->setSuperProperty("long", std::string(IdentityStore::kLongestText, 'x'));
  dispatch_.runUntilIdle();
  EXPECT_EQ(manager->snapshot()->superProperties.size(), 2U);
  const auto next = launch();
  EXPECT_TRUE(next->snapshot()->superProperties.empty());
  EXPECT_EQ(next->userProperties(), (Properties{{"b", 2}}));
}

TEST_F(IdentityManagerTest, WhatTheServerDeniesIsNotTakenAndWhatWasThereStays) {
  const auto manager = launch();
  manager->setUserProperties({{"email", "old@example.org"}, {"timezone", "Europe/Oslo"}},
                             policyOf(R"({"identity":{"collectPhone":false}})"));
  const auto strict = policyOf(R"({"identity":{"collectEmail":false,"collectLocation":false}})");
  const Properties given{{"email", "new@example.org"},
                         {"$email", "new@example.org"},
                         {"timezone", "x"},
                         {"$timezone_offset", 1},
                         {"phone", "1"},
                         {"plan", "pro"}};
  const Properties passed{{"phone", "1"}, {"plan", "pro"}};
  EXPECT_EQ(manager->identify("user", given, strict), passed);
  EXPECT_EQ(manager->traits(), passed);
  EXPECT_EQ(manager->setUserProperties(given, strict), passed);
  EXPECT_FALSE(manager->setUserProperty("$email", "new@example.org", strict));
  EXPECT_TRUE(manager->setUserProperty("seats", 3, strict));
  EXPECT_EQ(manager->userProperties(), (Properties{{"email", "old@example.org"},
                                                   {"timezone", "Europe/Oslo"},
                                                   {"phone", "1"},
                                                   {"plan", "pro"},
                                                   {"seats", 3}}));
}

class IdentityResetTest : public IdentityManagerTest {
 protected:
  static void fill(IdentityManager& manager) {
    manager.identify("old user", {{"plan", "old plan"}}, nullptr);
    manager.setSuperProperty("theme", "old theme");
  }
};

TEST_F(IdentityResetTest, ChangesAllButTheDeviceInOneStep) {
  const auto manager = launch();
  fill(*manager);
  dispatch_.runUntilIdle();
  const auto before = manager->snapshot();
  manager->reset();
  expectNobody(*manager);
  const auto after = manager->snapshot();
  EXPECT_NE(after->anonymousId, before->anonymousId);
  EXPECT_EQ(after->deviceId, before->deviceId);
  EXPECT_EQ(after->fingerprint, before->fingerprint);
  EXPECT_EQ(after->idMembers.find("old user"), std::string::npos);
  EXPECT_EQ(before->userId, "old user");  // what was taken before stays one picture

  manager->persistNow();
  const auto next = launch();
  EXPECT_EQ(next->snapshot()->idMembers, after->idMembers);
  expectNobody(*next);
}

TEST_F(IdentityResetTest, NoOlderWriteBringsTheUserBack) {
  auto manager = launch();
  const auto expectReset = [&] {
    dispatch_.runUntilIdle();
    const auto next = launch();
    EXPECT_EQ(anonymousId(next), anonymousId(manager));
    expectNobody(*next);
  };
  fill(*manager);  // waits on the queue
  manager->reset();
  manager->persistNow();
  expectReset();

  fill(*manager);
  stores_.secrets.beforeRead = [&] { manager->reset(); };  // while the write is under way
  dispatch_.runOne();
  manager->persistNow();
  expectReset();

  fill(*manager);  // two resets in a row, one of which is slower to be stored
  manager->reset();
  fill(*manager);
  manager->reset();
  dispatch_.runUntilIdle();
  manager->persistNow();
  manager->persistNow();
  expectReset();
}

TEST_F(IdentityResetTest, WhatTheNextUserDoesMeanwhileStays) {
  auto manager = launch();
  fill(*manager);
  manager->reset();
  manager->identify("new user", {{"plan", "new"}}, nullptr);
  dispatch_.runUntilIdle();
  manager->persistNow();
  const auto next = launchAfterKill();
  EXPECT_EQ(next->snapshot()->userId, "new user");
  EXPECT_EQ(next->userProperties(), (Properties{{"plan", "new"}}));
  EXPECT_TRUE(next->snapshot()->superProperties.empty());
  EXPECT_EQ(anonymousId(next), anonymousId(manager));
}

TEST_F(IdentityResetTest, OutlivesAKill) {
  auto manager = launch();
  fill(*manager);
  dispatch_.runUntilIdle();
  stores_.defaults.commit();
  EXPECT_EQ(launchAfterKill()->snapshot()->userId, "old user");

  manager->reset();
  manager->persistNow();
  const auto next = launchAfterKill();
  EXPECT_EQ(anonymousId(next), anonymousId(manager));
  expectNobody(*next);
}

TEST_F(IdentityResetTest, NeverPairsTheNewIdWithTheOldUserWhateverFails) {
  auto manager = launch();
  const std::string oldId = anonymousId(manager);
  fill(*manager);
  dispatch_.runUntilIdle();
  stores_.defaults.commit();

  stores_.defaults.failCommits(true);  // killed between the two stores
  manager->reset();
  manager->persistNow();
  {
    const auto next = launchAfterKill();
    EXPECT_EQ(anonymousId(next), anonymousId(manager));
    expectNobody(*next);
    next->setSuperProperty("theme", "new");  // must not adopt the rest either
    dispatch_.runUntilIdle();
    const auto afterNext = launch(*afterKill_.back());
    EXPECT_EQ(afterNext->snapshot()->userId, std::nullopt);
    EXPECT_EQ(afterNext->snapshot()->superProperties, (Properties{{"theme", "new"}}));
    EXPECT_TRUE(afterNext->userProperties().empty());
  }

  stores_.defaults.failCommits(false);
  stores_.secrets.failWrites(true);
  fill(*manager);
  manager->reset();
  manager->persistNow();
  manager->identify("new user", {}, nullptr);
  dispatch_.runUntilIdle();
  stores_.defaults.commit();
  expectNobody(*launchAfterKill());
}

TEST_F(IdentityResetTest, ByAnotherProcessIsNotUndoneByThisOne) {
  auto here = launch();
  auto there = launch();
  EXPECT_EQ(anonymousId(here), anonymousId(there));
  fill(*here);
  dispatch_.runUntilIdle();
  there->reset();
  there->persistNow();
  there->identify("new user", {}, nullptr);
  dispatch_.runUntilIdle();

  fill(*here);
  here->setUserProperty("late", true, nullptr);
  here->clearSuperProperties();
  dispatch_.runUntilIdle();
  EXPECT_EQ(here->snapshot()->userId, "old user");  // its own events stay of one piece
  {
    const auto next = launch();
    EXPECT_EQ(anonymousId(next), anonymousId(there));
    EXPECT_EQ(next->snapshot()->userId, "new user");
    EXPECT_TRUE(next->userProperties().empty());
  }
  here->reset();
  here->persistNow();
  there->setSuperProperty("late", true);
  dispatch_.runUntilIdle();
  const auto next = launch();
  EXPECT_EQ(anonymousId(next), anonymousId(here));
  expectNobody(*next);
}

TEST_F(IdentityManagerTest, WritesOfSeveralProcessesWithOneIdLeaveAloneWhatTheyDidNotChange) {
  auto here = launch();
  auto there = launch();
  here->identify("user", {{"plan", "pro"}}, nullptr);
  dispatch_.runUntilIdle();
  there->setSuperProperty("theme", "dark");
  dispatch_.runUntilIdle();
  const auto next = launch();
  EXPECT_EQ(next->snapshot()->userId, "user");
  EXPECT_EQ(next->userProperties(), (Properties{{"plan", "pro"}}));
  EXPECT_EQ(next->snapshot()->superProperties, (Properties{{"theme", "dark"}}));
}

TEST_F(IdentityManagerTest, APictureIsOfOnePersonOnly) {
  auto manager = launch();
  std::atomic<bool> isDone = false;
  std::thread changes([&] {
    for (int i = 0; i < 300; ++i) {
      const std::string of = anonymousId(manager);
      manager->identify("user of " + of, {{"of", of}}, nullptr);
      manager->setSuperProperty("of", of);
      manager->reset();
      if (i % 2 == 0) manager->persistNow();
    }
    isDone = true;
  });
  std::thread looks([&] {
    while (!isDone) {
      const auto picture = manager->snapshot();
      const std::string& of = picture->anonymousId;
      EXPECT_NE(picture->idMembers.find("\"anonymous_id\":\"" + of), std::string::npos);
      EXPECT_EQ(picture->idMembers.find("user_id") != std::string::npos,
                picture->userId.has_value());
      EXPECT_EQ(picture->userId.value_or("user of " + of), "user of " + of);
      for (const auto& [key, value] : picture->superProperties) EXPECT_EQ(value, Value(of));
    }
  });
  while (!isDone) dispatch_.runUntilIdle();
  changes.join();
  looks.join();
  manager->persistNow();
  const auto next = launchAfterKill();
  EXPECT_EQ(anonymousId(next), anonymousId(manager));
  expectNobody(*next);
}

}  // namespace
}  // namespace zarn::identity
