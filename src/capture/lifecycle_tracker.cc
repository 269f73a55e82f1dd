#include "capture/lifecycle_tracker.h"

#include "base/value_access.h"
#include "platform/defaults.h"
#include "platform/device.h"

namespace zarn::capture {
namespace {

constexpr std::string_view kLaunchedBeforeKey = "zarn_launched_before";

/// A version may look like a telephone number to the filter for personal data.
Value versionValue(const std::string& version) {
  return base::ValueAccess::opaque(version.empty() ? "unknown" : version);
}

}  // namespace

void LifecycleTracker::emitLaunch() {
  const bool isFirst = !defaults_.getBool(kLaunchedBeforeKey).value_or(false);
  if (isFirst) {
    defaults_.set(kLaunchedBeforeKey, true);
    defaults_.commit();
  }
  const platform::AppFacts& app = device_.app();
  onEvent_("app_launch", {{"is_first_launch", isFirst},
                          {"app_version", versionValue(app.version)},
                          {"build_number", versionValue(app.build)}});
}

void LifecycleTracker::handle(platform::LifeEvent event) {
  switch (event) {
    case platform::LifeEvent::didBecomeActive:
      return onEvent_("app_foreground", {});
    case platform::LifeEvent::didEnterBackground:
      return onEvent_("app_background", {});
    case platform::LifeEvent::willEnterForeground:
      return;
    case platform::LifeEvent::willTerminate:
      return onEvent_("app_terminate", {});
    case platform::LifeEvent::didReceiveMemoryWarning:
      // All that the device has, whatever the name says.
      return onEvent_("memory_warning",
                      {{"used_memory_mb", device_.device().physicalMemory >> 20}});
  }
}

}  // namespace zarn::capture
