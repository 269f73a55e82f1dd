// PrivacyState: whether the user allows tracking at all, and whether the server has been heard
// since they allowed it again.
#pragma once

#include <atomic>
#include <functional>

#include "base/generation.h"
#include "base/mutex.h"
#include "platform/defaults.h"

namespace zarn::runtime {

/// Any thread. Only PrivacyTransitions writes, one transition at a time.
class PrivacyState {
 public:
  static constexpr const char* kOptOutKey = "zarn_opt_out";
  using Transition = base::Generation<PrivacyState>;

  explicit PrivacyState(platform::Defaults& defaults)
      : defaults_(defaults), transitionedOut_(flag()) {}

  /// The flag, read anew at each call, so that an opt-out takes effect on all threads, and in all
  /// processes of the app, at once. When another process has changed it, true until the transition
  /// that it calls for has run here.
  bool optedOut() const;

  /// Called when another process has changed the flag, on whatever thread looked at it: it may only
  /// post. Set before other threads look.
  std::function<void()> onForeignChange;

  /// Set by an opt-in until the server's policy has been heard anew: no event is taken before.
  bool awaitingFreshPolicyAfterOptIn() const;
  Transition::Token transition() const;

  /// A policy that was asked for under `transition` holds from now on. False, and nothing changed,
  /// when the user has changed their mind since.
  bool acceptFreshPolicy(Transition::Token transition);

  // Of the transitions.
  enum class Origin { here, otherProcess };
  /// What can't be read, or makes no sense, counts as an opt-out.
  bool flag() const {
    const auto isSet = defaults_.getBool(kOptOutKey);
    return isSet ? *isSet : defaults_.mayHold(kOptOutKey);
  }
  bool transitionedOut() const { return transitionedOut_.load(std::memory_order_acquire); }
  void beginOptOut(Origin origin);
  /// Takes no event, and trusts no answer asked for before, from now on.
  void beginOptIn();
  /// Lifts the flag.
  void completeOptIn(Origin origin);

 private:
  platform::Defaults& defaults_;
  /// As the last transition of this process has left it.
  std::atomic<bool> transitionedOut_;
  mutable base::Mutex lock_{base::LockRank::leaf};
  bool awaitingFreshPolicyAfterOptIn_ ZARN_GUARDED_BY(lock_) = false;
  Transition transition_ ZARN_GUARDED_BY(lock_);
};

}  // namespace zarn::runtime
