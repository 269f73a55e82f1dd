// Text inside a web address.
#pragma once

#include <string>
#include <string_view>

namespace zarn::base {

/// Fit for one name or value of a query, or one part of a path: everything but letters and digits
/// of ASCII and "-._~" becomes "%XX". Bytes that are not UTF-8 are encoded as U+FFFD.
std::string percentEncoded(std::string_view text);

/// "%41" becomes "A"; a "%" that two hexadecimal digits don't follow stays. What is decoded may be
/// any bytes.
std::string percentDecoded(std::string_view text);

}  // namespace zarn::base
