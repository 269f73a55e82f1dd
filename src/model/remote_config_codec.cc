#include "base/json.h"
#include "model/json_fields.h"
#include "model/remote_config.h"

namespace zarn::model {

template <>
inline constexpr auto kFields<CoreConfig> = fields(Field{"pageViews", &CoreConfig::pageViews},
                                                   Field{"sessions", &CoreConfig::sessions},
                                                   Field{"errors", &CoreConfig::errors});

template <>
inline constexpr auto kFields<EngagementConfig> = fields(Field{"clicks",
                                                               &EngagementConfig::clicks});

template <>
inline constexpr auto kFields<PerformanceConfig> = fields(Field{
    "networkRequests", &PerformanceConfig::networkRequests});

template <>
inline constexpr auto kFields<DeviceConfig> =
    fields(Field{"hardwareInfo", &DeviceConfig::hardwareInfo},
           Field{"connectionInfo", &DeviceConfig::connectionInfo},
           Field{"batteryInfo", &DeviceConfig::batteryInfo},
           Field{"context", &DeviceConfig::context}, Field{"lifecycle", &DeviceConfig::lifecycle});

template <>
inline constexpr auto kFields<PrivacyConfig> = fields(Field{"userAgent",
                                                            &PrivacyConfig::userAgent});

template <>
inline constexpr auto kFields<ScreenshotsConfig> = fields(
    Field{"enabled", &ScreenshotsConfig::enabled}, Field{"quality", &ScreenshotsConfig::quality},
    Field{"maxWidth", &ScreenshotsConfig::maxWidth},
    Field{"excludedScreens", &ScreenshotsConfig::excludedScreens});

template <>
inline constexpr auto kFields<IdentityConfig> =
    fields(Field{"collectEmail", &IdentityConfig::collectEmail},
           Field{"collectPhone", &IdentityConfig::collectPhone},
           Field{"collectName", &IdentityConfig::collectName},
           Field{"collectLocation", &IdentityConfig::collectLocation},
           Field{"collectPushTokens", &IdentityConfig::collectPushTokens});

template <>
inline constexpr auto kFields<PushConfig> =
    fields(Field{"enabled", &PushConfig::enabled}, Field{"contentMode", &PushConfig::contentMode},
           Field{"titlePreviewChars", &PushConfig::titlePreviewChars},
           Field{"bodyPreviewChars", &PushConfig::bodyPreviewChars});

template <>
inline constexpr auto kFields<ReplayConfig> =
    fields(Field{"enabled", &ReplayConfig::enabled}, Field{"sampleRate", &ReplayConfig::sampleRate},
           Field{"maskInputs", &ReplayConfig::maskInputs},
           Field{"maxDurationSec", &ReplayConfig::maxDurationSec},
           Field{"captureOnCellular", &ReplayConfig::captureOnCellular},
           Field{"frameCaptureEnabled", &ReplayConfig::frameCaptureEnabled},
           Field{"structuralEnabled", &ReplayConfig::structuralEnabled},
           Field{"tileCaptureEnabled", &ReplayConfig::tileCaptureEnabled},
           Field{"ocrEnabled", &ReplayConfig::ocrEnabled},
           Field{"captureMinIntervalMs", &ReplayConfig::captureMinIntervalMs},
           Field{"scrollEndMinIntervalSec", &ReplayConfig::scrollEndMinIntervalSec},
           Field{"scrollEndCaptureEnabled", &ReplayConfig::scrollEndCaptureEnabled},
           Field{"postTapSettleMs", &ReplayConfig::postTapSettleMs},
           Field{"dirtyHeartbeatSec", &ReplayConfig::dirtyHeartbeatSec},
           Field{"heicQuality", &ReplayConfig::heicQuality},
           Field{"captureScale", &ReplayConfig::captureScale},
           Field{"pass2A11yEnabled", &ReplayConfig::pass2A11yEnabled},
           Field{"pass3LayerEnabled", &ReplayConfig::pass3LayerEnabled},
           Field{"pass4MirrorEnabled", &ReplayConfig::pass4MirrorEnabled},
           Field{"windowEventInterceptorEnabled", &ReplayConfig::windowEventInterceptorEnabled},
           Field{"frameUploadEnabled", &ReplayConfig::frameUploadEnabled},
           Field{"buildHashDedupEnabled", &ReplayConfig::buildHashDedupEnabled},
           Field{"maxConcurrentCaptures", &ReplayConfig::maxConcurrentCaptures},
           Field{"autoMaskCategories", &ReplayConfig::autoMaskCategories},
           Field{"maxConcurrentOcr", &ReplayConfig::maxConcurrentOcr});

template <>
inline constexpr auto kFields<DeepLinkConfig> =
    fields(Field{"clipboardEnabled", &DeepLinkConfig::clipboardEnabled},
           Field{"autoOpen", &DeepLinkConfig::autoOpen},
           Field{"universalLinkHosts", &DeepLinkConfig::universalLinkHosts});

template <>
inline constexpr auto kFields<NetworkConfig> =
    fields(Field{"diagnosticCapture", &NetworkConfig::diagnosticCapture},
           Field{"sampleRate", &NetworkConfig::sampleRate},
           Field{"hostAllowlist", &NetworkConfig::hostAllowlist},
           Field{"maxEventsPerMin", &NetworkConfig::maxEventsPerMin});

template <>
inline constexpr auto kFields<RemoteDataCollectionConfig> =
    fields(Field{"core", &RemoteDataCollectionConfig::core},
           Field{"engagement", &RemoteDataCollectionConfig::engagement},
           Field{"performance", &RemoteDataCollectionConfig::performance},
           Field{"device", &RemoteDataCollectionConfig::device},
           Field{"privacy", &RemoteDataCollectionConfig::privacy},
           Field{"screenshots", &RemoteDataCollectionConfig::screenshots},
           Field{"identity", &RemoteDataCollectionConfig::identity},
           Field{"push", &RemoteDataCollectionConfig::push},
           Field{"replay", &RemoteDataCollectionConfig::replay},
           Field{"deeplink", &RemoteDataCollectionConfig::deeplink},
           Field{"network", &RemoteDataCollectionConfig::network});

namespace {

/// As on the wire, where a pause may be absent.
struct WireResponse {
  RemoteDataCollectionConfig dataCollection;
  std::optional<bool> paused;
};

template <typename Record>
std::string encode(const Record& record) {
  std::string out;
  base::JsonWriter(out).object(propertiesOf(record));
  return out;
}

}  // namespace

template <>
inline constexpr auto kFields<WireResponse> = fields(Field{"dataCollection",
                                                           &WireResponse::dataCollection},
                                                     Field{"paused", &WireResponse::paused});

std::optional<RemoteDataCollectionConfig> decodeRemoteConfig(const Value& json) {
  Misfit ignored;
  return recordIn<RemoteDataCollectionConfig>(json, ignored);
}

std::string encodeRemoteConfig(const RemoteDataCollectionConfig& config) {
  return encode(config);
}

std::optional<ConfigResponse> decodeConfigResponse(const Value& json, std::string* misfit) {
  Misfit path;
  auto wire = recordIn<WireResponse>(json, path);
  if (!wire) {
    if (misfit != nullptr) *misfit += path;
    return std::nullopt;
  }
  return ConfigResponse{std::move(wire->dataCollection), wire->paused.value_or(false)};
}

std::string encodeConfigResponse(const ConfigResponse& response) {
  return encode(WireResponse{response.dataCollection, response.paused});
}

}  // namespace zarn::model
