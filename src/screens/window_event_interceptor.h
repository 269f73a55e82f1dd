// WindowEventInterceptor: taps anywhere in the app's windows, for whoever follows the user.
#pragma once

#include <atomic>
#include <cstdint>
#include <functional>

#include "base/executor.h"
#include "base/weakly.h"
#include "platform/input_events.h"

namespace zarn::screens {

enum class InteractionKind : std::uint8_t {
  tap,
  longPress,
  swipeUp,
  swipeDown,
  swipeLeft,
  swipeRight,
  multiTap,
  pinchIn,
  pinchOut,
  scrollEnd,
};
/// The word on the wire, such as "long_press".
std::string_view name(InteractionKind kind);

struct Interaction {
  InteractionKind kind = InteractionKind::tap;
  base::Point location;
  base::Point startLocation;
  int durationMs = 0;
  int touchCount = 1;
  platform::WeakView hit;
};

/// Main thread but for what says otherwise.
class WindowEventInterceptor {
 public:
  WindowEventInterceptor(platform::InputEvents& input, base::Executor& main)
      : input_(input), main_(main) {}

  /// For every tap, whether interactions are wanted or not. Set before the first tap.
  std::function<void()> noteTap;
  /// Posted to the main thread, after the app has had the tap.
  std::function<void(const Interaction&)> onInteraction;

  /// Any thread. On at first.
  void setEnabled(bool isEnabled) { isEnabled_.store(isEnabled, std::memory_order_relaxed); }

  void tapped(const platform::Touch& touch);

 private:
  platform::InputEvents& input_;
  base::Executor& main_;
  std::atomic<bool> isEnabled_ = true;
  base::Scope scope_;
};

}  // namespace zarn::screens
