// MainExecutor: runs tasks in the loop of the user interface. When the loop has ended, what still
// waits and what comes later runs on another executor, so that nothing is lost.
#pragma once

#include <chrono>
#include <cstddef>
#include <deque>
#include <map>
#include <memory>
#include <optional>
#include <utility>

#include "base/executor.h"
#include "base/mutex.h"

namespace zarn::qt {

/// Tasks run in the order in which they were posted or fell due, a burst of them in one turn of the
/// loop. A timer of Qt's runs only while something delayed waits. Tasks posted before the loop
/// begins run once it does. What a task throws is lost. In a forked child tasks are dropped.
class MainExecutor final : public base::Executor {
 public:
  /// On the thread of the user interface, like its destruction.
  MainExecutor();
  ~MainExecutor() override;

  /// Where tasks run after the loop's end: an executor of one thread, which lives as long as this
  /// one. To be called before the first task.
  void continueOn(base::Executor& afterwards);
  /// The loop has ended. With `mayRun`, what waits runs now. On the thread of the user interface;
  /// later calls do nothing.
  void endLoop(bool mayRun);

  void post(base::Closure task) override;
  base::TaskId postAfter(base::Duration delay, base::Closure task) override;
  bool cancel(base::TaskId id) override;
  bool isCurrent() const override;
  /// Few: the user's input waits behind them.
  int itemsPerTurn() const override { return 8; }

 private:
  class Receiver;
  using SteadyTime = std::chrono::steady_clock::time_point;

  void turn(bool isInLoop);
  std::size_t collect(bool isInLoop);
  void run(std::size_t count);
  base::Closure takeReady();
  /// After the loop's end: what is to be asked of the other executor, once the lock is released.
  struct Wish {
    base::Executor* executor = nullptr;
    bool soon = false;
    std::optional<base::Duration> later = std::nullopt;
  };
  void wake(Wish& wish) ZARN_REQUIRES(mutex_);
  void awaitFirst(Wish& wish) ZARN_REQUIRES(mutex_);
  void ask(const Wish& wish);

  // Constant after construction.
  const std::unique_ptr<Receiver> receiver_;

  mutable base::Mutex mutex_{base::LockRank::dispatch};
  base::Executor* afterwards_ ZARN_GUARDED_BY(mutex_) = nullptr;
  bool isLoopOver_ ZARN_GUARDED_BY(mutex_) = false;
  bool isWoken_ ZARN_GUARDED_BY(mutex_) = false;  // a turn is on its way
  std::deque<base::Closure> ready_ ZARN_GUARDED_BY(mutex_);
  std::map<std::pair<SteadyTime, base::TaskId>, base::Closure> delayed_ ZARN_GUARDED_BY(mutex_);
  std::map<base::TaskId, SteadyTime> dueTimes_ ZARN_GUARDED_BY(mutex_);
  base::TaskId lastId_ ZARN_GUARDED_BY(mutex_) = 0;
};

}  // namespace zarn::qt
