// What Qt's widgets are and say; see widget_views.h. GUI thread. Nothing here ever gives out what
// is in a field that hides what is typed.
#pragma once

#include <string_view>

#include "platform/view.h"

class QWidget;

namespace zarn::qt {

platform::ViewFacts widgetFacts(QWidget& widget);
platform::LayerFacts widgetLayer(const QWidget& widget);
platform::TextContentType widgetContentType(QWidget& widget);

/// Of an item view: whether its model has rows. Runs the model's code.
bool drawsRows(const QWidget& widget);

std::string_view widgetText(QWidget& widget, base::TextArena& arena);
std::string_view widgetAccessibleName(QWidget& widget, base::TextArena& arena);

}  // namespace zarn::qt
