#include "events/store_location.h"

#include <cstdint>
#include <cstdio>

#include "base/fnv1a.h"
#include "base/letters.h"
#include "base/text.h"

namespace zarn::events {
namespace {

constexpr std::size_t kMostCharacters = 80;
constexpr std::size_t kMostNameBytes = 255;
/// What surrounds the two texts: "events-", two "-", 16 digits, ".sqlite" and "-journal".
constexpr std::size_t kOtherBytes = 7 + 2 + 16 + 7 + 8;
constexpr std::size_t kMostEnvironmentBytes = 80;

/// Cut at a code point; a name needs no more.
std::string_view prefixOfBytes(std::string_view text, std::size_t most) {
  if (text.size() <= most) return text;
  while (most > 0 && (static_cast<unsigned char>(text[most]) & 0xC0) == 0x80) --most;
  return text.substr(0, most);
}

std::string sanitised(std::string_view text, std::size_t mostBytes) {
  std::string_view rest = base::prefixOfCharacters(text, kMostCharacters);
  std::string clean;
  while (!rest.empty() && clean.size() <= mostBytes) {
    const std::string_view character = base::prefixOfCharacters(rest, 1);
    const bool stays = character == "-" || base::isLetterOrNumber(character);
    clean += stays ? character : "_";
    rest.remove_prefix(character.size());
  }
  return std::string(prefixOfBytes(clean, mostBytes));
}

std::string upperCaseHex(std::uint64_t value) {
  char text[17];
  std::snprintf(text, sizeof(text), "%llX", static_cast<unsigned long long>(value));
  return text;
}

}  // namespace

std::string storeFileName(const StoreIdentity& identity) {
  const std::string environment = sanitised(identity.environment, kMostEnvironmentBytes);
  const std::string project =
      sanitised(identity.projectId, kMostNameBytes - kOtherBytes - environment.size());
  return "events-" + environment + "-" + project + "-" +
         upperCaseHex(base::fnv1a64(identity.apiHost)) + ".sqlite";
}

bool isStoreFileName(std::string_view name) {
  for (const char* suffix : kSideFileSuffixes) {
    if (!name.ends_with(suffix)) continue;
    name.remove_suffix(std::string_view(suffix).size());
    break;
  }
  return name == kLegacyStoreFileName || (name.starts_with("events-") && name.ends_with(".sqlite"));
}

}  // namespace zarn::events
