#include "desktop/http_rules.h"

#include <arpa/inet.h>
#include <curl/curl.h>
#include <netinet/in.h>

#include <algorithm>
#include <cerrno>
#include <system_error>

namespace zarn::desktop {

bool isLoopbackHost(std::string_view host) {
  if (host.size() > 2 && host.front() == '[' && host.back() == ']') {
    host = host.substr(1, host.size() - 2);
  }
  if (host.ends_with('.')) host.remove_suffix(1);
  std::string name(host);
  std::transform(name.begin(), name.end(), name.begin(),
                 [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c; });
  if (name == "localhost" || name.ends_with(".localhost")) return true;
  in_addr v4{};
  if (inet_pton(AF_INET, name.c_str(), &v4) == 1) return ntohl(v4.s_addr) >> 24 == 127;
  in6_addr v6{};
  return inet_pton(AF_INET6, name.c_str(), &v6) == 1 && IN6_IS_ADDR_LOOPBACK(&v6);
}

bool isHeaderText(std::string_view text) {
  return text.find_first_of(std::string_view("\r\n\0", 3)) == std::string_view::npos;
}

bool meansNoNetwork(AttemptError error, bool offline) {
  switch (error.curlCode) {
    case CURLE_COULDNT_RESOLVE_HOST:
    case CURLE_COULDNT_RESOLVE_PROXY:
      return offline;
    case CURLE_COULDNT_CONNECT:
      break;
    default:
      return false;
  }
  switch (error.systemError) {
    case ENETUNREACH:
    case ENETDOWN:
    case EHOSTUNREACH:
    case EADDRNOTAVAIL:
      return true;
    case ECONNREFUSED:
      return false;
    default:
      return offline;
  }
}

base::Duration connectivityRetryDelay(int attempts) {
  return base::seconds(1 << std::clamp(attempts - 1, 0, 3));
}

std::string describe(AttemptError error) {
  std::string text = curl_easy_strerror(static_cast<CURLcode>(error.curlCode));
  if (error.curlCode == CURLE_COULDNT_CONNECT && error.systemError != 0) {
    text += " (" + std::generic_category().message(static_cast<int>(error.systemError)) + ")";
  }
  return text;
}

}  // namespace zarn::desktop
