// Any text from the clipboard: what passes for a token holds nothing but one.
#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <string_view>

#include "links/clipboard_token.h"

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size) {
  using namespace zarn;
  const std::string_view text(reinterpret_cast<const char*>(data), size);
  const auto token = links::parseClipboardToken(text);
  if (!token) return 0;
  const bool isBare = std::none_of(text.begin(), text.end(), [](char c) {
    return static_cast<unsigned char>(c) <= ' ' || static_cast<unsigned char>(c) > '~';
  });
  const bool isInside = token->token.data() >= text.data() &&
                        token->token.data() + token->token.size() <= text.data() + text.size();
  const bool expires = token->isExpired(Date::max()) || token->expiry > 9e9;
  if (!isBare || !isInside || token->token.empty() || !std::isfinite(token->expiry) || !expires ||
      text.size() > links::kMaxClipboardToken) {
    std::abort();
  }
  return 0;
}
