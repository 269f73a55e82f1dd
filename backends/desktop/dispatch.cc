#include "desktop/dispatch.h"

#include <algorithm>
#include <chrono>
#include <deque>
#include <map>
#include <utility>

#include "base/fork_guard.h"
#include "base/mutex.h"
#include "desktop/thread.h"

namespace zarn::desktop {
namespace {

using SteadyTime = std::chrono::steady_clock::time_point;

/// Far enough for any delay, and no overflow in sums.
constexpr base::Duration kLongestDelay = std::chrono::hours(24 * 365);

SteadyTime timeAfter(base::Duration delay) {
  return std::chrono::steady_clock::now() +
         std::clamp(delay, base::Duration::zero(), kLongestDelay);
}

constinit thread_local const void* currentExecutor = nullptr;

}  // namespace

class ThreadExecutor::Core : public std::enable_shared_from_this<Core> {
 public:
  Core(std::string name, int maxThreads) : name_(std::move(name)), maxThreads_(maxThreads) {}

  void post(base::Closure task) {
    if (base::inForkedChild()) return;
    bool needsThread = false;
    {
      base::MutexLock lock(mutex_);
      if (isStopping_) return;
      ready_.push_back(std::move(task));
      needsThread = callThread();
    }
    if (needsThread) startOne();
  }

  base::TaskId postAfter(base::Duration delay, base::Closure task) {
    if (base::inForkedChild()) return 0;
    const SteadyTime due = timeAfter(delay);
    bool needsThread = false;
    base::TaskId id = 0;
    {
      base::MutexLock lock(mutex_);
      if (isStopping_) return 0;
      id = ++lastId_;
      const auto added = delayed_.emplace(std::pair(due, id), std::move(task)).first;
      dueTimes_.emplace(id, due);
      // Whoever waits for what was first must wait less long now.
      if (added == delayed_.begin()) needsThread = callTimekeeper();
    }
    if (needsThread) startOne();
    return id;
  }

  bool cancel(base::TaskId id) {
    if (base::inForkedChild()) return false;
    base::Closure dropped;
    base::MutexLock lock(mutex_);
    const auto due = dueTimes_.find(id);
    if (due == dueTimes_.end()) return false;
    const auto task = delayed_.find({due->second, id});
    dropped = std::move(task->second);
    delayed_.erase(task);
    dueTimes_.erase(due);
    return true;
  }

  /// The executor died: nobody can post or cancel any more.
  void abandon() {
    std::deque<base::Closure> ready;  // dropped after the lock
    Delayed delayed;
    base::MutexLock lock(mutex_);
    end();
    ready.swap(ready_);
    delayed.swap(delayed_);
    dueTimes_.clear();
  }

  bool isCurrent() const { return currentExecutor == this; }
  bool hasOneThread() const { return maxThreads_ == 1; }

  bool stop(base::Duration patience) {
    if (base::inForkedChild()) return true;
    const SteadyTime deadline = timeAfter(patience);
    const int own = isCurrent() ? 1 : 0;
    std::vector<Thread> handles;
    {
      base::MutexLock lock(mutex_);
      end();
      while (threads_ > own) {
        if (!ended_.waitUntil(mutex_, deadline)) return false;
      }
      handles.swap(handles_);
    }
    bool haveEnded = true;
    for (Thread& thread : handles) {
      if (thread.isCurrent()) continue;
      haveEnded = thread.join(deadline - std::chrono::steady_clock::now()) && haveEnded;
    }
    return haveEnded;
  }

 private:
  using Delayed = std::map<std::pair<SteadyTime, base::TaskId>, base::Closure>;

  void end() ZARN_REQUIRES(mutex_) {
    isStopping_ = true;
    work_.notifyAll();
    timer_.notifyAll();
  }

  /// Sees to it that a thread takes the task that became ready. True when one is to be started.
  bool callThread() ZARN_REQUIRES(mutex_) {
    if (static_cast<std::size_t>(idle_) < ready_.size() && threads_ < maxThreads_) {
      ++threads_;
      return true;
    }
    wakeOne();
    return false;
  }

  /// Sees to it that a thread waits for the delayed task that became the first.
  bool callTimekeeper() ZARN_REQUIRES(mutex_) {
    if (idle_ == 0 && threads_ < maxThreads_) {
      ++threads_;
      return true;
    }
    if (hasTimekeeper_) {
      timer_.notifyOne();
    } else {
      work_.notifyOne();
    }
    return false;
  }

  /// A thread that was woken and has not run yet still counts as idle, and may be woken twice in
  /// place of two. So each thread that takes a task passes the call on.
  void wakeOne() ZARN_REQUIRES(mutex_) {
    if (idle_ > (hasTimekeeper_ ? 1 : 0)) {
      work_.notifyOne();
    } else {
      timer_.notifyOne();
    }
  }

