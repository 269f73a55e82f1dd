#include "core/pipeline.h"
#include "platform/device.h"

namespace zarn::core {

void Pipeline::wireInstall() {
  const platform::AppFacts& app = host.device.app();
  installTracker.emplace(
      host.defaults, host.files, app, [this] { return mayCollect(); },
      [this]() -> std::optional<std::string> {
        const auto clickId = deferredInstallClickId.get();
        return clickId ? std::optional(*clickId) : std::nullopt;
      },
      admitting());
  installTracker->setUp();
  if (!installTracker->isFirstRun()) return;
  installValidator.emplace(
      links::InstallValidatorParts{.defaults = host.defaults,
                                   .random = host.random,
                                   .receipt = host.receipt,
                                   .guard = guard,
                                   .background = *upkeepThread,
                                   .isOptedOut = [this] { return privacy.optedOut(); }},
      configuration, app.bundleId);
  installValidator->start(identity.snapshot()->deviceId);
}

void Pipeline::wireLinks() {
  links.emplace(links::LinksParts{.configuration = configuration,
                                  .guard = guard,
                                  .crypto = host.crypto,
                                  .clock = host.clock,
                                  .dispatch = host.dispatch,
                                  .defaults = host.defaults,
                                  .clipboard = host.clipboard,
                                  .opener = host.opener},
                links::LinksActions{.admit = admitting(),
                                    .isOptedOut = [this] { return privacy.optedOut(); },
                                    .keepInstallClickId =
                                        [this](const std::string& clickId) {
                                          deferredInstallClickId.publish(
                                              std::make_shared<const std::string>(clickId));
                                        }},
                installTracker->isFirstRun(), log);
}

}  // namespace zarn::core
