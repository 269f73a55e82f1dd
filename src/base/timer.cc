#include "base/timer.h"

#include "base/generation.h"

namespace zarn::base {

// Ticks hold the state, not the timer: both the timer and the queue may die while a tick runs.
struct RepeatingTimer::State : std::enable_shared_from_this<State> {
  using Token = Generation<State>::Token;

  State(std::shared_ptr<SerialQueue::State> queue, Duration interval, std::function<void()> tick)
      : queue_(std::move(queue)), interval_(interval), tick_(std::move(tick)) {}

  Token begin() {
    WorkItem ended;  // dies after the lock: cancelling calls the executor
    MutexLock lock(mutex_);
    ended = std::move(next_);
    return generation_.bump();
  }

  void schedule(Token token) {
    WorkItem next = SerialQueue::asyncAfter(
        queue_, interval_, [state = shared_from_this(), token] { state->tick(token); });
    MutexLock lock(mutex_);
    if (token == generation_.current()) std::swap(next, next_);
  }

 private:
  void tick(Token token) {
    schedule(token);
    {
      MutexLock lock(mutex_);
      if (token != generation_.current()) return;
    }
    tick_();
  }

  // Constant after construction.
  const std::shared_ptr<SerialQueue::State> queue_;
  const Duration interval_;
  const std::function<void()> tick_;

  Mutex mutex_{LockRank::dispatch};
  Generation<State> generation_ ZARN_GUARDED_BY(mutex_);
  WorkItem next_ ZARN_GUARDED_BY(mutex_);
};

RepeatingTimer::RepeatingTimer(SerialQueue& queue, Duration interval, std::function<void()> tick)
    : state_(std::make_shared<State>(queue.state_, interval, std::move(tick))) {}

RepeatingTimer::~RepeatingTimer() {
  stop();
}

void RepeatingTimer::start() {
  state_->schedule(state_->begin());
}

void RepeatingTimer::stop() {
  state_->begin();
}

}  // namespace zarn::base
