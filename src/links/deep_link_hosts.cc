#include "links/deep_link_hosts.h"

#include <algorithm>

#include "base/text.h"
#include "base/url.h"

namespace zarn::links {
namespace {

/// Whether browsers can't read the host as another one: they decode and map other characters.
bool isPlain(std::string_view host) {
  return std::all_of(host.begin(), host.end(), [](char c) {
    return (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '-' || c == '_' || c == '.';
  });
}

}  // namespace

DeepLinkHosts::DeepLinkHosts(const std::vector<std::string>& hosts) {
  for (const std::string& host : hosts) {
    if (!host.empty()) hosts_.push_back(base::lowerCaseAscii(host));
  }
}

bool DeepLinkHosts::allow(std::string_view url) const {
  // Browsers take "\" for "/", and so see another host in "https://evil.example\@good.example".
  if (hosts_.empty() || url.find('\\') != std::string_view::npos) return false;
  const auto parts = base::splitUrl(url);
  if (!parts) return false;
  const std::string host = base::lowerCaseAscii(parts->host);
  return std::any_of(hosts_.begin(), hosts_.end(), [&](const std::string& allowed) {
    return host == allowed || (isPlain(host) && host.ends_with("." + allowed));
  });
}

}  // namespace zarn::links
