#include "core/pipeline.h"

#include <utility>

#include "model/stored_event.h"
#include "platform/clock.h"
#include "platform/defaults.h"
#include "platform/device.h"
#include "platform/dispatch.h"
#include "platform/http.h"
#include "platform/path_monitor.h"
#include "platform/random.h"

namespace zarn::core {
namespace {

runtime::PolicyTargets policyTargets(Pipeline& pipeline) {
  return {
      .setReleaseId = [&](const std::string& id) { pipeline.transport.setReleaseId(id); },
      .setAppId =
          [&](const std::string& id) {
            pipeline.appId.publish(std::make_shared<const std::string>(id));
          },
      .applyRemoteConfig =
          [&](const model::RemoteDataCollectionConfig& config) {
            pipeline.remoteConfig.publish(
                std::make_shared<const model::RemoteDataCollectionConfig>(config));
          },
      .latestRemoteConfig = [&] { return pipeline.remoteConfig.get(); },
  };
}

/// Whether the user has opted out; what an earlier launch may have kept is gone then.
bool deleteFilesWhenOptedOut(const runtime::PrivacyState& privacy, platform::Files& files) {
  const bool optedOut = privacy.optedOut();
  if (optedOut) events::deleteAbandonedStoreFiles(files);
  return optedOut;
}

events::StoreIdentity storeIdentity(const model::Configuration& configuration) {
  return {.projectId = configuration.projectId(),
          .environment = configuration.environment(),
          .apiHost = configuration.apiHost()};
}

events::SqliteEventStore::Services storeServices(Pipeline& pipeline) {
  return {.files = pipeline.host.files,
          .background = *pipeline.upkeepThread,
          .decode = model::readStoredEvent,
          .report = [log = pipeline.log](std::string_view line) { log.debug({line}); }};
}

}  // namespace

Pipeline::Pipeline(platform::Host& hostServices, const model::Configuration& configuration,
                   platform::Log debugLog)
    : host(hostServices),
      log(debugLog),
      deliveryThread(host.dispatch.makeThread("zarn.delivery")),
      upkeepThread(host.dispatch.makeThread("zarn.upkeep")),
      controlQueue(host.dispatch.pool(), "io.zarn.control", base::LockRank::controlQueue),
      workQueue(*deliveryThread, "io.zarn.queue", base::LockRank::workQueue),
      privacy(host.defaults),
      startedOptedOut(deleteFilesWhenOptedOut(privacy, host.files)),
      identity(host.random),
      session(host.random),
      transport(host.http, host.clock, configuration, host.device.app(), log),
      context(host.device, remoteConfig, path),
      ownStore(storeIdentity(configuration), storeServices(*this)),
      queue(transport, ownStore.store(), workQueue, host.random, configuration, log),
      piiFilter(host.names),
      sanitizer(piiFilter),
      runState(queue, privacy, log),
      guard(host.http, controlQueue, privacy),
      controlPlane(configuration, host.device.app(), guard, runState, privacy, policyTargets(*this),
                   log),
      recovery(runState, privacy, guard, controlPlane, host.random, log),
      admission({.clock = host.clock,
                 .random = host.random,
                 .privacy = privacy,
                 .runState = runState,
                 .boundary = boundary,
                 .identity = identity,
                 .session = session,
                 .remoteConfig = remoteConfig,
                 .context = context,
                 .sanitizer = sanitizer,
                 .queue = queue},
                log) {
  if (startedOptedOut) transport.stopSends();
  upkeepThread->post([] { redaction::PiiFilter::prepare(); });
  host.paths.start(controlQueue, base::weakly(wiring, [this](platform::NetworkPath now) {
                     path.publish(std::make_shared<const platform::NetworkPath>(now));
                   }));
  queue.onCooldownEntered =
      base::weakly(wiring, [this] { recovery.enterRecovery("batch_cooldown"); });
  queue.onServerPause = base::weakly(wiring, [this](const std::optional<std::string>&) {
    // The queue has discarded already; again, for what was admitted before the state was set.
    runState.becomePausedAndDiscard();
  });
  controlPlane.onInitialInitFailed =
      base::weakly(wiring, [this] { recovery.enterRecovery("initial_init_failed"); });
}

Pipeline::~Pipeline() {
  host.paths.stop();
}

void Pipeline::start() {
  if (!startedOptedOut) controlPlane.start();
}

}  // namespace zarn::core
