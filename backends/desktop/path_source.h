// The state of the network as other parts of the backend consult it.
#pragma once

#include <functional>
#include <optional>

#include "platform/path_monitor.h"

namespace zarn::desktop {

/// Any thread.
class PathSource {
 public:
  virtual ~PathSource() = default;
  /// Nothing when the system does not tell.
  virtual std::optional<platform::NetworkPath> current() = 0;
  /// Calls `changed` after each change, on a thread of the source, until it is replaced; it must be
  /// short. When this returns, the former observer is not running and will not be called again.
  virtual void observe(std::function<void()> changed) = 0;
};

}  // namespace zarn::desktop
