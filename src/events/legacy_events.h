// Events that an older release kept as one JSON file each.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "model/event.h"
#include "platform/files.h"

namespace zarn::events {

/// The folder of those files, beside the databases.
inline constexpr const char* kLegacyEventsFolder = "events";

struct LegacyEvents {
  std::vector<model::EncodedEvent> events;  // oldest first
  std::vector<std::string> files;           // all that could be read, with an event or without
};

/// What the JSON files in `directory` hold.
LegacyEvents readLegacyEvents(
    platform::Files& files, const std::string& directory,
    const std::function<std::optional<model::EncodedEvent>(std::string)>& decode);

/// Removes the JSON files in `directory`, and itself when it is empty then.
void removeLegacyEvents(platform::Files& files, const std::string& directory);

}  // namespace zarn::events
