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
