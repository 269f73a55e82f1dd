#include "core/diagnostics.h"

#include "base/json.h"
#include "control/replay_control.h"
#include "core/pipeline.h"
#include "platform/environment.h"

namespace zarn {

inline namespace ZARN_VERSION_NAMESPACE {

std::string ZarnDiagnostics::toJson() const {
  std::string out;
  base::JsonWriter json(out);
  json.beginObject();
  json.key("initialised").boolean(initialised);
  json.key("paused").boolean(paused);
  json.member("environment", environment).member("apiHost", apiHost);
  json.key("queue").beginObject();
  json.key("bufferedEventCount").integer(queue.bufferedEventCount);
  json.key("bufferCap").integer(queue.bufferCap);
  json.key("consecutiveFailures").integer(queue.consecutiveFailures);
  json.key("isFlushing").boolean(queue.isFlushing);
  json.member("retryTier", queue.retryTier).endObject();
  json.key("internalDevForced").boolean(internalDevForced);
  json.key("replaySupported").boolean(replaySupported);
  if (replayEnabledByProject) json.key("replayEnabledByProject").boolean(*replayEnabledByProject);
  json.key("replayRecording").boolean(replayRecording);
  if (replaySampleRatePercent) json.key("replaySampleRatePercent").number(*replaySampleRatePercent);
  if (replayMaxDurationSec) json.key("replayMaxDurationSec").number(*replayMaxDurationSec);
  json.key("replayCaptureOnCellular").boolean(replayCaptureOnCellular);
  json.member("replayStatus", replayStatus);
  json.key("deepLinkAutoOpen").boolean(deepLinkAutoOpen);
  json.key("clipboardMatchEnabled").boolean(clipboardMatchEnabled);
  if (lastDeepLinkSource) json.member("lastDeepLinkSource", *lastDeepLinkSource);
  json.member("installValidationStatus", installValidationStatus).endObject();
  return out;
}

}  // namespace ZARN_VERSION_NAMESPACE

namespace core {
namespace {

QueueHealth queueHealth(const events::QueueHealth& health) {
  return {.bufferedEventCount = health.bufferedEventCount,
          .bufferCap = health.bufferCap,
          .consecutiveFailures = health.consecutiveFailures,
          .isFlushing = health.isFlushing,
          .retryTier = std::string(health.retryTier)};
}

/// The first reason that holds why replay does not record, or that it does.
std::string replayStatus(const Pipeline& pipeline, const ZarnDiagnostics& known) {
  if (pipeline.privacy.optedOut()) return "opted_out";
  if (!known.replaySupported) return "unsupported_runtime";
  if (!known.replayEnabledByProject) return "awaiting_project_config";
  if (!*known.replayEnabledByProject || !pipeline.configuration.options.replayEnabled) {
    return "disabled_by_project";
  }
  if (known.paused) return "paused_by_server";
  if (pipeline.transport.releaseId().empty()) return "awaiting_release";
  if (known.replayRecording) return "recording";
  if (pipeline.replay.isDurationCapped()) return "duration_capped";
  if (pipeline.replayPolicy.hasAttempted() && pipeline.replay.isSampledOut()) return "sampled_out";
  return "awaiting_start";
}

}  // namespace

ZarnDiagnostics diagnosticsOf(const Pipeline& pipeline) {
  const ConfigurationOptions& options = pipeline.configuration.options;
  const auto policy = pipeline.replayPolicy.resolvedPolicy();
  ZarnDiagnostics now;
  now.initialised = true;
  now.paused = pipeline.runState.isPaused();
  now.environment = pipeline.configuration.environment();
  now.apiHost = pipeline.configuration.apiHost();
  now.queue = queueHealth(pipeline.queue.health());
  now.internalDevForced = pipeline.host.environment.variable("ZARN_INTERNAL_DEV") == "1";
  now.replaySupported = pipeline.replay.isSupported();
  now.replayEnabledByProject = pipeline.replayPolicy.enabledByProject();
  now.replayRecording = pipeline.replay.isRecording();
  if (policy) {
    now.replaySampleRatePercent = policy->sampleRate * 100;
    now.replayMaxDurationSec = policy->maxDurationSec;
    now.replayCaptureOnCellular = policy->captureOnCellular;
  }
  now.deepLinkAutoOpen = options.deepLinkAutoOpen;
  now.clipboardMatchEnabled = options.deferredClipboardMatchEnabled;
  if (const auto source = pipeline.links->lastSource()) now.lastDeepLinkSource = rawValue(*source);
  if (pipeline.installValidator) {
    now.installValidationStatus = links::rawValue(pipeline.installValidator->status());
  }
  now.replayStatus = replayStatus(pipeline, now);
  return now;
}

}  // namespace core
}  // namespace zarn
