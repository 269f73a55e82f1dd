// Base64 text of bytes.
#pragma once

#include <string>
#include <string_view>

namespace zarn::base {

/// The standard alphabet, padded with "=", without line breaks.
std::string base64(std::string_view bytes);

}  // namespace zarn::base
