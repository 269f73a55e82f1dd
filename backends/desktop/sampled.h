// Sampled<T>: a value whose reading may take long. It is read on a queue when somebody asks and the
// last reading is old, so that nothing wakes an idle app; who asks gets what was seen last, at
// once.
#pragma once

#include <atomic>
#include <chrono>
#include <functional>
#include <utility>

#include "base/mutex.h"
#include "base/serial_queue.h"
#include "base/weakly.h"
#include "platform/clock.h"

namespace zarn::desktop {

/// Any thread.
template <typename T>
class Sampled {
 public:
  /// `read` runs on `queue`; both and the clock must outlive this object.
  Sampled(const platform::Clock& clock, base::SerialQueue& queue, std::function<T()> read,
          T first = {})
      : clock_(clock), queue_(queue), read_(std::move(read)), value_(std::move(first)) {}

  /// `first` before the first reading.
  T latest() {
    const auto now = clock_.monotonic().count();
    auto due = nextRead_.load(std::memory_order_relaxed);
    if (now >= due && nextRead_.compare_exchange_strong(due, now + kAge.count())) {
      queue_.async(base::weakly(scope_, [this] {
        T value = read_();
        base::MutexLock lock(mutex_);
        value_ = std::move(value);
      }));
    }
    base::MutexLock lock(mutex_);
    return value_;
  }

 private:
  static constexpr base::Duration kAge = std::chrono::minutes(1);

  // Constant after construction.
  const platform::Clock& clock_;
  base::SerialQueue& queue_;
  const std::function<T()> read_;

  std::atomic<base::Duration::rep> nextRead_{0};  // on the monotonic clock
  base::Mutex mutex_{base::LockRank::leaf};
  T value_ ZARN_GUARDED_BY(mutex_);
  base::Scope scope_;
};

}  // namespace zarn::desktop
