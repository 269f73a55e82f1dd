#include "runtime/config_refresh.h"

#include "base/jitter.h"
#include "platform/random.h"
#include "runtime/control_plane.h"
#include "runtime/privacy_state.h"

namespace zarn::runtime {
namespace {

constexpr double kConfigRefreshInterval = 1800;  // seconds

}  // namespace

void ConfigRefresh::startConfigRefreshTimer() {
  const auto interval = base::seconds(kConfigRefreshInterval * base::refreshJitter(random_.next()));
  base::MutexLock lock(configRefreshLock_);
  // Under the lock: an opt-out sets its flag before it stops the timer, so one of the two sees the
  // other.
  if (privacy_.optedOut()) return;
  configRefreshTimer_.emplace(controlQueue_, interval, base::weakly(scope_, [this] {
                                controlPlane_.fetchConfig(ControlPlane::Fetch::refresh);
                              }));
  configRefreshTimer_->start();
}

void ConfigRefresh::stopConfigRefreshTimer() {
  base::MutexLock lock(configRefreshLock_);
  configRefreshTimer_.reset();
}

}  // namespace zarn::runtime
