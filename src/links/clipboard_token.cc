#include "links/clipboard_token.h"

#include <algorithm>
#include <charconv>
#include <chrono>
#include <cmath>
#include <system_error>

namespace zarn::links {
namespace {

constexpr std::string_view kPrefix = "zn:";
constexpr std::string_view kExpiry = "exp=";
constexpr std::string_view kToken = "znt=";

std::optional<double> parseNumber(std::string_view text) {
  double number = 0;
  const char* const end = text.data() + text.size();
  const auto read = std::from_chars(text.data(), end, number, std::chars_format::fixed);
  if (read.ec != std::errc() || read.ptr != end || !std::isfinite(number)) return std::nullopt;
  return number;
}

}  // namespace

bool ClipboardToken::isExpired(Date now) const {
  return std::chrono::duration<double>(now.time_since_epoch()).count() > expiry;
}

std::optional<ClipboardToken> parseClipboardToken(std::string_view text) {
  const bool isVisible =
      std::all_of(text.begin(), text.end(), [](char c) { return c > ' ' && c < '\x7f'; });
  if (text.size() > kMaxClipboardToken || !isVisible || !text.starts_with(kPrefix)) {
    return std::nullopt;
  }
  std::optional<double> expiry;
  std::string_view token;
  for (auto at = text.find(';'); at != std::string_view::npos;) {
    const auto end = text.find(';', at + 1);
    const std::string_view field = text.substr(at + 1, end - at - 1);
    if (field.starts_with(kExpiry)) {
      expiry = parseNumber(field.substr(kExpiry.size()));
      if (!expiry) return std::nullopt;
    } else if (field.starts_with(kToken)) {
      token = field.substr(kToken.size());
    }
    at = end;
  }
  if (!expiry || token.empty()) return std::nullopt;
  return ClipboardToken{*expiry, token};
}

}  // namespace zarn::links
