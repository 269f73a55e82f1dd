// What a screen's picture is filed under: "Cart_populated".
#pragma once

#include <span>
#include <string>
#include <string_view>

#include "model/screen.h"

namespace zarn::capture {

/// The name, or the fallback where the name is empty or made from a screen's shape. Letters and
/// numbers of any script and "-" stay, "_" stands for each run of anything else in between; at most
/// 80 characters. Empty when nothing is left.
std::string screenshotKeyStem(std::string_view name, std::string_view fallbackName);
std::string screenshotKey(std::string_view stem, model::ScreenState state);

/// Whether a picture for a screen that was offered in one state may be taken in another, under the
/// key of that one. A screen that loads makes no picture of a settled one, and an empty list or an
/// error is a picture of its own.
bool mayFollow(model::ScreenState offered, model::ScreenState now);

/// What an excluded screen may be called by.
struct ScreenshotNames {
  std::string_view stem;
  model::ScreenState state = model::ScreenState::normal;
  std::string_view name;
  std::string_view className;
};
/// Whether an entry names the screen: by its key, with or without the state, by its name, as it is
/// or as the key has it, or by its class. White space around an entry and the case of letters don't
/// count.
bool isExcluded(std::span<const std::string> entries, const ScreenshotNames& names);

}  // namespace zarn::capture
