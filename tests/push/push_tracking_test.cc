// What is told of messages, permissions and the message that the user came by.
#include "push/push_tracking.h"

#include <gtest/gtest.h>

#include <optional>
#include <thread>
#include <vector>

#include "push/payloads.h"
#include "redaction/pii_filter.h"
#include "support/fake_name_tagger.h"
#include "support/fake_producer_services.h"
#include "support/fake_services.h"
#include "support/manual_dispatch.h"

namespace zarn::push {
namespace {

using model::EventType;

constexpr const char* kAttributionKey = "zarn_push_attribution_shop";
constexpr std::int64_t kStartMs = 1893456000000;

struct Told {
  EventType type;
  std::string name;
  Properties properties;

  std::string text(std::string_view key) const {
    const Value* value = properties.find(key);
    if (value == nullptr) return "absent";
    const std::string json = encoded({{"v", *value}});
    return json.substr(5, json.size() - 6);
  }
};

class PushTrackingTest : public ::testing::Test {
 protected:
  /// What a launch of the app makes; the defaults outlive it.
  std::unique_ptr<PushTracking> launch(double windowSeconds = 60) {
    auto tracking = std::make_unique<PushTracking>(
        PushServices{.clock = clock_,
                     .crypto = crypto_,
                     .random = random_,
                     .defaults = defaults_,
                     .notifications = notifications_,
                     .filter = filter_},
        "shop", windowSeconds,
        PushSinks{.admit =
                      [this](EventType type, std::string_view name, const Properties& properties,
                             const std::function<void()>& admitted) {
                        told_.push_back({type, std::string(name), properties});
                        if (admits_) admitted();
                        return admits_;
                      },
                  .openLink = [this](const std::string& link) { links_.push_back(link); }},
        platform::Log(log_, true));
    tracking->start();
    return tracking;
  }
  std::string attribution(PushTracking& tracking) { return encoded(tracking.attribution()); }

