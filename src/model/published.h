// Published<T>: the latest of a series of immutable records. Readers take a pointer to the whole
// record and keep it as long as they like; a writer replaces it in one step.
#pragma once

#include <memory>

#include "base/mutex.h"

namespace zarn::model {

/// Any thread.
template <typename T>
class Published {
 public:
  /// Null until the first publish, or the record given at construction.
  Published() = default;
  explicit Published(std::shared_ptr<const T> first) : latest_(std::move(first)) {}

  std::shared_ptr<const T> get() const {
    base::MutexLock lock(mutex_);
    return latest_;
  }
  void publish(std::shared_ptr<const T> record) {
    base::MutexLock lock(mutex_);
    latest_.swap(record);
  }

 private:
  mutable base::Mutex mutex_{base::LockRank::leaf};
  std::shared_ptr<const T> latest_ ZARN_GUARDED_BY(mutex_);
};

}  // namespace zarn::model
