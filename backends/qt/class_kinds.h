// What a Qt class is to the view seam, found once per class and asked of every node.
#pragma once

#include <QMetaProperty>
#include <cstdint>
#include <optional>
#include <string_view>
#include <utility>

#include "platform/view.h"

class QObject;

namespace zarn::base {
class TextArena;
}

namespace zarn::qt {

/// The toolkit's class that a class is or derives from, where that decides how it is read. Kinds of
/// both toolkits and of the objects that hang on items.
enum class Trait : std::uint8_t {
  none,
  accessible,  // what QML's Accessible says of an item
  animation,   //
  button,      //
  comboBox,    //
  container,   // of pages or buttons, which it arranges by a list
  control,     // of Qt Quick: lays out a background and a content
  effect,      // paints other items once more
  gradient,    //
  groupBox,    //
  indicator,   // turns while something loads
  item,        // Qt Quick's simplest
  itemView,    // a list whose cells stand in its content item
  keyboard,    // shows what is typed
  label,       //
  mouseArea,   //
  pathView,    // a list whose cells stand in it
  pen,         //
  popupItem,   // stands for a popup, which is no item
  rectangle,   //
  spinBox,     //
  tabBar,      //
  tapHandler,  //
  textEdit,    //
  textInput,   //
  toolBar,     //
  opaque,      // of Widgets: holds what can't be walked
  pages,       // a container of whole pages, which are swiped through
};

/// What is read of Qt Quick's own classes, whose C++ side is not public.
enum class Property : std::uint8_t {
  bottomPadding,
  color,
  contentItem,
  currentItem,
  displayText,
  echoMode,
  editable,
  enabled,
  font,
  footerItem,
  headerItem,
  highlightItem,
  inputMask,
  inputMethodHints,
  leftPadding,
  loops,
  maximumLength,
  name,
  placeholderText,
  position,
  radius,
  rightPadding,
  running,
  sourceItem,
  text,
  textFormat,
  title,
  topPadding,
  validator,
  width,
  count,
};

/// The properties of one of the toolkit's own classes: no property that an app has put in front of
/// them is read, and so no code of the app is run. Lives as long as the process.
class ToolkitProperties {
 public:
  explicit ToolkitProperties(const QMetaObject& type);
  /// Nothing where the class has no such property or it is of another type.
  template <typename T>
  std::optional<T> find(const QObject& object, Property property) const;

 private:
  QMetaProperty properties_[static_cast<std::size_t>(Property::count)];
};

template <typename T>
std::optional<T> ToolkitProperties::find(const QObject& object, Property property) const {
  const QVariant found = properties_[static_cast<std::size_t>(property)].read(&object);
  if (!found.isValid() || !found.canConvert<T>()) return std::nullopt;
  return found.value<T>();
}

struct ClassFacts {
  platform::ViewKind kind = platform::ViewKind::other;
  Trait trait = Trait::none;
  bool isToolkits = false;     // Qt's own, or the file of a style that only names one of Qt's
  bool isBare = false;         // exactly the toolkit's simplest: draws nothing by itself
  bool isPlaceholder = false;  // is called as what shines while a screen loads
  const ToolkitProperties* properties = nullptr;  // null without a trait

  template <typename T>
  std::optional<T> find(const QObject& object, Property property) const {
    return properties != nullptr ? properties->find<T>(object, property) : std::nullopt;
  }
  /// `fallback` where there is none.
  template <typename T>
  T read(const QObject& object, Property property, T fallback = {}) const {
    return find<T>(object, property).value_or(std::move(fallback));
  }
};

/// GUI thread; allocates only for a class that has not been seen yet.
ClassFacts classOf(const QObject& object);

/// `CartPage` for the QML types CartPage_QMLTYPE_7 and CartPage_QMLTYPE_7_QML_9 and for
/// shop::CartPage, `Text` for QQuickText. GUI thread.
std::string_view classText(const QObject& object, base::TextArena& arena);

/// Whether views of this kind are masked under some policy, with all that they show.
bool mayBeMasked(platform::ViewKind kind);

/// Whether its class or one that it derives from has this name, be it Qt's or the developer's.
bool isKindOf(const QObject& object, std::string_view className);

}  // namespace zarn::qt
