// SessionTracker: the analytics session, from the start on, and anew after a long stay in the
// background.
//
//   start()                        fresh id, session_start
//   background, then foreground    session_end under the old id, then start() when more than the
//                                  time-out has passed; otherwise nothing
//   termination                    session_end; the session stays as it is
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "base/executor.h"
#include "base/mutex.h"
#include "model/event.h"

namespace zarn::platform {
class Clock;
class Random;
}  // namespace zarn::platform

namespace zarn::identity {

/// Any thread.
class SessionTracker {
 public:
  /// Called without a lock held.
  using OnEvent = std::function<void(model::EventType, std::string_view name)>;

  SessionTracker(base::Duration timeout, const platform::Clock& clock, platform::Random& random,
                 OnEvent onEvent);

  void start();
  /// A new id without an event, for a privacy boundary.
  void renew();
  /// Empty before the start.
  std::shared_ptr<const std::string> currentSessionId() const;

  void appDidEnterBackground();
  void appWillEnterForeground();
  void appWillTerminate();

 private:
  // Constant after construction.
  const base::Duration timeout_;
  const platform::Clock& clock_;
  platform::Random& random_;
  const OnEvent onEvent_;

  mutable base::Mutex lock_{base::LockRank::session};
  std::shared_ptr<const std::string> currentSessionId_ ZARN_GUARDED_BY(lock_);
  std::optional<base::Duration> backgroundTime_ ZARN_GUARDED_BY(lock_);
};

}  // namespace zarn::identity
