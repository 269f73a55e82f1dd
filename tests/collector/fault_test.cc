#include <gtest/gtest.h>

#include <thread>

#include "collector/wire_samples.h"
#include "server/batch_plan.h"
#include "server/fault_board.h"
#include "server/fault_rule.h"

namespace zarn::collector {
namespace {

FaultRule rule(std::string_view words) {
  std::string error;
  const auto read = faultFromWords(words, error);
  EXPECT_TRUE(read) << words << ": " << error;
  return read.value_or(FaultRule{});
}

std::string wrongWith(std::string_view words) {
  std::string error;
  EXPECT_FALSE(faultFromWords(words, error)) << words;
  return error;
}

TEST(FaultRule, ReadsWordsAndJsonAlike) {
  std::string error;
  const auto json = faultFromJson(
      R"({"endpoint":"batch","kind":"status","status":429,"count":3,"delay_ms":20,"keep":true,)"
      R"("share":0.5,"seed":9})",
      error);
  ASSERT_TRUE(json) << error;
  const FaultRule words =
      rule("endpoint=batch,kind=status,status=429,count=3,delay_ms=20,keep=true,share=0.5,seed=9");
  for (const FaultRule& read : {*json, words}) {
    EXPECT_EQ(read.endpoint, Endpoint::batch);
    EXPECT_EQ(read.status, 429);
    EXPECT_EQ(read.count, 3);
    EXPECT_EQ(read.delayMs, 20);
    EXPECT_EQ(read.share, 0.5);
    EXPECT_EQ(read.seed, 9u);
    EXPECT_TRUE(read.keep);
  }
}

TEST(FaultRule, RefusesWhatMakesNoSense) {
  EXPECT_EQ(wrongWith(""), "kind is missing");
  EXPECT_EQ(wrongWith("kind=delay"), "delay_ms is missing");
  EXPECT_EQ(wrongWith("kind=outcomes,endpoint=init"), "outcomes are for the endpoint batch");
  EXPECT_EQ(wrongWith("kind=status,status=700"), "\"status\" must be a number in [200,599]");
  EXPECT_EQ(wrongWith("kind=status,count=0").rfind("\"count\" must be", 0), 0u);
  EXPECT_EQ(wrongWith("kind=status,share=nan").rfind("\"share\" must be", 0), 0u);
  EXPECT_EQ(wrongWith("kind=status,often=1"), "\"often\" is no part of a fault");
  EXPECT_EQ(wrongWith("kind"), "\"kind\" is not key=value");
}

TEST(FaultRule, ShareIsAboutRightAndRepeatable) {
  const FaultRule share = rule("kind=status,share=0.25");
  int struck = 0;
  for (std::uint64_t n = 0; n < 10'000; ++n) {
    struck += strikes(share, n);
    ASSERT_EQ(strikes(share, n), strikes(share, n));
  }
  EXPECT_NEAR(struck, 2'500, 150);
}

TEST(FaultBoard, TheFirstThatFitsStrikesUntilItIsSpent) {
  FaultBoard board;
  FaultRule twice = rule("endpoint=batch,kind=status,count=2"), always = rule("kind=empty,every=2");
  board.add(twice);
  board.add(always);
  const auto strike = [&](Endpoint endpoint) {
    const auto struck = board.strike(endpoint);
    return struck ? faultWord(struck->kind) : "none";
  };
  EXPECT_EQ(strike(Endpoint::batch), "status");
  EXPECT_EQ(strike(Endpoint::init), "none");  // the first of every two
  EXPECT_EQ(strike(Endpoint::batch), "status");
  EXPECT_EQ(strike(Endpoint::batch), "empty");
  EXPECT_EQ(strike(Endpoint::config), "none");
  board.clear();
  EXPECT_EQ(strike(Endpoint::batch), "none");
}

TEST(FaultBoard, PicksGoOnFromBatchToBatch) {
  FaultBoard board;
  FaultRule third = rule("kind=outcomes,outcome=permanent,every=3");
  board.add(third);
  EXPECT_EQ(board.pick(third, 4), (std::vector<bool>{false, false, true, false}));
  EXPECT_EQ(board.pick(third, 3), (std::vector<bool>{false, true, false}));
  EXPECT_FALSE(board.strike(Endpoint::init));
}

TEST(FaultBoard, AHoldEndsWithItsFault) {
  FaultBoard board;
  FaultRule hang = rule("kind=hang,count=1");
  board.add(hang);
  board.strike(Endpoint::batch);  // spent, but still switched on
  std::thread holding([&] { board.hold(hang.id, 600'000, [] { return false; }); });
  board.remove(hang.id);
  holding.join();
  board.hold(hang.id, 600'000, [] { return false; });
  FaultRule next = rule("kind=hang");
  board.add(next);
  board.hold(next.id, 600'000, [] { return true; });  // the client has left
  board.stop();
  board.hold(next.id, 600'000, [] { return false; });
}

BatchRecord batchOf(const std::vector<std::string>& texts) {
  BatchRecord record;
  for (const std::string& text : texts) {
    Delivered& event = record.events.emplace_back();
    event.raw = text;
    event.facts = checkEvent(text);
  }
  return record;
}

TEST(BatchPlan, AcceptsAllWhenNothingIsWrong) {
  const std::vector<std::string> texts = {eventText(1), eventText(2), "17"};
  BatchRecord record = batchOf(texts);
  const Reply reply = planBatch(record, {});
  EXPECT_EQ(reply.body,
            R"({"accepted_event_ids":[")" + idOf(1) + R"(",")" + idOf(2) + R"("],"errors":[]})");
  for (const Delivered& event : record.events) EXPECT_TRUE(event.keep);
}

TEST(BatchPlan, PauseKeepsNothing) {
  BatchRecord record = batchOf({eventText(1)});
  EXPECT_EQ(planBatch(record, {.paused = "tea"}).body, R"({"paused":true,"paused_reason":"tea"})");
  EXPECT_FALSE(record.events[0].keep);
  EXPECT_EQ(record.cause, "paused");
  BatchRecord late = batchOf({eventText(1)});
  EXPECT_EQ(planBatch(late, {.fault = rule("kind=delay,delay_ms=5"), .paused = ""}).body,
            R"({"paused":true})");
}

TEST(BatchPlan, FaultsThatAnswerNothingOfTheEventsKeepThemOnlyOnDemand) {
  for (const std::string kind : {"status", "hang", "drop", "cut", "empty"}) {
    for (const bool keep : {false, true}) {
      BatchRecord record = batchOf({eventText(1)});
      const Reply reply =
          planBatch(record, {.fault = rule("kind=" + kind + ",keep=" + (keep ? "true" : "false"))});
      EXPECT_EQ(record.events[0].keep, keep) << kind;
      EXPECT_FALSE(record.events[0].verdict) << kind;
      EXPECT_EQ(reply.status, kind == "status" ? 503 : 200);
      EXPECT_EQ(reply.body.empty(), kind == "empty");
    }
  }
}

TEST(BatchPlan, OutcomesDecideEventByEvent) {
  const struct {
    std::string outcome, body;
    bool keep;
  } cases[] = {
      {"permanent",
       R"({"accepted_event_ids":[")" + idOf(1) + R"("],"errors":[{"event_id":")" + idOf(2) +
           R"(","message":"no","permanent":true}]})",
       false},
      {"transient",
       R"({"accepted_event_ids":[")" + idOf(1) + R"("],"errors":[{"event_id":")" + idOf(2) +
           R"(","message":"no","permanent":false}]})",
       false},
      {"omit", R"({"accepted_event_ids":[")" + idOf(1) + R"("],"errors":[]})", false},
  };
  for (const auto& each : cases) {
    BatchRecord record = batchOf({eventText(1), eventText(2)});
    const Meeting meeting{.fault = rule("kind=outcomes,message=no,outcome=" + each.outcome),
                          .picked = {false, true}};
    EXPECT_EQ(planBatch(record, meeting).body, each.body);
    EXPECT_TRUE(record.events[0].keep);
    EXPECT_EQ(record.events[1].keep, each.keep);
  }
}

}  // namespace
}  // namespace zarn::collector
