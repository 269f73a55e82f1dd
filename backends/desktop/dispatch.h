// The desktop's threads: a small pool, a main executor, and threads of one's own.
//
// The main executor is a thread of its own here: a plain program has no loop that we could post to.
// Threads start with the first task and sleep in the kernel when nothing is due.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "base/mutex.h"
#include "platform/dispatch.h"

namespace zarn::desktop {

/// Runs tasks on up to `maxThreads` threads, in the order in which they were posted or fell due.
/// What a task throws is lost. In a forked child tasks are dropped.
class ThreadExecutor final : public base::Executor {
 public:
  ThreadExecutor(std::string name, int maxThreads);
  /// Drops what has not begun; never waits.
  ~ThreadExecutor() override;

  void post(base::Closure task) override;
  base::TaskId postAfter(base::Duration delay, base::Closure task) override;
  bool cancel(base::TaskId id) override;
  bool isCurrent() const override;

  /// No task begins after this, and later ones are dropped. Waits at most `patience` for the
  /// threads to end, not counting the caller's own; false when some did not. Other tasks that have
  /// not begun are kept, unrun, until the executor dies.
  bool stop(base::Duration patience);

 private:
  friend class ThreadDispatch;
  class Core;
  const std::shared_ptr<Core> core_;  // threads hold it too
};

class ThreadDispatch final : public platform::Dispatch {
 public:
  base::Executor& pool() override { return pool_; }
  base::Executor& main() override { return main_; }
  std::unique_ptr<base::Executor> makeThread(std::string name) override;

  /// Stops pool, main and the threads that makeThread gave.
  bool stop(base::Duration patience);

 private:
  ThreadExecutor pool_{"zarn-pool", 2};
  ThreadExecutor main_{"zarn-main", 1};
  base::Mutex mutex_{base::LockRank::dispatch};
  std::vector<std::weak_ptr<ThreadExecutor::Core>> made_ ZARN_GUARDED_BY(mutex_);
};

}  // namespace zarn::desktop
