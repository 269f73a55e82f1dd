#include "model/replay_policy.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "base/canonical_json.h"
#include "base/json.h"
#include "model/configuration.h"
#include "model/remote_config.h"
#include "model/replay_policy_snapshot.h"
#include "platform/device.h"

namespace zarn::model {
namespace {

using Policy = ReplayRemotePolicy;

Policy resolve(std::string_view replay) {
  const auto config =
      decodeRemoteConfig(*base::parseJson(R"({"replay":)" + std::string(replay) + "}"));
  return resolveReplayPolicy(config->replay).value();
}

TEST(ReplayPolicy, AbsentKeysGiveTheDefaults) {
  EXPECT_FALSE(resolveReplayPolicy(std::nullopt));
  EXPECT_EQ(
      base::canonicalJson(encodeReplayPolicy(resolve("{}"))),
      R"({"autoMaskCategories":[],"buildHashDedupEnabled":false,"captureMinIntervalMs":800.0,)"
      R"("captureOnCellular":false,"captureScale":0.85,"dirtyHeartbeatSec":5.0,)"
      R"("enabled":false,"frameCaptureEnabled":true,"frameUploadEnabled":true,)"
      R"("heicQuality":0.15,"maskInputs":true,"maxConcurrentCaptures":3,)"
      R"("maxDurationSec":300.0,"ocrEnabled":false,"pass2A11yEnabled":true,)"
      R"("pass3LayerEnabled":true,"pass4MirrorEnabled":true,"postTapSettleMs":500.0,)"
      R"("sampleRate":1.0,"scrollEndCaptureEnabled":false,"scrollEndMinIntervalSec":0.5,)"
      R"("structuralEnabled":false,"tileCaptureEnabled":false,)"
      R"("windowEventInterceptorEnabled":true})");
}

TEST(ReplayPolicy, NumbersKeepTheirBounds) {
  struct Row {
    const char* key;
    double Policy::*member;
    std::vector<std::pair<const char*, double>> cases;
  };
  const Row rows[] = {
      {"sampleRate",
       &Policy::sampleRate,
       {{"150", 1}, {"-5", 0}, {"0", 0}, {"12.5", 0.125}, {"100", 1}}},
      {"maxDurationSec",
       &Policy::maxDurationSec,
       {{"0", 300}, {"-1", 300}, {"5", 10}, {"61", 61}, {"7200", 3600}}},
      {"captureMinIntervalMs",
       &Policy::captureMinIntervalMs,
       {{"0", 0}, {"-1", 800}, {"10001", 10000}}},
      {"scrollEndMinIntervalSec",
       &Policy::scrollEndMinIntervalSec,
       {{"0", 0}, {"-0.1", 0.5}, {"61", 60}}},
      {"postTapSettleMs", &Policy::postTapSettleMs, {{"0", 500}, {"1", 100}, {"5001", 5000}}},
      {"dirtyHeartbeatSec", &Policy::dirtyHeartbeatSec, {{"0", 5}, {"0.5", 1}, {"61", 60}}},
      {"heicQuality", &Policy::heicQuality, {{"0", 0.15}, {"0.01", 0.05}, {"0.9", 0.5}}},
      {"captureScale", &Policy::captureScale, {{"-1", 0.85}, {"0.1", 0.3}, {"2", 1}}},
  };
  for (const Row& row : rows) {
    for (const auto& [given, expected] : row.cases) {
      const auto policy = resolve("{\"" + std::string(row.key) + "\":" + given + "}");
      EXPECT_DOUBLE_EQ(policy.*row.member, expected) << row.key << " " << given;
    }
  }
  const std::pair<const char*, int> captures[] = {{"2.5", 3}, {"0", 1},   {"1", 1},    {"-7", 1},
                                                  {"12", 8},  {"4.0", 4}, {"1e300", 8}};
  for (const auto& [given, expected] : captures) {
    EXPECT_EQ(
        resolve("{\"maxConcurrentCaptures\":" + std::string(given) + "}").maxConcurrentCaptures,
        expected)
        << given;
  }
  for (const double bad : {std::nan(""), std::numeric_limits<double>::infinity()}) {
    const auto policy = resolveReplayPolicy(ReplayConfig{.sampleRate = bad,
                                                         .maxDurationSec = bad,
                                                         .captureMinIntervalMs = bad,
                                                         .heicQuality = bad,
                                                         .maxConcurrentCaptures = bad});
    EXPECT_EQ(policy, Policy());
  }
  EXPECT_FALSE(std::signbit(resolve(R"({"captureMinIntervalMs":-0.0})").captureMinIntervalMs));
}

TEST(ReplayPolicy, OnlyKnownCategoriesStayInTheirOrder) {
  const std::vector<std::string> expected = {"image", "map"};
  EXPECT_EQ(resolve(R"({"autoMaskCategories":["map","image","map","video"]})").autoMaskCategories,
            expected);
}

TEST(ReplayPolicy, FingerprintAndEqualityTellEveryFieldApart) {
  Policy nan;
  nan.heicQuality = std::nan("");
  EXPECT_NE(nan, nan);
  EXPECT_EQ(replayPolicyFingerprint(nan), "invalid");
  EXPECT_EQ(replayPolicyFingerprint(std::nullopt), "none");
  EXPECT_EQ(replayPolicyFingerprint(Policy()), "58e9384ba3f81cfe");
  EXPECT_EQ(replayPolicyFingerprint(Policy()).size(), 16u);

  const Properties fields = encodeReplayPolicy(Policy());
  EXPECT_EQ(fields.size(), 24u);
  for (const auto& [key, value] : fields) {
    Properties changed = fields;
    if (const auto flag = value.asBool()) {
      changed.set(key, !*flag);
    } else if (value.asArray() != nullptr) {
      changed.set(key, Array{"web"});
    } else {
      changed.set(key, 1.0 + value.asDouble().value_or(3));
    }
    const auto policy = decodeReplayPolicy(changed);
    ASSERT_TRUE(policy) << key;
    EXPECT_NE(*policy, Policy()) << key;
    EXPECT_NE(replayPolicyFingerprint(policy), replayPolicyFingerprint(Policy())) << key;
    EXPECT_EQ(decodeReplayPolicy(encodeReplayPolicy(*policy)), policy) << key;

    changed.set(key, value.asArray() != nullptr ? Value("web") : Value(Array{}));
    EXPECT_FALSE(decodeReplayPolicy(changed)) << key << " of another type";
    changed.erase(key);
    EXPECT_FALSE(decodeReplayPolicy(changed)) << key << " missing";
  }
}

Policy enabled(void (*change)(Policy&) = [](Policy&) {}) {
  Policy policy{.enabled = true, .sampleRate = 0.5};
  change(policy);
  return policy;
}

TEST(ReplayPolicy, WhatNarrowsAndWhatDoesNot) {
  bool Policy::*const permissions[] = {
      &Policy::captureOnCellular,  &Policy::frameCaptureEnabled, &Policy::structuralEnabled,
      &Policy::tileCaptureEnabled, &Policy::ocrEnabled,          &Policy::scrollEndCaptureEnabled,
      &Policy::pass2A11yEnabled,   &Policy::pass3LayerEnabled,   &Policy::pass4MirrorEnabled,
      &Policy::frameUploadEnabled};
  for (const auto permission : permissions) {
    Policy on = enabled();
    Policy off = enabled();
    on.*permission = true;
    off.*permission = false;
    EXPECT_TRUE(narrows(off, on));
    EXPECT_FALSE(narrows(on, off));
  }
  const Policy unmasked = enabled([](Policy& p) { p.maskInputs = false; });
  EXPECT_TRUE(narrows(enabled(), unmasked));
  EXPECT_FALSE(narrows(unmasked, enabled()));
  const Policy text = enabled([](Policy& p) { p.autoMaskCategories = {"text"}; });
  const Policy textAndWeb = enabled([](Policy& p) { p.autoMaskCategories = {"text", "web"}; });
  EXPECT_TRUE(narrows(textAndWeb, text));
  EXPECT_FALSE(narrows(text, textAndWeb));
  for (double Policy::*const most : {&Policy::sampleRate, &Policy::maxDurationSec}) {
    Policy less = enabled();
    less.*most /= 2;
    EXPECT_TRUE(narrows(less, enabled()));
    EXPECT_FALSE(narrows(enabled(), less));
  }
  const Policy free = enabled([](Policy& p) {
    p.windowEventInterceptorEnabled = false;
    p.buildHashDedupEnabled = true;
    p.captureMinIntervalMs = p.scrollEndMinIntervalSec = p.postTapSettleMs = 1;
    p.dirtyHeartbeatSec = p.heicQuality = p.captureScale = 0.3;
    p.maxConcurrentCaptures = 1;
  });
  EXPECT_FALSE(narrows(free, enabled()));
  EXPECT_FALSE(narrows(enabled(), free));
}

TEST(ReplayPolicy, AChangeIsRestrictiveUnlessTheLastOneIsSettledAndNotWider) {
  ReplayPersistedPolicySnapshot settled{.policy = enabled(), .boundaryComplete = true};
  const Policy narrower = enabled([](Policy& p) { p.sampleRate = 0.1; });
  EXPECT_FALSE(isRestrictive(enabled(), settled));
  EXPECT_TRUE(isRestrictive(narrower, settled));
  EXPECT_TRUE(isRestrictive(std::nullopt, settled));
  EXPECT_TRUE(isRestrictive(Policy(), settled));
  EXPECT_TRUE(isRestrictive(enabled(), std::nullopt));
  for (const auto& nothing : {std::optional<Policy>(), std::optional<Policy>(Policy())}) {
    settled.policy = nothing;
    EXPECT_FALSE(isRestrictive(narrower, settled));
  }
  settled.boundaryComplete = false;
  EXPECT_TRUE(isRestrictive(enabled(), settled));
}

TEST(ReplayPolicy, ScopesHaveKeysOfTheirOwn) {
  const ReplayPolicyPersistenceScope scope{"shop", "production", "é"};
  EXPECT_EQ(scope.key(), "4:shop|10:production|2:é");
  EXPECT_NE((ReplayPolicyPersistenceScope{"a|1:b", "c", ""}.key()),
            (ReplayPolicyPersistenceScope{"a", "b|1:c", ""}.key()));
  const Configuration configuration{"key", {.environment = "production", .projectId = "p\xff"}};
  const auto made = replayPolicyScope(configuration, {.bundleId = "com.example"});
  EXPECT_EQ(made, (ReplayPolicyPersistenceScope{"p\xEF\xBF\xBD", "production", "com.example"}));
}

}  // namespace
}  // namespace zarn::model
