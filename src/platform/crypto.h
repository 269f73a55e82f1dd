// Digests.
#pragma once

#include <array>
#include <cstdint>
#include <string_view>

namespace zarn::platform {

using Sha256Digest = std::array<std::uint8_t, 32>;

/// Any thread; never fails.
class Crypto {
 public:
  virtual ~Crypto() = default;
  virtual Sha256Digest sha256(std::string_view bytes) = 0;
};

}  // namespace zarn::platform
