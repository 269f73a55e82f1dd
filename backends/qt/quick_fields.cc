// What Qt Quick's text fields are for.
#include <QtQml/qqml.h>
#include <QQmlContext>
#include <QQuickItem>
#include <QRegularExpressionValidator>

#include "qt/content_guess.h"
#include "qt/quick_facts.h"
#include "qt/quick_texts.h"
#include "qt/redaction.h"
#include "qt/text.h"

namespace zarn::qt {
namespace {

using platform::TextContentType;
using platform::ViewKind;

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

/// The label that stands right before the field, as forms have it.
const QQuickItem* labelBefore(const QQuickItem& item) {
  if (item.parentItem() == nullptr) return nullptr;
  const QList<QQuickItem*> siblings = item.parentItem()->childItems();
  for (qsizetype at = siblings.indexOf(&item) - 1; at >= 0; --at) {
    const QQuickItem* const before = siblings[at];
    if (!before->isVisible()) continue;
    return classOf(*before).trait == Trait::label ? before : nullptr;
  }
  return nullptr;
}

/// An app's own type around the field may tell what it is for, such as a CardNumberField; the
/// toolkit's containers don't.
TextContentType guessAround(const QQuickItem& item, base::TextArena& arena) {
  const QQuickItem* const parent = item.parentItem();
  if (parent == nullptr) return TextContentType::none;
  TextContentType type = guessContentType(toArena(parent->objectName(), arena));
  if (!classOf(*parent).isToolkits)
    type = stricter(type, guessContentType(classText(*parent, arena)));
  return type;
}

}  // namespace

TextContentType quickContentType(QQuickItem& item) {
  if (const ObjectNote* const note = noteOf(item); note != nullptr && note->contentType) {
    return *note->contentType;
  }
  const ClassFacts type = classOf(item);
  if (type.kind != ViewKind::textField && type.kind != ViewKind::textView &&
      type.trait != Trait::comboBox && type.trait != Trait::spinBox) {
    return TextContentType::none;
  }
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
  if (const QQuickItem* const label = labelBefore(item)) consider(quickText(*label, arena));
  return stricter(found, guessAround(item, arena));
}

}  // namespace zarn::qt
