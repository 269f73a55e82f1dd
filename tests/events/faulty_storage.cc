#include "events/faulty_storage.h"

namespace zarn::testing {

void FaultyStorage::failWrite(int countdown, Lasting lasting) {
  base::MutexLock lock(mutex_);
  countdown_ = countdown;
  lasting_ = lasting;
}

int FaultyStorage::failedWrites() const {
  base::MutexLock lock(mutex_);
  return failed_;
}

bool FaultyStorage::nextWriteFails() {
  base::MutexLock lock(mutex_);
  if (countdown_ == 0) return false;
  if (countdown_ > 1) {
    --countdown_;
    return false;
  }
  if (lasting_ == Lasting::once) countdown_ = 0;
  ++failed_;
  return true;
}

void FaultyStorage::insert(const model::EncodedEvent& event) {
  if (!nextWriteFails()) behind_.insert(event);
}

std::vector<model::EncodedEvent> FaultyStorage::fetchPending() {
  return behind_.fetchPending();
}

void FaultyStorage::remove(std::span<const std::string> ids) {
  if (!nextWriteFails()) behind_.remove(ids);
}

void FaultyStorage::resolve(std::span<const std::string> ids) {
  if (!nextWriteFails()) behind_.resolve(ids);
}

void FaultyStorage::removeAll() {
  if (!nextWriteFails()) behind_.removeAll();
}

}  // namespace zarn::testing
