// Capture: the room's front. It follows the app's screens, taps and life, and tells them as events.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "base/mutex.h"
#include "base/weakly.h"
#include "capture/boundaries.h"
#include "capture/flow_recorder.h"
#include "capture/lifecycle_tracker.h"
#include "capture/recent_screens.h"
#include "capture/screen_seen.h"
#include "capture/screen_state_tracker.h"
#include "capture/screen_tracker.h"
#include "capture/tab_bar_observer.h"
#include "capture/tap_tracker.h"
#include "capture/transition_tracker.h"
#include "model/event.h"
#include "platform/life_events.h"
#include "screens/screen_naming.h"
#include "screens/screen_observer.h"
#include "screens/scroll_observer.h"
#include "screens/view_privacy.h"
#include "screens/window_event_interceptor.h"
#include "zarn/breadcrumb.h"

ZARN_NAMESPACE_BEGIN
struct ConfigurationOptions;
ZARN_NAMESPACE_END

namespace zarn::platform {
class Clock;
class Defaults;
class Device;
class InputEvents;
class Random;
class ScreenEvents;
class Windows;
}  // namespace zarn::platform

namespace zarn::capture {

/// What capture stands on.
struct CaptureParts {
  base::Executor& main;
  const platform::Clock& clock;
  platform::Random& random;
  platform::Defaults& defaults;
  platform::Device& device;
  platform::ScreenEvents& screens;
  platform::Windows& windows;
  platform::InputEvents& input;
};

/// Any thread, without a lock held but for what says otherwise.
struct CaptureActions {
  std::function<bool(model::EventType, std::string_view name, const Properties&)> admit;
  /// The same, unless a boundary has come since.
  std::function<bool(model::EventType, std::string_view name, const Properties&, Boundaries since)>
      admitSince;
  std::function<Boundaries()> boundaries;  // where they stand now
  std::function<void()> flushQueue;
  std::function<void(const Breadcrumb&)> addBreadcrumb;
  /// Whether user and server allow that anything is looked at now.
  std::function<bool()> mayCollect;
  std::function<std::string()> sessionId;
  std::function<std::string()> releaseId;  // empty while it is not known
  /// A screen of which there may be a picture to take. Main thread; may be empty.
  std::function<void(const platform::Screen&, const ScreenSeen&)> offer;
};

/// Any thread but for what says otherwise; on the main thread it ends.
class Capture {
 public:
  /// `privacy.filter` is also called on the thread of a manual screen view.
  Capture(const CaptureParts& parts, screens::ViewPrivacy privacy, CaptureActions actions,
          const ConfigurationOptions& options);

  /// Listens to what the options ask for, on the main thread soon, and tells the launch. Once.
  /// `mayRecord`: the user has not opted out.
  void start(bool mayRecord);

  void handle(platform::LifeEvent event);
  /// The host names the screen that it shows.
  void screenView(std::string_view name, const Properties& properties);
  void setReleaseId(const std::string& releaseId) { flow_.setReleaseId(releaseId); }

  /// Drops what is gathered. With the identity boundary's lock held.
  void discardHeld();
  /// After an opt-in or a reset.
  void restart();

  screens::ScreenObserver& observer() { return observer_; }
  screens::ScrollObserver& scrolling() { return scrolling_; }
  screens::WindowEventInterceptor& interceptor() { return interceptor_; }
  TransitionTracker& transitions() { return transitions_; }

 private:
  void listen();
  void listenToScreens();
  void listenToInput();
  void appeared(const platform::Screen& screen);
  void laidOut(const platform::Screen& screen);
  void noteTap();
  void flush();
  void enter(const ScreenSeen& seen, std::vector<model::NameCandidate> candidates, Boundaries now);
  void tellScreen(const platform::Screen& screen, const ScreenSeen& seen,
                  const std::vector<model::NameCandidate>& candidates);
  void tellTab(const platform::Screen& tabs, const platform::Screen& selected,
               const platform::Screen& leaf);
  void tellStateChange(const platform::Screen& screen, const model::ScreenObservation& observation);
  void tellTap(const Tap& tap);
  void leaveScreenBreadcrumb(std::string_view name, std::string className) const;
  void offerManualScreen();
  platform::Screen screenInSight() const;

  // Constant after construction.
  const CaptureParts parts_;
  const screens::ViewPrivacy privacy_;
  const CaptureActions actions_;
  const bool tracksScreens_;
  const bool tracksTaps_;
  const bool tracksFlows_;

  screens::ScreenObserver observer_;
  screens::ScreenNaming naming_;
  screens::ScrollObserver scrolling_;
  screens::WindowEventInterceptor interceptor_;

  // In the order of start-up.
  FlowRecorder flow_;
  TransitionTracker transitions_;
  RecentScreens recent_;
  ScreenTracker screenTracker_;
  TabBarObserver tabs_;
  ScreenStateTracker states_;
  TapTracker taps_;
  LifecycleTracker lifecycle_;

  base::Mutex lock_{base::LockRank::leaf};
  std::optional<std::string> manualName_ ZARN_GUARDED_BY(lock_);  // of a screen still to be offered

  base::Scope scope_;
};

}  // namespace zarn::capture
