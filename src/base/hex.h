// Hexadecimal text of digests and hashes.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>

namespace zarn::base {

inline constexpr std::string_view kLowerHexDigits = "0123456789abcdef";
inline constexpr std::string_view kUpperHexDigits = "0123456789ABCDEF";

/// Two digits a byte, such as the 64 of a SHA-256.
std::string lowerHex(std::span<const std::uint8_t> bytes);
std::string upperHex(std::span<const std::uint8_t> bytes);

/// Without leading zeros; "0" for zero.
std::string lowerHex(std::uint64_t number);
std::string upperHex(std::uint64_t number);

/// The first 8 bytes of a digest, as 16 lower-case digits: enough to tell things apart, too little
/// to guess the rest from.
std::string shortHash(std::span<const std::uint8_t> digest);

/// 0 to 15 for a digit of either case, -1 for anything else.
constexpr int hexDigitValue(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return -1;
}

}  // namespace zarn::base
