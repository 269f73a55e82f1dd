#include "control/replay_policy_keeper.h"

#include <utility>

#include "control/replay_control.h"

namespace zarn::control {
namespace {

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
                                       ReplayControl& replay, base::SerialQueue& queue,
                                       std::function<ServerPauses::Token()> pauses,
                                       platform::Log log)
    : admission_(admission),
      replay_(replay),
      queue_(queue),
      pauses_(std::move(pauses)),
      log_(log) {}

void ReplayPolicyKeeper::apply(const Policy& policy, const PolicyAnswer& answer) {
  if (!answer.authoritative) return;
  {
    base::MutexLock lock(replayBootstrapLock_);
    enabledByProject_ = policy && policy->enabled;
  }
  // More masking holds at once, less only under a policy that was admitted.
  if (!policy || policy->maskInputs) replay_.setMaskInputs(true);
  if (!ifEnabled(policy)) log_.debug({"[Zarn] Remote config: replay disabled"});
  if (answer.paused || !ifEnabled(policy)) replay_.stop();
  if (answer.paused) return;
  queue_.async(base::weakly(scope_, [this, policy, trust = admission_.trust(),
                                     pauses = answer.pauses] { admit(policy, trust, pauses); }));
}

void ReplayPolicyKeeper::admit(const Policy& policy, Trust::Token trust,
                               ServerPauses::Token pauses) {
  using Verdict = ReplayPolicyAdmissionCoordinator::Verdict;
  const auto verdict = admission_.admit(policy, trust);
  if (verdict == Verdict::revoked) return;
  const bool persisted = verdict != Verdict::persistenceFailed;
  if (!persisted) {
    log_.debug({"[Zarn] Replay policy persistence failed — remaining fail-closed"});
    replay_.stop();
  }
  const Policy outcome = persisted ? policy : std::nullopt;
  remember(outcome, trust);
  if (ifEnabled(outcome) && pauses == pauses_()) replay_.clearServerPause();
  if (verdict == Verdict::boundaryRequired) {
    if (auto revision = admission_.pendingRevision()) return crossBoundary(std::move(*revision));
  }
  reconcile();
}

void ReplayPolicyKeeper::remember(const Policy& outcome, Trust::Token trust) {
  bool changed = false;
  {
    base::MutexLock lock(replayBootstrapLock_);
    if (trust != admission_.trust()) return;
    changed = std::exchange(resolvedReplayPolicy_, ifEnabled(outcome)) != resolvedReplayPolicy_;
    if (changed) attemptedReplayPolicy_.reset();
  }
  if (!changed || !outcome) return;
  log_.debug({"[Zarn] Replay project policy reconciled: recording=", word(outcome->enabled),
              " sampleRate=", std::to_string(outcome->sampleRate),
              " cellular=", word(outcome->captureOnCellular)});
}

void ReplayPolicyKeeper::reconcile() {
  if (!admission_.isAuthorized()) return;
  Policy policy;
  {
    base::MutexLock lock(replayBootstrapLock_);
    policy = resolvedReplayPolicy_;
    attemptedReplayPolicy_ = policy;
  }
  if (!policy) return;
  replay_.setMaskInputs(policy->maskInputs);
  replay_.proceed(*policy);
}

void ReplayPolicyKeeper::sessionStarted() {
  {
    base::MutexLock lock(replayBootstrapLock_);
    attemptedReplayPolicy_.reset();
  }
  reconcile();
}

void ReplayPolicyKeeper::revokeTrust() {
  admission_.revoke();
  base::MutexLock lock(replayBootstrapLock_);
  attemptedReplayPolicy_.reset();
}

void ReplayPolicyKeeper::pausedByServer() {
  revokeTrust();
  queue_.async(base::weakly(scope_, [this] {
    if (auto revision = admission_.requireBoundary()) crossBoundary(std::move(*revision));
  }));
}

void ReplayPolicyKeeper::discardEverything() {
  revokeTrust();
  replay_.discard();
  queue_.async(base::weakly(scope_, [this] { purgeGlobally(); }));
}

void ReplayPolicyKeeper::finishPendingBoundary() {
  queue_.async(base::weakly(scope_, [this] {
    if (admission_.hasPendingAdmission()) purgeGlobally();
  }));
}

void ReplayPolicyKeeper::crossBoundary(std::string revision) {
  replay_.purge(base::weakly(scope_, [this, revision = std::move(revision)](bool purged) mutable {
    if (!purged) return;  // the boundary stays pending
    queue_.async(base::weakly(scope_, [this, revision = std::move(revision)] {
      admission_.completeBoundary(revision);
      reconcile();
    }));
  }));
}

void ReplayPolicyKeeper::purgeGlobally() {
  auto revision = admission_.beginGlobalPurge();
  // What can't be noted is purged all the same.
  replay_.purge(base::weakly(scope_, [this, revision = std::move(revision)](bool purged) mutable {
    if (!purged || !revision) return;
    queue_.async(base::weakly(
        scope_, [this, done = std::move(*revision)] { admission_.finishGlobalPurge(done); }));
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
