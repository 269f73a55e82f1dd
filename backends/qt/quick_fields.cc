// What Qt Quick's text fields are for.
#include <QtQml/qqml.h>
#include <QQmlContext>
#include <QQuickItem>
#include <QRegularExpressionValidator>
#include <algorithm>

#include "qt/content_guess.h"
#include "qt/quick_facts.h"
#include "qt/quick_texts.h"
#include "qt/redaction.h"
#include "qt/text.h"

namespace zarn::qt {
namespace {

using platform::TextContentType;

FieldHints hintsOf(const QQuickItem& item, const ClassFacts& type) {
  FieldHints hints;
  hints.input = type.read<Qt::InputMethodHints>(item, Property::inputMethodHints);
  hints.mask = type.read<QString>(item, Property::inputMask);
  hints.maximumLength = type.read<int>(item, Property::maximumLength);
  const auto* const validator = type.read<QObject*>(item, Property::validator);
  if (const auto* pattern = qobject_cast<const QRegularExpressionValidator*>(validator)) {
    hints.pattern = pattern->regularExpression().pattern();
  }
  hints.wantsNumber = qobject_cast<const QIntValidator*>(validator) != nullptr;
  return hints;
}

constexpr qsizetype kMostSiblings = 64;

bool isField(const QQuickItem& item) {
  const Trait trait = classOf(item).trait;
  return trait == Trait::textInput || trait == Trait::textEdit || trait == Trait::comboBox ||
         trait == Trait::spinBox;
}

/// The label right before it, as forms have it; where it is the only field around, every label: one
/// may lie over it as long as it is empty.
TextContentType guessByLabels(const QQuickItem& field, base::TextArena& arena) {
  TextContentType type = TextContentType::none;
  const auto consider = [&](const QQuickItem& label) {
    type = stricter(type, guessContentType(quickText(label, arena)));
  };
  const auto isLabel = [](const QQuickItem* item) { return classOf(*item).trait == Trait::label; };
  const QList<QQuickItem*> inside = field.childItems();
  for (const QQuickItem* const child : inside) {
    if (isLabel(child)) consider(*child);
  }
  if (field.parentItem() == nullptr) return type;
  const QList<QQuickItem*> siblings = field.parentItem()->childItems();
  const auto fields =
      std::ranges::count_if(siblings, [](const QQuickItem* item) { return isField(*item); });
  if (fields == 1 && siblings.size() <= kMostSiblings) {
    for (const QQuickItem* const sibling : siblings) {
      if (isLabel(sibling)) consider(*sibling);
    }
    return type;
  }
  for (qsizetype at = siblings.indexOf(&field) - 1; at >= 0; --at) {
    if (!siblings[at]->isVisible()) continue;
    if (isLabel(siblings[at])) consider(*siblings[at]);
    break;
  }
  return type;
}

/// An app's own type around the field may tell what it is for, such as a CardNumberField; the
/// toolkit's containers don't.
TextContentType guessByParent(const QQuickItem& item, base::TextArena& arena) {
  const QQuickItem* const parent = item.parentItem();
  if (parent == nullptr) return TextContentType::none;
  const TextContentType type = guessContentType(toArena(parent->objectName(), arena));
  if (classOf(*parent).isToolkits) return type;
  return stricter(type, guessContentType(classText(*parent, arena)));
}

}  // namespace

TextContentType quickContentType(QQuickItem& item) {
  if (const ObjectNote* const note = noteOf(item); note != nullptr && note->contentType) {
    return *note->contentType;
  }
  const ClassFacts type = classOf(item);
  if (!isField(item)) return TextContentType::none;
  base::TextArena arena;
  TextContentType found = guessContentType(hintsOf(item, type));
  const auto consider = [&](std::string_view words) {
    found = stricter(found, guessContentType(words));
  };
  consider(toArena(type.read<QString>(item, Property::placeholderText), arena));
  consider(toArena(item.objectName(), arena));
  consider(quickAccessibleName(item, arena));
  consider(classText(item, arena));
  if (const QQmlContext* const context = qmlContext(&item)) {
    consider(toArena(context->nameForObject(&item), arena));
  }
  found = stricter(found, guessByLabels(item, arena));
  return stricter(found, guessByParent(item, arena));
}

}  // namespace zarn::qt
