// Digests in place of what is not to be shown.
#pragma once

#include <string>
#include <string_view>

namespace zarn::collector {

/// 64 lower-case hexadecimal digits.
std::string sha256Hex(std::string_view text);

}  // namespace zarn::collector
