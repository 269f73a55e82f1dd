#include "events/legacy_events.h"

#include <algorithm>
#include <string_view>
#include <utility>

namespace zarn::events {
namespace {

std::vector<std::string> listJson(platform::Files& files, const std::string& directory) {
  std::vector<std::string> paths;
  for (const std::string& name : files.list(directory)) {
    if (std::string_view(name).ends_with(".json")) paths.push_back(directory + "/" + name);
  }
  return paths;
}

}  // namespace

LegacyEvents readLegacyEvents(
    platform::Files& files, const std::string& directory,
    const std::function<std::optional<model::EncodedEvent>(std::string)>& decode) {
  LegacyEvents found;
  std::vector<std::string> paths = listJson(files, directory);
  std::sort(paths.begin(), paths.end());
  for (std::string& path : paths) {
    auto content = files.read(path);
    if (!content) continue;
    found.files.push_back(std::move(path));
    if (auto event = decode(std::move(*content))) found.events.push_back(std::move(*event));
  }
  std::stable_sort(
      found.events.begin(), found.events.end(),
      [](const model::EncodedEvent& a, const model::EncodedEvent& b) { return a.time < b.time; });
  return found;
}

void removeLegacyEvents(platform::Files& files, const std::string& directory) {
  for (const std::string& path : listJson(files, directory)) files.remove(path);
  files.remove(directory);
}

}  // namespace zarn::events
