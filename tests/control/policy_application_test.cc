#include "control/policy_application.h"

#include <gtest/gtest.h>

#include <cmath>
#include <memory>

#include "base/stable_hash.h"
#include "control/policy_files.h"
#include "control/recording_replay.h"
#include "control/replay_policy_keeper.h"
#include "support/manual_dispatch.h"

namespace zarn::control {
namespace {

using Calls = std::vector<std::string>;
using model::RemoteDataCollectionConfig;

class PolicyApplicationTest : public ::testing::Test {
 protected:
  /// What the targets are told, in order.
  Calls callsFor(const RemoteDataCollectionConfig& policy, bool authoritative = true) {
    calls_.clear();
    PolicyApplication application(autoTrackNetwork_, kDevice, targets(), keeper_,
                                  platform::Log(host_.log, true));
    application.apply({.policy = std::make_shared<const RemoteDataCollectionConfig>(policy),
                       .authoritative = authoritative,
                       .pauses = pauses_.current()});
    dispatch_.runUntilIdle();
    return calls_;
  }
  bool logged(std::string_view line) const { return host_.log.count(line) > 0; }

  PolicyTargets targets() {
    const auto note = [this](std::string call) { calls_.push_back(std::move(call)); };
    const auto toggle = [note](std::string name) {
      return [note, name](bool on) { note(name + (on ? " on" : " off")); };
    };
    const auto limit = [](const std::optional<std::int64_t>& chars) {
      return " " + (chars ? std::to_string(*chars) : "-");
    };
    PolicyTargets targets;
    targets.publish = [note](const auto&) { note("publish"); };
    targets.collectContext = [note] { note("context"); };
    targets.network = {
        .setProxyCapture = toggle("proxy"),
        .setSwizzleCapture = toggle("swizzle"),
        .installReplacement = [note] { note("replacement"); },
        .proxyInUse = [this] { return proxyInUse_; },
        .ensureAggregator =
            [note](bool force) { note(force ? "aggregator by force" : "aggregator"); },
        .stopAggregator = [note] { note("no aggregator"); },
        .disableDiagnostics = [note] { note("no diagnostics"); },
        .enableDiagnostics =
            [note](const NetworkDiagnostics& wanted) {
              note("diagnostics " + std::to_string(static_cast<int>(wanted.maxEventsPerMin)) + " " +
                   std::to_string(wanted.hostAllowlist.size()));
            },
    };
    targets.push = {.clearAttribution = [note] { note("no push"); },
                    .setLimits =
                        [note, limit](const PushLimits& limits) {
                          note("push " + std::string(name(limits.mode)) +
                               limit(limits.titlePreviewChars) + limit(limits.bodyPreviewChars));
                        }};
    targets.setScreenshots = [note](const std::optional<model::ScreenshotsConfig>& config) {
      note(model::allows(config, &model::ScreenshotsConfig::enabled) ? "screenshots"
                                                                     : "no screenshots");
    };
    return targets;
  }

