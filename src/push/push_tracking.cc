#include "push/push_tracking.h"

#include <utility>

#include "platform/defaults.h"

namespace zarn::push {

PushTracking::PushTracking(const PushServices& services, const std::string& projectId,
                           double windowSeconds, PushSinks sinks, platform::Log log)
    : defaults_(services.defaults),
      notifications_(services.notifications),
      filter_(services.filter),
      sinks_(std::move(sinks)),
      attribution_(projectId, windowSeconds, services.defaults, services.clock),
      tracker_(
          services.clock, services.crypto, services.random, services.filter,
          [this](const PushEvent& event) { return tell(event); }, log),
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

bool PushTracking::tell(const PushEvent& event) {
  std::optional<Attribution> attribution;
  if (event.type == model::EventType::pushOpen) {
    attribution = attributionTo(event.properties, event.sendId, filter_);
  }
  const bool isIn = sinks_.admit(event.type, model::wireName(event.type), event.properties, [&] {
    if (attribution) attribution_.capture(*std::move(attribution));
  });
  if (isIn && event.type == model::EventType::pushOpen) defaults_.commit();
  if (event.deepLink && sinks_.openLink) sinks_.openLink(*event.deepLink);
  return isIn;
}

}  // namespace zarn::push
