#include "core/pipeline.h"

namespace zarn::core {

void Pipeline::wireCrash() {
  if (!configuration.options.autoTrackCrashes) return;
  crashTracker.emplace(
      host.diagnostics, piiFilter, host.defaults, [this] { return privacy.optedOut(); },
      [this](model::EventType type, std::string_view name, const Properties& properties) {
        return admit(type, name, properties);
      });
  crashTracker->start();
  log.debug({"[Zarn] MetricKit crash diagnostics subscribed"});
}

}  // namespace zarn::core
