#include "runtime/privacy_state.h"

#include "platform/defaults.h"

namespace zarn::runtime {

OptOutSetting readOptOut(platform::Defaults& defaults) {
  const auto isOut = defaults.getBool(PrivacyState::kOptOutKey);
  const double count = defaults.getDouble(PrivacyState::kOptOutCountKey).value_or(0);
  return {.isOut = isOut ? *isOut : defaults.mayHold(PrivacyState::kOptOutKey),
          .count = count >= 0 && count < 1e15 ? static_cast<std::int64_t>(count) : 0};
}

void writeOptOut(platform::Defaults& defaults) {
  const auto count = readOptOut(defaults).count + 1;
  defaults.set(PrivacyState::kOptOutKey, true);
  defaults.set(PrivacyState::kOptOutCountKey, static_cast<double>(count));
  defaults.commit();
}

void writeOptIn(platform::Defaults& defaults) {
  defaults.remove(PrivacyState::kOptOutKey);
  defaults.commit();
}

PrivacyState::PrivacyState(platform::Defaults& defaults) : defaults_(defaults) {
  const OptOutSetting now = setting();
  followedOut_ = now.isOut;
  followedCount_ = now.count;
}

OptOutSetting PrivacyState::followed() const {
  return {.isOut = followedOut_.load(std::memory_order_acquire),
          .count = followedCount_.load(std::memory_order_acquire)};
}

bool PrivacyState::optedOut() const {
  const OptOutSetting now = setting();
  const OptOutSetting here = followed();
  if (now == here) return now.isOut;
  if (onForeignChange) onForeignChange();
  return true;
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
  if (origin == Origin::here) writeOptOut(defaults_);
  followedOut_.store(true, std::memory_order_release);
  followedCount_.store(setting().count, std::memory_order_release);
  // After the setting: in between, one of the two keeps every event out.
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
  if (origin == Origin::here) writeOptIn(defaults_);
  followedOut_.store(false, std::memory_order_release);
}

}  // namespace zarn::runtime
