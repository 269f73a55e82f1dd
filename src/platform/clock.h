// Wall clock and monotonic clock.
#pragma once

#include "base/executor.h"
#include "zarn/value.h"

namespace zarn::platform {

/// Any thread; never fails.
class Clock {
 public:
  virtual ~Clock() = default;
  /// Wall-clock time; may be set back or forth by the user.
  virtual Date now() const = 0;
  /// Time since an arbitrary start; never runs backwards.
  virtual base::Duration monotonic() const = 0;
  /// As monotonic, but certain to go on while the machine sleeps.
  virtual base::Duration continuous() const { return monotonic(); }
};

}  // namespace zarn::platform
