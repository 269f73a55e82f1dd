#include "base/hex.h"

#include <algorithm>

namespace zarn::base {

namespace {

std::string hexOf(std::span<const std::uint8_t> bytes, std::string_view digits) {
  std::string text;
  text.reserve(bytes.size() * 2);
  for (const std::uint8_t byte : bytes) {
    text += digits[byte >> 4];
    text += digits[byte & 0xf];
  }
  return text;
}

std::string hexOf(std::uint64_t number, std::string_view digits) {
  char buffer[16];
  char* const end = buffer + sizeof buffer;
  char* at = end;
  do {
    *--at = digits[number & 0xf];
    number >>= 4;
  } while (number != 0);
  return std::string(at, end);
}

}  // namespace

std::string lowerHex(std::span<const std::uint8_t> bytes) {
  return hexOf(bytes, kLowerHexDigits);
}
std::string upperHex(std::span<const std::uint8_t> bytes) {
  return hexOf(bytes, kUpperHexDigits);
}
std::string lowerHex(std::uint64_t number) {
  return hexOf(number, kLowerHexDigits);
}
std::string upperHex(std::uint64_t number) {
  return hexOf(number, kUpperHexDigits);
}

std::string shortHash(std::span<const std::uint8_t> digest) {
  return lowerHex(digest.first(std::min<std::size_t>(digest.size(), 8)));
}

}  // namespace zarn::base
