#include "qt/screen_hooks.h"

#include <QEvent>
#include <QGuiApplication>
#include <QMetaMethod>
#include <QQuickWindow>
#include <QTimerEvent>
#include <algorithm>
#include <utility>

#include "base/fork_guard.h"

namespace zarn::qt {
namespace {

// Between two looks at the screens, in milliseconds.
constexpr int kBetweenFrameScans = 100;
constexpr int kBetweenChangeScans = 16;

bool hasScreens(QWindow* window) {
  return window != nullptr && window->isVisible() && rootOf(*window);
}

}  // namespace

ScreenHooks::ScreenHooks(QObject& application) : QObject(&application) {
  clock_.start();
  const auto windows = QGuiApplication::topLevelWindows();
  for (QWindow* const window : windows) {
    if (auto* const quick = qobject_cast<QQuickWindow*>(window)) watch(*quick);
  }
  connect(qGuiApp, &QGuiApplication::focusWindowChanged, this, &ScreenHooks::onChange);
  application.installEventFilter(this);
}

void ScreenHooks::add(platform::ScreenListener listener) {
  listeners_.push_back(std::move(listener));
  ++newcomers_;
  onChange();
}

void ScreenHooks::add(std::shared_ptr<Selection> selection) {
  forgetSelections();
  selections_.push_back(std::move(selection));
}

void ScreenHooks::forgetSelections() {
  const auto isGone = [](const std::shared_ptr<Selection>& selection) {
    return selection->isOver || !selection->tabs.lock();
  };
  selections_.erase(std::remove_if(selections_.begin(), selections_.end(), isGone),
                    selections_.end());
}

bool ScreenHooks::eventFilter(QObject* receiver, QEvent* event) {
  switch (event->type()) {
    case QEvent::Expose:
    case QEvent::Hide:
    case QEvent::Show:
    case QEvent::ChildAdded:
    case QEvent::ChildRemoved:
    case QEvent::LayoutRequest:
    case QEvent::Resize:
      break;
    default:
      return false;
  }
  if (base::inForkedChild()) return false;
  if (receiver->isWindowType()) {
    if (event->type() == QEvent::Resize) return false;  // a frame follows
    // Only here: a window that hides may have lost what makes it one of Qt Quick's.
    auto* const quick =
        event->type() == QEvent::Show ? qobject_cast<QQuickWindow*>(receiver) : nullptr;
    if (quick != nullptr) watch(*quick);
    onChange();
  } else if (receiver->isWidgetType() && event->type() != QEvent::Expose) {
    onFrame();
  }
  return false;
}

void ScreenHooks::watch(QQuickWindow& window) {
  connect(&window, &QQuickWindow::afterAnimating, this, &ScreenHooks::onFrame,
          Qt::UniqueConnection);
}

void ScreenHooks::onFrame() {
  scanWithin(kBetweenFrameScans);
}

void ScreenHooks::onChange() {
  scanWithin(kBetweenChangeScans);
}

void ScreenHooks::scanWithin(int milliseconds) {
  if (base::inForkedChild()) return;
  const qint64 now = clock_.elapsed();
  const qint64 due = std::max(now, scannedAt_ + milliseconds);
  if (timer_.isActive() && dueAt_ <= due) return;
  dueAt_ = due;
  timer_.start(static_cast<int>(due - now), Qt::PreciseTimer, this);
}

void ScreenHooks::timerEvent(QTimerEvent* event) {
  if (event->timerId() != timer_.timerId()) return;
  timer_.stop();
  if (base::inForkedChild()) return;
  scannedAt_ = clock_.elapsed();
  scan();
}

// Minimised or covered, a window keeps its place: to look away is not to leave.
QWindow* ScreenHooks::windowInFront() {
  QWindow* const focused = QGuiApplication::focusWindow();
  if (hasScreens(focused) && focused->isExposed()) front_ = focused;
  if (hasScreens(front_)) return front_;
  front_ = nullptr;
  const auto windows = QGuiApplication::topLevelWindows();
  for (QWindow* const window : windows) {
    if (hasScreens(window) && window->isExposed()) front_ = window;
  }
  return front_;
}

void ScreenHooks::scan() {
  ++scanCount_;
  QWindow* const window = windowInFront();
  if (window == nullptr) {
    path_ = {};
    return;
  }
  const ScreenRef root = rootOf(*window);
  const ScreenSight sight = lookFrom(root);
  if (!sight.isSettled || !connected_.leadsThroughSameScreens(sight.path)) {
    connectNotifiers(root, sight.path);
  }
  if (!sight.isSettled || !sight.leaf) return;  // a frame or a notifier tells of the end of it
  const std::uint64_t layout = sight.leaf.tree->layoutFingerprint(sight.leaf.node);
  const std::size_t told = newcomers_;
  const bool isLaidOut = layout != layout_;
  layout_ = layout;
  if (path_.leafId() != sight.path.leafId()) {
    arrive(sight);
  } else {
    path_ = sight.path;
    if (newcomers_ > 0) tellAppeared(sight.leaf, Told::newcomers);
    if (isLaidOut || newcomers_ > 0) tellLaidOut(sight.leaf, Told::everybody);
  }
  newcomers_ -= told;
}

void ScreenHooks::arrive(const ScreenSight& sight) {
  const ScreenPath before = std::exchange(path_, sight.path);
  const QPointer<QObject> leaf = &sight.leaf.tree->object(sight.leaf.node);
  const auto change = tabChange(before, sight.path);
  const bool isTold = change && tellSelection(*change);
  if (leaf) tellAppeared(sight.leaf, isTold ? Told::newcomers : Told::everybody);
  if (leaf) tellLaidOut(sight.leaf, Told::everybody);
}

bool ScreenHooks::tellSelection(const TabChange& change) {
  forgetSelections();
  const auto selections = selections_;
  bool isTold = false;
  for (const auto& selection : selections) {
    if (selection->id != change.tabs || selection->isOver) continue;
    isTold = true;
    selection->changed(change.former, change.now);
  }
  return isTold;
}

// What is told may bring more listeners and, if a host's own code runs, the end of the screen.
template <typename Tell>
void ScreenHooks::tell(ScreenRef leaf, Told told, Tell&& tellOne) {
  const QPointer<QObject> object = &leaf.tree->object(leaf.node);
  const std::size_t count = listeners_.size();
  for (std::size_t i = told == Told::newcomers ? count - newcomers_ : 0; i < count && object; ++i) {
    tellOne(platform::ScreenListener(listeners_[i]));
  }
}

void ScreenHooks::tellAppeared(ScreenRef leaf, Told told) {
  tell(leaf, told, [&](const platform::ScreenListener& listener) {
    if (listener.appeared) listener.appeared(leaf.screen());
  });
}

void ScreenHooks::tellLaidOut(ScreenRef leaf, Told told) {
  tell(leaf, told, [&](const platform::ScreenListener& listener) {
    if (listener.laidOut) listener.laidOut(leaf.screen());
  });
}

void ScreenHooks::connectNotifiers(ScreenRef root, const ScreenPath& path) {
  connected_ = path;
  static const QMetaMethod slot =
      staticMetaObject.method(staticMetaObject.indexOfSlot("onChange()"));
  const auto connectAll = [this](ScreenTree& tree, ScreenTree::Node node) {
    tree.eachNotifier(node, [this](QObject& object, const char* name) {
      const QMetaObject& type = *object.metaObject();
      const int index = type.indexOfSignal(name);
      if (index >= 0) connect(&object, type.method(index), this, slot, Qt::UniqueConnection);
    });
  };
  ScreenTree& tree = *root.tree;
  ScreenTree::Node node = root.node;
  for (int i = 0; i < path.count && node != nullptr; ++i) {
    connectAll(tree, node);
    node = nextInSight(tree, node);
  }
}

}  // namespace zarn::qt
