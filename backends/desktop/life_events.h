// The life of a process without a user interface: it is always in front, until it ends.
#pragma once

#include <functional>
#include <utility>

#include "base/mutex.h"
#include "platform/life_events.h"

namespace zarn::desktop {

class ProcessLifeEvents final : public platform::LifeEvents {
 public:
  void start(std::function<void(platform::LifeEvent)> happened) override {
    base::MutexLock lock(mutex_);
    happened_ = std::move(happened);
  }
  void stop() override { start(nullptr); }

  /// From the process's exit.
  void terminate() {
    std::function<void(platform::LifeEvent)> happened;
    {
      base::MutexLock lock(mutex_);
      happened = happened_;
    }
    if (happened) happened(platform::LifeEvent::willTerminate);
  }

 private:
  base::Mutex mutex_{base::LockRank::leaf};
  std::function<void(platform::LifeEvent)> happened_ ZARN_GUARDED_BY(mutex_);
};

}  // namespace zarn::desktop
