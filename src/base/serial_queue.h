// SerialQueue: closures one at a time and in order, on an executor's threads or, for sync, on the
// caller's.
//
//   state      async(f)             sync(f)                            an item ends
//   idle       f waits, a drain is  caller runs f at once: running     -
//              posted: scheduled
//   scheduled  f waits              caller runs what waits before it,  -
//                                   then f: running
//   running    f waits              caller waits for its turn          by a drain: it goes on, up
//   to
//                                                                      the first waiting caller.
//                                                                      Otherwise the first waiting
//                                                                      caller takes over, or a
//                                                                      drain is posted: scheduled,
//                                                                      or: idle
//
// The queue is a capability: members used only on it are ZARN_GUARDED_BY(queue_), and a closure's
// first line is queue_.assertCurrent(). It has a rank among the locks and is entered like one.
#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <type_traits>

#include "base/closure.h"
#include "base/executor.h"
#include "base/mutex.h"
#include "base/work_item.h"

namespace zarn::base {

class ZARN_CAPABILITY("serial queue") SerialQueue {
 public:
  /// `label` is for debuggers; `executor` must outlive the queue's last item and work item.
  SerialQueue(Executor& executor, std::string label, LockRank rank);
  /// Items that have not begun are dropped. Never waits: the owner drains first where that matters.
  /// It may run on the queue itself, but not while another thread is inside a call to it.
  ~SerialQueue();
  SerialQueue(const SerialQueue&) = delete;
  SerialQueue& operator=(const SerialQueue&) = delete;

  /// Runs `item` after everything that was handed over before. What it throws is lost.
  void async(Closure item);

  /// Runs `item` on the calling thread in its turn and returns when it has run. It needs no thread
  /// of the executor: items that wait ahead and have not begun run on the calling thread as well.
  /// From inside the same queue it runs in place.
  template <typename F>
  void sync(F&& item) {
    using Callable = std::remove_reference_t<F>;
    syncErased({const_cast<void*>(static_cast<const void*>(&item)),
                [](void* at) { (*static_cast<Callable*>(at))(); }});
  }

  /// Runs `item` on the queue after `delay`, unless the returned handle is cancelled or dies first.
  [[nodiscard]] WorkItem asyncAfter(Duration delay, Closure item);

  /// A way to the queue for whoever may outlive it: items that come too late are dropped.
  class Poster;
  Poster poster() const;

  /// Whether the calling code runs on this queue.
  bool isCurrent() const;

  /// Builds with ZARN_LOCK_CHECKS abort when the calling code does not run on this queue.
#if defined(ZARN_LOCK_CHECKS)
  void assertCurrent() const ZARN_ASSERT_CAPABILITY(this);
#else
  void assertCurrent() const ZARN_ASSERT_CAPABILITY(this) {}
#endif

  /// Items and sync callers that have not begun; delayed items count once their time has come.
  std::size_t waitingCount() const;

 private:
  friend class RepeatingTimer;
  struct FunctionRef {
    void* callable;
    void (*call)(void*);
  };
  struct State;
  class Turn;
  void syncErased(FunctionRef item);
  static WorkItem asyncAfter(const std::shared_ptr<State>& state, Duration delay, Closure item);

  const std::shared_ptr<State> state_;
};

/// Cheap to copy. Any thread.
class SerialQueue::Poster {
 public:
  void async(Closure item) const;

 private:
  friend class SerialQueue;
  explicit Poster(std::weak_ptr<State> state) : state_(std::move(state)) {}

  std::weak_ptr<State> state_;
};

}  // namespace zarn::base