  static constexpr const char* kDevice = "device-7";
  testing::PolicyHost host_;
  testing::FakeRandom random_;
  testing::FakeDefaults defaults_;
  testing::ManualClock clock_;
  testing::ManualDispatch dispatch_{clock_};
  testing::RecordingReplay replay_;
  ServerPauses pauses_;
  ReplayPolicyFileStore store_{host_.files};
  ReplayPolicyAdmissionCoordinator admission_{
      {"shop", "production", "com.example"}, store_, random_};
  base::SerialQueue queue_{dispatch_.pool(), "replay.policy", base::LockRank::replayPolicyQueue};
  ReplayPolicyKeeper keeper_{
      admission_,
      replay_,
      defaults_,
      queue_,
      {.pauses = [this] { return pauses_.current(); }, .mayRecord = [] { return true; }},
      platform::Log(host_.log, true)};
  bool autoTrackNetwork_ = true;
  bool proxyInUse_ = false;
  Calls calls_;
};

TEST_F(PolicyApplicationTest, AnEmptyRecordTurnsNothingOffAndForcesTheSafest) {
  EXPECT_EQ(callsFor({}), (Calls{"publish", "context", "proxy on", "swizzle on", "aggregator",
                                 "no diagnostics", "push hash_only - -", "screenshots"}));
  autoTrackNetwork_ = false;
  EXPECT_EQ(callsFor({}), (Calls{"publish", "context", "proxy on", "no diagnostics", "swizzle off",
                                 "push hash_only - -", "screenshots"}));
  proxyInUse_ = true;
  EXPECT_EQ(callsFor({})[3], "aggregator");
  EXPECT_FALSE(logged("[Zarn] Remote config: sessions disabled"));
  EXPECT_FALSE(replay_.recording);
}

TEST_F(PolicyApplicationTest, WhatIsSwitchedOffIsToldAndStops) {
  EXPECT_EQ(callsFor({.core = model::CoreConfig{false, false, false},
                      .engagement = model::EngagementConfig{false},
                      .performance = model::PerformanceConfig{false},
                      .screenshots = model::ScreenshotsConfig{.enabled = false},
                      .push = model::PushConfig{.enabled = false, .contentMode = "full"},
                      .replay = model::ReplayConfig{.enabled = false},
                      .network = model::NetworkConfig{.diagnosticCapture = true}}),
            (Calls{"publish", "context", "proxy off", "swizzle off", "no aggregator", "no push",
                   "no screenshots"}));
  for (const char* what : {"sessions", "crash tracking", "page views", "tap tracking",
                           "network tracking", "push tracking", "screenshots", "replay"}) {
    EXPECT_TRUE(logged("[Zarn] Remote config: " + std::string(what) + " disabled")) << what;
  }
  EXPECT_EQ(keeper_.enabledByProject(), false);
}

TEST_F(PolicyApplicationTest, DiagnosticsAreForInstallsInTheSampleThatAskForThem) {
  const double bucket = base::stableHash("net-diag:" + std::string(kDevice)) % 100;
  autoTrackNetwork_ = false;
  model::NetworkConfig wanted{.diagnosticCapture = true, .sampleRate = bucket + 1};
  EXPECT_EQ(
      callsFor({.network = wanted}),
      (Calls{"publish", "context", "proxy on", "replacement", "swizzle on", "aggregator by force",
             "diagnostics 60 0", "push hash_only - -", "screenshots"}));
  wanted.sampleRate.reset();
  wanted.maxEventsPerMin = 5;
  wanted.hostAllowlist = {"a.example", "b.example"};
  EXPECT_EQ(callsFor({.network = wanted})[6], "diagnostics 5 2");
  for (const double rate : {bucket, 0.0, -5.0, std::nan("")}) {
    wanted.sampleRate = rate;
    const Calls calls = callsFor({.network = wanted});
    EXPECT_EQ(calls[3], "no diagnostics") << rate;
    EXPECT_EQ(calls[4], "swizzle off") << rate;
  }
  for (const std::optional<bool> answer : {std::optional<bool>(), std::optional(false)}) {
    EXPECT_EQ(callsFor({.network = model::NetworkConfig{.diagnosticCapture = answer}})[3],
              "no diagnostics");
  }
}

TEST_F(PolicyApplicationTest, PushLimitsFollowKnownWordsAndPositiveNumbers) {
  const auto pushCall = [&](const model::PushConfig& push) {
    autoTrackNetwork_ = true;
    return callsFor({.push = push})[6];
  };
  EXPECT_EQ(pushCall({.contentMode = "preview", .titlePreviewChars = 20, .bodyPreviewChars = 40}),
            "push preview 20 40");
  EXPECT_EQ(pushCall({.contentMode = "full", .titlePreviewChars = 0, .bodyPreviewChars = -1}),
            "push full - -");
  for (const char* unknown : {"Full", "", "all"}) {
    EXPECT_EQ(pushCall({.contentMode = unknown}), "push hash_only - -") << unknown;
  }
}

TEST_F(PolicyApplicationTest, OnlyAFreshAnswerReachesReplay) {
  const RemoteDataCollectionConfig policy{
      .replay = model::ReplayConfig{.enabled = true, .sampleRate = 50, .maskInputs = false}};
  callsFor(policy, false);
  EXPECT_FALSE(replay_.recording);
  EXPECT_EQ(keeper_.enabledByProject(), std::nullopt);
  callsFor(policy);
  ASSERT_TRUE(replay_.recording);
  EXPECT_EQ(replay_.recording->sampleRate, 0.5);
  EXPECT_FALSE(replay_.masks);
  callsFor({});
  EXPECT_FALSE(replay_.recording) << "no sub-record is no policy";
  EXPECT_TRUE(replay_.masks);
}

TEST_F(PolicyApplicationTest, TargetsThatAreNotThereYetAreLeftAlone) {
  PolicyApplication application(true, kDevice, {}, keeper_, platform::Log(host_.log, true));
  const RemoteDataCollectionConfig policy{.network = {{.diagnosticCapture = true}}};
  application.apply({.policy = std::make_shared<const RemoteDataCollectionConfig>(policy),
                     .pauses = pauses_.current()});
  EXPECT_TRUE(logged("[Zarn] Remote config: network diagnostic capture ON (allowlist 0 hosts)"));
}

}  // namespace
}  // namespace zarn::control
