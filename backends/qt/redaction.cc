#include "qt/redaction.h"

#include <QList>
#include <QObject>
#include <QPointer>
#include <QQuickItem>
#include <QQuickWindow>
#include <QThread>
#include <QVarLengthArray>
#include <QWidget>
#include <algorithm>
#include <unordered_map>

#include "base/fork_guard.h"
#include "qt/class_kinds.h"
#include "qt/input_hit.h"
#include "qt/quick_facts.h"
#include "qt/screen_classes.h"
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
  QList<QPointer<QQuickItem>> privateRepeaters;
};

Notes& notes() {
  static Notes& made = *new Notes;  // objects may die after everything else
  return made;
}

bool isNotedPrivate(const QObject& object) {
  const ObjectNote* const note = noteOf(object);
  return note != nullptr && note->isPrivate;
}

/// A repeater shows nothing itself: what it makes lies beside it.
bool holdsPrivateRepeater(const QQuickItem& item) {
  return std::ranges::any_of(notes().privateRepeaters, [&](const QPointer<QQuickItem>& repeater) {
    return repeater != nullptr && repeater->parentItem() == &item && isNotedPrivate(*repeater);
  });
}

bool isMarked(const QObject& object) {
  if (isNotedPrivate(object)) return true;
  const auto* const item = qobject_cast<const QQuickItem*>(&object);
  return item != nullptr && holdsPrivateRepeater(*item);
}

/// Popups are no items: one stands for them when they are open, outside of what opens them.
const QObject* popupOf(const QQuickItem& item) {
  const QObject* const popup = item.parent();
  const bool isOrdinary = popup == nullptr || popup->isQuickItemType() || popup->isWindowType();
  return !isOrdinary && classOf(item).trait == Trait::popupItem ? popup : nullptr;
}

/// What a secret is chosen from may tell it. A choice that nobody types is no field.
bool holdsSecret(QQuickItem& item) {
  const ClassFacts type = classOf(item);
  if (isSecure(item, type)) return true;
  const bool isChoice = type.trait == Trait::comboBox || type.trait == Trait::spinBox;
  return (!isChoice || type.read<bool>(item, Property::editable)) &&
         platform::isForSecrets(quickContentType(item));
}

/// Looks for a mark upwards from a view, also where what it lies in was opened by something else:
/// popups and windows stand apart from what they were declared in and from what they are shown at.
/// A tip that all items share was declared in none of them, a menu within a menu in no item.
class MarkSearch {
 public:
  /// True also when there is too much to look at.
  bool findsFrom(const QObject* at) {
    while (at != nullptr) {
      if (--steps_ < 0 || isMarked(*at)) return true;
      if (const auto* const item = qobject_cast<const QQuickItem*>(at)) {
        const QObject* const popup = popupOf(*item);
        if (popup != nullptr && findsFrom(popup)) return true;
        at = item->parentItem();
        if (at == nullptr) at = item->window();
      } else if (const auto* const widget = qobject_cast<const QWidget*>(at)) {
        at = widget->parentWidget();
      } else {
        return findsAtOpenersOf(*at);
      }
    }
    return false;
  }

 private:
  /// Of a popup or a window.
  bool findsAtOpenersOf(const QObject& opened) {
    // One may have been put into what it opens.
    if (std::ranges::find(asked_, &opened) != asked_.end()) return false;
    asked_.append(&opened);
    if (findsFrom(opened.parent())) return true;
    if (const auto* const window = qobject_cast<const QQuickWindow*>(&opened)) {
      return findsFrom(window->transientParent());
    }
    if (const auto* const window = qobject_cast<const QWindow*>(&opened)) {
      return findsFrom(widgetIn(*window));
    }
    auto* const shownAt = toolkitProperty(opened, "parent").value<QQuickItem*>();
    return shownAt != nullptr && (holdsSecret(*shownAt) || findsFrom(shownAt));
  }

  int steps_ = kMostSteps;
  QVarLengthArray<const QObject*, 8> asked_;
};

/// Nobody can tell what covers it, nor what it lies in.
bool isEmbedded(const QQuickItem& item) {
  return item.window() != nullptr && item.window()->parent() != nullptr;
}

void mark(QObject& view, bool isPrivate) {
  if (!isPrivate && noteOf(view) == nullptr) return;
  noteFor(view).isPrivate = isPrivate;
  if (!isPrivate) return;
  notes().hasPrivate = true;
  auto* const item = qobject_cast<QQuickItem*>(&view);
  if (item == nullptr || itemClass(*item) != ItemClass::repeater) return;
  auto& repeaters = notes().privateRepeaters;
  repeaters.removeAll(nullptr);
  if (!repeaters.contains(item)) repeaters.append(item);
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
  if (item.parentItem() == nullptr) {
    return isEmbedded(item) || (notes().hasPrivate && MarkSearch().findsFrom(&item));
  }
  if (const QObject* const popup = popupOf(item)) return MarkSearch().findsFrom(popup);
  return notes().hasPrivate && isMarked(item);
}

bool isWithinPrivate(const QQuickItem& item) {
  return isEmbedded(item) || MarkSearch().findsFrom(&item);
}

bool isWithinPrivate(const QWidget& widget) {
  return notes().hasPrivate && MarkSearch().findsFrom(&widget);
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
