// PushTracking: all that is told of push messages while the app lets them be tracked: what became
// of each, which one the user came by, and whether they may be shown at all.
#pragma once

#include <functional>
#include <string>
#include <string_view>

#include "model/event.h"
#include "platform/log.h"
#include "platform/notifications.h"
#include "push/push_attribution_store.h"
#include "push/push_permission_monitor.h"
#include "push/push_tracker.h"

namespace zarn::platform {
class Crypto;
class Defaults;
class Random;
}  // namespace zarn::platform

namespace zarn::push {

struct PushServices {
  platform::Clock& clock;
  platform::Crypto& crypto;
  platform::Random& random;
  platform::Defaults& defaults;
  platform::Notifications& notifications;
  const redaction::PiiFilter& filter;
};

/// Called on the thread on which a message is reported.
struct PushSinks {
  /// `admitted` is to run when the event is in, in one step against the privacy boundaries; not at
  /// all when it was dropped or one has come meanwhile. False when it was dropped.
  std::function<bool(model::EventType, std::string_view name, const Properties&,
                     const std::function<void()>& admitted)>
      admit;
  /// Takes the link of a message that was opened; may be empty.
  std::function<void(const std::string& link)> openLink;
};

/// Any thread.
class PushTracking {
 public:
  PushTracking(const PushServices& services, const std::string& projectId, double windowSeconds,
               PushSinks sinks, platform::Log log);
  /// Waits for a report that is under way; the caller holds no lock that admission takes.
  ~PushTracking();

  /// From here on messages that the system reports are told.
  void start();

  void logPushReceived(const Properties& userInfo, std::string_view appState) {
    tracker_.received(userInfo, appState);
  }
  void logPushOpened(const Properties& userInfo, std::string_view actionIdentifier) {
    tracker_.opened(userInfo, actionIdentifier);
  }
  void logPushDismissed(const Properties& userInfo) { tracker_.dismissed(userInfo); }
  void logPushAction(const Properties& userInfo, std::string_view actionIdentifier) {
    tracker_.acted(userInfo, actionIdentifier);
  }

  void appDidBecomeActive() { permissions_.appDidBecomeActive(); }
  void setLimits(const control::PushLimits& limits) { tracker_.setLimits(limits); }

  /// What an event of this moment is to carry.
  Properties attribution() { return attribution_.attach(); }
  /// For a reset, and when the server switches push tracking off. May be called with the identity
  /// boundary's lock held.
  void clearAttribution() { attribution_.clear(); }

 private:
  bool tell(const PushEvent& event);

  // Constant after construction.
  platform::Defaults& defaults_;
  platform::Notifications& notifications_;
  const redaction::PiiFilter& filter_;
  const PushSinks sinks_;

  PushAttributionStore attribution_;
  PushTracker tracker_;
  PushPermissionMonitor permissions_;
  bool isStarted_ = false;
};

}  // namespace zarn::push
