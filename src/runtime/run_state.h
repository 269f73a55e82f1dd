// RunState: whether events may flow. State and queue change in one step, under one lock.
//
//   from               by                                     to
//   initialising       the server's first answer              running, pausedByServer
//   any but paused     no answer, or a long row of failures   recovering
//   recovering         a fresh policy                         running, pausedByServer
//   any                the server pauses                      pausedByServer
//   pausedByServer     a later answer lifts the pause         running
//   any                an opt-in                              recovering
#pragma once

#include <atomic>
#include <functional>

#include "base/mutex.h"
#include "control/server_pauses.h"
#include "events/event_queue.h"
#include "model/lifecycle_state.h"
#include "platform/log.h"

namespace zarn::runtime {

class PrivacyState;

/// Any thread. The only writer of the state and of the queue's suspension.
class RunState {
 public:
  RunState(events::EventQueue& queue, const PrivacyState& privacy, platform::Log log)
      : queue_(queue), privacy_(privacy), log_(log) {}

  /// Called with the lock held: they may only post. Set before the first change.
  std::function<void()> onRunning;
  std::function<void()> onPaused;

  model::LifecycleState current() const { return state_.load(std::memory_order_acquire); }
  bool isPaused() const { return current() == model::LifecycleState::pausedByServer; }
  /// Tells an answer that was asked for before the last pause from a later one.
  control::ServerPauses::Token pauses() const;

  /// Resumes the queue and has it flush on its own queue, unless the user has opted out. False, and
  /// nothing changed, when a pause has come since `pauses` was read: only a later answer lifts it.
  bool becomeRunning(control::ServerPauses::Token pauses);
  void becomePaused();
  /// For the answer to a batch: everything that waits is discarded besides, in the same step.
  /// Nothing when a boundary has come since the queue's discard: the answer belongs to before it.
  bool becomePausedAndDiscard(events::EventQueue::DiscardGeneration::Token begun);
  void becomeRecovering();
  /// False, and nothing done, while the server pauses: a failure never overrides that.
  bool becomeRecoveringUnlessPaused();
  /// For an opt-out: nothing flows, the state stays. Call it once the flag is set.
  void suspend();

 private:
  void becomeLocked(model::LifecycleState next) ZARN_REQUIRES(lock_);
  void pauseLocked() ZARN_REQUIRES(lock_);

  events::EventQueue& queue_;
  const PrivacyState& privacy_;
  const platform::Log log_;

  mutable base::Mutex lock_{base::LockRank::runState};
  std::atomic<model::LifecycleState> state_{
      model::LifecycleState::initialising};  // written under lock_
  control::ServerPauses pauses_ ZARN_GUARDED_BY(lock_);
};

}  // namespace zarn::runtime
