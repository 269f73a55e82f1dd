// ScrollObserver: whether the user is scrolling, deceleration included.
#pragma once

#include <functional>
#include <optional>

#include "base/executor.h"
#include "base/mutex.h"
#include "platform/view.h"

namespace zarn::platform {
class Clock;
}

namespace zarn::screens {

class ScrollObserver {
 public:
  explicit ScrollObserver(const platform::Clock& clock) : clock_(clock) {}

  // Main thread. Both may be empty; set before the first scroll.
  std::function<void(const platform::View&)> onScrollStart;
  std::function<void(const platform::View&)> onScrollEnd;

  /// Main thread.
  void began(const platform::View& scroll);
  void ended(const platform::View& scroll);
  /// The end of a scroll may never be told once the app is in the background.
  void appDidEnterBackground();

  /// Any thread.
  bool isScrolling() const;

 private:
  const platform::Clock& clock_;
  mutable base::Mutex scrollStateLock_{base::LockRank::leaf};
  int activeScrollCount_ ZARN_GUARDED_BY(scrollStateLock_) = 0;
  std::optional<base::Duration> lastScrollEndAt_ ZARN_GUARDED_BY(scrollStateLock_);
};

}  // namespace zarn::screens
