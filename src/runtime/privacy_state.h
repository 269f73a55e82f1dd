// PrivacyState: whether the user allows tracking at all, and whether the server has been heard
// since they allowed it again.
#pragma once

#include <atomic>
#include <cstdint>
#include <functional>

#include "base/generation.h"
#include "base/mutex.h"

namespace zarn::platform {
class Defaults;
}

namespace zarn::runtime {

/// What is written down of the user's choice, shared by all processes of the app. The count of
/// opt-outs tells of one that has come and gone unseen, and which rows are from before.
struct OptOutSetting {
  bool isOut = false;
  std::int64_t count = 0;
  friend bool operator==(const OptOutSetting&, const OptOutSetting&) = default;
};

/// What can't be read, or makes no sense, counts as an opt-out.
OptOutSetting readOptOut(platform::Defaults& defaults);
/// Each holds, once it returns, even when the process is killed right after.
void writeOptOut(platform::Defaults& defaults);
void writeOptIn(platform::Defaults& defaults);

/// Any thread. Only PrivacyTransitions writes, one transition at a time.
class PrivacyState {
 public:
  static constexpr const char* kOptOutKey = "zarn_opt_out";
  static constexpr const char* kOptOutCountKey = "zarn_opt_out_count";
  using Transition = base::Generation<PrivacyState>;

  explicit PrivacyState(platform::Defaults& defaults);

  /// The setting, read anew at each call, so that an opt-out takes effect on all threads, and in
  /// all processes of the app, at once. When another process has changed it, true until the
  /// transition that it calls for has run here.
  bool optedOut() const;

  /// Called when another process has changed the setting, on whatever thread looked at it: it may
  /// only post. Set before other threads look.
  std::function<void()> onForeignChange;

  /// Set by an opt-in until the server's policy has been heard anew: no event is taken before.
  bool awaitingFreshPolicyAfterOptIn() const;
  Transition::Token transition() const;

  /// A policy that was asked for under `transition` holds from now on. False, and nothing changed,
  /// when the user has changed their mind since.
  bool acceptFreshPolicy(Transition::Token transition);

  // Of the transitions.
  enum class Origin { here, otherProcess };
  OptOutSetting setting() const { return readOptOut(defaults_); }
  /// As the last transition of this process has left it.
  OptOutSetting followed() const;
  void beginOptOut(Origin origin);
  /// Takes no event, and trusts no answer asked for before, from now on.
  void beginOptIn();
  /// Lifts the opt-out.
  void completeOptIn(Origin origin);

 private:
  platform::Defaults& defaults_;
  mutable base::Mutex lock_{base::LockRank::leaf};
  bool awaitingFreshPolicyAfterOptIn_ ZARN_GUARDED_BY(lock_) = false;
  Transition transition_ ZARN_GUARDED_BY(lock_);
  // Written by the transitions only.
  std::atomic<bool> followedOut_;
  std::atomic<std::int64_t> followedCount_;
};

}  // namespace zarn::runtime
