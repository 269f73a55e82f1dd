// ScreenTracker: decides which of the screens that come into sight are worth telling, and what they
// are called.
#pragma once

#include <functional>
#include <vector>

#include "capture/screen_seen.h"

namespace zarn::platform {
class Clock;
class Screen;
}  // namespace zarn::platform
namespace zarn::screens {
class ScreenNaming;
class ScreenObserver;
}  // namespace zarn::screens

namespace zarn::capture {

class RecentScreens;

/// Main thread.
class ScreenTracker {
 public:
  using OnScreen = std::function<void(const platform::Screen&, const ScreenSeen&,
                                      const std::vector<model::NameCandidate>&)>;

  ScreenTracker(screens::ScreenObserver& observer, screens::ScreenNaming& naming,
                RecentScreens& recent, const platform::Clock& clock, OnScreen onScreen);

  /// Tells a screen that has come into sight, unless it is the toolkit's own, has nothing to show,
  /// has no name or was told a moment ago. Its shape counts as seen even when its name is refused.
  void handleAppearance(const platform::Screen& screen);

 private:
  // Constant after construction.
  screens::ScreenObserver& observer_;
  screens::ScreenNaming& naming_;
  RecentScreens& recent_;
  const platform::Clock& clock_;
  const OnScreen onScreen_;
};

}  // namespace zarn::capture
