#include "control/replay_policy_keeper.h"

#include <utility>

#include "control/replay_control.h"
#include "platform/defaults.h"

namespace zarn::control {

using Verdict = ReplayPolicyAdmissionCoordinator::Verdict;

namespace {

/// Set from the moment when everything is to be purged until it is: the policy's file is written a
/// little later, and the process may be gone by then.
constexpr const char* kPurgePendingKey = "zarn_replay_purge_pending";

using Policy = std::optional<model::ReplayRemotePolicy>;

/// A policy under which something may be recorded, or none.
Policy ifEnabled(const Policy& policy) {
  return policy && policy->enabled ? policy : std::nullopt;
}

std::string word(bool value) {
  return value ? "true" : "false";
}

}  // namespace

ReplayPolicyKeeper::ReplayPolicyKeeper(ReplayPolicyAdmissionCoordinator& admission,
                                       ReplayControl& replay, platform::Defaults& defaults,
                                       base::SerialQueue& queue, Now now, platform::Log log)
    : admission_(admission),
      replay_(replay),
      defaults_(defaults),
      queue_(queue),
      now_(std::move(now)),
      log_(log) {}

void ReplayPolicyKeeper::apply(const Policy& policy, const PolicyAnswer& answer) {
  if (!answer.authoritative) return;
  {
    base::MutexLock lock(replayBootstrapLock_);
    enabledByProject_ = policy && policy->enabled;
  }
  // Less holds at once, more only under a policy that was admitted.
  if (!policy || policy->maskInputs) {
    noteRestriction();
    replay_.setMaskInputs(true);
  }
  if (!ifEnabled(policy)) log_.debug({"[Zarn] Remote config: replay disabled"});
  if (answer.paused || !ifEnabled(policy)) {
    noteRestriction();
    replay_.stop();
  }
  if (answer.paused) return;
  const auto trust = admission_.trust();
  if (answer.pauses != now_.pauses()) return;  // a pause has come since it was asked for
  {
    base::MutexLock lock(replayBootstrapLock_);
    ++receivedPolicies_;
  }
  queue_.async(base::weakly(scope_, [this, policy, trust, pauses = answer.pauses] {
    {
      base::MutexLock lock(replayBootstrapLock_);
      --receivedPolicies_;
    }
    admit(policy, trust, pauses);
  }));
}

void ReplayPolicyKeeper::admit(const Policy& policy, Trust::Token trust,
                               ServerPauses::Token pauses) {
  const auto verdict = admission_.admit(policy, trust);
  if (verdict == Verdict::revoked) return;
  const bool persisted = verdict != Verdict::persistenceFailed;
  if (!persisted) {
    log_.debug({"[Zarn] Replay policy persistence failed — remaining fail-closed"});
    replay_.stop();
    replay_.setMaskInputs(true);
  }
  const Policy outcome = persisted ? policy : std::nullopt;
  remember(outcome, trust);
  if (ifEnabled(outcome) && pauses == now_.pauses()) replay_.clearServerPause();
  if (verdict == Verdict::boundaryRequired) {
    if (auto revision = admission_.pendingRevision()) return crossBoundary(std::move(revision));
  }
  reconcileNow();
}

void ReplayPolicyKeeper::remember(const Policy& outcome, Trust::Token trust) {
  if (trust != admission_.trust()) return;
  bool changed = false;
  {
    base::MutexLock lock(replayBootstrapLock_);
    changed = std::exchange(resolvedReplayPolicy_, ifEnabled(outcome)) != resolvedReplayPolicy_;
    if (changed) attemptedReplayPolicy_.reset();
  }
  if (!changed || !outcome) return;
  log_.debug({"[Zarn] Replay project policy reconciled: recording=", word(outcome->enabled),
              " sampleRate=", std::to_string(outcome->sampleRate),
              " cellular=", word(outcome->captureOnCellular)});
}

void ReplayPolicyKeeper::reconcile() {
  queue_.async(base::weakly(scope_, [this] { reconcileNow(); }));
}

void ReplayPolicyKeeper::reconcileNow() {
  Policy policy;
  std::optional<Restrictions::Token> before;
  {
    base::MutexLock lock(replayBootstrapLock_);
    if (receivedPolicies_ > 0) return;  // the newest may be narrower, and comes here by itself
    before = restrictions_.current();
    policy = resolvedReplayPolicy_;
  }
  if (!policy || !admission_.isAuthorized() || !now_.mayRecord()) return;
  {
    base::MutexLock lock(replayBootstrapLock_);
    attemptedReplayPolicy_ = policy;
  }
  replay_.setMaskInputs(policy->maskInputs);
  replay_.proceed(*policy);
  {
    base::MutexLock lock(replayBootstrapLock_);
    if (before == restrictions_.current()) return;
  }
  // A restriction came in between, and what was just begun may have come after it.
  replay_.setMaskInputs(true);
  if (admission_.isAuthorized()) {
    replay_.stop();
    reconcile();
  } else {
    replay_.discard();
  }
}

void ReplayPolicyKeeper::sessionStarted() {
  {
    base::MutexLock lock(replayBootstrapLock_);
    attemptedReplayPolicy_.reset();
  }
  reconcile();
}

void ReplayPolicyKeeper::noteRestriction() {
  base::MutexLock lock(replayBootstrapLock_);
  restrictions_.bump();
}

void ReplayPolicyKeeper::revokeTrust() {
  admission_.revoke();
  base::MutexLock lock(replayBootstrapLock_);
  restrictions_.bump();
  attemptedReplayPolicy_.reset();
}

void ReplayPolicyKeeper::pausedByServer() {
  revokeTrust();
  replay_.stop();
  queue_.async(base::weakly(scope_, [this] { crossBoundary(admission_.requireBoundary()); }));
}

void ReplayPolicyKeeper::optedOut() {
  discardEverything([](Trust::Token) {});
}

void ReplayPolicyKeeper::identityWasReset() {
  // The server's policy is for the project, not for a user: it is admitted anew.
  discardEverything([this](Trust::Token trust) { admit(resolvedPolicy(), trust, now_.pauses()); });
}

void ReplayPolicyKeeper::discardEverything(Afterwards afterwards) {
  defaults_.set(kPurgePendingKey, true);
  revokeTrust();
  replay_.discard();
  queue_.async(base::weakly(
      scope_, [this, trust = admission_.trust(), afterwards = std::move(afterwards)]() mutable {
        purgeGlobally(trust, std::move(afterwards));
      }));
}

void ReplayPolicyKeeper::finishPendingBoundary() {
  queue_.async(base::weakly(scope_, [this] {
    const bool isPending = defaults_.getBool(kPurgePendingKey).value_or(false);
    if (isPending || admission_.hasPendingAdmission())
      purgeGlobally(admission_.trust(), [](Trust::Token) {});
  }));
}

void ReplayPolicyKeeper::crossBoundary(std::optional<std::string> revision) {
  replay_.discard();
  // What can't be noted is purged all the same.
  replay_.purge(base::weakly(scope_, [this, revision = std::move(revision)](bool purged) mutable {
    if (!purged || !revision) return;  // the boundary stays pending
    queue_.async(base::weakly(scope_, [this, done = std::move(*revision)] {
      admission_.completeBoundary(done);
      reconcileNow();
    }));
  }));
}

void ReplayPolicyKeeper::purgeGlobally(Trust::Token trust, Afterwards afterwards) {
  auto revision = admission_.beginGlobalPurge();
  // What can't be noted is purged all the same.
  replay_.purge(base::weakly(scope_, [this, revision = std::move(revision), trust,
                                      afterwards = std::move(afterwards)](bool purged) mutable {
    if (!purged || !revision) return;
    queue_.async(base::weakly(
        scope_, [this, done = std::move(*revision), trust, then = std::move(afterwards)]() mutable {
          if (!admission_.finishGlobalPurge(done)) return;
          if (trust != admission_.trust()) return;  // another boundary has a purge of its own
          defaults_.remove(kPurgePendingKey);
          then(trust);
        }));
  }));
}

Policy ReplayPolicyKeeper::resolvedPolicy() const {
  base::MutexLock lock(replayBootstrapLock_);
  return resolvedReplayPolicy_;
}

std::optional<bool> ReplayPolicyKeeper::enabledByProject() const {
  base::MutexLock lock(replayBootstrapLock_);
  return enabledByProject_;
}

bool ReplayPolicyKeeper::hasAttempted() const {
  base::MutexLock lock(replayBootstrapLock_);
  return attemptedReplayPolicy_.has_value();
}

}  // namespace zarn::control
