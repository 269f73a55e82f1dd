#include "events/event_queue.h"

#include <gtest/gtest.h>

#include <thread>

#include "events/faulty_storage.h"
#include "events/memory_storage.h"
#include "support/fake_services.h"
#include "support/manual_dispatch.h"

namespace zarn::events {
namespace {

using Ids = std::vector<std::string>;
using Outcome = BatchAck::Outcome;

/// Batches wait until the test answers them.
class ScriptedSender final : public BatchSender {
 public:
  Permits::Token permit() const override { return permits_.current(); }
  void send(Batch batch, Permits::Token, base::SerialQueue& queue,
            base::UniqueFunction<void(BatchOutcome)> completion) override {
    batches.push_back(std::move(batch));
    queue_ = &queue;
    completions_.push_back(std::move(completion));
  }
  Ids sentIds() const {
    Ids ids;
    for (const auto& event : *batches.back()) ids.push_back(event.id);
    return ids;
  }
  void answer(BatchOutcome outcome) {
    auto completion = std::move(completions_.front());
    completions_.erase(completions_.begin());
    queue_->async([completion = std::move(completion), outcome = std::move(outcome)]() mutable {
      completion(std::move(outcome));
    });
  }
  void answerAll(Outcome outcome) {
    std::vector<BatchAck> acks;
    for (const auto& event : *batches.back()) acks.push_back({outcome, event.id, "no"});
    answer(std::move(acks));
  }
  std::vector<Batch> batches;

 private:
  Permits permits_;
  base::SerialQueue* queue_ = nullptr;
  std::vector<base::UniqueFunction<void(BatchOutcome)>> completions_;
};

class EventQueueTest : public ::testing::Test {
 protected:
  explicit EventQueueTest(int flushAt = 3, int maxBufferSize = 5) {
    configuration_.options.flushAt = flushAt;
    configuration_.options.maxBufferSize = maxBufferSize;
    configuration_.options.debug = true;
  }
  EventQueue& queue() {
    if (!queue_) {
      queue_.emplace(sender_, storage_, workQueue_, random_, configuration_,
                     platform::Log(log_, true));
      queue_->onCooldownEntered = [this] { ++cooldowns_; };
      queue_->onServerPause = [this](EventQueue::DiscardGeneration::Token begun) {
        pause_ = begun;
      };
      queue_->resume();
    }
    return *queue_;
  }
  static model::EncodedEvent event(const std::string& id) {
    return {id, "name-" + id, {}, std::make_shared<const std::string>("{}")};
  }
  bool add(const std::string& id) {
    const bool added = queue().enqueue(event(id), queue().currentDiscardGeneration());
    return added;
  }
  void failBatch() {
    sender_.answer(BatchFailed{});
    dispatch_.runUntilIdle();
  }
  void answerBatch(Outcome outcome) {
    sender_.answerAll(outcome);
    dispatch_.runUntilIdle();
  }
  std::size_t batchCount() const { return sender_.batches.size(); }

