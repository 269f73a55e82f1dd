// A small hash that is the same in every process and on every platform, for sampling by an id.
#pragma once

#include <cstdint>
#include <string_view>

namespace zarn::base {

/// 31 times the hash so far plus the next UTF-16 unit, from 0 and in 32 bits. What is not UTF-8
/// counts as U+FFFD.
std::uint32_t stableHash(std::string_view utf8);

}  // namespace zarn::base
