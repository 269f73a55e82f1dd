// UUIDs of our own; reading and text are members of zarn::Uuid.
#pragma once

#include <array>
#include <cstdint>

#include "zarn/value.h"

namespace zarn::base {

/// A version-4 UUID from 16 random bytes, of which 122 bits count.
Uuid uuidFromRandom(const std::array<std::uint8_t, 16>& random);

/// The text of a UUID, upper case, 36 characters without a terminator: nothing is allocated.
std::array<char, 36> uuidChars(const Uuid& uuid);

}  // namespace zarn::base
