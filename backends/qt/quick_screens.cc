#include "qt/quick_screens.h"

#include <QQuickItem>
#include <QQuickWindow>
#include <algorithm>

#include "qt/class_kinds.h"
#include "qt/layout_fingerprint.h"
#include "qt/quick_places.h"
#include "qt/quick_texts.h"
#include "qt/quick_views.h"
#include "qt/redaction.h"
#include "qt/screen_classes.h"
#include "qt/text.h"
#include "qt/weak_node.h"

namespace zarn::qt {
namespace {

using platform::ScreenKind;

QQuickItem& itemOfNode(ScreenTree::Node node) {
  return *static_cast<QQuickItem*>(node);
}

// Whose class and title an item goes by: a window's and a popup's are objects of their own.
const QObject& faceOf(QQuickItem& item) {
  if (itemClass(item) == ItemClass::popup && item.parent() != nullptr) return *item.parent();
  if (placeOf(item) == QuickPlace::root && item.window() != nullptr) return *item.window();
  return item;
}

QString stringProperty(const QObject& object, const char* name) {
  const QVariant value = object.property(name);
  return value.userType() == QMetaType::QString ? value.toString() : QString();
}

// The only text in a page's header, its controls' aside: then it is the page's title.
struct HeaderText {
  QQuickItem* label = nullptr;
  int count = 0;
  int budget = 100;

