#include "capture/capture.h"

#include <utility>

#include "base/text.h"
#include "capture/hooked.h"
#include "capture/screen_properties.h"
#include "capture/visible_leaf.h"
#include "platform/clock.h"
#include "platform/input_events.h"
#include "platform/screen_events.h"
#include "platform/windows.h"
#include "zarn/options.h"

namespace zarn::capture {
namespace {

using model::EventType;

/// In bytes. The filter's time grows with the text, and it runs on the host's thread.
constexpr std::size_t kLongestGivenName = 1000;

}  // namespace

Capture::Capture(const CaptureParts& parts, screens::ViewPrivacy privacy, CaptureActions actions,
                 const ConfigurationOptions& options)
    : parts_(parts),
      privacy_(std::move(privacy)),
      actions_(std::move(actions)),
      tracksScreens_(options.autoTrackScreens),
      tracksTaps_(options.autoTrackTaps),
      tracksFlows_(options.autoTrackFlows),
      observer_(privacy_),
      naming_(privacy_),
      scrolling_(parts.clock),
      interceptor_(parts.input, parts.main),
      flow_(parts.clock, parts.random),
      transitions_([this](const Transition& transition) {
        actions_.admitSince(EventType::screenTransition, "screen_transition",
                            transitionProperties(transition, parts_.clock.now()), transition.since);
      }),
      screenTracker_(observer_, naming_, recent_, parts.clock,
                     [this](const platform::Screen& screen, const ScreenSeen& seen,
                            const std::vector<model::NameCandidate>& candidates) {
                       tellScreen(screen, seen, candidates);
                     }),
      tabs_(parts.windows, parts.screens,
            [this](const platform::Screen& tabs, const platform::Screen& selected,
                   const platform::Screen& leaf) { tellTab(tabs, selected, leaf); }),
      states_(parts.main, parts.clock, scrolling_, observer_, actions_.mayCollect,
              [this](const platform::Screen& screen, const model::ScreenObservation& observation) {
                tellStateChange(screen, observation);
              }),
      taps_(privacy_, [this](const Tap& tap) { tellTap(tap); }),
      lifecycle_(parts.defaults, parts.device,
                 [this](std::string_view name, const Properties& properties) {
                   actions_.admit(EventType::lifecycle, name, properties);
                 }) {
  interceptor_.noteTap = [this] { noteTap(); };
}

void Capture::start(bool mayRecord) {
  if (mayRecord) restart();
  if (parts_.main.isCurrent()) {
    listen();
  } else {
    parts_.main.post(base::weakly(scope_, [this] { listen(); }));
  }
  lifecycle_.emitLaunch();
}

void Capture::listen() {
  if (tracksScreens_) listenToScreens();
  if (tracksScreens_ || tracksFlows_ || tracksTaps_) listenToInput();
}

void Capture::listenToScreens() {
  parts_.screens.listen(
      {.appeared = hooked(scope_, [this](const platform::Screen& screen) { appeared(screen); }),
       .laidOut = hooked(scope_, [this](const platform::Screen& screen) { laidOut(screen); })});
  tabs_.scanExistingWindows();
  tabs_.startObservingWindows();
}

void Capture::listenToInput() {
  platform::InputListener listener;
  if (tracksFlows_) {
    listener.tapped =
        hooked(scope_, [this](const platform::Touch& touch) { interceptor_.tapped(touch); });
  }
  if (tracksTaps_) {
    listener.activated = hooked(scope_, [this](const platform::View& control) {
      if (actions_.mayCollect()) taps_.activated(control);
    });
  }
  // What scrolls is not laid out anew: whoever follows screens needs this as well.
  if (tracksFlows_ || tracksScreens_) {
    listener.scrollBegan = hooked(scope_, [this](const platform::View& scroll) {
      scrolling_.began(scroll);
      if (tracksFlows_ && actions_.mayCollect()) flow_.noteScroll();
    });
    listener.scrollEnded =
        hooked(scope_, [this](const platform::View& scroll) { scrolling_.ended(scroll); });
  }
  parts_.input.listen(std::move(listener));
}

void Capture::handle(platform::LifeEvent event) {
  if (event == platform::LifeEvent::didEnterBackground) scrolling_.appDidEnterBackground();
  if (event == platform::LifeEvent::didEnterBackground ||
      event == platform::LifeEvent::willTerminate) {
    flush();
  }
  lifecycle_.handle(event);
}

void Capture::flush() {
  bool isAnyIn = false;
  for (const ScreenVisit& visit : flow_.drain(ExitReason::background)) {
    isAnyIn |= actions_.admitSince(EventType::screenVisit,
                                   visit.entry.screenName.value_or(visit.entry.screenId),
                                   visitProperties(visit), visit.since);
  }
  if (isAnyIn) actions_.flushQueue();
  transitions_.clear();
}

void Capture::discardHeld() {
  flow_.discard();
  transitions_.clear();
  base::MutexLock lock(lock_);
  manualName_.reset();
}

void Capture::restart() {
  if (tracksFlows_) flow_.restart(actions_.sessionId(), actions_.releaseId());
}

void Capture::appeared(const platform::Screen& screen) {
  tabs_.observeAround(screen);
  if (actions_.mayCollect()) screenTracker_.handleAppearance(screen);
}

void Capture::laidOut(const platform::Screen& screen) {
  if (actions_.mayCollect()) states_.layoutChanged(screen);
}

void Capture::noteTap() {
  if (!actions_.mayCollect()) return;
  if (const auto tapped = flow_.noteTap()) {
    transitions_.setAnchor(tapped->screenId, tapped->since, parts_.clock.monotonic());
  }
}

void Capture::enter(const ScreenSeen& seen, std::vector<model::NameCandidate> candidates,
                    Boundaries now) {
  flow_.enter({.screenId = model::screenFingerprint(seen.observation.structureHash),
               .screenName = seen.name,
               .nameCandidates = std::move(candidates),
               .triggerKind = std::nullopt,
               .triggerViewClass = seen.className},
              now);
}

void Capture::tellScreen(const platform::Screen& screen, const ScreenSeen& seen,
                         const std::vector<model::NameCandidate>& candidates) {
  leaveScreenBreadcrumb(seen.name, seen.className);
  const std::string screenId = model::screenFingerprint(seen.observation.structureHash);
  const Boundaries now = actions_.boundaries();
  enter(seen, candidates, now);
  transitions_.recordArrival(screenId, screenId, now, parts_.clock.monotonic());
  actions_.admit(EventType::screenView, seen.name, appearanceProperties(seen, candidates));
  states_.appeared(screen, seen.observation.state);
  if (actions_.offer) actions_.offer(screen, seen);
}

void Capture::tellTab(const platform::Screen& tabs, const platform::Screen& selected,
                      const platform::Screen& leaf) {
  if (!actions_.mayCollect()) return;
  ScreenSeen seen;
  seen.className = naming_.className(leaf);
  if (screens::isSystemScreen(leaf, seen.className)) return;
  seen.name = naming_.resolveTabName(tabs, selected, leaf, seen.className);
  if (seen.name.empty() || recent_.isMatched(seen.name, parts_.clock.monotonic())) return;
  actions_.admit(EventType::screenView, seen.name, tabSwitchProperties(seen.className));
  const platform::View view = leaf.view();
  if (!view) return;
  seen.observation = observer_.observe(view);
  // The toolkit need not report an appearance besides; where it does, the visit just goes on. A
  // choice of a tab is no arrival: what it took is the user's own time.
  enter(seen, {}, actions_.boundaries());
  states_.appeared(leaf, seen.observation.state);
  if (actions_.offer) actions_.offer(leaf, seen);
}

void Capture::tellStateChange(const platform::Screen& screen,
                              const model::ScreenObservation& observation) {
  if (!actions_.mayCollect()) return;
  ScreenSeen seen{.name = {}, .className = naming_.className(screen), .observation = observation};
  seen.name = naming_.resolveScreenName(screen, seen.className, observation);
  if (seen.name.empty() || screens::isPlaceholderName(seen.name)) return;
  actions_.admit(EventType::screenView, seen.name, stateChangeProperties(seen));
  if (actions_.offer) actions_.offer(screen, seen);
}

void Capture::tellTap(const Tap& tap) {
  actions_.addBreadcrumb(
      {.category = "ui",
       .message = "Tap: " + tap.label,
       .data = {{"target_class", tap.className}, {"view_hierarchy", tap.hierarchy}}});
  actions_.admit(EventType::tap, tap.label, tapProperties(tap));
}

void Capture::screenView(std::string_view name, const Properties& properties) {
  const std::string shown = privacy_.filter(base::prefixOfBytes(name, kLongestGivenName));
  leaveScreenBreadcrumb(shown, "manual");
  actions_.admit(EventType::screenView, shown, manualScreenProperties(properties));
  if (!actions_.offer) return;
  {
    base::MutexLock lock(lock_);
    if (std::exchange(manualName_, shown)) return;  // posted already
  }
  parts_.main.post(base::weakly(scope_, [this] { offerManualScreen(); }));
}

void Capture::offerManualScreen() {
  ScreenSeen seen{.name = {}, .className = "manual", .observation = {}};
  {
    base::MutexLock lock(lock_);
    if (!manualName_) return;  // a boundary has come since
    seen.name = *std::exchange(manualName_, std::nullopt);
  }
  if (!actions_.mayCollect()) return;
  const platform::Screen screen = screenInSight();
  const platform::View view = screen ? screen.view() : platform::View();
  if (!view) return;
  seen.observation = observer_.observe(view);
  actions_.offer(screen, seen);
}

platform::Screen Capture::screenInSight() const {
  platform::Screen leaf;
  parts_.windows.each([&](const platform::Window& window) {
    leaf = visibleLeaf(window.screen);
    return !leaf;
  });
  return leaf;
}

void Capture::leaveScreenBreadcrumb(std::string_view name, std::string className) const {
  actions_.addBreadcrumb({.category = "navigation",
                          .message = "Screen: " + std::string(name),
                          .data = {{"screen_class", std::move(className)}}});
}

}  // namespace zarn::capture
