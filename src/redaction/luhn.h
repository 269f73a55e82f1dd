// The check sum of card numbers.
#pragma once

#include <string_view>

namespace zarn::redaction {

/// Whether the decimal digits in `text`, of any script, are 13 to 19 and pass the Luhn check.
/// Anything between them is skipped.
bool passesLuhn(std::string_view text);

}  // namespace zarn::redaction
