#include "core/pipeline.h"
#include "platform/device.h"
#include "platform/dispatch.h"

namespace zarn::core {

void Pipeline::wireScreenshots() {
  const auto identityNow = [this] {
    const auto who = identity.snapshot();
    return capture::ScreenshotIdentity{
        .deviceId = who->deviceId, .anonymousId = who->anonymousId, .userId = who->userId};
  };
  screenshots.emplace(
      capture::ScreenshotParts{.windows = host.windows,
                               .images = host.images,
                               .main = host.dispatch.main(),
                               .background = *upkeepThread,
                               .guard = guard,
                               .redaction = redactionEngine},
      capture::ScreenshotHooks{
          .mayCollect =
              [this] {
                return mayCollect() && runState.current() == model::LifecycleState::running;
              },
          .stateOf =
              [this](const platform::View& view) {
                return capture->observer().observe(view).state;
              },
          .filter = [this](std::string_view text) { return piiFilter.scrub(text).text; },
          .identity = identityNow},
      configuration, host.device.app().bundleId, log);
}

void Pipeline::wireCapture(std::function<void(const Breadcrumb&)> addBreadcrumb) {
  const auto boundaries = [this] {
    return capture::Boundaries{.discards = queue.currentDiscardGeneration(),
                               .pauses = runState.pauses()};
  };
  const auto admitSince = [this](model::EventType type, std::string_view name,
                                 const Properties& properties, capture::Boundaries since) {
    return since.pauses == runState.pauses() &&
           admission.admitEvent(type, name, properties, since.discards);
  };
  const auto offer = [this](const platform::Screen& screen, const capture::ScreenSeen& seen) {
    screenshots->offer(screen, {.name = seen.name,
                                .fallbackName = model::shapeName(seen.observation.structureHash),
                                .className = seen.className,
                                .state = seen.observation.state});
  };
  capture.emplace(
      capture::CaptureParts{.main = host.dispatch.main(),
                            .clock = host.clock,
                            .random = host.random,
                            .defaults = host.defaults,
                            .device = host.device,
                            .screens = host.screens,
                            .windows = host.windows,
                            .input = host.input},
      screens::ViewPrivacy{
          .masks = [this](const platform::View& view) { return redactionEngine.shouldMask(view); },
          .filter = [this](std::string_view text) { return piiFilter.scrub(text).text; }},
      capture::CaptureActions{.admit = admitting(),
                              .admitSince = admitSince,
                              .boundaries = boundaries,
                              .flushQueue = [this] { queue.flush(); },
                              .addBreadcrumb = std::move(addBreadcrumb),
                              .mayCollect = [this] { return mayCollect(); },
                              .sessionId = [this] { return *session.id(); },
                              .releaseId = [this] { return transport.releaseId(); },
                              .offer = offer},
      configuration.options);
  capture->start(!startedOptedOut);
}

}  // namespace zarn::core
