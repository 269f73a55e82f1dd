// Which view a press is for: the look that Qt takes itself when it delivers one. GUI thread.
#pragma once

#include <QPointF>

class QEventPoint;
class QObject;
class QPointerEvent;
class QQuickItem;
class QWidget;
class QWindow;

namespace zarn::qt {

/// The topmost item in `root` at this point of the window that takes presses; null without.
QQuickItem* touchedItem(QQuickItem& root, QPointF point);
/// The widget there, down to the smallest; null outside.
QWidget* touchedWidget(QWidget& window, QPointF point);
/// The widget that fills a window of Widgets; null for another window.
QWidget* widgetIn(const QWindow& window);

struct WindowPoint {
  QWindow* window;
  QPointF at;
};
/// A widget may have a window of its own within that of the widgets around it, and gets its events
/// there: this is where such a point lies in the window around all of them.
WindowPoint inOuterWindow(QWindow& window, QPointF at);
/// The item or the widget there.
QObject* touchedObject(WindowPoint point);

/// The control that a press on this item or widget would operate, one or the other as well; null
/// without one. A field to type into is none.
QObject* controlOf(QObject* touched);
/// The control that the release of a finger or button at this place operates, after its press on
/// `pressed`: none when the press has been taken away from it, or when the place is outside.
QObject* operatedControl(QObject* pressed, const QPointerEvent& event, const QEventPoint& released,
                         QPointF place);

}  // namespace zarn::qt
