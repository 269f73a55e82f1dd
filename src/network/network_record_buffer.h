// NetworkRecordBuffer: where requests wait to be counted. It never grows: of more than 256 that
// come between two drains, the oldest are overwritten and counted as dropped.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "base/mutex.h"
#include "network/network_record.h"

namespace zarn::network {

/// Any thread. Nothing is allocated or freed with the lock held.
class NetworkRecordBuffer {
 public:
  static constexpr std::size_t kCapacity = 256;

  NetworkRecordBuffer();

  void append(NetworkRecord record);

  struct Drained {
    std::vector<NetworkRecord> records;  // oldest first
    std::uint64_t dropped = 0;
  };
  /// All there is; the buffer is empty afterwards.
  Drained drain();

 private:
  using Storage = std::array<NetworkRecord, kCapacity>;

  base::Mutex lock_{base::LockRank::leaf};
  std::unique_ptr<Storage> storage_ ZARN_GUARDED_BY(lock_);
  std::size_t writeIndex_ ZARN_GUARDED_BY(lock_) = 0;
  std::size_t count_ ZARN_GUARDED_BY(lock_) = 0;
  std::uint64_t dropped_ ZARN_GUARDED_BY(lock_) = 0;
};

}  // namespace zarn::network
