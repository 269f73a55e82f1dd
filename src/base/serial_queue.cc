#include "base/serial_queue.h"

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <deque>
#include <utility>

#include "base/work_item_state.h"
#include "zarn/export.h"

namespace zarn::base {
namespace {

/// A caller of sync that waits for its turn.
struct SyncWaiter {
  ConditionVariable turnCame;
  bool hasTurn = false;
};

/// Either a closure or the place of a waiting caller.
struct QueueEntry {
  Closure item;
  SyncWaiter* waiter = nullptr;
};

/// What a thread is inside of, innermostFrame first.
struct QueueFrame {
  const void* queue;
  QueueFrame* outer;
  std::shared_ptr<void> keptAlive;  // set when the queue dies on itself
};
constinit thread_local QueueFrame* innermostFrame = nullptr;

QueueFrame* findFrame(const void* queue) {
  QueueFrame* frame = innermostFrame;
  while (frame && frame->queue != queue) frame = frame->outer;
  return frame;
}

void runContained(Closure item) {
  try {
    item();
  } catch (...) {  // one failing item must not stop the ones behind it
  }
}

}  // namespace

// `phase_` lets an idle queue be entered and left with one atomic operation each. As soon as
// anything waits it says contended, and the members under the mutex hold the truth until nothing
// waits and nobody runs any more.
struct SerialQueue::State : std::enable_shared_from_this<State> {
  State(Executor& executor, std::string label, LockRank rank)
      : executor_(executor), label_(std::move(label)), rank_(rank) {}

  bool tryEnterIdle() {
    Phase expected = Phase::idle;
    return phase_.compare_exchange_strong(expected, Phase::running, std::memory_order_acquire,
                                          std::memory_order_relaxed);
  }

  /// Takes a place behind everything that waits and returns once the calling thread is the runner.
  /// Entries before the place may be left for it to run.
  void enterBehind(SyncWaiter& self) {
    MutexLock lock(mutex_);
    contend();
    entries_.push_back({nullptr, &self});
    ++waiters_;
    if (!isRunning_) {
      isRunning_ = true;
      return;
    }
    while (!self.hasTurn) self.turnCame.wait(mutex_);
  }

  /// A drain becomes the runner, unless another thread was quicker.
  bool enterPosted() {
    MutexLock lock(mutex_);
    isPosted_ = false;
    if (entries_.empty() || isRunning_) return false;
    isRunning_ = true;
    return true;
  }

  /// The next closure for the runner; empty at a waiting caller's place and at the end.
  Closure takeItem() {
    MutexLock lock(mutex_);
    if (entries_.empty() || entries_.front().waiter) return nullptr;
    Closure item = std::move(entries_.front().item);
    entries_.pop_front();
    return item;
  }

  void takePlace() {
    MutexLock lock(mutex_);
    entries_.pop_front();
    --waiters_;
  }

  void leave() {
    Phase expected = Phase::running;
    if (phase_.compare_exchange_strong(expected, Phase::idle, std::memory_order_release,
                                       std::memory_order_relaxed)) {
      return;
    }
    if (handOver()) postDrain();
  }

  void add(Closure item) {
    bool mustPost = false;
    {
      MutexLock lock(mutex_);
      if (isClosed_) return;
      contend();
      entries_.push_back({std::move(item), nullptr});
      if (!isRunning_) mustPost = !std::exchange(isPosted_, true);
    }
    if (mustPost) postDrain();
  }

  void drain();

  /// Takes the closures out, to be dropped without the lock. Callers that wait keep their places.
  std::deque<QueueEntry> close() {
    std::deque<QueueEntry> dropped;
    MutexLock lock(mutex_);
    isClosed_ = true;
    dropped.swap(entries_);
    for (QueueEntry& entry : dropped) {
      if (entry.waiter) entries_.push_back(std::move(entry));
    }
    return dropped;
  }

  std::size_t waitingCount() {
    MutexLock lock(mutex_);
    return entries_.size();
  }

  LockRank rank() const { return rank_; }
  Executor& executor() const { return executor_; }

 private:
  enum class Phase { idle, running, contended };

  void contend() ZARN_REQUIRES(mutex_) {
    const Phase before = phase_.exchange(Phase::contended, std::memory_order_acq_rel);
    if (before != Phase::contended) isRunning_ = before == Phase::running;
  }

