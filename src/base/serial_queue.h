// SerialQueue: closures one at a time and in order, on an executor's threads or, for sync, on the
// caller's.
//
//   state      async(f)             sync(f)                            an item ends
//   idle       f waits, drain is    caller runs f at once              -
//              posted: scheduled
//   scheduled  f waits              caller runs what waits before it,  -
//                                   then f: running
//   running    f waits              caller waits for its turn          next waiter is woken, or the
//                                                                      drain goes on, or: idle
//
// The queue is a capability: members used only on it are ZARN_GUARDED_BY(queue_), and a closure's
// first line is queue_.assertCurrent().
#pragma once

#include <deque>
#include <memory>
#include <string>

#include "base/closure.h"
#include "base/executor.h"
#include "base/mutex.h"
#include "base/work_item.h"

namespace zarn::base {

class ZARN_CAPABILITY("serial queue") SerialQueue {
 public:
  /// `label` is for debuggers; `executor` must outlive the queue's last item.
  SerialQueue(Executor& executor, std::string label, LockRank rank);
  /// Items that have not begun are dropped. Never waits: the owner drains first where that matters.
  ~SerialQueue();
  SerialQueue(const SerialQueue&) = delete;
  SerialQueue& operator=(const SerialQueue&) = delete;

  /// Runs `item` after everything that was handed over before.
  void async(Closure item);

  /// Runs `item` on the calling thread in its turn and returns when it has run. It needs no thread
  /// of the executor: items that wait ahead and have not begun run on the calling thread as well.
  /// From inside the same queue it runs in place.
  template <typename F>
  void sync(F&& item) {
    syncErased({&item, [](void* at) { (*static_cast<std::remove_reference_t<F>*>(at))(); }});
  }

  /// Runs `item` on the queue after `delay`, unless the returned handle is cancelled or dies first.
  [[nodiscard]] WorkItem asyncAfter(Duration delay, Closure item);

  /// Whether the calling code runs on this queue.
  bool isCurrent() const;
  void assertCurrent() const ZARN_ASSERT_CAPABILITY(this);

 private:
  struct FunctionRef {
    void* callable;
    void (*call)(void*);
  };
  struct State;
  void syncErased(FunctionRef item);

  std::shared_ptr<State> state_;
};

}  // namespace zarn::base
