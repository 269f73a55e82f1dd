#include "qt/widget_screens.h"

#include <QMainWindow>
#include <QStackedWidget>
#include <QTabBar>
#include <QTabWidget>

#include "qt/class_kinds.h"
#include "qt/layout_fingerprint.h"
#include "qt/redaction.h"
#include "qt/text.h"
#include "qt/weak_node.h"
#include "qt/widget_views.h"

namespace zarn::qt {
namespace {

using platform::ScreenKind;

constexpr int kMaxDepth = 24;
constexpr int kSearchBudget = 600;  // widgets

QWidget& widgetOfNode(ScreenTree::Node node) {
  return *static_cast<QWidget*>(node);
}

// A screen takes at least half of its window.
bool fillsWindow(const QWidget& widget) {
  const QWidget& window = *widget.window();
  return qint64{widget.width()} * widget.height() * 2 >= qint64{window.width()} * window.height();
}

// The tab widget's own stack is a part of it.
bool isStack(const QWidget& widget) {
  return qobject_cast<const QStackedWidget*>(&widget) != nullptr &&
         qobject_cast<const QTabWidget*>(widget.parentWidget()) == nullptr;
}

bool isTabWidget(const QWidget& widget) {
  return qobject_cast<const QTabWidget*>(&widget) != nullptr;
}

bool isContainer(const QWidget& widget) {
  return (isStack(widget) || isTabWidget(widget)) && fillsWindow(widget);
}

QWidget* findContainer(const QWidget& widget, int& budget, int depth) {
  if (depth > kMaxDepth) return nullptr;
  const QObjectList& children = widget.children();
  for (auto at = children.rbegin(); at != children.rend(); ++at) {
    if (!(*at)->isWidgetType() || --budget < 0) continue;
    auto& child = static_cast<QWidget&>(**at);
    if (child.isHidden() || child.isWindow() || !fillsWindow(child)) continue;
    if (isContainer(child)) return &child;
    if (QWidget* const found = findContainer(child, budget, depth + 1)) return found;
  }
  return nullptr;
}

/// The screen that a widget at a screen's place stands for.
QWidget* screenAt(QWidget* widget) {
  if (widget == nullptr || isContainer(*widget)) return widget;
  int budget = kSearchBudget;
  QWidget* const inner = findContainer(*widget, budget, 0);
  return inner != nullptr ? inner : widget;
}

/// What fills a window; null when the window itself is the page.
QWidget* screenInWindow(QWidget& window) {
  int budget = kSearchBudget;
  if (QWidget* const container = findContainer(window, budget, 0)) return container;
  const auto* const main = qobject_cast<const QMainWindow*>(&window);
  QWidget* const central = main != nullptr ? main->centralWidget() : nullptr;
  return central != nullptr && !classOf(*central).isToolkits ? central : nullptr;
}

QTabBar* findTabBar(const QWidget& widget, const QWidget* except, const QStackedWidget& stack,
                    int& budget, int depth) {
  for (QObject* const object : widget.children()) {
    if (!object->isWidgetType() || object == except || --budget < 0) continue;
    auto* const bar = qobject_cast<QTabBar*>(object);
    if (bar != nullptr && bar->count() == stack.count() &&
        bar->currentIndex() == stack.currentIndex()) {
      return bar;
    }
    if (depth > kMaxDepth || isTabWidget(static_cast<QWidget&>(*object))) continue;
    const auto& child = static_cast<const QWidget&>(*object);
    if (QTabBar* const found = findTabBar(child, nullptr, stack, budget, depth + 1)) return found;
  }
  return nullptr;
}

/// The bar that selects among the tabs; null where a stack has none.
QTabBar* tabBarOf(const QWidget& container) {
  if (const auto* const tabs = qobject_cast<const QTabWidget*>(&container)) return tabs->tabBar();
  const auto* const stack = qobject_cast<const QStackedWidget*>(&container);
  if (stack == nullptr || stack->count() == 0) return nullptr;
  int budget = kSearchBudget;
  const QWidget* searched = stack;
  for (const QWidget* widget = stack; !widget->isWindow(); searched = widget) {
    widget = widget->parentWidget();
    if (QTabBar* const bar = findTabBar(*widget, searched, *stack, budget, 0)) return bar;
    if (isContainer(*widget)) return nullptr;
  }
  return nullptr;
}

ScreenKind kindOf(QWidget& widget) {
  if (isContainer(widget)) {
    return tabBarOf(widget) != nullptr ? ScreenKind::tabs : ScreenKind::navigation;
  }
  const bool isAround = widget.isWindow() && screenInWindow(widget) != nullptr;
  return isAround ? ScreenKind::system : ScreenKind::page;
}

// One interface for both kinds of container.
int countOf(const QWidget& container) {
  if (const auto* const tabs = qobject_cast<const QTabWidget*>(&container)) return tabs->count();
  const auto* const stack = qobject_cast<const QStackedWidget*>(&container);
  return stack != nullptr ? stack->count() : 0;
}

int currentOf(const QWidget& container) {
  if (const auto* const tabs = qobject_cast<const QTabWidget*>(&container)) {
    return tabs->currentIndex();
  }
  const auto* const stack = qobject_cast<const QStackedWidget*>(&container);
  return stack != nullptr ? stack->currentIndex() : -1;
}

QWidget* widgetAt(const QWidget& container, int index) {
  if (const auto* const tabs = qobject_cast<const QTabWidget*>(&container)) {
    return tabs->widget(index);
  }
  const auto* const stack = qobject_cast<const QStackedWidget*>(&container);
  return stack != nullptr ? stack->widget(index) : nullptr;
}

QWidget* containerOf(QWidget& widget) {
  if (widget.isWindow()) return nullptr;
  QWidget* container = widget.parentWidget();
  while (!container->isWindow() && !isContainer(*container)) container = container->parentWidget();
  return container;
}

/// As it is shown: `[*]` is the place of a mark for unsaved changes, and two of them are one.
QString titleOf(const QWidget& widget) {
  const QString place = QStringLiteral("[*]");
  QStringList parts = widget.windowTitle().split(place + place);
  for (QString& part : parts) part.remove(place);
  return parts.join(place);
}

// Tabs are no widgets of their own.
platform::View barView(const QWidget* container) {
  return widgetView(container != nullptr ? tabBarOf(*container) : nullptr);
}

}  // namespace

WidgetScreens& WidgetScreens::instance() {
  static auto& screens = *new WidgetScreens;  // apps may die after everything else
  return screens;
}

std::uint64_t WidgetScreens::id(Node node) {
  return screenId(widgetOfNode(node));
}

platform::ScreenFacts WidgetScreens::facts(Node node) {
  QWidget& widget = widgetOfNode(node);
  return {kindOf(widget), classOf(widget).isToolkits};
}

std::string_view WidgetScreens::classText(Node node, base::TextArena& arena) {
  return qt::classText(widgetOfNode(node), arena);
}

std::string_view WidgetScreens::rootTypeText(Node, base::TextArena&) {
  return {};
}

std::string_view WidgetScreens::title(Node node, base::TextArena& arena) {
  return toArena(titleOf(widgetOfNode(node)), arena);
}

std::string_view WidgetScreens::navigationTitle(Node, base::TextArena&) {
  return {};
}

std::string_view WidgetScreens::tabTitle(Node node, base::TextArena& arena) {
  QWidget& widget = widgetOfNode(node);
  QWidget* const container = containerOf(widget);
  if (container == nullptr) return {};
  for (int i = 0; i < countOf(*container); ++i) {
    const QWidget* const page = widgetAt(*container, i);
    if (page == &widget || page->isAncestorOf(&widget)) return tabTitleAt(container, i, arena);
  }
  return {};
}

platform::View WidgetScreens::navigationTitleView(Node) {
  return {};
}

platform::View WidgetScreens::tabView(Node node) {
  return barView(containerOf(widgetOfNode(node)));
}

platform::View WidgetScreens::tabViewAt(Node node, int) {
  return barView(&widgetOfNode(node));
}

platform::View WidgetScreens::view(Node node) {
  return widgetView(&widgetOfNode(node));
}

ScreenTree::Node WidgetScreens::parent(Node node) {
  return containerOf(widgetOfNode(node));
}

void WidgetScreens::eachChild(Node node, Visit visit) {
  QWidget& widget = widgetOfNode(node);
  if (!isContainer(widget)) {
    QWidget* const inner = widget.isWindow() ? screenInWindow(widget) : nullptr;
    if (inner != nullptr) visit(inner);
    return;
  }
  for (int i = 0; i < countOf(widget); ++i) {
    QWidget* const screen = screenAt(widgetAt(widget, i));
    if (screen != nullptr && !visit(screen)) return;
  }
}

// Dialogs are windows of their own.
ScreenTree::Node WidgetScreens::presented(Node) {
  return nullptr;
}

ScreenTree::Node WidgetScreens::visible(Node node) {
  const QWidget& widget = widgetOfNode(node);
  if (!isContainer(widget)) return nullptr;
  return screenAt(widgetAt(widget, currentOf(widget)));
}

std::optional<int> WidgetScreens::selectedIndex(Node node) {
  const QWidget& widget = widgetOfNode(node);
  if (!isContainer(widget) || currentOf(widget) < 0) return std::nullopt;
  return currentOf(widget);
}

ScreenTree::Node WidgetScreens::selected(Node node) {
  return visible(node);
}

std::string_view WidgetScreens::tabTitleAt(Node node, int index, base::TextArena& arena) {
  const QTabBar* const bar = tabBarOf(widgetOfNode(node));
  if (bar == nullptr || isWithinPrivate(*bar)) return {};
  return labelToArena(bar->tabText(index), arena);
}

std::unique_ptr<platform::ScreenToolkit::WeakNode> WidgetScreens::weak(Node node) {
  return std::make_unique<qt::WeakNode<ScreenToolkit, QWidget>>(widgetOfNode(node));
}

bool WidgetScreens::isSettled(Node) {
  return true;
}

std::uint64_t WidgetScreens::layoutFingerprint(Node node) {
  return qt::layoutFingerprint(widgetOfNode(node));
}

// Widgets that come into sight are seen by the filter.
void WidgetScreens::eachNotifier(Node, base::FunctionRef<void(QObject&, const char*)>) {}

QObject& WidgetScreens::object(Node node) {
  return widgetOfNode(node);
}

}  // namespace zarn::qt
