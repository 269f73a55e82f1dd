#include "base/uuid.h"

#include "base/hex.h"

namespace zarn::base {

namespace {

constexpr bool isDashAt(std::size_t index) {
  return index == 8 || index == 13 || index == 18 || index == 23;
}

}  // namespace

Uuid uuidFromRandom(const std::array<std::uint8_t, 16>& random) {
  Uuid uuid{random};
  uuid.bytes[6] = static_cast<std::uint8_t>((uuid.bytes[6] & 0x0f) | 0x40);  // version 4
  uuid.bytes[8] = static_cast<std::uint8_t>((uuid.bytes[8] & 0x3f) | 0x80);  // variant 1
  return uuid;
}

std::array<char, 36> uuidChars(const Uuid& uuid) {
  std::array<char, 36> chars;
  std::size_t at = 0;
  for (const std::uint8_t byte : uuid.bytes) {
    if (isDashAt(at)) chars[at++] = '-';
    chars[at++] = kUpperHexDigits[byte >> 4];
    chars[at++] = kUpperHexDigits[byte & 0xf];
  }
  return chars;
}

}  // namespace zarn::base

ZARN_NAMESPACE_BEGIN

std::optional<Uuid> Uuid::parse(std::string_view text) {
  if (text.size() != 36) return std::nullopt;
  Uuid uuid;
  std::size_t digits = 0;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (base::isDashAt(i)) {
      if (text[i] != '-') return std::nullopt;
      continue;
    }
    const int digit = base::hexDigitValue(text[i]);
    if (digit < 0) return std::nullopt;
    std::uint8_t& byte = uuid.bytes[digits++ / 2];
    byte = static_cast<std::uint8_t>(byte << 4 | digit);
  }
  return uuid;
}

std::string Uuid::text() const {
  const auto chars = base::uuidChars(*this);
  return std::string(chars.data(), chars.size());
}

ZARN_NAMESPACE_END
