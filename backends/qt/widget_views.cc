#include "qt/widget_views.h"

#include <QAbstractItemView>
#include <QPointer>
#include <QTabBar>
#include <QTransform>
#include <QVarLengthArray>
#include <QWidget>
#include <cmath>

#include "qt/appearance.h"
#include "qt/class_kinds.h"
#include "qt/text.h"
#include "qt/weak_node.h"
#include "qt/widget_facts.h"

namespace zarn::qt {
namespace {

using platform::ViewKind;

QWidget& widgetAt(platform::ViewToolkit::Node node) {
  return *static_cast<QWidget*>(node);
}

class WidgetViews final : public platform::ViewToolkit {
 public:
  std::string_view classText(Node node, base::TextArena& arena) override {
    return qt::classText(widgetAt(node), arena);
  }
  bool isKindOf(Node node, std::string_view className) override {
    return qt::isKindOf(widgetAt(node), className);
  }
  platform::ViewFacts facts(Node node) override { return factsOf(widgetAt(node)); }
  platform::TextContentType contentType(Node node) override {
    return widgetContentType(widgetAt(node));
  }
  platform::LayerFacts layer(Node node) override { return widgetLayer(widgetAt(node)); }

  std::string_view text(Node node, base::TextArena& arena) override {
    return widgetText(widgetAt(node), arena);
  }
  platform::Font font(Node node) override { return toFont(widgetAt(node).font()); }
  platform::ViewColors colors(Node node) override;
  std::string_view accessibilityLabel(Node node, base::TextArena& arena) override {
    return widgetAccessibleName(widgetAt(node), arena);
  }
  std::string_view accessibilityIdentifier(Node node, base::TextArena& arena) override {
    return toArena(widgetAt(node).objectName(), arena);
  }
  std::string_view reuseIdentifier(Node node, base::TextArena& arena) override {
    return isCell(widgetAt(node)) ? qt::classText(widgetAt(node), arena) : std::string_view();
  }
  std::string_view selectedTabTitle(Node node, base::TextArena& arena) override {
    const auto* const bar = qobject_cast<const QTabBar*>(&widgetAt(node));
    return bar != nullptr ? labelToArena(bar->tabText(bar->currentIndex()), arena)
                          : std::string_view();
  }

  void eachChild(Node node, Visit visit) override;
  void eachVisibleCell(Node node, Visit visit) override;
  bool drawsRows(Node node) override { return qt::drawsRows(widgetAt(node)); }
  Node parent(Node node) override {
    const QWidget& widget = widgetAt(node);
    return widget.isWindow() ? nullptr : widget.parentWidget();
  }
  Node window(Node node) override { return widgetAt(node).window(); }
  base::Rect convert(base::Rect rect, Node from, Node to) override;
  std::unique_ptr<WeakNode> weak(Node node) override;

 private:
  /// A widget that an item view shows in the place of a row's picture.
  static bool isCell(const QWidget& widget) {
    const QWidget* const viewport = widget.isWindow() ? nullptr : widget.parentWidget();
    if (viewport == nullptr || viewport->parentWidget() == nullptr) return false;
    const auto* const list = qobject_cast<const QAbstractItemView*>(viewport->parentWidget());
    return list != nullptr && list->viewport() == viewport;
  }
  static platform::ViewFacts factsOf(QWidget& widget) {
    platform::ViewFacts facts = widgetFacts(widget);
    if (facts.kind == ViewKind::plain && isCell(widget)) facts.kind = ViewKind::cell;
    return facts;
  }
};

/// The order of a widget's children is that in which they are painted.
void WidgetViews::eachChild(Node node, Visit visit) {
  const QPointer<QWidget> parent(&widgetAt(node));
  const QObjectList children = parent->children();
  for (QObject* const child : children) {
    if (!parent) return;
    if (!parent->children().isSharedWith(children) && !parent->children().contains(child)) continue;
    if (!child->isWidgetType()) continue;
    auto* const widget = static_cast<QWidget*>(child);
    if (!widget->isWindow() && !visit(widget)) return;
  }
}

void WidgetViews::eachVisibleCell(Node node, Visit visit) {
  const auto* const list = qobject_cast<const QAbstractItemView*>(&widgetAt(node));
  if (list == nullptr || list->viewport() == nullptr) return;
  const QRect shown = list->viewport()->rect();
  eachChild(list->viewport(), [&](Node child) {
    const QWidget& cell = widgetAt(child);
    return !cell.isVisible() || !cell.geometry().intersects(shown) || visit(child);
  });
}

platform::ViewColors WidgetViews::colors(Node node) {
  const QWidget& widget = widgetAt(node);
  platform::ViewColors colors;
  if (widget.autoFillBackground() || widget.isWindow()) {
    colors.background = toColor(widget.palette().color(widget.backgroundRole()));
  }
  colors.foreground = toColor(widget.palette().color(widget.foregroundRole()));
  return colors;
}

base::Rect WidgetViews::convert(base::Rect rect, Node from, Node to) {
  // Widgets are moved by whole points only.
  const QWidget& source = widgetAt(from);
  const QWidget& target = widgetAt(to);
  const QWidget* const window = source.window();
  if (window != target.window()) return {};
  const QPoint moved = source.mapTo(window, QPoint(0, 0)) - target.mapTo(window, QPoint(0, 0));
  return {rect.x + moved.x(), rect.y + moved.y(), rect.width, rect.height};
}

std::unique_ptr<platform::ViewToolkit::WeakNode> WidgetViews::weak(Node node) {
  return std::make_unique<qt::WeakNode<ViewToolkit, QWidget>>(widgetAt(node));
}

WidgetViews& views() {
  static WidgetViews& all = *new WidgetViews;
  return all;
}

}  // namespace

platform::View widgetView(QWidget* widget) {
  return widget != nullptr ? platform::View(views(), widget) : platform::View();
}

QWidget* widgetOf(const platform::View& view) {
  return static_cast<QWidget*>(view.nodeIn(views()));
}

}  // namespace zarn::qt
