// ManualDispatch: all executors of a platform on one virtual clock. Nothing runs by itself: a test
// runs tasks one by one, until none is due, or by letting time pass, and so can play out any
// interleaving it wants.
//
//   ManualClock clock;
//   ManualDispatch dispatch(clock);
//   base::SerialQueue queue(dispatch.pool(), "q", base::LockRank::leaf);
//   auto work = queue.asyncAfter(base::seconds(5), [&] { ++ran; });
//   dispatch.advance(4.9);   // not yet
//   dispatch.advance(0.1);   // ran == 1
//
// Of the tasks that are due, the one due first runs first; of those due together, the one posted
// first. Serial queues run one item a task. Posting and cancelling are safe on any thread; running
// is for one thread at a time.
#pragma once

#include <cstddef>
#include <map>
#include <optional>
#include <string>
#include <utility>

#include "base/mutex.h"
#include "platform/clock.h"
#include "platform/dispatch.h"

namespace zarn::testing {

/// Wall and monotonic time advance together; the wall clock can also be set by itself.
class ManualClock : public platform::Clock {
 public:
  /// Starts at 2030-01-01T00:00:00Z.
  ManualClock();
  explicit ManualClock(Date start) : start_(start) {}

  Date now() const override;
  base::Duration monotonic() const override;

  /// Time passes, but no task runs.
  void advance(base::Duration by);
  /// As when the user sets the clock: no time passes.
  void setNow(Date now);
  void jumpWall(base::Duration by) { setNow(now() + by); }

 private:
  mutable base::Mutex mutex_{base::LockRank::dispatch};
  Date start_ ZARN_GUARDED_BY(mutex_);  // wall time at monotonic time zero
  base::Duration elapsed_ ZARN_GUARDED_BY(mutex_) = base::Duration::zero();
};

class ManualDispatch;

class ManualExecutor : public base::Executor {
 public:
  ManualExecutor(ManualDispatch& dispatch, std::string name, bool isSingleThread)
      : dispatch_(dispatch), name_(std::move(name)), isSingleThread_(isSingleThread) {}
  /// Drops what is still pending on it.
  ~ManualExecutor() override;

  void post(base::Closure task) override;
  base::TaskId postAfter(base::Duration delay, base::Closure task) override;
  bool cancel(base::TaskId id) override;
  bool isCurrent() const override;
  int itemsPerTurn() const override { return 1; }

  const std::string& name() const { return name_; }
  /// Whether code outside of tasks counts as running on this executor.
  void setCurrent(bool isCurrent) { isSetCurrent_ = isCurrent; }

 private:
  ManualDispatch& dispatch_;
  const std::string name_;
  const bool isSingleThread_;
  bool isSetCurrent_ = false;
};

class ManualDispatch : public platform::Dispatch {
 public:
  explicit ManualDispatch(ManualClock& clock) : clock_(clock) {}
  ~ManualDispatch() override;

  ManualExecutor& pool() override { return pool_; }
  ManualExecutor& main() override { return main_; }
  /// Must die before the dispatch.
  std::unique_ptr<base::Executor> makeThread(std::string name) override;

  /// Runs the first task that is due, of all or of one executor; false when there is none.
  bool runOne() { return runFirstDue(nullptr); }
  bool runOne(const base::Executor& executor) { return runFirstDue(&executor); }
  /// Runs due tasks, and those they post, until none is due. Aborts when that never ends.
  void runUntilIdle();
  /// Lets time pass; each task that becomes due on the way runs at its own time.
  void advance(base::Duration by);
  void advance(double seconds) { advance(base::seconds(seconds)); }

  /// Tasks that have not run, delayed ones included.
  std::size_t pendingCount() const;
  /// Tasks that could run now.
  std::size_t dueCount() const;
  /// How long until the first task is due: zero when one is, nothing when none is pending.
  std::optional<base::Duration> timeToNext() const;

 private:
  friend class ManualExecutor;
  struct Task {
    const base::Executor* executor;
    base::Closure run;
  };
  using Key = std::pair<base::Duration, base::TaskId>;  // when due, order of posting

  base::TaskId add(const base::Executor& executor, base::Duration delay, base::Closure task);
  bool remove(base::TaskId id);
  void removeAll(const base::Executor& executor);
  bool runFirstDue(const base::Executor* executor);

  ManualClock& clock_;
  mutable base::Mutex mutex_{base::LockRank::dispatch};
  std::map<Key, Task> tasks_ ZARN_GUARDED_BY(mutex_);
  base::TaskId lastId_ ZARN_GUARDED_BY(mutex_) = 0;
  const base::Executor* running_ = nullptr;  // used by the thread that runs tasks
  ManualExecutor pool_{*this, "pool", false};
  ManualExecutor main_{*this, "main", true};
};

}  // namespace zarn::testing
