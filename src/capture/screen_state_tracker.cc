#include "capture/screen_state_tracker.h"

#include <utility>

#include "platform/clock.h"
#include "screens/screen_naming.h"
#include "screens/screen_observer.h"
#include "screens/scroll_observer.h"

namespace zarn::capture {

ScreenStateTracker::ScreenStateTracker(base::Executor& main, const platform::Clock& clock,
                                       const screens::ScrollObserver& scrolling,
                                       screens::ScreenObserver& observer,
                                       std::function<bool()> mayLook, OnStateChange onStateChange)
    : main_(main),
      clock_(clock),
      scrolling_(scrolling),
      observer_(observer),
      mayLook_(std::move(mayLook)),
      onStateChange_(std::move(onStateChange)) {}

void ScreenStateTracker::appeared(const platform::Screen& screen, model::ScreenState state) {
  remembered(screen).toldState = state;
}

void ScreenStateTracker::layoutChanged(const platform::Screen& screen) {
  Memory& memory = remembered(screen);
  if (memory.isSystem) return;
  // Scrolling moves what is there; a screen that has just come still loads meanwhile.
  if (scrolling_.isScrolling() && !memory.toldState) return;
  memory.dueAt = clock_.monotonic() + kRest;
  if (std::exchange(memory.isPending, true)) return;
  checkAfter(kRest, screen.id());
}

ScreenStateTracker::Memory& ScreenStateTracker::remembered(const platform::Screen& screen) {
  auto* entry = memory_.find(screen.id());
  if (entry == nullptr) {
    arena_.reset();
    entry = &memory_.add(screen,
                         {.isSystem = screens::isSystemScreen(screen, screen.classText(arena_))});
  }
  return entry->kept;
}

void ScreenStateTracker::checkAfter(base::Duration delay, std::uint64_t id) {
  main_.postAfter(delay, base::weakly(scope_, [this, id] { check(id); }));
}

void ScreenStateTracker::check(std::uint64_t id) {
  auto* const entry = memory_.find(id);
  if (entry == nullptr) return;
  const base::Duration left = entry->kept.dueAt - clock_.monotonic();
  if (left > base::Duration::zero()) return checkAfter(left, id);
  entry->kept.isPending = false;
  if (const platform::Screen screen = entry->screen.lock()) {
    look(screen, id);
  } else {
    memory_.erase(id);
  }
}

void ScreenStateTracker::look(const platform::Screen& screen, std::uint64_t id) {
  if (!mayLook_()) return;
  const platform::View view = screen.view();
  if (!view || !view.window() || view.facts().size.isEmpty()) return;
  const model::ScreenObservation observation = observer_.observe(view);
  auto* const entry = memory_.find(id);
  if (observation.structureHash == 0 || entry == nullptr) return;
  const auto told = std::exchange(entry->kept.toldState, std::nullopt);
  const auto last = std::exchange(entry->kept.lastHash, observation.structureHash);
  const bool hasChanged =
      told ? *told != observation.state : last && *last != observation.structureHash;
  if (hasChanged) onStateChange_(screen, observation);
}

}  // namespace zarn::capture
