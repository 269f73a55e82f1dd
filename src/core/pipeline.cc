#include "core/pipeline.h"

#include <iterator>
#include <sstream>
#include <utility>

#include "core/wiring.h"
#include "model/stored_event.h"
#include "platform/clock.h"
#include "platform/defaults.h"
#include "platform/device.h"
#include "platform/dispatch.h"
#include "platform/http.h"
#include "platform/life_events.h"
#include "platform/path_monitor.h"
#include "platform/random.h"

namespace zarn::core {
namespace {

/// What the last policy has masked counts until the next one comes: texts are read before it does.
constexpr const char* kAutoMaskKey = "zarn_auto_mask_categories";

void updateScreenshots(Pipeline& pipeline, const std::optional<model::ScreenshotsConfig>& config) {
  const auto app = pipeline.appId.get();
  const std::string release = pipeline.transport.releaseId();
  pipeline.screenshots->update(config, app ? std::optional(*app) : std::nullopt,
                               release.empty() ? std::nullopt : std::optional(release));
}

/// Producers are there before the first policy, and all of them outlive the last.
control::PolicyTargets policyTargets(Pipeline& pipeline) {
  control::PolicyTargets targets;
  targets.publish = [&](std::shared_ptr<const model::RemoteDataCollectionConfig> config) {
    pipeline.remoteConfig.publish(config);
    pipeline.policyPublished(*config);
  };
  targets.network = networkTargets(pipeline);
  targets.push = pushTargets(pipeline);
  targets.setScreenshots = [&](const std::optional<model::ScreenshotsConfig>& config) {
    updateScreenshots(pipeline, config);
  };
  targets.collectContext = [&] {
    pipeline.transport.setEnrichedContext(pipeline.enrichedContext.collect());
  };
  return targets;
}

runtime::AnswerTargets answerTargets(Pipeline& pipeline) {
  return {.setReleaseId =
              [&](const std::string& id) {
                pipeline.transport.setReleaseId(id);
                pipeline.capture->setReleaseId(id);
              },
          .setAppId =
              [&](const std::string& id) {
                pipeline.appId.publish(std::make_shared<const std::string>(id));
                // The policy may have come first, by another answer, and this one's not count.
                // Before there is any, no picture is taken: it says what is to be masked.
                if (const auto policy = pipeline.remoteConfig.get()) {
                  updateScreenshots(pipeline, policy->screenshots);
                }
              },
          .latestRemoteConfig = [&] { return pipeline.remoteConfig.get(); }};
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
          .report = [log = pipeline.log](std::string_view line) { log.debug({line}); },
          .discards = [&defaults =
                           pipeline.host.defaults] { return runtime::readOptOut(defaults).count; }};
}

}  // namespace

Pipeline::Pipeline(platform::Host& hostServices, const model::Configuration& configured,
                   platform::Log debugLog, Earlier earlier)
    : host(hostServices),
      configuration(configured),
      log(debugLog),
      deliveryThread(host.dispatch.makeThread("zarn.delivery")),
      upkeepThread(host.dispatch.makeThread("zarn.upkeep")),
      controlQueue(host.dispatch.pool(), "io.zarn.config-refresh", base::LockRank::controlQueue),
      workQueue(*deliveryThread, "io.zarn.queue", base::LockRank::workQueue),
      replayPolicyQueue(*upkeepThread, "io.zarn.replay.policy", base::LockRank::replayPolicyQueue),
      privacy(host.defaults),
      startedOptedOut(deleteFilesWhenOptedOut(privacy, host.files)),
      identity({.device = host.device,
                .crypto = host.crypto,
                .random = host.random,
                .secrets = host.secrets,
                .defaults = host.defaults,
                .executor = host.dispatch.pool(),
                .mayKeep = [this] { return !privacy.setting().isOut; }}),
      fallbackSession(host.random),
      session(fallbackSession, sessionTracker),
      context(host.device, remoteConfig, path),
      enrichedContext(host.device, host.crypto, remoteConfig, path),
      transport(host.http, host.clock, configuration, host.device.app(), log),
      ownStore(storeIdentity(configuration), storeServices(*this)),
      queue(transport, ownStore.store(), workQueue, host.random, configuration, log),
      piiFilter(host.names),
      sanitizer(piiFilter),
      runState(queue, privacy, log),
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
                log),
      guard(host.http, controlQueue, privacy),
      replay(redactionEngine),
      replayPolicyStore(host.files),
      replayPolicyAdmission(model::replayPolicyScope(configuration, host.device.app()),
                            replayPolicyStore, host.random),
      replayPolicy(replayPolicyAdmission, replay, host.defaults, replayPolicyQueue,
                   {.pauses = [this] { return runState.pauses(); },
                    .mayRecord = [this] { return mayCollect(); }},
                   log),
      policies(configuration.options.autoTrackNetwork, identity.snapshot()->deviceId,
               policyTargets(*this), replayPolicy, log),
      fetcher(configuration, host.device.app(), host.defaults, host.clock, log),
      controlPlane(configuration, host.device.app(), guard, runState, privacy, fetcher, policies,
                   answerTargets(*this), log),
      recovery(runState, privacy, guard, controlPlane, host.random, log),
      refresh(controlQueue, controlPlane, privacy, host.random),
      transitions(host.dispatch.pool(),
                  {.privacy = privacy,
                   .runState = runState,
                   .boundary = boundary,
                   .queue = queue,
                   .transport = transport,
                   .guard = guard,
                   .controlPlane = controlPlane,
                   .recovery = recovery,
                   .refresh = refresh,
                   .identity = identity,
                   .session = session,
                   .dedupe = dedupe,
                   .replayPolicy = replayPolicy,
                   .replay = replay},
                  log) {
  if (startedOptedOut) transport.stopSends();
  upkeepThread->post([] { redaction::PiiFilter::prepare(); });
  wireControl();
  wireSessions();
  wireInstall();
  wireLinks();
  wirePush();
  // From here on events come from other threads too.
  wireNetwork(std::move(earlier.networkTracker));
  wireCrash();
  restoreAutoMask();
  wireScreenshots();
  wireCapture(std::move(earlier.addBreadcrumb));
  wireLife();
  wirePrivacy();
}

