// The network path, watched through the kernel's netlink messages. A thread of its own sleeps until
// the kernel reports a change; it starts with the first listener.
#pragma once

#include <memory>

#include "desktop/path_source.h"

namespace zarn::desktop {

class PathWatch;

class NetlinkPathMonitor final : public platform::PathMonitor, public PathSource {
 public:
  NetlinkPathMonitor();
  /// Ends the thread.
  ~NetlinkPathMonitor() override;

  void start(base::SerialQueue& queue, std::function<void(platform::NetworkPath)> changed) override;
  void stop() override;

  std::optional<platform::NetworkPath> current() override;
  void observe(std::function<void()> changed) override;

 private:
  const std::shared_ptr<PathWatch> watch_;
};

}  // namespace zarn::desktop
