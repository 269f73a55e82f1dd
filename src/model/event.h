// An event in its two forms: the record that admission fills, and the encoded form that everything
// after admission moves.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "zarn/value.h"

namespace zarn::model {

enum class EventType : std::uint8_t {
  screenView,
  tap,
  scroll,
  network,
  crash,
  custom,
  sessionStart,
  sessionEnd,
  identify,
  group,
  lifecycle,
  navigation,
  gesture,
  pushOpen,
  pushReceived,
  pushDismissed,
  pushSilent,
  pushAction,
  pushPermission,
  pushTokenInvalidated,
  deepLink,
  install,
  iap,
  userProperty,
  screenVisit,
  goal,
  screenTransition,
};

inline constexpr std::size_t kEventTypeCount =
    static_cast<std::size_t>(EventType::screenTransition) + 1;

/// The word on the wire, such as "screen_view".
std::string_view wireName(EventType type);
std::optional<EventType> eventTypeFromWire(std::string_view name);

/// Encoded once, at admission; store and batch share the bytes.
struct EncodedEvent {
  std::string id;    // UUID text, upper case: key of the row, and identity in acknowledgements
  std::string name;  // for log lines
  Date time;         // admission
  std::shared_ptr<const std::string> json;
};

}  // namespace zarn::model
