#include "model/stored_event.h"

#include <gtest/gtest.h>

#include "model/event_encoder.h"

namespace zarn::model {
namespace {

std::string encoded() {
  std::string json;
  const EventFields fields{.eventId = "ID-1",
                           .idMembers = R"("device_id":"d","anonymous_id":"a")",
                           .sessionId = "s",
                           .fingerprintMember = R"("fingerprint":"f")",
                           .type = EventType::pushTokenInvalidated,
                           .name = "bad \xff name",
                           .time = Date(std::chrono::milliseconds(1999)),
                           .context = "{}"};
  encodeEvent(json, fields, [](base::JsonWriter& out) { out.member("k", "v"); });
  return json;
}

TEST(StoredEvent, ComesBackWithTheBytesThatWereStored) {
  const std::string json = encoded();
  EXPECT_EQ(
      json,
      R"({"event_id":"ID-1","device_id":"d","anonymous_id":"a","session_id":"s","fingerprint":"f",)"
      R"("event_type":"push_token_invalidated","event_name":"bad )"
      "\xef\xbf\xbd"
      R"( name","properties":{"k":"v"},"timestamp":"1970-01-01T00:00:01Z","context":{}})");
  const auto event = readStoredEvent(json);
  ASSERT_TRUE(event);
  EXPECT_EQ(event->id, "ID-1");
  EXPECT_EQ(*event->json, json);
  EXPECT_EQ(event->time, Date(std::chrono::seconds(1)));
}

TEST(StoredEvent, AnythingElseDoesNotDecode) {
  const std::string json = encoded();
  EXPECT_FALSE(readStoredEvent(""));
  EXPECT_FALSE(readStoredEvent(json.substr(0, json.size() - 1)));
  for (const auto& [from, to] :
       std::vector<std::pair<std::string, std::string>>{{"\"device_id\":\"d\"", "\"device_id\":1"},
                                                        {"push_token_invalidated", "no_such_type"},
                                                        {"1970-01-01T00:00:01Z", "yesterday"},
                                                        {"\"context\":{}", "\"context\":[]"},
                                                        {"\"fingerprint\"", "\"finger\""}}) {
    std::string broken = json;
    broken.replace(broken.find(from), from.size(), to);
    EXPECT_FALSE(readStoredEvent(broken)) << to;
  }
}

}  // namespace
}  // namespace zarn::model
