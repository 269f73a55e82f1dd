// Comparisons of a text with the entries of a table.
#pragma once

#include <algorithm>
#include <span>
#include <string_view>

namespace zarn::screens {

using Words = std::span<const std::string_view>;

inline bool isOneOf(std::string_view text, Words words) {
  return std::ranges::find(words, text) != words.end();
}
inline bool startsWithOneOf(std::string_view text, Words words) {
  return std::ranges::any_of(words, [&](std::string_view word) { return text.starts_with(word); });
}
inline bool endsWithOneOf(std::string_view text, Words words) {
  return std::ranges::any_of(words, [&](std::string_view word) { return text.ends_with(word); });
}
inline bool containsOneOf(std::string_view text, Words words) {
  return std::ranges::any_of(
      words, [&](std::string_view word) { return text.find(word) != std::string_view::npos; });
}

}  // namespace zarn::screens
