// What Qt Quick's items are; see quick_views.h. GUI thread.
#pragma once

#include "base/function_ref.h"
#include "platform/view.h"
#include "qt/class_kinds.h"

class QQuickItem;

namespace zarn::qt {

platform::ViewFacts quickFacts(QQuickItem& item);
platform::LayerFacts quickLayer(const QQuickItem& item);
platform::TextContentType quickContentType(QQuickItem& item);

/// Whether the item is the content item of its window.
bool standsForWindow(const QQuickItem& item);

/// Whether the item is a delegate, and no header, footer or highlight, of a list. Its kind need not
/// tell: a label that stands for a row stays one.
bool isCell(const QQuickItem& item);

/// Whether the item hides what is typed, or has done so before: it is remembered.
bool isSecure(const QQuickItem& item, const ClassFacts& type);

/// Whether the item paints others once more of which one must not be seen, or may be such a one.
bool showsPrivateItems(QQuickItem& item, const ClassFacts& type);

/// The objects that hang on the item without being items: handlers, what is attached, animations.
/// `visit` returns whether to go on.
void eachHanging(const QQuickItem& item,
                 base::FunctionRef<bool(const QObject&, const ClassFacts&)> visit);

}  // namespace zarn::qt
