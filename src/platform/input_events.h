// What the user does with the app's windows, seen without taking anything away: no event is
// consumed, delayed or changed.
#pragma once

#include <functional>

#include "base/geometry.h"
#include "platform/view.h"

namespace zarn::platform {

struct Touch {
  View window;           // its top node
  base::Point location;  // in the window
};

/// On the main thread. Empty closures are not called. Views may have died by the time a closure
/// that was posted runs: keep them weakly.
struct InputListener {
  /// A finger or button went down and up at one place; wherever that was.
  std::function<void(const Touch&)> tapped;
  /// A control was operated by a tap that began and ended inside of it. Before the app hears of it,
  /// which may be the end of the control.
  std::function<void(const View& control)> activated;
  /// The user drags, and lets go of, a view that scrolls.
  std::function<void(const View& scroll)> scrollBegan;
  std::function<void(const View& scroll)> scrollEnded;
};

/// Main thread.
class InputEvents {
 public:
  virtual ~InputEvents() = default;
  /// Adds a listener for the life of the process. The first one puts the hook in place.
  virtual void listen(InputListener listener) = 0;
  /// The topmost view of the window at this place that takes touches; no view without one.
  virtual View hitTest(const View& window, base::Point location) = 0;
};

}  // namespace zarn::platform
