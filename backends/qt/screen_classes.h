// What the classes of Qt Quick's items are to the search for screens. The controls' C++ classes are
// private, so they are told by the names of their meta objects.
#pragma once

#include <QVariant>
#include <cstdint>

class QMetaMethod;
class QObject;

namespace zarn::qt {

enum class ItemClass : std::uint8_t {
  other,
  stackView,
  swipeView,
  stackLayout,
  loader,
  page,
  popup,    // the item that a popup shows itself by
  overlay,  // where popups lie
  tabBar,
  cells,      // scrolls over what a model has
  flickable,  // scrolls over anything else
  mouseArea,
  text,
  button,
  repeater,
};

/// GUI thread. Cheap: remembers what it has seen, but nothing of classes that may die.
ItemClass itemClass(const QObject& object);

/// A property of the toolkit's own class, whatever an app has put in front of it.
QVariant toolkitProperty(const QObject& object, const char* name);
/// Likewise; invalid without one.
QMetaMethod toolkitMethod(const QObject& object, const char* signature);

}  // namespace zarn::qt
