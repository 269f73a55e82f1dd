// What Qt Quick's items say; see quick_views.h. GUI thread. Nothing here ever gives out what is in
// a field that hides what is typed.
#pragma once

#include <string_view>

#include "platform/view.h"

class QQuickItem;

namespace zarn::qt {

std::string_view quickText(const QQuickItem& item, base::TextArena& arena);
std::string_view quickAccessibleName(const QQuickItem& item, base::TextArena& arena);
std::string_view quickTabTitle(const QQuickItem& tabBar, base::TextArena& arena);
platform::Font quickFont(const QQuickItem& item);
platform::ViewColors quickColors(const QQuickItem& item);

}  // namespace zarn::qt
