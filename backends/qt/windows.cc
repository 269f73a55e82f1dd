#include "qt/windows.h"

#include <QGuiApplication>
#include <QImage>
#include <QPainter>
#include <QPointer>
#include <QQuickItem>
#include <QQuickWindow>
#include <QWidget>
#include <algorithm>
#include <cmath>
#include <cstring>

#include "base/fork_guard.h"
#include "qt/animators.h"
#include "qt/gui_thread.h"
#include "qt/input_hit.h"
#include "qt/quick_views.h"
#include "qt/widget_views.h"

namespace zarn::qt {
namespace {

constexpr double kMostPixelsASide = 16384;

QImage canvas(QSizeF points, double scale) {
  const double width = std::round(points.width() * scale);
  const double height = std::round(points.height() * scale);
  if (!(width >= 1 && height >= 1 && width <= kMostPixelsASide && height <= kMostPixelsASide)) {
    return {};
  }
  QImage made(static_cast<int>(width), static_cast<int>(height), QImage::Format_RGBX8888);
  if (!made.isNull()) made.fill(Qt::white);  // behind a window that can be seen through
  return made;
}

void copy(const QImage& image, double scale, platform::Bitmap& into) {
  into.width = image.width();
  into.height = image.height();
  into.scale = scale;
  const std::size_t row = static_cast<std::size_t>(image.width()) * 4;
  into.pixels.resize(row * static_cast<std::size_t>(image.height()));
  for (int y = 0; y < image.height(); ++y) std::memcpy(into.row(y), image.constScanLine(y), row);
}

bool isShown(const QWindow* window) {
  return window != nullptr && window->isVisible() && window->isExposed() &&
         !(window->windowStates() & Qt::WindowMinimized);
}

bool drawQuick(QQuickWindow& window, double scale, platform::Bitmap& into) {
  QImage target = canvas(QSizeF(window.size()), scale);
  if (target.isNull() || !isShown(&window)) return false;
  // Drawn without a graphics card, such a window would be cut off instead of made smaller.
  if (window.effectiveDevicePixelRatio() < 1) return false;
  if (hasRunningAnimator(*window.contentItem())) return false;
  QImage seen = window.grabWindow();
  if (seen.isNull()) return false;
  seen.setDevicePixelRatio(1);
  if (seen.size() != target.size()) {
    seen = seen.scaled(target.size(), Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
  }
  QPainter(&target).drawImage(0, 0, seen);
  copy(target, scale, into);
  return true;
}

bool drawWidget(QWidget& widget, double scale, platform::Bitmap& into) {
  QImage target = canvas(QSizeF(widget.size()), scale);
  if (target.isNull() || !isShown(widget.windowHandle())) return false;
  if (widget.testAttribute(Qt::WA_WState_InPaintEvent)) return false;
  {
    QPainter painter(&target);
    painter.setRenderHint(QPainter::SmoothPixmapTransform);
    painter.scale(scale, scale);
    widget.render(&painter);
  }
  copy(target, scale, into);
  return true;
}

/// The one in front comes first.
QList<QWindow*> topWindows() {
  QList<QWindow*> windows = QGuiApplication::topLevelWindows();
  QWindow* front = QGuiApplication::focusWindow();
  while (front != nullptr && front->parent() != nullptr) front = front->parent();
  if (const auto at = windows.indexOf(front); at > 0) windows.move(at, 0);
  return windows;
}

bool isOrdinary(const QWidget& widget) {
  const Qt::WindowType type = widget.windowType();
  return type != Qt::ToolTip && type != Qt::Popup && type != Qt::Desktop;
}

}  // namespace

void QtWindows::each(base::FunctionRef<bool(const platform::Window&)> visit) {
  if (!onGuiThread()) return;
  for (QWindow* const window : topWindows()) {
    if (!window->isVisible()) continue;
    platform::Window found;
    if (auto* const quick = qobject_cast<QQuickWindow*>(window)) {
      found.view = quickView(quick->contentItem());
      if (roots_.ofQuick) found.screen = roots_.ofQuick(*quick);
    } else if (QWidget* const widget = widgetIn(*window); widget && isOrdinary(*widget)) {
      found.view = widgetView(widget);
      if (roots_.ofWidget) found.screen = roots_.ofWidget(*widget);
    }
    if (found.view && !visit(found)) return;
  }
}

void QtWindows::listen(std::function<void()> becameKey) {
  if (qGuiApp == nullptr) return;  // has gone already
  QObject::connect(qGuiApp, &QGuiApplication::focusWindowChanged, qGuiApp,
                   [becameKey = std::move(becameKey)](QWindow* window) {
                     if (window != nullptr && onGuiThread()) becameKey();
                   });
}

bool QtWindows::draw(const platform::View& window, double maxWidth, platform::Bitmap& into) {
  if (!onGuiThread() || base::inForkedChild()) return false;
  const double width = window ? window.facts().size.width : 0;
  if (!(width > 0 && maxWidth > 0)) return false;
  const double scale = std::min(1.0, maxWidth / width);
  if (QQuickItem* const item = itemOf(window)) {
    return item->window() != nullptr && drawQuick(*item->window(), scale, into);
  }
  QWidget* const widget = widgetOf(window);
  return widget != nullptr && drawWidget(*widget, scale, into);
}

}  // namespace zarn::qt
