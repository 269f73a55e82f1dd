// Qt's widgets as views. Windows of their own, such as dialogs and menus, are nobody's children
// here. What paints its own rows or scene without widgets has none below it. GUI thread.
#pragma once

#include "platform/view.h"

class QWidget;

namespace zarn::qt {

/// No view for null.
platform::View widgetView(QWidget* widget);
/// Null for no view, and for a view of another toolkit.
QWidget* widgetOf(const platform::View& view);

}  // namespace zarn::qt
