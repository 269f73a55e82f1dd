// A cheap look at a text before any expression sees it.
#pragma once

#include <string_view>

namespace zarn::redaction {

/// Bit i is clear only where row i of kPatternRows matches nowhere in `text` (valid UTF-8). One
/// pass over the bytes; what is not ASCII is taken for whatever would make a match possible.
unsigned rowsThatMayMatch(std::string_view text);

}  // namespace zarn::redaction
