// The clocks of the system.
#pragma once

#include <time.h>

#include "platform/clock.h"

namespace zarn::desktop {

class SystemClock final : public platform::Clock {
 public:
  Date now() const override { return std::chrono::system_clock::now(); }
  base::Duration monotonic() const override {
    return std::chrono::steady_clock::now().time_since_epoch();
  }
  base::Duration continuous() const override {
    timespec time{};
    if (::clock_gettime(CLOCK_BOOTTIME, &time) != 0) return monotonic();
    return std::chrono::seconds(time.tv_sec) + std::chrono::nanoseconds(time.tv_nsec);
  }
};

}  // namespace zarn::desktop
