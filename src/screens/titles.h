// Whether a text can be the title of a screen. Pure functions; any thread.
#pragma once

#include <string_view>

namespace zarn::screens {

/// Whether it reads like a title: short, made of letters, and of the words that titles are made of.
/// A single word of a Latin or Cyrillic language need not be a known one.
bool isLikelyTitle(std::string_view text);

}  // namespace zarn::screens
