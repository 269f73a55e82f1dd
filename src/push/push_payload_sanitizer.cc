#include "push/push_payload_sanitizer.h"

#include <algorithm>
#include <array>

#include "base/hex.h"
#include "base/text.h"
#include "base/uuid.h"
#include "base/value_access.h"
#include "platform/crypto.h"
#include "platform/random.h"
#include "redaction/pii_filter.h"

namespace zarn::push {
namespace {

using Text = std::optional<std::string_view>;

constexpr std::string_view kEllipsis = "…";
constexpr std::string_view kDeepLinkKeys[] = {"deep_link", "deepLink", "url"};

Text textAt(const Properties& object, std::string_view key) {
  const Value* value = object.find(key);
  const auto text = value != nullptr ? value->asString() : std::nullopt;
  return text && !text->empty() && text->size() <= kLongestRead ? text : std::nullopt;
}

const Properties* objectAt(const Properties& object, std::string_view key) {
  const Value* value = object.find(key);
  return value != nullptr ? value->asProperties() : nullptr;
}

bool isOn(const Properties& object, std::string_view key) {
  const Value* value = object.find(key);
  return value != nullptr && (value->asInt() == 1 || value->asBool().value_or(false));
}

std::optional<std::string> identifier(const Text& text) {
  return text ? std::optional<std::string>(cutIdentifier(*text)) : std::nullopt;
}

std::string shortHash(platform::Crypto& crypto, std::string_view text) {
  return base::shortHash(crypto.sha256(text));
}

std::string randomId(platform::Random& random) {
  std::array<std::uint8_t, 16> bytes;
  random.fill(bytes);
  return base::uuidFromRandom(bytes).text();
}

/// A payload with its two dictionaries, empty where they are missing.
struct Payload {
  const Properties& top;
  const Properties& aps;
  const Properties& zarn;
  bool hasZarn;
};

std::string_view providerOf(const Payload& payload) {
  if (payload.top.find("gcm.message_id") != nullptr ||
      payload.top.find("google.c.sender.id") != nullptr) {
    return "fcm";
  }
  return !payload.hasZarn && payload.aps.empty() ? "unknown" : "apns";
}

std::vector<std::string> payloadKeys(const Properties& userInfo) {
  std::vector<std::string_view> keys;
  keys.reserve(userInfo.size());
  for (const auto& entry : userInfo) keys.push_back(entry.key);
  const auto kept = static_cast<std::ptrdiff_t>(std::min(keys.size(), kMostPayloadKeys));
  std::partial_sort(keys.begin(), keys.begin() + kept, keys.end());
  std::vector<std::string> names;
  names.reserve(static_cast<std::size_t>(kept));
  for (auto key = keys.begin(); key != keys.begin() + kept; ++key) {
    names.emplace_back(cutIdentifier(*key));
  }
  return names;
}

Text deepLink(const Payload& payload) {
  if (const Text link = textAt(payload.zarn, "deep_link")) return link;
  for (const auto key : kDeepLinkKeys) {
    if (const Text link = textAt(payload.top, key)) return link;
  }
  return std::nullopt;
}

struct AlertTexts {
  Text title, body, subtitle;
};

AlertTexts alertTexts(const Properties& aps) {
  const auto either = [](const Text& first, const Text& second) { return first ? first : second; };
  if (const Properties* alert = objectAt(aps, "alert")) {
    return {.title = either(textAt(*alert, "title"), textAt(*alert, "title-loc-key")),
            .body = either(textAt(*alert, "body"), textAt(*alert, "loc-key")),
            .subtitle = textAt(*alert, "subtitle")};
  }
  return {.title = {}, .body = textAt(aps, "alert"), .subtitle = {}};
}

/// The places of absent texts are kept, so that no text can pass for its neighbour.
std::optional<std::string> contentHash(platform::Crypto& crypto, const std::array<Text, 6>& texts) {
  constexpr char kUnitSeparator = '\x1f';
  std::string joined;
  bool isEmpty = true;
  for (const Text& text : texts) {
    if (&text != &texts.front()) joined += kUnitSeparator;
    const std::string_view kept = base::trimmed(text.value_or(""));
    isEmpty = isEmpty && kept.empty();
    joined += kept;
  }
  return isEmpty ? std::nullopt : std::optional(shortHash(crypto, joined));
}

std::optional<std::string> preview(std::string_view text, std::size_t limit,
                                   const redaction::PiiFilter& filter) {
  std::string oneLine(base::prefixOfBytes(text, kLongestTextBytes));
  std::replace_if(
      oneLine.begin(), oneLine.end(), [](char c) { return c == '\n' || c == '\r'; }, ' ');
  const std::string kept = filter.scrubBounded(base::trimmed(oneLine)).text;
  if (kept.empty()) return std::nullopt;
  const std::string_view shown = base::prefixOfCharacters(kept, limit);
  return std::string(shown).append(shown.size() < kept.size() ? kEllipsis : "");
}

std::optional<std::string> shownText(const Text& text, ContentMode mode, std::size_t limit,
                                     const redaction::PiiFilter& filter) {
  if (!text) return std::nullopt;
  switch (mode) {
    case ContentMode::hashOnly:
      return std::nullopt;
    case ContentMode::preview:
      return preview(*text, limit, filter);
    case ContentMode::full:
      return std::string(base::prefixOfBytes(*text, kLongestTextBytes));
  }
  return std::nullopt;
}

void readIdentifiers(SanitizedPush& push, const Payload& payload, platform::Random& random) {
  push.zarnDeliveryId = identifier(textAt(payload.zarn, "delivery_id"));
  push.zarnCampaignId = identifier(textAt(payload.zarn, "campaign_id"));
  push.zarnJobId = identifier(textAt(payload.zarn, "job_id"));
  push.sendId = identifier(textAt(payload.zarn, "send_id"));
  push.categoryIdentifier = identifier(textAt(payload.aps, "category"));
  push.threadIdentifier = identifier(textAt(payload.aps, "thread-id"));
  push.collapseId = identifier(textAt(payload.top, "apns-collapse-id"));
  for (const auto& id :
       {push.sendId, identifier(textAt(payload.top, "apns-id")), push.zarnDeliveryId}) {
    if (id && push.pushId.empty()) push.pushId = *id;
  }
  if (push.pushId.empty()) push.pushId = randomId(random);
}

void readTraits(SanitizedPush& push, const Payload& payload, platform::Crypto& crypto) {
  push.provider = providerOf(payload);
  push.payloadKeys = payloadKeys(payload.top);
  push.isSilent = isOn(payload.aps, "content-available") && payload.aps.find("alert") == nullptr;
  push.hasMutableContent = isOn(payload.aps, "mutable-content");
  if (const Text link = deepLink(payload)) {
    push.hasDeepLink = true;
    push.deepLinkUrl = std::string(*link);
    push.deepLinkHash = shortHash(crypto, *link);
  }
}

void readTexts(SanitizedPush& push, const Payload& payload, const ContentRules& rules,
               const redaction::PiiFilter& filter, platform::Crypto& crypto) {
  const AlertTexts alert = alertTexts(payload.aps);
  push.contentHash =
      contentHash(crypto, {alert.title, alert.body, alert.subtitle, textAt(payload.aps, "category"),
                           textAt(payload.aps, "thread-id"), textAt(payload.zarn, "campaign_id")});
  push.contentMode = rules.mode;
  push.title = shownText(alert.title, rules.mode, rules.titleLimit, filter);
  push.body = shownText(alert.body, rules.mode, rules.bodyLimit, filter);
  push.subtitle = shownText(alert.subtitle, rules.mode, rules.bodyLimit, filter);
}

}  // namespace

std::string_view cutIdentifier(std::string_view text) {
  return base::prefixOfCharacters(base::prefixOfBytes(text, kLongestIdentifierBytes),
                                  kLongestIdentifier);
}

Value identifierValue(const std::string& id) {
  return Uuid::parse(id) ? base::ValueAccess::opaque(id) : Value(id);
}

SanitizedPush sanitize(const Properties& userInfo, const ContentRules& rules,
                       const redaction::PiiFilter& filter, platform::Crypto& crypto,
                       platform::Random& random) {
  const Properties none;
  const Properties* const aps = objectAt(userInfo, "aps");
  const Properties* const zarn = objectAt(userInfo, "zarn");
  const Payload payload{.top = userInfo,
                        .aps = aps != nullptr ? *aps : none,
                        .zarn = zarn != nullptr ? *zarn : none,
                        .hasZarn = zarn != nullptr};
  SanitizedPush push;
  readIdentifiers(push, payload, random);
  readTraits(push, payload, crypto);
  readTexts(push, payload, rules, filter, crypto);
  return push;
}

Properties properties(const SanitizedPush& push) {
  using base::ValueAccess;
  Properties told{
      {"push_id", identifierValue(push.pushId)},
      {"provider", ValueAccess::opaque(std::string(push.provider))},
      {"payload_keys", Array(push.payloadKeys.begin(), push.payloadKeys.end())},
      {"is_silent", push.isSilent},
      {"has_mutable_content", push.hasMutableContent},
      {"has_deep_link", push.hasDeepLink},
      {"content_mode", ValueAccess::opaque(std::string(control::name(push.contentMode)))}};
  const auto add = [&](std::string_view key, const std::optional<std::string>& text, auto valueOf) {
    if (text) told.set(key, valueOf(*text));
  };
  const auto asText = [](const std::string& text) { return Value(text); };
  const auto asDigest = [](const std::string& digest) { return ValueAccess::opaque(digest); };
  add("zarn_delivery_id", push.zarnDeliveryId, identifierValue);
  add("zarn_campaign_id", push.zarnCampaignId, identifierValue);
  add("zarn_job_id", push.zarnJobId, identifierValue);
  add("category_identifier", push.categoryIdentifier, asText);
  add("thread_identifier", push.threadIdentifier, asText);
  add("collapse_id", push.collapseId, asText);
  add("deep_link_hash", push.deepLinkHash, asDigest);
  add("content_hash", push.contentHash, asDigest);
  add("title", push.title, asText);
  add("body", push.body, asText);
  add("subtitle", push.subtitle, asText);
  return told;
}

}  // namespace zarn::push
