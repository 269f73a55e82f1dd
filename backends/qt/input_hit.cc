#include "qt/input_hit.h"

#include <QApplication>
#include <QPointerEvent>
#include <QQuickItem>
#include <QQuickWindow>
#include <QWidget>
#include <algorithm>
#include <limits>

#include "qt/class_kinds.h"
#include "qt/quick_views.h"
#include "qt/screen_classes.h"
#include "qt/widget_views.h"

namespace zarn::qt {
namespace {

constexpr int kMaxDepth = 96;
constexpr int kBudget = 4000;  // items
constexpr int kMostAncestors = 64;

bool hasModalPopup(const QQuickItem& overlay) {
  const auto popups = overlay.childItems();
  return std::any_of(popups.begin(), popups.end(), [](const QQuickItem* item) {
    return itemClass(*item) == ItemClass::popup && item->isVisible() && item->parent() != nullptr &&
           toolkitProperty(*item->parent(), "modal").toBool();
  });
}

bool takesPresses(QQuickItem& item) {
  if (itemClass(item) == ItemClass::overlay) return hasModalPopup(item);
  if (item.acceptedMouseButtons() != Qt::NoButton || item.acceptTouchEvents()) return true;
  return quickView(&item).facts().hasTapGesture;
}

// To find the place in an item costs much more than these questions.
bool cannotBeTouched(const QQuickItem& item, const QList<QQuickItem*>& children) {
  return children.isEmpty() && item.children().isEmpty() &&
         item.acceptedMouseButtons() == Qt::NoButton && !item.acceptTouchEvents();
}

struct HitSearch {
  int budget = kBudget;

  // In the order in which presses are delivered: from the front to the back.
  QQuickItem* find(QQuickItem& item, const QQuickItem* parent, QPointF pointInParent, int depth) {
    if (!item.isVisible() || !item.isEnabled() || --budget < 0 || depth > kMaxDepth) return nullptr;
    const QList<QQuickItem*> children = item.childItems();
    // Texts take presses too, for the sake of the links that they might hold.
    if (cannotBeTouched(item, children) || itemClass(item) == ItemClass::text) return nullptr;
    const QPointF point =
        parent != nullptr ? item.mapFromItem(parent, pointInParent) : pointInParent;
    const bool isInside = item.contains(point);
    if (item.clip() && !isInside) return nullptr;
    if (QQuickItem* const hit = findIn(children, item, point, depth, true)) return hit;
    if (isInside && takesPresses(item)) return &item;
    return findIn(children, item, point, depth, false);
  }

