#include "qt/animators.h"

#include <QQuickItem>

#include "qt/screen_classes.h"

namespace zarn::qt {
namespace {

constexpr int kMostLevels = 200;

bool holdsAnimator(const QObject& object) {
  if (object.inherits("QQuickAnimator")) return true;
  for (const QObject* const child : object.children()) {
    if (holdsAnimator(*child)) return true;
  }
  return false;
}

/// Of what belongs to an item without being one: transitions, behaviours and animations.
bool isMoved(const QObject& object) {
  if (object.inherits("QQuickAbstractAnimation") || object.inherits("QQuickTransition")) {
    return toolkitProperty(object, "running").toBool() && holdsAnimator(object);
  }
  for (const QObject* const child : object.children()) {
    if (!child->isQuickItemType() && isMoved(*child)) return true;
  }
  return false;
}

bool hasRunningAnimator(const QQuickItem& item, int level) {
  if (!item.isVisible()) return false;
  if (level == kMostLevels || isMoved(item)) return true;
  const auto children = item.childItems();
  for (const QQuickItem* const child : children) {
    if (hasRunningAnimator(*child, level + 1)) return true;
  }
  return false;
}

}  // namespace

bool hasRunningAnimator(const QQuickItem& item) {
  return hasRunningAnimator(item, 0);
}

}  // namespace zarn::qt
