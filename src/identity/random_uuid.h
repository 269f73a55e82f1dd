// Fresh UUIDs as text.
#pragma once

#include <array>
#include <cstdint>
#include <string>

#include "base/uuid.h"
#include "platform/random.h"

namespace zarn::identity {

/// Upper case.
inline std::string randomUuidText(platform::Random& random) {
  std::array<std::uint8_t, 16> bytes;
  random.fill(bytes);
  return base::uuidFromRandom(bytes).text();
}

}  // namespace zarn::identity
