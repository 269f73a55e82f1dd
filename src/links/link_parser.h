// LinkParser: what a link says by itself.
//
//   if (const auto parsed = parser.parse("https://shop.example/link/ab12?utm_source=mail")) ...
#pragma once

#include <cstddef>
#include <map>
#include <optional>
#include <string>
#include <string_view>

namespace zarn::platform {
class Crypto;
}

namespace zarn::links {

/// Text is valid UTF-8: what is not is replaced after percent-decoding. "+" stays "+".
struct ParsedLink {
  bool isWeb = false;  // "http" or "https"
  std::string host;    // without percent-encoding; may be empty
  std::string path;
  std::map<std::string, std::string> parameters;  // those with a value; the last of a name
  std::optional<std::string> shortLinkId;         // "ab12" of a path ".../link/ab12"
  std::optional<std::string> clickId;             // "zarn_click_id", when it is formed like one
  /// The same for links that lead to the same: `shortLinkId`, else a hash of the link that does not
  /// depend on the order of its parameters.
  std::string dedupKey;
};

/// Five groups of hexadecimal digits, as of a UUID of the versions 1 to 5.
bool isClickId(std::string_view text);
/// The parameter "zarn_click_id", when it is formed like one.
std::optional<std::string> clickIdOf(const std::map<std::string, std::string>& parameters);

/// Has no state. Any thread; linear in the link but for the sorting of its parameters.
class LinkParser {
 public:
  /// Bytes; longer text is no link. No browser makes longer ones.
  static constexpr std::size_t kMaxLength = std::size_t{2} << 20;
  /// Further ones are no parameters, and are not sorted for the key.
  static constexpr std::size_t kMaxQueryItems = 10'000;
  /// Bytes; a longer path segment is no id of a short link.
  static constexpr std::size_t kMaxShortLinkId = 256;

  explicit LinkParser(platform::Crypto& crypto) : crypto_(crypto) {}

  /// Nothing when the text is no link: without a scheme, with blanks or control characters, or too
  /// long.
  std::optional<ParsedLink> parse(std::string_view url) const;

 private:
  platform::Crypto& crypto_;
};

}  // namespace zarn::links
