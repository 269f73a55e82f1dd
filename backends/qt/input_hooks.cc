#include "qt/input_hooks.h"

#include <QGuiApplication>
#include <QMouseEvent>
#include <QPointingDevice>
#include <QQuickItem>
#include <QQuickWindow>
#include <QStyleHints>
#include <QTouchEvent>
#include <QWheelEvent>
#include <QWidget>
#include <utility>

#include "base/fork_guard.h"
#include "qt/input_hit.h"
#include "qt/quick_views.h"
#include "qt/widget_views.h"

namespace zarn::qt {
namespace {

platform::View topOf(QWindow& window) {
  if (auto* const quick = qobject_cast<QQuickWindow*>(&window)) {
    return quickView(quick->contentItem());
  }
  return widgetView(widgetIn(window));
}

platform::View viewOf(QObject& control) {
  if (auto* const widget = qobject_cast<QWidget*>(&control)) return widgetView(widget);
  return quickView(qobject_cast<QQuickItem*>(&control));
}

// Qt makes mouse events of touches that nobody has taken: those have been seen already.
bool comesFromTouch(const QMouseEvent& event) {
  const QPointingDevice* const device = event.pointingDevice();
  return device != nullptr && device->type() == QInputDevice::DeviceType::TouchScreen;
}

}  // namespace

InputHooks::InputHooks(QObject& application)
    : QObject(&application),
      scrolls_(
          nullptr,
          [this](const platform::View& scroll) {
            tellAll([&](const platform::InputListener& listener) {
              if (listener.scrollBegan) listener.scrollBegan(scroll);
            });
          },
          [this](const platform::View& scroll) {
            tellAll([&](const platform::InputListener& listener) {
              if (listener.scrollEnded) listener.scrollEnded(scroll);
            });
          }) {
  application.installEventFilter(this);
}

// Windows get each event first, and hand it to items or widgets, which the filter would see too.
bool InputHooks::eventFilter(QObject* receiver, QEvent* event) {
  switch (event->type()) {
    case QEvent::MouseMove:
    case QEvent::TouchUpdate:
      if (press_.window.isNull()) return false;
      break;
    case QEvent::MouseButtonPress:
    case QEvent::MouseButtonRelease:
    case QEvent::TouchBegin:
    case QEvent::TouchEnd:
    case QEvent::TouchCancel:
    case QEvent::Wheel:
      break;
    default:
      return false;
  }
  if (!receiver->isWindowType() || base::inForkedChild()) return false;
  auto& window = static_cast<QWindow&>(*receiver);
  // A scene inside of a widget has a window that the system knows nothing of, and gets its events
  // from the widget.
  if (window.handle() != nullptr) handle(window, *event);
  return false;
}

void InputHooks::handle(QWindow& window, QEvent& event) {
  switch (event.type()) {
    case QEvent::TouchBegin:
    case QEvent::TouchUpdate:
    case QEvent::TouchEnd:
      touch(window, event);
      return;
    case QEvent::TouchCancel:
      giveUp();
      return;
    case QEvent::Wheel:
      scrolls_.wheeled(
          touchedObject(inOuterWindow(window, static_cast<QWheelEvent&>(event).position())));
      return;
    default:
      mouse(window, event);
      return;
  }
}

void InputHooks::mouse(QWindow& window, QEvent& event) {
  auto& mouse = static_cast<QMouseEvent&>(event);
  if (comesFromTouch(mouse)) return;
  if (event.type() == QEvent::MouseMove) {
    if (!press_.isTouch) move(mouse.position());
  } else if (mouse.button() != Qt::LeftButton) {
    return;
  } else if (event.type() == QEvent::MouseButtonPress) {
    press(window, mouse.position(), false);
  } else if (!press_.isTouch && press_.window == &window) {
    release(mouse, mouse.position());
  } else {
    giveUp();
  }
}

void InputHooks::touch(QWindow& window, QEvent& event) {
  auto& touch = static_cast<QTouchEvent&>(event);
  if (touch.points().isEmpty()) return;
  const QPointF at = touch.points().first().position();
  if (touch.points().size() > 1) {
    giveUp();
  } else if (event.type() == QEvent::TouchBegin) {
    press(window, at, true);
  } else if (!press_.isTouch || press_.window != &window) {
    return;
  } else if (event.type() == QEvent::TouchUpdate) {
    move(at);
  } else {
    release(touch, at);
  }
}

void InputHooks::press(QWindow& window, QPointF at, bool isTouch) {
  press_ = {.window = &window, .at = at, .control = nullptr, .isTouch = isTouch, .isTap = true};
  QObject* const touched = touchedObject(inOuterWindow(window, at));
  press_.control = controlOf(touched);
  scrolls_.pressed(touched, isTouch ? ScrollWatch::Hand::finger : ScrollWatch::Hand::mouse);
}

void InputHooks::move(QPointF at) {
  press_.isTap = press_.isTap && isNear(at);
}

bool InputHooks::isNear(QPointF at) const {
  return (at - press_.at).manhattanLength() <= QGuiApplication::styleHints()->startDragDistance();
}

void InputHooks::giveUp() {
  press_ = {};
  scrolls_.released();
}

void InputHooks::release(QPointerEvent& event, QPointF at) {
  move(at);
  const Press press = std::exchange(press_, {});
  scrolls_.released();
  const WindowPoint place = inOuterWindow(*press.window, at);
  if (press.isTap) {
    const QPointer<QWindow> window = place.window;
    const base::Point location{place.at.x(), place.at.y()};
    tellAll([&](const platform::InputListener& listener) {
      if (!listener.tapped || window.isNull()) return;
      const platform::View top = topOf(*window);
      if (top) listener.tapped({.window = top, .location = location});
    });
  }
  const QPointer<QObject> control = operatedControl(press.control, event, place.at);
  tellAll([&](const platform::InputListener& listener) {
    if (listener.activated && control) listener.activated(viewOf(*control));
  });
}

}  // namespace zarn::qt
