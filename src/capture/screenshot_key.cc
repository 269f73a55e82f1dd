#include "capture/screenshot_key.h"

#include <algorithm>

#include "base/letters.h"
#include "base/text.h"

namespace zarn::capture {
namespace {

constexpr std::size_t kLeastGenuine = 21;  // characters of a name that begins so
constexpr std::size_t kMostCharacters = 80;
constexpr std::size_t kMostBytes = 320;  // a character may be any number of bytes
constexpr std::size_t kMostBytesRead = 1024;

bool saysNothing(std::string_view name) {
  return name.empty() || (name.starts_with(model::kShapeNamePrefix) &&
                          base::countCharacters(name, kLeastGenuine) < kLeastGenuine);
}

std::string sanitized(std::string_view name) {
  std::string kept;
  std::size_t count = 0;
  bool hasGap = false;
  for (name = base::prefixOfBytes(name, kMostBytesRead); !name.empty();) {
    const std::string_view character = base::prefixOfCharacters(name, 1);
    name.remove_prefix(character.size());
    if (character != "-" && !base::isLetterOrNumber(character)) {
      hasGap = true;
      continue;
    }
    const std::size_t added = hasGap && !kept.empty() ? 2 : 1;
    count += added;
    if (count > kMostCharacters || kept.size() + character.size() + 1 > kMostBytes) break;
    if (added == 2) kept += '_';
    kept += character;
    hasGap = false;
  }
  return kept;
}

bool areAlike(std::string_view entry, std::string_view name) {
  return !name.empty() && base::lowerCase(entry) == base::lowerCase(name);
}

}  // namespace

std::string screenshotKeyStem(std::string_view name, std::string_view fallbackName) {
  const std::string_view trimmed = base::trimmed(name);
  return sanitized(saysNothing(trimmed) ? fallbackName : trimmed);
}

std::string screenshotKey(std::string_view stem, model::ScreenState state) {
  std::string key(stem);
  key += '_';
  key += model::name(state);
  return key;
}

bool mayFollow(model::ScreenState offered, model::ScreenState now) {
  using State = model::ScreenState;
  if (offered == now) return true;
  return now != State::loading && offered != State::empty && offered != State::error;
}

bool isExcluded(std::span<const std::string> entries, const ScreenshotNames& names) {
  return std::ranges::any_of(entries, [&](const std::string& given) {
    const std::string_view entry = base::trimmed(given);
    if (entry.empty()) return false;
    return areAlike(entry, screenshotKey(names.stem, names.state)) || areAlike(entry, names.stem) ||
           areAlike(sanitized(entry), names.stem) || areAlike(entry, base::trimmed(names.name)) ||
           areAlike(entry, names.className);
  });
}

}  // namespace zarn::capture
