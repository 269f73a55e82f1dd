#include "runtime/privacy_transitions.h"

#include "control/replay_control.h"
#include "control/replay_policy_keeper.h"
#include "events/event_queue.h"
#include "events/transport.h"
#include "identity/identity_manager.h"
#include "identity/session_ids.h"
#include "runtime/admission.h"
#include "runtime/config_refresh.h"
#include "runtime/control_plane.h"
#include "runtime/network_guard.h"
#include "runtime/recovery.h"
#include "runtime/run_state.h"
#include "runtime/user_dedupe.h"

namespace zarn::runtime {
namespace {

void tell(const std::function<void()>& hook) {
  if (hook) hook();
}

}  // namespace

PrivacyTransitions::PrivacyTransitions(base::Executor& executor, const PrivacyParts& parts,
                                       platform::Log log)
    : parts_(parts),
      log_(log),
      privacyTransitionQueue_(executor, "io.zarn.privacy-transition",
                              base::LockRank::privacyTransition) {}

void PrivacyTransitions::optOut() {
  privacyTransitionQueue_.sync([this] { optOutNow(Origin::here); });
}

void PrivacyTransitions::optIn() {
  privacyTransitionQueue_.sync([this] { optInNow(Origin::here); });
}

void PrivacyTransitions::reset() {
  privacyTransitionQueue_.sync([this] { resetNow(); });
}

void PrivacyTransitions::followOtherProcess() {
  if (!hasBegun_.load(std::memory_order_acquire)) return;
  if (followIsPosted_.exchange(true)) return;  // every look at the setting notices
  privacyTransitionQueue_.async(base::weakly(scope_, [this] { followNow(); }));
}

void PrivacyTransitions::followNow() {
  followIsPosted_ = false;
  catchUpWithOptOut();
  if (parts_.privacy.followed().isOut && !parts_.privacy.setting().isOut) {
    optInNow(Origin::otherProcess);
  }
}

void PrivacyTransitions::catchUpWithOptOut() {
  const OptOutSetting now = parts_.privacy.setting();
  const OptOutSetting here = parts_.privacy.followed();
  // One that has come and gone counts as well: what is from before it must not be sent.
  if (now.count != here.count || (now.isOut && !here.isOut)) optOutNow(Origin::otherProcess);
}

void PrivacyTransitions::optOutNow(Origin origin) {
  parts_.privacy.beginOptOut(origin);
  parts_.controlPlane.invalidateAnswers();
  {
    base::MutexLock lock(parts_.boundary.lock);
    parts_.runState.suspend();
    parts_.queue.discardAll();
    parts_.transport.stopSends();
    tell(hooks.discardHeld);
  }
  parts_.dedupe.clear();  // what it remembers as sent may be among what was discarded
  parts_.guard.cancelAllGuarded();
  parts_.recovery.abandon();
  tell(hooks.stopSources);
  parts_.refresh.stopConfigRefreshTimer();
  parts_.replayPolicy.optedOut();
  log_.debug({"[Zarn] opted out — tracking disabled, queue suspended"});
}

void PrivacyTransitions::optInNow(Origin origin) {
  catchUpWithOptOut();
  if (!parts_.privacy.followed().isOut) return;
  {
    base::MutexLock lock(parts_.boundary.lock);
    parts_.session.renew();
    tell(hooks.discardHeld);
  }
  parts_.privacy.beginOptIn();
  parts_.controlPlane.invalidateAnswers();
  parts_.privacy.completeOptIn(origin);
  parts_.identity.persistNow();  // what the host has said of the user meanwhile was not written
  parts_.transport.resumeSends();
  parts_.runState.becomeRecovering();
  parts_.recovery.enterRecovery("local_opt_in", true);
  parts_.controlPlane.fetchConfig(ControlPlane::Fetch::startUp);
  parts_.refresh.startConfigRefreshTimer();
  tell(hooks.restartSources);
  parts_.replay.privacyBoundaryLifted();
  log_.debug({"[Zarn] opted in — tracking re-enabled"});
}

void PrivacyTransitions::resetNow() {
  if (parts_.privacy.optedOut()) {
    parts_.replayPolicy.optedOut();
  } else {
    parts_.replayPolicy.identityWasReset();
  }
  {
    // One step: no event can pair the new anonymous id with the old user or session.
    base::MutexLock lock(parts_.boundary.lock);
    parts_.queue.discardAll();
    parts_.transport.expirePermits();
    parts_.identity.reset();
    parts_.session.renew();
    parts_.dedupe.clear();
    tell(hooks.discardHeld);
    tell(hooks.forgetCarried);
  }
  parts_.identity.persistNow();
  tell(hooks.forgetUser);
  if (!parts_.privacy.optedOut()) tell(hooks.restartSources);
  parts_.replay.endAndRotate();
}

}  // namespace zarn::runtime
