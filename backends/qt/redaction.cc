#include "qt/redaction.h"

#include <QObject>
#include <QPointer>
#include <QQuickItem>
#include <QQuickWindow>
#include <QThread>
#include <unordered_map>

#include "base/fork_guard.h"
#include "qt/class_kinds.h"
#include "zarn/qt.h"

namespace zarn::qt {
namespace {

struct Notes {
  std::unordered_map<const QObject*, ObjectNote> all;
  bool hasPrivatePopups = false;  // ever
};

Notes& notes() {
  static Notes& made = *new Notes;  // objects may die after everything else
  return made;
}

/// Popups are no items: one stands for them when they are open.
bool standsForPrivatePopup(const QQuickItem& item) {
  for (const auto& [object, note] : notes().all) {
    if (!note.isPrivate || object->isQuickItemType() || object->isWidgetType()) continue;
    const ClassFacts type = classOf(*object);
    if (type.trait != Trait::popup) continue;
    const auto* content = type.read<QQuickItem*>(*object, Property::contentItem);
    if (content != nullptr && content->parentItem() == &item) return true;
  }
  return false;
}

void mark(QObject& view, bool isPrivate) {
  if (!isPrivate && noteOf(view) == nullptr) return;
  noteFor(view).isPrivate = isPrivate;
  if (isPrivate && classOf(view).trait == Trait::popup) notes().hasPrivatePopups = true;
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
  return found != all.end() ? &found->second : nullptr;
}

ObjectNote& noteFor(QObject& object) {
  const auto [place, isNew] = notes().all.try_emplace(&object);
  if (isNew) {
    QObject::connect(&object, &QObject::destroyed, [key = &object] { notes().all.erase(key); });
  }
  return place->second;
}

bool isMarkedPrivate(const QQuickItem& item) {
  if (notes().all.empty()) return false;
  const ObjectNote* note = noteOf(item);
  if (note != nullptr && note->isPrivate) return true;
  if (item.parentItem() == nullptr && item.window() != nullptr) {
    note = noteOf(*item.window());
    return note != nullptr && note->isPrivate;
  }
  return notes().hasPrivatePopups && classOf(item).trait == Trait::popupItem &&
         standsForPrivatePopup(item);
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
  const ObjectNote* const note = noteOf(view);
  return note != nullptr && note->isPrivate;
}

}  // namespace ZARN_VERSION_NAMESPACE
}  // namespace zarn::qt
