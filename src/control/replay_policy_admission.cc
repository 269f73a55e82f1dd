#include "control/replay_policy_admission.h"

#include <array>
#include <utility>

#include "base/uuid.h"
#include "platform/random.h"

namespace zarn::control {

using Snapshot = model::ReplayPersistedPolicySnapshot;
using Load = model::ReplayPersistedPolicyLoad;
using Verdict = ReplayPolicyAdmissionCoordinator::Verdict;

ReplayPolicyAdmissionCoordinator::ReplayPolicyAdmissionCoordinator(
    model::ReplayPolicyPersistenceScope scope, ReplayPolicySnapshotStoring& store,
    platform::Random& random)
    : scope_(std::move(scope)), store_(store), random_(random) {}

ReplayPolicyAdmissionCoordinator::Trust::Token ReplayPolicyAdmissionCoordinator::trust() const {
  base::MutexLock lock(trustLock_);
  return trust_.current();
}

bool ReplayPolicyAdmissionCoordinator::isAuthorized() const {
  base::MutexLock lock(trustLock_);
  return authorized_;
}

void ReplayPolicyAdmissionCoordinator::revoke() {
  base::MutexLock lock(trustLock_);
  trust_.bump();
  authorized_ = false;
  boundaryOwed_ = true;
}

bool ReplayPolicyAdmissionCoordinator::isCurrent(Trust::Token trust) const {
  base::MutexLock lock(trustLock_);
  return trust == trust_.current();
}

bool ReplayPolicyAdmissionCoordinator::owesBoundary() const {
  base::MutexLock lock(trustLock_);
  return boundaryOwed_;
}

void ReplayPolicyAdmissionCoordinator::unauthorize() {
  base::MutexLock lock(trustLock_);
  authorized_ = false;
}

bool ReplayPolicyAdmissionCoordinator::authorize(Trust::Token trust) {
  base::MutexLock lock(trustLock_);
  if (trust != trust_.current() || boundaryOwed_) return false;
  authorized_ = true;
  return true;
}

ReplayPolicyAdmissionCoordinator::Trust::Token ReplayPolicyAdmissionCoordinator::oweBoundary() {
  base::MutexLock lock(trustLock_);
  authorized_ = false;
  boundaryOwed_ = true;
  return trust_.current();
}

void ReplayPolicyAdmissionCoordinator::settle(Trust::Token trust) {
  base::MutexLock lock(trustLock_);
  if (trust == trust_.current()) boundaryOwed_ = false;
}

Verdict ReplayPolicyAdmissionCoordinator::admit(const Policy& policy, Trust::Token trust) {
  base::MutexLock lock(lock_);
  // Whoever has taken the trust away writes a boundary of its own.
  if (!isCurrent(trust)) return Verdict::revoked;
  const bool isWaiting = pending_.has_value() || owesBoundary();
  bool restrictive = true;
  const std::string revision = newRevision();
  const bool written = store_.replace(scope_, [&](const Load& load) {
    restrictive = isWaiting || model::isRestrictive(policy, load);
    if (restrictive) unauthorize();  // not only once the disk is done
    return Snapshot{.scope = scope_,
                    .policy = policy,
                    .fingerprint = model::replayPolicyFingerprint(policy),
                    .revision = revision,
                    .boundaryComplete = !restrictive};
  });
  if (!written) {
    unauthorize();
    return Verdict::persistenceFailed;
  }
  if (!restrictive) return authorize(trust) ? Verdict::unchanged : Verdict::revoked;
  pending_ = Boundary{revision, trust};
  settle(trust);
  return Verdict::boundaryRequired;
}

std::optional<std::string> ReplayPolicyAdmissionCoordinator::pendingRevision() const {
  base::MutexLock lock(lock_);
  return pending_ ? std::optional(pending_->revision) : std::nullopt;
}

bool ReplayPolicyAdmissionCoordinator::completeBoundary(const std::string& revision) {
  base::MutexLock lock(lock_);
  if (store_.completeBoundary(scope_, revision) != ReplayPolicyStoreResult::done) return false;
  // Of an earlier launch, whose policy is of no concern any more.
  if (!pending_ || pending_->revision != revision) return true;
  const auto trust = std::exchange(pending_, std::nullopt)->trust;
  // A global purge that is under way, or another scope, may still stand against it.
  const Load load = store_.load(scope_);
  const bool mayCapture = load && load->boundaryComplete && load->revision == revision &&
                          load->policy && load->policy->enabled;
  if (mayCapture && trust) authorize(*trust);
  return true;
}

std::optional<std::string> ReplayPolicyAdmissionCoordinator::requireBoundary() {
  base::MutexLock lock(lock_);
  const auto current = oweBoundary();
  const std::string revision = newRevision();
  const bool written = store_.replace(scope_, [&](const Load& load) {
    Snapshot snapshot = load.value_or(
        Snapshot{.scope = scope_, .fingerprint = model::replayPolicyFingerprint(std::nullopt)});
    snapshot.revision = revision;
    snapshot.boundaryComplete = false;
    return snapshot;
  });
  if (!written) {
    store_.forget();
    return std::nullopt;
  }
  pending_ = Boundary{revision, std::nullopt};
  settle(current);
  return revision;
}

bool ReplayPolicyAdmissionCoordinator::hasPendingAdmission() const {
  base::MutexLock lock(lock_);
  const Load load = store_.load(scope_);
  return pending_ || !load || !load->boundaryComplete;
}

std::optional<std::string> ReplayPolicyAdmissionCoordinator::beginGlobalPurge() {
  base::MutexLock lock(lock_);
  const auto current = oweBoundary();
  std::string revision = newRevision();
  if (!store_.beginGlobalPurge(revision)) {
    store_.forget();
    return std::nullopt;
  }
  settle(current);
  return revision;
}

bool ReplayPolicyAdmissionCoordinator::finishGlobalPurge(const std::string& revision) {
  base::MutexLock lock(lock_);
  return store_.finishGlobalPurge(revision) == ReplayPolicyStoreResult::done;
}

std::string ReplayPolicyAdmissionCoordinator::newRevision() {
  std::array<std::uint8_t, 16> bytes{};
  random_.fill(bytes);
  return base::uuidFromRandom(bytes).text();
}

}  // namespace zarn::control
