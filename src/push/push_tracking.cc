#include "push/push_tracking.h"

#include <utility>

namespace zarn::push {

PushTracking::PushTracking(const PushServices& services, const std::string& projectId,
                           double windowSeconds, PushSinks sinks, platform::Log log)
    : notifications_(services.notifications),
      sinks_(std::move(sinks)),
      attribution_(projectId, windowSeconds, services.defaults, services.clock),
      tracker_(
          services.clock, services.crypto, services.random, services.filter,
          [this](const PushEvent& event) { tell(event); }, log),
      permissions_(services.notifications, [this](const Properties& settings) {
        tell({.type = model::EventType::pushPermission, .properties = settings});
      }) {}

PushTracking::~PushTracking() {
  if (isStarted_) notifications_.stop();
}

void PushTracking::start() {
  isStarted_ = true;
  notifications_.start(tracker_);
  permissions_.start();
}

void PushTracking::tell(const PushEvent& event) {
  sinks_.admit(event.type, model::wireName(event.type), event.properties, [&] {
    if (event.type == model::EventType::pushOpen) {
      attribution_.capture(event.properties, event.sendId);
    }
  });
  if (event.deepLink && sinks_.openLink) sinks_.openLink(*event.deepLink);
}

}  // namespace zarn::push
