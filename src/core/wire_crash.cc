#include "core/pipeline.h"

namespace zarn::core {

void Pipeline::wireCrash() {
  if (!configuration.options.autoTrackCrashes) return;
  crashTracker.emplace(
      host.diagnostics, piiFilter, host.defaults, [this] { return privacy.optedOut(); },
      admitting());
  crashTracker->start();
  log.debug({"[Zarn] MetricKit crash diagnostics subscribed"});
}

}  // namespace zarn::core
