#include "core/client.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "core/test_host.h"

namespace zarn::core {
namespace {

using testing::TestClient;
using testing::TestHost;
using Names = std::vector<std::string>;

class ClientTest : public ::testing::Test {
 protected:
  void settle() { host_.dispatch.runUntilIdle(); }
  int batches() const { return host_.http.countOf("/batch"); }
  int inits() const { return host_.http.countOf("/init"); }
  bool logged(std::string_view line) const { return host_.log.count(line) > 0; }

  TestHost host_;
};

TEST_F(ClientTest, DoesNothingBeforeConfigure) {
  TestClient client(host_);
  client->track("early", {});
  client->identify("user", {});
  client->setSuperProperties({{"a", 1}});
  client->flush();
  EXPECT_FALSE(client->flush(1));
  settle();
  EXPECT_EQ(host_.http.waitingCount(), 0u);
}

TEST_F(ClientTest, ConfiguresOnceAndRefusesUnknownEnvironments) {
  TestClient client(host_);
  client->configure("key", {.environment = " Staging"});
  EXPECT_TRUE(logged(
      "[Zarn] Configuration rejected: Unsupported Zarn environment ' Staging'. Use 'production' or "
      "'development', and apiHost for a custom endpoint. Staging is not provisioned."));
  EXPECT_EQ(inits(), 0);
  client->configure("key", {.apiHost = "http://one.example", .environment = " PRODUCTION\n"});
  client->configure("other", {.apiHost = "http://two.example"});
  EXPECT_EQ(inits(), 1);
  EXPECT_EQ(host_.http.nextUrl(), "http://one.example/api/sdk/init");
}

TEST_F(ClientTest, AsksTheServerFirstAndSendsWhatHasGatheredThen) {
  TestClient client(host_);
  client.configure();
  const auto init = host_.http.nextRequest();
  EXPECT_EQ(init.method, "POST");
  EXPECT_EQ(init.timeout, base::seconds(5));
  EXPECT_EQ(host_.http.nextBody(),
            R"({"project_id":"shop","api_key":"wk_live_x_shop_abc","platform":"ios",)"
            R"("bundle_id":"com.example.shop","app_version":"2.4.1","build":"241",)"
            R"("environment":"production","sdk_version":"1.0.16"})");
  for (const char* name : {"one", "two", "three", "four"}) client->track(name, {});
  client->flush();
  settle();
  EXPECT_EQ(batches(), 0);
  EXPECT_TRUE(logged("[Zarn] initialising — buffering event: one"));

  // The configuration was asked for after the init: its answer decides, the other one names the
  // release.
  host_.http.answer("/init", 200, R"({"data_collection":{},"release_id":"r1","app_id":"a1"})");
  settle();
  EXPECT_EQ(batches(), 0);
  client.answerConfig();
  ASSERT_EQ(batches(), 1);
  EXPECT_EQ(TestClient::namesOf(client.allWaitingEvents()),
            (Names{"app_launch", "one", "two", "three", "four"}));
  const auto batch = host_.http.nextRequest();
  EXPECT_EQ(batch.headers,
            (std::vector<std::pair<std::string, std::string>>{
                {"Content-Type", "application/json"}, {"Authorization", "wk_live_x_shop_abc"}}));
  EXPECT_TRUE(host_.http.nextBody().starts_with(
      R"({"project_id":"shop","api_key":"wk_live_x_shop_abc","platform":"ios",)"
      R"("environment":"production","sdk_version":"1.0.16","app_version":"2.4.1",)"
      R"("bundle_id":"com.example.shop","release_id":"r1","context":{"device":{)"));
  EXPECT_NE(host_.http.nextBody().find(R"(},"batch":[{"event_id":)"), std::string::npos);
  EXPECT_TRUE(host_.http.nextBody().ends_with(R"(],"sent_at":"2030-01-01T00:00:00Z"})"));
}

TEST_F(ClientTest, ProjectAndKeyApart) {
  TestClient client(host_);
  client->configure("project", "secret", TestClient::options());
  const std::string body = host_.http.nextBody();
  EXPECT_NE(body.find(R"("project_id":"project","api_key":"secret")"), std::string::npos);
  client->track("x", {});
  client.run();
  EXPECT_EQ(host_.http.nextRequest().headers[1].second, "project_secret");
}

TEST_F(ClientTest, AnEventSaysWhoWhatWhenAndWhere) {
  TestClient client(host_);
  host_.device.batteryState = {.level = 0.57f, .charging = true};
  client.run();
  host_.paths.report({.satisfied = true, .usesWifi = true});
  settle();
  client->setSuperProperties({{"theme", "dark"}, {"plan", "free"}});
  client->identify("  user-7\n", {{"plan", "pro"}});
  client->track("paid", {{"plan", "pro"}, {"total", 59.9}});
  client->flush();
  settle();
  const auto events = client.waitingEvents();
  ASSERT_EQ(events.size(), 2u);
  const Properties& paid = events[1];
  std::string keys;
  for (const auto& [key, value] : paid) keys += key + " ";
  EXPECT_EQ(keys,
            "event_id device_id anonymous_id user_id session_id fingerprint event_type event_name "
            "properties timestamp context ");
  EXPECT_EQ(paid.find("user_id")->asString(), "user-7");
  EXPECT_TRUE(paid.find("session_id")->asString()->starts_with("no_session_"));
  EXPECT_EQ(*paid.find("properties"),
            Value(Properties{{"theme", "dark"}, {"plan", "pro"}, {"total", 59.9}}));
  EXPECT_EQ(paid.find("timestamp")->asString(), "2030-01-01T00:00:00Z");
  EXPECT_EQ(*paid.find("context"), Value(Properties{{"platform", "ios"},
                                                    {"device_model", "x86_64"},
                                                    {"os_version", "6.1"},
                                                    {"app_version", "2.4.1"},
                                                    {"locale", "en_GB"},
                                                    {"timezone", "Europe/Oslo"},
                                                    {"screen_width", 1280},
                                                    {"screen_height", 800},
                                                    {"connection_type", "wifi"},
                                                    {"battery_level", 0.57},
                                                    {"is_charging", true}}));
}

TEST_F(ClientTest, IdentifySendsEachChangeOnceAndGroupsCarryTheirId) {
  TestClient client(host_);
  client.run();
  client->identify("user", {{"a", 1}, {"b", 2}});
  client->identify("user", {{"b", 2}, {"a", 1}});
  client->identify(" \n", {});
  client->group("acme", {{"seats", 5}});
  client->identify("user", {{"a", 2}});
  settle();
  EXPECT_EQ(client.waitingNames(), (Names{"identify", "group", "identify"}));
  EXPECT_EQ(*client.waitingEvents()[1].find("properties"),
            Value(Properties{{"group_id", "acme"}, {"seats", 5}}));
  EXPECT_TRUE(logged("[Zarn] identify() called with empty userId — ignored."));
}

TEST_F(ClientTest, TheServerNarrowsTheContextAndTheTraits) {
  TestClient client(host_);
  client.run(R"({"device":{"hardwareInfo":false,"connectionInfo":false,"batteryInfo":false},
                 "identity":{"collectEmail":false}})");
  host_.device.batteryReads = 0;
  client->identify("user", {{"$email", "a@b.example"}, {"email", "a@b.example"}, {"plan", "pro"}});
  client->flush();
  settle();
  EXPECT_EQ(*client.waitingEvents()[0].find("properties"),
            Value(Properties{{"user_id", "user"}, {"plan", "pro"}}));
  EXPECT_EQ(*client.waitingEvents()[0].find("context"),
            Value(Properties{{"platform", "ios"},
                             {"device_model", "redacted"},
                             {"os_version", "6.1"},
                             {"app_version", "2.4.1"},
                             {"locale", "en_GB"},
                             {"timezone", "Europe/Oslo"},
                             {"screen_width", 0},
                             {"screen_height", 0}}));
  EXPECT_EQ(host_.device.batteryReads, 0);
}

TEST_F(ClientTest, AFailedStartLeadsToRecoveryWhichGoesOnUntilAFreshPolicy) {
  TestClient client(host_);
  client.configure();
  for (const char* name : {"one", "two", "three"}) client->track(name, {});
  host_.http.answer("/init", 503);
  settle();
  EXPECT_TRUE(logged("[Zarn] Init failed (status 503) — continuing without release_id"));
  host_.dispatch.advance(100.0);
  EXPECT_EQ(inits(), 1) << "a newer request is still to be answered";
  host_.http.answer("/config", 503);
  settle();
  EXPECT_TRUE(logged("[Zarn] Config fetch failed — keeping last resolved policy"));
  EXPECT_TRUE(logged("[Zarn] Entering recovery: config_fetch_failed"));
  host_.dispatch.advance(5.0);
  ASSERT_EQ(inits(), 2);
  EXPECT_EQ(host_.http.nextBody().find("\"build\""), std::string::npos);
  EXPECT_EQ(host_.http.nextRequest().timeout, base::seconds(10));
  host_.http.failNext();
  settle();
  host_.dispatch.advance(10.0);
  ASSERT_EQ(inits(), 3);
  host_.http.answerNext(200, R"({"release_id":"r9"})");
  settle();
  EXPECT_TRUE(logged("[Zarn] Recovery init missing fresh data_collection — remaining fail-closed"));
  host_.dispatch.advance(20.0);
  ASSERT_EQ(inits(), 4);
  EXPECT_EQ(batches(), 0);
  host_.http.answerNext(200, R"({"data_collection":{}})");
  settle();
  EXPECT_TRUE(logged("[Zarn] Lifecycle recovering → running"));
  ASSERT_EQ(batches(), 1);
  EXPECT_NE(host_.http.nextBody().find(R"("release_id":"r9")"), std::string::npos);
  host_.dispatch.advance(100000.0);
  EXPECT_EQ(inits(), 4);
}

TEST_F(ClientTest, APauseDropsEverythingAndTakesNothing) {
  TestClient client(host_);
  client.run();
  for (const char* name : {"one", "two", "three"}) client->track(name, {});
  settle();
  host_.http.answer("/batch", 200, R"({"paused":true,"paused_reason":"billing"})");
  settle();
  client->track("late", {});
  EXPECT_TRUE(logged("[Zarn] pausedByServer — dropping event: late"));
  EXPECT_EQ(testing::leftoversIn(host_), Names());
}

// A boundary that comes while an event is being admitted: after the first look at the gates, or
// after the picture was taken and before the queue has the event. The event must be gone in the
// end.
TEST_F(ClientTest, ABoundaryInTheMidstOfAnAdmissionWins) {
  const auto pauses = [&] {
    host_.http.answer("/batch", 200, R"({"paused":true})");
    settle();
  };
  const auto optsOut = [&] { host_.defaults.set("zarn_opt_out", true); };
  enum class Moment { afterTheFirstLook, beforeTheQueue };
  const std::pair<Moment, std::function<void()>> cases[] = {
      {Moment::afterTheFirstLook, pauses},
      {Moment::afterTheFirstLook, optsOut},
      {Moment::beforeTheQueue, pauses},
  };
  for (const auto& [moment, boundary] : cases) {
    host_.defaults.remove("zarn_opt_out");
    {
      TestClient client(host_);
      client.run();
      for (const char* name : {"one", "two", "three"}) client->track(name, {});
      settle();
      if (moment == Moment::afterTheFirstLook) {
        host_.defaults.afterRead = boundary;
      } else {
        host_.random.beforeFill = boundary;
      }
      client->track("late", {});
      if (host_.http.waitingCount() > 0) {
        client.acceptWaiting();
      }
    }
    host_.defaults.remove("zarn_opt_out");
    EXPECT_EQ(testing::leftoversIn(host_), Names());
  }
}

TEST_F(ClientTest, AnOptOutBeforeTheLaunchKeepsItSilentAndEmptiesTheDisk) {
  {
    TestClient client(host_);
    client.configure();
    client->track("kept", {});
  }
  const int before = inits();
  host_.defaults.set("zarn_opt_out", true);
  {
    TestClient client(host_);
    client.configure();
    client->track("unwanted", {});
    settle();
    EXPECT_EQ(inits(), before);
    EXPECT_TRUE(logged("[Zarn] tracking opted out — dropping event: unwanted"));
  }
  host_.defaults.remove("zarn_opt_out");
  EXPECT_EQ(testing::leftoversIn(host_), Names());
}

TEST_F(ClientTest, AnOptOutBetweenRequestAndAnswerLeavesTheQueueClosed) {
  TestClient client(host_);
  client.configure();
  client->track("one", {});
  host_.http.answer("/config", 200, R"({"dataCollection":{}})");
  host_.defaults.set("zarn_opt_out", true);  // the answer is on its way
  settle();
  EXPECT_EQ(batches(), 0);
  EXPECT_FALSE(logged("[Zarn] Lifecycle initialising → running"));
}

TEST_F(ClientTest, UndeliveredEventsGoOutWithTheNextLaunchAsTheyWereStored) {
  {
    TestClient client(host_);
    client.configure();
    client->track("first", {{"price", 9.5}, {"text", "a\"b\n"}});
    host_.clock.jumpWall(-base::seconds(3600));  // the user sets the clock back
    client->track("second", {});
  }
  TestClient client(host_);
  client.run();
  EXPECT_EQ(client.waitingNames(), (Names{"first", "second"}));
  EXPECT_NE(host_.http.nextBody().find(R"("properties":{"price":9.5,"text":"a\"b\n"})"),
            std::string::npos);
  client.deliver();
  EXPECT_EQ(testing::leftoversIn(host_), Names());
}

TEST_F(ClientTest, TwoClientsLiveSideBySide) {
  TestClient one(host_);
  TestClient two(host_);
  one.run();
  two.run();
  one->track("mine", {});
  two->track("yours", {});
  one->flush();
  settle();
  EXPECT_EQ(one.waitingNames(), Names{"mine"});
}

}  // namespace
}  // namespace zarn::core
