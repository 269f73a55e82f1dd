// What a screen's picture is filed under.
#pragma once

#include <span>
#include <string>
#include <string_view>

#include "model/screen.h"

namespace zarn::capture {

/// Letters and numbers of any script and "-", with "_" for each run of anything else in between; at
/// most 80 characters.
std::string sanitizedScreenName(std::string_view name);

/// Whether the name must give way to the fallback: it is empty, or made from a screen's shape.
bool saysNothing(std::string_view trimmedName);

/// "Cart_populated". Empty when nothing of the name is left.
std::string screenshotKey(std::string_view name, model::ScreenState state);

/// The key without its state.
std::string_view screenshotKeyStem(std::string_view key);

/// The key that a picture taken in `state` belongs under. A key for a screen that was loading or
/// had nothing special to it follows the state; empty when the picture belongs to another key.
std::string keyForState(std::string_view key, model::ScreenState state);

/// Whether an entry names the screen: by its key, with or without the state, by its name, or by its
/// class. White space around an entry and the case of letters don't count.
bool isExcluded(std::span<const std::string> entries, std::string_view key, std::string_view name,
                std::string_view className);

}  // namespace zarn::capture
