#include "control/replay_policy_admission.h"

#include <gtest/gtest.h>

#include <optional>
#include <string>

#include "control/policy_files.h"

namespace zarn::control {
namespace {

using model::ReplayRemotePolicy;
using Coordinator = ReplayPolicyAdmissionCoordinator;
using Verdict = Coordinator::Verdict;
using Fault = testing::PolicyFiles::Fault;
using Policy = std::optional<ReplayRemotePolicy>;

Policy atRate(double sampleRate) {
  return ReplayRemotePolicy{.enabled = true, .sampleRate = sampleRate};
}

struct AdmissionFixture : ::testing::Test {
  AdmissionFixture() { launch(); }

  void launch() {
    coordinator.reset();
    coordinator.emplace(model::ReplayPolicyPersistenceScope{"shop", "production", "com.example"},
                        store, random);
  }
  Verdict admit(const Policy& policy) { return coordinator->admit(policy, coordinator->trust()); }
  bool complete() { return coordinator->completeBoundary(coordinator->pendingRevision().value()); }
  void admitAndComplete(const Policy& policy) {
    if (admit(policy) == Verdict::boundaryRequired) {
      EXPECT_TRUE(complete());
    }
    EXPECT_TRUE(coordinator->isAuthorized());
  }
  /// Whether what is on the disk leads a next launch to purge before it trusts this policy.
  bool isRestrictiveAtNextLaunch(const Policy& policy) {
    launch();
    EXPECT_FALSE(coordinator->isAuthorized());
    return admit(policy) == Verdict::boundaryRequired;
  }

