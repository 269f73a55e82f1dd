#include "network/network_record_buffer.h"

#include <utility>

namespace zarn::network {

NetworkRecordBuffer::NetworkRecordBuffer() : storage_(std::make_unique<Storage>()) {}

void NetworkRecordBuffer::append(NetworkRecord record) {
  // What was in the slot leaves in `record`, and is freed once the lock is.
  base::MutexLock lock(lock_);
  std::swap((*storage_)[writeIndex_], record);
  writeIndex_ = (writeIndex_ + 1) % kCapacity;
  if (count_ == kCapacity) {
    ++dropped_;
  } else {
    ++count_;
  }
}

NetworkRecordBuffer::Drained NetworkRecordBuffer::drain() {
  {
    base::MutexLock lock(lock_);
    if (count_ == 0) return {};
  }
  auto taken = std::make_unique<Storage>();
  std::size_t end = 0, count = 0;
  Drained drained;
  {
    base::MutexLock lock(lock_);
    storage_.swap(taken);
    end = std::exchange(writeIndex_, 0);
    count = std::exchange(count_, 0);
    drained.dropped = std::exchange(dropped_, 0);
  }
  drained.records.reserve(count);
  for (std::size_t i = 0; i < count; ++i) {
    drained.records.push_back(std::move((*taken)[(end + kCapacity - count + i) % kCapacity]));
  }
  return drained;
}

}  // namespace zarn::network
