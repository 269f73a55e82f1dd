#include "control/replay_policy_keeper.h"

#include <gtest/gtest.h>

#include <memory>

#include "control/policy_files.h"
#include "control/recording_replay.h"
#include "support/manual_dispatch.h"

namespace zarn::control {
namespace {

using model::ReplayRemotePolicy;
using Policy = std::optional<ReplayRemotePolicy>;
using Purges = testing::RecordingReplay::Purges;

Policy policy(double sampleRate, bool maskInputs = true) {
  return ReplayRemotePolicy{.enabled = true, .sampleRate = sampleRate, .maskInputs = maskInputs};
}

/// One launch of the app after another, on the same files and settings.
class ReplayPolicyKeeperTest : public ::testing::Test {
 protected:
  struct Launch {
    explicit Launch(ReplayPolicyKeeperTest& test)
        : admission({"shop", "production", "com.example"}, test.store_, test.random_),
          queue(test.dispatch_.pool(), "replay.policy", base::LockRank::replayPolicyQueue),
          keeper(admission, replay, test.defaults_, queue,
                 {.pauses = [&test] { return test.pauses_.current(); },
                  .mayRecord = [&test] { return test.mayRecord_; }},
                 platform::Log(test.host_.log, true)) {}
    testing::RecordingReplay replay;
    ReplayPolicyAdmissionCoordinator admission;
    base::SerialQueue queue;
    ReplayPolicyKeeper keeper;
  };

  void launch() {
    launch_.reset();
    launch_ = std::make_unique<Launch>(*this);
  }
  /// The process dies; what was not committed is gone.
  void kill() {
    testing::FakeDefaults left;
    defaults_.leaveTo(left);
    launch_.reset();
    left.leaveTo(defaults_);
    launch();
  }
  ReplayPolicyKeeper& keeper() { return launch_->keeper; }
  testing::RecordingReplay& replay() { return launch_->replay; }
  void settle() { dispatch_.runUntilIdle(); }

  void receive(const Policy& policy, bool authoritative = true, bool paused = false) {
    keeper().apply(policy, {.policy = nullptr,
                            .authoritative = authoritative,
                            .paused = paused,
                            .pauses = pauses_.current()});
  }
  void recordUnder(const Policy& policy) {
    receive(policy);
    settle();
    ASSERT_EQ(replay().recording, policy);
  }
  void pause() {
    pauses_.bump();
    keeper().pausedByServer();
  }

