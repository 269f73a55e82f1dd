#include "capture/screen_tracker.h"

#include <utility>

#include "capture/recent_screens.h"
#include "platform/clock.h"
#include "platform/screen.h"
#include "screens/screen_naming.h"
#include "screens/screen_observer.h"

namespace zarn::capture {

ScreenTracker::ScreenTracker(screens::ScreenObserver& observer, screens::ScreenNaming& naming,
                             RecentScreens& recent, const platform::Clock& clock, OnScreen onScreen)
    : observer_(observer),
      naming_(naming),
      recent_(recent),
      clock_(clock),
      onScreen_(std::move(onScreen)) {}

void ScreenTracker::handleAppearance(const platform::Screen& screen) {
  ScreenSeen seen;
  seen.className = naming_.className(screen);
  if (screens::isSystemScreen(screen, seen.className)) return;
  const platform::View view = screen.view();
  if (!view || view.facts().size.isEmpty()) return;
  seen.observation = observer_.observe(view);
  const base::Duration now = clock_.monotonic();
  if (!recent_.addHash(seen.observation.structureHash, now)) return;
  seen.name = naming_.resolveScreenName(screen, seen.className, seen.observation);
  if (seen.name.empty() || screens::isPlaceholderName(seen.name)) return;
  if (!recent_.addName(seen.name, now)) return;
  onScreen_(screen, seen, naming_.makeCandidates(screen, {}, {}));
}

}  // namespace zarn::capture
