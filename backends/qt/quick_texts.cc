#include "qt/quick_texts.h"

#include <QQuickItem>
#include <QQuickWindow>
#include <QTextDocument>

#include "qt/appearance.h"
#include "qt/quick_facts.h"
#include "qt/redaction.h"
#include "qt/text.h"

namespace zarn::qt {
namespace {

enum TextFormat { kPlain = 0, kRich = 1, kAuto = 2, kMarkdown = 3, kStyled = 4 };

/// A field may show its content by other items that it holds.
bool isInSecureField(const QQuickItem& item) {
  constexpr int kMostLevels = 4;
  const QQuickItem* at = &item;
  for (int level = 0; level <= kMostLevels && at != nullptr; ++level, at = at->parentItem()) {
    if (isSecure(*at, classOf(*at))) return true;
  }
  return false;
}

std::string_view formatted(const QString& text, int format, base::TextArena& arena) {
  const bool isMarkup = format == kRich || format == kStyled ||
                        (format != kPlain && text.contains(u'<') && Qt::mightBeRichText(text));
  return isMarkup ? plainToArena(text, arena) : toArena(text, arena);
}

}  // namespace

std::string_view quickText(const QQuickItem& item, base::TextArena& arena) {
  const ClassFacts type = classOf(item);
  const auto read = [&](Property property) { return type.read<QString>(item, property); };
  switch (type.trait) {
    case Trait::label:
    case Trait::textEdit:
    case Trait::textInput: {
      if (isInSecureField(item)) return {};
      const int format = type.trait == Trait::textInput
                             ? int{kPlain}
                             : type.read<int>(item, Property::textFormat, kAuto);
      return formatted(read(Property::text), format, arena);
    }
    case Trait::button:
      return labelToArena(read(Property::text), arena);
    case Trait::comboBox:  // one that is edited has a field inside
      if (type.read<bool>(item, Property::editable)) return {};
      return toArena(read(Property::displayText), arena);
    case Trait::groupBox:
      return toArena(read(Property::title), arena);
    default:
      return {};
  }
}

std::string_view quickAccessibleName(const QQuickItem& item, base::TextArena& arena) {
  if (isInSecureField(item)) return {};
  QString name;
  eachHanging(item, [&](const QObject& object, const ClassFacts& hanging) {
    if (hanging.trait != Trait::accessible) return true;
    name = hanging.read<QString>(object, Property::name);
    return false;
  });
  // As screen readers have it.
  if (name.isEmpty() && classOf(item).trait == Trait::button) return quickText(item, arena);
  return toArena(name, arena);
}

std::string_view quickTabTitle(const QQuickItem& tabBar, base::TextArena& arena) {
  const ClassFacts type = classOf(tabBar);
  if (type.trait != Trait::tabBar) return {};
  const auto* const tab = type.read<QQuickItem*>(tabBar, Property::currentItem);
  if (tab == nullptr || isWithinPrivate(*tab)) return {};
  return quickText(*tab, arena);
}

platform::Font quickFont(const QQuickItem& item) {
  const ClassFacts type = classOf(item);
  const auto font = type.find<QFont>(item, Property::font);
  return font ? toFont(*font) : platform::Font();
}

platform::ViewColors quickColors(const QQuickItem& item) {
  const ClassFacts type = classOf(item);
  platform::ViewColors colors;
  const auto seen = [&](QColor color) -> std::optional<platform::Color> {
    if (color.alpha() == 0) return std::nullopt;
    return toColor(color);
  };
  switch (type.trait) {
    case Trait::rectangle:
      colors.background = seen(type.read<QColor>(item, Property::color, Qt::transparent));
      break;
    case Trait::label:
    case Trait::textEdit:
    case Trait::textInput:
      colors.foreground = seen(type.read<QColor>(item, Property::color, Qt::transparent));
      break;
    default:
      if (item.parentItem() == nullptr && item.window() != nullptr) {
        colors.background = seen(item.window()->color());
      }
  }
  return colors;
}

}  // namespace zarn::qt
