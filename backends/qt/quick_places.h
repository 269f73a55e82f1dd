// Where screens sit in a window of Qt Quick: pure questions about its tree of items. GUI thread.
#pragma once

#include <cstdint>

#include "base/function_ref.h"

class QQuickItem;

namespace zarn::qt {

enum class QuickPlace : std::uint8_t { page, root, stack, tabs };
QuickPlace placeOf(QQuickItem& item);

/// The screen that an item at a screen's place stands for: itself, or a container or page that
/// fills it; null while it is not loaded.
QQuickItem* screenAt(QQuickItem* item);
/// What fills the window; null when nothing does, so that the window itself is the page.
QQuickItem* screenInWindow(QQuickItem& root);
/// Whether what is to fill the window is still being loaded.
bool isWindowLoading(QQuickItem& root);
/// The container, or the root, that a screen lies in; null for the root. `branch` is the item of
/// the container that holds the screen.
QQuickItem* containerOf(QQuickItem& screen, QQuickItem** branch = nullptr);

/// The items of a container of tabs.
int tabCount(QQuickItem& tabs);
int currentTab(QQuickItem& tabs);  // -1: none
QQuickItem* tabItem(QQuickItem& tabs, int index);
/// The bar that selects among them; null without one.
QQuickItem* tabBarOf(QQuickItem& tabs);
/// One of the items that were added to a bar or a view of tabs.
QQuickItem* containerItem(QQuickItem& container, int index);

/// Popups that cover the window like a screen, from the lowest to the topmost; `visit` returns
/// whether to go on. Standard dialogs, menus and tool tips are none.
void eachCoveringPopup(QQuickItem& root, base::FunctionRef<bool(QQuickItem&)> visit);

}  // namespace zarn::qt
