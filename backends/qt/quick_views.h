// Qt Quick's items as views. The top of a window is its content item, which stands for the window:
// it has the window's size and coordinates, wherever an app moves the whole of its content. The
// popups and dialogs of the Controls stand in the window's overlay, an ordinary child of it.
//
// What is asked runs no code of the app: only the toolkit's own properties are read, so no node
// dies of being looked at. GUI thread.
#pragma once

#include "platform/view.h"

class QQuickItem;

namespace zarn::qt {

/// No view for null.
platform::View quickView(QQuickItem* item);
/// Null for no view, and for a view of another toolkit.
QQuickItem* itemOf(const platform::View& view);

}  // namespace zarn::qt
