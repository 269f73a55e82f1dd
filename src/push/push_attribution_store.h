// PushAttributionStore: remembers the push message that was opened last, across launches, and for
// a window of time marks every event with it.
#pragma once

#include <atomic>
#include <cstdint>
#include <optional>
#include <string>

#include "base/mutex.h"
#include "zarn/value.h"

namespace zarn::platform {
class Clock;
class Defaults;
}  // namespace zarn::platform
namespace zarn::redaction {
class PiiFilter;
}

namespace zarn::push {

struct Attribution {
  std::string pushId;
  std::optional<std::string> campaignId, deliveryId, jobId, sendId, contentHash;
  double capturedAt = 0;  // seconds since 1970, to the millisecond
};

/// From the properties of an opening; nothing without a push id. It is kept across launches, so
/// what came with the payload passes the filter for personal data first.
std::optional<Attribution> attributionTo(const Properties& opened,
                                         const std::optional<std::string>& sendId,
                                         const redaction::PiiFilter& filter);

/// Any thread. The defaults are written with the lock held, so that they hold what memory holds.
class PushAttributionStore {
 public:
  /// Goes on with what an earlier launch has left, unless it is past the window.
  PushAttributionStore(const std::string& projectId, double windowSeconds,
                       platform::Defaults& defaults, const platform::Clock& clock);

  /// What an event of this moment is to carry; allocates nothing when that is nothing. Past the
  /// window, or when the clock was set back behind the opening, the attribution ends.
  Properties attach();

  /// As of now. Replaces the one before.
  void capture(Attribution attribution);

  void clear();

 private:
  bool isInWindow(std::int64_t ageMs) const;
  std::int64_t ageMs(const Attribution& attribution) const;
  void restore();
  void replaceLocked(std::optional<Attribution> attribution) ZARN_REQUIRES(lock_);

  // Constant after construction.
  const std::string defaultsKey_;
  const double windowSeconds_;
  platform::Defaults& defaults_;
  const platform::Clock& clock_;

  base::Mutex lock_{base::LockRank::producer};
  std::optional<Attribution> current_ ZARN_GUARDED_BY(lock_);
  std::atomic<bool> hasCurrent_ = false;  // written with lock_ held
};

}  // namespace zarn::push