  testing::ManualClock clock_;
  testing::ManualDispatch dispatch_{clock_};
  base::SerialQueue workQueue_{dispatch_.pool(), "work", base::LockRank::workQueue};
  testing::FakeRandom random_;
  testing::FakeLog log_;
  testing::MemoryStorage storage_;
  ScriptedSender sender_;
  model::Configuration configuration_;
  int cooldowns_ = 0;
  std::optional<EventQueue::DiscardGeneration::Token> pause_;
  std::optional<EventQueue> queue_;
};

TEST_F(EventQueueTest, SendsWhenEnoughHasGatheredWhenTheTimerFiresAndOnRequest) {
  add("a");
  add("b");
  dispatch_.runUntilIdle();
  EXPECT_EQ(batchCount(), 0u);
  add("c");
  dispatch_.runUntilIdle();
  ASSERT_EQ(batchCount(), 1u);
  EXPECT_EQ(sender_.sentIds(), (Ids{"a", "b", "c"}));
  add("d");
  answerBatch(Outcome::accepted);  // progress sends what has gathered, at once
  ASSERT_EQ(batchCount(), 2u);
  EXPECT_EQ(sender_.sentIds(), Ids{"d"});
  answerBatch(Outcome::accepted);
  EXPECT_TRUE(storage_.ids().empty());

  add("e");
  dispatch_.advance(configuration_.options.flushInterval);
  EXPECT_EQ(batchCount(), 3u);
  answerBatch(Outcome::accepted);
  add("f");
  queue().flush();
  EXPECT_EQ(batchCount(), 3u) << "never on the caller's thread";
  dispatch_.runUntilIdle();
  EXPECT_EQ(batchCount(), 4u);
}

TEST_F(EventQueueTest, KeepsRestoredEventsAndDropsTheOldestBeyondTheCap) {
  for (const char* id : {"1", "2", "3", "4", "5", "6", "7"}) storage_.insert(event(id));
  EXPECT_EQ(queue().health().bufferedEventCount, 5);
  EXPECT_EQ(storage_.ids(), (Ids{"3", "4", "5", "6", "7"}));
  EXPECT_EQ(log_.count("[Zarn] Queue restored: dropped 2 overflow events from previous session"),
            1);
  queue().suspend();
  add("8");
  EXPECT_EQ(storage_.ids(), (Ids{"4", "5", "6", "7", "8"}));
  EXPECT_EQ(log_.count("[Zarn] Queue full (cap=5) — dropped oldest event: name-3"), 1);
  EXPECT_EQ(queue().health().droppedEvents, 3u);
}

TEST_F(EventQueueTest, WalksTheTiersAndEntersCooldownOnce) {
  add("a");
  queue().flush();
  dispatch_.runUntilIdle();
  const double delays[] = {5, 10, 20, 30, 60, 60, 60, 60, 60, 60, 60};
  for (int failures = 1; failures <= 31; ++failures) {
    ASSERT_EQ(batchCount(), static_cast<std::size_t>(failures));
    failBatch();
    EXPECT_EQ(queue().health().consecutiveFailures, failures);
    EXPECT_EQ(cooldowns_, failures >= 30 ? 1 : 0);
    const double delay = failures >= 30 ? 1800 : failures > 10 ? 60 : delays[failures - 1];
    dispatch_.advance(delay - 0.5);
    EXPECT_EQ(batchCount(), static_cast<std::size_t>(failures)) << "the timer waits for the retry";
    dispatch_.advance(0.5);
  }
  EXPECT_EQ(log_.count("[Zarn] Flush failed (#10) — retry in 60s (rapid)"), 1);
  EXPECT_EQ(log_.count("[Zarn] Flush failed (#11) — retry in 60s (slow)"), 1);
  EXPECT_EQ(log_.count("[Zarn] Flush failed (#30) — retry in 1800s (cooldown)"), 1);
  answerBatch(Outcome::accepted);
  EXPECT_EQ(queue().health().retryTier, "healthy");
  EXPECT_EQ(log_.count("[Zarn] Recovered after failures — back to normal flush cadence"), 1);
}

TEST_F(EventQueueTest, JitterSpreadsTheRetry) {
  random_.nextNumber = 0;
  add("a");
  queue().flush();
  dispatch_.runUntilIdle();
  failBatch();
  dispatch_.advance(3.7);
  EXPECT_EQ(batchCount(), 1u);
  dispatch_.advance(0.1);
  EXPECT_EQ(batchCount(), 2u);
}

TEST_F(EventQueueTest, AcknowledgementsDecideEventByEvent) {
  for (const char* id : {"a", "b", "c"}) add(id);
  dispatch_.runUntilIdle();
  sender_.answer(std::vector<BatchAck>{{Outcome::transientFail, "a", {}},
                                       {Outcome::accepted, "a", {}},
                                       {Outcome::permanentFail, "b", "bad name"},
                                       {Outcome::transientFail, "c", {}},
                                       {Outcome::accepted, "stranger", {}}});
  dispatch_.runUntilIdle();
  EXPECT_EQ(log_.count("[Zarn] Permanent fail for event b: bad name — dropped"), 1);
  EXPECT_EQ(storage_.ids(), Ids{"c"});
  ASSERT_EQ(batchCount(), 2u) << "with progress the rest is retried at once";
  EXPECT_EQ(sender_.sentIds(), Ids{"c"});
  answerBatch(Outcome::transientFail);
  EXPECT_EQ(queue().health().consecutiveFailures, 1) << "no progress counts as a failure";
  EXPECT_EQ(storage_.ids(), Ids{"c"});
  dispatch_.advance(5);
  sender_.answer(std::vector<BatchAck>{{Outcome::accepted, "stranger", {}}});
  dispatch_.runUntilIdle();
  EXPECT_EQ(queue().health().consecutiveFailures, 1) << "a stranger's id is no progress";
}

TEST_F(EventQueueTest, AFailedBatchGoesBackInFrontAndKeepsTheNewest) {
  for (const char* id : {"a", "b", "c"}) add(id);
  dispatch_.runUntilIdle();
  for (const char* id : {"d", "e", "f"}) add(id);
  failBatch();
  EXPECT_EQ(storage_.ids(), (Ids{"b", "c", "d", "e", "f"}));
  EXPECT_EQ(log_.count("[Zarn] Re-enqueue overflow: dropped 1 oldest events to fit cap=5"), 1);
  dispatch_.advance(5);
  EXPECT_EQ(sender_.sentIds(), (Ids{"b", "c", "d", "e", "f"}));
}

TEST_F(EventQueueTest, ADiscardVoidsWhatWasReadBeforeIt) {
  for (const char* id : {"a", "b", "c"}) add(id);
  dispatch_.runUntilIdle();
  const auto before = queue().currentDiscardGeneration();
  queue().discardAll();
  EXPECT_FALSE(queue().enqueue(event("late"), before));
  EXPECT_TRUE(storage_.ids().empty());
  add("new");
  sender_.answer(std::vector<BatchAck>{{Outcome::transientFail, "a", {}}});
  dispatch_.runUntilIdle();
  EXPECT_EQ(storage_.ids(), Ids{"new"});
  EXPECT_EQ(queue().health().consecutiveFailures, 0);
  ASSERT_EQ(batchCount(), 2u) << "what came after the discard goes out";
  EXPECT_EQ(sender_.sentIds(), Ids{"new"});
}

TEST_F(EventQueueTest, AnAnswerADiscardAndAFlushMeetInAnyOrder) {
  for (const bool discardsBeforeAnswerRuns : {true, false}) {
    for (const bool paused : {true, false}) {
      SCOPED_TRACE(::testing::Message() << discardsBeforeAnswerRuns << paused);
      queue().discardAll();
      queue().resume();
      for (const char* id : {"a", "b", "c"}) add(id);
      dispatch_.runUntilIdle();
      if (paused) {
        sender_.answer(BatchPaused{"later"});
      } else {
        sender_.answerAll(Outcome::accepted);
      }
      queue().flush();  // stands behind the answer
      if (discardsBeforeAnswerRuns) {
        queue().discardAll();
        add("after");
      }
      dispatch_.runUntilIdle();
      if (!discardsBeforeAnswerRuns) {
        EXPECT_TRUE(storage_.ids().empty());
        EXPECT_FALSE(queue().health().isFlushing);
      } else {
        EXPECT_EQ(storage_.ids(), Ids{"after"}) << "a void pause discards nothing either";
        EXPECT_EQ(sender_.sentIds(), Ids{"after"});
        answerBatch(Outcome::accepted);
      }
    }
  }
}

TEST_F(EventQueueTest, AServerPauseDiscardsAndSuspends) {
  for (const char* id : {"a", "b", "c"}) add(id);
  dispatch_.runUntilIdle();
  add("d");
  sender_.answer(BatchPaused{"billing"});
  dispatch_.runUntilIdle();
  EXPECT_EQ(pause_, queue().currentDiscardGeneration());
  EXPECT_TRUE(storage_.ids().empty());
  for (const char* id : {"e", "f", "g"}) add(id);
  queue().flush();
  dispatch_.advance(60.0);
  EXPECT_EQ(batchCount(), 1u);
}

TEST_F(EventQueueTest, ABrokenDiskLeavesItRunningInMemory) {
  testing::FaultyStorage broken(storage_);
  broken.failWrite(1, testing::FaultyStorage::Lasting::forever);
  EventQueue inMemory(sender_, broken, workQueue_, random_, configuration_,
                      platform::Log(log_, true));
  inMemory.resume();
  for (const char* id : {"a", "b", "c"}) {
    EXPECT_TRUE(inMemory.enqueue(event(id), inMemory.currentDiscardGeneration()));
  }
  dispatch_.runUntilIdle();
  EXPECT_EQ(sender_.sentIds(), (Ids{"a", "b", "c"}));
  answerBatch(Outcome::accepted);
  EXPECT_EQ(inMemory.health().bufferedEventCount, 0);
  EXPECT_GE(broken.failedWrites(), 4);
}

TEST_F(EventQueueTest, BlockingFlushAnswersAtOnceWhereItCannotSend) {
  EXPECT_TRUE(queue().flush(5)) << "nothing to send";
  add("a");
  queue().suspend();
  EXPECT_FALSE(queue().flush(5));
  queue().resume();
  EXPECT_FALSE(queue().flush(0)) << "nobody answers in no time";
  EXPECT_FALSE(queue().flush(5)) << "a batch is under way";
}

TEST_F(EventQueueTest, BlockingFlushWaitsForTheAnswer) {
  for (const bool delivered : {true, false}) {
    add("a");
    bool result = !delivered;
    std::thread host([&] { result = queue().flush(60); });
    const auto sent = batchCount() + 1;
    while (batchCount() < sent) dispatch_.runUntilIdle();
    if (delivered) {
      sender_.answerAll(Outcome::accepted);
    } else {
      sender_.answer(BatchFailed{});
    }
    dispatch_.runUntilIdle();
    host.join();
    EXPECT_EQ(result, delivered);
  }
}

}  // namespace
}  // namespace zarn::events
