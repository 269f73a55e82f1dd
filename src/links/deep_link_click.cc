#include "links/deep_link_click.h"

#include <algorithm>
#include <string>
#include <string_view>

#include "base/hex.h"
#include "base/text.h"
#include "base/value_access.h"
#include "links/link_parser.h"
#include "platform/crypto.h"

namespace zarn::links {
namespace {

constexpr std::size_t kMostCharacters = 256;
constexpr std::size_t kLongestName = 64;
constexpr std::string_view kCampaignPrefix = "utm_";

std::string cutText(std::string_view text) {
  constexpr std::size_t kMostBytes = kMostCharacters * 4;
  return std::string(
      base::prefixOfCharacters(base::prefixOfBytes(text, kMostBytes), kMostCharacters));
}

/// A key of an event passes no filter for personal data, so it must look like a key.
bool isCampaignName(std::string_view name) {
  constexpr std::string_view kCharacters =
      "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789_-.";
  return name.size() > kCampaignPrefix.size() && name.size() <= kLongestName &&
         name.find_first_not_of(kCharacters) == std::string_view::npos;
}

void addCampaign(Properties& properties, const std::map<std::string, std::string>& parameters) {
  std::size_t count = 0;
  for (auto at = parameters.lower_bound(std::string(kCampaignPrefix));
       at != parameters.end() && at->first.starts_with(kCampaignPrefix); ++at) {
    if (!isCampaignName(at->first)) continue;
    if (++count > kMostCampaignParameters) break;
    properties.set(at->first, cutText(at->second));
  }
  const auto campaign = parameters.find("~campaign");
  if (campaign != parameters.end() && parameters.find("utm_campaign") == parameters.end()) {
    properties.set("utm_campaign", cutText(campaign->second));
  }
}

}  // namespace

Properties clickProperties(const ZarnDeepLink& link, const ParsedLink& parsed,
                           platform::Crypto& crypto) {
  using base::ValueAccess;
  Properties properties{
      {"link_host", cutText(parsed.host)},
      {"link_path_hash", ValueAccess::opaque(base::shortHash(crypto.sha256(link.path)))},
      {"source", ValueAccess::opaque(std::string(rawValue(link.source)))},
      {"is_deferred", link.isDeferred}};
  if (link.linkId) properties.set("link_id", cutText(*link.linkId));
  if (parsed.clickId) properties.set("zarn_click_id", ValueAccess::opaque(*parsed.clickId));
  addCampaign(properties, link.parameters);
  return properties;
}

}  // namespace zarn::links
