// TransitionTracker: how long it takes from the last tap on one screen until the next is there.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <utility>

#include "base/executor.h"
#include "base/mutex.h"
#include "capture/boundaries.h"

namespace zarn::capture {

struct Transition {
  std::string fromScreen;  // fingerprints; empty where not known
  std::string toScreen;
  std::string fromHash;
  std::string toHash;
  std::uint64_t elapsedMs = 0;
  Boundaries since;  // when the first of the two screens was entered
};

/// Any thread. Times are monotonic.
class TransitionTracker {
 public:
  /// What takes longer has another cause than the tap.
  static constexpr std::uint64_t kMostMs = 30000;
  using OnTransition = std::function<void(const Transition&)>;

  /// `onTransition` is called without a lock held.
  explicit TransitionTracker(OnTransition onTransition) : onTransition_(std::move(onTransition)) {}

  /// The user has tapped on this screen, and may be about to leave it.
  void setAnchor(const std::string& screenId, Boundaries since, base::Duration now);
  /// A screen is there. It is the next anchor, so that a chain of redirects is told as a chain of
  /// transitions.
  void recordArrival(const std::string& hash, const std::string& fingerprint, Boundaries boundaries,
                     base::Duration now);
  /// The identity of the screen's picture, which stands in for its shape from here on; set by who
  /// records pictures.
  void setPendingReplayHash(std::string hash);
  void clear();

 private:
  struct Anchor {
    std::string hash;
    std::string fingerprint;
    std::optional<std::string> replayHash;
    base::Duration leftAt;
    Boundaries since;
  };
  const OnTransition onTransition_;

  base::Mutex lock_{base::LockRank::leaf};
  std::optional<Anchor> anchor_ ZARN_GUARDED_BY(lock_);
  std::optional<std::string> pendingReplayHash_ ZARN_GUARDED_BY(lock_);
};

}  // namespace zarn::capture
