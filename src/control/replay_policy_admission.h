// ReplayPolicyAdmissionCoordinator: whether a replay policy may be acted on. A policy that narrows
// what may be captured counts only once what was captured before it has been purged: its boundary.
//
//   queue.async([policy, trust = admission.trust()] {
//     if (admission.admit(policy, trust) == Verdict::boundaryRequired) {
//       ... stop capturing and purge, then ...
//       admission.completeBoundary(*admission.pendingRevision());
//     }
//   });
//
// Everything fails closed: what was not written down is not trusted, a purge that was interrupted
// is redone, and whoever takes the trust away wins over whatever is under way.
#pragma once

#include <optional>
#include <string>

#include "base/generation.h"
#include "base/mutex.h"
#include "control/replay_policy_store.h"
#include "model/replay_policy_snapshot.h"

namespace zarn::platform {
class Random;
}

namespace zarn::control {

class ReplayPolicyAdmissionCoordinator {
 public:
  using Policy = std::optional<model::ReplayRemotePolicy>;
  /// Bumped whenever trust is taken away.
  using Trust = base::Generation<ReplayPolicyAdmissionCoordinator>;

  enum class Verdict {
    unchanged,          // no boundary; replay may run if the policy is enabled
    boundaryRequired,   // `pendingRevision` waits for a purge
    persistenceFailed,  // the policy counts as none
    revoked,            // trust was taken away since: the policy counts as none
  };

  ReplayPolicyAdmissionCoordinator(model::ReplayPolicyPersistenceScope scope,
                                   ReplayPolicySnapshotStoring& store, platform::Random& random);

  // On any thread, also a host's: none of these waits for a file.

  /// To be read when a policy is accepted, and handed to `admit` with it.
  Trust::Token trust() const;
  bool isAuthorized() const;
  /// Nothing is authorised any more, neither by an admission or purge that is under way nor by a
  /// token of before. What was captured must be purged before the next policy counts.
  void revoke();

  // On background threads: these may wait for the disk, one at a time.

  /// Without a policy nothing may be captured, which is written down like any policy.
  Verdict admit(const Policy& policy, Trust::Token trust);
  /// Of the boundary that waits for its purge.
  std::optional<std::string> pendingRevision() const;
  /// After the purge. False when the boundary stays: a newer one has come, or it could not be
  /// written down.
  bool completeBoundary(const std::string& revision);
  /// A purge is due although no policy asks for it; gives its revision. Completing it authorises
  /// nothing. Nothing when it could not be written down; purging is due all the same.
  std::optional<std::string> requireBoundary();

  /// At launch: something was left unfinished, or can't be trusted to be finished.
  bool hasPendingAdmission() const;
  /// Before deleting what was captured, in all scopes; gives the revision. Nothing when it could
  /// not be written down; deleting is due all the same, and no `finish` then.
  std::optional<std::string> beginGlobalPurge();
  /// Authorises nothing: that takes another admission. False when it stays pending.
  bool finishGlobalPurge(const std::string& revision);

 private:
  struct Boundary {
    std::string revision;
    /// With which its policy is authorised once it is complete; nothing when there is none to be.
    std::optional<Trust::Token> trust;
  };

  std::string newRevision();
  bool isCurrent(Trust::Token trust) const;
  void unauthorize();
  /// False when trust was taken away since, or a boundary is owed.
  bool authorize(Trust::Token trust);
  bool owesBoundary() const;
  /// Unauthorises until a boundary is settled: written down while no trust was taken away.
  Trust::Token oweBoundary();
  void settle(Trust::Token trust);

  // Constant after construction.
  const model::ReplayPolicyPersistenceScope scope_;
  ReplayPolicySnapshotStoring& store_;
  platform::Random& random_;

  /// Held while files are read and written.
  mutable base::Mutex lock_{base::LockRank::replayAdmission};
  std::optional<Boundary> pending_ ZARN_GUARDED_BY(lock_);

  /// Never held for long: a host's thread takes it, also under other locks.
  mutable base::Mutex trustLock_{base::LockRank::dispatch};
  Trust trust_ ZARN_GUARDED_BY(trustLock_);
  bool authorized_ ZARN_GUARDED_BY(trustLock_) = false;
  /// A boundary is due, and the file does not say so yet.
  bool boundaryOwed_ ZARN_GUARDED_BY(trustLock_) = false;
};

}  // namespace zarn::control
