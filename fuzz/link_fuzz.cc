// Any text as a link: what is read of it is text, its key does not depend on the order of its
// parameters, and its event is small.
#include <cstdlib>
#include <string>
#include <string_view>

#include "base/text.h"
#include "base/url.h"
#include "desktop/crypto.h"
#include "links/deep_link_click.h"
#include "links/deep_link_hosts.h"
#include "links/link_parser.h"

namespace {

void require(bool holds) {
  if (!holds) std::abort();
}

/// The link with the parameters of its query, which lies inside it, in reverse.
std::string reversed(std::string_view url, std::string_view query) {
  const auto begin = static_cast<std::size_t>(query.data() - url.data());
  std::string items;
  for (std::size_t end = query.size();;) {
    const auto mark = end == 0 ? std::string_view::npos : query.rfind('&', end - 1);
    const auto from = mark == std::string_view::npos ? 0 : mark + 1;
    items += query.substr(from, end - from);
    if (mark == std::string_view::npos) break;
    items += '&';
    end = mark;
  }
  return std::string(url.substr(0, begin)) + items + std::string(url.substr(begin + query.size()));
}

void checkClick(const zarn::links::ParsedLink& parsed, zarn::platform::Crypto& crypto) {
  zarn::ZarnDeepLink link;
  link.path = parsed.path;
  link.parameters = parsed.parameters;
  link.linkId = parsed.shortLinkId;
  const auto click = zarn::links::clickProperties(link, parsed, crypto);
  require(click.size() <= 7 + zarn::links::kMostCampaignParameters);
  for (const auto& [key, value] : click) {
    require(key.size() <= 256 && value.asString().value_or("").size() <= 1024);
    require(zarn::base::isValidUtf8(key));
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size) {
  using namespace zarn;
  static desktop::OpensslCrypto crypto;
  static const links::LinkParser parser(crypto);
  static const links::DeepLinkHosts hosts({"shop.example"});
  const std::string_view url(reinterpret_cast<const char*>(data), size);
  const auto parsed = parser.parse(url);
  if (hosts.allow(url)) {
    require(parsed.has_value() && base::lowerCaseAscii(parsed->host).ends_with("shop.example"));
  }
  if (!parsed) return 0;
  require(base::isValidUtf8(parsed->path) && !parsed->dedupKey.empty());
  for (const auto& [name, value] : parsed->parameters) {
    require(base::isValidUtf8(name) && base::isValidUtf8(value));
  }
  if (const auto parts = base::splitUrl(url); parts->query) {
    require(parser.parse(reversed(url, *parts->query))->dedupKey == parsed->dedupKey);
  }
  checkClick(*parsed, crypto);
  return 0;
}
