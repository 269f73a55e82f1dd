#include "events/event_queue.h"

#include <chrono>
#include <utility>

#include "base/jitter.h"
#include "events/retry_tier.h"
#include "events/settlement.h"
#include "platform/random.h"

namespace zarn::events {

struct EventQueue::Waiter {
  base::Mutex mutex{base::LockRank::leaf};
  base::ConditionVariable answered;
  std::optional<bool> result ZARN_GUARDED_BY(mutex);

  void answer(bool value) {
    base::MutexLock lock(mutex);
    result = value;
    answered.notifyAll();
  }
  bool wait(std::chrono::steady_clock::time_point deadline) {
    base::MutexLock lock(mutex);
    while (!result && answered.waitUntil(mutex, deadline)) {
    }
    return result.value_or(false);
  }
};

class EventQueue::Promise {
 public:
  explicit Promise(std::shared_ptr<Waiter> waiter) : waiter_(std::move(waiter)) {}
  ~Promise() { waiter_->answer(delivered_); }
  Promise(const Promise&) = delete;
  Promise& operator=(const Promise&) = delete;

  void setDelivered(bool delivered) { delivered_ = delivered; }

 private:
  const std::shared_ptr<Waiter> waiter_;
  bool delivered_ = false;
};

EventQueue::EventQueue(BatchSender& transport, EventStorage& store, base::SerialQueue& workQueue,
                       platform::Random& random, const model::Configuration& configuration,
                       platform::Log log)
    : transport_(transport),
      store_(store),
      workQueue_(workQueue),
      random_(random),
      log_(log),
      flushAt_(static_cast<std::size_t>(configuration.options.flushAt)),
      cap_(static_cast<std::size_t>(configuration.options.maxBufferSize)),
      flushTimer_(workQueue, base::seconds(configuration.options.flushInterval),
                  base::weakly(scope_, [this] { timerTicked(); })) {
  restore();
  flushTimer_.start();
}

void EventQueue::restore() {
  auto pending = store_.fetchPending();
  if (pending.size() > cap_) {
    const auto surplus = pending.size() - cap_;
    std::vector<std::string> ids;
    for (std::size_t i = 0; i < surplus; ++i) ids.push_back(pending[i].id);
    store_.remove(ids);
    pending.erase(pending.begin(), pending.begin() + static_cast<std::ptrdiff_t>(surplus));
    log_.debug({"[Zarn] Queue restored: dropped ", std::to_string(surplus),
                " overflow events from previous session"});
    base::MutexLock lock(lock_);
    droppedEvents_ += surplus;
  }
  base::MutexLock lock(lock_);
  buffer_.assign(std::make_move_iterator(pending.begin()), std::make_move_iterator(pending.end()));
}

void EventQueue::timerTicked() {
  {
    base::MutexLock lock(lock_);
    if (isFlushing_ || consecutiveFailures_ > 0) return;  // retries alone drive the cadence then
  }
  flushOnWorkQueue();
}

bool EventQueue::enqueue(model::EncodedEvent event, DiscardGeneration::Token generation) {
  bool startsFlush = false;
  {
    base::MutexLock lock(lock_);
    if (generation != discardGeneration_.current()) return false;
    while (buffer_.size() >= cap_) dropOldestLocked();
    store_.insert(event);
    buffer_.push_back(std::move(event));
    // A batch under way sends what has gathered when it is answered; one request in the queue is
    // enough.
    startsFlush = buffer_.size() >= flushAt_ && !isFlushing_ && !isSuspended_ && !flushRequested_;
    flushRequested_ = flushRequested_ || startsFlush;
  }
  if (startsFlush) flush();
  return true;
}

void EventQueue::dropOldestLocked() {
  const auto& oldest = buffer_.front();
  store_.remove({&oldest.id, 1});
  log_.debug(
      {"[Zarn] Queue full (cap=", std::to_string(cap_), ") — dropped oldest event: ", oldest.name});
  buffer_.pop_front();
  ++droppedEvents_;
}

EventQueue::DiscardGeneration::Token EventQueue::currentDiscardGeneration() const {
  base::MutexLock lock(lock_);
  return discardGeneration_.current();
}

void EventQueue::flush() {
  workQueue_.async(base::weakly(scope_, [this] { flushOnWorkQueue(); }));
}

bool EventQueue::flush(double timeoutSeconds) {
  const auto deadline = std::chrono::steady_clock::now() +
                        std::chrono::duration_cast<std::chrono::steady_clock::duration>(
                            base::seconds(timeoutSeconds));
  auto waiter = std::make_shared<Waiter>();
  {
    base::MutexLock lock(lock_);
    if (buffer_.empty() && !isFlushing_) return true;
    if (isSuspended_ || isFlushing_) return false;
  }
  auto flight = takeBatch(std::make_shared<Promise>(waiter));
  if (!flight) return false;
  workQueue_.async(base::weakly(
      scope_, [this, taken = std::move(*flight)]() mutable { send(std::move(taken)); }));
  flight.reset();  // the promise belongs to the closure alone
  return waiter->wait(deadline);
}

void EventQueue::flushOnWorkQueue() {
  if (auto flight = takeBatch(nullptr)) send(std::move(*flight));
}

std::optional<EventQueue::Flight> EventQueue::takeBatch(std::shared_ptr<Promise> promise) {
  base::MutexLock lock(lock_);
  flushRequested_ = false;
  if (isSuspended_ || isFlushing_ || buffer_.empty()) return std::nullopt;
  auto events = std::make_shared<std::vector<model::EncodedEvent>>(
      std::make_move_iterator(buffer_.begin()), std::make_move_iterator(buffer_.end()));
  buffer_.clear();
  isFlushing_ = true;
  pendingRetry_.cancel();
  return Flight{std::move(events), discardGeneration_.current(), transport_.permit(),
                std::move(promise)};
}

void EventQueue::send(Flight flight) {
  Batch batch = flight.batch;
  const auto permit = flight.permit;
  transport_.send(std::move(batch), permit, workQueue_,
                  base::weakly(scope_, [this, flight = std::move(flight)](BatchOutcome outcome) {
                    answered(flight, std::move(outcome));
                  }));
}

void EventQueue::answered(const Flight& flight, BatchOutcome outcome) {
  if (auto* acks = std::get_if<std::vector<BatchAck>>(&outcome)) {
    acknowledged(flight, *acks);
  } else if (auto* pause = std::get_if<BatchPaused>(&outcome)) {
    if (pause->reason) log_.debug({"[Zarn] Batch: paused by the server (", *pause->reason, ")"});
    stopForServerPause(flight);
  } else {
    failed(flight);
  }
  if (flight.promise) {
    flight.promise->setDelivered(!std::holds_alternative<BatchFailed>(outcome));
  }
}

bool EventQueue::landLocked(const Flight& flight) {
  isFlushing_ = false;
  return flight.generation == discardGeneration_.current();
}

void EventQueue::landStale(const Flight& flight) {
  {
    base::MutexLock lock(lock_);
    landLocked(flight);
  }
  flushIfWaiting();
}

void EventQueue::flushIfWaiting() {
  {
    base::MutexLock lock(lock_);
    if (isSuspended_ || buffer_.empty()) return;
  }
  flush();
}

void EventQueue::failed(const Flight& flight) {
  int failures = 0;
  std::vector<std::string> overflow;
  {
    base::MutexLock lock(lock_);
    if (landLocked(flight)) {
      overflow = putBackLocked(*flight.batch);
      failures = ++consecutiveFailures_;
    }
  }
  removeOverflow(overflow);
  if (failures == 0) return flushIfWaiting();
  retryAfterFailure(failures);
}

void EventQueue::acknowledged(const Flight& flight, const std::vector<BatchAck>& acks) {
  if (flight.generation != currentDiscardGeneration()) return landStale(flight);
  for (const auto& ack : acks) {
    if (ack.outcome == BatchAck::Outcome::permanentFail) {
      log_.debug(
          {"[Zarn] Permanent fail for event ", ack.eventId, ": ", ack.message, " — dropped"});
    }
  }
  Settlement settlement = settle(*flight.batch, acks);
  store_.resolve(settlement.settledIds);

  const bool progress = !settlement.settledIds.empty();
  const bool stuck = !progress && !settlement.retries.empty();
  int failures = 0;
  bool recovered = false;
  std::vector<std::string> overflow;
  {
    base::MutexLock lock(lock_);
    if (landLocked(flight)) {
      overflow = putBackLocked(std::move(settlement.retries));
      if (stuck) failures = ++consecutiveFailures_;
      if (progress) {
        recovered = std::exchange(consecutiveFailures_, 0) > 0;
        hasNotifiedCooldown_ = false;
      }
    }
  }
  removeOverflow(overflow);
  if (recovered) log_.debug({"[Zarn] Recovered after failures — back to normal flush cadence"});
  if (failures > 0) return retryAfterFailure(failures);
  if (progress) flushIfWaiting();
}

void EventQueue::stopForServerPause(const Flight& flight) {
  std::optional<DiscardGeneration::Token> begun;
  {
    base::MutexLock lock(lock_);
    if (landLocked(flight)) {
      discardLocked();
      isSuspended_ = true;
      begun = discardGeneration_.current();
    }
  }
  if (!begun) return flushIfWaiting();
  if (onServerPause) onServerPause(*begun);
}

std::vector<std::string> EventQueue::putBackLocked(std::vector<model::EncodedEvent> events) {
  buffer_.insert(buffer_.begin(), std::make_move_iterator(events.begin()),
                 std::make_move_iterator(events.end()));
  std::vector<std::string> ids;
  if (buffer_.size() <= cap_) return ids;
  const auto overflow = buffer_.size() - cap_;
  for (std::size_t i = 0; i < overflow; ++i) ids.push_back(buffer_[i].id);
  buffer_.erase(buffer_.begin(), buffer_.begin() + static_cast<std::ptrdiff_t>(overflow));
  droppedEvents_ += overflow;
  return ids;
}

void EventQueue::removeOverflow(const std::vector<std::string>& ids) {
  if (ids.empty()) return;
  store_.remove(ids);
  log_.debug({"[Zarn] Re-enqueue overflow: dropped ", std::to_string(ids.size()),
              " oldest events to fit cap=", std::to_string(cap_)});
}

void EventQueue::retryAfterFailure(int failures) {
  const double delay = retryDelay(failures) * base::retryJitter(random_.next());
  log_.debug({"[Zarn] Flush failed (#", std::to_string(failures), ") — retry in ",
              std::to_string(static_cast<int>(delay)), "s (", retryTier(failures), ")"});
  auto retry = workQueue_.asyncAfter(base::seconds(delay),
                                     base::weakly(scope_, [this] { flushOnWorkQueue(); }));
  bool entersCooldown = false;
  {
    base::MutexLock lock(lock_);
    if (consecutiveFailures_ != failures) return;  // a discard or reset came in between
    pendingRetry_ = std::move(retry);
    entersCooldown = failures >= kCooldownFailures && !std::exchange(hasNotifiedCooldown_, true);
  }
  if (entersCooldown && onCooldownEntered) {
    workQueue_.async(base::weakly(scope_, [this] { onCooldownEntered(); }));
  }
}

void EventQueue::suspend() {
  base::MutexLock lock(lock_);
  isSuspended_ = true;
}

void EventQueue::resume() {
  base::MutexLock lock(lock_);
  isSuspended_ = false;
}

void EventQueue::resetBackoff() {
  base::MutexLock lock(lock_);
  consecutiveFailures_ = 0;
  hasNotifiedCooldown_ = false;
  pendingRetry_.cancel();
}

void EventQueue::discardAll() {
  base::MutexLock lock(lock_);
  discardLocked();
}

void EventQueue::discardLocked() {
  discardGeneration_.bump();
  buffer_.clear();
  pendingRetry_.cancel();
  consecutiveFailures_ = 0;
  hasNotifiedCooldown_ = false;
  // With the lock held, so that no row can be inserted between the two.
  store_.removeAll();
}

QueueHealth EventQueue::health() const {
  base::MutexLock lock(lock_);
  return {.bufferedEventCount = static_cast<int>(buffer_.size()),
          .bufferCap = static_cast<int>(cap_),
          .consecutiveFailures = consecutiveFailures_,
          .isFlushing = isFlushing_,
          .retryTier = retryTier(consecutiveFailures_),
          .droppedEvents = droppedEvents_};
}

}  // namespace zarn::events
