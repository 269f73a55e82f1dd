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
  /// Forgets what events carry or tell of the user: called with the boundary's lock held as well,
  /// so that no event of the next user does.
  std::function<void()> forgetCarried;
  std::function<void()> stopSources;
  std::function<void()> restartSources;
  /// Forgets the rest that belongs to the user.
  std::function<void()> forgetUser;
};

/// Any thread; from inside a transition a call runs in place.
class PrivacyTransitions {
 public:
  PrivacyTransitions(base::Executor& executor, const PrivacyParts& parts, platform::Log log);

  /// Set before `begin`.
  PrivacyHooks hooks;
  /// From here on other processes are followed: the hooks and what they act on are in place.
  void begin() { hasBegun_.store(true, std::memory_order_release); }

  void optOut();
  void optIn();
  void reset();

  /// Runs what another process's opt-out or opt-in calls for here; soon, on a thread of the
  /// executor. Before `begin` nothing; whoever looks at the setting next notices again.
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

  std::atomic<bool> hasBegun_ = false;
  std::atomic<bool> followIsPosted_ = false;
  base::SerialQueue privacyTransitionQueue_;
  base::Scope scope_;
};

}  // namespace zarn::runtime
