// FaultyStorage: an event storage whose nth write is lost, once or from then on, as on a disk that
// is full. Everything else goes to the storage behind it.
//
//   FaultyStorage storage(behind);
//   storage.failWrite(3);                                      // the third from now on
//   storage.failWrite(1, FaultyStorage::Lasting::forever);     // all
#pragma once

#include <cstdint>

#include "base/mutex.h"
#include "events/event_storage.h"

namespace zarn::testing {

/// Any thread. Writes are all operations but fetchPending.
class FaultyStorage final : public events::EventStorage {
 public:
  enum class Lasting : std::uint8_t { once, forever };

  explicit FaultyStorage(events::EventStorage& behind) : behind_(behind) {}

  /// `countdown` 1 is the next write.
  void failWrite(int countdown, Lasting lasting = Lasting::once);
  void heal() { failWrite(0); }
  int failedWrites() const;

  void insert(const model::EncodedEvent& event) override;
  std::vector<model::EncodedEvent> fetchPending() override;
  void remove(std::span<const std::string> ids) override;
  void resolve(std::span<const std::string> ids) override;
  void removeAll() override;

 private:
  bool nextWriteFails();

  events::EventStorage& behind_;
  mutable base::Mutex mutex_{base::LockRank::leaf};
  int countdown_ ZARN_GUARDED_BY(mutex_) = 0;
  Lasting lasting_ ZARN_GUARDED_BY(mutex_) = Lasting::once;
  int failed_ ZARN_GUARDED_BY(mutex_) = 0;
};

}  // namespace zarn::testing
