#include "screens/window_event_interceptor.h"

#include <utility>

namespace zarn::screens {

std::string_view name(InteractionKind kind) {
  switch (kind) {
    case InteractionKind::tap:
      return "tap";
    case InteractionKind::longPress:
      return "long_press";
    case InteractionKind::swipeUp:
      return "swipe_up";
    case InteractionKind::swipeDown:
      return "swipe_down";
    case InteractionKind::swipeLeft:
      return "swipe_left";
    case InteractionKind::swipeRight:
      return "swipe_right";
    case InteractionKind::multiTap:
      return "multi_tap";
    case InteractionKind::pinchIn:
      return "pinch_in";
    case InteractionKind::pinchOut:
      return "pinch_out";
    case InteractionKind::scrollEnd:
      return "scroll_end";
  }
  return "";
}

void WindowEventInterceptor::tapped(const platform::Touch& touch) {
  if (noteTap) noteTap();
  if (!isEnabled_.load(std::memory_order_relaxed) || !onInteraction) return;
  const platform::View hit = input_.hitTest(touch.window, touch.location);
  Interaction tap{.kind = InteractionKind::tap,
                  .location = touch.location,
                  .startLocation = touch.location,
                  .durationMs = 0,
                  .touchCount = 1,
                  .hit = hit.weak()};
  main_.post(base::weakly(scope_, [this, tap = std::move(tap)] { onInteraction(tap); }));
}

}  // namespace zarn::screens
