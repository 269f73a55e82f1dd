#include "model/remote_config.h"

#include <gtest/gtest.h>

#include "base/json.h"

namespace zarn::model {
namespace {

std::optional<RemoteDataCollectionConfig> decode(std::string_view json) {
  const auto value = base::parseJson(json);
  return value ? decodeRemoteConfig(*value) : std::nullopt;
}

TEST(RemoteConfig, AbsenceStaysAbsenceAndCollects) {
  for (const char* json :
       {"{}", R"({"core":null,"unknown":{"x":1}})", R"({"core":{"pageViews":null}})"}) {
    const auto config = decode(json);
    ASSERT_TRUE(config) << json;
    EXPECT_TRUE(shouldTrack(EventType::screenView, *config));
    EXPECT_TRUE(isIdentityPropertyAllowed("email", *config));
  }
}

TEST(RemoteConfig, AWrongTypeAnywhereSpoilsTheWhole) {
  for (const char* json :
       {"[]", "7", R"({"core":true})", R"({"core":{"pageViews":1}})",
        R"({"push":{"contentMode":4}})", R"({"screenshots":{"quality":1.5}})",
        R"({"network":{"hostAllowlist":["a",1]}})", R"({"replay":{"autoMaskCategories":{}}})"}) {
    EXPECT_FALSE(decode(json)) << json;
  }
  const auto numbers = decode(R"({"screenshots":{"quality":80.0},"replay":{"sampleRate":1}})");
  ASSERT_TRUE(numbers);
  EXPECT_EQ(numbers->screenshots->quality, 80);
  EXPECT_EQ(numbers->replay->sampleRate, 1.0);
}

/// Every key there is, in its order, each with a value that differs from its neighbours'.
constexpr std::string_view kEveryKey =
    R"({"core":{"pageViews":true,"sessions":false,"errors":true},"engagement":{"clicks":false},)"
    R"("performance":{"networkRequests":true},"device":{"hardwareInfo":false,)"
    R"("connectionInfo":true,"batteryInfo":false,"context":true,"lifecycle":false},)"
    R"("privacy":{"userAgent":true},"screenshots":{"enabled":false,"quality":41,"maxWidth":720,)"
    R"("excludedScreens":["Pay","Ωμέγα"]},"identity":{"collectEmail":true,"collectPhone":false,)"
    R"("collectName":true,"collectLocation":false,"collectPushTokens":true},"push":{)"
    R"("enabled":false,"contentMode":"preview","titlePreviewChars":12,"bodyPreviewChars":34},)"
    R"("replay":{"enabled":true,"sampleRate":12.5,"maskInputs":false,"maxDurationSec":61.0,)"
    R"("captureOnCellular":true,"frameCaptureEnabled":false,"structuralEnabled":true,)"
    R"("tileCaptureEnabled":false,"ocrEnabled":true,"captureMinIntervalMs":801.0,)"
    R"("scrollEndMinIntervalSec":0.25,"scrollEndCaptureEnabled":false,"postTapSettleMs":501.0,)"
    R"("dirtyHeartbeatSec":6.0,"heicQuality":0.16,"captureScale":0.86,"pass2A11yEnabled":true,)"
    R"("pass3LayerEnabled":false,"pass4MirrorEnabled":true,)"
    R"("windowEventInterceptorEnabled":false,"frameUploadEnabled":true,)"
    R"("buildHashDedupEnabled":false,"maxConcurrentCaptures":2.0,"autoMaskCategories":["map"],)"
    R"("maxConcurrentOcr":1.0},"deeplink":{"clipboardEnabled":true,"autoOpen":false,)"
    R"("universalLinkHosts":[]},"network":{"diagnosticCapture":true,"sampleRate":7.0,)"
    R"("hostAllowlist":["a.example"],"maxEventsPerMin":90.0}})";

TEST(RemoteConfig, WhatIsWrittenIsWhatWasRead) {
  EXPECT_EQ(encodeRemoteConfig(*decode(kEveryKey)), kEveryKey);
  EXPECT_EQ(encodeRemoteConfig(*decode(R"({"push":{},"core":{"errors":null},"x":1})")),
            R"({"core":{},"push":{}})");
  EXPECT_EQ(encodeRemoteConfig({}), "{}");

  const std::string answer =
      R"({"dataCollection":)" + std::string(kEveryKey) + R"(,"paused":true})";
  const auto response = decodeConfigResponse(*base::parseJson(answer));
  ASSERT_TRUE(response);
  EXPECT_TRUE(response->paused);
  EXPECT_EQ(encodeConfigResponse(*response), answer);
}

TEST(RemoteConfig, AnAnswerNeedsItsPolicyAndABooleanPause) {
  const auto read = [](std::string_view json, std::string* misfit = nullptr) {
    return decodeConfigResponse(*base::parseJson(json), misfit);
  };
  for (const char* json :
       {R"({"dataCollection":{}})", R"({"dataCollection":{},"paused":null,"more":[]})"}) {
    const auto response = read(json);
    ASSERT_TRUE(response) << json;
    EXPECT_FALSE(response->paused);
    EXPECT_TRUE(shouldTrack(EventType::crash, response->dataCollection));
  }
  const std::pair<const char*, const char*> broken[] = {
      {"{}", "dataCollection"},
      {R"({"dataCollection":null,"paused":true})", "dataCollection"},
      {R"({"paused":true})", "dataCollection"},
      {R"({"dataCollection":{},"paused":"true"})", "paused"},
      {R"({"dataCollection":{},"paused":1})", "paused"},
      {R"({"dataCollection":{"replay":{"sampleRate":"1"}}})", "dataCollection.replay.sampleRate"},
      {R"([])", ""},
  };
  for (const auto& [json, key] : broken) {
    std::string misfit;
    EXPECT_FALSE(read(json, &misfit)) << json;
    EXPECT_EQ(misfit, key) << json;
  }
}

TEST(RemoteConfig, EachFlagGovernsItsEventTypes) {
  const auto denied = [](std::string_view json) {
    std::string names;
    for (std::size_t i = 0; i < kEventTypeCount; ++i) {
      const auto type = static_cast<EventType>(i);
      if (!shouldTrack(type, *decode(json))) names += std::string(wireName(type)) + " ";
    }
    return names;
  };
  EXPECT_EQ(denied(R"({"core":{"pageViews":false}})"), "screen_view ");
  EXPECT_EQ(denied(R"({"core":{"sessions":false}})"), "session_start session_end ");
  EXPECT_EQ(denied(R"({"core":{"errors":false}})"), "crash ");
  EXPECT_EQ(denied(R"({"engagement":{"clicks":false}})"), "tap ");
  EXPECT_EQ(denied(R"({"performance":{"networkRequests":false}})"), "network ");
  EXPECT_EQ(denied(R"({"device":{"lifecycle":false}})"), "lifecycle ");
  EXPECT_EQ(denied(R"({"push":{"enabled":false}})"),
            "push_open push_received push_dismissed push_silent push_action push_permission "
            "push_token_invalidated ");
}

TEST(RemoteConfig, IdentityKeysAreComparedWithoutTheirDollar) {
  const auto config = decode(R"({"identity":{"collectName":false,"collectLocation":false}})");
  for (const char* key : {"name", "$first_name", "city", "$timezone", "timezone_offset"}) {
    EXPECT_FALSE(isIdentityPropertyAllowed(key, *config)) << key;
  }
  for (const char* key : {"email", "$$name", "Name", "plan"}) {
    EXPECT_TRUE(isIdentityPropertyAllowed(key, *config)) << key;
  }
}

}  // namespace
}  // namespace zarn::model