  testing::PolicyHost host_;
  testing::FakeRandom random_;
  testing::FakeDefaults defaults_;
  testing::ManualClock clock_;
  testing::ManualDispatch dispatch_{clock_};
  ReplayPolicyFileStore store_{host_.files};
  ServerPauses pauses_;
  bool mayRecord_ = true;
  std::unique_ptr<Launch> launch_ = std::make_unique<Launch>(*this);
};

TEST_F(ReplayPolicyKeeperTest, MoreIsGrantedOnlyOnceThePolicyIsAdmitted) {
  receive(policy(0.5, false));
  EXPECT_TRUE(replay().masks);
  EXPECT_FALSE(replay().recording);
  EXPECT_FALSE(keeper().hasAttempted());
  EXPECT_EQ(keeper().enabledByProject(), true) << "as the server said, trusted or not";
  settle();
  EXPECT_FALSE(replay().masks);
  EXPECT_EQ(replay().recording, policy(0.5, false));
  EXPECT_EQ(keeper().resolvedPolicy(), policy(0.5, false));
  EXPECT_TRUE(keeper().hasAttempted());
  EXPECT_EQ(replay().purgeCount, 1) << "nobody knows under what the files of before were captured";

  receive(policy(1, false), false);
  settle();
  EXPECT_EQ(replay().recording, policy(0.5, false)) << "not the server's own word";
}

TEST_F(ReplayPolicyKeeperTest, LessHoldsAtOnceAndNothingBringsTheOldPolicyBack) {
  const Policy disabled = ReplayRemotePolicy{.maskInputs = false};
  for (const Policy& narrower : {policy(0.5, true), disabled, Policy()}) {
    launch();
    recordUnder(policy(1, false));
    keeper().sessionStarted();  // waits in the queue
    receive(narrower);
    const bool masks = !narrower || narrower->maskInputs;
    EXPECT_EQ(replay().masks, masks);
    const bool records = narrower && narrower->enabled;
    EXPECT_EQ(replay().recording.has_value(), records);
    ASSERT_TRUE(dispatch_.runOne()) << "the session's look, before the new policy is admitted";
    EXPECT_EQ(replay().masks, masks);
    EXPECT_EQ(replay().recording.has_value(), records);
    replay().purges = Purges::wait;
    settle();
    EXPECT_FALSE(replay().recording) << "not before what was captured is gone";
    replay().finishPurges();
    settle();
    EXPECT_EQ(replay().recording, records ? narrower : std::nullopt);
    EXPECT_EQ(keeper().resolvedPolicy(), records ? narrower : std::nullopt);
  }
}

TEST_F(ReplayPolicyKeeperTest, ABoundaryBetweenReceiptAndAdmissionWins) {
  for (const bool isPause : {false, true}) {
    launch();
    receive(policy(0.5, false));
    isPause ? pause() : keeper().optedOut();
    settle();
    keeper().reconcile();
    keeper().sessionStarted();
    settle();
    EXPECT_FALSE(replay().recording);
    EXPECT_TRUE(replay().masks);
    EXPECT_GE(replay().purgeCount, 1);
    recordUnder(policy(0.5, false));
  }
}

TEST_F(ReplayPolicyKeeperTest, ARestrictionDuringAStartTakesTheStartBack) {
  const std::function<void()> restrictions[] = {[&] { keeper().optedOut(); }, [&] { pause(); },
                                                [&] { receive(std::nullopt); }};
  for (const auto& restrict : restrictions) {
    launch();
    recordUnder(policy(0.5, false));
    // As on another thread: it comes after the last look, and is over before the start is.
    replay().atStart = [&] {
      restrict();
      replay().masks = false;
      replay().recording = policy(0.5, false);
    };
    keeper().sessionStarted();
    settle();
    EXPECT_FALSE(replay().recording);
    EXPECT_TRUE(replay().masks);
  }
}

TEST_F(ReplayPolicyKeeperTest, APauseStopsAtOnceAndIsLiftedOnlyByALaterAnswer) {
  recordUnder(policy(0.5));
  const int cleared = replay().clearedPauses;
  const auto before = pauses_.current();
  pause();
  EXPECT_FALSE(replay().recording);
  settle();
  keeper().apply(policy(0.5), {.policy = nullptr, .authoritative = true, .pauses = before});
  mayRecord_ = false;  // the run state goes by the answer's age as well
  settle();
  EXPECT_EQ(replay().clearedPauses, cleared);
  EXPECT_FALSE(replay().recording);
  receive(policy(0.5), true, true);
  settle();
  EXPECT_FALSE(replay().recording) << "a policy that comes with a pause";
  mayRecord_ = true;
  receive(policy(0.5));
  settle();
  EXPECT_GT(replay().clearedPauses, cleared);
  EXPECT_EQ(replay().recording, policy(0.5));
}

TEST_F(ReplayPolicyKeeperTest, AResetPurgesAndGoesOnUnderTheSamePolicy) {
  recordUnder(policy(0.5, false));
  const int starts = replay().starts;
  replay().purges = Purges::wait;
  keeper().identityWasReset();
  EXPECT_FALSE(replay().recording) << "at once";
  keeper().identityWasReset();
  settle();
  EXPECT_FALSE(replay().recording);
  EXPECT_EQ(replay().waiting.size(), 2u);
  replay().finishPurges();
  replay().purges = Purges::succeed;
  settle();
  EXPECT_EQ(replay().recording, policy(0.5, false));
  EXPECT_EQ(replay().starts, starts + 1);

  keeper().identityWasReset();
  keeper().optedOut();
  settle();
  EXPECT_FALSE(replay().recording) << "what the reset would admit, the opt-out forbids";
}

TEST_F(ReplayPolicyKeeperTest, WhatIsNotPurgedStaysDueOverLaunches) {
  const std::function<void()> boundaries[] = {[&] { keeper().optedOut(); },
                                              [&] { keeper().identityWasReset(); },
                                              [&] { pause(); }, [&] { receive(policy(0.1)); }};
  for (const auto& boundary : boundaries) {
    launch();
    recordUnder(policy(0.5));
    replay().purges = Purges::fail;
    boundary();
    settle();
    EXPECT_FALSE(replay().recording);
    keeper().reconcile();
    settle();
    EXPECT_FALSE(replay().recording);
    launch();
    keeper().finishPendingBoundary();
    settle();
    EXPECT_EQ(replay().purgeCount, 1);
    recordUnder(policy(0.5));
    launch();
    keeper().finishPendingBoundary();
    settle();
    EXPECT_EQ(replay().purgeCount, 0) << "done the last time";
  }
}

TEST_F(ReplayPolicyKeeperTest, APurgeThatAKillPreventedIsMadeUpFor) {
  recordUnder(policy(0.5));
  defaults_.commit();
  keeper().identityWasReset();
  defaults_.commit();  // as the reset of the identity does
  kill();              // before the queue has run
  keeper().finishPendingBoundary();
  settle();
  EXPECT_EQ(replay().purgeCount, 1);
  EXPECT_EQ(defaults_.size(), 0u);
}

TEST_F(ReplayPolicyKeeperTest, WhatCanNotBeWrittenIsNotActedOn) {
  recordUnder(policy(0.5, false));
  host_.files.fault = testing::PolicyFiles::Fault::unwritten;
  receive(policy(0.6, false));
  settle();
  EXPECT_EQ(host_.log.count("[Zarn] Replay policy persistence failed — remaining fail-closed"), 1);
  EXPECT_FALSE(replay().recording);
  EXPECT_TRUE(replay().masks);
  EXPECT_FALSE(keeper().resolvedPolicy());
  host_.files.fault = testing::PolicyFiles::Fault::none;
  recordUnder(policy(0.6, false));
}

TEST_F(ReplayPolicyKeeperTest, NothingStartsWhilePausedOrOptedOut) {
  mayRecord_ = false;
  receive(policy(0.5, false));
  settle();
  EXPECT_FALSE(replay().recording);
  EXPECT_TRUE(replay().masks);
  mayRecord_ = true;
  keeper().reconcile();
  settle();
  EXPECT_EQ(replay().recording, policy(0.5, false));
}

}  // namespace
}  // namespace zarn::control
