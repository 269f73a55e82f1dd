#include "base/url.h"

#include <algorithm>

#include "base/text.h"

namespace zarn::base {
namespace {

constexpr bool isLetter(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}

constexpr bool isSchemeCharacter(char c) {
  return isLetter(c) || (c >= '0' && c <= '9') || c == '+' || c == '-' || c == '.';
}

constexpr bool isBlankOrControl(char c) {
  return static_cast<unsigned char>(c) <= ' ' || c == '\x7f';
}

std::string_view hostOf(std::string_view authority) {
  if (const auto at = authority.rfind('@'); at != std::string_view::npos) {
    authority.remove_prefix(at + 1);
  }
  if (authority.starts_with('[')) {
    return authority.substr(1, authority.find(']') - 1);
  }
  return authority.substr(0, authority.find(':'));
}

/// Cuts `text` before the first `mark`, and gives what is behind it.
std::optional<std::string_view> cutFrom(std::string_view& text, char mark) {
  const auto at = text.find(mark);
  if (at == std::string_view::npos) return std::nullopt;
  const std::string_view behind = text.substr(at + 1);
  text = text.substr(0, at);
  return behind;
}

}  // namespace

std::optional<UrlParts> splitUrl(std::string_view text) {
  if (text.empty() || !isLetter(text.front())) return std::nullopt;
  const auto end = std::find_if_not(text.begin(), text.end(), isSchemeCharacter);
  if (end == text.end() || *end != ':') return std::nullopt;
  if (std::any_of(text.begin(), text.end(), isBlankOrControl)) return std::nullopt;
  UrlParts parts;
  parts.scheme = text.substr(0, static_cast<std::size_t>(end - text.begin()));
  text.remove_prefix(parts.scheme.size() + 1);
  parts.fragment = cutFrom(text, '#');
  parts.query = cutFrom(text, '?');
  if (text.starts_with("//")) {
    text.remove_prefix(2);
    const auto slash = std::min(text.find('/'), text.size());
    parts.host = hostOf(text.substr(0, slash));
    text.remove_prefix(slash);
  }
  parts.path = text;
  return parts;
}

bool isWebScheme(std::string_view scheme) {
  const std::string lower = lowerCaseAscii(scheme);
  return lower == "http" || lower == "https";
}

}  // namespace zarn::base
