#include "runtime/run_state.h"

#include "events/event_queue.h"
#include "runtime/privacy_state.h"

namespace zarn::runtime {

using model::LifecycleState;

void RunState::become(LifecycleState next) {
  base::MutexLock lock(lock_);
  becomeLocked(next);
}

void RunState::becomePausedAndDiscard() {
  base::MutexLock lock(lock_);
  becomeLocked(LifecycleState::pausedByServer);
  queue_.discardAll();
}

bool RunState::becomeRecoveringUnlessPaused() {
  base::MutexLock lock(lock_);
  if (isPaused()) return false;
  becomeLocked(LifecycleState::recovering);
  return true;
}

void RunState::becomeLocked(LifecycleState next) {
  const LifecycleState old = state_.exchange(next, std::memory_order_acq_rel);
  if (next == LifecycleState::running && !privacy_.optedOut()) {
    queue_.resume();
    queue_.resetBackoff();
    queue_.flush();
  } else {
    queue_.suspend();
  }
  if (old != next) log_.debug({"[Zarn] Lifecycle ", name(old), " → ", name(next)});
}

}  // namespace zarn::runtime
