// Events that an older release kept as one JSON file each.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "model/event.h"
#include "platform/files.h"

namespace zarn::events {

struct LegacyEvent {
  std::string path;
  model::EncodedEvent event;
};

/// The files in `directory` that hold an event, oldest first. Others are left alone.
std::vector<LegacyEvent> readLegacyEvents(
    platform::Files& files, const std::string& directory,
    const std::function<std::optional<model::EncodedEvent>(std::string)>& decode);

}  // namespace zarn::events
