// ScreenMemory<T>: something kept for each screen for as long as it lives.
//
//   ScreenMemory<LastHash> hashes;
//   hashes.of(screen) = hash;
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <unordered_map>
#include <utility>

#include "platform/screen.h"

namespace zarn::capture {

/// Main thread. Never holds much more than twice as many entries as screens have been alive
/// together: the dead are looked for each time it has doubled.
template <typename T>
class ScreenMemory {
 public:
  struct Entry {
    platform::WeakScreen screen;
    T kept;
  };

  /// Null when nothing is kept for it. Valid until the next `add`.
  Entry* find(std::uint64_t id) {
    const auto found = entries_.find(id);
    return found != entries_.end() ? &found->second : nullptr;
  }
  Entry& add(const platform::Screen& screen, T kept) {
    if (entries_.size() >= purgeAt_) purge();
    return entries_.insert_or_assign(screen.id(), Entry{screen.weak(), std::move(kept)})
        .first->second;
  }
  void erase(std::uint64_t id) { entries_.erase(id); }
  std::size_t size() const { return entries_.size(); }

 private:
  static constexpr std::size_t kLeastToPurge = 32;

  void purge() {
    std::erase_if(entries_, [](const auto& entry) { return !entry.second.screen.lock(); });
    purgeAt_ = std::max(kLeastToPurge, 2 * entries_.size());
  }

  std::unordered_map<std::uint64_t, Entry> entries_;
  std::size_t purgeAt_ = kLeastToPurge;
};

}  // namespace zarn::capture
