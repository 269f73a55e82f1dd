#include "capture/screenshot_claims.h"

#include <utility>

namespace zarn::capture {

std::optional<ScreenshotClaims::Claim> ScreenshotClaims::claim(std::string key) {
  base::MutexLock lock(lock_);
  if (known_.contains(key) || pending_.size() >= kMostPending) return std::nullopt;
  const std::uint64_t id = lastId_ + 1;
  if (!pending_.try_emplace(key, id).second) return std::nullopt;
  lastId_ = id;
  return Claim(shared_from_this(), std::move(key), id);
}

void ScreenshotClaims::voidAll() {
  base::MutexLock lock(lock_);
  pending_.clear();
}

void ScreenshotClaims::forgetKnown() {
  base::MutexLock lock(lock_);
  known_.clear();
}

bool ScreenshotClaims::isHeld(const std::string& key, std::uint64_t id) const {
  base::MutexLock lock(lock_);
  const auto found = pending_.find(key);
  return found != pending_.end() && found->second == id;
}

void ScreenshotClaims::release(const std::string& key, std::uint64_t id, bool isKnown) {
  base::MutexLock lock(lock_);
  const auto found = pending_.find(key);
  if (found == pending_.end() || found->second != id) return;
  pending_.erase(found);
  if (!isKnown) return;
  if (known_.size() >= kMostKnown) known_.clear();
  known_.insert(key);
}

ScreenshotClaims::Claim& ScreenshotClaims::Claim::operator=(Claim&& other) noexcept {
  if (this == &other) return *this;
  end(false);
  claims_ = std::move(other.claims_);
  key_ = std::move(other.key_);
  id_ = other.id_;
  return *this;
}

void ScreenshotClaims::Claim::end(bool isKnown) {
  if (const auto claims = std::exchange(claims_, nullptr)) claims->release(key_, id_, isKnown);
}

}  // namespace zarn::capture
