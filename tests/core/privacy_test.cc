// Opt-out, opt-in, reset and pause against everything that may be under way.
#include <gtest/gtest.h>

#include "core/pipeline.h"
#include "core/test_host.h"

namespace zarn::core {
namespace {

using model::LifecycleState;
using testing::TestClient;
using testing::TestHost;
using Names = std::vector<std::string>;

class PrivacyTest : public ::testing::Test {
 protected:
  void settle() { host_.dispatch.runUntilIdle(); }
  std::size_t waiting() const { return host_.http.waitingCount(); }
  int requests() const {
    return host_.http.countOf("/init") + host_.http.countOf("/config") +
           host_.http.countOf("/batch");
  }
  bool logged(std::string_view line) const { return host_.log.count(line) > 0; }

  TestHost host_;
};

TEST_F(PrivacyTest, AnOptOutDuringAFlushCancelsItAndLeavesNothing) {
  {
    TestClient client(host_);
    client.run();
    for (const char* name : {"one", "two", "three"}) client->track(name, {});
    settle();
    ASSERT_EQ(host_.http.waitingCount("/batch"), 1u);
    client->track("four", {});
    client->optOut();
    EXPECT_EQ(waiting(), 0u);
    const int before = requests();
    client->track("five", {});
    client->flush();
    host_.dispatch.advance(100000.0);
    EXPECT_EQ(requests(), before);
    EXPECT_TRUE(logged("[Zarn] opted out — tracking disabled, queue suspended"));
    EXPECT_EQ(client->diagnostics().queue.bufferedEventCount, 0);
    EXPECT_EQ(client->diagnostics().replayStatus, "opted_out");
  }
  host_.defaults.remove("zarn_opt_out");
  EXPECT_EQ(testing::leftoversIn(host_), Names());
}

// Whatever was asked of the server before an opt-out: no answer to it counts any more.
TEST_F(PrivacyTest, AnswersOnTheirWayDuringAnOptOutChangeNothing) {
  for (const bool answerFirst : {false, true}) {
    host_.defaults.remove("zarn_opt_out");
    TestClient client(host_);
    client.configure();
    if (answerFirst) {
      host_.http.answer("/init", 200, R"({"data_collection":{}})");
      host_.http.answer("/config", 200, R"({"dataCollection":{}})");
    }
    client->optOut();
    EXPECT_EQ(waiting(), 0u);
    const int before = requests();
    host_.dispatch.advance(100000.0);
    EXPECT_EQ(requests(), before);
    EXPECT_FALSE(logged("[Zarn] Lifecycle initialising → running"));
  }
}

TEST_F(PrivacyTest, AnOptOutEndsARecoveryAndAnOptInBeginsAnother) {
  TestClient client(host_);
  client.configure();
  host_.http.answer("/config", 503);
  settle();
  ASSERT_TRUE(logged("[Zarn] Entering recovery: config_fetch_failed"));
  host_.dispatch.advance(5.0);  // asking now
  ASSERT_EQ(host_.http.countOf("/init"), 2);
  client->optOut();
  client->optIn();
  EXPECT_TRUE(logged("[Zarn] Entering recovery: local_opt_in"));
  EXPECT_EQ(host_.http.countOf("/init"), 3) << "at once";
  EXPECT_EQ(host_.http.waitingCount("/config"), 1u);
  settle();
  host_.http.answer("/init", 503);
  host_.http.answer("/config", 503);
  settle();
  host_.dispatch.advance(12.5);
  EXPECT_EQ(host_.http.countOf("/init"), 4) << "one recovery goes on, not two";
  host_.http.answer("/init", 200, R"({"data_collection":{}})");
  settle();
  EXPECT_TRUE(logged("[Zarn] Lifecycle recovering → running"));
}

TEST_F(PrivacyTest, AfterAnOptInNothingIsTakenBeforeAFreshPolicy) {
  TestClient client(host_);
  client.run();
  client->optOut();
  settle();
  client->optIn();
  client->track("too early", {});
  EXPECT_TRUE(logged("[Zarn] awaiting fresh policy after opt-in — dropping event: too early"));
  host_.http.answer("/config", 503);
  settle();
  host_.http.answer("/init", 200, "{}");  // stale, and without a policy
  settle();
  host_.dispatch.advance(12.5);
  host_.http.answer("/init", 200, R"({"release_id":"r2"})");
  settle();
  client->track("still too early", {});
  EXPECT_TRUE(
      logged("[Zarn] awaiting fresh policy after opt-in — dropping event: still too early"));
  host_.dispatch.advance(25.0);
  host_.http.answer("/init", 200, R"({"data_collection":{}})");
  settle();
  client->track("welcome", {});
  client->flush();
  settle();
  EXPECT_EQ(client.waitingNames(), Names{"welcome"});
}

TEST_F(PrivacyTest, ABatchTakenBeforeAnOptOutIsNotSentAfterAnOptIn) {
  TestClient client(host_);
  client.run();
  const int before = host_.http.countOf("/batch");
  client->track("old", {});
  EXPECT_FALSE(client->flush(0)) << "the batch is taken, its sending waits for the work queue";
  client->optOut();
  client->optIn();
  settle();
  host_.dispatch.advance(20.0);
  EXPECT_EQ(host_.http.countOf("/batch"), before);
}

TEST_F(PrivacyTest, AnOptOutHoldsThoughTheProcessIsKilledRightAfter) {
  {
    TestClient client(host_);
    client.run();
    client->optOut();
  }
  host_.defaults.leaveTo(host_.defaults);  // killed: what was not saved is gone
  const int before = requests();
  TestClient client(host_);
  client.configure();
  client->track("unwanted", {});
  host_.dispatch.advance(10000.0);
  EXPECT_EQ(requests(), before);
}

TEST_F(PrivacyTest, ChoicesBeforeConfigureAreKept) {
  {
    TestClient client(host_);
    client->optOut();
    client.configure();
    EXPECT_EQ(requests(), 0);
    client->optIn();
    EXPECT_GT(requests(), 0);
  }
  TestClient other(host_);
  other->optOut();
  other->optIn();
  other->reset();
  other.run();
  other->track("taken", {});
  other->flush();
  settle();
  EXPECT_EQ(other.waitingNames(), Names{"taken"});
}

TEST_F(PrivacyTest, AnOptInWithoutAnOptOutIsNothing) {
  TestClient client(host_);
  client.run();
  const int before = requests();
  const auto lines = host_.log.lines().size();
  client->optIn();
  settle();
  EXPECT_EQ(requests(), before);
  EXPECT_EQ(host_.log.lines().size(), lines);
}

// The next user must not inherit what the last one's call says, wherever the reset comes.
TEST_F(PrivacyTest, AResetInTheMidstOfAnIdentifyWins) {
  for (const bool isIdentify : {true, false}) {
    TestClient client(host_);
    client.run();
    host_.random.beforeFill = [&] { client->reset(); };  // as the event is being made
    if (isIdentify) {
      client->identify("alice", {{"email", "alice@example.com"}});
    } else {
      client->setUserProperties({{"email", "alice@example.com"}});
    }
    host_.defaults.afterRead = [&] { client->reset(); };  // after the first look
    client->identify("bob", {});
    client->track("of nobody", {});
    client->identify("alice", {});
    client->flush();
    settle();
    EXPECT_EQ(client.waitingNames(), (Names{"of nobody", "identify"}));
    EXPECT_TRUE(client.waitingEvents()[0].find("user_id") == nullptr ||
                client.waitingEvents()[0].find("user_id")->isNull());
    client.acceptWaiting();
  }
}

TEST_F(PrivacyTest, NothingIsWrittenAboutAUserWhoHasOptedOut) {
  TestClient client(host_);
  client.run();
  client->optOut();
  client->identify("alice", {{"email", "alice@example.com"}});
  client->setSuperProperties({{"plan", "pro"}});
  client->reset();
  client->identify("bob", {{"plan", "free"}});
  settle();
  EXPECT_EQ(host_.defaults.getString("zarn_user_id"), std::nullopt);
  for (const char* key : {"zarn_user_properties", "zarn_super_properties"}) {
    EXPECT_EQ(host_.defaults.getString(key).value_or("{}"), "{}") << key;
  }
  client->optIn();
  EXPECT_EQ(host_.defaults.getString("zarn_user_id"), "bob");
}

// Rows of before an opt-out may lie where nobody is looking: in a launch that was never configured,
// under another key, with a process that has died.
TEST_F(PrivacyTest, NoLaterLaunchFindsWhatAnOptOutDiscarded) {
  const auto trackInALaunch = [&](const char* key) {
    TestClient client(host_);
    client->configure(key, TestClient::options());
    client->track("from before", {});
  };
  trackInALaunch(TestClient::kKey);
  trackInALaunch("wk_live_x_other_abc");
  {
    TestClient client(host_);
    client->optOut();
    client->optIn();
  }
  for (const char* key : {TestClient::kKey, "wk_live_x_other_abc"}) {
    TestClient client(host_);
    client->configure(key, TestClient::options());
    client->track("from after", {});
    host_.http.answer("/init", 200, "{}");
    client.answerConfig();
    client->flush();
    settle();
    EXPECT_EQ(client.waitingNames(), Names{"from after"}) << key;
  }
}

// Gone before anybody looks: what waits is from before it all the same.
TEST_F(PrivacyTest, AnotherProcessesShortOptOutCountsAsWell) {
  TestClient client(host_);
  client.configure();
  client->track("from before", {});
  runtime::writeOptOut(host_.defaults);
  runtime::writeOptIn(host_.defaults);
  client->track("not heard yet", {});
  settle();
  client.answerConfig();
  client->track("from after", {});
  client->flush();
  settle();
  EXPECT_EQ(client.waitingNames(), Names{"from after"});
}

TEST_F(PrivacyTest, AnOptInOverAnUnnoticedOptOutDiscardsFirst) {
  TestClient client(host_);
  client.run();
  client->track("from before", {});
  runtime::writeOptOut(host_.defaults);
  client->optIn();
  settle();
  client.answerConfig();
  client->flush();
  settle();
  EXPECT_EQ(host_.http.waitingCount("/batch"), 0u);
}

TEST_F(PrivacyTest, ASettingThatMakesNoSenseCountsAsAnOptOut) {
  host_.defaults.set("zarn_opt_out", "yes");
  TestClient client(host_);
  client.configure();
  client->track("unwanted", {});
  host_.dispatch.advance(10000.0);
  EXPECT_EQ(requests(), 0);
  client->optIn();
  client.answerConfig();
  client->track("welcome", {});
  client->flush();
  settle();
  EXPECT_EQ(client.waitingNames(), Names{"welcome"});
}

TEST_F(PrivacyTest, WhatAnOptOutDiscardedIsNewsAfterwards) {
  TestClient client(host_);
  client.run();
  client->identify("alice", {});
  client->optOut();
  client->optIn();
  client.answerConfig();
  client->identify("alice", {});
  client->flush();
  settle();
  EXPECT_EQ(client.waitingNames(), Names{"identify"});
}

TEST_F(PrivacyTest, AnotherProcessOptsOutAndIn) {
  TestClient client(host_);
  client.run();
  client->track("kept back", {});
  host_.defaults.set("zarn_opt_out", true);
  client->track("unwanted", {});
  settle();
  EXPECT_TRUE(logged("[Zarn] opted out — tracking disabled, queue suspended"));
  EXPECT_EQ(client->diagnostics().queue.bufferedEventCount, 0);
  const int before = requests();
  host_.dispatch.advance(10000.0);
  EXPECT_EQ(requests(), before);

  host_.defaults.remove("zarn_opt_out");
  client->track("not heard yet", {});
  settle();
  EXPECT_TRUE(logged("[Zarn] opted in — tracking re-enabled"));
  client.answerConfig();
  client->track("welcome", {});
  client->flush();
  settle();
  EXPECT_EQ(client.waitingNames(), Names{"welcome"});
}

TEST_F(PrivacyTest, AResetPartsTheNextUserFromTheLast) {
  std::string firstAnonymous;
  std::string firstSession;
  {
    TestClient client(host_);
    client.run();
    client->setSuperProperties({{"plan", "pro"}});
    client->identify("user-7", {{"seats", 3}});
    client->flush();
    settle();
    firstAnonymous = *client.waitingEvents()[0].find("anonymous_id")->asString();
    firstSession = *client.waitingEvents()[0].find("session_id")->asString();
    client->track("never sent", {});
    client->reset();
    client->reset();
    client.acceptWaiting();
    client->identify("user-7", {{"seats", 3}});  // the same again is news for the new one
    client->reset();
    client->track("of nobody", {});
    client->flush();
    settle();
    ASSERT_EQ(client.waitingNames(), Names{"of nobody"});
  }
  host_.defaults.leaveTo(host_.defaults);  // killed: what was not saved is gone
  TestClient client(host_);
  client.run();
  client->flush();
  settle();
  ASSERT_EQ(client.waitingNames(), Names{"of nobody"});
  const Properties event = client.waitingEvents()[0];
  EXPECT_NE(*event.find("anonymous_id")->asString(), firstAnonymous);
  EXPECT_NE(*event.find("session_id")->asString(), firstSession);
  EXPECT_TRUE(event.find("user_id") == nullptr || event.find("user_id")->isNull());
  EXPECT_EQ(*event.find("properties"), Value(Properties()));
  client.acceptWaiting();
  client->track("after a relaunch", {});
  client->flush();
  settle();
  EXPECT_EQ(*client.waitingEvents()[0].find("anonymous_id")->asString(),
            *event.find("anonymous_id")->asString());
}

TEST_F(PrivacyTest, AResetWhileOptedOutKeepsTheOptOut) {
  TestClient client(host_);
  client.run();
  client->optOut();
  client->reset();
  const int before = requests();
  client->track("unwanted", {});
  host_.dispatch.advance(10000.0);
  EXPECT_EQ(requests(), before);
}

class PipelinePrivacyTest : public ::testing::Test {
 protected:
  LifecycleState state() const { return pipeline_.runState.current(); }
  void settle() { host_.dispatch.runUntilIdle(); }
  void answerConfig(const char* body) {
    host_.http.answer("/config", 200, body);
    settle();
  }
  void fetch() { pipeline_.controlPlane.fetchConfig(runtime::ControlPlane::Fetch::refresh); }

