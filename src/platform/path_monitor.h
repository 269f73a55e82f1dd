// The state of the device's network connection.
#pragma once

#include <functional>

#include "base/serial_queue.h"

namespace zarn::platform {

struct NetworkPath {
  bool satisfied = false;
  bool usesWifi = false;
  bool usesCellular = false;
  bool usesEthernet = false;
  friend bool operator==(const NetworkPath&, const NetworkPath&) = default;
};

/// Any thread.
class PathMonitor {
 public:
  virtual ~PathMonitor() = default;
  /// Calls `changed` on `queue` with the present state soon, and after each change, until `stop`.
  /// Starting again replaces queue and handler.
  virtual void start(base::SerialQueue& queue, std::function<void(NetworkPath)> changed) = 0;
  virtual void stop() = 0;
};

}  // namespace zarn::platform
