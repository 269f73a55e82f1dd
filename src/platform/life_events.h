// The app's own life: when it comes to the front, leaves it and ends.
#pragma once

#include <cstdint>
#include <functional>

namespace zarn::platform {

enum class LifeEvent : std::uint8_t {
  didBecomeActive,
  didEnterBackground,
  willEnterForeground,
  willTerminate,
  didReceiveMemoryWarning,
};

/// Any thread.
class LifeEvents {
 public:
  virtual ~LifeEvents() = default;
  /// Calls `happened` at each event until `stop`: on the host's user-interface thread where there
  /// is one, and inside the process's exit for `willTerminate`. One listener at a time.
  virtual void start(std::function<void(LifeEvent)> happened) = 0;
  /// No call begins after this returns, and it waits for one that runs on another thread: the
  /// caller must hold no lock that `happened` may take.
  virtual void stop() = 0;
};

}  // namespace zarn::platform
