#include "push/push_token_registration.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <vector>

#include "desktop/crypto.h"
#include "model/remote_config.h"
#include "push/payloads.h"
#include "runtime/privacy_state.h"
#include "support/fake_services.h"
#include "support/manual_dispatch.h"
#include "support/scripted_http.h"

namespace zarn::push {
namespace {

using model::EventType;

constexpr const char* kToken = "raw-token-1";
constexpr const char* kTokenDigest =
    "73d7dd92684e5e0e9f75624ba7c0d6cceb5eb8058fccb0a792ca53b7cbcab39e";
constexpr const char* kPath = "/push/register";

class PushTokenRegistrationTest : public ::testing::Test {
 protected:
  void set(std::string_view token = kToken, PushProvider provider = PushProvider::apns) {
    registration_.setPushToken(token, provider);
    dispatch_.runUntilIdle();
  }
  void answer(int status) {
    http_.answerNext(status);
    dispatch_.runUntilIdle();
  }
  int sent() const { return http_.countOf(kPath); }
  void optOutAndIn() {
    runtime::writeOptOut(defaults_);
    privacy_.beginOptOut(runtime::PrivacyState::Origin::here);
    guard_.cancelAllGuarded();
    dispatch_.runUntilIdle();
    runtime::writeOptIn(defaults_);
    privacy_.completeOptIn(runtime::PrivacyState::Origin::here);
  }
  void collectTokens(bool collect) {
    auto config = std::make_shared<model::RemoteDataCollectionConfig>();
    config->identity = model::IdentityConfig{.collectPushTokens = collect};
    config_ = config;
  }
  static model::Configuration configuration() {
    return {.writeKey = "wk_live_x_shop_abc",
            .options = {.apiHost = "http://collector.example", .environment = "development"}};
  }

  testing::ManualClock clock_;
  testing::ManualDispatch dispatch_{clock_};
  testing::FakeDefaults defaults_;
  testing::FakeLog log_;
  testing::ScriptedHttp http_;
  desktop::OpensslCrypto crypto_;
  runtime::PrivacyState privacy_{defaults_};
  base::SerialQueue controlQueue_{dispatch_.pool(), "control", base::LockRank::controlQueue};
  runtime::NetworkGuard guard_{http_, controlQueue_, privacy_};

  bool mayRegister_ = true;
  std::atomic<bool> admits_ = true;
  std::shared_ptr<const model::RemoteDataCollectionConfig> config_;
  PushRegistrant registrant_{.deviceId = "device", .userId = "ida"};
  std::vector<std::pair<EventType, std::string>> told_;
  PushTokenRegistration registration_{
      configuration(),
      {.bundleId = "com.example.shop"},
      dispatch_.pool(),
      crypto_,
      guard_,
      {.mayRegister = [this] { return mayRegister_; },
       .latestRemoteConfig = [this] { return config_; },
       .registrant = [this] { return registrant_; },
       .admit =
           [this](EventType type, std::string_view name, const Properties& properties) {
             told_.emplace_back(type, std::string(name) + encoded(properties));
             return admits_.load();
           }},
      platform::Log(log_, true)};
};

TEST_F(PushTokenRegistrationTest, SendsTheTokenAndTellsItsDigest) {
  registrant_ = {.deviceId = "device", .userId = "ida", .appId = "a1", .releaseId = "r1"};
  set();
  const std::string provider = R"("push_provider":"apns"})";
  ASSERT_EQ(told_.size(), 1u);
  EXPECT_EQ(told_[0].first, EventType::userProperty);
  EXPECT_EQ(told_[0].second, std::string(R"(push_token{"push_token_sha256":")") + kTokenDigest +
                                 R"(","push_provider":"apns"})");
  const auto request = http_.nextRequest();
  EXPECT_EQ(request.method, "POST");
  EXPECT_EQ(request.url, "http://collector.example/api/sdk/push/register");
  EXPECT_EQ(
      request.headers,
      (std::vector<std::pair<std::string, std::string>>{{"Content-Type", "application/json"}}));
  EXPECT_EQ(request.timeout, base::seconds(10));
  EXPECT_EQ(testing::joined(request.body),
            R"({"project_id":"shop","api_key":"wk_live_x_shop_abc","device_id":"device",)"
            R"("user_id":"ida","token":"raw-token-1","platform":"ios","provider":"apns",)"
            R"("app_id":"a1","release_id":"r1","bundle_id":"com.example.shop",)"
            R"("environment":"development","sdk_version":"1.0.16"})");
  answer(201);
  EXPECT_EQ(log_.count("[Zarn] Push token registered, status: 201"), 1);

