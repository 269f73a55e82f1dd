#include "qt/redaction.h"

#include <QObject>
#include <QPointer>
#include <QQuickItem>
#include <QQuickWindow>
#include <QThread>
#include <QWidget>
#include <unordered_map>

#include "base/fork_guard.h"
#include "qt/class_kinds.h"
#include "zarn/qt.h"

namespace zarn::qt {
namespace {

constexpr int kMostSteps = 1024;  // an opener may have been put into what it opens

struct Kept {
  QPointer<const QObject> object;
  ObjectNote note;
};

struct Notes {
  std::unordered_map<const QObject*, Kept> all;
  bool hasPrivate = false;  // ever
};

Notes& notes() {
  static Notes& made = *new Notes;  // objects may die after everything else
  return made;
}

bool isNotedPrivate(const QObject& object) {
  const ObjectNote* const note = noteOf(object);
  return note != nullptr && note->isPrivate;
}

/// Popups are no items: one stands for them when they are open, outside of what opens them.
const QObject* popupOf(const QQuickItem& item) {
  const QObject* const popup = item.parent();
  const bool isOrdinary = popup == nullptr || popup->isQuickItemType() || popup->isWindowType();
  return !isOrdinary && classOf(item).trait == Trait::popupItem ? popup : nullptr;
}

const QQuickItem* openerOf(const QObject& popup) {
  return qobject_cast<const QQuickItem*>(popup.parent());
}

/// Apart from what opens it.
bool isMarkedItself(const QQuickItem& item) {
  if (isNotedPrivate(item)) return true;
  if (item.parentItem() == nullptr) {
    return item.window() != nullptr && isNotedPrivate(*item.window());
  }
  const QObject* const popup = popupOf(item);
  return popup != nullptr && isNotedPrivate(*popup);
}

void mark(QObject& view, bool isPrivate) {
  if (!isPrivate && noteOf(view) == nullptr) return;
  noteFor(view).isPrivate = isPrivate;
  if (isPrivate) notes().hasPrivate = true;
}

std::optional<platform::TextContentType> internalType(ContentType type) {
  static_assert(static_cast<int>(ContentType::other) ==
                static_cast<int>(platform::TextContentType::other));
  static_assert(static_cast<int>(ContentType::telephoneNumber) ==
                static_cast<int>(platform::TextContentType::telephoneNumber));
  if (type == ContentType::guessed) return std::nullopt;
  return static_cast<platform::TextContentType>(type);
}

}  // namespace

const ObjectNote* noteOf(const QObject& object) {
  const auto& all = notes().all;
  if (all.empty()) return nullptr;
  const auto found = all.find(&object);
  return found != all.end() && found->second.object == &object ? &found->second.note : nullptr;
}

ObjectNote& noteFor(QObject& object) {
  Kept& kept = notes().all[&object];
  if (kept.object != &object) {  // new, or at the place of one that died after all was disconnected
    kept = {&object, {}};
    QObject::connect(&object, &QObject::destroyed, [key = &object] { notes().all.erase(key); });
  }
  return kept.note;
}

bool isMarkedPrivate(const QQuickItem& item) {
  if (!notes().hasPrivate) return false;
  if (isMarkedItself(item)) return true;
  const QObject* const popup = popupOf(item);
  const QQuickItem* const opener = popup != nullptr ? openerOf(*popup) : nullptr;
  return opener != nullptr && isWithinPrivate(*opener);
}

bool isWithinPrivate(const QQuickItem& item) {
  if (!notes().hasPrivate) return false;
  const QQuickItem* at = &item;
  for (int level = 0; at != nullptr; ++level) {
    if (level > kMostSteps || isMarkedItself(*at)) return true;
    const QObject* const popup = popupOf(*at);
    const QQuickItem* const opener = popup != nullptr ? openerOf(*popup) : nullptr;
    at = opener != nullptr ? opener : at->parentItem();
  }
  return false;
}

bool isWithinPrivate(const QWidget& widget) {
  if (!notes().hasPrivate) return false;
  for (const QWidget* at = &widget; at != nullptr; at = at->parentWidget()) {
    if (isNotedPrivate(*at)) return true;
  }
  return false;
}

inline namespace ZARN_VERSION_NAMESPACE {

void setRedacted(QObject& view, bool isPrivate) noexcept {
  if (base::inForkedChild()) return;
  if (view.thread() == QThread::currentThread()) return mark(view, isPrivate);
  // A mark from another thread is late, but not lost.
  QMetaObject::invokeMethod(&view, [&view, isPrivate] { mark(view, isPrivate); });
}

void setContentType(QObject& field, ContentType type) noexcept {
  if (base::inForkedChild()) return;
  const auto note = [&field, type] { noteFor(field).contentType = internalType(type); };
  if (field.thread() == QThread::currentThread()) return note();
  QMetaObject::invokeMethod(&field, note);
}

bool isRedacted(const QObject& view) noexcept {
  return isNotedPrivate(view);
}

}  // namespace ZARN_VERSION_NAMESPACE
}  // namespace zarn::qt