void Pipeline::wireControl() {
  privacy.onForeignChange = base::weakly(wiring, [this] { transitions.followOtherProcess(); });
  transport.isForbidden = [this] { return privacy.optedOut(); };
  host.paths.start(controlQueue, base::weakly(wiring, [this](platform::NetworkPath now) {
                     path.publish(std::make_shared<const platform::NetworkPath>(now));
                   }));
  if (!startedOptedOut) transport.setEnrichedContext(enrichedContext.collect());
  queue.onCooldownEntered =
      base::weakly(wiring, [this] { recovery.enterRecovery("batch_cooldown"); });
  queue.onServerPause =
      base::weakly(wiring, [this](events::EventQueue::DiscardGeneration::Token begun) {
        // The queue has discarded already; again, for what was admitted before the state was set.
        if (runState.becomePausedAndDiscard(begun)) dedupe.clear();
      });
  runState.onRunning = base::weakly(wiring, [this] { replayPolicy.reconcile(); });
  runState.onPaused = base::weakly(wiring, [this] {
    screenshots->cancelAll();
    replayPolicy.pausedByServer();
  });
  controlPlane.onRecoveryNeeded =
      base::weakly(wiring, [this](std::string_view reason) { recovery.enterRecovery(reason); });
  if (startedOptedOut) {
    replayPolicy.optedOut();
  } else {
    replayPolicy.finishPendingBoundary();
  }
}

void Pipeline::wireSessions() {
  if (!configuration.options.autoTrackSessions) return;
  sessionTracker.emplace(base::seconds(configuration.options.sessionTimeout), host.clock,
                         host.random,
                         base::weakly(wiring, [this](model::EventType type, std::string_view name) {
                           admission.admitEvent(type, name, {});
                           if (type == model::EventType::sessionStart)
                             replayPolicy.sessionStarted();
                         }));
  sessionTracker->start();
}

void Pipeline::wireLife() {
  host.life.start(base::weakly(wiring, [this](platform::LifeEvent event) {
    capture->handle(event);  // what it tells of still belongs to the session
    switch (event) {
      case platform::LifeEvent::didEnterBackground:
        network->didEnterBackground();
        if (sessionTracker) sessionTracker->appDidEnterBackground();
        return;
      case platform::LifeEvent::willEnterForeground:
        if (sessionTracker) sessionTracker->appWillEnterForeground();
        return;
      case platform::LifeEvent::willTerminate:
        network->willTerminate();
        if (sessionTracker) sessionTracker->appWillTerminate();
        return identity.persistNow();  // nothing runs on its queue any more
      case platform::LifeEvent::didBecomeActive:
        if (push) push->appDidBecomeActive();
        return;
      case platform::LifeEvent::didReceiveMemoryWarning:
        return;
    }
  }));
}

void Pipeline::wirePrivacy() {
  runtime::PrivacyHooks& hooks = transitions.hooks;
  hooks.discardHeld = [this] {
    capture->discardHeld();
    screenshots->cancelAll();
  };
  hooks.forgetCarried = [this] {
    if (push) push->clearAttribution();
    links->forgetUser();
    deferredInstallClickId.publish(nullptr);
  };
  hooks.stopSources = [this] {
    if (crashTracker) crashTracker->optOut();
    if (installValidator) installValidator->optOut();
  };
  hooks.restartSources = [this] {
    if (crashTracker) crashTracker->start();
    capture->restart();
  };
  hooks.forgetUser = [this] {
    pushTokens->forgetUser();
    host.defaults.commit();  // the next launch must not bring back what was forgotten
  };
  transitions.begin();
}

void Pipeline::policyPublished(const model::RemoteDataCollectionConfig& policy) {
  links->policyApplied(policy);
  const auto& masked = policy.replay ? policy.replay->autoMaskCategories : std::nullopt;
  setAutoMask(masked.value_or(std::vector<std::string>{}));
  // After an opt-in the installation is reported late: not before the policy is in force.
  controlQueue.async(base::weakly(wiring, [this] { installTracker->setUp(); }));
}

void Pipeline::setAutoMask(const std::vector<std::string>& categories) {
  redactionEngine.setAutoMaskCategories(categories);
  std::string joined;
  for (const std::string& category : categories) joined += (joined.empty() ? "" : " ") + category;
  if (host.defaults.getString(kAutoMaskKey).value_or("") == joined) return;
  host.defaults.set(kAutoMaskKey, joined);
}

void Pipeline::restoreAutoMask() {
  std::istringstream joined(host.defaults.getString(kAutoMaskKey).value_or(""));
  redactionEngine.setAutoMaskCategories(std::vector<std::string>(
      std::istream_iterator<std::string>(joined), std::istream_iterator<std::string>()));
}

Pipeline::~Pipeline() {
  host.life.stop();
  host.paths.stop();
}

void Pipeline::start() {
  if (privacy.optedOut()) return;
  controlPlane.sendInit();
  controlPlane.fetchConfig(runtime::ControlPlane::Fetch::startUp);
  refresh.startConfigRefreshTimer();
}

}  // namespace zarn::core