  testing::ManualClock clock_;
  testing::FakeCrypto crypto_;
  testing::FakeRandom random_;
  testing::FakeDefaults defaults_;
  testing::FakeNotifications notifications_;
  testing::FakeNameTagger names_;
  redaction::PiiFilter filter_{names_};
  testing::FakeLog log_;
  bool admits_ = true;
  std::vector<Told> told_;
  std::vector<std::string> links_;
};

TEST_F(PushTrackingTest, TellsAMessageOnceThoughTwoRoadsReportIt) {
  const auto tracking = launch();
  tracking->logPushReceived(payloadWithId("p"), "background");
  clock_.advance(base::seconds(1));
  notifications_.listener->received(payloadWithId("p"), "active");
  ASSERT_EQ(told_.size(), 1u);
  EXPECT_EQ(told_[0].name, "push_received");
  EXPECT_EQ(told_[0].text("app_state"), "\"background\"");
  EXPECT_EQ(told_[0].text("received_at_ms"), std::to_string(kStartMs));
  EXPECT_EQ(log_.count("[Zarn Push] Dedup: skipping duplicate push_received for p "
                       "(app_state=active)"),
            1);
  // A hundred newer ones displace it; a message without an id never repeats.
  for (int i = 0; i < 99; ++i) tracking->logPushReceived(payloadWithId(std::to_string(i)), "");
  tracking->logPushReceived(payloadWithId("p"), "active");
  EXPECT_EQ(told_.size(), 100u);
  tracking->logPushReceived({}, "active");
  tracking->logPushReceived({}, "active");
  tracking->logPushReceived(payloadWithId("p"), "active");
  EXPECT_EQ(told_.size(), 103u);
}

TEST_F(PushTrackingTest, ManyThreadsReportOneMessage) {
  const auto tracking = launch();
  std::atomic<int> admitted = 0;
  PushTracker tracker(
      clock_, crypto_, random_, filter_,
      [&](const PushEvent&) {
        ++admitted;
        return true;
      },
      platform::Log(log_, false));
  std::vector<std::thread> threads;
  for (int i = 0; i < 4; ++i) {
    threads.emplace_back([&] {
      for (int n = 0; n < 50; ++n) tracker.received(payloadWithId(std::to_string(n)), "active");
    });
  }
  for (auto& thread : threads) thread.join();
  EXPECT_EQ(admitted, 50);
}

TEST_F(PushTrackingTest, TellsWhatTheUserDid) {
  struct Case {
    platform::NotificationResponse response;
    EventType type;
    std::string interaction;
    std::size_t links;
  };
  const Case cases[] = {
      {{"default"}, EventType::pushOpen, "\"default\"", 1},
      {{"dismiss"}, EventType::pushDismissed, "\"dismiss\"", 0},
      {{"buy"}, EventType::pushAction, "\"custom_action\"", 0},
      {{"reply", true}, EventType::pushAction, "\"text_reply\"", 0},
  };
  const auto tracking = launch();
  for (const auto& [response, type, interaction, links] : cases) {
    told_.clear();
    links_.clear();
    notifications_.listener->responded(richPayload(), response);
    ASSERT_EQ(told_.size(), 1u);
    EXPECT_EQ(told_[0].type, type);
    EXPECT_EQ(told_[0].name, wireName(type));
    EXPECT_EQ(told_[0].text("interaction_type"), interaction);
    EXPECT_EQ(told_[0].text("action_identifier"), '"' + response.actionIdentifier + '"');
    EXPECT_EQ(links_.size(), links);
  }
  EXPECT_EQ(told_[0].text("time_to_open_ms"), "absent");  // its receipt was not seen

  tracking->logPushReceived(richPayload(), "background");
  clock_.advance(base::seconds(2.5));
  tracking->logPushOpened(richPayload(), "details");
  EXPECT_EQ(told_.back().type, EventType::pushOpen);
  EXPECT_EQ(told_.back().text("time_to_open_ms"), "2500");
  tracking->logPushAction(richPayload(), "default");
  EXPECT_EQ(told_.back().type, EventType::pushAction);
  tracking->logPushDismissed(richPayload());
  EXPECT_EQ(told_.back().type, EventType::pushDismissed);

  tracking->logPushReceived(payload(R"({"aps":{"content-available":1}})"), "background");
  EXPECT_EQ(told_.back().name, "push_silent");
}

// As when it came while the user had opted out.
TEST_F(PushTrackingTest, AReceiptThatWasDroppedIsForgotten) {
  const auto tracking = launch();
  admits_ = false;
  tracking->logPushReceived(richPayload(), "background");
  admits_ = true;
  told_.clear();
  tracking->logPushOpened(richPayload(), "default");
  EXPECT_EQ(told_.back().text("time_to_open_ms"), "absent");
  tracking->logPushReceived(richPayload(), "active");
  EXPECT_EQ(told_.size(), 2u);
}

TEST_F(PushTrackingTest, FollowsThePolicysLimits) {
  const auto tracking = launch();
  const auto body = [&] {
    tracking->logPushAction(payload(R"({"aps":{"alert":"Half price"}})"), "a");
    return told_.back().text("body");
  };
  EXPECT_EQ(body(), "absent");
  tracking->setLimits({.mode = ContentMode::preview, .bodyPreviewChars = 4});
  EXPECT_EQ(body(), "\"Half…\"");
  tracking->setLimits({.mode = ContentMode::preview, .titlePreviewChars = 2});
  EXPECT_EQ(body(), "\"Half…\"");
  tracking->setLimits({});
  EXPECT_EQ(body(), "absent");
}

TEST_F(PushTrackingTest, LaterEventsCarryTheMessageThatWasOpened) {
  const auto tracking = launch();
  EXPECT_EQ(attribution(*tracking), "{}");
  tracking->logPushOpened(richPayload(), "default");
  clock_.advance(base::seconds(1.5));
  const std::string contentHash = told_.back().text("content_hash");
  EXPECT_EQ(
      attribution(*tracking),
      R"({"attribution_push_id":"6f9619ff-8b86-4011-b42d-00c04fc964ff","attribution_age_ms":1500,)"
      R"("attribution_delivery_id":"d1","attribution_campaign_id":"spring",)"
      R"("attribution_job_id":"j1","attribution_send_id":"6f9619ff-8b86-4011-b42d-00c04fc964ff",)"
      R"("attribution_content_hash":)" +
          contentHash + "}");
  // What looks like a token to the filter for personal data must not be text; other ids must.
  const Properties attached = tracking->attribution();
  for (const char* key : {"attribution_push_id", "attribution_send_id", "attribution_content_hash"})
    EXPECT_FALSE(attached.find(key)->asString()) << key;
  EXPECT_TRUE(attached.find("attribution_campaign_id")->asString());

  tracking->logPushOpened(payloadWithId("next"), "default");
  EXPECT_EQ(
      attribution(*tracking),
      R"({"attribution_push_id":"next","attribution_age_ms":0,"attribution_send_id":"next"})");
  tracking->logPushDismissed(richPayload());
  tracking->logPushAction(richPayload(), "buy");
  admits_ = false;
  tracking->logPushOpened(payloadWithId("dropped"), "default");
  EXPECT_EQ(tracking->attribution().find("attribution_push_id")->asString(), "next");
}

TEST_F(PushTrackingTest, WhatIsKeptOfAMessageHasPassedTheFilter) {
  const auto tracking = launch();
  tracking->logPushOpened(
      payload(R"({"zarn":{"send_id":"ida@berg.example","campaign_id":"for ida@berg.example"}})"),
      "default");
  const std::string kept = defaults_.getString(kAttributionKey).value();
  EXPECT_EQ(kept.find("berg"), kept.npos) << kept;
  EXPECT_NE(kept.find(R"("campaignId":"for [redacted]")"), kept.npos) << kept;
}

TEST_F(PushTrackingTest, AttributionEndsWithItsWindow) {
  const auto tracking = launch(60);
  tracking->logPushOpened(payloadWithId("p"), "default");
  clock_.advance(base::seconds(60));
  EXPECT_EQ(tracking->attribution().find("attribution_age_ms")->asInt(), 60000);
  clock_.advance(std::chrono::milliseconds(1));
  EXPECT_EQ(attribution(*tracking), "{}");
  EXPECT_FALSE(defaults_.mayHold(kAttributionKey));
  clock_.jumpWall(-base::seconds(30));
  EXPECT_EQ(attribution(*tracking), "{}");  // it does not come back

  tracking->logPushOpened(payloadWithId("q"), "default");
  clock_.jumpWall(-base::seconds(1));
  EXPECT_EQ(attribution(*tracking), "{}");
  EXPECT_FALSE(defaults_.mayHold(kAttributionKey));

  tracking->logPushOpened(payloadWithId("r"), "default");
  tracking->clearAttribution();
  EXPECT_EQ(attribution(*tracking), "{}");
  EXPECT_FALSE(defaults_.mayHold(kAttributionKey));
}

TEST_F(PushTrackingTest, AttributionSurvivesARelaunch) {
  launch()->logPushOpened(richPayload(), "default");
  clock_.advance(base::seconds(60));
  {
    const auto tracking = launch();
    const Properties attached = tracking->attribution();
    EXPECT_EQ(attached.size(), 7u);
    EXPECT_EQ(attached.find("attribution_age_ms")->asInt(), 60000);
  }
  clock_.advance(base::seconds(1));
  launch();
  EXPECT_FALSE(defaults_.mayHold(kAttributionKey));
}

TEST_F(PushTrackingTest, ADamagedAttributionIsNone) {
  for (const char* kept :
       {"", "{", "[]", R"({"capturedAt":1893456000})", R"({"pushId":"p"})",
        R"({"pushId":"","capturedAt":1893456000})", R"({"pushId":"p","capturedAt":"now"})",
        R"({"pushId":"p","capturedAt":-1e300})", R"({"pushId":"p","capturedAt":1e300})",
        R"({"pushId":["p"],"capturedAt":1893456000})"}) {
    defaults_.set(kAttributionKey, kept);
    const auto tracking = launch();
    EXPECT_EQ(attribution(*tracking), "{}") << kept;
    EXPECT_FALSE(defaults_.mayHold(kAttributionKey)) << kept;
  }
  defaults_.set(kAttributionKey, R"({"pushId":"p","capturedAt":1893456000,"more":1})");
  EXPECT_EQ(launch()->attribution().size(), 2u);
}

TEST_F(PushTrackingTest, TellsPermissionsAtFirstAndWhenTheyChange) {
  using platform::AuthorizationStatus;
  using platform::NotificationSetting;
  auto tracking = launch();
  notifications_.answerSettings(std::nullopt);
  EXPECT_TRUE(told_.empty());

  tracking = launch();
  notifications_.answerSettings(
      platform::NotificationSettings{.authorizationStatus = AuthorizationStatus::provisional,
                                     .alert = NotificationSetting::enabled,
                                     .sound = NotificationSetting::disabled,
                                     .lockScreen = NotificationSetting::notSupported});
  ASSERT_EQ(told_.size(), 1u);
  EXPECT_EQ(told_[0].name, "push_permission");
  EXPECT_EQ(encoded(told_[0].properties),
            R"({"authorization_status":"provisional","alert_setting":"enabled",)"
            R"("sound_setting":"disabled","badge_setting":"unknown",)"
            R"("lock_screen_setting":"not_supported","notification_center_setting":"unknown",)"
            R"("reason":"initial"})");

  const auto becomeActiveWith = [&](AuthorizationStatus status) {
    tracking->appDidBecomeActive();
    notifications_.answerSettings(platform::NotificationSettings{.authorizationStatus = status});
  };
  becomeActiveWith(AuthorizationStatus::provisional);
  EXPECT_EQ(told_.size(), 1u);
  becomeActiveWith(AuthorizationStatus::denied);
  ASSERT_EQ(told_.size(), 2u);
  EXPECT_EQ(told_[1].text("authorization_status"), "\"denied\"");
  EXPECT_EQ(told_[1].text("reason"), "\"did_become_active\"");

  tracking->appDidBecomeActive();
  tracking.reset();
  EXPECT_EQ(notifications_.listener, nullptr);
  notifications_.answerSettings(platform::NotificationSettings{});  // too late for anybody
  EXPECT_EQ(told_.size(), 2u);
}

}  // namespace
}  // namespace zarn::push
