// Items that paint others once more, at another place or in another form: what must not be seen
// must not be seen there either.
#include <QQuickItem>

#include "qt/quick_facts.h"
#include "qt/redaction.h"

namespace zarn::qt {
namespace {

using platform::ViewKind;

constexpr int kMostItems = 200;
constexpr int kMostProperties = 32;

/// Whether there is something below `item`, or itself, that is masked under some policy. True as
/// well when there is too much to look at.
bool holdsPrivate(const QQuickItem& item, int& budget) {
  if (--budget < 0 || isMarkedPrivate(item)) return true;
  const ClassFacts type = classOf(item);
  if (mayBeMasked(type.kind) || type.trait == Trait::keyboard ||
      (item.flags() & QQuickItem::ItemAcceptsInputMethod)) {
    return true;
  }
  const QList<QQuickItem*> children = item.childItems();
  for (const QQuickItem* const child : children) {
    if (holdsPrivate(*child, budget)) return true;
  }
  return false;
}

bool mayNotBeShown(const QQuickItem* source, int& budget) {
  if (source == nullptr) return false;
  const ClassFacts type = classOf(*source);
  if (type.trait == Trait::effect) {
    source = type.read<QQuickItem*>(*source, Property::sourceItem);
    if (source == nullptr) return false;
  }
  return isWithinPrivate(*source) || holdsPrivate(*source, budget);
}

/// A shader's sources are properties that the app has declared with it. One that stands for
/// another's would run the app's code when it is read, so it counts as private.
bool readsPrivate(const QQuickItem& effect, int& budget) {
  const QMetaObject& type = *effect.metaObject();
  const QMetaObject* own = &type;
  while (own->superClass() != nullptr &&
         std::string_view(own->className()) != "QQuickShaderEffect") {
    own = own->superClass();
  }
  const int first = own->propertyCount();
  if (type.propertyCount() - first > kMostProperties) return true;
  for (int i = first; i < type.propertyCount(); ++i) {
    const QMetaProperty property = type.property(i);
    const QMetaType held = property.metaType();
    const bool mayHoldItem =
        held == QMetaType::fromType<QVariant>() || (held.flags() & QMetaType::PointerToQObject);
    if (!mayHoldItem) continue;
    if (property.isAlias()) return true;
    const QVariant value = property.read(&effect);
    if (!value.canConvert<QObject*>()) continue;
    if (mayNotBeShown(qobject_cast<QQuickItem*>(value.value<QObject*>()), budget)) return true;
  }
  return false;
}

}  // namespace

bool showsPrivateItems(QQuickItem& item, const ClassFacts& type) {
  if (type.trait != Trait::effect) return false;
  int budget = kMostItems;
  if (type.kind == ViewKind::image) return mayNotBeShown(&item, budget);
  return readsPrivate(item, budget);
}

}  // namespace zarn::qt
