// The life of a process without a user interface: it is always in front, until it ends.
#pragma once

#include <functional>
#include <memory>

#include "base/mutex.h"
#include "platform/life_events.h"

namespace zarn::desktop {

/// Any thread. All that it ever tells is `willTerminate`, once.
class ProcessLifeEvents final : public platform::LifeEvents {
 public:
  ProcessLifeEvents() = default;
  ~ProcessLifeEvents() override { stop(); }

  void start(std::function<void(platform::LifeEvent)> happened) override;
  void stop() override;

  /// From the process's exit. The listener is called on this thread, with no lock of ours held, so
  /// that it can track, and even stop. Calls after the first one do nothing.
  void terminate();

 private:
  struct Listener;
  std::shared_ptr<Listener> exchange(std::shared_ptr<Listener> listener);

  base::Mutex mutex_{base::LockRank::leaf};
  std::shared_ptr<Listener> listener_ ZARN_GUARDED_BY(mutex_);
  bool isOver_ ZARN_GUARDED_BY(mutex_) = false;
};

}  // namespace zarn::desktop