  /// The runner ends; true when a drain is to be posted.
  bool handOver() {
    MutexLock lock(mutex_);
    if (waiters_ > 0) {
      // Whatever waits before the caller's place, the caller runs: it is awake anyway, and a thread
      // of the executor may be long in coming.
      for (const QueueEntry& entry : entries_) {
        if (!entry.waiter) continue;
        entry.waiter->hasTurn = true;
        entry.waiter->turnCame.notifyOne();
        return false;
      }
    }
    isRunning_ = false;
    if (!entries_.empty()) return !std::exchange(isPosted_, true);
    phase_.store(Phase::idle, std::memory_order_release);
    return false;
  }

  void postDrain() {
    executor_.post([state = shared_from_this()] { state->drain(); });
  }

  // Constant after construction.
  Executor& executor_;
  const std::string label_;
  const LockRank rank_;

  std::atomic<Phase> phase_ = Phase::idle;
  Mutex mutex_{LockRank::dispatch};
  std::deque<QueueEntry> entries_ ZARN_GUARDED_BY(mutex_);
  std::size_t waiters_ ZARN_GUARDED_BY(mutex_) = 0;
  bool isRunning_ ZARN_GUARDED_BY(mutex_) = false;  // valid while contended
  bool isPosted_ ZARN_GUARDED_BY(mutex_) = false;   // a drain is on its way
  bool isClosed_ ZARN_GUARDED_BY(mutex_) = false;
};

/// The calling thread is the runner while it lives.
class SerialQueue::Turn {
 public:
  explicit Turn(State& state) : state_(state), frame_{&state, innermostFrame, nullptr} {
    innermostFrame = &frame_;
  }
  ~Turn() {
    innermostFrame = frame_.outer;
    noteUnlocked(&state_);
    state_.leave();
  }
  Turn(const Turn&) = delete;
  Turn& operator=(const Turn&) = delete;

 private:
  State& state_;
  QueueFrame frame_;
};

void SerialQueue::State::drain() {
  if (!enterPosted()) return;
  noteLocked(this, rank_);
  Turn turn(*this);
  for (int left = executor_.itemsPerTurn(); left > 0; --left) {
    Closure item = takeItem();
    if (!item) return;
    runContained(std::move(item));
  }
}

SerialQueue::SerialQueue(Executor& executor, std::string label, LockRank rank)
    : state_(std::make_shared<State>(executor, std::move(label), rank)) {}

SerialQueue::~SerialQueue() {
  if (QueueFrame* frame = findFrame(state_.get())) frame->keptAlive = state_;
  state_->close();
}

void SerialQueue::async(Closure item) {
  state_->add(std::move(item));
}

void SerialQueue::syncErased(FunctionRef item) {
  State& state = *state_;
  if (findFrame(&state)) return item.call(item.callable);
  noteLocked(&state, state.rank());
  if (state.tryEnterIdle()) {
    Turn turn(state);
    return item.call(item.callable);
  }
  SyncWaiter self;
  state.enterBehind(self);
  Turn turn(state);
  while (Closure ahead = state.takeItem()) runContained(std::move(ahead));
  state.takePlace();
  item.call(item.callable);
}

WorkItem SerialQueue::asyncAfter(Duration delay, Closure item) {
  return asyncAfter(state_, delay, std::move(item));
}

WorkItem SerialQueue::asyncAfter(const std::shared_ptr<State>& state, Duration delay,
                                 Closure item) {
  auto work = std::make_shared<WorkItem::State>(state->executor(), std::move(item));
  work->schedule(delay, [work, queue = std::weak_ptr<State>(state)] {
    const auto target = queue.lock();
    if (target && work->isPending()) target->add([work] { work->run(); });
  });
  return WorkItem(std::move(work));
}

// A backend that is a library of its own posts through these two: with a copy of this file it would
// run items outside of their queue's turns.
ZARN_API SerialQueue::Poster SerialQueue::poster() const {
  return Poster(state_);
}

ZARN_API void SerialQueue::Poster::async(Closure item) const {
  if (const auto state = state_.lock()) state->add(std::move(item));
}

bool SerialQueue::isCurrent() const {
  return findFrame(state_.get()) != nullptr;
}

#if defined(ZARN_LOCK_CHECKS)
void SerialQueue::assertCurrent() const {
  if (isCurrent()) return;
  std::fputs("[Zarn] code that belongs on a serial queue runs elsewhere\n", stderr);
  std::abort();
}
#endif

std::size_t SerialQueue::waitingCount() const {
  return state_->waitingCount();
}

}  // namespace zarn::base
