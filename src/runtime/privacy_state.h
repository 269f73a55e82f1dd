// PrivacyState: whether the user allows tracking at all.
#pragma once

#include "base/mutex.h"
#include "platform/defaults.h"

namespace zarn::runtime {

/// Any thread.
class PrivacyState {
 public:
  static constexpr const char* kOptOutKey = "zarn_opt_out";

  explicit PrivacyState(platform::Defaults& defaults) : defaults_(defaults) {}

  /// Read anew at each call, so that an opt-out takes effect on all threads, and in all processes
  /// of the app, at once.
  bool optedOut() const { return defaults_.getBool(kOptOutKey).value_or(false); }

  /// Set by an opt-in until the server's policy has been heard anew: no event is taken before.
  bool awaitingFreshPolicyAfterOptIn() const {
    base::MutexLock lock(lock_);
    return awaitingFreshPolicyAfterOptIn_;
  }
  void setAwaitingFreshPolicyAfterOptIn(bool awaiting) {
    base::MutexLock lock(lock_);
    awaitingFreshPolicyAfterOptIn_ = awaiting;
  }

 private:
  platform::Defaults& defaults_;
  mutable base::Mutex lock_{base::LockRank::leaf};
  bool awaitingFreshPolicyAfterOptIn_ ZARN_GUARDED_BY(lock_) = false;
};

}  // namespace zarn::runtime
