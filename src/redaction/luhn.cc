#include "redaction/luhn.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <iterator>

#include "base/text.h"

namespace zarn::redaction {
namespace {

/// The zero of each script's decimal digits; its one to nine follow.
constexpr char32_t kZeros[] = {
    0x30,    0x660,   0x6F0,   0x7C0,   0x966,   0x9E6,   0xA66,   0xAE6,   0xB66,   0xBE6,
    0xC66,   0xCE6,   0xD66,   0xDE6,   0xE50,   0xED0,   0xF20,   0x1040,  0x1090,  0x17E0,
    0x1810,  0x1946,  0x19D0,  0x1A80,  0x1A90,  0x1B50,  0x1BB0,  0x1C40,  0x1C50,  0xA620,
    0xA8D0,  0xA900,  0xA9D0,  0xA9F0,  0xAA50,  0xABF0,  0xFF10,  0x104A0, 0x10D30, 0x11066,
    0x110F0, 0x11136, 0x111D0, 0x112F0, 0x11450, 0x114D0, 0x11650, 0x116C0, 0x11730, 0x118E0,
    0x11950, 0x11C50, 0x11D50, 0x11DA0, 0x16A60, 0x16AC0, 0x16B50, 0x1D7CE, 0x1D7D8, 0x1D7E2,
    0x1D7EC, 0x1D7F6, 0x1E140, 0x1E2F0, 0x1E950, 0x1FBF0};

/// 0 to 9, or -1.
int digitValue(char32_t value) {
  const auto* const above = std::upper_bound(std::begin(kZeros), std::end(kZeros), value);
  if (above == std::begin(kZeros)) return -1;
  const char32_t offset = value - *(above - 1);
  return offset < 10 ? static_cast<int>(offset) : -1;
}

}  // namespace

bool passesLuhn(std::string_view text) {
  std::array<int, 19> digits{};
  std::size_t count = 0;
  for (std::size_t at = 0; at < text.size();) {
    const base::CodePoint next = base::codePointAt(text, at);
    at += std::max<std::size_t>(next.length, 1);
    const int digit = next.length == 0 ? -1 : digitValue(next.value);
    if (digit < 0) continue;
    if (count == digits.size()) return false;
    digits[count++] = digit;
  }
  if (count < 13) return false;
  int sum = 0;
  for (std::size_t i = 0; i < count; ++i) {
    const bool doubled = (count - i) % 2 == 0;
    const int digit = digits[i] * (doubled ? 2 : 1);
    sum += digit > 9 ? digit - 9 : digit;
  }
  return sum % 10 == 0;
}

}  // namespace zarn::redaction
