// The clocks of the C++ library.
#pragma once

#include "platform/clock.h"

namespace zarn::desktop {

class SystemClock final : public platform::Clock {
 public:
  Date now() const override { return std::chrono::system_clock::now(); }
  base::Duration monotonic() const override {
    return std::chrono::steady_clock::now().time_since_epoch();
  }
};

}  // namespace zarn::desktop
