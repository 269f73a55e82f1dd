// ReplayPolicyKeeper: from a policy that was received to one that replay may run under, and every
// boundary that takes the trust away again. Files and purges are a background queue's business;
// what must hold at once is in memory at once.
#pragma once

#include <functional>
#include <optional>
#include <string>

#include "base/closure.h"
#include "base/generation.h"
#include "base/mutex.h"
#include "base/serial_queue.h"
#include "base/weakly.h"
#include "control/policy_application.h"
#include "control/replay_policy_admission.h"
#include "control/server_pauses.h"
#include "model/replay_policy.h"
#include "platform/log.h"

namespace zarn::platform {
class Defaults;
}

namespace zarn::control {

class ReplayControl;

/// Any thread; nothing waits.
class ReplayPolicyKeeper {
 public:
  /// What holds now, asked on any thread.
  struct Now {
    std::function<ServerPauses::Token()> pauses;
    std::function<bool()> mayRecord;  // neither paused nor opted out
  };

  /// `queue` runs what waits for the disk.
  ReplayPolicyKeeper(ReplayPolicyAdmissionCoordinator& admission, ReplayControl& replay,
                     platform::Defaults& defaults, base::SerialQueue& queue, Now now,
                     platform::Log log);

  /// A policy, or none, that came with an answer.
  void apply(const std::optional<model::ReplayRemotePolicy>& policy, const PolicyAnswer& answer);
  /// Events flow, or a session has begun: replay may start under the policy in force.
  void reconcile();
  void sessionStarted();

  /// Finishes what an earlier launch has left undone.
  void finishPendingBoundary();
  void pausedByServer();
  /// What was captured is deleted, and no policy is trusted before a new one has come.
  void optedOut();
  /// What was captured is deleted; then the policy in force is admitted for the next user.
  void identityWasReset();

  std::optional<model::ReplayRemotePolicy> resolvedPolicy() const;
  /// The project's switch as last heard, whether it could be trusted or not.
  std::optional<bool> enabledByProject() const;
  /// Whether a start was tried since the last boundary.
  bool hasAttempted() const;

 private:
  using Trust = ReplayPolicyAdmissionCoordinator::Trust;
  void admit(const std::optional<model::ReplayRemotePolicy>& policy, Trust::Token trust,
             ServerPauses::Token pauses);
  void remember(const std::optional<model::ReplayRemotePolicy>& outcome, Trust::Token trust);
  void reconcileNow();
  void noteRestriction();
  void revokeTrust();
  /// What follows a purge, with the trust that was to be had at its beginning.
  using Afterwards = base::UniqueFunction<void(Trust::Token)>;
  void discardEverything(Afterwards afterwards);
  void crossBoundary(std::optional<std::string> revision);
  void purgeGlobally(Trust::Token trust, Afterwards afterwards);

  // Constant after construction.
  ReplayPolicyAdmissionCoordinator& admission_;
  ReplayControl& replay_;
  platform::Defaults& defaults_;
  base::SerialQueue& queue_;
  const Now now_;
  const platform::Log log_;

  /// What takes something away from replay, at once and on any thread, counted: what is granted on
  /// the queue meanwhile is taken back.
  using Restrictions = base::Generation<ReplayPolicyKeeper>;

  mutable base::Mutex replayBootstrapLock_{base::LockRank::leaf};
  std::optional<model::ReplayRemotePolicy> resolvedReplayPolicy_
      ZARN_GUARDED_BY(replayBootstrapLock_);
  std::optional<model::ReplayRemotePolicy> attemptedReplayPolicy_
      ZARN_GUARDED_BY(replayBootstrapLock_);
  int receivedPolicies_ ZARN_GUARDED_BY(replayBootstrapLock_) = 0;  // and not yet admitted
  Restrictions restrictions_ ZARN_GUARDED_BY(replayBootstrapLock_);
  std::optional<bool> enabledByProject_ ZARN_GUARDED_BY(replayBootstrapLock_);
  base::Scope scope_;
};

}  // namespace zarn::control
