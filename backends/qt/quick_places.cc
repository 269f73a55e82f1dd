#include "qt/quick_places.h"

#include <QMetaMethod>
#include <QQuickItem>
#include <QQuickWindow>

#include "qt/class_kinds.h"
#include "qt/quick_facts.h"
#include "qt/screen_classes.h"

namespace zarn::qt {
namespace {

constexpr int kMaxDepth = 24;
constexpr int kSearchBudget = 600;  // items; a search that needs more finds nothing
constexpr int kLoaderReady = 1;
constexpr int kLoaderLoading = 2;

// A screen takes at least half of its window. Its scale doesn't count: it may be flying in.
bool fillsWindow(const QQuickItem& item) {
  const QQuickWindow* const window = item.window();
  if (window == nullptr) return false;
  const QQuickItem& root = *window->contentItem();
  return item.width() * item.height() * 2 >= root.width() * root.height() && item.width() > 0 &&
         item.height() > 0;
}

bool mayHoldScreen(const QQuickItem& item) {
  return item.width() <= 0 || item.height() <= 0 || fillsWindow(item);
}

bool isRoot(const QQuickItem& item) {
  return item.parentItem() == nullptr || standsForWindow(item);
}

QQuickItem* itemProperty(const QObject& object, const char* name) {
  return toolkitProperty(object, name).value<QQuickItem*>();
}

// The topmost that `visit` finds something in: the later of siblings, unless one is raised.
template <typename Visit>
QQuickItem* topmostChild(const QQuickItem& item, Visit&& visit) {
  const QList<QQuickItem*> children = item.childItems();
  QQuickItem* found = nullptr;
  double height = 0;
  for (qsizetype i = children.size() - 1; i >= 0; --i) {
    QQuickItem& child = *children[i];
    if (!child.isVisible() || (found != nullptr && child.z() <= height)) continue;
    if (QQuickItem* const hit = visit(child)) {
      found = hit;
      height = child.z();
    }
  }
  return found;
}

struct Search {
  bool isInWindow = false;  // directly in the window, not within a page
  bool isLoading = false;
  int budget = kSearchBudget;
};

bool isTabsLayout(QQuickItem& layout) {
  if (tabCount(layout) == 0) return false;
  const QQuickItem* const current = tabItem(layout, currentTab(layout));
  return (current != nullptr && itemClass(*current) == ItemClass::page) ||
         tabBarOf(layout) != nullptr;
}

QQuickItem* findPlace(QQuickItem& item, Search& search, int depth);

// What a loader has loaded is a screen when it says so, or when nothing else is in the window.
QQuickItem* findLoaded(QQuickItem& loader, Search& search, int depth) {
  const int status = toolkitProperty(loader, "status").toInt();
  if (status == kLoaderLoading && search.isInWindow) search.isLoading = true;
  if (status != kLoaderReady) return nullptr;
  QQuickItem* const loaded = itemProperty(loader, "item");
  if (loaded == nullptr || !loaded->isVisible()) return nullptr;
  if (itemClass(*loaded) == ItemClass::page || search.isInWindow) return loaded;
  return findPlace(*loaded, search, depth + 1);
}

QQuickItem* placeIn(QQuickItem& child, Search& search, int depth) {
  if (--search.budget < 0 || !mayHoldScreen(child)) return nullptr;
  if (fillsWindow(child)) {
    switch (itemClass(child)) {
      case ItemClass::stackView:
      case ItemClass::swipeView:
      case ItemClass::page:
        return &child;
      case ItemClass::stackLayout:
        if (isTabsLayout(child)) return &child;
        break;
      case ItemClass::loader:
        return findLoaded(child, search, depth);
      default:
        break;
    }
  }
  switch (itemClass(child)) {
    case ItemClass::overlay:
    case ItemClass::cells:
    case ItemClass::button:
    case ItemClass::text:
      return nullptr;
    default:
      return findPlace(child, search, depth + 1);
  }
}

QQuickItem* findPlace(QQuickItem& item, Search& search, int depth) {
  if (depth > kMaxDepth) return nullptr;
  return topmostChild(item, [&](QQuickItem& child) { return placeIn(child, search, depth); });
}

// In a window without containers: the only item that fills it, if the app has a class for it.
QQuickItem* findNamed(const QQuickItem& item, int depth) {
  QQuickItem* filling = nullptr;
  const auto children = item.childItems();
  for (QQuickItem* const child : children) {
    if (!child->isVisible() || !fillsWindow(*child)) continue;
    if (itemClass(*child) == ItemClass::overlay) continue;
    if (filling != nullptr) return nullptr;
    filling = child;
  }
  if (filling == nullptr || depth > 4) return nullptr;
  return classOf(*filling).isToolkits ? findNamed(*filling, depth + 1) : filling;
}

bool isContainer(QQuickItem& item) {
  switch (itemClass(item)) {
    case ItemClass::stackView:
    case ItemClass::swipeView:
      return fillsWindow(item);
    case ItemClass::stackLayout:
      return fillsWindow(item) && isTabsLayout(item);
    default:
      return false;
  }
}

QQuickItem* screenAt(QQuickItem* item, int depth) {
  if (item == nullptr || depth > kMaxDepth || isContainer(*item)) return item;
  if (itemClass(*item) == ItemClass::loader) {
    const bool isReady = toolkitProperty(*item, "status").toInt() == kLoaderReady;
    return isReady ? screenAt(itemProperty(*item, "item"), depth + 1) : nullptr;
  }
  Search search;
  QQuickItem* const inner = findPlace(*item, search, 0);
  return inner != nullptr ? screenAt(inner, depth + 1) : item;
}

QQuickItem* findTabBar(QQuickItem& item, const QQuickItem* except, int count, int& budget,
                       int depth) {
  if (depth > kMaxDepth) return nullptr;
  const auto children = item.childItems();
  for (QQuickItem* const child : children) {
    if (child == except || --budget < 0) continue;
    if (itemClass(*child) == ItemClass::tabBar) {
      if (toolkitProperty(*child, "count").toInt() == count) return child;
    } else if (itemClass(*child) != ItemClass::cells) {
      if (QQuickItem* const bar = findTabBar(*child, nullptr, count, budget, depth + 1)) return bar;
    }
  }
  return nullptr;
}

bool coversLikeScreen(QQuickItem& item) {
  const QObject* const popup = item.parent();
  if (popup == nullptr || itemClass(item) != ItemClass::popup || !fillsWindow(item)) return false;
  if (!toolkitProperty(*popup, "modal").toBool()) return false;
  return !popup->inherits("QQuickDialog") && !popup->inherits("QQuickMenu") &&
         !popup->inherits("QQuickToolTip") && !popup->inherits("QQuickDrawer");
}

}  // namespace

QuickPlace placeOf(QQuickItem& item) {
  if (isRoot(item)) return QuickPlace::root;
  if (!isContainer(item)) return QuickPlace::page;
  return itemClass(item) == ItemClass::stackView ? QuickPlace::stack : QuickPlace::tabs;
}

QQuickItem* screenAt(QQuickItem* item) {
  return screenAt(item, 0);
}

QQuickItem* screenInWindow(QQuickItem& root) {
  Search search{.isInWindow = true};
  if (QQuickItem* const place = findPlace(root, search, 0)) return screenAt(place);
  if (search.isLoading) return nullptr;
  return screenAt(findNamed(root, 0));
}

bool isWindowLoading(QQuickItem& root) {
  Search search{.isInWindow = true};
  return findPlace(root, search, 0) == nullptr && search.isLoading;
}

QQuickItem* containerOf(QQuickItem& screen, QQuickItem** branch) {
  if (isRoot(screen)) return nullptr;
  QQuickItem* below = &screen;
  for (QQuickItem* item = screen.parentItem(); item != nullptr; item = item->parentItem()) {
    if (isRoot(*item)) return item;
    if (isContainer(*item)) {
      if (branch != nullptr) *branch = below;
      return item;
    }
    // A view of tabs keeps its items in a list of its own.
    if (itemClass(*item) != ItemClass::cells &&
        (item->parentItem() == nullptr || itemClass(*item->parentItem()) != ItemClass::cells)) {
      below = item;
    }
  }
  return nullptr;
}

QQuickItem* containerItem(QQuickItem& container, int index) {
  QQuickItem* item = nullptr;
  toolkitMethod(container, "itemAt(int)")
      .invoke(&container, Qt::DirectConnection, Q_RETURN_ARG(QQuickItem*, item), Q_ARG(int, index));
  return item;
}

int tabCount(QQuickItem& tabs) {
  return toolkitProperty(tabs, "count").toInt();
}

int currentTab(QQuickItem& tabs) {
  return toolkitProperty(tabs, "currentIndex").toInt();
}

QQuickItem* tabItem(QQuickItem& tabs, int index) {
  if (index < 0) return nullptr;
  if (itemClass(tabs) == ItemClass::swipeView) return containerItem(tabs, index);
  const auto children = tabs.childItems();
  for (QQuickItem* const child : children) {
    if (itemClass(*child) == ItemClass::repeater) continue;
    if (index-- == 0) return child;
  }
  return nullptr;
}

QQuickItem* tabBarOf(QQuickItem& tabs) {
  const int count = tabCount(tabs);
  if (count == 0) return nullptr;
  int budget = kSearchBudget;
  QQuickItem* searched = &tabs;
  for (QQuickItem* item = tabs.parentItem(); item != nullptr; item = item->parentItem()) {
    if (QQuickItem* const bar = findTabBar(*item, searched, count, budget, 0)) {
      return toolkitProperty(*bar, "currentIndex").toInt() == currentTab(tabs) ? bar : nullptr;
    }
    if (isContainer(*item)) return nullptr;  // a bar out there is that container's
    searched = item;
  }
  return nullptr;
}

void eachCoveringPopup(QQuickItem& root, base::FunctionRef<bool(QQuickItem&)> visit) {
  const auto tops = root.childItems();
  for (QQuickItem* const top : tops) {
    if (itemClass(*top) != ItemClass::overlay || !top->isVisible()) continue;
    const auto popups = top->childItems();
    for (QQuickItem* const popup : popups) {
      if (popup->isVisible() && coversLikeScreen(*popup) && !visit(*popup)) return;
    }
  }
}

}  // namespace zarn::qt
