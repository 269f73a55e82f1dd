// EventQueue: the buffer between admission and transport. An event is appended to the buffer and to
// the durable store in one step; one batch at a time, all there is, goes out when the buffer
// reaches `flushAt`, when the timer fires, on request or when a retry falls due.
//
//   healthy   --failed batch-->  rapid, slow, cooldown (by the number of failures in a row)
//   any       --an event accepted or rejected-->  healthy
//
// A discard bumps the generation: events that were read before it are refused by enqueue, and the
// answer to a batch that was taken before it is ignored.
#pragma once

#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "base/generation.h"
#include "base/mutex.h"
#include "base/serial_queue.h"
#include "base/timer.h"
#include "base/weakly.h"
#include "events/batch_sender.h"
#include "events/event_storage.h"
#include "model/configuration.h"
#include "model/event.h"
#include "platform/log.h"

namespace zarn::platform {
class Random;
}

namespace zarn::events {

struct QueueHealth {
  int bufferedEventCount = 0;
  int bufferCap = 0;
  int consecutiveFailures = 0;
  bool isFlushing = false;
  std::string_view retryTier;
  std::uint64_t droppedEvents = 0;  // for want of room, since the start
};

/// Any thread. Starts suspended: nothing is sent before `resume`.
class EventQueue {
 public:
  using DiscardGeneration = base::Generation<EventQueue>;

  /// Restores what the store holds. `workQueue` runs all flushes and gets all answers.
  EventQueue(BatchSender& transport, EventStorage& store, base::SerialQueue& workQueue,
             platform::Random& random, const model::Configuration& configuration,
             platform::Log log);

  /// Set before the first `resume`; called on the work queue, without a lock.
  std::function<void()> onCooldownEntered;
  /// With the generation that its discard has begun.
  std::function<void(DiscardGeneration::Token)> onServerPause;

  /// Appends and stores the event. False, and nothing done, when a discard has come since
  /// `generation` was read.
  bool enqueue(model::EncodedEvent event, DiscardGeneration::Token generation);
  DiscardGeneration::Token currentDiscardGeneration() const;

  /// Sends what is waiting, on the work queue.
  void flush();
  /// Sends what is waiting and waits for the answer. True when the batch was answered or there was
  /// nothing to send; false on time-out, failure, suspension or while a batch is under way.
  bool flush(double timeoutSeconds);

  void suspend();
  void resume();
  /// Forgets failures and the retry they had scheduled.
  void resetBackoff();
  /// Empties buffer and store.
  void discardAll();

  QueueHealth health() const;

 private:
  /// What a blocking flush waits for, and the promise to answer it: dropped without an answer, it
  /// says that the batch was not delivered.
  struct Waiter;
  class Promise;
  struct Flight {
    Batch batch;
    DiscardGeneration::Token generation;
    BatchSender::Permits::Token permit;
    std::shared_ptr<Promise> promise;  // null for a flush that nobody waits for
  };

  void restore();
  void timerTicked();
  void flushOnWorkQueue();
  std::optional<Flight> takeBatch(std::shared_ptr<Promise> promise);
  void send(Flight flight);
  void answered(const Flight& flight, BatchOutcome outcome);
  void failed(const Flight& flight);
  void acknowledged(const Flight& flight, const std::vector<BatchAck>& acks);
  void stopForServerPause(const Flight& flight);
  void retryAfterFailure(int failures);
  void landStale(const Flight& flight);
  void flushIfWaiting();

  /// Ends the flight. False when a discard has come since its batch was taken: its answer is void.
  bool landLocked(const Flight& flight) ZARN_REQUIRES(lock_);
  void discardLocked() ZARN_REQUIRES(lock_);
  void dropOldestLocked() ZARN_REQUIRES(lock_);
  /// Gives the ids that found no room, to be removed from the store without the lock: callers of
  /// enqueue must not wait for a long removal.
  std::vector<std::string> putBackLocked(std::vector<model::EncodedEvent> events)
      ZARN_REQUIRES(lock_);
  void removeOverflow(const std::vector<std::string>& ids);

  // Constant after construction.
  BatchSender& transport_;
  EventStorage& store_;
  base::SerialQueue& workQueue_;
  platform::Random& random_;
  const platform::Log log_;
  const std::size_t flushAt_;
  const std::size_t cap_;

  mutable base::Mutex lock_{base::LockRank::eventQueue};
  std::deque<model::EncodedEvent> buffer_ ZARN_GUARDED_BY(lock_);
  int consecutiveFailures_ ZARN_GUARDED_BY(lock_) = 0;
  bool isFlushing_ ZARN_GUARDED_BY(lock_) = false;
  bool isSuspended_ ZARN_GUARDED_BY(lock_) = true;
  bool flushRequested_ ZARN_GUARDED_BY(lock_) = false;
  bool hasNotifiedCooldown_ ZARN_GUARDED_BY(lock_) = false;
  std::uint64_t droppedEvents_ ZARN_GUARDED_BY(lock_) = 0;
  DiscardGeneration discardGeneration_ ZARN_GUARDED_BY(lock_);
  base::WorkItem pendingRetry_ ZARN_GUARDED_BY(lock_);

  base::Scope scope_;
  base::RepeatingTimer flushTimer_;
};

}  // namespace zarn::events
