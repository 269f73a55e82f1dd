// Threads of ours inside the host's process.
#pragma once

#include <pthread.h>

#include <csignal>
#include <optional>
#include <utility>

#include "base/closure.h"
#include "base/executor.h"

namespace zarn::desktop {

/// Blocks the host's signals on the calling thread while it lives: a thread created meanwhile never
/// runs a handler of the host's. Signals that report a fault of the thread itself stay open, so
/// that the host's crash handler sees our crashes too.
class HostSignalsBlocked {
 public:
  HostSignalsBlocked();
  ~HostSignalsBlocked();
  HostSignalsBlocked(const HostSignalsBlocked&) = delete;
  HostSignalsBlocked& operator=(const HostSignalsBlocked&) = delete;

 private:
  sigset_t before_;
};

/// A thread that takes no signals of the host's. It goes on when its handle dies.
class Thread {
 public:
  Thread() = default;
  Thread(Thread&& other) noexcept : started_(std::exchange(other.started_, std::nullopt)) {}
  Thread& operator=(Thread&& other) noexcept {
    std::swap(started_, other.started_);
    return *this;
  }
  ~Thread();

  /// Runs `body` on a new thread; what it throws is lost. `name` is cut to 15 bytes. The result is
  /// false as a condition when the system has no thread to give, and in a forked child.
  static Thread start(const char* name, base::Closure body);

  explicit operator bool() const { return started_.has_value(); }
  bool isCurrent() const { return started_ && pthread_equal(*started_, pthread_self()); }

  /// Waits until the thread is gone, with everything it kept for itself. True at once when there is
  /// none; false when it is the calling thread, or goes on after `patience`.
  bool join(base::Duration patience);

 private:
  std::optional<pthread_t> started_;
};

}  // namespace zarn::desktop
