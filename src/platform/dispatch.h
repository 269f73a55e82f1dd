// The threads of the platform, as executors.
#pragma once

#include <memory>
#include <string>

#include "base/executor.h"

namespace zarn::platform {

/// Any thread. Executors live as long as the dispatch.
class Dispatch {
 public:
  virtual ~Dispatch() = default;
  /// A few shared threads for short work that does not block.
  virtual base::Executor& pool() = 0;
  /// Views and host callbacks. The host's user-interface thread where there is one.
  virtual base::Executor& main() = 0;
  /// A thread of its own for work that blocks or computes long.
  virtual std::unique_ptr<base::Executor> makeThread(std::string name) = 0;
};

}  // namespace zarn::platform
