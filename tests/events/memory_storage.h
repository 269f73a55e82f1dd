// An event storage in memory, which tells what is in it.
#pragma once

#include <algorithm>
#include <string>
#include <vector>

#include "base/mutex.h"
#include "events/event_storage.h"

namespace zarn::testing {

class MemoryStorage final : public events::EventStorage {
 public:
  void insert(const model::EncodedEvent& event) override {
    base::MutexLock lock(mutex_);
    rows_.push_back(event);
  }
  std::vector<model::EncodedEvent> fetchPending() override {
    base::MutexLock lock(mutex_);
    return {rows_.begin(),
            rows_.begin() + static_cast<std::ptrdiff_t>(std::min(rows_.size(), kFetchLimit))};
  }
  void remove(std::span<const std::string> ids) override {
    base::MutexLock lock(mutex_);
    std::erase_if(rows_, [&](const auto& row) {
      return std::find(ids.begin(), ids.end(), row.id) != ids.end();
    });
  }
  void resolve(std::span<const std::string> ids) override { remove(ids); }
  void removeAll() override {
    base::MutexLock lock(mutex_);
    rows_.clear();
  }
  std::vector<std::string> ids() const {
    base::MutexLock lock(mutex_);
    std::vector<std::string> ids;
    for (const auto& row : rows_) ids.push_back(row.id);
    return ids;
  }

 private:
  mutable base::Mutex mutex_{base::LockRank::storeQueue};
  std::vector<model::EncodedEvent> rows_ ZARN_GUARDED_BY(mutex_);
};

}  // namespace zarn::testing
