#include "model/remote_config.h"

#include <cmath>
#include <type_traits>

#include "zarn/value.h"

namespace zarn::model {
namespace {

/// Reads members of one object; the first one of a wrong type spoils the whole.
class ObjectReader {
 public:
  explicit ObjectReader(const Properties& object) : object_(object) {}

  template <typename T>
  ObjectReader& read(std::string_view key, std::optional<T>& field) {
    const Value* value = object_.find(key);
    if (value != nullptr && !value->isNull()) {
      field = decode<T>(*value);
      valid_ = valid_ && field.has_value();
    }
    return *this;
  }
  bool valid() const { return valid_; }

 private:
  template <typename T>
  static std::optional<T> decode(const Value& value);

  const Properties& object_;
  bool valid_ = true;
};

bool readFields(ObjectReader& in, CoreConfig& c) {
  return in.read("pageViews", c.pageViews)
      .read("sessions", c.sessions)
      .read("errors", c.errors)
      .valid();
}

bool readFields(ObjectReader& in, EngagementConfig& c) {
  return in.read("clicks", c.clicks).valid();
}

bool readFields(ObjectReader& in, PerformanceConfig& c) {
  return in.read("networkRequests", c.networkRequests).valid();
}

bool readFields(ObjectReader& in, DeviceConfig& c) {
  return in.read("hardwareInfo", c.hardwareInfo)
      .read("connectionInfo", c.connectionInfo)
      .read("batteryInfo", c.batteryInfo)
      .read("context", c.context)
      .read("lifecycle", c.lifecycle)
      .valid();
}

bool readFields(ObjectReader& in, PrivacyConfig& c) {
  return in.read("userAgent", c.userAgent).valid();
}

bool readFields(ObjectReader& in, ScreenshotsConfig& c) {
  return in.read("enabled", c.enabled)
      .read("quality", c.quality)
      .read("maxWidth", c.maxWidth)
      .read("excludedScreens", c.excludedScreens)
      .valid();
}

bool readFields(ObjectReader& in, IdentityConfig& c) {
  return in.read("collectEmail", c.collectEmail)
      .read("collectPhone", c.collectPhone)
      .read("collectName", c.collectName)
      .read("collectLocation", c.collectLocation)
      .read("collectPushTokens", c.collectPushTokens)
      .valid();
}

bool readFields(ObjectReader& in, PushConfig& c) {
  return in.read("enabled", c.enabled)
      .read("contentMode", c.contentMode)
      .read("titlePreviewChars", c.titlePreviewChars)
      .read("bodyPreviewChars", c.bodyPreviewChars)
      .valid();
}

bool readFields(ObjectReader& in, ReplayConfig& c) {
  return in.read("enabled", c.enabled)
      .read("sampleRate", c.sampleRate)
      .read("maskInputs", c.maskInputs)
      .read("maxDurationSec", c.maxDurationSec)
      .read("captureOnCellular", c.captureOnCellular)
      .read("frameCaptureEnabled", c.frameCaptureEnabled)
      .read("structuralEnabled", c.structuralEnabled)
      .read("tileCaptureEnabled", c.tileCaptureEnabled)
      .read("ocrEnabled", c.ocrEnabled)
      .read("captureMinIntervalMs", c.captureMinIntervalMs)
      .read("scrollEndMinIntervalSec", c.scrollEndMinIntervalSec)
      .read("scrollEndCaptureEnabled", c.scrollEndCaptureEnabled)
      .read("postTapSettleMs", c.postTapSettleMs)
      .read("dirtyHeartbeatSec", c.dirtyHeartbeatSec)
      .read("heicQuality", c.heicQuality)
      .read("captureScale", c.captureScale)
      .read("pass2A11yEnabled", c.pass2A11yEnabled)
      .read("pass3LayerEnabled", c.pass3LayerEnabled)
      .read("pass4MirrorEnabled", c.pass4MirrorEnabled)
      .read("windowEventInterceptorEnabled", c.windowEventInterceptorEnabled)
      .read("frameUploadEnabled", c.frameUploadEnabled)
      .read("buildHashDedupEnabled", c.buildHashDedupEnabled)
      .read("maxConcurrentCaptures", c.maxConcurrentCaptures)
      .read("autoMaskCategories", c.autoMaskCategories)
      .read("maxConcurrentOcr", c.maxConcurrentOcr)
      .valid();
}

bool readFields(ObjectReader& in, DeepLinkConfig& c) {
  return in.read("clipboardEnabled", c.clipboardEnabled)
      .read("autoOpen", c.autoOpen)
      .read("universalLinkHosts", c.universalLinkHosts)
      .valid();
}

bool readFields(ObjectReader& in, NetworkConfig& c) {
  return in.read("diagnosticCapture", c.diagnosticCapture)
      .read("sampleRate", c.sampleRate)
      .read("hostAllowlist", c.hostAllowlist)
      .read("maxEventsPerMin", c.maxEventsPerMin)
      .valid();
}

bool readFields(ObjectReader& in, RemoteDataCollectionConfig& c) {
  return in.read("core", c.core)
      .read("engagement", c.engagement)
      .read("performance", c.performance)
      .read("device", c.device)
      .read("privacy", c.privacy)
      .read("screenshots", c.screenshots)
      .read("identity", c.identity)
      .read("push", c.push)
      .read("replay", c.replay)
      .read("deeplink", c.deeplink)
      .read("network", c.network)
      .valid();
}

std::optional<std::int64_t> decodeInteger(const Value& value) {
  if (const auto integer = value.asInt()) return integer;
  const auto number = value.asDouble();  // 80.0 is an integer too
  if (!number || std::trunc(*number) != *number || std::abs(*number) > 0x1.0p53)
    return std::nullopt;
  return static_cast<std::int64_t>(*number);
}

std::optional<double> decodeNumber(const Value& value) {
  if (const auto integer = value.asInt()) return static_cast<double>(*integer);
  return value.asDouble();
}

std::optional<std::vector<std::string>> decodeStrings(const Value& value) {
  const Array* array = value.asArray();
  if (array == nullptr) return std::nullopt;
  std::vector<std::string> strings;
  for (const Value& element : *array) {
    const auto text = element.asString();
    if (!text) return std::nullopt;
    strings.emplace_back(*text);
  }
  return strings;
}

template <typename T>
std::optional<T> ObjectReader::decode(const Value& value) {
  if constexpr (std::is_same_v<T, bool>) {
    return value.asBool();
  } else if constexpr (std::is_same_v<T, std::int64_t>) {
    return decodeInteger(value);
  } else if constexpr (std::is_same_v<T, double>) {
    return decodeNumber(value);
  } else if constexpr (std::is_same_v<T, std::string>) {
    const auto text = value.asString();
    return text ? std::optional<std::string>(*text) : std::nullopt;
  } else if constexpr (std::is_same_v<T, std::vector<std::string>>) {
    return decodeStrings(value);
  } else {
    const Properties* object = value.asProperties();
    if (object == nullptr) return std::nullopt;
    ObjectReader reader(*object);
    T section;
    return readFields(reader, section) ? std::optional<T>(std::move(section)) : std::nullopt;
  }
}

}  // namespace

std::optional<RemoteDataCollectionConfig> decodeRemoteConfig(const Value& json) {
  const Properties* object = json.asProperties();
  if (object == nullptr) return std::nullopt;
  ObjectReader reader(*object);
  RemoteDataCollectionConfig config;
  if (!readFields(reader, config)) return std::nullopt;
  return config;
}

bool shouldTrack(EventType type, const RemoteDataCollectionConfig& config) {
  switch (type) {
    case EventType::screenView:
      return allows(config.core, &CoreConfig::pageViews);
    case EventType::sessionStart:
    case EventType::sessionEnd:
      return allows(config.core, &CoreConfig::sessions);
    case EventType::crash:
      return allows(config.core, &CoreConfig::errors);
    case EventType::tap:
      return allows(config.engagement, &EngagementConfig::clicks);
    case EventType::network:
      return allows(config.performance, &PerformanceConfig::networkRequests);
    case EventType::lifecycle:
      return allows(config.device, &DeviceConfig::lifecycle);
    case EventType::pushOpen:
    case EventType::pushReceived:
    case EventType::pushDismissed:
    case EventType::pushSilent:
    case EventType::pushAction:
    case EventType::pushPermission:
    case EventType::pushTokenInvalidated:
      return allows(config.push, &PushConfig::enabled);
    case EventType::scroll:
    case EventType::custom:
    case EventType::identify:
    case EventType::group:
    case EventType::navigation:
    case EventType::gesture:
    case EventType::deepLink:
    case EventType::install:
    case EventType::iap:
    case EventType::userProperty:
    case EventType::screenVisit:
    case EventType::goal:
    case EventType::screenTransition:
      return true;
  }
  return true;
}

bool isIdentityPropertyAllowed(std::string_view key, const RemoteDataCollectionConfig& config) {
  struct Rule {
    std::string_view key;
    std::optional<bool> IdentityConfig::*flag;
  };
  static constexpr Rule kRules[] = {
      {"email", &IdentityConfig::collectEmail},
      {"phone", &IdentityConfig::collectPhone},
      {"name", &IdentityConfig::collectName},
      {"first_name", &IdentityConfig::collectName},
      {"last_name", &IdentityConfig::collectName},
      {"country", &IdentityConfig::collectLocation},
      {"city", &IdentityConfig::collectLocation},
      {"region", &IdentityConfig::collectLocation},
      {"location", &IdentityConfig::collectLocation},
      {"latitude", &IdentityConfig::collectLocation},
      {"longitude", &IdentityConfig::collectLocation},
      {"timezone", &IdentityConfig::collectLocation},
      {"timezone_offset", &IdentityConfig::collectLocation},
  };
  if (key.starts_with('$')) key.remove_prefix(1);
  for (const Rule& rule : kRules) {
    if (rule.key == key) return allows(config.identity, rule.flag);
  }
  return true;
}

}  // namespace zarn::model
