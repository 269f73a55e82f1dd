// The system's notifications to the user: whether the app may show them, and what became of each.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include "zarn/value.h"

namespace zarn::platform {

enum class AuthorizationStatus : std::uint8_t {
  notDetermined,
  denied,
  authorized,
  provisional,
  ephemeral,
  unknown,
};

enum class NotificationSetting : std::uint8_t { notSupported, disabled, enabled, unknown };

struct NotificationSettings {
  AuthorizationStatus authorizationStatus = AuthorizationStatus::unknown;
  NotificationSetting alert = NotificationSetting::unknown;
  NotificationSetting sound = NotificationSetting::unknown;
  NotificationSetting badge = NotificationSetting::unknown;
  NotificationSetting lockScreen = NotificationSetting::unknown;
  NotificationSetting notificationCenter = NotificationSetting::unknown;
};

/// What the user did with a notification.
struct NotificationResponse {
  /// `kDefaultAction`, `kDismissAction` or the app's own word for a button.
  std::string actionIdentifier;
  /// The user typed an answer. What they typed is not handed over.
  bool isTextInput = false;
};
inline constexpr std::string_view kDefaultAction = "default";
inline constexpr std::string_view kDismissAction = "dismiss";

/// The library's side. Any thread; returns at once.
class NotificationListener {
 public:
  virtual ~NotificationListener() = default;
  /// `appState` is "active", "inactive" or "background".
  virtual void received(const Properties& userInfo, std::string_view appState) = 0;
  virtual void responded(const Properties& userInfo, const NotificationResponse& response) = 0;
};

/// The platform's side. Any thread.
class Notifications {
 public:
  virtual ~Notifications() = default;
  /// Tells `listener` of every notification until `stop`. One listener at a time.
  virtual void start(NotificationListener& listener) = 0;
  /// No call begins after this returns, and it waits for one that runs on another thread.
  virtual void stop() = 0;
  /// Answers soon, on any thread, never inside the call; nothing where the system asks no
  /// permission and so knows of no settings.
  virtual void readSettings(std::function<void(std::optional<NotificationSettings>)> answer) = 0;
};

}  // namespace zarn::platform
