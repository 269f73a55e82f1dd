#include "runtime/privacy_state.h"

namespace zarn::runtime {

bool PrivacyState::optedOut() const {
  const bool isSet = flag();
  const bool transitioned = transitionedOut();
  if (isSet != transitioned && onForeignChange) onForeignChange();
  return isSet || transitioned;
}

bool PrivacyState::awaitingFreshPolicyAfterOptIn() const {
  base::MutexLock lock(lock_);
  return awaitingFreshPolicyAfterOptIn_;
}

PrivacyState::Transition::Token PrivacyState::transition() const {
  base::MutexLock lock(lock_);
  return transition_.current();
}

bool PrivacyState::acceptFreshPolicy(Transition::Token transition) {
  base::MutexLock lock(lock_);
  if (transition != transition_.current()) return false;
  awaitingFreshPolicyAfterOptIn_ = false;
  return true;
}

void PrivacyState::beginOptOut(Origin origin) {
  if (origin == Origin::here) {
    defaults_.set(kOptOutKey, true);
    // So that it holds even when the process is killed right after.
    defaults_.commit();
  }
  transitionedOut_.store(true, std::memory_order_release);
  // After the flag: in between, one of the two keeps every event out.
  base::MutexLock lock(lock_);
  transition_.bump();
  awaitingFreshPolicyAfterOptIn_ = false;
}

void PrivacyState::beginOptIn() {
  base::MutexLock lock(lock_);
  transition_.bump();
  awaitingFreshPolicyAfterOptIn_ = true;
}

void PrivacyState::completeOptIn(Origin origin) {
  if (origin == Origin::here) {
    defaults_.remove(kOptOutKey);
    defaults_.commit();
  }
  transitionedOut_.store(false, std::memory_order_release);
}

}  // namespace zarn::runtime
