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
#include <algorithm>

#include "base/fork_guard.h"
#include "qt/input_hit.h"
#include "qt/quick_views.h"
#include "qt/widget_views.h"

namespace zarn::qt {
namespace {

constexpr int kMouse = -1;  // no finger has this id
constexpr std::size_t kMostPresses = 20;

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
      if (presses_.empty()) return false;
      break;
    case QEvent::MouseButtonPress:
    case QEvent::MouseButtonRelease:
    case QEvent::TouchBegin:
    case QEvent::TouchUpdate:
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
    move(window, kMouse, mouse.position());
  } else if (mouse.button() != Qt::LeftButton) {
    return;
  } else if (event.type() == QEvent::MouseButtonPress) {
    presses_.clear();
    press(window, kMouse, mouse.position(), true);
  } else {
    release(window, kMouse, mouse, mouse.point(0));
  }
}

// A further finger is told of as an update, and so is the release of all but the last.
void InputHooks::touch(QWindow& window, QEvent& event) {
  auto& touch = static_cast<QTouchEvent&>(event);
  if (event.type() == QEvent::TouchBegin) presses_.clear();
  const bool isAlone = touch.points().size() == 1;
  for (Press& earlier : presses_) earlier.isTap = earlier.isTap && isAlone;
  for (const QEventPoint& point : touch.points()) {
    if (point.state() == QEventPoint::Pressed) {
      press(window, point.id(), point.position(), isAlone);
    } else if (point.state() == QEventPoint::Updated) {
      move(window, point.id(), point.position());
    } else if (point.state() == QEventPoint::Released) {
      release(window, point.id(), touch, point);
    }
  }
}

void InputHooks::press(QWindow& window, int finger, QPointF at, bool isTap) {
  if (presses_.size() == kMostPresses) return;
  QObject* const touched = touchedObject(inOuterWindow(window, at));
  scrolls_.pressed(touched,
                   finger == kMouse ? ScrollWatch::Hand::mouse : ScrollWatch::Hand::finger);
  QObject* const control = controlOf(touched);
  const bool isFirst = control != nullptr && isFirstOn(*control);
  presses_.push_back({finger, &window, at, isFirst ? control : nullptr, isTap});
}

// A control heeds no other finger than the one that holds it, and Widgets are told of one alone.
bool InputHooks::isFirstOn(const QObject& control) const {
  return std::none_of(presses_.begin(), presses_.end(), [&](const Press& other) {
    return control.isWidgetType() || other.control == &control;
  });
}

InputHooks::Press* InputHooks::find(const QWindow& window, int finger) {
  const auto found = std::find_if(presses_.begin(), presses_.end(), [&](const Press& press) {
    return press.finger == finger && press.window == &window;
  });
  return found != presses_.end() ? &*found : nullptr;
}

void InputHooks::move(const QWindow& window, int finger, QPointF at) {
  Press* const press = find(window, finger);
  if (press == nullptr || !press->isTap) return;
  press->isTap =
      (at - press->at).manhattanLength() <= QGuiApplication::styleHints()->startDragDistance();
}

void InputHooks::giveUp() {
  presses_.clear();
  scrolls_.released();
}

void InputHooks::release(QWindow& window, int finger, QPointerEvent& event,
                         const QEventPoint& point) {
  move(window, finger, point.position());
  Press* const found = find(window, finger);
  if (found == nullptr) {
    if (finger == kMouse) giveUp();
    return;
  }
  const Press press = *found;
  presses_.erase(presses_.begin() + (found - presses_.data()));
  if (presses_.empty()) scrolls_.released();
  const WindowPoint place = inOuterWindow(window, point.position());
  if (press.isTap) tellTap(*place.window, place.at);
  const QPointer<QObject> control = operatedControl(press.control, event, point, place.at);
  tellAll([&](const platform::InputListener& listener) {
    if (listener.activated && control) listener.activated(viewOf(*control));
  });
}

void InputHooks::tellTap(QWindow& window, QPointF at) {
  const QPointer<QWindow> tapped = &window;
  tellAll([&](const platform::InputListener& listener) {
    if (!listener.tapped || tapped.isNull()) return;
    const platform::View top = topOf(*tapped);
    if (top) listener.tapped({.window = top, .location = {at.x(), at.y()}});
  });
}

}  // namespace zarn::qt
