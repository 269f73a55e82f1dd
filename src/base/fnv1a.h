// FNV-1a, 64 bits.
#pragma once

#include <cstdint>
#include <string_view>

namespace zarn::base {

constexpr std::uint64_t fnv1a64(std::string_view bytes) {
  std::uint64_t hash = 0xcbf29ce484222325;
  for (const char byte : bytes) {
    hash ^= static_cast<unsigned char>(byte);
    hash *= 0x100000001b3;
  }
  return hash;
}

}  // namespace zarn::base
