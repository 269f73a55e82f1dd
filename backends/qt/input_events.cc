#include "qt/input_events.h"

#include <QGuiApplication>
#include <QQuickItem>
#include <QWidget>

#include "qt/gui_thread.h"
#include "qt/input_hit.h"
#include "qt/input_hooks.h"
#include "qt/quick_views.h"
#include "qt/widget_views.h"

namespace zarn::qt {

QtInputEvents::QtInputEvents() = default;
QtInputEvents::~QtInputEvents() {
  end();
}

void QtInputEvents::end() {
  delete hooks_;
}

void QtInputEvents::listen(platform::InputListener listener) {
  if (!onGuiThread() || qGuiApp == nullptr) return;
  if (hooks_.isNull()) hooks_ = new InputHooks(*qGuiApp);
  hooks_->add(std::move(listener));
}

platform::View QtInputEvents::hitTest(const platform::View& window, base::Point location) {
  if (!onGuiThread()) return {};
  const QPointF point(location.x, location.y);
  if (QQuickItem* const root = itemOf(window)) return quickView(touchedItem(*root, point));
  QWidget* const widget = widgetOf(window);
  return widget != nullptr ? widgetView(touchedWidget(*widget, point)) : platform::View();
}

}  // namespace zarn::qt
