// Which characters are letters and numbers, in any script.
#pragma once

#include <string_view>

namespace zarn::base {

/// Whether a character (see text.h) is a letter or a number; it is what its first code point is, so
/// that accents don't matter. False for an empty text and for bytes that are not UTF-8.
bool isLetterOrNumber(std::string_view character);
bool isNumber(std::string_view character);

}  // namespace zarn::base
