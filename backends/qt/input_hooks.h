// InputHooks: the filter that QtInputEvents puts into the application. It sees every event of the
// app, so what it does for those that don't concern it must be next to nothing.
#pragma once

#include <QObject>
#include <QPointF>
#include <QPointer>
#include <vector>

#include "platform/input_events.h"
#include "qt/scroll_watch.h"

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
  struct Press {
    QPointer<QWindow> window;  // null while nothing is pressed
    QPointF at;
    QPointer<QObject> control;
    bool isTouch = false;
    bool isTap = false;  // so far it has stayed at its place
  };
  void handle(QWindow& window, QEvent& event);
  void mouse(QWindow& window, QEvent& event);
  void touch(QWindow& window, QEvent& event);
  void press(QWindow& window, QPointF at, bool isTouch);
  void move(QPointF at);
  void release(QPointerEvent& event, QPointF at);
  void giveUp();
  bool isNear(QPointF at) const;

  template <typename Tell>
  void tellAll(Tell&& tell) {
    for (std::size_t i = 0, count = listeners_.size(); i < count; ++i) {
      tell(platform::InputListener(listeners_[i]));
    }
  }

  std::vector<platform::InputListener> listeners_;
  Press press_;
  ScrollWatch scrolls_;
};

}  // namespace zarn::qt