  registrant_ = {.deviceId = "device", .userId = std::nullopt, .appId = ""};
  set("other", PushProvider::firebase);
  const std::string body = http_.nextBody();
  EXPECT_NE(body.find(R"("provider":"firebase")"), body.npos);
  for (const char* absent : {"user_id", "app_id", "release_id"})
    EXPECT_EQ(body.find(absent), body.npos) << absent;
  for (const auto& line : log_.lines()) EXPECT_EQ(line.find(kToken), line.npos) << line;
  EXPECT_EQ(defaults_.size(), 0u);
}

TEST_F(PushTokenRegistrationTest, SendsATokenOnce) {
  set();
  set();
  EXPECT_EQ(sent(), 1);
  answer(200);
  set();
  EXPECT_EQ(sent(), 1);
  EXPECT_EQ(told_.size(), 1u);
  set(kToken, PushProvider::firebase);  // another provider's is another token
  EXPECT_EQ(sent(), 2);
  answer(200);
  set();
  EXPECT_EQ(sent(), 3);
}

TEST_F(PushTokenRegistrationTest, RetriesTwiceThenLetsTheNextCallTry) {
  for (const int status : {500, 503, 408, 429}) {
    const int before = sent();
    set();
    answer(status);
    dispatch_.advance(0.9);
    EXPECT_EQ(sent(), before + 1) << status;
    dispatch_.advance(0.1);
    EXPECT_EQ(sent(), before + 2) << status;
    set();  // still under way
    answer(status);
    dispatch_.advance(4.9);
    EXPECT_EQ(sent(), before + 2) << status;
    dispatch_.advance(0.1);
    EXPECT_EQ(sent(), before + 3) << status;
    answer(status);
    dispatch_.advance(60.0);
    EXPECT_EQ(sent(), before + 3) << status;
    EXPECT_EQ(
        log_.count("[Zarn] Push token registration failed, status: " + std::to_string(status)), 1);
  }
  set();
  http_.failNext("no route");
  dispatch_.advance(1.0);
  answer(200);  // the second attempt
  set();
  EXPECT_EQ(sent(), 14);
}

TEST_F(PushTokenRegistrationTest, GivesUpAtOnceWhereARetryIsNoUse) {
  for (const int status : {404, 400, 302}) {
    const int before = sent();
    set();
    answer(status);
    dispatch_.advance(60.0);
    EXPECT_EQ(sent(), before + 1) << status;
  }
  set();
  for (int attempt = 0; attempt < 3; ++attempt) {
    http_.failNext("no route");
    dispatch_.advance(5.0);
  }
  EXPECT_EQ(http_.waitingCount(), 0u);
  EXPECT_EQ(log_.count("[Zarn] Push token registration failed: no route"), 1);
  set();
  EXPECT_EQ(http_.waitingCount(), 1u);
}

TEST_F(PushTokenRegistrationTest, AnOptOutEndsItAtAnyPoint) {
  set();
  optOutAndIn();  // while the request is under way
  set();
  EXPECT_EQ(sent(), 2);
  answer(500);
  optOutAndIn();  // while the retry waits
  dispatch_.advance(60.0);
  EXPECT_EQ(sent(), 2);
  registration_.setPushToken(kToken, PushProvider::apns);
  optOutAndIn();  // before it began: the user has not agreed to what they had asked for before
  EXPECT_EQ(sent(), 2);
  EXPECT_EQ(told_.size(), 2u);
  set();
  EXPECT_EQ(sent(), 3);
}

TEST_F(PushTokenRegistrationTest, AResetForgetsWhatWasAskedForBefore) {
  set();
  answer(200);
  registration_.forgetUser();
  registrant_.userId = "bo";
  set();
  EXPECT_EQ(sent(), 2);
  EXPECT_NE(http_.nextBody().find(R"("user_id":"bo")"), std::string::npos);

  registration_.forgetUser();
  answer(200);  // late: it was not for the user of now
  EXPECT_EQ(log_.count("[Zarn] Push token registered, status: 200"), 1);
  set();
  EXPECT_EQ(sent(), 3);
  answer(500);
  registration_.forgetUser();
  set();  // must not be freed, nor sent again, by the retry of before
  dispatch_.advance(60.0);
  set();
  EXPECT_EQ(sent(), 4);

  registration_.setPushToken("other", PushProvider::apns);
  registration_.forgetUser();
  dispatch_.runUntilIdle();
  EXPECT_EQ(sent(), 4);
}

TEST_F(PushTokenRegistrationTest, EachAttemptIsForTheUserOfThatMoment) {
  set();
  answer(500);
  registrant_.userId = "bo";
  dispatch_.advance(1.0);
  EXPECT_NE(http_.nextBody().find(R"("user_id":"bo")"), std::string::npos);
}

TEST_F(PushTokenRegistrationTest, KeepsWithinThePolicy) {
  collectTokens(false);
  set();
  registration_.logPushTokenInvalidated(kToken, PushProvider::apns);
  dispatch_.runUntilIdle();
  EXPECT_EQ(log_.count("[Zarn] setPushToken suppressed by remote config"), 1);
  EXPECT_TRUE(told_.empty());
  EXPECT_EQ(sent(), 0);

  collectTokens(true);
  mayRegister_ = false;
  set();
  EXPECT_EQ(sent(), 0);
  mayRegister_ = true;
  set();
  answer(500);
  collectTokens(false);  // before the retry
  dispatch_.advance(60.0);
  EXPECT_EQ(sent(), 1);
  collectTokens(true);
  set();
  EXPECT_EQ(sent(), 2);
}

TEST_F(PushTokenRegistrationTest, NothingIsSentWhenTheEventIsDropped) {
  admits_ = false;
  set();
  EXPECT_EQ(sent(), 0);
  admits_ = true;
  set();
  EXPECT_EQ(sent(), 1);
}

TEST_F(PushTokenRegistrationTest, AnInvalidTokenCanBeSetAgain) {
  set();
  answer(200);
  registration_.logPushTokenInvalidated(kToken, PushProvider::apns);
  dispatch_.runUntilIdle();
  EXPECT_EQ(told_.back().first, EventType::pushTokenInvalidated);
  EXPECT_EQ(told_.back().second, std::string(R"(push_token_invalidated{"push_token_sha256":")") +
                                     kTokenDigest + R"(","push_provider":"apns"})");
  set();
  EXPECT_EQ(sent(), 2);
}

