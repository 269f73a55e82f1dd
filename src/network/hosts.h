// Names of servers: what they look like, and which of them are the library's own.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace zarn::model {
struct Configuration;
}

namespace zarn::network {

constexpr std::size_t kLongestHost = 253;  // bytes; there is no server of a longer name

/// Whether it looks like the name or address of a server: letters, digits, ".", "-" and "_" of
/// ASCII, or an IPv6 address.
bool isPlainHost(std::string_view host);

/// In lower case and without the dot that a full name may end with.
std::string comparableHost(std::string_view host);

/// Whether `host` is `domain` or below it; both comparable. Nothing is within an empty domain.
bool isWithin(std::string_view host, std::string_view domain);

/// The library's own traffic is not the host app's.
struct OwnHosts {
  std::vector<std::string> domains;  // with everything below them; comparable
  std::string selfHost;              // just this one; comparable, empty for none

  bool contain(std::string_view comparable) const;
};
OwnHosts ownHostsOf(const model::Configuration& configuration);

}  // namespace zarn::network
