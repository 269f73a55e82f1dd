#include "qt/screen_hooks.h"

#include <QAbstractItemView>
#include <QEvent>
#include <QGuiApplication>
#include <QMetaMethod>
#include <QQuickWindow>
#include <QTimerEvent>
#include <algorithm>
#include <utility>

#include "base/fork_guard.h"
#include "qt/life_events.h"

namespace zarn::qt {
namespace {

// Between two looks at the screens, in milliseconds.
constexpr int kBetweenFrameScans = 100;
constexpr int kBetweenChangeScans = 16;

bool hasScreens(QWindow* window) {
  return window != nullptr && window->isVisible() && rootOf(*window);
}

// An item view that gets its first rows paints them, and nothing else tells of them.
bool showsRows(const QObject& painted) {
  return painted.isWidgetType() && qobject_cast<QAbstractItemView*>(painted.parent()) != nullptr;
}

}  // namespace

ScreenHooks::ScreenHooks(QObject& application) : QObject(&application) {
  clock_.start();
  const auto windows = QGuiApplication::topLevelWindows();
  for (QWindow* const window : windows) {
    if (auto* const quick = qobject_cast<QQuickWindow*>(window)) watch(*quick);
  }
  connect(qGuiApp, &QGuiApplication::focusWindowChanged, this, &ScreenHooks::onChange);
  connect(qGuiApp, &QGuiApplication::applicationStateChanged, this, &ScreenHooks::onChange);
  application.installEventFilter(this);
}

void ScreenHooks::add(platform::ScreenListener listener) {
  listeners_.push_back(std::move(listener));
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
    case QEvent::WindowStateChange:
    case QEvent::ChildAdded:
    case QEvent::ChildRemoved:
    case QEvent::LayoutRequest:
    case QEvent::Resize:
      break;
    case QEvent::Paint:
      if (!showsRows(*receiver)) return false;
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

// Covered, or minimised beside others, a window keeps its place: to look away is not to leave.
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
  if (window == nullptr || !isAppInFront()) {
    path_ = {};  // whoever comes back arrives anew
    return;
  }
  const ScreenRef root = rootOf(*window);
  const ScreenSight sight = lookFrom(root);
  if (!sight.isSettled || !connected_.leadsThroughSameScreens(sight.path)) {
    connectNotifiers(root, sight.path);
  }
  if (!sight.isSettled || !sight.leaf) return;  // a frame or a notifier tells of the end of it
  const std::uint64_t layout = sight.leaf.tree->layoutFingerprint(sight.leaf.node);
  const bool isLaidOut = std::exchange(layout_, layout) != layout;
  tellSight(sight, isLaidOut);
}

// What is told may bring more listeners, another look and, if a host's own code runs, the end of
// the screen.
void ScreenHooks::tellSight(const ScreenSight& sight, bool isLaidOut) {
  const QPointer<QObject> leaf = &sight.leaf.tree->object(sight.leaf.node);
  const ScreenPath before = std::exchange(path_, sight.path);
  const std::size_t known = std::exchange(known_, listeners_.size());
  const bool hasArrived = before.leafId() != sight.path.leafId();
  const bool hasNewcomers = known < known_;
  const auto change = hasArrived ? tabChange(before, sight.path) : std::nullopt;
  const bool isKnown = !hasArrived || (change && tellSelection(*change));
  if (leaf) tellAppeared(sight.leaf, isKnown ? known : 0);
  if (leaf && (hasArrived || hasNewcomers || isLaidOut)) tellLaidOut(sight.leaf);
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

template <typename Tell>
void ScreenHooks::tell(ScreenRef leaf, std::size_t first, Tell&& tellOne) {
  const QPointer<QObject> object = &leaf.tree->object(leaf.node);
  const std::size_t end = known_;
  for (std::size_t i = first; i < end && object; ++i) {
    tellOne(platform::ScreenListener(listeners_[i]));
  }
}

void ScreenHooks::tellAppeared(ScreenRef leaf, std::size_t first) {
  tell(leaf, first, [&](const platform::ScreenListener& listener) {
    if (listener.appeared) listener.appeared(leaf.screen());
  });
}

void ScreenHooks::tellLaidOut(ScreenRef leaf) {
  tell(leaf, 0, [&](const platform::ScreenListener& listener) {
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
