#include "network/hosts.h"

#include <algorithm>

#include "base/text.h"
#include "base/url.h"
#include "model/configuration.h"

namespace zarn::network {
namespace {

constexpr std::size_t kLongestHost = 253;  // bytes

constexpr bool isDigit(char c) {
  return c >= '0' && c <= '9';
}

constexpr bool isNameCharacter(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || isDigit(c) || c == '.' || c == '-' ||
         c == '_';
}

constexpr bool isIpv6Character(char c) {
  return (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F') || isDigit(c) || c == '.' || c == ':';
}

}  // namespace

bool isPlainHost(std::string_view host) {
  if (host.empty() || host.size() > kLongestHost) return false;
  return std::all_of(host.begin(), host.end(), isNameCharacter) ||
         std::all_of(host.begin(), host.end(), isIpv6Character);
}

std::string comparableHost(std::string_view host) {
  if (host.ends_with('.')) host.remove_suffix(1);
  return base::lowerCaseAscii(host);
}

bool isWithin(std::string_view host, std::string_view domain) {
  if (domain.empty() || !host.ends_with(domain)) return false;
  host.remove_suffix(domain.size());
  return host.empty() || host.ends_with('.');
}

bool OwnHosts::contain(std::string_view comparable) const {
  const auto holds = [&](const std::string& domain) { return isWithin(comparable, domain); };
  return (!selfHost.empty() && comparable == selfHost) ||
         std::any_of(domains.begin(), domains.end(), holds);
}

OwnHosts ownHostsOf(const model::Configuration& configuration) {
  OwnHosts hosts{.domains = model::ownDomains(), .selfHost = {}};
  if (const auto url = base::splitUrl(configuration.apiHost())) {
    hosts.selfHost = comparableHost(url->host);
  }
  return hosts;
}

}  // namespace zarn::network
