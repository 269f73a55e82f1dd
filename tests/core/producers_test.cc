// Producers in a whole client: what they tell of one another, and what a boundary takes from them.
#include <gtest/gtest.h>

#include "core/test_host.h"

namespace zarn::core {
namespace {

using testing::TestClient;
using testing::TestHost;

constexpr const char* kPushId = "0C8F3BB2-6E0A-4F31-9A8D-0B7C1E2D3F40";
const Properties kPush{{"aps", Properties{{"alert", "Your order has left"}}},
                       {"zarn", Properties{{"send_id", kPushId}, {"campaign_id", "spring"}}}};

class ProducersTest : public ::testing::Test {
 protected:
  /// The events tracked since the last call, by name; the last of a name counts.
  std::map<std::string, Properties> sent() {
    client_->flush();
    host_.dispatch.runUntilIdle();
    std::map<std::string, Properties> byName;
    for (const auto& event : client_.waitingEvents()) {
      byName[std::string(*event.find("event_name")->asString())] =
          *event.find("properties")->asProperties();
    }
    client_.acceptWaiting();
    return byName;
  }
  const Value* attributedTo(const Properties& event) { return event.find("attribution_push_id"); }

  TestHost host_;
  TestClient client_{host_};
};

TEST_F(ProducersTest, EventsAreAttributedToThePushThatWasOpenedLast) {
  client_.run();
  client_->setSuperProperties({{"attribution_campaign_id", "not the host's to say"}});
  client_->logPushOpened(kPush, "default");
  client_->logPushOpened(kPush, "default");
  client_->track("bought", {});
  client_->track("said", {{"attribution_push_id", "the call's own"}});
  const auto events = sent();
  EXPECT_EQ(attributedTo(events.at("push_open")), nullptr);
  const Properties& bought = events.at("bought");
  ASSERT_NE(attributedTo(bought), nullptr);
  EXPECT_EQ(*attributedTo(bought), Value(kPushId));
  EXPECT_EQ(*bought.find("attribution_campaign_id"), Value("spring"));
  EXPECT_EQ(*attributedTo(events.at("said")), Value("the call's own"));

  host_.clock.advance(base::seconds(86401));
  client_->track("later", {});
  EXPECT_EQ(attributedTo(sent().at("later")), nullptr);
}

TEST_F(ProducersTest, NoEventOfTheNextUserIsAttributedToThePushOfTheLast) {
  client_.run();
  client_->logPushOpened(kPush, "default");
  client_->reset();
  client_->track("after", {});
  EXPECT_EQ(attributedTo(sent().at("after")), nullptr);
}

TEST_F(ProducersTest, AnOpeningThatAPolicyOvertakesIsNotAttributedTo) {
  client_.run();
  host_.dispatch.advance(2000.0);  // the policy is asked for again
  host_.random.beforeFill = [&] { client_.answerConfig(R"({"push":{"enabled":false}})"); };
  client_->logPushOpened(kPush, "default");
  client_->track("after", {});
  EXPECT_EQ(attributedTo(sent().at("after")), nullptr);
}

TEST_F(ProducersTest, AnAttributionOutlivesAKillRightAfterTheOpening) {
  client_.run();
  client_->logPushOpened(kPush, "default");
  TestHost next;
  host_.defaults.leaveTo(next.defaults);
  TestClient relaunched(next);
  relaunched.run();
  relaunched->track("bought", {});
  relaunched->flush();
  next.dispatch.runUntilIdle();
  const auto events = relaunched.waitingEvents();
  ASSERT_EQ(events.size(), 1u);
  EXPECT_NE(attributedTo(*events[0].find("properties")->asProperties()), nullptr);
}

// The opening of a push that was dropped must leave no trace, not even in the settings.
TEST_F(ProducersTest, WhatIsNotAdmittedIsNotAttributedTo) {
  client_.run();
  const auto settings = host_.defaults.size();
  client_->optOut();
  client_->logPushOpened(kPush, "default");
  client_->setPushToken("a token", PushProvider::apns);
  host_.dispatch.runUntilIdle();
  EXPECT_EQ(host_.http.countOf("/push/register"), 0);
  EXPECT_EQ(host_.defaults.size(), settings + 2);  // the opt-out and how many there were
}

TEST_F(ProducersTest, TheServerSwitchesPushAndNetworkOffWhileTheAppRuns) {
  client_.run();
  const auto proxy = client_->networkDelegate(nullptr);
  client_->logPushOpened(kPush, "default");
  sent();
  proxy->didFinishCollectingMetrics(
      {}, {.url = "https://api.shop.example/orders/12345", .status = 200, .duration = 0.05});
  host_.dispatch.advance(30.0);
  const auto summary = sent().at("network_summary");
  EXPECT_EQ(*summary.find("total_requests"), Value(1));
  const auto& route = *summary.find("routes")->asArray()->at(0).asProperties();
  EXPECT_EQ(*route.find("route"), Value("/orders/:id"));
  EXPECT_EQ(*route.find("host"), Value("api.shop.example"));

  host_.dispatch.advance(2000.0);  // the policy is asked for again
  client_.answerConfig(R"({"push":{"enabled":false},"performance":{"networkRequests":false}})");
  proxy->didFinishCollectingMetrics({}, {.url = "https://api.shop.example/", .status = 200});
  client_->logPushReceived(kPush, "active");
  client_->track("bought", {});
  host_.dispatch.advance(60.0);
  const auto events = sent();
  EXPECT_EQ(attributedTo(events.at("bought")), nullptr);
  EXPECT_EQ(events.size(), 1u);
}

TEST_F(ProducersTest, RequestsFromBeforeABoundaryAreNotToldAfterIt) {
  client_.run();
  const auto proxy = client_->networkDelegate(nullptr);
  const auto request = [&] {
    proxy->didFinishCollectingMetrics({}, {.url = "https://api.shop.example/", .status = 200});
  };
  request();
  host_.dispatch.advance(6.0);  // one is counted, one waits to be
  request();
  client_->reset();
  request();
  host_.dispatch.advance(60.0);
  // The one after it may fall to the boundary too, since nobody knows when it was begun.
  const auto events = sent();
  const auto told = events.find("network_summary");
  if (told != events.end()) {
    EXPECT_LE(told->second.find("total_requests")->asInt(), 1);
  }
}

TEST_F(ProducersTest, AnInstallationIsReportedOnceAndNotAgainstTheUsersWill) {
  host_.defaults.remove("zarn_install_emitted");
  host_.defaults.commit();
  client_->optOut();
  client_.configure();
  EXPECT_FALSE(host_.defaults.getBool("zarn_install_emitted"));
  EXPECT_EQ(client_->diagnostics().installValidationStatus, "opted_out");
  client_->optIn();
  host_.http.answer("/init", 200, R"({"data_collection":{}})");
  client_.answerConfig();
  host_.dispatch.runUntilIdle();
  EXPECT_EQ(sent().count("app_install"), 1u);

  TestClient next(host_);
  next.run();
  EXPECT_EQ(next->diagnostics().installValidationStatus, "not_run");
}

TEST_F(ProducersTest, AHandlerFromBeforeConfigureGetsTheLinkAndPushesLinksComeToItToo) {
  std::vector<ZarnDeepLink> links;
  client_->onDeepLink([&](const ZarnDeepLink& link) { links.push_back(link); });
  EXPECT_FALSE(client_->handleURL("shop://cart"));
  client_.run();
  EXPECT_TRUE(client_->handleURL("shop://cart?item=7"));
  EXPECT_EQ(client_->diagnostics().lastDeepLinkSource, "customScheme");
  Properties push = kPush;
  push.set("deep_link", "https://shop.example/orders");
  client_->logPushOpened(push, "default");
  host_.dispatch.runUntilIdle();
  ASSERT_EQ(links.size(), 2u);
  EXPECT_EQ(links[0].parameters.at("item"), "7");
  EXPECT_EQ(links[1].source, ZarnDeepLink::Source::push);
  EXPECT_EQ(sent().count("deep_link"), 1u);
}

TEST_F(ProducersTest, CrashesOfEarlierLaunchesAreToldUnlessTheUserHasOptedOut) {
  client_.run();
  const std::vector<platform::DiagnosticPayload> payloads{
      {.timeStampEnd = host_.clock.now(), .crashDiagnostics = {{.signal = 11}}}};
  host_.sources.diagnostics.deliver(payloads);
  EXPECT_EQ(*sent().at("metric_kit_crash").find("signal_name"), Value("SIGSEGV"));
  client_->optOut();
  host_.sources.diagnostics.deliver(payloads);
  client_->optIn();
  client_.answerConfig();
  EXPECT_EQ(sent().count("metric_kit_crash"), 0u);
}

}  // namespace
}  // namespace zarn::core
