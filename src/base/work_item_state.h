// What a WorkItem and the executor's task share: the closure, and who of the two gets it.
#pragma once

#include <atomic>

#include "base/closure.h"
#include "base/executor.h"
#include "base/work_item.h"

namespace zarn::base {

///   pending -> begun      the item's turn came first
///   pending -> cancelled  the handle's owner came first
class WorkItem::State {
 public:
  State(Executor& executor, Closure item) : executor_(executor), item_(std::move(item)) {}

  /// Posts `task`, which is to call run. Once, before the state gets into other hands.
  void schedule(Duration delay, Closure task) {
    task_ = executor_.postAfter(delay, std::move(task));
  }
  void run();
  void cancel();
  bool isPending() const { return phase_.load(std::memory_order_relaxed) == Phase::pending; }

 private:
  enum class Phase { pending, begun, cancelled };
  bool leavePending(Phase next);

  Executor& executor_;
  TaskId task_ = 0;
  std::atomic<Phase> phase_ = Phase::pending;
  Closure item_;  // belongs to whoever ended the pending phase
};

}  // namespace zarn::base
