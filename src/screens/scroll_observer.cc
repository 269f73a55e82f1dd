#include "screens/scroll_observer.h"

#include <algorithm>

#include "platform/clock.h"

namespace zarn::screens {
namespace {

/// A view still moves after the finger has left it, and nobody tells when it stops.
constexpr base::Duration kDeceleration = base::seconds(1.5);

}  // namespace

void ScrollObserver::began(const platform::View& scroll) {
  {
    const base::MutexLock lock(scrollStateLock_);
    ++activeScrollCount_;
  }
  if (onScrollStart) onScrollStart(scroll);
}

void ScrollObserver::ended(const platform::View& scroll) {
  {
    const base::MutexLock lock(scrollStateLock_);
    activeScrollCount_ = std::max(activeScrollCount_ - 1, 0);
    lastScrollEndAt_ = clock_.monotonic();
  }
  if (onScrollEnd) onScrollEnd(scroll);
}

void ScrollObserver::appDidEnterBackground() {
  const base::MutexLock lock(scrollStateLock_);
  activeScrollCount_ = 0;
}

bool ScrollObserver::isScrolling() const {
  const base::MutexLock lock(scrollStateLock_);
  if (activeScrollCount_ > 0) return true;
  return lastScrollEndAt_ && clock_.monotonic() - *lastScrollEndAt_ < kDeceleration;
}

}  // namespace zarn::screens
