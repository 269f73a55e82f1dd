#include "base/base64.h"

#include <cstddef>
#include <cstdint>

namespace zarn::base {

std::string base64(std::string_view bytes) {
  static constexpr std::string_view kDigits =
      "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  std::string text;
  text.reserve((bytes.size() + 2) / 3 * 4);
  for (std::size_t at = 0; at < bytes.size(); at += 3) {
    std::uint32_t group = 0;
    for (std::size_t i = 0; i < 3; ++i) {
      group = group << 8 | (at + i < bytes.size() ? static_cast<std::uint8_t>(bytes[at + i]) : 0u);
    }
    const std::size_t digits = bytes.size() - at >= 3 ? 4 : bytes.size() - at + 1;
    for (std::size_t i = 0; i < 4; ++i) {
      text += i < digits ? kDigits[group >> (18 - 6 * i) & 63] : '=';
    }
  }
  return text;
}

}  // namespace zarn::base
