// RepeatingTimer: runs a closure on a serial queue at an interval until it is stopped or dies.
#pragma once

#include <functional>
#include <memory>

#include "base/serial_queue.h"

namespace zarn::base {

class RepeatingTimer {
 public:
  /// The first tick comes one `interval` after `start`; late ticks are not made up for.
  RepeatingTimer(SerialQueue& queue, Duration interval, std::function<void()> tick);
  ~RepeatingTimer();
  RepeatingTimer(const RepeatingTimer&) = delete;
  RepeatingTimer& operator=(const RepeatingTimer&) = delete;

  /// Begins a new interval when the timer runs already.
  void start();
  /// No tick begins after this returns; one that is running goes on.
  void stop();

 private:
  struct State;
  const std::shared_ptr<State> state_;
};

}  // namespace zarn::base
