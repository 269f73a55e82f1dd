#include "qt/quick_views.h"

#include <QPointer>
#include <QQuickItem>
#include <QQuickWindow>
#include <QVarLengthArray>
#include <algorithm>

#include "qt/class_kinds.h"
#include "qt/quick_facts.h"
#include "qt/quick_texts.h"
#include "qt/text.h"
#include "qt/weak_node.h"

namespace zarn::qt {
namespace {

QQuickItem& itemAt(platform::ViewToolkit::Node node) {
  return *static_cast<QQuickItem*>(node);
}

/// In the window's coordinates for the item that stands for it.
QRectF mapRect(const QRectF& rect, const QQuickItem& from, const QQuickItem& to) {
  if (&from == &to) return rect;
  if (standsForWindow(to)) return from.mapRectToScene(rect);
  if (standsForWindow(from)) return to.mapRectFromScene(rect);
  return from.mapRectToItem(&to, rect);
}

using Items = QVarLengthArray<QQuickItem*, 64>;

/// From back to front, as they are painted. Those behind their parent are the first ones.
Items inPaintOrder(const QList<QQuickItem*>& children) {
  Items items(children.begin(), children.end());
  const auto isBehind = [](const QQuickItem* a, const QQuickItem* b) { return a->z() < b->z(); };
  if (std::ranges::is_sorted(items, isBehind)) return items;
  // In place: a stable sort from the library would allocate.
  for (auto at = items.begin() + 1; at < items.end(); ++at) {
    std::rotate(std::upper_bound(items.begin(), at, *at, isBehind), at, at + 1);
  }
  return items;
}

class QuickViews final : public platform::ViewToolkit {
 public:
  std::string_view classText(Node node, base::TextArena& arena) override {
    return qt::classText(itemAt(node), arena);
  }
  bool isKindOf(Node node, std::string_view className) override {
    return qt::isKindOf(itemAt(node), className);
  }
  platform::ViewFacts facts(Node node) override { return quickFacts(itemAt(node)); }
  platform::TextContentType contentType(Node node) override {
    return quickContentType(itemAt(node));
  }
  platform::LayerFacts layer(Node node) override { return quickLayer(itemAt(node)); }

  std::string_view text(Node node, base::TextArena& arena) override {
    return quickText(itemAt(node), arena);
  }
  platform::Font font(Node node) override { return quickFont(itemAt(node)); }
  platform::ViewColors colors(Node node) override { return quickColors(itemAt(node)); }
  std::string_view accessibilityLabel(Node node, base::TextArena& arena) override {
    return quickAccessibleName(itemAt(node), arena);
  }
  std::string_view accessibilityIdentifier(Node node, base::TextArena& arena) override {
    return toArena(itemAt(node).objectName(), arena);
  }
  std::string_view reuseIdentifier(Node node, base::TextArena& arena) override {
    return isCell(itemAt(node)) ? qt::classText(itemAt(node), arena) : std::string_view();
  }
  std::string_view selectedTabTitle(Node node, base::TextArena& arena) override {
    return quickTabTitle(itemAt(node), arena);
  }

  void eachChild(Node node, Visit visit) override;
  void eachVisibleCell(Node node, Visit visit) override;
  Node parent(Node node) override { return itemAt(node).parentItem(); }
  Node window(Node node) override {
    const QQuickWindow* const window = itemAt(node).window();
    return window != nullptr ? window->contentItem() : nullptr;
  }
  base::Rect convert(base::Rect rect, Node from, Node to) override {
    const QRectF mapped =
        mapRect({rect.x, rect.y, rect.width, rect.height}, itemAt(from), itemAt(to));
    return {mapped.x(), mapped.y(), mapped.width(), mapped.height()};
  }
  std::unique_ptr<WeakNode> weak(Node node) override;
};

/// No child is visited that has died or gone since the walk over them began: the visitor may end
/// any of them, and the parent too.
void QuickViews::eachChild(Node node, Visit visit) {
  const QPointer<QQuickItem> parent(&itemAt(node));
  const QList<QQuickItem*> children = parent->childItems();
  if (children.isEmpty()) return;
  for (QQuickItem* const child : inPaintOrder(children)) {
    if (!parent) return;
    const QList<QQuickItem*> now = parent->childItems();
    if (!now.isSharedWith(children) && !now.contains(child)) continue;
    if (!visit(child)) return;
  }
}

void QuickViews::eachVisibleCell(Node node, Visit visit) {
  QQuickItem& list = itemAt(node);
  const ClassFacts type = classOf(list);
  QQuickItem* holder = nullptr;
  if (type.trait == Trait::pathView) holder = &list;
  if (type.trait == Trait::itemView) holder = type.read<QQuickItem*>(list, Property::contentItem);
  if (holder == nullptr) return;
  const QRectF shown(0, 0, list.width(), list.height());
  Items cells;
  const QList<QQuickItem*> children = holder->childItems();
  for (QQuickItem* const child : children) {
    const bool isInSight =
        child->isVisible() &&
        child->mapRectToItem(&list, QRectF(0, 0, child->width(), child->height()))
            .intersects(shown);
    if (isInSight && isCell(*child)) cells.append(child);
  }
  // They stand in the order in which they were made, or made use of once more.
  std::ranges::sort(cells, {},
                    [](const QQuickItem* cell) { return std::pair(cell->y(), cell->x()); });
  const QPointer<QQuickItem> guard(holder);
  for (QQuickItem* const cell : cells) {
    if (!guard) return;
    const QList<QQuickItem*> now = guard->childItems();
    if (!now.isSharedWith(children) && !now.contains(cell)) continue;
    if (!visit(cell)) return;
  }
}

std::unique_ptr<platform::ViewToolkit::WeakNode> QuickViews::weak(Node node) {
  return std::make_unique<qt::WeakNode<ViewToolkit, QQuickItem>>(itemAt(node));
}

QuickViews& views() {
  static QuickViews& all = *new QuickViews;
  return all;
}

}  // namespace

platform::View quickView(QQuickItem* item) {
  return item != nullptr ? platform::View(views(), item) : platform::View();
}

QQuickItem* itemOf(const platform::View& view) {
  return static_cast<QQuickItem*>(view.nodeIn(views()));
}

}  // namespace zarn::qt
