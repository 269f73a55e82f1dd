// How often each text occurred, of a bounded number of texts.
#pragma once

#include <algorithm>
#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace zarn::collector {

/// The entry of a key, made where it is missing; null where the map has `most` already.
template <class Map>
typename Map::mapped_type* entryOf(Map& map, std::string_view key, std::size_t most) {
  const auto found = map.find(key);
  if (found != map.end()) return &found->second;
  return map.size() < most ? &map[std::string(key)] : nullptr;
}

/// Pointers to the map's entries, the `most` that come first.
template <class Map, class Before>
std::vector<const typename Map::value_type*> firstOf(const Map& map, std::size_t most,
                                                     Before before) {
  std::vector<const typename Map::value_type*> entries;
  entries.reserve(map.size());
  for (const auto& entry : map) entries.push_back(&entry);
  const auto shown = static_cast<std::ptrdiff_t>(std::min(most, entries.size()));
  std::partial_sort(entries.begin(), entries.begin() + shown, entries.end(),
                    [&](const auto* a, const auto* b) {
                      if (before(a->second, b->second)) return true;
                      return !before(b->second, a->second) && a->first < b->first;
                    });
  entries.resize(static_cast<std::size_t>(shown));
  return entries;
}

class Frequencies {
 public:
  static constexpr std::size_t kMostTexts = 10'000;

  void add(std::string_view text) {
    if (std::int64_t* count = entryOf(counts_, text, kMostTexts)) ++*count;
  }
  /// The most frequent 100.
  std::vector<const std::pair<const std::string, std::int64_t>*> top() const {
    return firstOf(counts_, 100, [](std::int64_t a, std::int64_t b) { return a > b; });
  }

 private:
  std::map<std::string, std::int64_t, std::less<>> counts_;
};

}  // namespace zarn::collector
