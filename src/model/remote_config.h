// The server's decision on what may be collected. Every key at every level may be absent, and
// absence stays absence: each consumer has its own default, which for every flag here but
// diagnosticCapture and those of replay is to collect.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "model/event.h"

namespace zarn::model {

struct CoreConfig {
  std::optional<bool> pageViews, sessions, errors;
};

struct EngagementConfig {
  std::optional<bool> clicks;
};

struct PerformanceConfig {
  std::optional<bool> networkRequests;
};

struct DeviceConfig {
  std::optional<bool> hardwareInfo, connectionInfo, batteryInfo, context, lifecycle;
};

struct PrivacyConfig {
  std::optional<bool> userAgent;
};

struct ScreenshotsConfig {
  std::optional<bool> enabled;
  std::optional<std::int64_t> quality, maxWidth;
  std::optional<std::vector<std::string>> excludedScreens;
};

struct IdentityConfig {
  std::optional<bool> collectEmail, collectPhone, collectName, collectLocation, collectPushTokens;
};

struct PushConfig {
  std::optional<bool> enabled;
  std::optional<std::string> contentMode;
  std::optional<std::int64_t> titlePreviewChars, bodyPreviewChars;
};

struct ReplayConfig {
  std::optional<bool> enabled;
  std::optional<double> sampleRate;
  std::optional<bool> maskInputs;
  std::optional<double> maxDurationSec;
  std::optional<bool> captureOnCellular, frameCaptureEnabled, structuralEnabled, tileCaptureEnabled,
      ocrEnabled;
  std::optional<double> captureMinIntervalMs, scrollEndMinIntervalSec;
  std::optional<bool> scrollEndCaptureEnabled;
  std::optional<double> postTapSettleMs, dirtyHeartbeatSec, heicQuality, captureScale;
  std::optional<bool> pass2A11yEnabled, pass3LayerEnabled, pass4MirrorEnabled,
      windowEventInterceptorEnabled, frameUploadEnabled, buildHashDedupEnabled;
  std::optional<double> maxConcurrentCaptures;
  std::optional<std::vector<std::string>> autoMaskCategories;
  std::optional<double> maxConcurrentOcr;
};

struct DeepLinkConfig {
  std::optional<bool> clipboardEnabled, autoOpen;
  std::optional<std::vector<std::string>> universalLinkHosts;
};

struct NetworkConfig {
  std::optional<bool> diagnosticCapture;
  std::optional<double> sampleRate;
  std::optional<std::vector<std::string>> hostAllowlist;
  std::optional<double> maxEventsPerMin;
};

struct RemoteDataCollectionConfig {
  std::optional<CoreConfig> core;
  std::optional<EngagementConfig> engagement;
  std::optional<PerformanceConfig> performance;
  std::optional<DeviceConfig> device;
  std::optional<PrivacyConfig> privacy;
  std::optional<ScreenshotsConfig> screenshots;
  std::optional<IdentityConfig> identity;
  std::optional<PushConfig> push;
  std::optional<ReplayConfig> replay;
  std::optional<DeepLinkConfig> deeplink;
  std::optional<NetworkConfig> network;
};

/// Nothing when `json` is no object or a known key has another type than it must have. Unknown keys
/// are ignored; null counts as absent.
std::optional<RemoteDataCollectionConfig> decodeRemoteConfig(const Value& json);
/// JSON of the keys that are there, in the order of the records above; decodes to an equal record.
std::string encodeRemoteConfig(const RemoteDataCollectionConfig& config);

/// The answer to a config fetch.
struct ConfigResponse {
  RemoteDataCollectionConfig dataCollection;
  /// The server asks to stop sending; absent counts as false.
  bool paused = false;
};

/// Nothing when "dataCollection" is missing or a known key has another type than it must have; the
/// first such key is then added to `misfit` as in "dataCollection.replay.sampleRate", or nothing
/// when `json` is no object.
std::optional<ConfigResponse> decodeConfigResponse(const Value& json,
                                                   std::string* misfit = nullptr);
std::string encodeConfigResponse(const ConfigResponse& response);

/// Reads a flag of a section, either of which may be absent: `allows(config.core,
/// &CoreConfig::errors)`.
template <typename Section>
bool allows(const std::optional<Section>& section, std::optional<bool> Section::*flag) {
  return !section || (*section.*flag).value_or(true);
}

/// Whether events of this type may be collected. Types that no flag governs always may.
bool shouldTrack(EventType type, const RemoteDataCollectionConfig& config);

/// Whether a trait or user property of this key may be collected. One leading "$" does not count;
/// keys that no flag governs always may.
bool isIdentityPropertyAllowed(std::string_view key, const RemoteDataCollectionConfig& config);

}  // namespace zarn::model
