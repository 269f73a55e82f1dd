// What may be told of a push message. A payload, which any server can fill with anything, becomes
// a small record of bounded size that holds no message text unless the policy asks for it.
//
// Pure functions; any thread. A payload that makes no sense gives a record with fewer fields. A
// text counts as absent where it is empty, longer than any message can carry, or no plain text.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "control/policy_targets.h"
#include "zarn/value.h"

namespace zarn::platform {
class Crypto;
class Random;
}  // namespace zarn::platform
namespace zarn::redaction {
class PiiFilter;
}

namespace zarn::push {

using ContentMode = control::PushContentMode;

struct ContentRules {
  ContentMode mode = ContentMode::hashOnly;
  /// In characters; count in preview only.
  std::size_t titleLimit = 40;
  std::size_t bodyLimit = 80;  // the subtitle's too
};

inline constexpr std::size_t kLongestRead = 65536;  // bytes; sixteen times a whole message
/// Identifiers and names are cut to this; longer ones don't occur.
inline constexpr std::size_t kLongestIdentifier = 256;        // characters
inline constexpr std::size_t kLongestIdentifierBytes = 1024;  // one character may take many
/// Message texts are cut to this, which is as much as a whole push message may take.
inline constexpr std::size_t kLongestTextBytes = 4096;
inline constexpr std::size_t kMostPayloadKeys = 100;

struct SanitizedPush {
  /// Never empty: a random UUID when the payload names none.
  std::string pushId;
  std::optional<std::string> zarnCampaignId, zarnDeliveryId, zarnJobId;
  std::string_view provider;             // "fcm", "apns" or "unknown"
  std::vector<std::string> payloadKeys;  // the first of them in order; never a value
  std::optional<std::string> categoryIdentifier, threadIdentifier, collapseId;
  bool isSilent = false;
  bool hasMutableContent = false;
  bool hasDeepLink = false;
  std::optional<std::string> deepLinkHash;
  /// Whole, for routing only.
  std::optional<std::string> deepLinkUrl;
  /// Of all texts; equal for messages that differ in surrounding blanks alone.
  std::optional<std::string> contentHash;
  std::optional<std::string> title, body, subtitle;
  ContentMode contentMode = ContentMode::hashOnly;
  /// For attribution only.
  std::optional<std::string> sendId;
};

/// `filter` sees a text before a preview is cut from it: half an address is not known for one.
SanitizedPush sanitize(const Properties& userInfo, const ContentRules& rules,
                       const redaction::PiiFilter& filter, platform::Crypto& crypto,
                       platform::Random& random);

/// As an event tells it. The link itself is not among them.
Properties properties(const SanitizedPush& push);

/// An identifier that came with a payload: one in the form of a UUID goes through the filter for
/// personal data as it is, since it can't hold any; other text does not.
Value identifierValue(const std::string& id);

/// Cut to the bounds above.
std::string_view cutIdentifier(std::string_view text);

}  // namespace zarn::push