  // Children behind their parent are those with a negative z. Siblings are few that overlap: the
  // raised ones first, by one pass for each height there is.
  QQuickItem* findIn(const QList<QQuickItem*>& children, const QQuickItem& parent, QPointF point,
                     int depth, bool inFront) {
    double below = std::numeric_limits<double>::infinity();
    while (true) {
      double height = -std::numeric_limits<double>::infinity();
      for (const QQuickItem* const child : children) {
        if ((child->z() >= 0) == inFront && child->z() < below)
          height = std::max(height, child->z());
      }
      if (height == -std::numeric_limits<double>::infinity()) return nullptr;
      for (qsizetype i = children.size() - 1; i >= 0; --i) {
        QQuickItem& child = *children[i];
        if (child.z() != height) continue;
        if (QQuickItem* const hit = find(child, &parent, point, depth + 1)) return hit;
      }
      below = height;
    }
  }
};

bool isOperable(const platform::ViewFacts& facts) {
  // A field may be one to read only, and is not operated by itself.
  const bool isControl = facts.isControl && facts.kind != platform::ViewKind::textField;
  return (isControl || facts.hasTapGesture) && !facts.isDisabled;
}

// Sliders, dials and spin boxes tell of a new value, and of no press.
bool onlyHoldsValue(const QObject& object) {
  const ClassFacts type = classOf(object);
  return type.kind == platform::ViewKind::control &&
         (type.trait == Trait::control || type.trait == Trait::spinBox);
}

// What keeps a press from reaching whatever lies behind it.
bool stopsPresses(const QQuickItem& item) {
  switch (itemClass(item)) {
    case ItemClass::page:
    case ItemClass::popup:
    case ItemClass::overlay:
    case ItemClass::cells:
    case ItemClass::flickable:
      return true;
    default:
      return false;
  }
}

// An area that makes the whole of what it lies in operable stands for that.
QQuickItem* faceOf(QQuickItem* area) {
  QQuickItem* const parent = area->parentItem();
  const bool isArea = itemClass(*area) == ItemClass::mouseArea;
  const bool fills = isArea && parent != nullptr && !stopsPresses(*parent) &&
                     area->width() == parent->width() && area->height() == parent->height();
  return fills && parent->parentItem() != nullptr ? parent : area;
}

QQuickItem* controlFrom(QQuickItem* item) {
  for (int i = 0; item != nullptr && i < kMostAncestors; item = item->parentItem(), ++i) {
    const platform::ViewFacts facts = quickView(item).facts();
    if (facts.acceptsTextInput || onlyHoldsValue(*item)) return nullptr;
    if (isOperable(facts)) return faceOf(item);
    if (stopsPresses(*item)) return nullptr;
  }
  return nullptr;
}

QWidget* controlFrom(QWidget* widget) {
  for (int i = 0; widget != nullptr && i < kMostAncestors; widget = widget->parentWidget(), ++i) {
    const platform::ViewFacts facts = widgetView(widget).facts();
    if (facts.acceptsTextInput || onlyHoldsValue(*widget)) return nullptr;
    if (isOperable(facts)) return widget;
    if (widget->isWindow()) return nullptr;
  }
  return nullptr;
}

// The item that holds the press, directly or by a handler.
QQuickItem* grabberOf(const QPointerEvent& event, const QEventPoint& point) {
  QObject* grabber = event.exclusiveGrabber(point);
  if (grabber != nullptr && !grabber->isQuickItemType()) grabber = grabber->parent();
  return qobject_cast<QQuickItem*>(grabber);
}

bool isFlickable(const QQuickItem& item) {
  return itemClass(item) == ItemClass::cells || itemClass(item) == ItemClass::flickable;
}

}  // namespace

QQuickItem* touchedItem(QQuickItem& root, QPointF point) {
  return HitSearch().find(root, nullptr, root.mapFromScene(point), 0);
}

QWidget* touchedWidget(QWidget& window, QPointF point) {
  if (!window.rect().contains(point.toPoint())) return nullptr;
  QWidget* const child = window.childAt(point.toPoint());
  return child != nullptr ? child : &window;
}

QWidget* widgetIn(const QWindow& window) {
  if (qobject_cast<QApplication*>(QCoreApplication::instance()) == nullptr) return nullptr;
  const auto tops = QApplication::topLevelWidgets();
  for (QWidget* const widget : tops) {
    if (widget->windowHandle() == &window) return widget;
  }
  return nullptr;
}

WindowPoint inOuterWindow(QWindow& window, QPointF at) {
  WindowPoint point{&window, at};
  while (point.window != nullptr && qobject_cast<QQuickWindow*>(point.window) == nullptr &&
         widgetIn(*point.window) == nullptr) {
    point.at += point.window->position();
    point.window = point.window->parent();
  }
  return point.window != nullptr ? point : WindowPoint{&window, at};
}

QObject* touchedObject(WindowPoint point) {
  if (auto* const quick = qobject_cast<QQuickWindow*>(point.window)) {
    return touchedItem(*quick->contentItem(), point.at);
  }
  QWidget* const widget = widgetIn(*point.window);
  return widget != nullptr ? touchedWidget(*widget, point.at) : nullptr;
}

QObject* controlOf(QObject* touched) {
  if (auto* const item = qobject_cast<QQuickItem*>(touched)) return controlFrom(item);
  return controlFrom(qobject_cast<QWidget*>(touched));
}

QObject* operatedControl(QObject* pressed, const QPointerEvent& event, const QEventPoint& released,
                         QPointF place) {
  if (pressed == nullptr) return nullptr;
  if (auto* const widget = qobject_cast<QWidget*>(pressed)) {
    const QPoint local = widget->mapFrom(widget->window(), place.toPoint());
    return widget->isVisible() && widget->rect().contains(local) ? widget : nullptr;
  }
  auto* const control = qobject_cast<QQuickItem*>(pressed);
  if (control == nullptr || !control->isVisible() || !control->isEnabled()) return nullptr;
  if (!control->contains(control->mapFromScene(place))) return nullptr;
  const QQuickItem* const grabber = grabberOf(event, released);
  if (grabber == nullptr) {
    // Only handlers of taps do without. Of several fingers on areas, Qt tells but one to them.
    const bool isArea = itemClass(*control) == ItemClass::mouseArea;
    return !isArea && quickView(control).facts().hasTapGesture ? control : nullptr;
  }
  // A flickable may hold back a press for a while, and has it all to itself once it moves.
  const bool isWaiting = isFlickable(*grabber) && !toolkitProperty(*grabber, "moving").toBool();
  const bool isIts = grabber == control || control->isAncestorOf(grabber);
  return isIts || isWaiting ? control : nullptr;
}

}  // namespace zarn::qt
