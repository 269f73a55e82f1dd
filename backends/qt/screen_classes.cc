#include "qt/screen_classes.h"

#include <QHash>
#include <QMetaMethod>
#include <QMetaProperty>
#include <QObject>
#include <cstring>
#include <string_view>

namespace zarn::qt {
namespace {

struct NamedClass {
  std::string_view name;
  ItemClass itemClass;
};

// A class stands before those that it derives from.
constexpr NamedClass kClasses[] = {
    {"QQuickStackView", ItemClass::stackView},
    {"QQuickSwipeView", ItemClass::swipeView},
    {"QQuickStackLayout", ItemClass::stackLayout},
    {"QQuickLoader", ItemClass::loader},
    {"QQuickPopupItem", ItemClass::popup},
    {"QQuickOverlay", ItemClass::overlay},
    {"QQuickTabBar", ItemClass::tabBar},
    {"QQuickPage", ItemClass::page},
    {"QQuickItemView", ItemClass::cells},
    {"QQuickTableView", ItemClass::cells},
    {"QQuickFlickable", ItemClass::flickable},
    {"QQuickMouseArea", ItemClass::mouseArea},
    {"QQuickText", ItemClass::text},
    {"QQuickAbstractButton", ItemClass::button},
    {"QQuickRepeater", ItemClass::repeater},
};

// The meta object of a document or of one object in it is made and deleted with it.
bool isMadeByQml(const QMetaObject& type) {
  return std::strstr(type.className(), "_QML") != nullptr;
}

const QMetaObject& compiledClass(const QMetaObject& type) {
  const QMetaObject* compiled = &type;
  while (isMadeByQml(*compiled) && compiled->superClass() != nullptr) {
    compiled = compiled->superClass();
  }
  return *compiled;
}

ItemClass findClass(const QMetaObject& compiled) {
  for (const QMetaObject* type = &compiled; type != nullptr; type = type->superClass()) {
    const std::string_view name = type->className();
    for (const NamedClass& known : kClasses) {
      if (name == known.name) return known.itemClass;
    }
  }
  return ItemClass::other;
}

}  // namespace

ItemClass itemClass(const QObject& object) {
  static auto& known = *new QHash<const QMetaObject*, ItemClass>;
  const QMetaObject& compiled = compiledClass(*object.metaObject());
  if (const auto found = known.constFind(&compiled); found != known.constEnd()) return *found;
  const ItemClass result = findClass(compiled);
  known.insert(&compiled, result);
  return result;
}

QVariant toolkitProperty(const QObject& object, const char* name) {
  const QMetaObject& compiled = compiledClass(*object.metaObject());
  const int index = compiled.indexOfProperty(name);
  return index >= 0 ? compiled.property(index).read(&object) : QVariant();
}

QMetaMethod toolkitMethod(const QObject& object, const char* signature) {
  const QMetaObject& compiled = compiledClass(*object.metaObject());
  return compiled.method(compiled.indexOfMethod(signature));
}

}  // namespace zarn::qt
