#include "events/legacy_events.h"

#include <algorithm>
#include <string_view>
#include <tuple>
#include <utility>

namespace zarn::events {

std::vector<LegacyEvent> readLegacyEvents(
    platform::Files& files, const std::string& directory,
    const std::function<std::optional<model::EncodedEvent>(std::string)>& decode) {
  std::vector<LegacyEvent> found;
  for (const std::string& name : files.list(directory)) {
    if (!std::string_view(name).ends_with(".json")) continue;
    std::string path = directory + "/" + name;
    auto content = files.read(path);
    if (!content) continue;
    auto event = decode(std::move(*content));
    if (event) found.push_back({std::move(path), std::move(*event)});
  }
  std::sort(found.begin(), found.end(), [](const LegacyEvent& a, const LegacyEvent& b) {
    return std::tie(a.event.time, a.path) < std::tie(b.event.time, b.path);
  });
  return found;
}

}  // namespace zarn::events