  TestHost host_;
  const model::Configuration configuration_{
      "key", {.autoTrackSessions = false, .apiHost = "http://collector.example", .debug = true}};
  Pipeline pipeline_{host_.services, configuration_, platform::Log(host_.log, true),
                     Pipeline::Earlier{std::make_shared<network::NetworkTracker>(), {}}};
};

TEST_F(PipelinePrivacyTest, TransitionsInsideATransitionRunInPlace) {
  int depth = 0;
  pipeline_.transitions.hooks.stopSources = [&] {
    if (++depth == 1) {
      pipeline_.transitions.optOut();
      pipeline_.transitions.reset();
    }
  };
  pipeline_.transitions.optOut();
  EXPECT_EQ(depth, 2);
  EXPECT_TRUE(pipeline_.privacy.optedOut());
}

TEST_F(PipelinePrivacyTest, OnlyAnAnswerAskedForAfterAPauseLiftsIt) {
  fetch();
  answerConfig(R"({"dataCollection":{}})");
  ASSERT_EQ(state(), LifecycleState::running);
  fetch();
  pipeline_.runState.becomePaused();
  answerConfig(R"({"dataCollection":{},"paused":false})");
  EXPECT_EQ(state(), LifecycleState::pausedByServer);
  fetch();
  answerConfig(R"({"dataCollection":{},"paused":false})");
  EXPECT_EQ(state(), LifecycleState::running);
}

TEST_F(PipelinePrivacyTest, ARecoveryCanBePausedAndAFailedRefreshOnlyMattersInRecovery) {
  fetch();
  answerConfig(R"({"dataCollection":{}})");
  fetch();
  host_.http.answer("/config", 304);
  settle();
  EXPECT_EQ(state(), LifecycleState::running) << "the policy in force goes on";

  pipeline_.recovery.enterRecovery("test", true);
  host_.http.answer("/init", 200, R"({"paused":true})");
  settle();
  EXPECT_EQ(state(), LifecycleState::pausedByServer);
  host_.dispatch.advance(1000.0);
  EXPECT_EQ(host_.http.countOf("/init"), 1) << "a pause is not asked about again and again";
  host_.dispatch.advance(1000.0);
  EXPECT_EQ(state(), LifecycleState::pausedByServer);
}

TEST_F(PipelinePrivacyTest, TheConfigurationIsAskedForAgainEveryHalfHour) {
  pipeline_.start();
  host_.http.answer("/init", 200, "{}");
  answerConfig(R"({"dataCollection":{}})");
  for (int i = 2; i < 5; ++i) {
    host_.dispatch.advance(1800.0);
    ASSERT_EQ(host_.http.countOf("/config"), i);
    answerConfig(i % 2 == 0 ? R"({"dataCollection":{},"paused":true})"
                            : R"({"dataCollection":{}})");
    EXPECT_EQ(state(), i % 2 == 0 ? LifecycleState::pausedByServer : LifecycleState::running);
  }
}

}  // namespace
}  // namespace zarn::core
