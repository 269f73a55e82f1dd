// Whether something in a window is drawn elsewhere than its item is: animators move pictures, and
// their items only once they are at the end. GUI thread.
#pragma once

class QQuickItem;

namespace zarn::qt {

/// Looks at the item and all below it. Rather yes than no.
bool hasRunningAnimator(const QQuickItem& item);

}  // namespace zarn::qt
