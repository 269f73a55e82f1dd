#include "runtime/run_state.h"

#include "runtime/privacy_state.h"

namespace zarn::runtime {

using model::LifecycleState;

control::ServerPauses::Token RunState::pauses() const {
  base::MutexLock lock(lock_);
  return pauses_.current();
}

bool RunState::becomeRunning(control::ServerPauses::Token pauses) {
  base::MutexLock lock(lock_);
  if (pauses != pauses_.current()) return false;
  becomeLocked(LifecycleState::running);
  return true;
}

void RunState::becomePaused() {
  base::MutexLock lock(lock_);
  pauseLocked();
}

bool RunState::becomePausedAndDiscard(events::EventQueue::DiscardGeneration::Token begun) {
  base::MutexLock lock(lock_);
  if (begun != queue_.currentDiscardGeneration()) return false;
  pauseLocked();
  queue_.discardAll();
  return true;
}

void RunState::becomeRecovering() {
  base::MutexLock lock(lock_);
  becomeLocked(LifecycleState::recovering);
}

bool RunState::becomeRecoveringUnlessPaused() {
  base::MutexLock lock(lock_);
  if (isPaused()) return false;
  becomeLocked(LifecycleState::recovering);
  return true;
}

void RunState::suspend() {
  base::MutexLock lock(lock_);
  queue_.suspend();
}

void RunState::pauseLocked() {
  pauses_.bump();
  becomeLocked(LifecycleState::pausedByServer);
  if (onPaused) onPaused();
}

void RunState::becomeLocked(LifecycleState next) {
  const LifecycleState old = state_.exchange(next, std::memory_order_acq_rel);
  if (next == LifecycleState::running && !privacy_.optedOut()) {
    queue_.resume();
    queue_.resetBackoff();
    queue_.flush();
    if (onRunning) onRunning();
  } else {
    queue_.suspend();
  }
  if (old != next) log_.debug({"[Zarn] Lifecycle ", name(old), " → ", name(next)});
}

}  // namespace zarn::runtime
