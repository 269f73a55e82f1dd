#include "capture/transition_tracker.h"

#include <chrono>
#include <utility>

namespace zarn::capture {
namespace {

std::uint64_t millisecondsBetween(base::Duration from, base::Duration to) {
  const auto elapsed = std::chrono::duration_cast<std::chrono::milliseconds>(to - from).count();
  return elapsed > 0 ? static_cast<std::uint64_t>(elapsed) : 0;
}

}  // namespace

void TransitionTracker::setAnchor(const std::string& screenId, Boundaries since,
                                  base::Duration now) {
  base::MutexLock lock(lock_);
  anchor_ = Anchor{.hash = screenId,
                   .fingerprint = screenId,
                   .replayHash = pendingReplayHash_,
                   .leftAt = now,
                   .since = since};
}

void TransitionTracker::recordArrival(const std::string& hash, const std::string& fingerprint,
                                      Boundaries boundaries, base::Duration now) {
  Transition transition{.fromScreen = {},
                        .toScreen = fingerprint,
                        .fromHash = {},
                        .toHash = hash,
                        .since = boundaries};
  {
    base::MutexLock lock(lock_);
    // A screen that is only drawn anew keeps the anchor, and the clock goes on.
    if (!anchor_ || (anchor_->hash == hash && anchor_->since == boundaries)) return;
    transition.elapsedMs = millisecondsBetween(anchor_->leftAt, now);
    if (anchor_->since != boundaries || transition.elapsedMs > kMostMs) return anchor_.reset();
    transition.fromScreen = std::move(anchor_->fingerprint);
    transition.fromHash = std::move(anchor_->replayHash).value_or(std::move(anchor_->hash));
    transition.toHash = pendingReplayHash_.value_or(hash);
    anchor_ = Anchor{.hash = hash,
                     .fingerprint = fingerprint,
                     .replayHash = pendingReplayHash_,
                     .leftAt = now,
                     .since = boundaries};
  }
  onTransition_(transition);
}

void TransitionTracker::setPendingReplayHash(std::string hash) {
  base::MutexLock lock(lock_);
  pendingReplayHash_ = std::move(hash);
}

void TransitionTracker::clear() {
  base::MutexLock lock(lock_);
  anchor_.reset();
  pendingReplayHash_.reset();
}

}  // namespace zarn::capture
