#include "qt/main_executor.h"

#include <QCoreApplication>
#include <QEvent>
#include <QObject>
#include <algorithm>

#include "base/fork_guard.h"
#include "base/host_call.h"
#include "qt/gui_thread.h"

namespace zarn::qt {
namespace {

/// No task waits longer, and no timer of Qt's could.
constexpr base::Duration kLongestDelay = std::chrono::hours(24 * 20);
/// Of rounds at the loop's end, in which tasks post tasks.
constexpr int kMostLastRounds = 100;

}  // namespace

/// Through which Qt reaches us.
class MainExecutor::Receiver final : public QObject {
 public:
  explicit Receiver(MainExecutor& owner) : owner_(owner) {}

  /// Any thread.
  void wake() { QCoreApplication::postEvent(this, new QEvent(QEvent::User)); }

  void wakeIn(std::chrono::milliseconds delay) {
    cancelTimer();
    timer_ = startTimer(delay, Qt::PreciseTimer);
  }
  void cancelTimer() {
    if (timer_ != 0) killTimer(std::exchange(timer_, 0));
  }

  bool event(QEvent* event) override {
    if (event->type() != QEvent::User && event->type() != QEvent::Timer) {
      return QObject::event(event);
    }
    owner_.turn(true);
    return true;
  }

 private:
  MainExecutor& owner_;
  int timer_ = 0;
};

MainExecutor::MainExecutor() : receiver_(std::make_unique<Receiver>(*this)) {}

MainExecutor::~MainExecutor() = default;

void MainExecutor::continueOn(base::Executor& afterwards) {
  base::MutexLock lock(mutex_);
  afterwards_ = &afterwards;
}

void MainExecutor::endLoop(bool mayRun) {
  if (base::inForkedChild()) return;
  for (int round = 0; mayRun && round < kMostLastRounds; ++round) {
    const std::size_t count = collect(true);
    if (count == 0) break;
    run(count);
  }
  Wish wish;
  {
    base::MutexLock lock(mutex_);
    if (isLoopOver_) return;
    isLoopOver_ = true;
    isWoken_ = false;
    receiver_->cancelTimer();
    if (!ready_.empty()) wake(wish);
    awaitFirst(wish);
  }
  ask(wish);
}

void MainExecutor::post(base::Closure task) {
  if (base::inForkedChild()) return;
  Wish wish;
  {
    base::MutexLock lock(mutex_);
    ready_.push_back(std::move(task));
    wake(wish);
  }
  ask(wish);
}

base::TaskId MainExecutor::postAfter(base::Duration delay, base::Closure task) {
  if (base::inForkedChild()) return 0;
  const SteadyTime due =
      std::chrono::steady_clock::now() + std::clamp(delay, base::Duration::zero(), kLongestDelay);
  Wish wish;
  base::TaskId id = 0;
  {
    base::MutexLock lock(mutex_);
    id = ++lastId_;
    const auto added = delayed_.emplace(std::pair(due, id), std::move(task)).first;
    dueTimes_.emplace(id, due);
    // A turn sets the timer: only the loop's own thread may.
    if (added == delayed_.begin()) wake(wish);
  }
  ask(wish);
  return id;
}

bool MainExecutor::cancel(base::TaskId id) {
  if (base::inForkedChild()) return false;
  base::Closure dropped;
  Wish wish;
  {
    base::MutexLock lock(mutex_);
    const auto due = dueTimes_.find(id);
    if (due == dueTimes_.end()) return false;
    const auto task = delayed_.find({due->second, id});
    dropped = std::move(task->second);
    delayed_.erase(task);
    dueTimes_.erase(due);
    // No timer may run for nothing.
    if (delayed_.empty() && !isLoopOver_) wake(wish);
  }
  ask(wish);
  return true;
}

bool MainExecutor::isCurrent() const {
  base::MutexLock lock(mutex_);
  return isLoopOver_ && afterwards_ != nullptr ? afterwards_->isCurrent() : onGuiThread();
}

void MainExecutor::turn(bool isInLoop) {
  if (base::inForkedChild()) return;
  const std::size_t count = collect(isInLoop);
  if (count == 0) return;
  if (!isInLoop) return run(count);
  const base::HostCall marker;
  run(count);
}

/// How many tasks are ready, if it is this turn's kind that runs them.
std::size_t MainExecutor::collect(bool isInLoop) {
  Wish wish;
  std::size_t count = 0;
  {
    base::MutexLock lock(mutex_);
    if (isLoopOver_ == isInLoop) return 0;
    isWoken_ = false;
    const SteadyTime now = std::chrono::steady_clock::now();
    while (!delayed_.empty() && delayed_.begin()->first.first <= now) {
      dueTimes_.erase(delayed_.begin()->first.second);
      ready_.push_back(std::move(delayed_.begin()->second));
      delayed_.erase(delayed_.begin());
    }
    awaitFirst(wish);
    count = ready_.size();
    // A task may run a loop of its own, for a dialog: those behind it run there.
    if (count > 1 && isInLoop) wake(wish);
  }
  ask(wish);
  return count;
}

void MainExecutor::run(std::size_t count) {
  for (; count > 0; --count) {
    base::Closure task = takeReady();
    if (!task) return;
    try {
      task();
    } catch (...) {  // must not get into the host's loop
    }
  }
}

base::Closure MainExecutor::takeReady() {
  base::MutexLock lock(mutex_);
  if (ready_.empty()) return nullptr;
  base::Closure task = std::move(ready_.front());
  ready_.pop_front();
  return task;
}

void MainExecutor::wake(Wish& wish) {
  if (isWoken_) return;
  isWoken_ = true;
  if (!isLoopOver_) return receiver_->wake();
  wish.executor = afterwards_;
  wish.soon = true;
}

/// On the thread that runs the tasks: sees to it that it wakes for what is delayed.
void MainExecutor::awaitFirst(Wish& wish) {
  if (delayed_.empty()) {
    if (!isLoopOver_) receiver_->cancelTimer();
    return;
  }
  const base::Duration left =
      std::max(delayed_.begin()->first.first - std::chrono::steady_clock::now(), {});
  if (!isLoopOver_) return receiver_->wakeIn(std::chrono::ceil<std::chrono::milliseconds>(left));
  wish.executor = afterwards_;
  wish.later = left;
}

void MainExecutor::ask(const Wish& wish) {
  if (wish.executor == nullptr) return;
  if (wish.soon) wish.executor->post([this] { turn(false); });
  if (wish.later) wish.executor->postAfter(*wish.later, [this] { turn(false); });
}

}  // namespace zarn::qt
