// InputHooks: the filter that QtInputEvents puts into the application. It sees every event of the
// app, so what it does for those that don't concern it must be next to nothing.
#pragma once

#include <QObject>
#include <QPointF>
#include <QPointer>
#include <vector>

#include "platform/input_events.h"
#include "qt/scroll_watch.h"

class QEventPoint;
class QPointerEvent;
class QWindow;

namespace zarn::qt {

/// GUI thread; belongs to the application and ends with it.
class InputHooks final : public QObject {
 public:
  explicit InputHooks(QObject& application);
  void add(platform::InputListener listener) { listeners_.push_back(std::move(listener)); }

  /// Never takes anything away.
  bool eventFilter(QObject* receiver, QEvent* event) override;

 private:
  /// A finger, or the mouse's button, that is down.
  struct Press {
    int finger;
    QPointer<QWindow> window;
    QPointF at;
    QPointer<QObject> control;
    bool isTap;  // so far there was no other, and it has stayed at its place
  };
  void handle(QWindow& window, QEvent& event);
  void mouse(QWindow& window, QEvent& event);
  void touch(QWindow& window, QEvent& event);
  void press(QWindow& window, int finger, QPointF at, bool isTap);
  void move(const QWindow& window, int finger, QPointF at);
  void release(QWindow& window, int finger, QPointerEvent& event, const QEventPoint& point);
  void tellTap(QWindow& window, QPointF at);
  void giveUp();
  Press* find(const QWindow& window, int finger);
  bool isFirstOn(const QObject& control) const;

  template <typename Tell>
  void tellAll(Tell&& tell) {
    for (std::size_t i = 0, count = listeners_.size(); i < count; ++i) {
      tell(platform::InputListener(listeners_[i]));
    }
  }

  std::vector<platform::InputListener> listeners_;
  std::vector<Press> presses_;
  ScrollWatch scrolls_;
};

}  // namespace zarn::qt
