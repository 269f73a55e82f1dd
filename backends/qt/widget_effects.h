// Graphics effects of Widgets, which paint a widget and all in it once more, at another place or in
// another form. GUI thread.
#pragma once

#include <optional>

#include "base/geometry.h"

class QWidget;

namespace zarn::qt {

/// Where an effect of the widget's own may paint, in its coordinates; nothing where all that is
/// seen stays where it is. Runs no code of the app.
std::optional<base::Rect> paintedByEffect(const QWidget& widget);
/// Whether there is something below it, or itself, that is masked under some policy. True as well
/// when there is too much to look at.
bool holdsPrivate(const QWidget& widget);

}  // namespace zarn::qt
