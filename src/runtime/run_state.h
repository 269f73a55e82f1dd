// RunState: whether events may flow. State and queue change in one step, under one lock.
//
//   from               by                                     to
//   initialising       the server's first answer              running, pausedByServer
//   any but paused     no answer, or a long row of failures   recovering
//   recovering         a fresh policy                         running, pausedByServer
//   any                the server pauses                      pausedByServer
//   pausedByServer     a later answer lifts the pause         running
#pragma once

#include <atomic>

#include "base/mutex.h"
#include "model/lifecycle_state.h"
#include "platform/log.h"

namespace zarn::events {
class EventQueue;
}

namespace zarn::runtime {

class PrivacyState;

/// Any thread.
class RunState {
 public:
  RunState(events::EventQueue& queue, const PrivacyState& privacy, platform::Log log)
      : queue_(queue), privacy_(privacy), log_(log) {}

  model::LifecycleState current() const { return state_.load(std::memory_order_acquire); }
  bool isPaused() const { return current() == model::LifecycleState::pausedByServer; }

  /// The only writer. Running resumes the queue and has it flush on its own queue; any other state,
  /// and any state of a user who has opted out, suspends it.
  void become(model::LifecycleState next);
  /// The server's pause: besides, everything that waits is discarded, in the same step.
  void becomePausedAndDiscard();
  /// False, and nothing done, while the server pauses: recovery never overrides that.
  bool becomeRecoveringUnlessPaused();

 private:
  void becomeLocked(model::LifecycleState next) ZARN_REQUIRES(lock_);

  events::EventQueue& queue_;
  const PrivacyState& privacy_;
  const platform::Log log_;

  base::Mutex lock_{base::LockRank::runState};
  std::atomic<model::LifecycleState> state_{
      model::LifecycleState::initialising};  // written under lock_
};

}  // namespace zarn::runtime
