// ConfigRefresh: asks for the remote configuration again every half hour.
#pragma once

#include <functional>
#include <optional>

#include "base/mutex.h"
#include "base/timer.h"
#include "base/weakly.h"

namespace zarn::platform {
class Random;
}

namespace zarn::runtime {

class ControlPlane;
class PrivacyState;

/// Any thread.
class ConfigRefresh {
 public:
  ConfigRefresh(base::SerialQueue& controlQueue, ControlPlane& controlPlane,
                const PrivacyState& privacy, platform::Random& random)
      : controlQueue_(controlQueue),
        controlPlane_(controlPlane),
        privacy_(privacy),
        random_(random) {}

  /// Begins a new interval, of 27 to 33 minutes. Nothing after an opt-out.
  void startConfigRefreshTimer();
  void stopConfigRefreshTimer();

 private:
  // Constant after construction.
  base::SerialQueue& controlQueue_;
  ControlPlane& controlPlane_;
  const PrivacyState& privacy_;
  platform::Random& random_;

  base::Mutex configRefreshLock_{base::LockRank::configRefresh};
  std::optional<base::RepeatingTimer> configRefreshTimer_ ZARN_GUARDED_BY(configRefreshLock_);
  base::Scope scope_;
};

}  // namespace zarn::runtime
