// ControlPlaneResponseEpoch: of all control-plane requests, only the answer to the one issued last
// counts. An answer is applied with the lock held, so that a newer one can't pass while it is.
#pragma once

#include "base/generation.h"
#include "base/mutex.h"

namespace zarn::control {

/// Any thread.
class ControlPlaneResponseEpoch {
 public:
  using Latest = base::Generation<ControlPlaneResponseEpoch>;
  using Token = Latest::Token;

  /// Gives the next token to `start`, under the lock: requests start in the order of their tokens.
  /// One that is refused, for which it returns false, makes no earlier one stale.
  template <typename F>
  bool issue(F&& start) {
    base::MutexLock lock(lock_);
    if (!start(latest_.next())) return false;
    latest_.bump();
    return true;
  }

  /// A boundary: no answer to a request issued before counts any more. Waits for one that is being
  /// applied.
  void invalidate() {
    base::MutexLock lock(lock_);
    latest_.bump();
  }

  /// Runs `apply` under the lock if no request was issued since `token`. False when it is stale.
  template <typename F>
  bool ifLatest(Token token, F&& apply) {
    base::MutexLock lock(lock_);
    if (token != latest_.current()) return false;
    apply();
    return true;
  }

 private:
  base::Mutex lock_{base::LockRank::controlEpoch};
  Latest latest_ ZARN_GUARDED_BY(lock_);
};

}  // namespace zarn::control