TEST_F(PushTokenRegistrationTest, AnInvalidTokenIsNeitherRegisteredLateNorTriedAgain) {
  const auto invalidate = [&] {
    registration_.logPushTokenInvalidated(kToken, PushProvider::apns);
    dispatch_.runUntilIdle();
  };
  set();
  invalidate();
  answer(200);  // to what was asked for before
  EXPECT_EQ(log_.count("[Zarn] Push token registered, status: 200"), 0);
  set();
  EXPECT_EQ(sent(), 2);
  answer(500);
  invalidate();
  dispatch_.advance(60.0);
  EXPECT_EQ(sent(), 2);
  set();
  EXPECT_EQ(sent(), 3);
}

TEST_F(PushTokenRegistrationTest, RefusesWhatIsNoToken) {
  set("");
  set(std::string(PushTokenRegistration::kLongestToken + 1, 'x'));
  EXPECT_EQ(sent(), 0);
  EXPECT_EQ(log_.lines().size(), 2u);
  set(std::string(PushTokenRegistration::kLongestToken, '\xFF'));
  EXPECT_EQ(sent(), 1);
}

TEST_F(PushTokenRegistrationTest, ManyThreadsSendATokenOnce) {
  std::vector<std::thread> threads;
  for (int i = 0; i < 4; ++i) {
    threads.emplace_back([&, i] {
      for (int n = 0; n < 50; ++n) {
        registration_.setPushToken(kToken, PushProvider::apns);
        if (i == 0 && n < 10) registration_.forgetUser();  // runs what waits, on this thread
      }
    });
  }
  for (auto& thread : threads) thread.join();
  dispatch_.runUntilIdle();
  EXPECT_EQ(http_.waitingCount(), told_.size());
  EXPECT_LE(sent(), 11);
  const int before = sent();
  set();
  EXPECT_EQ(sent(), before);
}

}  // namespace
}  // namespace zarn::push
