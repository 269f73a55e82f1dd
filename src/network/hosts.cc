#include "network/hosts.h"

#include <algorithm>

#include "base/text.h"
#include "base/url.h"
#include "model/configuration.h"

namespace zarn::network {
namespace {

constexpr std::string_view kNameCharacters =
    "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789.-_";
constexpr std::string_view kIpv6Characters = "abcdefABCDEF0123456789.:";

bool holdsOnly(std::string_view text, std::string_view characters) {
  return text.find_first_not_of(characters) == std::string_view::npos;
}

}  // namespace

bool isPlainHost(std::string_view host) {
  if (host.empty() || host.size() > kLongestHost) return false;
  return holdsOnly(host, kNameCharacters) || holdsOnly(host, kIpv6Characters);
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
