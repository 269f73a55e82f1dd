#include "push/push_permission_monitor.h"

#include <utility>

#include "base/value_access.h"

namespace zarn::push {
namespace {

using platform::AuthorizationStatus;
using platform::NotificationSetting;

std::string_view word(AuthorizationStatus status) {
  switch (status) {
    case AuthorizationStatus::notDetermined:
      return "not_determined";
    case AuthorizationStatus::denied:
      return "denied";
    case AuthorizationStatus::authorized:
      return "authorized";
    case AuthorizationStatus::provisional:
      return "provisional";
    case AuthorizationStatus::ephemeral:
      return "ephemeral";
    case AuthorizationStatus::unknown:
      break;
  }
  return "unknown";
}

std::string_view word(NotificationSetting setting) {
  switch (setting) {
    case NotificationSetting::notSupported:
      return "not_supported";
    case NotificationSetting::disabled:
      return "disabled";
    case NotificationSetting::enabled:
      return "enabled";
    case NotificationSetting::unknown:
      break;
  }
  return "unknown";
}

}  // namespace

void PushPermissionMonitor::read(std::string_view reason) {
  notifications_.readSettings(base::weakly(
      scope_, [this, reason](const std::optional<platform::NotificationSettings>& settings) {
        if (settings) answered(*settings, reason);
      }));
}

void PushPermissionMonitor::answered(const platform::NotificationSettings& settings,
                                     std::string_view reason) {
  {
    base::MutexLock lock(lock_);
    if (std::exchange(lastStatus_, settings.authorizationStatus) == settings.authorizationStatus)
      return;
  }
  const auto fixed = [](std::string_view text) {
    return base::ValueAccess::opaque(std::string(text));
  };
  handler_({{"authorization_status", fixed(word(settings.authorizationStatus))},
            {"alert_setting", fixed(word(settings.alert))},
            {"sound_setting", fixed(word(settings.sound))},
            {"badge_setting", fixed(word(settings.badge))},
            {"lock_screen_setting", fixed(word(settings.lockScreen))},
            {"notification_center_setting", fixed(word(settings.notificationCenter))},
            {"reason", fixed(reason)}});
}

}  // namespace zarn::push
