// What the app has said of its views, and what has been seen of them: private, secret, which kind
// of text. The public side is in zarn/qt.h and in the QML module `Zarn` (qml_module.h).
#pragma once

#include <optional>

#include "platform/view.h"

class QObject;
class QQuickItem;
class QWidget;

namespace zarn::qt {

/// GUI thread. Forgotten when the object dies.
struct ObjectNote {
  bool isPrivate = false;
  bool wasSecure = false;  // has hidden what is typed at some time
  std::optional<platform::TextContentType> contentType;
};

/// Null without one. One lookup, no allocation.
const ObjectNote* noteOf(const QObject& object);
/// The object's note, made where there was none.
ObjectNote& noteFor(QObject& object);

/// Whether a mark lies on the item itself, or, where it stands for a popup or a window, on that or
/// on or around what has opened it. Windows inside of others are private.
bool isMarkedPrivate(const QQuickItem& item);

/// Whether a mark lies on it, on what holds it, or on what has opened that.
bool isWithinPrivate(const QQuickItem& item);
bool isWithinPrivate(const QWidget& widget);

}  // namespace zarn::qt
