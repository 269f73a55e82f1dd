#include "control/policy_application.h"

#include <cmath>
#include <utility>

#include "base/stable_hash.h"
#include "control/replay_policy_keeper.h"
#include "model/replay_policy.h"

namespace zarn::control {
namespace {

template <typename Function, typename... Args>
void tell(const Function& target, Args&&... args) {
  if (target) target(std::forward<Args>(args)...);
}

std::optional<std::int64_t> ifPositive(std::optional<std::int64_t> limit) {
  return limit && *limit > 0 ? limit : std::nullopt;
}

PushContentMode pushContentMode(const std::optional<model::PushConfig>& push) {
  if (push && push->contentMode == "preview") return PushContentMode::preview;
  if (push && push->contentMode == "full") return PushContentMode::full;
  return PushContentMode::hashOnly;  // what is missing or unknown gets the safest
}

}  // namespace

std::string_view name(PushContentMode mode) {
  switch (mode) {
    case PushContentMode::hashOnly:
      return "hash_only";
    case PushContentMode::preview:
      return "preview";
    case PushContentMode::full:
      return "full";
  }
  return "";
}

bool isInDiagnosticsSample(const std::string& deviceId, std::optional<double> sampleRate) {
  const double rate = sampleRate.value_or(100);
  const auto bucket = base::stableHash("net-diag:" + deviceId) % 100;
  return !std::isnan(rate) && rate > bucket;
}

PolicyApplication::PolicyApplication(bool autoTrackNetwork, std::string deviceId,
                                     PolicyTargets targets, ReplayPolicyKeeper& replay,
                                     platform::Log log)
    : autoTrackNetwork_(autoTrackNetwork),
      deviceId_(std::move(deviceId)),
      targets_(std::move(targets)),
      replay_(replay),
      log_(log) {}

void PolicyApplication::apply(const PolicyAnswer& answer) {
  const auto& policy = *answer.policy;
  tell(targets_.publish, answer.policy);
  tell(targets_.collectContext);
  logWhatIsOff(policy);
  applyNetwork(policy);
  applyPush(policy.push);
  if (!model::allows(policy.screenshots, &model::ScreenshotsConfig::enabled)) {
    log_.debug({"[Zarn] Remote config: screenshots disabled"});
  }
  replay_.apply(model::resolveReplayPolicy(policy.replay), answer);
  // A picture counts for the settings that it began under: what is to be masked comes before them.
  tell(targets_.setScreenshots, policy.screenshots);
}

void PolicyApplication::logWhatIsOff(const model::RemoteDataCollectionConfig& policy) const {
  if (!model::allows(policy.core, &model::CoreConfig::sessions)) {
    log_.debug({"[Zarn] Remote config: sessions disabled"});
  }
  if (!model::allows(policy.core, &model::CoreConfig::errors)) {
    log_.debug({"[Zarn] Remote config: crash tracking disabled"});
  }
  if (!model::allows(policy.core, &model::CoreConfig::pageViews)) {
    log_.debug({"[Zarn] Remote config: page views disabled"});
  }
  if (!model::allows(policy.engagement, &model::EngagementConfig::clicks)) {
    log_.debug({"[Zarn] Remote config: tap tracking disabled"});
  }
}

void PolicyApplication::applyNetwork(const model::RemoteDataCollectionConfig& policy) const {
  const NetworkTargets& network = targets_.network;
  if (!model::allows(policy.performance, &model::PerformanceConfig::networkRequests)) {
    tell(network.setProxyCapture, false);
    tell(network.setSwizzleCapture, false);
    tell(network.stopAggregator);
    log_.debug({"[Zarn] Remote config: network tracking disabled"});
    return;
  }
  tell(network.setProxyCapture, true);
  if (autoTrackNetwork_) tell(network.setSwizzleCapture, true);
  if (autoTrackNetwork_ || (network.proxyInUse && network.proxyInUse())) {
    tell(network.ensureAggregator, false);
  }
  if (policy.network && policy.network->diagnosticCapture.value_or(false)) {
    if (isInDiagnosticsSample(deviceId_, policy.network->sampleRate)) {
      return enableDiagnostics(*policy.network);
    }
    log_.debug(
        {"[Zarn] Remote config: network diagnostic capture requested, install out of sample"});
  }
  // An install that was in the sample before and is not any more stops as well.
  tell(network.disableDiagnostics);
  if (!autoTrackNetwork_) tell(network.setSwizzleCapture, false);
}

void PolicyApplication::enableDiagnostics(const model::NetworkConfig& config) const {
  const NetworkTargets& network = targets_.network;
  tell(network.installReplacement);
  tell(network.setSwizzleCapture, true);
  tell(network.ensureAggregator, true);
  const NetworkDiagnostics diagnostics{
      .maxEventsPerMin = config.maxEventsPerMin.value_or(60),
      .hostAllowlist = config.hostAllowlist.value_or(std::vector<std::string>())};
  tell(network.enableDiagnostics, diagnostics);
  log_.debug({"[Zarn] Remote config: network diagnostic capture ON (allowlist ",
              std::to_string(diagnostics.hostAllowlist.size()), " hosts)"});
}

void PolicyApplication::applyPush(const std::optional<model::PushConfig>& push) const {
  if (!model::allows(push, &model::PushConfig::enabled)) {
    tell(targets_.push.clearAttribution);
    log_.debug({"[Zarn] Remote config: push tracking disabled"});
    return;
  }
  if (!targets_.push.setLimits) return;
  const PushLimits limits{
      .mode = pushContentMode(push),
      .titlePreviewChars = push ? ifPositive(push->titlePreviewChars) : std::nullopt,
      .bodyPreviewChars = push ? ifPositive(push->bodyPreviewChars) : std::nullopt};
  targets_.push.setLimits(limits);
  log_.debug({"[Zarn] Remote config: push contentMode = ", name(limits.mode)});
}

}  // namespace zarn::control
