#include "qt/screens.h"

#include <QColorDialog>
#include <QDialog>
#include <QErrorMessage>
#include <QFileDialog>
#include <QFontDialog>
#include <QInputDialog>
#include <QMessageBox>
#include <QProgressDialog>
#include <QQuickItem>
#include <QQuickWindow>
#include <QWidget>
#include <unordered_map>

#include "qt/input_hit.h"
#include "qt/quick_screens.h"
#include "qt/widget_screens.h"

namespace zarn::qt {
namespace {

bool isAppWindow(Qt::WindowFlags flags) {
  const auto type = flags & Qt::WindowType_Mask;
  return type == Qt::Widget || type == Qt::Window || type == Qt::Dialog || type == Qt::Sheet;
}

bool isStandardDialog(const QWidget& window) {
  return qobject_cast<const QMessageBox*>(&window) != nullptr ||
         qobject_cast<const QFileDialog*>(&window) != nullptr ||
         qobject_cast<const QInputDialog*>(&window) != nullptr ||
         qobject_cast<const QProgressDialog*>(&window) != nullptr ||
         qobject_cast<const QColorDialog*>(&window) != nullptr ||
         qobject_cast<const QFontDialog*>(&window) != nullptr ||
         qobject_cast<const QErrorMessage*>(&window) != nullptr ||
         window.inherits("QAbstractPrintDialog");
}

/// Objects by address, forgotten some time after their death.
class ScreenIds {
 public:
  std::uint64_t of(QObject& object) {
    Entry& entry = entries_[&object];
    if (entry.object != &object) entry = {&object, ++last_};  // new, or at a dead one's place
    const std::uint64_t id = entry.id;
    if (entries_.size() > limit_) forgetDead();
    return id;
  }

  std::size_t count() const { return entries_.size(); }

 private:
  void forgetDead() {
    for (auto at = entries_.begin(); at != entries_.end();) {
      at = at->second.object.isNull() ? entries_.erase(at) : std::next(at);
    }
    limit_ = 2 * entries_.size() + kFewest;
  }

  static constexpr std::size_t kFewest = 64;
  struct Entry {
    QPointer<QObject> object;
    std::uint64_t id = 0;
  };
  std::unordered_map<const QObject*, Entry> entries_;
  std::size_t limit_ = kFewest;
  std::uint64_t last_ = 0;
};

ScreenIds& screenIds() {
  static auto& ids = *new ScreenIds;
  return ids;
}

}  // namespace

std::uint64_t screenId(QObject& object) {
  return screenIds().of(object);
}

std::size_t numberedScreens() {
  return screenIds().count();
}

ScreenRef rootOf(QQuickWindow& window) {
  if (!isAppWindow(window.flags()) || window.contentItem() == nullptr) return {};
  return {&QuickScreens::instance(), window.contentItem()};
}

ScreenRef rootOf(QWidget& window) {
  if (!window.isWindow() || !isAppWindow(window.windowFlags()) || isStandardDialog(window)) {
    return {};
  }
  return {&WidgetScreens::instance(), &window};
}

ScreenRef rootOf(QWindow& window) {
  if (auto* const quick = qobject_cast<QQuickWindow*>(&window)) return rootOf(*quick);
  QWidget* const widget = widgetIn(window);
  return widget != nullptr ? rootOf(*widget) : ScreenRef{};
}

}  // namespace zarn::qt
