// FlowRecorder: one open visit for the screen in sight, and a bounded list of those that have
// ended. They are told when the app goes to the background or ends.
//
//   not recording --restart--> recording --discard--> not recording
//   a visit:  none --enter--> open --enter, drain--> ended --drain--> handed out
#pragma once

#include <cstdint>
#include <deque>
#include <optional>
#include <string>
#include <vector>

#include "base/mutex.h"
#include "capture/screen_visit.h"

namespace zarn::platform {
class Clock;
class Random;
}  // namespace zarn::platform

namespace zarn::capture {

/// Any thread.
class FlowRecorder {
 public:
  /// The oldest makes room.
  static constexpr std::size_t kMostVisits = 500;

  FlowRecorder(const platform::Clock& clock, platform::Random& random)
      : clock_(clock), random_(random) {}

  /// Begins with nothing: at start-up, after an opt-in and after a reset.
  void restart(std::string sessionId, std::string releaseId);
  /// Drops all visits and records none until the next restart. May be called with the identity
  /// boundary's lock held.
  void discard();
  /// Also for the visits that began before it was known.
  void setReleaseId(const std::string& releaseId);

  /// The user has come to a screen. The same screen again goes on with its visit, unless a boundary
  /// has come since. `now` is where the boundaries stand.
  void enter(Entry entry, Boundaries now);
  /// The visit in which the user has tapped; only where it can be told of.
  struct Tapped {
    std::string screenId;
    Boundaries since;
  };
  std::optional<Tapped> noteTap();
  void noteScroll();

  /// Ends the open visit; hands out all that have ended. Entry indices go on rising.
  std::vector<ScreenVisit> drain(ExitReason reason);

 private:
  void finishCurrent(ExitReason reason, std::uint64_t nowMs) ZARN_REQUIRES(lock_);

  // Constant after construction.
  const platform::Clock& clock_;
  platform::Random& random_;

  base::Mutex lock_{base::LockRank::leaf};
  std::optional<std::string> sessionId_ ZARN_GUARDED_BY(lock_);  // only while recording
  std::string releaseId_ ZARN_GUARDED_BY(lock_);
  std::uint32_t nextEntryIndex_ ZARN_GUARDED_BY(lock_) = 0;
  std::optional<ScreenVisit> currentVisit_ ZARN_GUARDED_BY(lock_);
  std::deque<ScreenVisit> pendingVisits_ ZARN_GUARDED_BY(lock_);
};

}  // namespace zarn::capture
