// Links that lead into the app.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "zarn/export.h"
#include "zarn/value.h"

ZARN_NAMESPACE_BEGIN

struct ZARN_API ZarnDeepLink {
  /// How it came.
  enum class Source : std::uint8_t {
    universalLink,  // a web link
    customScheme,   // a link of the app's own scheme
    push,
    deferredClipboard,
    deferredFingerprint,
  };

  Url url;           // as received
  std::string path;  // without percent-encoding
  std::map<std::string, std::string> parameters;
  Source source = Source::universalLink;
  /// The user met it before the app was installed.
  bool isDeferred = false;
  std::optional<std::string> linkId;
  // What the server knows of it; absent until it has answered.
  std::optional<std::string> campaign, mediaSource, targetPath, matchMethod;
  std::optional<double> matchConfidence;

  /// Whether the server found the link by a token and not by likeness.
  bool isDeterministic() const;
};

/// "universalLink", "customScheme" and so on.
ZARN_API std::string_view rawValue(ZarnDeepLink::Source source) noexcept;

/// Something that the user goes on with from elsewhere.
struct UserActivity {
  /// Only `kBrowsingWeb` with an address is a link.
  std::string activityType;
  std::optional<std::string> webpageUrl = std::nullopt;

  static constexpr std::string_view kBrowsingWeb = "NSUserActivityTypeBrowsingWeb";
};

/// What a new window of the app was opened for.
struct SceneConnection {
  std::vector<UserActivity> userActivities = {};
  std::vector<std::string> urls = {};
};

ZARN_NAMESPACE_END