  void startOne() {
    Thread thread = Thread::start(name_.c_str(), [core = shared_from_this()] { core->run(); });
    base::MutexLock lock(mutex_);
    if (thread) {
      handles_.push_back(std::move(thread));
      return;
    }
    --threads_;  // the next post tries again
    ended_.notifyAll();
  }

  void run() {
    currentExecutor = this;
    while (base::Closure task = nextTask()) {
      try {
        task();
      } catch (...) {  // must not end the host's process
      }
    }
  }

  /// Waits for a task. Empty when the thread is to end; it is no longer counted then.
  base::Closure nextTask() {
    base::MutexLock lock(mutex_);
    while (!isStopping_) {
      collectDue();
      if (!ready_.empty()) {
        base::Closure task = std::move(ready_.front());
        ready_.pop_front();
        const bool needsTimekeeper = !delayed_.empty() && !hasTimekeeper_;
        if (idle_ > 0 && (!ready_.empty() || needsTimekeeper)) wakeOne();
        return task;
      }
      waitForTask();
    }
    --threads_;
    ended_.notifyAll();
    return nullptr;
  }

  void collectDue() ZARN_REQUIRES(mutex_) {
    if (delayed_.empty()) return;
    const SteadyTime now = std::chrono::steady_clock::now();
    while (!delayed_.empty() && delayed_.begin()->first.first <= now) {
      dueTimes_.erase(delayed_.begin()->first.second);
      ready_.push_back(std::move(delayed_.begin()->second));
      delayed_.erase(delayed_.begin());
    }
  }

  /// One idle thread wakes for the first delayed task; the others only for ready ones.
  void waitForTask() ZARN_REQUIRES(mutex_) {
    ++idle_;
    if (!delayed_.empty() && !hasTimekeeper_) {
      hasTimekeeper_ = true;
      timer_.waitUntil(mutex_, SteadyTime(delayed_.begin()->first.first));
      hasTimekeeper_ = false;
    } else {
      work_.wait(mutex_);
    }
    --idle_;
  }

  // Constant after construction.
  const std::string name_;
  const int maxThreads_;

  base::Mutex mutex_{base::LockRank::dispatch};
  base::ConditionVariable work_;   // idle threads but the timekeeper
  base::ConditionVariable timer_;  // the timekeeper
  base::ConditionVariable ended_;
  std::deque<base::Closure> ready_ ZARN_GUARDED_BY(mutex_);
  Delayed delayed_ ZARN_GUARDED_BY(mutex_);
  std::map<base::TaskId, SteadyTime> dueTimes_ ZARN_GUARDED_BY(mutex_);
  base::TaskId lastId_ ZARN_GUARDED_BY(mutex_) = 0;
  std::vector<Thread> handles_ ZARN_GUARDED_BY(mutex_);
  int threads_ ZARN_GUARDED_BY(mutex_) = 0;
  int idle_ ZARN_GUARDED_BY(mutex_) = 0;
  bool hasTimekeeper_ ZARN_GUARDED_BY(mutex_) = false;
  bool isStopping_ ZARN_GUARDED_BY(mutex_) = false;
};

ThreadExecutor::ThreadExecutor(std::string name, int maxThreads)
    : core_(std::make_shared<Core>(std::move(name), maxThreads)) {}

ThreadExecutor::~ThreadExecutor() {
  if (!base::inForkedChild()) core_->abandon();
}

void ThreadExecutor::post(base::Closure task) {
  core_->post(std::move(task));
}

base::TaskId ThreadExecutor::postAfter(base::Duration delay, base::Closure task) {
  return core_->postAfter(delay, std::move(task));
}

bool ThreadExecutor::cancel(base::TaskId id) {
  return core_->cancel(id);
}

bool ThreadExecutor::isCurrent() const {
  return core_->hasOneThread() && core_->isCurrent();
}

bool ThreadExecutor::stop(base::Duration patience) {
  return core_->stop(patience);
}

std::unique_ptr<base::Executor> ThreadDispatch::makeThread(std::string name) {
  auto executor = std::make_unique<ThreadExecutor>(std::move(name), 1);
  base::MutexLock lock(mutex_);
  std::erase_if(made_, [](const auto& core) { return core.expired(); });
  made_.push_back(executor->core_);
  return executor;
}

bool ThreadDispatch::stop(base::Duration patience) {
  const SteadyTime deadline = timeAfter(patience);
  std::vector<std::shared_ptr<ThreadExecutor::Core>> cores{pool_.core_, main_.core_};
  if (!base::inForkedChild()) {
    base::MutexLock lock(mutex_);
    for (const auto& made : made_) {
      if (auto core = made.lock()) cores.push_back(std::move(core));
    }
  }
  bool haveEnded = true;
  for (const auto& core : cores) {
    const bool hasEnded = core->stop(deadline - std::chrono::steady_clock::now());
    haveEnded = haveEnded && hasEnded;
  }
  return haveEnded;
}

}  // namespace zarn::desktop
