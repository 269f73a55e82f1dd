#include "model/event.h"

#include <array>

namespace zarn::model {
namespace {

constexpr std::array<std::string_view, kEventTypeCount> kWireNames = {
    "screen_view",
    "tap",
    "scroll",
    "network",
    "crash",
    "custom",
    "session_start",
    "session_end",
    "identify",
    "group",
    "lifecycle",
    "navigation",
    "gesture",
    "push_open",
    "push_received",
    "push_dismissed",
    "push_silent",
    "push_action",
    "push_permission",
    "push_token_invalidated",
    "deep_link",
    "install",
    "iap",
    "user_property",
    "screen_visit",
    "goal",
    "screen_transition",
};

}  // namespace

std::string_view wireName(EventType type) {
  return kWireNames[static_cast<std::size_t>(type)];
}

std::optional<EventType> eventTypeFromWire(std::string_view name) {
  for (std::size_t i = 0; i < kWireNames.size(); ++i) {
    if (kWireNames[i] == name) return static_cast<EventType>(i);
  }
  return std::nullopt;
}

}  // namespace zarn::model
