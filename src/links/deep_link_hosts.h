// DeepLinkHosts: the hosts whose links the server may be asked about and that may be opened.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace zarn::links {

/// Any thread.
class DeepLinkHosts {
 public:
  explicit DeepLinkHosts(const std::vector<std::string>& hosts);

  /// Whether the link's host is one of them or a subdomain, without regard to case.
  bool allow(std::string_view url) const;

 private:
  std::vector<std::string> hosts_;  // in lower case
};

}  // namespace zarn::links
