#include "model/replay_policy.h"

#include <algorithm>
#include <cmath>

#include "base/canonical_json.h"
#include "base/fnv1a.h"
#include "base/hex.h"
#include "model/remote_config.h"
#include "model/replay_policy_fields.h"

namespace zarn::model {
namespace {

constexpr const char* kMaskCategories[] = {"image", "text", "web", "map"};

struct Bounds {
  double least;
  double most;
};

/// A number above zero, within the bounds.
double positive(std::optional<double> given, Bounds bounds, double fallback) {
  if (!given || !std::isfinite(*given) || *given <= 0) return fallback;
  return std::clamp(*given, bounds.least, bounds.most);
}

/// A number from zero on, but at most so large.
double nonNegative(std::optional<double> given, double most, double fallback) {
  if (!given || !std::isfinite(*given) || *given < 0) return fallback;
  return std::clamp(*given + 0.0, 0.0, most);  // the sum makes -0 the 0 that it equals
}

double fraction(std::optional<double> percent, double fallback) {
  if (!percent || !std::isfinite(*percent)) return fallback;
  return *percent > 0 ? std::min(*percent, 100.0) / 100 : 0;
}

int captures(std::optional<double> given, int fallback) {
  if (!given || !std::isfinite(*given) || std::trunc(*given) != *given) return fallback;
  return static_cast<int>(std::clamp(*given, 1.0, 8.0));
}

bool holds(const std::vector<std::string>& words, std::string_view word) {
  return std::find(words.begin(), words.end(), word) != words.end();
}

std::vector<std::string> knownCategories(const std::optional<std::vector<std::string>>& given) {
  std::vector<std::string> known;
  for (const char* category : kMaskCategories) {
    if (given && holds(*given, category)) known.emplace_back(category);
  }
  return known;
}

bool isFinite(const ReplayRemotePolicy& policy) {
  const auto finite = [&](const auto& field) {
    const auto& member = policy.*field.member;
    if constexpr (std::is_same_v<std::decay_t<decltype(member)>, double>) {
      return std::isfinite(member);
    }
    return true;
  };
  return std::apply([&](const auto&... field) { return (finite(field) && ...); },
                    kFields<ReplayRemotePolicy>);
}

/// What lets something be captured or kept.
constexpr bool ReplayRemotePolicy::*kPermissions[] = {
    &ReplayRemotePolicy::captureOnCellular,  &ReplayRemotePolicy::frameCaptureEnabled,
    &ReplayRemotePolicy::structuralEnabled,  &ReplayRemotePolicy::tileCaptureEnabled,
    &ReplayRemotePolicy::ocrEnabled,         &ReplayRemotePolicy::scrollEndCaptureEnabled,
    &ReplayRemotePolicy::pass2A11yEnabled,   &ReplayRemotePolicy::pass3LayerEnabled,
    &ReplayRemotePolicy::pass4MirrorEnabled, &ReplayRemotePolicy::frameUploadEnabled};

}  // namespace

std::optional<ReplayRemotePolicy> resolveReplayPolicy(const std::optional<ReplayConfig>& config) {
  if (!config) return std::nullopt;
  const ReplayConfig& given = *config;
  ReplayRemotePolicy p;
  p.enabled = given.enabled.value_or(p.enabled);
  p.sampleRate = fraction(given.sampleRate, p.sampleRate);
  p.maskInputs = given.maskInputs.value_or(p.maskInputs);
  p.maxDurationSec = positive(given.maxDurationSec, {10, 3600}, p.maxDurationSec);
  p.captureOnCellular = given.captureOnCellular.value_or(p.captureOnCellular);
  p.frameCaptureEnabled = given.frameCaptureEnabled.value_or(p.frameCaptureEnabled);
  p.structuralEnabled = given.structuralEnabled.value_or(p.structuralEnabled);
  p.tileCaptureEnabled = given.tileCaptureEnabled.value_or(p.tileCaptureEnabled);
  p.ocrEnabled = given.ocrEnabled.value_or(p.ocrEnabled);
  p.captureMinIntervalMs = nonNegative(given.captureMinIntervalMs, 10000, p.captureMinIntervalMs);
  p.scrollEndMinIntervalSec =
      nonNegative(given.scrollEndMinIntervalSec, 60, p.scrollEndMinIntervalSec);
  p.scrollEndCaptureEnabled = given.scrollEndCaptureEnabled.value_or(p.scrollEndCaptureEnabled);
  p.postTapSettleMs = positive(given.postTapSettleMs, {100, 5000}, p.postTapSettleMs);
  p.dirtyHeartbeatSec = positive(given.dirtyHeartbeatSec, {1, 60}, p.dirtyHeartbeatSec);
  p.heicQuality = positive(given.heicQuality, {0.05, 0.5}, p.heicQuality);
  p.captureScale = positive(given.captureScale, {0.3, 1}, p.captureScale);
  p.pass2A11yEnabled = given.pass2A11yEnabled.value_or(p.pass2A11yEnabled);
  p.pass3LayerEnabled = given.pass3LayerEnabled.value_or(p.pass3LayerEnabled);
  p.pass4MirrorEnabled = given.pass4MirrorEnabled.value_or(p.pass4MirrorEnabled);
  p.windowEventInterceptorEnabled =
      given.windowEventInterceptorEnabled.value_or(p.windowEventInterceptorEnabled);
  p.frameUploadEnabled = given.frameUploadEnabled.value_or(p.frameUploadEnabled);
  p.buildHashDedupEnabled = given.buildHashDedupEnabled.value_or(p.buildHashDedupEnabled);
  p.maxConcurrentCaptures = captures(given.maxConcurrentCaptures, p.maxConcurrentCaptures);
  p.autoMaskCategories = knownCategories(given.autoMaskCategories);
  return p;
}

Properties encodeReplayPolicy(const ReplayRemotePolicy& policy) {
  return propertiesOf(policy);
}

std::optional<ReplayRemotePolicy> decodeReplayPolicy(const Value& json) {
  Misfit ignored;
  return recordIn<ReplayRemotePolicy>(json, ignored);
}

std::string replayPolicyFingerprint(const std::optional<ReplayRemotePolicy>& policy) {
  if (!policy) return "none";
  if (!isFinite(*policy)) return "invalid";
  const std::string digits =
      base::lowerHex(base::fnv1a64(base::canonicalJson(encodeReplayPolicy(*policy))));
  return std::string(16 - digits.size(), '0') + digits;
}

bool narrows(const ReplayRemotePolicy& next, const ReplayRemotePolicy& stored) {
  if (next.maskInputs && !stored.maskInputs) return true;
  for (const auto permission : kPermissions) {
    if (stored.*permission && !(next.*permission)) return true;
  }
  for (const std::string& category : next.autoMaskCategories) {
    if (!holds(stored.autoMaskCategories, category)) return true;
  }
  return stored.sampleRate > next.sampleRate || stored.maxDurationSec > next.maxDurationSec;
}

}  // namespace zarn::model
