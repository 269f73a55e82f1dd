#include "capture/recent_screens.h"

#include <algorithm>

#include "base/text.h"

namespace zarn::capture {
namespace {

/// More than a user can come by within the windows.
constexpr std::size_t kMostKept = 64;

template <typename T>
void purge(std::vector<T>& entries, base::Duration window, base::Duration now) {
  std::erase_if(entries, [&](const T& entry) { return now - entry.time > window; });
  if (entries.size() >= kMostKept) entries.erase(entries.begin());
}

bool contains(std::string_view text, std::string_view part) {
  return text.find(part) != std::string_view::npos;
}

}  // namespace

bool RecentScreens::addHash(std::uint64_t structureHash, base::Duration now) {
  purge(hashes_, kHashWindow, now);
  if (std::ranges::find(hashes_, structureHash, &Hash::hash) != hashes_.end()) return false;
  hashes_.push_back({structureHash, now});
  return true;
}

bool RecentScreens::addName(std::string_view name, base::Duration now) {
  std::string lowerCase = base::lowerCase(name);
  if (isMatchedLowerCase(lowerCase, now)) return false;
  names_.push_back({std::move(lowerCase), now});
  return true;
}

bool RecentScreens::isMatched(std::string_view name, base::Duration now) {
  return isMatchedLowerCase(base::lowerCase(name), now);
}

bool RecentScreens::isMatchedLowerCase(std::string_view lowerCase, base::Duration now) {
  purge(names_, kNameWindow, now);
  return std::ranges::any_of(names_, [&](const Name& recent) {
    return contains(lowerCase, recent.lowerCase) || contains(recent.lowerCase, lowerCase);
  });
}

}  // namespace zarn::capture
