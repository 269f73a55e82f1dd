#include "events/transport.h"

#include <gtest/gtest.h>

#include "events/batch_answer.h"
#include "support/fake_services.h"
#include "support/manual_dispatch.h"
#include "support/scripted_http.h"

namespace zarn::events {
namespace {

using Outcome = BatchAck::Outcome;

/// "accepted:a permanent:b(message) transient:c", "paused:reason" or "failed".
std::string told(const BatchOutcome& outcome) {
  if (std::holds_alternative<BatchFailed>(outcome)) return "failed";
  if (const auto* pause = std::get_if<BatchPaused>(&outcome)) {
    return "paused:" + pause->reason.value_or("-");
  }
  std::string text;
  for (const auto& ack : std::get<std::vector<BatchAck>>(outcome)) {
    if (!text.empty()) text += ' ';
    text += ack.outcome == Outcome::accepted        ? "accepted:"
            : ack.outcome == Outcome::permanentFail ? "permanent:"
                                                    : "transient:";
    text += ack.eventId;
    if (!ack.message.empty()) text += "(" + ack.message + ")";
  }
  return text;
}

Batch batchOf(std::initializer_list<const char*> ids) {
  auto events = std::make_shared<std::vector<model::EncodedEvent>>();
  for (const char* id : ids) {
    events->push_back({id, id, {}, std::make_shared<const std::string>("{}")});
  }
  return events;
}

TEST(BatchAnswer, SaysPerEventWhatBecomesOfIt) {
  const Batch batch = batchOf({"a", "b", "c"});
  const auto read = [&](std::string_view body) { return told(readBatchAnswer(body, *batch)); };
  EXPECT_EQ(read(R"({"accepted_event_ids":["a","x",7],"errors":[{"event_id":"b","permanent":true},
                    {"event_id":"c","message":"later"},{"permanent":true},"junk"]})"),
            "accepted:a accepted:x permanent:b(unknown) transient:c");
  EXPECT_EQ(read(R"({"errors":[{"event_id":"b","permanent":true,"message":"bad"}]})"),
            "permanent:b(bad) transient:a transient:c");
  for (const char* silent : {"", "null", "[]", "{", "{}", R"({"accepted_event_ids":"a"})"}) {
    EXPECT_EQ(read(silent), "transient:a transient:b transient:c") << silent;
  }
  EXPECT_EQ(read(R"({"paused":true,"paused_reason":"bill","accepted_event_ids":["a"]})"),
            "paused:bill");
  EXPECT_EQ(read(R"({"paused":true,"paused_reason":4})"), "paused:-");
  EXPECT_EQ(read(R"({"paused":"yes","accepted_event_ids":["a","b","c"]})"),
            "accepted:a accepted:b accepted:c");
}

class TransportTest : public ::testing::Test {
 protected:
  TransportTest() { configuration_.options.apiHost = "http://host.example"; }
  std::string send(int status, const std::string& body = "{}") {
    begin();
    http_.answerNext(status, body);
    dispatch_.runUntilIdle();
    return result_;
  }
  void begin() {
    result_ = "none";
    transport_.send(batchOf({"a", "b"}), transport_.permit(), queue_,
                    [this](BatchOutcome outcome) { result_ = told(outcome); });
  }

  testing::ManualClock clock_;
  testing::ManualDispatch dispatch_{clock_};
  base::SerialQueue queue_{dispatch_.pool(), "work", base::LockRank::workQueue};
  testing::FakeLog log_;
  testing::ScriptedHttp http_;
  model::Configuration configuration_{"key", {.apiHost = "http://host.example"}};
  Transport transport_{http_, clock_, configuration_, {}, platform::Log(log_, true)};
  std::string result_;
};

TEST_F(TransportTest, TheStatusDecidesForTheWholeBatch) {
  for (const int status : {429, 500, 503, 301, 304, 100})
    EXPECT_EQ(send(status), "failed") << status;
  EXPECT_EQ(send(400), "permanent:a(http_400) permanent:b(http_400)");
  EXPECT_EQ(log_.count("[Zarn] Batch rejected (status 400) — events dropped permanently"), 1);
  EXPECT_EQ(send(204, ""), "transient:a transient:b");
  EXPECT_EQ(send(201, R"({"accepted_event_ids":["a"]})"), "accepted:a transient:b");
  EXPECT_EQ(log_.count("[Zarn] Batch acks: accepted=1 permanent=0 transient=1"), 1);
  begin();
  http_.failNext("could not connect");
  dispatch_.runUntilIdle();
  EXPECT_EQ(result_, "failed");
  EXPECT_EQ(log_.count("[Zarn] Batch send failed: could not connect"), 1);
}

TEST_F(TransportTest, StoppedSendsCancelWhatIsUnderWayAndAskNoMore) {
  begin();
  transport_.stopSends();
  dispatch_.runUntilIdle();
  EXPECT_EQ(result_, "failed");
  EXPECT_EQ(http_.cancelledCount(), 1);
  begin();
  EXPECT_EQ(result_, "none") << "never inside send";
  dispatch_.runUntilIdle();
  EXPECT_EQ(result_, "transient:a transient:b");
  EXPECT_EQ(http_.waitingCount(), 0u);
  transport_.resumeSends();
  EXPECT_EQ(send(200, R"({"accepted_event_ids":["a","b"]})"), "accepted:a accepted:b");
}

TEST_F(TransportTest, TheContextGoesBeforeTheEventsUntilItIsTakenBack) {
  const auto body = [this] {
    begin();
    const std::string sent = http_.nextBody();
    http_.answerNext(200);
    dispatch_.runUntilIdle();
    return sent;
  };
  EXPECT_EQ(body().find("\"context\""), std::string::npos);
  transport_.setEnrichedContext(std::make_shared<const std::string>(R"({"os":{"name":"L"}})"));
  EXPECT_NE(body().find(R"("release_id":"","context":{"os":{"name":"L"}},"batch":[{},{}],)"),
            std::string::npos);
  transport_.setEnrichedContext(nullptr);
  EXPECT_NE(body().find(R"("release_id":"","batch":[{},{}],)"), std::string::npos);
}

}  // namespace
}  // namespace zarn::events
