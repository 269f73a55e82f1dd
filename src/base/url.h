// The pieces of an address, such as a link or the address of a request.
//
//   if (const auto url = base::splitUrl(text)) hostOf = base::lowerCaseAscii(url->host);
//
// Pure functions; any thread. All are linear in the text.
#pragma once

#include <optional>
#include <string_view>

namespace zarn::base {

/// Views into the text that was split, as it stands there: still percent-encoded.
struct UrlParts {
  std::string_view scheme;  // "https"
  std::string_view host;    // without user, port and the brackets of IPv6; may be empty
  std::string_view path;    // from the first "/" after the host, or all after "scheme:"
  std::optional<std::string_view> query;     // without "?"
  std::optional<std::string_view> fragment;  // without "#"
};

/// Nothing when the text has no scheme, or holds blanks or control characters anywhere: it is no
/// address then. Characters outside ASCII, and bytes that are no UTF-8, pass.
std::optional<UrlParts> splitUrl(std::string_view text);

/// Whether the scheme is "http" or "https", in either case.
bool isWebScheme(std::string_view scheme);

}  // namespace zarn::base
