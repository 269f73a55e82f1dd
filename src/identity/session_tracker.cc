#include "identity/session_tracker.h"

#include <utility>

#include "identity/random_uuid.h"
#include "platform/clock.h"

namespace zarn::identity {

using model::EventType;

SessionTracker::SessionTracker(base::Duration timeout, const platform::Clock& clock,
                               platform::Random& random, OnEvent onEvent)
    : timeout_(timeout),
      clock_(clock),
      random_(random),
      onEvent_(std::move(onEvent)),
      currentSessionId_(std::make_shared<const std::string>()) {}

void SessionTracker::start() {
  renew();
  onEvent_(EventType::sessionStart, "session_start");
}

void SessionTracker::renew() {
  auto fresh = std::make_shared<const std::string>(randomUuidText(random_));
  base::MutexLock lock(lock_);
  currentSessionId_.swap(fresh);
}

std::shared_ptr<const std::string> SessionTracker::currentSessionId() const {
  base::MutexLock lock(lock_);
  return currentSessionId_;
}

void SessionTracker::appDidEnterBackground() {
  // The user may set the wall clock, and a night asleep is time in the background too.
  const base::Duration now = clock_.continuous();
  base::MutexLock lock(lock_);
  backgroundTime_ = now;
}

void SessionTracker::appWillEnterForeground() {
  const base::Duration now = clock_.continuous();
  std::optional<base::Duration> since;
  {
    base::MutexLock lock(lock_);
    since = std::exchange(backgroundTime_, std::nullopt);
  }
  if (!since || now - *since <= timeout_) return;
  // Admitted before the id changes: it ends the old session.
  onEvent_(EventType::sessionEnd, "session_end");
  start();
}

void SessionTracker::appWillTerminate() {
  onEvent_(EventType::sessionEnd, "session_end");
}

}  // namespace zarn::identity
