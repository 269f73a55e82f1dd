#include "qt/layout_fingerprint.h"

#include <QQuickItem>
#include <QWidget>
#include <algorithm>
#include <array>

#include "qt/screen_classes.h"
#include "qt/widget_facts.h"

namespace zarn::qt {
namespace {

constexpr int kMaxDepth = 48;
constexpr int kBudget = 2000;  // views; what lies beyond is not looked at
constexpr std::uint64_t kSeed = 0xcbf29ce484222325;
constexpr double kUnseen = 0.01;
constexpr int kSizeStep = 8;  // points: texts that tick are no change of layout

std::uint64_t mix(std::uint64_t hash, std::uint64_t value) {
  hash = (hash ^ value) * 0x9e3779b97f4a7c15;
  return hash ^ (hash >> 29);
}

// Objects made by QML have a meta object each, but share the name of their class.
std::uint64_t mixClass(std::uint64_t hash, const QObject& object) {
  return mix(hash, reinterpret_cast<std::uintptr_t>(object.metaObject()->className()));
}

std::uint64_t mixSize(std::uint64_t hash, double width, double height) {
  // Rounded up, so that what has no size differs from what has one. Bounded for odd numbers.
  const auto steps = [](double length) {
    return length > 0 ? static_cast<std::uint64_t>(std::min(length, 1e6)) / kSizeStep + 1 : 0;
  };
  return mix(hash, steps(width) << 32 | steps(height));
}

class QuickFold {
 public:
  std::uint64_t fold(const QQuickItem& item, bool isSized, int depth) {
    std::uint64_t hash = mixClass(kSeed, item);
    if (isSized) hash = mixSize(hash, item.width(), item.height());
    if (depth > kMaxDepth) return hash;
    const bool isList = itemClass(item) == ItemClass::cells;
    const auto children = item.childItems();
    for (const QQuickItem* const child : children) {
      if (!isInSight(*child)) continue;
      hash = mix(hash, isList ? foldCells(*child, depth + 1) : fold(*child, isSized, depth + 1));
    }
    return hash;
  }

 private:
  // Each kind of cell once, whatever their order and number: scrolling is no change of layout.
  std::uint64_t foldCells(const QQuickItem& content, int depth) {
    std::array<std::uint64_t, 12> kinds;
    std::size_t count = 0;
    std::uint64_t sum = kSeed;
    const auto children = content.childItems();
    for (const QQuickItem* const cell : children) {
      if (count == kinds.size()) break;
      if (!isInSight(*cell)) continue;
      const std::uint64_t kind = fold(*cell, false, depth + 1);
      const auto end = kinds.begin() + static_cast<std::ptrdiff_t>(count);
      if (std::find(kinds.begin(), end, kind) != end) continue;
      kinds[count++] = kind;
      sum += kind;
    }
    return sum;
  }

  bool isInSight(const QQuickItem& item) {
    return item.isVisible() && item.opacity() > kUnseen && --budget_ >= 0;
  }

  int budget_ = kBudget;
};

std::uint64_t foldWidget(const QWidget& widget, int& budget, int depth) {
  std::uint64_t hash = mixClass(kSeed, widget);
  hash = mixSize(hash, widget.width(), widget.height());
  if (drawsRows(widget)) hash = mix(hash, 1);
  if (depth > kMaxDepth) return hash;
  for (const QObject* const object : widget.children()) {
    if (!object->isWidgetType()) continue;
    const auto& child = static_cast<const QWidget&>(*object);
    if (child.isHidden() || child.isWindow() || --budget < 0) continue;
    hash = mix(hash, foldWidget(child, budget, depth + 1));
  }
  return hash;
}

}  // namespace

std::uint64_t layoutFingerprint(const QQuickItem& root) {
  return QuickFold().fold(root, true, 0) | 1;
}

std::uint64_t layoutFingerprint(const QWidget& root) {
  int budget = kBudget;
  return foldWidget(root, budget, 0) | 1;
}

}  // namespace zarn::qt
