#include "server/wire_check.h"

#include <gtest/gtest.h>

#include "collector/wire_samples.h"
#include "server/batch_reader.h"
#include "server/time_text.h"

namespace zarn::collector {
namespace {

TEST(EventCheck, ReadsTheFactsOfAGoodEvent) {
  const EventFacts facts =
      checkEvent(spoilt(eventText(4), R"("session_id")", R"("user_id":"u-7","session_id")"));
  EXPECT_TRUE(facts.problems.empty()) << facts.problems.front();
  EXPECT_EQ(facts.id, idOf(4));
  EXPECT_EQ(facts.type, "custom");
  EXPECT_EQ(facts.name, "item 1");
  EXPECT_EQ(facts.user, "u-7");
  EXPECT_EQ(facts.session, "S0");
  EXPECT_EQ(facts.timestamp, 1769851800);
}

TEST(EventCheck, NamesWhatIsWrong) {
  struct Case {
    const char* from;
    const char* to;
    const char* problem;
  };
  const Case cases[] = {
      {"\"0A1B", "\"0a1b", "event_id is no upper-case UUID"},
      {"\"device_id\":\"D\",", "", "device_id is missing"},
      {"\"device_id\":\"D\"", "\"device_id\":\"\"", "device_id must be a non-empty string"},
      {"\"device_id\"", "\"user_id\":null,\"device_id\"", "user_id must be a string"},
      {"\"device_id\"", "\"secret\":1,\"device_id\"", "unknown key \"secret\""},
      {"\"device_id\"", "\"device_id\":\"D\",\"device_id\"", "device_id appears more than once"},
      {"\"custom\"", "\"costum\"", "event_type is not a known one: \"costum\""},
      {"\"properties\":{}", "\"properties\":[]", "properties must be an object"},
      {"09:30:00Z", "09:30:00.000Z", "timestamp must look like"},
      {"09:30:00Z", "09:30:00+01:00", "timestamp must look like"},
      {"01-31T", "02-30T", "timestamp must look like"},
      {"\"screen_width\":1920", "\"screen_width\":1920.5",
       "context.screen_width must be an integer"},
      {"\"screen_width\":1920", "\"screen_width\":-1", "context.screen_width must not be negative"},
      {"\"locale\":\"en_GB\",", "", "context.locale is missing"},
      {"\"battery_level\":0.5", "\"battery_level\":1.5", "context.battery_level must be between"},
      {"\"battery_level\":0.5", "\"connection_type\":\"5g\"", "context.connection_type is not a"},
      {"\"is_charging\":true", "\"is_charging\":1", "context.is_charging must be true or false"},
      {"\"properties\":{}", "\"properties\":{\"x\":1e999}", "malformed JSON"},
  };
  for (const Case& each : cases) {
    const EventFacts facts = checkEvent(spoilt(eventText(1), each.from, each.to));
    ASSERT_EQ(facts.problems.size(), 1u) << each.problem;
    EXPECT_EQ(facts.problems[0].rfind(each.problem, 0), 0u) << facts.problems[0];
  }
  EXPECT_EQ(checkEvent("17").problems.at(0), "an event must be an object");
}

TEST(EventCheck, KeepsAnIdThatCanBeAcknowledgedEvenIfItIsNoGoodOne) {
  EXPECT_EQ(checkEvent(R"({"event_id":"x"})").id, "x");
  EXPECT_EQ(checkEvent(R"({"event_id":7})").id, "");
}

TEST(EnvelopeCheck, ReadsWhoSentIt) {
  BatchBody body;
  std::string error;
  ASSERT_TRUE(readBatch(batchText({eventText(1)}), body, error)) << error;
  const EnvelopeFacts facts = checkEnvelope(body.envelope);
  EXPECT_TRUE(facts.problems.empty());
  EXPECT_EQ(facts.project, "shop");
  EXPECT_EQ(facts.launch, "2026-01-31T09:00:00.000Z");
  const auto problems = checkEnvelope(spoilt(body.envelope, "sent_at", "sentAt")).problems;
  EXPECT_EQ(problems, (std::vector<std::string>{"unknown key \"sentAt\"", "sent_at is missing"}));
}

TEST(ContextCheck, NamesWhatIsWrong) {
  const auto problemsWith = [](const std::string& context) {
    BatchBody body;
    std::string error;
    EXPECT_TRUE(readBatch(batchText({}, context), body, error)) << error;
    return checkEnvelope(body.envelope).problems;
  };
  EXPECT_TRUE(problemsWith(contextText(R"(,"thermal_state":"fair","archs":["x86_64"])")).empty());
  const struct {
    const char *from, *to, *problem;
  } cases[] = {
      {"\"os\":{\"name\":\"Linux\",", "\"os\":{", "context.os.name is missing"},
      {"\"memory_gb\":16", "\"memory_gb\":16.5", "context.hardware.memory_gb must be an integer"},
      {"\"cpu_cores\":8", "\"cpu_cores\":-8", "context.hardware.cpu_cores must not be negative"},
      {"landscape", "flat", "context.device.orientation is not a known one: \"flat\""},
      {"aaaa", "AAAA", "context.device.device_hash must be 64 lower-case hexadecimal digits"},
      {"09:00:00.000Z", "09:00:00.Z",
       "context.app.start_time is no time in UTC: \"2026-01-31T09:00:00.Z\""},
      {"09:00:00.000Z", "9 o'clock",
       "context.app.start_time is no time in UTC: \"2026-01-31T9 o'clock\""},
      {"[\"en\"]", "[1]", "context.runtime.languages must be a list of strings"},
      {"\"hardware\":{", "\"hardware\":{\"is_charging\":null,",
       "context.hardware.is_charging must be true or false"},
      {"\"culture\"", "\"cultures\"", "unknown key \"context.cultures\""},
  };
  for (const auto& each : cases) {
    EXPECT_EQ(problemsWith(spoilt(contextText(), each.from, each.to)),
              std::vector<std::string>{each.problem});
  }
}

TEST(InitCheck, KnowsBothForms) {
  const std::string recovery =
      R"({"project_id":"shop","api_key":"k","platform":"ios","bundle_id":"io.shop",)"
      R"("app_version":"1.0","environment":"production","sdk_version":"1.0.16"})";
  const std::string start = spoilt(recovery, "\"env", "\"build\":\"7\",\"env");
  for (const std::string& body : {recovery, start}) {
    CallerFacts facts;
    std::string error;
    ASSERT_TRUE(checkInit(body, facts, error)) << error;
    EXPECT_TRUE(facts.problems.empty());
    EXPECT_EQ(facts.bundleId, "io.shop");
    EXPECT_EQ(facts.environment, "production");
    EXPECT_EQ(facts.isRecovery, body == recovery);
  }
  CallerFacts facts;
  std::string error;
  EXPECT_FALSE(checkInit("[]", facts, error));
  EXPECT_FALSE(checkInit("{", facts, error));
}

TEST(ConfigCheck, WantsEveryItemOnceAndNoOther) {
  std::multimap<std::string, std::string> query = {{"project_id", "shop"},
                                                   {"platform", "ios"},
                                                   {"bundle_id", "io.shop"},
                                                   {"environment", "production"},
                                                   {"sdk_version", "1.0.16"}};
  const CallerFacts good = checkConfig(query);
  EXPECT_TRUE(good.problems.empty()) << good.problems.front();
  EXPECT_EQ(good.bundleId, "io.shop");
  query.erase("bundle_id");
  query.emplace("platform", "ios");
  query.emplace("user", "u-7");
  EXPECT_EQ(checkConfig(query).problems,
            (std::vector<std::string>{"platform appears more than once", "bundle_id is missing",
                                      "unknown query item \"user\""}));
  EXPECT_EQ(authorizationProblem("k"), "");
  EXPECT_EQ(authorizationProblem(""), "the Authorization header is missing");
  EXPECT_EQ(authorizationProblem("Bearer k"), "the Authorization header must be the bare key");
}

TEST(WireTime, IsReadAndWritten) {
  EXPECT_EQ(parseWireTime("1970-01-01T00:00:00Z"), 0);
  EXPECT_EQ(parseWireTime("2024-02-29T23:59:59Z"), 1709251199);
  for (const char* bad :
       {"", "2023-02-29T00:00:00Z", "2024-01-01T24:00:00Z", "2024-01-01 00:00:00Z",
        "2024-01-01T00:00:60Z", "2024-1-01T00:00:00Z", "2024-01-01T00:00:00z"}) {
    EXPECT_FALSE(parseWireTime(bad)) << bad;
  }
  EXPECT_EQ(isoText(1709251199042), "2024-02-29T23:59:59.042Z");
}

}  // namespace
}  // namespace zarn::collector
