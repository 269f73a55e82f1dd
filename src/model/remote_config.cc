#include "model/remote_config.h"

namespace zarn::model {

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
