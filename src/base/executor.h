// Executor: runs closures on threads of its own. It is the only thing the library needs of a
// platform's dispatch; order, exclusion and repetition are built on it in serial_queue.h and
// timer.h.
#pragma once

#include <chrono>
#include <cstdint>

#include "base/closure.h"

namespace zarn::base {

/// Delays run on the monotonic clock.
using Duration = std::chrono::nanoseconds;

/// Whole and fractional seconds as the duration every executor takes. What is no number is zero;
/// what no duration can hold becomes the longest one, some 280 years.
constexpr Duration seconds(double value) {
  constexpr double kMost = 9e9;
  if (!(value > -kMost)) value = value < 0 ? -kMost : 0;
  if (value > kMost) value = kMost;
  return std::chrono::duration_cast<Duration>(std::chrono::duration<double>(value));
}

using TaskId = std::uint64_t;

/// All members may be called on any thread, also from inside a running task. Tasks must not throw.
class Executor {
 public:
  virtual ~Executor() = default;

  /// Runs `task` soon, never inside the call.
  virtual void post(Closure task) = 0;

  /// Runs `task` once `delay` has passed (at once when it is zero or negative), never inside the
  /// call.
  virtual TaskId postAfter(Duration delay, Closure task) = 0;

  /// True when the delayed task had not begun and will not run. Does not wait for a running one.
  virtual bool cancel(TaskId id) = 0;

  /// Whether the calling thread is the executor's own single thread; false for a pool.
  virtual bool isCurrent() const = 0;

  /// How many items a serial queue may run in one task before it lets other tasks have a turn.
  virtual int itemsPerTurn() const { return 64; }
};

}  // namespace zarn::base
