// PrivacyTransitions: opt-out, opt-in and reset, one at a time. When a call returns, it holds: what
// was under way is cancelled or void, and everything later meets the new state.
//
// Each transition first sets the state that admission, the guard and the transport look at, then
// makes older answers and batches void, and only then clears away; so nothing that comes in between
// can slip behind it.
#pragma once

#include <atomic>
#include <functional>

#include "base/serial_queue.h"
#include "base/weakly.h"
#include "platform/log.h"
#include "runtime/privacy_state.h"

namespace zarn::platform {
class Defaults;
}
namespace zarn::control {
class ReplayControl;
class ReplayPolicyKeeper;
}  // namespace zarn::control
namespace zarn::events {
class EventQueue;
class Transport;
}  // namespace zarn::events
namespace zarn::identity {
class IdentityManager;
class SessionIds;
}  // namespace zarn::identity

namespace zarn::runtime {

class ConfigRefresh;
class ControlPlane;
class NetworkGuard;
class Recovery;
class RunState;
class UserDedupe;
struct IdentityBoundary;

/// What a transition acts on.
struct PrivacyParts {
  PrivacyState& privacy;
  RunState& runState;
  IdentityBoundary& boundary;
  events::EventQueue& queue;
  events::Transport& transport;
  NetworkGuard& guard;
  ControlPlane& controlPlane;
  Recovery& recovery;
  ConfigRefresh& refresh;
  identity::IdentityManager& identity;
  identity::SessionIds& session;
  UserDedupe& dedupe;
  control::ReplayPolicyKeeper& replayPolicy;
  control::ReplayControl& replay;
};

/// What producers do at a transition; an empty closure has nothing to do.
struct PrivacyHooks {
  /// Drops events that are gathered but not admitted. Called with the boundary's lock held: it may
  /// neither wait nor admit.
  std::function<void()> discardHeld;
  std::function<void()> stopSources;
  std::function<void()> restartSources;
  /// Forgets what belongs to the user: attributions, links, tokens.
  std::function<void()> forgetUser;
};

/// Any thread; from inside a transition a call runs in place.
class PrivacyTransitions {
 public:
  PrivacyTransitions(base::Executor& executor, const PrivacyParts& parts, platform::Log log);

  /// Set before the first call.
  PrivacyHooks hooks;

  void optOut();
  void optIn();
  void reset();

  /// Runs what another process's opt-out or opt-in calls for here; soon, on a thread of the
  /// executor.
  void followOtherProcess();

 private:
  using Origin = PrivacyState::Origin;
  void optOutNow(Origin origin);
  void optInNow(Origin origin);
  void resetNow();
  void followNow();
  void catchUpWithOptOut();

  // Constant after construction.
  const PrivacyParts parts_;
  const platform::Log log_;

  std::atomic<bool> followIsPosted_ = false;
  base::SerialQueue privacyTransitionQueue_;
  base::Scope scope_;
};

}  // namespace zarn::runtime
