// Random factors that spread retries of many devices over time.
#pragma once

#include <cstdint>

namespace zarn::base {

/// A uniform number in [0, 1) from the upper 53 bits of `random`.
constexpr double unitInterval(std::uint64_t random) {
  return static_cast<double>(random >> 11) * 0x1.0p-53;
}

/// 0.75 to 1.25, for retries.
constexpr double retryJitter(std::uint64_t random) {
  return unitInterval(random) * 0.5 - 0.25 + 1;
}

/// 0.9 to 1.1, for the periodic refresh of the configuration.
constexpr double refreshJitter(std::uint64_t random) {
  return 0.9 + 0.2 * unitInterval(random);
}

}  // namespace zarn::base
