#include "core/pipeline.h"
#include "core/wiring.h"
#include "platform/device.h"
#include "platform/dispatch.h"

namespace zarn::core {

void Pipeline::wirePush() {
  const auto registrant = [this] {
    const auto who = identity.snapshot();
    const auto app = appId.get();
    return push::PushRegistrant{.deviceId = who->deviceId,
                                .userId = who->userId,
                                .appId = app ? std::optional(*app) : std::nullopt,
                                .releaseId = transport.releaseId()};
  };
  pushTokens.emplace(
      configuration, host.device.app(), host.dispatch.pool(), host.crypto, guard,
      push::PushTokenPorts{.mayRegister = [this] { return mayCollect(); },
                           .latestRemoteConfig = [this] { return remoteConfig.get(); },
                           .registrant = registrant,
                           .admit = admitting()},
      log);
  if (!configuration.options.autoTrackPush) return;
  push.emplace(push::PushServices{.clock = host.clock,
                                  .crypto = host.crypto,
                                  .random = host.random,
                                  .defaults = host.defaults,
                                  .notifications = host.notifications,
                                  .filter = piiFilter},
               configuration.projectId(), configuration.options.pushAttributionWindowSeconds,
               push::PushSinks{
                   .admit =
                       [this](model::EventType type, std::string_view name,
                              const Properties& properties, const std::function<void()>& admitted) {
                         return admission.admitEvent(type, name, properties, admitted);
                       },
                   .openLink = base::weakly(
                       wiring, [this](const std::string& link) { links->ingestPush(link); })},
               log);
  admission.attribution = [this] { return push->attribution(); };
  push->start();
}

control::PushTargets pushTargets(Pipeline& pipeline) {
  if (!pipeline.configuration.options.autoTrackPush) return {};
  auto& push = pipeline.push;
  // In one step against the capture of an opening that the policy has overtaken.
  const auto clearAttribution = [&] {
    base::MutexLock lock(pipeline.boundary.lock);
    push->clearAttribution();
  };
  return {.clearAttribution = clearAttribution,
          .setLimits = [&](const control::PushLimits& limits) { push->setLimits(limits); }};
}

}  // namespace zarn::core
