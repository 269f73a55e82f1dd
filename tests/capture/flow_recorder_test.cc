// Visits, and the time from a tap to the next screen.
#include "capture/flow_recorder.h"

#include <gtest/gtest.h>

#include "capture/transition_tracker.h"
#include "support/fake_services.h"
#include "support/manual_dispatch.h"

namespace zarn::capture {
namespace {

class FlowRecorderTest : public ::testing::Test {
 protected:
  Boundaries now() const { return {discards_.current(), pauses_.current()}; }
  void enter(const std::string& screenId, std::optional<TriggerKind> trigger = std::nullopt) {
    flow_.enter({.screenId = screenId,
                 .screenName = "Screen " + screenId,
                 .nameCandidates = {},
                 .triggerKind = trigger,
                 .triggerViewClass = std::nullopt},
                now());
  }

  testing::ManualClock clock_;
  testing::FakeRandom random_;
  base::Generation<events::EventQueue> discards_;
  control::ServerPauses pauses_;
  FlowRecorder flow_{clock_, random_};
};

TEST_F(FlowRecorderTest, AVisitLastsUntilAnotherScreenIsThere) {
  enter("early");  // nothing is recorded yet
  flow_.restart("s", "");
  enter("a");
  clock_.advance(base::seconds(1.5));
  flow_.noteTap();
  flow_.noteScroll();
  enter("a");
  enter("b");
  clock_.jumpWall(base::seconds(-100));
  enter("c", TriggerKind::navBackButton);
  clock_.advance(base::seconds(2));
  const auto visits = flow_.drain(ExitReason::background);
  ASSERT_EQ(visits.size(), 3u);
  EXPECT_EQ(visits[0].entry.screenId, "a");
  EXPECT_EQ(visits[0].enteredAt, 1893456000000u);
  EXPECT_EQ(visits[0].exitedAt, 1893456001500u);
  EXPECT_EQ(visits[0].dwellMs, 1500u);
  EXPECT_EQ(visits[0].tapCount, 1);
  EXPECT_EQ(visits[0].scrollCount, 1);
  EXPECT_EQ(visits[0].exitReason, ExitReason::forward);
  EXPECT_EQ(visits[1].dwellMs, 0u) << "the clock was set back";
  EXPECT_EQ(visits[1].exitReason, ExitReason::back);
  EXPECT_EQ(visits[2].exitReason, ExitReason::background);
  EXPECT_EQ(visits[2].dwellMs, 2000u);
  EXPECT_NE(visits[0].visitId, visits[1].visitId);
  EXPECT_FALSE(flow_.noteTap()) << "no visit is open";
  enter("c");
  EXPECT_EQ(flow_.drain(ExitReason::background).at(0).entryIndex, 3u);
}

TEST_F(FlowRecorderTest, KeepsTheLatestVisitsAndFillsInTheRelease) {
  flow_.restart("s", "");
  for (std::uint32_t i = 0; i < FlowRecorder::kMostVisits; ++i) enter(std::to_string(i));
  flow_.setReleaseId("r1");
  for (int i = 0; i < 65537; ++i) flow_.noteTap();
  enter("last");
  flow_.setReleaseId("r2");
  const auto visits = flow_.drain(ExitReason::background);
  ASSERT_EQ(visits.size(), FlowRecorder::kMostVisits);
  EXPECT_EQ(visits.front().entryIndex, 1u);
  EXPECT_EQ(visits.front().releaseId, "r1");
  EXPECT_EQ(visits.at(visits.size() - 2).tapCount, 1) << "counts begin anew after 65535";
  EXPECT_EQ(visits.back().releaseId, "r1") << "as it was when the visit began";
}

TEST_F(FlowRecorderTest, AVisitDoesNotOutliveABoundary) {
  flow_.restart("s", "");
  enter("a");
  pauses_.bump();
  const Boundaries after = now();
  enter("a");
  const auto visits = flow_.drain(ExitReason::background);
  ASSERT_EQ(visits.size(), 1u);
  EXPECT_EQ(visits[0].since, after) << "what began before is not gone on with";
  enter("a");
  flow_.discard();
  enter("b");
  EXPECT_TRUE(flow_.drain(ExitReason::background).empty());
  flow_.restart("t", "");
  enter("b");
  EXPECT_EQ(flow_.drain(ExitReason::background).at(0).entryIndex, 0u);
}

class TransitionTrackerTest : public ::testing::Test {
 protected:
  Boundaries now() const { return {discards_.current(), pauses_.current()}; }
  void tap(const std::string& screen) { tracker_.setAnchor(screen, now(), clock_.monotonic()); }
  void arrive(const std::string& screen) {
    tracker_.recordArrival(screen, screen, now(), clock_.monotonic());
  }
  std::string last() const {
    if (seen_.empty()) return "none";
    const Transition& transition = seen_.back();
    return transition.fromHash + ">" + transition.toHash + " " + transition.fromScreen + ">" +
           transition.toScreen + " " + std::to_string(transition.elapsedMs);
  }

  testing::ManualClock clock_;
  base::Generation<events::EventQueue> discards_;
  control::ServerPauses pauses_;
  std::vector<Transition> seen_;
  TransitionTracker tracker_{[this](const Transition& seen) { seen_.push_back(seen); }};
};

TEST_F(TransitionTrackerTest, CountsFromTheLastTapAndChainsRedirects) {
  arrive("a");
  EXPECT_EQ(seen_.size(), 0u) << "nobody has tapped";
  tap("a");
  clock_.advance(base::seconds(5));
  tap("a");
  clock_.advance(base::seconds(0.25));
  arrive("a");  // only drawn anew
  clock_.advance(base::seconds(0.0509));
  arrive("b");
  EXPECT_EQ(last(), "a>b a>b 300");
  clock_.advance(base::seconds(1));
  arrive("c");
  EXPECT_EQ(last(), "b>c b>c 1000");
  clock_.advance(base::seconds(30.001));
  arrive("d");
  arrive("e");
  EXPECT_EQ(seen_.size(), 2u) << "what takes that long has another cause";
  tap("e");
  clock_.advance(base::seconds(30));
  arrive("f");
  EXPECT_EQ(last(), "e>f e>f 30000");
}

TEST_F(TransitionTrackerTest, TheIdentityOfAPictureStandsInForTheShape) {
  tracker_.setPendingReplayHash("pa");
  tap("a");
  tracker_.setPendingReplayHash("pb");
  arrive("b");
  EXPECT_EQ(last(), "pa>pb a>b 0");
  arrive("c");
  EXPECT_EQ(last(), "pb>pb b>c 0");
  tracker_.clear();
  arrive("d");
  tap("d");
  arrive("e");
  EXPECT_EQ(last(), "d>e d>e 0");
}

TEST_F(TransitionTrackerTest, DoesNotSpanABoundary) {
  tap("a");
  discards_.bump();
  arrive("b");
  arrive("c");
  tap("c");
  pauses_.bump();
  arrive("c");
  arrive("d");
  EXPECT_EQ(last(), "none");
}

}  // namespace
}  // namespace zarn::capture
