// PushPermissionMonitor: tells whether the app may show notifications, at start-up and whenever
// that has changed by the time the app comes to the front.
#pragma once

#include <functional>
#include <optional>
#include <string_view>

#include "base/mutex.h"
#include "base/weakly.h"
#include "platform/notifications.h"
#include "zarn/value.h"

namespace zarn::push {

/// Any thread. Tells nothing where the system asks no permission.
class PushPermissionMonitor {
 public:
  /// Called on the thread on which the platform answers.
  using Handler = std::function<void(const Properties&)>;

  PushPermissionMonitor(platform::Notifications& notifications, Handler handler)
      : notifications_(notifications), handler_(std::move(handler)) {}

  void start() { read("initial"); }
  void appDidBecomeActive() { read("did_become_active"); }

 private:
  void read(std::string_view reason);
  void answered(const platform::NotificationSettings& settings, std::string_view reason);

  // Constant after construction.
  platform::Notifications& notifications_;
  const Handler handler_;

  base::Mutex lock_{base::LockRank::leaf};
  std::optional<platform::AuthorizationStatus> lastStatus_ ZARN_GUARDED_BY(lock_);
  base::Scope scope_;
};

}  // namespace zarn::push
