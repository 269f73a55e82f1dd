#include "qt/scroll_watch.h"

#include <QAbstractScrollArea>
#include <QGuiApplication>
#include <QMetaMethod>
#include <QQuickItem>
#include <QQuickWindow>
#include <QScrollBar>
#include <QTimerEvent>
#include <QWidget>
#include <algorithm>

#include "base/fork_guard.h"
#include "qt/quick_views.h"
#include "qt/screen_classes.h"
#include "qt/widget_views.h"

namespace zarn::qt {
namespace {

constexpr int kQuietMs = 200;  // bars that have not moved for so long have stopped
constexpr int kAfterHandMs =
    400;  // what moves bars later than this is the app, unless they move on
constexpr int kMostAncestors = 64;

platform::View viewOf(QObject* object) {
  if (object == nullptr) return {};
  if (auto* const widget = qobject_cast<QWidget*>(object)) return widgetView(widget);
  if (auto* const window = qobject_cast<QQuickWindow*>(object)) {
    return quickView(window->contentItem());
  }
  return quickView(qobject_cast<QQuickItem*>(object));
}

QObject* windowOf(QObject& object) {
  if (auto* const widget = qobject_cast<QWidget*>(&object)) return widget->window();
  return static_cast<QQuickItem&>(object).window();
}

}  // namespace

void ScrollWatch::pressed(QObject* touched, Hand hand) {
  hand_ = hand;
  watch(touched);
}

void ScrollWatch::released() {
  hand_ = Hand::none;
  sinceHand_.start();
}

void ScrollWatch::wheeled(QObject* touched) {
  watch(touched);
}

void ScrollWatch::watch(QObject* touched) {
  sinceHand_.start();
  watchFlickables(qobject_cast<QQuickItem*>(touched));
  watchAreas(qobject_cast<QWidget*>(touched));
}

void ScrollWatch::watchFlickables(QQuickItem* item) {
  static const QMetaMethod slot =
      staticMetaObject.method(staticMetaObject.indexOfSlot("onFlickableMoving()"));
  for (int i = 0; item != nullptr && i < kMostAncestors; item = item->parentItem(), ++i) {
    const ItemClass kind = itemClass(*item);
    if (kind != ItemClass::cells && kind != ItemClass::flickable) continue;
    const QMetaObject& type = *item->metaObject();
    const int moving = type.indexOfSignal("movingChanged()");
    if (moving >= 0) connect(item, type.method(moving), this, slot, Qt::UniqueConnection);
  }
}

void ScrollWatch::watchAreas(QWidget* widget) {
  for (; widget != nullptr; widget = widget->isWindow() ? nullptr : widget->parentWidget()) {
    auto* const area = qobject_cast<QAbstractScrollArea*>(widget);
    if (area == nullptr) continue;
    for (const QScrollBar* const bar : {area->verticalScrollBar(), area->horizontalScrollBar()}) {
      connect(bar, &QScrollBar::valueChanged, this, &ScrollWatch::onBarMoved, Qt::UniqueConnection);
    }
  }
}

void ScrollWatch::onFlickableMoving() {
  QObject* const flickable = sender();
  if (flickable == nullptr || base::inForkedChild()) return;
  if (!toolkitProperty(*flickable, "moving").toBool()) {
    end(flickable);
  } else if (!isRunning(*flickable)) {
    connect(flickable, &QObject::destroyed, this, &ScrollWatch::onFlickableGone,
            Qt::UniqueConnection);
    begin(*flickable);
  }
}

// The tree that it stood in is being taken down just now.
void ScrollWatch::onFlickableGone(QObject* flickable) {
  QMetaObject::invokeMethod(
      this, [this, flickable] { end(flickable); }, Qt::QueuedConnection);
}

void ScrollWatch::onBarMoved() {
  QObject* object = sender();
  while (object != nullptr && qobject_cast<QAbstractScrollArea*>(object) == nullptr) {
    object = object->parent();
  }
  if (object == nullptr || base::inForkedChild()) return;
  if (!isRunning(*object)) {
    if (!isHeld() && !(sinceHand_.isValid() && sinceHand_.elapsed() < kAfterHandMs)) return;
    begin(*object);
  }
  areasTimer_.start(kQuietMs, this);
}

void ScrollWatch::timerEvent(QTimerEvent* event) {
  if (event->timerId() != areasTimer_.timerId() || isHeld()) return;  // held still: not yet over
  areasTimer_.stop();
  if (base::inForkedChild()) return;
  std::vector<Running> ended;
  const auto isArea = [](const Running& running) {
    return running.object.isNull() ? running.window.isNull() || running.window->isWidgetType()
                                   : running.object->isWidgetType();
  };
  std::copy_if(running_.begin(), running_.end(), std::back_inserter(ended), isArea);
  running_.erase(std::remove_if(running_.begin(), running_.end(), isArea), running_.end());
  for (const Running& scroll : ended) tellEnd(scroll);
}

// Of a drag and drop no release is told.
bool ScrollWatch::isHeld() const {
  return hand_ == Hand::finger ||
         (hand_ == Hand::mouse && QGuiApplication::mouseButtons() != Qt::NoButton);
}

bool ScrollWatch::isRunning(const QObject& object) const {
  return std::any_of(running_.begin(), running_.end(),
                     [&](const Running& running) { return running.object == &object; });
}

void ScrollWatch::begin(QObject& object) {
  running_.push_back({&object, &object, windowOf(object)});
  began_(viewOf(&object));
}

void ScrollWatch::end(const QObject* object) {
  const auto found = std::find_if(running_.begin(), running_.end(), [&](const Running& running) {
    return running.address == object;
  });
  if (found == running_.end()) return;
  const Running ended = *found;
  running_.erase(found);
  tellEnd(ended);
}

// Of one that has died the window is told, or no view at all.
void ScrollWatch::tellEnd(const Running& ended) {
  ended_(viewOf(ended.object.isNull() ? ended.window.data() : ended.object.data()));
}

}  // namespace zarn::qt
