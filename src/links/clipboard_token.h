// The form of what a web page leaves on the clipboard for an app that is about to be installed:
//
//   zn:1;exp=1893456000;znt=2f6c
#pragma once

#include <cstddef>
#include <optional>
#include <string_view>

#include "zarn/value.h"

namespace zarn::links {

struct ClipboardToken {
  double expiry = 0;       // seconds since 1970
  std::string_view token;  // inside the text that was parsed; never empty

  bool isExpired(Date now) const;
};

/// Bytes; a longer text is no token.
inline constexpr std::size_t kMaxClipboardToken = 4096;

/// Nothing when the text is no token. One consists of visible ASCII characters only: since it is
/// sent as a whole, a text of the user's own must not pass for one. The first field may be
/// anything, the others come in any order.
std::optional<ClipboardToken> parseClipboardToken(std::string_view text);

}  // namespace zarn::links
