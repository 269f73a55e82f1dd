#include "desktop/life_events.h"

#include <utility>

#include "base/weakly.h"

namespace zarn::desktop {

struct ProcessLifeEvents::Listener {
  std::function<void(platform::LifeEvent)> happened;
  base::Scope scope;
};

void ProcessLifeEvents::start(std::function<void(platform::LifeEvent)> happened) {
  auto listener = std::make_shared<Listener>();
  listener->happened = std::move(happened);
  if (const auto former = exchange(std::move(listener))) former->scope.close();
}

void ProcessLifeEvents::stop() {
  if (const auto former = exchange(nullptr)) former->scope.close();
}

std::shared_ptr<ProcessLifeEvents::Listener> ProcessLifeEvents::exchange(
    std::shared_ptr<Listener> listener) {
  base::MutexLock lock(mutex_);
  return std::exchange(listener_, std::move(listener));
}

void ProcessLifeEvents::terminate() {
  std::shared_ptr<Listener> listener;
  {
    base::MutexLock lock(mutex_);
    if (std::exchange(isOver_, true)) return;
    listener = listener_;
  }
  if (!listener || !listener->happened) return;
  // Entered only while it has not been stopped, however late this thread gets here.
  if (const base::Scope::Call call(*listener->scope.gate()); call) {
    listener->happened(platform::LifeEvent::willTerminate);
  }
}

}  // namespace zarn::desktop
