#include "qt/widget_effects.h"

#include <QGraphicsBlurEffect>
#include <QGraphicsColorizeEffect>
#include <QGraphicsDropShadowEffect>
#include <QGraphicsOpacityEffect>
#include <QWidget>

#include "qt/class_kinds.h"
#include "qt/redaction.h"

namespace zarn::qt {
namespace {

constexpr int kMostWidgets = 200;
/// Of an effect that the app has made: nobody can tell.
constexpr base::Rect kAnywhere{-1e6, -1e6, 2e6, 2e6};

template <typename Effect>
bool isExactly(const QGraphicsEffect& effect) {
  return effect.metaObject() == &Effect::staticMetaObject;
}

bool holdsPrivate(const QWidget& widget, int& budget) {
  if (--budget < 0) return true;
  const ClassFacts type = classOf(widget);
  const ObjectNote* const note = noteOf(widget);
  if ((note != nullptr && note->isPrivate) || type.trait == Trait::opaque ||
      mayBeMasked(type.kind) || widget.testAttribute(Qt::WA_InputMethodEnabled)) {
    return true;
  }
  for (const QObject* const child : widget.children()) {
    if (child->isWidgetType() && holdsPrivate(*static_cast<const QWidget*>(child), budget)) {
      return true;
    }
  }
  return false;
}

}  // namespace

std::optional<base::Rect> paintedByEffect(const QWidget& widget) {
  const QGraphicsEffect* const effect = widget.graphicsEffect();
  if (effect == nullptr || !effect->isEnabled() || isExactly<QGraphicsOpacityEffect>(*effect) ||
      isExactly<QGraphicsColorizeEffect>(*effect)) {
    return std::nullopt;
  }
  if (!isExactly<QGraphicsDropShadowEffect>(*effect) && !isExactly<QGraphicsBlurEffect>(*effect)) {
    return kAnywhere;
  }
  const QRectF reach = effect->boundingRectFor(widget.rect());
  return base::Rect{reach.x(), reach.y(), reach.width(), reach.height()};
}

bool holdsPrivate(const QWidget& widget) {
  int budget = kMostWidgets;
  return holdsPrivate(widget, budget);
}

}  // namespace zarn::qt
