#include "core/pipeline.h"

#include <gtest/gtest.h>

#include "core/test_host.h"

namespace zarn::core {
namespace {

class PipelineTest : public ::testing::Test {
 protected:
  int inits() const { return host_.http.countOf("/init"); }

  testing::TestHost host_;
  const model::Configuration configuration_{
      "key", {.autoTrackSessions = false, .apiHost = "http://collector.example", .debug = true}};
  std::optional<Pipeline> pipeline_{
      std::in_place, host_.services, configuration_, platform::Log(host_.log, true),
      Pipeline::Earlier{std::make_shared<network::NetworkTracker>(), {}}};
};

// Work that a boundary drops must not leave the recovery standing with nothing under way: no other
// could ever begin.
TEST_F(PipelineTest, ABoundaryEndsTheRecoveryInEveryStep) {
  pipeline_->recovery.enterRecovery("waiting");
  pipeline_->guard.cancelAllGuarded();
  host_.dispatch.advance(100.0);
  EXPECT_EQ(inits(), 0);

  pipeline_->recovery.enterRecovery("asking");
  pipeline_->recovery.enterRecovery("doubled");
  host_.dispatch.advance(5.0);
  EXPECT_EQ(inits(), 1);
  pipeline_->guard.cancelAllGuarded();
  host_.dispatch.runUntilIdle();

  pipeline_->recovery.enterRecovery("at last", true);
  EXPECT_EQ(inits(), 2);
  host_.http.answer("/init", 200, R"({"data_collection":{}})");
  host_.dispatch.runUntilIdle();
  EXPECT_EQ(pipeline_->runState.current(), model::LifecycleState::running);
  EXPECT_EQ(host_.log.count("[Zarn] Entering recovery: doubled"), 0);
}

TEST_F(PipelineTest, APauseIsNeverOverriddenByARecovery) {
  pipeline_->runState.becomePaused();
  pipeline_->recovery.enterRecovery("batch_cooldown", true);
  EXPECT_EQ(inits(), 0);
  EXPECT_EQ(pipeline_->runState.current(), model::LifecycleState::pausedByServer);
}

TEST_F(PipelineTest, OnlyTheAnswerToTheLatestRequestCounts) {
  pipeline_->controlPlane.sendInit();
  pipeline_->recovery.enterRecovery("newer", true);
  ASSERT_EQ(inits(), 2);
  host_.http.answerNext(200, R"({"data_collection":{},"paused":true})");  // to the older one
  host_.dispatch.runUntilIdle();
  EXPECT_EQ(pipeline_->runState.current(), model::LifecycleState::recovering);
  host_.http.answerNext(200, R"({"data_collection":{}})");
  host_.dispatch.runUntilIdle();
  EXPECT_EQ(pipeline_->runState.current(), model::LifecycleState::running);
}

TEST_F(PipelineTest, AnInitWithoutAPolicyGoesOnWithDefaultsAndOneThatIsNoObjectFails) {
  const auto answered = [&](const char* body) {
    pipeline_->controlPlane.sendInit();
    host_.http.answer("/init", 200, body);
    host_.dispatch.runUntilIdle();
    return pipeline_->runState.current();
  };
  EXPECT_EQ(answered(R"({"data_collection":{"core":7},"release_id":"r1"})"),
            model::LifecycleState::running);
  EXPECT_EQ(pipeline_->transport.releaseId(), "r1");
  EXPECT_EQ(answered("[]"), model::LifecycleState::recovering);
  EXPECT_EQ(host_.log.count("[Zarn] Init failed (status 200) — continuing without release_id"), 1);
}

TEST_F(PipelineTest, AnAnswerUnderWayMeetsAClientThatIsGone) {
  pipeline_->start();
  pipeline_->recovery.enterRecovery("waiting");
  pipeline_->queue.enqueue({"id", "name", {}, std::make_shared<const std::string>("{}")},
                           pipeline_->queue.currentDiscardGeneration());
  pipeline_->queue.resume();
  pipeline_->queue.flush();
  host_.dispatch.runUntilIdle();
  host_.http.answer("/batch", 200, R"({"paused":true})");
  host_.paths.report({.satisfied = true});
  pipeline_.reset();
  host_.dispatch.advance(100.0);
  EXPECT_EQ(host_.http.waitingCount(), 0u) << "what is under way is cancelled";
}

}  // namespace
}  // namespace zarn::core
