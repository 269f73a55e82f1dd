// Qt's colours and fonts in the view seam's terms.
#pragma once

#include <QColor>
#include <QFont>

#include "platform/view.h"

namespace zarn::qt {

platform::Color toColor(const QColor& color);
/// Its size in the user interface's points, whichever way the app gave it.
platform::Font toFont(const QFont& font);

}  // namespace zarn::qt
