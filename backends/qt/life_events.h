// QtLifeEvents: the app is in front while a window of it can be seen. Losing the keys to another
// app is no way to the back.
//
//   launching -> front   the first window is shown: didBecomeActive
//   front -> back        no window can be seen, or the system says so: didEnterBackground
//   back -> front        willEnterForeground, didBecomeActive
//   any -> over          the loop or the process ends: willTerminate, once
#pragma once

#include <cstdint>
#include <functional>
#include <memory>

#include "base/executor.h"
#include "base/mutex.h"
#include "platform/life_events.h"

namespace zarn::qt {

/// Thread of the user interface.
bool isAppInFront();

/// Tells no memory warnings: Qt has none to tell.
class QtLifeEvents final : public platform::LifeEvents {
 public:
  /// `plain` tells of the process's end.
  QtLifeEvents(platform::LifeEvents& plain, base::Executor& main) : plain_(plain), main_(main) {}

  void start(std::function<void(platform::LifeEvent)> happened) override;
  void stop() override;

  /// The state of the app or of a window has changed or is about to: a look is taken soon, one for
  /// many calls. Thread of the user interface.
  void changing();
  /// The end, whichever source tells of it first.
  void terminate();

 private:
  enum class Phase : std::uint8_t { launching, front, back };
  struct Listener;
  void look();
  void tell(platform::LifeEvent event);
  std::shared_ptr<Listener> exchange(std::shared_ptr<Listener> listener);

  // Constant after construction.
  platform::LifeEvents& plain_;
  base::Executor& main_;

  // Thread of the user interface only.
  Phase phase_ = Phase::launching;
  bool willLook_ = false;

  base::Mutex mutex_{base::LockRank::leaf};
  std::shared_ptr<Listener> listener_ ZARN_GUARDED_BY(mutex_);
  bool isOver_ ZARN_GUARDED_BY(mutex_) = false;
};

}  // namespace zarn::qt