  testing::PolicyHost host;
  testing::FakeRandom random;
  ReplayPolicyFileStore store{host.files};
  std::optional<Coordinator> coordinator;
};
using ReplayPolicyAdmission = AdmissionFixture;

TEST_F(ReplayPolicyAdmission, ANarrowerPolicyCountsOnceItsBoundaryIsComplete) {
  EXPECT_TRUE(coordinator->hasPendingAdmission()) << "nothing is known of what is there";
  EXPECT_EQ(admit(atRate(0.5)), Verdict::boundaryRequired);
  EXPECT_FALSE(coordinator->isAuthorized());
  EXPECT_TRUE(complete());
  EXPECT_TRUE(coordinator->isAuthorized());
  EXPECT_FALSE(coordinator->pendingRevision());

  EXPECT_EQ(admit(atRate(0.5)), Verdict::unchanged);
  EXPECT_EQ(admit(atRate(0.6)), Verdict::unchanged);
  EXPECT_TRUE(coordinator->isAuthorized());
  EXPECT_EQ(admit(atRate(0.5)), Verdict::boundaryRequired);
  EXPECT_FALSE(coordinator->isAuthorized());
  EXPECT_TRUE(complete());

  launch();
  EXPECT_FALSE(coordinator->isAuthorized()) << "the file alone authorises nothing";
  EXPECT_FALSE(coordinator->hasPendingAdmission());
  EXPECT_EQ(admit(atRate(0.5)), Verdict::unchanged);
  EXPECT_TRUE(coordinator->isAuthorized());
}

TEST_F(ReplayPolicyAdmission, NoPolicyAndADisabledOneAreWrittenDownAndAuthoriseNothing) {
  for (const Policy& nothing : {Policy(), Policy(ReplayRemotePolicy())}) {
    admitAndComplete(atRate(0.5));
    EXPECT_EQ(admit(nothing), Verdict::boundaryRequired);
    EXPECT_FALSE(coordinator->isAuthorized());
    EXPECT_TRUE(complete());
    EXPECT_FALSE(coordinator->isAuthorized());
    // What was purged can't be under any rule; the next policy may be as narrow as it likes.
    EXPECT_EQ(admit(atRate(0.1)), Verdict::unchanged);
  }
}

TEST_F(ReplayPolicyAdmission, ABoundaryThatWaitsTakesEveryNewPolicyIn) {
  admitAndComplete(atRate(0.5));
  ASSERT_EQ(admit(atRate(0.4)), Verdict::boundaryRequired);
  const std::string first = coordinator->pendingRevision().value();
  EXPECT_EQ(admit(atRate(0.9)), Verdict::boundaryRequired) << "what it waits for is still there";
  EXPECT_FALSE(coordinator->completeBoundary(first)) << "purged for the older policy";
  EXPECT_FALSE(coordinator->isAuthorized());
  EXPECT_TRUE(complete());
  EXPECT_TRUE(coordinator->isAuthorized());
  EXPECT_FALSE(coordinator->completeBoundary(first));
  EXPECT_TRUE(coordinator->isAuthorized());

  ASSERT_EQ(admit(atRate(0.4)), Verdict::boundaryRequired);
  launch();
  EXPECT_TRUE(coordinator->hasPendingAdmission());
  EXPECT_TRUE(isRestrictiveAtNextLaunch(atRate(1)));
}

TEST_F(ReplayPolicyAdmission, AnotherProcessCompletesNoBoundaryOfOurs) {
  admitAndComplete(atRate(0.5));
  ASSERT_EQ(admit(atRate(0.4)), Verdict::boundaryRequired);
  const std::string ours = coordinator->pendingRevision().value();
  Coordinator theirs({"shop", "production", "com.example"}, store, random);
  ASSERT_EQ(theirs.admit(atRate(0.4), theirs.trust()), Verdict::boundaryRequired);
  ASSERT_TRUE(theirs.completeBoundary(theirs.pendingRevision().value()));
  EXPECT_TRUE(theirs.isAuthorized());
  EXPECT_FALSE(coordinator->completeBoundary(ours));
  EXPECT_EQ(admit(atRate(0.4)), Verdict::boundaryRequired) << "what is ours was not purged";
  EXPECT_TRUE(complete());
  EXPECT_TRUE(coordinator->isAuthorized());
}

TEST_F(ReplayPolicyAdmission, WhoeverRevokesWinsOverWhatIsUnderWay) {
  const auto before = coordinator->trust();
  coordinator->revoke();
  const std::string untouched = host.text();
  EXPECT_EQ(coordinator->admit(atRate(0.5), before), Verdict::revoked);
  EXPECT_EQ(host.text(), untouched);

  admitAndComplete(atRate(0.5));
  coordinator->revoke();
  EXPECT_FALSE(coordinator->isAuthorized());
  EXPECT_EQ(admit(atRate(0.5)), Verdict::boundaryRequired) << "even if no purge was written down";
  coordinator->revoke();
  EXPECT_TRUE(complete());
  EXPECT_FALSE(coordinator->isAuthorized());
  admitAndComplete(atRate(0.5));

  host.files.beforeWrite = [&] { coordinator->revoke(); };
  EXPECT_EQ(admit(atRate(0.6)), Verdict::revoked);
  EXPECT_FALSE(coordinator->isAuthorized());
  EXPECT_EQ(admit(atRate(0.6)), Verdict::boundaryRequired);
  host.files.beforeWrite = [&] { coordinator->revoke(); };
  EXPECT_TRUE(complete());
  EXPECT_FALSE(coordinator->isAuthorized());

  ASSERT_EQ(admit(atRate(0.6)), Verdict::boundaryRequired);
  host.files.beforeWrite = [&] { coordinator->revoke(); };
  const auto purge = coordinator->beginGlobalPurge();
  EXPECT_TRUE(complete());
  EXPECT_TRUE(coordinator->finishGlobalPurge(*purge));
  EXPECT_EQ(admit(atRate(0.6)), Verdict::boundaryRequired) << "revoked again since the purge began";
}

TEST_F(ReplayPolicyAdmission, ANarrowerPolicyStopsCaptureBeforeTheDiskIsDone) {
  admitAndComplete(atRate(0.5));
  bool authorizedMeanwhile = true;
  host.files.beforeWrite = [&] { authorizedMeanwhile = coordinator->isAuthorized(); };
  EXPECT_EQ(admit(atRate(0.4)), Verdict::boundaryRequired);
  EXPECT_FALSE(authorizedMeanwhile);
  EXPECT_TRUE(complete());

  host.files.beforeWrite = [&] { authorizedMeanwhile = coordinator->isAuthorized(); };
  EXPECT_EQ(admit(atRate(0.4)), Verdict::unchanged);
  EXPECT_TRUE(authorizedMeanwhile) << "an answer like the last one interrupts nothing";
}

TEST_F(ReplayPolicyAdmission, APauseOfTheServersAsksForAPurge) {
  for (const bool isKnown : {false, true}) {
    coordinator->revoke();
    const auto revision = coordinator->requireBoundary();
    ASSERT_TRUE(revision);
    EXPECT_EQ(coordinator->pendingRevision(), revision);
    EXPECT_TRUE(coordinator->hasPendingAdmission());
    EXPECT_TRUE(coordinator->completeBoundary(*revision));
    EXPECT_FALSE(coordinator->isAuthorized()) << "it takes the policy that comes after the pause";
    EXPECT_FALSE(coordinator->hasPendingAdmission());
    EXPECT_EQ(admit(atRate(0.3)), Verdict::unchanged) << isKnown;
    EXPECT_TRUE(coordinator->isAuthorized());
  }
  coordinator->revoke();
  const auto revision = coordinator->requireBoundary();
  EXPECT_EQ(admit(atRate(0.3)), Verdict::boundaryRequired) << "resumed before the purge is done";
  EXPECT_FALSE(coordinator->completeBoundary(*revision));
  EXPECT_TRUE(complete());
  EXPECT_TRUE(coordinator->isAuthorized());

  coordinator->revoke();
  ASSERT_TRUE(coordinator->requireBoundary());
  EXPECT_TRUE(isRestrictiveAtNextLaunch(atRate(1)));
}

TEST_F(ReplayPolicyAdmission, AGlobalPurgeIsRedoneUntilItIsFinished) {
  admitAndComplete(atRate(0.5));
  coordinator->revoke();
  const auto first = coordinator->beginGlobalPurge();
  const auto second = coordinator->beginGlobalPurge();
  ASSERT_TRUE(first && second);
  EXPECT_TRUE(coordinator->hasPendingAdmission());
  EXPECT_FALSE(coordinator->finishGlobalPurge(*first)) << "two resets in a row";
  EXPECT_TRUE(coordinator->hasPendingAdmission());

  ASSERT_EQ(admit(atRate(0.5)), Verdict::boundaryRequired);
  EXPECT_TRUE(complete());
  EXPECT_FALSE(coordinator->isAuthorized()) << "a purge is still under way";
  EXPECT_TRUE(coordinator->finishGlobalPurge(*second));
  EXPECT_FALSE(coordinator->isAuthorized());
  EXPECT_EQ(admit(atRate(0.5)), Verdict::unchanged);
  EXPECT_TRUE(coordinator->isAuthorized());

  ASSERT_TRUE(coordinator->beginGlobalPurge());
  EXPECT_FALSE(coordinator->isAuthorized());
  launch();
  EXPECT_TRUE(coordinator->hasPendingAdmission());
  const auto redone = coordinator->beginGlobalPurge();
  EXPECT_TRUE(coordinator->finishGlobalPurge(*redone));
  EXPECT_FALSE(coordinator->hasPendingAdmission());
}

TEST_F(ReplayPolicyAdmission, WhatCanNotBeWrittenIsNotTrusted) {
  for (const Fault fault : {Fault::unwritten, Fault::unsynced}) {
    admitAndComplete(atRate(0.5));
    host.files.fault = fault;
    EXPECT_EQ(admit(atRate(0.5)), Verdict::persistenceFailed);
    EXPECT_FALSE(coordinator->isAuthorized());
    EXPECT_EQ(admit(atRate(0.4)), Verdict::persistenceFailed);
    host.files.fault = Fault::none;
    ASSERT_EQ(admit(atRate(0.4)), Verdict::boundaryRequired);
    host.files.fault = fault;
    EXPECT_FALSE(complete());
    EXPECT_FALSE(coordinator->isAuthorized());
    host.files.fault = Fault::none;
    EXPECT_TRUE(complete()) << "it can be tried again";
    EXPECT_TRUE(coordinator->isAuthorized());
  }
  coordinator->revoke();
  const auto purge = coordinator->beginGlobalPurge();
  host.files.fault = Fault::unwritten;
  EXPECT_FALSE(coordinator->finishGlobalPurge(*purge));
  host.files.fault = Fault::none;
  EXPECT_TRUE(isRestrictiveAtNextLaunch(atRate(0.4)));
}

TEST(ReplayPolicyBoundary, OneThatCanNotBeWrittenHoldsAllTheSame) {
  using Mark = std::optional<std::string> (Coordinator::*)();
  for (const Mark mark : {&Coordinator::requireBoundary, &Coordinator::beginGlobalPurge}) {
    for (const Fault fault : {Fault::unwritten, Fault::unsynced}) {
      for (const bool canRemove : {true, false}) {
        struct : AdmissionFixture {
          void TestBody() override {}
        } app;
        app.admitAndComplete(atRate(0.5));
        app.host.files.fault = fault;
        app.host.files.canRemove = canRemove;
        EXPECT_FALSE(((*app.coordinator).*mark)());
        EXPECT_FALSE(app.coordinator->isAuthorized());
        app.host.files.fault = Fault::none;
        EXPECT_EQ(app.admit(atRate(1)), Verdict::boundaryRequired);

        app.complete();
        const auto purge = app.coordinator->beginGlobalPurge();
        EXPECT_TRUE(app.coordinator->finishGlobalPurge(*purge));
        app.admitAndComplete(atRate(1));
        app.host.files.fault = fault;
        EXPECT_FALSE(((*app.coordinator).*mark)());
        app.host.files.fault = Fault::none;
        // With a disk that takes neither a write nor a removal nothing can be told to a next
        // launch.
        if (canRemove) {
          EXPECT_TRUE(app.isRestrictiveAtNextLaunch(atRate(1)));
        }
      }
    }
  }
}

}  // namespace
}  // namespace zarn::control
