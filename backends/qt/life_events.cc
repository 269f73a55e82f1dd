#include "qt/life_events.h"

#include <QGuiApplication>
#include <QWindow>
#include <algorithm>
#include <utility>

#include "base/weakly.h"
#include "qt/gui_thread.h"

namespace zarn::qt {
namespace {

bool canBeSeen(const QWindow* window) {
  return window->isVisible() && !(window->windowStates() & Qt::WindowMinimized);
}

}  // namespace

bool isAppInFront() {
  const Qt::ApplicationState state = QGuiApplication::applicationState();
  if (state == Qt::ApplicationSuspended || state == Qt::ApplicationHidden) return false;
  const auto windows = QGuiApplication::topLevelWindows();
  return std::any_of(windows.begin(), windows.end(), canBeSeen);
}

struct QtLifeEvents::Listener {
  std::function<void(platform::LifeEvent)> happened;
  base::Scope scope;
};

void QtLifeEvents::start(std::function<void(platform::LifeEvent)> happened) {
  auto listener = std::make_shared<Listener>();
  listener->happened = std::move(happened);
  if (const auto former = exchange(std::move(listener))) former->scope.close();
  plain_.start([this](platform::LifeEvent event) {
    if (event == platform::LifeEvent::willTerminate) terminate();
  });
  main_.post([this] {
    if (onGuiThread()) changing();
  });
}

void QtLifeEvents::stop() {
  plain_.stop();
  if (const auto former = exchange(nullptr)) former->scope.close();
}

std::shared_ptr<QtLifeEvents::Listener> QtLifeEvents::exchange(std::shared_ptr<Listener> listener) {
  base::MutexLock lock(mutex_);
  return std::exchange(listener_, std::move(listener));
}

void QtLifeEvents::changing() {
  if (std::exchange(willLook_, true)) return;
  main_.post([this] {
    if (!onGuiThread()) return;  // the loop has ended
    willLook_ = false;
    look();
  });
}

void QtLifeEvents::look() {
  {
    base::MutexLock lock(mutex_);
    if (!listener_) return;  // to be told once there is one
  }
  const Phase now = isAppInFront() ? Phase::front : Phase::back;
  if (now == phase_ || (now == Phase::back && phase_ == Phase::launching)) return;
  const Phase before = std::exchange(phase_, now);
  if (now == Phase::back) return tell(platform::LifeEvent::didEnterBackground);
  if (before == Phase::back) tell(platform::LifeEvent::willEnterForeground);
  tell(platform::LifeEvent::didBecomeActive);
}

void QtLifeEvents::terminate() {
  {
    base::MutexLock lock(mutex_);
    if (std::exchange(isOver_, true)) return;
  }
  tell(platform::LifeEvent::willTerminate);
}

void QtLifeEvents::tell(platform::LifeEvent event) {
  std::shared_ptr<Listener> listener;
  {
    base::MutexLock lock(mutex_);
    if (isOver_ && event != platform::LifeEvent::willTerminate) return;
    listener = listener_;
  }
  if (!listener || !listener->happened) return;
  // Entered only while it has not been stopped, however late this thread gets here.
  if (const base::Scope::Call call(*listener->scope.gate()); call) listener->happened(event);
}

}  // namespace zarn::qt