  void look(QQuickItem& item) {
    if (!item.isVisible() || --budget < 0) return;
    const platform::ViewFacts facts = quickView(&item).facts();
    if (facts.isMarkedPrivate || facts.isSecureTextEntry || facts.acceptsTextInput) return;
    const ItemClass kind = itemClass(item);
    if (kind == ItemClass::button || kind == ItemClass::tabBar) return;
    if (kind == ItemClass::text) {
      if (!toolkitProperty(item, "text").toString().trimmed().isEmpty() && ++count == 1)
        label = &item;
      return;
    }
    const auto children = item.childItems();
    for (QQuickItem* const child : children) look(*child);
  }
};

QQuickItem* titleLabelOf(const QQuickItem& page) {
  if (itemClass(page) != ItemClass::page) return nullptr;
  auto* const header = toolkitProperty(page, "header").value<QQuickItem*>();
  if (header == nullptr || isWithinPrivate(*header)) return nullptr;
  HeaderText found;
  found.look(*header);
  return found.count == 1 ? found.label : nullptr;
}

int tabIndexOf(QQuickItem& container, const QQuickItem* branch) {
  const int count = std::min(tabCount(container), 64);
  for (int i = 0; i < count; ++i) {
    if (tabItem(container, i) == branch) return i;
  }
  return -1;
}

QQuickItem* tabButtonAt(QQuickItem& container, int index) {
  QQuickItem* const bar = index >= 0 ? tabBarOf(container) : nullptr;
  QQuickItem* const button = bar != nullptr ? containerItem(*bar, index) : nullptr;
  return button != nullptr && !isWithinPrivate(*button) ? button : nullptr;
}

QQuickItem* tabButtonOf(QQuickItem& screen) {
  QQuickItem* branch = nullptr;
  QQuickItem* const container = containerOf(screen, &branch);
  if (container == nullptr || placeOf(*container) != QuickPlace::tabs) return nullptr;
  return tabButtonAt(*container, tabIndexOf(*container, branch));
}

std::string_view buttonText(const QQuickItem* button, base::TextArena& arena) {
  return button != nullptr ? labelToArena(stringProperty(*button, "text"), arena)
                           : std::string_view();
}

}  // namespace

QuickScreens& QuickScreens::instance() {
  static auto& screens = *new QuickScreens;  // apps may die after everything else
  return screens;
}

std::uint64_t QuickScreens::id(Node node) {
  return screenId(itemOfNode(node));
}

platform::ScreenFacts QuickScreens::facts(Node node) {
  QQuickItem& item = itemOfNode(node);
  const bool isHosted = classOf(faceOf(item)).isToolkits;
  switch (placeOf(item)) {
    case QuickPlace::stack:
      return {ScreenKind::navigation, isHosted};
    case QuickPlace::tabs:
      return {ScreenKind::tabs, isHosted};
    case QuickPlace::page:
      return {ScreenKind::page, isHosted};
    case QuickPlace::root:
      break;
  }
  const bool isPage = screenInWindow(item) == nullptr && !isWindowLoading(item);
  return {isPage ? ScreenKind::page : ScreenKind::system, isHosted};
}

std::string_view QuickScreens::classText(Node node, base::TextArena& arena) {
  return qt::classText(faceOf(itemOfNode(node)), arena);
}

// The page that the app has a class for, in an item of the toolkit's that it fills.
std::string_view QuickScreens::rootTypeText(Node node, base::TextArena& arena) {
  QQuickItem* item = &itemOfNode(node);
  for (int depth = 0; depth < 4 && item != nullptr; ++depth) {
    QQuickItem* inner = nullptr;
    const auto children = item->childItems();
    for (QQuickItem* const child : children) {
      const bool fills = child->width() * child->height() * 2 >= item->width() * item->height();
      if (child->isVisible() && fills && child->z() >= 0) inner = child;
    }
    if (inner != nullptr && !classOf(*inner).isToolkits) {
      return qt::classText(*inner, arena);
    }
    item = inner;
  }
  return {};
}

std::string_view QuickScreens::title(Node node, base::TextArena& arena) {
  return toArena(stringProperty(faceOf(itemOfNode(node)), "title"), arena);
}

std::string_view QuickScreens::navigationTitle(Node node, base::TextArena& arena) {
  const QQuickItem* const label = titleLabelOf(itemOfNode(node));
  return label != nullptr ? quickText(*label, arena) : std::string_view();
}

std::string_view QuickScreens::tabTitle(Node node, base::TextArena& arena) {
  return buttonText(tabButtonOf(itemOfNode(node)), arena);
}

platform::View QuickScreens::navigationTitleView(Node node) {
  return quickView(titleLabelOf(itemOfNode(node)));
}

platform::View QuickScreens::tabView(Node node) {
  return quickView(tabButtonOf(itemOfNode(node)));
}

platform::View QuickScreens::view(Node node) {
  return quickView(&itemOfNode(node));
}

ScreenTree::Node QuickScreens::parent(Node node) {
  return containerOf(itemOfNode(node));
}

void QuickScreens::eachChild(Node node, Visit visit) {
  QQuickItem& item = itemOfNode(node);
  switch (placeOf(item)) {
    case QuickPlace::page:
      return;
    case QuickPlace::root:
      if (QQuickItem* const inner = screenInWindow(item)) visit(inner);
      return;
    case QuickPlace::tabs: {
      const int count = tabCount(item);
      for (int i = 0; i < count; ++i) {
        QQuickItem* const screen = screenAt(tabItem(item, i));
        if (screen != nullptr && !visit(screen)) return;
      }
      return;
    }
    case QuickPlace::stack:
      break;
  }
  const auto* const background = toolkitProperty(item, "background").value<QQuickItem*>();
  const auto* const content = toolkitProperty(item, "contentItem").value<QQuickItem*>();
  const auto children = item.childItems();
  for (QQuickItem* const child : children) {
    if (child == background || child == content) continue;
    QQuickItem* const screen = screenAt(child);
    if (screen != nullptr && !visit(screen)) return;
  }
}

ScreenTree::Node QuickScreens::presented(Node node) {
  QQuickItem& item = itemOfNode(node);
  if (placeOf(item) != QuickPlace::root) return nullptr;
  QQuickItem* topmost = nullptr;
  eachCoveringPopup(item, [&](QQuickItem& popup) {
    if (topmost == nullptr || popup.z() >= topmost->z()) topmost = &popup;
    return true;
  });
  return screenAt(topmost);
}

ScreenTree::Node QuickScreens::visible(Node node) {
  QQuickItem& item = itemOfNode(node);
  if (placeOf(item) != QuickPlace::stack) return nullptr;
  return screenAt(toolkitProperty(item, "currentItem").value<QQuickItem*>());
}

std::optional<int> QuickScreens::selectedIndex(Node node) {
  QQuickItem& item = itemOfNode(node);
  if (placeOf(item) != QuickPlace::tabs || currentTab(item) < 0) return std::nullopt;
  return currentTab(item);
}

ScreenTree::Node QuickScreens::selected(Node node) {
  QQuickItem& item = itemOfNode(node);
  if (placeOf(item) != QuickPlace::tabs) return nullptr;
  return screenAt(tabItem(item, currentTab(item)));
}

std::string_view QuickScreens::tabTitleAt(Node node, int index, base::TextArena& arena) {
  return buttonText(tabButtonAt(itemOfNode(node), index), arena);
}

platform::View QuickScreens::tabViewAt(Node node, int index) {
  return quickView(tabButtonAt(itemOfNode(node), index));
}

std::unique_ptr<platform::ScreenToolkit::WeakNode> QuickScreens::weak(Node node) {
  return std::make_unique<qt::WeakNode<ScreenToolkit, QQuickItem>>(itemOfNode(node));
}

bool QuickScreens::isSettled(Node node) {
  QQuickItem& item = itemOfNode(node);
  switch (placeOf(item)) {
    case QuickPlace::page:
      return true;
    case QuickPlace::stack:
      return !toolkitProperty(item, "busy").toBool();
    case QuickPlace::tabs: {
      const auto* const list = toolkitProperty(item, "contentItem").value<QQuickItem*>();
      return list == nullptr || !toolkitProperty(*list, "moving").toBool();
    }
    case QuickPlace::root:
      break;
  }
  bool isSettled = true;
  eachCoveringPopup(item, [&](QQuickItem& popup) {
    isSettled = toolkitProperty(*popup.parent(), "opened").toBool();
    return isSettled;
  });
  return isSettled;
}

std::uint64_t QuickScreens::layoutFingerprint(Node node) {
  return qt::layoutFingerprint(itemOfNode(node));
}

void QuickScreens::eachNotifier(Node node, base::FunctionRef<void(QObject&, const char*)> visit) {
  QQuickItem& item = itemOfNode(node);
  switch (placeOf(item)) {
    case QuickPlace::page:
      return;
    case QuickPlace::stack:
      visit(item, "currentItemChanged()");
      visit(item, "busyChanged()");
      return;
    case QuickPlace::tabs:
      visit(item, "currentIndexChanged()");
      if (auto* const list = toolkitProperty(item, "contentItem").value<QQuickItem*>()) {
        visit(*list, "movingChanged()");
      }
      return;
    case QuickPlace::root:
      eachCoveringPopup(item, [&](QQuickItem& popup) {
        visit(*popup.parent(), "openedChanged()");
        visit(*popup.parent(), "visibleChanged()");
        return true;
      });
  }
}

QObject& QuickScreens::object(Node node) {
  return itemOfNode(node);
}

}  // namespace zarn::qt
