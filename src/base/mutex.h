// A mutex that knows its rank, its scoped lock, and a condition variable for it.
//
//   base::Mutex mutex_{base::LockRank::leaf};
//   int count_ ZARN_GUARDED_BY(mutex_) = 0;
//   ...
//   base::MutexLock lock(mutex_);
#pragma once

#include <condition_variable>
#include <mutex>

#include "base/lock_rank.h"
#include "base/thread_annotations.h"

namespace zarn::base {

#if defined(ZARN_LOCK_CHECKS)
/// Records that the calling thread holds `owner`; aborts when the order of ranks is broken.
void noteLocked(const void* owner, LockRank rank);
void noteUnlocked(const void* owner);
#else
inline void noteLocked(const void*, LockRank) {}
inline void noteUnlocked(const void*) {}
#endif

class ZARN_CAPABILITY("mutex") Mutex {
 public:
  explicit Mutex(LockRank rank) : rank_(rank) {}
  Mutex(const Mutex&) = delete;
  Mutex& operator=(const Mutex&) = delete;

  void lock() ZARN_ACQUIRE() {
    noteLocked(this, rank_);
    mutex_.lock();
  }
  void unlock() ZARN_RELEASE() {
    mutex_.unlock();
    noteUnlocked(this);
  }

 private:
  friend class ConditionVariable;
  std::mutex mutex_;
  [[maybe_unused]] const LockRank rank_;
};

class ZARN_SCOPED_CAPABILITY MutexLock {
 public:
  explicit MutexLock(Mutex& mutex) ZARN_ACQUIRE(mutex) : mutex_(mutex) { mutex_.lock(); }
  ~MutexLock() ZARN_RELEASE() { mutex_.unlock(); }
  MutexLock(const MutexLock&) = delete;
  MutexLock& operator=(const MutexLock&) = delete;

 private:
  Mutex& mutex_;
};

class ConditionVariable {
 public:
  /// Waits with `mutex` released; as with any condition variable, the caller loops on its
  /// condition.
  void wait(Mutex& mutex) ZARN_REQUIRES(mutex) {
    std::unique_lock<std::mutex> lock(mutex.mutex_, std::adopt_lock);
    condition_.wait(lock);
    lock.release();
  }
  /// False when `deadline` has passed.
  template <typename Clock, typename D>
  bool waitUntil(Mutex& mutex, std::chrono::time_point<Clock, D> deadline) ZARN_REQUIRES(mutex) {
    std::unique_lock<std::mutex> lock(mutex.mutex_, std::adopt_lock);
    const bool inTime = condition_.wait_until(lock, deadline) == std::cv_status::no_timeout;
    lock.release();
    return inTime;
  }
  void notifyOne() { condition_.notify_one(); }
  void notifyAll() { condition_.notify_all(); }

 private:
  std::condition_variable condition_;
};

}  // namespace zarn::base
