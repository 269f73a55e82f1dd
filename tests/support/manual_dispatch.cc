#include "support/manual_dispatch.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>

namespace zarn::testing {

ManualClock::ManualClock() : start_(Date(std::chrono::seconds(1893456000))) {}

Date ManualClock::now() const {
  base::MutexLock lock(mutex_);
  return start_ + std::chrono::duration_cast<Date::duration>(elapsed_);
}

base::Duration ManualClock::monotonic() const {
  base::MutexLock lock(mutex_);
  return elapsed_;
}

void ManualClock::advance(base::Duration by) {
  base::MutexLock lock(mutex_);
  elapsed_ += by;
}

void ManualClock::setNow(Date now) {
  base::MutexLock lock(mutex_);
  start_ = now - std::chrono::duration_cast<Date::duration>(elapsed_);
}

ManualExecutor::~ManualExecutor() {
  dispatch_.removeAll(*this);
}

void ManualExecutor::post(base::Closure task) {
  dispatch_.add(*this, base::Duration::zero(), std::move(task));
}

base::TaskId ManualExecutor::postAfter(base::Duration delay, base::Closure task) {
  return dispatch_.add(*this, std::max(delay, base::Duration::zero()), std::move(task));
}

bool ManualExecutor::cancel(base::TaskId id) {
  return dispatch_.remove(id);
}

bool ManualExecutor::isCurrent() const {
  return isSingleThread_ && (isSetCurrent_ || dispatch_.running_ == this);
}

ManualDispatch::~ManualDispatch() {
  // A dropped closure may post again from a destructor it owns.
  while (true) {
    std::map<Key, Task> dropped;
    base::MutexLock lock(mutex_);
    if (tasks_.empty()) return;
    dropped.swap(tasks_);
  }
}

std::unique_ptr<base::Executor> ManualDispatch::makeThread(std::string name) {
  return std::make_unique<ManualExecutor>(*this, std::move(name), true);
}

void ManualDispatch::runUntilIdle() {
  for (int left = 1'000'000; runOne(); --left) {
    if (left > 0) continue;
    std::fputs("ManualDispatch: tasks post tasks without end\n", stderr);
    std::abort();
  }
}

void ManualDispatch::advance(base::Duration by) {
  const base::Duration end = clock_.monotonic() + by;
  runUntilIdle();
  while (true) {
    const auto next = timeToNext();
    const base::Duration left = end - clock_.monotonic();
    if (!next || *next > left) break;
    clock_.advance(*next);
    runUntilIdle();
  }
  // A task may itself have let time pass.
  clock_.advance(std::max(end - clock_.monotonic(), base::Duration::zero()));
}

std::size_t ManualDispatch::pendingCount() const {
  base::MutexLock lock(mutex_);
  return tasks_.size();
}

std::size_t ManualDispatch::dueCount() const {
  const base::Duration now = clock_.monotonic();
  base::MutexLock lock(mutex_);
  const auto isDue = [now](const auto& task) { return task.first.first <= now; };
  return static_cast<std::size_t>(std::count_if(tasks_.begin(), tasks_.end(), isDue));
}

std::optional<base::Duration> ManualDispatch::timeToNext() const {
  const base::Duration now = clock_.monotonic();
  base::MutexLock lock(mutex_);
  if (tasks_.empty()) return std::nullopt;
  return std::max(tasks_.begin()->first.first - now, base::Duration::zero());
}

base::TaskId ManualDispatch::add(const base::Executor& executor, base::Duration delay,
                                 base::Closure task) {
  const base::Duration due = clock_.monotonic() + delay;
  base::MutexLock lock(mutex_);
  tasks_.emplace(Key{due, ++lastId_}, Task{&executor, std::move(task)});
  return lastId_;
}

bool ManualDispatch::remove(base::TaskId id) {
  base::Closure dropped;
  base::MutexLock lock(mutex_);
  const auto hasId = [id](const auto& task) { return task.first.second == id; };
  const auto found = std::find_if(tasks_.begin(), tasks_.end(), hasId);
  if (found == tasks_.end()) return false;
  dropped = std::move(found->second.run);
  tasks_.erase(found);
  return true;
}

void ManualDispatch::removeAll(const base::Executor& executor) {
  std::map<Key, Task> dropped;
  base::MutexLock lock(mutex_);
  for (auto task = tasks_.begin(); task != tasks_.end();) {
    const auto next = std::next(task);
    if (task->second.executor == &executor) dropped.insert(tasks_.extract(task));
    task = next;
  }
}

bool ManualDispatch::runFirstDue(const base::Executor* executor) {
  const base::Duration now = clock_.monotonic();
  Task task{};
  {
    base::MutexLock lock(mutex_);
    const auto isOf = [executor](const auto& entry) {
      return !executor || entry.second.executor == executor;
    };
    const auto found = std::find_if(tasks_.begin(), tasks_.end(), isOf);
    if (found == tasks_.end() || found->first.first > now) return false;
    task = std::move(found->second);
    tasks_.erase(found);
  }
  const base::Executor* const outer = std::exchange(running_, task.executor);
  task.run();
  task.run = nullptr;
  running_ = outer;
  return true;
}

}  // namespace zarn::testing
