// Bytes that came as text.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace zarn::collector {

/// Of the standard alphabet, with its padding and without line ends; nothing for any other text,
/// nor for one that no encoder writes.
std::optional<std::string> decodedBase64(std::string_view text);

}  // namespace zarn::collector
